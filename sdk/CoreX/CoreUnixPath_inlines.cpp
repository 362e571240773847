#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/CoreUnixPath.h"
#include "sdk/CoreX/UnixPathText.h"

CoreUnixPath::CoreUnixPath(const char* path) {
  Construct(path);
}

CoreUnixPath::CoreUnixPath(const CoreRefPath& copyOf) {
  VERIFY(Construct(copyOf.GetUnixPath()));
}

CoreUnixPath::CoreUnixPath(CFStringRef unix_file_path) {
  Construct(unix_file_path);
}

CoreUnixPath::CoreUnixPath(CFURLRef unix_file_url) {
  Construct(unix_file_url);
}

CoreUnixPath& CoreUnixPath::operator=(const CoreRefPath& copyOf) {
  VERIFY(Construct(copyOf.GetUnixPath()));
  return *this;
}

bool CoreUnixPath::Construct(const char* path) {
  if (path != nullptr) mPath = path;
  return !mPath.empty();
}

bool CoreUnixPath::IsRootPath(const char* path) {
  return path != nullptr && UnixPathText::IsRoot(path);
}

bool CoreUnixPath::IsFullyQualified(const char* path) {
  const bool CoreUnixPath_NotNull = path != nullptr;
  return VERIFY(CoreUnixPath_NotNull) && UnixPathText::IsFullyQualified(path);
}

bool CoreUnixPath::IsPartiallyQualified(const char* path) {
  const bool CoreUnixPath_NotNull = path != nullptr;
  return VERIFY(CoreUnixPath_NotNull) && UnixPathText::IsPartiallyQualified(path);
}

bool CoreUnixPath::IsQualified(const char* path) {
  const bool CoreUnixPath_NotNull = path != nullptr;
  return VERIFY(CoreUnixPath_NotNull) && UnixPathText::IsQualified(path);
}

bool CoreUnixPath::IsJustName(const char* path) {
  return path != nullptr && path[0] != '\0' && !UnixPathText::IsQualified(path);
}

bool CoreUnixPath::IsRoot() const {
  return IsRootPath(mPath.c_str());
}

bool CoreUnixPath::IsFullyQualified() const {
  return VERIFY(!IsEmpty()) && IsFullyQualified(mPath.c_str());
}

bool CoreUnixPath::IsPartiallyQualified() const {
  return VERIFY(!IsEmpty()) && IsPartiallyQualified(mPath.c_str());
}

bool CoreUnixPath::IsQualified() const {
  return VERIFY(!IsEmpty()) && IsQualified(mPath.c_str());
}

bool CoreUnixPath::IsJustName() const {
  return VERIFY(!IsEmpty()) && !IsQualified();
}

bool CoreUnixPath::AddTrailingSlash(std::string& inout_path) {
  return UnixPathText::AddTrailingSlash(inout_path);
}

bool CoreUnixPath::RemoveTrailingSlash(std::string& inout_path) {
  return UnixPathText::RemoveTrailingSlash(inout_path);
}

bool CoreUnixPath::GetParent(CoreUnixPath& out_parent_path) const {
  std::string parent_path;
  if (!VERIFY(GetParent(parent_path))) return false;
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=out_parent_path.Construct(parent_path.c_str())",
              fOk = out_parent_path.Construct(parent_path.c_str()));
  return fOk;
}
