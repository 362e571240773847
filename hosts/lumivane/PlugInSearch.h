// Finding and loading the plug-in.
#pragma once

#include <string>
#include <vector>

#include "platform/CoreImage/CIPlugIn.h"

namespace lumivane {

inline constexpr char kPlugInFileName[] = "CILumivaneInput.plugin";
inline constexpr char kFilterName[] = "CILumivaneInput";

/// Where the plug-in may lie, best first: `given` alone when it is not empty, else the
/// application's own PlugIns folder and the platform's image-unit folders. Paths of bundles,
/// existing or not.
std::vector<std::string> PlugInCandidates(const std::string& given);

/// Loads the first candidate that exists. On failure `loaded` is false and `error` says what to do.
CIPlugInStatus LoadPlugIn(const std::string& given);

}  // namespace lumivane
