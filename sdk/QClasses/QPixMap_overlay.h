// Compositing of one pixel map over another. For the pixel-map operations' own use.
#pragma once

#include "sdk/QClasses/QPixMap_rows.h"

namespace QPixMapOverlay {

/// One byte of `dest` under one of `overlay`, `alpha` of it kept from the overlay.
inline unsigned char Blend(unsigned char dest, unsigned char overlay, double alpha) {
  const double keep = 1 - alpha;
  const double value = dest * keep + overlay * alpha;
  // What no 32-bit integer holds truncates to the most negative one, so to 0 here.
  if (!(value > -2147483649.0 && value < 2147483648.0)) return 0;
  return static_cast<unsigned char>(std::clamp(static_cast<SInt32>(value), SInt32{0}, SInt32{255}));
}

/// `kDestBytes` 4: all four bytes blend; 3: the last three of the overlay's do.
template <int kDestBytes>
void Draw(const QPixMapRows::Memory& dest, const Point& where, const QPixMapRows::Memory& overlay,
          float opacity) {
  const SInt32 firstRow = std::max<SInt32>(0, -where.v);
  const SInt32 lastRow = std::min<SInt32>(overlay.height, dest.height - where.v);
  const SInt32 firstColumn = std::max<SInt32>(0, -where.h);
  for (SInt32 r = firstRow; r < lastRow; ++r) {
    const SInt32 y = where.v + r;
    const SInt32 there = static_cast<SInt32>(overlay.PixelsAt(r, overlay.width, 4));
    const SInt32 room = static_cast<SInt32>(dest.PixelsAt(y, dest.width, kDestBytes));
    const SInt32 lastColumn = std::min<SInt32>(there, room - where.h);
    for (SInt32 c = firstColumn; c < lastColumn; ++c) {
      const unsigned char* o = overlay.Row(r) + 4 * c;
      unsigned char* d = dest.Row(y) + kDestBytes * (where.h + c);
      const double a = o[0] / 255.0 * static_cast<double>(opacity);
      for (int i = 0; i < kDestBytes; ++i) d[i] = Blend(d[i], o[4 - kDestBytes + i], a);
    }
  }
}

}  // namespace QPixMapOverlay
