// A file that takes its name only when it is whole.
#pragma once

#include <string>

namespace lumivane {

/// Written beside its target and renamed: at each moment the name leads to the old file or to the
/// whole new one. Without Commit, what was written is removed.
class AsideFile {
 public:
  AsideFile() = default;
  ~AsideFile();
  AsideFile(const AsideFile&) = delete;
  AsideFile& operator=(const AsideFile&) = delete;

  /// `path` names a regular file or nothing yet; through a symbolic link the file it leads to is
  /// replaced. An old file's permissions are kept. False with the system's reason.
  bool Open(const std::string& path, std::string* error);
  bool IsOpen() const { return descriptor_ >= 0; }
  /// For writing; stays this object's.
  int descriptor() const { return descriptor_; }
  /// Where the bytes lie until Commit.
  const std::string& asidePath() const { return aside_; }

  /// Syncs, renames and closes. False with the system's reason; the old file is then as it was.
  bool Commit(std::string* error);

 private:
  std::string target_;
  std::string aside_;
  int descriptor_ = -1;
};

}  // namespace lumivane
