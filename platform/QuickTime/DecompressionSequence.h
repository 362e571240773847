// Decompression sequences: one codec, opened for a description and a port, that draws frame after
// frame into the port.
//
// Geometry. The matrix maps the source's pixel coordinates to the port's. With the identity or a
// translation by whole pixels every pixel is the codec's own. Under any other matrix that can be
// inverted, a destination pixel whose centre falls inside the source is sampled bilinearly at that
// place, each byte rounded to nearest; edges repeat the last pixel. What lies outside the port's
// bounds, the mask or the source rectangle is not touched.
//
// Rows. Their distance in the data is the description's 'rowb' extension (4 bytes, big-endian)
// where there is one, else data size / height where that holds a row, else the tight row.
#pragma once

#include "platform/QuickDraw/QDOffscreen.h"
#include "platform/QuickDraw/Rects.h"
#include "platform/QuickTime/Decompressors.h"
#include "platform/QuickTime/ImageDescription.h"
#include "platform/QuickTime/Matrix.h"

using ImageSequence = UInt32;  ///< 0: none
using CodecFlags = UInt16;

enum : SInt16 {
  codecCompletionSource = 1 << 0,  ///< the data are no longer needed
  codecCompletionDest = 1 << 1     ///< the picture is there
};

/// Called when a frame is done. Frames here are done when the call returns, so the procedure runs
/// within it.
struct ICMCompletionProcRecord {
  void (*completionProc)(OSErr result, SInt16 flags, std::intptr_t refCon);
  std::intptr_t completionRefCon;
};
using ICMCompletionProcRecordPtr = ICMCompletionProcRecord*;

/// Opens a sequence for pictures of `description` into `port` (null: the current port). `srcRect`
/// (the part of the source to use), `matrix` and `mask` may be null. `mode` is srcCopy or
/// ditherCopy. `gdh`, `flags` and `accuracy` are accepted as they are. The description is read now
/// and not kept. On error `*seqID` is 0: paramErr (null arguments, no port, an empty picture or
/// source rectangle), noCodecErr (nobody converts this format into the port's), matrixErr (a matrix
/// that scales to nothing), codecBadDataErr (row bytes that hold no row), codecUnimpErr (another
/// mode), or what the codec answered.
OSErr DecompressSequenceBegin(ImageSequence* seqID, ImageDescriptionHandle description,
                              CGrafPtr port, GDHandle gdh, const Rect* srcRect,
                              MatrixRecordPtr matrix, SInt16 mode, RgnHandle mask, CodecFlags flags,
                              CodecQ accuracy, DecompressorComponent codec);
/// The same; the first frame's data may be given for the codec to look at, and are not drawn.
OSErr DecompressSequenceBeginS(ImageSequence* seqID, ImageDescriptionHandle description, Ptr data,
                               SInt32 dataSize, CGrafPtr port, GDHandle gdh, const Rect* srcRect,
                               MatrixRecordPtr matrix, SInt16 mode, RgnHandle mask,
                               CodecFlags flags, CodecQ accuracy, DecompressorComponent codec);

/// Draws one picture of `dataSize` bytes. `outFlags` (set to 0) and `completion` may be null. When
/// the data end before the last row does, the rows that are whole are drawn, the others stay as
/// they were and the result is codecBadDataErr. paramErr: no such sequence, null data, a negative
/// size, a port that is gone; noCodecErr: the codec was withdrawn.
OSErr DecompressSequenceFrameS(ImageSequence seqID, Ptr data, SInt32 dataSize, CodecFlags inFlags,
                               CodecFlags* outFlags, ICMCompletionProcRecordPtr completion);

/// Ends the sequence. 0 is accepted; paramErr for what is no open sequence.
OSErr CDSequenceEnd(ImageSequence seqID);
/// 0: never busy between calls. paramErr for what is no open sequence.
OSErr CDSequenceBusy(ImageSequence seqID);
OSErr CDSequenceFlush(ImageSequence seqID);

/// Changes an open sequence from its next frame on, with the checks and errors of the begin.
OSErr SetDSequenceMatrix(ImageSequence seqID, MatrixRecordPtr matrix);
OSErr GetDSequenceMatrix(ImageSequence seqID, MatrixRecordPtr matrix);
OSErr SetDSequenceSrcRect(ImageSequence seqID, const Rect* srcRect);
OSErr SetDSequenceMask(ImageSequence seqID, RgnHandle mask);
OSErr SetDSequenceTransferMode(ImageSequence seqID, SInt16 mode);
OSErr SetDSequenceAccuracy(ImageSequence seqID, CodecQ accuracy);

/// Sequences open at this moment, for tests and diagnostics.
SInt64 DecompressionSequenceCount();
