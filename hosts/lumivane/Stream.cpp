// `lumivane stream` and `lumivane record`: the live picture to other programs and into files.
#include <unistd.h>

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <new>

#include "hosts/lumivane/CameraWait.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/FrameWriter.h"
#include "hosts/lumivane/Progress.h"
#include "nlohmann/json.hpp"

namespace lumivane {
namespace {

int Fail(const std::string& error, int code = kExitFailed) {
  std::fprintf(stderr, "lumivane: %s\n", error.c_str());
  return code;
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool IsY4M(const StreamOptions& options) {
  if (!options.format.empty()) return options.format == "y4m";
  return !EndsWith(options.out, ".uyvy") && !EndsWith(options.out, ".raw");
}

VideoMatrix MatrixOf(const StreamOptions& options, int height) {
  if (options.matrix.empty()) return MatrixFor(height);
  return options.matrix == "709" ? VideoMatrix::k709 : VideoMatrix::k601;
}

struct Summary {
  std::uint64_t made = 0;
  std::uint64_t live = 0;
  double seconds = 0;
};

class Stream {
 public:
  explicit Stream(const StreamOptions& options) : options_(options) {}
  int Run();

 private:
  bool OpenSinks(std::string* error);
  /// To the end of the stream; the tick it ends at.
  std::uint64_t Loop();
  bool AllRunning() const;
  int Result(const std::string& error) const;
  void Report() const;
  SinkCounts Counts() const;

  const StreamOptions& options_;
  StopSignals stop_;
  std::unique_ptr<LiveFilter> filter_;
  PictureSize size_;
  Ratio rate_;
  std::vector<std::unique_ptr<FrameSink>> sinks_;
  Summary summary_;
};

bool Stream::OpenSinks(std::string* error) {
  if (!options_.out.empty()) {
    auto output = std::make_unique<ByteOutput>();
    if (!output->Open(options_.out, stop_, error)) return false;
    WriterFormat format;
    format.y4m = IsY4M(options_);
    format.size = size_;
    format.rate = rate_;
    format.matrix = MatrixOf(options_, size_.height);
    sinks_.push_back(std::make_unique<FrameWriter>(std::move(output), format, options_.frames));
  }
  return true;
}

bool Stream::AllRunning() const {
  for (const auto& sink : sinks_) {
    if (sink->state() != SinkState::kRunning) return false;
  }
  return true;
}

std::uint64_t Stream::Loop() {
  const double rate = static_cast<double>(rate_.number) / static_cast<double>(rate_.divisor);
  const std::uint64_t end =
      options_.seconds > 0 ? std::max<std::uint64_t>(1, std::llround(options_.seconds * rate)) : 0;
  Progress progress(options_.quiet);
  const double start = MonotonicSeconds();
  std::uint64_t tick = 0;
  while (AllRunning() && (end == 0 || tick < end) &&
         !stop_.WaitUntil(start + static_cast<double>(tick) / rate)) {
    const Frame frame = filter_->NextFrame();
    auto picture = std::make_shared<Picture>(filter_->Render(frame, size_));
    // Without memory for a picture there is none this time.
    if (!picture->rgba.empty()) {
      ++summary_.made;
      summary_.live += frame.live ? 1 : 0;
      for (const auto& sink : sinks_) sink->Offer({tick, picture});
    }
    const SinkCounts counts = Counts();
    progress.Show(std::string(frame.live ? "live" : "no camera") + ", " +
                  std::to_string(counts.written) + " frames, " + std::to_string(counts.dropped) +
                  " dropped");
    // Frame times that have passed are not made up for: the next frame is one of now.
    const double now = (MonotonicSeconds() - start) * rate;
    tick = std::max(tick + 1, static_cast<std::uint64_t>(now));
  }
  summary_.seconds = MonotonicSeconds() - start;
  return end == 0 ? tick : std::min(tick, end);
}

SinkCounts Stream::Counts() const {
  return sinks_.empty() ? SinkCounts{} : sinks_.front()->counts();
}

void Stream::Report() const {
  if (options_.quiet) return;
  // Where the stream itself goes to standard output, that stays clean.
  const bool aside = options_.out == "-";
  std::FILE* const to = aside ? stderr : stdout;
  const SinkCounts counts = Counts();
  if (options_.json) {
    const nlohmann::ordered_json report = {
        {"frames", counts.written},   {"live", summary_.live}, {"repeated", counts.repeated},
        {"dropped", counts.dropped},  {"width", size_.width},  {"height", size_.height},
        {"seconds", summary_.seconds}};
    std::fprintf(to, "%s\n", report.dump(2).c_str());
  } else if (!aside || isatty(STDERR_FILENO) == 1) {
    std::fprintf(
        to, "%" PRIu64 " frames of %d x %d in %.1f s (%" PRIu64 " repeated, %" PRIu64 " dropped)\n",
        counts.written, size_.width, size_.height, summary_.seconds, counts.repeated,
        counts.dropped);
  }
}

int Stream::Result(const std::string& error) const {
  bool readerLeft = false;
  for (const auto& sink : sinks_) {
    if (sink->state() == SinkState::kFailed) return Fail(sink->error());
    readerLeft = readerLeft || sink->state() == SinkState::kNobodyReads;
  }
  if (!error.empty()) return Fail(error);
  // Whoever reads has had enough: that is how a pipe ends.
  if (readerLeft) return kExitOk;
  Report();
  if (summary_.live > 0) return kExitOk;
  if (!options_.quiet)
    std::fprintf(stderr, "lumivane: no camera: this was the no-camera picture\n");
  return kExitNoCamera;
}

int Stream::Run() {
  rate_ = *ParseRate(options_.rate);
  std::string error;
  filter_ = LiveFilter::Open(options_.source, &error);
  if (!filter_) return Fail(error);
  const Frame first = FirstFrame(*filter_, options_.wait, &stop_);
  if (!first.image) return Fail("the filter gave no picture; `lumivane doctor` says why");
  if (options_.requireCamera && !first.live) {
    return Fail("no camera; `lumivane doctor` says what was looked for", kExitNoCamera);
  }
  const Picture picture = filter_->Render(first);
  if (picture.rgba.empty()) return Fail("the frame could not be rendered");
  // It stays: whoever reads a stream takes no other size in its middle.
  size_ = {picture.width, picture.height};

  if (!OpenSinks(&error)) return stop_.Came() ? kExitOk : Fail(error);
  const std::uint64_t end = Loop();
  for (const auto& sink : sinks_) sink->Finish(end);
  return Result(error);
}

}  // namespace

int RunStream(const StreamOptions& options) {
  if (options.out.empty()) {
    return Fail("where to? --out FILE or --out - (standard output)", kExitUsage);
  }
  if (options.out == "-" && isatty(STDOUT_FILENO) == 1) {
    return Fail("--out -: frames are not for a terminal; give a file or a pipe", kExitUsage);
  }
  try {
    return Stream(options).Run();
  } catch (const std::bad_alloc&) {
    return Fail("there is not enough memory for frames of this size");
  }
}

}  // namespace lumivane
