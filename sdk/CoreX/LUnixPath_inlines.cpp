#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/LUnixPath.h"
#include "sdk/CoreX/UnixPathText.h"

LUnixPath::LUnixPath(const char* path) {
  Construct(path);
}

bool LUnixPath::Construct(const char* path) {
  if (path != nullptr) mPath = path;
  return !mPath.empty();
}

bool LUnixPath::IsRootPath(const char* path) {
  return path != nullptr && UnixPathText::IsRoot(path);
}

bool LUnixPath::IsFullyQualified(const char* path) {
  const bool LUnixPath_NotNull = path != nullptr;
  return VERIFY(LUnixPath_NotNull) && UnixPathText::IsFullyQualified(path);
}

bool LUnixPath::IsPartiallyQualified(const char* path) {
  const bool LUnixPath_NotNull = path != nullptr;
  return VERIFY(LUnixPath_NotNull) && UnixPathText::IsPartiallyQualified(path);
}

bool LUnixPath::IsQualified(const char* path) {
  const bool LUnixPath_NotNull = path != nullptr;
  return VERIFY(LUnixPath_NotNull) && UnixPathText::IsQualified(path);
}

bool LUnixPath::IsJustName(const char* path) {
  return path != nullptr && path[0] != '\0' && !UnixPathText::IsQualified(path);
}

bool LUnixPath::IsRoot() const {
  return IsRootPath(mPath.c_str());
}

bool LUnixPath::IsFullyQualified() const {
  return VERIFY(!IsEmpty()) && IsFullyQualified(mPath.c_str());
}

bool LUnixPath::IsPartiallyQualified() const {
  return VERIFY(!IsEmpty()) && IsPartiallyQualified(mPath.c_str());
}

bool LUnixPath::IsQualified() const {
  return VERIFY(!IsEmpty()) && IsQualified(mPath.c_str());
}

bool LUnixPath::IsJustName() const {
  return VERIFY(!IsEmpty()) && !IsQualified();
}

bool LUnixPath::AddTrailingSlash(std::string& inout_path) {
  return UnixPathText::AddTrailingSlash(inout_path);
}

bool LUnixPath::RemoveTrailingSlash(std::string& inout_path) {
  return UnixPathText::RemoveTrailingSlash(inout_path);
}
