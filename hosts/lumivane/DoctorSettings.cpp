// The GStreamer component's settings, for `lumivane doctor`.
#include "hosts/lumivane/CameraTool.h"
#include "hosts/lumivane/DoctorFindings.h"

namespace lumivane {

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
    findings.push_back({Level::kWarning, "settings", complaint,
                        "`lumivane camera use` sets it; the file is " + file});
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
