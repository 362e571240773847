#include "hosts/source/PlugInPlaces.h"

#include <dlfcn.h>

#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace lumivane::source {
namespace {

constexpr char kPlugInFileName[] = "CILumivaneInput.plugin";
constexpr char kPlugInFolderName[] = "ImageUnits";

/// The folder this library lies in; empty when it cannot be told.
fs::path OwnFolder() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&kPlugInFileName), &info) == 0) return {};
  std::error_code error;
  const fs::path own = fs::canonical(info.dli_fname, error);
  return error ? fs::path() : own.parent_path();
}

}  // namespace

CIPlugInStatus LoadPlugIn() {
  std::vector<std::string> folders = CIPlugIn::plugInFolders();
  const fs::path own = OwnFolder();
  if (!own.empty()) folders.push_back((own / kPlugInFolderName).string());
  CIPlugInStatus status;
  status.error = std::string("no ") + kPlugInFileName + " in";
  for (const std::string& folder : folders) {
    const std::string path = folder + "/" + kPlugInFileName;
    std::error_code ignored;  // What cannot be looked at is not there for us.
    if (fs::exists(path, ignored)) {
      CIPlugIn::loadPlugIn(path, &status);
      if (!status.loaded) status.error = path + " cannot be loaded: " + status.error;
      return status;
    }
    status.error += (&folder == &folders.front() ? " " : ", ") + folder;
  }
  return status;
}

}  // namespace lumivane::source
