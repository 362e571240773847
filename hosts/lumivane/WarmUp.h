// A camera's first frames: dark, then too bright, until its exposure has found the scene.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "hosts/lumivane/CameraHealth.h"

namespace lumivane {

class StopSignals;

/// Says when the brightness of a live picture has come to rest.
class Settling {
 public:
  /// Frames that must agree, and the time they must span.
  static constexpr int kFrames = 6;
  static constexpr double kSeconds = 0.4;
  /// How far apart their mean luma may be, of 255.
  static constexpr double kSpread = 3;
  /// A mean below it is as good as black: a camera that has not begun to see.
  static constexpr double kBlack = 8;
  /// Pixels that stay the same to the last bit for so long come from no sensor; nor do those of two
  /// different frames.
  static constexpr double kStillSeconds = 0.2;

  /// One look at the picture: `pixels` is a small copy, RGBA, of the same size each time;
  /// `sequence` the frame's number, where it is known. Whether it has settled; until then, look
  /// again.
  bool Add(double time, std::vector<std::uint8_t> pixels, std::optional<std::uint64_t> sequence);

 private:
  struct Look {
    double time;
    double luma;
  };
  std::deque<Look> looks_;  ///< of new frames, the last kSeconds and one before
  std::vector<std::uint8_t> pixels_;
  std::optional<std::uint64_t> sequence_;
  double sameSince_ = 0;
  int sameFrames_ = 0;
};

/// Mean luma (BT.709 weights) of RGBA pixels, 0 to 255.
double MeanLuma(const std::vector<std::uint8_t>& rgba);

/// Looks at the picture until it has settled, for at most `seconds`, or until `stop`. At once where
/// no camera is installed. With 0 seconds it waits for no more than a camera's first frame. The
/// seconds it took.
double WarmUp(LiveFilter& filter, CameraObserver& observer, double seconds, StopSignals& stop);

}  // namespace lumivane
