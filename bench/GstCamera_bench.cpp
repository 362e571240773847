// The GStreamer component: how old a frame is when a host gets it, and what it costs the processor
// beside gst-launch with the same pipeline into a fake sink.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <gst/base/gstbasetransform.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "components/camera_component.h"

namespace {

constexpr char kShowOption[] = "--show-camera";
// What starting costs is in both runs, and so not in their difference.
constexpr double kShortRun = 0.5;
constexpr double kLongRun = 3.5;

double Now() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// ---- An element that writes the time into the first pixels of each frame

struct Stamp {
  GstBaseTransform base;
};
struct StampClass {
  GstBaseTransformClass base;
};
GType stamp_get_type();
G_DEFINE_TYPE(Stamp, stamp, GST_TYPE_BASE_TRANSFORM)

GstFlowReturn WriteTime(GstBaseTransform*, GstBuffer* buffer) {
  const double now = Now();
  gst_buffer_fill(buffer, 0, &now, sizeof(now));
  return GST_FLOW_OK;
}

void stamp_class_init(StampClass* type) {
  GstElementClass* const element = GST_ELEMENT_CLASS(type);
  static GstStaticPadTemplate sink =
      GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS, GST_STATIC_CAPS_ANY);
  static GstStaticPadTemplate source =
      GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS_ANY);
  gst_element_class_add_static_pad_template(element, &sink);
  gst_element_class_add_static_pad_template(element, &source);
  gst_element_class_set_static_metadata(element, "stamp", "Filter", "writes the time", "Lumivane");
  GST_BASE_TRANSFORM_CLASS(type)->transform_ip = WriteTime;
}

void stamp_init(Stamp*) {}

// ---- The component

struct Shape {
  int width, height, rate;
  std::string Pipeline() const {
    return "videotestsrc is-live=true ! video/x-raw,format=UYVY,width=" + std::to_string(width) +
           ",height=" + std::to_string(height) + ",framerate=" + std::to_string(rate) +
           "/1,colorimetry=" + (height > 576 ? "bt709" : "bt601");
  }
};

Shape ShapeOf(const benchmark::State& state) {
  return {static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
          static_cast<int>(state.range(2))};
}

std::string Program() {
  return std::filesystem::read_symlink("/proc/self/exe").string();
}

class Component {
 public:
  Component(const Shape& shape, const std::string& pipeline) {
    const std::string size = std::to_string(shape.width) + "x" + std::to_string(shape.height);
    setenv("LUMIVANE_CAMERA_SOURCE", ("pipeline:" + pipeline).c_str(), 1);
    setenv("LUMIVANE_CAMERA_SIZE", size.c_str(), 1);
    setenv("LUMIVANE_CAMERA_RATE", std::to_string(shape.rate).c_str(), 1);
    const std::string path = std::filesystem::path(Program()).parent_path().parent_path() /
                             "bundles/gstreamer/LumivaneXXX.component/Contents/Linux/LumivaneXXX";
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ != nullptr)
      entry_ = reinterpret_cast<std::int32_t (*)(tagSHARED_CAMERA_BUFFER*)>(
          dlsym(handle_, LUMIVANE_CAMERA_FUNCTION2));
  }
  ~Component() {
    if (handle_ == nullptr) return;
    reinterpret_cast<void (*)()>(dlsym(handle_, LUMIVANE_CAMERA_WILL_UNLOAD_FUNCTION))();
    dlclose(handle_);
  }
  /// Null when there is no frame.
  const void* Ask() {
    tagSHARED_CAMERA_BUFFER record = {};
    record.structSize = LUMIVANE_CAMERA_RECORD_SIZE;
    return entry_ != nullptr && entry_(&record) != 0 ? LumivaneCamera_GetPixels(&record) : nullptr;
  }
  bool WaitForFrame() {
    for (const double end = Now() + 30; Now() < end; usleep(1000)) {
      if (Ask() != nullptr) return true;
    }
    return false;
  }

 private:
  void* handle_ = nullptr;
  std::int32_t (*entry_)(tagSHARED_CAMERA_BUFFER*) = nullptr;
};

/// Age of the newest frame at moments that have nothing to do with the camera's.
void GstCameraFrameAge(benchmark::State& state) {
  const Shape shape = ShapeOf(state);
  Component camera(shape, shape.Pipeline() + " ! lumivanebenchstamp");
  if (!camera.WaitForFrame()) {
    state.SkipWithError("no frame");
    return;
  }
  std::vector<double> ages;
  for (auto _ : state) {
    usleep(static_cast<useconds_t>(3000 + rand() % 20000));
    double stamp = 0;
    std::memcpy(&stamp, camera.Ask(), sizeof(stamp));
    ages.push_back(Now() - stamp);
    state.SetIterationTime(ages.back());
  }
  std::sort(ages.begin(), ages.end());
  state.counters["p95_ms"] = ages[ages.size() * 95 / 100] * 1e3;
  state.counters["most_ms"] = ages.back() * 1e3;
  state.counters["limit_ms"] = 1e3 / shape.rate + 5;
}

/// Processor time of a child process, in seconds; negative when it failed.
double ProcessorTime(const std::vector<std::string>& arguments) {
  const pid_t child = fork();
  if (child == 0) {
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
      argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    execvp(argv[0], argv.data());
    _exit(127);
  }
  int status = 0;
  rusage usage = {};
  if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0) return -1;
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// The component in a process that asks for each frame, and gst-launch beside it.
void GstCameraProcessorTime(benchmark::State& state) {
  const Shape shape = ShapeOf(state);
  const auto ours = [&](double seconds) {
    return ProcessorTime({Program(), kShowOption, std::to_string(shape.width),
                          std::to_string(shape.height), std::to_string(shape.rate),
                          std::to_string(seconds)});
  };
  const auto theirs = [&](double seconds) {
    std::string pipeline = shape.Pipeline();
    pipeline.insert(std::strlen("videotestsrc"),
                    " num-buffers=" + std::to_string(static_cast<int>(seconds * shape.rate)));
    return ProcessorTime({"sh", "-c", "exec gst-launch-1.0 -q " + pipeline + " ! fakesink"});
  };
  double ourTime = 0;
  double theirTime = 0;
  for (auto _ : state) {
    const double times[] = {ours(kShortRun), ours(kLongRun), theirs(kShortRun), theirs(kLongRun)};
    if (*std::min_element(std::begin(times), std::end(times)) < 0) {
      state.SkipWithError("a process failed");
      return;
    }
    const double one = (times[1] - times[0]) / (kLongRun - kShortRun);
    ourTime += one;
    theirTime += (times[3] - times[2]) / (kLongRun - kShortRun);
    state.SetIterationTime(std::max(one, 1e-9));
  }
  state.counters["gst_launch_ms"] = theirTime / static_cast<double>(state.iterations()) * 1e3;
  state.counters["ratio"] = ourTime / theirTime;
}

BENCHMARK(GstCameraFrameAge)
    ->Args({640, 480, 30})
    ->Args({1920, 1080, 60})
    ->UseManualTime()
    ->Iterations(100)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(GstCameraProcessorTime)
    ->Args({640, 480, 30})
    ->Args({1920, 1080, 60})
    ->UseManualTime()
    ->Iterations(2)
    ->Unit(benchmark::kMillisecond);

int Show(const Shape& shape, double seconds) {
  Component camera(shape, shape.Pipeline());
  if (!camera.WaitForFrame()) return 1;
  for (const double end = Now() + seconds; Now() < end;) {
    usleep(static_cast<useconds_t>(1e6 / shape.rate));
    camera.Ask();
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  // Nothing of the user's settings, and no search for plug-ins in what is measured.
  setenv("XDG_CONFIG_HOME", "/nonexistent", 1);
  setenv("GST_REGISTRY",
         (std::filesystem::temp_directory_path() / "lumivane-bench-gst-registry.bin").c_str(), 1);
  if (argc == 6 && std::strcmp(argv[1], kShowOption) == 0)
    return Show({atoi(argv[2]), atoi(argv[3]), atoi(argv[4])}, atof(argv[5]));
  gst_init(nullptr, nullptr);
  gst_element_register(nullptr, "lumivanebenchstamp", GST_RANK_NONE, stamp_get_type());
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
