#include "platform/CoreGraphics/CGImage.h"

#include <algorithm>
#include <cmath>

#include "platform/CoreGraphics/CGObjects.h"

namespace {

// A decode array that changes nothing is not kept: pixels then take the short way.
bool ChangesNothing(const CGFloat* decode, std::size_t components) {
  for (std::size_t i = 0; i < components; ++i) {
    if (decode[2 * i] != 0 || decode[2 * i + 1] != 1) return false;
  }
  return true;
}

CGImage* CopyOf(const CGImage& image) {
  auto* copy = new CGImage;
  copy->width = image.width;
  copy->height = image.height;
  copy->bitsPerComponent = image.bitsPerComponent;
  copy->bitsPerPixel = image.bitsPerPixel;
  copy->bytesPerRow = image.bytesPerRow;
  copy->firstByte = image.firstByte;
  copy->space = CGColorSpaceRetain(image.space);
  copy->bitmapInfo = image.bitmapInfo;
  copy->provider = CGDataProviderRetain(image.provider);
  copy->decode = image.decode;
  copy->shouldInterpolate = image.shouldInterpolate;
  copy->intent = image.intent;
  copy->layout = image.layout;
  return copy;
}

}  // namespace

CGImage::~CGImage() {
  CGColorSpaceRelease(space);
  CGDataProviderRelease(provider);
}

raster::PixelSource CGImage::source() const {
  raster::PixelSource pixels;
  pixels.bytes = provider->bytes();
  pixels.layout = layout;
  pixels.width = width;
  pixels.height = height;
  pixels.bytesPerRow = bytesPerRow;
  pixels.firstByte = firstByte;
  if (decode && !ChangesNothing(decode->data(), layout.components)) pixels.decode = decode;
  return pixels;
}

CGImageRef CGImageCreate(std::size_t width, std::size_t height, std::size_t bitsPerComponent,
                         std::size_t bitsPerPixel, std::size_t bytesPerRow, CGColorSpaceRef space,
                         CGBitmapInfo bitmapInfo, CGDataProviderRef provider, const CGFloat* decode,
                         bool shouldInterpolate, CGColorRenderingIntent intent) {
  if (!space || !provider) return nullptr;
  const std::size_t components = CGColorSpaceGetNumberOfComponents(space);
  const auto layout = raster::ImageLayout(bitsPerComponent, bitsPerPixel, components, bitmapInfo);
  if (!layout || !raster::SizesFit(*layout, width, height, bytesPerRow)) return nullptr;

  auto* image = new CGImage;
  image->width = width;
  image->height = height;
  image->bitsPerComponent = bitsPerComponent;
  image->bitsPerPixel = bitsPerPixel;
  image->bytesPerRow = bytesPerRow;
  image->space = CGColorSpaceRetain(space);
  image->bitmapInfo = bitmapInfo;
  image->provider = CGDataProviderRetain(provider);
  if (decode) {
    image->decode.emplace();
    std::copy_n(decode, 2 * components, image->decode->begin());
  }
  image->shouldInterpolate = shouldInterpolate;
  image->intent = intent;
  image->layout = *layout;
  return image;
}

CGImageRef CGImageCreateWithImageInRect(CGImageRef image, CGRect rect) {
  if (!image || !CGRectIntersectsRect(rect, CGRectInfinite)) return nullptr;
  // Numbers all, by the check above. In double: the float edges of a picture wider than 2^24 would
  // not hit its last columns.
  const CGRect area = CGRectStandardize(rect);
  const double left = std::max(0.0, std::floor(double{area.origin.x}));
  const double top = std::max(0.0, std::floor(double{area.origin.y}));
  const double right = std::min(static_cast<double>(image->width),
                                std::ceil(double{area.origin.x} + double{area.size.width}));
  const double bottom = std::min(static_cast<double>(image->height),
                                 std::ceil(double{area.origin.y} + double{area.size.height}));
  if (!(left < right && top < bottom)) return nullptr;
  CGImage* part = CopyOf(*image);
  part->width = static_cast<std::size_t>(right - left);
  part->height = static_cast<std::size_t>(bottom - top);
  part->firstByte += static_cast<std::size_t>(top) * image->bytesPerRow +
                     static_cast<std::size_t>(left) * image->layout.bytesPerPixel;
  return part;
}

CGImageRef CGImageCreateCopy(CGImageRef image) {
  return image ? CopyOf(*image) : nullptr;
}

CFTypeID CGImageGetTypeID() {
  static const CFTypeID type = CFRuntimeRegisterType("CGImage");
  return type;
}

CGImageRef CGImageRetain(CGImageRef image) {
  if (image) image->retainReference();
  return image;
}

void CGImageRelease(CGImageRef image) {
  if (image) image->releaseReference();
}

std::size_t CGImageGetWidth(CGImageRef image) {
  return image ? image->width : 0;
}
std::size_t CGImageGetHeight(CGImageRef image) {
  return image ? image->height : 0;
}
std::size_t CGImageGetBitsPerComponent(CGImageRef image) {
  return image ? image->bitsPerComponent : 0;
}
std::size_t CGImageGetBitsPerPixel(CGImageRef image) {
  return image ? image->bitsPerPixel : 0;
}
std::size_t CGImageGetBytesPerRow(CGImageRef image) {
  return image ? image->bytesPerRow : 0;
}
CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) {
  return image ? image->space : nullptr;
}
CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image) {
  return static_cast<CGImageAlphaInfo>(CGImageGetBitmapInfo(image) & kCGBitmapAlphaInfoMask);
}
CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image) {
  return image ? image->bitmapInfo : 0;
}
CGDataProviderRef CGImageGetDataProvider(CGImageRef image) {
  return image ? image->provider : nullptr;
}
const CGFloat* CGImageGetDecode(CGImageRef image) {
  return image && image->decode ? image->decode->data() : nullptr;
}
bool CGImageGetShouldInterpolate(CGImageRef image) {
  return image && image->shouldInterpolate;
}
CGColorRenderingIntent CGImageGetRenderingIntent(CGImageRef image) {
  return image ? image->intent : kCGRenderingIntentDefault;
}
