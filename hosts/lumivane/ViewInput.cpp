#include "hosts/lumivane/ViewInput.h"

#include <SDL2/SDL.h>

#include <cstring>

namespace lumivane {
namespace {

ViewAction ActionOfKey(SDL_Keycode key) {
  switch (key) {
    case SDLK_q:
    case SDLK_ESCAPE:
      return ViewAction::kQuit;
    case SDLK_f:
    case SDLK_F11:
      return ViewAction::kFullScreen;
    case SDLK_m:
      return ViewAction::kMirror;
    case SDLK_SPACE:
      return ViewAction::kFreeze;
    case SDLK_i:
      return ViewAction::kOverlay;
    case SDLK_h:
      return ViewAction::kHistogram;
    case SDLK_w:
      return ViewAction::kWaveform;
    case SDLK_s:
      return ViewAction::kSnapshot;
    case SDLK_r:
      return ViewAction::kRecord;
    case SDLK_F1:
      return ViewAction::kHelp;
    default:
      return ViewAction::kNone;
  }
}

}  // namespace

ViewAction ActionOf(const SDL_Event& event) {
  switch (event.type) {
    case SDL_QUIT:
      return ViewAction::kQuit;
    case SDL_KEYDOWN:
      // A key that is held down repeats, which is meant for text.
      return event.key.repeat != 0 ? ViewAction::kNone : ActionOfKey(event.key.keysym.sym);
    case SDL_TEXTINPUT:
      // Where "?" lies depends on the keyboard.
      return std::strcmp(event.text.text, "?") == 0 ? ViewAction::kHelp : ViewAction::kNone;
    case SDL_MOUSEBUTTONDOWN:
      return event.button.clicks == 2 ? ViewAction::kFullScreen : ViewAction::kNone;
    case SDL_WINDOWEVENT:
    case SDL_RENDER_TARGETS_RESET:
    case SDL_RENDER_DEVICE_RESET:
      return ViewAction::kRedraw;
    default:
      return ViewAction::kNone;
  }
}

}  // namespace lumivane
