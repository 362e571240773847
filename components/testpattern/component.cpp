// The entry points of the test-pattern camera component.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>
#include <string>
#include <thread>

#include "components/camera_component.h"
#include "components/testpattern/frame_source.h"

namespace {

using testpattern::FrameSource;
using testpattern::PixelFormat;

// Constant-initialised and without destructors: nothing here depends on when statics come and go.
std::mutex sLock;
FrameSource* sSource = nullptr;
bool sReported = false;
bool sEnded = false;  // no thread is started any more

void Report(const std::string& line) {
  std::fprintf(stderr, "%s\n", line.c_str());
}

FrameSource* RunningSource() {
  // In a forked copy of the process the source is there but its thread is not; the copy gets its
  // own, and the old object stays: its locks may be held by the thread that does not exist.
  if (sSource != nullptr && !sSource->IsRunningHere()) sSource = nullptr;
  if (sSource == nullptr) {
    const auto report = [](const std::string& line) {
      if (!sReported) Report(line);
    };
    const auto settings = testpattern::ReadSettings(
        [](const char* name) -> const char* { return std::getenv(name); }, report);
    sReported = true;
    sSource = new FrameSource(settings);
  }
  return sSource;
}

std::uint32_t CodeOf(PixelFormat format) {
  return format == PixelFormat::kArgb ? LUMIVANE_CAMERA_FORMAT_ARGB : LUMIVANE_CAMERA_FORMAT_2VUY;
}

LumivaneCameraStatus StatusOf(const FrameSource& source) {
  const testpattern::FrameCounts counts = source.Counts();
  const testpattern::Settings& settings = source.settings();
  LumivaneCameraStatus status = {};
  status.state = LUMIVANE_CAMERA_STATE_LIVE;
  status.sequence = counts.anyHanded ? counts.handed + 1 : 0;
  status.received = counts.drawn;
  status.skipped = counts.skipped;
  status.lost = counts.newest + 1 - counts.drawn;
  status.age = static_cast<std::uint64_t>(std::max<std::int64_t>(counts.age.count(), 0));
  const double seconds = (static_cast<double>(counts.newest) + 1) / settings.rate;
  status.rate = static_cast<double>(counts.drawn) / seconds;
  status.nominalRate = settings.rate;
  status.opened = 1;
  status.frameWidth = static_cast<std::int16_t>(settings.width);
  status.frameHeight = static_cast<std::int16_t>(settings.height);
  status.pixelFormat = CodeOf(settings.format);
  std::strcpy(status.source, "test pattern");
  return status;
}

void StopSource() {
  if (sSource != nullptr && sSource->IsRunningHere()) delete sSource;
  sSource = nullptr;
}

// Runs when the component is unloaded, and when the process ends.
__attribute__((destructor)) void End() {
  // Another thread may still be asking for frames. One that holds the lock for long is not there
  // any more: it stayed behind in the process that this one was forked from.
  std::unique_lock guard(sLock, std::defer_lock);
  for (int i = 0; i < 100 && !guard.try_lock(); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  if (!guard.owns_lock()) return;
  sEnded = true;
  StopSource();
}

}  // namespace

extern "C" {

LUMIVANE_CAMERA_ENTRY int32_t __public_fn2(tagSHARED_CAMERA_BUFFER* record) {
  if (record == nullptr || record->structSize != LUMIVANE_CAMERA_RECORD_SIZE) return 0;
  const std::lock_guard guard(sLock);
  static bool failureReported = false;
  if (sEnded) return 0;
  try {
    FrameSource* const source = RunningSource();
    const testpattern::Settings& settings = source->settings();
    return LumivaneCamera_SetFrame(record, source->Newest(), settings.width, settings.height,
                                   CodeOf(settings.format));
  } catch (const std::exception& failure) {
    // Tried again at the next call, since memory may come free; reported once.
    if (!failureReported)
      Report(std::string("LumivaneXXX.component: no frames: ") + failure.what());
    failureReported = true;
    return 0;
  }
}

LUMIVANE_CAMERA_ENTRY int32_t LumivaneCamera_CopyStatus(LumivaneCameraStatus* status) {
  const std::lock_guard guard(sLock);
  LumivaneCameraStatus full = {};
  if (sSource != nullptr && sSource->IsRunningHere()) {
    full = StatusOf(*sSource);
  } else {
    full.age = UINT64_MAX;
    std::strcpy(full.message, "no frame has been asked for yet");
  }
  return LumivaneCamera_StoreStatus(status, &full);
}

LUMIVANE_CAMERA_ENTRY void LumivaneBundle_WillUnload(void) {
  const std::lock_guard guard(sLock);
  StopSource();
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
