// Operations on the pixels of pixel maps, reached through their handles.
#pragma once

#include "platform/QuickDraw/QuickDraw.h"
#include "sdk/QClasses/QRect.h"

// What a pixel map is. The handle must not be null.

/// The format code, or the pixel size where that is 0.
UInt32 QPixMap_GetPixelFormat(PixMap** hPixMap);
/// Bytes from one row to the next, flag bits stripped.
SInt32 QPixMap_GetRowBytes(PixMap** hPixMap);
SInt32 QPixMap_Width(PixMap** hPixMap);
SInt32 QPixMap_Height(PixMap** hPixMap);
/// v = height, h = width.
QPoint QPixMap_Dimensions(PixMap** hPixMap);
/// Height times row bytes.
SInt32 QPixMap_PixelDataSizeBytes(PixMap** hPixMap);
/// Bytes from the first one on that are the map's own: the same, unless the map lies over a part of
/// another one whose end comes earlier. Never negative.
SInt64 QPixMap_KnownBytes(PixMap** hPixMap);
/// First byte of a row, counted from the top; not checked. Null when there are no pixels.
unsigned char* QPixMap_GetStartOfScanLine(PixMap** hPixMap, int row);

/// Every byte of every row, padding included, becomes the low byte of `value`; bytes that are not
/// the map's own are left alone. False, with a log line, for a null handle or row bytes that are
/// not positive.
bool QPixMap_FillPixelARGB32(PixMap** hPixMap, UInt32 value);
/// Every 3-byte pixel becomes the low three bytes of `color`, lowest first.
void QPixMap_FillColor_RGB_24(PixMap** hPixMap, UInt32 color);

/// Bilinear sample of a map of one byte per pixel. Coordinates in pixels, beyond the edges too: the
/// taps are clamped to the map, the weights are not, so that negative coordinates extrapolate. The
/// result is truncated, and not below 0.
UInt16 QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(PixMap** hPixMap, double x, double y);
