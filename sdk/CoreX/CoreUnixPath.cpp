#include "sdk/CoreX/CoreUnixPath.h"

#include "platform/System/posix.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/StaticOrder.h"
#include "sdk/CoreX/T_CFString.h"
#include "sdk/CoreX/UnixPathText.h"

namespace {

bool Accessible(const char* path, int mode) {
  return path != nullptr && ::access(path, mode) == 0;
}

}  // namespace

CORE_BUILT_EARLY const std::string CoreUnixPath::s_slash_str_const = "/";

CoreUnixPath::~CoreUnixPath() = default;

bool CoreUnixPath::Construct(CFStringRef unix_file_path) {
  if (!VERIFY(unix_file_path)) return false;
  bool fOk = false;
  VERIFY(fOk = TCFString(unix_file_path).GetValue(mPath));
  return fOk;
}

bool CoreUnixPath::Construct(CFURLRef unix_file_url) {
  if (!VERIFY(unix_file_url)) return false;
  CFStringRef posix_file_path = CFURLCopyFileSystemPath(unix_file_url, kCFURLPOSIXPathStyle);
  if (!VERIFY(posix_file_path)) return false;
  bool fOk = false;
  VERIFY(fOk = Construct(posix_file_path));
  CFRelease(posix_file_path);
  return fOk;
}

bool CoreUnixPath::GetPathParent(const std::string& path, std::string& out) {
  return !IsRootPath(path.c_str()) && UnixPathText::Parent(path, out);
}

bool CoreUnixPath::GetPathJustName(const std::string& path, std::string& out) {
  return VERIFY(!IsRootPath(path.c_str())) && UnixPathText::JustName(path, out);
}

bool CoreUnixPath::GetPathBasePartAndNamePart(const std::string& path, std::string& out_base,
                                              std::string& out_name) {
  const std::size_t path_length = path.size();
  if (!VERIFY(path_length)) return false;
  UnixPathText::SplitAtFirstSlash(path, out_base, out_name);
  return true;
}

bool CoreUnixPath::GetPathExtension(const std::string& path, std::string& out) {
  if (!VERIFY(!IsRootPath(path.c_str()))) return false;
  const bool found = UnixPathText::Extension(path, out);
  return VERIFY_TEXT(__LINE__, "int(rfound_dot_at)>0", found);
}

bool CoreUnixPath::HasValidFileExtension(const std::string& path) {
  const UnixPathText::ExtensionState state = UnixPathText::StateOfExtension(path);
  VERIFY_TEXT(__LINE__, "rfound_dot_at>rfound_slash_at",
              state != UnixPathText::ExtensionState::kInFolder);
  return state == UnixPathText::ExtensionState::kValid;
}

bool CoreUnixPath::AddPathExtension(std::string& inout_path, const char* in_extension) {
  if (!VERIFY(!IsRootPath(inout_path.c_str())) || !VERIFY(in_extension)) return false;
  UnixPathText::AddExtension(inout_path, in_extension);
  return true;
}

bool CoreUnixPath::ReplacePathExtension(std::string& path, const char* in_extension) {
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
  VERIFY_TEXT(__LINE__, "fOk = CoreUnixPath::AddPathExtension(path,in_extension)",
              fOk = CoreUnixPath::AddPathExtension(path, in_extension));
  return fOk;
}

bool CoreUnixPath::HasPathExtension(const std::string& path, const char* in_extension) {
  std::string s_extension;
  if (!VERIFY(GetPathExtension(path, s_extension)) || !VERIFY(in_extension)) return false;
  return UnixPathText::SameExtension(s_extension, in_extension);
}

bool CoreUnixPath::GetFirstPair(std::string& out_base, std::string& out_rest) const {
  if (!VERIFY(!IsEmpty())) return false;
  if (!IsJustName()) return GetPathBasePartAndNamePart(mPath, out_base, out_rest);
  out_base = "." + s_slash_str_const;
  out_rest = mPath;
  return true;
}

bool CoreUnixPath::GetNextPair(std::string& inout_base, std::string& inout_rest) const {
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

bool CoreUnixPath::FileExists(const char* in_path) {
  return Accessible(in_path, F_OK);
}

bool CoreUnixPath::FileExistsRead(const char* in_path) {
  return Accessible(in_path, R_OK);
}

bool CoreUnixPath::FileExistsReadWrite(const char* in_path) {
  return Accessible(in_path, R_OK | W_OK);
}

bool CoreUnixPath::FileExistsWrite(const char* in_path) {
  return Accessible(in_path, R_OK | W_OK);
}

bool CoreUnixPath::FolderDelete(const char* in_path) {
  const bool fOk = in_path != nullptr && ::rmdir(in_path) == 0;
  VERIFY_TEXT(__LINE__, "fOk = (0==rmdir(in_path))", fOk);
  return fOk;
}

bool CoreUnixPath::FileDelete(const char* in_path) {
  const bool fOk = in_path != nullptr && ::unlink(in_path) == 0;
  VERIFY_TEXT(__LINE__, "fOk = (0==unlink(in_path))", fOk);
  return fOk;
}

bool CoreUnixPath::MakeSymbolicLinkFromTo(const char* from, const char* to) {
  if (!FileExistsRead(from)) return false;
  CoreUnixPath from_path(from);
  CoreUnixPath to_path(to);
  from_path.RemoveTrailingSlash();
  to_path.RemoveTrailingSlash();
  const int posix_result = ::symlink(from_path, to_path);
  const bool fOk = posix_result == 0;
  if (!VERIFY_TEXT(__LINE__, "fOk = (0==posix_result)", fOk)) {
    CoreMachDebugLogNull("%d=CoreUnixPath::MakeSymbolicLink(%s <= %s)\n", posix_result,
                         to_path.mPath.c_str(), from_path.mPath.c_str());
  }
  return fOk;
}

bool CoreUnixPath::chdir() const {
  if (!VERIFY(!IsEmpty())) return false;
  const bool fOk = ::chdir(mPath.c_str()) == 0;
  return VERIFY_TEXT(__LINE__, "fOk = (0==::chdir(mPath.c_str()))", fOk);
}

bool CoreUnixPath::getcwd() {
  struct {
    char buffer[1025];
  } cwd = {};
  if (!VERIFY_TEXT(__LINE__, "::getcwd(cwd.buffer,sizeof(cwd.buffer))",
                   ::getcwd(cwd.buffer, sizeof(cwd.buffer)))) {
    return false;
  }
  bool fOk = false;
  VERIFY(fOk = Construct(cwd.buffer));
  return fOk;
}
