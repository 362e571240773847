// The newest frame, from the thread that makes frames to the one that shows them.
//
// Two frames are kept: one is handed out and rests, one is the newest. Asking exchanges them where
// there is a newer one, so neither side waits for the other longer than that exchange takes, an old
// frame is never handed out while a newer one is there, and what was handed out stays as it is
// until the next time. The thread that makes frames also lets go of them, since what follows from
// that is GStreamer's work: one that was handed out is put aside until the next frame comes.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "components/gstreamer/frame_memory.h"
#include "components/gstreamer/settings.h"

namespace gstcamera {

struct FrameShape {
  PixelFormat format = PixelFormat::k2vuy;
  Size size;
  std::uint32_t RowBytes() const {
    return static_cast<std::uint32_t>(size.width) * (format == PixelFormat::k2vuy ? 2 : 4);
  }
  std::uint32_t DataSize() const { return RowBytes() * static_cast<std::uint32_t>(size.height); }
  bool operator==(const FrameShape&) const = default;
};

/// Nanoseconds on the monotonic clock.
using Nanoseconds = std::int64_t;

struct FrameTimes {
  Nanoseconds captured = 0;  ///< when the camera took it, or else when it arrived
  Nanoseconds ready = 0;     ///< when it was complete in its buffer
  bool captureKnown = false;
};

/// What became of the frames so far.
struct MailboxCounts {
  std::uint64_t received = 0;  ///< also the number of the newest
  std::uint64_t handed = 0;    ///< number of the frame handed out last; 0: none
  std::uint64_t skipped = 0;   ///< replaced before anybody asked for them
  FrameTimes newest;
};

class Mailbox {
 public:
  /// False with one sentence in `*error` when the frames have another shape already.
  bool Accepts(const FrameShape& shape, std::string* error) const;
  /// The shape, once there is a frame.
  bool shape(FrameShape* shape) const;

  /// For one thread at a time. `frame`, of a shape that is accepted, is the newest now; nobody
  /// writes to it while it is held. The first one fixes the shape for good.
  void Publish(const FrameShape& shape, FrameHeld frame, const FrameTimes& times);

  /// The newest frame, or null when there is none yet.
  const std::uint8_t* Newest();

  MailboxCounts Counts() const;

 private:
  mutable std::mutex lock_;
  FrameShape shape_;
  FrameHeld handed_;
  FrameHeld newest_;  // null when that has been handed out
  FrameHeld aside_;   // null when there is a newest
  MailboxCounts counts_;
};

}  // namespace gstcamera
