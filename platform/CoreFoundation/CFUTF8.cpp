#include "platform/CoreFoundation/CFUTF8.h"

#include <limits>

#include "platform/CoreFoundation/CFString.h"

std::optional<std::string> CFUTF8Text(CFStringRef string) {
  if (string == nullptr) return std::nullopt;
  const CFIndex length = CFStringGetLength(string);
  const CFRange all = CFRangeMake(0, length);
  CFIndex size = 0;
  if (CFStringGetBytes(string, all, kCFStringEncodingUTF8, 0, 0, nullptr, 0, &size) != length) {
    return std::nullopt;
  }
  std::string text(static_cast<std::size_t>(size), '\0');
  CFStringGetBytes(string, all, kCFStringEncodingUTF8, 0, 0, reinterpret_cast<UInt8*>(text.data()),
                   size, &size);
  return text;
}

CFStringRef CFUTF8CreateString(std::string_view bytes) {
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<CFIndex>::max())) return nullptr;
  return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                                 static_cast<CFIndex>(bytes.size()), kCFStringEncodingUTF8, 0);
}
