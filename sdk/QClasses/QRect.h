// The small geometry types that every raster class shares. All fields are 16-bit and signed; the
// layouts are those of the platform's rectangle and point.
#pragma once

#include "platform/CoreServices/MacTypes.h"

/// Width and height.
class QSize {
 public:
  constexpr QSize() = default;
  constexpr QSize(SInt16 cx, SInt16 cy) : mCX(cx), mCY(cy) {}
  constexpr SInt16 cx() const { return mCX; }
  constexpr SInt16 cy() const { return mCY; }
  constexpr bool operator==(const QSize&) const = default;

 private:
  SInt16 mCX = 0;
  SInt16 mCY = 0;
};

/// A point; as a dimension, `v` is the height and `h` the width.
struct QPoint : Point {
  constexpr QPoint() : Point{0, 0} {}
  /// Wider numbers keep their low 16 bits. Note the order: horizontal first.
  constexpr QPoint(SInt32 horizontal, SInt32 vertical)
      : Point{static_cast<SInt16>(vertical), static_cast<SInt16>(horizontal)} {}
  constexpr QPoint(const Point& p) : Point(p) {}
  constexpr QPoint(const QSize& size) : Point{size.cy(), size.cx()} {}
  constexpr bool operator==(const QPoint& other) const { return v == other.v && h == other.h; }
};

/// A rectangle; bottom and right lie just outside.
struct QRect : Rect {
  constexpr QRect() : Rect{0, 0, 0, 0} {}
  constexpr QRect(SInt16 topSide, SInt16 leftSide, SInt16 bottomSide, SInt16 rightSide)
      : Rect{topSide, leftSide, bottomSide, rightSide} {}
  constexpr QRect(const Rect& r) : Rect(r) {}

  /// v = bottom - top, h = right - left.
  constexpr QPoint Dimensions() const { return QPoint(right - left, bottom - top); }
  constexpr QSize SizePixels() const { return QSize(Dimensions().h, Dimensions().v); }
  /// Compares sums of sides, so that no difference can leave the 16-bit range.
  constexpr bool IsSameSize(const QRect& other) const {
    return right + other.left == other.right + left && bottom + other.top == other.bottom + top;
  }
  constexpr bool operator==(const QRect& other) const {
    return top == other.top && left == other.left && bottom == other.bottom && right == other.right;
  }
};

static_assert(sizeof(QSize) == 4 && sizeof(QPoint) == 4 && sizeof(QRect) == 8);
