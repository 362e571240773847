// A bundle's code: mapping it, looking up names in it, unmapping it.
#include <dlfcn.h>
#include <link.h>

#include <map>
#include <utility>

#include "platform/CoreFoundation/CFBundleObject.h"
#include "platform/CoreFoundation/CFURLObject.h"
#include "platform/CoreFoundation/CFUTF8.h"
#include "platform/CoreFoundation/SharedLibraryCheck.h"

using CFBundleLayout::FileStamp;

namespace {

struct Mapping {
  void* handle = nullptr;
  void* image = nullptr;  ///< the link map
};

/// Which file each image loaded through here was mapped from.
struct ImageTable {
  struct Entry {
    FileStamp file;
    int count = 0;
  };
  std::mutex lock;
  std::map<void*, Entry> images;

  /// Whether `image` was mapped from another file than `file`.
  bool isFromAnother(void* image, const FileStamp& file) {
    const std::lock_guard guard(lock);
    const auto entry = images.find(image);
    return entry != images.end() && !entry->second.file.sameFile(file);
  }
  void enter(void* image, const FileStamp& file) {
    const std::lock_guard guard(lock);
    Entry& entry = images[image];
    entry.file = file;
    ++entry.count;
  }
  /// Whether nobody else has loaded `image` through here.
  bool isLast(void* image) {
    const std::lock_guard guard(lock);
    const auto entry = images.find(image);
    return entry != images.end() && entry->second.count == 1;
  }
  void leave(void* image) {
    const std::lock_guard guard(lock);
    const auto entry = images.find(image);
    if (entry != images.end() && --entry->second.count == 0) images.erase(entry);
  }
};

ImageTable& Images() {
  static ImageTable& table = *new ImageTable;
  return table;
}

/// The bundle whose initialisers this thread is running, and the file they are in.
struct Loading {
  CFBundleRef bundle;
  FileStamp file;
};
thread_local const Loading* currentLoading = nullptr;

void* ImageOf(void* handle) {
  link_map* map = nullptr;
  return dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 ? map : nullptr;
}

/// Maps the file that lies at `path` now. The dynamic loader knows a library by the path it was
/// loaded from, so that a file put there since would not be looked at while the old one is mapped:
/// then the new one is loaded by another way to write its path.
Mapping Map(const std::string& path, const FileStamp& file, std::string& error) {
  constexpr int kMode = RTLD_NOW | RTLD_LOCAL;
  const std::size_t slash = path.rfind('/') + 1;
  std::string spelling = path;
  for (;;) {
    Mapping mapping;
    mapping.handle = dlopen(spelling.c_str(), kMode | RTLD_NOLOAD);
    if (mapping.handle == nullptr) {
      mapping.handle = dlopen(spelling.c_str(), kMode);
    } else if (Images().isFromAnother(ImageOf(mapping.handle), file)) {
      dlclose(mapping.handle);
      spelling.insert(slash, "./");
      continue;
    }
    if (mapping.handle == nullptr) {
      const char* reason = dlerror();
      error = reason == nullptr ? path + ": cannot be loaded" : reason;
      return {};
    }
    mapping.image = ImageOf(mapping.handle);
    Images().enter(mapping.image, file);
    return mapping;
  }
}

/// Tells the executable. Not what it is linked against, where a look-up goes on.
void SayWillUnload(const Mapping& mapping) {
  void* const function = dlsym(mapping.handle, "LumivaneBundle_WillUnload");
  Dl_info info{};
  link_map* owner = nullptr;
  if (function == nullptr ||
      dladdr1(function, &info, reinterpret_cast<void**>(&owner), RTLD_DL_LINKMAP) == 0 ||
      owner != mapping.image) {
    return;
  }
  reinterpret_cast<void (*)()>(function)();
}

void Unmap(const Mapping& mapping) {
  if (mapping.handle == nullptr) return;
  if (Images().isLast(mapping.image)) SayWillUnload(mapping);
  Images().leave(mapping.image);
  dlclose(mapping.handle);
}

/// No lock is held while initialisers run: they may ask for their bundle or load others.
bool Load(CFBundleRef bundle, std::string& error) {
  if (CFBundleIsExecutableLoaded(bundle)) return true;
  const std::string& path = bundle->layout.executable;
  const std::optional<FileStamp> file = CFBundleLayout::StampOf(path);
  if (!file) {
    error = path + ": no such file";
    return false;
  }
  if (!SharedLibraryCheck(path, error)) return false;

  const Loading loading{bundle, *file};
  const Loading* const outer = std::exchange(currentLoading, &loading);
  Mapping mapping = Map(path, *file, error);
  currentLoading = outer;
  if (mapping.handle == nullptr) return false;
  {
    const std::lock_guard guard(bundle->lock);
    if (bundle->handle == nullptr) {
      bundle->handle = std::exchange(mapping.handle, nullptr);
      bundle->image = mapping.image;
    }
  }
  Unmap(mapping);  // Another thread was first.
  return true;
}

void* Symbol(CFBundleRef bundle, CFStringRef name) {
  const std::optional<std::string> text = CFUTF8Text(name);
  if (bundle == nullptr || !text || text->empty() || text->find('\0') != std::string::npos) {
    return nullptr;
  }
  if (bundle->isMain) return dlsym(RTLD_DEFAULT, text->c_str());
  if (!CFBundleLoadExecutable(bundle)) return nullptr;
  void* handle = nullptr;
  {
    const std::lock_guard guard(bundle->lock);
    handle = bundle->handle;
  }
  return handle == nullptr ? nullptr : dlsym(handle, text->c_str());
}

bool HasImage(CFBundleRef bundle, const void* image) {
  const std::lock_guard guard(bundle->lock);
  return bundle->image != nullptr && bundle->image == image;
}

CFBundleRef Retained(CFBundleRef bundle) {
  bundle->retainReference();
  return bundle;
}

}  // namespace

Boolean CFBundleLoadExecutable(CFBundleRef bundle) {
  return CFBundleLoadExecutableWithErrorText(bundle, nullptr);
}

Boolean CFBundleLoadExecutableWithErrorText(CFBundleRef bundle, CFStringRef* errorText) {
  if (errorText != nullptr) *errorText = nullptr;
  std::string error = "no bundle";
  if (bundle != nullptr && Load(bundle, error)) return 1;
  if (errorText != nullptr) {
    *errorText = CFUTF8CreateString(error);
    if (*errorText == nullptr) *errorText = CFUTF8CreateString(CFURLText::EncodePath(error));
  }
  return 0;
}

Boolean CFBundleIsExecutableLoaded(CFBundleRef bundle) {
  if (bundle == nullptr) return 0;
  if (bundle->isMain) return 1;
  const std::lock_guard guard(bundle->lock);
  return bundle->handle != nullptr;
}

void CFBundleUnloadExecutable(CFBundleRef bundle) {
  if (bundle == nullptr || bundle->isMain) return;
  Mapping mapping;
  {
    const std::lock_guard guard(bundle->lock);
    mapping.handle = std::exchange(bundle->handle, nullptr);
    mapping.image = std::exchange(bundle->image, nullptr);
  }
  Unmap(mapping);
}

void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name) {
  return Symbol(bundle, name);
}

void* CFBundleGetDataPointerForName(CFBundleRef bundle, CFStringRef name) {
  return Symbol(bundle, name);
}

CFBundleRef CFBundleCopyBundleForCodeAddress(const void* address) {
  Dl_info info{};
  link_map* image = nullptr;
  const CFBundleRef main = CFBundleGetMainBundle();
  if (dladdr1(address, &info, reinterpret_cast<void**>(&image), RTLD_DL_LINKMAP) == 0 ||
      image == nullptr || image->l_name == nullptr || *image->l_name == '\0') {
    return main;
  }
  CFBundleList live;
  CFBundleCollectLive(live);
  for (const CFBundleRef bundle : live) {
    if (HasImage(bundle, image)) return Retained(bundle);
  }
  // While its initialisers run no bundle has the image yet, but its file is known.
  const std::optional<FileStamp> file = CFBundleLayout::StampOf(image->l_name);
  if (file && currentLoading != nullptr && currentLoading->file.sameFile(*file)) {
    return Retained(currentLoading->bundle);
  }
  for (const CFBundleRef bundle : live) {
    if (file && bundle->layout.stamps.executable.sameFile(*file)) return Retained(bundle);
  }
  // Mapped by someone else, who linked against it or called the dynamic loader himself.
  if (const std::optional<std::string> path = CFBundleLayout::BundleOfExecutable(image->l_name)) {
    const CFURLRef url = CFURLCreateWithPathBytes(*path, true);
    const CFBundleRef bundle = CFBundleCreate(kCFAllocatorDefault, url);
    url->releaseReference();
    if (bundle != nullptr) return bundle;
  }
  return main;
}
