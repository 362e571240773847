// `lumivane camera use` and `lumivane camera controls`.
#include <cstdio>

#include "hosts/lumivane/CameraTool.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"

namespace lumivane {
namespace {

using Json = nlohmann::ordered_json;

int Failed(const Json& answer, bool json) {
  if (json) {
    std::printf("%s\n", answer.dump(2).c_str());
  } else {
    std::fprintf(stderr, "lumivane: %s\n", answer.value("message", "").c_str());
  }
  return kExitFailed;
}

std::string NumberText(const Json& number) {
  return number.is_number_float() ? std::to_string(number.get<double>()) : number.dump();
}

std::string RangeText(const Json& control) {
  if (control["type"] == "boolean") return "0 or 1";
  if (!control.contains("menu")) {
    std::string range = NumberText(control["minimum"]) + " to " + NumberText(control["maximum"]);
    if (control["step"] != 0 && control["step"] != 1)
      range += ", step " + NumberText(control["step"]);
    return range;
  }
  std::string names;
  for (const Json& item : control["menu"]) {
    names += (names.empty() ? "" : ", ") + NumberText(item["value"]) + " " +
             item["name"].get<std::string>();
  }
  return names;
}

}  // namespace

int RunCameraUse(const CameraUseOptions& options) {
  std::vector<std::string> arguments = {"use"};
  if (options.source) arguments.push_back("source=" + *options.source);
  for (const auto& [key, value] : options.settings) arguments.push_back(key + "=" + value);
  Json answer = AskCameraTool(arguments);
  if (!answer["ok"].get<bool>()) return Failed(answer, options.json);
  std::string ineffective;
  const bool effective = SettingsHaveEffect(&ineffective);
  if (options.json) {
    answer["inEffect"] = effective;
    answer["message"] = ineffective;
    std::printf("%s\n", answer.dump(2).c_str());
    return kExitOk;
  }
  const Json& settings = answer["settings"];
  std::printf("%s\n", settings["file"].get<std::string>().c_str());
  for (const auto& [key, value] : settings["values"].items())
    std::printf("  %-12s %s\n", key.c_str(), value.get<std::string>().c_str());
  const std::string note = answer.value("note", "");
  if (!note.empty()) std::printf("%s\n", note.c_str());
  const std::string warning = answer.value("warning", "");
  if (!warning.empty()) std::fprintf(stderr, "lumivane: %s\n", warning.c_str());
  for (const Json& complaint : settings["complaints"])
    std::fprintf(stderr, "lumivane: %s\n", complaint.get<std::string>().c_str());
  for (const Json& variable : settings["variables"]) {
    std::fprintf(stderr, "lumivane: the environment variable %s is set and wins over the file\n",
                 variable.get<std::string>().c_str());
  }
  if (!effective)
    std::fprintf(stderr, "lumivane: nothing shows this yet: %s\n", ineffective.c_str());
  return kExitOk;
}

int RunCameraControls(const CameraControlsOptions& options) {
  std::vector<std::string> arguments = {"controls"};
  if (!options.camera.empty()) arguments.insert(arguments.end(), {"--camera", options.camera});
  arguments.insert(arguments.end(), options.controls.begin(), options.controls.end());
  const Json answer = AskCameraTool(arguments);
  if (!answer["ok"].get<bool>()) return Failed(answer, options.json);
  if (options.json) {
    std::printf("%s\n", answer.dump(2).c_str());
    return kExitOk;
  }
  std::printf("%s (%s)\n", answer["camera"].get<std::string>().c_str(),
              answer["device"].get<std::string>().c_str());
  for (const Json& control : answer["controls"]) {
    const bool off = control["inactive"].get<bool>();
    const bool fixed = control["readOnly"].get<bool>();
    std::printf("  %-32s %8s   default %s; %s%s%s\n", control["name"].get<std::string>().c_str(),
                NumberText(control["value"]).c_str(), NumberText(control["default"]).c_str(),
                RangeText(control).c_str(), off ? "; without effect now" : "",
                fixed ? "; can only be read" : "");
  }
  return kExitOk;
}

}  // namespace lumivane
