// The GStreamer component: how old a frame is when a host gets it, and what it costs the processor
// beside gst-launch with the same pipeline into a fake sink.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gst/base/gstbasetransform.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "components/camera_component.h"

namespace {

constexpr char kShowOption[] = "--show-camera";
constexpr char kIdleOption[] = "--show-nothing";
// Seconds. What starting costs is over by then.
constexpr double kWarmUp = 1;
constexpr double kWindow = 3;

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

/// A program in a process of its own; its first output is read here.
class Child {
 public:
  explicit Child(const std::vector<std::string>& arguments) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    output_ = ends[0];
    process_ = fork();
    if (process_ == 0) {
      std::vector<char*> argv;
      for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
      argv.push_back(nullptr);
      dup2(ends[1], STDOUT_FILENO);
      execvp(argv[0], argv.data());
      _exit(127);
    }
    close(ends[1]);
  }
  ~Child() {
    if (process_ > 0) {
      kill(process_, SIGKILL);
      waitpid(process_, nullptr, 0);
    }
    if (output_ >= 0) close(output_);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  bool WaitForOutput() const {
    char first = 0;
    return output_ >= 0 && read(output_, &first, 1) == 1;
  }
  /// Processor time a second, in seconds, while it runs; negative when it has ended.
  double Load(double seconds) const {
    clockid_t clock = 0;
    if (process_ <= 0 || clock_getcpuclockid(process_, &clock) != 0) return -1;
    const auto used = [clock] {
      timespec time = {};
      clock_gettime(clock, &time);
      return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    const double before = used();
    const double start = Now();
    usleep(static_cast<useconds_t>(seconds * 1e6));
    const double load = (used() - before) / (Now() - start);
    siginfo_t state = {};
    const bool ended =
        waitid(P_PID, static_cast<id_t>(process_), &state, WEXITED | WNOHANG | WNOWAIT) != 0 ||
        state.si_pid != 0;
    return ended ? -1 : load;
  }

 private:
  pid_t process_ = -1;
  int output_ = -1;
};

/// What a program costs once it has begun to show something.
double LoadOf(const std::vector<std::string>& arguments) {
  const Child child(arguments);
  if (!child.WaitForOutput()) return -1;
  usleep(static_cast<useconds_t>(kWarmUp * 1e6));
  return child.Load(kWindow);
}

/// A host that asks for each frame, the same host without a component, and gst-launch. To wake for
/// each frame is the host's own work, whatever it shows: `ratio` is without that, `whole_ratio`
/// with it.
void GstCameraProcessorTime(benchmark::State& state) {
  const Shape shape = ShapeOf(state);
  const auto host = [&shape](const char* option) {
    return LoadOf({Program(), option, std::to_string(shape.width), std::to_string(shape.height),
                   std::to_string(shape.rate)});
  };
  // The first thing that gst-launch says is that the pipeline starts.
  const std::string launch = "exec gst-launch-1.0 " + shape.Pipeline() + " ! fakesink";
  for (auto _ : state) {
    const double loads[] = {host(kShowOption), host(kIdleOption), LoadOf({"sh", "-c", launch})};
    if (*std::min_element(std::begin(loads), std::end(loads)) < 0) {
      state.SkipWithError("a process failed");
      return;
    }
    state.SetIterationTime(std::max(loads[0] - loads[1], 1e-9));
    state.counters["gst_launch_ms"] = loads[2] * 1e3;
    state.counters["host_ms"] = loads[1] * 1e3;
    state.counters["ratio"] = (loads[0] - loads[1]) / loads[2];
    state.counters["whole_ratio"] = loads[0] / loads[2];
  }
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
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

/// Says when it begins, and goes on until it is killed.
int Show(const Shape& shape, bool withCamera) {
  std::unique_ptr<Component> camera;
  if (withCamera) {
    camera = std::make_unique<Component>(shape, shape.Pipeline());
    if (!camera->WaitForFrame()) return 1;
  }
  if (write(STDOUT_FILENO, "!", 1) != 1) return 1;
  for (;;) {
    usleep(static_cast<useconds_t>(1e6 / shape.rate));
    if (camera) camera->Ask();
  }
}

}  // namespace

int main(int argc, char** argv) {
  // Nothing of the user's settings, and no search for plug-ins in what is measured.
  setenv("XDG_CONFIG_HOME", "/nonexistent", 1);
  setenv("GST_REGISTRY",
         (std::filesystem::temp_directory_path() / "lumivane-bench-gst-registry.bin").c_str(), 1);
  for (const char* const option : {kShowOption, kIdleOption}) {
    if (argc == 5 && std::strcmp(argv[1], option) == 0)
      return Show({atoi(argv[2]), atoi(argv[3]), atoi(argv[4])}, option == kShowOption);
  }
  gst_init(nullptr, nullptr);
  gst_element_register(nullptr, "lumivanebenchstamp", GST_RANK_NONE, stamp_get_type());
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
