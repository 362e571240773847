// Frames of packed 4:2:2 video in memory: their format, their pixels, and the ways into and out of
// the toolkit's other rasters.
//
// Rows run from top to bottom. '2vuy' units are Cb, Y0, Cr, Y1, 'yuvs' units Y0, Cb, Y1, Cr: two
// pixels each. Operations work in whole units, so an odd width reads and writes one pixel more than
// it says, which memory of this class and of bitmap contexts provides for; who hands in other
// memory provides for it himself. Beyond that nothing outside a frame's stated size of pixel data
// is read or written: rows and columns that are not there are left out.
#pragma once

#include "sdk/CoreG/namespace_CoreGraphics_BitmapContext.h"
#include "sdk/CoreG/namespace_CoreGraphics_MaskContext.h"
#include "sdk/QClasses/QGWorld.h"
#include "sdk/QClasses/QImageDescription.h"
#include "sdk/QClasses/Q_2vuy_kernels.h"
#include "sdk/QClasses/RasterGraphics.h"

/// Geometry and pixel format of a frame.
class Q_2vuy_format {
 public:
  SInt16 _Width = 0;   ///< pixels
  SInt16 _Height = 0;  ///< rows
  SInt32 _RowBytes = 0;
  UInt32 _PixelFormat = '2vuy';

  /// '2vuy' and 'yuvs' are.
  static bool IsValidPixelFormat(UInt32 format);

  /// Takes format, size and row bytes from a description; its 'rowb' extension, else its data size,
  /// decides over twice the width. False, empty and without a log line, for another format.
  bool Construct(const QImageDescription& description);

  /// Same size, and the other's format is valid. Row bytes do not matter.
  bool FormatCompatible(const Q_2vuy_format& other) const;

  /// Makes a new image description of the frame: progressive, full clean aperture, square pixels.
  /// `out` does not own it, and nobody else does: each call leaves one block behind, 86 bytes and
  /// 66 of extensions. A description that was handed to a sequence may be read as long as that
  /// lives, so nobody knows when to dispose of it. With the block's own upkeep that is about 250
  /// bytes a call, some 27 MB an hour at 30 frames a second; the memory layer's counters show it.
  bool GetImageDescription(QImageDescription& out) const;

  /// Row bytes times height, as unsigned 32 bits.
  UInt32 FrameSizeBytes() const;

  /// Three log lines. The label is not printed.
  void DebugDump(const char* label) const;
};

/// A format and pixels of somebody else's.
class Q_2vuy_data : public Q_2vuy_format {
 public:
  unsigned char* _PixelData = nullptr;  ///< first byte of the top row; not owned
  UInt32 _PixelDataSize = 0;            ///< bytes addressable from there

  Q_2vuy_data() = default;
  /// Stays empty, with a log line, when the description is not of this kind.
  Q_2vuy_data(const QImageDescription& inImageDescription, void* pixels, UInt32 size);
  Q_2vuy_data(const Q_2vuy_data&) = default;
  /// Copies geometry and pixels' place; the pixel format stays this object's own.
  Q_2vuy_data& operator=(const Q_2vuy_data& rhs);

  using Q_2vuy_format::Construct;
  /// Pixels, their size, width, height and row bytes are all there.
  bool IsConstructed() const;
  bool IsEmpty() const { return !IsConstructed(); }

  /// Copies width, height and row bytes, not the pixel format. True if none of them is 0.
  bool SetFormat(const Q_2vuy_format& format);

  bool CanCopyFormat(const Q_2vuy_data& rhs) const;
  /// An ARGB context of this size; a log line says what does not fit.
  bool CanCopyFormat(const CoreGraphics::BitmapContext& in_rhs) const;
  /// A 32-bit world of this size; likewise.
  bool CanCopyFormat(const QGWorld& in_rhs) const;

  /// Converts to ARGB, the top row into the context's topmost scanline in memory.
  bool CopyPixelsTo(CoreGraphics::BitmapContext& out) const;

  /// A view of a part. `out` is a '2vuy' frame over this one's pixels, whatever this one's format.
  /// False, with `out` empty, for an empty frame or an odd left side. The rectangle is not checked.
  bool ConstructSubImage(Q_2vuy_data& out, const QRect& r) const;

  /// An offscreen world over the pixels; they must outlive it.
  bool ConstructGWorld(QGWorld& outWorld) const;

  /// Fills every unit with (cb, y, cr, y), low 8 bits each.
  void CopyPixelsFromColor(unsigned int y, unsigned int cb, unsigned int cr);

  // Copies into this frame. A failed precondition logs and changes nothing.

  /// Reorders 'yuvs' into '2vuy' order; frames of one format are copied as they are.
  void CopyPixelsFrom(const Q_2vuy_data& in_source);
  /// The same with luma through a table.
  void CopyPixelsFrom(const Q_2vuy_data& in_source, const RasterGraphics::LumaCLUT& clut);
  /// Histogram equalisation with one frame's delay: luma is mapped with what the previous call put
  /// into `equalisation`, which then gets this frame's mapping.
  void CopyPixelsFrom(const Q_2vuy_data& in_source, const RasterGraphics::LumaCLUT& clut,
                      RasterGraphics::LumaMapping& equalisation);
  /// From ARGB: converted, or composited over this frame with the source's alpha.
  void CopyPixelsFrom(const CoreGraphics::BitmapContext& in_source, bool composite);
  void CopyPixelsFrom(const QGWorld& in_source, bool composite);
  /// A cross-fade: t 0 is A, 1 is B; limited to that.
  void CopyPixelsFrom(const Q_2vuy_data& in_sourceA, const Q_2vuy_data& in_sourceB, float t);

  /// A cross-fade in the order of the mask's levels, row 0 of the mask on top.
  void WipePixelsFrom(const Q_2vuy_data& in_sourceA, const Q_2vuy_data& in_sourceB,
                      const CoreGraphics::MaskContext& mask, float t);
  /// The part `rectA` from A, then `rectB` from B, each from its own place. True if both parts
  /// could be made: left sides are even and no frame is empty. What lies outside a frame is left
  /// out.
  bool WipePixelsFrom(const Q_2vuy_data& in_sourceA, const QRect& rectA,
                      const Q_2vuy_data& in_sourceB, const QRect& rectB);
  /// From the left: position 0 is A, 1 is B; the edge lies on an even column.
  void WipePixelsFrom(const Q_2vuy_data& in_sourceA, const Q_2vuy_data& in_sourceB, float position);

  /// Takes the other's geometry and heap memory for it, filled with luma 0 and neutral chroma.
  /// False, with a log line: already constructed, nothing to allocate, no memory.
  bool AllocateBuffer(const Q_2vuy_format& in_rhs);
  /// Gives the memory back. The fields stay as they are. False when there is none.
  bool FreeBuffer();

  void DebugDump(const char* label) const;

  // One scanline each; Q_2vuy_kernels.h states the rules.
  static void ConvertScanline_2vuy_to_ARGB(const unsigned char* src, unsigned char* dst, int width);
  template <bool composite>
  static void ConvertScanline_ARGB_to_2vuy(const unsigned char* src, unsigned char* dst, int width,
                                           float opacity);
  template <bool masked>
  static void BlendScanline_2vuy(unsigned char* dst, const unsigned char* a, const unsigned char* b,
                                 int width, float t, const unsigned char* mask);
  /// Reorders `fourcc` ('yuvs' or '2vuy') into '2vuy' order, luma through `clut` with `useCLUT`,
  /// and counted into `calculate` and mapped by `specify` first with `useHistogram`.
  template <UInt32 fourcc, bool useCLUT, bool useHistogram>
  static void SwizzleScanline_XXXX_to_2vuy(const unsigned char* src, unsigned char* dst, int width,
                                           const RasterGraphics::LumaCLUT& clut,
                                           RasterGraphics::LumaHistogram& calculate,
                                           const RasterGraphics::LumaMapping& specify);

 private:
  int ReachableWidth(int y) const;
  int ReachableWidth(const Q_2vuy_data& a, const Q_2vuy_data& b, int y) const;
  unsigned char* Row(int y) const;
  bool RowsAreApart() const;
  Q_2vuy::Rows RowsFrom(const Q_2vuy_data& source, int y, int width, int height);
  Q_2vuy::BlendRows RowsFrom(const Q_2vuy_data& a, const Q_2vuy_data& b, int y, int width,
                             int height);
  const Q_2vuy::RowKernels& KernelsFor(const Q_2vuy_data& source) const;
  const Q_2vuy::RowKernels& KernelsFor(const Q_2vuy_data& a, const Q_2vuy_data& b) const;
  void CopyFromARGB(const unsigned char* top, std::ptrdiff_t rowBytes, bool composite);
  bool CopyPart(const Q_2vuy_data& source, const QRect& part);
};

/// Pixels of its own, from AllocateBuffer to the object's end.
class Q_2vuy_buffer : public Q_2vuy_data {
 public:
  Q_2vuy_buffer() = default;
  ~Q_2vuy_buffer();
  Q_2vuy_buffer(const Q_2vuy_buffer&) = delete;
  Q_2vuy_buffer& operator=(const Q_2vuy_buffer&) = delete;
};

#include "sdk/QClasses/Q_2vuy_swizzle.h"
