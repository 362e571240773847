#include "sdk/QClasses/QImageSequence.h"

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/QClasses/Q_2vuy_decompressor.h"

namespace {

/// Whoever links sequences from the static toolkit gets the toolkit's decompressors with them.
[[gnu::used]] bool (*const sKeepDecompressors)() = Q_2vuy_DecompressorsAreRegistered;

}  // namespace

QImageSequence::QImageSequence() : mSeqID(0) {}

QImageSequence::~QImageSequence() {
  DisposeIF();
}

void QImageSequence::DisposeIF() {
  if (mSeqID != 0) CDSequenceEnd();
  mSeqID = 0;
}

OSErr QImageSequence::CDSequenceEnd() {
  OSErr err = noErr;
  if (mSeqID != 0) {
    VERIFY_ERR_TEXT(__LINE__, "err=::CDSequenceEnd(mSeqID)", err = ::CDSequenceEnd(mSeqID));
  }
  mSeqID = 0;
  return err;
}

OSErr QImageSequence::DecompressSequenceBegin(ImageDescriptionHandle desc, CGrafPtr port,
                                              GDHandle gdh, const Rect* srcRect,
                                              MatrixRecord* matrix, SInt16 mode, RgnHandle mask,
                                              UInt16 flags, UInt32 accuracy,
                                              DecompressorComponent codec) {
  DisposeIF();
  OSErr err = noErr;
  VERIFY_ERR_TEXT(__LINE__,
                  "err=::DecompressSequenceBegin(&mSeqID, desc, port, gdh, srcRect, matrix, mode, "
                  "mask, flags, accuracy, codec)",
                  err = ::DecompressSequenceBegin(&mSeqID, desc, port, gdh, srcRect, matrix, mode,
                                                  mask, flags, accuracy, codec));
  return err;
}

OSErr QImageSequence::DecompressSequenceBeginS(const QGWorld& sourceWorld, const QGWorld& destWorld,
                                               UInt32 in_accuracy, ComponentRecord* in_codec) {
  QImageDescription sourceImageDesc;
  if (!VERIFY_TEXT(__LINE__, "sourceWorld.GetImageDescription(sourceImageDesc)",
                   sourceWorld.GetImageDescription(sourceImageDesc, false))) {
    return paramErr;
  }
  const QRect destBounds = destWorld.Bounds();
  const QRect sourceBounds = sourceWorld.Bounds();
  MatrixRecord scaleMatrix;
  RectMatrix(&scaleMatrix, &sourceBounds, &destBounds);
  OSErr err = noErr;
  VERIFY_ERR_TEXT(
      __LINE__,
      "err = DecompressSequenceBegin( sourceImageDesc, destWorld, NULL, NULL, &scaleMatrix, "
      "srcCopy, NULL, 0, in_accuracy, in_codec)",
      err = DecompressSequenceBegin(sourceImageDesc.GetHandle(), destWorld, nullptr, nullptr,
                                    &scaleMatrix, srcCopy, nullptr, 0, in_accuracy, in_codec));
  return err;
}

OSErr QImageSequence::DecompressSequenceFrameS(char* inData, SInt32 dataSize, UInt16 inFlags,
                                               UInt16* outFlags,
                                               ICMCompletionProcRecord* asyncCompletionProc) const {
  if (!VERIFY(mSeqID)) return paramErr;
  OSErr err = noErr;
  VERIFY_ERR_TEXT(__LINE__,
                  "err=::DecompressSequenceFrameS(mSeqID, inData, dataSize, inFlags, outFlags, "
                  "asyncCompletionProc)",
                  err = ::DecompressSequenceFrameS(mSeqID, inData, dataSize, inFlags, outFlags,
                                                   asyncCompletionProc));
  return err;
}

OSErr QImageSequence::DecompressSequenceFrameS(PixMapHandle hSourcePixMap) const {
  if (!VERIFY(mSeqID) || !VERIFY(hSourcePixMap)) return paramErr;
  Rect bounds;
  GetPixBounds(hSourcePixMap, &bounds);
  const SInt64 bytes =
      static_cast<SInt64>(QTGetPixMapHandleRowBytes(hSourcePixMap)) * (bounds.bottom - bounds.top);
  const SInt32 imageDataSize = bytes > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<SInt32>(bytes);
  OSErr err = noErr;
  VERIFY_ERR_TEXT(__LINE__,
                  "err=DecompressSequenceFrameS( GetPixBaseAddr(hSourcePixMap), imageDataSize )",
                  err = DecompressSequenceFrameS(GetPixBaseAddr(hSourcePixMap), imageDataSize, 0,
                                                 nullptr, nullptr));
  return err;
}
