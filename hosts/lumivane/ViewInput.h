// What a person does to the viewer, and what it is asked to do by that.
#pragma once

union SDL_Event;

namespace lumivane {

enum class ViewAction {
  kNone,
  kQuit,
  kFullScreen,
  kMirror,
  kFreeze,
  kOverlay,
  kHistogram,
  kWaveform,
  kSnapshot,
  kRecord,
  kHelp,
  kRedraw,  ///< the window was uncovered, moved or resized
};

ViewAction ActionOf(const SDL_Event& event);

/// A key and what it does, for the help and the manual.
struct KeyHelp {
  const char* key;
  const char* does;
};
inline constexpr KeyHelp kViewKeys[] = {
    {"q Esc", "quit"},
    {"f", "full screen"},
    {"m", "mirror the view"},
    {"space", "freeze"},
    {"i", "state"},
    {"h", "histogram of the luma"},
    {"w", "waveform of the luma"},
    {"s", "snapshot"},
    {"r", "record, stop recording"},
    {"?", "this help"},
};

}  // namespace lumivane
