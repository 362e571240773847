#include "hosts/lumivane/CameraStatus.h"

#include "hosts/lumivane/CameraFolders.h"
#include "hosts/lumivane/HostText.h"
#include "platform/CoreFoundation/CoreFoundation.h"

namespace lumivane {

std::optional<LumivaneCameraStatus> ReadCameraStatus() {
  for (const CameraPlace& place : CameraPlaces()) {
    if (place.kind != CameraPlace::kBundle && place.kind != CameraPlace::kLibrary) continue;
    const Held<CFURLRef> url(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(place.path.data()),
        static_cast<CFIndex>(place.path.size()), 0));
    // Bundles are one per place in a process: this is the one that the filter has loaded.
    const Held<CFBundleRef> bundle(CFBundleCreate(kCFAllocatorDefault, url.get()));
    if (!bundle || !CFBundleIsExecutableLoaded(bundle.get())) continue;
    using CopyStatus = std::int32_t (*)(LumivaneCameraStatus*);
    const auto copyStatus = reinterpret_cast<CopyStatus>(
        CFBundleGetFunctionPointerForName(bundle.get(), CFSTR(LUMIVANE_CAMERA_STATUS_FUNCTION)));
    if (copyStatus == nullptr) return std::nullopt;
    LumivaneCameraStatus status = {};
    status.structSize = sizeof(status);
    if (copyStatus(&status) == 0) return std::nullopt;
    return status;
  }
  return std::nullopt;
}

const char* CameraStateText(std::uint32_t state) {
  switch (state) {
    case LUMIVANE_CAMERA_STATE_LIVE:
      return "live";
    case LUMIVANE_CAMERA_STATE_STALE:
      return "stale";
    default:
      return "none";
  }
}

}  // namespace lumivane
