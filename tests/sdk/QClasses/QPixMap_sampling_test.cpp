#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "sdk/CoreX/XFrameOperations.h"
#include "sdk/QClasses/QPixMap.h"
#include "tests/sdk/QClasses/PixMapInMemory.h"
#include "tests/support/LogCapture.h"

namespace {

using Bytes = std::vector<unsigned char>;
using test::PixMapInMemory;

std::vector<std::string> Logged(const test::LogCapture& log) {
  return test::AnyLineNumbers(log.Lines());
}
std::string Line(const std::string& code, const std::string& function,
                 const std::string& source = "sdk/QClasses/QPixMap") {
  return test::AnyLineNumber(test::VerifyLine(code, source, 1, function));
}

/// One byte of a sample, step by step.
double Sample(PixMapInMemory& map, double x, double y, int byte) {
  const auto limited = [](double at, int last) { return at < 0 ? 0 : at > last ? last : int(at); };
  const int lastColumn = map.width() - 1;
  const int lastRow = map.height() - 1;
  const int x0 = limited(x, lastColumn);
  const int x1 = x0 < lastColumn ? x0 + 1 : x0;
  const int y0 = limited(y, lastRow);
  const int y1 = limited(std::trunc(y) + 1, lastRow);
  const double fx = x - x0;
  const double fy = y - y0;
  const volatile double top = (1 - fx) * map.At(x0, y0, byte) + fx * map.At(x1, y0, byte);
  const volatile double bottom = (1 - fx) * map.At(x0, y1, byte) + fx * map.At(x1, y1, byte);
  return top * (1 - fy) + bottom * fy;
}

TEST(QPixMapSampling, GreyInsideAndBeyond) {
  PixMapInMemory map(2, 2, 1, 3, 1);
  SetPixel(map, 0, 0, {0});
  SetPixel(map, 1, 0, {100});
  SetPixel(map, 0, 1, {200});
  SetPixel(map, 1, 1, {255});
  const auto grey = [&](double x, double y) {
    return QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(map.handle(), x, y);
  };
  EXPECT_EQ(grey(0.5, 0.5), 138);
  EXPECT_EQ(grey(5, 5), 255);
  EXPECT_EQ(grey(-0.5, 0), 0) << "-50, raised";
  EXPECT_EQ(grey(0, -0.5), 0);
  EXPECT_EQ(grey(1, 0), 100);
  EXPECT_EQ(grey(0, 1), 200);
  EXPECT_EQ(grey(std::nan(""), 0), 0);
}

TEST(QPixMapSampling, GreyExtrapolatesOnlyWhereItsTapsDiffer) {
  PixMapInMemory map(2, 3, 1, 0, 1);
  for (const auto& [y, left, right] : {std::tuple{0, 100, 40}, {1, 60, 20}, {2, 10, 5}}) {
    SetPixel(map, 0, y, {static_cast<unsigned char>(left)});
    SetPixel(map, 1, y, {static_cast<unsigned char>(right)});
  }
  const auto grey = [&](double x, double y) {
    return QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(map.handle(), x, y);
  };
  EXPECT_EQ(grey(-3, 0), 280) << "above 255 as well, and however far left";
  EXPECT_EQ(grey(0, -0.5), 120);
  EXPECT_EQ(grey(0, -1.5), 100) << "both rows are row 0 by then";
  EXPECT_EQ(grey(0, 7.25), 10);
  EXPECT_EQ(grey(9.5, 0), 40);
}

TEST(QPixMapSampling, SampleOf32IsPackedAlphaBlueGreenRed) {
  PixMapInMemory map(3, 2, 1);
  SetPixel(map, 1, 1, {1, 2, 3, 4});
  EXPECT_EQ(QPixMap_SafeGetPixel_BilinearInterpolatedSample32(map.handle(), 1, 1), 0x01040302u);
}

TEST(QPixMapSampling, SamplesFollowTheRuleEverywhere) {
  PixMapInMemory map(5, 4, 77, 9);
  PixMapInMemory grey(5, 4, 78, 6, 1);
  for (double y = -2.75; y < 7; y += 0.375) {
    for (double x = -2.25; x < 8; x += 0.3125) {
      const auto low = [](double v) { return static_cast<UInt32>(int(v)) & 255; };
      const UInt32 want = low(Sample(map, x, y, 0)) << 24 | low(Sample(map, x, y, 3)) << 16 |
                          low(Sample(map, x, y, 2)) << 8 | low(Sample(map, x, y, 1));
      ASSERT_EQ(QPixMap_SafeGetPixel_BilinearInterpolatedSample32(map.handle(), x, y), want)
          << x << ", " << y;
      ASSERT_EQ(QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(grey.handle(), x, y),
                UInt16(std::max(0.0, Sample(grey, x, y, 0))))
          << x << ", " << y;
    }
  }
}

TEST(QPixMapSampling, SamplesStayInTheMemory) {
  PixMapInMemory map(4, 2, 3, 0, 3);  // 24-bit rows taken for 32-bit ones.
  for (double y = -1; y < 4; y += 0.5) {
    for (double x = -1; x < 6; x += 0.5) {
      QPixMap_SafeGetPixel_BilinearInterpolatedSample32(map.handle(), x, y);
    }
  }
  // The last pixel's bytes would be 24 to 27, and the map has 24.
  EXPECT_EQ(QPixMap_SafeGetPixel_BilinearInterpolatedSample32(map.handle(), 3, 1), 0u);
  EXPECT_EQ(QPixMap_SafeGetPixel_BilinearInterpolatedSample32(nullptr, 0, 0), 0u);
  EXPECT_EQ(QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(nullptr, 0, 0), 0);
  map.record().bounds.right = 0;
  EXPECT_EQ(QPixMap_SafeGetPixel_BilinearInterpolatedSample32(map.handle(), 0, 0), 0u);
}

/// The resize in single precision, positions accumulated.
Bytes Resized(PixMapInMemory& source, int width, int height) {
  Bytes out;
  const float xstep = float(source.width()) / float(width);
  const float ystep = float(source.height()) / float(height);
  volatile float fy = 0;
  for (int y = 0; y < height; ++y) {
    const int y0 = std::min(source.height() - 1, int(fy));
    const int y1 = std::min(source.height() - 1, y0 + 1);
    const float wy = fy - float(y0);
    volatile float fx = 0;
    for (int x = 0; x < width; ++x) {
      const int x0 = std::min(source.width() - 1, int(fx));
      const int x1 = std::min(source.width() - 1, x0 + 1);
      const float wx = fx - float(x0);
      for (int i = 0; i < 4; ++i) {
        const volatile float top = source.At(x0, y0, i) * (1 - wx) + source.At(x1, y0, i) * wx;
        const volatile float low = source.At(x0, y1, i) * (1 - wx) + source.At(x1, y1, i) * wx;
        const volatile float v = top * (1 - wy) + low * wy;
        out.push_back(static_cast<unsigned char>(int(v)));
      }
      fx = fx + xstep;
    }
    fy = fy + ystep;
  }
  return out;
}

Bytes PixelsOf(PixMapInMemory& map) {
  Bytes out;
  for (int y = 0; y < map.height(); ++y) {
    out.insert(out.end(), map.Row(y), map.Row(y) + 4 * map.width());
  }
  return out;
}

TEST(QPixMapResizing, BilinearThreeWays) {
  const std::pair<int, int> sizes[] = {{1, 1}, {1, 9}, {13, 1}, {5, 7}, {20, 15}, {33, 3}, {7, 40}};
  for (const auto& [width, height] : sizes) {
    PixMapInMemory source(13, 9, 21, 5);
    const Bytes want = Resized(source, width, height);
    for (const auto resize :
         {QPixMap_Resize_ARGB32_Bilinear, QPixMap_Copy32Bilinear, QPixMap_ResizeHorizontal32}) {
      PixMapInMemory dest(width, height, 22, 11);
      resize(dest.handle(), source.handle());
      EXPECT_TRUE(PixelsOf(dest) == want) << width << " x " << height;
      EXPECT_TRUE(dest.OnlyPixelsChanged());
      EXPECT_TRUE(source.Unchanged());
    }
  }
}

TEST(QPixMapResizing, NearestTakesThePixelAtTheTruncatedPosition) {
  PixMapInMemory source(7, 5, 31, 5);
  PixMapInMemory dest(11, 3, 32, 7);
  QPixMap_Copy32NearestPixel(dest.handle(), source.handle());
  double fy = 0;
  for (int y = 0; y < 3; ++y, fy += 5.0 / 3) {
    double fx = 0;
    for (int x = 0; x < 11; ++x, fx += 7.0 / 11) {
      ASSERT_EQ(Pixel(dest, x, y), Pixel(source, std::min(6, int(fx)), std::min(4, int(fy))));
    }
  }
  EXPECT_TRUE(dest.OnlyPixelsChanged());
}

TEST(QPixMapResizing, ResizeARGBChecksItsMaps) {
  PixMapInMemory map(4, 4, 1);
  PixMapInMemory map24(4, 4, 2, 0, 3);
  test::LogCapture log;
  QPixMap_Resize_ARGB32_Bilinear(nullptr, map.handle());
  QPixMap_Resize_ARGB32_Bilinear(map.handle(), nullptr);
  const char* const name = "QPixMap_Resize_ARGB32_Bilinear";
  EXPECT_EQ(Logged(log), (std::vector<std::string>{Line("hDest", name), Line("hPixMap", name)}));
  EXPECT_THROW(QPixMap_Resize_ARGB32_Bilinear(map24.handle(), map.handle()), CoreException);
  EXPECT_THROW(QPixMap_Resize_ARGB32_Bilinear(map.handle(), map24.handle()), CoreException);
  EXPECT_TRUE(map.Unchanged());
  EXPECT_TRUE(map24.Unchanged());
}

TEST(QPixMapResizing, ViewsLogNullHandles) {
  PixMapInMemory map(4, 4, 1);
  test::LogCapture log;
  QPixMap_Copy32Bilinear(map.handle(), nullptr);
  QPixMap_ResizeHorizontal32(nullptr, map.handle());
  QPixMap_Copy32NearestPixel(map.handle(), nullptr);
  const std::string line = Line("hPixMap", "Construct", "sdk/QClasses/XPixMapFrameBuffer");
  EXPECT_EQ(Logged(log), (std::vector<std::string>{line, line, line}));
  EXPECT_TRUE(map.Unchanged());
}

TEST(QPixMapResizing, MapsThatDoNotHoldTheirPixelsAreLeftAlone) {
  PixMapInMemory map(4, 4, 1);
  PixMapInMemory bytes(16, 16, 2, 0, 1);
  bytes.record().pixelSize = 32;
  for (const auto resize : {QPixMap_Resize_ARGB32_Bilinear, QPixMap_Copy32Bilinear,
                            QPixMap_ResizeHorizontal32, QPixMap_Copy32NearestPixel}) {
    resize(map.handle(), bytes.handle());
    resize(bytes.handle(), map.handle());
  }
  map.record().bounds.bottom = 0;
  QPixMap_Resize_ARGB32_Bilinear(map.handle(), map.handle());
  EXPECT_TRUE(map.Unchanged());
  EXPECT_TRUE(bytes.Unchanged());
}

unsigned char Over(int d, int o, int alpha, float opacity) {
  const volatile double a = alpha / 255.0 * double(opacity);
  const volatile double kept = d * (1 - a);
  const volatile double added = o * a;
  const double v = kept + added;
  if (!(std::fabs(v) < 2147483648.0)) return 0;
  return static_cast<unsigned char>(std::min(255.0, std::max(0.0, std::trunc(v))));
}

TEST(QPMOverlay, HalfOpacity) {
  PixMapInMemory dest(1, 1, 1);
  PixMapInMemory overlay(1, 1, 2);
  SetPixel(dest, 0, 0, {100, 100, 100, 100});
  SetPixel(overlay, 0, 0, {255, 200, 0, 100});
  QPM_44(dest.handle(), {0, 0}, overlay.handle(), 0.5f);
  EXPECT_EQ(Pixel(dest, 0, 0), (Bytes{177, 150, 50, 100}));
}

TEST(QPMOverlay, EveryAlphaAndOpacity) {
  for (const float opacity : {0.0f, 0.3f, 0.5f, 1.0f, 1.7f, -2.0f, 1e30f, std::nanf("")}) {
    PixMapInMemory dest(64, 16, 5, 12);
    PixMapInMemory dest24(64, 16, 6, 5, 3);
    PixMapInMemory overlay(64, 16, 7, 8);
    QPM_44(dest.handle(), {0, 0}, overlay.handle(), opacity);
    QPM_34(dest24.handle(), {0, 0}, overlay.handle(), opacity);
    for (int y = 0; y < 16; ++y) {
      for (int x = 0; x < 64; ++x) {
        for (int i = 0; i < 4; ++i) {
          ASSERT_EQ(dest.At(x, y, i),
                    Over(dest.Original(x, y, i), overlay.At(x, y, i), overlay.At(x, y, 0), opacity))
              << opacity;
          if (i == 3) continue;
          ASSERT_EQ(dest24.At(x, y, i), Over(dest24.Original(x, y, i), overlay.At(x, y, i + 1),
                                             overlay.At(x, y, 0), opacity))
              << opacity;
        }
      }
    }
    EXPECT_TRUE(dest.OnlyPixelsChanged());
    EXPECT_TRUE(dest24.OnlyPixelsChanged());
    EXPECT_TRUE(overlay.Unchanged());
  }
}

TEST(QPMOverlay, OnlyWhatLiesInsideTheDestinationIsTouched) {
  for (const Point where : {Point{1, 2}, Point{-2, -3}, Point{3, -1}, Point{-4, 4}, Point{9, 0},
                            Point{0, -9}, Point{32767, 32767}, Point{-32768, -32768}}) {
    for (const int pixelBytes : {4, 3}) {
      PixMapInMemory dest(5, 4, 5, 12, pixelBytes);
      PixMapInMemory overlay(6, 7, 7);
      QPM_4(dest.handle(), where, overlay.handle(), 1.0f);
      for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 5; ++x) {
          const int r = y - where.v;
          const int c = x - where.h;
          const bool covered = r >= 0 && r < 7 && c >= 0 && c < 6;
          for (int i = 0; i < pixelBytes; ++i) {
            const int old = dest.Original(x, y, i);
            const int want =
                covered ? Over(old, overlay.At(c, r, i + 4 - pixelBytes), overlay.At(c, r, 0), 1)
                        : old;
            ASSERT_EQ(dest.At(x, y, i), want) << where.v << ", " << where.h;
          }
        }
      }
      EXPECT_TRUE(dest.OnlyPixelsChanged());
    }
  }
}

TEST(QPMOverlay, ChoosesByFormat) {
  PixMapInMemory overlay(4, 4, 1);
  PixMapInMemory overlay24(4, 4, 2, 0, 3);
  PixMapInMemory dest16(4, 4, 3, 0, 2);
  PixMapInMemory dest24(4, 4, 4, 0, 3);
  PixMapInMemory want24(4, 4, 4, 0, 3);
  PixMapInMemory dest32(4, 4, 5);
  PixMapInMemory want32(4, 4, 5);
  PixMapInMemory other(4, 4, 6);
  other.record().pixelFormat = 'BGRA';
  test::LogCapture log;
  QPM_4(dest16.handle(), {0, 0}, overlay.handle(), 1);
  QPM_4(other.handle(), {0, 0}, overlay.handle(), 1);
  QPM_4(nullptr, {0, 0}, overlay.handle(), 1);
  EXPECT_EQ(log.Text(), "");
  EXPECT_TRUE(dest16.Unchanged());
  EXPECT_TRUE(other.Unchanged());

  QPM_4(dest24.handle(), {0, 0}, overlay.handle(), 0.5f);
  QPM_34(want24.handle(), {0, 0}, overlay.handle(), 0.5f);
  EXPECT_EQ(dest24.bytes(), want24.bytes());
  EXPECT_FALSE(dest24.Unchanged());
  QPM_AC32(dest32.handle(), overlay.handle());
  QPM_4(want32.handle(), {0, 0}, overlay.handle(), 1.0f);
  EXPECT_EQ(dest32.bytes(), want32.bytes());
  EXPECT_FALSE(dest32.Unchanged());
  EXPECT_EQ(log.Text(), "");

  dest32.Settle();
  QPM_4(dest32.handle(), {0, 0}, overlay24.handle(), 1);
  QPM_4(dest32.handle(), {0, 0}, nullptr, 1);
  const std::string line =
      Line("QPixMap_GetPixelFormat(hAlphaPixMap)==k32ARGBPixelFormat", "QPM_4");
  EXPECT_EQ(Logged(log), (std::vector<std::string>{line, line}));
  EXPECT_TRUE(dest32.Unchanged());
}

TEST(QPMOverlay, ChecksHandlesAndPixelSizes) {
  PixMapInMemory map(4, 4, 1);
  PixMapInMemory map24(4, 4, 2, 0, 3);
  test::LogCapture log;
  QPM_44(nullptr, {0, 0}, map.handle(), 1);
  QPM_44(map.handle(), {0, 0}, nullptr, 1);
  QPM_34(nullptr, {0, 0}, map.handle(), 1);
  QPM_34(map24.handle(), {0, 0}, nullptr, 1);
  QPM_AC32(map.handle(), nullptr);
  EXPECT_EQ(Logged(log),
            (std::vector<std::string>{Line("hPixMap", "QPM_44"), Line("hAlphaPixMap", "QPM_44"),
                                      Line("hPixMap", "QPM_34"), Line("hAlphaPixMap", "QPM_34"),
                                      Line("hAlphaPixMap", "QPM_44")}));
  EXPECT_THROW(QPM_44(map24.handle(), {0, 0}, map.handle(), 1), CoreException);
  EXPECT_THROW(QPM_44(map.handle(), {0, 0}, map24.handle(), 1), CoreException);
  EXPECT_THROW(QPM_34(map24.handle(), {0, 0}, map24.handle(), 1), CoreException);
  EXPECT_TRUE(map.Unchanged());
  EXPECT_TRUE(map24.Unchanged());
}

}  // namespace
