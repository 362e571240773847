#include "components/gstreamer/camera_state.h"

#include <algorithm>

namespace gstcamera {

State StateAt(Nanoseconds now, Nanoseconds newest, bool running, bool still, double staleAfter,
              double hold) {
  if (newest == 0) return State::kNone;
  if (running && still) return State::kLive;
  const double age = static_cast<double>(now - newest) / kSecond;
  if (running && age <= staleAfter) return State::kLive;
  return age <= staleAfter + hold ? State::kStale : State::kNone;
}

void RateMeter::Count(Nanoseconds when) {
  times_[count_++ % times_.size()] = when;
}

double RateMeter::At(Nanoseconds now) const {
  const std::size_t kept = std::min(count_, times_.size());
  Nanoseconds last = 0;
  Nanoseconds first = 0;
  std::size_t periods = 0;
  for (std::size_t i = 0; i < kept; ++i) {
    const Nanoseconds when = times_[(count_ - 1 - i) % times_.size()];
    if (now - when > 2 * kSecond) break;
    if (i == 0) {
      last = when;
    } else {
      ++periods;
    }
    first = when;
    if (last - first >= kSecond) break;
  }
  if (periods == 0 || last <= first) return 0;
  return static_cast<double>(periods) * kSecond / static_cast<double>(last - first);
}

double RetryPause::Next() {
  const double now = next_;
  next_ = std::min(next_ * 1.5, kLongest);
  return now;
}

}  // namespace gstcamera
