// Bitmaps and images for the drawing tests.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "platform/CoreGraphics/CoreGraphics.h"

namespace bitmaps {

using Bytes = std::vector<std::uint8_t>;

inline Bytes RandomBytes(std::size_t size, std::uint32_t seed) {
  std::mt19937 engine(seed);
  Bytes bytes(size);
  for (std::uint8_t& b : bytes) b = static_cast<std::uint8_t>(engine());
  return bytes;
}

/// A pixel as real numbers 0...255, colours premultiplied.
struct Pixel {
  double alpha = 0;
  double color[3] = {0, 0, 0};
};

/// A pixel layout told from the calls' table, independently of the code under test.
struct Layout {
  bool gray;
  std::size_t bitsPerPixel;
  CGBitmapInfo info;

  std::size_t bytes() const { return bitsPerPixel / 8; }
  std::uint32_t alphaInfo() const { return info & kCGBitmapAlphaInfoMask; }
  bool premultiplied() const {
    return alphaInfo() == kCGImageAlphaPremultipliedFirst ||
           alphaInfo() == kCGImageAlphaPremultipliedLast;
  }
  bool straight() const {
    return alphaInfo() == kCGImageAlphaFirst || alphaInfo() == kCGImageAlphaLast;
  }
  bool hasAlpha() const { return premultiplied() || straight(); }
  bool hasSpare() const { return bitsPerPixel == (gray ? 16 : 32); }
  bool spareFirst() const {
    return hasSpare() &&
           (alphaInfo() == kCGImageAlphaPremultipliedFirst || alphaInfo() == kCGImageAlphaFirst ||
            alphaInfo() == kCGImageAlphaNoneSkipFirst);
  }
  bool reversed() const { return (info & kCGBitmapByteOrderMask) == kCGBitmapByteOrder32Little; }
  std::size_t offset(std::size_t logical) const {
    return reversed() ? bytes() - 1 - logical : logical;
  }
  std::size_t spareOffset() const { return offset(spareFirst() ? 0 : bytes() - 1); }
  std::size_t colorOffset(std::size_t c) const {
    return offset((spareFirst() ? 1 : 0) + (gray ? 0 : c));
  }

  Pixel read(const std::uint8_t* p) const {
    Pixel pixel;
    pixel.alpha = hasAlpha() ? p[spareOffset()] : 255.0;
    for (std::size_t c = 0; c < 3; ++c) {
      pixel.color[c] = p[colorOffset(c)];
      if (straight()) pixel.color[c] *= pixel.alpha / 255;
    }
    return pixel;
  }
  /// Random bytes made into a possible pixel: no colour above its alpha.
  void tidy(std::uint8_t* p) const {
    if (!premultiplied()) return;
    for (std::size_t c = 0; c < (gray ? 1U : 3U); ++c) {
      p[colorOffset(c)] = std::min(p[colorOffset(c)], p[spareOffset()]);
    }
  }
  CGColorSpaceRef createSpace() const {
    return gray ? CGColorSpaceCreateDeviceGray() : CGColorSpaceCreateDeviceRGB();
  }
};

inline std::ostream& operator<<(std::ostream& out, const Layout& l) {
  return out << (l.gray ? "gray" : "RGB") << l.bitsPerPixel << " info 0x" << std::hex << l.info
             << std::dec;
}

inline std::vector<Layout> ImageLayouts() {
  std::vector<Layout> all{{true, 8, kCGImageAlphaNone}, {false, 24, kCGImageAlphaNone}};
  for (CGBitmapInfo alpha = 1; alpha <= 6; ++alpha) all.push_back({true, 16, alpha});
  for (CGBitmapInfo alpha = 0; alpha <= 6; ++alpha) {
    for (const CGBitmapInfo order :
         {kCGBitmapByteOrderDefault, kCGBitmapByteOrder32Big, kCGBitmapByteOrder32Little}) {
      all.push_back({false, 32, alpha | order});
    }
  }
  return all;
}

inline std::vector<Layout> ContextLayouts() {
  std::vector<Layout> all{{true, 8, kCGImageAlphaNone}};
  for (const CGBitmapInfo alpha : {kCGImageAlphaPremultipliedFirst, kCGImageAlphaPremultipliedLast,
                                   kCGImageAlphaNoneSkipFirst, kCGImageAlphaNoneSkipLast}) {
    for (const CGBitmapInfo order :
         {kCGBitmapByteOrderDefault, kCGBitmapByteOrder32Big, kCGBitmapByteOrder32Little}) {
      all.push_back({false, 32, alpha | order});
    }
  }
  return all;
}

inline constexpr Layout kARGB{false, 32, kCGImageAlphaPremultipliedFirst};
inline constexpr Layout kXRGB{false, 32, kCGImageAlphaNoneSkipFirst};
inline constexpr Layout kGray{true, 8, kCGImageAlphaNone};

/// An image over memory the caller keeps; released with the object.
class Image {
 public:
  Image(const void* data, std::size_t size, std::size_t width, std::size_t height,
        std::size_t bytesPerRow, Layout layout = kARGB, bool interpolate = true,
        const CGFloat* decode = nullptr) {
    const CGColorSpaceRef space = layout.createSpace();
    const CGDataProviderRef provider = CGDataProviderCreateWithData(nullptr, data, size, nullptr);
    image_ = CGImageCreate(width, height, 8, layout.bitsPerPixel, bytesPerRow, space, layout.info,
                           provider, decode, interpolate, kCGRenderingIntentDefault);
    CGDataProviderRelease(provider);
    CGColorSpaceRelease(space);
  }
  Image(const Bytes& bytes, std::size_t width, std::size_t height, Layout layout = kARGB,
        bool interpolate = true)
      : Image(bytes.data(), bytes.size(), width, height, width * layout.bytes(), layout,
              interpolate) {}
  ~Image() { CGImageRelease(image_); }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  operator CGImageRef() const { return image_; }

 private:
  CGImageRef image_;
};

/// A bitmap with a band of guard bytes before, between and behind its rows.
class Canvas {
 public:
  static constexpr std::uint8_t kGuard = 0xA5;

  Canvas(std::size_t width, std::size_t height, Layout layout = kARGB, std::size_t pad = 5)
      : width_(width),
        height_(height),
        layout_(layout),
        rowBytes_(width * layout.bytes() + pad),
        memory_(kMargin + rowBytes_ * height + kMargin, kGuard) {
    for (std::size_t y = 0; y < height; ++y) std::memset(row(y), 0, width * layout.bytes());
    const CGColorSpaceRef space = layout.createSpace();
    context_ = CGBitmapContextCreate(row(0), width, height, 8, rowBytes_, space, layout.info);
    CGColorSpaceRelease(space);
  }
  ~Canvas() { CGContextRelease(context_); }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;
  operator CGContextRef() const { return context_; }

  std::uint8_t* row(std::size_t y) { return memory_.data() + kMargin + y * rowBytes_; }
  std::uint8_t* at(std::size_t x, std::size_t y) { return row(y) + x * layout_.bytes(); }
  Pixel pixel(std::size_t x, std::size_t y) { return layout_.read(at(x, y)); }
  void fill(const Bytes& pixels) {
    const std::size_t need = width_ * layout_.bytes();
    for (std::size_t y = 0; y < height_; ++y) std::memcpy(row(y), pixels.data() + y * need, need);
  }
  /// The rows without their padding.
  Bytes pixels() {
    Bytes all;
    for (std::size_t y = 0; y < height_; ++y) {
      all.insert(all.end(), row(y), row(y) + width_ * layout_.bytes());
    }
    return all;
  }
  /// Nothing outside the pixels was written.
  bool guardsIntact() {
    const std::size_t need = width_ * layout_.bytes();
    for (std::size_t i = 0; i < kMargin; ++i) {
      if (memory_[i] != kGuard || memory_[memory_.size() - 1 - i] != kGuard) return false;
    }
    for (std::size_t y = 0; y < height_; ++y) {
      for (std::size_t i = need; i < rowBytes_; ++i) {
        if (row(y)[i] != kGuard) return false;
      }
    }
    return true;
  }

 private:
  // Odd, so that rows are not aligned either.
  static constexpr std::size_t kMargin = 67;
  const std::size_t width_;
  const std::size_t height_;
  const Layout layout_;
  const std::size_t rowBytes_;
  Bytes memory_;
  CGContextRef context_ = nullptr;
};

inline CGRect Rect(double x, double y, double w, double h) {
  return CGRectMake(static_cast<CGFloat>(x), static_cast<CGFloat>(y), static_cast<CGFloat>(w),
                    static_cast<CGFloat>(h));
}

}  // namespace bitmaps
