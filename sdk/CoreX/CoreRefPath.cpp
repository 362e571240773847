#include "sdk/CoreX/CoreRefPath.h"

#include "sdk/CoreX/Core_FSRef_inl.h"

CoreRefPath::CoreRefPath(const FSRef& fileRef) : mRef(fileRef) {
  bool_FSRef_GetUnixPath(mRef, mUnixPath);
}
