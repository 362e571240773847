// The three states, the rate, and the pause before the next try: rules without a clock of their
// own.
#pragma once

#include <array>
#include <cstddef>

#include "components/gstreamer/mailbox.h"

namespace gstcamera {

enum class State { kNone, kLive, kStale };

inline constexpr Nanoseconds kSecond = 1'000'000'000;

/// What is shown at `now`. `newest` is when the newest frame became ready, 0 for none ever;
/// `running`, whether the source is open and has not failed; `still`, whether it is a picture that
/// is meant not to change. `staleAfter` and `hold` are seconds.
State StateAt(Nanoseconds now, Nanoseconds newest, bool running, bool still, double staleAfter,
              double hold);

/// Frames a second over about the last second.
class RateMeter {
 public:
  void Count(Nanoseconds when);
  /// 0 when no two frames lie within two seconds before `now`.
  double At(Nanoseconds now) const;

 private:
  std::array<Nanoseconds, 256> times_{};  // ring
  std::size_t count_ = 0;
};

/// Seconds until the next try to open a source: 1 at first, half as much again each time, 5 at
/// most.
class RetryPause {
 public:
  double Next();
  void Reset() { next_ = kFirst; }

 private:
  static constexpr double kFirst = 1;
  static constexpr double kLongest = 5;
  double next_ = kFirst;
};

}  // namespace gstcamera
