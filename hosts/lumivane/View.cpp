// `lumivane view`: the live picture in a window.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "hosts/lumivane/CaptureFiles.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/FrameWriter.h"
#include "hosts/lumivane/Progress.h"
#include "hosts/lumivane/ViewInput.h"
#include "hosts/lumivane/ViewOverlay.h"
#include "platform/ImageIO/ImageData.h"

namespace lumivane {
namespace {

constexpr double kMostLooksPerSecond = 60;
constexpr double kSecondsBetweenStates = 0.25;  ///< of the overlay and the title
constexpr double kMessageSeconds = 4;
constexpr double kRecordingRate = 30;  ///< where the camera's own is not known

int Fail(const std::string& error) {
  std::fprintf(stderr, "lumivane: %s\n", error.c_str());
  return kExitFailed;
}

class Viewer;

/// Whose recording is under way. When the display goes away, Xlib ends the program with exit: what
/// was recorded until then is kept.
Viewer* gRecording = nullptr;
void KeepRecordingAtExit();

class Viewer {
 public:
  explicit Viewer(const ViewOptions& options) : options_(options) {}
  int Run();
  void StopRecording();

 private:
  bool Look(std::string* error);
  void Do(ViewAction action);
  void TakeSnapshot();
  void ToggleRecording();
  void Record(const Frame& frame);
  void Tell(const std::string& message);
  void UpdateState(double now);
  void Draw();

  const ViewOptions& options_;
  StopSignals stop_;
  std::unique_ptr<LiveFilter> filter_;
  std::unique_ptr<ViewWindow> window_;
  CameraObserver observer_;
  ViewState state_;
  std::shared_ptr<const Picture> picture_;
  std::optional<std::uint64_t> sequence_;
  bool wasLive_ = false;
  bool wasNew_ = false;
  bool running_ = true;
  bool dirty_ = true;
  double stateTime_ = 0;
  int shown_ = 0;  ///< new pictures since stateTime_
  double messageEnd_ = 0;

  std::unique_ptr<FrameWriter> writer_;
  std::string recordingName_;
  PictureSize recordingSize_;
  double recordingRate_ = kRecordingRate;
  double recordingStart_ = 0;
  std::uint64_t recordedTicks_ = 0;
};

void Viewer::Tell(const std::string& message) {
  state_.message = message;
  messageEnd_ = MonotonicSeconds() + kMessageSeconds;
  dirty_ = true;
}

void Viewer::TakeSnapshot() {
  if (!picture_) return;
  const std::string name = CaptureName(options_.snapshotFolder, "png");
  std::string error;
  const std::vector<std::uint8_t> png = EncodePng(*picture_, PictureTexts(state_.health), &error);
  if (!png.empty() && ImageIOWriteFile(name, png, &error)) {
    std::printf("%s\n", name.c_str());
    std::fflush(stdout);
    Tell("saved " + std::filesystem::path(name).filename().string());
  } else {
    std::fprintf(stderr, "lumivane: %s cannot be written: %s\n", name.c_str(), error.c_str());
    Tell("not saved: " + error);
  }
}

void Viewer::ToggleRecording() {
  if (writer_) {
    StopRecording();
    return;
  }
  if (!picture_) return;
  recordingName_ = CaptureName(options_.snapshotFolder, "y4m");
  std::string error;
  auto output = std::make_unique<ByteOutput>();
  if (!output->Open(recordingName_, stop_, &error)) {
    std::fprintf(stderr, "lumivane: %s\n", error.c_str());
    Tell("not recorded: " + error);
    return;
  }
  recordingRate_ = state_.health.rate >= 1 ? std::round(state_.health.rate) : kRecordingRate;
  recordingSize_ = {picture_->width, picture_->height};
  WriterFormat format;
  format.size = recordingSize_;
  format.rate = {static_cast<std::int64_t>(recordingRate_), 1};
  format.matrix = MatrixFor(recordingSize_.height);
  writer_ = std::make_unique<FrameWriter>(std::move(output), format, 0);
  gRecording = this;
  // Refused, it leaves what was recorded in the file aside.
  static const int registered = std::atexit(KeepRecordingAtExit);
  static_cast<void>(registered);
  recordingStart_ = MonotonicSeconds();
  recordedTicks_ = 0;
  writer_->Offer({recordedTicks_++, picture_});
  dirty_ = true;
}

void Viewer::StopRecording() {
  if (!writer_) return;
  gRecording = nullptr;
  const double seconds = MonotonicSeconds() - recordingStart_;
  writer_->Finish(std::max(recordedTicks_, static_cast<std::uint64_t>(seconds * recordingRate_)));
  if (writer_->state() == SinkState::kFailed) {
    std::fprintf(stderr, "lumivane: %s\n", writer_->error().c_str());
    Tell("not recorded: " + writer_->error());
  } else {
    std::printf("%s\n", recordingName_.c_str());
    std::fflush(stdout);
    Tell("saved " + std::filesystem::path(recordingName_).filename().string());
  }
  writer_.reset();
}

void KeepRecordingAtExit() {
  if (gRecording != nullptr) gRecording->StopRecording();
}

void Viewer::Record(const Frame& frame) {
  if (writer_->state() != SinkState::kRunning) {
    StopRecording();
    return;
  }
  const double elapsed = MonotonicSeconds() - recordingStart_;
  const std::uint64_t tick = static_cast<std::uint64_t>(elapsed * recordingRate_);
  if (tick < recordedTicks_) return;
  std::shared_ptr<const Picture> picture = picture_;
  // A recording keeps its size, whatever the camera does.
  if (picture->width != recordingSize_.width || picture->height != recordingSize_.height) {
    picture = std::make_shared<Picture>(filter_->Render(frame, recordingSize_));
    if (picture->rgba.empty()) return;
  }
  writer_->Offer({tick, picture});
  recordedTicks_ = tick + 1;
}

bool Viewer::Look(std::string* error) {
  const Frame frame = filter_->NextFrame();
  state_.health = observer_.Look(frame.live, wasNew_);
  wasNew_ = false;
  // The number of a frame that shows already saves looking at its pixels.
  const bool known = state_.health.sequence && state_.health.sequence == sequence_ &&
                     frame.live == wasLive_ && picture_;
  sequence_ = state_.health.sequence;
  wasLive_ = frame.live;
  if (frame.image && !known) {
    Picture picture = filter_->Render(frame);
    if (!picture.rgba.empty() && (!picture_ || picture.rgba != picture_->rgba)) {
      wasNew_ = true;
      ++shown_;
      dirty_ = true;
      state_.pictureSize = {picture.width, picture.height};
      picture_ = std::make_shared<Picture>(std::move(picture));
      if (window_ && !window_->SetPicture(*picture_)) {
        *error = std::string("the picture cannot be shown: ") + SDL_GetError();
        return false;
      }
    }
  }
  if (writer_) Record(frame);
  return true;
}

void Viewer::Do(ViewAction action) {
  if (action != ViewAction::kNone) dirty_ = true;
  switch (action) {
    case ViewAction::kQuit:
      running_ = false;
      break;
    case ViewAction::kFullScreen:
      window_->ToggleFullScreen();
      break;
    case ViewAction::kMirror:
      state_.mirrored = !state_.mirrored;
      break;
    case ViewAction::kFreeze:
      state_.frozen = !state_.frozen;
      break;
    case ViewAction::kOverlay:
      state_.showState = !state_.showState;
      break;
    case ViewAction::kHistogram:
      state_.showHistogram = !state_.showHistogram;
      break;
    case ViewAction::kWaveform:
      state_.showWaveform = !state_.showWaveform;
      break;
    case ViewAction::kSnapshot:
      TakeSnapshot();
      break;
    case ViewAction::kRecord:
      ToggleRecording();
      break;
    case ViewAction::kHelp:
      state_.showHelp = !state_.showHelp;
      break;
    case ViewAction::kRedraw:
    case ViewAction::kNone:
      break;
  }
}

void Viewer::UpdateState(double now) {
  if (!state_.message.empty() && now >= messageEnd_) {
    state_.message.clear();
    dirty_ = true;
  }
  state_.recordingSeconds.reset();
  if (writer_) {
    state_.recordingSeconds = now - recordingStart_;
    state_.recorded = writer_->counts();
  }
  if (now - stateTime_ < kSecondsBetweenStates) return;
  // Over a few intervals: one holds too few pictures for a rate.
  const double rate = shown_ / (now - stateTime_);
  state_.shownRate += (rate - state_.shownRate) / 4;
  shown_ = 0;
  stateTime_ = now;
  dirty_ = dirty_ || state_.showState || writer_;
  char title[320];
  std::snprintf(title, sizeof(title), "%s - %s - Lumivane",
                state_.health.camera.empty() ? "no camera" : state_.health.camera.c_str(),
                state_.frozen ? "frozen" : StateName(state_.health.state));
  window_->SetTitle(title);
}

void Viewer::Draw() {
  window_->DrawPicture(state_.mirrored);
  if (picture_) DrawOverlays(*window_, state_, *picture_);
  window_->Present();
  dirty_ = false;
}

int Viewer::Run() {
  std::string error;
  filter_ = LiveFilter::Open(options_.source, &error);
  if (!filter_) return Fail(error);
  if (!Look(&error)) return Fail(error);
  window_ = ViewWindow::Open(picture_ ? state_.pictureSize : PictureSize{640, 480},
                             options_.headless, &error);
  if (!window_) return Fail(error);
  if (picture_ && !window_->SetPicture(*picture_)) {
    return Fail(std::string("the picture cannot be shown: ") + SDL_GetError());
  }
  state_.mirrored = options_.mirrored;
  if (options_.fullScreen) window_->ToggleFullScreen();

  const double start = MonotonicSeconds();
  const double period = 1 / std::min(window_->displayRate(), kMostLooksPerSecond);
  stateTime_ = start;
  double next = start;
  while (running_ && !stop_.Came()) {
    // Sleeps in the wait for events: a key is answered at once, and nothing is done between.
    const double wait = next - MonotonicSeconds();
    SDL_Event event;
    if (SDL_WaitEventTimeout(&event, wait > 0 ? static_cast<int>(std::ceil(1000 * wait)) : 0)) {
      do {
        Do(ActionOf(event));
      } while (SDL_PollEvent(&event) != 0);
    }
    const double now = MonotonicSeconds();
    if (now >= next) {
      next = std::max(next + period, now);
      if (!state_.frozen && !Look(&error)) {
        StopRecording();
        return Fail(error);
      }
    }
    UpdateState(now);
    if (dirty_) Draw();
    if (options_.seconds > 0 && now - start >= options_.seconds) running_ = false;
  }
  StopRecording();
  return kExitOk;
}

}  // namespace

int RunView(const ViewOptions& options) {
  return Viewer(options).Run();
}

}  // namespace lumivane
