#include "platform/CoreServices/ObjectIdentity.h"

#include <fcntl.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace lumivane::files {

namespace {

// Handles that identify without being openable; offered since Linux 6.5 by file systems that are
// not exported.
constexpr int kHandleFid = 0x200;
constexpr std::size_t kHandleBytes = 128;

struct HandleBuffer {
  alignas(file_handle) std::array<unsigned char, sizeof(file_handle) + kHandleBytes> bytes{};
};

bool HandleOf(int fd, int flags, UInt64* hash) {
  HandleBuffer buffer;
  auto* handle = reinterpret_cast<file_handle*>(buffer.bytes.data());
  handle->handle_bytes = kHandleBytes;
  int mount = 0;
  if (name_to_handle_at(fd, "", handle, &mount, AT_EMPTY_PATH | flags) != 0) return false;
  *hash = HashBytes(buffer.bytes.data(), sizeof(file_handle) + handle->handle_bytes);
  return true;
}

UInt64 StampOf(int fd, const struct statx& status) {
  UInt64 hash = 0;
  if (HandleOf(fd, 0, &hash) || HandleOf(fd, kHandleFid, &hash)) return hash;
  if ((status.stx_mask & STATX_BTIME) == 0) return 1;
  const std::array<SInt64, 2> birth{status.stx_btime.tv_sec, status.stx_btime.tv_nsec};
  return HashBytes(birth.data(), sizeof birth);
}

}  // namespace

UInt32 NumberOfInode(UInt64 inode) {
  constexpr UInt32 kHashed = 0x40000000;
  if (inode > 2 && inode < kHashed) return static_cast<UInt32>(inode);
  return kHashed | static_cast<UInt32>((inode * 0x9e3779b97f4a7c15ull) >> 34);
}

UInt64 HashBytes(const void* bytes, std::size_t size) {
  const auto* byte = static_cast<const unsigned char*>(bytes);
  UInt64 hash = 0xcbf29ce484222325ull;
  for (std::size_t i = 0; i < size; ++i) hash = (hash ^ byte[i]) * 0x100000001b3ull;
  return hash;
}

UInt64 HashText(const std::string& text) {
  return HashBytes(text.data(), text.size());
}

Descriptor::~Descriptor() {
  Close();
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    Close();
    fd_ = other.Release();
  }
  return *this;
}

int Descriptor::Release() {
  const int fd = fd_;
  fd_ = -1;
  return fd;
}

void Descriptor::Close() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}

int LookAt(int fd, ObjectLook* look) {
  if (statx(fd, "", AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME,
            &look->status) != 0) {
    return errno;
  }
  const struct statx& status = look->status;
  look->identity.device =
      static_cast<UInt32>(makedev(status.stx_dev_major, status.stx_dev_minor) & 0xffffffffu);
  look->identity.inode = status.stx_ino;
  look->identity.stamp = StampOf(fd, status);
  return 0;
}

int LookAt(int folder, const std::string& name, ObjectLook* look) {
  const Descriptor fd(openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  if (!fd.IsOpen()) return errno;
  return LookAt(fd.get(), look);
}

}  // namespace lumivane::files
