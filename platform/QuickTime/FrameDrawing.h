// Drawing one decompressed picture into a raster: which rows are there, where they go, what is cut
// off. Not for users of sequences.
#pragma once

#include "platform/QuickDraw/QuickdrawTypes.h"
#include "platform/QuickTime/DecompressorRegistry.h"
#include "platform/QuickTime/MatrixMath.h"

/// Half-open box of pixels.
struct FrameBox {
  SInt32 left;
  SInt32 top;
  SInt32 right;
  SInt32 bottom;
  bool empty() const { return left >= right || top >= bottom; }
};
FrameBox CommonBox(const FrameBox& a, const FrameBox& b);

/// One picture's data.
struct SourcePicture {
  const UInt8* data;
  std::size_t dataSize;
  SInt32 width;
  SInt32 height;
  std::size_t rowBytes;
  FrameBox part;  ///< what to use of it, inside its bounds
};

/// Where it goes: `base` is the pixel at (originH, originV) of the port's coordinates.
struct DestinationRaster {
  UInt8* base;
  std::size_t rowBytes;
  std::size_t pixelBytes;
  SInt32 originH;
  SInt32 originV;
  FrameBox clip;  ///< in the port's coordinates, inside its bounds
};

/// Bytes of the last row that a picture of this width needs, with rows `rowBytes` apart: whole
/// units, or as much of the last unit as a tight row has.
std::size_t NeededRowBytes(const ImageDecompressorInfo& info, SInt32 width, std::size_t rowBytes);
/// Bytes of a tight row, whose last unit may be a part of one.
std::size_t TightRowBytes(const ImageDecompressorInfo& info, SInt32 width);

/// Draws it. codecBadDataErr when rows are missing at the end (the others are drawn), matrixErr,
/// memFullErr.
OSErr DrawPicture(const OpenDecompressor::Use& codec, const ImageDecompressorInfo& info,
                  const SourcePicture& picture, const MatrixRecord& matrix,
                  const DestinationRaster& destination);
