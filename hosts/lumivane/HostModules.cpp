#include "hosts/lumivane/HostModules.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string_view>

#include "hosts/source/lumivane_source.h"
#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/Folders.h"

namespace fs = std::filesystem;

namespace lumivane {
namespace {

constexpr char kFrei0rFile[] = "lumivane.so";
constexpr char kElementFile[] = "libgstlumivane.so";
constexpr char kMachineLibraries[] = LUMIVANE_MACHINE_LIBRARIES;

/// A variable that is set, be it to nothing.
std::optional<std::string> Variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

std::string HomeFolder() {
  const std::string home = Variable("HOME").value_or("");
  return home.empty() ? "/" : home;
}

std::vector<std::string> SplitPath(std::string_view list) {
  std::vector<std::string> folders;
  while (!list.empty()) {
    const std::size_t colon = std::min(list.find(':'), list.size());
    if (colon > 0) folders.emplace_back(list.substr(0, colon));
    list.remove_prefix(std::min(colon + 1, list.size()));
  }
  return folders;
}

std::string OwnFrei0rFolder() {
  return HomeFolder() + "/.frei0r-1/lib";
}

/// A search for the frei0r module, its folders still to be filled in.
ModuleSearch Frei0rSearch(const char* host, const char* program, const char* name) {
  ModuleSearch search;
  search.host = host;
  search.program = program;
  search.name = name;
  search.fileName = kFrei0rFile;
  search.package = "lumivane-frei0r";
  return search;
}

ModuleSearch FFmpegSearch() {
  ModuleSearch search = Frei0rSearch("FFmpeg (frei0r_src)", "ffmpeg", "lumivane");
  if (const auto value = Variable("FREI0R_PATH")) {
    search.folders = SplitPath(*value);
    search.variable = "FREI0R_PATH";
  }
  search.folders.insert(search.folders.end(),
                        {OwnFrei0rFolder(), "/usr/local/lib/frei0r-1", "/usr/lib/frei0r-1",
                         "/usr/local/lib64/frei0r-1", "/usr/lib64/frei0r-1"});
  return search;
}

ModuleSearch MltSearch() {
  ModuleSearch search = Frei0rSearch("MLT (melt, Kdenlive, Shotcut)", "melt", "frei0r.lumivane");
  // Either one counts even when it is empty.
  for (const char* name : {"FREI0R_PATH", "MLT_FREI0R_PLUGIN_PATH"}) {
    if (const auto value = Variable(name)) {
      search.folders = SplitPath(*value);
      search.variable = name;
      search.replaces = true;
      return search;
    }
  }
  search.folders = {"/usr/lib/frei0r-1", "/usr/lib64/frei0r-1", "/opt/local/lib/frei0r-1",
                    "/usr/local/lib/frei0r-1", OwnFrei0rFolder()};
  return search;
}

ModuleSearch BridgeSearch() {
  ModuleSearch search =
      Frei0rSearch("GStreamer (frei0r bridge)", "gst-launch-1.0", "frei0r-src-lumivane");
  const std::string value = Variable("FREI0R_PATH").value_or("");
  if (!value.empty()) {
    search.folders = SplitPath(value);
    search.variable = "FREI0R_PATH";
    search.replaces = true;
    return search;
  }
  search.folders = {OwnFrei0rFolder(),           std::string(kMachineLibraries) + "/frei0r-1",
                    "/usr/local/lib/frei0r-1",   "/usr/lib/frei0r-1",
                    "/usr/local/lib32/frei0r-1", "/usr/lib32/frei0r-1",
                    "/usr/local/lib64/frei0r-1", "/usr/lib64/frei0r-1"};
  return search;
}

ModuleSearch ElementSearch() {
  ModuleSearch search;
  search.host = "GStreamer (element)";
  search.program = "gst-launch-1.0";
  search.name = "lumivanesrc";
  search.fileName = kElementFile;
  search.package = "gstreamer1.0-lumivane";
  for (const char* name : {"GST_PLUGIN_PATH_1_0", "GST_PLUGIN_PATH"}) {
    if (const auto value = Variable(name)) {
      search.folders = SplitPath(*value);
      search.variable = name;
      break;
    }
  }
  for (const char* name : {"GST_PLUGIN_SYSTEM_PATH_1_0", "GST_PLUGIN_SYSTEM_PATH"}) {
    if (const auto value = Variable(name)) {
      const std::vector<std::string> folders = SplitPath(*value);
      search.folders.insert(search.folders.end(), folders.begin(), folders.end());
      search.variable = name;
      search.replaces = true;
      return search;
    }
  }
  std::string data = Variable("XDG_DATA_HOME").value_or("");
  if (data.empty()) data = HomeFolder() + "/.local/share";
  search.folders.push_back(data + "/gstreamer-1.0/plugins");
  search.folders.push_back(std::string(kMachineLibraries) + "/gstreamer-1.0");
  return search;
}

/// The folder lib that this program's installation lies in; empty when it lies elsewhere.
std::string OwnLibraries() {
  std::error_code error;
  // lib/lumivane/Lumivane.app/Contents/Linux/lumivane
  fs::path path = fs::read_symlink("/proc/self/exe", error);
  for (int i = 0; i < 4; ++i) path = path.parent_path();
  return path.filename() == "lumivane" ? path.parent_path().string() : std::string();
}

}  // namespace

std::vector<ModuleSearch> ModuleSearches() {
  return {FFmpegSearch(), MltSearch(), BridgeSearch(), ElementSearch()};
}

std::string FoundModule(const ModuleSearch& search) {
  for (const std::string& folder : search.folders) {
    std::string path = folder + "/" + search.fileName;
    if (access(path.c_str(), R_OK) == 0) return path;
  }
  return {};
}

std::vector<std::string> InstalledModules(const std::string& fileName) {
  const std::string machine = kMachineLibraries;
  const std::string own = OwnLibraries();
  std::vector<std::string> folders =
      fileName == kElementFile
          ? std::vector<std::string>{machine + "/gstreamer-1.0", "/usr/local/lib/gstreamer-1.0"}
          : std::vector<std::string>{OwnFrei0rFolder(), "/usr/local/lib/frei0r-1",
                                     "/usr/lib/frei0r-1", machine + "/frei0r-1"};
  if (!own.empty()) {
    folders.push_back(own + (fileName == kElementFile ? "/gstreamer-1.0" : "/frei0r-1"));
  }
  std::vector<std::string> found;
  for (const std::string& folder : folders) {
    const std::string path = folder + "/" + fileName;
    if (access(path.c_str(), F_OK) == 0 &&
        std::find(found.begin(), found.end(), path) == found.end()) {
      found.push_back(path);
    }
  }
  return found;
}

std::string LibraryOfModule(const std::string& path) {
  std::vector<fs::path> folders;
  std::error_code error;
  const fs::path real = fs::canonical(path, error);
  if (!error) {
    const fs::path beside = real.parent_path().parent_path();
    folders.push_back(beside / "lumivane");
    folders.push_back(beside.parent_path() / "lumivane");
  }
  for (const SInt16 domain : {kLocalDomain, kSystemDomain}) {
    folders.emplace_back(files::FolderPath(domain, kDomainTopLevelFolderType));
  }
  for (const fs::path& folder : folders) {
    const fs::path library = folder / LUMIVANE_SOURCE_LIBRARY_NAME;
    if (access(library.c_str(), R_OK) == 0) return library.string();
  }
  return {};
}

std::string CommandPath(const std::string& name) {
  for (const std::string& folder : SplitPath(Variable("PATH").value_or("/usr/bin:/bin"))) {
    std::string path = folder + "/" + name;
    if (access(path.c_str(), X_OK) == 0) return path;
  }
  return {};
}

}  // namespace lumivane
