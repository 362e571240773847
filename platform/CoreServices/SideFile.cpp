#include "platform/CoreServices/SideFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <thread>
#include <tuple>

#include "platform/CoreServices/FileErrors.h"

namespace lumivane::files {

namespace {

constexpr std::size_t kMaxName = 255;
constexpr char kUnfinished[] = "._lumivane-new-";
std::atomic<StepHook> stepHook{nullptr};

/// A name for the side file while it is written. The same for the same object, so that one that a
/// crash left behind is used again by the next change instead of staying for ever.
std::string UnfinishedName(const std::string& name) {
  std::array<char, 17> hash{};
  std::snprintf(hash.data(), hash.size(), "%016llx",
                static_cast<unsigned long long>(HashText(name)));
  return kUnfinished + std::string(hash.data());
}

OSErr ReadAll(int fd, UInt64 offset, void* buffer, std::size_t count, std::size_t* actual) {
  std::size_t done = 0;
  while (done < count) {
    const ssize_t got = pread(fd, static_cast<char*>(buffer) + done, count - done,
                              static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return ErrorOf(errno);
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  *actual = done;
  return noErr;
}

/// Writes a file from its start to its end.
class Writer {
 public:
  explicit Writer(int fd) : fd_(fd) {}

  OSErr Bytes(const void* bytes, UInt64 count) {
    const auto* next = static_cast<const char*>(bytes);
    while (count > 0) {
      const ssize_t put = write(fd_, next, std::min<UInt64>(count, 1u << 20));
      if (put < 0 && errno == EINTR) continue;
      if (put < 0) return ErrorOf(errno);
      next += put;
      count -= static_cast<UInt64>(put);
      at_ += static_cast<UInt64>(put);
    }
    return noErr;
  }

  OSErr Zeros(UInt64 count) {
    static const std::array<char, 65536> zeros{};
    while (count > 0) {
      const UInt64 part = std::min<UInt64>(count, zeros.size());
      if (const OSErr error = Bytes(zeros.data(), part); error != noErr) return error;
      count -= part;
    }
    return noErr;
  }

  OSErr Copy(int from, UInt64 offset, UInt64 count) {
    std::vector<char> buffer(std::min<UInt64>(count, 65536));
    while (count > 0) {
      const UInt64 part = std::min<UInt64>(count, buffer.size());
      std::size_t got = 0;
      if (const OSErr error = ReadAll(from, offset, buffer.data(), part, &got); error != noErr) {
        return error;
      }
      if (got != part) return ioErr;
      if (const OSErr error = Bytes(buffer.data(), part); error != noErr) return error;
      offset += part;
      count -= part;
    }
    return noErr;
  }

  OSErr Until(UInt64 offset) { return offset > at_ ? Zeros(offset - at_) : noErr; }

 private:
  int fd_;
  UInt64 at_ = 0;
};

UInt32 LengthOfPieces(const std::vector<SidePiece>& pieces, bool* fits) {
  UInt64 length = 0;
  for (const SidePiece& piece : pieces) length += piece.length;
  *fits = length <= 0x7fffffff;
  return static_cast<UInt32>(length);
}

/// Opens a fresh file to write the side file to; another process that could not lock may be at the
/// same name, and then ours is another.
Descriptor CreateUnfinished(int folder, std::string* name) {
  const int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  unlinkat(folder, name->c_str(), 0);
  int fd = openat(folder, name->c_str(), flags, 0600);
  if (fd < 0 && errno == EEXIST) {
    *name += "-" + std::to_string(getpid());
    unlinkat(folder, name->c_str(), 0);
    fd = openat(folder, name->c_str(), flags, 0600);
  }
  return Descriptor(fd);
}

OSErr SyncFolder(int folder) {
  const Descriptor fd(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // A folder that may be written but not read cannot be synced; its rename is no less atomic.
  if (!fd.IsOpen()) return errno == EACCES ? noErr : ErrorOf(errno);
  if (fsync(fd.get()) != 0 && errno != EINVAL && errno != EROFS) return ErrorOf(errno);
  return noErr;
}

/// Writes a side file aside with `fill` and puts it in its place.
OSErr Replace(int folder, const std::string& name, mode_t mode, uid_t user, gid_t group,
              const std::function<OSErr(Writer&)>& fill) {
  std::string aside = UnfinishedName(name);
  Descriptor fd = CreateUnfinished(folder, &aside);
  if (!fd.IsOpen()) return errno == ENOENT ? fnfErr : ErrorOf(errno);
  Step("side file begun");
  Writer writer(fd.get());
  OSErr error = fill(writer);
  Step("side file written");
  // Only the superuser may give files away; for all others the file is theirs already.
  if (error == noErr && fchown(fd.get(), user, group) != 0 && errno != EPERM) {
    error = ErrorOf(errno);
  }
  if (error == noErr && fchmod(fd.get(), mode & 0666) != 0 && errno != EPERM) {
    error = ErrorOf(errno);
  }
  if (error == noErr && fsync(fd.get()) != 0) error = ErrorOf(errno);
  Step("side file synced");
  if (error == noErr && renameat(folder, aside.c_str(), folder, SideName(name).c_str()) != 0) {
    error = ErrorOf(errno);
  }
  if (error != noErr) {
    unlinkat(folder, aside.c_str(), 0);
    return error;
  }
  Step("side file in place");
  error = SyncFolder(folder);
  Step("side folder synced");
  return error;
}

/// Whether a changed side file would say anything.
bool SaysNothing(const DoubleHead& head, const SideFile& old, const SideChanges& changes) {
  for (const DoubleEntry& entry : head.entries) {
    if (entry.length == 0) continue;
    if (entry.id != kDoubleFinderInfo || entry.length > kFinderInfoSize) return false;
    std::array<UInt8, kFinderInfoSize> info{};
    const auto change = changes.find(entry.id);
    if (change == changes.end()) {
      std::size_t actual = 0;
      if (old.Read(entry.id, 0, info.data(), info.size(), &actual) != noErr) return false;
    } else {
      for (const SidePiece& piece : *change->second) {
        if (piece.from == SidePiece::From::kOld) return false;
        if (piece.from == SidePiece::From::kMemory) {
          std::memcpy(info.data(), piece.memory, std::min<UInt64>(piece.length, info.size()));
        }
      }
    }
    if (std::any_of(info.begin(), info.end(), [](UInt8 byte) { return byte != 0; })) return false;
  }
  return true;
}

}  // namespace

std::string SideName(const std::string& name) {
  return "._" + name;
}

bool IsUnfinishedSide(const std::string& name) {
  return name.compare(0, sizeof kUnfinished - 1, kUnfinished) == 0;
}

void SetStepHook(StepHook hook) {
  stepHook = hook;
}

void Step(const char* step) {
  if (const StepHook hook = stepHook; hook != nullptr) hook(step);
}

OSErr FileLock::Take(std::vector<const Located*> objects) {
  const auto order = [](const Located* located) {
    const Identity& id = located->look.identity;
    return std::tie(id.device, id.inode, id.stamp);
  };
  std::sort(objects.begin(), objects.end(),
            [&](const Located* a, const Located* b) { return order(a) < order(b); });
  const auto last =
      std::unique(objects.begin(), objects.end(),
                  [&](const Located* a, const Located* b) { return order(a) == order(b); });
  objects.erase(last, objects.end());
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  for (const Located* located : objects) {
    const mode_t type = located->look.status.stx_mode & S_IFMT;
    // Opening a pipe or a device may wait or do things.
    if (type != S_IFREG && type != S_IFDIR) continue;
    Descriptor fd = located->Open(O_RDONLY | O_NONBLOCK);
    if (!fd.IsOpen()) fd = located->Open(O_WRONLY | O_NONBLOCK);
    if (!fd.IsOpen()) continue;
    while (flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
      if (errno != EWOULDBLOCK && errno != EINTR) break;
      if (std::chrono::steady_clock::now() > end) return fBsyErr;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    held_.push_back(std::move(fd));
  }
  return noErr;
}

OSErr ResolveAndLock(const FSRef* ref, Located* located, FileLock* lock) {
  for (int round = 0; round < 8; ++round) {
    if (const OSErr error = Resolve(ref, located); error != noErr) return error;
    FileLock taken;
    if (const OSErr error = taken.Take({located}); error != noErr) return error;
    // It may have been renamed while we waited.
    ObjectLook look;
    if (LookAt(located->folder.get(), located->name, &look) == 0 &&
        look.identity == located->look.identity) {
      located->look = look;
      *lock = std::move(taken);
      return noErr;
    }
  }
  return fBsyErr;
}

OSErr SideFile::Open(int folder, const std::string& name) {
  fd_.Close();
  head_ = {};
  const std::string side = SideName(name);
  if (side.size() > kMaxName || name == ".") return noErr;
  Descriptor fd(openat(folder, side.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!fd.IsOpen()) {
    if (errno == ENOENT || errno == ENAMETOOLONG) return noErr;
    return errno == ELOOP || errno == ENXIO ? fsDSIntErr : ErrorOf(errno);
  }
  struct stat status {};
  if (fstat(fd.get(), &status) != 0) return ErrorOf(errno);
  if (!S_ISREG(status.st_mode)) return fsDSIntErr;
  const auto size = static_cast<UInt64>(status.st_size);
  std::vector<UInt8> bytes(std::min<UInt64>(size, 4096));
  for (;;) {
    std::size_t actual = 0;
    if (const OSErr error = ReadAll(fd.get(), 0, bytes.data(), bytes.size(), &actual);
        error != noErr) {
      return error;
    }
    if (actual != bytes.size()) return fsDSIntErr;
    if (ParseDoubleHead(bytes.data(), bytes.size(), size, &head_)) break;
    const std::size_t most = std::min<UInt64>(size, kDoubleMaxHead);
    if (bytes.size() == most) return fsDSIntErr;
    bytes.resize(most);
  }
  fd_ = std::move(fd);
  return noErr;
}

UInt32 SideFile::LengthOf(UInt32 id) const {
  const DoubleEntry* entry = head_.Find(id);
  return entry == nullptr ? 0 : entry->length;
}

OSErr SideFile::Read(UInt32 id, UInt64 offset, void* buffer, std::size_t count,
                     std::size_t* actual) const {
  *actual = 0;
  const DoubleEntry* entry = head_.Find(id);
  if (entry == nullptr || offset >= entry->length) return noErr;
  const auto part = std::min<UInt64>(count, entry->length - offset);
  if (const OSErr error = ReadAll(fd_.get(), entry->offset + offset, buffer, part, actual);
      error != noErr) {
    return error;
  }
  return *actual == part ? noErr : fsDSIntErr;
}

OSErr ChangeSide(int folder, const std::string& name, const struct statx& owner,
                 const SideFile& old, const SideChanges& changes) {
  if (SideName(name).size() > kMaxName) return errFSNameTooLong;
  if (name == ".") return permErr;  // the root folder has no folder for a side file to lie in
  std::map<UInt32, std::optional<UInt32>> lengths;
  for (const auto& [id, pieces] : changes) {
    bool fits = true;
    lengths[id] = pieces ? std::optional(LengthOfPieces(*pieces, &fits)) : std::nullopt;
    if (!fits) return dskFulErr;
  }
  if (!old.Exists()) {
    // Both, also when one is empty: readers of the format have come to expect it.
    lengths.try_emplace(kDoubleFinderInfo, static_cast<UInt32>(kFinderInfoSize));
    lengths.try_emplace(kDoubleResourceFork, 0u);
    if (!lengths[kDoubleFinderInfo]) lengths[kDoubleFinderInfo] = kFinderInfoSize;
    if (!lengths[kDoubleResourceFork]) lengths[kDoubleResourceFork] = 0;
  }
  const std::optional<DoubleHead> head = LayOutDouble(old.head(), lengths);
  if (!head) return dskFulErr;
  if (SaysNothing(*head, old, changes)) return RemoveSide(folder, name);

  std::vector<DoubleEntry> order = head->entries;
  std::sort(order.begin(), order.end(), [](const DoubleEntry& a, const DoubleEntry& b) {
    return std::tie(a.offset, a.length) < std::tie(b.offset, b.length);
  });
  const auto fill = [&](Writer& writer) -> OSErr {
    const std::vector<UInt8> bytes = WriteDoubleHead(*head);
    OSErr error = writer.Bytes(bytes.data(), bytes.size());
    for (const DoubleEntry& entry : order) {
      if (error != noErr) break;
      if (entry.length == 0) continue;
      error = writer.Until(entry.offset);
      const DoubleEntry* before = old.head().Find(entry.id);
      const auto change = changes.find(entry.id);
      if (change == changes.end() || !change->second) {
        if (error == noErr) {
          error = before != nullptr ? writer.Copy(old.fd(), before->offset, entry.length)
                                    : writer.Zeros(entry.length);
        }
        continue;
      }
      for (const SidePiece& piece : *change->second) {
        if (error != noErr) break;
        if (piece.length == 0) continue;
        switch (piece.from) {
          case SidePiece::From::kZeros:
            error = writer.Zeros(piece.length);
            break;
          case SidePiece::From::kMemory:
            error = writer.Bytes(piece.memory, piece.length);
            break;
          case SidePiece::From::kOld:
            error = before != nullptr
                        ? writer.Copy(old.fd(), before->offset + piece.offset, piece.length)
                        : ioErr;
            break;
        }
      }
    }
    return error;
  };
  return Replace(folder, name, owner.stx_mode, owner.stx_uid, owner.stx_gid, fill);
}

OSErr CarrySide(int folder, const std::string& name, int newFolder, const std::string& newName) {
  SideFile side;
  SideFile stray;
  if (const OSErr error = side.Open(folder, name); error != noErr) return error;
  if (const OSErr error = stray.Open(newFolder, newName); error != noErr) return error;
  if (!side.Exists()) return stray.Exists() ? RemoveSide(newFolder, newName) : OSErr{noErr};
  const std::string target = SideName(newName);
  if (target.size() > kMaxName) return errFSNameTooLong;
  const std::string aside = UnfinishedName(newName);
  unlinkat(newFolder, aside.c_str(), 0);
  if (linkat(folder, SideName(name).c_str(), newFolder, aside.c_str(), 0) == 0) {
    Step("side link made");
    if (renameat(newFolder, aside.c_str(), newFolder, target.c_str()) != 0) {
      const int error = errno;
      unlinkat(newFolder, aside.c_str(), 0);
      return ErrorOf(error);
    }
    // Renaming one link over another of the same file does nothing and leaves both.
    unlinkat(newFolder, aside.c_str(), 0);
    Step("side link in place");
    return noErr;
  }
  if (errno == EXDEV) return diffVolErr;
  if (errno != EPERM && errno != EOPNOTSUPP && errno != EMLINK) return ErrorOf(errno);
  struct stat status {};
  if (fstat(side.fd(), &status) != 0) return ErrorOf(errno);
  return Replace(newFolder, newName, status.st_mode, status.st_uid, status.st_gid,
                 [&](Writer& writer) {
                   return writer.Copy(side.fd(), 0, static_cast<UInt64>(status.st_size));
                 });
}

OSErr RemoveSide(int folder, const std::string& name) {
  const std::string side = SideName(name);
  if (side.size() > kMaxName || name == ".") return noErr;
  if (unlinkat(folder, side.c_str(), 0) != 0 && errno != ENOENT) return ErrorOf(errno);
  return noErr;
}

}  // namespace lumivane::files
