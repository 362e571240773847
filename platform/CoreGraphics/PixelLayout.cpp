#include "platform/CoreGraphics/PixelLayout.h"

#include <algorithm>
#include <cstring>

#include "platform/CoreGraphics/RowKernels.h"

namespace raster {
namespace {

constexpr std::size_t kMaxSize = 0x7FFFFFFF;

// Weights of a grey made of red, green and blue, in hundredths.
constexpr unsigned kRedWeight = 30;
constexpr unsigned kGreenWeight = 59;
constexpr unsigned kBlueWeight = 11;

bool AlphaFirst(std::uint32_t alpha) {
  return alpha == kCGImageAlphaPremultipliedFirst || alpha == kCGImageAlphaFirst ||
         alpha == kCGImageAlphaNoneSkipFirst;
}

AlphaKind KindOf(std::uint32_t alpha) {
  switch (alpha) {
    case kCGImageAlphaPremultipliedFirst:
    case kCGImageAlphaPremultipliedLast:
      return AlphaKind::kPremultiplied;
    case kCGImageAlphaFirst:
    case kCGImageAlphaLast:
      return AlphaKind::kStraight;
    default:
      return AlphaKind::kNone;
  }
}

// Where the working form's byte i comes from in a four-byte pixel of `layout`.
ByteOrder LoadOrder(const PixelLayout& layout) {
  ByteOrder order{{layout.spare, layout.color[0], layout.color[1], layout.color[2]}, {}};
  if (layout.alpha == AlphaKind::kNone) order.set[0] = 255;
  return order;
}

ByteOrder StoreOrder(const PixelLayout& layout) {
  ByteOrder order{};
  order.from[layout.spare] = 0;
  for (std::uint8_t i = 0; i < 3; ++i) {
    order.from[layout.color[i]] = static_cast<std::uint8_t>(i + 1);
  }
  if (layout.alpha == AlphaKind::kNone) order.set[layout.spare] = 255;
  return order;
}

// To A, R, G, B with the alpha of the layout, whatever its kind.
void LoadRaw(const PixelLayout& layout, const std::uint8_t* from, std::uint8_t* to,
             std::size_t count) {
  if (layout.bytesPerPixel == 4) {
    if (layout.alpha != AlphaKind::kNone && layout.spare == 0 && layout.color[0] == 1 &&
        layout.color[2] == 3) {
      std::memcpy(to, from, 4 * count);
    } else {
      ActiveRowKernels().permute(to, from, count, LoadOrder(layout));
    }
    return;
  }
  const bool gray = layout.components == 1;
  for (std::size_t i = 0; i < count; ++i, from += layout.bytesPerPixel, to += 4) {
    to[0] = layout.alpha == AlphaKind::kNone ? 255 : from[layout.spare];
    for (int c = 0; c < 3; ++c) to[c + 1] = from[layout.color[gray ? 0 : c]];
  }
}

}  // namespace

std::optional<PixelLayout> ImageLayout(std::size_t bitsPerComponent, std::size_t bitsPerPixel,
                                       std::size_t components, CGBitmapInfo info) {
  if (bitsPerComponent != 8 || (components != 1 && components != 3)) return std::nullopt;
  const std::uint32_t alpha = info & kCGBitmapAlphaInfoMask;
  const std::uint32_t order = info & kCGBitmapByteOrderMask;
  if (alpha >= kCGImageAlphaOnly) return std::nullopt;
  if ((info & ~(kCGBitmapAlphaInfoMask | kCGBitmapByteOrderMask)) != 0) return std::nullopt;

  PixelLayout layout;
  layout.components = static_cast<std::uint8_t>(components);
  layout.alpha = KindOf(alpha);
  if (bitsPerPixel == 8 * components) {
    if (alpha != kCGImageAlphaNone || order != kCGBitmapByteOrderDefault) return std::nullopt;
  } else if (bitsPerPixel == 8 * (components + 1)) {
    if (components == 1 && alpha == kCGImageAlphaNone) return std::nullopt;
    layout.hasSpare = true;
  } else {
    return std::nullopt;
  }
  layout.bytesPerPixel = static_cast<std::uint8_t>(bitsPerPixel / 8);
  const bool first = layout.hasSpare && AlphaFirst(alpha);
  layout.spare = first ? 0 : static_cast<std::uint8_t>(components);
  for (std::size_t i = 0; i < components; ++i) {
    layout.color[i] = static_cast<std::uint8_t>(first ? i + 1 : i);
  }
  if (order == kCGBitmapByteOrderDefault) return layout;
  if (bitsPerPixel != 32) return std::nullopt;
  if (order == kCGBitmapByteOrder32Big) return layout;
  if (order != kCGBitmapByteOrder32Little) return std::nullopt;
  layout.spare = static_cast<std::uint8_t>(3 - layout.spare);
  for (std::uint8_t& offset : layout.color) offset = static_cast<std::uint8_t>(3 - offset);
  return layout;
}

std::optional<PixelLayout> ContextLayout(std::size_t bitsPerComponent, std::size_t components,
                                         CGBitmapInfo info) {
  switch (info & kCGBitmapAlphaInfoMask) {
    case kCGImageAlphaNone:
      if (components != 1) return std::nullopt;
      return ImageLayout(bitsPerComponent, 8, components, info);
    case kCGImageAlphaPremultipliedFirst:
    case kCGImageAlphaPremultipliedLast:
    case kCGImageAlphaNoneSkipFirst:
    case kCGImageAlphaNoneSkipLast:
      if (components != 3) return std::nullopt;
      return ImageLayout(bitsPerComponent, 32, components, info);
    default:
      return std::nullopt;
  }
}

bool SizesFit(const PixelLayout& layout, std::size_t width, std::size_t height,
              std::size_t bytesPerRow) {
  if (width == 0 || height == 0 || width > kMaxSize || height > kMaxSize) return false;
  if (bytesPerRow < RowNeed(layout, width)) return false;
  constexpr std::size_t kMaxBytes = 0x7FFFFFFFFFFFFFFF;
  return bytesPerRow <= kMaxBytes / height;
}

void LoadPixels(const PixelLayout& layout, const std::uint8_t* from, std::uint8_t* to,
                std::size_t count) {
  LoadRaw(layout, from, to, count);
  if (layout.alpha == AlphaKind::kStraight) ActiveRowKernels().premultiply(to, to, count);
}

void LoadStraightPixels(const PixelLayout& layout, const std::uint8_t* from, std::uint8_t* to,
                        std::size_t count) {
  LoadRaw(layout, from, to, count);
  if (layout.alpha != AlphaKind::kPremultiplied) return;
  for (std::size_t i = 0; i < count; ++i, to += 4) {
    const unsigned alpha = to[0];
    if (alpha == 255) continue;
    for (int c = 1; c < 4; ++c) {
      const unsigned value = alpha == 0 ? 0 : (to[c] * 255U + alpha / 2) / alpha;
      to[c] = static_cast<std::uint8_t>(std::min(value, 255U));
    }
  }
}

void StorePixels(const PixelLayout& layout, const std::uint8_t* from, std::uint8_t* to,
                 std::size_t count) {
  if (layout.bytesPerPixel == 4) {
    if (layout.isWorkingForm()) {
      std::memcpy(to, from, 4 * count);
    } else {
      ActiveRowKernels().permute(to, from, count, StoreOrder(layout));
    }
    return;
  }
  for (std::size_t i = 0; i < count; ++i, from += 4) {
    const unsigned sum = kRedWeight * from[1] + kGreenWeight * from[2] + kBlueWeight * from[3];
    to[i] = static_cast<std::uint8_t>((sum + 50) / 100);
  }
}

}  // namespace raster
