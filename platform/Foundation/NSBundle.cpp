#include "platform/Foundation/NSBundle.h"

#include <array>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/Foundation/ClassRegistry.h"
#include "platform/Foundation/Text.h"

using lumivane::foundation::ClassRegistry;
using lumivane::foundation::Utf8;

namespace {

/// The bundle of a class's code is `bundle`.
bool HoldsCode(CFBundleRef bundle, Class record) {
  const CFBundleRef holder = CFBundleCopyBundleForCodeAddress(record->codeAddress());
  CFRelease(holder);
  return holder == bundle;
}

NSString* PathOf(CFURLRef url) {
  if (url == nullptr) return nullptr;
  const CFURLRef absolute = CFURLCopyAbsoluteURL(url);
  NSString* const path = CFURLCopyFileSystemPath(absolute, kCFURLPOSIXPathStyle);
  NSReleaseObject(absolute);
  return NSAutorelease(path);
}

}  // namespace

NSBundle::NSBundle(CFBundleRef bundle) : bundle_(bundle) {
  NSRetainObject(bundle);
}

void NSBundle::dealloc() {
  NSReleaseObject(bundle_);
  bundle_ = nullptr;
  NSObject::dealloc();
}

NSBundle* NSBundle::bundleWithCFBundle(CFBundleRef bundle) {
  return bundle == nullptr ? nullptr : NSAutorelease(new NSBundle(bundle));
}

NSBundle* NSBundle::mainBundle() {
  return bundleWithCFBundle(CFBundleGetMainBundle());
}

NSBundle* NSBundle::bundleForClass(Class classRecord) {
  return classRecord == nullptr ? nullptr : bundleForCodeAddress(classRecord->codeAddress());
}

NSBundle* NSBundle::bundleForCodeAddress(const void* codeAddress) {
  const CFBundleRef bundle = CFBundleCopyBundleForCodeAddress(codeAddress);
  NSBundle* const result = bundleWithCFBundle(bundle);
  NSReleaseObject(bundle);
  return result;
}

NSBundle* NSBundle::bundleWithIdentifier(NSString* identifier) {
  return identifier == nullptr ? nullptr
                               : bundleWithCFBundle(CFBundleGetBundleWithIdentifier(identifier));
}

NSBundle* NSBundle::bundleWithPath(NSString* path) {
  if (path == nullptr) return nullptr;
  const CFURLRef url =
      CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path, kCFURLPOSIXPathStyle, true);
  if (url == nullptr) return nullptr;
  const CFBundleRef bundle = CFBundleCreate(kCFAllocatorDefault, url);
  CFRelease(url);
  NSBundle* const result = bundleWithCFBundle(bundle);
  NSReleaseObject(bundle);
  return result;
}

NSString* NSBundle::resourcePath(NSString* name, NSString* type) {
  const CFURLRef url = CFBundleCopyResourceURL(bundle_, name, type, nullptr);
  NSString* const path = PathOf(url);
  NSReleaseObject(url);
  return path;
}

NSString* NSBundle::pathForResourceofType(NSString* name, NSString* type) {
  return name == nullptr ? nullptr : resourcePath(name, type);
}

NSString* NSBundle::pathForImageResource(NSString* name) {
  if (name == nullptr) return nullptr;
  const std::string text = Utf8(name);
  const std::size_t dot = text.rfind('.');
  if (dot != std::string::npos && dot > 0 && dot + 1 < text.size()) {
    if (NSString* const path = resourcePath(name, nullptr)) return path;
  }
  static constexpr std::array kImageTypes{"png", "jpg", "jpeg", "tiff", "tif", "gif", "bmp"};
  for (const char* const imageType : kImageTypes) {
    NSString* const type = lumivane::foundation::CreateString(imageType);
    NSString* const path = resourcePath(name, type);
    NSReleaseObject(type);
    if (path != nullptr) return path;
  }
  return nullptr;
}

NSString* NSBundle::bundleIdentifier() {
  return NSAutorelease(NSRetain(CFBundleGetIdentifier(bundle_)));
}

NSString* NSBundle::bundlePath() {
  const CFURLRef url = CFBundleCopyBundleURL(bundle_);
  NSString* const path = PathOf(url);
  NSReleaseObject(url);
  return path;
}

NSDictionary* NSBundle::infoDictionary() {
  return NSAutorelease(NSRetain(CFBundleGetInfoDictionary(bundle_)));
}

NSString* NSBundle::objectForInfoDictionaryString(NSString* key) {
  return NSAutorelease(
      NSRetain(lumivane::foundation::StringValue(CFBundleGetInfoDictionary(bundle_), key)));
}

bool NSBundle::load() {
  return CFBundleLoadExecutable(bundle_);
}

bool NSBundle::isLoaded() {
  return CFBundleIsExecutableLoaded(bundle_);
}

Class NSBundle::principalClass() {
  return classNamed(objectForInfoDictionaryString(CFSTR("NSPrincipalClass")));
}

Class NSBundle::classNamed(NSString* name) {
  if (name == nullptr || !load()) return nullptr;
  for (const Class record : ClassRegistry::Shared().All(Utf8(name))) {
    if (HoldsCode(bundle_, record)) return record;
  }
  return nullptr;
}

bool NSBundle::isEqualTo(const CFRuntimeObject& other) const {
  const auto* const bundle = dynamic_cast<const NSBundle*>(&other);
  return bundle != nullptr && bundle->bundle_ == bundle_;
}

CFHashCode NSBundle::hashValue() const {
  return static_cast<CFHashCode>(reinterpret_cast<std::uintptr_t>(bundle_) >> 4);
}
