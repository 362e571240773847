// QuickDraw's records: pixel maps, colour tables, graphics ports, and the codes of pixel formats.
#pragma once

#include "platform/CoreServices/MacTypes.h"

/// Pixel-format codes: up to 40 the depth in bits (33 and more are grey), above four characters.
/// Names give the order of the bytes in memory.
enum : OSType {
  k1MonochromePixelFormat = 0x00000001,
  k2IndexedPixelFormat = 0x00000002,
  k4IndexedPixelFormat = 0x00000004,
  k8IndexedPixelFormat = 0x00000008,
  k16BE555PixelFormat = 0x00000010,  ///< big-endian 1-5-5-5
  k24RGBPixelFormat = 0x00000018,    ///< R, G, B
  k32ARGBPixelFormat = 0x00000020,   ///< A, R, G, B
  k1IndexedGrayPixelFormat = 0x00000021,
  k2IndexedGrayPixelFormat = 0x00000022,
  k4IndexedGrayPixelFormat = 0x00000024,
  k8IndexedGrayPixelFormat = 0x00000028,  ///< one byte of grey
  k16LE555PixelFormat = 'L555',
  k16LE5551PixelFormat = '5551',
  k16BE565PixelFormat = 'B565',
  k16LE565PixelFormat = 'L565',
  k24BGRPixelFormat = '24BG',
  k32BGRAPixelFormat = 'BGRA',
  k32ABGRPixelFormat = 'ABGR',
  k32RGBAPixelFormat = 'RGBA',
  k2vuyPixelFormat = '2vuy',     ///< 4:2:2, Cb Y0 Cr Y1
  kYUVSPixelFormat = 'yuvs',     ///< 4:2:2, Y0 Cb Y1 Cr
  kYUVUPixelFormat = 'yuvu',     ///< the same, signed chroma
  kYVYU422PixelFormat = 'YVYU',  ///< 4:2:2, Y0 Cr Y1 Cb
  kUYVY422PixelFormat = 'UYVY',  ///< another name of '2vuy'
  kr408PixelFormat = 'r408',     ///< 4:4:4:4, A Y Cb Cr
  kv408PixelFormat = 'v408',     ///< 4:4:4:4, Cb Y Cr A
  k4444YpCbCrA8PixelFormat = 'v408',
  k4444YpCbCrA8RPixelFormat = 'r408',
  k48RGBPixelFormat = 'b48r',   ///< big-endian 16-bit R, G, B
  k64ARGBPixelFormat = 'b64a',  ///< big-endian 16-bit A, R, G, B
  k32CMYKPixelFormat = 'cmyk',
};

/// Bits of a pixel map's stored row bytes: the top two are flags, the rest the value.
inline constexpr UInt16 kPixMapRowBytesFlag = 0x8000;  ///< a pixel map, not a bitmap
inline constexpr UInt16 kPixMapRowBytesMask = 0x3FFF;
/// A stored value with all its bits set is too large for them: `longRowBytes` holds it.
inline constexpr UInt16 kPixMapRowBytesIsLong = 0x3FFF;

struct ColorTable {
  SInt32 ctSeed;
  SInt16 ctFlags;
  SInt16 ctSize;  ///< number of entries less one
};
using CTabHandle = ColorTable**;

/// A raster. Any record of this type will do for the calls that take a handle, also one on the
/// stack behind a pointer of one's own; zeroed fields are the defaults.
struct PixMap {
  Ptr baseAddr;     ///< first byte of the top row
  SInt16 rowBytes;  ///< stored form, with flag bits: read it with QTGetPixMapHandleRowBytes
  Rect bounds;
  SInt16 pmVersion;
  SInt16 packType;
  SInt32 packSize;
  Fixed hRes;  ///< pixels per inch, 16.16
  Fixed vRes;
  SInt16 pixelType;  ///< 0 indexed or other, 16 direct RGB
  SInt16 pixelSize;  ///< bits per pixel
  SInt16 cmpCount;
  SInt16 cmpSize;
  OSType pixelFormat;  ///< 0: the pixel size is the format
  CTabHandle pmTable;  ///< null for direct formats
  // What the 32-bit record keeps in a block of its own:
  SInt32 longRowBytes;        ///< counts when the stored row bytes say so
  Fixed gammaLevel;           ///< gamma of the pixels; 0: the platform's default
  Fixed requestedGammaLevel;  ///< gamma wanted of what is drawn into it; 0: the platform's default
  UInt32 lockCount;           ///< LockPixels not yet undone
  SInt32 knownBytes;  ///< bytes from baseAddr on that are the map's own; 0: rows x row bytes
};
using PixMapPtr = PixMap*;
using PixMapHandle = PixMap**;

/// A graphics port; offscreen worlds are ports.
using CGrafPtr = struct OpaqueGrafPtr*;
using GWorldPtr = CGrafPtr;
/// Graphics devices: there are none, the type is for the interface's sake.
using GDHandle = struct GDevice**;

using GWorldFlags = UInt32;
inline constexpr GWorldFlags pixelsLocked = 1u << 7;

struct Region {
  SInt16 rgnSize;  ///< 10: just the box
  Rect rgnBBox;
};
using RgnHandle = Region**;

/// Transfer modes.
enum : SInt16 { srcCopy = 0, ditherCopy = 64 };

inline constexpr OSErr cDepthErr = -157;  ///< no such pixel format
