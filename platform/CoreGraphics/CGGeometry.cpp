#include "platform/CoreGraphics/CGGeometry.h"

#include <algorithm>
#include <cmath>

namespace {

bool SamePoint(CGPoint a, CGPoint b) {
  return a.x == b.x && a.y == b.y;
}
bool SameSize(CGSize a, CGSize b) {
  return a.width == b.width && a.height == b.height;
}

bool HasNaN(const CGRect& r) {
  return std::isnan(r.origin.x) || std::isnan(r.origin.y) || std::isnan(r.size.width) ||
         std::isnan(r.size.height);
}

CGRect FromEdges(CGFloat minX, CGFloat minY, CGFloat maxX, CGFloat maxY) {
  return CGRectMake(minX, minY, maxX - minX, maxY - minY);
}

}  // namespace

bool CGPointEqualToPoint(CGPoint a, CGPoint b) {
  return SamePoint(a, b);
}
bool CGSizeEqualToSize(CGSize a, CGSize b) {
  return SameSize(a, b);
}

bool CGRectEqualToRect(CGRect a, CGRect b) {
  if (CGRectIsNull(a) || CGRectIsNull(b)) return CGRectIsNull(a) && CGRectIsNull(b);
  a = CGRectStandardize(a);
  b = CGRectStandardize(b);
  return SamePoint(a.origin, b.origin) && SameSize(a.size, b.size);
}

CGFloat CGRectGetMinX(CGRect rect) {
  return std::min(rect.origin.x, rect.origin.x + rect.size.width);
}
CGFloat CGRectGetMaxX(CGRect rect) {
  return std::max(rect.origin.x, rect.origin.x + rect.size.width);
}
CGFloat CGRectGetMidX(CGRect rect) {
  return rect.origin.x + rect.size.width * 0.5F;
}
CGFloat CGRectGetMinY(CGRect rect) {
  return std::min(rect.origin.y, rect.origin.y + rect.size.height);
}
CGFloat CGRectGetMaxY(CGRect rect) {
  return std::max(rect.origin.y, rect.origin.y + rect.size.height);
}
CGFloat CGRectGetMidY(CGRect rect) {
  return rect.origin.y + rect.size.height * 0.5F;
}
CGFloat CGRectGetWidth(CGRect rect) {
  return std::fabs(rect.size.width);
}
CGFloat CGRectGetHeight(CGRect rect) {
  return std::fabs(rect.size.height);
}

bool CGRectIsNull(CGRect rect) {
  return std::isinf(rect.origin.x) || std::isinf(rect.origin.y);
}

bool CGRectIsEmpty(CGRect rect) {
  return CGRectIsNull(rect) || rect.size.width == 0 || rect.size.height == 0;
}

bool CGRectIsInfinite(CGRect rect) {
  return SamePoint(rect.origin, CGRectInfinite.origin) && SameSize(rect.size, CGRectInfinite.size);
}

CGRect CGRectStandardize(CGRect rect) {
  if (CGRectIsNull(rect)) return CGRectNull;
  return CGRectMake(CGRectGetMinX(rect), CGRectGetMinY(rect), CGRectGetWidth(rect),
                    CGRectGetHeight(rect));
}

CGRect CGRectInset(CGRect rect, CGFloat dx, CGFloat dy) {
  if (CGRectIsNull(rect)) return rect;
  rect = CGRectStandardize(rect);
  rect.origin.x += dx;
  rect.origin.y += dy;
  rect.size.width -= 2 * dx;
  rect.size.height -= 2 * dy;
  return rect.size.width < 0 || rect.size.height < 0 ? CGRectNull : rect;
}

CGRect CGRectOffset(CGRect rect, CGFloat dx, CGFloat dy) {
  if (CGRectIsNull(rect)) return rect;
  rect = CGRectStandardize(rect);
  rect.origin.x += dx;
  rect.origin.y += dy;
  return rect;
}

CGRect CGRectIntegral(CGRect rect) {
  if (CGRectIsNull(rect)) return rect;
  rect = CGRectStandardize(rect);
  return FromEdges(std::floor(rect.origin.x), std::floor(rect.origin.y),
                   std::ceil(CGRectGetMaxX(rect)), std::ceil(CGRectGetMaxY(rect)));
}

CGRect CGRectUnion(CGRect a, CGRect b) {
  if (CGRectIsNull(a)) return CGRectStandardize(b);
  if (CGRectIsNull(b)) return CGRectStandardize(a);
  return FromEdges(
      std::min(CGRectGetMinX(a), CGRectGetMinX(b)), std::min(CGRectGetMinY(a), CGRectGetMinY(b)),
      std::max(CGRectGetMaxX(a), CGRectGetMaxX(b)), std::max(CGRectGetMaxY(a), CGRectGetMaxY(b)));
}

CGRect CGRectIntersection(CGRect a, CGRect b) {
  if (CGRectIsNull(a) || CGRectIsNull(b)) return CGRectNull;
  const CGFloat minX = std::max(CGRectGetMinX(a), CGRectGetMinX(b));
  const CGFloat minY = std::max(CGRectGetMinY(a), CGRectGetMinY(b));
  const CGFloat maxX = std::min(CGRectGetMaxX(a), CGRectGetMaxX(b));
  const CGFloat maxY = std::min(CGRectGetMaxY(a), CGRectGetMaxY(b));
  if (HasNaN(a) || HasNaN(b) || minX > maxX || minY > maxY) return CGRectNull;
  return FromEdges(minX, minY, maxX, maxY);
}

bool CGRectIntersectsRect(CGRect a, CGRect b) {
  return !CGRectIsNull(CGRectIntersection(a, b));
}

bool CGRectContainsPoint(CGRect rect, CGPoint point) {
  if (CGRectIsEmpty(rect)) return false;
  return point.x >= CGRectGetMinX(rect) && point.x < CGRectGetMaxX(rect) &&
         point.y >= CGRectGetMinY(rect) && point.y < CGRectGetMaxY(rect);
}

bool CGRectContainsRect(CGRect outer, CGRect inner) {
  return CGRectEqualToRect(CGRectUnion(outer, inner), outer);
}

void CGRectDivide(CGRect rect, CGRect* slice, CGRect* remainder, CGFloat amount, CGRectEdge edge) {
  rect = CGRectStandardize(rect);
  CGRect first = rect;
  CGRect rest = rect;
  if (!CGRectIsNull(rect)) {
    const bool horizontal = edge == CGRectMinXEdge || edge == CGRectMaxXEdge;
    const CGFloat whole = horizontal ? rect.size.width : rect.size.height;
    amount = std::clamp(amount, CGFloat{0}, whole);
    const bool atLeast = edge == CGRectMinXEdge || edge == CGRectMinYEdge;
    CGRect& low = atLeast ? first : rest;
    CGRect& high = atLeast ? rest : first;
    const CGFloat lowSize = atLeast ? amount : whole - amount;
    if (horizontal) {
      low.size.width = lowSize;
      high.origin.x += lowSize;
      high.size.width = whole - lowSize;
    } else {
      low.size.height = lowSize;
      high.origin.y += lowSize;
      high.size.height = whole - lowSize;
    }
  }
  if (slice) *slice = first;
  if (remainder) *remainder = rest;
}
