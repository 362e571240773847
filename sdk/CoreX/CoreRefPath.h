// A file reference together with its Unix path.
#pragma once

#include "platform/CoreServices/Files.h"

class CoreRefPath {
 public:
  /// Refers to nothing; the path is empty.
  CoreRefPath() = default;
  /// The path is empty, with a log line, when the reference names no existing object, and empty
  /// when its path exceeds 1023 bytes.
  explicit CoreRefPath(const FSRef& fileRef);

  const FSRef& GetRef() const { return mRef; }
  /// UTF-8, as it was when the object was built. Valid as long as this object.
  const char* GetUnixPath() const { return mUnixPath; }

 private:
  FSRef mRef = {};
  char mUnixPath[1024] = "";
};
