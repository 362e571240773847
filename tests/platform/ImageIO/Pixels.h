// An image's pixels as R, G, B, A bytes, straight, read from its provider.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "platform/CoreFoundation/CFData.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreGraphics/CGImage.h"
#include "platform/ImageIO/ImageData.h"

namespace pixels {

using Bytes = std::vector<std::uint8_t>;

/// The memory under the image; decoded images have rows without padding.
inline Bytes Of(CGImageRef image) {
  const CFDataRef data = CGDataProviderCopyData(CGImageGetDataProvider(image));
  Bytes bytes(CFDataGetBytePtr(data), CFDataGetBytePtr(data) + CFDataGetLength(data));
  CFRelease(data);
  return bytes;
}

/// An image over a copy of the bytes, rows without padding.
inline CGImageRef Create(const Bytes& bytes, std::size_t width, std::size_t height,
                         std::size_t bitsPerPixel, CGBitmapInfo info, bool gray = false) {
  const CFDataRef data =
      CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size()));
  const CGDataProviderRef provider = CGDataProviderCreateWithCFData(data);
  CFRelease(data);
  const CGColorSpaceRef space =
      gray ? CGColorSpaceCreateDeviceGray() : CGColorSpaceCreateDeviceRGB();
  const CGImageRef image =
      CGImageCreate(width, height, 8, bitsPerPixel, width * bitsPerPixel / 8, space, info, provider,
                    nullptr, true, kCGRenderingIntentDefault);
  CGColorSpaceRelease(space);
  CGDataProviderRelease(provider);
  return image;
}

/// Releases the image with itself.
struct Decoded : ImageIODecoded {
  explicit Decoded(const Bytes& bytes, bool upright = false)
      : ImageIODecoded(ImageIODecode(bytes, upright)) {}
  ~Decoded() { CGImageRelease(image); }
  Decoded(const Decoded&) = delete;
  Decoded& operator=(const Decoded&) = delete;
};

/// How many copies of the file with one damaged byte, three for each byte, are not decoded whole.
/// Each of them must come with an error.
inline int RefusedWithOneByteDamaged(const Bytes& file) {
  int refused = 0;
  for (std::size_t i = 0; i < file.size(); ++i) {
    for (const std::uint8_t change : {0x01, 0x80, 0xFF}) {
      Bytes damaged = file;
      damaged[i] ^= change;
      const Decoded decoded(damaged);
      if (decoded.complete) continue;
      ++refused;
      EXPECT_FALSE(decoded.error.empty()) << "byte " << i << ", changed by " << int{change};
    }
  }
  return refused;
}

}  // namespace pixels
