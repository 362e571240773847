// `lumivane camera test`: what the camera really gives, measured as a host sees it.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "CICameraGen/SharedCameraBundle.h"
#include "hosts/lumivane/CameraFolders.h"
#include "hosts/lumivane/CameraStatus.h"
#include "hosts/lumivane/CameraTool.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/Progress.h"
#include "hosts/lumivane/StopSignals.h"
#include "nlohmann/json.hpp"

namespace lumivane {
namespace {

using Json = nlohmann::ordered_json;

constexpr double kSecondsBetweenLooks = 0.002;

// Milliseconds, sorted.
class Spread {
 public:
  void Add(double milliseconds) { values_.push_back(milliseconds); }
  double At(double part) {
    if (values_.empty()) return 0;
    const auto rank = static_cast<std::size_t>(part * static_cast<double>(values_.size() - 1));
    std::nth_element(values_.begin(), values_.begin() + static_cast<std::ptrdiff_t>(rank),
                     values_.end());
    return values_[rank];
  }
  Json Report() { return {{"median", At(0.5)}, {"p95", At(0.95)}, {"most", At(1)}}; }

 private:
  std::vector<double> values_;
};

double Milliseconds(std::uint64_t nanoseconds) {
  return static_cast<double>(nanoseconds) / 1e6;
}

bool AskForFrame(tagSHARED_CAMERA_BUFFER* record) {
  *record = {};
  record->structSize = sizeof(*record);
  return SharedCameraBundle::sComponent.__GetCurrentReadBuffer(record) != 0 &&
         record->frameBufferPtr != 0;
}

// What was counted since; 0 where a component counts backwards.
std::uint64_t Since(std::uint64_t before, std::uint64_t after) {
  return after > before ? after - before : 0;
}

int Fail(const CameraTestOptions& options, int code, const std::string& why) {
  if (options.json) {
    const Json report = {{"ok", false}, {"message", why}};
    std::printf("%s\n", report.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
  } else {
    std::fprintf(stderr, "lumivane: %s\n", why.c_str());
  }
  return code;
}

// The component reads the variable when the first frame is asked for.
bool UseSource(const std::string& source, std::string* why) {
  if (!SettingsHaveEffect(why)) {
    *why = "--source has no effect: " + *why;
    return false;
  }
  const Json answer = AskCameraTool({"check", source});
  if (!answer["ok"].get<bool>()) {
    *why = "--source: " + answer.value("message", "");
    return false;
  }
  setenv("LUMIVANE_CAMERA_SOURCE", answer.value("source", source).c_str(), 1);
  return true;
}

// As a program that shows pictures does, only more often: each frame is seen soon after it came.
// Frames are counted from `begun` on. Adds what it finds to the report, as far as the component
// tells.
void Measure(double forSeconds, StopSignals& stop, Progress& progress,
             const std::optional<LumivaneCameraStatus>& begun, Json& report) {
  Spread age;
  Spread latency;
  Spread gap;
  double slowestCall = 0;
  double lastNew = 0;
  std::uint64_t sequence = begun ? begun->sequence : 0;
  std::uint64_t stale = 0;
  std::optional<LumivaneCameraStatus> after = begun;
  tagSHARED_CAMERA_BUFFER record;
  const double start = MonotonicSeconds();
  double now = start;
  while (now < start + forSeconds && !stop.WaitUntil(now + kSecondsBetweenLooks)) {
    const double call = MonotonicSeconds();
    AskForFrame(&record);
    now = MonotonicSeconds();
    slowestCall = std::max(slowestCall, now - call);
    progress.Show("measuring, " + std::to_string(std::lround(now - start)) + " s");
    after = ReadCameraStatus();
    if (!after) continue;
    if (after->state != LUMIVANE_CAMERA_STATE_LIVE) ++stale;
    if (after->sequence == sequence) continue;
    sequence = after->sequence;
    age.Add(Milliseconds(after->age));
    if (after->latency != 0) latency.Add(Milliseconds(after->latency));
    if (lastNew != 0) gap.Add((now - lastNew) * 1e3);
    lastNew = now;
  }
  const double seconds = std::max(now - start, 1e-3);
  report["seconds"] = seconds;
  report["slowestCallMilliseconds"] = slowestCall * 1e3;
  if (!after) return;
  const LumivaneCameraStatus before = begun.value_or(LumivaneCameraStatus{});
  const std::uint64_t received = Since(before.received, after->received);
  report["source"] = after->source;
  report["state"] = CameraStateText(after->state);
  report["message"] = after->message;
  report["frames"] = received;
  report["rate"] = static_cast<double>(received) / seconds;
  report["nominalRate"] = after->nominalRate;
  report["lost"] = Since(before.lost, after->lost);
  report["skipped"] = Since(before.skipped, after->skipped);
  // The first opening may be counted a moment after its first frame.
  report["reopened"] = Since(std::max(before.opened, 1U), after->opened);
  report["ageMilliseconds"] = age.Report();
  report["latencyMilliseconds"] = latency.Report();
  report["gapMilliseconds"] = gap.Report();
  report["staleLooks"] = stale;
}

void PrintSpread(const char* title, const Json& spread) {
  std::printf("%-14s %.1f ms median, %.1f ms for 95 %%, %.1f ms at most\n", title,
              spread["median"].get<double>(), spread["p95"].get<double>(),
              spread["most"].get<double>());
}

void Print(const Json& report) {
  std::printf("picture        %d x %d, %s\n", report["width"].get<int>(),
              report["height"].get<int>(), report["pixelFormat"].get<std::string>().c_str());
  std::printf("first frame    after %.0f ms\n", report["firstFrameMilliseconds"].get<double>());
  if (!report.contains("state")) {
    std::printf("status         this component does not tell\n");
    return;
  }
  const std::string message = report["message"].get<std::string>();
  std::printf("source         %s\n", report["source"].get<std::string>().c_str());
  std::printf("state          %s%s%s\n", report["state"].get<std::string>().c_str(),
              message.empty() ? "" : ": ", message.c_str());
  std::printf("rate           %.2f frames a second, over %.1f s", report["rate"].get<double>(),
              report["seconds"].get<double>());
  if (report["nominalRate"] > 0)
    std::printf("; the camera claims %.2f", report["nominalRate"].get<double>());
  std::printf("\nlost           %llu by the camera or on the way\n",
              static_cast<unsigned long long>(report["lost"].get<std::uint64_t>()));
  PrintSpread("age", report["ageMilliseconds"]);
  // Not every source says when it captured a frame.
  if (report["latencyMilliseconds"]["most"] > 0)
    PrintSpread("latency", report["latencyMilliseconds"]);
  PrintSpread("between frames", report["gapMilliseconds"]);
  if (report["reopened"] != 0)
    std::printf("reopened       %llu times\n",
                static_cast<unsigned long long>(report["reopened"].get<std::uint64_t>()));
}

}  // namespace

int RunCameraTest(const CameraTestOptions& options) {
  // Else there is nothing to wait for, and each question would be lines in the log.
  if (LoadedPlace().path.empty()) {
    return Fail(options, kExitNoCamera,
                "no camera component is installed; `lumivane camera install` installs one");
  }
  std::string trouble;
  if (!options.source.empty() && !UseSource(options.source, &trouble))
    return Fail(options, kExitFailed, trouble);
  StopSignals stop;
  Progress progress(options.json);
  tagSHARED_CAMERA_BUFFER record;
  const double asked = MonotonicSeconds();
  bool any = AskForFrame(&record);
  while (!any && MonotonicSeconds() < asked + options.wait &&
         !stop.WaitUntil(MonotonicSeconds() + kSecondsBetweenLooks)) {
    progress.Show("waiting for the first frame");
    any = AskForFrame(&record);
  }
  const double firstFrame = MonotonicSeconds() - asked;
  const std::optional<LumivaneCameraStatus> begun = ReadCameraStatus();
  if (!any) {
    progress.Clear();
    char waited[64];
    std::snprintf(waited, sizeof(waited), "no frame within %.3g s: ", firstFrame);
    const std::string why = begun && begun->message[0] != '\0'
                                ? begun->message
                                : "`lumivane doctor` tells what works and what does not";
    return Fail(options, kExitNoCamera, waited + why);
  }
  Json report = {
      {"ok", true},
      {"width", record.frameWidth},
      {"height", record.frameHeight},
      {"pixelFormat", record.pixelFormat == LUMIVANE_CAMERA_FORMAT_2VUY ? "2vuy" : "ARGB"},
      {"firstFrameMilliseconds", firstFrame * 1e3}};
  Measure(options.seconds, stop, progress, begun, report);
  progress.Clear();
  if (options.json) {
    std::printf("%s\n", report.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
  } else {
    Print(report);
  }
  return kExitOk;
}

}  // namespace lumivane
