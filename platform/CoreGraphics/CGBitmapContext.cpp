#include "platform/CoreGraphics/CGBitmapContext.h"

#include <cstdlib>
#include <cstring>

#include "platform/CoreGraphics/CGContextObject.h"

CGContextRef CGBitmapContextCreate(void* data, std::size_t width, std::size_t height,
                                   std::size_t bitsPerComponent, std::size_t bytesPerRow,
                                   CGColorSpaceRef space, CGBitmapInfo bitmapInfo) {
  if (!space) return nullptr;
  const std::size_t components = CGColorSpaceGetNumberOfComponents(space);
  const auto layout = raster::ContextLayout(bitsPerComponent, components, bitmapInfo);
  if (!layout || width > 0x7FFFFFFF) return nullptr;
  if (bytesPerRow == 0) bytesPerRow = raster::RowNeed(*layout, width);
  if (!raster::SizesFit(*layout, width, height, bytesPerRow)) return nullptr;

  const bool ownsData = data == nullptr;
  if (ownsData) data = std::calloc(height, bytesPerRow);
  if (!data) return nullptr;
  auto* context = new CGContext;
  context->data = static_cast<std::uint8_t*>(data);
  context->ownsData = ownsData;
  context->width = width;
  context->height = height;
  context->bitsPerComponent = bitsPerComponent;
  context->bytesPerRow = bytesPerRow;
  context->space = CGColorSpaceRetain(space);
  context->bitmapInfo = bitmapInfo;
  context->layout = *layout;
  context->state.clipBox = {0, 0, static_cast<int>(width), static_cast<int>(height)};
  return context;
}

void* CGBitmapContextGetData(CGContextRef context) {
  return context ? context->data : nullptr;
}
std::size_t CGBitmapContextGetWidth(CGContextRef context) {
  return context ? context->width : 0;
}
std::size_t CGBitmapContextGetHeight(CGContextRef context) {
  return context ? context->height : 0;
}
std::size_t CGBitmapContextGetBitsPerComponent(CGContextRef context) {
  return context ? context->bitsPerComponent : 0;
}
std::size_t CGBitmapContextGetBitsPerPixel(CGContextRef context) {
  return context ? std::size_t{8} * context->layout.bytesPerPixel : 0;
}
std::size_t CGBitmapContextGetBytesPerRow(CGContextRef context) {
  return context ? context->bytesPerRow : 0;
}
CGColorSpaceRef CGBitmapContextGetColorSpace(CGContextRef context) {
  return context ? context->space : nullptr;
}
CGImageAlphaInfo CGBitmapContextGetAlphaInfo(CGContextRef context) {
  return static_cast<CGImageAlphaInfo>(CGBitmapContextGetBitmapInfo(context) &
                                       kCGBitmapAlphaInfoMask);
}
CGBitmapInfo CGBitmapContextGetBitmapInfo(CGContextRef context) {
  return context ? context->bitmapInfo : 0;
}

CGImageRef CGBitmapContextCreateImage(CGContextRef context) {
  if (!context) return nullptr;
  // The last row may end with its last pixel: a caller's memory need not hold its padding.
  const std::size_t size = (context->height - 1) * context->bytesPerRow +
                           raster::RowNeed(context->layout, context->width);
  void* copy = std::malloc(size);
  if (!copy) return nullptr;
  std::memcpy(copy, context->data, size);
  const CGDataProviderRef provider = CGDataProviderCreateWithData(
      nullptr, copy, size,
      [](void*, const void* data, std::size_t) { std::free(const_cast<void*>(data)); });
  const CGImageRef image = CGImageCreate(context->width, context->height, context->bitsPerComponent,
                                         std::size_t{8} * context->layout.bytesPerPixel,
                                         context->bytesPerRow, context->space, context->bitmapInfo,
                                         provider, nullptr, true, kCGRenderingIntentDefault);
  CGDataProviderRelease(provider);
  return image;
}
