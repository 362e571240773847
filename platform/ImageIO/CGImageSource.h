// Image sources: encoded images (PNG, JPEG) as images and properties.
#pragma once

#include "platform/CoreGraphics/CGImage.h"

using CGImageSourceRef = struct CGImageSource*;

enum CGImageSourceStatus : std::int32_t {
  kCGImageStatusUnexpectedEOF = -5,  ///< the data end early or are damaged
  kCGImageStatusInvalidData = -4,    ///< nothing can be decoded
  kCGImageStatusUnknownType = -3,    ///< neither PNG nor JPEG
  kCGImageStatusReadingHeader = -2,
  kCGImageStatusIncomplete = -1,
  kCGImageStatusComplete = 0
};

/// Options of CGImageSourceCreateThumbnailAtIndex: CFNumber, the greatest width or height;
/// CFBoolean, turn upright after the Exif orientation.
extern const CFStringRef kCGImageSourceThumbnailMaxPixelSize;
extern const CFStringRef kCGImageSourceCreateThumbnailWithTransform;
extern const CFStringRef kCGImageSourceCreateThumbnailFromImageAlways;

/// A source over `data` (retained); never null for non-null data: what cannot be decoded shows in
/// the status. The data are decoded at the first call that needs them. `options` may be null and is
/// not used.
CGImageSourceRef CGImageSourceCreateWithData(CFDataRef data, CFDictionaryRef options);
/// The same with the file of a file URL, read whole; null when it cannot be read.
CGImageSourceRef CGImageSourceCreateWithURL(CFURLRef url, CFDictionaryRef options);

CFTypeID CGImageSourceGetTypeID();
/// "public.png", "public.jpeg" or null; borrowed.
CFStringRef CGImageSourceGetType(CGImageSourceRef source);
/// 1, or 0 when nothing can be decoded.
std::size_t CGImageSourceGetCount(CGImageSourceRef source);
CGImageSourceStatus CGImageSourceGetStatus(CGImageSourceRef source);
CGImageSourceStatus CGImageSourceGetStatusAtIndex(CGImageSourceRef source, std::size_t index);
/// The stored pixels, not turned. A damaged file's readable rows make an image too. Null when the
/// index is not 0 or nothing can be decoded.
CGImageRef CGImageSourceCreateImageAtIndex(CGImageSourceRef source, std::size_t index,
                                           CFDictionaryRef options);
CGImageRef CGImageSourceCreateThumbnailAtIndex(CGImageSourceRef source, std::size_t index,
                                               CFDictionaryRef options);
/// A new dictionary: kCGImagePropertyPixelWidth, PixelHeight, Depth, ColorModel, HasAlpha,
/// Orientation (when not 1), and a PNG's texts under kCGImagePropertyPNGDictionary by keyword.
CFDictionaryRef CGImageSourceCopyPropertiesAtIndex(CGImageSourceRef source, std::size_t index,
                                                   CFDictionaryRef options);
