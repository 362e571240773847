// Single pixels of every format a raster can have. Not for users of QuickDraw.
#pragma once

#include "platform/QuickDraw/PixelFormats.h"

namespace PixelAccess {

/// 16 bits a component.
struct Rgb {
  UInt16 a, r, g, b;
};

/// 8 bits a component: luma in video range, chroma around 128.
struct Ycc {
  UInt8 a, y, cb, cr;
};

/// What it takes to read and write a raster's pixels.
struct Raster {
  UInt8* base;
  SInt64 size;  ///< bytes from `base` on that may be touched
  SInt64 rowBytes;
  Rect bounds;
  const PixelFormatInfo* format;
  CTabHandle table;  ///< null: the standard one
};

/// Whether the format stores luma and chroma, and whether two pixels share a chroma.
bool IsYcc(const PixelFormatInfo& format);
bool IsPaired(const PixelFormatInfo& format);

/// Whether pixel `x` of row `y`, counted from the first one, can be touched: that of a pair, its
/// luma.
bool Exists(const Raster& raster, SInt32 x, SInt32 y);

// Pixels that exist. Rgb for formats without, Ycc for those with luma and chroma.
Rgb ReadRgb(const Raster& raster, SInt32 x, SInt32 y);
void WriteRgb(const Raster& raster, SInt32 x, SInt32 y, const Rgb& colour);
Ycc ReadYcc(const Raster& raster, SInt32 x, SInt32 y);
/// `chroma` false leaves a pair's chroma alone.
void WriteYcc(const Raster& raster, SInt32 x, SInt32 y, const Ycc& colour, bool chroma);

Rgb RgbOfYcc(const Ycc& colour);
Ycc YccOfRgb(const Rgb& colour);

}  // namespace PixelAccess
