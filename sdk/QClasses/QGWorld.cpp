#include "sdk/QClasses/QGWorld.h"

#include <algorithm>

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/QClasses/QPixMap.h"

namespace {

[[noreturn]] void ThrowNil() {
  throw CoreException("Nil exception pointer");
}

void ThrowUnless(bool fOk) {
  if (!fOk) ThrowNil();
}

QRect BoundsOfSize(const Point& size) {
  return QRect(0, 0, size.v, size.h);
}

/// What fills whole rows has to know where the memory ends: the last row's padding may lie behind
/// the end of the map that an alias is laid over, `offset` bytes into it.
void InheritKnownBytes(PixMapHandle alias, SInt64 knownBytes, SInt64 offset) {
  const SInt64 left = std::min<SInt64>(knownBytes - offset, 0x7FFFFFFF);
  (*alias)->knownBytes = left <= 0 ? -1 : static_cast<SInt32>(left);
}

}  // namespace

QGWorld::QGWorld() : mGWorld(nullptr) {}

QGWorld::QGWorld(Point size, UInt32 pixelFormat) : mGWorld(nullptr) {
  ThrowUnless(Construct(size, pixelFormat));
}

QGWorld::QGWorld(const QGWorld& other) : mGWorld(nullptr) {
  ThrowUnless(Construct(other));
}

QGWorld::QGWorld(char* baseAddr, ImageDescriptionHandle desc) : mGWorld(nullptr) {
  ThrowUnless(ConstructAlias(baseAddr, desc));
}

QGWorld::~QGWorld() {
  DisposeIF();
}

void QGWorld::Destruct() {
  DisposeIF();
}

void QGWorld::DisposeIF() {
  if (mGWorld != nullptr) {
    UnlockPixels(GetPixMap());
    DisposeGWorld(mGWorld);
  }
  mGWorld = nullptr;
}

bool QGWorld::Construct(const Point& size, UInt32 pixelFormat) {
  const QRect bounds = BoundsOfSize(size);
  DisposeIF();
  const OSErr err = QTNewGWorld(&mGWorld, pixelFormat, &bounds, nullptr, nullptr, 0);
  if (VERIFY_ERR(err) != noErr) return false;
  if (!VERIFY_TEXT(__LINE__, "mGWorld!=0", mGWorld != nullptr)) return false;
  LockPixels(GetPixMap());
  return true;
}

bool QGWorld::Construct(const QSize& size, UInt32 pixelFormat) {
  const QPoint point(size);
  return Construct(static_cast<const Point&>(point), pixelFormat);
}

bool QGWorld::Construct(const QGWorld& other) {
  const QPoint size = other.Dimensions();
  return Construct(static_cast<const Point&>(size), other.GetPixelFormat());
}

bool QGWorld::ConstructAlias(char* inBaseAddr, SInt32 inRowBytes, const Point& size,
                             UInt32 pixelFormat) {
  const QRect bounds = BoundsOfSize(size);
  DisposeIF();
  if (!VERIFY(inBaseAddr) || !VERIFY(inRowBytes)) return false;
  const OSErr err = QTNewGWorldFromPtr(&mGWorld, pixelFormat, &bounds, nullptr, nullptr, 0,
                                       inBaseAddr, inRowBytes);
  return VERIFY_ERR(err) == noErr;
}

bool QGWorld::ConstructAlias(const tagQGWorldData& d) {
  return ConstructAlias(d.baseAddr, d.rowBytes, QPoint(d.width, d.height), d.pixelFormat);
}

bool QGWorld::ConstructAlias(char* inBaseAddr, ImageDescriptionHandle hImageDescription) {
  DisposeIF();
  if (!VERIFY(inBaseAddr) || !VERIFY(hImageDescription)) return false;
  QImageDescription imageDescription;
  imageDescription.Construct(hImageDescription, false);
  const UInt32 pixelFormat = imageDescription.GetPixelFormat();
  SInt32 useRowBytes = 0;
  if (!VERIFY_TEXT(__LINE__, "imageDescription.GetExtension_rowb(useRowBytes)",
                   imageDescription.GetExtension_rowb(useRowBytes, 1))) {
    return false;
  }
  bool fOk = false;
  return VERIFY_TEXT(
      __LINE__,
      "fOk = ConstructAlias(inBaseAddr, useRowBytes, imageDescription.Dimensions(), pixelFormat)",
      fOk = ConstructAlias(inBaseAddr, useRowBytes, imageDescription.Dimensions(), pixelFormat));
}

bool QGWorld::ConstructAlias(PixMapHandle hPixMap) {
  // Over its own pixel map: the world lies over these pixels already.
  if (hPixMap != nullptr && hPixMap == GetPixMap()) return true;
  DisposeIF();
  if (!VERIFY(hPixMap)) return false;
  char* const pixmapBaseAddr = GetPixBaseAddr(hPixMap);
  if (!VERIFY(pixmapBaseAddr)) return false;
  const SInt32 rowBytes = QPixMap_GetRowBytes(hPixMap);
  if (!VERIFY(rowBytes)) return false;
  const QPoint size = QPixMap_Dimensions(hPixMap);
  const UInt32 pixelFormat = QPixMap_GetPixelFormat(hPixMap);
  bool fOk = false;
  const SInt64 knownBytes = QPixMap_KnownBytes(hPixMap);
  if (!VERIFY_TEXT(__LINE__, "fOk=ConstructAlias( pixmapBaseAddr, rowBytes, size, pixelFormat)",
                   fOk = ConstructAlias(pixmapBaseAddr, rowBytes, size, pixelFormat))) {
    return false;
  }
  InheritKnownBytes(GetPixMap(), knownBytes, 0);
  return true;
}

bool QGWorld::ConstructAlias(const QGWorld& inAliasThisWorld) {
  if (&inAliasThisWorld == this && IsConstructed()) return true;
  DisposeIF();
  if (!VERIFY(inAliasThisWorld.IsConstructed())) return false;
  const PixMapHandle hPixMap = inAliasThisWorld.GetPixMap();
  char* const pixelData = reinterpret_cast<char*>(QPixMap_GetStartOfScanLine(hPixMap, 0));
  if (!VERIFY(pixelData)) return false;
  const SInt32 rowBytes = QPixMap_GetRowBytes(hPixMap);
  const UInt32 pixelFormat = inAliasThisWorld.GetPixelFormat();
  bool fOk = false;
  if (!VERIFY_TEXT(
          __LINE__,
          "fOk = ConstructAlias(pixelData,rowBytes, inAliasThisWorld.Dimensions(), pixelFormat )",
          fOk = ConstructAlias(pixelData, rowBytes, inAliasThisWorld.Dimensions(), pixelFormat))) {
    return false;
  }
  InheritKnownBytes(GetPixMap(), QPixMap_KnownBytes(hPixMap), 0);
  return true;
}

bool QGWorld::ConstructAliasOverRect(const QGWorld& inAliasThisWorld, const QRect& aliasThisArea) {
  // A world cannot become a part of itself: its pixels would go with its old self.
  if (!VERIFY(&inAliasThisWorld!=this)) return false;
  DisposeIF();
  if (!VERIFY(inAliasThisWorld.IsConstructed())) return false;
  const PixMapHandle hPixMap = inAliasThisWorld.GetPixMap();
  unsigned char* const rowStart = QPixMap_GetStartOfScanLine(hPixMap, aliasThisArea.top);
  if (!VERIFY_TEXT(__LINE__, "pixelData", rowStart)) return false;
  char* const pixelData =
      reinterpret_cast<char*>(rowStart) + static_cast<std::ptrdiff_t>(aliasThisArea.left) * 4;
  const SInt32 rowBytes = QPixMap_GetRowBytes(hPixMap);
  const UInt32 pixelFormat = inAliasThisWorld.GetPixelFormat();
  bool fOk = false;
  if (!VERIFY_TEXT(
          __LINE__,
          "fOk = ConstructAlias(pixelData,rowBytes, aliasThisArea.Dimensions(), pixelFormat )",
          fOk = ConstructAlias(pixelData, rowBytes, aliasThisArea.Dimensions(), pixelFormat))) {
    return false;
  }
  const SInt64 offset = static_cast<SInt64>(aliasThisArea.top) * rowBytes + aliasThisArea.left * 4;
  InheritKnownBytes(GetPixMap(), QPixMap_KnownBytes(hPixMap), offset);
  return true;
}

PixMapHandle QGWorld::GetPixMap() const {
  return GetGWorldPixMap(mGWorld);
}

QRect QGWorld::Bounds() const {
  const PixMapHandle hPixMap = GetPixMap();
  if (hPixMap == nullptr) ThrowNil();
  return QRect((*hPixMap)->bounds);
}

QPoint QGWorld::Dimensions() const {
  return Bounds().Dimensions();
}

QSize QGWorld::SizePixels() const {
  return Bounds().SizePixels();
}

UInt32 QGWorld::GetPixelFormat() const {
  if (!VERIFY(mGWorld)) return 0;
  return GetPixMapPixelFormat(GetPixMap());
}

bool QGWorld::IsSizePixelFormat(const QRect& r, UInt32 pixelFormat) const {
  return IsConstructed() && Bounds().IsSameSize(r) && GetPixelFormat() == pixelFormat;
}

bool QGWorld::FillOpaqueBlack() const {
  const UInt32 pixelValue = 0xFF000000;
  switch (GetPixelFormat()) {
    case k32ARGBPixelFormat: {
      bool fOk = false;
      if (!VERIFY(fOk = QPixMap_FillPixelARGB32(GetPixMap(), pixelValue))) return false;
      // That fills with the value's low byte: the alpha bytes are still to be set.
      const PixMapHandle hPixMap = GetPixMap();
      const SInt32 width = QPixMap_Width(hPixMap);
      for (SInt32 y = 0; y < QPixMap_Height(hPixMap); ++y) {
        unsigned char* pixel = QPixMap_GetStartOfScanLine(hPixMap, y);
        for (SInt32 x = 0; x < width; ++x, pixel += 4) *pixel = 255;
      }
      return true;
    }
    case k24RGBPixelFormat:
      QPixMap_FillColor_RGB_24(GetPixMap(), pixelValue);
      return true;
    default:
      return false;
  }
}

bool QGWorld::FillTransparentBlack() const {
  const UInt32 pixelValue = 0x00000000;
  if (!VERIFY(k32ARGBPixelFormat == GetPixelFormat())) return false;
  bool fOk = false;
  return VERIFY(fOk = QPixMap_FillPixelARGB32(GetPixMap(), pixelValue));
}

bool QGWorld::GetImageDescription(QImageDescription& outDescription, bool addRowBytes) const {
  const PixMapHandle hPixMap = GetPixMap();
  if (!VERIFY(hPixMap) || !VERIFY(outDescription.Construct(hPixMap))) return false;
  bool fOk = false;
  if (addRowBytes) {
    VERIFY_TEXT(__LINE__, "fOk=outDescription.AddExtension_rowb(QPixMap_GetRowBytes(hPixMap))",
                fOk = outDescription.AddExtension_rowb(QPixMap_GetRowBytes(hPixMap)));
  }
  return fOk;
}

bool QGWorld::GetDataDescription(QImageDescription& outDescription, unsigned char*& outData,
                                 SInt32& outSize) const {
  outData = nullptr;
  outSize = 0;
  const PixMapHandle hPixMap = GetPixMap();
  if (!VERIFY(hPixMap)) return false;
  outData = reinterpret_cast<unsigned char*>(GetPixBaseAddr(hPixMap));
  outSize = QPixMap_PixelDataSizeBytes(hPixMap);
  bool fOk = false;
  return VERIFY(fOk = GetImageDescription(outDescription));
}
