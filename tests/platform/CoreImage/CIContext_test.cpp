#include "platform/CoreImage/CIContext.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/Foundation/NSAutoreleasePool.h"
#include "tests/platform/CoreImage/TestPictures.h"

namespace {

using test::Picture;
using test::Render;

class CIContextTest : public testing::Test {
 protected:
  NSAutoreleasePool pool_;
};

CIImage* ImageOf(const Picture& picture) {
  return CIImage::imageWithCGImage(picture.image());
}

/// `part` of `width` pixels per row laid into clear rows.
std::vector<UInt8> Placed(const std::vector<UInt8>& part, std::size_t partWidth, std::size_t x,
                          std::size_t y, std::size_t width, std::size_t height) {
  std::vector<UInt8> all(width * height * 4, 0);
  for (std::size_t row = 0; row < part.size() / (partWidth * 4); ++row) {
    std::copy_n(part.data() + row * partWidth * 4, partWidth * 4,
                all.data() + ((y + row) * width + x) * 4);
  }
  return all;
}

TEST_F(CIContextTest, CopiesPixelsAtTheirOwnSize) {
  for (const auto& [width, height] :
       {std::pair<std::size_t, std::size_t>{1, 1}, {3, 2}, {2, 3}, {17, 1}, {64, 48}}) {
    const Picture picture(width, height);
    for (const CIRenderMode mode :
         {CIRenderMode::kCropped, CIRenderMode::kFitted, CIRenderMode::kStretched}) {
      EXPECT_EQ(Render(ImageOf(picture), width, height, mode), picture.argb());
    }
  }
}

TEST_F(CIContextTest, CroppedKeepsTheTopLeftCorner) {
  const Picture picture(4, 3);
  EXPECT_EQ(Render(ImageOf(picture), 2, 1, CIRenderMode::kCropped), picture.argb(0, 0, 2, 1));
  EXPECT_EQ(Render(ImageOf(picture), 3, 2, CIRenderMode::kCropped), picture.argb(0, 0, 3, 2));
  EXPECT_EQ(Render(ImageOf(picture), 7, 5, CIRenderMode::kCropped),
            Placed(picture.argb(), 4, 0, 0, 7, 5));
  EXPECT_EQ(Render(ImageOf(picture), 2, 5, CIRenderMode::kCropped),
            Placed(picture.argb(0, 0, 2, 3), 2, 0, 0, 2, 5));
}

TEST_F(CIContextTest, StretchedFillsTheBitmap) {
  const Picture picture(4, 3);
  EXPECT_EQ(Render(ImageOf(picture), 12, 9, CIRenderMode::kStretched), picture.enlarged(3));
  const std::vector<UInt8> wide = Render(ImageOf(picture), 8, 3, CIRenderMode::kStretched);
  for (std::size_t x = 0; x < 8; ++x) {
    EXPECT_EQ(wide[(1 * 8 + x) * 4 + 1], picture.argb()[(1 * 4 + x / 2) * 4 + 1]);
  }
}

TEST_F(CIContextTest, FittedKeepsTheAspectInTheMiddle) {
  const Picture picture(4, 2);
  EXPECT_EQ(Render(ImageOf(picture), 8, 8, CIRenderMode::kFitted),
            Placed(picture.enlarged(2), 8, 0, 2, 8, 8));
  EXPECT_EQ(Render(ImageOf(picture), 12, 4, CIRenderMode::kFitted),
            Placed(picture.enlarged(2), 8, 2, 0, 12, 4));
  // What cannot be halved goes below and to the right.
  EXPECT_EQ(Render(ImageOf(picture), 4, 5, CIRenderMode::kFitted),
            Placed(picture.argb(), 4, 0, 1, 4, 5));
  EXPECT_EQ(Render(ImageOf(picture), 7, 2, CIRenderMode::kFitted),
            Placed(picture.argb(), 4, 1, 0, 7, 2));
}

TEST_F(CIContextTest, FittedIsNeverThinnerThanAPixel) {
  const Picture picture(300, 1);
  const std::vector<UInt8> pixels = Render(ImageOf(picture), 30, 31, CIRenderMode::kFitted);
  for (std::size_t y = 0; y < 31; ++y) EXPECT_EQ(pixels[y * 30 * 4] != 0, y == 15) << y;
}

TEST_F(CIContextTest, OddScalesLeaveNoSeams) {
  // Opaque and of one colour, so every pixel of the place must come out opaque and so coloured.
  const std::vector<UInt8> source(1920 * 4, 255);
  const CGDataProviderRef provider =
      CGDataProviderCreateWithData(nullptr, source.data(), source.size(), nullptr);
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  // One row, read again and again.
  const CGImageRef one =
      CGImageCreate(1920, 1, 8, 32, 1920 * 4, space, kCGImageAlphaPremultipliedFirst, provider,
                    nullptr, true, kCGRenderingIntentDefault);
  CIImage* const image =
      CIImage::imageWithCGImage(one)->imageByApplyingTransform(CGAffineTransformMakeScale(1, 1080));
  for (const auto& [width, height] :
       {std::pair<std::size_t, std::size_t>{641, 479}, {333, 777}, {7, 3}}) {
    const std::vector<UInt8> stretched = Render(image, width, height, CIRenderMode::kStretched);
    EXPECT_EQ(std::count(stretched.begin(), stretched.end(), 255),
              static_cast<std::ptrdiff_t>(stretched.size()));
    const std::vector<UInt8> fitted = Render(image, width, height, CIRenderMode::kFitted);
    EXPECT_TRUE(std::all_of(fitted.begin(), fitted.end(),
                            [](UInt8 byte) { return byte == 0 || byte == 255; }));
  }
  CGImageRelease(one);
  CGColorSpaceRelease(space);
  CGDataProviderRelease(provider);
}

TEST_F(CIContextTest, WritesEveryOrder) {
  const Picture picture(3, 2);
  const std::vector<UInt8>& argb = picture.argb();
  const std::vector<UInt8> rgba =
      Render(ImageOf(picture), 3, 2, CIRenderMode::kCropped, CIPixelOrder::kRGBA);
  const std::vector<UInt8> bgra =
      Render(ImageOf(picture), 3, 2, CIRenderMode::kCropped, CIPixelOrder::kBGRA);
  for (std::size_t i = 0; i < argb.size(); i += 4) {
    EXPECT_EQ((std::vector<UInt8>{rgba[i + 3], rgba[i], rgba[i + 1], rgba[i + 2]}),
              (std::vector<UInt8>{argb[i], argb[i + 1], argb[i + 2], argb[i + 3]}));
    EXPECT_EQ((std::vector<UInt8>{bgra[i + 3], bgra[i + 2], bgra[i + 1], bgra[i]}),
              (std::vector<UInt8>{argb[i], argb[i + 1], argb[i + 2], argb[i + 3]}));
  }
}

TEST_F(CIContextTest, TouchesOnlyThePixels) {
  constexpr std::size_t kRowBytes = 4 * 4 + 9;
  std::vector<UInt8> memory(7 + kRowBytes * 3 + 5, 0xCC);
  const Picture picture(4, 3);
  const CIBitmap bitmap{memory.data() + 7, kRowBytes, 4, 3, CIPixelOrder::kARGB};
  ASSERT_TRUE(
      CIContext::context()->renderToBitmap(ImageOf(picture), bitmap, CIRenderMode::kStretched));
  for (std::size_t i = 0; i < memory.size(); ++i) {
    const bool inPixel = i >= 7 && (i - 7) / kRowBytes < 3 && (i - 7) % kRowBytes < 16;
    if (!inPixel) {
      EXPECT_EQ(memory[i], 0xCC) << i;
    } else {
      EXPECT_EQ(memory[i], picture.argb()[(i - 7) / kRowBytes * 16 + (i - 7) % kRowBytes]) << i;
    }
  }
}

TEST_F(CIContextTest, AnEmptyImageClears) {
  EXPECT_EQ(Render(CIImage::emptyImage(), 3, 2, CIRenderMode::kFitted), std::vector<UInt8>(24, 0));
  const Picture picture(3, 2);
  EXPECT_EQ(Render(ImageOf(picture)->imageByCroppingToRect(CGRectMake(50, 50, 1, 1)), 3, 2,
                   CIRenderMode::kStretched),
            std::vector<UInt8>(24, 0));
}

TEST_F(CIContextTest, BitmapsBeyondTheLimitsAreRefusedUntouched) {
  const Picture picture(2, 2);
  CIContext* const context = CIContext::context();
  std::vector<UInt8> memory(64, 0xCC);
  const auto refused = [&](void* data, std::size_t rowBytes, std::size_t width,
                           std::size_t height) {
    return !context->renderToBitmap(ImageOf(picture),
                                    {data, rowBytes, width, height, CIPixelOrder::kARGB},
                                    CIRenderMode::kCropped);
  };
  EXPECT_TRUE(refused(nullptr, 8, 2, 2));
  EXPECT_TRUE(refused(memory.data(), 7, 2, 2));
  EXPECT_TRUE(refused(memory.data(), 8, 0, 2));
  EXPECT_TRUE(refused(memory.data(), 8, 2, 0));
  EXPECT_TRUE(refused(memory.data(), 4 * 32768, 32768, 1));
  EXPECT_TRUE(refused(memory.data(), 4, 1, 32768));
  EXPECT_TRUE(refused(memory.data(), SIZE_MAX, 2, 2));
  EXPECT_FALSE(context->renderToBitmap(nullptr, {memory.data(), 8, 2, 2, CIPixelOrder::kARGB},
                                       CIRenderMode::kCropped));
  EXPECT_EQ(memory, std::vector<UInt8>(64, 0xCC));
}

TEST_F(CIContextTest, ReadsThePixelsWhenItRenders) {
  std::vector<UInt8> memory(4, 255);
  const CGDataProviderRef provider =
      CGDataProviderCreateWithData(nullptr, memory.data(), 4, nullptr);
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGImageRef cgImage = CGImageCreate(1, 1, 8, 32, 4, space, kCGImageAlphaPremultipliedFirst,
                                           provider, nullptr, true, kCGRenderingIntentDefault);
  CIImage* const image = CIImage::imageWithCGImage(cgImage);
  EXPECT_EQ(Render(image, 1, 1, CIRenderMode::kCropped), memory);
  memory = {255, 1, 2, 3};
  EXPECT_EQ(Render(image, 1, 1, CIRenderMode::kCropped), memory);
  CGImageRelease(cgImage);
  CGColorSpaceRelease(space);
  CGDataProviderRelease(provider);
}

TEST_F(CIContextTest, MakesImagesThatOwnTheirPixels) {
  const Picture picture(4, 3);
  // One row above and one column right of the image.
  const CGImageRef made =
      CIContext::context()->createCGImagefromRect(ImageOf(picture), CGRectMake(1.5F, 0.25F, 3, 3));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(CGImageGetWidth(made), 4u);
  EXPECT_EQ(CGImageGetHeight(made), 4u);
  EXPECT_EQ(CGImageGetAlphaInfo(made), kCGImageAlphaPremultipliedLast);
  CIImage* const image = CIImage::imageWithCGImage(made);
  EXPECT_EQ(Render(image, 4, 4, CIRenderMode::kCropped),
            Placed(picture.argb(1, 0, 3, 3), 3, 0, 1, 4, 4));
  EXPECT_EQ(CFGetRetainCount(made), 2);
  CGImageRelease(made);
}

TEST_F(CIContextTest, ImpossibleRectanglesMakeNoImage) {
  const Picture picture(4, 3);
  CIContext* const context = CIContext::context();
  CIImage* const image = ImageOf(picture);
  EXPECT_EQ(context->createCGImagefromRect(nullptr, CGRectMake(0, 0, 1, 1)), nullptr);
  EXPECT_EQ(context->createCGImagefromRect(image, CGRectNull), nullptr);
  EXPECT_EQ(context->createCGImagefromRect(image, CGRectMake(0, 0, 0, 1)), nullptr);
  EXPECT_EQ(context->createCGImagefromRect(image, CGRectInfinite), nullptr);
  EXPECT_EQ(context->createCGImagefromRect(image, CGRectMake(0, 0, 32768, 1)), nullptr);
  EXPECT_EQ(context->createCGImagefromRect(image, CGRectMake(0, NAN, 1, 1)), nullptr);
}

}  // namespace
