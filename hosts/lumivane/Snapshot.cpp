// `lumivane snapshot`: frames of the live picture as PNG files.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <thread>

#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/LiveFilter.h"
#include "hosts/lumivane/Progress.h"
#include "nlohmann/json.hpp"
#include "platform/ImageIO/ImageData.h"

namespace fs = std::filesystem;

namespace lumivane {
namespace {

/// "out/frame.png", 7 of 30 -> "out/frame-0007.png"; a single frame keeps its name.
std::string NumberedName(const std::string& out, int number, int count) {
  if (count == 1) return out;
  const fs::path path(out);
  char digits[16];
  std::snprintf(digits, sizeof(digits), "-%04d", number);
  return (path.parent_path() / (path.stem().string() + digits + path.extension().string()))
      .string();
}

void SleepUntil(double time) {
  const double now = MonotonicSeconds();
  if (time > now) std::this_thread::sleep_for(std::chrono::duration<double>(time - now));
}

bool WriteToStandardOutput(const std::vector<std::uint8_t>& bytes, std::string* error) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() &&
      std::fflush(stdout) == 0) {
    return true;
  }
  *error = std::strerror(errno);
  return false;
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
};

void Print(const Summary& summary, bool json) {
  // N frames are N - 1 periods apart.
  const int periods = summary.written > 1 ? summary.written - 1 : summary.written;
  const double rate = summary.seconds > 0 ? periods / summary.seconds : 0;
  const double milliseconds =
      summary.written > 0 ? 1000 * summary.renderSeconds / summary.written : 0;
  if (json) {
    const nlohmann::ordered_json report = {
        {"frames", summary.written}, {"live", summary.live},
        {"width", summary.width},    {"height", summary.height},
        {"framesPerSecond", rate},   {"millisecondsPerFrame", milliseconds},
        {"first", summary.first},    {"last", summary.last}};
    std::printf("%s\n", report.dump(2).c_str());
    return;
  }
  std::printf("frames:            %d (%d from the camera), %d x %d\n", summary.written,
              summary.live, summary.width, summary.height);
  std::printf("rate:              %.1f frames per second\n", rate);
  std::printf("time per frame:    %.2f ms in filter and rendering\n", milliseconds);
  std::printf("first:             %s\n", summary.first.c_str());
  if (summary.last != summary.first) std::printf("last:              %s\n", summary.last.c_str());
}

}  // namespace

int RunSnapshot(const SnapshotOptions& options) {
  const bool toStandardOutput = options.out == "-";
  if (toStandardOutput && options.frames != 1) {
    std::fprintf(stderr, "lumivane: only one frame can go to standard output; give --out a file\n");
    return kExitUsage;
  }
  std::string error;
  const std::unique_ptr<LiveFilter> filter = LiveFilter::Open(options.source, &error);
  if (!filter) {
    std::fprintf(stderr, "lumivane: %s\n", error.c_str());
    return kExitFailed;
  }

  const double period = options.rate > 0 ? 1 / options.rate : 0;
  const double warmUpEnd = MonotonicSeconds() + options.warmUp;
  while (MonotonicSeconds() < warmUpEnd) {
    filter->NextFrame();
    std::this_thread::sleep_for(std::chrono::duration<double>(period > 0 ? period : 0.01));
  }

  Summary summary;
  Progress progress(options.quiet || toStandardOutput);
  const double start = MonotonicSeconds();
  for (int i = 0; i < options.frames; ++i) {
    SleepUntil(start + i * period);
    const double before = MonotonicSeconds();
    const Frame frame = filter->NextFrame();
    if (!frame.image) {
      std::fprintf(stderr, "lumivane: the filter gave no picture; `lumivane doctor` says why\n");
      return kExitFailed;
    }
    if (options.requireCamera && !frame.live) {
      std::fprintf(stderr,
                   "lumivane: no camera; `lumivane camera install` installs the test pattern, "
                   "`lumivane doctor` says what was looked for\n");
      return kExitNoCamera;
    }
    const Picture picture = filter->Render(frame);
    summary.renderSeconds += MonotonicSeconds() - before;
    if (picture.rgba.empty()) {
      std::fprintf(stderr, "lumivane: the frame could not be rendered\n");
      return kExitFailed;
    }

    const std::string name =
        toStandardOutput ? "-" : NumberedName(options.out, i + 1, options.frames);
    const std::vector<std::uint8_t> png = EncodePng(picture, &error);
    const bool ok = !png.empty() && (toStandardOutput ? WriteToStandardOutput(png, &error)
                                                      : ImageIOWriteFile(name, png, &error));
    if (!ok) {
      std::fprintf(stderr, "lumivane: %s cannot be written: %s\n", name.c_str(), error.c_str());
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
  if (!options.quiet && !toStandardOutput) Print(summary, options.json);
  if (summary.live == 0) {
    if (!options.quiet)
      std::fprintf(stderr, "lumivane: no camera: this is the no-camera picture\n");
    return kExitNoCamera;
  }
  return kExitOk;
}

}  // namespace lumivane
