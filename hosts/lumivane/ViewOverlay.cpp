#include "hosts/lumivane/ViewOverlay.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "hosts/lumivane/LumaScopes.h"
#include "hosts/lumivane/ViewInput.h"

namespace lumivane {
namespace {

constexpr SDL_Color kPaper = {12, 14, 18, 230};
constexpr SDL_Color kInk = {240, 243, 248, 255};
constexpr SDL_Color kSoft = {170, 178, 190, 255};
constexpr SDL_Color kLive = {111, 211, 146, 255};
constexpr SDL_Color kStale = {242, 184, 75, 255};
constexpr SDL_Color kNone = {255, 138, 128, 255};
constexpr SDL_Color kRecording = {255, 90, 80, 255};

constexpr int kMargin = 8;   ///< units from the window's edge
constexpr int kPadding = 6;  ///< units inside a panel
constexpr int kLineGap = 2;

constexpr int kScopeWidth = 256;
constexpr int kScopeHeight = 128;

SDL_Color ColourOf(CameraState state) {
  switch (state) {
    case CameraState::kLive:
      return kLive;
    case CameraState::kStale:
      return kStale;
    default:
      return kNone;
  }
}

__attribute__((format(printf, 1, 2))) std::string Format(const char* format, ...) {
  char line[256];
  va_list values;
  va_start(values, format);
  std::vsnprintf(line, sizeof(line), format, values);
  va_end(values);
  return line;
}

struct Line {
  std::string text;
  SDL_Color colour;
};

enum class Corner { kTopLeft, kTopRight, kCentre, kBottom };

SDL_Rect PanelPlace(const ViewWindow& window, Corner corner, int width, int height) {
  const PictureSize area = window.size();
  const int margin = kMargin * window.unit();
  SDL_Rect place = {margin, margin, width, height};
  if (corner == Corner::kTopRight) place.x = area.width - width - margin;
  if (corner == Corner::kCentre || corner == Corner::kBottom) place.x = (area.width - width) / 2;
  if (corner == Corner::kCentre) place.y = (area.height - height) / 2;
  if (corner == Corner::kBottom) place.y = area.height - height - margin;
  return place;
}

void DrawPanel(ViewWindow& window, Corner corner, const std::vector<Line>& lines) {
  const int unit = window.unit();
  const int step = window.TextHeight() + kLineGap * unit;
  int width = 0;
  for (const Line& line : lines) width = std::max(width, window.TextWidth(line.text));
  const int padding = kPadding * unit;
  const SDL_Rect place =
      PanelPlace(window, corner, width + 2 * padding,
                 static_cast<int>(lines.size()) * step - kLineGap * unit + 2 * padding);
  window.Fill(place, kPaper);
  int y = place.y + padding;
  for (const Line& line : lines) {
    window.Text(place.x + padding, y, line.text, line.colour);
    y += step;
  }
}

/// Draws a scope's pixels with its name below, in the window's lower left or right.
void DrawScope(ViewWindow& window, bool left, const std::string& name,
               const std::vector<std::uint8_t>& rgba) {
  const int unit = window.unit();
  const PictureSize area = window.size();
  const int margin = kMargin * unit;
  const int padding = kPadding * unit;
  // Two of them find room side by side.
  const int width = std::min(kScopeWidth * unit, (area.width - 3 * margin) / 2 - 2 * padding);
  const int height = std::min(kScopeHeight * unit, area.height / 3);
  if (width < 16 || height < 16) return;
  const int textHeight = window.TextHeight() + kLineGap * unit;
  SDL_Rect panel = {margin, area.height - margin - height - textHeight - 2 * padding,
                    width + 2 * padding, height + textHeight + 2 * padding};
  if (!left) panel.x = area.width - margin - panel.w;
  window.Fill(panel, kPaper);
  window.DrawRgba({panel.x + padding, panel.y + padding, width, height}, kScopeWidth, kScopeHeight,
                  rgba.data());
  window.Text(panel.x + padding, panel.y + padding + height + kLineGap * unit, name, kInk);
}

std::uint8_t* Dot(std::vector<std::uint8_t>& rgba, int x, int y) {
  return rgba.data() +
         4 * (static_cast<std::size_t>(y) * kScopeWidth + static_cast<std::size_t>(x));
}

void Paint(std::uint8_t* dot, SDL_Color colour) {
  dot[0] = colour.r;
  dot[1] = colour.g;
  dot[2] = colour.b;
  dot[3] = colour.a;
}

/// Lines at a quarter, half and three quarters.
std::vector<std::uint8_t> EmptyScope() {
  std::vector<std::uint8_t> rgba(4 * kScopeWidth * kScopeHeight);
  for (int x = 0; x < kScopeWidth; ++x) {
    for (int part = 0; part <= 4; ++part) {
      Paint(Dot(rgba, x, std::min(part * kScopeHeight / 4, kScopeHeight - 1)), {90, 98, 110, 150});
    }
  }
  return rgba;
}

void DrawHistogram(ViewWindow& window, const Picture& picture) {
  const auto histogram = LumaHistogram(picture);
  double sum = 0;
  std::uint32_t most = 1;
  for (const std::uint32_t count : histogram) {
    sum += count;
    most = std::max(most, count);
  }
  std::vector<std::uint8_t> rgba = EmptyScope();
  for (int level = 0; level < 256; ++level) {
    // By the root, so that little is seen beside much.
    const double part =
        std::sqrt(static_cast<double>(histogram[static_cast<std::size_t>(level)]) / most);
    const int bar = static_cast<int>(std::ceil(part * kScopeHeight));
    const SDL_Color colour = level == 0 || level == 255 ? kNone : kInk;
    for (int y = 0; y < bar; ++y) Paint(Dot(rgba, level, kScopeHeight - 1 - y), colour);
  }
  const double all = std::max(1.0, sum);
  DrawScope(window, false,
            Format("luma  black %.1f%%  white %.1f%%", 100 * histogram[0] / all,
                   100 * histogram[255] / all),
            rgba);
}

void DrawWaveform(ViewWindow& window, const Picture& picture, bool mirrored) {
  const LumaWaveform waveform = MakeLumaWaveform(picture, kScopeWidth, kScopeHeight);
  std::vector<std::uint8_t> rgba = EmptyScope();
  double sum = 0;
  for (const std::uint32_t count : waveform.counts) sum += count;
  const double perColumn = std::max(1.0, sum / kScopeWidth);
  for (int level = 0; level < kScopeHeight; ++level) {
    for (int x = 0; x < kScopeWidth; ++x) {
      const int at = level * kScopeWidth + x;
      const std::uint32_t count = waveform.counts[static_cast<std::size_t>(at)];
      if (count == 0) continue;
      const double part = std::min(1.0, 0.35 + 6 * count / perColumn);
      // Below the part of the picture that it is of.
      Paint(Dot(rgba, mirrored ? kScopeWidth - 1 - x : x, kScopeHeight - 1 - level),
            {static_cast<std::uint8_t>(60 + 130 * part), static_cast<std::uint8_t>(90 + 165 * part),
             static_cast<std::uint8_t>(60 + 130 * part), 255});
    }
  }
  DrawScope(window, true, "luma by column", rgba);
}

void DrawBadges(ViewWindow& window, const ViewState& state) {
  std::vector<Line> badges;
  if (state.recordingSeconds) {
    const int seconds = static_cast<int>(*state.recordingSeconds);
    std::string text = Format("REC %d:%02d", seconds / 60, seconds % 60);
    if (state.recorded.dropped > 0) {
      text += Format(", %llu dropped", static_cast<unsigned long long>(state.recorded.dropped));
    }
    badges.push_back({text, kRecording});
  }
  if (state.frozen) badges.push_back({"FROZEN", kStale});
  if (state.mirrored) badges.push_back({"MIRROR", kSoft});
  // What is wrong shows without being asked for.
  if (!state.showState && state.health.state != CameraState::kLive) {
    badges.push_back({state.health.state == CameraState::kStale ? "STALE" : "NO CAMERA",
                      ColourOf(state.health.state)});
  }
  if (!badges.empty()) DrawPanel(window, Corner::kTopRight, badges);
}

}  // namespace

std::vector<std::string> StateLines(const ViewState& state) {
  const CameraHealth& health = state.health;
  std::vector<std::string> lines;
  lines.push_back(std::string(StateName(health.state)) +
                  (health.camera.empty() ? "" : "  " + health.camera));
  lines.push_back(Format("%d x %d", state.pictureSize.width, state.pictureSize.height));
  lines.push_back(Format("camera %.1f a second, shown %.1f", health.rate, state.shownRate));
  lines.push_back(health.dropped
                      ? Format("dropped %llu", static_cast<unsigned long long>(*health.dropped))
                      : "dropped not known");
  lines.push_back(health.ageSeconds ? Format("age %.0f ms", 1000 * *health.ageSeconds)
                                    : "age not known");
  if (!health.message.empty()) lines.push_back(health.message);
  return lines;
}

void DrawOverlays(ViewWindow& window, const ViewState& state, const Picture& picture) {
  if (state.showWaveform) DrawWaveform(window, picture, state.mirrored);
  if (state.showHistogram) DrawHistogram(window, picture);
  if (state.showState) {
    std::vector<Line> lines;
    for (const std::string& text : StateLines(state)) {
      lines.push_back({text, lines.empty() ? ColourOf(state.health.state) : kInk});
    }
    DrawPanel(window, Corner::kTopLeft, lines);
  }
  DrawBadges(window, state);
  if (state.showHelp) {
    std::vector<Line> lines;
    for (const KeyHelp& help : kViewKeys) {
      lines.push_back({Format("%-6s %s", help.key, help.does), kInk});
    }
    DrawPanel(window, Corner::kCentre, lines);
  }
  if (!state.message.empty()) DrawPanel(window, Corner::kBottom, {{state.message, kInk}});
}

}  // namespace lumivane
