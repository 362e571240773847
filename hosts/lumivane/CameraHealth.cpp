#include "hosts/lumivane/CameraHealth.h"

#include <cstring>

#include "components/camera_component.h"
#include "hosts/lumivane/CameraFolders.h"
#include "hosts/lumivane/HostText.h"
#include "hosts/lumivane/Progress.h"
#include "platform/CoreFoundation/CoreFoundation.h"

namespace lumivane {
namespace {

constexpr double kSecondsBetweenLooks = 1;
constexpr double kSecondsOfRate = 1;

using CopyStatus = int32_t (*)(LumivaneCameraStatus*);

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

namespace {

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

/// The bundle that the filter has loaded. One bundle stands for one path in the whole process, so
/// this reference is the filter's too.
struct CameraObserver::Component {
  Held<CFBundleRef> bundle;
  std::string name;
};

CameraObserver::CameraObserver() = default;
CameraObserver::~CameraObserver() = default;

void CameraObserver::FindComponent() {
  const double now = MonotonicSeconds();
  if (component_ && CFBundleIsExecutableLoaded(component_->bundle.get())) return;
  if (now < lookAgain_) return;
  lookAgain_ = now + kSecondsBetweenLooks;
  component_.reset();
  for (const CameraPlace& place : CameraPlaces()) {
    if (place.kind == CameraPlace::kNothing) continue;
    const Held<CFURLRef> url(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(place.path.data()),
        static_cast<CFIndex>(place.path.size()), 0));
    Held<CFBundleRef> bundle(CFBundleCreate(kCFAllocatorDefault, url.get()));
    if (!bundle || !CFBundleIsExecutableLoaded(bundle.get())) continue;
    component_ = std::make_unique<Component>();
    component_->name = ComponentName(bundle.get());
    component_->bundle = std::move(bundle);
    return;
  }
}

CameraHealth CameraObserver::Look(bool live, bool newPicture) {
  FindComponent();
  const double now = MonotonicSeconds();
  if (live && newPicture) ++pictures_;
  if (rateTime_ == 0) rateTime_ = now;
  if (now - rateTime_ >= kSecondsOfRate) {
    rate_ = static_cast<double>(pictures_ - ratePictures_) / (now - rateTime_);
    rateTime_ = now;
    ratePictures_ = pictures_;
  }

  CameraHealth health;
  health.state = live ? CameraState::kLive : CameraState::kNone;
  health.rate = live ? rate_ : 0;
  if (!component_ || !CFBundleIsExecutableLoaded(component_->bundle.get())) return health;
  health.camera = component_->name;
  const Held<CFStringRef> name(CFStringCreateWithCString(
      kCFAllocatorDefault, LUMIVANE_CAMERA_STATUS_FUNCTION, kCFStringEncodingUTF8));
  const auto copyStatus = reinterpret_cast<CopyStatus>(
      CFBundleGetFunctionPointerForName(component_->bundle.get(), name.get()));
  if (copyStatus == nullptr) return health;
  LumivaneCameraStatus status{};
  status.structSize = sizeof(status);
  if (copyStatus(&status) == 0) return health;
  // An older component fills less; what it leaves is zero here. Whether a picture shows is the
  // filter's word: the component was asked a moment later.
  if (live) {
    health.state =
        status.state == LUMIVANE_CAMERA_STATE_STALE ? CameraState::kStale : CameraState::kLive;
    health.rate = status.rate;
    if (status.structSize >= offsetof(LumivaneCameraStatus, latency) && status.age != UINT64_MAX) {
      health.ageSeconds = static_cast<double>(status.age) * 1e-9;
    }
  }
  if (status.sequence != 0) health.sequence = status.sequence;
  health.dropped = status.skipped + status.lost;
  const std::string source = Clean(status.source, sizeof(status.source));
  if (!source.empty()) health.camera = source;
  health.message = Clean(status.message, sizeof(status.message));
  return health;
}

}  // namespace lumivane
