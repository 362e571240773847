// Operations on the pixels of pixel maps, reached through their handles: fills, copies, colour
// changes, blends, samples, resizing and overlays.
//
// Pixels are 8 bits a component. Where nothing else is said they have 32 bits in the order A, R, G,
// B, and nothing checks that they do: an operation takes a pixel map's bounds and row bytes for
// what they are. No operation reads or writes outside the pixel map's memory (QPixMap_KnownBytes):
// what a rule would do beyond its end is left out. Null handles, and pixel maps without pixels, do
// nothing and give 0 where no other result is stated. No pixel memory is allocated.
#pragma once

#include "platform/CoreGraphics/CGContext.h"
#include "platform/QuickDraw/QuickDraw.h"
#include "sdk/QClasses/QRect.h"

// ---- What a pixel map is

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
/// Bytes that `width` pixels take, not rounded up: '2vuy' 2 each, 'b48r' 6, 'b64a' 8, 'cmyk' 1
/// (callers of that format count in components), any other 4.
SInt32 QPixMap_RowBytesFromFormatWidth(UInt32 format, SInt32 width);

/// A pixel map's numbers, read once. The pixels stay where they are.
struct QPixMapInfo {
  SInt32 width;
  SInt32 height;
  SInt32 pixelSize;  ///< bits
  unsigned char* baseAddr;
  SInt32 rowBytes;

  /// Throws CoreException "Nil exception pointer" for a null handle.
  explicit QPixMapInfo(PixMap** hPixMap);
};

/// The same of a pixel map of 32-bit pixels.
struct QPixMapSurface32 {
  SInt32 width;
  SInt32 height;
  SInt32 rowBytes;
  unsigned char* baseAddr;

  /// Throws CoreException "Nil exception pointer" for a null handle and for any other pixel size.
  explicit QPixMapSurface32(PixMap** hPixMap);
};

// ---- Copying in

/// Moves as many bytes as the destination has, rows' padding included; the two may overlap. Logs
/// when a handle is null.
void QPixMap_MemCopyPixels(PixMap** hDest, PixMap** hPixMap);
/// Rows of 3 bytes a pixel, not padded; each pixel becomes 0 and its three bytes. Takes the row
/// bytes from the stored 14 bits, so that rows of 16383 bytes and more are not for it.
void QPixMap_Copy32x24(PixMap** hPixMap, const unsigned char* rgb);
/// Height times row bytes in one move: the source's rows lie as the map's own.
void QPixMap_Copy32x32(PixMap** hPixMap, const unsigned char* bytes);
/// 4:2:2 to 'r408': A 255, Y less 16 (at least 0), Cb, Cr. Pixels go in pairs: an odd width writes
/// one pixel more in each row. paramErr, with a log line, when the dimensions differ or the source
/// is not '2vuy'; noErr, with a log line and nothing done, when the destination is not 'r408'.
OSErr QPixMap_Copy_2vuy_to_r408(PixMap** hDestPixMap, PixMap** hPixMap);

// ---- Filling

/// Every pixel becomes the value, stored as a word of the machine.
void QPixMap_FillColor32(PixMap** hPixMap, UInt32 color);
/// Every 3-byte pixel becomes the low three bytes of `color`, lowest first.
void QPixMap_FillColor_RGB_24(PixMap** hPixMap, UInt32 color);
/// Every byte of every row, padding included, becomes the low byte of `value`. False, with a log
/// line, for a null handle or row bytes that are not positive.
bool QPixMap_FillPixelARGB32(PixMap** hPixMap, UInt32 value);
/// Stores the value, as a word of the machine, v rows and h pixels from the first one. The point is
/// first limited to the bounds, their bottom and right sides included.
void QPixMap_SafeSetPixel32(PixMap** hPixMap, const QPoint& where, UInt32 value);

// ---- Changing colours; alpha stays

/// A table of output levels for the input levels 0 to 255.
class QPixMapBrightness {
 public:
  /// Level v becomes v / 255 * factor * 255, limited to [0, 255] and truncated.
  explicit QPixMapBrightness(double factor);
  UInt16 operator[](int level) const { return mLevels[level]; }

 private:
  UInt16 mLevels[256];
};

/// Weighs B with 0.2126, R with 0.7152 and G with 0.0722, in that order, and truncates.
void QPixMap_Grayscale32(PixMap** hPixMap);
void QPixMap_Brightness32(PixMap** hPixMap, double factor);
/// Each pixel keeps its brightness and takes the chroma of a colour (red in the low byte, then
/// green, blue). Pixels whose R, G and B sum to more than 743 stay.
void QPixMap_DuoTone32(PixMap** hPixMap, UInt32 color);

/// dest = a * weightA + b * weightB for each of the four bytes, truncated, low 8 bits: weights that
/// sum to more than 1 wrap. As many pixels as dest has; each map has row bytes of its own.
void QPixMap_AlphaBlend32(PixMap** hA, double weightA, PixMap** hB, double weightB, PixMap** hDest);

/// Whether any pixel's alpha is below 255. False unless the pixels have 32 bits.
bool QPixMap_IsPartiallyTransparent32(PixMap** hPixMap);

// ---- Sampling

/// Bilinear sample of a map of one byte per pixel. Coordinates in pixels, beyond the edges too: the
/// taps are clamped to the map, the weights are not, so that negative coordinates extrapolate. The
/// result is truncated, and not below 0.
UInt16 QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(PixMap** hPixMap, double x, double y);
/// The same of a map of four bytes per pixel; each byte keeps its low 8 bits. Alpha in the highest
/// byte of the result, then blue, green, red.
UInt32 QPixMap_SafeGetPixel_BilinearInterpolatedSample32(PixMap** hPixMap, double x, double y);

// ---- Resizing; the source into the whole of the destination. Nothing happens where a map's rows
// do not hold their pixels.

/// XFrame_ResizeBilinear on the pixels. Logs when a handle is null; throws CoreException "Nil
/// exception pointer" when either has other than 32-bit pixels.
void QPixMap_Resize_ARGB32_Bilinear(PixMap** hDest, PixMap** hPixMap);
/// XFrame_ResizeBilinear over frame-buffer views (MacPixMapFrameBuffer), which log when a handle is
/// null and lock the handles and request a gamma as they do.
void QPixMap_Copy32Bilinear(PixMap** hDest, PixMap** hPixMap);
/// The same: both directions, whatever the name says.
void QPixMap_ResizeHorizontal32(PixMap** hDest, PixMap** hPixMap);
/// XFrame_ResizeNearestPixel over such views.
void QPixMap_Copy32NearestPixel(PixMap** hDest, PixMap** hPixMap);

// ---- Overlays. Row r and column c of the overlay go to row where.v + r and column where.h + c of
// the destination, counted from its first pixel; what falls outside is left out. A byte becomes
// d * (1 - a) + o * a with a = alpha / 255 * opacity, truncated, limited to [0, 255].

/// 32-bit pixels onto 32-bit ones, alpha included. Logs when a handle is null; throws CoreException
/// "Nil exception pointer" when either has another pixel size.
void QPM_44(PixMap** hPixMap, const Point& where, PixMap** hAlphaPixMap, float opacity);
/// 32-bit pixels onto 3-byte ones: R, G, B onto bytes 0, 1, 2. Logs and throws likewise; the
/// destination's pixel size is not looked at.
void QPM_34(PixMap** hPixMap, const Point& where, PixMap** hAlphaPixMap, float opacity);
/// Chooses by the destination's format, 24 or 32; any other is ignored. Logs, with nothing drawn,
/// when the overlay's format is not 32.
void QPM_4(PixMap** hPixMap, const Point& where, PixMap** hAlphaPixMap, float opacity);
/// The overlay, at full opacity, at the first pixel.
void QPM_AC32(PixMap** hPixMap, PixMap** hAlphaPixMap);

// ---- Drawing

/// Draws the pixels into `rect` of a context, with their own (straight) alpha when `alpha` is true
/// and they have 32 bits. False, with a log line, for a null handle and when no image can be made.
bool QPixMap_DrawCGContext(PixMap** hPixMap, CGContextRef context, const CGRect& rect, bool alpha);

#include "sdk/QClasses/QPixMap_inl.h"
