#include "tests/support/CFOwned.h"

#include <climits>
#include <vector>

#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFURL.h"

namespace test {

std::string TextOf(CFStringRef string) {
  if (string == nullptr) return "(null)";
  std::vector<char> buffer(static_cast<std::size_t>(CFStringGetLength(string)) * 4 + 1);
  CFIndex size = 0;
  CFStringGetBytes(string, CFRangeMake(0, CFStringGetLength(string)), kCFStringEncodingUTF8, '?', 0,
                   reinterpret_cast<UInt8*>(buffer.data()), static_cast<CFIndex>(buffer.size()),
                   &size);
  return {buffer.data(), static_cast<std::size_t>(size)};
}

std::string TakeText(CFStringRef owned) {
  return TextOf(CFOwned<CFStringRef>(owned));
}

CFOwned<CFStringRef> String(std::string_view utf8) {
  return CFOwned<CFStringRef>(
      CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(utf8.data()),
                              static_cast<CFIndex>(utf8.size()), kCFStringEncodingUTF8, 0));
}

CFOwned<CFURLRef> FileURL(const std::filesystem::path& path, bool isDirectory) {
  const std::string& bytes = path.native();
  return CFOwned<CFURLRef>(CFURLCreateFromFileSystemRepresentation(
      kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
      static_cast<CFIndex>(bytes.size()), isDirectory));
}

std::string PathOf(CFURLRef url) {
  UInt8 path[PATH_MAX];
  if (!CFURLGetFileSystemRepresentation(url, 1, path, sizeof path)) return "(null)";
  return reinterpret_cast<const char*>(path);
}

std::string TakePath(CFURLRef owned) {
  return PathOf(CFOwned<CFURLRef>(owned));
}

}  // namespace test
