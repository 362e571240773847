// What one picture of the filter costs a host: ARGB frames of growing size beside a copy of the
// same frame, converted 2vuy frames, and the search for a component that is not there beside the
// bare look-ups it is made of.
//
// The plug-in and the test-pattern component are the built bundles, loaded as hosts load them. The
// camera makes one frame a second, so that it takes no time from what is measured.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/CoreImage.h"
#include "sdk/CoreX/CoreBundleDLL.h"

namespace fs = std::filesystem;

namespace {

// build/PRESET/bundles, beside build/PRESET/bench.
fs::path Bundles() {
  return fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "bundles";
}

// A home of the program's own, so that nobody's components or logs play a part.
class Home {
 public:
  Home() {
    std::string pattern = (fs::temp_directory_path() / "lumivane-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary home");
    path_ = fs::canonical(pattern);
    setenv("HOME", path_.c_str(), 1);
    setenv("XDG_DATA_HOME", (path_ / "data").c_str(), 1);
    setenv("XDG_STATE_HOME", (path_ / "state").c_str(), 1);
    setenv("LUMIVANE_LOCAL_ROOT", (path_ / "local").c_str(), 1);
    setenv("LUMIVANE_SYSTEM_ROOT", (path_ / "system").c_str(), 1);
    fs::create_directories(path_ / "state/lumivane/Logs");
  }
  ~Home() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  std::vector<fs::path> Components() const {
    return {path_ / "data/lumivane/Components", path_ / "system/Components",
            path_ / "local/Components"};
  }
  std::uintmax_t LogSize() const {
    std::error_code none;
    const auto size = fs::file_size(path_ / "state/lumivane/Logs/CILumivaneInput.log", none);
    return none ? 0 : size;
  }

 private:
  fs::path path_;
};

Home& TheHome() {
  static Home home;
  return home;
}

/// One filter of a freshly loaded plug-in, with the components folders empty or holding the test
/// pattern.
class Host {
 public:
  explicit Host(bool withComponent) {
    for (const fs::path& folder : TheHome().Components()) {
      fs::remove_all(folder);
      fs::create_directories(folder);
    }
    if (withComponent) {
      fs::create_symlink(Bundles() / "LumivaneXXX.component",
                         TheHome().Components()[0] / "LumivaneXXX.component");
    }
    CIPlugInStatus status;
    if (!CIPlugIn::loadPlugIn(PlugIn(), &status)) throw std::runtime_error(status.error);
    const NSAutoreleasePool pool;
    filter_ = NSRetain(CIFilter::filterWithName(CFSTR("CILumivaneInput")));
  }
  ~Host() {
    filter_->setValueforKey(nullptr, CFSTR("inputClock"));
    filter_->release();
    CIPlugIn::unloadPlugIn(PlugIn());
  }
  CIFilter* filter() const { return filter_; }

 private:
  static std::string PlugIn() { return (Bundles() / "CILumivaneInput.plugin").string(); }
  CIFilter* filter_;
};

void SetCamera(const char* format, const benchmark::State& state) {
  const std::string size = std::to_string(state.range(0)) + "x" + std::to_string(state.range(1));
  setenv("LUMIVANE_TESTPATTERN_FORMAT", format, 1);
  setenv("LUMIVANE_TESTPATTERN_SIZE", size.c_str(), 1);
  setenv("LUMIVANE_TESTPATTERN_RATE", "1", 1);
}

void Pictures(benchmark::State& state, const char* format) {
  SetCamera(format, state);
  const Host host(true);
  for (auto _ : state) {
    const NSAutoreleasePool pool;
    CIImage* const image = host.filter()->outputImage();
    if (image == nullptr || image->retainCount() != 1) {
      state.SkipWithError("no camera picture");
      break;
    }
    benchmark::DoNotOptimize(image);
  }
}

void ArgbPicture(benchmark::State& state) {
  Pictures(state, "argb");
}
void Picture2vuy(benchmark::State& state) {
  Pictures(state, "2vuy");
}

// What a copy of the same frame would cost on top.
void CopyOfArgbFrame(benchmark::State& state) {
  const auto bytes = static_cast<std::size_t>(state.range(0) * state.range(1) * 4);
  const std::vector<std::uint8_t> frame(bytes, 1);
  std::vector<std::uint8_t> copy(bytes);
  for (auto _ : state) {
    std::memcpy(copy.data(), frame.data(), bytes);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

void CountLog(benchmark::State& state, std::uintmax_t before) {
  state.counters["log_bytes_per_call"] = benchmark::Counter(
      static_cast<double>(TheHome().LogSize() - before), benchmark::Counter::kAvgIterations);
}

void MissingComponentPicture(benchmark::State& state) {
  const Host host(false);
  const std::uintmax_t before = TheHome().LogSize();
  for (auto _ : state) {
    const NSAutoreleasePool pool;
    CIImage* const image = host.filter()->outputImage();
    // Each no-camera picture comes with one reference more.
    if (image != nullptr) image->release();
  }
  CountLog(state, before);
}

// The loader alone: three folders looked into, nine lines logged.
void ThreeFailedLookUps(benchmark::State& state) {
  const Host folders(false);
  CFBundleDLL loader(CFSTR("LumivaneXXX.component"));
  const std::uintmax_t before = TheHome().LogSize();
  for (auto _ : state) benchmark::DoNotOptimize(loader.LoadQuickTimeComponentBundle(nullptr));
  CountLog(state, before);
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  const std::int64_t sizes[][2] = {{160, 120},   {320, 240},   {640, 480},  {1280, 720},
                                   {1920, 1080}, {2560, 1440}, {3840, 2160}};
  for (const auto& size : sizes) benchmark->Args({size[0], size[1]});
  benchmark->ArgNames({"w", "h"});
}

BENCHMARK(ArgbPicture)->Apply(Sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(CopyOfArgbFrame)->Apply(Sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(Picture2vuy)->Args({640, 480})->ArgNames({"w", "h"})->Unit(benchmark::kMicrosecond);
BENCHMARK(MissingComponentPicture)->Unit(benchmark::kMicrosecond);
BENCHMARK(ThreeFailedLookUps)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
