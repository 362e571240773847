#include "platform/QuickTime/DecompressionSequence.h"

#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <unordered_map>

#include "platform/QuickDraw/PixelFormats.h"
#include "platform/QuickTime/FrameDrawing.h"
#include "platform/QuickTime/ImageDescriptionAtoms.h"
#include "platform/QuickTime/MatrixMath.h"

namespace {

struct Sequence {
  std::mutex mutex;  ///< one frame or change at a time
  SInt32 width = 0;
  SInt32 height = 0;
  std::size_t rowBytes = 0;
  CGrafPtr port = nullptr;
  OSType portFormat = 0;
  Rect sourceRect{0, 0, 0, 0};
  MatrixRecord matrix{};
  std::optional<Rect> mask;
  std::unique_ptr<OpenDecompressor> codec;
};

struct Sequences {
  std::mutex mutex;
  std::unordered_map<ImageSequence, std::shared_ptr<Sequence>> open;
  ImageSequence next = 1;
};

/// Never destroyed: static objects may end their sequences at exit.
Sequences& TheSequences() {
  static Sequences& sequences = *new Sequences;
  return sequences;
}

std::shared_ptr<Sequence> FindSequence(ImageSequence seqID) {
  Sequences& sequences = TheSequences();
  const std::lock_guard<std::mutex> guard(sequences.mutex);
  const auto found = sequences.open.find(seqID);
  return found == sequences.open.end() ? nullptr : found->second;
}

/// `change` on an open sequence, while no frame is under way.
template <typename Change>
OSErr WithSequence(ImageSequence seqID, Change change) {
  const std::shared_ptr<Sequence> sequence = FindSequence(seqID);
  if (sequence == nullptr) return paramErr;
  const std::lock_guard<std::mutex> guard(sequence->mutex);
  return change(*sequence);
}

OSErr SetMode(SInt16 mode) {
  return mode == srcCopy || mode == ditherCopy ? noErr : codecUnimpErr;
}

OSErr SetMatrix(Sequence& sequence, const MatrixRecord* matrix) {
  MatrixRecord wanted;
  SetIdentityMatrix(&wanted);
  if (matrix != nullptr) wanted = *matrix;
  DoubleMatrix inverse;
  if (!Invert(ToDouble(wanted), &inverse)) return matrixErr;
  sequence.matrix = wanted;
  return noErr;
}

OSErr SetSourceRect(Sequence& sequence, const Rect* srcRect) {
  const Rect bounds{0, 0, static_cast<SInt16>(sequence.height),
                    static_cast<SInt16>(sequence.width)};
  Rect used = bounds;
  if (srcRect != nullptr && !SectRect(srcRect, &bounds, &used)) return paramErr;
  sequence.sourceRect = used;
  return noErr;
}

OSErr SetMask(Sequence& sequence, RgnHandle mask) {
  sequence.mask.reset();
  if (mask == nullptr) return noErr;
  Rect box;
  sequence.mask = *GetRegionBounds(mask, &box);
  return noErr;
}

/// The format that a description's data have: 'raw ' stands for the format of its depth.
OSType SourceFormat(const ImageDescription& description) {
  if (description.cType == kRawCodecType) return static_cast<OSType>(description.depth);
  return description.cType;
}

/// Row bytes as the description says. 'rowb' is big-endian; one in the machine's order, as pixel
/// maps' descriptions carry it, is told by being the only one that fits the stated data size.
OSErr ReadRowBytes(ImageDescriptionHandle description, const ImageDecompressorInfo& info,
                   Sequence& sequence) {
  const SInt64 tight = static_cast<SInt64>(TightRowBytes(info, sequence.width));
  const SInt64 dataSize = (*description)->dataSize;
  const auto fits = [&](SInt64 rowBytes) {
    return rowBytes >= tight && rowBytes * (sequence.height - 1) + tight <= dataSize;
  };
  ImageDescriptionAtom atom;
  if (FindImageDescriptionAtom(description, kRowBytesImageDescriptionExtension, 1, &atom) &&
      atom.payloadSize() == 4) {
    const UInt32 stored =
        ReadBigEndian32(reinterpret_cast<const UInt8*>(*description) + atom.payloadOffset());
    const SInt64 stated = static_cast<SInt32>(stored);
    const SInt64 swapped = static_cast<SInt32>(__builtin_bswap32(stored));
    const SInt64 used = !fits(stated) && fits(swapped) ? swapped : stated;
    if (used < tight) return codecBadDataErr;
    sequence.rowBytes = static_cast<std::size_t>(used);
    return noErr;
  }
  const SInt64 divided = dataSize / sequence.height;
  sequence.rowBytes = static_cast<std::size_t>(divided >= tight ? divided : tight);
  return noErr;
}

OSErr Prepare(Sequence& sequence, ImageDescriptionHandle description, CGrafPtr port,
              const Rect* srcRect, const MatrixRecord* matrix, SInt16 mode, RgnHandle mask,
              DecompressorComponent choice) {
  if (ImageDescriptionBytes(description) == 0) return paramErr;
  const ImageDescription record = **description;
  sequence.width = record.width;
  sequence.height = record.height;
  if (sequence.width <= 0 || sequence.height <= 0) return paramErr;
  if (port == nullptr) GetGWorld(&port, nullptr);
  const PixMapHandle pixMap = GetGWorldPixMap(port);
  if (pixMap == nullptr) return paramErr;
  sequence.port = port;
  sequence.portFormat = GetPixMapPixelFormat(pixMap);

  const auto codec = ChooseDecompressor(SourceFormat(record), sequence.portFormat, choice);
  if (codec == nullptr) return noCodecErr;
  OSErr error = SetMode(mode);
  if (error == noErr) error = SetMatrix(sequence, matrix);
  if (error == noErr) error = SetSourceRect(sequence, srcRect);
  if (error == noErr) error = SetMask(sequence, mask);
  if (error == noErr) error = ReadRowBytes(description, codec->info, sequence);
  if (error == noErr) error = OpenDecompressor::Open(codec, description, &sequence.codec);
  return error;
}

FrameBox BoxOf(const Rect& r) {
  return {r.left, r.top, r.right, r.bottom};
}

OSErr DrawFrame(const Sequence& sequence, const UInt8* data, SInt32 dataSize) {
  const PixMapHandle pixMap = GetGWorldPixMap(sequence.port);
  if (pixMap == nullptr || GetPixMapPixelFormat(pixMap) != sequence.portFormat) return paramErr;
  const OpenDecompressor::Use codec(*sequence.codec);
  if (!codec.held()) return noCodecErr;

  const Rect bounds = (*pixMap)->bounds;
  DestinationRaster destination{reinterpret_cast<UInt8*>(GetPixBaseAddr(pixMap)),
                                static_cast<std::size_t>(QTGetPixMapHandleRowBytes(pixMap)),
                                FindPixelFormat(sequence.portFormat)->unitBytes,
                                bounds.left,
                                bounds.top,
                                BoxOf(bounds)};
  if (destination.base == nullptr) return paramErr;
  if (sequence.mask) destination.clip = CommonBox(destination.clip, BoxOf(*sequence.mask));
  const SourcePicture picture{data,
                              static_cast<std::size_t>(dataSize),
                              sequence.width,
                              sequence.height,
                              sequence.rowBytes,
                              BoxOf(sequence.sourceRect)};
  return DrawPicture(codec, sequence.codec->info(), picture, sequence.matrix, destination);
}

}  // namespace

OSErr DecompressSequenceBegin(ImageSequence* seqID, ImageDescriptionHandle description,
                              CGrafPtr port, GDHandle, const Rect* srcRect, MatrixRecordPtr matrix,
                              SInt16 mode, RgnHandle mask, CodecFlags, CodecQ,
                              DecompressorComponent codec) {
  if (seqID == nullptr) return paramErr;
  *seqID = 0;
  try {
    auto sequence = std::make_shared<Sequence>();
    const OSErr error = Prepare(*sequence, description, port, srcRect, matrix, mode, mask, codec);
    if (error != noErr) return error;
    Sequences& sequences = TheSequences();
    const std::lock_guard<std::mutex> guard(sequences.mutex);
    while (sequences.next == 0 || sequences.open.count(sequences.next) != 0) ++sequences.next;
    sequences.open.emplace(sequences.next, std::move(sequence));
    *seqID = sequences.next++;
    return noErr;
  } catch (const std::bad_alloc&) {
    return memFullErr;
  }
}

OSErr DecompressSequenceBeginS(ImageSequence* seqID, ImageDescriptionHandle description, Ptr,
                               SInt32, CGrafPtr port, GDHandle gdh, const Rect* srcRect,
                               MatrixRecordPtr matrix, SInt16 mode, RgnHandle mask,
                               CodecFlags flags, CodecQ accuracy, DecompressorComponent codec) {
  return DecompressSequenceBegin(seqID, description, port, gdh, srcRect, matrix, mode, mask, flags,
                                 accuracy, codec);
}

OSErr DecompressSequenceFrameS(ImageSequence seqID, Ptr data, SInt32 dataSize, CodecFlags,
                               CodecFlags* outFlags, ICMCompletionProcRecordPtr completion) {
  if (outFlags != nullptr) *outFlags = 0;
  const OSErr error = WithSequence(seqID, [&](const Sequence& sequence) {
    if (data == nullptr || dataSize < 0) return paramErr;
    return DrawFrame(sequence, reinterpret_cast<const UInt8*>(data), dataSize);
  });
  if (completion != nullptr && completion->completionProc != nullptr) {
    completion->completionProc(error, codecCompletionSource | codecCompletionDest,
                               completion->completionRefCon);
  }
  return error;
}

OSErr CDSequenceEnd(ImageSequence seqID) {
  if (seqID == 0) return noErr;
  // Ended outside the lock: closing the codec may run a module's own code.
  std::shared_ptr<Sequence> ended;
  Sequences& sequences = TheSequences();
  const std::lock_guard<std::mutex> guard(sequences.mutex);
  const auto found = sequences.open.find(seqID);
  if (found == sequences.open.end()) return paramErr;
  ended = std::move(found->second);
  sequences.open.erase(found);
  return noErr;
}

OSErr CDSequenceBusy(ImageSequence seqID) {
  return FindSequence(seqID) == nullptr ? paramErr : noErr;
}

OSErr CDSequenceFlush(ImageSequence seqID) {
  return CDSequenceBusy(seqID);
}

OSErr SetDSequenceMatrix(ImageSequence seqID, MatrixRecordPtr matrix) {
  return WithSequence(seqID, [&](Sequence& sequence) { return SetMatrix(sequence, matrix); });
}

OSErr GetDSequenceMatrix(ImageSequence seqID, MatrixRecordPtr matrix) {
  if (matrix == nullptr) return paramErr;
  return WithSequence(seqID, [&](const Sequence& sequence) {
    *matrix = sequence.matrix;
    return noErr;
  });
}

OSErr SetDSequenceSrcRect(ImageSequence seqID, const Rect* srcRect) {
  return WithSequence(seqID, [&](Sequence& sequence) { return SetSourceRect(sequence, srcRect); });
}

OSErr SetDSequenceMask(ImageSequence seqID, RgnHandle mask) {
  return WithSequence(seqID, [&](Sequence& sequence) { return SetMask(sequence, mask); });
}

OSErr SetDSequenceTransferMode(ImageSequence seqID, SInt16 mode) {
  return WithSequence(seqID, [&](const Sequence&) { return SetMode(mode); });
}

OSErr SetDSequenceAccuracy(ImageSequence seqID, CodecQ) {
  return CDSequenceBusy(seqID);
}

SInt64 DecompressionSequenceCount() {
  Sequences& sequences = TheSequences();
  const std::lock_guard<std::mutex> guard(sequences.mutex);
  return static_cast<SInt64>(sequences.open.size());
}
