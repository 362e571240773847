// Points, rectangles and rectangular regions. Null pointers are accepted and give false or nothing.
// Results that do not fit 16 bits keep their low 16 bits.
#pragma once

#include "platform/QuickDraw/QuickdrawTypes.h"

void SetPt(Point* pt, SInt16 h, SInt16 v);
void AddPt(Point src, Point* dst);
void SubPt(Point src, Point* dst);
Boolean EqualPt(Point pt1, Point pt2);

/// Note the order: left, top, right, bottom.
void SetRect(Rect* r, SInt16 left, SInt16 top, SInt16 right, SInt16 bottom);
void OffsetRect(Rect* r, SInt16 dh, SInt16 dv);
/// Moves the sides inwards; a rectangle that becomes empty is all zero.
void InsetRect(Rect* r, SInt16 dh, SInt16 dv);
/// The common part into `dst`, which may be one of the sources; all zero and false when there is
/// none.
Boolean SectRect(const Rect* src1, const Rect* src2, Rect* dst);
/// The smallest rectangle around both; an empty one counts as a point set of its own corners.
void UnionRect(const Rect* src1, const Rect* src2, Rect* dst);
/// True when bottom <= top or right <= left; true for null.
Boolean EmptyRect(const Rect* r);
Boolean EqualRect(const Rect* rect1, const Rect* rect2);
/// The top and left sides belong to the rectangle, the bottom and right ones do not.
Boolean PtInRect(Point pt, const Rect* r);

/// Regions here are single rectangles. The caller disposes of them. Null when out of memory.
RgnHandle NewRgn();
void DisposeRgn(RgnHandle rgn);
void RectRgn(RgnHandle rgn, const Rect* r);
void SetRectRgn(RgnHandle rgn, SInt16 left, SInt16 top, SInt16 right, SInt16 bottom);
void SetEmptyRgn(RgnHandle rgn);
Boolean EmptyRgn(RgnHandle rgn);
/// The box into `bounds`, all zero for null; returns `bounds`.
Rect* GetRegionBounds(RgnHandle rgn, Rect* bounds);
