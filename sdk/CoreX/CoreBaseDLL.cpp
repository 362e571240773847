#include "sdk/CoreX/CoreBaseDLL.h"

#include "sdk/CoreX/T_CFString.h"

namespace {

struct DomainFolder {
  CFBaseDLL::Location location;
  OSType folderType;
  SInt16 domain;
};

constexpr DomainFolder kDomainFolders[] = {
    {CFBaseDLL::kLocationSystemFrameworks, kFrameworksFolderType, kSystemDomain},
    {CFBaseDLL::kLocationLocalFrameworks, kFrameworksFolderType, kLocalDomain},
    {CFBaseDLL::kLocationLocalComponents, kQuickTimeComponentsFolderType, kLocalDomain},
    {CFBaseDLL::kLocationSystemComponents, kQuickTimeComponentsFolderType, kSystemDomain},
    {CFBaseDLL::kLocationUserComponents, kQuickTimeComponentsFolderType, kUserDomain},
};

CFURLRef CopyExecutableFolderURL(CFBundleRef bundle) {
  CFURLRef executable = CFBundleCopyExecutableURL(bundle);
  if (executable == nullptr) return nullptr;
  CFURLRef folder = CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorSystemDefault, executable);
  CFRelease(executable);
  return folder;
}

CFURLRef CopyMainBundleFolderURL(CFBaseDLL::Location location) {
  CFBundleRef bundle = CFBundleGetMainBundle();
  if (bundle == nullptr) return nullptr;
  switch (location) {
    case CFBaseDLL::kLocationExecutableFolder:
      return CopyExecutableFolderURL(bundle);
    case CFBaseDLL::kLocationPrivateFrameworks:
      return CFBundleCopyPrivateFrameworksURL(bundle);
    case CFBaseDLL::kLocationSharedFrameworks:
      return CFBundleCopySharedFrameworksURL(bundle);
    case CFBaseDLL::kLocationResources:
      return CFBundleCopyResourcesDirectoryURL(bundle);
    case CFBaseDLL::kLocationBuiltInPlugIns:
      return CFBundleCopyBuiltInPlugInsURL(bundle);
    case CFBaseDLL::kLocationSupportFiles:
      return CFBundleCopySupportFilesDirectoryURL(bundle);
    default:
      return nullptr;
  }
}

}  // namespace

CFURLRef CFBaseDLL::URLOfNameInFindFolder(CFStringRef dllName, OSType folderType, SInt16 domain,
                                          CFStringRef subFolderName) {
  FSRef bundleFolderRef = {};
  const OSErr error = FSFindFolder(domain, folderType, kDontCreateFolder, &bundleFolderRef);
  if (VERIFY_ERR_TEXT(30,
                      "FSFindFolder(FindFolderDomain, kFindFolderLocation, kDontCreateFolder, "
                      "&bundleFolderRef)",
                      error) != noErr) {
    return nullptr;
  }
  CFURLRef bundleFolderURL = nullptr;
  if (!VERIFY_TEXT(33,
                   "bundleFolderURL = ::CFURLCreateFromFSRef(kCFAllocatorDefault,&bundleFolderRef)",
                   bundleFolderURL = CFURLCreateFromFSRef(kCFAllocatorDefault, &bundleFolderRef))) {
    return nullptr;
  }
  CFURLRef bundleURL = nullptr;
  if (subFolderName == nullptr) {
    VERIFY_TEXT(37,
                "bundleURL = ::CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault,"
                "bundleFolderURL,dllName, 0 )",
                bundleURL = CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault,
                                                                  bundleFolderURL, dllName, 0));
  } else {
    CFURLRef bundleSubFolderURL = nullptr;
    if (VERIFY_TEXT(43,
                    "bundleSubFolderURL = ::CFURLCreateCopyAppendingPathComponent("
                    "kCFAllocatorDefault,bundleFolderURL,subFolderName, 1 )",
                    bundleSubFolderURL = CFURLCreateCopyAppendingPathComponent(
                        kCFAllocatorDefault, bundleFolderURL, subFolderName, 1))) {
      VERIFY_TEXT(45,
                  "bundleURL = ::CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault,"
                  "bundleSubFolderURL,dllName, 0 )",
                  bundleURL = CFURLCreateCopyAppendingPathComponent(
                      kCFAllocatorDefault, bundleSubFolderURL, dllName, 0));
      CFRelease(bundleSubFolderURL);
    }
  }
  CFRelease(bundleFolderURL);
  return bundleURL;
}

CFURLRef CFBaseDLL::URLOfNameInLocation(CFStringRef dllName, Location location) {
  for (const DomainFolder& folder : kDomainFolders) {
    if (folder.location == location) {
      return URLOfNameInFindFolder(dllName, folder.folderType, folder.domain, nullptr);
    }
  }
  CFURLRef folderURL = CopyMainBundleFolderURL(location);
  if (folderURL == nullptr) return nullptr;
  CFURLRef url =
      CFURLCreateCopyAppendingPathComponent(kCFAllocatorSystemDefault, folderURL, dllName, 0);
  CFRelease(folderURL);
  return url;
}

void CFBaseDLL::print_URL(const char* prefix, CFURLRef theURL) {
  constexpr bool resolveAgainstBase = true;
  char path[1024] = "";
  if (VERIFY_AT(20, CFURLGetFileSystemRepresentation(theURL, resolveAgainstBase,
                                                     (unsigned char*)path, sizeof(path)))) {
    CoreMachDebugLog("%s %s\n", prefix, path);
    return;
  }
  std::string description;
  TCFString(CFCopyDescription(theURL), kCFTypeRef_Owned)
      .GetValue(description, kTCFString_NoPreference);
  CoreMachDebugLog("%s %s\n", prefix, description.c_str());
}

std::string& CFBaseDLL::PathFromURL(CFURLRef url, std::string& out) {
  static char path[512];
  if (CFURLGetFileSystemRepresentation(url, 1, reinterpret_cast<UInt8*>(path), sizeof(path))) {
    out.assign(path);
  }
  return out;
}
