// A Unix path as a value: one UTF-8 text, algebra on it, and a few calls of the system.
//
// The text may be absolute, relative, a bare name, or end in a slash; no invariant is enforced.
// UnixPathText.h defines the terms (fully and partially qualified, just a name, root path: "//" and
// "x/" but not "/"). Every operation returns false on failure, logs one line per check that failed
// unless it says "silently", and throws nothing. A null text counts as a failed check.
#pragma once

#include <string>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "sdk/CoreX/CoreRefPath.h"

class CoreUnixPath {
 public:
  /// "/". Built early: static initialisers may use paths.
  static const std::string s_slash_str_const;

  CoreUnixPath() = default;
  // The matching `Construct`, its result ignored (logged for a CoreRefPath).
  CoreUnixPath(const char* path);
  CoreUnixPath(const CoreRefPath& copyOf);
  CoreUnixPath(CFStringRef unix_file_path);
  CoreUnixPath(CFURLRef unix_file_url);
  CoreUnixPath(const CoreUnixPath&) = default;
  CoreUnixPath& operator=(const CoreUnixPath&) = default;
  CoreUnixPath& operator=(const CoreRefPath& copyOf);
  virtual ~CoreUnixPath();

  /// Replaces the text, unless `path` is null. Whether the text is now not empty; silently.
  bool Construct(const char* path);
  /// Takes the string's UTF-8 text; false, with the path empty, for a string that has none.
  bool Construct(CFStringRef unix_file_path);
  /// Takes a file URL's own POSIX path, not resolved against its base.
  bool Construct(CFURLRef unix_file_url);

  /// Does nothing: a path keeps its text for life, and callers rely on reading it afterwards.
  void Empty() {}

  operator const char*() const { return mPath.c_str(); }
  bool IsEmpty() const { return mPath.empty(); }

  // Tests. For null the middle three log, the outer two are silent.
  static bool IsRootPath(const char* path);
  static bool IsFullyQualified(const char* path);
  static bool IsPartiallyQualified(const char* path);
  static bool IsQualified(const char* path);
  static bool IsJustName(const char* path);

  // The same of the held path; all but the first log when it is empty.
  bool IsRoot() const;
  bool IsFullyQualified() const;
  bool IsPartiallyQualified() const;
  bool IsQualified() const;
  /// Not qualified.
  bool IsJustName() const;

  // Algebra. Outputs are untouched on failure; they may be the input itself.

  /// False, silently, when there is a slash already. An empty text becomes "/".
  static bool AddTrailingSlash(std::string& inout_path);
  /// Takes off one; false, silently, when there is none. "/" becomes empty.
  static bool RemoveTrailingSlash(std::string& inout_path);
  /// Of "/a/b" and "/a/b/", "/a/"; of "a/b", "a/". False, silently, for a root path, "/a" and a
  /// name.
  static bool GetPathParent(const std::string& path, std::string& out);
  /// Of "/a/b" and "/a/b/", "b". Logs for a root path; false, silently, for "/a" and a name.
  static bool GetPathJustName(const std::string& path, std::string& out);
  /// Splits at the first slash; of "/" and just a name, all is base and `out_name` is untouched.
  static bool GetPathBasePartAndNamePart(const std::string& path, std::string& out_base,
                                         std::string& out_name);
  /// What follows the last dot, even in a folder's name: of "a.b/c", "b/c". False for a dot at the
  /// start or none, and for a root path.
  static bool GetPathExtension(const std::string& path, std::string& out);
  /// Whether a dot behind the first character follows the last slash. Logs only for a dot before
  /// it.
  static bool HasValidFileExtension(const std::string& path);
  /// Appends "." and the extension, which may bring its own dot. False for a root path.
  static bool AddPathExtension(std::string& inout_path, const char* in_extension);
  /// Puts the extension in the place of a valid one, else appends it.
  static bool ReplacePathExtension(std::string& inout_path, const char* in_extension);
  /// Whether GetPathExtension gives this extension, ASCII letters in any case, its own dot aside.
  static bool HasPathExtension(const std::string& path, const char* in_extension);

  bool RemoveTrailingSlash() { return RemoveTrailingSlash(mPath); }
  bool GetParent(std::string& out) const { return GetPathParent(mPath, out); }
  bool GetParent(CoreUnixPath& out_parent_path) const;
  bool GetJustName(std::string& out) const { return GetPathJustName(mPath, out); }
  bool GetExtension(std::string& out) const { return GetPathExtension(mPath, out); }
  bool HasExtension(const char* extension) const {
    return HasValidFileExtension(mPath) && HasPathExtension(mPath, extension);
  }
  bool ReplaceExtension(const char* extension) { return ReplacePathExtension(mPath, extension); }

  // The walk over the ancestors. Of "/a/b/c": ("/", "a/b/c"), ("/a/", "b/c"), ("/a/b/", "c"), end.
  // Of just a name: ("./", name), end.

  bool GetFirstPair(std::string& out_base, std::string& out_rest) const;
  /// Takes the pair before; false at the end, silently.
  bool GetNextPair(std::string& inout_base, std::string& inout_rest) const;

  // Calls of the system. The tests are silent.

  static bool FileExists(const char* in_path);
  static bool FileExistsRead(const char* in_path);
  static bool FileExistsReadWrite(const char* in_path);
  /// Readable and writable, like FileExistsReadWrite: a file to be written is read back here.
  static bool FileExistsWrite(const char* in_path);
  /// An empty folder.
  static bool FolderDelete(const char* in_path);
  /// A file or a link, never what a link points to.
  static bool FileDelete(const char* in_path);
  /// Makes the link `to`, which points at `from`. One trailing slash of each is dropped. False,
  /// silently, when `from` is not readable; an existing `to` is never replaced.
  static bool MakeSymbolicLinkFromTo(const char* from, const char* to);
  /// Makes this the process's working directory.
  bool chdir() const;
  /// Takes the working directory's path, of at most 1024 bytes.
  bool getcwd();

 private:
  std::string mPath;
};
