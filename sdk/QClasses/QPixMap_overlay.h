// Compositing of one pixel map over another. For the pixel-map operations' own use.
#pragma once

#include "sdk/QClasses/QPixMap_rows.h"

namespace QPixMapOverlay {

/// What a pixel takes, in bytes of a copy.
constexpr std::size_t kCost = 30;

/// `kDestBytes` 4: all four bytes blend; 3: the last three of the overlay's do.
template <int kDestBytes>
void Draw(const QPixMapRows::Memory& dest, const Point& where, const QPixMapRows::Memory& overlay,
          float opacity) {
  using namespace QPixMapKernels;
  if (dest.base == nullptr || overlay.base == nullptr) return;
  const SInt32 firstRow = std::max<SInt32>(0, -where.v);
  const SInt32 lastRow = std::min<SInt32>(overlay.height, dest.height - where.v);
  const SInt32 firstColumn = std::max<SInt32>(0, -where.h);
  const auto pixelsAt = [&](SInt32 r) {
    const SInt32 there = static_cast<SInt32>(overlay.PixelsAt(r, overlay.width, 4));
    const SInt32 room = static_cast<SInt32>(dest.PixelsAt(where.v + r, dest.width, kDestBytes));
    const SInt32 lastColumn = std::min<SInt32>(there, room - where.h);
    return static_cast<std::size_t>(std::max<SInt32>(0, lastColumn - firstColumn));
  };
  QPixMapRows::ForEachBlock(
      firstRow, lastRow, pixelsAt, [&](SInt32 r, std::size_t rows, std::size_t pixels) {
        const Rows to = {dest.Row(where.v + r) + kDestBytes * (where.h + firstColumn),
                         static_cast<std::ptrdiff_t>(dest.rowBytes), pixels, rows};
        const Source from = {overlay.Row(r) + 4 * firstColumn,
                             static_cast<std::ptrdiff_t>(overlay.rowBytes)};
        QPixMapRows::WithKernels(
            to, kDestBytes, kCost,
            [opacity](const RowKernels& kernels, const Rows& d, const Source& o) {
              (kDestBytes == 4 ? kernels.overlay : kernels.overlay24)(d, o, opacity);
            },
            from);
      });
}

}  // namespace QPixMapOverlay
