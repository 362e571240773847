#include "sdk/CoreX/Core_FSRef_inl.h"

#include "sdk/CoreX/CoreMachDebugLog.h"

bool bool_FSRef_IsValid(const FSRef& fileRef) {
  return FSGetCatalogInfo(&fileRef, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr) == noErr;
}

bool bool_FSRef_GetUnixPath(const FSRef& fileRef, char (&path)[1024]) {
  path[0] = '\0';
  if (!VERIFY_AT(163, bool_FSRef_IsValid(fileRef))) return false;
  if (FSRefMakePath(&fileRef, reinterpret_cast<UInt8*>(path), sizeof(path)) == noErr) return true;
  path[0] = '\0';
  return false;
}
