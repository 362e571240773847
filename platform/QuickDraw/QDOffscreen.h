// Offscreen worlds: graphics ports over a pixel map of their own.
//
// A world made by QTNewGWorld owns its pixels: 64-byte aligned, zero at first, rows a multiple of
// 16 bytes, kMacMemorySlack bytes behind the last one. A world made by QTNewGWorldFromPtr lies over
// memory of the caller's, which it never frees and which must outlive it. Calls accept null and
// disposed worlds.
#pragma once

#include "platform/QuickDraw/PixMaps.h"
#include "platform/QuickDraw/QuickdrawTypes.h"

/// A new world of `bounds` in `pixelFormat` (0: 32-bit ARGB). `cTable` may be null; it is copied.
/// `gdh` and `flags` have no meaning here. paramErr: null arguments or empty bounds; cDepthErr: a
/// format no raster can have; memFullErr: no memory, or 2^31 bytes and more. On error `*world` is
/// null. The caller disposes of the world.
OSErr QTNewGWorld(GWorldPtr* world, OSType pixelFormat, const Rect* bounds, CTabHandle cTable,
                  GDHandle gdh, GWorldFlags flags);
/// The same over `buffer`, rows `rowBytes` apart. paramErr also for a null buffer and for row bytes
/// that a row of the bounds does not fit into.
OSErr QTNewGWorldFromPtr(GWorldPtr* world, OSType pixelFormat, const Rect* bounds,
                         CTabHandle cTable, GDHandle gdh, GWorldFlags flags, void* buffer,
                         SInt32 rowBytes);
/// QuickDraw's own form; `depth` is a pixel size.
OSErr NewGWorld(GWorldPtr* world, SInt16 depth, const Rect* bounds, CTabHandle cTable, GDHandle gdh,
                GWorldFlags flags);
/// Ends the world, its pixel map and the pixels it owns. A world that is some thread's current port
/// ceases to be so.
void DisposeGWorld(GWorldPtr world);

/// The world's pixel map, which stays the world's. Null for what is no live world.
PixMapHandle GetGWorldPixMap(GWorldPtr world);
PixMapHandle GetPortPixMap(CGrafPtr port);
/// The bounds into `bounds`, all zero for what is no live world; returns `bounds`.
Rect* GetPortBounds(CGrafPtr port, Rect* bounds);

/// The calling thread's current port: what drawing without a stated port goes into. Null at first.
void SetGWorld(CGrafPtr port, GDHandle gdh);
void GetGWorld(CGrafPtr* port, GDHandle* gdh);

/// Fills the part of the current port inside `r` with the background colour, opaque white: all bits
/// set in grey and RGB formats, entry 0 in indexed ones, Y 235 (219 in 'r408') without colour in
/// the YCbCr formats. A pair that shares its chroma loses it when either pixel is erased.
void EraseRect(const Rect* r);

/// Live worlds and the pixel bytes they own, for tests and diagnostics.
struct GWorldCounters {
  SInt64 worlds;
  SInt64 ownedPixelBytes;
};
GWorldCounters GWorldGetCounters();
