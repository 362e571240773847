#include "platform/CoreFoundation/CFBundleLayout.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/CoreFoundation/CFDictionary.h"
#include "platform/CoreFoundation/CFPropertyList.h"
#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreFoundation/CFURLText.h"
#include "platform/CoreFoundation/CFUTF8.h"
#include "platform/System/posix.h"

namespace CFBundleLayout {

namespace {

constexpr char kExecutableFolder[] = "/Contents/Linux";

std::int64_t Nanoseconds(const timespec& time) {
  return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

FileStamp StampOf(const struct stat& info) {
  return {info.st_dev, info.st_ino, info.st_size, Nanoseconds(info.st_mtim),
          Nanoseconds(info.st_ctim)};
}

FileStamp FolderStamp(const struct stat& info) {
  return {info.st_dev, info.st_ino, 0, 0, 0};
}

bool IsFolder(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::optional<FileStamp> RegularFile(const std::string& path) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  return StampOf(info);
}

std::string LastName(const std::string& path) {
  return std::string(CFURLText::LastComponent(path));
}

std::string NameLessExtension(const std::string& path) {
  const std::string name = LastName(path);
  return name.substr(0, CFURLText::ExtensionDot(name));
}

/// The path with every link resolved; as it is when that fails.
std::string RealPath(const std::string& path) {
  char resolved[PATH_MAX];
  return realpath(path.c_str(), resolved) == nullptr ? path : resolved;
}

/// The last component stays as it is: a link to a bundle is a bundle of its own place.
std::string KeyOf(const std::string& path) {
  const std::string name = LastName(path);
  if (name == "/" || name == "." || name == "..") return RealPath(path);
  std::string folder = RealPath(path.substr(0, path.size() - name.size()));
  if (!folder.ends_with('/')) folder += '/';
  return folder + name;
}

/// The bytes of a regular file and its stamp; nothing when there is no such file. Never waits on a
/// pipe or a device that lies in its place.
std::optional<std::string> ReadSmallFile(const std::string& path, FileStamp& stamp,
                                         std::string& error) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) {
    if (errno != ENOENT && errno != ENOTDIR) error = path + ": " + std::strerror(errno);
    return std::nullopt;
  }
  struct stat info;
  std::optional<std::string> bytes;
  if (fstat(file, &info) != 0) {
    error = path + ": " + std::strerror(errno);
  } else if (!S_ISREG(info.st_mode)) {
    error = path + ": not a regular file";
  } else {
    stamp = StampOf(info);
    bytes.emplace();
    char buffer[16384];
    ssize_t count = 0;
    while (bytes->size() <= kCFPropertyListMaximumBytes &&
           (count = read(file, buffer, sizeof buffer)) > 0) {
      bytes->append(buffer, static_cast<std::size_t>(count));
    }
    if (count < 0) {
      error = path + ": " + std::strerror(errno);
      bytes.reset();
    }
  }
  close(file);
  return bytes;
}

/// The dictionary in the Info.plist at `path` into `layout`. False when no file is there.
bool ReadInfo(const std::string& path, Layout& layout) {
  FileStamp stamp;
  const std::optional<std::string> bytes = ReadSmallFile(path, stamp, layout.infoError);
  if (!bytes) return !layout.infoError.empty();
  layout.stamps.infoPlist = stamp;
  CFStringRef error = nullptr;
  const CFPropertyListRef list =
      CFPropertyListCreateFromBytes(bytes->data(), bytes->size(), &error);
  if (list == nullptr) {
    layout.infoError = path + ": " + CFUTF8Text(error).value_or("not a property list");
    CFRelease(error);
  } else if (CFGetTypeID(list) != CFDictionaryGetTypeID()) {
    layout.infoError = path + ": not a dictionary";
    CFRelease(list);
  } else {
    layout.info = static_cast<CFDictionaryRef>(list);
  }
  return true;
}

CFDictionaryRef EmptyDictionary() {
  return CFDictionaryCreate(kCFAllocatorDefault, nullptr, nullptr, 0,
                            &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
}

/// The names the executable may have, the likeliest first.
std::vector<std::string> ExecutableNames(const Layout& layout) {
  const CFTypeRef value = CFDictionaryGetValue(layout.info, CFSTR("CFBundleExecutable"));
  if (CFGetTypeID(value) == CFStringGetTypeID()) {
    std::string name = CFUTF8Text(static_cast<CFStringRef>(value)).value_or("");
    // A name, never a way out of the bundle.
    const bool isName = !name.empty() && name != "." && name != ".." &&
                        name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
    if (!isName) return {};
    return {std::move(name)};
  }
  std::vector<std::string> names{NameLessExtension(layout.path)};
  if (std::string real = NameLessExtension(RealPath(layout.path)); real != names[0]) {
    names.push_back(std::move(real));
  }
  return names;
}

/// Fills in the folders and the Info.plist of the folder bundle at `layout.path`.
void ReadFolder(Layout& layout) {
  layout.contents = layout.path + "/Contents";
  if (IsFolder(layout.contents)) {
    ReadInfo(layout.contents + "/Info.plist", layout);
  } else {
    layout.contents = layout.path;
    if (!ReadInfo(layout.path + "/Info.plist", layout)) {
      ReadInfo(layout.path + "/Resources/Info.plist", layout);
    }
  }
  if (layout.info == nullptr) layout.info = EmptyDictionary();
}

bool FindExecutable(Layout& layout, std::string& error) {
  const std::vector<std::string> names = ExecutableNames(layout);
  if (names.empty()) {
    error = layout.path + ": CFBundleExecutable in the Info.plist is not a file name";
    return false;
  }
  std::vector<std::string> places;
  for (const std::string& name : names) {
    places.push_back(layout.path + kExecutableFolder + "/" + name);
    if (layout.path.ends_with(".framework")) places.push_back(layout.path + "/" + name);
  }
  for (const std::string& place : places) {
    if (const std::optional<FileStamp> stamp = RegularFile(place)) {
      layout.executable = place;
      layout.stamps.executable = *stamp;
      return true;
    }
  }
  error = layout.path + ": no executable: " + places[0] + " is no regular file";
  if (!layout.infoError.empty()) error += "; " + layout.infoError;
  return false;
}

}  // namespace

std::optional<FileStamp> StampOf(const std::string& path) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) return std::nullopt;
  return StampOf(info);
}

std::optional<Layout> Find(const std::string& path, std::string& error) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) {
    const int reason = errno;
    char target[PATH_MAX];
    const ssize_t length = readlink(path.c_str(), target, sizeof target);
    error =
        path + ": " +
        (length > 0 ? "a link to " + std::string(target, static_cast<std::size_t>(length)) + ": "
                    : "") +
        std::strerror(reason);
    return std::nullopt;
  }
  Layout layout;
  layout.path = path;
  layout.key = KeyOf(path);
  if (S_ISREG(info.st_mode)) {
    layout.kind = Kind::kLibrary;
    layout.executable = path;
    layout.info = EmptyDictionary();
    layout.stamps.bundle = layout.stamps.executable = StampOf(info);
    return layout;
  }
  if (!S_ISDIR(info.st_mode)) {
    error = path + ": neither a folder nor a regular file";
    return std::nullopt;
  }
  layout.stamps.bundle = FolderStamp(info);
  ReadFolder(layout);
  if (FindExecutable(layout, error)) return layout;
  CFRelease(layout.info);
  return std::nullopt;
}

std::optional<std::string> BundleOfExecutable(const std::string& executable) {
  const std::size_t slash = executable.rfind('/');
  if (slash == std::string::npos) return std::nullopt;
  const std::string folder = executable.substr(0, slash);
  if (!folder.ends_with(kExecutableFolder)) return std::nullopt;
  std::string bundle = folder.substr(0, folder.size() - std::strlen(kExecutableFolder));
  if (CFURLText::ExtensionDot(LastName(bundle)) == std::string_view::npos) return std::nullopt;
  return bundle;
}

Layout FindForProgram(const std::string& executable) {
  Layout layout;
  layout.executable = executable;
  layout.stamps.executable = StampOf(executable).value_or(FileStamp{});
  if (const std::optional<std::string> bundle = BundleOfExecutable(executable)) {
    layout.path = *bundle;
    struct stat info;
    if (stat(bundle->c_str(), &info) == 0) layout.stamps.bundle = FolderStamp(info);
    ReadFolder(layout);
  } else {
    layout.kind = Kind::kBare;
    const std::size_t slash = executable.rfind('/');
    layout.path = slash == std::string::npos || slash == 0 ? "/" : executable.substr(0, slash);
    layout.info = EmptyDictionary();
  }
  layout.key = KeyOf(layout.path);
  return layout;
}

}  // namespace CFBundleLayout
