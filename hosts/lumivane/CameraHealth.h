// How the camera does: what its component says of itself, else what can be seen of its frames.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "hosts/lumivane/LiveFilter.h"

namespace lumivane {

enum class CameraState {
  kNone,  ///< the no-camera picture shows
  kLive,
  kStale,  ///< no new frame lately: the last one still shows
};

/// "NONE", "LIVE", "STALE".
const char* StateName(CameraState state);

struct CameraHealth {
  CameraState state = CameraState::kNone;
  std::string camera;   ///< the source's name, else the component's; empty: there is none
  std::string message;  ///< why there is no live picture, where the component says so
  double rate = 0;      ///< frames per second
  std::optional<double> ageSeconds;       ///< of the frame that shows, since it was taken
  std::optional<std::uint64_t> sequence;  ///< grows with each new frame
  std::optional<std::uint64_t> dropped;   ///< frames that the camera or its component lost
};

class CameraObserver {
 public:
  /// After each frame of the filter. `newPicture`: its pixels differ from those before, which
  /// counts where the component does not say more.
  CameraHealth Look(bool live, bool newPicture);

 private:
  void Count(bool newPicture);

  std::string component_;  ///< its name, looked up now and then
  double lookAgain_ = 0;
  // Counted here, for a component that says nothing.
  std::uint64_t pictures_ = 0;
  double rate_ = 0;
  double rateTime_ = 0;
  std::uint64_t ratePictures_ = 0;
};

}  // namespace lumivane
