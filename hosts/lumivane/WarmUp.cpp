#include "hosts/lumivane/WarmUp.h"

#include <algorithm>

#include "hosts/lumivane/CameraWait.h"
#include "hosts/lumivane/Progress.h"
#include "hosts/lumivane/StopSignals.h"

namespace lumivane {
namespace {

constexpr double kSecondsForAFirstFrame = 3;
constexpr PictureSize kSmall = {64, 48};
constexpr double kSecondsBetweenLooks = 1.0 / 60;

}  // namespace

double MeanLuma(const std::vector<std::uint8_t>& rgba) {
  if (rgba.size() < 4) return 0;
  double sum = 0;
  for (std::size_t i = 0; i + 4 <= rgba.size(); i += 4) {
    sum += 0.2126 * rgba[i] + 0.7152 * rgba[i + 1] + 0.0722 * rgba[i + 2];
  }
  return sum / static_cast<double>(rgba.size() / 4);
}

bool Settling::Add(double time, std::vector<std::uint8_t> pixels,
                   std::optional<std::uint64_t> sequence) {
  const bool first = pixels_.empty();
  const bool same = !first && pixels == pixels_;
  // Without numbers, only a picture that changed is surely another frame.
  const bool newFrame = first || (sequence ? sequence != sequence_ : !same);
  const double luma = MeanLuma(pixels);
  if (!same) {
    sameSince_ = time;
    sameFrames_ = 0;
  }
  if (newFrame) {
    ++sameFrames_;
    looks_.push_back({time, luma});
  }
  pixels_ = std::move(pixels);
  sequence_ = sequence;
  if (luma < kBlack) return false;
  if (sequence ? sameFrames_ >= 2 : same && time - sameSince_ >= kStillSeconds) return true;

  while (looks_.size() > 1 && time - looks_[1].time >= kSeconds) looks_.pop_front();
  if (looks_.size() < kFrames || time - looks_.front().time < kSeconds) return false;
  const auto [least, most] = std::minmax_element(
      looks_.begin(), looks_.end(), [](const Look& a, const Look& b) { return a.luma < b.luma; });
  return most->luma - least->luma <= kSpread;
}

double WarmUp(LiveFilter& filter, CameraObserver& observer, double seconds, StopSignals& stop) {
  const double start = MonotonicSeconds();
  // Not even the first frame is there at once: a camera is opened when it is asked for one.
  Frame frame = FirstFrame(filter, seconds > 0 ? seconds : kSecondsForAFirstFrame, &stop);
  if (seconds <= 0) return 0;
  Settling settling;
  while (frame.live) {
    const double now = MonotonicSeconds();
    const CameraHealth health = observer.Look(frame.live, true);
    Picture small = filter.Render(frame, kSmall);
    if (small.rgba.empty() || settling.Add(now, std::move(small.rgba), health.sequence) ||
        now - start >= seconds || stop.WaitUntil(now + kSecondsBetweenLooks)) {
      break;
    }
    frame = filter.NextFrame();
  }
  return MonotonicSeconds() - start;
}

}  // namespace lumivane
