#include "sdk/CoreG/namespace_CoreGraphics_BitmapContext.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreServices/MacMemory.h"
#include "sdk/CoreGeometry/PerlinNoise.h"
#include "tests/support/LogCapture.h"

namespace {

using CoreGraphics::BitmapContext;
using Lines = std::vector<std::string>;

constexpr char kSource[] = "sdk/CoreG/namespace_CoreGraphics_BitmapContext";
std::string Failed(const std::string& code, const std::string& function) {
  return test::AnyLineNumber(test::VerifyLine(code, kSource, 1, function));
}

constexpr char kAlias[] =
    "mGWorld.ConstructAlias((char*)mImageDataBytes, mImageRowBytes, "
    "QPoint(mImageWidth,mImageHeight), pixelFormat)";
constexpr char kNewContext[] =
    "newContextRef = ::CGBitmapContextCreate(mImageDataBytes, mImageWidth, mImageHeight, "
    "kImageBitsPerComponent, mImageRowBytes, mImageColorspace, mImageBitmapInfo )";
constexpr char kProvider[] =
    "dataProvider=::CGDataProviderCreateWithData(refcon_unused, mImageDataBytes, mImageDataSize, "
    "NULL)";
constexpr char kImage[] =
    "imageRef = CGImageCreate(mImageWidth, mImageHeight, kImageBitsPerComponent, "
    "mImageBitsPerPixel, mImageRowBytes, mImageColorspace, mImageBitmapInfo, dataProvider, NULL, "
    "fShouldInterpolate, renderingIntent)";
constexpr char kCropProvider[] =
    "dataProvider=::CGDataProviderCreateWithData(refcon, croppedDataBytes, "
    "inCroppedRect.size.height*mImageRowBytes, NULL)";
constexpr char kCropImage[] =
    "result = CGImageCreate(inCroppedRect.size.width, inCroppedRect.size.height, "
    "kImageBitsPerComponent, mImageBitsPerPixel, mImageRowBytes, mImageColorspace, "
    "mImageBitmapInfo, dataProvider, NULL, fShouldInterpolate, renderingIntent)";

/// Supplies its own memory and sees what happens to it.
class OwnMemory : public BitmapContext {
 public:
  ~OwnMemory() override { Destruct(); }
  unsigned char* CreateImageData(UInt32 size) const override {
    asked = size;
    memory.assign(fail ? 0 : std::size_t{size} + 16, 0x77);
    return fail ? nullptr : memory.data();
  }
  void DeleteImageData(unsigned char* p) const override { deleted = p; }
  mutable std::vector<unsigned char> memory;
  mutable UInt32 asked = 0;
  mutable unsigned char* deleted = nullptr;
  bool fail = false;
};

class Bitmap : public testing::Test {
 protected:
  void SetUp() override { worlds_ = GWorldGetCounters().worlds; }
  void TearDown() override { EXPECT_EQ(GWorldGetCounters().worlds, worlds_); }
  Lines Logged() {
    const Lines lines = test::AnyLineNumbers(log_.Lines());
    log_.Clear();
    return lines;
  }
  test::LogCapture log_;
  SInt64 worlds_ = 0;
};

std::string BytesOf(CGImageRef image) {
  const CFDataRef data = CGDataProviderCopyData(CGImageGetDataProvider(image));
  const std::string bytes(reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
                          static_cast<std::size_t>(CFDataGetLength(data)));
  CFRelease(data);
  return bytes;
}

TEST_F(Bitmap, DebugColours) {
  const float expected[4][4] = {{0.25f, 0.25f, 0.25f, 0.75f},
                                {0.25f, 0, 0, 0.75f},
                                {0, 0.25f, 0, 0.75f},
                                {0, 0, 0.25f, 0.75f}};
  const CGFloat* colours[4] = {BitmapContext::colorDebugGray, BitmapContext::colorDebugRed,
                               BitmapContext::colorDebugGreen, BitmapContext::colorDebugBlue};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(std::memcmp(colours[i], expected[i], 16), 0) << i;
}

TEST_F(Bitmap, EmptyObjects) {
  const BitmapContext empty;
  EXPECT_FALSE(empty.IsConstructed());
  EXPECT_EQ(empty.GetContextRef(), nullptr);
  EXPECT_EQ(empty.CGGetStartOfScanline(0), nullptr);
  EXPECT_EQ(empty.QDGetStartOfScanline(0), nullptr);
  EXPECT_EQ(empty.SafeGetPixel_BilinearInterpolatedSampleGrey(0, 0, 1), 0);
  EXPECT_EQ(Logged(), Lines{});
  EXPECT_EQ(empty.ConstructCGImage(), nullptr);
  EXPECT_EQ(Logged(), Lines{Failed(kProvider, "ConstructCGImage")});
  EXPECT_EQ(empty.GetCroppedImageRef(CGRectMake(0, 0, 1, 1)), nullptr);
  EXPECT_EQ(Logged(), Lines{Failed("IsConstructed()", "GetCroppedImageRef")});
  empty.FillPerlinNoise(1, 1);
  EXPECT_EQ(Logged(), Lines{Failed("false", "FillPerlinNoise")});
}

TEST_F(Bitmap, EveryTypeHasItsLayout) {
  struct Case {
    BitmapContext::BitmapType type;
    UInt32 bytes;
    CGBitmapInfo info;
    std::size_t components;
    UInt32 worldFormat;
  };
  const Case cases[] = {{BitmapContext::BitmapType_Device_Grey, 1, 0, 1, 40},
                        {BitmapContext::BitmapType_Device_ARGB, 4, 2, 3, 32},
                        {BitmapContext::BitmapType_Device_XRGB, 4, 6, 3, 40},
                        {BitmapContext::BitmapType_Device_RGBX, 4, 5, 3, 40}};
  for (const Case& c : cases) {
    BitmapContext b;
    ASSERT_TRUE(b.Construct(100, 50, c.type, 0));
    EXPECT_TRUE(b.IsConstructed());
    EXPECT_EQ(b.GetImageType(), c.type);
    EXPECT_EQ(b.GetImageWidth(), 100u);
    EXPECT_EQ(b.GetImageHeight(), 50u);
    EXPECT_EQ(b.GetImageBytesPerPixel(), c.bytes);
    EXPECT_EQ(b.GetImageBitsPerPixel(), 8 * c.bytes);
    EXPECT_EQ(b.GetImageRowBytes(), 100 * c.bytes);
    EXPECT_EQ(b.GetImageDataSize(), 5000 * c.bytes);
    EXPECT_EQ(b.GetImageBitmapInfo(), c.info);
    EXPECT_EQ(CGColorSpaceGetNumberOfComponents(b.GetImageColorspace()), c.components);
    EXPECT_EQ(b.SizePixels(), QPoint(100, 50));
    const QGWorld& world = b.GetGWorld();
    EXPECT_EQ(world.GetPixelFormat(), c.worldFormat);
    EXPECT_EQ(world.Dimensions(), QPoint(100, 50));
    EXPECT_EQ(GetPixBaseAddr(world.GetPixMap()), reinterpret_cast<char*>(b.GetImageDataBytes()));
    EXPECT_EQ(QTGetPixMapHandleRowBytes(world.GetPixMap()), static_cast<SInt32>(100 * c.bytes));
    EXPECT_EQ(CGBitmapContextGetData(b.GetContextRef()), b.GetImageDataBytes());
  }
  EXPECT_EQ(Logged(), Lines{});
}

TEST_F(Bitmap, RowBytes) {
  BitmapContext b;
  ASSERT_TRUE(b.Construct(100, 50, BitmapContext::BitmapType_Device_ARGB, 0));
  EXPECT_EQ(b.GetImageRowBytes(), 400u);
  EXPECT_EQ(b.GetImageDataSize(), 20000u);
  ASSERT_TRUE(b.Construct(100, 50, BitmapContext::BitmapType_Device_ARGB, 512));
  EXPECT_EQ(b.GetImageRowBytes(), 512u);
  EXPECT_EQ(b.GetImageDataSize(), 25600u);
  EXPECT_EQ(Logged(), Lines{});
  ASSERT_TRUE(b.Construct(100, 50, BitmapContext::BitmapType_Device_ARGB, 300));
  EXPECT_EQ(b.GetImageRowBytes(), 400u);
  EXPECT_EQ(Logged(), Lines{Failed("inUseRowBytes>=mImageRowBytes", "Construct")});
}

TEST_F(Bitmap, UnknownTypesFailSilently) {
  BitmapContext b;
  for (const int type : {0, 5, -1}) {
    EXPECT_FALSE(b.Construct(10, 10, static_cast<BitmapContext::BitmapType>(type), 0));
    EXPECT_FALSE(b.IsConstructed());
  }
  EXPECT_EQ(Logged(), Lines{});
}

TEST_F(Bitmap, TheGraphicsContextHoldsTwoReferences) {
  BitmapContext b;
  ASSERT_TRUE(b.Construct(4, 4, BitmapContext::BitmapType_Device_ARGB, 0));
  const CGContextRef context = b.GetContextRef();
  EXPECT_EQ(CFGetRetainCount(context), 2);
  b.Destruct();
  EXPECT_EQ(CFGetRetainCount(context), 1) << "the second one stays behind";
  EXPECT_EQ(b.GetContextRef(), nullptr);
  EXPECT_EQ(b.GetImageWidth(), 0u);
  EXPECT_EQ(b.GetImageDataBytes(), nullptr);
  EXPECT_EQ(b.GetImageType(), 0);
  EXPECT_FALSE(b.GetGWorld().IsConstructed());
  b.Destruct();
  CFRelease(context);
}

TEST_F(Bitmap, SubclassesSupplyTheirMemory) {
  OwnMemory b;
  ASSERT_TRUE(b.Construct(3, 2, BitmapContext::BitmapType_Device_ARGB, 0));
  EXPECT_EQ(b.asked, 24u);
  unsigned char* const bytes = b.GetImageDataBytes();
  EXPECT_EQ(bytes, b.memory.data());
  EXPECT_EQ(bytes[23], 0x77) << "pixels are not cleared";
  b.Destruct();
  EXPECT_EQ(b.deleted, bytes);

  b.fail = true;
  EXPECT_FALSE(b.Construct(3, 2, BitmapContext::BitmapType_Device_ARGB, 0));
  EXPECT_EQ(Logged(),
            Lines{Failed("mImageDataBytes = CreateImageData(mImageDataSize)", "Construct")});
  EXPECT_FALSE(b.IsConstructed());
}

TEST_F(Bitmap, HalfWayFailures) {
  OwnMemory b;
  EXPECT_FALSE(b.Construct(0, 10, BitmapContext::BitmapType_Device_Grey, 0));
  EXPECT_EQ(Logged(), Lines{Failed(kNewContext, "Construct")});
  EXPECT_FALSE(b.IsConstructed());
  b.Destruct();
  EXPECT_EQ(b.deleted, nullptr) << "what a failed construction holds is not given back";
  EXPECT_EQ(b.GetImageHeight(), 0u);
  EXPECT_FALSE(b.Construct(10, 0, BitmapContext::BitmapType_Device_Grey, 0));
  EXPECT_EQ(Logged(), Lines{Failed(kNewContext, "Construct")});
  for (const int bad : {-1, -100000, std::numeric_limits<int>::min()}) {
    EXPECT_FALSE(b.Construct(bad, 10, BitmapContext::BitmapType_Device_ARGB, 0));
    EXPECT_FALSE(b.Construct(10, bad, BitmapContext::BitmapType_Device_ARGB, 0));
    Logged();
  }
  // More than 16 bits of width: a raster, but no world.
  EXPECT_FALSE(b.Construct(40000, 1, BitmapContext::BitmapType_Device_Grey, 0));
  const std::string err = test::AnyLineNumber(
      test::VerifyErrLine(-50, "err", "sdk/QClasses/QGWorld", 1, "ConstructAlias"));
  EXPECT_EQ(Logged(),
            (Lines{err, Failed(kAlias, "ConstructGWorld"), Failed("ConstructGWorld()", "Construct"),
                   Failed("fOk = VERIFIED(ConstructGWorld())", "Construct")}));
}

TEST_F(Bitmap, OddWidthsHaveRoomForTheirPair) {
  const BitmapContext b;
  unsigned char* p = b.CreateImageData(12);
  std::memset(p + 12, 1, kMacMemorySlack);
  b.DeleteImageData(p);
  b.DeleteImageData(nullptr);
}

TEST_F(Bitmap, Scanlines) {
  BitmapContext b;
  ASSERT_TRUE(b.Construct(8, 5, BitmapContext::BitmapType_Device_Grey, 16));
  unsigned char* base = b.GetImageDataBytes();
  EXPECT_EQ(b.QDGetStartOfScanline(0), base);
  EXPECT_EQ(b.QDGetStartOfScanline(4), base + 64);
  EXPECT_EQ(b.CGGetStartOfScanline(0), base + 64);
  EXPECT_EQ(b.CGGetStartOfScanline(4), base);
  EXPECT_EQ(b.CGGetStartOfScanline(1.99f), base + 48);
  EXPECT_EQ(b.CGGetStartOfScanline(-0.5f), base + 64) << "truncated toward zero";
  for (const int y : {-1, 5, 2147483647, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(b.QDGetStartOfScanline(y), nullptr) << y;
  }
  for (const float y : {-1.0f, 5.0f, 1e20f, -1e20f, std::nanf("")}) {
    EXPECT_EQ(b.CGGetStartOfScanline(y), nullptr) << y;
  }
}

TEST_F(Bitmap, ImagesShowThePixelsThemselves) {
  BitmapContext b;
  ASSERT_TRUE(b.Construct(3, 2, BitmapContext::BitmapType_Device_ARGB, 16));
  const CGImageRef image = b.ConstructCGImage();
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(CGImageGetWidth(image), 3u);
  EXPECT_EQ(CGImageGetHeight(image), 2u);
  EXPECT_EQ(CGImageGetBitsPerComponent(image), 8u);
  EXPECT_EQ(CGImageGetBitsPerPixel(image), 32u);
  EXPECT_EQ(CGImageGetBytesPerRow(image), 16u);
  EXPECT_EQ(CGImageGetBitmapInfo(image), 2u);
  EXPECT_EQ(CGImageGetColorSpace(image), b.GetImageColorspace());
  EXPECT_TRUE(CGImageGetShouldInterpolate(image));
  EXPECT_EQ(CGImageGetRenderingIntent(image), kCGRenderingIntentDefault);
  EXPECT_EQ(CGImageGetDecode(image), nullptr);
  std::memset(b.GetImageDataBytes(), 0x42, 32);
  EXPECT_EQ(BytesOf(image), std::string(32, 0x42)) << "not a copy";
  CGImageRelease(image);
  EXPECT_EQ(Logged(), Lines{});
}

TEST_F(Bitmap, CroppedImages) {
  BitmapContext b;
  ASSERT_TRUE(b.Construct(8, 6, BitmapContext::BitmapType_Device_ARGB, 40));
  unsigned char* base = b.GetImageDataBytes();
  for (int i = 0; i < 240; ++i) base[i] = static_cast<unsigned char>(i);
  const std::string all(reinterpret_cast<char*>(base), 240);
  struct Case {
    CGRect rect;
    std::size_t first;
    std::size_t bytes;
  };
  const Case cases[] = {{CGRectMake(0, 0, 8, 6), 0, 240},    {CGRectMake(0, 0, 8, 3), 120, 120},
                        {CGRectMake(0, 3, 8, 3), 0, 120},    {CGRectMake(2, 1, 4, 2), 122, 80},
                        {CGRectMake(0, 0, 7, 6), 0, 240},    {CGRectMake(3, 0, 2, 1), 203, 37},
                        {CGRectMake(0, 0.5f, 8, 3), 80, 120}};
  for (const Case& c : cases) {
    const CGImageRef image = b.GetCroppedImageRef(c.rect);
    ASSERT_NE(image, nullptr) << c.first;
    EXPECT_EQ(CGImageGetWidth(image), static_cast<std::size_t>(c.rect.size.width));
    EXPECT_EQ(CGImageGetHeight(image), static_cast<std::size_t>(c.rect.size.height));
    EXPECT_EQ(CGImageGetBytesPerRow(image), 40u);
    EXPECT_EQ(BytesOf(image), all.substr(c.first, c.bytes));
    CGImageRelease(image);
  }
  EXPECT_EQ(Logged(), Lines{});
  // The first byte lies outside, or no rows are asked for.
  for (const CGRect& bad :
       {CGRectMake(0, 4, 8, 3), CGRectMake(-1, 0, 2, 2), CGRectMake(8, 0, 2, 2),
        CGRectMake(0, -1, 8, 0), CGRectMake(0, 0, 8, 7), CGRectMake(0, 2, 8, -1),
        CGRectMake(0, 0, 8, std::nanf("")), CGRectMake(0, 0, 8, 1e30f)}) {
    EXPECT_EQ(b.GetCroppedImageRef(bad), nullptr);
    EXPECT_EQ(Logged(), Lines{Failed(kCropProvider, "GetCroppedImageRef")});
  }
  for (const CGRect& bad : {CGRectMake(0, 0, 0, 2), CGRectMake(0, 0, -3, 2),
                            CGRectMake(0, 0, 11, 2), CGRectMake(0, 0, std::nanf(""), 2)}) {
    EXPECT_EQ(b.GetCroppedImageRef(bad), nullptr);
    EXPECT_EQ(Logged(), Lines{Failed(kCropImage, "GetCroppedImageRef")});
  }
}

TEST_F(Bitmap, ImagesThatCannotBeMade) {
  // A context that a subclass's hook left without rows wide enough for its images.
  class Narrow : public OwnMemory {
   public:
    bool ConstructGWorld() override { return true; }
  };
  Narrow b;
  EXPECT_FALSE(b.Construct(4, 0, BitmapContext::BitmapType_Device_Grey, 0));
  Logged();
  // No rows: the provider has no bytes.
  EXPECT_EQ(b.ConstructCGImage(), nullptr);
  EXPECT_EQ(Logged(), Lines{Failed(kProvider, "ConstructCGImage")});
  // No columns, but bytes: the image cannot be.
  EXPECT_FALSE(b.Construct(0, 4, BitmapContext::BitmapType_Device_Grey, 8));
  Logged();
  EXPECT_EQ(b.ConstructCGImage(), nullptr);
  EXPECT_EQ(Logged(), Lines{Failed(kImage, "ConstructCGImage")});
}

TEST_F(Bitmap, GreySamples) {
  BitmapContext b;
  ASSERT_TRUE(b.Construct(2, 2, BitmapContext::BitmapType_Device_Grey, 0));
  const unsigned char pixels[4] = {0, 100, 200, 255};
  std::memcpy(b.GetImageDataBytes(), pixels, 4);
  EXPECT_EQ(b.SafeGetPixel_BilinearInterpolatedSampleGrey(0.25f, 0.25f, 1), 138);
  EXPECT_EQ(b.SafeGetPixel_BilinearInterpolatedSampleGrey(2.5f, 2.5f, 1), 255);
  EXPECT_EQ(b.SafeGetPixel_BilinearInterpolatedSampleGrey(-0.25f, 0, 1), 0);
  EXPECT_EQ(b.SafeGetPixel_BilinearInterpolatedSampleGrey(2, 2, 1.5f), (382 & 0xFF));
  EXPECT_EQ(b.SafeGetPixel_BilinearInterpolatedSampleGrey(2, 2, -1), ((-255) & 0xFF));
  EXPECT_EQ(b.SafeGetPixel_BilinearInterpolatedSampleGrey(2, 2, 1e20f), 0);
  EXPECT_EQ(b.SafeGetPixel_BilinearInterpolatedSampleGrey(std::nanf(""), 0, 1), 0);
}

TEST_F(Bitmap, NoiseIsOneValuePerCell) {
  const auto& noise = CoreGeometry::PerlinNoise::sSingleton;
  for (const int type : {1, 2, 3, 4}) {
    for (const int cell : {-3, 0, 1, 5, 64, 1000}) {
      for (const float amplitude : {1.0f, -0.5f, 3.0f}) {
        BitmapContext b;
        ASSERT_TRUE(b.Construct(70, 67, static_cast<BitmapContext::BitmapType>(type), 300));
        std::memset(b.GetImageDataBytes(), 0xA5, b.GetImageDataSize());
        b.FillPerlinNoise(cell, amplitude);
        const int n = cell < 1 ? 1 : cell > 64 ? 64 : cell;
        for (int y = 0; y < 67; ++y) {
          const unsigned char* row = b.QDGetStartOfScanline(y);
          const float fy = static_cast<float>(y / n * n) / 67.0f;
          for (int x = 0; x < 70; ++x) {
            const float fx = static_cast<float>(x / n * n) / 70.0f;
            const float v = noise.Noise2(fx * 256, fy * 256) * amplitude * 255;
            const auto value = static_cast<unsigned char>(static_cast<int>(v));
            if (type == 1) {
              ASSERT_EQ(row[x], value) << x << " " << y;
            } else {
              ASSERT_EQ(row[4 * x], 255);
              ASSERT_EQ(row[4 * x + 1], value) << x << " " << y;
              ASSERT_EQ(row[4 * x + 2], value);
              ASSERT_EQ(row[4 * x + 3], value);
            }
          }
          ASSERT_EQ(row[type == 1 ? 70 : 280], 0xA5) << "padding stays";
        }
      }
    }
  }
  EXPECT_EQ(Logged(), Lines{});
}

TEST_F(Bitmap, NoiseInWhatIsNoRaster) {
  OwnMemory b;
  b.fail = true;
  EXPECT_FALSE(b.Construct(4, 4, BitmapContext::BitmapType_Device_Grey, 0));
  Logged();
  b.FillPerlinNoise(1, 1);
  EXPECT_EQ(Logged(), Lines{});
  EXPECT_FALSE(b.Construct(4, 4, static_cast<BitmapContext::BitmapType>(9), 0));
  b.FillPerlinNoise(1, 1);
  EXPECT_EQ(Logged(), Lines{Failed("false", "FillPerlinNoise")});
}

TEST_F(Bitmap, RandomSequencesOfConstructionImagesAndDisposal) {
  const bool ok = rc::check("bitmaps", [] {
    std::vector<std::unique_ptr<BitmapContext>> contexts;
    for (int i = 0; i < 3; ++i) contexts.push_back(std::make_unique<BitmapContext>());
    const int steps = *rc::gen::inRange(1, 25);
    for (int step = 0; step < steps; ++step) {
      auto& context = contexts[static_cast<std::size_t>(*rc::gen::inRange(0, 3))];
      switch (*rc::gen::inRange(0, 5)) {
        case 0:
        case 1: {
          const int width = *rc::gen::inRange(1, 20);
          const int height = *rc::gen::inRange(1, 20);
          const int type = *rc::gen::inRange(1, 6);
          const UInt32 rowBytes = static_cast<UInt32>(*rc::gen::inRange(0, 100));
          RC_ASSERT(context->Construct(width, height, static_cast<BitmapContext::BitmapType>(type),
                                       rowBytes) == (type < 5));
          break;
        }
        case 2:
          context->Destruct();
          RC_ASSERT(!context->IsConstructed());
          break;
        case 3:
          context = std::make_unique<BitmapContext>();
          break;
        default:
          if (!context->IsConstructed()) break;
          context->FillPerlinNoise(*rc::gen::inRange(0, 9), 1);
          const CGRect rect = CGRectMake(static_cast<float>(*rc::gen::inRange(-2, 22)),
                                         static_cast<float>(*rc::gen::inRange(-2, 22)),
                                         static_cast<float>(*rc::gen::inRange(-2, 22)),
                                         static_cast<float>(*rc::gen::inRange(-2, 22)));
          const CGImageRef image = context->GetCroppedImageRef(rect);
          if (image != nullptr) RC_ASSERT(!BytesOf(image).empty());
          CGImageRelease(image);
          break;
      }
    }
  });
  EXPECT_TRUE(ok);
}

}  // namespace
