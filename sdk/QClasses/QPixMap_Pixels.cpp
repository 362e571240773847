// Fills, copies in, colour changes and blends.
#include <cstring>

#include "sdk/QClasses/QPixMap_kernels.h"
#include "sdk/QClasses/QPixMap_rows.h"

using QPixMapKernels::CurrentRowKernels;
using QPixMapKernels::Rows;
using QPixMapKernels::Source;
using QPixMapRows::ForEachBlock;
using QPixMapRows::ForEachRow;
using QPixMapRows::Memory;

void QPixMap_Copy32x24(PixMap** hPixMap, const unsigned char* rgb) {
  Memory map(hPixMap);
  if (map.base == nullptr || rgb == nullptr) return;
  // The stored bits as they are: this one never asked for long row bytes.
  map.rowBytes = static_cast<UInt16>((*hPixMap)->rowBytes) & kPixMapRowBytesMask;
  const std::size_t sourceRow = 3 * static_cast<std::size_t>(std::max(map.width, SInt32{0}));
  for (SInt32 y = 0; y < map.height; ++y, rgb += sourceRow) {
    const std::size_t pixels = map.PixelsAt(y, map.width, 4);
    unsigned char* to = map.Row(y);
    for (std::size_t x = 0; x < pixels; ++x, to += 4) {
      to[0] = 0;
      std::memcpy(to + 1, rgb + 3 * x, 3);
    }
  }
}

void QPixMap_Copy32x32(PixMap** hPixMap, const unsigned char* bytes) {
  const Memory map(hPixMap);
  if (map.base == nullptr || bytes == nullptr) return;
  std::memmove(map.base, bytes, static_cast<std::size_t>(map.size));
}

void QPixMap_FillColor32(PixMap** hPixMap, UInt32 color) {
  ForEachRow(hPixMap, 4, [color](unsigned char* row, std::size_t pixels) {
    for (std::size_t x = 0; x < pixels; ++x) std::memcpy(row + 4 * x, &color, 4);
  });
}

void QPixMap_FillColor_RGB_24(PixMap** hPixMap, UInt32 color) {
  const unsigned char bytes[3] = {static_cast<unsigned char>(color),
                                  static_cast<unsigned char>(color >> 8),
                                  static_cast<unsigned char>(color >> 16)};
  ForEachRow(hPixMap, 3, [&bytes](unsigned char* row, std::size_t pixels) {
    for (std::size_t x = 0; x < pixels; ++x) std::memcpy(row + 3 * x, bytes, 3);
  });
}

void QPixMap_SafeSetPixel32(PixMap** hPixMap, const QPoint& where, UInt32 value) {
  const Memory map(hPixMap);
  if (map.base == nullptr) return;
  const Rect& bounds = (*hPixMap)->bounds;
  const SInt64 v = std::min(std::max(where.v, bounds.top), bounds.bottom);
  const SInt64 h = std::min(std::max(where.h, bounds.left), bounds.right);
  const SInt64 offset = v * map.rowBytes + h * 4;
  unsigned char bytes[4];
  std::memcpy(bytes, &value, sizeof(bytes));
  // Bounds that do not start at 0, and the sides that belong to them here, can lead outside.
  for (int i = 0; i < 4; ++i) {
    if (offset + i >= 0 && offset + i < map.size) map.base[offset + i] = bytes[i];
  }
}

QPixMapBrightness::QPixMapBrightness(double factor) {
  for (int v = 0; v < 256; ++v) {
    const double t = v / 255.0 * factor * 255.0;
    // NaN has no level: it truncates to nothing.
    mLevels[v] = t > 255 ? UInt16{255} : t >= 0 ? static_cast<UInt16>(t) : UInt16{0};
  }
}

void QPixMap_Grayscale32(PixMap** hPixMap) {
  ForEachBlock(hPixMap, 4, CurrentRowKernels().grey);
}

void QPixMap_Brightness32(PixMap** hPixMap, double factor) {
  const QPixMapBrightness brightness(factor);
  unsigned char table[256];
  for (int v = 0; v < 256; ++v) table[v] = static_cast<unsigned char>(brightness[v]);
  ForEachBlock(hPixMap, 4, [&table](const Rows& rows) { CurrentRowKernels().levels(rows, table); });
}

void QPixMap_DuoTone32(PixMap** hPixMap, UInt32 color) {
  const QPixMapKernels::Tint tint = QPixMapKernels::TintOfColor(color);
  ForEachBlock(hPixMap, 4, [tint](const Rows& rows) { CurrentRowKernels().duotone(rows, tint); });
}

void QPixMap_AlphaBlend32(PixMap** hA, double weightA, PixMap** hB, double weightB,
                          PixMap** hDest) {
  const Memory a(hA);
  const Memory b(hB);
  const Memory dest(hDest);
  if (a.base == nullptr || b.base == nullptr) return;
  const auto pixelsAt = [&](SInt32 y) {
    return std::min({dest.PixelsAt(y, dest.width, 4), a.PixelsAt(y, dest.width, 4),
                     b.PixelsAt(y, dest.width, 4)});
  };
  const auto source = [](const Memory& map, SInt32 y) {
    return Source{map.Row(y), static_cast<std::ptrdiff_t>(map.rowBytes)};
  };
  ForEachBlock(0, dest.height, pixelsAt, [&](SInt32 y, std::size_t rows, std::size_t pixels) {
    QPixMapRows::WithKernels(
        Rows{dest.Row(y), static_cast<std::ptrdiff_t>(dest.rowBytes), pixels, rows}, 4,
        [&](const QPixMapKernels::RowKernels& kernels, const Rows& to, const Source& fromA,
            const Source& fromB) { kernels.blend(to, fromA, weightA, fromB, weightB); },
        source(a, y), source(b, y));
  });
}

bool QPixMap_IsPartiallyTransparent32(PixMap** hPixMap) {
  if (GetPixDepth(hPixMap) != 32) return false;
  bool transparent = false;
  ForEachRow(hPixMap, 4, [&transparent](const unsigned char* row, std::size_t pixels) {
    for (std::size_t x = 0; x < pixels && !transparent; ++x) transparent = row[4 * x] < 255;
  });
  return transparent;
}
