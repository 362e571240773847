#include "components/gstreamer/live_camera.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "components/gstreamer/controls.h"
#include "components/gstreamer/dead_device.h"

namespace gstcamera {
namespace {

// How often the settings file is looked at, and a stalled source noticed.
constexpr Nanoseconds kTick = kSecond / 2;
// How often a device is asked whether it has a signal.
constexpr Nanoseconds kSignalTick = kSecond;
// A file that is over sooner is not opened again at once.
constexpr Nanoseconds kShortestPass = kSecond / 5;
// After so long without a failure a failure is news again.
constexpr Nanoseconds kProven = 10 * kSecond;

const char* Variable(const char* name) {
  return std::getenv(name);
}

// Changes whenever the file does.
std::string StampOf(const std::string& path) {
  struct stat info = {};
  if (stat(path.c_str(), &info) != 0) return "none";
  return std::to_string(info.st_ino) + " " + std::to_string(info.st_size) + " " +
         std::to_string(info.st_mtim.tv_sec) + "." + std::to_string(info.st_mtim.tv_nsec);
}

std::uint32_t CodeOf(PixelFormat format) {
  return format == PixelFormat::kArgb ? LUMIVANE_CAMERA_FORMAT_ARGB : LUMIVANE_CAMERA_FORMAT_2VUY;
}

// Cut between characters where it is too long.
template <std::size_t kSize>
void CopyText(const std::string& text, char (&field)[kSize]) {
  std::size_t length = std::min(text.size(), kSize - 1);
  while (length < text.size() && length > 0 &&
         (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
    --length;
  std::memcpy(field, text.data(), length);
  field[length] = 0;
}

std::string Seconds(double seconds) {
  char text[32];
  std::snprintf(text, sizeof(text), "%g s", seconds);
  return text;
}

}  // namespace

LiveCamera::LiveCamera() : processId_(getpid()) {
  wakeFile_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (wakeFile_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  // The host's signal handlers are no business of this thread, nor of those GStreamer starts on it.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &before);
  try {
    thread_ = std::thread([this] {
      Run();
      const std::lock_guard guard(endLock_);
      ended_ = true;
      ends_.notify_all();
    });
  } catch (...) {
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    close(wakeFile_);
    throw;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

bool LiveCamera::Stop(std::chrono::milliseconds patience) {
  stopping_ = true;
  eventfd_write(wakeFile_, 1);
  std::unique_lock lock(endLock_);
  return ends_.wait_for(lock, patience, [this] { return ended_; });
}

LiveCamera::~LiveCamera() {
  stopping_ = true;
  eventfd_write(wakeFile_, 1);
  thread_.join();
  close(wakeFile_);
}

bool LiveCamera::IsRunningHere() const {
  return processId_ == getpid();
}

// ---- For the host's threads

State LiveCamera::StateNow(Nanoseconds now, Nanoseconds newest) const {
  return StateAt(now, newest, intake_.IsRunning(), still_, staleAfter_, hold_);
}

bool LiveCamera::Newest(tagSHARED_CAMERA_BUFFER* record) {
  Mailbox& mailbox = intake_.mailbox();
  if (StateNow(Now(), mailbox.Counts().newest.ready) == State::kNone) return false;
  FrameShape shape;
  if (!mailbox.shape(&shape)) return false;
  return LumivaneCamera_SetFrame(record, mailbox.Newest(), shape.size.width, shape.size.height,
                                 CodeOf(shape.format)) != 0;
}

LumivaneCameraStatus LiveCamera::Status() const {
  LumivaneCameraStatus status = {};
  const Nanoseconds now = Now();
  const IntakeCounts counts = intake_.CountsAt(now);
  const FrameTimes& newest = counts.frames.newest;
  const State state = StateNow(now, newest.ready);
  status.state = state == State::kLive    ? LUMIVANE_CAMERA_STATE_LIVE
                 : state == State::kStale ? LUMIVANE_CAMERA_STATE_STALE
                                          : LUMIVANE_CAMERA_STATE_NONE;
  status.sequence = counts.frames.handed;
  status.received = counts.frames.received;
  status.skipped = counts.frames.skipped;
  status.lost = counts.lost;
  status.age = newest.ready == 0
                   ? UINT64_MAX
                   : static_cast<std::uint64_t>(std::max<Nanoseconds>(now - newest.captured, 0));
  if (newest.captureKnown)
    status.latency =
        static_cast<std::uint64_t>(std::max<Nanoseconds>(newest.ready - newest.captured, 0));
  status.rate = state == State::kLive ? counts.rate : 0;
  status.nominalRate = nominalRate_;
  status.opened = opened_;
  if (firstTry_ && state == State::kNone) status.flags |= LUMIVANE_CAMERA_STATUS_OPENING;
  FrameShape shape;
  if (intake_.mailbox().shape(&shape)) {
    status.frameWidth = static_cast<std::int16_t>(shape.size.width);
    status.frameHeight = static_cast<std::int16_t>(shape.size.height);
    status.pixelFormat = CodeOf(shape.format);
  }
  const std::lock_guard guard(textLock_);
  CopyText(sourceName_, status.source);
  CopyText(message_, status.message);
  return status;
}

// ---- The thread

void LiveCamera::Run() {
  pthread_setname_np(pthread_self(), "lumivane-camera");
  SayWhy("the camera is being opened");
  LoadSettings();
  if (!StartGStreamer()) {
    firstTry_ = false;
    return;
  }
  devicesFile_ = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
  if (devicesFile_ >= 0)
    inotify_add_watch(devicesFile_, "/dev", IN_CREATE | IN_ATTRIB | IN_DELETE | IN_MOVED_TO);
  RetryPause pause;
  while (!stopping_) {
    hadFrames_ = false;
    const Outcome outcome = TrySources();
    firstTry_ = false;
    intake_.SetStopped();
    if (outcome == Outcome::kStop) break;
    if (hadFrames_) pause.Reset();
    if (outcome == Outcome::kSettingsChanged) continue;
    if (outcome == Outcome::kEndedForGood) {
      while (!stopping_ && !ReloadIfChanged()) WaitUntil(Now() + kTick, nullptr);
      continue;
    }
    ++attempt_;
    if (!Pause(pause.Next())) break;
  }
  if (devicesFile_ >= 0) close(devicesFile_);
}

bool LiveCamera::StartGStreamer() {
  GError* failure = nullptr;
  if (gst_init_check(nullptr, nullptr, &failure)) return true;
  const ErrorHeld held(failure);
  const std::string text = std::string("GStreamer does not start: ") +
                           (failure != nullptr ? failure->message : "no reason given");
  WriteToLog(text);
  SayWhy(text);
  return false;
}

void LiveCamera::LoadSettings() {
  settingsPath_ = SettingsPath(Variable);
  settingsStamp_ = StampOf(settingsPath_);
  settings_ = ReadSettings(settingsPath_, Variable,
                           [this](const std::string& line) { settingsReporter_.Once(line); });
  FrameShape shape;
  if (intake_.mailbox().shape(&shape)) {
    // What the host has been given so far tells it what to expect.
    if ((settings_.size && *settings_.size != shape.size) || settings_.format != shape.format)
      settingsReporter_.Once(settingsPath_ + ": another size or format takes effect when the " +
                             "program is started again");
    settings_.size = shape.size;
    settings_.format = shape.format;
  }
  staleAfter_ = settings_.staleAfter;
  hold_ = settings_.hold;
}

bool LiveCamera::ReloadIfChanged() {
  if (StampOf(settingsPath_) == settingsStamp_) return false;
  settingsReporter_.Forget();
  LoadSettings();
  return true;
}

void LiveCamera::SayWhy(const std::string& text) {
  const std::lock_guard guard(textLock_);
  message_ = text;
}

void LiveCamera::Trouble(const Plan& plan, const std::string& what) {
  const std::string text = "source " + plan.name + ": " + what;
  reporter_.Once(text);
  SayWhy(text);
}

LiveCamera::Outcome LiveCamera::TrySources() {
  switch (settings_.source.kind) {
    case Source::kAuto:
    case Source::kCamera:
    case Source::kDevicePath:
      return TryCameras();
    default:
      break;
  }
  Plan plan;
  plan.source = settings_.source;
  plan.name = DisplayName(settings_.source);
  plan.otherTransport = attempt_ % 2 != 0;
  bool gaveFrames = false;
  return Try(plan, &gaveFrames);
}

LiveCamera::Outcome LiveCamera::TryCameras() {
  const std::vector<Camera> cameras = ListCameras();
  const std::vector<std::size_t> found = FindCameras(cameras, settings_.source);
  const bool any = settings_.source.kind == Source::kAuto;
  if (found.size() > 1 && settings_.source.kind == Source::kCamera &&
      cameras[found[0]].stableName != settings_.source.text) {
    std::string names;
    for (const std::size_t i : found) names += (names.empty() ? "" : ", ") + cameras[i].stableName;
    settingsReporter_.Once("source is \"" + settings_.source.text +
                           "\", which several cameras are called: " + names +
                           "; the first that works is used");
  }
  Outcome outcome = Outcome::kFailed;
  for (const std::size_t i : found) {
    const Camera& camera = cameras[i];
    Plan plan;
    plan.source = {Source::kCamera, camera.stableName};
    plan.name = camera.name.empty() ? camera.stableName : camera.name;
    plan.device = camera.device.get();
    plan.devicePath = camera.path;
    plan.stableName = camera.stableName;
    plan.offered = camera.caps.get();
    bool gaveFrames = false;
    outcome = Try(plan, &gaveFrames);
    if (outcome != Outcome::kFailed || gaveFrames || stopping_) return outcome;
  }
  if (!found.empty()) return outcome;
  if (settings_.source.kind == Source::kDevicePath &&
      access(settings_.source.text.c_str(), F_OK) == 0) {
    // There all the same: GStreamer's provider needs the device manager, which not every machine
    // runs.
    Plan plan;
    plan.source = settings_.source;
    plan.name = settings_.source.text;
    plan.devicePath = settings_.source.text;
    plan.anyFormat = true;
    bool gaveFrames = false;
    return Try(plan, &gaveFrames);
  }
  // Nothing to report when any camera would do: a machine without one is in order.
  if (any) {
    SayWhy("no camera is connected");
    const std::lock_guard guard(textLock_);
    sourceName_.clear();
  } else {
    const std::string text = "source is \"" + settings_.source.text +
                             "\": no such camera is connected; `lumivane camera list` lists them";
    reporter_.Once(text);
    SayWhy(text);
  }
  return Outcome::kFailed;
}

LiveCamera::Outcome LiveCamera::Try(Plan& plan, bool* gaveFrames) {
  {
    const std::lock_guard guard(textLock_);
    sourceName_ = plan.name;
  }
  const std::uint64_t before = intake_.mailbox().Counts().received;
  Outcome outcome = Outcome::kFailed;
  for (;;) {
    FrameShape shape;
    const bool known = intake_.mailbox().shape(&shape);
    Pipeline pipeline(plan, settings_, known ? std::optional(shape.size) : std::nullopt, intake_);
    if (plan.source.kind == Source::kCamera && !settings_.controls.empty()) ApplyControls(plan);
    std::string error;
    still_ = false;
    if (!pipeline.Start(&error)) {
      const PipelineEvent event = pipeline.NextEvent();
      Trouble(plan, error.empty() ? event.text : error);
      break;
    }
    const bool hadFormat = !plan.anyFormat && plan.offered != nullptr;
    outcome = Watch(pipeline, plan);
    if (outcome == Outcome::kAgain && !stopping_) continue;
    intake_.SetStopped();
    *gaveFrames = intake_.mailbox().Counts().received > before;
    // A camera that promises a format and then refuses it is asked for any.
    if (outcome != Outcome::kFailed || *gaveFrames || !hadFormat || !plan.anyFormat) break;
  }
  // The pipeline is gone; what is still open of a camera that was unplugged is nobody's.
  if (!plan.devicePath.empty()) ReleaseDeadDescriptors(plan.devicePath, IsDeadVideoDevice);
  hadFrames_ = hadFrames_ || *gaveFrames;
  return outcome;
}

LiveCamera::Outcome LiveCamera::Watch(Pipeline& pipeline, Plan& plan) {
  const auto timeout = static_cast<Nanoseconds>(settings_.timeout * kSecond);
  const Nanoseconds start = Now();
  Nanoseconds lastLook = start;
  std::uint64_t seen = intake_.mailbox().Counts().received;
  const std::uint64_t atStart = seen;
  Nanoseconds lastFrame = start;
  Nanoseconds nextSignalLook = start;
  bool proven = false;
  bool opened = false;
  intake_.Withhold(false);
  for (;;) {
    const MailboxCounts counts = intake_.mailbox().Counts();
    if (counts.received != seen) {
      seen = counts.received;
      lastFrame = counts.newest.ready;
    }
    if (!opened && seen != atStart) {
      opened = true;
      Opened(plan, pipeline);
    }
    if (opened) nominalRate_ = pipeline.NominalRate();
    const Nanoseconds now = Now();
    if (opened && !proven && now - start > kProven) {
      proven = true;
      reporter_.Forget();
    }
    for (PipelineEvent event = pipeline.NextEvent(); event.kind != PipelineEvent::kNothing;
         event = pipeline.NextEvent()) {
      if (event.kind == PipelineEvent::kEnd) {
        const std::optional<Outcome> outcome = HandleEnd(pipeline, plan, start);
        if (outcome) return *outcome;
        lastFrame = Now();
        continue;
      }
      intake_.SetStopped();
      if (event.formatRefused && !opened && plan.offered != nullptr && !plan.anyFormat) {
        plan.anyFormat = true;
        return Outcome::kFailed;
      }
      if (event.busy) {
        const std::string holders = HoldersOf(plan.devicePath);
        event.text = "the device " + plan.devicePath + " is in use" +
                     (holders.empty() ? " by a program that cannot be seen" : " by " + holders);
      }
      Trouble(plan, event.text);
      return Outcome::kFailed;
    }
    if (stopping_) return Outcome::kStop;
    if (!plan.devicePath.empty() && now >= nextSignalLook) {
      nextSignalLook = now + kSignalTick;
      LookForSignal(plan, opened);
    }
    if (intake_.IsWithheld()) lastFrame = now;
    if (now - lastLook >= kTick) {
      lastLook = now;
      const Settings before = settings_;
      if (ReloadIfChanged()) {
        if (!SameButControls(before, settings_)) return Outcome::kSettingsChanged;
        ApplyControls(plan);
      }
    }
    if (!still_ && now - lastFrame > timeout) {
      intake_.SetStopped();
      std::string why;
      std::string ignored;
      if (!plan.devicePath.empty())
        WithControls(
            plan.devicePath, [&why](const ControlDevice& device) { why = device.InputTrouble(); },
            &ignored);
      Trouble(plan, "no frame for " + Seconds(settings_.timeout) +
                        (why.empty() ? std::string() : ": " + why));
      return Outcome::kFailed;
    }
    // Before the first frame there is somebody who waits for the change of state.
    WaitUntil(now + (opened ? kTick : kSecond / 50), &pipeline);
  }
}

// A capture card without a signal goes on sending: noise, or blue.
void LiveCamera::LookForSignal(const Plan& plan, bool opened) {
  std::string why;
  std::string ignored;
  WithControls(
      plan.devicePath, [&why](const ControlDevice& device) { why = device.InputTrouble(); },
      &ignored);
  if (why.empty() != intake_.IsWithheld()) return;
  intake_.Withhold(!why.empty());
  if (!why.empty()) {
    Trouble(plan, why);
    return;
  }
  // Else the first frame says so.
  if (!opened) return;
  SayWhy("");
  reporter_.Once("source " + plan.name + " is back");
}

void LiveCamera::Opened(const Plan& plan, const Pipeline& pipeline) {
  firstTry_ = false;
  nominalRate_ = pipeline.NominalRate();
  bool afterTrouble = false;
  {
    const std::lock_guard guard(textLock_);
    afterTrouble = !message_.empty();
    message_.clear();
  }
  // A file that begins again has not been away.
  if (afterTrouble) ++opened_;
  if (afterTrouble && opened_ > 1) reporter_.Once("source " + plan.name + " is back");
  // Some cameras forget what they were told when they begin to stream.
  if (plan.source.kind == Source::kCamera && !settings_.controls.empty()) ApplyControls(plan);
}

std::optional<LiveCamera::Outcome> LiveCamera::HandleEnd(Pipeline& pipeline, const Plan& plan,
                                                         Nanoseconds start) {
  const bool isAddress = plan.source.kind == Source::kAddress;
  const bool isFile = isAddress && IsFileAddress(plan.source.text);
  const bool hasEnd = isAddress && !pipeline.IsLive();
  const std::uint64_t frames = pipeline.FramesOfThisPass();
  if (isFile && frames == 1) {
    still_ = true;
    return std::nullopt;
  }
  if (hasEnd && frames > 1 && settings_.loop) {
    if (pipeline.Rewind()) return std::nullopt;
    // What cannot be wound back is opened again, unless that would go on without pause.
    if (isFile && Now() - start > kShortestPass) return Outcome::kAgain;
  }
  intake_.SetStopped();
  if (isFile && frames > 1 && !settings_.loop) {
    Trouble(plan, "it has come to its end (the setting loop is no)");
    return Outcome::kEndedForGood;
  }
  Trouble(plan, frames == 0 ? "it ends without a frame" : "the stream has ended");
  return Outcome::kFailed;
}

void LiveCamera::ApplyControls(const Plan& plan) {
  if (plan.devicePath.empty() || settings_.controls.empty()) return;
  std::vector<std::string> failures;
  std::string error;
  const bool opened = WithControls(
      plan.devicePath,
      [&](const ControlDevice& device) {
        failures = device.Apply(settings_.controls, plan.stableName);
      },
      &error);
  if (!opened) failures.push_back(error);
  for (const std::string& failure : failures)
    settingsReporter_.Once("controls of " + plan.name + ": " + failure);
}

void LiveCamera::WaitUntil(Nanoseconds until, const Pipeline* pipeline) {
  pollfd files[2] = {{wakeFile_, POLLIN, 0}, {-1, POLLIN, 0}};
  if (pipeline != nullptr) files[1].fd = pipeline->EventFile();
  const Nanoseconds left = until - Now();
  if (left <= 0) return;
  poll(files, 2, static_cast<int>(left / 1'000'000 + 1));
}

bool LiveCamera::DevicesChanged() {
  if (devicesFile_ < 0) return false;
  bool video = false;
  alignas(inotify_event) char buffer[4096];
  for (ssize_t size; (size = read(devicesFile_, buffer, sizeof(buffer))) > 0;) {
    for (ssize_t at = 0; at < size;) {
      const auto* const event = reinterpret_cast<const inotify_event*>(buffer + at);
      if (event->len > 0 && std::strncmp(event->name, "video", 5) == 0) video = true;
      at += static_cast<ssize_t>(sizeof(*event)) + event->len;
    }
  }
  return video;
}

bool LiveCamera::Pause(double seconds) {
  const Nanoseconds end = Now() + static_cast<Nanoseconds>(seconds * kSecond);
  const bool wantsDevice = settings_.source.kind == Source::kAuto ||
                           settings_.source.kind == Source::kCamera ||
                           settings_.source.kind == Source::kDevicePath;
  DevicesChanged();  // What came before the last try is no news.
  while (!stopping_ && Now() < end) {
    if (ReloadIfChanged()) return true;
    WaitUntil(std::min(end, Now() + kTick / 2), nullptr);
    if (wantsDevice && DevicesChanged()) return !stopping_;
  }
  return !stopping_;
}

}  // namespace gstcamera
