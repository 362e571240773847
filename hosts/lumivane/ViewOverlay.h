// What the viewer draws over the picture.
#pragma once

#include <optional>
#include <string>

#include "hosts/lumivane/CameraHealth.h"
#include "hosts/lumivane/FrameSink.h"
#include "hosts/lumivane/ViewWindow.h"

namespace lumivane {

struct ViewState {
  bool mirrored = false;
  bool frozen = false;
  bool showState = false;
  bool showHistogram = false;
  bool showWaveform = false;
  bool showHelp = false;
  CameraHealth health;
  double shownRate = 0;  ///< new pictures per second in the window
  PictureSize pictureSize;
  std::optional<double> recordingSeconds;  ///< since its start
  SinkCounts recorded;
  std::string message;  ///< something that was just done; empty: nothing to tell
};

/// The lines of the state, as `showState` shows them; LIVE, STALE or NONE begins the first.
std::vector<std::string> StateLines(const ViewState& state);

/// Draws what `state` asks for. `picture` is the one that shows.
void DrawOverlays(ViewWindow& window, const ViewState& state, const Picture& picture);

}  // namespace lumivane
