#include "platform/QuickTime/ImageDescription.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/CoreServices/MacMemory.h"
#include "platform/QuickDraw/PixMaps.h"
#include "platform/QuickDraw/Rects.h"
#include "platform/QuickTime/ImageDescriptionAtoms.h"

namespace {

constexpr Fixed k72PerInch = 72 << 16;

Handle AsHandle(ImageDescriptionHandle description) {
  return reinterpret_cast<Handle>(description);
}

UInt8* BytesOf(ImageDescriptionHandle description) {
  return reinterpret_cast<UInt8*>(*description);
}

/// Whether this is a live handle with a whole record in it.
bool IsDescription(ImageDescriptionHandle description) {
  return ImageDescriptionBytes(description) > 0;
}

OSErr NewDescription(ImageDescriptionHandle* description) {
  const auto fresh = reinterpret_cast<ImageDescriptionHandle>(
      NewHandleClear(static_cast<Size>(sizeof(ImageDescription))));
  if (fresh == nullptr) {
    const OSErr error = MemError();
    return error != noErr ? error : OSErr{memFullErr};
  }
  ImageDescription& record = **fresh;
  record.idSize = sizeof(ImageDescription);
  record.vendor = static_cast<SInt32>(kPlatformManufacturer);
  record.temporalQuality = codecNormalQuality;
  record.spatialQuality = codecNormalQuality;
  record.hRes = k72PerInch;
  record.vRes = k72PerInch;
  record.frameCount = 1;
  record.clutID = -1;
  *description = fresh;
  return noErr;
}

OSErr AppendAtom(ImageDescriptionHandle description, OSType type, const void* payload,
                 std::size_t size) {
  // What lies behind the list's end (a handle larger than idSize says) is no part of it.
  const std::size_t oldEnd = ImageDescriptionBytes(description);
  const std::size_t newEnd = oldEnd + 8 + size;
  if (newEnd > 0x7FFFFFFF) return memFullErr;
  SetHandleSize(AsHandle(description), static_cast<Size>(newEnd));
  if (MemError() != noErr) return MemError();
  UInt8* atom = BytesOf(description) + oldEnd;
  WriteBigEndian32(atom, static_cast<UInt32>(8 + size));
  WriteBigEndian32(atom + 4, type);
  if (size > 0) std::memcpy(atom + 8, payload, size);
  (*description)->idSize = static_cast<SInt32>(newEnd);
  return noErr;
}

void RemoveAtom(ImageDescriptionHandle description, const ImageDescriptionAtom& atom) {
  const std::size_t end = ImageDescriptionBytes(description);
  UInt8* bytes = BytesOf(description);
  std::memmove(bytes + atom.offset, bytes + atom.offset + atom.size, end - atom.offset - atom.size);
  (*description)->idSize = static_cast<SInt32>(end - atom.size);
  SetHandleSize(AsHandle(description), static_cast<Size>(end - atom.size));
}

/// A property that lives in an extension: the sizes of its numbers, in order.
struct ExtensionProperty {
  ComponentPropertyID id;
  std::vector<UInt8> numbers;
  std::size_t size() const {
    std::size_t sum = 0;
    for (const UInt8 number : numbers) sum += number;
    return sum;
  }
};

const ExtensionProperty* FindProperty(ComponentPropertyID id) {
  static const std::vector<ExtensionProperty>& properties = *new std::vector<ExtensionProperty>{
      {kICMImageDescriptionPropertyID_FieldInfo, {1, 1}},
      {kICMImageDescriptionPropertyID_CleanAperture, {4, 4, 4, 4, 4, 4, 4, 4}},
      {kICMImageDescriptionPropertyID_PixelAspectRatio, {4, 4}},
      {kICMImageDescriptionPropertyID_NCLCColorInfo, {4, 2, 2, 2}},
      {kICMImageDescriptionPropertyID_GammaLevel, {4}},
      {kICMImageDescriptionPropertyID_RowBytes, {4}},
  };
  for (const ExtensionProperty& property : properties) {
    if (property.id == id) return &property;
  }
  return nullptr;
}

/// Converts between native and big-endian numbers; the same in both directions.
void ConvertNumbers(const ExtensionProperty& property, const UInt8* from, UInt8* to) {
  for (const UInt8 number : property.numbers) {
    if (number == 4) {
      UInt32 native;
      std::memcpy(&native, from, 4);
      WriteBigEndian32(to, native);
    } else if (number == 2) {
      UInt16 native;
      std::memcpy(&native, from, 2);
      WriteBigEndian16(to, native);
    } else {
      *to = *from;
    }
    from += number;
    to += number;
  }
}

OSStatus CheckProperty(ImageDescriptionHandle description, ComponentPropertyClass propertyClass,
                       const void* value) {
  if (!IsDescription(description) || value == nullptr) return paramErr;
  return propertyClass == kQTPropertyClass_ImageDescription ? noErr : kQTPropertyNotSupportedErr;
}

bool IsSizeProperty(ComponentPropertyID id) {
  return id == kICMImageDescriptionPropertyID_EncodedWidth ||
         id == kICMImageDescriptionPropertyID_EncodedHeight;
}

}  // namespace

OSErr MakeImageDescriptionForPixMap(PixMapHandle pixmap, ImageDescriptionHandle* description) {
  if (description == nullptr) return paramErr;
  *description = nullptr;
  Rect bounds;
  GetPixBounds(pixmap, &bounds);
  if (EmptyRect(&bounds)) return paramErr;
  const SInt32 width = bounds.right - bounds.left;
  const SInt32 height = bounds.bottom - bounds.top;
  if (width > 0x7FFF || height > 0x7FFF) return paramErr;
  const SInt64 dataSize = static_cast<SInt64>(QTGetPixMapHandleRowBytes(pixmap)) * height;
  if (dataSize > 0x7FFFFFFF) return paramErr;
  const OSErr error = NewDescription(description);
  if (error != noErr) return error;
  ImageDescription& record = ***description;
  record.cType = GetPixMapPixelFormat(pixmap);
  record.temporalQuality = 0;
  record.spatialQuality = codecLosslessQuality;
  record.width = static_cast<SInt16>(width);
  record.height = static_cast<SInt16>(height);
  if ((*pixmap)->hRes > 0) record.hRes = (*pixmap)->hRes;
  if ((*pixmap)->vRes > 0) record.vRes = (*pixmap)->vRes;
  record.dataSize = static_cast<SInt32>(dataSize);
  // Depths above 32 stand for grey in this field, and are the format codes of those depths.
  const OSType format = record.cType;
  const bool isGrey = format > k32ARGBPixelFormat && format <= k8IndexedGrayPixelFormat;
  record.depth = isGrey ? static_cast<SInt16>(format) : GetPixDepth(pixmap);
  return noErr;
}

OSErr MakeImageDescriptionForEffect(OSType effectType, ImageDescriptionHandle* description) {
  if (description == nullptr) return paramErr;
  *description = nullptr;
  if (effectType == 0) return paramErr;
  const OSErr error = NewDescription(description);
  if (error == noErr) (**description)->cType = effectType;
  return error;
}

OSErr AddImageDescriptionExtension(ImageDescriptionHandle description, Handle extension,
                                   SInt32 idType) {
  if (!IsDescription(description) || idType == 0) return paramErr;
  const Size size = GetHandleSize(extension);
  if (MemError() != noErr) return extension == nullptr ? OSErr{paramErr} : MemError();
  return AppendAtom(description, static_cast<OSType>(idType), *extension,
                    static_cast<std::size_t>(size));
}

OSErr GetImageDescriptionExtension(ImageDescriptionHandle description, Handle* extension,
                                   SInt32 idType, SInt32 index) {
  if (extension == nullptr) return paramErr;
  *extension = nullptr;
  if (!IsDescription(description)) return paramErr;
  ImageDescriptionAtom atom;
  if (!FindImageDescriptionAtom(description, static_cast<OSType>(idType), index, &atom)) {
    return codecExtensionNotFoundErr;
  }
  return PtrToHand(BytesOf(description) + atom.payloadOffset(), extension,
                   static_cast<Size>(atom.payloadSize()));
}

OSErr RemoveImageDescriptionExtension(ImageDescriptionHandle description, SInt32 idType,
                                      SInt32 index) {
  if (!IsDescription(description)) return paramErr;
  ImageDescriptionAtom atom;
  if (!FindImageDescriptionAtom(description, static_cast<OSType>(idType), index, &atom)) {
    return codecExtensionNotFoundErr;
  }
  RemoveAtom(description, atom);
  return noErr;
}

OSErr CountImageDescriptionExtensionType(ImageDescriptionHandle description, SInt32 idType,
                                         SInt32* count) {
  if (count == nullptr) return paramErr;
  *count = 0;
  if (!IsDescription(description)) return paramErr;
  ImageDescriptionAtom atom{sizeof(ImageDescription), 0, 0};
  while (NextImageDescriptionAtom(description, &atom)) {
    if (atom.type == static_cast<OSType>(idType)) ++*count;
  }
  return noErr;
}

OSErr GetNextImageDescriptionExtensionType(ImageDescriptionHandle description, SInt32* idType) {
  if (idType == nullptr || !IsDescription(description)) return paramErr;
  const OSType current = static_cast<OSType>(*idType);
  *idType = 0;
  std::vector<OSType> seen;
  ImageDescriptionAtom atom{sizeof(ImageDescription), 0, 0};
  bool passed = current == 0;
  while (NextImageDescriptionAtom(description, &atom)) {
    // A type of 0 cannot be told from the end of the walk; nothing the calls here add has one.
    if (atom.type == 0 || std::find(seen.begin(), seen.end(), atom.type) != seen.end()) continue;
    if (passed) {
      *idType = static_cast<SInt32>(atom.type);
      return noErr;
    }
    passed = atom.type == current;
    seen.push_back(atom.type);
  }
  return noErr;
}

OSStatus ICMImageDescriptionSetProperty(ImageDescriptionHandle description,
                                        ComponentPropertyClass propertyClass,
                                        ComponentPropertyID propertyID, ByteCount valueSize,
                                        const void* value) {
  const OSStatus error = CheckProperty(description, propertyClass, value);
  if (error != noErr) return error;
  if (IsSizeProperty(propertyID)) {
    SInt32 number = 0;
    if (valueSize != sizeof(number)) return kQTPropertyBadValueSizeErr;
    std::memcpy(&number, value, sizeof(number));
    if (number < -0x8000 || number > 0x7FFF) return paramErr;
    const bool isWidth = propertyID == kICMImageDescriptionPropertyID_EncodedWidth;
    ((*description)->*(isWidth ? &ImageDescription::width : &ImageDescription::height)) =
        static_cast<SInt16>(number);
    return noErr;
  }
  const ExtensionProperty* property = FindProperty(propertyID);
  if (property == nullptr) return kQTPropertyNotSupportedErr;
  if (valueSize != property->size()) return kQTPropertyBadValueSizeErr;
  UInt8 payload[32];
  ConvertNumbers(*property, static_cast<const UInt8*>(value), payload);
  ImageDescriptionAtom atom;
  if (FindImageDescriptionAtom(description, propertyID, 1, &atom)) {
    if (atom.payloadSize() == valueSize) {
      std::memcpy(BytesOf(description) + atom.payloadOffset(), payload, valueSize);
      return noErr;
    }
    RemoveAtom(description, atom);
  }
  return AppendAtom(description, propertyID, payload, valueSize);
}

OSStatus ICMImageDescriptionGetProperty(ImageDescriptionHandle description,
                                        ComponentPropertyClass propertyClass,
                                        ComponentPropertyID propertyID, ByteCount valueSize,
                                        void* value, ByteCount* sizeUsed) {
  if (sizeUsed != nullptr) *sizeUsed = 0;
  const OSStatus error = CheckProperty(description, propertyClass, value);
  if (error != noErr) return error;
  if (IsSizeProperty(propertyID)) {
    if (valueSize != sizeof(SInt32)) return kQTPropertyBadValueSizeErr;
    const bool isWidth = propertyID == kICMImageDescriptionPropertyID_EncodedWidth;
    const SInt32 number = isWidth ? (*description)->width : (*description)->height;
    std::memcpy(value, &number, sizeof(number));
    if (sizeUsed != nullptr) *sizeUsed = sizeof(number);
    return noErr;
  }
  const ExtensionProperty* property = FindProperty(propertyID);
  if (property == nullptr) return kQTPropertyNotSupportedErr;
  if (valueSize != property->size()) return kQTPropertyBadValueSizeErr;
  ImageDescriptionAtom atom;
  if (!FindImageDescriptionAtom(description, propertyID, 1, &atom)) {
    return codecExtensionNotFoundErr;
  }
  if (atom.payloadSize() != valueSize) return codecBadDataErr;
  ConvertNumbers(*property, BytesOf(description) + atom.payloadOffset(),
                 static_cast<UInt8*>(value));
  if (sizeUsed != nullptr) *sizeUsed = valueSize;
  return noErr;
}
