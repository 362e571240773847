#include "platform/CoreImage/CIPlugIn.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/FilterRegistry.h"
#include "platform/CoreImage/PlugInFolders.h"
#include "platform/Foundation/ClassRegistry.h"
#include "platform/Foundation/NSAutoreleasePool.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSValues.h"
#include "platform/Foundation/Text.h"

using lumivane::coreimage::FilterRegistry;
using lumivane::foundation::ClassRegistry;
using lumivane::foundation::DictionaryValue;
using lumivane::foundation::StringValue;
using lumivane::foundation::Utf8;

namespace {

struct LoadedPlugIn {
  CIPlugInStatus status;
  CFBundleRef bundle;
  CIPlugInRegistration* registration;
  bool mappedBefore;  ///< somebody else loaded the executable, and unloads it
};

struct Loader {
  // Recursive: a registration object may ask for other plug-ins while it is asked itself.
  std::recursive_mutex lock;
  std::vector<LoadedPlugIn> plugIns;
  std::vector<std::string> underWay;  ///< paths of the plug-ins being loaded
};

// Never destroyed: what is loaded stays loaded until the process ends.
Loader& Shared() {
  static Loader& loader = *new Loader;
  return loader;
}

std::string TakeText(CFStringRef text) {
  std::string result = Utf8(text);
  NSRelease(text);
  return result;
}

/// The path without links, so that one plug-in is one however it is reached; as given when nothing
/// is there.
std::string RealPath(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
  return real != nullptr ? std::string(real.get()) : path;
}

std::string FileName(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

/// Objects that the class records of the bundle's executable made and that still live.
CFIndex LiveObjects(CFBundleRef bundle) {
  CFIndex living = 0;
  for (const Class record : ClassRegistry::Shared().All()) {
    const CFBundleRef holder = CFBundleCopyBundleForCodeAddress(record->codeAddress());
    if (holder == bundle) living += record->liveInstances();
    CFRelease(holder);
  }
  return living;
}

struct ListedFilter {
  std::string name;
  std::string className;
  NSDictionary* attributes;  ///< the bundle's
};

/// The filters an Info.plist lists, sorted by name; false with `error` when there is no such list.
bool ReadFilterList(NSDictionary* info, std::vector<ListedFilter>& filters, std::string& error) {
  NSDictionary* const list = DictionaryValue(info, CFSTR("CIPlugInFilterList"));
  if (list == nullptr || CFDictionaryGetCount(list) == 0) {
    error = "its Info.plist lists no filters (CIPlugInFilterList)";
    return false;
  }
  const auto count = static_cast<std::size_t>(CFDictionaryGetCount(list));
  std::vector<const void*> keys(count);
  std::vector<const void*> values(count);
  CFDictionaryGetKeysAndValues(list, keys.data(), values.data());
  for (std::size_t i = 0; i < count; ++i) {
    const std::string name = Utf8(static_cast<NSString*>(keys[i]));
    if (!NSIsDictionary(values[i])) {
      error = "its Info.plist does not describe the filter " + name + " by a dictionary";
      return false;
    }
    auto* const description = static_cast<NSDictionary*>(values[i]);
    NSString* const className = StringValue(description, CFSTR("CIFilterClass"));
    filters.push_back({name, className != nullptr ? Utf8(className) : name,
                       DictionaryValue(description, CFSTR("CIFilterAttributes"))});
  }
  std::sort(filters.begin(), filters.end(),
            [](const ListedFilter& a, const ListedFilter& b) { return a.name < b.name; });
  return true;
}

/// Makes the plug-in's registration object, which the caller owns; null with `error`.
CIPlugInRegistration* MakeRegistration(NSBundle* bundle, const std::string& className,
                                       std::string& error) {
  const Class principal = bundle->classNamed(NSString_stringWithUTF8String(className.c_str()));
  if (principal == nullptr) {
    error = "its executable registers no class " + className + ", which NSPrincipalClass names";
    return nullptr;
  }
  NSObject* const object = principal->alloc();
  NSObject* const ready = object == nullptr ? nullptr : object->init();
  auto* const registration = dynamic_cast<CIPlugInRegistration*>(ready);
  if (registration == nullptr) {
    NSRelease(ready);
    error = "its class " + className + " cannot be made or is no registration class";
  }
  return registration;
}

bool RegisterFilters(NSBundle* bundle, const std::vector<ListedFilter>& filters,
                     CIPlugInStatus& status) {
  std::vector<std::pair<const ListedFilter*, Class>> found;
  for (const ListedFilter& filter : filters) {
    const Class filterClass =
        bundle->classNamed(NSString_stringWithUTF8String(filter.className.c_str()));
    if (filterClass == nullptr || !filterClass->isSubclassOf("CIFilter")) {
      status.error = "its executable registers no filter class " + filter.className;
      return false;
    }
    found.emplace_back(&filter, filterClass);
  }
  for (const auto& [filter, filterClass] : found) {
    if (FilterRegistry::Shared().Add(filter->name, filterClass, filter->attributes)) {
      status.filters.push_back(filter->name);
    }
  }
  if (status.filters.empty()) {
    status.error = "another plug-in has registered its filters already";
    return false;
  }
  return true;
}

/// Loads the executable and registers what it offers; on failure `status.error` says why and the
/// executable may be left loaded.
CIPlugInRegistration* Start(CFBundleRef cfBundle, const std::vector<ListedFilter>& filters,
                            const std::string& principal, CIPlugInStatus& status) {
  CFStringRef reason = nullptr;
  if (!CFBundleLoadExecutableWithErrorText(cfBundle, &reason)) {
    status.error = "its executable cannot be loaded: " + TakeText(reason);
    return nullptr;
  }
  NSBundle* const bundle = NSBundle::bundleWithCFBundle(cfBundle);
  CIPlugInRegistration* const registration = MakeRegistration(bundle, principal, status.error);
  if (registration == nullptr) return nullptr;
  bool accepted = false;
  try {
    accepted = registration->load(nullptr) != NO;
    if (!accepted) status.error = "it refuses to be used in this program";
  } catch (...) {
    status.error = "its registration class failed with an exception";
  }
  if (!accepted || !RegisterFilters(bundle, filters, status)) {
    registration->release();
    return nullptr;
  }
  return registration;
}

/// Reads the description, then starts the plug-in; null with `status.error`.
CIPlugInRegistration* Describe(CFBundleRef bundle, bool allowExecutableCode,
                               CIPlugInStatus& status) {
  NSDictionary* const info = CFBundleGetInfoDictionary(bundle);
  if (NSString* const name = StringValue(info, CFSTR("CIPlugInDisplayName"))) {
    status.displayName = Utf8(name);
  }
  status.version = Utf8(StringValue(info, CFSTR("CIPlugInVersion")));
  const std::string principal = Utf8(StringValue(info, CFSTR("NSPrincipalClass")));
  std::vector<ListedFilter> filters;
  if (const CFStringRef broken = CFBundleCopyInfoDictionaryErrorText(bundle)) {
    status.error = "its Info.plist cannot be read: " + TakeText(broken);
    return nullptr;
  }
  if (principal.empty()) {
    status.error = "its Info.plist names no registration class (NSPrincipalClass)";
    return nullptr;
  }
  if (!ReadFilterList(info, filters, status.error)) return nullptr;
  if (!allowExecutableCode) {
    status.error = "it brings executable code, which the host does not allow";
    return nullptr;
  }
  // Objects made on the way must be gone before the executable is.
  const NSAutoreleasePool pool;
  return Start(bundle, filters, principal, status);
}

/// Gives the bundle of a plug-in that did not start back.
void Abandon(CFBundleRef bundle, bool mappedBefore) {
  if (!mappedBefore) {
    // Where an object outlived the attempt, its code must stay: the reference is kept for it.
    if (LiveObjects(bundle) > 0) return;
    CFBundleUnloadExecutable(bundle);
  }
  CFRelease(bundle);
}

bool Load(Loader& loader, const std::string& path, bool allowExecutableCode,
          CIPlugInStatus& status) {
  status = {};
  status.path = RealPath(path);
  status.displayName = FileName(status.path);
  for (const LoadedPlugIn& plugIn : loader.plugIns) {
    if (plugIn.status.path == status.path) {
      status = plugIn.status;
      return true;
    }
  }
  if (std::find(loader.underWay.begin(), loader.underWay.end(), status.path) !=
      loader.underWay.end()) {
    status.error = "it is being loaded already";
    return false;
  }
  const CFURLRef url = CFURLCreateFromFileSystemRepresentation(
      kCFAllocatorDefault, reinterpret_cast<const UInt8*>(status.path.c_str()),
      static_cast<CFIndex>(status.path.size()), true);
  CFStringRef reason = nullptr;
  const CFBundleRef bundle = url != nullptr ? CFBundleCreateWithErrorText(url, &reason) : nullptr;
  NSRelease(url);
  if (bundle == nullptr) {
    const std::string why = TakeText(reason);
    status.error = "it is no bundle" + (why.empty() ? why : ": " + why);
    return false;
  }
  const bool mappedBefore = CFBundleIsExecutableLoaded(bundle);
  loader.underWay.push_back(status.path);
  CIPlugInRegistration* const registration = Describe(bundle, allowExecutableCode, status);
  loader.underWay.pop_back();
  if (registration == nullptr) {
    Abandon(bundle, mappedBefore);
    return false;
  }
  status.loaded = true;
  loader.plugIns.push_back({status, bundle, registration, mappedBefore});
  return true;
}

}  // namespace

bool CIPlugIn::loadPlugIn(const std::string& path, CIPlugInStatus* status) {
  Loader& loader = Shared();
  const std::lock_guard guard(loader.lock);
  CIPlugInStatus own;
  return Load(loader, path, true, status != nullptr ? *status : own);
}

bool CIPlugIn::loadPlugIn(CFURLRef url, bool allowExecutableCode, CIPlugInStatus* status) {
  char path[4096];
  CIPlugInStatus own;
  CIPlugInStatus& result = status != nullptr ? *status : own;
  if (url == nullptr ||
      !CFURLGetFileSystemRepresentation(url, true, reinterpret_cast<UInt8*>(path), sizeof path)) {
    result = {};
    result.error = "its place is not a file URL";
    return false;
  }
  Loader& loader = Shared();
  const std::lock_guard guard(loader.lock);
  return Load(loader, path, allowExecutableCode, result);
}

std::vector<CIPlugInStatus> CIPlugIn::loadAllPlugIns() {
  Loader& loader = Shared();
  const std::lock_guard guard(loader.lock);
  std::vector<CIPlugInStatus> results;
  for (const std::string& folder : plugInFolders()) {
    for (const std::string& path : lumivane::coreimage::PlugInsIn(folder)) {
      Load(loader, path, true, results.emplace_back());
    }
  }
  return results;
}

bool CIPlugIn::unloadPlugIn(const std::string& path, std::string* error) {
  Loader& loader = Shared();
  const std::lock_guard guard(loader.lock);
  std::string own;
  std::string& text = error != nullptr ? *error : own;
  text.clear();
  const std::string real = RealPath(path);
  const auto found =
      std::find_if(loader.plugIns.begin(), loader.plugIns.end(),
                   [&](const LoadedPlugIn& plugIn) { return plugIn.status.path == real; });
  if (found == loader.plugIns.end()) {
    text = "it is not loaded";
    return false;
  }
  {
    FilterRegistry& registry = FilterRegistry::Shared();
    // No filter can be made between the count and the removal.
    const std::lock_guard registryGuard(registry.lock());
    // The registration object is the loader's own.
    const CFIndex living = LiveObjects(found->bundle) - 1;
    if (living > 0) {
      text = std::to_string(living) + (living == 1 ? " object" : " objects") + " of it still live";
      return false;
    }
    for (const std::string& name : found->status.filters) registry.Remove(name);
  }
  const LoadedPlugIn gone = *found;
  loader.plugIns.erase(found);
  gone.registration->release();
  if (!gone.mappedBefore) CFBundleUnloadExecutable(gone.bundle);
  CFRelease(gone.bundle);
  return true;
}

std::vector<CIPlugInStatus> CIPlugIn::loadedPlugIns() {
  Loader& loader = Shared();
  const std::lock_guard guard(loader.lock);
  std::vector<CIPlugInStatus> results;
  for (const LoadedPlugIn& plugIn : loader.plugIns) results.push_back(plugIn.status);
  return results;
}
