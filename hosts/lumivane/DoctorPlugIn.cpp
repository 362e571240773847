// The plug-in and the components: tried for real, as a host does.
#include "hosts/lumivane/CameraFolders.h"
#include "hosts/lumivane/DoctorFindings.h"
#include "hosts/lumivane/LiveFilter.h"

namespace lumivane {
namespace {

Finding FindingOfPlace(const CameraPlace& place, const CameraTrial& trial) {
  const std::string subject = "camera, " + place.domain;
  const std::string fix = "`lumivane camera remove --domain " + place.domain + "` removes it";
  if (place.dangling) {
    return {Level::kWarning, subject, place.path + " links to nothing: " + place.linkTarget, fix};
  }
  if (place.kind == CameraPlace::kNothing) {
    return {Level::kOk, subject,
            "none in " + place.folder + (place.folderExists ? "" : " (no such folder)"), ""};
  }
  const std::string path =
      place.linkTarget.empty() ? place.path : place.path + " -> " + place.linkTarget;
  if (!trial.hasFrame) {
    return {Level::kWarning, subject, path + ": " + trial.error,
            trial.loaded ? "`lumivane camera list` shows what there is, `lumivane camera use` "
                           "chooses"
                         : "install it anew, or " + fix};
  }
  return {Level::kOk, subject,
          path + ": " + trial.name + (trial.version.empty() ? "" : " " + trial.version) + ", " +
              std::to_string(trial.width) + " x " + std::to_string(trial.height) + ", " +
              trial.pixelFormat,
          ""};
}

}  // namespace

Findings LookAtComponents() {
  Findings findings;
  std::string current;
  for (const CameraPlace& place : CameraPlaces()) {
    const bool there = place.kind != CameraPlace::kNothing;
    const CameraTrial trial = there ? TryCamera(place) : CameraTrial{};
    findings.push_back(FindingOfPlace(place, trial));
    // As the filter does it: the first that can be loaded, whether or not it has frames.
    if (trial.loaded && current.empty()) current = place.path;
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

Findings LookAtPlugIn(const std::string& given) {
  PictureSource source;
  source.plugIn = given;
  std::string error;
  const std::unique_ptr<LiveFilter> filter = LiveFilter::Open(source, &error);
  if (!filter) {
    return {{Level::kBroken, "plug-in", error, "install the plug-in, or name it with --plugin"}};
  }
  const Frame frame = filter->NextFrame();
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
