#include "platform/CoreFoundation/CFBundle.h"

#include <climits>
#include <cstring>
#include <functional>
#include <map>
#include <utility>

#include "platform/CoreFoundation/CFArray.h"
#include "platform/CoreFoundation/CFBundleObject.h"
#include "platform/CoreFoundation/CFDictionary.h"
#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreFoundation/CFURLObject.h"
#include "platform/CoreFoundation/CFUTF8.h"
#include "platform/System/posix.h"

using CFBundleLayout::Kind;
using CFBundleLayout::Layout;

namespace {

/// Every live bundle but the main one. Owns none of them: a bundle leaves when it dies.
struct BundleTable {
  std::mutex lock;
  std::map<std::string, CFBundleRef> current;  ///< by key: the newest state of each path
  std::vector<CFBundleRef> all;                ///< replaced ones too, oldest first
};

// Never destroyed: bundles are released until the process ends.
BundleTable& Table() {
  static BundleTable& table = *new BundleTable;
  return table;
}

/// A path's new CFString; bytes that are not UTF-8 show as their URL would.
std::string PathText(const std::string& path) {
  const CFStringRef string = CFUTF8CreateString(path);
  std::string text = string == nullptr ? CFURLText::EncodePath(path) : path;
  CFRelease(string);
  return text;
}

void SetErrorText(CFStringRef* errorText, const std::string& error) {
  if (errorText != nullptr) *errorText = CFUTF8CreateString(PathText(error));
}

std::string RunningExecutable() {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  if (length <= 0 || static_cast<std::size_t>(length) == sizeof path) return {};
  std::string executable(path, static_cast<std::size_t>(length));
  // What the kernel appends once the file was removed or replaced; it still says where it lay.
  constexpr std::string_view kDeleted = " (deleted)";
  if (executable.ends_with(kDeleted) && access(executable.c_str(), F_OK) != 0) {
    executable.resize(executable.size() - kDeleted.size());
  }
  return executable;
}

CFURLRef CopyFolderURL(CFBundleRef bundle, const char* name) {
  if (bundle == nullptr || !bundle->hasFolders()) return nullptr;
  return CFURLCreateWithPathBytes(bundle->folder(name), true);
}

}  // namespace

__CFBundle::__CFBundle(Layout found, bool main)
    : CFRuntimeObject(CFBundleGetTypeID(), main), layout(std::move(found)), isMain(main) {}

__CFBundle::~__CFBundle() {
  CFRelease(layout.info);
}

void __CFBundle::finalize() noexcept {
  {
    BundleTable& table = Table();
    const std::lock_guard guard(table.lock);
    std::erase(table.all, this);
    const auto entry = table.current.find(layout.key);
    if (entry != table.current.end() && entry->second == this) table.current.erase(entry);
  }
  CFBundleUnloadExecutable(this);
  delete this;
}

CFStringRef __CFBundle::copyDescriptionText() const {
  const bool loaded = CFBundleIsExecutableLoaded(const_cast<CFBundleRef>(this)) != 0;
  return CFUTF8CreateString("CFBundle <" + PathText(layout.path) + "> (executable, " +
                            (loaded ? "loaded)" : "not loaded)"));
}

CFTypeID CFBundleGetTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFBundle");
  return typeID;
}

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef bundleURL) {
  return CFBundleCreateWithErrorText(bundleURL, nullptr);
}

CFBundleRef CFBundleCreateWithErrorText(CFURLRef bundleURL, CFStringRef* errorText) {
  if (errorText != nullptr) *errorText = nullptr;
  const std::optional<std::string> path = CFURLPathBytes(bundleURL, true);
  if (!path || !path->starts_with('/')) {
    SetErrorText(errorText, "not an absolute file URL");
    return nullptr;
  }
  std::string error;
  std::optional<Layout> layout = CFBundleLayout::Find(*path, error);
  if (!layout) {
    SetErrorText(errorText, error);
    return nullptr;
  }
  const CFBundleRef main = CFBundleGetMainBundle();
  if (main->hasFolders() && main->layout.key == layout->key &&
      main->layout.stamps == layout->stamps) {
    CFRelease(layout->info);
    return main;
  }

  BundleTable& table = Table();
  const std::lock_guard guard(table.lock);
  CFBundleRef& current = table.current[layout->key];
  if (current != nullptr && current->layout.stamps == layout->stamps && current->retainIfAlive()) {
    CFRelease(layout->info);
    return current;
  }
  current = new __CFBundle(std::move(*layout), false);
  table.all.push_back(current);
  return current;
}

CFBundleRef CFBundleGetMainBundle() {
  static const CFBundleRef main =
      new __CFBundle(CFBundleLayout::FindForProgram(RunningExecutable()), true);
  return main;
}

void CFBundleCollectLive(CFBundleList& list) {
  BundleTable& table = Table();
  const std::lock_guard guard(table.lock);
  for (const CFBundleRef bundle : table.all) {
    if (bundle->retainIfAlive()) list.adopt(bundle);
  }
}

CFBundleRef CFBundleGetBundleWithIdentifier(CFStringRef identifier) {
  if (identifier == nullptr) return nullptr;
  const CFBundleRef main = CFBundleGetMainBundle();
  if (CFEqual(CFBundleGetIdentifier(main), identifier)) return main;
  CFBundleList live;
  CFBundleCollectLive(live);
  CFBundleRef found = nullptr;
  for (const CFBundleRef bundle : live) {
    // Of several states of one bundle the newest that is loaded counts, else the newest.
    if (CFEqual(CFBundleGetIdentifier(bundle), identifier) &&
        (found == nullptr || CFBundleIsExecutableLoaded(bundle) ||
         !CFBundleIsExecutableLoaded(found))) {
      found = bundle;
    }
  }
  return found;
}

CFArrayRef CFBundleGetAllBundles() {
  static std::mutex lock;
  static CFArrayRef last = nullptr;
  CFBundleList live;
  CFBundleCollectLive(live);
  std::vector<const void*> bundles{CFBundleGetMainBundle()};
  bundles.insert(bundles.end(), live.begin(), live.end());
  const std::lock_guard guard(lock);
  CFRelease(last);
  last = CFArrayCreate(kCFAllocatorDefault, bundles.data(), static_cast<CFIndex>(bundles.size()),
                       nullptr);
  return last;
}

CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef bundle) {
  return bundle == nullptr ? nullptr : bundle->layout.info;
}

CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key) {
  if (bundle == nullptr || key == nullptr) return nullptr;
  return CFDictionaryGetValue(bundle->layout.info, key);
}

CFStringRef CFBundleGetIdentifier(CFBundleRef bundle) {
  const CFTypeRef value = CFBundleGetValueForInfoDictionaryKey(bundle, CFSTR("CFBundleIdentifier"));
  return value != nullptr && CFGetTypeID(value) == CFStringGetTypeID()
             ? static_cast<CFStringRef>(value)
             : nullptr;
}

CFStringRef CFBundleCopyInfoDictionaryErrorText(CFBundleRef bundle) {
  if (bundle == nullptr || bundle->layout.infoError.empty()) return nullptr;
  return CFUTF8CreateString(PathText(bundle->layout.infoError));
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle) {
  if (bundle == nullptr) return nullptr;
  return CFURLCreateWithPathBytes(bundle->layout.path, bundle->layout.kind != Kind::kLibrary);
}

CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle) {
  if (bundle == nullptr || bundle->layout.executable.empty()) return nullptr;
  return CFURLCreateWithPathBytes(bundle->layout.executable, false);
}

CFURLRef CFBundleCopySupportFilesDirectoryURL(CFBundleRef bundle) {
  if (bundle == nullptr || !bundle->hasFolders()) return nullptr;
  return CFURLCreateWithPathBytes(bundle->layout.contents, true);
}

CFURLRef CFBundleCopyResourcesDirectoryURL(CFBundleRef bundle) {
  return CopyFolderURL(bundle, "Resources");
}

CFURLRef CFBundleCopyPrivateFrameworksURL(CFBundleRef bundle) {
  return CopyFolderURL(bundle, "Frameworks");
}

CFURLRef CFBundleCopySharedFrameworksURL(CFBundleRef bundle) {
  return CopyFolderURL(bundle, "SharedFrameworks");
}

CFURLRef CFBundleCopyBuiltInPlugInsURL(CFBundleRef bundle) {
  return CopyFolderURL(bundle, "PlugIns");
}
