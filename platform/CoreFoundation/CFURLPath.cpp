// Paths in URLs: to and from the file system, and by component.
#include <climits>
#include <cstring>
#include <functional>
#include <utility>

#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFURLObject.h"
#include "platform/CoreFoundation/CFUTF8.h"
#include "platform/System/posix.h"

using CFURLText::Parts;

namespace {

bool IsFileScheme(const std::string& scheme) {
  return scheme.size() == 4 && strcasecmp(scheme.c_str(), "file") == 0;
}

/// A copy of `url` with another path.
CFURLRef CreateCopyWithPath(CFURLRef url, std::string path) {
  Parts parts = url->parts;
  parts.path = std::move(path);
  return new __CFURL(std::move(parts), url->base);
}

/// The path that component operations work on: an empty one stands for the base's.
const std::string& ComponentPath(CFURLRef url) {
  while (url->parts.path.empty() && url->base != nullptr) url = url->base;
  return url->parts.path;
}

/// Splits `path` behind its last component's name: the slashes behind it come second.
std::pair<std::string, std::string> SplitTrailingSlash(const std::string& path) {
  const std::size_t end = CFURLText::WithoutTrailingSlash(path).size();
  return {path.substr(0, end), path.substr(end)};
}

}  // namespace

std::optional<std::string> CFURLPathBytes(CFURLRef url, bool resolveAgainstBase) {
  if (url == nullptr) return std::nullopt;
  // Without a base that is resolved, scheme and host are still the base's.
  const Parts absolute = url->resolvedParts();
  if (absolute.scheme && !IsFileScheme(*absolute.scheme)) return std::nullopt;
  if (!absolute.isHierarchical()) return std::nullopt;
  if (absolute.authority && !absolute.authority->empty() && *absolute.authority != "localhost") {
    return std::nullopt;
  }
  std::optional<std::string> path =
      CFURLText::Decode(resolveAgainstBase ? absolute.path : url->parts.path);
  if (!path || path->empty() || path->find('\0') != std::string::npos) return std::nullopt;
  path->resize(CFURLText::WithoutTrailingSlash(*path).size());
  return path;
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style) {
  const std::optional<std::string> path = CFURLPathBytes(url, false);
  return path && style == kCFURLPOSIXPathStyle ? CFUTF8CreateString(*path) : nullptr;
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex bufferSize) {
  const std::optional<std::string> path = CFURLPathBytes(url, resolveAgainstBase != 0);
  if (!path || buffer == nullptr || bufferSize <= 0 ||
      path->size() >= static_cast<std::size_t>(bufferSize)) {
    return 0;
  }
  std::memcpy(buffer, path->c_str(), path->size() + 1);
  return 1;
}

CFStringRef CFURLCopyLastPathComponent(CFURLRef url) {
  if (!CFURLCanBeDecomposed(url)) return nullptr;
  const std::optional<std::string> name =
      CFURLText::Decode(CFURLText::LastComponent(ComponentPath(url)));
  return name ? CFUTF8CreateString(*name) : nullptr;
}

CFStringRef CFURLCopyPathExtension(CFURLRef url) {
  if (!CFURLCanBeDecomposed(url)) return nullptr;
  const std::optional<std::string> name =
      CFURLText::Decode(CFURLText::LastComponent(ComponentPath(url)));
  const std::size_t dot = name ? CFURLText::ExtensionDot(*name) : std::string::npos;
  return dot == std::string::npos ? nullptr : CFUTF8CreateString(name->substr(dot + 1));
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url, CFStringRef component,
                                               Boolean isDirectory) {
  const std::optional<std::string> name = CFUTF8Text(component);
  if (!CFURLCanBeDecomposed(url) || !name) return nullptr;
  std::string path = url->parts.path;
  const bool startsPath = path.empty() && !url->parts.authority;
  if (!startsPath && !path.ends_with('/')) path += '/';
  path += CFURLText::EncodePath(*name);
  if (isDirectory && !path.ends_with('/')) path += '/';
  return CreateCopyWithPath(url, std::move(path));
}

CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef, CFURLRef url) {
  if (!CFURLCanBeDecomposed(url)) return nullptr;
  std::string path = url->parts.path;
  const std::string_view last = CFURLText::LastComponent(path);
  if (last == "..") {
    path += path.ends_with('/') ? "../" : "/../";
  } else if (last == "/") {
    path = "/../";
  } else if (last.empty() || path == "." || path == "./") {
    path = "../";
  } else {
    path.resize(static_cast<std::size_t>(last.data() - path.data()));
    if (path.empty()) path = "./";
  }
  return CreateCopyWithPath(url, std::move(path));
}

CFURLRef CFURLCreateCopyAppendingPathExtension(CFAllocatorRef, CFURLRef url,
                                               CFStringRef extension) {
  const std::optional<std::string> bytes = CFUTF8Text(extension);
  if (!CFURLCanBeDecomposed(url) || !bytes) return nullptr;
  const auto [path, slash] = SplitTrailingSlash(url->parts.path);
  return CreateCopyWithPath(url, path + "." + CFURLText::EncodePath(*bytes) + slash);
}

CFURLRef CFURLCreateCopyDeletingPathExtension(CFAllocatorRef, CFURLRef url) {
  if (!CFURLCanBeDecomposed(url)) return nullptr;
  const auto [path, slash] = SplitTrailingSlash(url->parts.path);
  const std::string_view name = CFURLText::LastComponent(path);
  const std::size_t dot = CFURLText::ExtensionDot(name);
  if (dot == std::string_view::npos) return CreateCopyWithPath(url, url->parts.path);
  return CreateCopyWithPath(url, path.substr(0, path.size() - (name.size() - dot)) + slash);
}

CFStringRef CFURLCreateStringByReplacingPercentEscapes(CFAllocatorRef, CFStringRef text,
                                                       CFStringRef toLeaveEscaped) {
  const std::optional<std::string> bytes = CFUTF8Text(text);
  if (!bytes) return nullptr;
  if (toLeaveEscaped == nullptr) return CFUTF8CreateString(*bytes);
  const std::optional<std::string> leave = CFUTF8Text(toLeaveEscaped);
  const std::optional<std::string> decoded =
      leave ? CFURLText::Decode(*bytes, *leave) : std::nullopt;
  return decoded ? CFUTF8CreateString(*decoded) : nullptr;
}

CFStringRef CFURLCreateStringByAddingPercentEscapes(CFAllocatorRef, CFStringRef text,
                                                    CFStringRef toLeaveUnescaped,
                                                    CFStringRef toBeEscaped) {
  const std::optional<std::string> bytes = CFUTF8Text(text);
  if (!bytes) return nullptr;
  const std::string leave = CFUTF8Text(toLeaveUnescaped).value_or("");
  const std::string escape = CFUTF8Text(toBeEscaped).value_or("");
  return CFUTF8CreateString(CFURLText::Encode(*bytes, leave, escape));
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef, const FSRef* ref) {
  UInt8 path[PATH_MAX];
  if (ref == nullptr || FSRefMakePath(ref, path, sizeof path) != noErr) return nullptr;
  const auto* bytes = reinterpret_cast<const char*>(path);
  struct stat info;
  if (stat(bytes, &info) != 0 && lstat(bytes, &info) != 0) return nullptr;
  return CFURLCreateWithPathBytes(bytes, S_ISDIR(info.st_mode));
}

Boolean CFURLGetFSRef(CFURLRef url, FSRef* ref) {
  const std::optional<std::string> path = CFURLPathBytes(url, true);
  if (!path || ref == nullptr) return 0;
  FSRef found;
  if (FSPathMakeRef(reinterpret_cast<const UInt8*>(path->c_str()), &found, nullptr) != noErr) {
    return 0;
  }
  *ref = found;
  return 1;
}
