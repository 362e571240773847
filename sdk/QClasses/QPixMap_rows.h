// A pixel map's memory and the rows in it. For the pixel-map operations' own use.
#pragma once

#include <algorithm>
#include <cstddef>

#include "sdk/QClasses/QPixMap.h"

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

/// `operation` on the start and the number of pixels of every row.
template <typename Operation>
void ForEachRow(PixMap** hPixMap, SInt32 pixelBytes, const Operation& operation) {
  const Memory map(hPixMap);
  for (SInt32 y = 0; y < map.height; ++y) {
    const std::size_t pixels = map.PixelsAt(y, map.width, pixelBytes);
    if (pixels > 0) operation(map.Row(y), pixels);
  }
}

}  // namespace QPixMapRows
