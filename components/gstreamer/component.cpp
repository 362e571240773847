// The entry points of the GStreamer camera component.

#include <dlfcn.h>

#include <chrono>
#include <cstring>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "components/camera_component.h"
#include "components/gstreamer/live_camera.h"

namespace {

using gstcamera::LiveCamera;

// Constant-initialised and without destructors: nothing here depends on when statics come and go.
std::mutex sLock;
LiveCamera* sCamera = nullptr;
bool sReported = false;
bool sEnded = false;  // the process is ending: no camera is started any more

void ReportOnce(const std::string& text) {
  if (!sReported) gstcamera::WriteToLog(text);
  sReported = true;
}

// Keeps the component's code where it is while the camera's thread runs in it. GStreamer's threads
// load and unload libraries, and wait for the dynamic loader's lock to do so; a destructor run by
// dlclose holds that lock, and must not wait for them. So dlclose alone does not unload a running
// component: LumivaneBundle_WillUnload is called first.
class CodeHolder {
 public:
  void Hold() {
    Dl_info info = {};
    if (handle_ == nullptr && dladdr(&sLock, &info) != 0)
      handle_ = dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
  }
  void Release() {
    if (handle_ != nullptr) dlclose(std::exchange(handle_, nullptr));
  }
  void HoldForGood() { handle_ = nullptr; }

 private:
  void* handle_ = nullptr;
};

CodeHolder sCode;

// Null in a copy of the process that was forked after the start: GStreamer's threads and locks do
// not go along, and what waits for them would wait for ever.
LiveCamera* RunningCamera() {
  if (sCamera == nullptr) {
    sCode.Hold();
    sCamera = new LiveCamera;
  }
  if (sCamera->IsRunningHere()) return sCamera;
  ReportOnce("a forked copy of a program that shows a camera has no camera of its own");
  return nullptr;
}

// A camera that does not end in this time hangs in its driver; what waits for it would hang too.
constexpr std::chrono::seconds kPatience{3};

// Whether no thread of the camera runs any more.
bool EndCamera() {
  LiveCamera* const camera = std::exchange(sCamera, nullptr);
  if (camera == nullptr || !camera->IsRunningHere()) return true;
  // One that does not end keeps what it works with, its code included.
  if (!camera->Stop(kPatience)) return false;
  delete camera;
  return true;
}

// Runs when the process ends, and when the component is unloaded before it had a camera.
__attribute__((destructor)) void StopCamera() {
  // Another thread may still be asking for frames. One that holds the lock for long is not there
  // any more: it stayed behind in the process that this one was forked from.
  std::unique_lock guard(sLock, std::defer_lock);
  for (int i = 0; i < 100 && !guard.try_lock(); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  if (!guard.owns_lock()) return;
  sEnded = true;
  EndCamera();
}

}  // namespace

extern "C" {

LUMIVANE_CAMERA_ENTRY int32_t __public_fn2(tagSHARED_CAMERA_BUFFER* record) {
  if (record == nullptr || record->structSize != LUMIVANE_CAMERA_RECORD_SIZE) return 0;
  const std::lock_guard guard(sLock);
  if (sEnded) return 0;
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
  const std::lock_guard guard(sLock);
  LumivaneCameraStatus full = {};
  if (sCamera != nullptr && sCamera->IsRunningHere()) {
    full = sCamera->Status();
  } else {
    full.age = UINT64_MAX;
    std::strcpy(full.message, "no frame has been asked for yet");
  }
  return LumivaneCamera_StoreStatus(status, &full);
}

LUMIVANE_CAMERA_ENTRY void LumivaneBundle_WillUnload(void) {
  const std::lock_guard guard(sLock);
  if (EndCamera()) {
    sCode.Release();
  } else {
    sCode.HoldForGood();
  }
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
