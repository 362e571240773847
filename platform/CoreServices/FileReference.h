// How an FSRef is kept and found again. Internal to the file layer.
//
// The 80 bytes hold the object's identity, its folder's identity, a hash of its last known name and
// a trail: one 16-bit hash of the inode of each folder from the root down to the object's own (the
// first 16 levels). Nothing in them points into memory, so they may be copied, stored in a record
// and dropped at will.
//
// Where a folder lies now is in a table of the process: object -> (folder, name), each entry hung
// below its folder's. One entry serves every reference below it, so that moving or renaming a
// folder through this layer changes one entry and no reference. The entries of files are only a
// cache of their names and of moves made. Before use an entry is always checked against the disk;
// one that is out of date is mended by looking for the identity in the folder it was last in.
//
// The table is bounded (SetReferenceTableLimit): the entries least recently used, leaves first, go.
// A reference whose folder was dropped is still found by walking its trail from the root, which
// reads the folders on the way and survives renames there. What is then lost is the way to an
// object that was moved to another folder, or below one that was.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <shared_mutex>
#include <string>
#include <vector>

#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/ObjectIdentity.h"

namespace lumivane::files {

/// An object found on disk, and where: entry `name` of the open folder `folder`. The root folder is
/// the entry "." of itself.
struct Located {
  Descriptor folder;  ///< O_PATH
  Identity folderIdentity;
  std::string folderPath;  ///< absolute, as of the moment it was opened
  std::string name;
  ObjectLook look;

  bool IsRoot() const { return name == "."; }
  std::string Path() const;
  /// Opens the object itself, a symbolic link as such; -1 and errno on failure.
  Descriptor Open(int flags) const;
};

/// Held shared while an object is being found and exclusively while one is renamed, moved or
/// deleted together with its entry in the table, so that no look-up meets the time between the two.
/// One that waits to hold it exclusively is let in before new sharers, so that look-ups without end
/// cannot keep a rename waiting; hence a thread must not take it twice.
class TopologyMutex {
 public:
  TopologyMutex();
  void lock();
  void unlock();
  void lock_shared();
  void unlock_shared();

 private:
  pthread_rwlock_t lock_;
};
TopologyMutex& TopologyLock();

/// Finds what `ref` refers to. errFSBadFSRef when it is no reference at all, fnfErr when the object
/// is gone or another has its place, afpAccessDenied when rights hide it. Takes TopologyLock.
OSErr Resolve(const FSRef* ref, Located* located);
/// The same for a caller that holds TopologyLock.
OSErr ResolveLocked(const FSRef* ref, Located* located);

/// Finds the entry `name` of the folder of `folder`; 0 or an errno.
int LocateChild(const Located& folder, const std::string& name, Located* child);

/// Finds the object of this identity among a folder's entries; 0 or an errno.
int LocateByIdentity(const Located& folder, const Identity& object, Located* located);

/// Finds the folder that `located` lies in; false for the root folder.
bool LocateParent(const Located& located, Located* parent);

/// Finds `path`, links followed but for its last part if `followLeaf` is false; 0 or an errno.
/// Paths below "/Volumes/NAME" lead to the volume of that name where no such path exists.
int LocatePath(const std::string& path, Located* located, bool followLeaf = true);

/// Finds a folder by its identity, if the table knows it.
bool LocateFolder(const Identity& identity, Located* located);

/// The reference of a located object; enters it into the table.
FSRef ReferenceOf(const Located& located);

/// Identity of the object that a well-formed reference refers to; null for others.
Identity IdentityOf(const FSRef& ref);
/// Identity of the folder that the object was in when the reference was made.
Identity FolderIdentityOf(const FSRef& ref);

/// Enters a rename or move just made. Caller holds TopologyLock exclusively.
void NoteMoved(const Identity& object, bool isFolder, const Identity& folder,
               const std::string& name);
/// Drops a deleted object's entry. Caller holds TopologyLock exclusively.
void NoteDeleted(const Identity& object);

/// Identities from the object's folder up to the root, as far as the table knows them.
std::vector<Identity> AncestorsOf(const Located& located);

/// Bounds the table to about `entries` (default 32768) and drops what is over. For tests.
void SetReferenceTableLimit(std::size_t entries);
std::size_t ReferenceTableSize();

}  // namespace lumivane::files
