// The plug-in and the components: tried for real, as a host does.
#include <unistd.h>

#include "hosts/lumivane/CameraFolders.h"
#include "hosts/lumivane/CameraWait.h"
#include "hosts/lumivane/DoctorFindings.h"
#include "hosts/lumivane/LiveFilter.h"

namespace lumivane {
namespace {

/// For a camera to start, that has been seen to.
constexpr double kSecondsForAFrame = 5;

/// The command that takes away what stands there.
std::string Removal(const CameraPlace& place) {
  const std::string rights = access(place.folder.c_str(), W_OK) == 0 ? "" : "sudo ";
  if (!place.linkTarget.empty()) {
    return "`" + rights + "lumivane camera remove --domain " + place.domain + "` removes it";
  }
  // What is no link is not the program's to remove.
  return "`" + rights + OutOfTheWay(place.path) + "` takes it out of the way";
}

Finding FindingOfPlace(const CameraPlace& place, const CameraTrial& trial) {
  const std::string subject = "camera, " + place.domain;
  if (place.dangling) {
    return {Level::kWarning, subject, place.path + " links to nothing: " + place.linkTarget,
            Removal(place)};
  }
  if (place.kind == CameraPlace::kNothing) {
    return {Level::kOk, subject,
            "none in " + place.folder + (place.folderExists ? "" : " (no such folder)"), ""};
  }
  const std::string path =
      place.linkTarget.empty() ? place.path : place.path + " -> " + place.linkTarget;
  if (!trial.hasFrame) {
    std::string reason = trial.error;
    // Some reasons begin with the path.
    if (reason.rfind(place.path + ": ", 0) == 0) reason.erase(0, place.path.size() + 2);
    const bool asks = trial.loaded && trial.hasEntryPoint;
    return {Level::kWarning, subject, path + ": " + reason,
            asks ? "`lumivane camera list` shows what there is, `lumivane camera use` chooses"
                 : "install it anew, or " + Removal(place)};
  }
  return {Level::kOk, subject,
          path + ": " + trial.name + (trial.version.empty() ? "" : " " + trial.version) + ", " +
              std::to_string(trial.width) + " x " + std::to_string(trial.height) + ", " +
              trial.pixelFormat,
          ""};
}

}  // namespace

std::string OutOfTheWay(const std::string& path) {
  const auto quoted = [](const std::string& text) {
    std::string word = "'";
    for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + "'";
  };
  return "mv " + quoted(path) + " " + quoted(path + ".away");
}

Findings LookAtComponents(CameraUse* use) {
  Findings findings;
  std::string current;
  for (const CameraPlace& place : CameraPlaces()) {
    const bool there = place.kind != CameraPlace::kNothing;
    const CameraTrial trial = there ? TryCamera(place) : CameraTrial{};
    findings.push_back(FindingOfPlace(place, trial));
    // As the filter does it: the first that can be loaded, whether or not it has frames.
    if (!current.empty() || !(trial.loaded || trial.fatal)) continue;
    current = place.path;
    if (trial.hasFrame) *use = CameraUse::kFrames;
    if (trial.fatal) {
      *use = CameraUse::kFatal;
      findings.back().level = Level::kBroken;
    }
  }
  if (current.empty()) {
    findings.push_back({Level::kWarning, "camera",
                        "none can be loaded: the no-camera picture shows",
                        "`lumivane camera install` installs one"});
  } else {
    findings.push_back({Level::kOk, "camera", "the filter loads " + current, ""});
  }
  return findings;
}

Findings LookAtPlugIn(const std::string& given, CameraUse use) {
  if (use == CameraUse::kFatal) {
    return {{Level::kWarning, "plug-in",
             "not tried: its filter would load the camera, and that would end this program",
             "mend what is said of the camera, then try `lumivane doctor` again"}};
  }
  PictureSource source;
  source.plugIn = given;
  std::string error;
  const std::unique_ptr<LiveFilter> filter = LiveFilter::Open(source, &error);
  if (!filter) {
    return {{Level::kBroken, "plug-in", error, "install the plug-in, or name it with --plugin"}};
  }
  const Frame frame =
      FirstFrame(*filter, use == CameraUse::kFrames ? kSecondsForAFrame : 0, nullptr);
  if (!frame.image) {
    return {{Level::kBroken, "plug-in", filter->plugInPath() + " loads, but gives no picture",
             "its resources are missing: install it anew"}};
  }
  return {{Level::kOk, "plug-in",
           filter->plugInPath() + " loads and gives " +
               (frame.live ? "a camera's picture" : "the no-camera picture"),
           ""}};
}

}  // namespace lumivane
