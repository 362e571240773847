#include "platform/CoreGraphics/CGAffineTransform.h"

#include <algorithm>
#include <cmath>

CGAffineTransform CGAffineTransformMakeRotation(CGFloat angle) {
  const CGFloat s = std::sin(angle);
  const CGFloat c = std::cos(angle);
  return {c, s, -s, c, 0, 0};
}

CGAffineTransform CGAffineTransformConcat(CGAffineTransform f, CGAffineTransform s) {
  return {f.a * s.a + f.b * s.c, f.a * s.b + f.b * s.d,          f.c * s.a + f.d * s.c,
          f.c * s.b + f.d * s.d, f.tx * s.a + f.ty * s.c + s.tx, f.tx * s.b + f.ty * s.d + s.ty};
}

CGAffineTransform CGAffineTransformTranslate(CGAffineTransform t, CGFloat tx, CGFloat ty) {
  return CGAffineTransformConcat(CGAffineTransformMakeTranslation(tx, ty), t);
}

CGAffineTransform CGAffineTransformScale(CGAffineTransform t, CGFloat sx, CGFloat sy) {
  return CGAffineTransformConcat(CGAffineTransformMakeScale(sx, sy), t);
}

CGAffineTransform CGAffineTransformRotate(CGAffineTransform t, CGFloat angle) {
  return CGAffineTransformConcat(CGAffineTransformMakeRotation(angle), t);
}

CGAffineTransform CGAffineTransformInvert(CGAffineTransform t) {
  const double det = double{t.a} * t.d - double{t.b} * t.c;
  if (det == 0 || !std::isfinite(det)) return t;
  const auto part = [det](double x) { return static_cast<CGFloat>(x / det); };
  return {part(t.d),
          part(-double{t.b}),
          part(-double{t.c}),
          part(t.a),
          part(double{t.c} * t.ty - double{t.d} * t.tx),
          part(double{t.b} * t.tx - double{t.a} * t.ty)};
}

bool CGAffineTransformIsIdentity(CGAffineTransform t) {
  return CGAffineTransformEqualToTransform(t, CGAffineTransformIdentity);
}

bool CGAffineTransformEqualToTransform(CGAffineTransform x, CGAffineTransform y) {
  return x.a == y.a && x.b == y.b && x.c == y.c && x.d == y.d && x.tx == y.tx && x.ty == y.ty;
}

CGPoint CGPointApplyAffineTransform(CGPoint p, CGAffineTransform t) {
  return {t.a * p.x + t.c * p.y + t.tx, t.b * p.x + t.d * p.y + t.ty};
}

CGSize CGSizeApplyAffineTransform(CGSize s, CGAffineTransform t) {
  return {t.a * s.width + t.c * s.height, t.b * s.width + t.d * s.height};
}

CGRect CGRectApplyAffineTransform(CGRect rect, CGAffineTransform t) {
  if (CGRectIsNull(rect)) return rect;
  const CGFloat xs[2] = {CGRectGetMinX(rect), CGRectGetMaxX(rect)};
  const CGFloat ys[2] = {CGRectGetMinY(rect), CGRectGetMaxY(rect)};
  CGPoint low = CGPointApplyAffineTransform({xs[0], ys[0]}, t);
  CGPoint high = low;
  for (const CGFloat x : xs) {
    for (const CGFloat y : ys) {
      const CGPoint p = CGPointApplyAffineTransform({x, y}, t);
      low = {std::min(low.x, p.x), std::min(low.y, p.y)};
      high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }
  }
  return CGRectMake(low.x, low.y, high.x - low.x, high.y - low.y);
}
