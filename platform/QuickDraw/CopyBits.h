// Copying pixels from one raster to another: scaled, converted and clipped.
#pragma once

#include "platform/QuickDraw/QuickdrawTypes.h"

/// A raster of one bit per pixel, 1 being black. A pixel map begins like one and bears a flag in
/// its row bytes: calls that take a pointer to either look at the flag.
struct BitMap {
  Ptr baseAddr;
  SInt16 rowBytes;
  Rect bounds;
};

/// The port's pixel map for CopyBits. Null for what is no live world. Good as long as the world is.
const BitMap* GetPortBitMapForCopyBits(CGrafPtr port);

/// Copies the part of `srcBits` inside `srcRect` into `dstRect` of `dstBits`, each in its own
/// raster's coordinates. The two may share memory.
///
/// Size: where the rectangles differ, a pixel is taken from the source pixel that its centre falls
/// into. Pixels outside `dstBits`, outside the box of `maskRgn` (null: no limit) or whose source
/// lies outside `srcBits` stay as they are, and so does what lies outside a raster's memory.
///
/// Formats: all that rasters can have. Between equal ones pixels are copied as they are. Components
/// are rounded to the destination's depth; missing alpha is opaque. YCbCr is Rec. 601 in video
/// range (luma less 16 in 'r408'); a pair that shares its chroma takes the mean of its pixels'.
/// Grey is Rec. 601 luma. Indexed formats use their colour table or the standard one of their
/// depth, and the nearest entry. Gamma is not looked at.
///
/// Modes: srcCopy and ditherCopy, which does not dither here. Any other, null rasters and empty
/// rectangles copy nothing.
void CopyBits(const BitMap* srcBits, const BitMap* dstBits, const Rect* srcRect,
              const Rect* dstRect, SInt16 mode, RgnHandle maskRgn);
