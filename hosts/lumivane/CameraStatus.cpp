#include "hosts/lumivane/CameraStatus.h"

#include "hosts/lumivane/CameraFolders.h"
#include "platform/CoreFoundation/CoreFoundation.h"

namespace lumivane {

std::optional<LumivaneCameraStatus> ReadCameraStatus() {
  const CFBundleRef bundle = LoadedCamera();
  if (bundle == nullptr) return std::nullopt;
  using CopyStatus = std::int32_t (*)(LumivaneCameraStatus*);
  const auto copyStatus = reinterpret_cast<CopyStatus>(
      CFBundleGetFunctionPointerForName(bundle, CFSTR(LUMIVANE_CAMERA_STATUS_FUNCTION)));
  if (copyStatus == nullptr) return std::nullopt;
  LumivaneCameraStatus status = {};
  status.structSize = sizeof(status);
  if (copyStatus(&status) == 0) return std::nullopt;
  return status;
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
