#include "platform/ImageIO/CGImageSource.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/CoreFoundation/CFData.h"
#include "platform/CoreFoundation/CFDictionary.h"
#include "platform/CoreFoundation/CFNumber.h"
#include "platform/CoreFoundation/CFRuntime.h"
#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreGraphics/CGBitmapContext.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/FoundationValues.h"
#include "platform/ImageIO/ImageData.h"

const CFStringRef kCGImageSourceThumbnailMaxPixelSize =
    CFSTR("kCGImageSourceThumbnailMaxPixelSize");
const CFStringRef kCGImageSourceCreateThumbnailWithTransform =
    CFSTR("kCGImageSourceCreateThumbnailWithTransform");
const CFStringRef kCGImageSourceCreateThumbnailFromImageAlways =
    CFSTR("kCGImageSourceCreateThumbnailFromImageAlways");

struct CGImageSource final : CFRuntimeObject {
  /// Takes over the caller's reference.
  explicit CGImageSource(CFDataRef owned)
      : CFRuntimeObject(CGImageSourceGetTypeID()), data(owned) {}
  ~CGImageSource() override {
    CGImageRelease(found.image);
    CFRelease(data);
  }

  std::span<const std::uint8_t> bytes() const {
    return {CFDataGetBytePtr(data), static_cast<std::size_t>(CFDataGetLength(data))};
  }
  const ImageIODecoded& decoded() {
    std::call_once(once, [this] { found = ImageIODecode(bytes()); });
    return found;
  }

  const CFDataRef data;
  std::once_flag once;
  ImageIODecoded found;
};

namespace {

void SetInteger(CFMutableDictionaryRef dictionary, CFStringRef key, SInt64 value) {
  const CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value);
  CFDictionarySetValue(dictionary, key, number);
  CFRelease(number);
}

CFMutableDictionaryRef CreateDictionary() {
  return CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                   &kCFTypeDictionaryValueCallBacks);
}

CFDictionaryRef CreateTexts(const ImageIOTexts& texts) {
  const CFMutableDictionaryRef dictionary = CreateDictionary();
  for (const auto& [key, text] : texts) {
    const CFStringRef name = imageio::CreateString(key);
    const CFStringRef value = imageio::CreateString(text);
    CFDictionarySetValue(dictionary, name, value);
    CFRelease(name);
    CFRelease(value);
  }
  return dictionary;
}

// None when the file cannot be read to its end or is longer than data can be.
std::optional<std::vector<UInt8>> ReadWhole(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rbe");
  if (!file) return std::nullopt;
  std::vector<UInt8> bytes;
  std::vector<UInt8> block(1 << 16);
  std::size_t count = 0;
  while ((count = std::fread(block.data(), 1, block.size(), file)) > 0 && bytes.size() <= INT_MAX) {
    bytes.insert(bytes.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(count));
  }
  const bool whole = std::ferror(file) == 0 && bytes.size() <= INT_MAX;
  std::fclose(file);
  if (!whole) return std::nullopt;
  return bytes;
}

CGImageRef CreateScaled(CGImageRef image, double scale) {
  const auto side = [scale](std::size_t size) {
    return static_cast<std::size_t>(std::max(1L, std::lround(static_cast<double>(size) * scale)));
  };
  const std::size_t width = side(CGImageGetWidth(image));
  const std::size_t height = side(CGImageGetHeight(image));
  const CGBitmapInfo info = CGImageGetAlphaInfo(image) == kCGImageAlphaNoneSkipLast
                                ? kCGImageAlphaNoneSkipLast
                                : kCGImageAlphaPremultipliedLast;
  const CGContextRef context =
      CGBitmapContextCreate(nullptr, width, height, 8, 0, CGImageGetColorSpace(image), info);
  CGContextSetInterpolationQuality(context, kCGInterpolationHigh);
  CGContextDrawImage(
      context, CGRectMake(0, 0, static_cast<CGFloat>(width), static_cast<CGFloat>(height)), image);
  const CGImageRef scaled = CGBitmapContextCreateImage(context);
  CGContextRelease(context);
  return scaled;
}

}  // namespace

CGImageSourceRef CGImageSourceCreateWithData(CFDataRef data, CFDictionaryRef) {
  if (!data) return nullptr;
  // A copy, so that later changes of mutable data do not reach the decoder; of constant data it is
  // one more reference.
  return new CGImageSource(CFDataCreateCopy(kCFAllocatorDefault, data));
}

CGImageSourceRef CGImageSourceCreateWithURL(CFURLRef url, CFDictionaryRef) {
  const auto path = imageio::PathOf(url);
  if (!path) return nullptr;
  const auto bytes = ReadWhole(*path);
  if (!bytes) return nullptr;
  const CFDataRef data =
      CFDataCreate(kCFAllocatorDefault, bytes->data(), static_cast<CFIndex>(bytes->size()));
  return data ? new CGImageSource(data) : nullptr;
}

CFTypeID CGImageSourceGetTypeID() {
  static const CFTypeID type = CFRuntimeRegisterType("CGImageSource");
  return type;
}

CFStringRef CGImageSourceGetType(CGImageSourceRef source) {
  if (!source) return nullptr;
  switch (ImageIOFormatOf(source->bytes())) {
    case ImageIOFormat::kPNG:
      return CFSTR("public.png");
    case ImageIOFormat::kJPEG:
      return CFSTR("public.jpeg");
    case ImageIOFormat::kUnknown:
      break;
  }
  return nullptr;
}

std::size_t CGImageSourceGetCount(CGImageSourceRef source) {
  return source && source->decoded().image ? 1 : 0;
}

CGImageSourceStatus CGImageSourceGetStatus(CGImageSourceRef source) {
  if (!source) return kCGImageStatusInvalidData;
  const ImageIODecoded& decoded = source->decoded();
  if (decoded.format == ImageIOFormat::kUnknown) return kCGImageStatusUnknownType;
  if (!decoded.image) return kCGImageStatusInvalidData;
  return decoded.complete ? kCGImageStatusComplete : kCGImageStatusUnexpectedEOF;
}

CGImageSourceStatus CGImageSourceGetStatusAtIndex(CGImageSourceRef source, std::size_t index) {
  return index == 0 ? CGImageSourceGetStatus(source) : kCGImageStatusInvalidData;
}

CGImageRef CGImageSourceCreateImageAtIndex(CGImageSourceRef source, std::size_t index,
                                           CFDictionaryRef) {
  if (!source || index != 0) return nullptr;
  return CGImageRetain(source->decoded().image);
}

CGImageRef CGImageSourceCreateThumbnailAtIndex(CGImageSourceRef source, std::size_t index,
                                               CFDictionaryRef options) {
  if (!source || index != 0) return nullptr;
  const bool upright =
      imageio::NumberAt(options, kCGImageSourceCreateThumbnailWithTransform).value_or(0) != 0;
  CGImageRef image = upright && source->decoded().orientation != 1
                         ? ImageIODecode(source->bytes(), true).image
                         : CGImageRetain(source->decoded().image);
  const auto limit = imageio::NumberAt(options, kCGImageSourceThumbnailMaxPixelSize);
  if (!image || !limit || !(*limit >= 1)) return image;
  const double longest =
      static_cast<double>(std::max(CGImageGetWidth(image), CGImageGetHeight(image)));
  if (longest <= *limit) return image;
  const CGImageRef scaled = CreateScaled(image, std::floor(*limit) / longest);
  CGImageRelease(image);
  return scaled;
}

CFDictionaryRef CGImageSourceCopyPropertiesAtIndex(CGImageSourceRef source, std::size_t index,
                                                   CFDictionaryRef) {
  if (!source || index != 0) return nullptr;
  const ImageIODecoded& decoded = source->decoded();
  if (!decoded.image) return nullptr;
  const CFMutableDictionaryRef dictionary = CreateDictionary();
  SetInteger(dictionary, kCGImagePropertyPixelWidth,
             static_cast<SInt64>(CGImageGetWidth(decoded.image)));
  SetInteger(dictionary, kCGImagePropertyPixelHeight,
             static_cast<SInt64>(CGImageGetHeight(decoded.image)));
  SetInteger(dictionary, kCGImagePropertyDepth, 8);
  CFDictionarySetValue(dictionary, kCGImagePropertyColorModel, kCGImagePropertyColorModelRGB);
  const bool alpha = CGImageGetAlphaInfo(decoded.image) == kCGImageAlphaLast;
  CFDictionarySetValue(dictionary, kCGImagePropertyHasAlpha,
                       alpha ? kCFBooleanTrue : kCFBooleanFalse);
  if (decoded.orientation != 1) {
    SetInteger(dictionary, kCGImagePropertyOrientation, decoded.orientation);
  }
  if (!decoded.texts.empty()) {
    const CFDictionaryRef texts = CreateTexts(decoded.texts);
    CFDictionarySetValue(dictionary, kCGImagePropertyPNGDictionary, texts);
    CFRelease(texts);
  }
  return dictionary;
}
