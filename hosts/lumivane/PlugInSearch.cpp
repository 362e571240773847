#include "hosts/lumivane/PlugInSearch.h"

#include <filesystem>

#include "hosts/lumivane/HostText.h"
#include "platform/CoreFoundation/CoreFoundation.h"

namespace fs = std::filesystem;

namespace lumivane {

std::vector<std::string> PlugInCandidates(const std::string& given) {
  if (!given.empty()) return {given};
  std::vector<std::string> candidates;
  const Held<CFURLRef> own(CFBundleCopyBuiltInPlugInsURL(CFBundleGetMainBundle()));
  const std::string folder = PathText(own.get());
  if (!folder.empty()) candidates.push_back(folder + "/" + kPlugInFileName);
  for (const std::string& place : CIPlugIn::plugInFolders()) {
    candidates.push_back(place + "/" + kPlugInFileName);
  }
  return candidates;
}

CIPlugInStatus LoadPlugIn(const std::string& given) {
  const std::vector<std::string> candidates = PlugInCandidates(given);
  for (const std::string& path : candidates) {
    std::error_code ignored;  // What cannot be looked at is not there for us.
    if (!fs::exists(path, ignored)) continue;
    CIPlugInStatus status;
    CIPlugIn::loadPlugIn(path, &status);
    return status;
  }
  CIPlugInStatus missing;
  missing.path = given;
  missing.error = "the plug-in is not there; looked at";
  for (const std::string& path : candidates) missing.error += "\n  " + path;
  return missing;
}

}  // namespace lumivane
