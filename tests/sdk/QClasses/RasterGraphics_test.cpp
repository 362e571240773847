#include "sdk/QClasses/RasterGraphics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "sdk/CoreGeometry/NormalValue.h"

namespace {

using RasterGraphics::LumaCLUT;
using RasterGraphics::LumaHistogram;
using RasterGraphics::LumaMapping;

TEST(LumaCLUT, StartsAsTheIdentity) {
  const LumaCLUT clut;
  for (int i = 0; i < 256; ++i) EXPECT_EQ(clut[i], i);
  EXPECT_EQ(clut.BlackLevel(), 0);
  EXPECT_EQ(clut.WhiteLevel(), 255);
  EXPECT_EQ(clut.Scale(), static_cast<float>(256.0 / 255));
}

TEST(LumaCLUT, LevelsKeepWhiteAboveBlack) {
  struct Case {
    std::int32_t black, white, expectedWhite;
    float scale;
  };
  constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
  constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
  const Case cases[] = {{16, 235, 235, static_cast<float>(256.0 / 219)},
                        {100, 50, 101, 256.0f},
                        {100, 101, 101, 256.0f},
                        {100, 100, 101, 256.0f},
                        {0, 255, 255, static_cast<float>(256.0 / 255)},
                        {0, 256, 255, static_cast<float>(256.0 / 255)},
                        {-10, kMax, 255, static_cast<float>(256.0 / 265)},
                        {254, 0, 255, 256.0f},
                        {300, 10, 301, 256.0f},
                        {kMin, kMin, kMin + 1, 256.0f}};
  for (const Case& c : cases) {
    LumaCLUT clut;
    clut[7] = 99;
    clut.SetBlackLevelWhiteLevel(c.black, c.white);
    EXPECT_EQ(clut.BlackLevel(), c.black);
    EXPECT_EQ(clut.WhiteLevel(), c.expectedWhite) << c.black << ' ' << c.white;
    EXPECT_EQ(clut.Scale(), c.scale) << c.black << ' ' << c.white;
    EXPECT_EQ(clut[7], 99) << "the table stays as it is";
    EXPECT_EQ(clut[8], 8);
  }
}

TEST(Histogram, BinsAreLevelsAboveFifteenWithinBounds) {
  for (int level = 0; level < 256; ++level) {
    const int expected = level <= 15 ? 0 : level - 15;
    EXPECT_EQ(LumaHistogram::BinOf(static_cast<std::uint8_t>(level)), expected);
  }
  EXPECT_EQ(LumaHistogram::BinOf(255), 240);
}

TEST(Histogram, StartsAtZeroWithTheTotalBehindTheBins) {
  static_assert(sizeof(LumaHistogram) == 242 * sizeof(float));
  static_assert(sizeof(LumaMapping) == 242 * sizeof(std::uint32_t));
  LumaHistogram histogram;
  for (int i = 0; i < 241; ++i) EXPECT_EQ(histogram[i], 0.0f);
  EXPECT_EQ(histogram.Total(), 0.0f);
  EXPECT_EQ(&histogram.Total(), &histogram[240] + 1);
}

TEST(NormalValue, IsLimitedWhenItIsMade) {
  using CoreGeometry::NormalFloat;
  EXPECT_EQ(NormalFloat(-0.5f), 0.0f);
  EXPECT_EQ(NormalFloat(0.25f), 0.25f);
  EXPECT_EQ(NormalFloat(1.5f), 1.0f);
  EXPECT_EQ(NormalFloat(std::numeric_limits<float>::infinity()), 1.0f);
  EXPECT_EQ(NormalFloat(-std::numeric_limits<float>::infinity()), 0.0f);
  EXPECT_TRUE(std::isnan(static_cast<float>(NormalFloat(std::nanf("")))));
}

}  // namespace
