// A grey bitmap context used as a mask: row y from the top is one byte per pixel.
#pragma once

#include "sdk/CoreG/namespace_CoreGraphics_BitmapContext.h"

namespace CoreGraphics {

class MaskContext : public BitmapContext {
 public:
  MaskContext() = default;
  using BitmapContext::Construct;
  /// A grey raster; see BitmapContext::Construct.
  bool Construct(int width, int height) {
    return BitmapContext::Construct(width, height, BitmapType_Device_Grey, 0);
  }
};

}  // namespace CoreGraphics
