// `lumivane camera list`.
#include <cstdio>
#include <string>

#include "hosts/lumivane/CameraFolders.h"
#include "hosts/lumivane/CameraTool.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "nlohmann/json.hpp"

namespace lumivane {
namespace {

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

void PrintPlace(const CameraPlace& place, const CameraTrial& trial, bool chosen) {
  std::printf("%-6s  %s\n", place.domain.c_str(), place.folder.c_str());
  if (!HasEntry(place)) {
    std::printf("        no camera%s\n", place.folderExists ? "" : " (no such folder)");
    return;
  }
  std::printf("        %s%s: %s", chosen ? "* " : "", place.path.c_str(), KindText(place));
  if (!place.linkTarget.empty()) std::printf(" -> %s", place.linkTarget.c_str());
  if (trial.hasFrame) {
    std::printf("\n        %s %s, %d x %d, %s", trial.name.c_str(), trial.version.c_str(),
                trial.width, trial.height, trial.pixelFormat.c_str());
  } else if (!trial.error.empty()) {
    std::printf("\n        %s%s%s", trial.name.c_str(), trial.name.empty() ? "" : ": ",
                trial.error.c_str());
  }
  std::printf("\n");
}

// "30, 15": at most so many of a camera's rates are shown.
std::string RatesText(const nlohmann::ordered_json& rates) {
  constexpr std::size_t kMost = 6;
  std::string text;
  for (std::size_t i = 0; i < rates.size() && i < kMost; ++i) {
    char number[32];
    std::snprintf(number, sizeof(number), "%s%.4g", i == 0 ? "" : ", ", rates[i].get<double>());
    text += number;
  }
  return rates.size() > kMost ? text + " ..." : text;
}

void PrintCameras(const nlohmann::ordered_json& answer) {
  if (!answer["ok"].get<bool>()) {
    std::printf("\n%s\n", answer["message"].get<std::string>().c_str());
    return;
  }
  const nlohmann::ordered_json& cameras = answer["cameras"];
  std::printf("\n%s\n", cameras.empty() ? "no camera is connected" : "cameras");
  for (const nlohmann::ordered_json& camera : cameras) {
    std::printf("  %s\n      %s\n", camera["name"].get<std::string>().c_str(),
                camera["stableName"].get<std::string>().c_str());
    for (const char* key : {"byId", "byPath", "path"}) {
      const std::string path = camera[key].get<std::string>();
      if (!path.empty()) std::printf("      %s\n", path.c_str());
    }
    const std::string holder = camera["inUseBy"].get<std::string>();
    if (!holder.empty()) std::printf("      in use by %s\n", holder.c_str());
    for (const nlohmann::ordered_json& format : camera["formats"]) {
      std::printf("      %-6s %5d x %-5d %s\n", format["format"].get<std::string>().c_str(),
                  format["width"].get<int>(), format["height"].get<int>(),
                  RatesText(format["rates"]).c_str());
    }
  }
  const nlohmann::ordered_json& settings = answer["settings"];
  std::printf("source  %s (%s)\n", settings["values"]["source"].get<std::string>().c_str(),
              settings["file"].get<std::string>().c_str());
  for (const nlohmann::ordered_json& complaint : settings["complaints"])
    std::fprintf(stderr, "lumivane: %s\n", complaint.get<std::string>().c_str());
}

// What the shells' completions ask for. No component is loaded for it.
int PrintNames() {
  const nlohmann::ordered_json answer = AskCameraTool({"list"});
  if (!answer["ok"].get<bool>()) {
    std::fprintf(stderr, "lumivane: %s\n", answer["message"].get<std::string>().c_str());
    return kExitFailed;
  }
  for (const nlohmann::ordered_json& camera : answer["cameras"]) {
    const std::string name = camera["stableName"].get<std::string>();
    // A name with a line end in it would be two.
    if (name.find('\n') == std::string::npos) std::printf("%s\n", name.c_str());
  }
  return kExitOk;
}

}  // namespace

int RunCameraList(const CameraOptions& options) {
  if (options.names) return PrintNames();
  nlohmann::ordered_json components = nlohmann::ordered_json::array();
  bool found = false;  // The first place with an entry is the one that would be loaded.
  for (const CameraPlace& place : CameraPlaces()) {
    const bool hasEntry = HasEntry(place);
    const CameraTrial trial = hasEntry && !place.dangling ? TryCamera(place) : CameraTrial{};
    const bool chosen = !found && trial.loaded;
    found = found || trial.loaded;
    components.push_back({{"domain", place.domain},
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
    if (!options.json) PrintPlace(place, trial, chosen);
  }
  const nlohmann::ordered_json answer = AskCameraTool({"list"});
  if (options.json) {
    nlohmann::ordered_json list = {{"components", components},
                                   {"cameras", nlohmann::ordered_json::array()}};
    if (answer["ok"].get<bool>()) {
      list["cameras"] = answer["cameras"];
      list["settings"] = answer["settings"];
    } else {
      list["message"] = answer["message"];
    }
    std::printf("%s\n", list.dump(2).c_str());
  } else {
    PrintCameras(answer);
  }
  return kExitOk;
}

}  // namespace lumivane
