#include "sdk/QClasses/QImageDescription.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/CoreServices/MacMemory.h"
#include "platform/QuickDraw/PixMaps.h"
#include "sdk/CoreX/CoreCString.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/QClasses/QAutoLock.h"

namespace {

UInt32 FromBigEndian(const UInt8 (&bytes)[4]) {
  return static_cast<UInt32>(bytes[0]) << 24 | static_cast<UInt32>(bytes[1]) << 16 |
         static_cast<UInt32>(bytes[2]) << 8 | bytes[3];
}

void ToBigEndian(UInt32 value, UInt8 (&bytes)[4]) {
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<UInt8>(value >> (24 - 8 * i));
}

}  // namespace

QImageDescription::QImageDescription() : mHandle(nullptr), mOwnsHandle(false) {}

QImageDescription::QImageDescription(ImageDescriptionHandle hImageDescription)
    : mHandle(nullptr), mOwnsHandle(false) {
  VERIFY_TEXT(__LINE__, "Construct(hImageDescription)", Construct(hImageDescription, false));
}

QImageDescription::QImageDescription(UInt32 EffectType) : mHandle(nullptr), mOwnsHandle(false) {
  VERIFY(Construct(EffectType));
}

QImageDescription::QImageDescription(PixMapHandle hPixMap) : mHandle(nullptr), mOwnsHandle(false) {
  VERIFY(Construct(hPixMap));
}

QImageDescription::QImageDescription(const QImageDescription& copyOf)
    : mHandle(nullptr), mOwnsHandle(false) {
  VERIFY(ConstructCopy(copyOf.mHandle));
}

QImageDescription& QImageDescription::operator=(const QImageDescription& copyOf) {
  VERIFY(ConstructCopy(copyOf.mHandle));
  return *this;
}

QImageDescription::~QImageDescription() {
  DisposeIF();
}

void QImageDescription::Destruct() {
  DisposeIF();
}

void QImageDescription::DisposeIF() {
  if (mHandle != nullptr && mOwnsHandle) DisposeHandle(reinterpret_cast<Handle>(mHandle));
  mOwnsHandle = false;
  mHandle = nullptr;
}

bool QImageDescription::Construct(ImageDescriptionHandle hImageDescription, bool ownsHandle) {
  DisposeIF();
  mHandle = hImageDescription;
  VERIFY_TEXT(__LINE__, "mHandle = hImageDescription", mHandle);
  mOwnsHandle = mHandle != nullptr && ownsHandle;
  return mHandle != nullptr;
}

bool QImageDescription::Construct(UInt32 effectType) {
  DisposeIF();
  const OSErr err = MakeImageDescriptionForEffect(effectType, &mHandle);
  VERIFY_ERR(err);
  mOwnsHandle = err == noErr;
  return err == noErr && mHandle != nullptr;
}

bool QImageDescription::Construct(PixMapHandle pm) {
  DisposeIF();
  const OSErr err = MakeImageDescriptionForPixMap(pm, &mHandle);
  VERIFY_ERR(err);
  mOwnsHandle = err == noErr;
  if (err != noErr) return false;
  SInt32 rowBytes = 0;
  if (!GetExtension_rowb(rowBytes, 1)) {
    const SInt32 rowb_extension = QTGetPixMapHandleRowBytes(pm);
    VERIFY_ERR_TEXT(__LINE__, "AddExtension(rowb_extension, 'rowb')",
                    AddImageDescriptionExtension(&rowb_extension, sizeof(rowb_extension), 'rowb'));
  }
  return mHandle != nullptr;
}

bool QImageDescription::ConstructCopy(ImageDescriptionHandle hImageDescription) {
  if (!VERIFY(hImageDescription)) return false;
  Handle hCopy = reinterpret_cast<Handle>(hImageDescription);
  if (VERIFY_ERR(HandToHand(&hCopy)) != noErr) return false;
  bool fOk = false;
  return VERIFY_TEXT(__LINE__, "fOk = Construct(ImageDescriptionHandle(hCopy))",
                     fOk = Construct(reinterpret_cast<ImageDescriptionHandle>(hCopy), false));
}

SInt16 QImageDescription::Width() const {
  return mHandle == nullptr ? SInt16{0} : (*mHandle)->width;
}

SInt16 QImageDescription::Height() const {
  return mHandle == nullptr ? SInt16{0} : (*mHandle)->height;
}

UInt32 QImageDescription::GetPixelFormat() const {
  return mHandle == nullptr ? 0 : (*mHandle)->cType;
}

QPoint QImageDescription::Dimensions() const {
  return QPoint(Width(), Height());
}

bool QImageDescription::GetBounds(Rect& r) const {
  r = {0, 0, Height(), Width()};
  return mHandle != nullptr;
}

SInt32 QImageDescription::DataSize() const {
  return VERIFY(mHandle) ? (*mHandle)->dataSize : 0;
}

SInt16 QImageDescription::BitDepth() const {
  return VERIFY(mHandle) ? (*mHandle)->depth : SInt16{0};
}

bool QImageDescription::SetWidthHeight(const Point& p) {
  if (!VERIFY(mHandle)) return false;
  (*mHandle)->width = p.h;
  (*mHandle)->height = p.v;
  return true;
}

bool QImageDescription::SetWidthHeight(SInt16 width, SInt16 height) {
  if (!VERIFY(mHandle)) return false;
  (*mHandle)->width = width;
  (*mHandle)->height = height;
  return true;
}

OSErr QImageDescription::AddImageDescriptionExtension(Handle extension, SInt32 idType) {
  if (!VERIFY_TEXT(__LINE__, "extension!=nil", extension != nullptr)) return paramErr;
  if (idType == kInvalidTypeId) return paramErr;
  OSErr err = noErr;
  VERIFY_ERR_TEXT(__LINE__, "err=::AddImageDescriptionExtension(mHandle, extension, idType )",
                  err = ::AddImageDescriptionExtension(mHandle, extension, idType));
  return err;
}

OSErr QImageDescription::AddImageDescriptionExtension(const void* in_data, UInt32 in_data_size,
                                                      SInt32 idType) {
  if (!VERIFY_TEXT(__LINE__, "idType!=kInvalidTypeId", idType != kInvalidTypeId)) return paramErr;
  Handle hExtension = nullptr;
  OSErr err = noErr;
  if (VERIFY_ERR_TEXT(__LINE__, "err = ::PtrToHand(in_data, &hExtension, in_data_size )",
                      err = ::PtrToHand(in_data, &hExtension, static_cast<Size>(in_data_size))) !=
      noErr) {
    return err;
  }
  if (!VERIFY_TEXT(__LINE__, "hExtension!=nil", hExtension != nullptr)) return err;
  VERIFY_ERR(err = AddImageDescriptionExtension(hExtension, idType));
  DisposeHandle(hExtension);
  return err;
}

OSErr QImageDescription::AddImageDescriptionExtension_S32(const SInt32& value, SInt32 idType) {
  UInt8 long_value[4];
  ToBigEndian(static_cast<UInt32>(value), long_value);
  OSErr err = noErr;
  VERIFY_ERR_TEXT(__LINE__, "err=AddExtension(long_value, idType)",
                  err = AddImageDescriptionExtension(long_value, sizeof(long_value), idType));
  return err;
}

OSErr QImageDescription::AddImageDescriptionExtension_U32(const UInt32& value, SInt32 idType) {
  UInt8 ulong_value[4];
  ToBigEndian(value, ulong_value);
  OSErr err = noErr;
  VERIFY_ERR_TEXT(__LINE__, "err=AddExtension(ulong_value, idType)",
                  err = AddImageDescriptionExtension(ulong_value, sizeof(ulong_value), idType));
  return err;
}

OSErr QImageDescription::GetImageDescriptionExtension(Handle& out, SInt32 idType, SInt32 index) {
  out = nullptr;
  if (!VERIFY(mHandle)) return paramErr;
  OSErr err = ::GetImageDescriptionExtension(mHandle, &out, idType, index);
  if (err == noErr && out == nullptr) err = -1;
  if (err != codecExtensionNotFoundErr) VERIFY_ERR(err);
  return err;
}

OSErr QImageDescription::GetImageDescriptionExtension(void* in_data, UInt32 in_data_size,
                                                      SInt32 idType, SInt32 index) {
  if (in_data != nullptr && in_data_size > 0) std::memset(in_data, 0, in_data_size);
  if (!VERIFY(mHandle)) return paramErr;
  Handle hExtension = nullptr;
  const OSErr err = GetImageDescriptionExtension(hExtension, idType, index);
  if (err != noErr) return err;
  if (!VERIFY(hExtension)) return noErr;
  {
    const QAutoLock lock(hExtension);
    if (VERIFY_TEXT(__LINE__, "in_data_size==lock.HandleSizeBytes()",
                    in_data_size == lock.HandleSizeBytes()) &&
        in_data != nullptr) {
      std::memcpy(in_data, *hExtension, in_data_size);
    }
  }
  DisposeHandle(hExtension);
  return noErr;
}

OSErr QImageDescription::GetImageDescriptionExtension_U32(UInt32& v, SInt32 idType, SInt32 index) {
  UInt8 word[4] = {0, 0, 0, 0};
  const OSErr err = GetImageDescriptionExtension(word, sizeof(word), idType, index);
  v = FromBigEndian(word);
  return err;
}

OSErr QImageDescription::GetImageDescriptionExtension_S32(SInt32& v, SInt32 idType, SInt32 index) {
  UInt32 word = 0;
  const OSErr err = GetImageDescriptionExtension_U32(word, idType, index);
  v = static_cast<SInt32>(word);
  return err;
}

bool QImageDescription::GetExtension_gama(SInt32& gamma, SInt32 index) {
  return GetImageDescriptionExtension(&gamma, sizeof(gamma), 'gama', index) == noErr;
}

bool QImageDescription::GetExtension(FieldInfoImageDescriptionExtension2& extension, SInt32 index) {
  return GetImageDescriptionExtension(&extension, sizeof(extension), 'fiel', index) == noErr;
}

bool QImageDescription::GetExtension(CleanApertureImageDescriptionExtension& extension,
                                     SInt32 index) {
  return GetImageDescriptionExtension(&extension, sizeof(extension), 'clap', index) == noErr;
}

bool QImageDescription::GetExtension(PixelAspectRatioImageDescriptionExtension& extension,
                                     SInt32 index) {
  return GetImageDescriptionExtension(&extension, sizeof(extension), 'pasp', index) == noErr;
}

bool QImageDescription::GetExtension(NCLCColorInfoImageDescriptionExtension& extension,
                                     SInt32 index) {
  return GetImageDescriptionExtension(&extension, sizeof(extension), 'nclc', index) == noErr;
}

bool QImageDescription::GetExtension_cspc(UInt32& v, SInt32 index) {
  return GetImageDescriptionExtension_U32(v, 'cspc', index) == noErr;
}

bool QImageDescription::GetExtension_rowb(SInt32& rowBytes, SInt32 index) {
  SInt32 stored = 0;
  if (GetImageDescriptionExtension_S32(stored, 'rowb', index) == noErr) {
    rowBytes = stored;
    return true;
  }
  return CalculateExtension_rowb(rowBytes);
}

bool QImageDescription::CalculateExtension_rowb(SInt32& rowBytes) const {
  const SInt32 dataSize = DataSize();
  switch (GetPixelFormat()) {
    case '2vuy':
    case 'yuvs':
    case 'yuvu':
    case 'UYVY':
    case 'YVYU': {
      // A height of 0 divides nothing: then the width decides.
      const SInt64 height = Height();
      rowBytes = dataSize != 0 && height != 0 ? static_cast<SInt32>(dataSize / height)
                                              : static_cast<SInt32>(Width()) * 2;
      return true;
    }
    default:
      return false;
  }
}

bool QImageDescription::AddExtension_rowb(SInt32 rowBytes) {
  SInt32 tmp = 0;
  if (GetExtension_rowb(tmp, 1)) return true;
  return VERIFY_ERR_TEXT(__LINE__,
                         "AddImageDescriptionExtension_S32(rowBytes, FOUR_CHAR_CODE('rowb'))",
                         AddImageDescriptionExtension_S32(rowBytes, 'rowb')) == noErr;
}

bool QImageDescription::GetFirstExtensionType(SInt32& type) {
  type = 0;
  return GetNextExtensionType(type);
}

bool QImageDescription::GetNextExtensionType(SInt32& type) {
  if (!VERIFY(mHandle)) return true;
  const OSErr err = GetNextImageDescriptionExtensionType(mHandle, &type);
  return err == noErr && type != 0;
}

void QImageDescription::CoreDebugPrint(const char* label, int detail) const {
  CoreMachDebugLog("QImageDescription: %s (%08lx)\n", label == nullptr ? "" : label,
                   reinterpret_cast<unsigned long>(mHandle));
  if (!VERIFY(mHandle)) return;
  // A copy on the stack: the record may be packed and may move.
  const ImageDescription record = **mHandle;
  const ImageDescription* const id = &record;

  const std::size_t nameLength = std::min<std::size_t>(id->name[0], sizeof(id->name) - 1);
  if (nameLength > 0) {
    const std::string name(reinterpret_cast<const char*>(id->name) + 1, nameLength);
    CoreMachDebugLog("ImageDescription.name = %s\n", name.c_str());
  }
  CoreMachDebugLog("ImageDescription.depth = %d\n", id->depth);
  CoreMachDebugLog("ImageDescription.(width,height) = (%d,%d)\n", id->width, id->height);
  CoreCString pixelFormat;
  VERIFY(pixelFormat.ConstructFourCharCode(id->cType));
  CoreMachDebugLog("ImageDescription.cType (pixelFormat)= %s\n", pixelFormat.c_str());
  if (detail > 0) {
    CoreMachDebugLog("ImageDescription.resvd1=%d (0)\n", id->resvd1);
    CoreMachDebugLog("ImageDescription.resvd2=%d (0)\n", id->resvd2);
    CoreMachDebugLog("ImageDescription.dataRefIndex=%d\n", id->dataRefIndex);
    CoreMachDebugLog("ImageDescription.version= %d\n", id->version);
    CoreMachDebugLog("ImageDescription.revisionLevel= %d\n", id->revisionLevel);
    CoreCString vendorString;
    VERIFY_TEXT(__LINE__, "vendorString.ConstructFourCharCode(id->vendor)",
                vendorString.ConstructFourCharCode(static_cast<UInt32>(id->vendor)));
    CoreMachDebugLog("ImageDescription.vendor=%s\n", vendorString.c_str());
    CoreMachDebugLog("ImageDescription.temporalQuality=%d\n", id->temporalQuality);
    CoreMachDebugLog("ImageDescription.spatialQuality =%d\n", id->spatialQuality);
    CoreMachDebugLog("ImageDescription.hRes=%d\n", id->hRes);
    CoreMachDebugLog("ImageDescription.vRes=%d\n", id->vRes);
    CoreMachDebugLog("ImageDescription.dataSize=%d\n", id->dataSize);
    CoreMachDebugLog("ImageDescription.frameCount=%d\n", id->frameCount);
    CoreMachDebugLog("ImageDescription.clutID=%d\n", id->clutID);
  }

  SInt32 type = 0;
  for (int i = 0; GetNextImageDescriptionExtensionType(mHandle, &type) == noErr && type != 0; ++i) {
    CoreCString typeString;
    typeString.ConstructFourCharCode(static_cast<UInt32>(type));
    CoreMachDebugLog("ImageDescription.extension[%02d]=%s\n", i, typeString.c_str());
  }
}
