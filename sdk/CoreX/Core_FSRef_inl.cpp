#include "sdk/CoreX/Core_FSRef_inl.h"

#include "sdk/CoreX/CoreMachDebugLog.h"

[[gnu::weak]] OSStatus FSRefMakePath(const FSRef*, UInt8*, UInt32);

bool bool_FSRef_IsValid(const FSRef& fileRef) {
  UInt8 path[1024];
  return FSRefMakePath != nullptr && FSRefMakePath(&fileRef, path, sizeof(path)) == noErr;
}

bool bool_FSRef_GetUnixPath(const FSRef& fileRef, char (&path)[1024]) {
  path[0] = '\0';
  if (!VERIFY_AT(163, bool_FSRef_IsValid(fileRef))) return false;
  if (FSRefMakePath(&fileRef, reinterpret_cast<UInt8*>(path), sizeof(path)) == noErr) return true;
  path[0] = '\0';
  return false;
}
