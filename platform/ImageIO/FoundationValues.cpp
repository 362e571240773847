#include "platform/ImageIO/FoundationValues.h"

#include <climits>
#include <vector>

#include "platform/CoreFoundation/CFDictionary.h"
#include "platform/CoreFoundation/CFNumber.h"
#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreFoundation/CFURL.h"

namespace imageio {

std::optional<std::string> UTF8Of(CFTypeRef string) {
  if (!string || CFGetTypeID(string) != CFStringGetTypeID()) return std::nullopt;
  const auto text = static_cast<CFStringRef>(string);
  const CFRange all{0, CFStringGetLength(text)};
  CFIndex size = 0;
  if (CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, false, nullptr, 0, &size) !=
      all.length) {
    return std::nullopt;
  }
  std::string utf8(static_cast<std::size_t>(size), '\0');
  CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, false,
                   reinterpret_cast<UInt8*>(utf8.data()), size, &size);
  return utf8;
}

CFStringRef CreateString(const std::string& utf8) {
  const auto* bytes = reinterpret_cast<const UInt8*>(utf8.data());
  const auto size = static_cast<CFIndex>(utf8.size());
  const CFStringRef string =
      CFStringCreateWithBytes(kCFAllocatorDefault, bytes, size, kCFStringEncodingUTF8, false);
  if (string) return string;
  return CFStringCreateWithBytes(kCFAllocatorDefault, bytes, size, kCFStringEncodingISOLatin1,
                                 false);
}

std::optional<std::string> PathOf(CFURLRef url) {
  if (!url) return std::nullopt;
  std::vector<UInt8> buffer(PATH_MAX);
  if (!CFURLGetFileSystemRepresentation(url, true, buffer.data(), PATH_MAX)) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(buffer.data()));
}

std::optional<double> NumberAt(CFDictionaryRef dictionary, CFStringRef key) {
  if (!dictionary) return std::nullopt;
  const CFTypeRef value = CFDictionaryGetValue(dictionary, key);
  if (!value) return std::nullopt;
  if (CFGetTypeID(value) == CFBooleanGetTypeID()) {
    return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) ? 1.0 : 0.0;
  }
  double number = 0;
  if (CFGetTypeID(value) != CFNumberGetTypeID()) return std::nullopt;
  if (!CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberDoubleType, &number)) {
    return std::nullopt;
  }
  return number;
}

}  // namespace imageio
