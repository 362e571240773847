// Small pictures in which every pixel is another one, and their pixels after rendering.
#pragma once

#include <vector>

#include "platform/CoreImage/CIContext.h"
#include "platform/Foundation/NSAutoreleasePool.h"

namespace test {

/// `width` x `height` pixels A, R, G, B, premultiplied and opaque but for the last pixel of the
/// first row, which is clear when there is more than one column. Drawn in blocks when enlarged.
class Picture {
 public:
  Picture(std::size_t width, std::size_t height, bool interpolate = false)
      : width_(width), height_(height), pixels_(width * height * 4) {
    for (std::size_t i = 0; i < width * height; ++i) {
      const bool clear = width > 1 && i == width - 1;
      pixels_[i * 4] = clear ? 0 : 255;
      pixels_[i * 4 + 1] = clear ? 0 : static_cast<UInt8>(i * 37 + 11);
      pixels_[i * 4 + 2] = clear ? 0 : static_cast<UInt8>(i * 101 + 5);
      pixels_[i * 4 + 3] = clear ? 0 : static_cast<UInt8>(200 - i * 3);
    }
    const CGDataProviderRef provider =
        CGDataProviderCreateWithData(nullptr, pixels_.data(), pixels_.size(), nullptr);
    const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
    image_ = CGImageCreate(width, height, 8, 32, width * 4, space, kCGImageAlphaPremultipliedFirst,
                           provider, nullptr, interpolate, kCGRenderingIntentDefault);
    CGColorSpaceRelease(space);
    CGDataProviderRelease(provider);
  }
  ~Picture() { CGImageRelease(image_); }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  CGImageRef image() const { return image_; }
  const std::vector<UInt8>& argb() const { return pixels_; }
  /// A part, from the top left.
  std::vector<UInt8> argb(std::size_t x, std::size_t y, std::size_t width,
                          std::size_t height) const {
    std::vector<UInt8> part;
    for (std::size_t row = y; row < y + height; ++row) {
      const UInt8* const first = pixels_.data() + (row * width_ + x) * 4;
      part.insert(part.end(), first, first + width * 4);
    }
    return part;
  }
  /// Every pixel as a block of `factor` x `factor`.
  std::vector<UInt8> enlarged(std::size_t factor) const {
    std::vector<UInt8> all;
    for (std::size_t y = 0; y < height_ * factor; ++y) {
      for (std::size_t x = 0; x < width_ * factor; ++x) {
        const UInt8* const pixel = pixels_.data() + (y / factor * width_ + x / factor) * 4;
        all.insert(all.end(), pixel, pixel + 4);
      }
    }
    return all;
  }

 private:
  std::size_t width_;
  std::size_t height_;
  std::vector<UInt8> pixels_;
  CGImageRef image_;
};

/// The image rendered into a bitmap of its own; empty when rendering fails.
inline std::vector<UInt8> Render(CIImage* image, std::size_t width, std::size_t height,
                                 CIRenderMode mode, CIPixelOrder order = CIPixelOrder::kARGB) {
  const NSAutoreleasePool pool;
  std::vector<UInt8> pixels(width * height * 4, 0xCC);
  const CIBitmap bitmap{pixels.data(), width * 4, width, height, order};
  if (!CIContext::context()->renderToBitmap(image, bitmap, mode)) pixels.clear();
  return pixels;
}

}  // namespace test
