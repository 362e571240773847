#include "hosts/lumivane/ViewWindow.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "hosts/lumivane/FixedFont.h"

namespace lumivane {
namespace {

constexpr int kFontColumns = 16;
constexpr int kFontRows = (kFontGlyphs + kFontColumns - 1) / kFontColumns;
/// Rows of the window to a pixel of a dot of text: two of them at 1080 rows.
constexpr int kRowsPerUnit = 400;
/// Part of the display that the first window takes at most.
constexpr double kFirstPart = 0.8;

/// A driver that SDL takes when there is no display, which shows nothing.
bool IsInvisible(const char* driver) {
  return driver != nullptr &&
         (std::strcmp(driver, "offscreen") == 0 || std::strcmp(driver, "dummy") == 0 ||
          std::strcmp(driver, "evdev") == 0);
}

bool IsSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

constexpr char kNoDisplay[] =
    "no display (neither DISPLAY nor WAYLAND_DISPLAY leads to one); `lumivane snapshot --out "
    "frame.png` and `lumivane stream --http` show pictures without one";

/// The window's first size: the picture's, smaller where the display is.
PictureSize FirstSize(PictureSize picture) {
  SDL_Rect usable{};
  if (SDL_GetDisplayUsableBounds(0, &usable) != 0 || usable.w < 1 || usable.h < 1) return picture;
  const PictureSize most = {static_cast<int>(usable.w * kFirstPart),
                            static_cast<int>(usable.h * kFirstPart)};
  if (picture.width <= most.width && picture.height <= most.height) return picture;
  const SDL_Rect fitted = Letterboxed(picture, most);
  return {fitted.w, fitted.h};
}

}  // namespace

SDL_Rect Letterboxed(PictureSize content, PictureSize area) {
  if (content.width < 1 || content.height < 1 || area.width < 1 || area.height < 1) {
    return {0, 0, 0, 0};
  }
  const double scale = std::min(static_cast<double>(area.width) / content.width,
                                static_cast<double>(area.height) / content.height);
  SDL_Rect place{};
  place.w = std::clamp(static_cast<int>(content.width * scale + 0.5), 1, area.width);
  place.h = std::clamp(static_cast<int>(content.height * scale + 0.5), 1, area.height);
  place.x = (area.width - place.w) / 2;
  place.y = (area.height - place.h) / 2;
  return place;
}

std::unique_ptr<ViewWindow> ViewWindow::Open(PictureSize picture, bool headless,
                                             std::string* error) {
  // A driver that somebody asked for by name is meant, visible or not.
  const bool asked = IsSet("SDL_VIDEODRIVER");
  if (!headless && !asked && !IsSet("DISPLAY") && !IsSet("WAYLAND_DISPLAY")) {
    *error = kNoDisplay;
    return nullptr;
  }
  // Ctrl-C stays with the program's own handling.
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
  SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
  SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
  std::unique_ptr<ViewWindow> view(new ViewWindow);
  // SDL has its driver without any hardware only for those who ask for it alone.
  if (headless && !asked) SDL_SetHint(SDL_HINT_VIDEODRIVER, "dummy");
  if (SDL_Init(SDL_INIT_VIDEO) != 0) {
    *error = std::string("no window: ") + SDL_GetError();
    if (!headless && !asked) *error = std::string(kNoDisplay) + " (" + SDL_GetError() + ")";
    return nullptr;
  }
  if (!headless && !asked && IsInvisible(SDL_GetCurrentVideoDriver())) {
    *error = kNoDisplay;
    return nullptr;
  }
  const PictureSize first = FirstSize(picture);
  view->window_ =
      SDL_CreateWindow("Lumivane", SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, first.width,
                       first.height, SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI);
  if (view->window_ != nullptr) {
    view->renderer_ = SDL_CreateRenderer(view->window_, -1, SDL_RENDERER_PRESENTVSYNC);
    if (view->renderer_ == nullptr) {
      view->renderer_ = SDL_CreateRenderer(view->window_, -1, SDL_RENDERER_SOFTWARE);
    }
  }
  if (view->renderer_ == nullptr || !view->MakeFont()) {
    *error = std::string("no window: ") + SDL_GetError();
    return nullptr;
  }
  SDL_SetRenderDrawBlendMode(view->renderer_, SDL_BLENDMODE_BLEND);
  SDL_StartTextInput();
  return view;
}

ViewWindow::~ViewWindow() {
  if (font_ != nullptr) SDL_DestroyTexture(font_);
  if (picture_ != nullptr) SDL_DestroyTexture(picture_);
  if (renderer_ != nullptr) SDL_DestroyRenderer(renderer_);
  if (window_ != nullptr) SDL_DestroyWindow(window_);
  SDL_Quit();
}

bool ViewWindow::MakeFont() {
  constexpr int kWidth = kFontColumns * kFontWidth;
  constexpr int kHeight = kFontRows * kFontHeight;
  std::vector<std::uint32_t> dots(std::size_t{kWidth} * kHeight, 0x00FFFFFF);
  for (int glyph = 0; glyph < kFontGlyphs; ++glyph) {
    const int left = glyph % kFontColumns * kFontWidth;
    const int top = glyph / kFontColumns * kFontHeight;
    for (int y = 0; y < kFontHeight; ++y) {
      for (int x = 0; x < kFontWidth; ++x) {
        if ((FontRows(glyph)[y] >> (7 - x) & 1) == 0) continue;
        const int at = (top + y) * kWidth + left + x;
        dots[static_cast<std::size_t>(at)] = 0xFFFFFFFF;
      }
    }
  }
  font_ = SDL_CreateTexture(renderer_, SDL_PIXELFORMAT_ARGB8888, SDL_TEXTUREACCESS_STATIC, kWidth,
                            kHeight);
  if (font_ == nullptr) return false;
  SDL_SetTextureBlendMode(font_, SDL_BLENDMODE_BLEND);
  SDL_SetTextureScaleMode(font_, SDL_ScaleModeNearest);
  return SDL_UpdateTexture(font_, nullptr, dots.data(), 4 * kWidth) == 0;
}

void ViewWindow::ToggleFullScreen() {
  const bool full = (SDL_GetWindowFlags(window_) & SDL_WINDOW_FULLSCREEN_DESKTOP) != 0;
  SDL_Rect display{};
  if (!full) {
    SDL_GetWindowPosition(window_, &windowed_.x, &windowed_.y);
    SDL_GetWindowSize(window_, &windowed_.w, &windowed_.h);
    // Where no window manager enlarges it, as in a kiosk, the window covers the display by itself.
    if (SDL_GetDisplayBounds(SDL_GetWindowDisplayIndex(window_), &display) == 0) {
      SDL_SetWindowPosition(window_, display.x, display.y);
      SDL_SetWindowSize(window_, display.w, display.h);
    }
    SDL_SetWindowFullscreen(window_, SDL_WINDOW_FULLSCREEN_DESKTOP);
  } else {
    SDL_SetWindowFullscreen(window_, 0);
    SDL_SetWindowSize(window_, windowed_.w, windowed_.h);
    SDL_SetWindowPosition(window_, windowed_.x, windowed_.y);
  }
  SDL_ShowCursor(full ? SDL_ENABLE : SDL_DISABLE);
}

void ViewWindow::SetTitle(const std::string& title) {
  SDL_SetWindowTitle(window_, title.c_str());
}

double ViewWindow::displayRate() const {
  SDL_DisplayMode mode{};
  const int display = SDL_GetWindowDisplayIndex(window_);
  const bool known = display >= 0 && SDL_GetCurrentDisplayMode(display, &mode) == 0;
  return known && mode.refresh_rate > 0 ? mode.refresh_rate : 60;
}

bool ViewWindow::SetPicture(const Picture& picture) {
  if (picture_ == nullptr || picture.width != pictureSize_.width ||
      picture.height != pictureSize_.height) {
    SDL_Texture* const texture =
        SDL_CreateTexture(renderer_, SDL_PIXELFORMAT_RGBA32, SDL_TEXTUREACCESS_STREAMING,
                          picture.width, picture.height);
    if (texture == nullptr) return false;
    if (picture_ != nullptr) SDL_DestroyTexture(picture_);
    // Colours are multiplied with alpha already: over black, they are what shows.
    SDL_SetTextureBlendMode(texture, SDL_BLENDMODE_NONE);
    picture_ = texture;
    pictureSize_ = {picture.width, picture.height};
  }
  return SDL_UpdateTexture(picture_, nullptr, picture.rgba.data(), 4 * picture.width) == 0;
}

void ViewWindow::DrawPicture(bool mirrored) {
  SDL_SetRenderDrawColor(renderer_, 0, 0, 0, 255);
  SDL_RenderClear(renderer_);
  if (picture_ == nullptr) return;
  const SDL_Rect place = Letterboxed(pictureSize_, size());
  SDL_RenderCopyEx(renderer_, picture_, nullptr, &place, 0, nullptr,
                   mirrored ? SDL_FLIP_HORIZONTAL : SDL_FLIP_NONE);
}

void ViewWindow::Present() {
  SDL_RenderPresent(renderer_);
}

PictureSize ViewWindow::size() const {
  PictureSize area;
  SDL_GetRendererOutputSize(renderer_, &area.width, &area.height);
  return area;
}

int ViewWindow::unit() const {
  int width = 0;
  int height = 0;
  SDL_GetWindowSize(window_, &width, &height);
  const PictureSize area = size();
  // A fine display has several pixels where the window has one.
  const int fine = width > 0 ? (area.width + width / 2) / width : 1;
  return std::max({1, fine, std::min(area.width, area.height) / kRowsPerUnit + (fine > 1 ? 1 : 0)});
}

void ViewWindow::Fill(const SDL_Rect& place, SDL_Color colour) {
  SDL_SetRenderDrawColor(renderer_, colour.r, colour.g, colour.b, colour.a);
  SDL_RenderFillRect(renderer_, &place);
}

int ViewWindow::TextWidth(std::string_view text) const {
  return static_cast<int>(FontText(text).size()) * kFontWidth * unit();
}

int ViewWindow::TextHeight() const {
  return kFontHeight * unit();
}

void ViewWindow::Text(int x, int y, std::string_view text, SDL_Color colour) {
  SDL_SetTextureColorMod(font_, colour.r, colour.g, colour.b);
  SDL_SetTextureAlphaMod(font_, colour.a);
  const int dot = unit();
  for (const char glyph : FontText(text)) {
    const int index = static_cast<unsigned char>(glyph);
    const SDL_Rect from = {index % kFontColumns * kFontWidth, index / kFontColumns * kFontHeight,
                           kFontWidth, kFontHeight};
    const SDL_Rect to = {x, y, kFontWidth * dot, kFontHeight * dot};
    SDL_RenderCopy(renderer_, font_, &from, &to);
    x += to.w;
  }
}

void ViewWindow::DrawRgba(const SDL_Rect& place, int width, int height, const std::uint8_t* rgba) {
  SDL_Texture* const texture =
      SDL_CreateTexture(renderer_, SDL_PIXELFORMAT_RGBA32, SDL_TEXTUREACCESS_STATIC, width, height);
  if (texture == nullptr) return;
  SDL_SetTextureBlendMode(texture, SDL_BLENDMODE_BLEND);
  SDL_UpdateTexture(texture, nullptr, rgba, 4 * width);
  SDL_RenderCopy(renderer_, texture, nullptr, &place);
  SDL_DestroyTexture(texture);
}

}  // namespace lumivane
