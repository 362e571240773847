// The program that knows cameras: it lies in the GStreamer component's bundle, so that GStreamer is
// loaded by neither this program nor its tests.
#pragma once

#include <string>
#include <vector>

#include "nlohmann/json.hpp"

namespace lumivane {

/// Path of the component that this program carries under `name` ("gstreamer" or "testpattern");
/// empty when it carries none.
std::string CarriedComponent(const std::string& name);

/// Name of that component as a resource, less its extension.
const char* ComponentResource(const std::string& name);

/// Whether the component that programs load now is the one whose settings the tool knows. If not,
/// one sentence in `*why`, with what to do.
bool SettingsHaveEffect(std::string* why);

/// Runs the tool with these arguments. Its answer always has "ok", and "message" where that is
/// false: also when there is no tool, or it breaks off.
nlohmann::ordered_json AskCameraTool(const std::vector<std::string>& arguments);

}  // namespace lumivane
