// One source, opened once: a GStreamer pipeline that ends in the intake.
//
//   source -> [decoder] -> [newest-only queue] -> [deinterlace] -> [turn] -> [crop] -> convert and
//   scale -> UYVY or ARGB at the set size -> appsink
//
// Live sources are shown as they come; others, such as files, in their own time.
#pragma once

#include <gst/app/gstappsink.h>

#include <atomic>
#include <optional>
#include <string>

#include "components/gstreamer/cameras.h"
#include "components/gstreamer/format_choice.h"
#include "components/gstreamer/intake.h"
#include "components/gstreamer/settings.h"

namespace gstcamera {

/// What is to be opened.
struct Plan {
  Source source;                ///< kCamera, kDevicePath, kAddress, kTest or kPipeline
  std::string name;             ///< for people
  GstDevice* device = nullptr;  ///< of a camera, not owned; null: by devicePath
  std::string devicePath;       ///< /dev/videoN, where there is one
  std::string stableName;
  const GstCaps* offered = nullptr;  ///< of a camera, not owned
  bool anyFormat = false;            ///< take whatever the camera gives
  bool otherTransport = false;       ///< of an rtsp address: UDP instead of TCP
};

struct PipelineEvent {
  enum Kind { kNothing, kError, kEnd } kind = kNothing;
  std::string text;  ///< of an error: one sentence
  bool busy = false;
  bool formatRefused = false;
};

class Pipeline {
 public:
  /// Neither outlives `intake`. `fixed` is the shape that frames must have, once one has.
  Pipeline(const Plan& plan, const Settings& settings, std::optional<Size> fixed, Intake& intake);
  /// Stops it; after that nothing of it runs.
  ~Pipeline();
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  /// Builds and starts it. False with one sentence in `*error`.
  bool Start(std::string* error);
  /// Readable when NextEvent has something to say.
  int EventFile() const { return eventFile_; }
  /// The next of what has happened; kNothing when that was all.
  PipelineEvent NextEvent();
  /// Begins a file again from its start. False when the source cannot.
  bool Rewind();

  /// Frames since the start or the last Rewind.
  std::uint64_t FramesOfThisPass() const { return passFrames_; }
  bool IsLive() const { return live_; }
  double NominalRate() const { return nominalRate_; }

 private:
  bool BuildCamera(std::string* error);
  bool BuildTest(std::string* error);
  bool BuildAddress(std::string* error);
  bool BuildOwn(std::string* error);
  bool BuildTail(std::string* error);
  GstElement* Add(const char* factory, std::string* error);
  GstElement* AddNewestOnly(std::string* error);
  bool Chain(GstElement* element, std::string* error);
  bool AddDecoder(std::string* error);
  void WatchEntry();
  void OfferMemory();
  CapsHeld OutputCaps(std::optional<Size> size) const;
  void PostProblem(const std::string& text);

  static void OnPad(GstElement* decoder, GstPad* pad, gpointer self);
  static void OnNoMorePads(GstElement* decoder, gpointer self);
  static void OnSource(GstElement* bin, GstElement* source, gpointer self);
  static void OnInnerElement(GstBin* bin, GstBin* inner, GstElement* element, gpointer);
  static GstFlowReturn OnSample(GstAppSink* sink, gpointer self);
  static GstPadProbeReturn OnSinkQuery(GstPad* pad, GstPadProbeInfo* info, gpointer self);
  static GstPadProbeReturn OnEntry(GstPad* pad, GstPadProbeInfo* info, gpointer self);
  static GstPadProbeReturn OnCapture(GstPad* pad, GstPadProbeInfo* info, gpointer self);
  GstPadProbeReturn OnEntryBuffer(GstPadProbeInfo* info);
  void OnEntryCaps(GstPadProbeInfo* info);

  const Plan& plan_;
  /// A copy: GStreamer's threads read it while the camera's own takes a changed file in.
  const Settings settings_;
  std::optional<Size> size_;
  Intake& intake_;
  GstElement* pipeline_ = nullptr;  // owned
  GstElement* last_ = nullptr;      // end of what is linked so far; owned by the pipeline, as below
  GstElement* entry_ = nullptr;     // first element of the tail
  GstElement* rangeFilter_ = nullptr;
  GstElement* filter_ = nullptr;
  GstElement* sink_ = nullptr;
  GstBus* bus_ = nullptr;  // owned
  int eventFile_ = -1;
  std::atomic<bool> live_{false};  // known when GStreamer's threads run already
  std::atomic<double> nominalRate_{0};
  std::atomic<std::uint64_t> passFrames_{0};

  // Of the streaming thread alone.
  GstClockTime due_ = GST_CLOCK_TIME_NONE;
  std::uint64_t stamped_ = 0;
  guint64 lastOffset_ = GST_BUFFER_OFFSET_NONE;
};

/// What videoflip is asked for, to turn and then flip.
GstVideoOrientationMethod Orientation(int rotate, Flip flip);

/// `text` as videotestsrc's pattern property knows it; false, with the names there are, if it does
/// not.
bool TestPattern(const std::string& text, int* pattern, std::string* known);

}  // namespace gstcamera
