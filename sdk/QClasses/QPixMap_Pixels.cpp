// Fills, copies in, colour changes and blends.
#include <cstring>

#include "sdk/QClasses/QPixMap_kernels.h"
#include "sdk/QClasses/QPixMap_rows.h"

using QPixMapKernels::CurrentRowKernels;
using QPixMapKernels::Rows;
using QPixMapKernels::Source;
using QPixMapRows::ForEachBlock;
using QPixMapRows::Memory;

void QPixMap_Copy32x24(PixMap** hPixMap, const unsigned char* rgb) {
  Memory map(hPixMap);
  if (map.base == nullptr || rgb == nullptr) return;
  // The stored bits as they are: this one never asked for long row bytes.
  map.rowBytes = static_cast<UInt16>((*hPixMap)->rowBytes) & kPixMapRowBytesMask;
  const auto sourceRow = 3 * static_cast<std::ptrdiff_t>(std::max(map.width, SInt32{0}));
  const auto pixelsAt = [&map](SInt32 y) { return map.PixelsAt(y, map.width, 4); };
  ForEachBlock(0, map.height, pixelsAt, [&](SInt32 y, std::size_t rows, std::size_t pixels) {
    const Rows to = {map.Row(y), static_cast<std::ptrdiff_t>(map.rowBytes), pixels, rows};
    const Source from = {rgb + y * sourceRow, sourceRow};
    const bool apart = QPixMapRows::ApartOrSame(to, 4, from, 3);
    (apart ? CurrentRowKernels() : QPixMapKernels::kScalarRowKernels).from24(to, from);
  });
}

void QPixMap_Copy32x32(PixMap** hPixMap, const unsigned char* bytes) {
  const Memory map(hPixMap);
  if (map.base == nullptr || bytes == nullptr) return;
  std::memmove(map.base, bytes, static_cast<std::size_t>(map.size));
}

namespace {

// What operations take a pixel, in bytes of a copy.
constexpr std::size_t kFillCost = 4;
constexpr std::size_t kColourCost = 16;
constexpr std::size_t kBlendCost = 20;

/// Every pixel becomes the `pixelBytes` bytes at `pixel`.
void Fill(PixMap** hPixMap, SInt32 pixelBytes, const void* pixel) {
  const auto size = static_cast<std::size_t>(pixelBytes);
  ForEachBlock(hPixMap, pixelBytes, kFillCost, [size, pixel](const Rows& rows) {
    const std::size_t bytes = size * rows.width;
    const bool apart = bytes <= static_cast<std::size_t>(rows.rowBytes);
    unsigned char* row = rows.first;
    for (std::size_t y = 0; y < rows.height; ++y, row += rows.rowBytes) {
      if (y > 0 && apart) {
        std::memcpy(row, rows.first, bytes);
        continue;
      }
      // The first pixel, then as many more as there are already. A row that runs into the next one
      // is no longer there to be copied.
      std::memcpy(row, pixel, size);
      for (std::size_t done = size; done < bytes;) {
        const std::size_t more = std::min(done, bytes - done);
        std::memcpy(row + done, row, more);
        done += more;
      }
    }
  });
}

}  // namespace

void QPixMap_FillColor32(PixMap** hPixMap, UInt32 color) {
  Fill(hPixMap, 4, &color);
}

void QPixMap_FillColor_RGB_24(PixMap** hPixMap, UInt32 color) {
  const unsigned char bytes[3] = {static_cast<unsigned char>(color),
                                  static_cast<unsigned char>(color >> 8),
                                  static_cast<unsigned char>(color >> 16)};
  Fill(hPixMap, 3, bytes);
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
  ForEachBlock(hPixMap, 4, kColourCost, CurrentRowKernels().grey);
}

void QPixMap_Brightness32(PixMap** hPixMap, double factor) {
  const QPixMapBrightness brightness(factor);
  unsigned char table[256];
  for (int v = 0; v < 256; ++v) table[v] = static_cast<unsigned char>(brightness[v]);
  const QPixMapKernels::RowKernels& kernels = CurrentRowKernels();
  ForEachBlock(hPixMap, 4, kColourCost, [&](const Rows& rows) { kernels.levels(rows, table); });
}

void QPixMap_DuoTone32(PixMap** hPixMap, UInt32 color) {
  const QPixMapKernels::Tint tint = QPixMapKernels::TintOfColor(color);
  const QPixMapKernels::RowKernels& kernels = CurrentRowKernels();
  ForEachBlock(hPixMap, 4, kColourCost, [&](const Rows& rows) { kernels.duotone(rows, tint); });
}

void QPixMap_AlphaBlend32(PixMap** hA, double weightA, PixMap** hB, double weightB,
                          PixMap** hDest) {
  const Memory a(hA);
  const Memory b(hB);
  const Memory dest(hDest);
  if (a.base == nullptr || b.base == nullptr || dest.height <= 0 || dest.width <= 0) return;
  QPixMapKernels::BlendPlan plan{weightA, weightB};
  CurrentRowKernels().planBlend(
      plan, dest.PixelsAt(0, dest.width, 4) * static_cast<std::size_t>(dest.height));
  const auto pixelsAt = [&](SInt32 y) {
    return std::min({dest.PixelsAt(y, dest.width, 4), a.PixelsAt(y, dest.width, 4),
                     b.PixelsAt(y, dest.width, 4)});
  };
  const auto source = [](const Memory& map, SInt32 y) {
    return Source{map.Row(y), static_cast<std::ptrdiff_t>(map.rowBytes)};
  };
  ForEachBlock(0, dest.height, pixelsAt, [&](SInt32 y, std::size_t rows, std::size_t pixels) {
    QPixMapRows::WithKernels(
        Rows{dest.Row(y), static_cast<std::ptrdiff_t>(dest.rowBytes), pixels, rows}, 4, kBlendCost,
        [&plan](const QPixMapKernels::RowKernels& kernels, const Rows& to, const Source& fromA,
                const Source& fromB) { kernels.blend(to, fromA, fromB, plan); },
        source(a, y), source(b, y));
  });
}

bool QPixMap_IsPartiallyTransparent32(PixMap** hPixMap) {
  if (GetPixDepth(hPixMap) != 32) return false;
  const Memory map(hPixMap);
  const auto pixelsAt = [&map](SInt32 y) { return map.PixelsAt(y, map.width, 4); };
  bool opaque = true;
  ForEachBlock(0, map.height, pixelsAt, [&](SInt32 y, std::size_t rows, std::size_t pixels) {
    const Rows block = {map.Row(y), static_cast<std::ptrdiff_t>(map.rowBytes), pixels, rows};
    opaque = opaque && CurrentRowKernels().opaque(block);
  });
  return !opaque;
}
