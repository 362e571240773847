// The drawing code's transforms, in double so that a chain of user transforms still meets pixel
// edges; row vectors as in CGAffineTransform.
#pragma once

#include <cmath>

#include "platform/CoreGraphics/CGAffineTransform.h"

namespace raster {

struct Vec2 {
  double x = 0;
  double y = 0;
};

struct Matrix {
  double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;

  static Matrix of(const CGAffineTransform& t) { return {t.a, t.b, t.c, t.d, t.tx, t.ty}; }
  CGAffineTransform transform() const {
    const auto f = [](double x) { return static_cast<CGFloat>(x); };
    return {f(a), f(b), f(c), f(d), f(tx), f(ty)};
  }
  Vec2 apply(double x, double y) const { return {a * x + c * y + tx, b * x + d * y + ty}; }
  double determinant() const { return a * d - b * c; }
  bool invertible() const {
    const double det = determinant();
    return std::isfinite(det) && det != 0;
  }
  Matrix inverse() const {
    const double det = determinant();
    return {d / det, -b / det, -c / det, a / det, (c * ty - d * tx) / det, (b * tx - a * ty) / det};
  }
};

/// First `f`, then `s`.
inline Matrix Concat(const Matrix& f, const Matrix& s) {
  return {f.a * s.a + f.b * s.c, f.a * s.b + f.b * s.d,          f.c * s.a + f.d * s.c,
          f.c * s.b + f.d * s.d, f.tx * s.a + f.ty * s.c + s.tx, f.tx * s.b + f.ty * s.d + s.ty};
}

}  // namespace raster
