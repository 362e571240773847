// The modules for other programs, for `lumivane doctor`.
#include <dlfcn.h>

#include <filesystem>

#include "hosts/lumivane/DoctorFindings.h"
#include "hosts/source/lumivane_source.h"

namespace fs = std::filesystem;

namespace lumivane {
namespace {

/// Why the module at `path` cannot be loaded; empty when it can. It does nothing when it is loaded.
std::string LoadError(const std::string& path) {
  void* const module = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
  if (module == nullptr) {
    const char* const reason = dlerror();
    return reason == nullptr ? "it cannot be loaded" : reason;
  }
  const bool isModule = dlsym(module, "f0r_update") != nullptr;
  dlclose(module);
  return isModule ? std::string() : path + " is no frei0r module";
}

Finding NotFound(const ModuleSearch& search, const std::string& installed) {
  Finding finding{Level::kWarning, "module", search.host + " does not find " + installed, ""};
  const std::string folder = fs::path(installed).parent_path().string();
  if (search.replaces) {
    finding.text += ": " + search.variable + " has it look elsewhere";
    finding.remedy = "export " + search.variable + "=\"$" + search.variable + ":" + folder + "\"";
  } else if (search.fileName.starts_with("libgst")) {
    finding.text += ": it does not look there";
    finding.remedy = "export GST_PLUGIN_PATH=\"$GST_PLUGIN_PATH:" + folder + "\"";
  } else {
    finding.text += ": it does not look there";
    finding.remedy = "mkdir -p ~/.frei0r-1/lib && ln -s " + installed + " ~/.frei0r-1/lib/";
  }
  return finding;
}

}  // namespace

Finding FindingOf(const ModuleSearch& search) {
  if (CommandPath(search.program).empty()) {
    return {Level::kOk, "module", search.host + " is not installed", ""};
  }
  const std::string found = FoundModule(search);
  if (found.empty()) {
    const std::vector<std::string> installed = InstalledModules(search.fileName);
    if (!installed.empty()) return NotFound(search, installed.front());
    return {
        Level::kOk, "module",
        search.host + ": no " + search.fileName + " is installed (package " + search.package + ")",
        ""};
  }
  if (LibraryOfModule(found).empty()) {
    return {Level::kWarning, "module",
            search.host + " finds " + found + ", but that does not find " +
                LUMIVANE_SOURCE_LIBRARY_NAME,
            "install lumivane, or set LUMIVANE_SYSTEM_ROOT to the folder that has it"};
  }
  // The element is left alone: it brings all of GStreamer along.
  const std::string error = search.fileName.starts_with("libgst") ? "" : LoadError(found);
  if (!error.empty()) {
    return {Level::kWarning, "module", search.host + ": " + error,
            "install the module anew, or remove " + found};
  }
  return {Level::kOk, "module", search.host + " finds " + found + " as " + search.name, ""};
}

Findings LookAtModules() {
  Findings findings;
  for (const ModuleSearch& search : ModuleSearches()) findings.push_back(FindingOf(search));
  return findings;
}

}  // namespace lumivane
