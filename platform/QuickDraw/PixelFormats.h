// What the platform knows of each pixel format that a raster can have. Not for users of QuickDraw.
#pragma once

#include "platform/QuickDraw/QuickdrawTypes.h"

struct PixelFormatInfo {
  OSType code;
  SInt16 bitsPerPixel;
  UInt8 unitPixels;  ///< pixels that are stored together
  UInt8 unitBytes;   ///< bytes of them
  bool direct;       ///< RGB components in the pixel itself
  UInt8 white[8];    ///< one unit of opaque white
};

/// Null for a format that no raster can have.
const PixelFormatInfo* FindPixelFormat(OSType code);
