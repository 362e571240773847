#include "hosts/lumivane/CameraHealth.h"

#include <cstring>

#include "hosts/lumivane/CameraFolders.h"
#include "hosts/lumivane/CameraStatus.h"
#include "hosts/lumivane/Progress.h"
#include "nlohmann/json.hpp"

namespace lumivane {
namespace {

constexpr double kSecondsBetweenLooks = 1;
constexpr double kSecondsOfRate = 1;

/// A component's text as one line of UTF-8: what is none becomes U+FFFD.
std::string Clean(const char* text, std::size_t size) {
  const std::string bytes(text, strnlen(text, size));
  // By way of JSON, which replaces what is no UTF-8.
  std::string clean =
      nlohmann::json(bytes).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
  clean = nlohmann::json::parse(clean).get<std::string>();
  for (char& c : clean) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') c = ' ';
  }
  return clean;
}

}  // namespace

const char* StateName(CameraState state) {
  switch (state) {
    case CameraState::kLive:
      return "LIVE";
    case CameraState::kStale:
      return "STALE";
    default:
      return "NONE";
  }
}

void CameraObserver::Count(bool newPicture) {
  const double now = MonotonicSeconds();
  if (newPicture) ++pictures_;
  if (rateTime_ == 0) rateTime_ = now;
  if (now - rateTime_ < kSecondsOfRate) return;
  rate_ = static_cast<double>(pictures_ - ratePictures_) / (now - rateTime_);
  rateTime_ = now;
  ratePictures_ = pictures_;
}

CameraHealth CameraObserver::Look(bool live, bool newPicture) {
  Count(live && newPicture);
  if (MonotonicSeconds() >= lookAgain_) {
    const std::string name = CurrentCameraName();
    component_ = Clean(name.data(), name.size());
    lookAgain_ = MonotonicSeconds() + kSecondsBetweenLooks;
  }
  CameraHealth health;
  health.camera = component_;
  health.state = live ? CameraState::kLive : CameraState::kNone;
  health.rate = live ? rate_ : 0;
  const std::optional<LumivaneCameraStatus> status = ReadCameraStatus();
  if (!status) return health;
  // An older component fills less; what it leaves is zero here. Whether a picture shows is the
  // filter's word: the component was asked a moment later.
  if (live) {
    if (status->state == LUMIVANE_CAMERA_STATE_STALE) health.state = CameraState::kStale;
    health.rate = status->rate;
    if (status->structSize >= offsetof(LumivaneCameraStatus, latency) &&
        status->age != UINT64_MAX) {
      health.ageSeconds = static_cast<double>(status->age) * 1e-9;
    }
  }
  if (status->sequence != 0) health.sequence = status->sequence;
  health.dropped = status->skipped + status->lost;
  const std::string source = Clean(status->source, sizeof(status->source));
  if (!source.empty()) health.camera = source;
  health.message = Clean(status->message, sizeof(status->message));
  return health;
}

}  // namespace lumivane
