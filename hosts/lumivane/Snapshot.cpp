// `lumivane snapshot`: frames of the live picture as PNG files.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "hosts/lumivane/CameraHealth.h"
#include "hosts/lumivane/CaptureFiles.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/HostText.h"
#include "hosts/lumivane/LiveFilter.h"
#include "hosts/lumivane/PictureFile.h"
#include "hosts/lumivane/Progress.h"
#include "hosts/lumivane/StopSignals.h"
#include "hosts/lumivane/WarmUp.h"
#include "nlohmann/json.hpp"

namespace fs = std::filesystem;

namespace lumivane {
namespace {

/// What to say behind "no camera": the installed one's own words, or how to install one.
std::string WhyNone(const CameraHealth& health) {
  if (!health.message.empty()) return "; " + health.message;
  if (!health.camera.empty())
    return "; " + health.camera + " gives no frame, `lumivane camera list` shows what there is";
  return "; `lumivane camera install` installs one, `lumivane doctor` says what was looked for";
}

/// "out/frame.png", 7 of 30 -> "out/frame-0007.png"; a single frame keeps its name.
std::string NumberedName(const std::string& out, int number, int count) {
  if (count == 1) return out;
  const fs::path path(out);
  char digits[16];
  std::snprintf(digits, sizeof(digits), "-%04d", number);
  return (path.parent_path() / (path.stem().string() + digits + path.extension().string()))
      .string();
}

struct Summary {
  int written = 0;
  int live = 0;
  double seconds = 0;        ///< from the first frame asked for to the last one written
  double renderSeconds = 0;  ///< spent in the filter and in rendering alone
  int width = 0;
  int height = 0;
  std::string first;
  std::string last;
  double warmUpSeconds = 0;
  CameraHealth health;  ///< at the last frame
};

void Print(const Summary& summary, bool json) {
  // N frames are N - 1 periods apart.
  const int periods = summary.written - 1;
  const double rate = summary.seconds > 0 ? periods / summary.seconds : 0;
  const double milliseconds =
      summary.written > 0 ? 1000 * summary.renderSeconds / summary.written : 0;
  if (json) {
    nlohmann::ordered_json report = {{"frames", summary.written},
                                     {"live", summary.live},
                                     {"width", summary.width},
                                     {"height", summary.height},
                                     {"framesPerSecond", nullptr},
                                     {"millisecondsPerFrame", milliseconds},
                                     {"first", summary.first},
                                     {"last", summary.last},
                                     {"state", StateName(summary.health.state)},
                                     {"camera", summary.health.camera},
                                     {"ageMilliseconds", nullptr},
                                     {"warmUpSeconds", summary.warmUpSeconds}};
    if (periods > 0) report["framesPerSecond"] = rate;
    if (summary.health.ageSeconds) report["ageMilliseconds"] = 1000 * *summary.health.ageSeconds;
    std::fputs(Lines(report).c_str(), stdout);
    return;
  }
  std::printf("frames:            %d (%d from the camera), %d x %d\n", summary.written,
              summary.live, summary.width, summary.height);
  // One frame has no rate.
  if (periods > 0) std::printf("rate:              %.1f frames per second\n", rate);
  std::printf("time per frame:    %.2f ms in filter and rendering\n", milliseconds);
  if (!summary.health.camera.empty()) {
    std::printf("camera:            %s, %s", summary.health.camera.c_str(),
                StateName(summary.health.state));
    if (summary.health.ageSeconds) {
      std::printf(", frame %.0f ms old", 1000 * *summary.health.ageSeconds);
    }
    std::printf("\n");
  }
  std::printf("first:             %s\n", summary.first.c_str());
  if (summary.last != summary.first) std::printf("last:              %s\n", summary.last.c_str());
}

}  // namespace

int RunSnapshot(const SnapshotOptions& options) {
  const bool toStandardOutput = options.out == "-";
  if (toStandardOutput && isatty(STDOUT_FILENO) == 1) {
    std::fprintf(stderr, "lumivane: --out -: a picture is not for a terminal\n");
    return kExitUsage;
  }
  if (toStandardOutput && options.frames != 1) {
    std::fprintf(stderr, "lumivane: only one frame can go to standard output; give --out a file\n");
    return kExitUsage;
  }
  StopSignals stop;
  std::string error;
  const std::unique_ptr<LiveFilter> filter = LiveFilter::Open(options.source, &error);
  if (!filter) {
    std::fprintf(stderr, "lumivane: %s\n", error.c_str());
    return kExitFailed;
  }

  const double period = options.rate > 0 ? 1 / options.rate : 0;
  CameraObserver observer;
  Summary summary;
  Progress progress(options.quiet || toStandardOutput);
  summary.warmUpSeconds = WarmUp(*filter, observer, options.warmUp, stop);
  const double start = MonotonicSeconds();
  // What is stopped has not yet written its first file, or ends with those it has.
  for (int i = 0; i < options.frames && !stop.WaitUntil(start + i * period); ++i) {
    const double before = MonotonicSeconds();
    const Frame frame = filter->NextFrame();
    if (!frame.image) {
      std::fprintf(stderr, "lumivane: the filter gave no picture; `lumivane doctor` says why\n");
      return kExitFailed;
    }
    if (options.requireCamera && !frame.live) {
      std::fprintf(stderr, "lumivane: no camera%s\n", WhyNone(observer.Look(false, true)).c_str());
      return kExitNoCamera;
    }
    const Picture picture = filter->Render(frame);
    summary.health = observer.Look(frame.live, true);
    summary.renderSeconds += MonotonicSeconds() - before;
    if (picture.rgba.empty()) {
      std::fprintf(stderr, "lumivane: the frame could not be rendered\n");
      return kExitFailed;
    }

    const std::string name =
        toStandardOutput ? "-" : NumberedName(options.out, i + 1, options.frames);
    const std::vector<std::uint8_t> png = EncodePng(picture, PictureTexts(summary.health), &error);
    errno = 0;
    if (png.empty() || !WriteBytes(name, png, &error)) {
      // Whoever reads has had enough.
      if (toStandardOutput && errno == EPIPE) return kExitOk;
      if (png.empty()) error = name + " cannot be written: " + error;
      std::fprintf(stderr, "lumivane: %s\n", error.c_str());
      return kExitFailed;
    }
    ++summary.written;
    summary.live += frame.live ? 1 : 0;
    summary.width = picture.width;
    summary.height = picture.height;
    if (summary.first.empty()) summary.first = name;
    summary.last = name;
    progress.Show("frame " + std::to_string(i + 1) + " of " + std::to_string(options.frames));
  }
  summary.seconds = MonotonicSeconds() - start;
  if (!options.quiet && !toStandardOutput && summary.written > 0) Print(summary, options.json);
  if (summary.written == 0) {
    std::fprintf(stderr, "lumivane: stopped before the first frame\n");
    return kExitFailed;
  }
  if (summary.live == 0) {
    if (!options.quiet) {
      std::fprintf(stderr, "lumivane: no camera: this is the no-camera picture%s\n",
                   WhyNone(summary.health).c_str());
    }
    return kExitNoCamera;
  }
  return kExitOk;
}

}  // namespace lumivane
