// How a pixel's bytes are to be read, and the one form all drawing works in.
//
// The working form is a row of four-byte pixels A, R, G, B, premultiplied: the layout of camera
// frames and of the filter's bitmap, which thus need no conversion.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/CoreGraphics/CGImage.h"

namespace raster {

enum class AlphaKind { kNone, kPremultiplied, kStraight };

struct PixelLayout {
  std::uint8_t bytesPerPixel = 4;
  std::uint8_t components = 3;  ///< colour components: 1 grey or 3 RGB
  std::uint8_t color[3]{};      ///< byte offset of each colour component
  std::uint8_t spare = 0;       ///< byte offset of alpha or of the skipped byte
  bool hasSpare = false;
  AlphaKind alpha = AlphaKind::kNone;

  /// A, R, G, B in this order, the byte 0 being premultiplied alpha.
  bool isWorkingForm() const {
    return bytesPerPixel == 4 && alpha == AlphaKind::kPremultiplied && spare == 0 &&
           color[0] == 1 && color[2] == 3;
  }
};

/// The layout the arguments of CGImageCreate describe; none when it is not in its table.
std::optional<PixelLayout> ImageLayout(std::size_t bitsPerComponent, std::size_t bitsPerPixel,
                                       std::size_t components, CGBitmapInfo info);
/// The same for the table of CGBitmapContextCreate.
std::optional<PixelLayout> ContextLayout(std::size_t bitsPerComponent, std::size_t components,
                                         CGBitmapInfo info);

/// Bytes a row of `width` pixels needs, for a width of at most 2^31 - 1.
constexpr std::size_t RowNeed(const PixelLayout& layout, std::size_t width) {
  return width * layout.bytesPerPixel;
}

/// True when rows of `bytesPerRow` hold `width` pixels, the size is 1 to 2^31 - 1 each way and the
/// whole stays below 2^63 bytes.
bool SizesFit(const PixelLayout& layout, std::size_t width, std::size_t height,
              std::size_t bytesPerRow);

/// `count` pixels of the layout at `from` to the working form and back. No overlap. Storing into a
/// layout without alpha keeps the premultiplied colours (as if over black) and writes 255 into a
/// skipped byte; grey is 0.30 R + 0.59 G + 0.11 B, rounded. Straight layouts are only loaded.
void LoadPixels(const PixelLayout& layout, const std::uint8_t* from, std::uint8_t* to,
                std::size_t count);
void StorePixels(const PixelLayout& layout, const std::uint8_t* from, std::uint8_t* to,
                 std::size_t count);
/// As LoadPixels, but A, R, G, B straight: colours of a premultiplied layout are divided by alpha
/// (0 where alpha is 0).
void LoadStraightPixels(const PixelLayout& layout, const std::uint8_t* from, std::uint8_t* to,
                        std::size_t count);

}  // namespace raster
