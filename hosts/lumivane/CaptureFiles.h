// Names and texts of the files that pictures are kept in.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "hosts/lumivane/CameraHealth.h"

namespace lumivane {

/// "FOLDER/lumivane-20261121-180314.png" for extension "png"; with "-2" and so on where that is
/// taken.
std::string CaptureName(const std::string& folder, const std::string& extension);

/// What a PNG says of its picture: the program, the time, the camera, its state, the frame's age.
std::vector<std::pair<std::string, std::string>> PictureTexts(const CameraHealth& health);

}  // namespace lumivane
