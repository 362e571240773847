// How much of each pixel a shape covers: exact areas of parallelograms, a row at a time, in bitmap
// coordinates (x right, y down, pixel (i, j) is the square from (i, j) to (i + 1, j + 1)).
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "platform/CoreGraphics/Matrix.h"

namespace raster {

/// Half-open; empty when left >= right or top >= bottom.
struct PixelBox {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;

  bool empty() const { return left >= right || top >= bottom; }
  int width() const { return right - left; }
};
PixelBox Intersect(const PixelBox& a, const PixelBox& b);

/// A transformed rectangle: corners in order round it.
struct Quad {
  std::array<Vec2, 4> corner;

  /// The corners of `rect` (standardized, finite) under `m`.
  static Quad of(const CGRect& rect, const Matrix& m);
  bool finite() const;
  /// Every edge runs along pixel edges, up to a distance no 8-bit coverage can show.
  bool onPixelEdges() const;
  /// The pixels it touches, cut to `limit`.
  PixelBox touched(const PixelBox& limit) const;
  /// Adds the part of each pixel of row y, columns x to x + n, that the quad covers, 0...1, as
  /// differences: `sums` has n + 1 elements, and element i of the result is the sum of sums[0...i]
  /// (negative for one of the two orientations).
  void accumulate(int y, int x, int n, double* sums) const;
};

/// A shape to paint within a clip: an area, perhaps with a hole, and the quads it is cut with.
struct Shape {
  Quad area;
  const Quad* hole = nullptr;  ///< lies inside the area, same orientation
  const std::vector<Quad>* clips = nullptr;
};

/// Makes mask rows of a shape. Rows of whole coverage need no mask.
class CoverageRows {
 public:
  /// `box`: the pixels asked for. `opacity` 0...255 multiplies every coverage.
  CoverageRows(const Shape& shape, const PixelBox& box, unsigned opacity);
  /// The coverage bytes of row y of the box, or null when all are 255.
  const std::uint8_t* row(int y);

 private:
  void multiplyBy(const Quad& quad, const Quad* hole, int y);

  const Shape shape_;
  const PixelBox box_;
  const unsigned opacity_;
  const bool wholeArea_;
  std::vector<double> sums_;
  std::vector<double> holeSums_;
  std::vector<std::uint8_t> mask_;
};

}  // namespace raster
