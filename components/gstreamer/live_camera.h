// The camera behind the entry points: a thread that finds, opens, watches and opens again.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "components/camera_component.h"
#include "components/gstreamer/cameras.h"
#include "components/gstreamer/intake.h"
#include "components/gstreamer/pipeline.h"
#include "components/gstreamer/report.h"
#include "components/gstreamer/settings.h"

namespace gstcamera {

class LiveCamera {
 public:
  /// Starts the thread; everything else, GStreamer's own start too, is the thread's. Throws
  /// std::system_error when there is no thread or no file left.
  LiveCamera();
  /// Stops the source and joins the thread. Only where IsRunningHere, and only after a Stop that
  /// went well if the caller has no time to wait.
  ~LiveCamera();
  LiveCamera(const LiveCamera&) = delete;
  LiveCamera& operator=(const LiveCamera&) = delete;

  /// Whether the thread belongs to this process and not to one that this one was forked from.
  bool IsRunningHere() const;

  /// Tells the thread to end and waits for it, `patience` at most. False when it is still busy
  /// then: a driver may hang for good. The object must live on in that case, for the thread uses
  /// it.
  bool Stop(std::chrono::milliseconds patience);

  /// The newest frame. False when there is none to show. Never waits.
  bool Newest(tagSHARED_CAMERA_BUFFER* record);
  /// For any thread.
  LumivaneCameraStatus Status() const;

 private:
  enum class Outcome { kStop, kSettingsChanged, kFailed, kAgain, kEndedForGood };

  void Run();
  bool StartGStreamer();
  void LoadSettings();
  /// Whether the settings file has changed; if it has, they are loaded anew.
  bool ReloadIfChanged();
  /// Opens what the settings say, one after the other until one gives frames. Returns when that has
  /// ended.
  Outcome TrySources();
  Outcome TryCameras();
  Outcome Try(Plan& plan, bool* gaveFrames);
  Outcome Watch(Pipeline& pipeline, Plan& plan);
  /// What to do when a stream has ended; nothing when it goes on.
  std::optional<Outcome> HandleEnd(Pipeline& pipeline, const Plan& plan, Nanoseconds start);
  void ApplyControls(const Plan& plan);
  void Trouble(const Plan& plan, const std::string& what);
  void SayWhy(const std::string& text);
  void LookForSignal(const Plan& plan, bool opened);
  void Opened(const Plan& plan, const Pipeline& pipeline);
  /// Sleeps until `until`, a stop, or (where `pipeline` is given) an event of it.
  void WaitUntil(Nanoseconds until, const Pipeline* pipeline);
  /// Waits before the next try. False when the thread is to end.
  bool Pause(double seconds);
  bool DevicesChanged();
  State StateNow(Nanoseconds now, Nanoseconds newest) const;

  int processId_;
  int wakeFile_ = -1;     // eventfd: the thread is to look up
  int devicesFile_ = -1;  // inotify on /dev, or -1
  std::atomic<bool> stopping_{false};

  Intake intake_;
  std::atomic<bool> still_{false};
  std::atomic<double> staleAfter_{1};
  std::atomic<double> hold_{5};
  std::atomic<std::uint32_t> opened_{0};
  std::atomic<bool> firstTry_{true};  // no source has given a frame or failed yet
  std::atomic<double> nominalRate_{0};

  mutable std::mutex textLock_;  // guards the two texts
  std::string sourceName_;
  std::string message_;

  // Of the thread alone.
  Settings settings_;
  std::string settingsPath_;
  std::string settingsStamp_;
  Reporter reporter_;
  Reporter settingsReporter_;
  bool hadFrames_ = false;  // in the round of tries that is going on
  int attempt_ = 0;

  std::mutex endLock_;
  std::condition_variable ends_;
  bool ended_ = false;  // guarded by endLock_: the thread does nothing more

  std::thread thread_;
};

}  // namespace gstcamera
