// Where the parts of a bundle lie, found by looking at the disk.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

#include "platform/CoreFoundation/CFBase.h"

namespace CFBundleLayout {

/// What tells one state of a file from another: the file itself and its last change.
struct FileStamp {
  dev_t device = 0;
  ino_t inode = 0;
  std::int64_t size = 0;
  std::int64_t modified = 0;  ///< ns since 1970
  std::int64_t changed = 0;   ///< ns since 1970: also by a change of its permissions

  bool operator==(const FileStamp&) const = default;
  bool sameFile(const FileStamp& other) const {
    return device == other.device && inode == other.inode;
  }
};

/// The file at `path`, links followed; nothing when there is none.
std::optional<FileStamp> StampOf(const std::string& path);

/// The state of a bundle on disk. Folders are stamped without times: what else is put into them
/// does not make them another bundle.
struct Stamps {
  FileStamp bundle;
  std::optional<FileStamp> infoPlist;
  FileStamp executable;
  bool operator==(const Stamps&) const = default;
};

enum class Kind {
  kFolder,   ///< with parts of its own
  kLibrary,  ///< the file is the executable
  kBare,     ///< a program outside any bundle
};

struct Layout {
  Kind kind = Kind::kFolder;
  std::string path;        ///< of the bundle, absolute
  std::string key;         ///< the same for every way to write the path
  std::string contents;    ///< folder with Info.plist and the other folders; empty unless kFolder
  std::string executable;  ///< path of the executable
  CFDictionaryRef info = nullptr;  ///< owned by whoever holds the layout; never null
  std::string infoError;           ///< why the Info.plist could not be read
  Stamps stamps;
};

/// The bundle at `path` (absolute, no trailing slash). Nothing when it has no possible executable;
/// `error` then says why.
std::optional<Layout> Find(const std::string& path, std::string& error);

/// The bundle of the program whose executable is `executable`.
Layout FindForProgram(const std::string& executable);

/// "/A/X.ext" for "/A/X.ext/Contents/Linux/NAME", nothing for any other path.
std::optional<std::string> BundleOfExecutable(const std::string& executable);

}  // namespace CFBundleLayout
