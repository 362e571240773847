#include "platform/CoreServices/OpenForks.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/CoreServices/FileErrors.h"
#include "platform/CoreServices/FileNames.h"
#include "platform/CoreServices/FileReference.h"
#include "platform/CoreServices/SideFile.h"

namespace lumivane::files {

namespace {

constexpr char kResourceForkName[] = "RESOURCE_FORK";
constexpr std::size_t kMostForks = 1024;
constexpr SInt64 kMostResourceBytes = std::numeric_limits<SInt32>::max();
using From = SidePiece::From;

enum class Writing { kNo, kAlone, kShared };

struct Fork {
  std::mutex mutex;  ///< guards `position` and keeps one fork's calls apart
  FSRef file{};
  Identity identity;
  bool isResource = false;
  bool mayRead = false;
  Writing writing = Writing::kNo;
  Descriptor fd;  ///< of the data fork; of a resource fork it only holds the writer's lock
  SInt64 position = 0;
};

class ForkTable {
 public:
  static ForkTable& Shared() {
    static auto* const table = new ForkTable;  // outlives every static destructor
    return *table;
  }

  std::shared_ptr<Fork> Find(FSIORefNum number) {
    const std::lock_guard lock(mutex_);
    const auto found = forks_.find(number);
    return found == forks_.end() ? nullptr : found->second;
  }

  /// opWrErr when others that are open forbid it; tmfoErr when there are too many.
  OSErr Add(const std::shared_ptr<Fork>& fork, FSIORefNum* number) {
    const std::lock_guard lock(mutex_);
    if (forks_.size() >= kMostForks) return tmfoErr;
    if (fork->writing != Writing::kNo) {
      for (const auto& [other, open] : forks_) {
        if (open->identity != fork->identity || open->isResource != fork->isResource) continue;
        if (open->writing == Writing::kNo) continue;
        if (open->writing == Writing::kAlone || fork->writing == Writing::kAlone) return opWrErr;
      }
    }
    do {
      next_ = next_ == std::numeric_limits<SInt16>::max() ? SInt16{2} : SInt16(next_ + 1);
    } while (forks_.contains(next_));
    *number = next_;
    forks_[next_] = fork;
    return noErr;
  }

  bool Remove(FSIORefNum number) {
    const std::lock_guard lock(mutex_);
    return forks_.erase(number) != 0;
  }

  UInt16 Flags(const Identity& object) {
    const std::lock_guard lock(mutex_);
    UInt16 flags = 0;
    for (const auto& [number, fork] : forks_) {
      if (fork->identity != object) continue;
      flags = static_cast<UInt16>(flags | kFSNodeForkOpenMask |
                                  (fork->isResource ? kFSNodeResOpenMask : kFSNodeDataOpenMask));
    }
    return flags;
  }

 private:
  std::mutex mutex_;
  std::map<FSIORefNum, std::shared_ptr<Fork>> forks_;
  SInt16 next_ = 1;
};

/// Keeps other processes from opening a resource fork for writing: a lock on a byte of the file
/// that no file has, which goes with the descriptor. File systems without locks do without.
OSErr HoldResourceFork(int fd, Writing writing) {
  struct flock lock {};
  lock.l_type = writing == Writing::kAlone ? F_WRLCK : F_RDLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = std::numeric_limits<off_t>::max() - 1;
  lock.l_len = 1;
  if (fcntl(fd, F_OFD_SETLK, &lock) == 0) return noErr;
  return errno == EAGAIN || errno == EACCES ? opWrErr : OSErr{noErr};
}

OSErr OpenForkAs(const FSRef* ref, bool isResource, bool read, Writing writing,
                 FSIORefNum* number) {
  Located located;
  if (const OSErr error = Resolve(ref, &located); error != noErr) return error;
  if ((located.look.status.stx_mode & S_IFMT) != S_IFREG) return notAFileErr;
  auto fork = std::make_shared<Fork>();
  fork->file = *ref;
  fork->identity = located.look.identity;
  fork->isResource = isResource;
  fork->mayRead = read;
  fork->writing = writing;
  const bool writes = writing != Writing::kNo;
  // A lock of one's own needs a descriptor for writing; so the file's rights govern both forks.
  const int flags = writes ? (read || isResource ? O_RDWR : O_WRONLY) : O_RDONLY;
  fork->fd = located.Open(flags | O_NONBLOCK);
  if (!fork->fd.IsOpen()) {
    if (writes && (errno == EACCES || errno == EPERM)) return wrPermErr;
    return ErrorOf(errno);
  }
  ObjectLook look;
  if (LookAt(fork->fd.get(), &look) != 0 || look.identity != fork->identity) return fnfErr;
  if (isResource) {
    SideFile side;
    const OSErr error = side.Open(located.folder.get(), located.name);
    if (error != noErr) return error;
  }
  FSIORefNum open = 0;
  if (const OSErr error = ForkTable::Shared().Add(fork, &open); error != noErr) return error;
  if (isResource && writes) {
    if (const OSErr error = HoldResourceFork(fork->fd.get(), writing); error != noErr) {
      ForkTable::Shared().Remove(open);
      return error;
    }
  }
  *number = open;
  return noErr;
}

OSErr OpenSide(const Fork& fork, Located* located, SideFile* side) {
  if (const OSErr error = Resolve(&fork.file, located); error != noErr) return error;
  return side->Open(located->folder.get(), located->name);
}

OSErr SizeOf(const Fork& fork, SInt64* size) {
  if (!fork.isResource) {
    struct stat status {};
    if (fstat(fork.fd.get(), &status) != 0) return ErrorOf(errno);
    *size = status.st_size;
    return noErr;
  }
  Located located;
  SideFile side;
  const OSErr error = OpenSide(fork, &located, &side);
  if (error == noErr) *size = side.LengthOf(kDoubleResourceFork);
  return error;
}

/// Where an offset leads; posErr below 0.
OSErr Seek(const Fork& fork, UInt16 mode, SInt64 offset, SInt64* position) {
  SInt64 base = 0;
  switch (mode & 3) {
    case fsAtMark:
      *position = fork.position;
      return noErr;
    case fsFromStart:
      break;
    case fsFromLEOF:
      if (const OSErr error = SizeOf(fork, &base); error != noErr) return error;
      break;
    case fsFromMark:
      base = fork.position;
      break;
  }
  SInt64 sum = 0;
  if (__builtin_add_overflow(base, offset, &sum) || sum < 0) return posErr;
  *position = sum;
  return noErr;
}

OSErr ReadData(int fd, SInt64 position, void* buffer, std::size_t count, std::size_t* actual) {
  while (*actual < count) {
    const ssize_t got = pread(fd, static_cast<char*>(buffer) + *actual, count - *actual,
                              position + static_cast<SInt64>(*actual));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return ErrorOf(errno);
    if (got == 0) break;
    *actual += static_cast<std::size_t>(got);
  }
  return noErr;
}

OSErr WriteData(int fd, SInt64 position, const void* buffer, std::size_t count,
                std::size_t* actual) {
  while (*actual < count) {
    const ssize_t put = pwrite(fd, static_cast<const char*>(buffer) + *actual, count - *actual,
                               position + static_cast<SInt64>(*actual));
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return ErrorOf(errno);
    *actual += static_cast<std::size_t>(put);
  }
  return noErr;
}

/// Gives the resource fork the content that `compose` makes of its old length.
template <typename Compose>
OSErr ChangeResourceFork(const FSRef& file, const Compose& compose) {
  Located located;
  FileLock lock;
  if (const OSErr error = ResolveAndLock(&file, &located, &lock); error != noErr) return error;
  SideFile side;
  if (const OSErr error = side.Open(located.folder.get(), located.name); error != noErr) {
    return error;
  }
  const UInt64 length = side.LengthOf(kDoubleResourceFork);
  std::optional<std::vector<SidePiece>> pieces = compose(length);
  if (!pieces) return noErr;
  SideChanges changes;
  changes[kDoubleResourceFork] = std::move(pieces);
  return ChangeSide(located.folder.get(), located.name, located.look.status, side, changes);
}

OSErr WriteResourceFork(const Fork& fork, SInt64 position, const void* buffer, UInt64 count) {
  if (position > kMostResourceBytes - static_cast<SInt64>(count)) return dskFulErr;
  const auto start = static_cast<UInt64>(position);
  return ChangeResourceFork(fork.file, [&](UInt64 length) {
    std::vector<SidePiece> pieces{{From::kOld, 0, nullptr, std::min(start, length)}};
    if (start > length) pieces.push_back({From::kZeros, 0, nullptr, start - length});
    pieces.push_back({From::kMemory, 0, buffer, count});
    if (start + count < length) {
      pieces.push_back({From::kOld, start + count, nullptr, length - start - count});
    }
    return std::optional(std::move(pieces));
  });
}

OSErr ResizeResourceFork(const FSRef& file, SInt64 size) {
  if (size > kMostResourceBytes) return dskFulErr;
  const auto wanted = static_cast<UInt64>(size);
  return ChangeResourceFork(file, [&](UInt64 length) -> std::optional<std::vector<SidePiece>> {
    if (length == wanted) return std::nullopt;
    std::vector<SidePiece> pieces{{From::kOld, 0, nullptr, std::min(wanted, length)}};
    if (wanted > length) pieces.push_back({From::kZeros, 0, nullptr, wanted - length});
    return pieces;
  });
}

OSErr FileOnly(const FSRef* ref, Located* located) {
  if (const OSErr error = Resolve(ref, located); error != noErr) return error;
  return (located->look.status.stx_mode & S_IFMT) == S_IFREG ? noErr : notAFileErr;
}

}  // namespace

UInt16 OpenForkFlags(const Identity& object) {
  return ForkTable::Shared().Flags(object);
}

OSErr ForkOfName(UInt32 length, const UniChar* name, bool* isResourceFork) {
  *isResourceFork = false;
  if (length == 0) return noErr;
  if (name == nullptr || length != sizeof kResourceForkName - 1) return errFSBadForkName;
  *isResourceFork = std::equal(name, name + length, kResourceForkName);
  return *isResourceFork ? noErr : errFSBadForkName;
}

OSErr OpenForkByReference(const FSRef* ref, bool isResourceFork, SInt8 permissions,
                          FSIORefNum* number) {
  switch (permissions) {
    case fsCurPerm: {
      const OSErr error = OpenForkAs(ref, isResourceFork, true, Writing::kAlone, number);
      if (error != wrPermErr && error != opWrErr && error != wPrErr) return error;
      return OpenForkAs(ref, isResourceFork, true, Writing::kNo, number);
    }
    case fsRdPerm:
      return OpenForkAs(ref, isResourceFork, true, Writing::kNo, number);
    case fsWrPerm:
      return OpenForkAs(ref, isResourceFork, false, Writing::kAlone, number);
    case fsRdWrPerm:
      return OpenForkAs(ref, isResourceFork, true, Writing::kAlone, number);
    case fsRdWrShPerm:
      return OpenForkAs(ref, isResourceFork, true, Writing::kShared, number);
    default:
      return paramErr;
  }
}

OSErr ReplaceResourceFork(FSIORefNum number, const void* bytes, UInt64 size) {
  const std::shared_ptr<Fork> fork = ForkTable::Shared().Find(number);
  if (!fork || !fork->isResource) return rfNumErr;
  const std::lock_guard lock(fork->mutex);
  if (fork->writing == Writing::kNo) return wrPermErr;
  return ChangeResourceFork(fork->file, [&](UInt64) {
    return std::optional(std::vector<SidePiece>{{From::kMemory, 0, bytes, size}});
  });
}

}  // namespace lumivane::files

using namespace lumivane::files;

OSErr FSGetDataForkName(HFSUniStr255* dataForkName) {
  if (dataForkName == nullptr) return paramErr;
  *dataForkName = {};
  return noErr;
}

OSErr FSGetResourceForkName(HFSUniStr255* resourceForkName) {
  if (resourceForkName == nullptr) return paramErr;
  *resourceForkName = UnitsOfName(kResourceForkName);
  return noErr;
}

OSErr FSOpenFork(const FSRef* ref, UInt32 forkNameLength, const UniChar* forkName,
                 SInt8 permissions, FSIORefNum* forkRefNum) {
  if (forkRefNum == nullptr) return paramErr;
  bool isResource = false;
  const OSErr error = ForkOfName(forkNameLength, forkName, &isResource);
  return error != noErr ? error : OpenForkByReference(ref, isResource, permissions, forkRefNum);
}

OSErr FSCloseFork(FSIORefNum forkRefNum) {
  return ForkTable::Shared().Remove(forkRefNum) ? noErr : rfNumErr;
}

OSErr FSReadFork(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset,
                 ByteCount requestCount, void* buffer, ByteCount* actualCount) {
  if (actualCount != nullptr) *actualCount = 0;
  const std::shared_ptr<Fork> fork = ForkTable::Shared().Find(forkRefNum);
  if (!fork) return rfNumErr;
  if (buffer == nullptr && requestCount != 0) return paramErr;
  const std::lock_guard lock(fork->mutex);
  if (!fork->mayRead) return permErr;
  SInt64 position = 0;
  OSErr error = Seek(*fork, positionMode, positionOffset, &position);
  if (error != noErr) return error;
  std::size_t actual = 0;
  if (fork->isResource) {
    Located located;
    SideFile side;
    error = OpenSide(*fork, &located, &side);
    if (error == noErr) {
      error = side.Read(kDoubleResourceFork, static_cast<UInt64>(position), buffer, requestCount,
                        &actual);
    }
  } else {
    error = ReadData(fork->fd.get(), position, buffer, requestCount, &actual);
  }
  fork->position = position + static_cast<SInt64>(actual);
  if (actualCount != nullptr) *actualCount = static_cast<ByteCount>(actual);
  if (error != noErr) return error;
  return actual < requestCount ? eofErr : noErr;
}

OSErr FSWriteFork(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset,
                  ByteCount requestCount, const void* buffer, ByteCount* actualCount) {
  if (actualCount != nullptr) *actualCount = 0;
  const std::shared_ptr<Fork> fork = ForkTable::Shared().Find(forkRefNum);
  if (!fork) return rfNumErr;
  if (buffer == nullptr && requestCount != 0) return paramErr;
  const std::lock_guard lock(fork->mutex);
  if (fork->writing == Writing::kNo) return wrPermErr;
  SInt64 position = 0;
  OSErr error = Seek(*fork, positionMode, positionOffset, &position);
  if (error != noErr) return error;
  std::size_t actual = 0;
  if (requestCount == 0) {
    fork->position = position;
    return noErr;
  }
  if (fork->isResource) {
    error = WriteResourceFork(*fork, position, buffer, requestCount);
    if (error == noErr) actual = requestCount;
  } else {
    error = WriteData(fork->fd.get(), position, buffer, requestCount, &actual);
  }
  fork->position = position + static_cast<SInt64>(actual);
  if (actualCount != nullptr) *actualCount = static_cast<ByteCount>(actual);
  return error;
}

OSErr FSGetForkPosition(FSIORefNum forkRefNum, SInt64* position) {
  if (position == nullptr) return paramErr;
  const std::shared_ptr<Fork> fork = ForkTable::Shared().Find(forkRefNum);
  if (!fork) return rfNumErr;
  const std::lock_guard lock(fork->mutex);
  *position = fork->position;
  return noErr;
}

OSErr FSSetForkPosition(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset) {
  const std::shared_ptr<Fork> fork = ForkTable::Shared().Find(forkRefNum);
  if (!fork) return rfNumErr;
  const std::lock_guard lock(fork->mutex);
  SInt64 position = 0;
  SInt64 size = 0;
  if (const OSErr error = Seek(*fork, positionMode, positionOffset, &position); error != noErr) {
    return error;
  }
  if (const OSErr error = SizeOf(*fork, &size); error != noErr) return error;
  fork->position = std::min(position, size);
  return position > size ? eofErr : noErr;
}

OSErr FSGetForkSize(FSIORefNum forkRefNum, SInt64* forkSize) {
  if (forkSize == nullptr) return paramErr;
  const std::shared_ptr<Fork> fork = ForkTable::Shared().Find(forkRefNum);
  if (!fork) return rfNumErr;
  const std::lock_guard lock(fork->mutex);
  return SizeOf(*fork, forkSize);
}

OSErr FSSetForkSize(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset) {
  const std::shared_ptr<Fork> fork = ForkTable::Shared().Find(forkRefNum);
  if (!fork) return rfNumErr;
  const std::lock_guard lock(fork->mutex);
  if (fork->writing == Writing::kNo) return wrPermErr;
  SInt64 size = 0;
  OSErr error = Seek(*fork, positionMode, positionOffset, &size);
  if (error != noErr) return error;
  if (fork->isResource) {
    error = ResizeResourceFork(fork->file, size);
  } else if (ftruncate(fork->fd.get(), size) != 0) {
    error = ErrorOf(errno);
  }
  if (error == noErr) fork->position = std::min(fork->position, size);
  return error;
}

OSErr FSFlushFork(FSIORefNum forkRefNum) {
  const std::shared_ptr<Fork> fork = ForkTable::Shared().Find(forkRefNum);
  if (!fork) return rfNumErr;
  const std::lock_guard lock(fork->mutex);
  // A resource fork was brought to the disk by each write.
  if (!fork->isResource && fsync(fork->fd.get()) != 0) return ErrorOf(errno);
  return noErr;
}

OSErr FSCreateFork(const FSRef* ref, UInt32 forkNameLength, const UniChar* forkName) {
  bool isResource = false;
  if (const OSErr error = ForkOfName(forkNameLength, forkName, &isResource); error != noErr) {
    return error;
  }
  Located located;
  const OSErr error = FileOnly(ref, &located);
  if (error != noErr || !isResource) return error;
  SideFile side;
  return side.Open(located.folder.get(), located.name);
}

OSErr FSDeleteFork(const FSRef* ref, UInt32 forkNameLength, const UniChar* forkName) {
  bool isResource = false;
  if (const OSErr error = ForkOfName(forkNameLength, forkName, &isResource); error != noErr) {
    return error;
  }
  Located located;
  if (const OSErr error = FileOnly(ref, &located); error != noErr) return error;
  const UInt16 open = isResource ? kFSNodeResOpenMask : kFSNodeDataOpenMask;
  if ((OpenForkFlags(located.look.identity) & open) != 0) return fBsyErr;
  if (isResource) return ResizeResourceFork(*ref, 0);
  const Descriptor fd = located.Open(O_WRONLY | O_NONBLOCK);
  if (!fd.IsOpen()) return errno == EACCES ? wrPermErr : ErrorOf(errno);
  return ftruncate(fd.get(), 0) == 0 ? noErr : ErrorOf(errno);
}

OSErr FSGetForkFile(FSIORefNum forkRefNum, FSRef* ref, HFSUniStr255* forkName) {
  const std::shared_ptr<Fork> fork = ForkTable::Shared().Find(forkRefNum);
  if (!fork) return rfNumErr;
  if (ref != nullptr) *ref = fork->file;
  if (forkName != nullptr) {
    return fork->isResource ? FSGetResourceForkName(forkName) : FSGetDataForkName(forkName);
  }
  return noErr;
}
