// Where plug-ins lie. Internal to CoreImage.
#pragma once

#include <string>
#include <vector>

namespace lumivane::coreimage {

/// Paths of what is named NAME.plugin in `folder` (bundles, links and plain libraries alike),
/// sorted; empty when the folder cannot be read.
std::vector<std::string> PlugInsIn(const std::string& folder);

}  // namespace lumivane::coreimage
