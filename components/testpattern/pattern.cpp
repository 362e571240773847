#include "components/testpattern/pattern.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>

#include "components/testpattern/text.h"

namespace testpattern {
namespace {

constexpr float kTurn = 65536;  // units of an angle
constexpr double kHandSeconds = 2;
constexpr double kBallSeconds = 4;

constexpr int kCells = 40;
constexpr int kCounterBits = 32;
constexpr unsigned kSync = 0b1010;

// 75 % of full intensity, as bars have been graded since analogue days.
constexpr std::uint8_t kBar = 191;
constexpr int kBars = 7;
constexpr bool kBarPrimaries[kBars][3] = {{1, 1, 1}, {1, 1, 0}, {0, 1, 1}, {0, 1, 0},
                                          {1, 0, 1}, {1, 0, 0}, {0, 0, 1}};

// Weights of red and blue in luma; green has the rest.
struct LumaWeights {
  float red, blue;
};
constexpr LumaWeights kRec601 = {0.299F, 0.114F};
constexpr LumaWeights kRec709 = {0.2126F, 0.0722F};
constexpr int kLastRec601Height = 576;

// Video range: luma 16-235, chroma 16-240 about 128.
constexpr float kLumaScale = 219.0F / 255.0F;
constexpr float kChromaScale = 224.0F / 255.0F;

std::uint8_t Rounded(float value) {
  return static_cast<std::uint8_t>(std::lround(value));
}

// Edge or line coverage of a pixel whose centre lies `inside` pixels within the shape.
float Cover(float inside) {
  return std::clamp(inside + 0.5F, 0.0F, 1.0F);
}

int Part(int whole, int percent) {
  return whole * percent / 100;
}

std::uint32_t FramesIn(double seconds, double rate) {
  return std::max<std::uint32_t>(2, static_cast<std::uint32_t>(std::lround(seconds * rate)));
}

std::uint64_t StripBits(std::uint32_t number) {
  unsigned check = 0;
  for (int shift = 0; shift < kCounterBits; shift += 4) check ^= number >> shift & 15;
  return static_cast<std::uint64_t>(kSync) << 36 | static_cast<std::uint64_t>(number) << 4 | check;
}

int CellEdge(int cell, int width) {
  return cell * width / kCells;
}

}  // namespace

Pattern::Pattern(const Settings& settings)
    : settings_(settings),
      background_(static_cast<std::size_t>(settings.width) *
                  static_cast<std::size_t>(settings.height)),
      row_(static_cast<std::size_t>(settings.width)) {
  RenderBars();
  RenderDisc();
  RenderRamp();
  RenderPanel();
  strip_ = {0, Part(settings_.height, 94), settings_.width, settings_.height};
}

Pattern::Rgb& Pattern::Background(int x, int y) {
  return background_[static_cast<std::size_t>(y) * static_cast<std::size_t>(settings_.width) +
                     static_cast<std::size_t>(x)];
}

Pattern::Rgb Pattern::Mix(Rgb under, Rgb over, float cover) {
  const auto mix = [cover](std::uint8_t a, std::uint8_t b) {
    return Rounded(static_cast<float>(a) + (static_cast<float>(b) - static_cast<float>(a)) * cover);
  };
  return {mix(under.r, over.r), mix(under.g, over.g), mix(under.b, over.b)};
}

void Pattern::RenderBars() {
  const int width = settings_.width;
  const int barsEnd = Part(settings_.height, 62);
  const int complementsEnd = Part(settings_.height, 68);
  for (int y = 0; y < complementsEnd; ++y) {
    for (int x = 0; x < width; ++x) {
      const int bar = x * kBars / width;
      const bool* on = kBarPrimaries[y < barsEnd ? bar : kBars - 1 - bar];
      // The last bar first, and black under every second one.
      const bool black = y >= barsEnd && bar % 2 != 0;
      const auto level = [&](int i) { return on[i] && !black ? kBar : std::uint8_t{0}; };
      Background(x, y) = {level(0), level(1), level(2)};
    }
  }
}

void Pattern::RenderDisc() {
  constexpr Rgb kFace{14, 18, 26};
  constexpr Rgb kLine{236, 238, 242};
  const int barsEnd = Part(settings_.height, 62);
  const float centreX = static_cast<float>(settings_.width) / 2;
  const float centreY = static_cast<float>(barsEnd) / 2;
  const float radius = std::min(centreY * 0.84F, centreX * 0.84F);
  const float line = std::max(1.0F, radius / 55);
  discRadius_ = radius;
  // Even columns, so that the area is made of whole pixel pairs.
  disc_ = {static_cast<int>(centreX - radius - 2) & ~1, static_cast<int>(centreY - radius - 2),
           (static_cast<int>(centreX + radius + 4)) & ~1, static_cast<int>(centreY + radius + 3)};
  disc_.left = std::max(disc_.left, 0);
  disc_.top = std::max(disc_.top, 0);
  disc_.right = std::min(disc_.right, settings_.width);
  disc_.bottom = std::min(disc_.bottom, barsEnd);
  turns_.reserve(static_cast<std::size_t>(disc_.right - disc_.left) *
                 static_cast<std::size_t>(disc_.bottom - disc_.top));
  for (int y = disc_.top; y < disc_.bottom; ++y) {
    for (int x = disc_.left; x < disc_.right; ++x) {
      const float dx = static_cast<float>(x) + 0.5F - centreX;
      const float dy = static_cast<float>(y) + 0.5F - centreY;
      const float distance = std::hypot(dx, dy);
      const float turn = std::atan2(dx, -dy) / (2 * std::numbers::pi_v<float>);
      turns_.push_back(
          static_cast<std::uint16_t>(static_cast<std::int32_t>(turn * kTurn) & 0xFFFF));
      Rgb& pixel = Background(x, y);
      pixel = Mix(pixel, kFace, Cover(radius - distance));
      float cover = Cover(line / 2 - std::fabs(distance - radius * 0.95F));
      cover = std::max(cover, Cover(line / 2 - std::fabs(distance - radius * 0.74F)));
      if (distance < radius * 0.95F) {
        cover = std::max(cover, 0.35F * Cover(line / 2 - std::fabs(dx)));
        cover = std::max(cover, 0.35F * Cover(line / 2 - std::fabs(dy)));
      }
      // Ticks every thirtieth of a turn, between the rings.
      if (distance > radius * 0.82F && distance < radius * 0.9F) {
        const float step = turn * 30 - std::round(turn * 30);
        const float across = std::fabs(step) / 30 * 2 * std::numbers::pi_v<float> * distance;
        cover = std::max(cover, 0.7F * Cover(line / 2 - across));
      }
      pixel = Mix(pixel, kLine, cover);
    }
  }
}

void Pattern::RenderRamp() {
  const int width = settings_.width;
  ballBand_ = {0, Part(settings_.height, 68), width, Part(settings_.height, 80)};
  ballRadius_ = static_cast<float>(ballBand_.bottom - ballBand_.top) * 0.36F;
  for (int y = ballBand_.top; y < ballBand_.bottom; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::uint8_t level = static_cast<std::uint8_t>(x * 255 / (width - 1));
      Background(x, y) = {level, level, level};
    }
  }
}

void Pattern::RenderPanel() {
  constexpr Rgb kPanel{14, 18, 26};
  constexpr Rgb kCaption{160, 170, 186};
  const int width = settings_.width;
  const int top = Part(settings_.height, 80);
  const int bottom = Part(settings_.height, 94);
  const int height = bottom - top;
  for (int y = top; y < bottom; ++y) {
    for (int x = 0; x < width; ++x) Background(x, y) = kPanel;
  }
  // Ten figures are the most a 32-bit number has; eight are shown until they do not suffice.
  const int tenFigures = TextWidth("0000000000");
  counterScale_ = std::max(1, std::min(height * 6 / 10 / kGlyphHeight, width / 2 / tenFigures));
  const int margin = width / 40 & ~1;
  counter_.left = margin;
  counter_.right = std::min(width, (margin + tenFigures * counterScale_ + 1) & ~1);
  counter_.top = std::max(top, top + (height - kGlyphHeight * counterScale_) / 2);
  counter_.bottom = std::min(bottom, counter_.top + kGlyphHeight * counterScale_);

  char caption[64];
  std::snprintf(caption, sizeof(caption), "%dX%d %s %.4g FPS", settings_.width, settings_.height,
                settings_.format == PixelFormat::kArgb ? "ARGB" : "2VUY", settings_.rate);
  const char* const lines[] = {"LUMIVANE TEST PATTERN", caption};
  const int scale = std::max(1, counterScale_ / 2);
  const int gap = 4 * scale;
  const int room = width - margin - (counter_.right + margin);
  if (2 * kGlyphHeight * scale + gap > height) return;
  int y = top + (height - 2 * kGlyphHeight * scale - gap) / 2;
  for (const char* line : lines) {
    const int lineWidth = TextWidth(line) * scale;
    if (lineWidth <= room) {
      RenderText(line, width - margin - lineWidth, y, scale, kCaption);
    }
    y += kGlyphHeight * scale + gap;
  }
}

void Pattern::RenderText(const char* text, int left, int top, int scale, Rgb colour) {
  for (int y = 0; y < kGlyphHeight * scale; ++y) {
    for (int x = 0; x < TextWidth(text) * scale; ++x) {
      if (TextDot(text, x / scale, y / scale)) Background(left + x, top + y) = colour;
    }
  }
}

void Pattern::StoreRow(int y, int left, int count, const Rgb* source, std::uint8_t* pixels) const {
  std::uint8_t* out = pixels + static_cast<std::size_t>(y) * settings_.RowBytes();
  if (settings_.format == PixelFormat::kArgb) {
    out += static_cast<std::size_t>(left) * 4;
    for (int i = 0; i < count; ++i, out += 4) {
      out[0] = 255;
      out[1] = source[i].r;
      out[2] = source[i].g;
      out[3] = source[i].b;
    }
    return;
  }
  out += static_cast<std::size_t>(left) * 2;
  const LumaWeights weights = settings_.height <= kLastRec601Height ? kRec601 : kRec709;
  const auto luma = [weights](Rgb c) {
    return weights.red * static_cast<float>(c.r) +
           (1 - weights.red - weights.blue) * static_cast<float>(c.g) +
           weights.blue * static_cast<float>(c.b);
  };
  for (int i = 0; i < count; i += 2, out += 4) {
    const Rgb a = source[i];
    const Rgb b = source[i + 1];
    const float y0 = luma(a);
    const float y1 = luma(b);
    const float mean = (y0 + y1) / 2;
    const float blue = static_cast<float>(a.b + b.b) / 2;
    const float red = static_cast<float>(a.r + b.r) / 2;
    out[0] = Rounded(128 + kChromaScale * (blue - mean) * 0.5F / (1 - weights.blue));
    out[1] = Rounded(16 + kLumaScale * y0);
    out[2] = Rounded(128 + kChromaScale * (red - mean) * 0.5F / (1 - weights.red));
    out[3] = Rounded(16 + kLumaScale * y1);
  }
}

void Pattern::DrawBackground(std::uint8_t* pixels) const {
  const Rgb* source = background_.data();
  for (int y = 0; y < settings_.height; ++y, source += settings_.width) {
    StoreRow(y, 0, settings_.width, source, pixels);
  }
}

void Pattern::DrawFrame(std::uint32_t number, std::uint8_t* pixels) {
  DrawDisc(number, pixels);
  DrawBall(number, pixels);
  DrawCounter(number, pixels);
  DrawStrip(number, pixels);
}

void Pattern::DrawDisc(std::uint32_t number, std::uint8_t* pixels) {
  constexpr Rgb kHand{255, 196, 64};
  const std::uint32_t period = FramesIn(kHandSeconds, settings_.rate);
  const float turn = static_cast<float>(number % period) / static_cast<float>(period);
  const auto handTurn = static_cast<std::uint32_t>(turn * kTurn);
  const float angle = turn * 2 * std::numbers::pi_v<float>;
  const float handX = std::sin(angle);
  const float handY = -std::cos(angle);
  const float centreX = static_cast<float>(settings_.width) / 2;
  const float centreY = static_cast<float>(Part(settings_.height, 62)) / 2;
  const float reach = discRadius_ * 0.74F;
  const float thickness = std::max(1.5F, discRadius_ / 30);

  // The glow behind the hand fades over a good half of a turn.
  float glow[256];
  for (int behind = 0; behind < 256; ++behind) {
    const float fade = std::max(0.0F, 1 - static_cast<float>(behind) / 150);
    glow[behind] = 0.6F * fade * fade;
  }

  const int count = disc_.right - disc_.left;
  const std::uint16_t* turns = turns_.data();
  for (int y = disc_.top; y < disc_.bottom; ++y, turns += count) {
    const Rgb* background = &Background(disc_.left, y);
    for (int i = 0; i < count; ++i) {
      const float dx = static_cast<float>(disc_.left + i) + 0.5F - centreX;
      const float dy = static_cast<float>(y) + 0.5F - centreY;
      const float square = dx * dx + dy * dy;
      row_[static_cast<std::size_t>(i)] = background[i];
      if (square > (reach + 1) * (reach + 1)) continue;
      const float inside = Cover(reach - std::sqrt(square));
      float cover = inside * glow[((handTurn - turns[i]) & 0xFFFF) >> 8];
      if (dx * handX + dy * handY > 0) {
        const float across = std::fabs(dx * handY - dy * handX);
        cover = std::max(cover, inside * Cover(thickness / 2 - across));
      }
      cover = std::max(cover, Cover(thickness * 1.2F - std::sqrt(square)));
      row_[static_cast<std::size_t>(i)] = Mix(background[i], kHand, cover);
    }
    StoreRow(y, disc_.left, count, row_.data(), pixels);
  }
}

void Pattern::DrawBall(std::uint32_t number, std::uint8_t* pixels) {
  constexpr Rgb kBall{232, 64, 72};
  constexpr Rgb kRim{255, 255, 255};
  const std::uint32_t period = FramesIn(kBallSeconds, settings_.rate);
  const float phase = static_cast<float>(number % period) / static_cast<float>(period);
  const float swing = 0.5F - 0.5F * std::cos(phase * 2 * std::numbers::pi_v<float>);
  const float room = static_cast<float>(settings_.width) - 2.6F * ballRadius_;
  const float centreX = 1.3F * ballRadius_ + swing * room;
  const float centreY = static_cast<float>(ballBand_.top + ballBand_.bottom) / 2;
  const float rim = std::max(1.0F, ballRadius_ / 9);
  const int left = static_cast<int>(centreX - ballRadius_ - 2);
  const int right = static_cast<int>(centreX + ballRadius_ + 3);
  for (int y = ballBand_.top; y < ballBand_.bottom; ++y) {
    const Rgb* background = &Background(0, y);
    std::copy(background, background + settings_.width, row_.begin());
    for (int x = std::max(left, 0); x < std::min(right, settings_.width); ++x) {
      const float distance = std::hypot(static_cast<float>(x) + 0.5F - centreX,
                                        static_cast<float>(y) + 0.5F - centreY);
      Rgb& pixel = row_[static_cast<std::size_t>(x)];
      pixel = Mix(pixel, kRim, Cover(ballRadius_ - distance));
      pixel = Mix(pixel, kBall, Cover(ballRadius_ - rim - distance));
    }
    StoreRow(y, 0, settings_.width, row_.data(), pixels);
  }
}

void Pattern::DrawCounter(std::uint32_t number, std::uint8_t* pixels) {
  constexpr Rgb kFigures{244, 246, 250};
  char text[16];
  std::snprintf(text, sizeof(text), "%08u", number);
  const int count = counter_.right - counter_.left;
  for (int y = counter_.top; y < counter_.bottom; ++y) {
    const Rgb* background = &Background(counter_.left, y);
    std::copy(background, background + count, row_.begin());
    for (int x = 0; x < count; ++x) {
      if (TextDot(text, x / counterScale_, (y - counter_.top) / counterScale_)) {
        row_[static_cast<std::size_t>(x)] = kFigures;
      }
    }
    StoreRow(y, counter_.left, count, row_.data(), pixels);
  }
}

void Pattern::DrawStrip(std::uint32_t number, std::uint8_t* pixels) {
  const std::uint64_t bits = StripBits(number);
  for (int cell = 0; cell < kCells; ++cell) {
    const std::uint8_t level = (bits >> (kCells - 1 - cell) & 1) != 0 ? 255 : 0;
    for (int x = CellEdge(cell, settings_.width); x < CellEdge(cell + 1, settings_.width); ++x) {
      row_[static_cast<std::size_t>(x)] = {level, level, level};
    }
  }
  for (int y = strip_.top; y < strip_.bottom; ++y) {
    StoreRow(y, 0, settings_.width, row_.data(), pixels);
  }
}

std::optional<std::uint32_t> ReadCounter(PixelFormat format, int width, int height,
                                         std::uint32_t rowBytes, const std::uint8_t* pixels) {
  const std::uint8_t* const row =
      pixels + static_cast<std::size_t>(height - height / 33 - 1) * rowBytes;
  std::uint64_t bits = 0;
  for (int cell = 0; cell < kCells; ++cell) {
    const auto x =
        static_cast<std::size_t>((CellEdge(cell, width) + CellEdge(cell + 1, width)) / 2);
    // Green stands for a grey pixel as well as any other component does.
    const std::uint8_t level = format == PixelFormat::kArgb ? row[x * 4 + 2] : row[x * 2 + 1];
    bits = bits << 1 | (level >= 128 ? 1 : 0);
  }
  const auto number = static_cast<std::uint32_t>(bits >> 4);
  if (bits != StripBits(number)) return std::nullopt;
  return number;
}

}  // namespace testpattern
