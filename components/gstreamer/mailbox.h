// The newest frame, from the thread that makes frames to the one that shows them.
//
// Three buffers below 4 GiB: one is handed out and rests, one holds the newest complete frame, one
// is being filled. Filling exchanges the last two, asking the first two, so neither side waits for
// the other longer than that exchange takes, an old frame is never handed out while a newer one is
// there, and what was handed out stays as it is until the next time. The buffers are made once and
// stay until the mailbox goes: a host may keep an image of a frame longer than it should.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

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
  Mailbox() = default;
  ~Mailbox();
  Mailbox(const Mailbox&) = delete;
  Mailbox& operator=(const Mailbox&) = delete;

  /// Makes the buffers, the first time; true when there are buffers of this shape. False with one
  /// sentence in `*error` when memory is missing or the frames have another shape already.
  bool Prepare(const FrameShape& shape, std::string* error);
  /// The shape, once Prepare has succeeded.
  bool shape(FrameShape* shape) const;

  /// For one thread at a time: the buffer to fill with the next frame, DataSize() bytes.
  std::uint8_t* Filling() { return buffers_[filling_].pixels; }
  /// What was filled is the newest frame now.
  void Publish(const FrameTimes& times);

  /// The newest frame, or null when there is none yet.
  const std::uint8_t* Newest();

  MailboxCounts Counts() const;

 private:
  struct Buffer {
    std::uint8_t* pixels = nullptr;
    std::uint64_t number = 0;
  };
  mutable std::mutex lock_;  // guards all but the filler's own buffer
  FrameShape shape_;
  bool ready_ = false;
  bool fresh_ = false;  // complete_ is newer than handed_
  Buffer buffers_[3];
  int handed_ = 0;
  int complete_ = 1;
  int filling_ = 2;
  MailboxCounts counts_;
};

}  // namespace gstcamera
