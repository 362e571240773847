// What the graphics objects hold. For the drawing code; programs use the calls.
#pragma once

#include <array>
#include <optional>

#include "platform/CoreFoundation/CFRuntime.h"
#include "platform/CoreGraphics/CGImage.h"
#include "platform/CoreGraphics/PixelLayout.h"
#include "platform/CoreGraphics/PixelSource.h"

struct CGColorSpace final : CFRuntimeObject {
  explicit CGColorSpace(CGColorSpaceModel spaceModel)
      : CFRuntimeObject(CGColorSpaceGetTypeID()), model(spaceModel) {}
  // Spaces are never destroyed, however often they are given back.
  void finalize() noexcept override {}
  bool isEqualTo(const CFRuntimeObject& other) const override {
    return model == static_cast<const CGColorSpace&>(other).model;
  }
  CFHashCode hashValue() const override { return static_cast<CFHashCode>(model); }

  const CGColorSpaceModel model;
};

struct CGDataProvider : CFRuntimeObject {
  CGDataProvider() : CFRuntimeObject(CGDataProviderGetTypeID()) {}
  /// The memory as it is now.
  virtual raster::Bytes bytes() const = 0;
};

struct CGImage final : CFRuntimeObject {
  CGImage() : CFRuntimeObject(CGImageGetTypeID()) {}
  ~CGImage() override;

  /// The pixels, over the provider's memory of this moment.
  raster::PixelSource source() const;

  std::size_t width = 0;
  std::size_t height = 0;
  std::size_t bitsPerComponent = 0;
  std::size_t bitsPerPixel = 0;
  std::size_t bytesPerRow = 0;
  std::size_t firstByte = 0;  ///< of the top left pixel in the provider, for parts of images
  CGColorSpaceRef space = nullptr;
  CGBitmapInfo bitmapInfo = 0;
  CGDataProviderRef provider = nullptr;
  std::optional<std::array<CGFloat, 6>> decode;
  bool shouldInterpolate = false;
  CGColorRenderingIntent intent = kCGRenderingIntentDefault;
  raster::PixelLayout layout;
};
