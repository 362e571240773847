#include "platform/CoreGraphics/CGImage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <set>

#include "platform/CoreFoundation/CFData.h"
#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFType.h"
#include "tests/platform/CoreGraphics/Bitmaps.h"

namespace {

using bitmaps::Bytes;
using bitmaps::Canvas;
using bitmaps::Image;
using bitmaps::kARGB;
using bitmaps::Rect;

TEST(CGColorSpace, DeviceSpacesAreTheSameObjectEachTime) {
  const CGColorSpaceRef rgb = CGColorSpaceCreateDeviceRGB();
  const CFIndex count = CFGetRetainCount(rgb);
  const CGColorSpaceRef again = CGColorSpaceCreateDeviceRGB();
  EXPECT_EQ(rgb, again);
  EXPECT_EQ(CFGetRetainCount(rgb), count + 1);
  CGColorSpaceRelease(again);
  EXPECT_EQ(CFGetRetainCount(rgb), count);
  EXPECT_EQ(CGColorSpaceGetNumberOfComponents(rgb), 3U);
  EXPECT_EQ(CGColorSpaceGetModel(rgb), kCGColorSpaceModelRGB);
  CGColorSpaceRelease(rgb);
  const CGColorSpaceRef gray = CGColorSpaceCreateDeviceGray();
  EXPECT_EQ(CGColorSpaceGetNumberOfComponents(gray), 1U);
  EXPECT_EQ(CGColorSpaceGetModel(gray), kCGColorSpaceModelMonochrome);
  EXPECT_NE(gray, CGColorSpaceCreateDeviceRGB());
  EXPECT_EQ(CFGetTypeID(gray), CGColorSpaceGetTypeID());
}

TEST(CGColorSpace, GivenBackTooOftenItStays) {
  const CGColorSpaceRef gray = CGColorSpaceCreateDeviceGray();
  for (CFIndex n = CFGetRetainCount(gray) + 3; n > 0; --n) CGColorSpaceRelease(gray);
  EXPECT_EQ(CGColorSpaceGetNumberOfComponents(gray), 1U);
  EXPECT_EQ(CGColorSpaceCreateDeviceGray(), gray);
}

TEST(CGColorSpace, ByName) {
  EXPECT_EQ(CGColorSpaceGetModel(CGColorSpaceCreateWithName(kCGColorSpaceSRGB)),
            kCGColorSpaceModelRGB);
  EXPECT_EQ(CGColorSpaceGetModel(CGColorSpaceCreateWithName(kCGColorSpaceGenericRGB)),
            kCGColorSpaceModelRGB);
  EXPECT_EQ(CGColorSpaceGetModel(CGColorSpaceCreateWithName(kCGColorSpaceGenericGray)),
            kCGColorSpaceModelMonochrome);
  EXPECT_EQ(CGColorSpaceCreateWithName(CFSTR("Plaid")), nullptr);
  EXPECT_EQ(CGColorSpaceCreateWithName(nullptr), nullptr);
  EXPECT_EQ(CGColorSpaceGetModel(nullptr), kCGColorSpaceModelUnknown);
  EXPECT_EQ(CGColorSpaceGetNumberOfComponents(nullptr), 0U);
}

struct Released {
  int times = 0;
  const void* data = nullptr;
  std::size_t size = 0;
};

void NoteRelease(void* info, const void* data, std::size_t size) {
  auto* released = static_cast<Released*>(info);
  ++released->times;
  released->data = data;
  released->size = size;
}

TEST(CGDataProvider, CallsBackOnceWhenTheLastReferenceGoes) {
  Released released;
  const Bytes bytes(10);
  const CGDataProviderRef provider =
      CGDataProviderCreateWithData(&released, bytes.data(), bytes.size(), NoteRelease);
  CGDataProviderRetain(provider);
  CGDataProviderRelease(provider);
  EXPECT_EQ(released.times, 0);
  CGDataProviderRelease(provider);
  EXPECT_EQ(released.times, 1);
  EXPECT_EQ(released.data, bytes.data());
  EXPECT_EQ(released.size, 10U);
}

TEST(CGDataProvider, NothingMakesNoProviderAndCallsNobody) {
  Released released;
  const int byte = 0;
  EXPECT_EQ(CGDataProviderCreateWithData(&released, &byte, 0, NoteRelease), nullptr);
  EXPECT_EQ(CGDataProviderCreateWithData(&released, nullptr, 4, NoteRelease), nullptr);
  EXPECT_EQ(CGDataProviderCreateWithCFData(nullptr), nullptr);
  const CFDataRef empty = CFDataCreate(kCFAllocatorDefault, nullptr, 0);
  EXPECT_EQ(CGDataProviderCreateWithCFData(empty), nullptr);
  CFRelease(empty);
  EXPECT_EQ(released.times, 0);
  CGDataProviderRelease(nullptr);
  EXPECT_EQ(CGDataProviderRetain(nullptr), nullptr);
  EXPECT_EQ(CGDataProviderCopyData(nullptr), nullptr);
}

TEST(CGDataProvider, OverDataRetainsThemAndCopiesOut) {
  const UInt8 bytes[] = {1, 2, 3};
  const CFDataRef data = CFDataCreate(kCFAllocatorDefault, bytes, 3);
  const CFIndex count = CFGetRetainCount(data);
  const CGDataProviderRef provider = CGDataProviderCreateWithCFData(data);
  EXPECT_EQ(CFGetRetainCount(data), count + 1);
  const CFDataRef copy = CGDataProviderCopyData(provider);
  EXPECT_TRUE(CFEqual(copy, data));
  CFRelease(copy);
  CGDataProviderRelease(provider);
  EXPECT_EQ(CFGetRetainCount(data), count);
  CFRelease(data);
}

// Everything a call of CGImageCreate names, good by default.
struct Arguments {
  std::size_t width = 4;
  std::size_t height = 3;
  std::size_t bitsPerComponent = 8;
  std::size_t bitsPerPixel = 32;
  std::size_t bytesPerRow = 16;
  bool gray = false;
  CGBitmapInfo info = kCGImageAlphaPremultipliedFirst;
};

bool Creates(const Arguments& a) {
  static const Bytes bytes(64);
  const CGColorSpaceRef space =
      a.gray ? CGColorSpaceCreateDeviceGray() : CGColorSpaceCreateDeviceRGB();
  const CGDataProviderRef provider =
      CGDataProviderCreateWithData(nullptr, bytes.data(), bytes.size(), nullptr);
  const CGImageRef image =
      CGImageCreate(a.width, a.height, a.bitsPerComponent, a.bitsPerPixel, a.bytesPerRow, space,
                    a.info, provider, nullptr, false, kCGRenderingIntentDefault);
  CGDataProviderRelease(provider);
  CGColorSpaceRelease(space);
  const bool made = image != nullptr;
  CGImageRelease(image);
  return made;
}

TEST(CGImage, KeepsWhatItWasCreatedWith) {
  Released released;
  const Bytes bytes(64);
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGDataProviderRef provider =
      CGDataProviderCreateWithData(&released, bytes.data(), bytes.size(), NoteRelease);
  const CGFloat decode[6] = {0, 1, 1, 0, 0.25F, 0.75F};
  const CGImageRef image = CGImageCreate(4, 3, 8, 32, 20, space, 0x2002, provider, decode, true,
                                         kCGRenderingIntentPerceptual);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(CFGetTypeID(image), CGImageGetTypeID());
  EXPECT_EQ(CGImageGetWidth(image), 4U);
  EXPECT_EQ(CGImageGetHeight(image), 3U);
  EXPECT_EQ(CGImageGetBitsPerComponent(image), 8U);
  EXPECT_EQ(CGImageGetBitsPerPixel(image), 32U);
  EXPECT_EQ(CGImageGetBytesPerRow(image), 20U);
  EXPECT_EQ(CGImageGetColorSpace(image), space);
  EXPECT_EQ(CGImageGetBitmapInfo(image), 0x2002U);
  EXPECT_EQ(CGImageGetAlphaInfo(image), kCGImageAlphaPremultipliedFirst);
  EXPECT_EQ(CGImageGetDataProvider(image), provider);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(CGImageGetDecode(image)[i], decode[i]);
  EXPECT_TRUE(CGImageGetShouldInterpolate(image));
  EXPECT_EQ(CGImageGetRenderingIntent(image), kCGRenderingIntentPerceptual);
  CGDataProviderRelease(provider);
  CGColorSpaceRelease(space);
  const CGImageRef copy = CGImageCreateCopy(image);
  CGImageRetain(image);
  CGImageRelease(image);
  CGImageRelease(image);
  EXPECT_EQ(released.times, 0);
  EXPECT_EQ(CGImageGetBytesPerRow(copy), 20U);
  CGImageRelease(copy);
  EXPECT_EQ(released.times, 1);
}

TEST(CGImage, NullHasNothing) {
  EXPECT_EQ(CGImageGetWidth(nullptr), 0U);
  EXPECT_EQ(CGImageGetHeight(nullptr), 0U);
  EXPECT_EQ(CGImageGetDataProvider(nullptr), nullptr);
  EXPECT_EQ(CGImageGetDecode(nullptr), nullptr);
  EXPECT_FALSE(CGImageGetShouldInterpolate(nullptr));
  EXPECT_EQ(CGImageCreateCopy(nullptr), nullptr);
  EXPECT_EQ(CGImageCreateWithImageInRect(nullptr, Rect(0, 0, 1, 1)), nullptr);
  EXPECT_EQ(CGImageRetain(nullptr), nullptr);
  CGImageRelease(nullptr);
}

TEST(CGImage, LayoutsOfTheTableAndNoOthers) {
  std::set<std::tuple<bool, std::size_t, CGBitmapInfo>> good;
  for (const bitmaps::Layout& l : bitmaps::ImageLayouts()) {
    good.insert({l.gray, l.bitsPerPixel, l.info});
  }
  for (const bool gray : {false, true}) {
    for (const std::size_t bits : {0, 1, 4, 8, 12, 16, 24, 31, 32, 33, 40, 48, 64}) {
      for (CGBitmapInfo order = 0; order <= 7; ++order) {
        for (CGBitmapInfo alpha = 0; alpha <= 32; ++alpha) {
          Arguments a;
          a.gray = gray;
          a.bitsPerPixel = bits;
          a.bytesPerRow = 64;
          a.height = 1;
          a.info = order << 12 | alpha;
          EXPECT_EQ(Creates(a), good.count({gray, bits, a.info}) == 1)
              << gray << " bits " << bits << " info " << std::hex << a.info;
        }
      }
    }
  }
  Arguments a;
  a.info |= kCGBitmapFloatComponents;
  EXPECT_FALSE(Creates(a));
  for (const std::size_t bits : {0, 1, 2, 4, 5, 7, 9, 16, 32}) {
    Arguments b;
    b.bitsPerComponent = bits;
    EXPECT_FALSE(Creates(b));
  }
}

TEST(CGImage, SizesOfZeroOrBelowMakeNoImage) {
  const auto extended = [](std::int16_t x) { return static_cast<std::size_t>(x); };
  for (const std::int16_t bad : {0, -1, -2, -640, -32768}) {
    Arguments a;
    a.width = extended(bad);
    EXPECT_FALSE(Creates(a)) << bad;
    a.bytesPerRow = SIZE_MAX;
    EXPECT_FALSE(Creates(a)) << bad;
    Arguments b;
    b.height = extended(bad);
    EXPECT_FALSE(Creates(b)) << bad;
    Arguments c;
    c.width = static_cast<std::uint32_t>(static_cast<std::int32_t>(bad));
    EXPECT_FALSE(Creates(c)) << bad;
  }
}

TEST(CGImage, RowsMustHoldTheirPixels) {
  Arguments a;
  a.bytesPerRow = 15;
  EXPECT_FALSE(Creates(a));
  a.bytesPerRow = 0;
  EXPECT_FALSE(Creates(a));
  a.bytesPerRow = 17;
  EXPECT_TRUE(Creates(a));
  a.bytesPerRow = static_cast<std::size_t>(-16);
  EXPECT_FALSE(Creates(a));
}

TEST(CGImage, HugeProductsDoNotWrapRound) {
  Arguments a;
  a.width = 0x7FFFFFFF;
  EXPECT_FALSE(Creates(a));  // 16 bytes per row
  a.bytesPerRow = std::size_t{4} * 0x7FFFFFFF;
  a.height = 0x7FFFFFFF;
  EXPECT_FALSE(Creates(a));  // 2^64 bytes
  a.height = 1;
  EXPECT_TRUE(Creates(a));
  Arguments b;
  b.height = std::size_t{1} << 62;
  EXPECT_FALSE(Creates(b));
  b.height = 4;
  b.bytesPerRow = std::size_t{1} << 62;
  EXPECT_FALSE(Creates(b));
  b.height = 1;
  EXPECT_TRUE(Creates(b));
}

TEST(CGImage, NeedsASpaceAndAProvider) {
  const Bytes bytes(64);
  const CGDataProviderRef provider =
      CGDataProviderCreateWithData(nullptr, bytes.data(), bytes.size(), nullptr);
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  EXPECT_EQ(CGImageCreate(4, 4, 8, 32, 16, nullptr, 2, provider, nullptr, false,
                          kCGRenderingIntentDefault),
            nullptr);
  EXPECT_EQ(
      CGImageCreate(4, 4, 8, 32, 16, space, 2, nullptr, nullptr, false, kCGRenderingIntentDefault),
      nullptr);
  CGColorSpaceRelease(space);
  CGDataProviderRelease(provider);
}

TEST(CGImage, PartOfAnImageCountsRowsFromTheTop) {
  const Bytes bytes = bitmaps::RandomBytes(8 * 6 * 4, 5);
  Bytes pixels = bytes;
  for (std::size_t i = 0; i < pixels.size(); i += 4) pixels[i] = 255;
  const Image whole(pixels, 8, 6);
  const CGImageRef part = CGImageCreateWithImageInRect(whole, Rect(2.5, 1.25, 2, 2));
  ASSERT_NE(part, nullptr);
  EXPECT_EQ(CGImageGetWidth(part), 3U);
  EXPECT_EQ(CGImageGetHeight(part), 3U);
  Canvas canvas(3, 3);
  CGContextDrawImage(canvas, Rect(0, 0, 3, 3), part);
  for (std::size_t y = 0; y < 3; ++y) {
    EXPECT_EQ(std::memcmp(canvas.row(y), &pixels[4 * ((y + 1) * 8 + 2)], 12), 0);
  }
  const CGImageRef inner = CGImageCreateWithImageInRect(part, Rect(2, 2, -1, 100));
  EXPECT_EQ(CGImageGetWidth(inner), 1U);
  EXPECT_EQ(CGImageGetHeight(inner), 1U);
  Canvas dot(1, 1);
  CGContextDrawImage(dot, Rect(0, 0, 1, 1), inner);
  EXPECT_EQ(std::memcmp(dot.row(0), &pixels[4 * (3 * 8 + 3)], 4), 0);
  CGImageRelease(inner);
  CGImageRelease(part);
}

TEST(CGImage, PartOutsideIsNoImage) {
  const Bytes pixels(8 * 6 * 4);
  const Image whole(pixels, 8, 6);
  EXPECT_EQ(CGImageCreateWithImageInRect(whole, Rect(8, 0, 5, 5)), nullptr);
  EXPECT_EQ(CGImageCreateWithImageInRect(whole, Rect(0, 0, 0, 5)), nullptr);
  EXPECT_EQ(CGImageCreateWithImageInRect(whole, CGRectNull), nullptr);
  EXPECT_EQ(CGImageCreateWithImageInRect(whole, Rect(NAN, 0, 1, 1)), nullptr);
  EXPECT_EQ(CGImageCreateWithImageInRect(whole, Rect(-1, -1, 1, 1)), nullptr);
  const CGImageRef all = CGImageCreateWithImageInRect(whole, CGRectInfinite);
  ASSERT_NE(all, nullptr);
  EXPECT_EQ(CGImageGetWidth(all), 8U);
  EXPECT_EQ(CGImageGetHeight(all), 6U);
  CGImageRelease(all);
}

}  // namespace
