// Memory for frames below 4 GiB, where the address in the frame record reaches.
//
// It is given out in pieces of one frame each: to the intake, to copy a frame into, and as a pool
// to GStreamer's elements, so that the last one that works on a picture writes it where the host
// reads it. A piece is in use until everybody has let go of it, and is then given out anew. What
// may have been handed out to a host stays mapped until all of this goes, and what somebody still
// uses even then: GStreamer's elements may outlive the component.
#pragma once

#include <gst/gst.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "components/gstreamer/glib_text.h"

namespace gstcamera {

struct MiniObjectUnref {
  void operator()(GstMiniObject* object) const { gst_mini_object_unref(object); }
};
using MiniObjectHeld = std::unique_ptr<GstMiniObject, MiniObjectUnref>;

/// Pixels, and what keeps them from being used for something else.
struct FrameHeld {
  std::uint8_t* pixels = nullptr;
  MiniObjectHeld hold;
};

class FrameMemory {
 public:
  FrameMemory() = default;
  ~FrameMemory();
  FrameMemory(const FrameMemory&) = delete;
  FrameMemory& operator=(const FrameMemory&) = delete;

  /// A piece of `size` bytes that nobody uses. Null pixels, with one sentence in `*error`, when
  /// there is no room. Pieces of other sizes that nobody uses are given back to the system: frames
  /// that are shown have one size for good.
  FrameHeld Take(std::size_t size, std::string* error);

  /// A pool, ready for use, whose buffers lie here; null when there is no room, or when the pools
  /// made before are still in use. When it runs dry its further buffers lie elsewhere.
  ObjectHeld<GstBufferPool> MakePool(GstCaps* caps, std::size_t size);

  /// Whether a piece begins at `pixels`.
  bool Has(const std::uint8_t* pixels) const;

 private:
  struct Piece {
    std::uint8_t* pixels;
    std::size_t size;
    GstMiniObject* token;  // whoever uses the piece has a reference to it, too
    bool IsFree() const { return GST_MINI_OBJECT_REFCOUNT_VALUE(token) == 1; }
  };
  FrameHeld TakeLocked(std::size_t size, std::string* error);

  mutable std::mutex lock_;
  std::vector<Piece> pieces_;
};

}  // namespace gstcamera
