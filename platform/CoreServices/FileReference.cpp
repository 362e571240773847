#include "platform/CoreServices/FileReference.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>

#include "platform/CoreServices/FileErrors.h"
#include "platform/CoreServices/FileVolumes.h"
#include "platform/CoreServices/FolderTable.h"

namespace lumivane::files {

namespace {

constexpr UInt16 kMagic = 0x4c52;
constexpr std::size_t kTrailLevels = 16;
constexpr int kPathFlags = O_PATH | O_NOFOLLOW | O_CLOEXEC;

struct Packed {
  UInt16 magic;
  UInt8 isFolder;
  UInt8 depth;  ///< folders above the object, the root included; 0 for the root itself
  UInt32 device;
  UInt32 folderDevice;
  UInt32 nameHash;
  UInt64 inode;
  UInt64 stamp;
  UInt64 folderInode;
  UInt64 folderStamp;
  std::array<UInt16, kTrailLevels> trail;  ///< folders below the root, from the top

  Identity Object() const { return {inode, stamp, device}; }
  Identity Folder() const { return {folderInode, folderStamp, folderDevice}; }
};
static_assert(sizeof(Packed) == sizeof(FSRef));

bool Unpack(const FSRef& ref, Packed* packed) {
  std::memcpy(packed, &ref, sizeof *packed);
  return packed->magic == kMagic;
}

UInt16 TrailHash(UInt64 inode) {
  return static_cast<UInt16>((inode * 0x9e3779b97f4a7c15ull) >> 48);
}

UInt32 NameHash(const std::string& name) {
  return static_cast<UInt32>(HashText(name));
}

struct FolderCloser {
  void operator()(DIR* folder) const { closedir(folder); }
};
using FolderStream = std::unique_ptr<DIR, FolderCloser>;

FolderStream OpenStream(int folder) {
  const int fd = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return nullptr;
  DIR* stream = fdopendir(fd);
  if (stream == nullptr) ::close(fd);
  return FolderStream(stream);
}

bool IsDots(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

/// Opens an absolute path of any length as an O_PATH descriptor, its last part not followed.
Descriptor OpenLongPath(const std::string& path) {
  constexpr std::size_t kPiece = 2048;  // names have up to 255 bytes: pieces stay below PATH_MAX
  Descriptor fd(open("/", kPathFlags | O_DIRECTORY));
  std::size_t start = 1;
  while (fd.IsOpen() && start < path.size()) {
    std::size_t end = path.size();
    if (end - start > kPiece) end = path.find('/', start + kPiece);
    if (end == std::string::npos) end = path.size();
    fd = Descriptor(openat(fd.get(), path.substr(start, end - start).c_str(), kPathFlags));
    start = end + 1;
  }
  return fd;
}

/// Looks for `object` among the entries of `folder`. Of several names of one object the one with
/// `nameHash` is taken if it is there. 0, ENOENT, or the errno of a folder that cannot be read.
int ScanFor(int folder, const Identity& folderIdentity, const Identity& object, UInt32 nameHash,
            std::string* name, ObjectLook* look) {
  // The entry of a mount point bears the inode of the folder below it.
  for (const bool mounted : {false, true}) {
    if (mounted && object.device == folderIdentity.device) break;
    const FolderStream stream = OpenStream(folder);
    if (!stream) return errno;
    bool found = false;
    while (const dirent* entry = readdir(stream.get())) {
      if (IsDots(entry->d_name)) continue;
      if (!mounted && entry->d_ino != object.inode) continue;
      ObjectLook seen;
      if (LookAt(folder, entry->d_name, &seen) != 0 || seen.identity != object) continue;
      const bool wanted = NameHash(entry->d_name) == nameHash;
      if (found && !wanted) continue;
      found = true;
      *name = entry->d_name;
      *look = seen;
      if (wanted || seen.status.stx_nlink == 1 || seen.IsFolder()) break;
    }
    if (found) return 0;
  }
  return ENOENT;
}

struct OpenFolder {
  Descriptor fd;
  std::string path;
};

/// Opens a folder that the table knows, mending its entry and those above it where they are out of
/// date. 0 or an errno; ESTALE when the table does not lead to it.
int OpenKnownFolder(const Identity& folder, OpenFolder* out, int depth = 0) {
  constexpr int kMaxDepth = 4096;
  FolderTable& table = FolderTable::Shared();
  const std::optional<std::string> path = table.PathOf(folder);
  if (!path || depth > kMaxDepth) return ESTALE;
  Descriptor fd = OpenLongPath(*path);
  const int openError = fd.IsOpen() ? 0 : errno;
  ObjectLook look;
  if (fd.IsOpen() && LookAt(fd.get(), &look) == 0 && look.identity == folder) {
    *out = {std::move(fd), *path};
    return 0;
  }
  if (openError == EACCES) return EACCES;
  const std::optional<FolderTable::Place> place = table.Find(folder);
  if (!place || place->folder.IsNull()) return ESTALE;
  OpenFolder parent;
  if (const int error = OpenKnownFolder(place->folder, &parent, depth + 1); error != 0)
    return error;
  std::string name;
  if (ScanFor(parent.fd.get(), place->folder, folder, NameHash(place->name), &name, &look) != 0) {
    return ESTALE;
  }
  FolderTable::Place mended = *place;
  mended.name = name;
  table.Enter(folder, mended);
  fd = Descriptor(openat(parent.fd.get(), name.c_str(), kPathFlags | O_DIRECTORY));
  if (!fd.IsOpen()) return errno;
  *out = {std::move(fd), parent.path == "/" ? "/" + name : parent.path + "/" + name};
  return 0;
}

/// Enters the root folder and says its identity.
int EnterRoot(Identity* root) {
  const Descriptor fd(open("/", kPathFlags | O_DIRECTORY));
  if (!fd.IsOpen()) return errno;
  ObjectLook look;
  if (const int error = LookAt(fd.get(), &look); error != 0) return error;
  FolderTable::Shared().Enter(look.identity, {{}, "/", true, false});
  *root = look.identity;
  return 0;
}

/// Walks a reference's trail from the root and enters the folders it leads over. The walk looks at
/// no more folders than a busy disk can show in about a second.
class TrailWalk {
 public:
  explicit TrailWalk(const Packed& packed) : packed_(packed), goal_(packed.Folder()) {}

  bool Find() {
    Identity root;
    if (packed_.depth == 0 || EnterRoot(&root) != 0) return false;
    if (root == goal_) return true;
    const Descriptor fd(open("/", kPathFlags | O_DIRECTORY));
    return Descend(fd.get(), root, 0);
  }

 private:
  // Folders between the root and the object: the last one is the goal.
  std::size_t Levels() const { return packed_.depth - 1u; }

  bool Descend(int folder, const Identity& identity, std::size_t level) {
    if (level >= Levels() || budget_ == 0) return false;
    for (const bool mounted : {false, true}) {
      const FolderStream stream = OpenStream(folder);
      if (!stream) return false;
      while (const dirent* entry = readdir(stream.get())) {
        if (IsDots(entry->d_name) || (entry->d_type != DT_DIR && entry->d_type != DT_UNKNOWN)) {
          continue;
        }
        const bool match = level >= kTrailLevels || TrailHash(entry->d_ino) == packed_.trail[level];
        // The entry of a mount point bears another inode than the folder mounted on it.
        if (match == mounted) continue;
        if (budget_ == 0) return false;
        --budget_;
        const Descriptor fd(openat(folder, entry->d_name, kPathFlags | O_DIRECTORY));
        ObjectLook look;
        if (!fd.IsOpen() || LookAt(fd.get(), &look) != 0) continue;
        if (mounted && (look.identity.device == identity.device ||
                        TrailHash(look.identity.inode) != packed_.trail[level])) {
          continue;
        }
        const bool found = look.identity == goal_;
        if (!found && level + 1 == Levels()) continue;
        if (found || Descend(fd.get(), look.identity, level + 1)) {
          chain_.push_back({look.identity, {identity, entry->d_name, true, false}});
          if (level == 0) EnterChain();
          return true;
        }
      }
    }
    return false;
  }

  void EnterChain() {
    std::reverse(chain_.begin(), chain_.end());
    for (const auto& [id, place] : chain_) FolderTable::Shared().Enter(id, place);
  }

  const Packed& packed_;
  const Identity goal_;
  int budget_ = 100000;
  std::vector<std::pair<Identity, FolderTable::Place>> chain_;
};

Located AsLocated(OpenFolder&& folder, const Identity& folderIdentity, std::string name,
                  const ObjectLook& look) {
  return {std::move(folder.fd), folderIdentity, std::move(folder.path), std::move(name), look};
}

/// Looks for the object at one place: by the expected name, else by identity.
int FindIn(const Identity& folder, const std::string& expectedName, UInt32 nameHash,
           const Identity& object, Located* located) {
  OpenFolder open;
  if (const int error = OpenKnownFolder(folder, &open); error != 0) return error;
  ObjectLook look;
  if (!expectedName.empty()) {
    const int error = LookAt(open.fd.get(), expectedName, &look);
    if (error == 0 && look.identity == object) {
      *located = AsLocated(std::move(open), folder, expectedName, look);
      return 0;
    }
    if (error == EACCES) return error;
  }
  std::string name;
  if (const int error = ScanFor(open.fd.get(), folder, object, nameHash, &name, &look);
      error != 0) {
    return error;
  }
  FolderTable::Shared().Enter(object, {folder, name, look.IsFolder(), false});
  *located = AsLocated(std::move(open), folder, name, look);
  return 0;
}

int FindRoot(const Identity& object, Located* located) {
  Identity root;
  if (const int error = EnterRoot(&root); error != 0) return error;
  if (root != object) return ENOENT;
  located->folder = Descriptor(open("/", kPathFlags | O_DIRECTORY));
  if (!located->folder.IsOpen()) return errno;
  located->folderIdentity = {};
  located->folderPath = "/";
  located->name = ".";
  return LookAt(located->folder.get(), &located->look);
}

}  // namespace

std::string Located::Path() const {
  if (IsRoot()) return "/";
  return folderPath == "/" ? "/" + name : folderPath + "/" + name;
}

Descriptor Located::Open(int flags) const {
  return Descriptor(openat(folder.get(), name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC));
}

TopologyMutex::TopologyMutex() {
  pthread_rwlockattr_t attributes;
  pthread_rwlockattr_init(&attributes);
  pthread_rwlockattr_setkind_np(&attributes, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
  pthread_rwlock_init(&lock_, &attributes);
  pthread_rwlockattr_destroy(&attributes);
}

void TopologyMutex::lock() {
  pthread_rwlock_wrlock(&lock_);
}
void TopologyMutex::unlock() {
  pthread_rwlock_unlock(&lock_);
}
void TopologyMutex::lock_shared() {
  pthread_rwlock_rdlock(&lock_);
}
void TopologyMutex::unlock_shared() {
  pthread_rwlock_unlock(&lock_);
}

TopologyMutex& TopologyLock() {
  static auto* const lock = new TopologyMutex;  // outlives every static destructor
  return *lock;
}

OSErr ResolveLocked(const FSRef* ref, Located* located) {
  Packed packed;
  if (ref == nullptr) return paramErr;
  if (!Unpack(*ref, &packed)) return errFSBadFSRef;
  const Identity object = packed.Object();
  if (packed.depth == 0) return ErrorOf(FindRoot(object, located));
  const Identity folder = packed.Folder();
  const std::optional<FolderTable::Place> place = FolderTable::Shared().Find(object);
  int error = ESTALE;
  bool looked = false;
  // An entry of a file that was only seen elsewhere may be another of its links.
  if (place && !place->folder.IsNull() &&
      (place->isFolder || place->moved || place->folder == folder)) {
    const bool sameName = place->moved || NameHash(place->name) == packed.nameHash;
    error = FindIn(place->folder, place->name, packed.nameHash, object, located);
    if (error == 0 && (sameName || located->look.status.stx_nlink == 1 || place->isFolder)) {
      return noErr;
    }
    if (error == EACCES) return ErrorOf(error);
    looked = error == ENOENT && place->folder == folder;
  }
  if (!looked) {
    error = FindIn(folder, {}, packed.nameHash, object, located);
    if (error == ESTALE && !FolderTable::Shared().Find(folder) && TrailWalk(packed).Find()) {
      error = FindIn(folder, {}, packed.nameHash, object, located);
    }
  }
  return ErrorOf(error);
}

OSErr Resolve(const FSRef* ref, Located* located) {
  const std::shared_lock lock(TopologyLock());
  return ResolveLocked(ref, located);
}

int LocateChild(const Located& folder, const std::string& name, Located* child) {
  Descriptor fd = folder.Open(O_PATH | O_DIRECTORY);
  if (!fd.IsOpen()) return errno;
  ObjectLook look;
  if (const int error = LookAt(fd.get(), name, &look); error != 0) return error;
  Located found{std::move(fd), folder.look.identity, folder.Path(), name, look};
  *child = std::move(found);
  return 0;
}

int LocateByIdentity(const Located& folder, const Identity& object, Located* located) {
  Descriptor fd = folder.Open(O_PATH | O_DIRECTORY);
  if (!fd.IsOpen()) return errno;
  std::string name;
  ObjectLook look;
  const int error = ScanFor(fd.get(), folder.look.identity, object, 0, &name, &look);
  if (error != 0) return error;
  Located found{std::move(fd), folder.look.identity, folder.Path(), name, look};
  *located = std::move(found);
  return 0;
}

bool LocateParent(const Located& located, Located* parent) {
  if (located.IsRoot()) return false;
  return LocateFolder(located.folderIdentity, parent);
}

bool LocateFolder(const Identity& identity, Located* located) {
  const std::optional<FolderTable::Place> place = FolderTable::Shared().Find(identity);
  if (!place) return false;
  if (place->folder.IsNull()) return FindRoot(identity, located) == 0;
  return FindIn(place->folder, place->name, NameHash(place->name), identity, located) == 0;
}

int LocatePath(const std::string& path, Located* located, bool followLeaf) {
  if (!followLeaf) {
    const std::size_t slash = path.rfind('/');
    const std::string leaf = path.substr(slash + 1);
    if (slash != std::string::npos && !leaf.empty() && leaf != "." && leaf != "..") {
      Located folder;
      const int error = LocatePath(slash == 0 ? "/" : path.substr(0, slash), &folder);
      if (error != 0) return error;
      const int lost = LocateChild(folder, leaf, located);
      if (lost == 0) ReferenceOf(*located);
      return lost;
    }
  }
  // A second round only when the path changes under the walk.
  for (int round = 0; round < 4; ++round) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                           &std::free);
    if (!real) {
      const int error = errno;
      std::string onVolume;
      if (error == ENOENT && PathOnVolume(path, &onVolume)) return LocatePath(onVolume, located);
      return error;
    }
    Identity current;
    if (const int error = EnterRoot(&current); error != 0) return error;
    const std::string canonical = real.get();
    if (canonical == "/") return FindRoot(current, located);
    Descriptor folder(open("/", kPathFlags | O_DIRECTORY));
    std::size_t start = 1;
    while (folder.IsOpen()) {
      const std::size_t end = std::min(canonical.find('/', start), canonical.size());
      const std::string name = canonical.substr(start, end - start);
      Descriptor fd(openat(folder.get(), name.c_str(), kPathFlags));
      ObjectLook look;
      if (!fd.IsOpen() || LookAt(fd.get(), &look) != 0) break;
      FolderTable::Shared().Enter(look.identity, {current, name, look.IsFolder(), false});
      if (end == canonical.size()) {
        Located found{std::move(folder), current, start == 1 ? "/" : canonical.substr(0, start - 1),
                      name, look};
        *located = std::move(found);
        return 0;
      }
      if (!look.IsFolder()) break;
      current = look.identity;
      folder = std::move(fd);
      start = end + 1;
    }
  }
  return ENOENT;
}

FSRef ReferenceOf(const Located& located) {
  Packed packed{};
  packed.magic = kMagic;
  packed.isFolder = located.look.IsFolder();
  packed.device = located.look.identity.device;
  packed.inode = located.look.identity.inode;
  packed.stamp = located.look.identity.stamp;
  if (!located.IsRoot()) {
    FolderTable& table = FolderTable::Shared();
    table.Enter(located.look.identity,
                {located.folderIdentity, located.name, located.look.IsFolder(), false});
    packed.folderDevice = located.folderIdentity.device;
    packed.folderInode = located.folderIdentity.inode;
    packed.folderStamp = located.folderIdentity.stamp;
    packed.nameHash = NameHash(located.name);
    const std::vector<Identity> chain = table.ChainOf(located.folderIdentity);
    packed.depth = static_cast<UInt8>(std::clamp<std::size_t>(chain.size(), 1, 255));
    for (std::size_t level = 0; level < kTrailLevels && level + 1 < chain.size(); ++level) {
      packed.trail[level] = TrailHash(chain[chain.size() - 2 - level].inode);
    }
  }
  FSRef ref;
  std::memcpy(&ref, &packed, sizeof ref);
  return ref;
}

Identity IdentityOf(const FSRef& ref) {
  Packed packed;
  return Unpack(ref, &packed) ? packed.Object() : Identity{};
}

Identity FolderIdentityOf(const FSRef& ref) {
  Packed packed;
  return Unpack(ref, &packed) ? packed.Folder() : Identity{};
}

void NoteMoved(const Identity& object, bool isFolder, const Identity& folder,
               const std::string& name) {
  FolderTable::Shared().Enter(object, {folder, name, isFolder, true});
}

void NoteDeleted(const Identity& object) {
  FolderTable::Shared().Drop(object);
}

std::vector<Identity> AncestorsOf(const Located& located) {
  return FolderTable::Shared().ChainOf(located.folderIdentity);
}

void SetReferenceTableLimit(std::size_t entries) {
  FolderTable::Shared().SetLimit(entries);
}

std::size_t ReferenceTableSize() {
  return FolderTable::Shared().size();
}

}  // namespace lumivane::files
