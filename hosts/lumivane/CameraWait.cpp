#include "hosts/lumivane/CameraWait.h"

#include <thread>

#include "hosts/lumivane/CameraFolders.h"
#include "hosts/lumivane/Progress.h"
#include "hosts/lumivane/StopSignals.h"

namespace lumivane {

namespace {
constexpr double kSecondsBetweenTries = 0.01;
}

Frame FirstFrame(LiveFilter& filter, double seconds, StopSignals* stop) {
  Frame frame = filter.NextFrame();
  if (frame.live || seconds <= 0 || CurrentCameraName().empty()) return frame;
  const double end = MonotonicSeconds() + seconds;
  while (!frame.live && MonotonicSeconds() < end) {
    const double next = MonotonicSeconds() + kSecondsBetweenTries;
    if (stop == nullptr) {
      std::this_thread::sleep_for(std::chrono::duration<double>(kSecondsBetweenTries));
    } else if (stop->WaitUntil(next)) {
      break;
    }
    frame = filter.NextFrame();
  }
  return frame;
}

}  // namespace lumivane
