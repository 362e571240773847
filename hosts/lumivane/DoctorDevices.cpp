// The camera devices, for `lumivane doctor`.
#include "hosts/lumivane/DoctorFindings.h"

namespace lumivane {
namespace {

std::string Names(const std::vector<ProcessName>& processes) {
  std::string text;
  for (const ProcessName& process : processes) {
    if (!text.empty()) text += ", ";
    text += (process.name.empty() ? "a program" : process.name) + " (process " +
            std::to_string(process.id) + ")";
  }
  return text;
}

Finding WithoutRights(const VideoDevice& device) {
  Finding finding{Level::kWarning, "device",
                  device.path + " may not be used: it belongs to the group " + device.group, ""};
  if (device.inGroup) {
    finding.text += ", which has no right to it";
    finding.remedy = "sudo chmod g+rw " + device.path;
  } else if (device.willBeInGroup) {
    finding.text += ", which you are in since this session began";
    finding.remedy = "log out and in again";
  } else {
    finding.text += ", which you are not in";
    finding.remedy = "sudo usermod -aG " + device.group + " \"$USER\", then log out and in again";
  }
  return finding;
}

}  // namespace

Findings FindingsOf(const std::vector<VideoDevice>& devices) {
  Findings findings;
  for (const VideoDevice& device : devices) {
    if (!device.mayUse) {
      findings.push_back(WithoutRights(device));
      continue;
    }
    if (!device.isCamera) continue;
    const std::string name =
        device.path + ": " + device.name +
        (device.lastingPath.empty() ? std::string() : ", always found as " + device.lastingPath);
    if (!device.holders.empty()) {
      findings.push_back({Level::kWarning, "device", name + "; in use by " + Names(device.holders),
                          "a camera has one user at a time: end the other one"});
    } else if (device.noSignal) {
      findings.push_back({Level::kWarning, "device", name + "; no signal at its input",
                          "check the cable and the camera; `v4l2-ctl --device " + device.path +
                              " --list-inputs` shows the inputs"});
    } else {
      findings.push_back({Level::kOk, "device", name, ""});
    }
  }
  if (findings.empty()) {
    findings.push_back({Level::kOk, "device", "no camera is connected (/dev/video*)", ""});
  }
  return findings;
}

Findings LookAtDevices() {
  return FindingsOf(VideoDevices());
}

}  // namespace lumivane
