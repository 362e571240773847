#include "platform/QuickDraw/PixMaps.h"

#include "platform/CoreServices/MacMemory.h"

namespace {

PixMap* RecordOf(PixMapHandle pm) {
  return pm == nullptr ? nullptr : *pm;
}

constexpr Rect kNoRect{0, 0, 0, 0};

}  // namespace

PixMapHandle NewPixMap() {
  const auto pm = reinterpret_cast<PixMapHandle>(NewHandleClear(sizeof(PixMap)));
  if (pm == nullptr) return nullptr;
  (*pm)->rowBytes = static_cast<SInt16>(kPixMapRowBytesFlag);
  (*pm)->hRes = 72 << 16;
  (*pm)->vRes = 72 << 16;
  return pm;
}

void DisposePixMap(PixMapHandle pm) {
  if (!IsHandleValid(reinterpret_cast<Handle>(pm))) return;
  const PixMap* record = *pm;
  if (record != nullptr && record->pmTable != nullptr) {
    DisposeHandle(reinterpret_cast<Handle>(record->pmTable));
  }
  DisposeHandle(reinterpret_cast<Handle>(pm));
}

Ptr GetPixBaseAddr(PixMapHandle pm) {
  const PixMap* record = RecordOf(pm);
  return record == nullptr ? nullptr : record->baseAddr;
}

Boolean LockPixels(PixMapHandle pm) {
  PixMap* record = RecordOf(pm);
  if (record == nullptr || record->baseAddr == nullptr) return false;
  if (record->lockCount != 0xFFFFFFFFu) ++record->lockCount;
  return true;
}

void UnlockPixels(PixMapHandle pm) {
  PixMap* record = RecordOf(pm);
  if (record != nullptr && record->lockCount > 0) --record->lockCount;
}

GWorldFlags GetPixelsState(PixMapHandle pm) {
  const PixMap* record = RecordOf(pm);
  return record != nullptr && record->lockCount > 0 ? pixelsLocked : 0;
}

SInt32 QTGetPixMapPtrRowBytes(const PixMap* pm) {
  if (pm == nullptr) return 0;
  const UInt16 stored = static_cast<UInt16>(pm->rowBytes) & kPixMapRowBytesMask;
  const bool isLong = stored == kPixMapRowBytesIsLong && pm->longRowBytes > 0;
  return isLong ? pm->longRowBytes : static_cast<SInt32>(stored);
}

SInt32 QTGetPixMapHandleRowBytes(PixMapHandle pm) {
  return QTGetPixMapPtrRowBytes(RecordOf(pm));
}

SInt32 GetPixRowBytes(PixMapHandle pm) {
  return QTGetPixMapHandleRowBytes(pm);
}

OSErr QTSetPixMapPtrRowBytes(PixMap* pm, SInt32 rowBytes) {
  if (pm == nullptr || rowBytes < 0) return paramErr;
  const bool isLong = rowBytes >= kPixMapRowBytesIsLong;
  const UInt16 stored = isLong ? kPixMapRowBytesIsLong : static_cast<UInt16>(rowBytes);
  pm->rowBytes = static_cast<SInt16>(kPixMapRowBytesFlag | stored);
  pm->longRowBytes = isLong ? rowBytes : 0;
  return noErr;
}

OSErr QTSetPixMapHandleRowBytes(PixMapHandle pm, SInt32 rowBytes) {
  return QTSetPixMapPtrRowBytes(RecordOf(pm), rowBytes);
}

OSType GetPixMapPixelFormat(PixMapHandle pm) {
  const PixMap* record = RecordOf(pm);
  if (record == nullptr) return 0;
  if (record->pixelFormat != 0) return record->pixelFormat;
  return static_cast<OSType>(record->pixelSize);
}

Rect* GetPixBounds(PixMapHandle pm, Rect* bounds) {
  const PixMap* record = RecordOf(pm);
  if (bounds != nullptr) *bounds = record == nullptr ? kNoRect : record->bounds;
  return bounds;
}

SInt16 GetPixDepth(PixMapHandle pm) {
  const PixMap* record = RecordOf(pm);
  return record == nullptr ? SInt16{0} : record->pixelSize;
}

Fixed QTGetPixMapHandleGammaLevel(PixMapHandle pm) {
  const PixMap* record = RecordOf(pm);
  return record == nullptr ? kQTUsePlatformDefaultGammaLevel : record->gammaLevel;
}

OSErr QTSetPixMapHandleGammaLevel(PixMapHandle pm, Fixed gammaLevel) {
  PixMap* record = RecordOf(pm);
  if (record == nullptr) return paramErr;
  record->gammaLevel = gammaLevel;
  return noErr;
}

Fixed QTGetPixMapHandleRequestedGammaLevel(PixMapHandle pm) {
  const PixMap* record = RecordOf(pm);
  return record == nullptr ? kQTUsePlatformDefaultGammaLevel : record->requestedGammaLevel;
}

OSErr QTSetPixMapHandleRequestedGammaLevel(PixMapHandle pm, Fixed requestedGammaLevel) {
  PixMap* record = RecordOf(pm);
  if (record == nullptr) return paramErr;
  record->requestedGammaLevel = requestedGammaLevel;
  return noErr;
}
