// `lumivane camera list|install|remove`.
#include <cstdio>
#include <filesystem>

#include "CICameraGen/SharedCameraBundle.h"
#include "hosts/lumivane/CameraFolders.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "nlohmann/json.hpp"
#include "platform/CoreServices/Files.h"

namespace fs = std::filesystem;

namespace lumivane {
namespace {

constexpr const char* kGStreamer = "gstreamer";

const char* KindText(const CameraPlace& place) {
  if (place.dangling) return "a link to nothing";
  switch (place.kind) {
    case CameraPlace::kBundle:
      return "a bundle";
    case CameraPlace::kLibrary:
      return "a plain library";
    case CameraPlace::kOther:
      return "neither a folder nor a file";
    case CameraPlace::kNothing:
      break;
  }
  return "no camera";
}

bool HasEntry(const CameraPlace& place) {
  return place.kind != CameraPlace::kNothing || place.dangling;
}

CameraPlace PlaceOfDomain(const std::string& domain) {
  for (const CameraPlace& place : CameraPlaces()) {
    if (place.domain == domain) return place;
  }
  return {};
}

SInt16 DomainCode(const std::string& domain) {
  if (domain == "system") return kSystemDomain;
  return domain == "local" ? kLocalDomain : kUserDomain;
}

int Report(const CameraOptions& options, bool ok, const std::string& path,
           const std::string& message) {
  if (options.json) {
    const nlohmann::ordered_json report = {{"ok", ok}, {"path", path}, {"message", message}};
    std::printf("%s\n", report.dump(2).c_str());
  } else if (ok) {
    std::printf("%s\n", message.c_str());
  } else {
    std::fprintf(stderr, "lumivane: %s\n", message.c_str());
  }
  return ok ? kExitOk : kExitFailed;
}

// Name of the resource of the application that is this component, less its extension.
const char* ResourceNameOf(const std::string& component) {
  return component == kGStreamer ? "gstreamer/LumivaneXXX"
                                 : SharedCameraBundle::kCameraComponentBaseName;
}

// Asked for one component while one is installed: fine when it is the same.
int ReportInstalled(const CameraOptions& options, const std::string& component) {
  for (const CameraPlace& place : CameraPlaces()) {
    if (!HasEntry(place)) continue;
    const std::string resource = std::string(ResourceNameOf(component)) + ".component";
    const std::string& target = place.linkTarget;
    const std::string end = "/Resources/" + resource;
    if (target.size() >= end.size() &&
        target.compare(target.size() - end.size(), end.size(), end) == 0) {
      return Report(options, true, place.path, place.path + " -> " + target);
    }
    return Report(options, false, place.path,
                  "another camera is installed, at " + place.path +
                      "; `lumivane camera remove --domain " + place.domain + "` removes it");
  }
  return Report(options, true, "", "a camera is installed already; `lumivane camera list`");
}

}  // namespace

int RunCameraList(const CameraOptions& options) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  bool found = false;  // The first place with an entry is the one that would be loaded.
  for (const CameraPlace& place : CameraPlaces()) {
    const bool hasEntry = HasEntry(place);
    const CameraTrial trial = hasEntry && !place.dangling ? TryCamera(place) : CameraTrial{};
    const bool chosen = !found && trial.loaded;
    found = found || trial.loaded;
    if (options.json) {
      list.push_back({{"domain", place.domain},
                      {"folder", place.folder},
                      {"folderExists", place.folderExists},
                      {"path", place.path},
                      {"kind", KindText(place)},
                      {"linkTarget", place.linkTarget},
                      {"name", trial.name},
                      {"version", trial.version},
                      {"loads", trial.loaded},
                      {"hasFrame", trial.hasFrame},
                      {"width", trial.width},
                      {"height", trial.height},
                      {"pixelFormat", trial.pixelFormat},
                      {"error", trial.error},
                      {"current", chosen}});
      continue;
    }
    std::printf("%-6s  %s\n", place.domain.c_str(), place.folder.c_str());
    if (!hasEntry) {
      std::printf("        no camera%s\n", place.folderExists ? "" : " (no such folder)");
      continue;
    }
    std::printf("        %s%s: %s", chosen ? "* " : "", place.path.c_str(), KindText(place));
    if (!place.linkTarget.empty()) std::printf(" -> %s", place.linkTarget.c_str());
    if (trial.hasFrame) {
      std::printf("\n        %s %s, %d x %d, %s", trial.name.c_str(), trial.version.c_str(),
                  trial.width, trial.height, trial.pixelFormat.c_str());
    } else if (!trial.error.empty()) {
      std::printf("\n        %s", trial.error.c_str());
    }
    std::printf("\n");
  }
  if (options.json) std::printf("%s\n", list.dump(2).c_str());
  return kExitOk;
}

int RunCameraInstall(const CameraOptions& options) {
  const CameraPlace before = PlaceOfDomain(options.domain);
  // The installation forms its destination in a folder that exists; making it is the host's part.
  FSRef folder{};
  const OSErr error = FSFindFolder(DomainCode(options.domain), kQuickTimeComponentsFolderType,
                                   kCreateFolder, &folder);
  if (error != noErr) {
    return Report(options, false, before.path,
                  "the folder " + before.folder + " cannot be made (error " +
                      std::to_string(error) + "); choose another --domain or run as root");
  }
  if (before.dangling) {
    return Report(options, false, before.path,
                  before.path + " is a link to nothing; `lumivane camera remove --domain " +
                      options.domain + "` removes it");
  }
  const std::string component = options.component.empty() ? kGStreamer : options.component;
  SharedCameraBundle carried(SharedCameraBundle::kCameraComponentFileName,
                             ResourceNameOf(component));
  const bool ok = carried.InstallLocation(1, before.location);
  const CameraPlace after = PlaceOfDomain(options.domain);
  if (ok && !HasEntry(before) && HasEntry(after)) {
    return Report(options, true, after.path, after.path + " -> " + after.linkTarget);
  }
  if (ok && options.component.empty())
    return Report(options, true, "", "a camera is installed already; `lumivane camera list`");
  if (ok) return ReportInstalled(options, component);
  return Report(options, false, before.path,
                HasEntry(before)
                    ? before.path + " is there already and is never replaced"
                    : before.path + " cannot be linked; `lumivane doctor` shows the log");
}

int RunCameraRemove(const CameraOptions& options) {
  const CameraPlace place = PlaceOfDomain(options.domain);
  if (!HasEntry(place)) {
    return Report(options, false, place.path, "no camera at " + place.path);
  }
  if (place.linkTarget.empty()) {
    return Report(options, false, place.path,
                  place.path + " is no link but the camera itself; move it away by hand");
  }
  // A link to nothing does not count as existing, so the component's own removal leaves it.
  std::error_code error;
  const bool ok = place.dangling
                      ? fs::remove(place.path, error)
                      : SharedCameraBundle::sComponent.InstallLocation(0, place.location);
  return Report(options, ok, place.path,
                ok ? "removed " + place.path
                   : place.path + " cannot be removed; check the folder's permissions");
}

}  // namespace lumivane
