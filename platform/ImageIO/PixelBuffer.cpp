#include "platform/ImageIO/PixelBuffer.h"

#include <cstring>
#include <utility>

namespace imageio {

bool PixelBuffer::allocate(std::uint32_t newWidth, std::uint32_t newHeight) {
  auto* memory = static_cast<std::uint8_t*>(std::calloc(newHeight, std::size_t{4} * newWidth));
  if (!memory) return false;
  bytes.reset(memory);
  width = newWidth;
  height = newHeight;
  return true;
}

bool SizeAllowed(std::uint32_t width, std::uint32_t height, std::string* error) {
  if (width == 0 || height == 0) {
    *error = "the picture has no pixels";
    return false;
  }
  if (width > kImageIOMaxDimension || height > kImageIOMaxDimension ||
      std::uint64_t{width} * height > kImageIOMaxPixels) {
    *error = "the picture is too large: " + std::to_string(width) + " x " + std::to_string(height);
    return false;
  }
  return true;
}

bool TurnUpright(PixelBuffer* pixels, ImageIOOrientation orientation) {
  if (orientation <= 1 || orientation > 8) return true;
  const bool swaps = orientation >= 5;
  const std::size_t width = pixels->width;
  const std::size_t height = pixels->height;
  PixelBuffer turned;
  if (!turned.allocate(swaps ? pixels->height : pixels->width,
                       swaps ? pixels->width : pixels->height)) {
    return false;
  }
  for (std::size_t y = 0; y < turned.height; ++y) {
    for (std::size_t x = 0; x < turned.width; ++x) {
      // Where the upright picture's (x, y) is stored.
      std::size_t u = swaps ? y : x;
      std::size_t v = swaps ? x : y;
      if (orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8) {
        u = width - 1 - u;
      }
      if (orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7) {
        v = height - 1 - v;
      }
      std::memcpy(turned.row(y) + 4 * x, pixels->row(v) + 4 * u, 4);
    }
  }
  *pixels = std::move(turned);
  return true;
}

CGImageRef MakeImage(PixelBuffer* pixels, CGImageAlphaInfo alpha) {
  const std::size_t width = pixels->width;
  const std::size_t height = pixels->height;
  const std::size_t size = pixels->size();
  const CGDataProviderRef provider = CGDataProviderCreateWithData(
      nullptr, pixels->bytes.release(), size,
      [](void*, const void* data, std::size_t) { std::free(const_cast<void*>(data)); });
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGImageRef image =
      CGImageCreate(width, height, 8, 32, 4 * width, space, static_cast<CGBitmapInfo>(alpha),
                    provider, nullptr, true, kCGRenderingIntentDefault);
  CGColorSpaceRelease(space);
  CGDataProviderRelease(provider);
  return image;
}

}  // namespace imageio
