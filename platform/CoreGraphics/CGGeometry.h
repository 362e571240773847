// Points, sizes and rectangles. A rectangle may have a negative width or height; every call below
// but the plain constructors reads such a rectangle as the standardized one that covers the same
// area. Null and infinite rectangles are special values: the empty intersection, and no limit.
#pragma once

#include <cfloat>
#include <limits>

#include "platform/CoreGraphics/CGBase.h"

struct CGPoint {
  CGFloat x;
  CGFloat y;
};

struct CGSize {
  CGFloat width;
  CGFloat height;
};

struct CGRect {
  CGPoint origin;
  CGSize size;
};

enum CGRectEdge : std::uint32_t { CGRectMinXEdge, CGRectMinYEdge, CGRectMaxXEdge, CGRectMaxYEdge };

inline constexpr CGPoint CGPointZero{0, 0};
inline constexpr CGSize CGSizeZero{0, 0};
inline constexpr CGRect CGRectZero{{0, 0}, {0, 0}};
/// The result of intersecting rectangles that do not meet; not the same as an empty rectangle.
inline constexpr CGRect CGRectNull{
    {std::numeric_limits<CGFloat>::infinity(), std::numeric_limits<CGFloat>::infinity()}, {0, 0}};
inline constexpr CGRect CGRectInfinite{{-FLT_MAX / 2, -FLT_MAX / 2}, {FLT_MAX, FLT_MAX}};

constexpr CGPoint CGPointMake(CGFloat x, CGFloat y) {
  return {x, y};
}
constexpr CGSize CGSizeMake(CGFloat width, CGFloat height) {
  return {width, height};
}
constexpr CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  return {{x, y}, {width, height}};
}

bool CGPointEqualToPoint(CGPoint a, CGPoint b);
bool CGSizeEqualToSize(CGSize a, CGSize b);
/// True when both cover the same area, whatever the signs of their sizes; null equals only null.
bool CGRectEqualToRect(CGRect a, CGRect b);

/// Least, middle and greatest coordinates, and the absolute width and height.
CGFloat CGRectGetMinX(CGRect rect);
CGFloat CGRectGetMidX(CGRect rect);
CGFloat CGRectGetMaxX(CGRect rect);
CGFloat CGRectGetMinY(CGRect rect);
CGFloat CGRectGetMidY(CGRect rect);
CGFloat CGRectGetMaxY(CGRect rect);
CGFloat CGRectGetWidth(CGRect rect);
CGFloat CGRectGetHeight(CGRect rect);

bool CGRectIsNull(CGRect rect);
/// Null, or of width or height 0.
bool CGRectIsEmpty(CGRect rect);
bool CGRectIsInfinite(CGRect rect);

/// The same area with a width and height of at least 0; null stays null.
CGRect CGRectStandardize(CGRect rect);
/// Moves each edge inwards by dx and dy (outwards when negative); null when nothing is left.
CGRect CGRectInset(CGRect rect, CGFloat dx, CGFloat dy);
CGRect CGRectOffset(CGRect rect, CGFloat dx, CGFloat dy);
/// The smallest rectangle with whole-number edges that contains `rect`.
CGRect CGRectIntegral(CGRect rect);
/// The smallest rectangle that contains both; a null one counts as nothing.
CGRect CGRectUnion(CGRect a, CGRect b);
/// The common area (empty, not null, where they only touch), or CGRectNull when they do not meet
/// or a coordinate is no number.
CGRect CGRectIntersection(CGRect a, CGRect b);
bool CGRectIntersectsRect(CGRect a, CGRect b);
/// The least edges belong to a rectangle, the greatest do not.
bool CGRectContainsPoint(CGRect rect, CGPoint point);
bool CGRectContainsRect(CGRect outer, CGRect inner);
/// Cuts `rect` at `amount` from `edge` (limited to the rectangle) into a slice at that edge and the
/// remainder.
void CGRectDivide(CGRect rect, CGRect* slice, CGRect* remainder, CGFloat amount, CGRectEdge edge);
