// The process's table of where objects lie: object -> (folder, name). Internal to the file layer;
// FileReference.h says what it is for. It never looks at the disk.
#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/CoreServices/ObjectIdentity.h"

namespace lumivane::files {

class FolderTable {
 public:
  struct Place {
    Identity folder;  ///< null for the root folder
    std::string name;
    bool isFolder = false;
    bool moved = false;  ///< it was renamed or moved through this layer
  };

  static FolderTable& Shared();

  /// Enters or updates an object. Its folder must have been entered before, except the root's.
  void Enter(const Identity& object, const Place& place);
  void Drop(const Identity& object);
  std::optional<Place> Find(const Identity& object);

  /// The folder's absolute path as the table has it; nothing when an ancestor is not entered.
  std::optional<std::string> PathOf(const Identity& folder);
  /// `folder`, its folder, and so on to the root; stops where an ancestor is not entered.
  std::vector<Identity> ChainOf(const Identity& folder);
  bool FindFolder(const std::function<bool(const Identity&)>& accept, Identity* found);

  void SetLimit(std::size_t entries);
  std::size_t size();

 private:
  struct Node {
    Place place;
    std::size_t children = 0;
    UInt64 used = 0;
  };
  // More levels than any path has; ends the walk should two entries name each other as folder.
  static constexpr std::size_t kMaxDepth = 4096;

  void Adopt(const Identity& folder, std::ptrdiff_t count);
  void Shrink();
  std::vector<Identity> ChainLocked(const Identity& folder);

  std::mutex mutex_;
  std::unordered_map<Identity, Node, IdentityHash> nodes_;
  std::size_t limit_ = 32768;
  UInt64 clock_ = 0;
};

}  // namespace lumivane::files
