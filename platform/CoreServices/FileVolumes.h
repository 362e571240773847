// Mounted volumes: their numbers and names. Internal to the file layer.
#pragma once

#include <string>

namespace lumivane::files {

/// For a path "/Volumes/NAME" or below it, the path it stands for: NAME is the name of a volume.
/// False for other paths and when no volume bears the name.
bool PathOnVolume(const std::string& path, std::string* onVolume);

}  // namespace lumivane::files
