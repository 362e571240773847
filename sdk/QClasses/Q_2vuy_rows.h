// What whole-frame operations of the 4:2:2 engine hand to the row kernels. Internal to it.
#pragma once

#include <algorithm>

#include "sdk/CoreX/RowThreads.h"
#include "sdk/QClasses/Q_2vuy_data.h"

namespace Q_2vuy {

/// Rows from `y` on that are as wide as each other and lie equally far apart, in every frame.
struct RowBlock {
  int y;
  int width;
  int height;
};

/// What a row costs, as RowThreads has it: bytes that it moves, and how many times as long as
/// moving them it takes.
struct RowCost {
  int bytesPerPixel;
  int times;
};
inline constexpr RowCost kToARGBCost{6, 2};
inline constexpr RowCost kFromARGBCost{6, 5};
inline constexpr RowCost kOverARGBCost{8, 6};
inline constexpr RowCost kSwapCost{4, 1};
inline constexpr RowCost kMapCost{4, 1};
inline constexpr RowCost kCountCost{4, 6};
inline constexpr RowCost kBlendCost{6, 3};
inline constexpr RowCost kMaskCost{7, 4};

/// Calls operation(block) for each block of rows, at the same time on several threads if each row
/// stands alone. widthOf(y) says how many pixels of a row there are in all frames, 0 or below for
/// none.
template <typename WidthOf, typename Operation>
void ForRowBlocks(int height, const WidthOf& widthOf, RowCost cost, bool alone,
                  const Operation& operation) {
  for (int y = 0; y < height;) {
    RowBlock block{y, widthOf(y), 0};
    do {
      ++block.height;
      ++y;
    } while (y < height && widthOf(y) == block.width);
    if (block.width <= 0) continue;
    if (!alone) {
      operation(block);
      continue;
    }
    const auto bytes = static_cast<std::size_t>(block.width) *
                       static_cast<std::size_t>(cost.bytesPerPixel * cost.times);
    RowThreads::ForRows(block.height, bytes, [&](int first, int last) {
      operation(RowBlock{block.y + first, block.width, last - first});
    });
  }
}

/// The table's low bytes, with levels mapped before.
struct LevelTable {
  unsigned char bytes[256];

  explicit LevelTable(const RasterGraphics::LumaCLUT& clut) {
    for (int level = 0; level < 256; ++level) {
      bytes[level] = static_cast<unsigned char>(clut[level]);
    }
  }
  LevelTable(const RasterGraphics::LumaCLUT& clut, const RasterGraphics::LumaMapping& mapping) {
    for (int level = 0; level < 256; ++level) {
      const int bin = RasterGraphics::LumaMapping::BinOf(static_cast<unsigned char>(level));
      const UInt64 mapped = UInt64{mapping[bin]} + RasterGraphics::LumaMapping::kLevelOfBin0;
      bytes[level] =
          static_cast<unsigned char>(clut[static_cast<int>(mapped > 255 ? 255 : mapped)]);
    }
  }
};

inline Order OrderOf(const Q_2vuy_format& format) {
  return format._PixelFormat == '2vuy' ? Order::k2vuy : Order::kYuvs;
}

/// The counts as single precision has them that were added up one by one.
RasterGraphics::LumaHistogram HistogramOf(const UInt32 (&counts)[256]);

}  // namespace Q_2vuy
