#include "sdk/CoreX/CoreUserFolder.h"

#include "platform/CoreServices/Files.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/LFSRef.h"

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
  if (inSubFolderName == nullptr || inSubFolderName[0] == '\0') {
    out_foundFolderRef = foundFolderRef;
    return true;
  }
  LFSRef nestedFolder;
  if (!VERIFY(nestedFolder.Construct(&foundFolderRef, inSubFolderName))) return false;
  if (!nestedFolder.IsFolder() && !VERIFY(nestedFolder.CreateFolder())) return false;
  bool fOk = false;
  VERIFY(fOk = nestedFolder.GetNormalizedRef(out_foundFolderRef));
  return fOk;
}
