#include "sdk/CoreResource/CoreResourceBundle.h"

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/CoreUnixPath.h"

constexpr CFStringRef CoreBundleyes::kEndOfList = nullptr;

CFURLRef BUNDLE_resource_url(const char* inResourceName, CFStringRef inFileExtension) {
  CFStringRef resourceFileName = nullptr;
  if (inResourceName != nullptr) {
    resourceFileName =
        CFStringCreateWithCString(kCFAllocatorDefault, inResourceName, kCFStringEncodingUTF8);
  }
  if (!VERIFY_AT(12, resourceFileName)) return nullptr;
  CFURLRef result = nullptr;
  VERIFY_TEXT(14,
              "result = CFBundleCopyResourceURL(CFBundleGetMainBundle(),resourceFileName, "
              "inFileExtension, NULL)",
              result = CFBundleCopyResourceURL(CFBundleGetMainBundle(), resourceFileName,
                                               inFileExtension, nullptr));
  CFRelease(resourceFileName);
  return result;
}

CoreResourceBundle::CoreResourceBundle(CFStringRef fileName, const char* baseName)
    : mDLL(nullptr), mFileName(fileName), mBaseName(baseName) {}

CoreResourceBundle::~CoreResourceBundle() = default;

bool CoreResourceBundle::AlreadyInstalledSomewhere() const {
  return false;
}

namespace {

bool Install(const CoreUnixPath& source, const CoreUnixPath& destination) {
  return CoreUnixPath::FileExistsRead(source) && !CoreUnixPath::FileExists(destination) &&
         CoreUnixPath::MakeSymbolicLinkFromTo(source, destination);
}

bool Uninstall(const CoreUnixPath& destination) {
  return CoreUnixPath::FileExists(destination) && CoreUnixPath::FileDelete(destination);
}

}  // namespace

bool CoreResourceBundle::InstallLocation(int install, CFBaseDLL::Location location) {
  CFURLRef sourceURL = BUNDLE_resource_url(mBaseName, CFSTR("component"));
  if (sourceURL == nullptr) return false;
  if (mFileName == nullptr) {
    CFRelease(sourceURL);
    return false;
  }
  CFURLRef destinationURL = CFBaseDLL::URLOfNameInLocation(mFileName, location);
  const CoreUnixPath source(sourceURL);
  const CoreUnixPath destination(destinationURL);
  bool fOk = false;
  if (install != 0) {
    fOk = AlreadyInstalledSomewhere() || Install(source, destination);
  } else {
    mDLL.Unload();
    fOk = Uninstall(destination);
  }
  if (destinationURL != nullptr) CFRelease(destinationURL);
  CFRelease(sourceURL);
  return fOk;
}

CoreBundleyes::CoreBundleyes(const CFStringRef* list) : mList(list), mMainIdentifier(nullptr) {
  CFBundleRef mainBundle = CFBundleGetMainBundle();
  if (mainBundle != nullptr) mMainIdentifier = CFBundleGetIdentifier(mainBundle);
}

bool CoreBundleyes::IsMainMember() const {
  if (mMainIdentifier == nullptr) return false;
  for (const CFStringRef* entry = mList; *entry != kEndOfList; ++entry) {
    if (CFStringCompare(*entry, mMainIdentifier, kCFCompareCaseInsensitive) == kCFCompareEqualTo) {
      return true;
    }
  }
  return false;
}
