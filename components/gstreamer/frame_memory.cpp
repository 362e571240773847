#include "components/gstreamer/frame_memory.h"

#include <algorithm>
#include <array>

#include "components/camera_component.h"

namespace gstcamera {
namespace {

// One frame is handed out, one is the newest or was handed out before, and one is being written.
// All go round in turn, so more of them than are needed take the processor's caches: at 640x480 a
// fourth costs as much again as all that is done with a frame here.
constexpr std::size_t kInPool = 3;
// The same three, when frames are copied.
constexpr std::size_t kForCopies = 3;
// Room for sources that change their pool while frames of the ones before are still on their way.
constexpr std::size_t kMost = 3 * kInPool + kForCopies;

}  // namespace

FrameMemory::~FrameMemory() {
  for (const Piece& piece : pieces_) {
    if (piece.IsFree()) LumivaneCamera_FreeFrame(piece.pixels, piece.size);
    gst_mini_object_unref(piece.token);
  }
}

FrameHeld FrameMemory::Take(std::size_t size, std::string* error) {
  const std::lock_guard guard(lock_);
  return TakeLocked(size, error);
}

FrameHeld FrameMemory::TakeLocked(std::size_t size, std::string* error) {
  std::erase_if(pieces_, [size](const Piece& piece) {
    if (piece.size == size || !piece.IsFree()) return false;
    LumivaneCamera_FreeFrame(piece.pixels, piece.size);
    gst_mini_object_unref(piece.token);
    return true;
  });
  auto found = std::find_if(pieces_.begin(), pieces_.end(), [size](const Piece& piece) {
    return piece.size == size && piece.IsFree();
  });
  if (found == pieces_.end()) {
    const char* reason = nullptr;
    void* const pixels = LumivaneCamera_AllocateFrame(size, &reason);
    if (pixels == nullptr) {
      *error = reason;
      return {};
    }
    // GStreamer counts the references to a piece in an object of its own: its code is still there
    // when somebody lets go of a piece after this component has been unloaded.
    pieces_.push_back(
        {static_cast<std::uint8_t*>(pixels), size, GST_MINI_OBJECT_CAST(gst_buffer_new())});
    found = pieces_.end() - 1;
  }
  return {found->pixels, MiniObjectHeld(gst_mini_object_ref(found->token))};
}

ObjectHeld<GstBufferPool> FrameMemory::MakePool(GstCaps* caps, std::size_t size) {
  const std::lock_guard guard(lock_);
  const auto used = static_cast<std::size_t>(std::count_if(
      pieces_.begin(), pieces_.end(), [](const Piece& piece) { return !piece.IsFree(); }));
  if (used + kInPool + kForCopies > kMost) return nullptr;
  std::array<FrameHeld, kInPool> pieces;
  for (FrameHeld& piece : pieces) {
    std::string ignored;
    piece = TakeLocked(size, &ignored);
    if (piece.pixels == nullptr) return nullptr;
  }
  ObjectHeld<GstBufferPool> pool(gst_buffer_pool_new());
  GstStructure* const config = gst_buffer_pool_get_config(pool.get());
  gst_buffer_pool_config_set_params(config, caps, static_cast<guint>(size), 0, 0);
  if (!gst_buffer_pool_set_config(pool.get(), config) ||
      !gst_buffer_pool_set_active(pool.get(), TRUE))
    return nullptr;
  // A class of pools of our own would stay registered when this component is unloaded. A plain pool
  // keeps what memory its buffers have.
  std::array<GstBuffer*, kInPool> buffers = {};
  for (std::size_t i = 0; i < kInPool; ++i) {
    if (gst_buffer_pool_acquire_buffer(pool.get(), &buffers[i], nullptr) != GST_FLOW_OK) break;
    gst_buffer_replace_all_memory(
        buffers[i],
        gst_memory_new_wrapped(static_cast<GstMemoryFlags>(0), pieces[i].pixels, size, 0, size,
                               pieces[i].hold.release(),
                               reinterpret_cast<GDestroyNotify>(gst_mini_object_unref)));
    // Else the pool would throw the buffer away as one that came back changed.
    GST_BUFFER_FLAG_UNSET(buffers[i], GST_BUFFER_FLAG_TAG_MEMORY);
  }
  for (GstBuffer* const buffer : buffers) {
    if (buffer != nullptr) gst_buffer_unref(buffer);
  }
  return pool;
}

bool FrameMemory::Has(const std::uint8_t* pixels) const {
  const std::lock_guard guard(lock_);
  return std::any_of(pieces_.begin(), pieces_.end(),
                     [pixels](const Piece& piece) { return piece.pixels == pixels; });
}

}  // namespace gstcamera
