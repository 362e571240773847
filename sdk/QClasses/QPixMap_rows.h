// A pixel map's memory and the rows in it. For the pixel-map operations' own use.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "sdk/CoreX/RowThreads.h"
#include "sdk/QClasses/QPixMap.h"
#include "sdk/QClasses/QPixMap_kernels.h"

namespace QPixMapRows {

/// A pixel map's memory; empty for a null handle and for a map without pixels.
struct Memory {
  unsigned char* base = nullptr;
  SInt64 size = 0;  ///< bytes from `base` on that are the map's own
  SInt64 rowBytes = 0;
  SInt32 width = 0;
  SInt32 height = 0;

  explicit Memory(PixMap** hPixMap) {
    base = reinterpret_cast<unsigned char*>(GetPixBaseAddr(hPixMap));
    if (base == nullptr) return;
    size = QPixMap_KnownBytes(hPixMap);
    rowBytes = QPixMap_GetRowBytes(hPixMap);
    width = QPixMap_Width(hPixMap);
    height = QPixMap_Height(hPixMap);
  }

  /// How many of `count` pixels of row `y` lie in the memory whole. They need not lie in the row:
  /// where rows are shorter than their pixels, the next row's bytes follow.
  std::size_t PixelsAt(SInt32 y, SInt32 count, SInt32 pixelBytes) const {
    const SInt64 room = (size - y * rowBytes) / pixelBytes;
    return static_cast<std::size_t>(std::clamp<SInt64>(room, 0, std::max(count, SInt32{0})));
  }
  /// First byte of a row that has pixels in the memory.
  unsigned char* Row(SInt32 y) const { return base + y * rowBytes; }

  /// Whether every pixel lies in the memory, which frame operations take for granted.
  bool HoldsAll(SInt32 pixelBytes) const {
    if (base == nullptr || width <= 0 || height <= 0) return false;
    return PixelsAt(height - 1, width, pixelBytes) == static_cast<std::size_t>(width);
  }
};

/// `operation(rows)` on all rows, shared among threads where they have no bytes in common. `cost`
/// is what a pixel takes, in bytes of a copy.
template <typename Operation>
void Share(const QPixMapKernels::Rows& all, std::size_t pixelBytes, std::size_t cost,
           const Operation& operation) {
  if (all.height < 2 || static_cast<std::size_t>(all.rowBytes) < all.width * pixelBytes) {
    operation(all);
    return;
  }
  RowThreads::ForRows(static_cast<int>(all.height), cost * all.width, [&](int first, int last) {
    QPixMapKernels::Rows rows = all;
    rows.first += first * rows.rowBytes;
    rows.height = static_cast<std::size_t>(last - first);
    operation(rows);
  });
}

/// `operation(y, rows, pixels)` on blocks of rows from the first to the last but one, each of rows
/// that have as many pixels by `pixelsAt(y)`: rows that are cut off come one by one, empty ones not
/// at all.
template <typename PixelsAt, typename Operation>
void ForEachBlock(SInt32 first, SInt32 last, const PixelsAt& pixelsAt, const Operation& operation) {
  for (SInt32 y = first; y < last;) {
    const std::size_t pixels = pixelsAt(y);
    SInt32 end = y + 1;
    while (end < last && pixelsAt(end) == pixels) ++end;
    if (pixels > 0) operation(y, static_cast<std::size_t>(end - y), pixels);
    y = end;
  }
}

/// `operation` on blocks of rows that together hold what pixels of the map lie in its memory, each
/// shared among threads as above.
template <typename Operation>
void ForEachBlock(PixMap** hPixMap, SInt32 pixelBytes, std::size_t cost,
                  const Operation& operation) {
  const Memory map(hPixMap);
  ForEachBlock(
      0, map.height, [&](SInt32 y) { return map.PixelsAt(y, map.width, pixelBytes); },
      [&](SInt32 y, std::size_t rows, std::size_t pixels) {
        Share(QPixMapKernels::Rows{map.Row(y), static_cast<std::ptrdiff_t>(map.rowBytes), pixels,
                                   rows},
              static_cast<std::size_t>(pixelBytes), cost, operation);
      });
}

/// Whether all of two blocks of rows is the same memory, or they have none in common.
inline bool ApartOrSame(const QPixMapKernels::Rows& dst, std::size_t dstPixelBytes,
                        const QPixMapKernels::Source& source, std::size_t sourcePixelBytes = 4) {
  const auto bytes = [&dst](std::ptrdiff_t rowBytes, std::size_t pixelBytes) {
    return (dst.height - 1) * static_cast<std::size_t>(rowBytes) + dst.width * pixelBytes;
  };
  const auto d = reinterpret_cast<std::uintptr_t>(dst.first);
  const auto s = reinterpret_cast<std::uintptr_t>(source.first);
  if (d == s) return dst.rowBytes == source.rowBytes && dstPixelBytes == sourcePixelBytes;
  return d < s ? s - d >= bytes(dst.rowBytes, dstPixelBytes)
               : d - s >= bytes(source.rowBytes, sourcePixelBytes);
}

/// `operation(kernels, dst, sources...)`, `cost` bytes of a copy a pixel, on all rows at once by
/// the chosen form where that may be; else row by row, and by the scalar form where a row meets a
/// part of another one's.
template <typename... Sources, typename Operation>
void WithKernels(const QPixMapKernels::Rows& dst, std::size_t dstPixelBytes, std::size_t cost,
                 const Operation& operation, const Sources&... sources) {
  const QPixMapKernels::RowKernels& chosen = QPixMapKernels::CurrentRowKernels();
  const auto down = [](auto rows, std::ptrdiff_t y) {
    rows.first += y * rows.rowBytes;
    return rows;
  };
  if ((ApartOrSame(dst, dstPixelBytes, sources) && ...)) {
    Share(dst, dstPixelBytes, cost, [&](const QPixMapKernels::Rows& part) {
      const std::ptrdiff_t y =
          part.first == dst.first ? 0 : (part.first - dst.first) / dst.rowBytes;
      operation(chosen, part, down(sources, y)...);
    });
    return;
  }
  for (std::size_t i = 0; i < dst.height; ++i) {
    const auto y = static_cast<std::ptrdiff_t>(i);
    QPixMapKernels::Rows row = down(dst, y);
    row.height = 1;
    const bool apart = (ApartOrSame(row, dstPixelBytes, down(sources, y)) && ...);
    operation(apart ? chosen : QPixMapKernels::kScalarRowKernels, row, down(sources, y)...);
  }
}

}  // namespace QPixMapRows
