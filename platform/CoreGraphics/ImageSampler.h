// Makes the pixels of a transformed image, a bitmap row at a time, in the working form.
//
// A bitmap pixel's place in the image is where its centre goes back to, moved onto the image where
// the pixel only overlaps it. A filter spans `radius` image pixels to each side of that place, or,
// when it is widened because the image shrinks, as many times more as one bitmap pixel holds image
// pixels; taps outside the image are left out and the rest weighted up. Sums are in float over
// premultiplied values, rounded to nearest at the end, alpha first cut to 0...255, then the colours
// to 0...alpha.
#pragma once

#include <memory>

#include "platform/CoreGraphics/Coverage.h"
#include "platform/CoreGraphics/PixelSource.h"

namespace raster {

enum class Sampling {
  kNearest,   ///< no filter
  kBilinear,  ///< triangle of radius 1, never widened
  kTriangle,  ///< triangle of radius 1, widened when shrinking
  kCubic      ///< Catmull-Rom (the Keys cubic with a = -1/2), radius 2, widened when shrinking
};

/// The filter's value at distance x, and its radius in pixels.
double FilterValue(Sampling sampling, double x);
int FilterRadius(Sampling sampling);

class RowSampler {
 public:
  virtual ~RowSampler() = default;
  /// The pixels of row y of the box; valid until the next call.
  virtual const std::uint8_t* row(int y) = 0;
};

/// `toBitmap` maps image coordinates (pixel (i, j) from the top left is the square from (i, j) to
/// (i + 1, j + 1)) to bitmap coordinates and is invertible; `box` is not empty. An image that lies
/// pixel on pixel, turned or mirrored or not, is never filtered. Null when the transform is too
/// extreme to be inverted in double. Throws std::bad_alloc.
std::unique_ptr<RowSampler> MakeRowSampler(const PixelSource& source, const Matrix& toBitmap,
                                           const PixelBox& box, Sampling sampling);

}  // namespace raster
