// What a host waits for: listing the frei0r module, its first picture, and loading the plug-in.
// Each measurement has a process of its own, since what is loaded once is there the second time.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/CoreImage/CoreImage.h"

namespace fs = std::filesystem;

namespace {

constexpr char kLoadOption[] = "--load-plug-in";

fs::path Program() {
  return fs::read_symlink("/proc/self/exe");
}
fs::path BuildFolder() {
  return Program().parent_path().parent_path();
}

/// A home with the plug-in and the test pattern, of the benchmark's own.
class Home {
 public:
  Home() {
    std::string pattern = (fs::temp_directory_path() / "lumivane-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary home");
    path_ = pattern;
    setenv("HOME", path_.c_str(), 1);
    setenv("XDG_DATA_HOME", (path_ / "data").c_str(), 1);
    setenv("XDG_STATE_HOME", (path_ / "state").c_str(), 1);
    setenv("LUMIVANE_LOCAL_ROOT", (path_ / "local").c_str(), 1);
    setenv("LUMIVANE_SYSTEM_ROOT", (path_ / "system").c_str(), 1);
    Link("data/lumivane/ImageUnits", "CILumivaneInput.plugin");
    Link("data/lumivane/Components", "LumivaneXXX.component");
  }
  ~Home() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }

 private:
  void Link(const char* folder, const char* bundle) const {
    fs::create_directories(path_ / folder);
    fs::create_directory_symlink(BuildFolder() / "bundles" / bundle, path_ / folder / bundle);
  }
  fs::path path_;
};

/// Nanoseconds that a command prints; nothing when it fails.
std::optional<double> Measure(const std::string& command) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  long long nanoseconds = 0;
  if (pipe == nullptr || std::fscanf(pipe.get(), "%lld", &nanoseconds) != 1) return std::nullopt;
  return static_cast<double>(nanoseconds);
}

void Repeat(benchmark::State& state, const std::string& command) {
  for (auto _ : state) {
    const std::optional<double> nanoseconds = Measure(command);
    if (!nanoseconds) {
      state.SkipWithError(("failed: " + command).c_str());
      return;
    }
    state.SetIterationTime(*nanoseconds * 1e-9);
  }
}

std::string Probe(const char* what) {
  return "exec '" + (Program().parent_path() / "module_probe").string() + "' '" +
         (BuildFolder() / "modules/frei0r-1/lumivane.so").string() + "' " + what;
}

void Frei0rModuleScan(benchmark::State& state) {
  Repeat(state, Probe("scan"));
}

void Frei0rFirstPicture(benchmark::State& state) {
  Repeat(state, Probe("picture"));
}

void PlugInLoad(benchmark::State& state) {
  Repeat(state, "exec '" + Program().string() + "' " + kLoadOption);
}

// A fixed count: what is waited for is the processes, not what they measure.
BENCHMARK(Frei0rModuleScan)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK(Frei0rFirstPicture)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK(PlugInLoad)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);

/// In a process of its own: loads the plug-in and prints how long that took.
int LoadPlugIn() {
  const std::string path =
      std::string(getenv("XDG_DATA_HOME")) + "/lumivane/ImageUnits/CILumivaneInput.plugin";
  CIPlugInStatus status;
  const auto start = std::chrono::steady_clock::now();
  const bool loaded = CIPlugIn::loadPlugIn(path, &status);
  const auto time = std::chrono::steady_clock::now() - start;
  if (!loaded) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), status.error.c_str());
    return 1;
  }
  std::printf("%lld\n", static_cast<long long>(
                            std::chrono::duration_cast<std::chrono::nanoseconds>(time).count()));
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], kLoadOption) == 0) return LoadPlugIn();
  const Home home;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
