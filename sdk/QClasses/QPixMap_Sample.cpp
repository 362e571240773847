// Bilinear samples of one point.
#include <algorithm>

#include "sdk/QClasses/QPixMap_rows.h"

using QPixMapRows::Memory;

namespace {

/// Truncation to an integer; what no 32-bit integer holds becomes the most negative one.
SInt32 Truncate(double value) {
  if (!(value > -2147483649.0 && value < 2147483648.0)) return -2147483647 - 1;
  return static_cast<SInt32>(value);
}

/// The four pixels around a point and the weights of the second column and row.
class Taps {
 public:
  /// The map has pixels.
  Taps(const Memory& map, SInt32 pixelBytes, double x, double y) : map_(map) {
    const SInt32 maxCol = map.width - 1;
    const SInt32 maxRow = map.height - 1;
    const SInt32 x0 = std::clamp(Truncate(x), SInt32{0}, maxCol);
    const SInt32 y0 = std::clamp(Truncate(y), SInt32{0}, maxRow);
    const SInt64 below = static_cast<SInt64>(Truncate(y)) + 1;
    left_ = static_cast<SInt64>(x0) * pixelBytes;
    right_ = x0 < maxCol ? left_ + pixelBytes : left_;
    upper_ = y0 * map.rowBytes;
    lower_ = std::clamp<SInt64>(below, 0, maxRow) * map.rowBytes;
    fx_ = x - x0;
    fy_ = y - y0;
  }

  /// The sample of one byte of the pixel.
  double operator()(int byte) const {
    const double top = (1 - fx_) * At(upper_ + left_ + byte) + fx_ * At(upper_ + right_ + byte);
    const double bottom = (1 - fx_) * At(lower_ + left_ + byte) + fx_ * At(lower_ + right_ + byte);
    return top * (1 - fy_) + bottom * fy_;
  }

 private:
  /// Rows too short for their pixels end outside the map's memory: that counts as 0.
  unsigned char At(SInt64 offset) const { return offset < map_.size ? map_.base[offset] : 0; }

  const Memory& map_;
  SInt64 left_;
  SInt64 right_;
  SInt64 upper_;
  SInt64 lower_;
  double fx_;
  double fy_;
};

bool HasPixels(const Memory& map) {
  return map.base != nullptr && map.width > 0 && map.height > 0;
}

}  // namespace

UInt16 QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(PixMap** hPixMap, double x, double y) {
  const Memory map(hPixMap);
  if (!HasPixels(map)) return 0;
  const double v = Taps(map, 1, x, y)(0);
  return static_cast<UInt16>(Truncate(std::max(v, 0.0)));
}

UInt32 QPixMap_SafeGetPixel_BilinearInterpolatedSample32(PixMap** hPixMap, double x, double y) {
  const Memory map(hPixMap);
  if (!HasPixels(map)) return 0;
  const Taps taps(map, 4, x, y);
  const auto byte = [&taps](int i) { return static_cast<UInt32>(Truncate(taps(i))) & 0xFF; };
  return byte(0) << 24 | byte(3) << 16 | byte(2) << 8 | byte(1);
}
