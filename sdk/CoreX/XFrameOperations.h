// Operations on video frames: deinterlacing, resizing, copying, blackening. Frames are described by
// XFrameBuffer; all pixel memory is the caller's and nothing is allocated.
//
// Every operation returns true on success. Buffers that do not fit each other, or have no pixels,
// give false with nothing written. A row that would lie outside its frame is neither read nor
// written. Results are the same whatever row kernels run (XFrameKernels.h) and however many threads
// share the rows (RowThreads.h), also where source and destination share memory: rows go from the
// top down there, bytes of a row from left to right.
//
// Resizes keep some 30 KiB on the stack. Results of 16 MiB and more whose rows start at multiples
// of 64 bytes are written past the cache: who reads them next reads memory.
#pragma once

#include "sdk/CoreX/XFrameBuffer.h"

// ---- Deinterlacing

/// Bits of XFrameFilters::flags.
enum XFrame_Filter_Flags : UInt32 {
  XFrame_Filter_Reserved = 0x07,    ///< methods that do not exist: the operation fails
  XFrame_Filter_BlendThree = 0x08,  ///< a vertical filter over three rows
  XFrame_Filter_BlendPairs = 0x10,  ///< the mean of each pair of rows, where 0x08 is clear
  XFrame_Filter_KeepFirst = 0x20,   ///< rows 0, 2, 4, ... stay, the others are interpolated
  XFrame_Filter_KeepSecond = 0x40,  ///< rows 1, 3, 5, ... stay; the picture moves up by a row
};

struct XFrameFilters {
  UInt32 flags = 0;
};

/// Makes a progressive frame by the method of the lowest set flag (reserved ones fail). Frames of
/// the same type, size and row bytes, of even height.
bool XFrame_Deinterlace(const XFrameBuffer& source, XFrameBuffer& dest,
                        const XFrameFilters& filters);

/// With 0x08: each byte is (((above + below) >> 1) + itself) >> 1, the first and last row standing
/// in for their missing neighbours. Without: each pair of rows becomes its mean, rounded down.
/// Every byte of a pixel, alpha too. Same conditions.
bool XFrame_BlendFields(const XFrameBuffer& source, XFrameBuffer& dest,
                        const XFrameFilters& filters);

/// Row 2k becomes row k of the field (0 or 1), row 2k + 1 the mean of rows k and k + 1, rounded
/// down. 4 bytes per pixel; the destination's rows lie as far apart as the source's. No comparison
/// of the frames: the destination must be as large. False for another field.
bool XFrame_OneFieldOnly(const XFrameBuffer& source, XFrameBuffer& dest, int field);
bool XFrame_OneFieldOnly_Scalar(const XFrameBuffer& source, XFrameBuffer& dest, int field);

/// Reserved for a method that looks at motion; always false.
bool XFrame_DeInterlaceAdaptive(const XFrameBuffer& source, XFrameBuffer& dest,
                                const XFrameFilters& filters);

/// Zero bytes in rows field, field + 2, ..., whatever the format's black is.
bool XFrame_BlackenField(XFrameBuffer& buffer, int field);

// ---- Resizing; 4 bytes per pixel, no comparison of the formats

/// Bilinear, in single precision, with positions that accumulate from pixel to pixel and from row
/// to row; truncated, never rounded, so that flat areas can come out one lower.
bool XFrame_ResizeBilinear(const XFrameBuffer& source, XFrameBuffer& dest);
/// `progressive`: the whole frame; else field by field.
bool XFrame_ResizeBilinear(const XFrameBuffer& source, XFrameBuffer& dest, bool progressive);
/// Top field into top field, bottom into bottom.
bool XFrame_ResizeBilinearWithFields(const XFrameBuffer& source, XFrameBuffer& dest);
/// The pixel at the truncated position, in double precision.
bool XFrame_ResizeNearestPixel(const XFrameBuffer& source, XFrameBuffer& dest);

// ---- Copying and blackening

/// Frames of the same type, size and row bytes; else a log line and false. Rows may overlap.
bool XFrame_CopyBufferMemory(const XFrameBuffer& source, XFrameBuffer& dest);

/// The format's black over `count` bytes: whole pixels of 255, 0, 128, 128 for the YUV formats
/// (v408 too), zero bytes for the others.
bool XFrame_BlackenPixelData(XFrame_Pel_Format format, unsigned char* bytes, UInt32 count);
bool XFrame_BlackenScanLine(const XFrameBuffer& buffer, int row);
bool XFrame_Blacken(XFrameBuffer& buffer);

void XFrameBlacken_ARGB_ScanLine(unsigned char* bytes, UInt32 count);
void XFrameBlacken_r408_ScanLine(unsigned char* bytes, UInt32 count);
/// Every row of the frame through a row function of (bytes, count).
template <void (*BlackenRow)(unsigned char*, UInt32)>
bool XFrame_BlackenWith(XFrameBuffer& buffer);

/// Widths of a border: pixels at the sides, rows at top and bottom.
struct XFrameEdges {
  SInt16 left = 0;
  SInt16 top = 0;
  SInt16 right = 0;
  SInt16 bottom = 0;
};

/// Blackens the border and darkens the two pixels or rows next to it to a third and two thirds, in
/// every byte. Top and bottom come first, so corners darken twice.
bool XFrame_BlackenEdges(XFrameBuffer& buffer, const XFrameEdges& edges);
