// The path algebra that file references use: CoreUnixPath's, without calls of the system, and quiet
// where a path has no extension, which is nothing unusual for a file.
//
// The text may be absolute, relative, a bare name, or end in a slash; no invariant is enforced.
// UnixPathText.h defines the terms (fully and partially qualified, just a name, root path: "//" and
// "x/" but not "/"). Every operation returns false on failure, logs one line per check that failed
// unless it says "silently", and throws nothing. A null text counts as a failed check.
#pragma once

#include <string>

class LUnixPath {
 public:
  /// "/". Built early: static initialisers may use paths.
  static const std::string s_slash_str_const;

  LUnixPath() = default;
  /// `Construct`, its result ignored.
  LUnixPath(const char* path);
  LUnixPath(const LUnixPath&) = default;
  LUnixPath& operator=(const LUnixPath&) = default;
  virtual ~LUnixPath();

  /// Replaces the text, unless `path` is null. Whether the text is now not empty; silently.
  bool Construct(const char* path);

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
  /// What follows the last dot, even in a folder's name: of "a.b/c", "b/c". False, silently, for a
  /// dot at the start or none, and for a root path.
  static bool GetPathExtension(const std::string& path, std::string& out);
  /// Whether a dot behind the first character follows the last slash. Logs only for a dot before
  /// it.
  static bool HasValidFileExtension(const std::string& path);
  /// Appends "." and the extension, which may bring its own dot. False for a root path.
  static bool AddPathExtension(std::string& inout_path, const char* in_extension);
  /// Puts the extension in the place of a valid one, else appends it.
  static bool ReplacePathExtension(std::string& inout_path, const char* in_extension);
  /// Whether GetPathExtension gives this extension, ASCII letters in any case, its own dot aside.
  /// Silently.
  static bool HasPathExtension(const std::string& path, const char* in_extension);

  bool RemoveTrailingSlash() { return RemoveTrailingSlash(mPath); }
  bool GetParent(std::string& out) const { return GetPathParent(mPath, out); }
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

 private:
  std::string mPath;
};
