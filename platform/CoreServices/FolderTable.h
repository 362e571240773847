// The process's table of where objects lie: object -> (folder, name). Internal to the file layer;
// FileReference.h says what it is for. It never looks at the disk.
#pragma once

#include <cstddef>
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
  /// The folder of a device with this number (NumberOfInode), the last entered if several had it.
  std::optional<Identity> FindNumber(UInt32 device, UInt32 number);

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

  static UInt64 NumberKey(const Identity& id) {
    return (static_cast<UInt64>(id.device) << 32) | NumberOfInode(id.inode);
  }
  using Nodes = std::unordered_map<Identity, Node, IdentityHash>;

  void Erase(Nodes::iterator node);
  void Adopt(const Identity& folder, std::ptrdiff_t count);
  void Shrink();
  std::vector<Identity> ChainLocked(const Identity& folder);

  std::mutex mutex_;
  Nodes nodes_;
  std::unordered_map<UInt64, Identity> folderNumbers_;
  std::size_t limit_ = 32768;
  UInt64 clock_ = 0;
};

}  // namespace lumivane::files
