// `lumivane camera test`: what the camera really gives, measured as a host sees it.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "CICameraGen/SharedCameraBundle.h"
#include "hosts/lumivane/CameraStatus.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/Progress.h"
#include "nlohmann/json.hpp"

namespace lumivane {
namespace {

using Json = nlohmann::ordered_json;

constexpr auto kBetweenLooks = std::chrono::milliseconds(2);

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

}  // namespace

int RunCameraTest(const CameraTestOptions& options) {
  if (!options.source.empty()) setenv("LUMIVANE_CAMERA_SOURCE", options.source.c_str(), 1);
  tagSHARED_CAMERA_BUFFER record;
  const double asked = MonotonicSeconds();
  bool any = AskForFrame(&record);
  while (!any && MonotonicSeconds() < asked + options.wait) {
    std::this_thread::sleep_for(kBetweenLooks);
    any = AskForFrame(&record);
  }
  const double firstFrame = MonotonicSeconds() - asked;
  const std::optional<LumivaneCameraStatus> before = ReadCameraStatus();
  Json report = {{"ok", any}};
  if (!any) {
    const std::string why = before && before->message[0] != '\0'
                                ? before->message
                                : "no component gives frames; `lumivane doctor` tells why";
    report["message"] = why;
    if (options.json) {
      std::printf("%s\n", report.dump(2).c_str());
    } else {
      std::fprintf(stderr, "lumivane: %s\n", why.c_str());
    }
    return kExitNoCamera;
  }

  // As a program that shows pictures does, only more often: each frame is seen soon after it came.
  Spread age;
  Spread latency;
  Spread gap;
  double slowestCall = 0;
  double lastNew = 0;
  std::uint64_t sequence = before ? before->sequence : 0;
  std::uint64_t stale = 0;
  const double start = MonotonicSeconds();
  double now = start;
  std::optional<LumivaneCameraStatus> after = before;
  while (now < start + options.seconds) {
    std::this_thread::sleep_for(kBetweenLooks);
    const double call = MonotonicSeconds();
    any = AskForFrame(&record);
    now = MonotonicSeconds();
    slowestCall = std::max(slowestCall, now - call);
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
  const double seconds = now - start;
  report["width"] = record.frameWidth;
  report["height"] = record.frameHeight;
  report["pixelFormat"] = record.pixelFormat == LUMIVANE_CAMERA_FORMAT_2VUY ? "2vuy" : "ARGB";
  report["firstFrameMilliseconds"] = firstFrame * 1e3;
  report["seconds"] = seconds;
  report["slowestCallMilliseconds"] = slowestCall * 1e3;
  if (after) {
    const std::uint64_t received = after->received - before->received;
    report["source"] = after->source;
    report["state"] = CameraStateText(after->state);
    report["message"] = after->message;
    report["frames"] = received;
    report["rate"] = static_cast<double>(received) / seconds;
    report["nominalRate"] = after->nominalRate;
    report["lost"] = after->lost - before->lost;
    report["skipped"] = after->skipped - before->skipped;
    // The first opening may be counted a moment after its first frame.
    const std::uint32_t reopened = after->opened - std::max(before->opened, 1U);
    report["reopened"] = after->opened == 0 ? 0 : reopened;
    report["ageMilliseconds"] = {
        {"median", age.At(0.5)}, {"p95", age.At(0.95)}, {"most", age.At(1)}};
    report["latencyMilliseconds"] = {
        {"median", latency.At(0.5)}, {"p95", latency.At(0.95)}, {"most", latency.At(1)}};
    report["gapMilliseconds"] = {
        {"median", gap.At(0.5)}, {"p95", gap.At(0.95)}, {"most", gap.At(1)}};
    report["staleLooks"] = stale;
  }
  if (options.json) {
    std::printf("%s\n", report.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
    return kExitOk;
  }
  std::printf("picture        %d x %d, %s\n", record.frameWidth, record.frameHeight,
              report["pixelFormat"].get<std::string>().c_str());
  std::printf("first frame    after %.0f ms\n", firstFrame * 1e3);
  if (!after) {
    std::printf("status         this component does not tell\n");
    return kExitOk;
  }
  const auto spread = [&report](const char* key, const char* part) {
    return report[key][part].get<double>();
  };
  std::printf("source         %s\n", after->source);
  std::printf("state          %s%s%s\n", CameraStateText(after->state),
              after->message[0] == '\0' ? "" : ": ", after->message);
  std::printf("rate           %.2f frames a second, over %.1f s", report["rate"].get<double>(),
              seconds);
  if (after->nominalRate > 0) std::printf("; the camera claims %.2f", after->nominalRate);
  std::printf("\nlost           %llu by the camera or on the way\n",
              static_cast<unsigned long long>(report["lost"].get<std::uint64_t>()));
  std::printf("age            %.1f ms median, %.1f ms for 95 %%, %.1f ms at most\n",
              spread("ageMilliseconds", "median"), spread("ageMilliseconds", "p95"),
              spread("ageMilliseconds", "most"));
  if (after->latency != 0) {
    std::printf("latency        %.1f ms median, %.1f ms for 95 %%, %.1f ms at most\n",
                spread("latencyMilliseconds", "median"), spread("latencyMilliseconds", "p95"),
                spread("latencyMilliseconds", "most"));
  }
  std::printf("between frames %.1f ms median, %.1f ms at most\n",
              spread("gapMilliseconds", "median"), spread("gapMilliseconds", "most"));
  if (report["reopened"] != 0)
    std::printf("reopened       %u times\n", report["reopened"].get<unsigned>());
  return kExitOk;
}

}  // namespace lumivane
