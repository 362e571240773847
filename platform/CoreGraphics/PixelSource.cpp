#include "platform/CoreGraphics/PixelSource.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace raster {
namespace {

// Maps the colours of A, R, G, B pixels; `whole` is the value that stands for 1 there: 255, or the
// pixel's own alpha where the colours are multiplied by it.
void ApplyDecode(const std::array<float, 6>& decode, int components, bool premultiplied,
                 std::uint8_t* pixels, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i, pixels += 4) {
    const float whole = premultiplied ? pixels[0] : 255.0F;
    for (int c = 0; c < 3; ++c) {
      const int pair = components == 1 ? 0 : 2 * c;
      const float low = decode[static_cast<std::size_t>(pair)];
      const float high = decode[static_cast<std::size_t>(pair) + 1];
      const float value = low * whole + (high - low) * static_cast<float>(pixels[c + 1]);
      pixels[c + 1] = static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0F, whole)));
    }
  }
}

}  // namespace

template <class Load>
void PixelSource::loadWith(Load loadPixels, std::size_t x, std::size_t y, std::size_t count,
                           std::uint8_t* to) const {
  const std::size_t start = firstByte + y * bytesPerRow + x * layout.bytesPerPixel;
  std::size_t present = 0;
  if (start < bytes.size) present = std::min(count, (bytes.size - start) / layout.bytesPerPixel);
  if (present > 0) loadPixels(layout, bytes.data + start, to, present);
  std::memset(to + 4 * present, 0, 4 * (count - present));
}

void PixelSource::load(std::size_t x, std::size_t y, std::size_t count, std::uint8_t* to) const {
  loadWith(LoadPixels, x, y, count, to);
  if (decode) ApplyDecode(*decode, layout.components, true, to, count);
}

void PixelSource::loadStraight(std::size_t x, std::size_t y, std::size_t count,
                               std::uint8_t* to) const {
  loadWith(LoadStraightPixels, x, y, count, to);
  if (decode) ApplyDecode(*decode, layout.components, false, to, count);
}

const std::uint8_t* PixelSource::inPlace(std::size_t x, std::size_t y, std::size_t count) const {
  if (decode || !layout.isWorkingForm()) return nullptr;
  const std::size_t start = firstByte + y * bytesPerRow + 4 * x;
  if (start >= bytes.size || (bytes.size - start) / 4 < count) return nullptr;
  return bytes.data + start;
}

std::size_t PixelSource::presentColumns() const {
  const std::size_t left = firstByte < bytes.size ? bytes.size - firstByte : 0;
  return std::min(width, left / layout.bytesPerPixel);
}

std::size_t PixelSource::presentRows() const {
  const std::size_t left = firstByte < bytes.size ? bytes.size - firstByte : 0;
  return std::min(height, left / bytesPerRow + (left % bytesPerRow != 0 ? 1 : 0));
}

}  // namespace raster
