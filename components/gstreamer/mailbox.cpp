#include "components/gstreamer/mailbox.h"

#include <utility>

#include "components/camera_component.h"

namespace gstcamera {

Mailbox::~Mailbox() {
  for (const Buffer& buffer : buffers_) LumivaneCamera_FreeFrame(buffer.pixels, shape_.DataSize());
}

bool Mailbox::Prepare(const FrameShape& shape, std::string* error) {
  const std::lock_guard guard(lock_);
  if (ready_) {
    if (shape == shape_) return true;
    *error = "frames of another size or format need the program to be started again";
    return false;
  }
  for (Buffer& buffer : buffers_) {
    const char* reason = nullptr;
    buffer.pixels =
        static_cast<std::uint8_t*>(LumivaneCamera_AllocateFrame(shape.DataSize(), &reason));
    if (buffer.pixels != nullptr) continue;
    *error = reason;
    for (Buffer& made : buffers_) {
      LumivaneCamera_FreeFrame(std::exchange(made.pixels, nullptr), shape.DataSize());
    }
    return false;
  }
  shape_ = shape;
  ready_ = true;
  return true;
}

bool Mailbox::shape(FrameShape* shape) const {
  const std::lock_guard guard(lock_);
  *shape = shape_;
  return ready_;
}

void Mailbox::Publish(const FrameTimes& times) {
  const std::lock_guard guard(lock_);
  buffers_[filling_].number = ++counts_.received;
  counts_.newest = times;
  std::swap(filling_, complete_);
  if (std::exchange(fresh_, true)) ++counts_.skipped;
}

const std::uint8_t* Mailbox::Newest() {
  const std::lock_guard guard(lock_);
  if (std::exchange(fresh_, false)) std::swap(handed_, complete_);
  counts_.handed = buffers_[handed_].number;
  return counts_.handed == 0 ? nullptr : buffers_[handed_].pixels;
}

MailboxCounts Mailbox::Counts() const {
  const std::lock_guard guard(lock_);
  return counts_;
}

}  // namespace gstcamera
