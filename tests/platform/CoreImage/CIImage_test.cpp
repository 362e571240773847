#include "platform/CoreImage/CIImage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/CIContext.h"
#include "platform/Foundation/NSAutoreleasePool.h"
#include "platform/ImageIO/ImageData.h"
#include "tests/platform/CoreImage/TestPictures.h"

namespace {

class CIImageTest : public testing::Test {
 protected:
  NSAutoreleasePool pool_;
};

void ExpectRect(const CGRect& got, const CGRect& want) {
  EXPECT_TRUE(CGRectEqualToRect(got, want))
      << got.origin.x << "," << got.origin.y << " " << got.size.width << "x" << got.size.height;
}

NSData* Data(const std::vector<std::uint8_t>& bytes) {
  return NSAutorelease(
      CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
}

TEST_F(CIImageTest, HoldsItsImage) {
  const test::Picture picture(3, 2);
  const CFTypeRef reference = static_cast<CFTypeRef>(picture.image());
  const CFIndex before = CFGetRetainCount(reference);
  {
    const NSAutoreleasePool inner;
    CIImage* const image = CIImage::imageWithCGImage(picture.image());
    EXPECT_EQ(image->retainCount(), 1u);
    EXPECT_EQ(image->CGImage(), picture.image());
    EXPECT_EQ(CFGetRetainCount(reference), before + 1);
    ExpectRect(image->extent(), CGRectMake(0, 0, 3, 2));
    EXPECT_NE(image->imageByCroppingToRect(CGRectMake(0, 0, 1, 1)), image);
  }
  EXPECT_EQ(CFGetRetainCount(reference), before);
}

TEST_F(CIImageTest, NothingMakesNoImage) {
  EXPECT_EQ(CIImage::imageWithCGImage(nullptr), nullptr);
  EXPECT_EQ(CIImage::imageWithData(nullptr), nullptr);
  EXPECT_TRUE(CGRectIsNull(CIImage::emptyImage()->extent()));
  EXPECT_EQ(CIImage::emptyImage()->CGImage(), nullptr);
}

TEST_F(CIImageTest, DecodesPNGAndJPEG) {
  const test::Picture picture(5, 4);
  CIImage* const png = CIImage::imageWithData(Data(ImageIOEncodePNG(picture.image())));
  ASSERT_NE(png, nullptr);
  ExpectRect(png->extent(), CGRectMake(0, 0, 5, 4));
  EXPECT_EQ(test::Render(png, 5, 4, CIRenderMode::kCropped), picture.argb());
  CIImage* const jpeg = CIImage::imageWithData(Data(ImageIOEncodeJPEG(picture.image())));
  ASSERT_NE(jpeg, nullptr);
  ExpectRect(jpeg->extent(), CGRectMake(0, 0, 5, 4));
}

TEST_F(CIImageTest, UndecodableDataIsNull) {
  EXPECT_EQ(CIImage::imageWithData(Data({})), nullptr);
  EXPECT_EQ(CIImage::imageWithData(Data({1, 2, 3})), nullptr);
  const test::Picture picture(5, 4);
  const std::vector<std::uint8_t> png = ImageIOEncodePNG(picture.image());
  EXPECT_EQ(CIImage::imageWithData(Data({png.begin(), png.begin() + 20})), nullptr);
  std::vector<std::uint8_t> broken = png;
  for (std::size_t i = 8; i < broken.size(); ++i) broken[i] ^= 0x55;
  EXPECT_EQ(CIImage::imageWithData(Data(broken)), nullptr);
}

TEST_F(CIImageTest, DamagedDataNeverCrash) {
  const test::Picture picture(16, 16);
  std::mt19937 random(4567);
  for (const auto& good : {ImageIOEncodePNG(picture.image()), ImageIOEncodeJPEG(picture.image())}) {
    for (int i = 0; i < 200; ++i) {
      const NSAutoreleasePool inner;
      std::vector<std::uint8_t> bad = good;
      bad[random() % bad.size()] = static_cast<std::uint8_t>(random());
      bad.resize(1 + random() % bad.size());
      CIImage* const image = CIImage::imageWithData(Data(bad));
      if (image == nullptr) continue;
      // Whatever came out can be drawn.
      EXPECT_EQ(test::Render(image, 4, 4, CIRenderMode::kStretched).size(), 64u);
    }
  }
}

TEST_F(CIImageTest, CropsToTheCommonPart) {
  const test::Picture picture(4, 3);
  CIImage* const image = CIImage::imageWithCGImage(picture.image());
  ExpectRect(image->imageByCroppingToRect(CGRectMake(1, 1, 9, 1))->extent(),
             CGRectMake(1, 1, 3, 1));
  EXPECT_TRUE(CGRectIsNull(image->imageByCroppingToRect(CGRectMake(9, 9, 1, 1))->extent()));
  EXPECT_TRUE(CGRectIsNull(image->imageByCroppingToRect(CGRectNull)->extent()));
  ExpectRect(image->imageByCroppingToRect(CGRectInfinite)->extent(), CGRectMake(0, 0, 4, 3));
  // Upwards from the lower edge: the crop's top row is the picture's middle one.
  CIImage* const part = image->imageByCroppingToRect(CGRectMake(1, 0, 2, 2));
  EXPECT_EQ(test::Render(part, 2, 2, CIRenderMode::kCropped), picture.argb(1, 1, 2, 2));
  CIImage* const smaller = part->imageByCroppingToRect(CGRectMake(2, 1, 5, 5));
  EXPECT_EQ(test::Render(smaller, 1, 1, CIRenderMode::kCropped), picture.argb(2, 1, 1, 1));
}

TEST_F(CIImageTest, Transforms) {
  const test::Picture picture(4, 3);
  CIImage* const image = CIImage::imageWithCGImage(picture.image());
  CIImage* const moved = image->imageByApplyingTransform(CGAffineTransformMakeTranslation(10, -5));
  ExpectRect(moved->extent(), CGRectMake(10, -5, 4, 3));
  EXPECT_EQ(test::Render(moved, 4, 3, CIRenderMode::kCropped), picture.argb());
  CIImage* const twice = moved->imageByApplyingTransform(CGAffineTransformMakeScale(2, 2));
  ExpectRect(twice->extent(), CGRectMake(20, -10, 8, 6));
  EXPECT_EQ(test::Render(twice, 8, 6, CIRenderMode::kCropped), picture.enlarged(2));
  CIImage* const flipped = image->imageByApplyingTransform(CGAffineTransformMakeScale(1, -1));
  ExpectRect(flipped->extent(), CGRectMake(0, -3, 4, 3));
  EXPECT_EQ(test::Render(flipped, 4, 1, CIRenderMode::kCropped), picture.argb(0, 2, 4, 1));
}

TEST_F(CIImageTest, AQuarterTurnKeepsPixels) {
  const test::Picture picture(4, 3);
  // Counter-clockwise: what was right is on top.
  CIImage* const turned = CIImage::imageWithCGImage(picture.image())
                              ->imageByApplyingTransform(CGAffineTransformMake(0, 1, -1, 0, 0, 0));
  ExpectRect(turned->extent(), CGRectMake(-3, 0, 3, 4));
  const std::vector<UInt8> pixels = test::Render(turned, 3, 4, CIRenderMode::kCropped);
  for (std::size_t y = 0; y < 4; ++y) {
    for (std::size_t x = 0; x < 3; ++x) {
      const std::vector<UInt8> got(
          pixels.begin() + static_cast<std::ptrdiff_t>((y * 3 + x) * 4),
          pixels.begin() + static_cast<std::ptrdiff_t>((y * 3 + x) * 4 + 4));
      EXPECT_EQ(got, picture.argb(3 - y, x, 1, 1)) << x << "," << y;
    }
  }
}

TEST_F(CIImageTest, ACropTurnsWithItsImage) {
  const test::Picture picture(8, 8);
  // A square in the middle, turned by 45 degrees: the corners of the box around it stay clear.
  CIImage* const image = CIImage::imageWithCGImage(picture.image())
                             ->imageByCroppingToRect(CGRectMake(2, 2, 4, 4))
                             ->imageByApplyingTransform(CGAffineTransformMakeRotation(
                                 static_cast<CGFloat>(std::acos(-1.0) / 4)));
  const CGRect box = image->extent();
  EXPECT_NEAR(box.size.width, 4 * std::sqrt(2.0), 1e-3);
  const std::vector<UInt8> pixels = test::Render(image, 60, 60, CIRenderMode::kStretched);
  const auto alpha = [&](std::size_t x, std::size_t y) { return pixels[(y * 60 + x) * 4]; };
  EXPECT_EQ(alpha(2, 2), 0);
  EXPECT_EQ(alpha(57, 2), 0);
  EXPECT_EQ(alpha(2, 57), 0);
  EXPECT_EQ(alpha(57, 57), 0);
  EXPECT_EQ(alpha(30, 30), 255);
  EXPECT_EQ(alpha(30, 4), 255);
  EXPECT_EQ(alpha(4, 30), 255);
}

TEST_F(CIImageTest, TransformsThatShowNothingAreNull) {
  const test::Picture picture(4, 3);
  CIImage* const image = CIImage::imageWithCGImage(picture.image());
  const CGFloat infinity = std::numeric_limits<CGFloat>::infinity();
  EXPECT_EQ(image->imageByApplyingTransform(CGAffineTransformMakeScale(0, 1)), nullptr);
  EXPECT_EQ(image->imageByApplyingTransform(CGAffineTransformMake(1, 1, 1, 1, 0, 0)), nullptr);
  EXPECT_EQ(image->imageByApplyingTransform(CGAffineTransformMakeTranslation(infinity, 0)),
            nullptr);
  EXPECT_EQ(image->imageByApplyingTransform(CGAffineTransformMakeScale(NAN, 1)), nullptr);
  EXPECT_EQ(image->imageByApplyingTransform(CGAffineTransformMakeScale(3e38F, 3e38F)), nullptr);
  CIImage* const empty =
      CIImage::emptyImage()->imageByApplyingTransform(CGAffineTransformMakeScale(2, 2));
  ASSERT_NE(empty, nullptr);
  EXPECT_TRUE(CGRectIsNull(empty->extent()));
}

}  // namespace
