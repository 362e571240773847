// What a graphics context holds. For the drawing code; programs use the calls.
#pragma once

#include <array>
#include <vector>

#include "platform/CoreFoundation/CFRuntime.h"
#include "platform/CoreGraphics/CGBitmapContext.h"
#include "platform/CoreGraphics/Coverage.h"
#include "platform/CoreGraphics/PixelLayout.h"

struct GraphicsState {
  raster::Matrix ctm;
  raster::PixelBox clipBox;                ///< never beyond the bitmap
  std::vector<raster::Quad> clips;         ///< those that cut through pixels
  std::array<double, 4> fill{0, 0, 0, 1};  ///< red, green, blue, alpha; straight
  std::array<double, 4> stroke{0, 0, 0, 1};
  double alpha = 1;
  CGBlendMode mode = kCGBlendModeNormal;
  CGInterpolationQuality quality = kCGInterpolationDefault;
  double lineWidth = 1;
};

struct CGContext final : CFRuntimeObject {
  CGContext() : CFRuntimeObject(CGContextGetTypeID()) {}
  ~CGContext() override;

  /// User space to bitmap coordinates (y down).
  raster::Matrix toBitmap() const;
  std::uint8_t* pixel(int x, int y) const;
  unsigned opacity() const;

  std::uint8_t* data = nullptr;
  bool ownsData = false;
  std::size_t width = 0;
  std::size_t height = 0;
  std::size_t bitsPerComponent = 0;
  std::size_t bytesPerRow = 0;
  CGColorSpaceRef space = nullptr;
  CGBitmapInfo bitmapInfo = 0;
  raster::PixelLayout layout;
  GraphicsState state;
  std::vector<GraphicsState> saved;
};
