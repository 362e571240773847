// Every image layout drawn into every context layout, pixel on pixel, against real numbers.
#include <gtest/gtest.h>

#include <cmath>

#include "platform/CoreGraphics/RowKernels.h"
#include "tests/platform/CoreGraphics/Bitmaps.h"

namespace {

using bitmaps::Bytes;
using bitmaps::Canvas;
using bitmaps::Image;
using bitmaps::Layout;
using bitmaps::Pixel;
using bitmaps::Rect;

constexpr std::size_t kWidth = 37;
constexpr std::size_t kHeight = 11;

// Premultiplying rounds, and so does the destination's share: half a step each.
constexpr double kColorTolerance = 1.0 + 1e-9;
// Making grey of the sums rounds once more.
constexpr double kGrayTolerance = 1.5 + 1e-9;

double Gray(const double* color) {
  return 0.30 * color[0] + 0.59 * color[1] + 0.11 * color[2];
}

// Random pixels that can occur, one in four opaque and one in eight clear.
Bytes Pixels(const Layout& layout, std::uint32_t seed) {
  Bytes bytes = bitmaps::RandomBytes(kWidth * kHeight * layout.bytes(), seed);
  std::mt19937 engine(seed + 1);
  for (std::size_t i = 0; i < bytes.size(); i += layout.bytes()) {
    if (layout.hasAlpha() && engine() % 4 == 0) bytes[i + layout.spareOffset()] = 255;
    if (layout.hasAlpha() && engine() % 8 == 0) bytes[i + layout.spareOffset()] = 0;
    layout.tidy(&bytes[i]);
  }
  return bytes;
}

class PixelLayouts : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override { ASSERT_TRUE(raster::SelectRowKernels(GetParam())); }
  void TearDown() override { raster::SelectRowKernels("vector"); }
};

TEST_P(PixelLayouts, SourceOverForEveryPair) {
  std::uint32_t seed = 0;
  for (const Layout& from : bitmaps::ImageLayouts()) {
    const Bytes source = Pixels(from, ++seed);
    for (const Layout& to : bitmaps::ContextLayouts()) {
      const Bytes before = Pixels(to, ++seed);
      Canvas canvas(kWidth, kHeight, to);
      canvas.fill(before);
      const Image image(source, kWidth, kHeight, from);
      CGContextDrawImage(canvas, Rect(0, 0, kWidth, kHeight), image);
      ASSERT_TRUE(canvas.guardsIntact());
      const double tolerance = to.gray ? kGrayTolerance : kColorTolerance;
      for (std::size_t i = 0; i < kWidth * kHeight; ++i) {
        const Pixel s = from.read(&source[i * from.bytes()]);
        const Pixel d = to.read(&before[i * to.bytes()]);
        const std::uint8_t* out = canvas.at(i % kWidth, i / kWidth);
        const Pixel got = to.read(out);
        double want[3];
        for (int c = 0; c < 3; ++c) want[c] = s.color[c] + d.color[c] * (1 - s.alpha / 255);
        if (to.gray) {
          ASSERT_NEAR(got.color[0], Gray(want), tolerance) << from << " to " << to;
          continue;
        }
        for (int c = 0; c < 3; ++c) {
          ASSERT_NEAR(got.color[c], want[c], tolerance) << from << " to " << to << " pixel " << i;
        }
        if (to.hasAlpha()) {
          ASSERT_NEAR(got.alpha, s.alpha + d.alpha * (1 - s.alpha / 255), 0.5 + 1e-9)
              << from << " to " << to;
        } else {
          ASSERT_EQ(out[to.spareOffset()], 255) << from << " to " << to;
        }
      }
    }
  }
}

TEST_P(PixelLayouts, OpaquePixelsArriveUnchanged) {
  std::uint32_t seed = 1000;
  for (const Layout& from : bitmaps::ImageLayouts()) {
    Bytes source = bitmaps::RandomBytes(kWidth * kHeight * from.bytes(), ++seed);
    if (from.hasAlpha()) {
      for (std::size_t i = 0; i < source.size(); i += from.bytes()) {
        source[i + from.spareOffset()] = 255;
      }
    }
    for (const Layout& to : bitmaps::ContextLayouts()) {
      if (to.gray && !from.gray) continue;
      Canvas canvas(kWidth, kHeight, to);
      canvas.fill(Pixels(to, ++seed));
      const Image image(source, kWidth, kHeight, from);
      CGContextDrawImage(canvas, Rect(0, 0, kWidth, kHeight), image);
      for (std::size_t i = 0; i < kWidth * kHeight; ++i) {
        const Pixel want = from.read(&source[i * from.bytes()]);
        const Pixel got = canvas.pixel(i % kWidth, i / kWidth);
        for (int c = 0; c < 3; ++c) ASSERT_EQ(got.color[c], want.color[c]) << from << " to " << to;
        ASSERT_EQ(got.alpha, 255);
      }
    }
  }
}

TEST_P(PixelLayouts, CopyModeTakesAlphaToo) {
  std::uint32_t seed = 2000;
  for (const Layout& from : bitmaps::ImageLayouts()) {
    const Bytes source = Pixels(from, ++seed);
    for (const Layout& to : bitmaps::ContextLayouts()) {
      if (to.gray) continue;
      Canvas canvas(kWidth, kHeight, to);
      canvas.fill(Pixels(to, ++seed));
      const Image image(source, kWidth, kHeight, from);
      CGContextSetBlendMode(canvas, kCGBlendModeCopy);
      CGContextDrawImage(canvas, Rect(0, 0, kWidth, kHeight), image);
      for (std::size_t i = 0; i < kWidth * kHeight; ++i) {
        const Pixel want = from.read(&source[i * from.bytes()]);
        const Pixel got = canvas.pixel(i % kWidth, i / kWidth);
        if (to.hasAlpha()) {
          ASSERT_EQ(got.alpha, want.alpha);
        }
        for (int c = 0; c < 3; ++c) ASSERT_NEAR(got.color[c], want.color[c], 0.5 + 1e-9);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Kernels, PixelLayouts, testing::Values("scalar", "vector"),
                         [](const auto& form) { return form.param; });

TEST(Decode, MapsEachComponent) {
  const Bytes pixels{255, 0, 128, 255, 128, 100, 50, 128};  // opaque; half, premultiplied
  const CGFloat decode[6] = {1, 0, 0, 1, 0.2F, 0.6F};
  const Image image(pixels.data(), pixels.size(), 2, 1, 8, bitmaps::kARGB, true, decode);
  Canvas canvas(2, 1);
  CGContextSetBlendMode(canvas, kCGBlendModeCopy);
  CGContextDrawImage(canvas, Rect(0, 0, 2, 1), image);
  // Half-covered values: each in units of the pixel's own alpha, so 128 - 100, 50, 0.2 a + 0.4 c.
  EXPECT_EQ(canvas.pixels(), (Bytes{255, 255, 128, 153, 128, 28, 50, 77}));
}

TEST(Decode, OfAGrayImageInverts) {
  const Bytes pixels{0, 10, 255};
  const CGFloat decode[2] = {1, 0};
  const Image image(pixels.data(), pixels.size(), 3, 1, 3, bitmaps::kGray, true, decode);
  Canvas canvas(3, 1, bitmaps::kGray);
  CGContextDrawImage(canvas, Rect(0, 0, 3, 1), image);
  EXPECT_EQ(canvas.pixels(), (Bytes{255, 245, 0}));
}

TEST(Decode, ValuesOutsideAreCut) {
  const Bytes pixels{0, 255};
  const CGFloat decode[2] = {-1, 3};
  const Image image(pixels.data(), pixels.size(), 2, 1, 2, bitmaps::kGray, true, decode);
  Canvas canvas(2, 1, bitmaps::kGray);
  CGContextDrawImage(canvas, Rect(0, 0, 2, 1), image);
  EXPECT_EQ(canvas.pixels(), (Bytes{0, 255}));
}

}  // namespace
