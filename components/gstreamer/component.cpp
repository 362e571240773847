// The entry points of the GStreamer camera component.

#include <algorithm>
#include <cstring>
#include <exception>
#include <mutex>
#include <string>

#include "components/camera_component.h"
#include "components/gstreamer/live_camera.h"

namespace {

using gstcamera::LiveCamera;

// Constant-initialised and without destructors: nothing here depends on when statics come and go.
std::mutex sLock;
LiveCamera* sCamera = nullptr;
bool sReported = false;

void ReportOnce(const std::string& text) {
  if (!sReported) gstcamera::WriteToLog(text);
  sReported = true;
}

// Null in a copy of the process that was forked after the start: GStreamer's threads and locks do
// not go along, and what waits for them would wait for ever.
LiveCamera* RunningCamera() {
  if (sCamera == nullptr) sCamera = new LiveCamera;
  if (sCamera->IsRunningHere()) return sCamera;
  ReportOnce("a forked copy of a program that shows a camera has no camera of its own");
  return nullptr;
}

// Runs when the component is unloaded, and when the process ends.
__attribute__((destructor)) void StopCamera() {
  if (sCamera != nullptr && sCamera->IsRunningHere()) delete sCamera;
  sCamera = nullptr;
}

}  // namespace

extern "C" {

LUMIVANE_CAMERA_ENTRY int32_t __public_fn2(tagSHARED_CAMERA_BUFFER* record) {
  if (record == nullptr || record->structSize != LUMIVANE_CAMERA_RECORD_SIZE) return 0;
  const std::lock_guard guard(sLock);
  try {
    LiveCamera* const camera = RunningCamera();
    return camera != nullptr && camera->Newest(record) ? 1 : 0;
  } catch (const std::exception& failure) {
    // Tried again at the next call, since what is missing may come free.
    ReportOnce(std::string("no frames: ") + failure.what());
    return 0;
  }
}

LUMIVANE_CAMERA_ENTRY int32_t LumivaneCamera_CopyStatus(LumivaneCameraStatus* status) {
  if (status == nullptr || status->structSize < LUMIVANE_CAMERA_STATUS_MINIMUM) return 0;
  const std::lock_guard guard(sLock);
  LumivaneCameraStatus full = {};
  if (sCamera != nullptr && sCamera->IsRunningHere()) {
    full = sCamera->Status();
  } else {
    full.age = UINT64_MAX;
    std::strcpy(full.message, "no frame has been asked for yet");
  }
  full.structSize = std::min<std::uint32_t>(status->structSize, sizeof(full));
  std::memcpy(status, &full, full.structSize);
  return 1;
}

// Names every camera component carries; no host calls them.
LUMIVANE_CAMERA_ENTRY int32_t __public_fn0(void) {
  return 0;
}
LUMIVANE_CAMERA_ENTRY int32_t __public_fn1(void) {
  return 0;
}
LUMIVANE_CAMERA_ENTRY int32_t __public_fn_(void) {
  return 0;
}

}  // extern "C"
