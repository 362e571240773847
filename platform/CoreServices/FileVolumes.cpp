#include "platform/CoreServices/FileVolumes.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <deque>
#include <fstream>
#include <memory>
#include <mutex>
#include <sstream>

#include "platform/CoreServices/FSDates.h"
#include "platform/CoreServices/FileErrors.h"
#include "platform/CoreServices/FileNames.h"
#include "platform/CoreServices/FolderTable.h"

namespace lumivane::files {

namespace {

constexpr const char* kStartUpName = "Root";
constexpr std::size_t kManyVolumes = 256;
constexpr std::chrono::milliseconds kSearchTime{1000};

bool IsRootFolder(const Identity& folder) {
  const std::optional<FolderTable::Place> place = FolderTable::Shared().Find(folder);
  return place && place->folder.IsNull();
}

class VolumeTable {
 public:
  static VolumeTable& Shared() {
    static auto* const table = new VolumeTable;  // outlives every static destructor
    return *table;
  }

  Volume Enter(const Identity& root, const std::string& name) {
    const std::lock_guard lock(mutex_);
    for (const Volume& volume : volumes_) {
      if (volume.root == root) return volume;
    }
    if (volumes_.size() >= kManyVolumes) Prune();
    Volume volume;
    volume.root = root;
    // The start-up volume's number is its own, whichever volume is met first.
    volume.number = name == kStartUpName && IsRootFolder(root) ? kStartUpVolume
                                                               : FSVolumeRefNum{kStartUpVolume - 1};
    while (Has(volume.number)) --volume.number;
    volume.name = name;
    for (int copy = 1; HasName(volume.name); ++copy)
      volume.name = name + " " + std::to_string(copy);
    volumes_.push_back(volume);
    return volume;
  }

  std::vector<Volume> All() {
    const std::lock_guard lock(mutex_);
    return volumes_;
  }

 private:
  bool Has(FSVolumeRefNum number) const {
    return std::any_of(volumes_.begin(), volumes_.end(),
                       [number](const Volume& volume) { return volume.number == number; });
  }
  bool HasName(const std::string& name) const {
    return std::any_of(volumes_.begin(), volumes_.end(),
                       [&name](const Volume& volume) { return volume.name == name; });
  }
  // Volumes that come and go for days must not pile up: what is no longer mounted leaves.
  void Prune() {
    std::erase_if(volumes_, [](const Volume& volume) {
      Located root;
      return volume.number != kStartUpVolume && !LocateFolder(volume.root, &root);
    });
  }

  std::mutex mutex_;
  std::vector<Volume> volumes_;
};

Volume EnterRootedAt(const Identity& root) {
  const std::optional<FolderTable::Place> place = FolderTable::Shared().Find(root);
  const bool startUp = !place || place->folder.IsNull();
  return VolumeTable::Shared().Enter(root, startUp ? kStartUpName : place->name);
}

Volume StartUpVolume() {
  Located root;
  return LocatePath("/", &root) == 0 ? EnterRootedAt(root.look.identity) : Volume{};
}

/// Undoes the \ooo of /proc/self/mountinfo.
std::string Unescape(const std::string& text) {
  const auto digit = [](char c) { return c >= '0' && c <= '7'; };
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 3 < text.size() && digit(text[i + 1]) && digit(text[i + 2]) &&
        digit(text[i + 3])) {
      plain += static_cast<char>(((text[i + 1] - '0') << 6) | ((text[i + 2] - '0') << 3) |
                                 (text[i + 3] - '0'));
      i += 3;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

bool HoldsFiles(const std::string& type) {
  static constexpr std::array kOthers = {
      "proc",    "sysfs",      "cgroup",     "cgroup2",    "devpts",  "devtmpfs",
      "debugfs", "tracefs",    "securityfs", "pstore",     "bpf",     "configfs",
      "mqueue",  "hugetlbfs",  "autofs",     "efivarfs",   "fusectl", "binfmt_misc",
      "nsfs",    "rpc_pipefs", "selinuxfs",  "fuse.lxcfs", "ramfs"};
  return std::find(kOthers.begin(), kOthers.end(), type) == kOthers.end();
}

/// Meets every volume that is mounted now.
void MeetVolumes() {
  StartUpVolume();
  std::ifstream table("/proc/self/mountinfo");
  for (std::string line; std::getline(table, line);) {
    std::istringstream fields(line);
    std::string field;
    std::string point;
    for (int i = 0; i < 5 && fields >> field; ++i) point = field;
    while (fields >> field && field != "-") {
    }
    std::string type;
    fields >> type;
    Located located;
    if (!HoldsFiles(type) || LocatePath(Unescape(point), &located) != 0) continue;
    if (located.look.IsFolder()) VolumeOf(located);
  }
}

bool IsMounted(const Volume& volume) {
  Located root;
  return LocateFolder(volume.root, &root) &&
         (root.IsRoot() || root.folderIdentity.device != root.look.identity.device);
}

/// Looks through a volume, level by level, for the folder of a number.
bool SearchVolume(const Volume& volume, UInt32 number, Located* folder) {
  Located root;
  if (LocateVolume(volume, &root) != noErr) return false;
  std::deque<std::string> queue{root.Path()};
  const auto end = std::chrono::steady_clock::now() + kSearchTime;
  while (!queue.empty() && std::chrono::steady_clock::now() < end) {
    const std::string path = std::move(queue.front());
    queue.pop_front();
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(path.c_str()), &closedir);
    struct stat status {};
    if (!stream || fstat(dirfd(stream.get()), &status) != 0 ||
        static_cast<UInt32>(status.st_dev) != volume.root.device) {
      continue;
    }
    while (const dirent* entry = readdir(stream.get())) {
      const std::string name = entry->d_name;
      if (entry->d_type != DT_DIR || name == "." || name == "..") continue;
      const std::string child = path == "/" ? "/" + name : path + "/" + name;
      if (NumberOfInode(entry->d_ino) == number && LocatePath(child, folder) == 0 &&
          folder->look.IsFolder() && folder->look.identity.device == volume.root.device) {
        return true;
      }
      queue.push_back(child);
    }
  }
  return false;
}

}  // namespace

Volume VolumeOf(const Located& located) {
  Identity top = located.look.identity;
  if (!located.look.IsFolder()) top = located.folderIdentity;
  if (!located.IsRoot()) {
    for (const Identity& ancestor : AncestorsOf(located)) {
      if (ancestor.device != top.device) break;
      top = ancestor;
    }
  }
  return EnterRootedAt(top);
}

OSErr LocateVolume(const Volume& volume, Located* root) {
  return LocateFolder(volume.root, root) ? noErr : nsvErr;
}

bool VolumeByNumber(FSVolumeRefNum number, Volume* volume) {
  if (number == 0 || number == kStartUpVolume) {
    *volume = StartUpVolume();
    return !volume->root.IsNull();
  }
  for (const Volume& each : VolumeTable::Shared().All()) {
    if (each.number == number && IsMounted(each)) {
      *volume = each;
      return true;
    }
  }
  return false;
}

bool VolumeByName(const std::string& name, Volume* volume) {
  StartUpVolume();
  for (const bool meet : {false, true}) {
    if (meet) MeetVolumes();
    for (const Volume& each : VolumeTable::Shared().All()) {
      if (each.name == name && IsMounted(each)) {
        *volume = each;
        return true;
      }
    }
  }
  return false;
}

bool VolumeByIndex(std::size_t index, Volume* volume) {
  MeetVolumes();
  for (const Volume& each : VolumeTable::Shared().All()) {
    if (IsMounted(each) && --index == 0) {
      *volume = each;
      return true;
    }
  }
  return false;
}

bool PathOnVolume(const std::string& path, std::string* onVolume) {
  static const std::string kVolumes = "/Volumes/";
  if (path.compare(0, kVolumes.size(), kVolumes) != 0) return false;
  const std::size_t end = std::min(path.find('/', kVolumes.size()), path.size());
  const std::string name = path.substr(kVolumes.size(), end - kVolumes.size());
  Volume volume;
  Located root;
  if (name.empty() || !VolumeByName(name, &volume) || LocateVolume(volume, &root) != noErr) {
    return false;
  }
  const std::string rest = path.substr(end);
  *onVolume = root.IsRoot() ? (rest.empty() ? "/" : rest) : root.Path() + rest;
  // "/Volumes/Root/Volumes/Root..." would otherwise be asked for again and again.
  return onVolume->compare(0, kVolumes.size(), kVolumes) != 0;
}

UInt32 NodeNumber(const Identity& object, const Volume& volume) {
  return object == volume.root ? kRootNumber : NumberOfInode(object.inode);
}

UInt32 ParentNumber(const Located& located, const Volume& volume) {
  return located.look.identity == volume.root ? kRootParentNumber
                                              : NodeNumber(located.folderIdentity, volume);
}

OSErr LocateFolderByNumber(const Volume& volume, UInt32 number, Located* folder) {
  if (number == kRootNumber || number == 0) return LocateVolume(volume, folder);
  const std::optional<Identity> known =
      FolderTable::Shared().FindNumber(volume.root.device, number);
  if (known && LocateFolder(*known, folder) && folder->look.IsFolder()) return noErr;
  return SearchVolume(volume, number, folder) ? noErr : dirNFErr;
}

}  // namespace lumivane::files

using namespace lumivane::files;

OSErr FSGetVolumeInfo(FSVolumeRefNum volume, ItemCount volumeIndex, FSVolumeRefNum* actualVolume,
                      FSVolumeInfoBitmap whichInfo, FSVolumeInfo* info, HFSUniStr255* volumeName,
                      FSRef* rootDirectory) {
  const std::shared_lock lock(TopologyLock());
  Volume found;
  const bool known =
      volumeIndex == 0 ? VolumeByNumber(volume, &found) : VolumeByIndex(volumeIndex, &found);
  Located root;
  if (!known || LocateVolume(found, &root) != noErr) return nsvErr;
  if (actualVolume != nullptr) *actualVolume = found.number;
  if (volumeName != nullptr) *volumeName = UnitsOfName(found.name);
  if (rootDirectory != nullptr) *rootDirectory = ReferenceOf(root);
  if (info == nullptr || whichInfo == kFSVolInfoNone) return noErr;
  struct statvfs space {};
  const Descriptor fd = root.Open(O_RDONLY | O_DIRECTORY);
  if (!fd.IsOpen() || fstatvfs(fd.get(), &space) != 0) return ErrorOf(errno);
  *info = {};
  const UInt64 block = space.f_frsize != 0 ? space.f_frsize : space.f_bsize;
  const auto narrow = [](UInt64 value) {
    return static_cast<UInt32>(std::min<UInt64>(value, 0xffffffffu));
  };
  info->createDate = DateOf(BirthOf(root.look.status));
  info->modifyDate = DateOf(root.look.status.stx_mtime);
  info->fileCount = narrow(space.f_files - space.f_ffree);
  info->totalBytes = space.f_blocks * block;
  info->freeBytes = space.f_bavail * block;
  info->blockSize = narrow(block);
  info->totalBlocks = narrow(space.f_blocks);
  info->freeBlocks = narrow(space.f_bavail);
  info->rsrcClumpSize = info->blockSize;
  info->dataClumpSize = info->blockSize;
  if ((space.f_flag & ST_RDONLY) != 0) info->flags = kFSVolFlagHardwareLockedMask;
  info->signature = 'H+';
  info->driveNumber = 1;
  return noErr;
}

OSErr FlushVol(ConstStr255Param volName, SInt16 vRefNum) {
  const std::shared_lock lock(TopologyLock());
  Volume volume;
  if (volName != nullptr && volName[0] != 0) {
    std::string roman(reinterpret_cast<const char*>(volName + 1), volName[0]);
    if (!roman.empty() && roman.back() == ':') roman.pop_back();
    if (!VolumeByName(NameFromMacRoman(roman), &volume)) return nsvErr;
  } else if (!VolumeByNumber(vRefNum, &volume)) {
    return nsvErr;
  }
  Located root;
  if (LocateVolume(volume, &root) != noErr) return nsvErr;
  const Descriptor fd = root.Open(O_RDONLY | O_DIRECTORY);
  if (!fd.IsOpen() || syncfs(fd.get()) != 0) return ErrorOf(errno);
  return noErr;
}
