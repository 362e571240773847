// Any bytes as a PNG or JPEG: a picture or a reason, never a crash; what was decoded can be drawn
// and written again.
#include <cstdlib>

#include "platform/CoreGraphics/CoreGraphics.h"
#include "platform/ImageIO/ImageData.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ImageIODecoded decoded = ImageIODecode({data, size}, (size & 1) != 0);
  if (decoded.complete && !decoded.image) std::abort();
  if (!decoded.complete && decoded.error.empty()) std::abort();
  if (!decoded.image) return 0;
  const CGContextRef context = CGBitmapContextCreate(
      nullptr, 16, 16, 8, 0, CGImageGetColorSpace(decoded.image), kCGImageAlphaPremultipliedFirst);
  CGContextDrawImage(context, CGRectMake(1, 2, 13, 11), decoded.image);
  CGContextRelease(context);
  if (CGImageGetWidth(decoded.image) * CGImageGetHeight(decoded.image) < 4096) {
    const auto again = ImageIOEncodePNG(decoded.image);
    const ImageIODecoded back = ImageIODecode(again);
    if (!back.complete) std::abort();
    CGImageRelease(back.image);
  }
  CGImageRelease(decoded.image);
  return 0;
}
