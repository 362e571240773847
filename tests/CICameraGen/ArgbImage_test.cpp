// The road from an ARGB frame to an image.

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

#include "CICameraGen/CICameraGenerator.h"
#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreGraphics/CoreGraphics.h"
#include "tests/CICameraGen/Cameras.h"

namespace {

const std::string kImageFailed = test::VerifyLine(
    "imageRef = CGImageCreate(camera.frameWidth, camera.frameHeight, kImageBitsPerComponent, "
    "mImageBitsPerPixel, mImageRowBytes, mImageColorspace, mImageBitmapInfo, dataProvider, NULL, "
    "fShouldInterpolate, renderingIntent)",
    "CICameraGen/CICameraGenerator", 133, "CGImageRefFrom_ARGB_CameraBuffer");

class ArgbImage : public testing::Test {
 protected:
  static constexpr std::uint32_t kMemory = 1 << 16;
  ArgbImage()
      : pixels_(static_cast<unsigned char*>(LumivaneCamera_AllocateFrame(kMemory, nullptr))) {
    camera_.structSize = 24;
    LumivaneCamera_SetPixels(&camera_, pixels_);
    camera_.rowBytes = 40;
    camera_.dataSize = 120;
    camera_.frameWidth = 10;
    camera_.frameHeight = 3;
    camera_.pixelFormat = LUMIVANE_CAMERA_FORMAT_ARGB;
  }
  ~ArgbImage() override { LumivaneCamera_FreeFrame(pixels_, kMemory); }

  void SetPixel(std::uint32_t at, std::array<unsigned char, 4> argb) {
    std::memcpy(pixels_ + at, argb.data(), 4);
  }

  // The image drawn, unscaled, over clear black: width x height pixels A R G B, top row first.
  std::vector<unsigned char> Drawn(CGImageRef image) {
    const std::size_t width = CGImageGetWidth(image);
    const std::size_t height = CGImageGetHeight(image);
    std::vector<unsigned char> out(width * height * 4);
    CGColorSpaceRef const space = CGColorSpaceCreateDeviceRGB();
    CGContextRef const context = CGBitmapContextCreate(out.data(), width, height, 8, width * 4,
                                                       space, kCGImageAlphaPremultipliedFirst);
    CGContextDrawImage(context,
                       CGRectMake(0, 0, static_cast<CGFloat>(width), static_cast<CGFloat>(height)),
                       image);
    CGContextRelease(context);
    CGColorSpaceRelease(space);
    return out;
  }

  unsigned char* pixels_;
  tagSHARED_CAMERA_BUFFER camera_ = {};
};

TEST_F(ArgbImage, WrapsTheFrameAsItIs) {
  const test::LogCapture log;
  CGImageRef const image = CGImageRefFrom_ARGB_CameraBuffer(camera_);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(CGImageGetWidth(image), 10U);
  EXPECT_EQ(CGImageGetHeight(image), 3U);
  EXPECT_EQ(CGImageGetBitsPerComponent(image), 8U);
  EXPECT_EQ(CGImageGetBitsPerPixel(image), 32U);
  EXPECT_EQ(CGImageGetBytesPerRow(image), 40U);
  EXPECT_EQ(CGImageGetBitmapInfo(image), 2U);
  EXPECT_EQ(CGImageGetDecode(image), nullptr);
  EXPECT_TRUE(CGImageGetShouldInterpolate(image));
  EXPECT_EQ(CGImageGetRenderingIntent(image), 0);
  CGColorSpaceRef const space = CGColorSpaceCreateDeviceRGB();
  EXPECT_EQ(CGImageGetColorSpace(image), space);
  CGColorSpaceRelease(space);
  EXPECT_EQ(CFGetRetainCount(image), 1) << "the caller's";
  EXPECT_EQ(CFGetRetainCount(CGImageGetDataProvider(image)), 1) << "the image's";
  CGImageRelease(image);
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(ArgbImage, ReadsTheComponentsMemoryWhenItIsDrawn) {
  CGImageRef const image = CGImageRefFrom_ARGB_CameraBuffer(camera_);
  ASSERT_NE(image, nullptr);
  for (unsigned char value : {50, 200}) {
    SetPixel(0, {255, value, 7, 9});
    SetPixel(119 - 3, {255, 1, value, 3});
    const std::vector<unsigned char> drawn = Drawn(image);
    EXPECT_EQ((std::vector<unsigned char>(drawn.begin(), drawn.begin() + 4)),
              (std::vector<unsigned char>{255, value, 7, 9}));
    EXPECT_EQ((std::vector<unsigned char>(drawn.end() - 4, drawn.end())),
              (std::vector<unsigned char>{255, 1, value, 3}));
  }
  CGImageRelease(image);
}

TEST_F(ArgbImage, TakesTheRowsAtTheirStride) {
  camera_.rowBytes = 48;
  camera_.dataSize = 48 * 3;
  SetPixel(48 * 2, {255, 10, 20, 30});
  CGImageRef const image = CGImageRefFrom_ARGB_CameraBuffer(camera_);
  ASSERT_NE(image, nullptr);
  const std::vector<unsigned char> drawn = Drawn(image);
  EXPECT_EQ((std::vector<unsigned char>(drawn.begin() + 80, drawn.begin() + 84)),
            (std::vector<unsigned char>{255, 10, 20, 30}));
  CGImageRelease(image);
}

TEST_F(ArgbImage, LeavesOneReferenceOfTheColourSpacePerFrame) {
  CGColorSpaceRef const space = CGColorSpaceCreateDeviceRGB();
  const CFIndex before = CFGetRetainCount(space);
  for (int i = 0; i < 10; ++i) CGImageRelease(CGImageRefFrom_ARGB_CameraBuffer(camera_));
  EXPECT_EQ(CFGetRetainCount(space), before + 10);
  for (int i = 0; i < 11; ++i) CGColorSpaceRelease(space);
}

TEST_F(ArgbImage, NoPixelsOrNoDataGiveNoImageSilently) {
  const test::LogCapture log;
  tagSHARED_CAMERA_BUFFER camera = camera_;
  camera.frameBufferPtr = 0;
  EXPECT_EQ(CGImageRefFrom_ARGB_CameraBuffer(camera), nullptr);
  camera = camera_;
  camera.dataSize = 0;
  EXPECT_EQ(CGImageRefFrom_ARGB_CameraBuffer(camera), nullptr);
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(ArgbImage, SizesThatMakeNoImageAreLogged) {
  const auto expectLogged = [](const tagSHARED_CAMERA_BUFFER& camera) {
    const test::LogCapture log;
    EXPECT_EQ(CGImageRefFrom_ARGB_CameraBuffer(camera), nullptr);
    EXPECT_EQ(log.Lines(), std::vector{kImageFailed});
  };
  for (const std::int16_t size : {0, -1, -640, -32768}) {
    tagSHARED_CAMERA_BUFFER camera = camera_;
    camera.frameWidth = size;
    expectLogged(camera);
    camera = camera_;
    camera.frameHeight = size;
    expectLogged(camera);
  }
  for (const std::uint32_t rowBytes : {0U, 1U, 39U}) {
    tagSHARED_CAMERA_BUFFER camera = camera_;
    camera.rowBytes = rowBytes;
    expectLogged(camera);
  }
}

TEST_F(ArgbImage, RowsThatTheDataDoNotCoverAreTransparent) {
  std::memset(pixels_, 255, kMemory);
  camera_.dataSize = 60;  // a row and a half
  CGImageRef const image = CGImageRefFrom_ARGB_CameraBuffer(camera_);
  ASSERT_NE(image, nullptr);
  const std::vector<unsigned char> drawn = Drawn(image);
  for (std::size_t i = 0; i < drawn.size(); ++i) EXPECT_EQ(drawn[i], i < 60 ? 255 : 0) << i;
  CGImageRelease(image);
}

TEST_F(ArgbImage, HugeSizesReadNothingOutsideTheData) {
  std::memset(pixels_, 255, kMemory);
  camera_.frameWidth = 32767;
  camera_.frameHeight = 32767;
  camera_.rowBytes = 0xFFFFFFFFU;
  camera_.dataSize = kMemory;
  CGImageRef const image = CGImageRefFrom_ARGB_CameraBuffer(camera_);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(CGImageGetWidth(image), 32767U);
  unsigned char out[16 * 4] = {};
  CGColorSpaceRef const space = CGColorSpaceCreateDeviceRGB();
  CGContextRef const context =
      CGBitmapContextCreate(out, 4, 4, 8, 16, space, kCGImageAlphaPremultipliedFirst);
  CGContextDrawImage(context, CGRectMake(0, 4 - 32767, 32767, 32767), image);
  EXPECT_EQ(out[0], 255) << "the top left pixel";
  EXPECT_EQ(out[16], 0) << "the second row lies outside";
  CGContextRelease(context);
  CGColorSpaceRelease(space);
  CGImageRelease(image);
}

}  // namespace
