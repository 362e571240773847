// The viewer's window: a picture at its right shape, and a canvas to draw on it.
#pragma once

#include <SDL2/SDL.h>

#include <memory>
#include <string>
#include <string_view>

#include "hosts/lumivane/LiveFilter.h"

namespace lumivane {

/// Where a picture of `content` goes in `area`: as large as fits, its shape kept, centred.
SDL_Rect Letterboxed(PictureSize content, PictureSize area);

class ViewWindow {
 public:
  /// Null with one sentence. `headless`: draws where nobody sees it, and needs no display.
  static std::unique_ptr<ViewWindow> Open(PictureSize picture, bool headless, std::string* error);
  ~ViewWindow();
  ViewWindow(const ViewWindow&) = delete;
  ViewWindow& operator=(const ViewWindow&) = delete;

  void ToggleFullScreen();
  void SetTitle(const std::string& title);
  /// Pictures per second that the display shows; 60 where it does not say.
  double displayRate() const;

  /// The picture from now on. False, with the library's reason in SDL_GetError, for want of memory
  /// or a picture larger than the display's textures.
  bool SetPicture(const Picture& picture);
  /// Clears the window and draws the picture, `mirrored` as in a mirror.
  void DrawPicture(bool mirrored);
  /// Shows what was drawn.
  void Present();

  // Drawing, in the window's own pixels; `unit` of them are a dot of text, more on a fine display.
  PictureSize size() const;
  int unit() const;
  void Fill(const SDL_Rect& place, SDL_Color colour);
  void Text(int x, int y, std::string_view text, SDL_Color colour);
  int TextWidth(std::string_view text) const;
  int TextHeight() const;
  /// RGBA with straight alpha, scaled into `place`.
  void DrawRgba(const SDL_Rect& place, int width, int height, const std::uint8_t* rgba);

 private:
  ViewWindow() = default;
  bool MakeFont();

  SDL_Window* window_ = nullptr;
  SDL_Renderer* renderer_ = nullptr;
  SDL_Texture* picture_ = nullptr;
  SDL_Texture* font_ = nullptr;
  PictureSize pictureSize_;
  SDL_Rect windowed_ = {0, 0, 0, 0};  ///< place before full screen
};

}  // namespace lumivane
