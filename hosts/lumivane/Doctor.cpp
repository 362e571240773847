// `lumivane doctor`: what works, what does not, and what to do about it.
#include <cstdio>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "hosts/lumivane/CameraFolders.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/HostStart.h"
#include "hosts/lumivane/LiveFilter.h"
#include "hosts/lumivane/PlugInSearch.h"
#include "nlohmann/json.hpp"

namespace fs = std::filesystem;

namespace lumivane {
namespace {

enum class Level { kOk, kWarning, kBroken };

struct Finding {
  Level level;
  std::string subject;
  std::string text;
  std::string remedy;  ///< empty when nothing need be done
};

constexpr std::uintmax_t kLogTailBytes = 256 * 1024;

const char* LevelText(Level level) {
  switch (level) {
    case Level::kOk:
      return "ok";
    case Level::kWarning:
      return "warning";
    case Level::kBroken:
      break;
  }
  return "broken";
}

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
            trial.loaded ? "see the component's own documentation" : "install it anew, or " + fix};
  }
  return {Level::kOk, subject,
          path + ": " + trial.name + " " + trial.version + ", " + std::to_string(trial.width) +
              " x " + std::to_string(trial.height) + ", " + trial.pixelFormat,
          ""};
}

std::vector<Finding> LookAtCameras() {
  std::vector<Finding> findings;
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
                        "`lumivane camera install` installs the test pattern"});
  } else {
    findings.push_back({Level::kOk, "camera", "the filter loads " + current, ""});
  }
  return findings;
}

Finding LookAtPlugIn(const std::string& given) {
  PictureSource source;
  source.plugIn = given;
  std::string error;
  const std::unique_ptr<LiveFilter> filter = LiveFilter::Open(source, &error);
  if (!filter) {
    return {Level::kBroken, "plug-in", error, "install the plug-in, or name it with --plugin"};
  }
  const Frame frame = filter->NextFrame();
  if (!frame.image) {
    return {Level::kBroken, "plug-in", filter->plugInPath() + " loads, but gives no picture",
            "its resources are missing: install it anew"};
  }
  return {Level::kOk, "plug-in",
          filter->plugInPath() + " loads and gives " +
              (frame.live ? "a camera's picture" : "the no-camera picture"),
          ""};
}

/// The last `count` lines, oldest first.
std::deque<std::string> TailOf(const std::string& path, std::size_t count) {
  std::deque<std::string> tail;
  std::ifstream in(path, std::ios::binary);
  std::error_code error;
  const std::uintmax_t size = fs::file_size(path, error);
  if (!error && size > kLogTailBytes) {
    in.seekg(static_cast<std::streamoff>(size - kLogTailBytes));
    std::string cut;  // What the seek landed in the middle of.
    std::getline(in, cut);
  }
  for (std::string line; std::getline(in, line);) {
    tail.push_back(line);
    if (tail.size() > count) tail.pop_front();
  }
  return tail;
}

Finding LookAtLog(const std::string& path) {
  if (path.empty()) {
    return {Level::kWarning, "log", "there is no Logs folder, so nothing is logged",
            "check XDG_STATE_HOME and the rights of ~/.local/state"};
  }
  std::error_code error;
  if (!fs::exists(path, error)) return {Level::kOk, "log", path + " (nothing logged yet)", ""};
  std::ofstream probe(path, std::ios::app);
  if (!probe) {
    return {Level::kWarning, "log", path + " cannot be written", "check the file's permissions"};
  }
  return {Level::kOk, "log", path, ""};
}

}  // namespace

int RunDoctor(const DoctorOptions& options) {
  const std::string log = LogFilePath();
  // Before anything is tried: the trials below add lines of their own.
  const std::deque<std::string> tail =
      log.empty() ? std::deque<std::string>()
                  : TailOf(log, static_cast<std::size_t>(options.logLines));

  std::vector<Finding> findings;
  findings.push_back({Level::kOk, "lumivane", std::string("version ") + Version(), ""});
  findings.push_back(LookAtPlugIn(options.plugIn));
  const std::vector<Finding> cameras = LookAtCameras();
  findings.insert(findings.end(), cameras.begin(), cameras.end());
  findings.push_back(LookAtLog(log));

  Level worst = Level::kOk;
  for (const Finding& finding : findings) worst = std::max(worst, finding.level);
  if (options.json) {
    nlohmann::ordered_json report = {{"status", LevelText(worst)}};
    for (const Finding& finding : findings) {
      report["findings"].push_back({{"level", LevelText(finding.level)},
                                    {"subject", finding.subject},
                                    {"text", finding.text},
                                    {"remedy", finding.remedy}});
    }
    report["log"] = {{"path", log}, {"lastLines", tail}};
    // A log line holds whatever bytes were logged.
    std::printf(
        "%s\n",
        report.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
  } else {
    for (const Finding& finding : findings) {
      std::printf("%-8s %-15s %s\n", LevelText(finding.level), finding.subject.c_str(),
                  finding.text.c_str());
      if (!finding.remedy.empty()) std::printf("%25s-> %s\n", "", finding.remedy.c_str());
    }
    if (!tail.empty()) std::printf("\nlast lines of the log:\n");
    for (const std::string& line : tail) std::printf("  %s\n", line.c_str());
  }
  return worst == Level::kOk ? kExitOk : worst == Level::kWarning ? kExitFailed : kExitBroken;
}

}  // namespace lumivane
