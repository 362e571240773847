// The algebra of Unix paths as texts: what CoreUnixPath and LUnixPath share. They differ in what
// they log, so nothing here does.
//
// Works on the raw characters: no normalisation, "." and ".." are names like others, doubled
// slashes stay. Terms:
//   fully qualified      starts with a slash
//   partially qualified  does not, but has a slash somewhere
//   just a name          not empty, without any slash
//   root path            exactly two characters of which the second is a slash: "//" and "x/", but
//                        deliberately not "/"
#pragma once

#include <string>

namespace UnixPathText {

/// All take a NUL-terminated text that is not null.
bool IsRoot(const char* text);
bool IsFullyQualified(const char* text);
bool IsPartiallyQualified(const char* text);
/// Fully or partially.
bool IsQualified(const char* text);

/// Appends a slash unless there is one at the end; false then.
bool AddTrailingSlash(std::string& path);
/// Takes off one slash at the end; false if there is none.
bool RemoveTrailingSlash(std::string& path);

/// Of "/a/b" and "/a/b/", "/a/". False, with `out` untouched, unless a slash follows the first
/// character once a trailing one is off.
bool Parent(const std::string& path, std::string& out);
/// Of "/a/b" and "/a/b/", "b". False as above.
bool JustName(const std::string& path, std::string& out);

/// What follows the last dot, wherever it is. False, with `out` untouched, when there is none
/// behind the first character.
bool Extension(const std::string& path, std::string& out);

enum class ExtensionState {
  kNone,      ///< no dot behind the first character
  kInFolder,  ///< the last dot stands before the last slash
  kValid,
};
ExtensionState StateOfExtension(const std::string& path);

/// Appends the extension, with a dot between if it has none of its own.
void AddExtension(std::string& path, const char* extension);
/// Without the last dot and what follows. Only for a path with a valid extension.
std::string WithoutExtension(const std::string& path);
/// Compares, without regard to the case of ASCII letters, an extension with one that may start with
/// a dot.
bool SameExtension(const std::string& extension, const char* wanted);

/// Splits a path that is not empty at its first slash: "/a/b" into "/" and "a/b", "a/b/c" into "a/"
/// and "b/c". Of "/" and of just a name, all goes into `base` and `name` is untouched.
void SplitAtFirstSlash(const std::string& path, std::string& base, std::string& name);

}  // namespace UnixPathText
