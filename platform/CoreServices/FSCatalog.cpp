#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <unordered_set>

#include "platform/CoreServices/BigEndian.h"
#include "platform/CoreServices/FSCatalogInfo.h"
#include "platform/CoreServices/FSDates.h"
#include "platform/CoreServices/FileErrors.h"
#include "platform/CoreServices/FileNames.h"
#include "platform/CoreServices/FileVolumes.h"
#include "platform/CoreServices/OpenForks.h"
#include "platform/CoreServices/SpecNames.h"

namespace lumivane::files {

namespace {

constexpr FSCatalogInfoBitmap kInSideFile = kFSCatInfoCreateDate | kFSCatInfoBackupDate |
                                            kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo |
                                            kFSCatInfoRsrcSizes;
constexpr FSCatalogInfoBitmap kKept =
    kFSCatInfoCreateDate | kFSCatInfoBackupDate | kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo;
constexpr FSCatalogInfoBitmap kFinder = kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo;

// Places of the dates in their entry, seconds from 2000-01-01, signed; this one says "unknown".
constexpr std::size_t kCreated = 0;
constexpr std::size_t kBackedUp = 8;
constexpr UInt32 kUnknownDate = 0x80000000;

bool IsSymbolicLink(const Located& located) {
  return (located.look.status.stx_mode & S_IFMT) == S_IFLNK;
}

UInt8 AccessOf(const Located& located) {
  UInt8 access = 0;
  const auto may = [&located](int mode) {
    return faccessat(located.folder.get(), located.name.c_str(), mode,
                     AT_EACCESS | AT_SYMLINK_NOFOLLOW) == 0;
  };
  if (may(R_OK)) access |= 4;
  if (may(W_OK)) access |= 2;
  if (may(X_OK)) access |= 1;
  return access;
}

OSErr ReadFinder(const SideFile& side, FinderBytes* bytes) {
  *bytes = {};
  std::size_t actual = 0;
  return side.Read(kDoubleFinderInfo, 0, bytes->data(), bytes->size(), &actual);
}

void ReadDates(const SideFile& side, FSCatalogInfoBitmap which, FSCatalogInfo* info) {
  std::array<UInt8, kFileDatesSize> dates{};
  std::size_t actual = 0;
  if (side.Read(kDoubleFileDates, 0, dates.data(), dates.size(), &actual) != noErr ||
      actual != dates.size()) {
    return;
  }
  const auto date = [&dates](std::size_t at, UTCDateTime* out) {
    const UInt32 value = Get32(dates.data() + at);
    if (value != kUnknownDate) *out = DateOfSeconds(kSecondsTo2000 + static_cast<SInt32>(value));
  };
  if ((which & kFSCatInfoCreateDate) != 0) date(kCreated, &info->createDate);
  if ((which & kFSCatInfoBackupDate) != 0) date(kBackedUp, &info->backupDate);
}

void ReadFromStatus(const Located& located, FSCatalogInfoBitmap which, FSCatalogInfo* info) {
  const struct statx& status = located.look.status;
  const bool isFolder = located.look.IsFolder();
  if ((which & kFSCatInfoNodeFlags) != 0) {
    info->nodeFlags = isFolder ? UInt16{kFSNodeIsDirectoryMask} : UInt16{0};
    if (!isFolder && (status.stx_mode & 0222) == 0) info->nodeFlags |= kFSNodeLockedMask;
    info->nodeFlags = static_cast<UInt16>(info->nodeFlags | OpenForkFlags(located.look.identity));
  }
  if ((which & kFSCatInfoCreateDate) != 0) info->createDate = DateOf(BirthOf(status));
  if ((which & kFSCatInfoContentMod) != 0) info->contentModDate = DateOf(status.stx_mtime);
  if ((which & kFSCatInfoAttrMod) != 0) info->attributeModDate = DateOf(status.stx_ctime);
  if ((which & kFSCatInfoAccessDate) != 0) info->accessDate = DateOf(status.stx_atime);
  if ((which & kFSCatInfoBackupDate) != 0) info->backupDate = {};
  if ((which & kFSCatInfoSharingFlags) != 0) info->sharingFlags = 0;
  if ((which & kFSCatInfoPermissions) != 0) {
    info->permissions = {status.stx_uid, status.stx_gid, 0, AccessOf(located), status.stx_mode, 0};
  }
  if ((which & kFSCatInfoUserAccess) != 0) info->permissions.userAccess = AccessOf(located);
  if ((which & kFSCatInfoUserPrivs) != 0) {
    // Bit 0 no seeing files, bit 1 no seeing folders, bit 2 no changing.
    const UInt8 access = AccessOf(located);
    info->userPrivileges = 0;
    if ((access & 4) == 0) info->userPrivileges |= 3;
    if ((access & 2) == 0) info->userPrivileges |= 4;
  }
  if ((which & kFSCatInfoDataSizes) != 0) {
    info->dataLogicalSize = isFolder ? 0 : status.stx_size;
    info->dataPhysicalSize = isFolder ? 0 : status.stx_blocks * 512;
  }
  if ((which & kFSCatInfoTextEncoding) != 0) {
    std::string roman;
    const bool isRoman = MacRomanOfName(located.name, &roman);
    info->textEncodingHint = isRoman ? TextEncoding{0} : TextEncoding{kTextEncodingMacUnicode};
  }
}

bool IsDots(const std::string& name) {
  return name == "." || name == "..";
}

}  // namespace

bool NeedsSideFile(FSCatalogInfoBitmap which) {
  return (which & kKept) != 0;
}

SInt64 CountObjects(int folder) {
  const int fd = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return -errno;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(fdopendir(fd), &closedir);
  if (!stream) return -errno;
  std::unordered_set<std::string> names;
  while (const dirent* entry = readdir(stream.get())) {
    if (!IsDots(entry->d_name)) names.insert(entry->d_name);
  }
  return std::count_if(names.begin(), names.end(), [&names](const std::string& name) {
    if (IsUnfinishedSide(name)) return false;
    return name.compare(0, 2, "._") != 0 || !names.contains(name.substr(2));
  });
}

OSErr ReadCatalogInfo(const Located& located, FSCatalogInfoBitmap which, FSCatalogInfo* info) {
  ReadFromStatus(located, which, info);
  const bool isFolder = located.look.IsFolder();
  if ((which & (kFSCatInfoVolume | kFSCatInfoNodeID | kFSCatInfoParentDirID)) != 0) {
    const Volume volume = VolumeOf(located);
    if ((which & kFSCatInfoVolume) != 0) info->volume = volume.number;
    if ((which & kFSCatInfoNodeID) != 0) {
      info->nodeID = NodeNumber(located.look.identity, volume);
    }
    if ((which & kFSCatInfoParentDirID) != 0) info->parentDirID = ParentNumber(located, volume);
  }
  if ((which & kFSCatInfoValence) != 0) {
    info->valence = 0;
    if (isFolder) {
      const Descriptor fd = located.Open(O_PATH | O_DIRECTORY);
      const SInt64 count = fd.IsOpen() ? CountObjects(fd.get()) : -errno;
      if (count < 0) return ErrorOf(static_cast<int>(-count));
      info->valence = static_cast<UInt32>(std::min<SInt64>(count, 0xffffffff));
    }
  }
  if ((which & kInSideFile) == 0) return noErr;
  SideFile side;
  if (const OSErr error = side.Open(located.folder.get(), located.name); error != noErr) {
    // The dates that everybody asks for do not depend on it.
    if ((which & (kFinder | kFSCatInfoRsrcSizes)) == 0) return noErr;
    return error;
  }
  if ((which & (kFSCatInfoCreateDate | kFSCatInfoBackupDate)) != 0) ReadDates(side, which, info);
  if ((which & kFinder) != 0) {
    FinderBytes bytes{};
    if (const OSErr error = ReadFinder(side, &bytes); error != noErr) return error;
    UInt8 finder[16];
    UInt8 extended[16];
    UnpackFinderInfo(isFolder, bytes, finder, extended);
    if (!side.Exists() && IsSymbolicLink(located)) {
      const FInfo link{'slnk', 'rhap', 0, {0, 0}, 0};
      std::memcpy(finder, &link, sizeof link);
    }
    if ((which & kFSCatInfoFinderInfo) != 0) std::memcpy(info->finderInfo, finder, 16);
    if ((which & kFSCatInfoFinderXInfo) != 0) std::memcpy(info->extFinderInfo, extended, 16);
  }
  if ((which & kFSCatInfoRsrcSizes) != 0) {
    info->rsrcLogicalSize = isFolder ? 0 : side.LengthOf(kDoubleResourceFork);
    info->rsrcPhysicalSize = (info->rsrcLogicalSize + 511) / 512 * 512;
  }
  return noErr;
}

OSErr MakeSideChanges(const SideFile& old, bool isFolder, FSCatalogInfoBitmap which,
                      const FSCatalogInfo& info, SideBytes* bytes, SideChanges* changes) {
  using From = SidePiece::From;
  if ((which & kFinder) != 0) {
    if (const OSErr error = ReadFinder(old, &bytes->finder); error != noErr) return error;
    UInt8 finder[16];
    UInt8 extended[16];
    UnpackFinderInfo(isFolder, bytes->finder, finder, extended);
    if ((which & kFSCatInfoFinderInfo) != 0) std::memcpy(finder, info.finderInfo, 16);
    if ((which & kFSCatInfoFinderXInfo) != 0) std::memcpy(extended, info.extFinderInfo, 16);
    bytes->finder = PackFinderInfo(isFolder, finder, extended);
    std::vector<SidePiece> pieces{{From::kMemory, 0, bytes->finder.data(), kFinderInfoSize}};
    const UInt32 length = old.LengthOf(kDoubleFinderInfo);
    if (length > kFinderInfoSize) {
      pieces.push_back({From::kOld, kFinderInfoSize, nullptr, length - kFinderInfoSize});
    }
    (*changes)[kDoubleFinderInfo] = std::move(pieces);
  }
  if ((which & (kFSCatInfoCreateDate | kFSCatInfoBackupDate)) != 0) {
    std::size_t actual = 0;
    if (const OSErr error =
            old.Read(kDoubleFileDates, 0, bytes->dates.data(), bytes->dates.size(), &actual);
        error != noErr) {
      return error;
    }
    if (actual == 0) {
      for (std::size_t at = 0; at < kFileDatesSize; at += 4) {
        Put32(bytes->dates.data() + at, kUnknownDate);
      }
    }
    const auto put = [bytes](std::size_t at, const UTCDateTime& date) {
      const SInt64 seconds = SecondsOf(date) - kSecondsTo2000;
      const bool fits = SecondsOf(date) != 0 && seconds > std::numeric_limits<SInt32>::min() &&
                        seconds <= std::numeric_limits<SInt32>::max();
      Put32(bytes->dates.data() + at, fits ? static_cast<UInt32>(seconds) : kUnknownDate);
    };
    if ((which & kFSCatInfoCreateDate) != 0) put(kCreated, info.createDate);
    if ((which & kFSCatInfoBackupDate) != 0) put(kBackedUp, info.backupDate);
    const bool known = Get32(bytes->dates.data() + kCreated) != kUnknownDate ||
                       Get32(bytes->dates.data() + kBackedUp) != kUnknownDate;
    if (known || old.LengthOf(kDoubleFileDates) != 0) {
      (*changes)[kDoubleFileDates] =
          std::vector<SidePiece>{{From::kMemory, 0, bytes->dates.data(), kFileDatesSize}};
    }
  }
  return noErr;
}

OSErr WriteCatalogInfo(const Located& located, FSCatalogInfoBitmap which,
                       const FSCatalogInfo& info) {
  const bool isFolder = located.look.IsFolder();
  if (NeedsSideFile(which)) {
    if (!isFolder && (located.look.status.stx_mode & S_IFMT) != S_IFREG) return notAFileErr;
    SideFile side;
    if (const OSErr error = side.Open(located.folder.get(), located.name); error != noErr) {
      return error;
    }
    SideBytes bytes;
    SideChanges changes;
    OSErr error = MakeSideChanges(side, isFolder, which, info, &bytes, &changes);
    if (error == noErr && !changes.empty()) {
      error = ChangeSide(located.folder.get(), located.name, located.look.status, side, changes);
    }
    if (error != noErr) return error;
  }
  const Descriptor self = located.Open(O_PATH);
  if (!self.IsOpen()) return ErrorOf(errno);
  // An O_PATH descriptor is changed by the name that /proc has for it; a link itself has no mode.
  const std::string handle = "/proc/self/fd/" + std::to_string(self.get());
  if ((which & kFSCatInfoPermissions) != 0) {
    const struct statx& status = located.look.status;
    if (info.permissions.userID != status.stx_uid || info.permissions.groupID != status.stx_gid) {
      if (fchownat(self.get(), "", info.permissions.userID, info.permissions.groupID,
                   AT_EMPTY_PATH) != 0) {
        return ErrorOf(errno);
      }
    }
    if (chmod(handle.c_str(), info.permissions.mode & 07777) != 0) return ErrorOf(errno);
  }
  if ((which & (kFSCatInfoContentMod | kFSCatInfoAccessDate)) != 0) {
    timespec times[2];
    times[0] =
        (which & kFSCatInfoAccessDate) != 0 ? TimeOf(info.accessDate) : timespec{0, UTIME_OMIT};
    times[1] =
        (which & kFSCatInfoContentMod) != 0 ? TimeOf(info.contentModDate) : timespec{0, UTIME_OMIT};
    if (utimensat(located.folder.get(), located.name.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) {
      return ErrorOf(errno);
    }
  }
  return noErr;
}

}  // namespace lumivane::files

using namespace lumivane::files;

OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfo,
                       HFSUniStr255* outName, FSSpec* fsSpec, FSRef* parentRef) {
  const std::shared_lock lock(TopologyLock());
  Located located;
  if (const OSErr error = ResolveLocked(ref, &located); error != noErr) return error;
  if (catalogInfo != nullptr && whichInfo != kFSCatInfoNone) {
    const OSErr error = ReadCatalogInfo(located, whichInfo, catalogInfo);
    if (error != noErr) return error;
  }
  if (outName != nullptr) {
    *outName = UnitsOfName(located.IsRoot() ? VolumeOf(located).name : located.name);
  }
  if (fsSpec != nullptr) *fsSpec = SpecOf(located);
  if (parentRef != nullptr) {
    *parentRef = {};
    Located parent;
    if (LocateParent(located, &parent)) *parentRef = ReferenceOf(parent);
  }
  return noErr;
}

OSErr FSSetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo,
                       const FSCatalogInfo* catalogInfo) {
  if (catalogInfo == nullptr) return paramErr;
  if ((whichInfo & ~FSCatalogInfoBitmap{kFSCatInfoSettableInfo}) != 0) return errFSBadInfoBitmap;
  Located located;
  FileLock lock;
  if (const OSErr error = ResolveAndLock(ref, &located, &lock); error != noErr) return error;
  return WriteCatalogInfo(located, whichInfo, *catalogInfo);
}
