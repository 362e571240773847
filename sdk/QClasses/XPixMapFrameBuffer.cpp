#include "sdk/QClasses/XPixMapFrameBuffer.h"

#include <algorithm>
#include <limits>

#include "platform/CoreServices/MacMemory.h"
#include "platform/QuickTime/Matrix.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/QClasses/QPixMap.h"

namespace {

constexpr SInt32 kPelBytes = 4;

/// A rectangle at the origin; empty for a size that no 16-bit rectangle has, rather than another
/// size.
QRect RectOfSize(SInt32 width, SInt32 height) {
  constexpr SInt32 kLargest = std::numeric_limits<SInt16>::max();
  if (width < 0 || height < 0 || width > kLargest || height > kLargest) return QRect();
  return QRect(0, 0, static_cast<SInt16>(height), static_cast<SInt16>(width));
}

XFrame_Pel_Format PelFormatFromPixelFormat(UInt32 pixelFormat) {
  switch (pixelFormat) {
    case kr408PixelFormat:
      return XFrame_Pel_r408;
    case kv408PixelFormat:
      return XFrame_Pel_v408;
    default:
      return XFrame_Pel_ARGB;
  }
}

/// Tells what fills whole rows where the memory ends. A pixel map takes 0 for all of its rows.
void LimitKnownBytes(PixMapHandle hPixMap, SInt64 bytes) {
  (*hPixMap)->knownBytes =
      bytes <= 0 ? -1 : static_cast<SInt32>(std::min<SInt64>(bytes, 0x7FFFFFFF));
}

}  // namespace

UInt32 QuickTimeFourCharCodeFromPelFormat(XFrame_Pel_Format pelFormat) {
  switch (pelFormat) {
    case XFrame_Pel_r408:
      return kr408PixelFormat;
    case XFrame_Pel_v408:
      return kv408PixelFormat;
    default:
      return k32ARGBPixelFormat;
  }
}

Fixed GammaFromPelFormat(XFrame_Pel_Format pelFormat) {
  const bool video = XFrame_IsYUV(pelFormat) || pelFormat == XFrame_Pel_VideoRGB;
  return X2Fix(video ? 2.2 : 1.8);
}

void SetRequestedGammaLevel(PixMapHandle hPixMap, XFrame_Pel_Format pelFormat) {
  QTSetPixMapHandleRequestedGammaLevel(hPixMap, GammaFromPelFormat(pelFormat));
}

void QDErasePixels(GWorldPtr world) {
  CGrafPtr previousPort = nullptr;
  GDHandle previousDevice = nullptr;
  GetGWorld(&previousPort, &previousDevice);
  SetGWorld(world, nullptr);
  Rect bounds;
  EraseRect(GetPortBounds(world, &bounds));
  SetGWorld(previousPort, previousDevice);
}

MacPixMapFrameBuffer::MacPixMapFrameBuffer() : mPixMap(nullptr) {
  ResetDescription();
}

MacPixMapFrameBuffer::MacPixMapFrameBuffer(PixMapHandle hPixMap) : MacPixMapFrameBuffer() {
  Construct(hPixMap);
}

void MacPixMapFrameBuffer::ResetDescription() {
  PixelType = XFrame_Pel_Unknown;
  PelBytes = 0;
  Fields = 0;
  Pixels = nullptr;
  Width = 0;
  Height = 0;
  RowBytes = 0;
  mPixMap = nullptr;
}

bool MacPixMapFrameBuffer::Construct(PixMapHandle hPixMap) {
  ResetDescription();
  if (!VERIFY(hPixMap)) return false;
  mPixMap = hPixMap;
  HLock(reinterpret_cast<Handle>(hPixMap));
  PixelType = PelFormatFromPixelFormat(QPixMap_GetPixelFormat(hPixMap));
  PelBytes = kPelBytes;
  SetRequestedGammaLevel(hPixMap, PixelType);
  unsigned char* const base = reinterpret_cast<unsigned char*>(GetPixBaseAddr(hPixMap));
  if (!VERIFY_TEXT(__LINE__, "Pixels = (XFramePixels)GetPixBaseAddr(hPixMap)", Pixels = base)) {
    ResetDescription();
    return false;
  }
  VERIFY_TEXT(__LINE__, "Width =QPixMap_Width(hPixMap)", Width = QPixMap_Width(hPixMap));
  VERIFY_TEXT(__LINE__, "Height = QPixMap_Height(hPixMap)", Height = QPixMap_Height(hPixMap));
  VERIFY_TEXT(__LINE__, "RowBytes = QPixMap_GetRowBytes(hPixMap)",
              RowBytes = QPixMap_GetRowBytes(hPixMap));
  return true;
}

bool MacPixMapFrameBuffer::GetPixMapBounds(Rect& outBounds) const {
  GetPixBounds(mPixMap, &outBounds);
  return VERIFY(mPixMap);
}

MacPixMapFrameWorld::MacPixMapFrameWorld() : mGWorld(nullptr), mLockedPixMap(nullptr) {}

MacPixMapFrameWorld::~MacPixMapFrameWorld() {
  MacPixMapFrameWorld::Destruct();
}

void MacPixMapFrameWorld::Destruct() {
  if (mGWorld != nullptr) DisposeGWorld(mGWorld);
  mGWorld = nullptr;
  mLockedPixMap = nullptr;
  ResetDescription();
}

void MacPixMapFrameWorld::Empty() {
  if (mGWorld != nullptr) Destruct();
}

bool MacPixMapFrameWorld::ConstructVirtual(QRect& r, XFrame_Pel_Format inPelFormat) {
  return VERIFY(Construct(r,inPelFormat));
}

bool MacPixMapFrameWorld::Construct(QRect& in_rect, XFrame_Pel_Format inPelFormat) {
  return VERIFY(ConstructGWorld(in_rect,inPelFormat));
}

bool MacPixMapFrameWorld::Construct(int width, int height, XFrame_Pel_Format inPelFormat) {
  QRect r = RectOfSize(width, height);
  return VERIFY(Construct(r,inPelFormat));
}

bool MacPixMapFrameWorld::Construct(const MacPixMapFrameWorld& copyOf) {
  QRect r = RectOfSize(copyOf.Width, copyOf.Height);
  return VERIFY(Construct(r,copyOf.PixelType));
}

bool MacPixMapFrameWorld::ConstructGWorld(QRect& in_rect, XFrame_Pel_Format inPelFormat) {
  if (!VERIFY(IsEmpty())) Destruct();
  QTNewGWorld(&mGWorld, QuickTimeFourCharCodeFromPelFormat(inPelFormat), &in_rect, nullptr, nullptr,
              0);
  if (!VERIFY(mGWorld)) {
    Destruct();
    return false;
  }
  mLockedPixMap = GetGWorldPixMap(mGWorld);
  LockPixels(mLockedPixMap);
  QDErasePixels(mGWorld);
  bool fOk = false;
  if (!VERIFY(fOk=MacPixMapFrameBuffer::Construct(mLockedPixMap))) Destruct();
  return fOk;
}

bool MacPixMapFrameWorld::ConstructPtrAlias(const Rect& rect, void* pixels, SInt32 rowBytes,
                                            UInt32 pixelFormat) {
  if (!VERIFY(IsEmpty())) return false;
  const OSErr err =
      QTNewGWorldFromPtr(&mGWorld, pixelFormat, &rect, nullptr, nullptr, 0, pixels, rowBytes);
  const PixMapHandle hNewPixMap = VERIFY_ERR(err) == noErr ? GetGWorldPixMap(mGWorld) : nullptr;
  bool fOk = false;
  if (err == noErr && VERIFY(hNewPixMap)) {
    VERIFY(fOk=MacPixMapFrameBuffer::Construct(hNewPixMap));
    mLockedPixMap = hNewPixMap;
  }
  if (!fOk) Destruct();
  return fOk;
}

bool MacPixMapFrameWorld::ConstructFrameBufferAlias(XFrameBuffer& in_buffer) {
  if (!VERIFY(IsEmpty())) return false;
  const QRect rect = RectOfSize(in_buffer.Width, in_buffer.Height);
  bool fOk = false;
  if (VERIFY_TEXT(
          __LINE__,
          "fOk=ConstructPtrAlias(rect, in_buffer.Pixels, in_buffer.RowBytes, "
          "QuickTimeFourCharCodeFromPelFormat(in_buffer.PixelType) )",
          fOk = ConstructPtrAlias(rect, in_buffer.Pixels, in_buffer.RowBytes,
                                  QuickTimeFourCharCodeFromPelFormat(in_buffer.PixelType)))) {
    // The frame ends with its last pixel: nothing says that padding follows.
    const SInt64 lastRow = static_cast<SInt64>(Height - 1) * RowBytes;
    LimitKnownBytes(GetPixMap(), lastRow + static_cast<SInt64>(Width) * kPelBytes);
  }
  return fOk;
}

bool MacPixMapFrameWorld::ConstructFieldAlias(GWorldPtr port, int field_order) {
  if (!VERIFY(IsEmpty())) return false;
  if (!VERIFY((field_order==1) || (field_order==0))) return false;
  const PixMapHandle hPixMap = GetGWorldPixMap(port);
  if (!VERIFY(hPixMap)) return false;
  Rect fieldRect;
  GetPortBounds(port, &fieldRect);
  const SInt32 rowsOfField = (QPixMap_Height(hPixMap) + 1 - field_order) / 2;
  fieldRect.bottom = static_cast<SInt16>(fieldRect.bottom / 2);
  if ((GetPixelsState(hPixMap) & pixelsLocked) == 0) LockPixels(hPixMap);
  const SInt32 rowBytes = QPixMap_GetRowBytes(hPixMap);
  const SInt64 offset = static_cast<SInt64>(field_order) * rowBytes;
  const SInt64 single_field_rowBytes = 2 * static_cast<SInt64>(rowBytes);
  // Bounds above the origin would make a field of more rows than the world has.
  const bool fits = fieldRect.bottom - fieldRect.top <= rowsOfField &&
                    single_field_rowBytes <= std::numeric_limits<SInt32>::max();
  bool fOk = false;
  if (VERIFY_TEXT(__LINE__,
                  "fOk=ConstructPtrAlias(fieldRect, baseAddr+offset, single_field_rowBytes, "
                  "QPixMap_GetPixelFormat(hPixMap))",
                  fOk = fits && ConstructPtrAlias(fieldRect, GetPixBaseAddr(hPixMap) + offset,
                                                  static_cast<SInt32>(single_field_rowBytes),
                                                  QPixMap_GetPixelFormat(hPixMap)))) {
    // The last row's other half belongs to the other field, or to nobody.
    LimitKnownBytes(GetPixMap(), QPixMap_KnownBytes(hPixMap) - offset);
  }
  return fOk;
}

bool MacPixMapFrameWorld::SetNewWidthHeight(int width, int height) {
  const XFrame_Pel_Format inPelFormat = PixelType;
  QRect r = RectOfSize(width, height);
  Empty();
  return VERIFY(ConstructVirtual(r,inPelFormat));
}

bool MacPixMapFrameWorld::SetFramePropertiesWithImageDescription(
    const QImageDescription& inDescription) {
  if (!VERIFY(inDescription.IsConstructed())) return false;
  const XFrame_Pel_Format inPelFormat = PelFormatFromPixelFormat(inDescription.GetPixelFormat());
  QRect r = RectOfSize(inDescription.Width(), inDescription.Height());
  Empty();
  return VERIFY(ConstructVirtual(r,inPelFormat));
}

bool MacPixMapFrameWorld::CopyBits(CGrafPtr port, const Rect& source, const Rect& dest) const {
  if (!VERIFY(!IsEmpty())) return false;
  const BitMap* const portBits = GetPortBitMapForCopyBits(port);
  if (!VERIFY(portBits)) return false;
  ::CopyBits(GetPortBitMapForCopyBits(mGWorld), portBits, &source, &dest, srcCopy, nullptr);
  return true;
}

bool MacPixMapFrameWorld::CopyBits(CGrafPtr port) const {
  Rect source;
  Rect dest;
  GetPortBounds(mGWorld, &source);
  GetPortBounds(port, &dest);
  return CopyBits(port, source, dest);
}

MacAltivecFrameWorld::~MacAltivecFrameWorld() {
  MacAltivecFrameWorld::Destruct();
}

void MacAltivecFrameWorld::Destruct() {
  MacPixMapFrameWorld::Destruct();
  mVecMemory.Empty();
}

bool MacAltivecFrameWorld::ConstructVirtual(QRect& r, XFrame_Pel_Format inPelFormat) {
  return VERIFY(Construct(r,inPelFormat));
}

bool MacAltivecFrameWorld::Construct(QRect& in_rect, XFrame_Pel_Format inPelFormat) {
  return VERIFY(ConstructVecFrame(in_rect,inPelFormat));
}

bool MacAltivecFrameWorld::Construct(int width, int height, XFrame_Pel_Format inPelFormat) {
  QRect r = RectOfSize(width, height);
  return VERIFY(MacAltivecFrameWorld::Construct(r,inPelFormat));
}

bool MacAltivecFrameWorld::Construct(const MacPixMapFrameWorld& copyOf) {
  const XFrame_Pel_Format inPelFormat = copyOf.PixelType;
  QRect r = RectOfSize(copyOf.Width, copyOf.Height);
  return VERIFY(MacAltivecFrameWorld::Construct(r,inPelFormat));
}

bool MacAltivecFrameWorld::ConstructVecFrame(QRect& in_rect, XFrame_Pel_Format inPelFormat) {
  Destruct();
  const SInt32 width = in_rect.right - in_rect.left;
  const SInt32 height = in_rect.bottom - in_rect.top;
  // The block's size is worked out in 32 bits and wraps: what would wrap never gets so far.
  const SInt64 bytes = static_cast<SInt64>(width) * height * kPelBytes;
  if (width >= 0 && height >= 0 && bytes <= std::numeric_limits<SInt32>::max()) {
    mVecMemory.SetFrameDimensions(width, height);
  }
  unsigned char* const vec_aligned_frame_pixels = mVecMemory.FrameStart();
  if (!VERIFY(vec_aligned_frame_pixels)) return false;
  const SInt32 vec_aligned_row_bytes = mVecMemory.FrameStride();
  const UInt32 pixelFormat = QuickTimeFourCharCodeFromPelFormat(inPelFormat);
  bool fOk = false;
  if (!VERIFY_TEXT(__LINE__,
                   "fOk=ConstructPtrAlias(in_rect, vec_aligned_frame_pixels, "
                   "vec_aligned_row_bytes, pixelFormat)",
                   fOk = ConstructPtrAlias(in_rect, vec_aligned_frame_pixels, vec_aligned_row_bytes,
                                           pixelFormat))) {
    Destruct();
  }
  return fOk;
}
