#include "components/gstreamer/mailbox.h"

#include <utility>

namespace gstcamera {

bool Mailbox::Accepts(const FrameShape& shape, std::string* error) const {
  const std::lock_guard guard(lock_);
  if (counts_.received == 0 || shape == shape_) return true;
  *error = "frames of another size or format need the program to be started again";
  return false;
}

bool Mailbox::shape(FrameShape* shape) const {
  const std::lock_guard guard(lock_);
  *shape = shape_;
  return counts_.received != 0;
}

void Mailbox::Publish(const FrameShape& shape, FrameHeld frame, const FrameTimes& times) {
  FrameHeld aside;  // let go of when the lock has been
  const std::lock_guard guard(lock_);
  shape_ = shape;
  counts_.newest = times;
  ++counts_.received;
  if (newest_.pixels != nullptr) ++counts_.skipped;
  std::swap(newest_, frame);
  std::swap(aside_, aside);
}

const std::uint8_t* Mailbox::Newest() {
  const std::lock_guard guard(lock_);
  if (newest_.pixels != nullptr) {
    aside_ = std::exchange(handed_, std::exchange(newest_, {}));
    counts_.handed = counts_.received;
  }
  return handed_.pixels;
}

MailboxCounts Mailbox::Counts() const {
  const std::lock_guard guard(lock_);
  return counts_;
}

}  // namespace gstcamera
