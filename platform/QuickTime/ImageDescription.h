// Image descriptions: what a picture's data are, in the record of 86 bytes that image files and
// codecs share, with a list of typed extensions behind it.
//
// In memory the record's fields are native numbers. The extensions follow it within the same handle
// as atoms in file order: 4 bytes of size (itself and the type included) and 4 of type, both
// big-endian, then the payload. `idSize` counts the record and all atoms. A list that is damaged
// ends where the damage starts; nothing beyond the handle's size is ever read.
#pragma once

#include <cstddef>

#include "platform/QuickDraw/QuickdrawTypes.h"
#include "platform/QuickTime/CodecErrors.h"

using CodecType = OSType;
using CodecQ = UInt32;

enum : CodecQ {
  codecMinQuality = 0x000,
  codecLowQuality = 0x100,
  codecNormalQuality = 0x200,
  codecHighQuality = 0x300,
  codecMaxQuality = 0x3FF,
  codecLosslessQuality = 0x400
};

inline constexpr CodecType kRawCodecType = 'raw ';
inline constexpr OSType kPlatformManufacturer = 'appl';

#pragma pack(push, 2)
struct ImageDescription {
  SInt32 idSize;  ///< bytes of the record and its extensions
  CodecType cType;
  SInt32 resvd1;
  SInt16 resvd2;
  SInt16 dataRefIndex;
  SInt16 version;
  SInt16 revisionLevel;
  SInt32 vendor;
  CodecQ temporalQuality;
  CodecQ spatialQuality;
  SInt16 width;
  SInt16 height;
  Fixed hRes;
  Fixed vRes;
  SInt32 dataSize;  ///< bytes of one picture; 0 when not known
  SInt16 frameCount;
  UInt8 name[32];  ///< Pascal string
  SInt16 depth;    ///< bits per pixel, 33 to 40 for grey
  SInt16 clutID;   ///< -1: no colour table
};

/// 'nclc': colour by index into the tables of ITU-T H.273.
struct NCLCColorInfoImageDescriptionExtension {
  OSType colorParamType;  ///< 'nclc'
  UInt16 primaries;
  UInt16 transferFunction;
  UInt16 matrix;  ///< 1: Rec. 709, 6: Rec. 601
};
#pragma pack(pop)

static_assert(sizeof(ImageDescription) == 86);
static_assert(offsetof(ImageDescription, cType) == 4);
static_assert(offsetof(ImageDescription, dataRefIndex) == 14);
static_assert(offsetof(ImageDescription, vendor) == 20);
static_assert(offsetof(ImageDescription, width) == 32);
static_assert(offsetof(ImageDescription, hRes) == 36);
static_assert(offsetof(ImageDescription, dataSize) == 44);
static_assert(offsetof(ImageDescription, frameCount) == 48);
static_assert(offsetof(ImageDescription, name) == 50);
static_assert(offsetof(ImageDescription, depth) == 82);
static_assert(offsetof(ImageDescription, clutID) == 84);
static_assert(sizeof(NCLCColorInfoImageDescriptionExtension) == 10);

using ImageDescriptionPtr = ImageDescription*;
using ImageDescriptionHandle = ImageDescription**;

/// 'fiel': fields per frame (1 progressive, 2 interlaced) and their order.
struct FieldInfoImageDescriptionExtension2 {
  UInt8 fields;
  UInt8 detail;
};
static_assert(sizeof(FieldInfoImageDescriptionExtension2) == 2);

/// 'clap': the part of the picture that is meant to be seen, as fractions of pixels.
struct CleanApertureImageDescriptionExtension {
  UInt32 cleanApertureWidthN;
  UInt32 cleanApertureWidthD;
  UInt32 cleanApertureHeightN;
  UInt32 cleanApertureHeightD;
  SInt32 horizOffN;
  UInt32 horizOffD;
  SInt32 vertOffN;
  UInt32 vertOffD;
};
static_assert(sizeof(CleanApertureImageDescriptionExtension) == 32);

/// 'pasp': the shape of a pixel.
struct PixelAspectRatioImageDescriptionExtension {
  UInt32 hSpacing;
  UInt32 vSpacing;
};
static_assert(sizeof(PixelAspectRatioImageDescriptionExtension) == 8);

enum : OSType {
  kFieldInfoImageDescriptionExtension = 'fiel',
  kCleanApertureImageDescriptionExtension = 'clap',
  kPixelAspectRatioImageDescriptionExtension = 'pasp',
  kNCLCColorInfoImageDescriptionExtension = 'nclc',
  kColorInfoImageDescriptionExtension = 'colr',
  kGammaLevelImageDescriptionExtension = 'gama',
  kRowBytesImageDescriptionExtension = 'rowb',
  kColorSpaceImageDescriptionExtension = 'cspc',
};

/// A new description of the pixels of a pixel map, which the caller disposes of: `cType` is the
/// pixel format, `depth` the pixel size, `dataSize` row bytes times height, one frame, 72 pixels
/// per inch unless the pixel map says otherwise, no extensions. paramErr: null, empty bounds.
OSErr MakeImageDescriptionForPixMap(PixMapHandle pixmap, ImageDescriptionHandle* description);

/// A new description of an effect's output, of no size yet, which the caller disposes of. paramErr
/// for type 0.
OSErr MakeImageDescriptionForEffect(OSType effectType, ImageDescriptionHandle* description);

/// Appends a copy of the extension's bytes as they are. paramErr: null handles, type 0; memFullErr
/// also for a locked description that would have to move.
OSErr AddImageDescriptionExtension(ImageDescriptionHandle description, Handle extension,
                                   SInt32 idType);
/// A new handle with a copy of the payload of the `index`-th extension of the type, from 1, in
/// insertion order. codecExtensionNotFoundErr, and `*extension` null, when there is none.
OSErr GetImageDescriptionExtension(ImageDescriptionHandle description, Handle* extension,
                                   SInt32 idType, SInt32 index);
/// Removes that extension.
OSErr RemoveImageDescriptionExtension(ImageDescriptionHandle description, SInt32 idType,
                                      SInt32 index);
OSErr CountImageDescriptionExtensionType(ImageDescriptionHandle description, SInt32 idType,
                                         SInt32* count);
/// Replaces `*idType` by the next type in order of first appearance: the first one after 0, 0 after
/// the last one and after a type that is not there.
OSErr GetNextImageDescriptionExtensionType(ImageDescriptionHandle description, SInt32* idType);

using ComponentPropertyClass = OSType;
using ComponentPropertyID = OSType;
inline constexpr ComponentPropertyClass kQTPropertyClass_ImageDescription = 'idsc';
enum : ComponentPropertyID {
  kICMImageDescriptionPropertyID_FieldInfo = 'fiel',  ///< FieldInfoImageDescriptionExtension2
  kICMImageDescriptionPropertyID_CleanAperture = 'clap',
  kICMImageDescriptionPropertyID_PixelAspectRatio = 'pasp',
  kICMImageDescriptionPropertyID_NCLCColorInfo = 'nclc',
  kICMImageDescriptionPropertyID_GammaLevel = 'gama',     ///< Fixed
  kICMImageDescriptionPropertyID_RowBytes = 'rowb',       ///< SInt32
  kICMImageDescriptionPropertyID_EncodedWidth = 'encw',   ///< SInt32; the record's field
  kICMImageDescriptionPropertyID_EncodedHeight = 'ench',  ///< SInt32; the record's field
};

/// Sets a property from a native record of exactly its size. Those with an extension replace the
/// first one of their type or append one, its numbers stored big-endian.
/// kQTPropertyNotSupportedErr: another class or property; kQTPropertyBadValueSizeErr: another size.
OSStatus ICMImageDescriptionSetProperty(ImageDescriptionHandle description,
                                        ComponentPropertyClass propertyClass,
                                        ComponentPropertyID propertyID, ByteCount valueSize,
                                        const void* value);
/// Reads it back as a native record. codecExtensionNotFoundErr when not set, codecBadDataErr when
/// the extension has another size. `sizeUsed` may be null.
OSStatus ICMImageDescriptionGetProperty(ImageDescriptionHandle description,
                                        ComponentPropertyClass propertyClass,
                                        ComponentPropertyID propertyID, ByteCount valueSize,
                                        void* value, ByteCount* sizeUsed);
