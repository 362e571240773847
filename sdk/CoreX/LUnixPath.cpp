#include "sdk/CoreX/LUnixPath.h"

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/StaticOrder.h"
#include "sdk/CoreX/UnixPathText.h"

CORE_BUILT_EARLY const std::string LUnixPath::s_slash_str_const = "/";

LUnixPath::~LUnixPath() = default;

bool LUnixPath::GetPathParent(const std::string& path, std::string& out) {
  return !IsRootPath(path.c_str()) && UnixPathText::Parent(path, out);
}

bool LUnixPath::GetPathJustName(const std::string& path, std::string& out) {
  return VERIFY(!IsRootPath(path.c_str())) && UnixPathText::JustName(path, out);
}

bool LUnixPath::GetPathBasePartAndNamePart(const std::string& path, std::string& out_base,
                                           std::string& out_name) {
  const std::size_t path_length = path.size();
  if (!VERIFY(path_length)) return false;
  UnixPathText::SplitAtFirstSlash(path, out_base, out_name);
  return true;
}

bool LUnixPath::GetPathExtension(const std::string& path, std::string& out) {
  return !IsRootPath(path.c_str()) && UnixPathText::Extension(path, out);
}

bool LUnixPath::HasValidFileExtension(const std::string& path) {
  const UnixPathText::ExtensionState state = UnixPathText::StateOfExtension(path);
  VERIFY_TEXT(__LINE__, "rfound_dot_at>rfound_slash_at",
              state != UnixPathText::ExtensionState::kInFolder);
  return state == UnixPathText::ExtensionState::kValid;
}

bool LUnixPath::AddPathExtension(std::string& inout_path, const char* in_extension) {
  if (!VERIFY(!IsRootPath(inout_path.c_str())) || !VERIFY(in_extension)) return false;
  UnixPathText::AddExtension(inout_path, in_extension);
  return true;
}

bool LUnixPath::ReplacePathExtension(std::string& path, const char* in_extension) {
  if (!VERIFY(!IsRootPath(path.c_str()))) return false;
  if (HasValidFileExtension(path)) {
    std::string new_path = UnixPathText::WithoutExtension(path);
    if (!VERIFY_TEXT(__LINE__, "AddPathExtension(new_path,in_extension)",
                     AddPathExtension(new_path, in_extension))) {
      return false;
    }
    path = new_path;
    return true;
  }
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk = LUnixPath::AddPathExtension(path,in_extension)",
              fOk = LUnixPath::AddPathExtension(path, in_extension));
  return fOk;
}

bool LUnixPath::HasPathExtension(const std::string& path, const char* in_extension) {
  std::string s_extension;
  return GetPathExtension(path, s_extension) && in_extension != nullptr &&
         UnixPathText::SameExtension(s_extension, in_extension);
}

bool LUnixPath::GetFirstPair(std::string& out_base, std::string& out_rest) const {
  if (!VERIFY(!IsEmpty())) return false;
  if (!IsJustName()) return GetPathBasePartAndNamePart(mPath, out_base, out_rest);
  out_base = "." + s_slash_str_const;
  out_rest = mPath;
  return true;
}

bool LUnixPath::GetNextPair(std::string& inout_base, std::string& inout_rest) const {
  const std::size_t base_length = inout_base.size();
  if (!VERIFY_TEXT(__LINE__, "!IsEmpty() && (base_length>0)", !IsEmpty() && base_length > 0)) {
    return false;
  }
  if (!IsPartiallyQualified(inout_rest.c_str())) return false;
  // A base that is not of this path may be longer than it: nothing is left then.
  const std::string tail = base_length <= mPath.size() ? mPath.substr(base_length) : std::string();
  std::string next_base;
  const bool fOk = GetPathBasePartAndNamePart(tail, next_base, inout_rest);
  inout_base += next_base;
  return fOk;
}
