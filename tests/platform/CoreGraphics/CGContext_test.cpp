#include "platform/CoreGraphics/CGContext.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/CoreFoundation/CFType.h"
#include "tests/platform/CoreGraphics/Bitmaps.h"

namespace {

using bitmaps::Bytes;
using bitmaps::Canvas;
using bitmaps::Pixel;
using bitmaps::Rect;

constexpr CGFloat kNaN = std::numeric_limits<CGFloat>::quiet_NaN();
constexpr CGFloat kInf = std::numeric_limits<CGFloat>::infinity();
constexpr CGFloat kPi = 3.14159265358979F;

// Alpha of every pixel as one string per row, a digit for a fifth: "0055".
std::vector<std::string> Alphas(Canvas& canvas, std::size_t width, std::size_t height) {
  std::vector<std::string> rows;
  for (std::size_t y = 0; y < height; ++y) {
    std::string row;
    for (std::size_t x = 0; x < width; ++x) {
      row += static_cast<char>('0' + std::lround(canvas.pixel(x, y).alpha / 51));
    }
    rows.push_back(row);
  }
  return rows;
}

TEST(CGBitmapContext, KeepsWhatItWasCreatedWith) {
  Bytes memory(100);
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGContextRef context = CGBitmapContextCreate(memory.data(), 4, 5, 8, 20, space, 2);
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(CFGetTypeID(context), CGContextGetTypeID());
  EXPECT_EQ(CGBitmapContextGetData(context), memory.data());
  EXPECT_EQ(CGBitmapContextGetWidth(context), 4U);
  EXPECT_EQ(CGBitmapContextGetHeight(context), 5U);
  EXPECT_EQ(CGBitmapContextGetBitsPerComponent(context), 8U);
  EXPECT_EQ(CGBitmapContextGetBitsPerPixel(context), 32U);
  EXPECT_EQ(CGBitmapContextGetBytesPerRow(context), 20U);
  EXPECT_EQ(CGBitmapContextGetColorSpace(context), space);
  EXPECT_EQ(CGBitmapContextGetAlphaInfo(context), kCGImageAlphaPremultipliedFirst);
  EXPECT_EQ(CGBitmapContextGetBitmapInfo(context), 2U);
  EXPECT_EQ(CFGetRetainCount(context), 1);
  EXPECT_EQ(CGContextRetain(context), context);
  EXPECT_EQ(CFGetRetainCount(context), 2);
  CGContextRelease(context);
  EXPECT_EQ(CFGetRetainCount(context), 1);
  CGContextRelease(context);
  CGColorSpaceRelease(space);
  EXPECT_EQ(CGBitmapContextGetData(nullptr), nullptr);
  EXPECT_EQ(CGBitmapContextGetWidth(nullptr), 0U);
  EXPECT_EQ(CGBitmapContextCreateImage(nullptr), nullptr);
}

TEST(CGBitmapContext, OwnMemoryIsZeroedAndRowsAsLongAsNeeded) {
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGContextRef context = CGBitmapContextCreate(nullptr, 7, 3, 8, 0, space, 2);
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(CGBitmapContextGetBytesPerRow(context), 28U);
  const auto* data = static_cast<const std::uint8_t*>(CGBitmapContextGetData(context));
  for (int i = 0; i < 84; ++i) ASSERT_EQ(data[i], 0);
  CGContextFillRect(context, Rect(0, 0, 7, 3));
  EXPECT_EQ(data[83 - 3], 255);
  CGContextRelease(context);
  CGColorSpaceRelease(space);
}

TEST(CGBitmapContext, TableOfLayouts) {
  Bytes memory(4096);
  std::vector<std::pair<bool, CGBitmapInfo>> good;
  for (const bitmaps::Layout& l : bitmaps::ContextLayouts()) good.emplace_back(l.gray, l.info);
  for (const bool gray : {false, true}) {
    const CGColorSpaceRef space =
        gray ? CGColorSpaceCreateDeviceGray() : CGColorSpaceCreateDeviceRGB();
    for (CGBitmapInfo order = 0; order <= 7; ++order) {
      for (CGBitmapInfo alpha = 0; alpha <= 32; ++alpha) {
        const CGBitmapInfo info = order << 12 | alpha;
        const CGContextRef context = CGBitmapContextCreate(memory.data(), 4, 4, 8, 64, space, info);
        const bool expected =
            std::find(good.begin(), good.end(), std::pair{gray, info}) != good.end();
        EXPECT_EQ(context != nullptr, expected) << gray << " " << std::hex << info;
        CGContextRelease(context);
      }
    }
    CGColorSpaceRelease(space);
  }
}

TEST(CGBitmapContext, ImpossibleSizesMakeNone) {
  Bytes memory(4096);
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const auto creates = [&](void* data, std::size_t w, std::size_t h, std::size_t bits,
                           std::size_t row) {
    const CGContextRef context = CGBitmapContextCreate(data, w, h, bits, row, space, 2);
    CGContextRelease(context);
    return context != nullptr;
  };
  EXPECT_TRUE(creates(memory.data(), 4, 4, 8, 16));
  EXPECT_TRUE(creates(memory.data(), 4, 4, 8, 0));
  EXPECT_FALSE(creates(memory.data(), 0, 4, 8, 16));
  EXPECT_FALSE(creates(memory.data(), 4, 0, 8, 16));
  EXPECT_FALSE(creates(memory.data(), static_cast<std::size_t>(-4), 4, 8, 16));
  EXPECT_FALSE(creates(memory.data(), static_cast<std::size_t>(-4), 4, 8, 0));
  EXPECT_FALSE(creates(memory.data(), 4, static_cast<std::size_t>(-4), 8, 16));
  EXPECT_FALSE(creates(memory.data(), 4, 4, 8, 15));
  EXPECT_FALSE(creates(memory.data(), 4, 4, 16, 32));
  EXPECT_FALSE(creates(nullptr, 0x7FFFFFFF, 0x7FFFFFFF, 8, 0));
  EXPECT_FALSE(creates(nullptr, 4, 4, 8, std::size_t{1} << 61));
  EXPECT_EQ(CGBitmapContextCreate(memory.data(), 4, 4, 8, 16, nullptr, 2), nullptr);
  CGColorSpaceRelease(space);
}

TEST(CGBitmapContext, ImageIsASnapshot) {
  Canvas canvas(3, 2);
  CGContextSetRGBFillColor(canvas, 1, 0, 0, 1);
  CGContextFillRect(canvas, Rect(0, 0, 3, 2));
  const CGImageRef image = CGBitmapContextCreateImage(canvas);
  const Bytes before = canvas.pixels();
  CGContextClearRect(canvas, Rect(0, 0, 3, 2));
  Canvas other(3, 2);
  CGContextDrawImage(other, Rect(0, 0, 3, 2), image);
  EXPECT_EQ(other.pixels(), before);
  EXPECT_EQ(CGImageGetBitmapInfo(image), 2U);
  CGImageRelease(image);
}

TEST(CGContext, OriginIsAtTheBottomLeft) {
  Canvas canvas(4, 3);
  CGContextFillRect(canvas, Rect(0, 0, 2, 1));
  EXPECT_EQ(Alphas(canvas, 4, 3), (std::vector<std::string>{"0000", "0000", "5500"}));
  EXPECT_TRUE(canvas.guardsIntact());
}

TEST(CGContext, RectanglesOfNegativeSizeAndBeyondTheEdges) {
  Canvas canvas(4, 3);
  CGContextFillRect(canvas, Rect(2, 3, -1, -2));
  EXPECT_EQ(Alphas(canvas, 4, 3), (std::vector<std::string>{"0500", "0500", "0000"}));
  CGContextFillRect(canvas, Rect(-1e30, -1e30, 2e30, 2e30));
  EXPECT_EQ(Alphas(canvas, 4, 3), (std::vector<std::string>{"5555", "5555", "5555"}));
  EXPECT_TRUE(canvas.guardsIntact());
}

TEST(CGContext, WhatIsNotFiniteDrawsNothing) {
  Canvas canvas(4, 3);
  for (const CGFloat bad : {kNaN, kInf, -kInf}) {
    CGContextFillRect(canvas, CGRectMake(bad, 0, 4, 4));
    CGContextFillRect(canvas, CGRectMake(0, bad, 4, 4));
    CGContextFillRect(canvas, CGRectMake(0, 0, bad, 4));
    CGContextStrokeRect(canvas, CGRectMake(0, 0, 4, bad));
    CGContextSaveGState(canvas);
    CGContextScaleCTM(canvas, bad, 1);
    CGContextFillRect(canvas, CGRectMake(0, 0, 4, 4));
    CGContextRestoreGState(canvas);
  }
  CGContextFillRect(canvas, CGRectNull);
  CGContextFillRect(canvas, CGRectMake(1, 1, 0, 1));
  EXPECT_EQ(canvas.pixels(), Bytes(48));
}

TEST(CGContext, NullContextIsHarmless) {
  CGContextFillRect(nullptr, Rect(0, 0, 1, 1));
  CGContextStrokeRect(nullptr, Rect(0, 0, 1, 1));
  CGContextClearRect(nullptr, Rect(0, 0, 1, 1));
  CGContextDrawImage(nullptr, Rect(0, 0, 1, 1), nullptr);
  CGContextSaveGState(nullptr);
  CGContextRestoreGState(nullptr);
  CGContextClipToRect(nullptr, Rect(0, 0, 1, 1));
  CGContextTranslateCTM(nullptr, 1, 1);
  CGContextRelease(nullptr);
  EXPECT_TRUE(CGAffineTransformIsIdentity(CGContextGetCTM(nullptr)));
  EXPECT_TRUE(CGRectIsNull(CGContextGetClipBoundingBox(nullptr)));
}

TEST(CGContext, ColoursArePremultipliedWithOneRounding) {
  for (int a = 0; a <= 255; a += 5) {
    for (int c = 0; c <= 255; c += 15) {
      Canvas canvas(1, 1);
      const auto alpha = static_cast<CGFloat>(a) / 255;
      const auto color = static_cast<CGFloat>(c) / 255;
      CGContextSetRGBFillColor(canvas, color, 0, 1, alpha);
      CGContextFillRect(canvas, Rect(0, 0, 1, 1));
      const Pixel p = canvas.pixel(0, 0);
      EXPECT_EQ(p.alpha, a);
      EXPECT_NEAR(p.color[0], c * a / 255.0, 0.5 + 1e-4);
      EXPECT_EQ(p.color[1], 0);
      EXPECT_EQ(p.color[2], a);
    }
  }
}

TEST(CGContext, ColoursOutsideTheRangeAreCutOff) {
  Canvas canvas(1, 1);
  CGContextSetRGBFillColor(canvas, 7, -3, kNaN, 2);
  CGContextFillRect(canvas, Rect(0, 0, 1, 1));
  EXPECT_EQ(canvas.pixels(), (Bytes{255, 255, 0, 0}));
}

TEST(CGContext, SourceOverOnWhatIsThere) {
  Canvas canvas(1, 1, bitmaps::kXRGB);
  CGContextSetGrayFillColor(canvas, 1, 1);
  CGContextFillRect(canvas, Rect(0, 0, 1, 1));
  CGContextSetAlpha(canvas, 0.5F);
  CGContextSetRGBFillColor(canvas, 1, 0, 0, 0.4F);
  CGContextFillRect(canvas, Rect(0, 0, 1, 1));
  EXPECT_EQ(canvas.pixels(), (Bytes{255, 255, 204, 204}));
}

TEST(CGContext, PartlyCoveredPixelsGetTheirPart) {
  Canvas canvas(4, 4);
  CGContextFillRect(canvas, Rect(0.5, 0.25, 2, 2.5));
  const double across[4] = {0.5, 1, 0.5, 0};
  const double up[4] = {0.75, 1, 0.75, 0};
  for (std::size_t x = 0; x < 4; ++x) {
    for (std::size_t y = 0; y < 4; ++y) {
      EXPECT_NEAR(canvas.pixel(x, 3 - y).alpha, 255 * across[x] * up[y], 0.51);
    }
  }
}

// Area of a half plane's part of each pixel, by counting on a fine grid.
TEST(CGContext, TurnedRectanglesAreExactAreas) {
  constexpr int kFine = 64;
  // Points on a grid of 64 x 64 miss the area by at most about one line of points per edge.
  constexpr double kTolerance = 255.0 * 4 / kFine / 2 + 0.5;
  Canvas canvas(12, 12);
  CGContextTranslateCTM(canvas, 6, 5);
  CGContextRotateCTM(canvas, 0.4F);
  CGContextScaleCTM(canvas, 1.5F, -1);
  const CGRect rect = Rect(-2.3, -1.7, 5.1, 3.9);
  CGContextFillRect(canvas, rect);
  const CGAffineTransform back = CGAffineTransformInvert(CGContextGetCTM(canvas));
  double whole = 0;
  for (std::size_t y = 0; y < 12; ++y) {
    for (std::size_t x = 0; x < 12; ++x) {
      int inside = 0;
      for (int i = 0; i < kFine; ++i) {
        for (int j = 0; j < kFine; ++j) {
          const double px = static_cast<double>(x) + (i + 0.5) / kFine;
          const double py = 12 - (static_cast<double>(y) + (j + 0.5) / kFine);
          const CGPoint user = CGPointApplyAffineTransform(
              CGPointMake(static_cast<CGFloat>(px), static_cast<CGFloat>(py)), back);
          inside += CGRectContainsPoint(rect, user) ? 1 : 0;
        }
      }
      ASSERT_NEAR(canvas.pixel(x, y).alpha, 255.0 * inside / (kFine * kFine), kTolerance)
          << x << ", " << y;
      whole += canvas.pixel(x, y).alpha / 255;
    }
  }
  EXPECT_NEAR(whole, 1.5 * 5.1 * 3.9, 0.1);
  EXPECT_TRUE(canvas.guardsIntact());
}

TEST(CGContext, TurnedShapeCutByTheBitmapsEdges) {
  // A quarter-turned-by-half square far larger than the bitmap covers all of it.
  Canvas canvas(5, 4);
  CGContextTranslateCTM(canvas, 2, 2);
  CGContextRotateCTM(canvas, kPi / 4);
  CGContextFillRect(canvas, Rect(-1000, -1000, 2000, 2000));
  EXPECT_EQ(Alphas(canvas, 5, 4), std::vector<std::string>(4, "55555"));
  // The half plane left of the middle line, tilted: the same from both sides of each row.
  Canvas half(5, 4);
  CGContextTranslateCTM(half, 2.5F, 2);
  CGContextRotateCTM(half, kPi);
  CGContextFillRect(half, Rect(0, -1000, 1000, 2000));
  const double want[5] = {255, 255, 127.5, 0, 0};
  for (std::size_t y = 0; y < 4; ++y) {
    for (std::size_t x = 0; x < 5; ++x) EXPECT_NEAR(half.pixel(x, y).alpha, want[x], 0.51);
  }
}

TEST(CGContext, StrokeIsHalfTheWidthToEachSide) {
  Canvas canvas(7, 6);
  CGContextSetLineWidth(canvas, 2);
  CGContextStrokeRect(canvas, Rect(1, 1, 5, 4));
  EXPECT_EQ(Alphas(canvas, 7, 6), (std::vector<std::string>{"5555555", "5555555", "5500055",
                                                            "5500055", "5555555", "5555555"}));
  Canvas thin(7, 6);
  CGContextSetRGBStrokeColor(thin, 1, 0, 0, 1);
  CGContextStrokeRect(thin, Rect(2.5, 1.5, 3, 2));
  EXPECT_EQ(Alphas(thin, 7, 6), (std::vector<std::string>{"0000000", "0000000", "0055550",
                                                          "0050050", "0055550", "0000000"}));
  EXPECT_EQ(thin.pixel(2, 2).color[0], 255);
  EXPECT_EQ(thin.pixel(2, 2).color[1], 0);
}

TEST(CGContext, StrokeWiderThanTheRectangleHasNoHole) {
  Canvas canvas(6, 6);
  CGContextStrokeRectWithWidth(canvas, Rect(2, 2, 2, 2), 4);
  EXPECT_EQ(Alphas(canvas, 6, 6), std::vector<std::string>(6, "555555"));
  Canvas none(6, 6);
  CGContextStrokeRectWithWidth(none, Rect(2, 2, 2, 2), 0);
  CGContextStrokeRectWithWidth(none, Rect(2, 2, 2, 2), -1);
  CGContextStrokeRectWithWidth(none, Rect(2, 2, 2, 2), kNaN);
  CGContextSetLineWidth(none, -1);
  EXPECT_EQ(none.pixels(), Bytes(144));
  CGContextStrokeRect(none, Rect(2.5, 2.5, 1, 1));  // the width is still 1
  EXPECT_EQ(none.pixel(2, 2).alpha, 255);
  EXPECT_EQ(none.pixel(1, 2).alpha, 0);
}

TEST(CGContext, ClearIgnoresModeColourAndAlpha) {
  Canvas canvas(3, 1);
  CGContextFillRect(canvas, Rect(0, 0, 3, 1));
  CGContextSetAlpha(canvas, 0);
  CGContextSetBlendMode(canvas, kCGBlendModePlusLighter);
  CGContextClearRect(canvas, Rect(0, 0, 1.5, 1));
  EXPECT_EQ(canvas.pixel(0, 0).alpha, 0);
  EXPECT_NEAR(canvas.pixel(1, 0).alpha, 127.5, 0.51);
  EXPECT_EQ(canvas.pixel(2, 0).alpha, 255);
  Canvas opaque(1, 1, bitmaps::kXRGB);
  CGContextSetGrayFillColor(opaque, 1, 1);
  CGContextFillRect(opaque, Rect(0, 0, 1, 1));
  CGContextClearRect(opaque, Rect(0, 0, 1, 1));
  EXPECT_EQ(opaque.pixels(), (Bytes{255, 0, 0, 0}));
}

TEST(CGContext, ClipLimitsAndRestores) {
  Canvas canvas(4, 4);
  CGContextSaveGState(canvas);
  CGContextClipToRect(canvas, Rect(3, 3, -2, -2));
  CGContextClipToRect(canvas, Rect(2, 0, 2, 4));
  CGContextFillRect(canvas, Rect(0, 0, 4, 4));
  EXPECT_EQ(Alphas(canvas, 4, 4), (std::vector<std::string>{"0000", "0050", "0050", "0000"}));
  EXPECT_TRUE(CGRectEqualToRect(CGContextGetClipBoundingBox(canvas), Rect(2, 1, 1, 2)));
  CGContextClipToRect(canvas, Rect(0, 0, 1, 1));
  EXPECT_TRUE(CGRectIsNull(CGContextGetClipBoundingBox(canvas)));
  CGContextFillRect(canvas, Rect(0, 0, 4, 4));
  EXPECT_EQ(Alphas(canvas, 4, 4), (std::vector<std::string>{"0000", "0050", "0050", "0000"}));
  CGContextRestoreGState(canvas);
  CGContextFillRect(canvas, Rect(0, 0, 4, 4));
  EXPECT_EQ(Alphas(canvas, 4, 4), std::vector<std::string>(4, "5555"));
  CGContextRestoreGState(canvas);  // nothing saved
}

TEST(CGContext, ClipThroughPixelsAndTurnedClips) {
  Canvas canvas(4, 1);
  CGContextClipToRect(canvas, Rect(0.5, 0, 2, 1));
  CGContextFillRect(canvas, Rect(0, 0, 4, 1));
  EXPECT_NEAR(canvas.pixel(0, 0).alpha, 127.5, 0.51);
  EXPECT_EQ(canvas.pixel(1, 0).alpha, 255);
  EXPECT_NEAR(canvas.pixel(2, 0).alpha, 127.5, 0.51);
  EXPECT_EQ(canvas.pixel(3, 0).alpha, 0);

  Canvas turned(8, 8);
  Canvas filled(8, 8);
  for (CGContextRef c : {static_cast<CGContextRef>(turned), static_cast<CGContextRef>(filled)}) {
    CGContextTranslateCTM(c, 4, 4);
    CGContextRotateCTM(c, 0.7F);
  }
  CGContextClipToRect(turned, Rect(-2, -3, 4, 6));
  CGContextFillRect(turned, Rect(-20, -20, 40, 40));
  CGContextFillRect(filled, Rect(-2, -3, 4, 6));
  EXPECT_EQ(turned.pixels(), filled.pixels());
}

TEST(CGContext, NullAndInfiniteClips) {
  Canvas canvas(2, 1);
  CGContextClipToRect(canvas, CGRectInfinite);
  CGContextFillRect(canvas, Rect(0, 0, 1, 1));
  EXPECT_EQ(canvas.pixel(0, 0).alpha, 255);
  CGContextClipToRect(canvas, CGRectNull);
  CGContextFillRect(canvas, Rect(0, 0, 2, 1));
  EXPECT_EQ(canvas.pixel(1, 0).alpha, 0);
  Canvas empty(2, 1);
  CGContextClipToRect(empty, Rect(1, 0, 0, 1));
  CGContextFillRect(empty, Rect(0, 0, 2, 1));
  EXPECT_EQ(empty.pixels(), Bytes(8));
}

TEST(CGContext, StateHoldsEverythingThatIsSaved) {
  Canvas canvas(3, 1);
  CGContextSetRGBFillColor(canvas, 1, 0, 0, 1);
  CGContextSaveGState(canvas);
  CGContextTranslateCTM(canvas, 1, 0);
  CGContextSetRGBFillColor(canvas, 0, 1, 0, 1);
  CGContextSetAlpha(canvas, 0.2F);
  CGContextSetBlendMode(canvas, kCGBlendModeCopy);
  CGContextSetInterpolationQuality(canvas, kCGInterpolationHigh);
  CGContextFillRect(canvas, Rect(0, 0, 1, 1));
  EXPECT_EQ(canvas.pixel(1, 0).alpha, 51);
  CGContextRestoreGState(canvas);
  EXPECT_EQ(CGContextGetInterpolationQuality(canvas), kCGInterpolationDefault);
  EXPECT_TRUE(CGAffineTransformIsIdentity(CGContextGetCTM(canvas)));
  CGContextFillRect(canvas, Rect(0, 0, 2, 1));
  EXPECT_EQ(canvas.pixel(0, 0).color[0], 255);
  EXPECT_EQ(canvas.pixel(1, 0).color[0], 255);
  EXPECT_EQ(canvas.pixel(1, 0).color[1], 0);
}

TEST(CGContext, TransformsApplyInnermostFirst) {
  Canvas canvas(8, 8);
  CGContextTranslateCTM(canvas, 1, 2);
  CGContextScaleCTM(canvas, 2, 3);
  CGContextConcatCTM(canvas, CGAffineTransformMakeTranslation(1, 1));
  const CGAffineTransform t = CGContextGetCTM(canvas);
  EXPECT_TRUE(CGAffineTransformEqualToTransform(t, CGAffineTransformMake(2, 0, 0, 3, 3, 5)));
  CGContextFillRect(canvas, Rect(0, 0, 1, 1));
  EXPECT_EQ(canvas.pixel(3, 2).alpha, 255);
  EXPECT_EQ(canvas.pixel(4, 0).alpha, 255);
  EXPECT_EQ(canvas.pixel(5, 0).alpha, 0);
  EXPECT_EQ(canvas.pixel(3, 3).alpha, 0);
  const CGRect box = CGContextGetClipBoundingBox(canvas);
  EXPECT_NEAR(box.origin.x, -1.5, 1e-6);
  EXPECT_NEAR(box.origin.y, -5.0 / 3, 1e-6);
  EXPECT_NEAR(box.size.width, 4, 1e-6);
  EXPECT_NEAR(box.size.height, 8.0 / 3, 1e-6);
}

TEST(CGContext, BadModeAndQualityAreIgnored) {
  Canvas canvas(1, 1);
  CGContextSetBlendMode(canvas, kCGBlendModeCopy);
  CGContextSetBlendMode(canvas, static_cast<CGBlendMode>(99));
  CGContextSetBlendMode(canvas, static_cast<CGBlendMode>(26));
  CGContextFillRect(canvas, Rect(0, 0, 1, 1));
  CGContextSetRGBFillColor(canvas, 1, 1, 1, 0.2F);
  CGContextFillRect(canvas, Rect(0, 0, 1, 1));
  EXPECT_EQ(canvas.pixel(0, 0).alpha, 51);  // still copying
  CGContextSetInterpolationQuality(canvas, kCGInterpolationLow);
  CGContextSetInterpolationQuality(canvas, static_cast<CGInterpolationQuality>(5));
  EXPECT_EQ(CGContextGetInterpolationQuality(canvas), kCGInterpolationLow);
}

// Each mode's formula over many pixels, with whole and with half coverage.
TEST(CGContext, BlendModesFollowTheirFormulas) {
  const auto factors = [](CGBlendMode mode, double sa, double da) -> std::pair<double, double> {
    switch (mode) {
      case kCGBlendModeNormal:
        return {1, 1 - sa};
      case kCGBlendModeClear:
        return {0, 0};
      case kCGBlendModeCopy:
        return {1, 0};
      case kCGBlendModeSourceIn:
        return {da, 0};
      case kCGBlendModeSourceOut:
        return {1 - da, 0};
      case kCGBlendModeSourceAtop:
        return {da, 1 - sa};
      case kCGBlendModeDestinationOver:
        return {1 - da, 1};
      case kCGBlendModeDestinationIn:
        return {0, sa};
      case kCGBlendModeDestinationOut:
        return {0, 1 - sa};
      case kCGBlendModeDestinationAtop:
        return {1 - da, sa};
      case kCGBlendModeXOR:
        return {1 - da, 1 - sa};
      case kCGBlendModePlusLighter:
        return {1, 1};
    }
    return {0, 0};
  };
  // At most three roundings of half a step: of the source's share (and of its alpha, which takes
  // from the destination what it gives), of the blend, and of its share.
  constexpr double kTolerance = 1.5 + 1e-9;
  for (const CGBlendMode mode :
       {kCGBlendModeNormal, kCGBlendModeClear, kCGBlendModeCopy, kCGBlendModeSourceIn,
        kCGBlendModeSourceOut, kCGBlendModeSourceAtop, kCGBlendModeDestinationOver,
        kCGBlendModeDestinationIn, kCGBlendModeDestinationOut, kCGBlendModeDestinationAtop,
        kCGBlendModeXOR, kCGBlendModePlusLighter}) {
    for (const unsigned part : {255U, 102U}) {
      Bytes source = bitmaps::RandomBytes(4 * 500, 11);
      Bytes before = bitmaps::RandomBytes(4 * 500, 12);
      for (std::size_t i = 0; i < source.size(); i += 4) {
        bitmaps::kARGB.tidy(&source[i]);
        bitmaps::kARGB.tidy(&before[i]);
      }
      Canvas canvas(500, 1);
      canvas.fill(before);
      const bitmaps::Image image(source, 500, 1);
      CGContextSetBlendMode(canvas, mode);
      CGContextSetAlpha(canvas, static_cast<CGFloat>(part) / 255);
      CGContextDrawImage(canvas, Rect(0, 0, 500, 1), image);
      for (std::size_t i = 0; i < source.size(); ++i) {
        const double sa = source[i & ~std::size_t{3}] / 255.0;
        const double da = before[i & ~std::size_t{3}] / 255.0;
        const auto [fs, fd] = factors(mode, sa, da);
        const double blended = std::min(source[i] * fs + before[i] * fd, 255.0);
        const double want = before[i] + (blended - before[i]) * part / 255.0;
        ASSERT_NEAR(canvas.pixels()[i], want, kTolerance) << "mode " << mode << " byte " << i;
      }
    }
  }
}

TEST(CGContext, ManyRectanglesAtOnce) {
  Canvas canvas(4, 1);
  const CGRect rects[2] = {Rect(0, 0, 1, 1), Rect(2, 0, 1, 1)};
  CGContextFillRects(canvas, rects, 2);
  CGContextFillRects(canvas, nullptr, 2);
  EXPECT_EQ(Alphas(canvas, 4, 1), std::vector<std::string>{"5050"});
}

}  // namespace
