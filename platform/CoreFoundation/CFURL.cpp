#include "platform/CoreFoundation/CFURL.h"

#include <climits>
#include <cstring>
#include <functional>
#include <utility>

#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreFoundation/CFURLObject.h"
#include "platform/CoreFoundation/CFUTF8.h"
#include "platform/System/posix.h"

using CFURLText::Parts;

__CFURL::__CFURL(Parts urlParts, CFURLRef baseURL)
    : CFRuntimeObject(CFURLGetTypeID()),
      parts(std::move(urlParts)),
      text(CFURLText::Join(parts)),
      string(CFUTF8CreateString(text)),
      base(baseURL) {
  if (base != nullptr) base->retainReference();
}

__CFURL::~__CFURL() {
  CFRelease(string);
  if (base != nullptr) base->releaseReference();
}

bool __CFURL::isEqualTo(const CFRuntimeObject& other) const {
  const auto& url = static_cast<const __CFURL&>(other);
  if (text != url.text || (base == nullptr) != (url.base == nullptr)) return false;
  return base == nullptr || base == url.base || base->isEqualTo(*url.base);
}

CFHashCode __CFURL::hashValue() const {
  return static_cast<CFHashCode>(std::hash<std::string>()(text));
}

CFStringRef __CFURL::copyDescriptionText() const {
  return CFUTF8CreateString("<CFURL>{string = " + text +
                            ", base = " + (base == nullptr ? "(null)" : base->text) + "}");
}

Parts __CFURL::resolvedParts() const {
  return base == nullptr ? parts : CFURLText::Resolve(base->resolvedParts(), parts);
}

CFTypeID CFURLGetTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFURL");
  return typeID;
}

CFURLRef CFURLCreateWithString(CFAllocatorRef, CFStringRef text, CFURLRef base) {
  const std::optional<std::string> bytes = CFUTF8Text(text);
  if (!bytes || !CFURLText::IsWellFormed(*bytes) || (bytes->empty() && base == nullptr)) {
    return nullptr;
  }
  return new __CFURL(CFURLText::Split(*bytes), base);
}

CFURLRef CFURLCreateWithPathBytes(std::string_view path, bool isDirectory) {
  path = CFURLText::WithoutTrailingSlash(path);
  Parts parts;
  parts.scheme = "file";
  parts.authority = "";
  parts.path = CFURLText::EncodePath(path);
  if (isDirectory && !parts.path.ends_with('/')) parts.path += '/';
  return new __CFURL(std::move(parts), nullptr);
}

namespace {

CFURLRef CreateWithCurrentFolder() {
  char folder[PATH_MAX];
  return getcwd(folder, sizeof folder) == nullptr ? nullptr
                                                  : CFURLCreateWithPathBytes(folder, true);
}

CFURLRef CreateWithPath(std::string_view path, bool isDirectory, CFURLRef base) {
  if (path.empty() || path.find('\0') != std::string_view::npos) return nullptr;
  if (path.starts_with('/')) return CFURLCreateWithPathBytes(path, isDirectory);
  Parts parts;
  parts.path = CFURLText::EncodePath(CFURLText::WithoutTrailingSlash(path));
  if (isDirectory) parts.path += '/';
  if (base != nullptr) return new __CFURL(std::move(parts), base);
  const CFURLRef folder = CreateWithCurrentFolder();
  if (folder == nullptr) return nullptr;
  const CFURLRef url = new __CFURL(std::move(parts), folder);
  CFRelease(folder);
  return url;
}

}  // namespace

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path,
                                       CFURLPathStyle style, Boolean isDirectory) {
  return CFURLCreateWithFileSystemPathRelativeToBase(allocator, path, style, isDirectory, nullptr);
}

CFURLRef CFURLCreateWithFileSystemPathRelativeToBase(CFAllocatorRef, CFStringRef path,
                                                     CFURLPathStyle style, Boolean isDirectory,
                                                     CFURLRef base) {
  const std::optional<std::string> bytes = CFUTF8Text(path);
  if (!bytes || style != kCFURLPOSIXPathStyle) return nullptr;
  return CreateWithPath(*bytes, isDirectory != 0, base);
}

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* path,
                                                 CFIndex length, Boolean isDirectory) {
  return CFURLCreateFromFileSystemRepresentationRelativeToBase(allocator, path, length, isDirectory,
                                                               nullptr);
}

CFURLRef CFURLCreateFromFileSystemRepresentationRelativeToBase(CFAllocatorRef, const UInt8* path,
                                                               CFIndex length, Boolean isDirectory,
                                                               CFURLRef base) {
  if (path == nullptr || length <= 0) return nullptr;
  return CreateWithPath({reinterpret_cast<const char*>(path), static_cast<std::size_t>(length)},
                        isDirectory != 0, base);
}

CFStringRef CFURLGetString(CFURLRef url) {
  return url == nullptr ? nullptr : url->string;
}

CFURLRef CFURLGetBaseURL(CFURLRef url) {
  return url == nullptr ? nullptr : url->base;
}

CFURLRef CFURLCopyAbsoluteURL(CFURLRef url) {
  if (url == nullptr) return nullptr;
  if (url->base != nullptr) return new __CFURL(url->resolvedParts(), nullptr);
  url->retainReference();
  return url;
}

Boolean CFURLCanBeDecomposed(CFURLRef url) {
  return url != nullptr && url->parts.isHierarchical();
}

CFStringRef CFURLCopyScheme(CFURLRef url) {
  for (; url != nullptr; url = url->base) {
    if (url->parts.scheme) return CFUTF8CreateString(*url->parts.scheme);
  }
  return nullptr;
}

CFStringRef CFURLCopyNetLocation(CFURLRef url) {
  if (url == nullptr) return nullptr;
  const std::optional<std::string> authority = url->resolvedParts().authority;
  return !authority || authority->empty() ? nullptr : CFUTF8CreateString(*authority);
}

CFStringRef CFURLCopyPath(CFURLRef url) {
  return CFURLCanBeDecomposed(url) ? CFUTF8CreateString(url->parts.path) : nullptr;
}

Boolean CFURLHasDirectoryPath(CFURLRef url) {
  if (!CFURLCanBeDecomposed(url)) return 0;
  const std::string& path = url->parts.path;
  if (path.empty()) return CFURLHasDirectoryPath(url->base);
  const std::string_view last = CFURLText::LastComponent(path);
  return path.ends_with('/') || last == "." || last == "..";
}
