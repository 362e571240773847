#include "platform/CoreImage/PlugInFolders.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "platform/CoreImage/CIPlugIn.h"
#include "platform/CoreServices/Folders.h"

namespace lumivane::coreimage {

std::vector<std::string> PlugInsIn(const std::string& folder) {
  std::vector<std::string> found;
  std::error_code error;
  std::filesystem::directory_iterator entries(folder, error);
  for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
    if (entries->path().extension() == ".plugin") found.push_back(entries->path().string());
  }
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace lumivane::coreimage

std::vector<std::string> CIPlugIn::plugInFolders() {
  std::vector<std::string> folders;
  for (const SInt16 domain : {kUserDomain, kLocalDomain, kSystemDomain}) {
    std::string path = lumivane::files::FolderPath(domain, kImageUnitsFolderType);
    if (!path.empty()) folders.push_back(std::move(path));
  }
  return folders;
}
