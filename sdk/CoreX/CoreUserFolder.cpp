#include "sdk/CoreX/CoreUserFolder.h"

#include <algorithm>

#include "platform/CoreServices/Files.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/T_CFString.h"

namespace {

/// One folder in another, which may not exist yet.
class NestedFolder {
 public:
  bool Construct(const FSRef* parent, const char* name) {
    mParent = *parent;
    mName = name;
    return bool_FSRef_IsValid(*parent);
  }

  bool IsFolder() const {
    FSRef found;
    FSCatalogInfo info;
    return GetNormalizedRef(found) &&
           FSGetCatalogInfo(&found, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr) ==
               noErr &&
           (info.nodeFlags & kFSNodeIsDirectoryMask) != 0;
  }

  bool CreateFolder() const {
    HFSUniStr255 name;
    return UnicodeName(name) &&
           FSCreateDirectoryUnicode(&mParent, name.length, name.unicode, kFSCatInfoNone, nullptr,
                                    nullptr, nullptr, nullptr) == noErr;
  }

  /// The reference of what bears the name in the parent.
  bool GetNormalizedRef(FSRef& out) const {
    if (mName[0] == '\0') {
      out = mParent;
      return true;
    }
    HFSUniStr255 name;
    return UnicodeName(name) && FSMakeFSRefUnicode(&mParent, name.length, name.unicode,
                                                   kTextEncodingUnknown, &out) == noErr;
  }

 private:
  /// False for a name that is no UTF-8, or longer than a file system's names are.
  bool UnicodeName(HFSUniStr255& out) const {
    const TCFString name(mName);
    const CFIndex length = name.IsValid() ? name.strlen() : 0;
    if (length < 1 || length > 255) return false;
    out.length = static_cast<UInt16>(length);
    CFStringGetCharacters(name, CFRangeMake(0, length), out.unicode);
    return true;
  }

  FSRef mParent = {};
  const char* mName = "";
};

}  // namespace

CoreUserFolder::CoreUserFolder(const char* subFolderName, OSType folderType, SInt16 domain)
    : mSubFolderName(subFolderName), mFindFolderLocation(folderType), mFindFolderDomain(domain) {
  FSRef foundFolderRef;
  VERIFY(GetFileRef(foundFolderRef));
}

CoreUserFolder::CoreUserFolder(OSType folderType, SInt16 domain)
    : CoreUserFolder(nullptr, folderType, domain) {}

bool CoreUserFolder::GetFileRef(FSRef& out_file_ref) const {
  return VERIFY(FSRefOfFoundFolder(out_file_ref, mFindFolderLocation, mFindFolderDomain,
                                   mSubFolderName));
}

CFURLRef CoreUserFolder::GetURLRef() const {
  FSRef foundFolderRef;
  if (!VERIFY(GetFileRef(foundFolderRef))) return nullptr;
  CFURLRef resultURL = nullptr;
  VERIFY_TEXT(__LINE__, "resultURL = ::CFURLCreateFromFSRef(kCFAllocatorDefault,&foundFolderRef)",
              resultURL = CFURLCreateFromFSRef(kCFAllocatorDefault, &foundFolderRef));
  return resultURL;
}

bool CoreUserFolder::GetUnixPath(CoreUnixPath& out) const {
  CFURLRef urlRef = GetURLRef();
  if (!VERIFY(urlRef)) return false;
  out = CoreUnixPath(urlRef);
  CFRelease(urlRef);
  return !out.IsEmpty();
}

bool CoreUserFolder::FSRefOfFoundFolder(FSRef& out_foundFolderRef, OSType inFindFolderLocation,
                                        SInt16 inFindFolderDomain, const char* inSubFolderName) {
  FSRef foundFolderRef = {};
  if (VERIFY_ERR(FSFindFolder(inFindFolderDomain, inFindFolderLocation, kCreateFolder,
                              &foundFolderRef)) != noErr) {
    return false;
  }
  if (inSubFolderName == nullptr) {
    out_foundFolderRef = foundFolderRef;
    return true;
  }
  NestedFolder nestedFolder;
  if (!VERIFY(nestedFolder.Construct(&foundFolderRef, inSubFolderName))) return false;
  if (!nestedFolder.IsFolder() && !VERIFY(nestedFolder.CreateFolder())) return false;
  bool fOk = false;
  VERIFY(fOk = nestedFolder.GetNormalizedRef(out_foundFolderRef));
  return fOk;
}
