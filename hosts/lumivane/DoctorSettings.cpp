// The GStreamer component's settings, for `lumivane doctor`.
#include "hosts/lumivane/CameraTool.h"
#include "hosts/lumivane/DoctorFindings.h"

namespace lumivane {
namespace {

/// What mends a setting that cannot be used; `complaint` begins with where it stands.
std::string RemedyOf(const std::string& complaint, const std::string& file) {
  if (complaint.rfind("LUMIVANE_CAMERA_", 0) == 0) {
    return "`unset " + complaint.substr(0, complaint.find(' ')) + "`: it wins over " + file;
  }
  if (complaint.rfind(file + " cannot be used", 0) == 0) {
    return "mend it, or `" + OutOfTheWay(file) + "` and begin anew with `lumivane camera use`";
  }
  if (complaint.find(": there is no setting ") != std::string::npos) {
    return "take that line out of " + file;
  }
  return "`lumivane camera use` sets it; the file is " + file;
}

}  // namespace

Findings LookAtSettings() {
  // Asked for what is set, it changes nothing.
  const nlohmann::ordered_json answer = AskCameraTool({"use"});
  if (!answer.value("ok", false)) {
    return {{Level::kOk, "settings", answer.value("message", ""), ""}};
  }
  const nlohmann::ordered_json settings =
      answer.value("settings", nlohmann::ordered_json::object());
  const std::string file = settings.value("file", "");
  Findings findings;
  for (const auto& complaint : settings.value("complaints", std::vector<std::string>())) {
    findings.push_back({Level::kWarning, "settings", complaint, RemedyOf(complaint, file)});
  }
  const auto values = settings.value("values", nlohmann::ordered_json::object());
  std::string text = file + ": the source is " + values.value("source", "not set");
  for (const auto& variable : settings.value("variables", std::vector<std::string>())) {
    text += "; " + variable + " wins over the file";
  }
  findings.push_back({Level::kOk, "settings", text, ""});
  return findings;
}

}  // namespace lumivane
