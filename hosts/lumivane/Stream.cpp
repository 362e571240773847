// `lumivane stream` and `lumivane record`: the live picture to other programs and into files.
#include <unistd.h>

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <new>

#include "hosts/lumivane/CameraHealth.h"
#include "hosts/lumivane/CameraWait.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/FrameWriter.h"
#include "hosts/lumivane/HostText.h"
#include "hosts/lumivane/HttpServer.h"
#include "hosts/lumivane/Progress.h"
#include "hosts/lumivane/VideoOutputDevice.h"
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

struct Output {
  std::string name;
  std::unique_ptr<FrameSink> sink;
};

class Stream {
 public:
  explicit Stream(const StreamOptions& options)
      : options_(options), rate_(*ParseRate(options.rate)) {}
  int Run();

 private:
  bool OpenDevice(std::string* error);
  bool OpenFile(std::string* error);
  bool OpenServer(std::string* error);
  void AddWriter(const std::string& name, std::unique_ptr<ByteOutput> bytes, WriterFormat format);
  /// To the end of the stream; the tick it ends at.
  std::uint64_t Loop();
  void Show(const Frame& frame, std::uint64_t tick);
  void SetStatus(const CameraHealth& health);
  /// Nobody has failed or left, and somebody still wants frames.
  bool GoesOn() const;
  SinkCounts Counts() const;
  double Rate() const {
    return static_cast<double>(rate_.number) / static_cast<double>(rate_.divisor);
  }
  int Result() const;
  void Report() const;

  const StreamOptions& options_;
  const Ratio rate_;
  StopSignals stop_;
  std::unique_ptr<LiveFilter> filter_;
  CameraObserver observer_;
  PictureSize size_;  ///< of every frame: who reads a stream takes no other in its middle
  std::vector<Output> outputs_;
  HttpServer* server_ = nullptr;  ///< one of the outputs
  std::shared_ptr<const Picture> previous_;
  CameraHealth health_;
  std::uint64_t made_ = 0;
  std::uint64_t live_ = 0;
  double start_ = 0;
  double seconds_ = 0;
};

void Stream::AddWriter(const std::string& name, std::unique_ptr<ByteOutput> bytes,
                       WriterFormat format) {
  format.size = size_;
  format.rate = rate_;
  format.matrix = MatrixOf(options_, size_.height);
  outputs_.push_back(
      {name, std::make_unique<FrameWriter>(std::move(bytes), format, options_.frames)});
}

bool Stream::OpenDevice(std::string* error) {
  VideoOutputDevice device =
      OpenVideoOutput(options_.device, size_, rate_, MatrixOf(options_, size_.height), error);
  if (device.descriptor < 0) return false;
  auto bytes = std::make_unique<ByteOutput>();
  if (!bytes->Adopt(device.descriptor, std::move(device.buffers), options_.device, error))
    return false;
  if (!options_.quiet && (device.size.width != size_.width || device.size.height != size_.height)) {
    std::fprintf(stderr, "lumivane: %s takes %d x %d: the stream has that size\n",
                 options_.device.c_str(), device.size.width, device.size.height);
  }
  size_ = device.size;
  WriterFormat format;
  format.y4m = false;
  format.rowBytes = device.rowBytes;
  AddWriter(options_.device, std::move(bytes), format);
  return true;
}

bool Stream::OpenFile(std::string* error) {
  auto bytes = std::make_unique<ByteOutput>();
  if (!bytes->Open(options_.out, stop_, error)) return false;
  WriterFormat format;
  format.y4m = IsY4M(options_);
  AddWriter(options_.out == "-" ? "standard output" : options_.out, std::move(bytes), format);
  return true;
}

bool Stream::OpenServer(std::string* error) {
  HttpOptions http;
  http.listen = *ParseListenAddress(options_.listen);
  http.maxClients = options_.maxClients;
  http.quality = options_.quality;
  auto server = HttpServer::Start(http, error);
  if (!server) return false;
  server_ = server.get();
  outputs_.push_back({server->url(), std::move(server)});
  return true;
}

bool Stream::GoesOn() const {
  // A server serves for ever: alone, it is not waited for.
  bool anyRuns = server_ != nullptr && outputs_.size() == 1;
  for (const Output& output : outputs_) {
    const SinkState state = output.sink->state();
    if (state == SinkState::kFailed || state == SinkState::kNobodyReads) return false;
    anyRuns = anyRuns || (output.sink.get() != server_ && state == SinkState::kRunning);
  }
  return anyRuns;
}

SinkCounts Stream::Counts() const {
  SinkCounts sum;
  for (const Output& output : outputs_) {
    const SinkCounts counts = output.sink->counts();
    sum.written += counts.written;
    sum.repeated += counts.repeated;
    sum.dropped += counts.dropped;
  }
  return sum;
}

void Stream::SetStatus(const CameraHealth& health) {
  nlohmann::ordered_json status = {{"state", StateName(health.state)},
                                   {"camera", health.camera},
                                   {"message", health.message},
                                   {"width", size_.width},
                                   {"height", size_.height},
                                   {"framesPerSecond", health.rate},
                                   {"ageMilliseconds", nullptr},
                                   {"sequence", nullptr},
                                   {"dropped", nullptr},
                                   {"frames", made_},
                                   {"seconds", MonotonicSeconds() - start_}};
  if (health.ageSeconds) status["ageMilliseconds"] = 1000 * *health.ageSeconds;
  if (health.sequence) status["sequence"] = *health.sequence;
  if (health.dropped) status["dropped"] = *health.dropped;
  // A camera's name is the component's text: what is no UTF-8 is shown, not refused.
  server_->SetStatus(status.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

void Stream::Show(const Frame& frame, std::uint64_t tick) {
  auto picture = std::make_shared<Picture>(filter_->Render(frame, size_));
  // Without memory for a picture there is none this time.
  if (picture->rgba.empty()) return;
  health_ = observer_.Look(frame.live, !previous_ || previous_->rgba != picture->rgba);
  previous_ = picture;
  ++made_;
  live_ += frame.live ? 1 : 0;
  if (server_ != nullptr) SetStatus(health_);
  for (const Output& output : outputs_) output.sink->Offer({tick, picture});
}

std::uint64_t Stream::Loop() {
  std::uint64_t end = 0;
  if (options_.seconds > 0) {
    end = std::max<std::uint64_t>(
        1, static_cast<std::uint64_t>(std::llround(options_.seconds * Rate())));
  }
  // A server has no frames of its own to count.
  const bool serverAlone = server_ != nullptr && outputs_.size() == 1;
  if (serverAlone && options_.frames > 0) {
    end = end == 0 ? options_.frames : std::min(end, options_.frames);
  }
  Progress progress(options_.quiet);
  start_ = MonotonicSeconds();
  std::uint64_t tick = 0;
  while (GoesOn() && (end == 0 || tick < end) &&
         !stop_.WaitUntil(start_ + static_cast<double>(tick) / Rate())) {
    Show(filter_->NextFrame(), tick);
    const SinkCounts counts = Counts();
    char line[160];
    std::snprintf(line, sizeof(line), "%s, %.1f a second, %" PRIu64 " frames, %" PRIu64 " dropped",
                  StateName(health_.state), health_.rate, counts.written, counts.dropped);
    progress.Show(line + (server_ != nullptr
                              ? ", " + std::to_string(server_->clients()) + " viewers"
                              : std::string()));
    // Frame times that have passed are not made up for: the next frame is one of now.
    const double now = (MonotonicSeconds() - start_) * Rate();
    tick = std::max(tick + 1, static_cast<std::uint64_t>(now));
  }
  seconds_ = MonotonicSeconds() - start_;
  return end == 0 ? tick : std::min(tick, end);
}

void Stream::Report() const {
  if (options_.quiet) return;
  // Where the stream itself goes to standard output, that stays clean.
  const bool aside = options_.out == "-";
  std::FILE* const to = aside ? stderr : stdout;
  if (options_.json) {
    nlohmann::ordered_json report = {{"frames", made_},      {"live", live_},
                                     {"width", size_.width}, {"height", size_.height},
                                     {"seconds", seconds_},  {"outputs", nlohmann::json::array()}};
    for (const Output& output : outputs_) {
      const SinkCounts counts = output.sink->counts();
      report["outputs"].push_back({{"name", output.name},
                                   {"frames", counts.written},
                                   {"repeated", counts.repeated},
                                   {"dropped", counts.dropped}});
    }
    std::fputs(Lines(report).c_str(), to);
    return;
  }
  if (aside && isatty(STDERR_FILENO) == 0) return;
  for (const Output& output : outputs_) {
    const SinkCounts counts = output.sink->counts();
    std::fprintf(to, "%s: %" PRIu64 " frames of %d x %d in %.1f s", output.name.c_str(),
                 counts.written, size_.width, size_.height, seconds_);
    if (counts.repeated > 0) std::fprintf(to, ", %" PRIu64 " of them repeated", counts.repeated);
    if (counts.dropped > 0) std::fprintf(to, ", %" PRIu64 " dropped", counts.dropped);
    std::fprintf(to, "\n");
  }
}

int Stream::Result() const {
  bool readerLeft = false;
  for (const Output& output : outputs_) {
    if (output.sink->state() == SinkState::kFailed) return Fail(output.sink->error());
    readerLeft = readerLeft || output.sink->state() == SinkState::kNobodyReads;
  }
  // Whoever reads has had enough: that is how a pipe ends.
  if (readerLeft) return kExitOk;
  Report();
  if (live_ > 0) return kExitOk;
  if (!options_.quiet) {
    std::fprintf(stderr, "lumivane: no camera: this was the no-camera picture\n");
  }
  return kExitNoCamera;
}

int Stream::Run() {
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
  size_ = {picture.width, picture.height};

  // The device is asked first: it may have a size of its own.
  if ((!options_.device.empty() && !OpenDevice(&error)) || (options_.http && !OpenServer(&error)) ||
      (!options_.out.empty() && !OpenFile(&error))) {
    return stop_.Came() ? kExitOk : Fail(error);
  }
  if (server_ != nullptr) {
    // At once, so that whoever started it can go there.
    std::FILE* const to = options_.out == "-" ? stderr : stdout;
    std::fprintf(to, "%s\n", server_->url().c_str());
    std::fflush(to);
  }
  const std::uint64_t end = Loop();
  for (const Output& output : outputs_) output.sink->Finish(end);
  return Result();
}

}  // namespace

int RunStream(const StreamOptions& options) {
  if (options.out.empty() && options.device.empty() && !options.http) {
    return Fail("where to? --out FILE, --out - (standard output), --http or --device /dev/videoN",
                kExitUsage);
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
