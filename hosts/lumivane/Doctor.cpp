// `lumivane doctor`: what works, what does not, and what to do about it.
#include <algorithm>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/DoctorFindings.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/HostStart.h"
#include "nlohmann/json.hpp"

namespace fs = std::filesystem;

namespace lumivane {
namespace {

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

}  // namespace

Findings LookAtLog(const std::string& path) {
  if (path.empty()) {
    return {{Level::kWarning, "log", "there is no Logs folder, so nothing is logged",
             "check XDG_STATE_HOME and the rights of ~/.local/state"}};
  }
  std::error_code error;
  if (!fs::exists(path, error)) return {{Level::kOk, "log", path + " (nothing logged yet)", ""}};
  std::ofstream probe(path, std::ios::app);
  if (!probe) {
    return {{Level::kWarning, "log", path + " cannot be written", "check the file's permissions"}};
  }
  return {{Level::kOk, "log", path, ""}};
}

int RunDoctor(const DoctorOptions& options) {
  const std::string log = LogFilePath();
  // Before anything is tried: the trials below add lines of their own.
  const std::deque<std::string> tail =
      log.empty() ? std::deque<std::string>()
                  : TailOf(log, static_cast<std::size_t>(options.logLines));

  Findings findings = {{Level::kOk, "lumivane", std::string("version ") + Version(), ""}};
  const auto add = [&findings](const Findings& more) {
    findings.insert(findings.end(), more.begin(), more.end());
  };
  // Devices first: a camera that is tried below is in use by this process.
  const Findings devices = LookAtDevices();
  CameraUse use = CameraUse::kNone;
  const Findings components = LookAtComponents(&use);
  add(LookAtPlugIn(options.plugIn, use));
  add(components);
  add(LookAtSettings());
  add(devices);
  add(LookAtModules());
  add(LookAtDesktop());
  add(LookAtLog(log));

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
