#include "platform/ImageIO/CGImageDestination.h"

#include <climits>

#include "platform/CoreFoundation/CFData.h"
#include "platform/CoreFoundation/CFDictionary.h"
#include "platform/CoreFoundation/CFRuntime.h"
#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreFoundation/CFURL.h"
#include "platform/ImageIO/FoundationValues.h"
#include "platform/ImageIO/ImageData.h"

namespace {

constexpr double kDefaultQuality = 0.9;

ImageIOFormat FormatOf(CFStringRef type) {
  if (type && CFEqual(type, CFSTR("public.png"))) return ImageIOFormat::kPNG;
  if (type && CFEqual(type, CFSTR("public.jpeg"))) return ImageIOFormat::kJPEG;
  return ImageIOFormat::kUnknown;
}

// False when the dictionary holds something that is no text.
bool CollectTexts(CFTypeRef dictionary, ImageIOTexts* texts) {
  if (!dictionary) return true;
  if (CFGetTypeID(dictionary) != CFDictionaryGetTypeID()) return false;
  const auto entries = static_cast<CFDictionaryRef>(dictionary);
  const auto count = static_cast<std::size_t>(CFDictionaryGetCount(entries));
  std::vector<const void*> keys(count);
  std::vector<const void*> values(count);
  CFDictionaryGetKeysAndValues(entries, keys.data(), values.data());
  for (std::size_t i = 0; i < count; ++i) {
    const auto key = imageio::UTF8Of(keys[i]);
    const auto value = imageio::UTF8Of(values[i]);
    if (!key || !value) return false;
    texts->emplace_back(*key, *value);
  }
  return true;
}

}  // namespace

struct CGImageDestination final : CFRuntimeObject {
  CGImageDestination() : CFRuntimeObject(CGImageDestinationGetTypeID()) {}
  ~CGImageDestination() override {
    if (data) CFRelease(data);
    if (url) CFRelease(url);
    CGImageRelease(image);
  }

  ImageIOFormat format = ImageIOFormat::kUnknown;
  CFMutableDataRef data = nullptr;
  CFURLRef url = nullptr;
  CGImageRef image = nullptr;
  ImageIOTexts texts;
  double quality = kDefaultQuality;
  bool propertiesGood = true;
  bool finished = false;
};

CGImageDestinationRef CGImageDestinationCreateWithData(CFMutableDataRef data, CFStringRef type,
                                                       std::size_t count, CFDictionaryRef) {
  const ImageIOFormat format = FormatOf(type);
  if (!data || format == ImageIOFormat::kUnknown || count != 1) return nullptr;
  auto* destination = new CGImageDestination;
  destination->format = format;
  CFRetain(data);
  destination->data = data;
  return destination;
}

CGImageDestinationRef CGImageDestinationCreateWithURL(CFURLRef url, CFStringRef type,
                                                      std::size_t count, CFDictionaryRef) {
  const ImageIOFormat format = FormatOf(type);
  if (!url || format == ImageIOFormat::kUnknown || count != 1) return nullptr;
  auto* destination = new CGImageDestination;
  destination->format = format;
  CFRetain(url);
  destination->url = url;
  return destination;
}

CFTypeID CGImageDestinationGetTypeID() {
  static const CFTypeID type = CFRuntimeRegisterType("CGImageDestination");
  return type;
}

void CGImageDestinationAddImage(CGImageDestinationRef destination, CGImageRef image,
                                CFDictionaryRef properties) {
  if (!destination || !image || destination->image || destination->finished) return;
  destination->image = CGImageRetain(image);
  if (!properties) return;
  destination->quality = imageio::NumberAt(properties, kCGImageDestinationLossyCompressionQuality)
                             .value_or(kDefaultQuality);
  destination->propertiesGood = CollectTexts(
      CFDictionaryGetValue(properties, kCGImagePropertyPNGDictionary), &destination->texts);
}

bool CGImageDestinationFinalize(CGImageDestinationRef destination) {
  if (!destination || destination->finished) return false;
  destination->finished = true;
  if (!destination->image || !destination->propertiesGood) return false;
  const std::vector<std::uint8_t> bytes =
      destination->format == ImageIOFormat::kPNG
          ? ImageIOEncodePNG(destination->image, destination->texts)
          : ImageIOEncodeJPEG(destination->image, destination->quality);
  if (bytes.empty()) return false;
  if (destination->url) {
    const auto path = imageio::PathOf(destination->url);
    return path && ImageIOWriteFile(*path, bytes);
  }
  if (bytes.size() > static_cast<std::size_t>(INT_MAX - CFDataGetLength(destination->data))) {
    return false;
  }
  CFDataAppendBytes(destination->data, bytes.data(), static_cast<CFIndex>(bytes.size()));
  return true;
}
