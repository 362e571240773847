// `lumivane camera install|remove`: links in the components folders.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "CICameraGen/SharedCameraBundle.h"
#include "hosts/lumivane/CameraFolders.h"
#include "hosts/lumivane/CameraTool.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "nlohmann/json.hpp"
#include "platform/CoreServices/Files.h"
#include "sdk/CoreResource/CoreResourceBundle.h"

namespace fs = std::filesystem;

namespace lumivane {
namespace {

struct Result {
  bool ok = false;
  std::string path;
  std::string message;
  std::vector<std::string> hides = {};  ///< paths that load no more while `path` is there
  std::string hiddenBy = {};            ///< the path that loads although `path` is there
};

int Report(const CameraOptions& options, const Result& result) {
  if (options.json) {
    const nlohmann::ordered_json report = {{"ok", result.ok},
                                           {"path", result.path},
                                           {"message", result.message},
                                           {"hides", result.hides},
                                           {"hiddenBy", result.hiddenBy}};
    std::printf(
        "%s\n",
        report.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
  } else if (result.ok) {
    std::printf("%s\n", result.message.c_str());
  } else {
    std::fprintf(stderr, "lumivane: %s\n", result.message.c_str());
  }
  return result.ok ? kExitOk : kExitFailed;
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

std::string RemovalOf(const CameraPlace& place) {
  return "`lumivane camera remove --domain " + place.domain + "`";
}

std::string Arrow(const CameraPlace& place) {
  return place.linkTarget.empty() ? place.path : place.path + " -> " + place.linkTarget;
}

bool IsSameFile(const std::string& a, const std::string& b) {
  std::error_code error;
  return fs::equivalent(a, b, error) && !error;
}

// Says what the entry at result.path is to the other folders: of all that load, the first counts.
void AddPrecedence(Result& result) {
  std::string text;
  bool passed = false;
  for (const CameraPlace& place : CameraPlaces()) {
    if (place.path == result.path) {
      passed = true;
      continue;
    }
    std::string error;
    if (!HasEntry(place) || !CameraLoads(place, &error)) continue;
    if (passed) {
      if (result.hiddenBy.empty()) {
        result.hides.push_back(place.path);
        text += "\nit hides " + Arrow(place) + ", which is searched later";
      }
    } else if (result.hiddenBy.empty()) {
      result.hiddenBy = place.path;
      text += "\n" + Arrow(place) + " hides it, being searched first; " + RemovalOf(place) +
              (place.linkTarget.empty() ? " does not remove what is no link: move it away by hand"
                                        : " removes that");
    }
  }
  if (!result.hides.empty())
    text += "\nprograms that run keep the camera they have loaded until they end";
  result.message += text;
}

Result Refused(const CameraPlace& place, const std::string& message) {
  return {false, place.path, message};
}

// Something stands at the place: whether it is what was asked for.
Result JudgeEntry(const CameraPlace& place, const std::string& carried, bool anyWillDo) {
  if (place.dangling) {
    return Refused(place, place.path + " is a link to nothing (" + place.linkTarget + "); " +
                              RemovalOf(place) + " removes it");
  }
  std::string error;
  const bool loads = CameraLoads(place, &error);
  if (IsSameFile(place.path, carried)) {
    if (!loads) return Refused(place, Arrow(place) + " does not load: " + error);
    Result result = {true, place.path, Arrow(place)};
    AddPrecedence(result);
    return result;
  }
  if (loads && anyWillDo) {
    return {true, place.path,
            "a camera is installed already: " + Arrow(place) + "; `lumivane camera list` shows it"};
  }
  const std::string what = loads ? "another camera is installed, at " + Arrow(place)
                                 : Arrow(place) + " is there already and does not load: " + error;
  if (!place.linkTarget.empty())
    return Refused(place, what + "; " + RemovalOf(place) + " removes the link");
  return Refused(place, what + "; it is no link and never replaced: move it away by hand");
}

Result Install(const CameraOptions& options) {
  const std::string component = options.component.empty() ? "gstreamer" : options.component;
  const bool anyWillDo = options.component.empty() && !options.domainGiven;
  const CameraPlace place = PlaceOfDomain(options.domain);
  const std::string carried = CarriedComponent(component);
  if (HasEntry(place)) return JudgeEntry(place, carried, anyWillDo);
  if (anyWillDo) {
    const CameraPlace loaded = LoadedPlace();
    if (!loaded.path.empty()) {
      return {true, loaded.path,
              "a camera is installed already, for every user: " + Arrow(loaded) +
                  "; --component links one into your own folder, which is searched first"};
    }
  }
  if (carried.empty())
    return Refused(place, "this program carries no component \"" + component + "\"");

  // The installation forms its destination in a folder that exists; making it is the host's part.
  FSRef folder{};
  const OSErr error = FSFindFolder(DomainCode(options.domain), kQuickTimeComponentsFolderType,
                                   kCreateFolder, &folder);
  const std::string elsewhere = "; choose another --domain or run as root";
  if (error != noErr) {
    return Refused(place, "the folder " + place.folder + " cannot be made (error " +
                              std::to_string(error) + ")" + elsewhere);
  }
  if (access(place.folder.c_str(), W_OK) != 0) {
    return Refused(place, "the folder " + place.folder +
                              " cannot be written: " + std::strerror(errno) + elsewhere);
  }
  // Not a SharedCameraBundle, which is content with one in any folder of the user's or the
  // system's: here one folder is meant, and what the others hold is only said.
  CoreResourceBundle bundle(SharedCameraBundle::kCameraComponentFileName,
                            ComponentResource(component));
  if (!bundle.InstallLocation(1, place.location))
    return Refused(place, place.path + " cannot be linked; `lumivane doctor` shows the log");
  Result result = {true, place.path, Arrow(PlaceOfDomain(options.domain))};
  AddPrecedence(result);
  return result;
}

Result Remove(const CameraOptions& options) {
  const CameraPlace place = PlaceOfDomain(options.domain);
  if (!HasEntry(place)) {
    const CameraPlace loaded = LoadedPlace();
    return Refused(place, "no camera at " + place.path +
                              (loaded.path.empty() ? std::string()
                                                   : "; programs load " + Arrow(loaded) +
                                                         " (--domain " + loaded.domain + ")"));
  }
  if (place.linkTarget.empty()) {
    return Refused(place, place.path + " is no link but the camera itself; move it away by hand");
  }
  // A link to nothing does not count as existing, so the component's own removal leaves it.
  std::error_code error;
  const bool ok = place.dangling
                      ? fs::remove(place.path, error)
                      : SharedCameraBundle::sComponent.InstallLocation(0, place.location);
  if (!ok) {
    return Refused(place, place.path + " cannot be removed; check the permissions of the folder " +
                              place.folder + ", or run as root");
  }
  const CameraPlace loaded = LoadedPlace();
  return {true, place.path,
          "removed " + Arrow(place) +
              (loaded.path.empty() ? std::string("\nno camera is installed now")
                                   : "\nprograms that start now load " + Arrow(loaded))};
}

}  // namespace

int RunCameraInstall(const CameraOptions& options) {
  return Report(options, Install(options));
}

int RunCameraRemove(const CameraOptions& options) {
  return Report(options, Remove(options));
}

}  // namespace lumivane
