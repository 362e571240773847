// Affine transforms of the plane, points as row vectors:
//   x' = a x + c y + tx        y' = b x + d y + ty
#pragma once

#include "platform/CoreGraphics/CGGeometry.h"

struct CGAffineTransform {
  CGFloat a, b, c, d;
  CGFloat tx, ty;
};

inline constexpr CGAffineTransform CGAffineTransformIdentity{1, 0, 0, 1, 0, 0};

constexpr CGAffineTransform CGAffineTransformMake(CGFloat a, CGFloat b, CGFloat c, CGFloat d,
                                                  CGFloat tx, CGFloat ty) {
  return {a, b, c, d, tx, ty};
}
constexpr CGAffineTransform CGAffineTransformMakeTranslation(CGFloat tx, CGFloat ty) {
  return {1, 0, 0, 1, tx, ty};
}
constexpr CGAffineTransform CGAffineTransformMakeScale(CGFloat sx, CGFloat sy) {
  return {sx, 0, 0, sy, 0, 0};
}
/// Counter-clockwise by `angle` radians where y points up.
CGAffineTransform CGAffineTransformMakeRotation(CGFloat angle);

/// The transform that first applies `first`, then `second`.
CGAffineTransform CGAffineTransformConcat(CGAffineTransform first, CGAffineTransform second);
/// The named change first, then `t`: what drawing through `t` after the change sees.
CGAffineTransform CGAffineTransformTranslate(CGAffineTransform t, CGFloat tx, CGFloat ty);
CGAffineTransform CGAffineTransformScale(CGAffineTransform t, CGFloat sx, CGFloat sy);
CGAffineTransform CGAffineTransformRotate(CGAffineTransform t, CGFloat angle);
/// The inverse, or `t` itself when it has none.
CGAffineTransform CGAffineTransformInvert(CGAffineTransform t);
bool CGAffineTransformIsIdentity(CGAffineTransform t);
bool CGAffineTransformEqualToTransform(CGAffineTransform a, CGAffineTransform b);

CGPoint CGPointApplyAffineTransform(CGPoint point, CGAffineTransform t);
CGSize CGSizeApplyAffineTransform(CGSize size, CGAffineTransform t);
/// The smallest rectangle around the transformed corners; null stays null.
CGRect CGRectApplyAffineTransform(CGRect rect, CGAffineTransform t);
