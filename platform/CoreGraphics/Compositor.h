// Puts rows of working-form pixels into a bitmap by a blend mode.
#pragma once

#include <vector>

#include "platform/CoreGraphics/CGContext.h"
#include "platform/CoreGraphics/PixelLayout.h"

namespace raster {

/// True for the enumerators of CGBlendMode.
bool IsBlendMode(CGBlendMode mode);

class Compositor {
 public:
  Compositor(const PixelLayout& layout, CGBlendMode mode) : layout_(layout), mode_(mode) {}

  /// Blends `count` premultiplied pixels at `source` into the bitmap's pixels at `to`. `mask`:
  /// null, or the part of each pixel that is painted, of 255.
  void blend(std::uint8_t* to, const std::uint8_t* source, const std::uint8_t* mask,
             std::size_t count);

 private:
  void blendWorking(std::uint8_t* to, const std::uint8_t* source, const std::uint8_t* mask,
                    std::size_t count) const;

  const PixelLayout layout_;
  const CGBlendMode mode_;
  std::vector<std::uint8_t> row_;
};

}  // namespace raster
