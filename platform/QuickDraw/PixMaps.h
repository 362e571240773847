// Pixel maps: their memory, row bytes, formats and gamma. Null handles, and handles to nothing,
// give null, 0 or paramErr.
#pragma once

#include "platform/QuickDraw/QuickdrawTypes.h"

/// A pixel map without pixels; the caller disposes of it. Null when out of memory.
PixMapHandle NewPixMap();
/// Frees the record and its colour table, never the pixels.
void DisposePixMap(PixMapHandle pm);

/// First byte of the top row.
Ptr GetPixBaseAddr(PixMapHandle pm);
/// Keeps the pixels where they are; counted. False without pixels.
Boolean LockPixels(PixMapHandle pm);
void UnlockPixels(PixMapHandle pm);
/// `pixelsLocked` when a lock is not yet undone.
GWorldFlags GetPixelsState(PixMapHandle pm);

/// Bytes from one row to the next, without the flag bits of the stored form, long ones included.
SInt32 QTGetPixMapHandleRowBytes(PixMapHandle pm);
SInt32 QTGetPixMapPtrRowBytes(const PixMap* pm);
/// The same under QuickDraw's older name.
SInt32 GetPixRowBytes(PixMapHandle pm);
/// Stores row bytes of 0 or more, with the pixel-map flag. paramErr for negative ones.
OSErr QTSetPixMapHandleRowBytes(PixMapHandle pm, SInt32 rowBytes);
OSErr QTSetPixMapPtrRowBytes(PixMap* pm, SInt32 rowBytes);

/// The pixel-format code, or the pixel size where that is 0. 0 for null.
OSType GetPixMapPixelFormat(PixMapHandle pm);
/// The bounds into `bounds`, all zero for null; returns `bounds`.
Rect* GetPixBounds(PixMapHandle pm, Rect* bounds);
SInt16 GetPixDepth(PixMapHandle pm);

/// Bits per pixel of a format (16 for the 4:2:2 formats); 0 for one that no raster can have.
SInt16 QTGetPixelSize(OSType pixelFormat);
/// Bytes that `width` pixels of the format take: whole bytes, and whole pairs of pixels in the
/// 4:2:2 formats. 0 for an unknown format or a negative width.
SInt64 QTGetPixelFormatRowSize(OSType pixelFormat, SInt32 width);

/// Gamma as 16.16 fixed point; 0 means the platform's default, -1 that of the source.
inline constexpr Fixed kQTUsePlatformDefaultGammaLevel = 0;
inline constexpr Fixed kQTUseSourceGammaLevel = -1;
inline constexpr Fixed kQTCCIR601VideoGammaLevel = 0x00023333;  ///< 2.2
Fixed QTGetPixMapHandleGammaLevel(PixMapHandle pm);
OSErr QTSetPixMapHandleGammaLevel(PixMapHandle pm, Fixed gammaLevel);
Fixed QTGetPixMapHandleRequestedGammaLevel(PixMapHandle pm);
OSErr QTSetPixMapHandleRequestedGammaLevel(PixMapHandle pm, Fixed requestedGammaLevel);
