#include "platform/CoreImage/CIContext.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr std::size_t kMaxSide = 32767;
constexpr std::size_t kBytesPerPixel = 4;

CGBitmapInfo BitmapInfo(CIPixelOrder order) {
  switch (order) {
    case CIPixelOrder::kARGB:
      return kCGImageAlphaPremultipliedFirst;
    case CIPixelOrder::kRGBA:
      return kCGImageAlphaPremultipliedLast;
    case CIPixelOrder::kBGRA:
      return kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little;
  }
  return kCGImageAlphaNone;
}

CGContextRef CreateContext(void* data, std::size_t width, std::size_t height, std::size_t rowBytes,
                           CIPixelOrder order) {
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGContextRef context =
      CGBitmapContextCreate(data, width, height, 8, rowBytes, space, BitmapInfo(order));
  CGColorSpaceRelease(space);
  return context;
}

/// A rectangle in double precision: places computed through a scale must come out on whole pixels
/// where they mean them.
struct Box {
  double x, y, width, height;
};

Box BoxOf(const CGRect& rect) {
  return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

CGRect RectOf(const Box& box) {
  return CGRectMake(static_cast<CGFloat>(box.x), static_cast<CGFloat>(box.y),
                    static_cast<CGFloat>(box.width), static_cast<CGFloat>(box.height));
}

/// The nearest whole number of pixels, at least one and at most `limit`.
double WholePixels(double size, double limit) {
  return std::clamp(std::floor(size + 0.5), 1.0, limit);
}

/// Where `extent` goes in a bitmap, y up.
Box Place(const Box& extent, double width, double height, CIRenderMode mode) {
  switch (mode) {
    case CIRenderMode::kCropped:
      return {0, height - extent.height, extent.width, extent.height};
    case CIRenderMode::kStretched:
      return {0, 0, width, height};
    case CIRenderMode::kFitted: {
      const double scale = std::min(width / extent.width, height / extent.height);
      const double w = WholePixels(extent.width * scale, width);
      const double h = WholePixels(extent.height * scale, height);
      const double below = height - h;
      // An odd row left over goes below, an odd column to the right.
      return {std::floor((width - w) / 2), std::ceil(below / 2), w, h};
    }
  }
  return {0, 0, 0, 0};
}

/// Draws `image` so that `from` of its plane fills `to` of the context.
void Draw(CGContextRef context, const CIImage& image, const Box& from, const Box& to) {
  const double sx = to.width / from.width;
  const double sy = to.height / from.height;
  const auto mapped = [&](const Box& box) {
    return Box{to.x + (box.x - from.x) * sx, to.y + (box.y - from.y) * sy, box.width * sx,
               box.height * sy};
  };
  CGContextClipToRect(context, RectOf(mapped(BoxOf(image.extent()))));

  const CGAffineTransform t = image.transform();
  const Box pixels{0, 0, static_cast<double>(CGImageGetWidth(image.CGImage())),
                   static_cast<double>(CGImageGetHeight(image.CGImage()))};
  if (t.a > 0 && t.d > 0 && t.b == 0 && t.c == 0 && image.clips().empty()) {
    const Box laid{t.tx, t.ty, pixels.width * t.a, pixels.height * t.d};
    CGContextDrawImage(context, RectOf(mapped(laid)), image.CGImage());
    return;
  }
  const CGAffineTransform plane = CGAffineTransformMake(
      static_cast<CGFloat>(sx), 0, 0, static_cast<CGFloat>(sy),
      static_cast<CGFloat>(to.x - from.x * sx), static_cast<CGFloat>(to.y - from.y * sy));
  for (const CIImage::Clip& clip : image.clips()) {
    const CGAffineTransform laid = CGAffineTransformConcat(clip.transform, plane);
    CGContextConcatCTM(context, laid);
    CGContextClipToRect(context, clip.rect);
    CGContextConcatCTM(context, CGAffineTransformInvert(laid));
  }
  CGContextConcatCTM(context, CGAffineTransformConcat(t, plane));
  CGContextDrawImage(context, RectOf(pixels), image.CGImage());
}

bool IsUsable(const CIBitmap& bitmap) {
  return bitmap.data != nullptr && bitmap.width >= 1 && bitmap.width <= kMaxSide &&
         bitmap.height >= 1 && bitmap.height <= kMaxSide &&
         bitmap.rowBytes >= kBytesPerPixel * bitmap.width && bitmap.rowBytes <= INT32_MAX;
}

bool Shows(const CIImage& image) {
  return image.CGImage() != nullptr && !CGRectIsEmpty(image.extent());
}

}  // namespace

CIContext* CIContext::context() {
  return NSAutorelease(new CIContext);
}

bool CIContext::renderToBitmap(CIImage* image, const CIBitmap& bitmap, CIRenderMode mode) {
  if (image == nullptr || !IsUsable(bitmap)) return false;
  const CGContextRef context =
      CreateContext(bitmap.data, bitmap.width, bitmap.height, bitmap.rowBytes, bitmap.order);
  if (context == nullptr) return false;
  for (std::size_t row = 0; row < bitmap.height; ++row) {
    std::memset(static_cast<UInt8*>(bitmap.data) + row * bitmap.rowBytes, 0,
                kBytesPerPixel * bitmap.width);
  }
  if (Shows(*image)) {
    const Box extent = BoxOf(image->extent());
    Draw(
        context, *image, extent,
        Place(extent, static_cast<double>(bitmap.width), static_cast<double>(bitmap.height), mode));
  }
  CGContextRelease(context);
  return true;
}

CGImageRef CIContext::createCGImagefromRect(CIImage* image, CGRect rect) {
  if (image == nullptr || CGRectIsEmpty(rect) || CGRectIsInfinite(rect)) return nullptr;
  const CGRect whole = CGRectIntegral(rect);
  const Box from = BoxOf(whole);
  if (!std::isfinite(from.x) || !std::isfinite(from.y) || !(from.width >= 1) ||
      !(from.width <= kMaxSide) || !(from.height >= 1) || !(from.height <= kMaxSide)) {
    return nullptr;
  }
  const CGContextRef context =
      CreateContext(nullptr, static_cast<std::size_t>(from.width),
                    static_cast<std::size_t>(from.height), 0, CIPixelOrder::kRGBA);
  if (context == nullptr) return nullptr;
  if (Shows(*image)) Draw(context, *image, from, {0, 0, from.width, from.height});
  const CGImageRef result = CGBitmapContextCreateImage(context);
  CGContextRelease(context);
  return result;
}
