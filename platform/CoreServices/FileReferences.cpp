// The calls that make, compare and spell out references.
#include <algorithm>
#include <cstring>

#include "platform/CoreServices/FileErrors.h"
#include "platform/CoreServices/FileReference.h"
#include "platform/CoreServices/Files.h"

using namespace lumivane::files;

OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 pathSize) {
  if (path == nullptr || pathSize == 0) return paramErr;
  path[0] = 0;
  Located located;
  if (const OSErr error = Resolve(ref, &located); error != noErr) return error;
  const std::string text = located.Path();
  if (text.size() >= pathSize) return pathTooLongErr;
  std::memcpy(path, text.c_str(), text.size() + 1);
  return noErr;
}

OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory) {
  if (path == nullptr || ref == nullptr) return paramErr;
  const std::shared_lock lock(TopologyLock());
  Located located;
  const int error = LocatePath(reinterpret_cast<const char*>(path), &located);
  if (error != 0) return ErrorOf(error);
  *ref = ReferenceOf(located);
  if (isDirectory != nullptr) *isDirectory = located.look.IsFolder();
  return noErr;
}

OSErr FSCompareFSRefs(const FSRef* ref1, const FSRef* ref2) {
  Located first;
  Located second;
  if (const OSErr error = Resolve(ref1, &first); error != noErr) return error;
  if (const OSErr error = Resolve(ref2, &second); error != noErr) return error;
  return first.look.identity == second.look.identity ? noErr : errFSRefsDifferent;
}
