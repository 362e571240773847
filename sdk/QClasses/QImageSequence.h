// One decompression sequence, ended exactly once. Used by one thread at a time.
#pragma once

#include "platform/QuickTime/QuickTime.h"
#include "sdk/QClasses/QGWorld.h"

class QImageSequence {
 public:
  QImageSequence();
  virtual ~QImageSequence();
  QImageSequence(const QImageSequence&) = delete;
  QImageSequence& operator=(const QImageSequence&) = delete;

  /// Ends the open sequence, then opens another; the arguments are those of the platform's call.
  OSErr DecompressSequenceBegin(ImageDescriptionHandle desc, CGrafPtr port, GDHandle gdh,
                                const Rect* srcRect, MatrixRecord* matrix, SInt16 mode,
                                RgnHandle mask, UInt16 flags, UInt32 accuracy,
                                DecompressorComponent codec);
  /// From one world to another, scaled to fit. Always paramErr: it asks the source world for a
  /// description without row bytes, which a world never reports as done.
  OSErr DecompressSequenceBeginS(const QGWorld& sourceWorld, const QGWorld& destWorld,
                                 UInt32 in_accuracy, ComponentRecord* in_codec);

  /// One frame. paramErr when no sequence is open.
  OSErr DecompressSequenceFrameS(char* inData, SInt32 dataSize, UInt16 inFlags, UInt16* outFlags,
                                 ICMCompletionProcRecord* asyncCompletionProc) const;
  /// The frame in a pixel map's memory.
  OSErr DecompressSequenceFrameS(PixMapHandle hSourcePixMap) const;

  /// 0 when nothing is open.
  OSErr CDSequenceEnd();
  void DisposeIF();

  ImageSequence GetSeqID() const { return mSeqID; }
  bool IsConstructed() const { return mSeqID != 0; }

 private:
  ImageSequence mSeqID;  ///< 0: none
};
