// Images drawn scaled, flipped, turned and cut, against the filters' definition in double.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "platform/CoreGraphics/CoreGraphics.h"
#include "platform/CoreGraphics/ScaleKernels.h"
#include "tests/platform/CoreGraphics/Bitmaps.h"

namespace {

using bitmaps::Bytes;
using bitmaps::Canvas;
using bitmaps::Image;
using bitmaps::Pixel;
using bitmaps::Rect;

constexpr CGFloat kPi = 3.14159265358979F;

// Sums in float over at most a few hundred taps, then one rounding to nearest.
constexpr double kFilterTolerance = 0.5 + 0.01;
// A colour is also cut at its alpha, which has been rounded before.
constexpr double kCutTolerance = 1.0 + 0.01;

Bytes OpaqueNoise(std::size_t w, std::size_t h, std::uint32_t seed) {
  Bytes bytes = bitmaps::RandomBytes(4 * w * h, seed);
  for (std::size_t i = 0; i < bytes.size(); i += 4) bytes[i] = 255;
  return bytes;
}

Bytes AlphaNoise(std::size_t w, std::size_t h, std::uint32_t seed) {
  Bytes bytes = bitmaps::RandomBytes(4 * w * h, seed);
  for (std::size_t i = 0; i < bytes.size(); i += 4) bitmaps::kARGB.tidy(&bytes[i]);
  return bytes;
}

double Triangle(double x) {
  return std::max(1 - std::fabs(x), 0.0);
}

double CatmullRom(double x) {
  x = std::fabs(x);
  if (x < 1) return 1.5 * x * x * x - 2.5 * x * x + 1;
  if (x < 2) return -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2;
  return 0;
}

// Weights of all image columns for a bitmap column whose centre goes back to `place`.
std::vector<double> Weights(CGInterpolationQuality quality, double place, double perPixel,
                            std::size_t size) {
  const double center = std::clamp(place, 0.0, static_cast<double>(size));
  const double wide = quality == kCGInterpolationLow ? 1.0 : std::max(1.0, perPixel);
  std::vector<double> weights(size);
  double sum = 0;
  for (std::size_t i = 0; i < size; ++i) {
    const double x = (static_cast<double>(i) + 0.5 - center) / wide;
    weights[i] = quality == kCGInterpolationHigh ? CatmullRom(x) : Triangle(x);
    sum += weights[i];
  }
  for (double& w : weights) w /= sum;
  return weights;
}

struct Scene {
  std::size_t width, height;  // of the image
  std::size_t canvasWidth, canvasHeight;
  double x, y, w, h;  // the rectangle, y up
};

// The picture in copy mode inside the rectangle, where every pixel is covered whole.
void ExpectScaled(const Scene& s, CGInterpolationQuality quality, bool opaque) {
  const Bytes pixels =
      opaque ? OpaqueNoise(s.width, s.height, 3) : AlphaNoise(s.width, s.height, 4);
  const Image image(pixels, s.width, s.height);
  Canvas canvas(s.canvasWidth, s.canvasHeight);
  CGContextSetInterpolationQuality(canvas, quality);
  CGContextDrawImage(canvas, Rect(s.x, s.y, s.w, s.h), image);
  ASSERT_TRUE(canvas.guardsIntact());
  const double perX = static_cast<double>(s.width) / s.w;
  const double perY = static_cast<double>(s.height) / s.h;
  const double top = static_cast<double>(s.canvasHeight) - s.y - s.h;
  for (std::size_t py = 0; py < s.canvasHeight; ++py) {
    for (std::size_t px = 0; px < s.canvasWidth; ++px) {
      const auto x = static_cast<double>(px);
      const auto y = static_cast<double>(py);
      if (x + 1 <= s.x || x >= s.x + s.w || y + 1 <= top || y >= top + s.h) {
        ASSERT_EQ(canvas.pixel(px, py).alpha, 0) << px << ", " << py;
        continue;
      }
      if (x < s.x || x + 1 > s.x + s.w || y < top || y + 1 > top + s.h) continue;
      const auto columns = Weights(quality, (x + 0.5 - s.x) * perX, perX, s.width);
      const auto rows = Weights(quality, (y + 0.5 - top) * perY, perY, s.height);
      double want[4] = {0, 0, 0, 0};
      for (std::size_t v = 0; v < s.height; ++v) {
        for (std::size_t u = 0; u < s.width; ++u) {
          for (std::size_t c = 0; c < 4; ++c) {
            want[c] += rows[v] * columns[u] * pixels[4 * (v * s.width + u) + c];
          }
        }
      }
      want[0] = std::clamp(want[0], 0.0, 255.0);
      const std::uint8_t* got = canvas.at(px, py);
      ASSERT_NEAR(got[0], want[0], kFilterTolerance);
      for (int c = 1; c < 4; ++c) {
        const double cut = std::clamp(want[c], 0.0, want[0]);
        ASSERT_NEAR(got[c], cut, opaque ? kFilterTolerance : kCutTolerance)
            << "quality " << quality << " at " << px << ", " << py << " component " << c;
      }
    }
  }
}

const Scene kScenes[] = {
    {5, 4, 23, 17, 0, 0, 23, 17},          // enlarged
    {23, 17, 5, 4, 0, 0, 5, 4},            // shrunk
    {40, 3, 7, 9, 0, 0, 7, 9},             // one of each
    {7, 5, 20, 20, 3.25, 2.5, 11.3, 9.9},  // between pixels
    {64, 64, 3, 3, 1, 1, 1, 1},            // to one pixel
    {1, 1, 6, 6, 1, 1, 4, 4},              // from one pixel
    {16, 16, 10, 10, -4, -7, 30.5, 21},    // larger than the bitmap
    {2, 300, 4, 5, 0, 0, 4, 1},            // more taps than rows are kept
};

TEST(DrawImage, FiltersFollowTheirDefinition) {
  for (const Scene& scene : kScenes) {
    for (const CGInterpolationQuality quality : {kCGInterpolationDefault, kCGInterpolationLow,
                                                 kCGInterpolationMedium, kCGInterpolationHigh}) {
      for (const bool opaque : {false, true}) {
        ExpectScaled(scene, quality, opaque);
        ASSERT_FALSE(HasFatalFailure());
      }
    }
  }
}

TEST(DrawImage, OneColourStaysExactlyThatColour) {
  for (const CGInterpolationQuality quality :
       {kCGInterpolationNone, kCGInterpolationLow, kCGInterpolationMedium, kCGInterpolationHigh}) {
    Bytes pixels(4 * 13 * 7);
    for (std::size_t i = 0; i < pixels.size(); i += 4) {
      pixels[i] = 200;
      pixels[i + 1] = 200;
      pixels[i + 2] = 37;
      pixels[i + 3] = 1;
    }
    const Image image(pixels, 13, 7);
    for (const std::size_t size : {1, 3, 8, 50}) {
      Canvas canvas(size, size);
      CGContextSetInterpolationQuality(canvas, quality);
      CGContextDrawImage(canvas, Rect(0, 0, static_cast<double>(size), static_cast<double>(size)),
                         image);
      for (std::size_t i = 0; i < size * size; ++i) {
        const std::uint8_t* p = canvas.at(i % size, i / size);
        ASSERT_EQ(Bytes(p, p + 4), (Bytes{200, 200, 37, 1}));
      }
    }
  }
}

TEST(DrawImage, NearestTakesThePixelAtThePlace) {
  for (const auto& [iw, ih, cw, ch] : std::vector<std::array<std::size_t, 4>>{
           {5, 4, 23, 17}, {23, 17, 5, 4}, {3, 3, 3, 3}, {1, 9, 8, 2}, {100, 2, 3, 2}}) {
    const Bytes pixels = OpaqueNoise(iw, ih, 5);
    for (const bool byContext : {true, false}) {
      const Image image(pixels, iw, ih, bitmaps::kARGB, byContext);
      Canvas canvas(cw, ch);
      CGContextSetInterpolationQuality(canvas,
                                       byContext ? kCGInterpolationNone : kCGInterpolationHigh);
      CGContextDrawImage(canvas, Rect(0, 0, static_cast<double>(cw), static_cast<double>(ch)),
                         image);
      for (std::size_t y = 0; y < ch; ++y) {
        for (std::size_t x = 0; x < cw; ++x) {
          const std::size_t u = (2 * x + 1) * iw / (2 * cw);
          const std::size_t v = (2 * y + 1) * ih / (2 * ch);
          ASSERT_EQ(std::memcmp(canvas.at(x, y), &pixels[4 * (v * iw + u)], 4), 0);
        }
      }
    }
  }
}

// Pixel on pixel at every place round the bitmap, mirrored or turned by quarters: never filtered.
TEST(DrawImage, PixelOnPixelIsExact) {
  constexpr std::size_t kW = 5;
  constexpr std::size_t kH = 3;
  constexpr int kSize = 8;
  const Bytes pixels = OpaqueNoise(kW, kH, 6);
  const Image image(pixels, kW, kH);
  for (int turn = 0; turn < 8; ++turn) {
    for (int dx = -6; dx <= 9; ++dx) {
      for (int dy = -6; dy <= 9; ++dy) {
        Canvas canvas(kSize, kSize);
        CGContextSetInterpolationQuality(canvas, kCGInterpolationHigh);
        CGContextTranslateCTM(canvas, static_cast<CGFloat>(dx), static_cast<CGFloat>(dy));
        if (turn >= 4) CGContextScaleCTM(canvas, -1, 1);
        CGContextRotateCTM(canvas, static_cast<CGFloat>(turn % 4) * kPi / 2);
        CGContextDrawImage(canvas, Rect(0, 0, kW, kH), image);
        ASSERT_TRUE(canvas.guardsIntact());
        const CGAffineTransform back = CGAffineTransformInvert(CGContextGetCTM(canvas));
        for (int y = 0; y < kSize; ++y) {
          for (int x = 0; x < kSize; ++x) {
            const CGPoint user = CGPointApplyAffineTransform(
                CGPointMake(static_cast<CGFloat>(x) + 0.5F, static_cast<CGFloat>(y) + 0.5F), back);
            const auto u = static_cast<int>(std::floor(user.x));
            const auto v = static_cast<int>(kH) - 1 - static_cast<int>(std::floor(user.y));
            const bool inside =
                u >= 0 && v >= 0 && u < static_cast<int>(kW) && v < static_cast<int>(kH);
            const std::uint8_t* got =
                canvas.at(static_cast<std::size_t>(x), static_cast<std::size_t>(kSize - 1 - y));
            const Bytes want = inside ? Bytes(&pixels[4 * (static_cast<std::size_t>(v) * kW +
                                                           static_cast<std::size_t>(u))],
                                              &pixels[4 * (static_cast<std::size_t>(v) * kW +
                                                           static_cast<std::size_t>(u))] +
                                                  4)
                                      : Bytes(4);
            ASSERT_EQ(Bytes(got, got + 4), want) << "turn " << turn << " at " << x << ", " << y;
          }
        }
      }
    }
  }
}

TEST(DrawImage, FlippedAndScaledIsTheScaledPictureFlipped) {
  const Bytes pixels = OpaqueNoise(9, 7, 8);
  const Image image(pixels, 9, 7);
  for (const CGInterpolationQuality quality :
       {kCGInterpolationNone, kCGInterpolationLow, kCGInterpolationHigh}) {
    Canvas plain(20, 5);
    Canvas flipped(20, 5);
    CGContextSetInterpolationQuality(plain, quality);
    CGContextSetInterpolationQuality(flipped, quality);
    CGContextDrawImage(plain, Rect(0, 0, 20, 5), image);
    CGContextTranslateCTM(flipped, 20, 5);
    CGContextScaleCTM(flipped, -1, -1);
    CGContextDrawImage(flipped, Rect(0, 0, 20, 5), image);
    // Places exactly between two pixels round to different sides when mirrored.
    for (std::size_t y = 0; y < 5; ++y) {
      for (std::size_t x = 0; x < 20; ++x) {
        for (int c = 0; c < 3; ++c) {
          ASSERT_NEAR(plain.pixel(x, y).color[c], flipped.pixel(19 - x, 4 - y).color[c], 1.01);
        }
      }
    }
  }
}

TEST(DrawImage, NegativeRectanglesAreStandardizedAndEmptyOnesDrawNothing) {
  const Bytes pixels = OpaqueNoise(4, 3, 9);
  const Image image(pixels, 4, 3);
  Canvas plain(6, 6);
  Canvas negative(6, 6);
  CGContextDrawImage(plain, Rect(1, 2, 4, 3), image);
  CGContextDrawImage(negative, Rect(5, 5, -4, -3), image);
  EXPECT_EQ(plain.pixels(), negative.pixels());
  Canvas none(6, 6);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  for (const CGRect rect : {Rect(0, 0, 0, 3), Rect(0, 0, 4, 0), Rect(nan, 0, 4, 3),
                            Rect(0, nan, 4, 3), Rect(0, 0, nan, 3), Rect(0, 0, inf, 3),
                            Rect(inf, 0, 4, 3), CGRectNull, Rect(0, 0, 1e-40, 1e-40)}) {
    CGContextDrawImage(none, rect, image);
  }
  CGContextDrawImage(none, Rect(0, 0, 6, 6), nullptr);
  CGContextScaleCTM(none, 0, 1);
  CGContextDrawImage(none, Rect(0, 0, 6, 6), image);
  EXPECT_EQ(none.pixels(), Bytes(144));
}

TEST(DrawImage, EnormousRectanglesShowTheirPart) {
  const Bytes pixels{255, 10, 20, 30, 255, 110, 120, 130};
  const Image image(pixels, 2, 1);
  Canvas canvas(4, 4);
  CGContextDrawImage(canvas, Rect(-1e20, -1e20, 4e20, 4e20), image);
  for (std::size_t i = 0; i < 16; ++i) {
    EXPECT_EQ(canvas.pixel(i % 4, i / 4).color[0], 10);
  }
  EXPECT_TRUE(canvas.guardsIntact());
}

TEST(DrawImage, ClipAndAlphaCutTheImage) {
  const Bytes pixels = OpaqueNoise(6, 6, 10);
  const Image image(pixels, 6, 6);
  Canvas canvas(6, 6);
  CGContextClipToRect(canvas, Rect(1, 1.5, 3, 3));
  CGContextSetAlpha(canvas, 0.4F);
  CGContextDrawImage(canvas, Rect(0, 0, 6, 6), image);
  for (std::size_t y = 0; y < 6; ++y) {
    for (std::size_t x = 0; x < 6; ++x) {
      const double rows[6] = {0, 0.5, 1, 1, 0.5, 0};
      const double covered = (x >= 1 && x < 4 ? 1 : 0) * rows[y] * 0.4;
      const Pixel p = canvas.pixel(x, y);
      EXPECT_NEAR(p.alpha, 255 * covered, 1.0);
      for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_NEAR(p.color[c], pixels[4 * (6 * y + x) + 1 + c] * covered, 1.0);
      }
    }
  }
}

// A turned picture against its bilinear definition where whole pixels are covered.
TEST(DrawImage, TurnedAndEnlargedIsBilinear) {
  const Bytes pixels = OpaqueNoise(6, 5, 11);
  const Image image(pixels, 6, 5);
  for (const CGInterpolationQuality quality : {kCGInterpolationLow, kCGInterpolationMedium}) {
    Canvas canvas(30, 30);
    CGContextSetInterpolationQuality(canvas, quality);
    CGContextTranslateCTM(canvas, 8, 5);
    CGContextRotateCTM(canvas, 0.3F);
    CGContextDrawImage(canvas, Rect(0, 0, 18, 15), image);
    const double s = std::sin(double{0.3F});
    const double co = std::cos(double{0.3F});
    int compared = 0;
    for (int y = 0; y < 30; ++y) {
      for (int x = 0; x < 30; ++x) {
        const std::uint8_t* got =
            canvas.at(static_cast<std::size_t>(x), static_cast<std::size_t>(y));
        if (got[0] != 255) continue;
        const double dx = x + 0.5 - 8;
        const double dy = 30 - (y + 0.5) - 5;
        const double u = (co * dx + s * dy) / 3;
        const double v = 5 - (-s * dx + co * dy) / 3;
        const auto columns = Weights(kCGInterpolationLow, u, 1, 6);
        const auto rows = Weights(kCGInterpolationLow, v, 1, 5);
        for (std::size_t c = 1; c < 4; ++c) {
          double want = 0;
          for (std::size_t j = 0; j < 5; ++j) {
            for (std::size_t i = 0; i < 6; ++i) {
              want += rows[j] * columns[i] * pixels[4 * (6 * j + i) + c];
            }
          }
          ASSERT_NEAR(got[c], want, kFilterTolerance) << x << ", " << y;
        }
        ++compared;
      }
    }
    EXPECT_GT(compared, 200);
    EXPECT_TRUE(canvas.guardsIntact());
  }
}

TEST(DrawImage, TurnedAndShrunkKeepsTheMean) {
  // Fine stripes, which unfiltered sampling would show as black or white.
  Bytes pixels(4 * 200 * 200, 255);
  for (std::size_t i = 0; i < 200 * 200; ++i) {
    if (i % 2 == 0) std::memset(&pixels[4 * i + 1], 0, 3);
  }
  const Image image(pixels, 200, 200);
  for (const CGInterpolationQuality quality : {kCGInterpolationMedium, kCGInterpolationHigh}) {
    Canvas canvas(40, 40);
    CGContextSetInterpolationQuality(canvas, quality);
    CGContextTranslateCTM(canvas, 20, 20);
    CGContextRotateCTM(canvas, 0.5F);
    CGContextDrawImage(canvas, Rect(-10, -10, 20, 20), image);
    for (std::size_t y = 14; y < 26; ++y) {
      for (std::size_t x = 14; x < 26; ++x) EXPECT_NEAR(canvas.pixel(x, y).color[0], 127.5, 2);
    }
  }
}

TEST(DrawImage, ReadsThePixelsWhenDrawn) {
  Bytes pixels = OpaqueNoise(4, 4, 12);
  const Image image(pixels, 4, 4);
  for (int round = 0; round < 3; ++round) {
    pixels[5] = static_cast<std::uint8_t>(round * 100);
    Canvas canvas(4, 4);
    CGContextDrawImage(canvas, Rect(0, 0, 4, 4), image);
    EXPECT_EQ(canvas.pixels(), pixels);
  }
}

TEST(DrawImage, RowsAreReadWithTheirStride) {
  const Bytes memory = OpaqueNoise(7, 5, 13);
  const Image image(memory.data(), memory.size(), 4, 5, 28);
  Canvas canvas(4, 5);
  CGContextDrawImage(canvas, Rect(0, 0, 4, 5), image);
  for (std::size_t y = 0; y < 5; ++y) {
    EXPECT_EQ(std::memcmp(canvas.row(y), &memory[28 * y], 16), 0);
  }
}

// Every provider size from one byte up, in a block of exactly that size, so that the address
// checker sees each byte read too far; by every way an image is drawn.
TEST(DrawImage, AProviderTooSmallLeavesTheRestTransparent) {
  constexpr std::size_t kW = 5;
  constexpr std::size_t kH = 4;
  constexpr std::size_t kRow = 23;
  for (const bitmaps::Layout& layout :
       {bitmaps::kARGB, bitmaps::kXRGB, bitmaps::Layout{false, 32, kCGImageAlphaLast},
        bitmaps::kGray, bitmaps::Layout{false, 24, kCGImageAlphaNone},
        bitmaps::Layout{true, 16, kCGImageAlphaLast}}) {
    for (std::size_t size = 1; size <= kRow * kH; ++size) {
      Bytes memory(size, 255);
      memory.shrink_to_fit();
      const Image image(memory.data(), size, kW, kH, kRow, layout);
      Canvas canvas(kW, kH);
      CGContextDrawImage(canvas, Rect(0, 0, kW, kH), image);
      for (std::size_t y = 0; y < kH; ++y) {
        for (std::size_t x = 0; x < kW; ++x) {
          const bool present = y * kRow + (x + 1) * layout.bytes() <= size;
          ASSERT_EQ(canvas.pixel(x, y).alpha, present ? 255 : 0)
              << layout << " size " << size << " at " << x << ", " << y;
        }
      }
      for (const CGInterpolationQuality quality :
           {kCGInterpolationNone, kCGInterpolationLow, kCGInterpolationHigh}) {
        Canvas scaled(3, 9);
        CGContextSetInterpolationQuality(scaled, quality);
        CGContextDrawImage(scaled, Rect(0, 0, 3, 9), image);
        CGContextRotateCTM(scaled, 0.2F);
        CGContextDrawImage(scaled, Rect(0, 0, 3, 9), image);
        ASSERT_TRUE(scaled.guardsIntact());
      }
    }
  }
}

TEST(DrawImage, ClaimedSizesFarBeyondTheMemoryCostNothing) {
  const Bytes memory(64, 255);
  const std::size_t huge = 0x7FFFFFFF;
  struct Claim {
    std::size_t width, height, row;
  };
  for (const Claim& claim :
       {Claim{huge, 1, 4 * huge}, Claim{1, huge, 4}, Claim{4, huge, std::size_t{1} << 31},
        Claim{1 << 20, 1 << 20, 4 << 20}, Claim{32767, 32767, 4 * 32767}}) {
    const Image image(memory.data(), memory.size(), claim.width, claim.height, claim.row);
    ASSERT_NE(static_cast<CGImageRef>(image), nullptr);
    for (const CGInterpolationQuality quality : {kCGInterpolationNone, kCGInterpolationLow,
                                                 kCGInterpolationMedium, kCGInterpolationHigh}) {
      Canvas canvas(8, 8);
      CGContextSetInterpolationQuality(canvas, quality);
      CGContextDrawImage(canvas, Rect(0, 0, 8, 8), image);
      CGContextRotateCTM(canvas, 0.1F);
      CGContextDrawImage(canvas, Rect(0, 0, 8, 8), image);
      CGContextDrawImage(
          canvas, Rect(0, 0, static_cast<double>(claim.width), static_cast<double>(claim.height)),
          image);
      EXPECT_TRUE(canvas.guardsIntact());
    }
  }
}

TEST(DrawImage, UnalignedPixels) {
  const Bytes pixels = OpaqueNoise(9, 4, 14);
  for (std::size_t shift = 0; shift < 4; ++shift) {
    Bytes memory(shift + pixels.size());
    std::copy(pixels.begin(), pixels.end(), memory.begin() + static_cast<std::ptrdiff_t>(shift));
    const Image image(memory.data() + shift, pixels.size(), 9, 4, 36);
    for (std::size_t pad = 0; pad < 4; ++pad) {
      Canvas canvas(9, 4, bitmaps::kARGB, pad);
      CGContextDrawImage(canvas, Rect(0, 0, 9, 4), image);
      ASSERT_EQ(canvas.pixels(), pixels);
    }
  }
}

TEST(DrawImage, OfABitmapIntoItself) {
  // An image over the context's own memory, in place: opaque pixels over themselves.
  Canvas canvas(6, 2);
  canvas.fill(OpaqueNoise(6, 2, 15));
  const Bytes before = canvas.pixels();
  const Image image(canvas.row(0), 6 * 4 + 5 + 6 * 4, 6, 2, 6 * 4 + 5);
  CGContextDrawImage(canvas, Rect(0, 0, 6, 2), image);
  EXPECT_EQ(canvas.pixels(), before);
  EXPECT_TRUE(canvas.guardsIntact());
}

TEST(DrawImage, ScalingDoesNotDependOnTheForm) {
  const Bytes pixels = [] {
    Bytes bytes = bitmaps::RandomBytes(4 * 90 * 70, 9);
    for (std::size_t i = 0; i < bytes.size(); i += 4) bitmaps::kARGB.tidy(&bytes[i]);
    return bytes;
  }();
  for (const auto quality : {kCGInterpolationLow, kCGInterpolationMedium, kCGInterpolationHigh}) {
    for (const auto& [width, height] :
         {std::pair{200.0, 150.5}, std::pair{45.0, 35.0}, std::pair{13.25, 101.0}}) {
      Bytes scalar;
      const auto forms = raster::AvailableScaleKernels();
      for (std::size_t f = forms.size(); f-- > 0;) {
        ASSERT_TRUE(raster::SelectScaleKernels(forms[f].name));
        bitmaps::Canvas canvas(211, 160);
        const bitmaps::Image image(pixels, 90, 70);
        CGContextSetInterpolationQuality(canvas, quality);
        CGContextDrawImage(canvas, bitmaps::Rect(3.5, 2, width, height), image);
        EXPECT_TRUE(canvas.guardsIntact());
        if (scalar.empty()) scalar = canvas.pixels();
        EXPECT_EQ(canvas.pixels(), scalar) << forms[f].name;
      }
      EXPECT_TRUE(raster::SelectScaleKernels("vector"));
    }
  }
}

}  // namespace
