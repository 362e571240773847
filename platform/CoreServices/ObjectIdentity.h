// What makes two looks at the file system looks at the same object. Internal to the file layer.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <string>

#include "platform/CoreServices/MacTypes.h"

namespace lumivane::files {

/// An object's identity on this machine until it is deleted: device, inode and a stamp that tells
/// apart two objects that had the same inode one after the other. The stamp is a hash of the file
/// system's handle (inode and generation, name_to_handle_at) where it offers one, else of the birth
/// time; a birth time alone repeats when an inode is reused within a clock tick.
struct Identity {
  UInt64 inode = 0;
  UInt64 stamp = 0;
  UInt32 device = 0;

  bool operator==(const Identity&) const = default;
  bool IsNull() const { return inode == 0 && stamp == 0 && device == 0; }
};

/// A node's 32-bit number for its inode: the inode itself where it fits into 30 bits and is not one
/// of the numbers 0 to 2, which mean something of their own; else a hash of it above those.
UInt32 NumberOfInode(UInt64 inode);

struct IdentityHash {
  std::size_t operator()(const Identity& id) const noexcept {
    return static_cast<std::size_t>((id.inode * 0x9e3779b97f4a7c15ull) ^ id.stamp ^
                                    (static_cast<UInt64>(id.device) << 32));
  }
};

/// 64-bit FNV-1a.
UInt64 HashBytes(const void* bytes, std::size_t size);
UInt64 HashText(const std::string& text);

/// A file descriptor that closes itself.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor();
  Descriptor(Descriptor&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  Descriptor& operator=(Descriptor&& other) noexcept;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return fd_; }
  bool IsOpen() const { return fd_ >= 0; }
  /// Gives the descriptor to the caller.
  int Release();
  void Close();

 private:
  int fd_ = -1;
};

/// One look at an object.
struct ObjectLook {
  Identity identity;
  struct statx status {};
  bool IsFolder() const { return (status.stx_mode & S_IFMT) == S_IFDIR; }
};

/// Looks at the object that `fd` (O_PATH is enough) stands for; 0 or an errno.
int LookAt(int fd, ObjectLook* look);

/// Looks at `name` inside the open folder `folder`, a symbolic link itself and not its target;
/// 0 or an errno.
int LookAt(int folder, const std::string& name, ObjectLook* look);

}  // namespace lumivane::files
