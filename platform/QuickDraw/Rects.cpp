#include "platform/QuickDraw/Rects.h"

#include <algorithm>

#include "platform/CoreServices/MacMemory.h"

namespace {

SInt16 Low16(SInt32 value) {
  return static_cast<SInt16>(value);
}

constexpr Rect kNoRect{0, 0, 0, 0};

}  // namespace

void SetPt(Point* pt, SInt16 h, SInt16 v) {
  if (pt != nullptr) *pt = {v, h};
}

void AddPt(Point src, Point* dst) {
  if (dst != nullptr) *dst = {Low16(dst->v + src.v), Low16(dst->h + src.h)};
}

void SubPt(Point src, Point* dst) {
  if (dst != nullptr) *dst = {Low16(dst->v - src.v), Low16(dst->h - src.h)};
}

Boolean EqualPt(Point pt1, Point pt2) {
  return pt1.v == pt2.v && pt1.h == pt2.h;
}

void SetRect(Rect* r, SInt16 left, SInt16 top, SInt16 right, SInt16 bottom) {
  if (r != nullptr) *r = {top, left, bottom, right};
}

void OffsetRect(Rect* r, SInt16 dh, SInt16 dv) {
  if (r == nullptr) return;
  *r = {Low16(r->top + dv), Low16(r->left + dh), Low16(r->bottom + dv), Low16(r->right + dh)};
}

void InsetRect(Rect* r, SInt16 dh, SInt16 dv) {
  if (r == nullptr) return;
  const SInt32 top = r->top + dv;
  const SInt32 left = r->left + dh;
  const SInt32 bottom = r->bottom - dv;
  const SInt32 right = r->right - dh;
  const bool empty = bottom <= top || right <= left;
  *r = empty ? kNoRect : Rect{Low16(top), Low16(left), Low16(bottom), Low16(right)};
}

Boolean SectRect(const Rect* src1, const Rect* src2, Rect* dst) {
  Rect common = kNoRect;
  if (src1 != nullptr && src2 != nullptr) {
    common = {std::max(src1->top, src2->top), std::max(src1->left, src2->left),
              std::min(src1->bottom, src2->bottom), std::min(src1->right, src2->right)};
    if (EmptyRect(&common)) common = kNoRect;
  }
  if (dst != nullptr) *dst = common;
  return !EmptyRect(&common);
}

void UnionRect(const Rect* src1, const Rect* src2, Rect* dst) {
  if (src1 == nullptr || src2 == nullptr || dst == nullptr) return;
  *dst = {std::min(src1->top, src2->top), std::min(src1->left, src2->left),
          std::max(src1->bottom, src2->bottom), std::max(src1->right, src2->right)};
}

Boolean EmptyRect(const Rect* r) {
  return r == nullptr || r->bottom <= r->top || r->right <= r->left;
}

Boolean EqualRect(const Rect* rect1, const Rect* rect2) {
  if (rect1 == nullptr || rect2 == nullptr) return false;
  return rect1->top == rect2->top && rect1->left == rect2->left && rect1->bottom == rect2->bottom &&
         rect1->right == rect2->right;
}

Boolean PtInRect(Point pt, const Rect* r) {
  return r != nullptr && pt.v >= r->top && pt.v < r->bottom && pt.h >= r->left && pt.h < r->right;
}

RgnHandle NewRgn() {
  const auto rgn = reinterpret_cast<RgnHandle>(NewHandleClear(sizeof(Region)));
  if (rgn != nullptr) (*rgn)->rgnSize = sizeof(Region);
  return rgn;
}

void DisposeRgn(RgnHandle rgn) {
  DisposeHandle(reinterpret_cast<Handle>(rgn));
}

void RectRgn(RgnHandle rgn, const Rect* r) {
  if (rgn == nullptr || *rgn == nullptr) return;
  (*rgn)->rgnBBox = EmptyRect(r) ? kNoRect : *r;
}

void SetRectRgn(RgnHandle rgn, SInt16 left, SInt16 top, SInt16 right, SInt16 bottom) {
  const Rect r{top, left, bottom, right};
  RectRgn(rgn, &r);
}

void SetEmptyRgn(RgnHandle rgn) {
  RectRgn(rgn, nullptr);
}

Boolean EmptyRgn(RgnHandle rgn) {
  return rgn == nullptr || *rgn == nullptr || EmptyRect(&(*rgn)->rgnBBox);
}

Rect* GetRegionBounds(RgnHandle rgn, Rect* bounds) {
  if (bounds != nullptr) {
    *bounds = rgn == nullptr || *rgn == nullptr ? kNoRect : (*rgn)->rgnBBox;
  }
  return bounds;
}
