// Where frames come in: from GStreamer's samples to the mailbox, with the counts kept on the way.
#pragma once

#include <gst/video/video.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <string>

#include "components/gstreamer/camera_state.h"
#include "components/gstreamer/mailbox.h"

namespace gstcamera {

/// The monotonic clock.
Nanoseconds Now();

struct IntakeCounts {
  MailboxCounts frames;
  std::uint64_t copied = 0;  ///< of those received, the ones that came in memory elsewhere
  std::uint64_t lost = 0;
  double rate = 0;
};

class Intake {
 public:
  /// Puts the frame into the mailbox, rows packed: as it is where it lies in this memory, otherwise
  /// a copy. The first frame fixes size and format for good. `captured` is nothing where that is
  /// not known. False, with one sentence in `*error`, when the frame cannot be used: the source is
  /// of no use then.
  bool Take(GstSample* sample, std::optional<Nanoseconds> captured, std::string* error);
  void CountLost(std::uint64_t frames);
  /// Where frames with `caps` are to be written so that none is copied; null when those would be of
  /// no use, or when there is no memory.
  ObjectHeld<GstBufferPool> OfferPool(GstCaps* caps);

  IntakeCounts CountsAt(Nanoseconds now) const;
  /// Whether the source is open and has given frames since. Taking a frame makes it so.
  bool IsRunning() const { return running_; }
  void SetStopped() { running_ = false; }
  /// While frames are withheld none is taken: they come, but show nothing (noise without a signal).
  void Withhold(bool withhold) {
    const std::lock_guard guard(lock_);  // A frame that is just being taken does not undo it.
    withheld_ = withhold;
    if (withhold) running_ = false;
  }
  bool IsWithheld() const { return withheld_; }

  Mailbox& mailbox() { return mailbox_; }
  const Mailbox& mailbox() const { return mailbox_; }

 private:
  /// What is in the caps of a frame. False, with one sentence in `*error`, when it is of no use.
  bool ReadCaps(GstCaps* caps, std::string* error);

  // Of the one streaming thread that there is at a time. To read the caps of each frame would cost
  // as much as all the rest that is done here.
  CapsHeld caps_;  // those read last; null: none that were of use
  GstVideoInfo info_ = {};
  FrameShape shape_;

  FrameMemory memory_;
  Mailbox mailbox_;
  std::atomic<bool> running_{false};
  std::atomic<bool> withheld_{false};
  mutable std::mutex lock_;  // guards what follows
  RateMeter meter_;
  std::uint64_t lost_ = 0;
  std::uint64_t copied_ = 0;
};

}  // namespace gstcamera
