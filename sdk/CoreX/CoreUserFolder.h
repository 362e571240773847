// A folder the system defines (a type of folder in a domain), optionally with one named subfolder,
// that is made when it is missing.
#pragma once

#include "platform/CoreFoundation/CoreFoundation.h"
#include "sdk/CoreX/CoreUnixPath.h"

class CoreUserFolder {
 public:
  /// Makes sure that the folder exists; a failure is logged, and every later call tries again.
  /// `subFolderName` is one name in UTF-8, or null for the system's folder itself. It is not copied
  /// and has to outlive the object.
  CoreUserFolder(const char* subFolderName, OSType folderType, SInt16 domain);
  CoreUserFolder(OSType folderType, SInt16 domain);

  // The folder, made if missing. False or null, with log lines, when it cannot be: a file of the
  // subfolder's name is in the way, or the system has no such folder.

  bool GetFileRef(FSRef& out_file_ref) const;
  /// A new URL, the caller's.
  CFURLRef GetURLRef() const;
  bool GetUnixPath(CoreUnixPath& out) const;

  static bool FSRefOfFoundFolder(FSRef& out_foundFolderRef, OSType inFindFolderLocation,
                                 SInt16 inFindFolderDomain, const char* inSubFolderName);

 private:
  const char* mSubFolderName;
  OSType mFindFolderLocation;
  SInt16 mFindFolderDomain;
};
