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
  std::uint64_t lost = 0;
  double rate = 0;
};

class Intake {
 public:
  /// Copies the frame into the mailbox, rows packed. The first frame fixes size and format for
  /// good. `captured` is nothing where that is not known. False, with one sentence in `*error`,
  /// when the frame cannot be used: the source is of no use then.
  bool Take(GstSample* sample, std::optional<Nanoseconds> captured, std::string* error);
  void CountLost(std::uint64_t frames);

  IntakeCounts CountsAt(Nanoseconds now) const;
  /// Whether the source is open and has given frames since. Taking a frame makes it so.
  bool IsRunning() const { return running_; }
  void SetStopped() { running_ = false; }
  /// While frames are withheld none is taken: they come, but show nothing (noise without a signal).
  void Withhold(bool withhold) {
    withheld_ = withhold;
    if (withhold) running_ = false;
  }
  bool IsWithheld() const { return withheld_; }

  Mailbox& mailbox() { return mailbox_; }
  const Mailbox& mailbox() const { return mailbox_; }

 private:
  Mailbox mailbox_;
  std::atomic<bool> running_{false};
  std::atomic<bool> withheld_{false};
  mutable std::mutex lock_;  // guards what follows
  RateMeter meter_;
  std::uint64_t lost_ = 0;
};

}  // namespace gstcamera
