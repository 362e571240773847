// Luma tables and histograms of the 4:2:2 engine.
#pragma once

#include <cstddef>
#include <cstdint>

namespace RasterGraphics {

/// A table from input to output levels 0..kLargest, with the input levels that mean black and
/// white.
template <typename T, int kLargest>
class CLUT_BASE {
 public:
  /// The identity, black 0, white kLargest.
  CLUT_BASE() {
    SetBlackLevelWhiteLevel(0, kLargest);
    for (int i = 0; i <= kLargest; ++i) mTable[i] = static_cast<T>(i);
  }

  /// Any two levels: white is at most kLargest and, below that, at least black + 1. The table stays
  /// as it is.
  void SetBlackLevelWhiteLevel(std::int32_t black, std::int32_t white) {
    mBlackLevel = black;
    if (white >= kLargest) {
      mWhiteLevel = kLargest;
    } else {
      // Where black + 1 leaves the range, white is above it anyway or at the range's end.
      mWhiteLevel = white > black ? white : static_cast<std::int32_t>(std::int64_t{black} + 1);
    }
    const double span = static_cast<double>(mWhiteLevel) - static_cast<double>(mBlackLevel);
    mScale = static_cast<float>((kLargest + 1.0) / span);
  }

  T& operator[](int level) { return mTable[level]; }
  const T& operator[](int level) const { return mTable[level]; }
  std::int32_t BlackLevel() const { return mBlackLevel; }
  std::int32_t WhiteLevel() const { return mWhiteLevel; }
  /// (kLargest + 1) / (white - black); infinite where the two are the same.
  float Scale() const { return mScale; }

 private:
  T mTable[kLargest + 1];
  std::int32_t mBlackLevel;
  std::int32_t mWhiteLevel;
  float mScale;
};

using LumaCLUT = CLUT_BASE<std::uint16_t, 255>;

/// Counts, later fractions, of luma levels.
struct config_video_luma_f32_histogram {
  using element_type = float;
};
/// A mapping from bin to bin, and a pixel count.
struct config_video_luma_u16_histogram {
  using element_type = std::uint32_t;
};

/// 241 bins of video luma and a total behind them. All start at 0.
template <typename Config>
class T_HISTOGRAM {
 public:
  using element_type = typename Config::element_type;
  static constexpr int kBins = 241;
  static constexpr int kLevelOfBin0 = 15;

  /// The bin of a luma level: level - 15, limited to 0..240.
  static constexpr int BinOf(std::uint8_t level) {
    const int bin = level - kLevelOfBin0;
    return bin < 0 ? 0 : (bin >= kBins ? kBins - 1 : bin);
  }

  element_type& operator[](int bin) { return mElements[bin]; }
  const element_type& operator[](int bin) const { return mElements[bin]; }
  element_type& Total() { return mElements[kBins]; }
  const element_type& Total() const { return mElements[kBins]; }

 private:
  element_type mElements[kBins + 1] = {};
};

using LumaHistogram = T_HISTOGRAM<config_video_luma_f32_histogram>;
using LumaMapping = T_HISTOGRAM<config_video_luma_u16_histogram>;

/// The histogram arguments of kernels that do not use them.
extern LumaHistogram sUnusedHistogram;
extern const LumaMapping sUnusedMapping;

}  // namespace RasterGraphics
