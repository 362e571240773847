// How the camera does that the filter uses: the component's optional status function.
#pragma once

#include <cstdint>
#include <optional>

#include "components/camera_component.h"

namespace lumivane {

/// Status of the component that is loaded in this process. Nothing while none is loaded (the filter
/// loads it at its first frame) and for a component without the function. Cheap enough for every
/// frame; from the thread that renders.
std::optional<LumivaneCameraStatus> ReadCameraStatus();

/// "live", "stale" or "none".
const char* CameraStateText(std::uint32_t state);

}  // namespace lumivane
