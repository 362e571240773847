// Creating, deleting, moving and renaming objects together with their side files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <mutex>

#include "platform/CoreServices/FSCatalogInfo.h"
#include "platform/CoreServices/FileErrors.h"
#include "platform/CoreServices/FileNames.h"
#include "platform/CoreServices/FileReference.h"
#include "platform/CoreServices/FileVolumes.h"
#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/OpenForks.h"
#include "platform/CoreServices/SideFile.h"
#include "platform/CoreServices/SpecNames.h"

namespace lumivane::files {

namespace {

Descriptor OpenFolderOf(const Located& folder) {
  return folder.Open(O_PATH | O_DIRECTORY);
}

bool IsTaken(int folder, const std::string& name) {
  struct stat status {};
  return fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

/// renameat that does not replace; where the file system cannot promise that, it is checked before.
int RenameNew(int folder, const std::string& name, int newFolder, const std::string& newName) {
  if (renameat2(folder, name.c_str(), newFolder, newName.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  if (IsTaken(newFolder, newName)) return EEXIST;
  return renameat(folder, name.c_str(), newFolder, newName.c_str()) == 0 ? 0 : errno;
}

/// What an object is to be made with.
struct NewObject {
  bool isFolder = false;
  FSCatalogInfoBitmap which = kFSCatInfoNone;
  const FSCatalogInfo* info = nullptr;
};

/// The umask, without setting it as umask() would for a moment.
unsigned FileCreationMask() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    unsigned mask = 0;
    if (std::sscanf(line.c_str(), "Umask: %o", &mask) == 1) return mask;
  }
  return 077;
}

/// Lays the side file that `object` wants, or takes away one that a vanished object left.
OSErr PrepareSide(int folder, const std::string& name, const NewObject& object) {
  SideFile stray;
  if (const OSErr error = stray.Open(folder, name); error != noErr) return error;
  if (stray.Exists()) {
    if (const OSErr error = RemoveSide(folder, name); error != noErr) return error;
  }
  if (!NeedsSideFile(object.which)) return noErr;
  SideBytes bytes;
  SideChanges changes;
  const SideFile none;
  const OSErr error =
      MakeSideChanges(none, object.isFolder, object.which, *object.info, &bytes, &changes);
  if (error != noErr || changes.empty()) return error;
  struct statx owner {};
  owner.stx_mode = static_cast<UInt16>(0666 & ~FileCreationMask());
  owner.stx_uid = geteuid();
  owner.stx_gid = getegid();
  return ChangeSide(folder, name, owner, none, changes);
}

int MakeEntry(int folder, const std::string& name, bool isFolder) {
  if (isFolder) return mkdirat(folder, name.c_str(), 0777) == 0 ? 0 : errno;
  const Descriptor fd(
      openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
  return fd.IsOpen() ? 0 : errno;
}

OSErr Create(const FSRef* parentRef, UInt32 nameLength, const UniChar* units,
             const NewObject& object, Located* made) {
  if (object.which != kFSCatInfoNone && object.info == nullptr) return paramErr;
  if ((object.which & ~FSCatalogInfoBitmap{kFSCatInfoSettableInfo}) != 0) return errFSBadInfoBitmap;
  std::string name;
  if (const OSErr error = NameFromUnits(nameLength, units, NameUse::kGive, &name); error != noErr) {
    return error;
  }
  Located parent;
  FileLock lock;
  if (const OSErr error = ResolveAndLock(parentRef, &parent, &lock); error != noErr) return error;
  if (!parent.look.IsFolder()) return errFSNotAFolder;
  const Descriptor folder = OpenFolderOf(parent);
  if (!folder.IsOpen()) return ErrorOf(errno);
  if (IsTaken(folder.get(), name)) return dupFNErr;
  // The side file comes first: as long as there is no object it means nothing.
  if (const OSErr error = PrepareSide(folder.get(), name, object); error != noErr) return error;
  Step("side file ready");
  if (const int error = MakeEntry(folder.get(), name, object.isFolder); error != 0) {
    if (error != EEXIST) RemoveSide(folder.get(), name);
    return ErrorOf(error);
  }
  Step("object made");
  if (const int error = LocateChild(parent, name, made); error != 0) return ErrorOf(error);
  const FSCatalogInfoBitmap rest =
      object.which & (kFSCatInfoPermissions | kFSCatInfoContentMod | kFSCatInfoAccessDate);
  if (rest == kFSCatInfoNone) return noErr;
  const OSErr error = WriteCatalogInfo(*made, rest, *object.info);
  if (error != noErr) {
    unlinkat(folder.get(), name.c_str(), object.isFolder ? AT_REMOVEDIR : 0);
    RemoveSide(folder.get(), name);
  }
  return error;
}

OSErr CreateObject(const FSRef* parentRef, UInt32 nameLength, const UniChar* name,
                   const NewObject& object, FSRef* newRef, FSSpec* newSpec, UInt32* newDirID) {
  Located made;
  const OSErr error = Create(parentRef, nameLength, name, object, &made);
  if (error != noErr) return error;
  const FSRef ref = ReferenceOf(made);
  if (newRef != nullptr) *newRef = ref;
  if (newSpec != nullptr) *newSpec = SpecOf(made);
  if (newDirID != nullptr) *newDirID = NodeNumber(made.look.identity, VolumeOf(made));
  return noErr;
}

/// Takes the locks of an object and of the folder it goes to; both are still there then.
OSErr LockBoth(const FSRef* ref, const FSRef* folderRef, Located* object, Located* folder,
               FileLock* lock) {
  for (int round = 0; round < 8; ++round) {
    if (const OSErr error = Resolve(ref, object); error != noErr) return error;
    if (folderRef != nullptr) {
      if (const OSErr error = Resolve(folderRef, folder); error != noErr) return error;
    } else if (const std::shared_lock topology(TopologyLock()); !LocateParent(*object, folder)) {
      return permErr;  // the root folder
    }
    FileLock taken;
    if (const OSErr error = taken.Take({object, folder}); error != noErr) return error;
    const auto isThere = [](const Located& located) {
      ObjectLook look;
      return LookAt(located.folder.get(), located.name, &look) == 0 &&
             look.identity == located.look.identity;
    };
    if (isThere(*object) && isThere(*folder)) {
      *lock = std::move(taken);
      return noErr;
    }
  }
  return fBsyErr;
}

/// Gives a locked object another name, in another folder perhaps.
OSErr Relocate(const Located& object, const Located& folder, const std::string& newName) {
  if (object.IsRoot()) return permErr;
  if (!folder.look.IsFolder()) return errFSNotAFolder;
  const Descriptor target = OpenFolderOf(folder);
  if (!target.IsOpen()) return ErrorOf(errno);
  const Identity& identity = object.look.identity;
  const bool sameFolder = folder.look.identity == object.folderIdentity;
  if (sameFolder && newName == object.name) return noErr;
  if (folder.look.identity.device != identity.device) return diffVolErr;
  ObjectLook taken;
  bool sameEntry = false;
  if (LookAt(target.get(), newName, &taken) == 0) {
    // On a file system that ignores case, the new name may find the object itself.
    sameEntry = sameFolder && taken.identity == identity &&
                (object.look.IsFolder() || object.look.status.stx_nlink == 1);
    if (!sameEntry) return dupFNErr;
  }
  const int from = object.folder.get();
  const std::unique_lock topology(TopologyLock());
  if (const OSErr error = CarrySide(from, object.name, target.get(), newName); error != noErr) {
    return error;
  }
  Step("side file carried");
  int error = 0;
  if (sameEntry) {
    error = renameat(from, object.name.c_str(), target.get(), newName.c_str()) == 0 ? 0 : errno;
  } else {
    error = RenameNew(from, object.name, target.get(), newName);
  }
  if (error != 0) {
    if (!sameEntry && error != EEXIST) RemoveSide(target.get(), newName);
    return error == EINVAL ? badMovErr : ErrorOf(error);
  }
  Step("object renamed");
  NoteMoved(identity, object.look.IsFolder(), folder.look.identity, newName);
  if (sameEntry) return noErr;
  return RemoveSide(from, object.name);
}

}  // namespace

}  // namespace lumivane::files

using namespace lumivane::files;

OSErr FSMakeFSRefUnicode(const FSRef* parentRef, UInt32 nameLength, const UniChar* name,
                         TextEncoding, FSRef* newRef) {
  if (newRef == nullptr) return paramErr;
  const std::shared_lock lock(TopologyLock());
  Located parent;
  if (const OSErr error = ResolveLocked(parentRef, &parent); error != noErr) return error;
  if (!parent.look.IsFolder()) return errFSNotAFolder;
  std::string text;
  if (const OSErr error = NameFromUnits(nameLength, name, NameUse::kFind, &text); error != noErr) {
    return error;
  }
  Located child;
  if (const int error = LocateChild(parent, text, &child); error != 0) return ErrorOf(error);
  *newRef = ReferenceOf(child);
  return noErr;
}

OSErr FSCreateFileUnicode(const FSRef* parentRef, UInt32 nameLength, const UniChar* name,
                          FSCatalogInfoBitmap whichInfo, const FSCatalogInfo* catalogInfo,
                          FSRef* newRef, FSSpec* newSpec) {
  return CreateObject(parentRef, nameLength, name, {false, whichInfo, catalogInfo}, newRef, newSpec,
                      nullptr);
}

OSErr FSCreateDirectoryUnicode(const FSRef* parentRef, UInt32 nameLength, const UniChar* name,
                               FSCatalogInfoBitmap whichInfo, const FSCatalogInfo* catalogInfo,
                               FSRef* newRef, FSSpec* newSpec, UInt32* newDirID) {
  return CreateObject(parentRef, nameLength, name, {true, whichInfo, catalogInfo}, newRef, newSpec,
                      newDirID);
}

OSErr FSDeleteObject(const FSRef* ref) {
  Located object;
  FileLock lock;
  if (const OSErr error = ResolveAndLock(ref, &object, &lock); error != noErr) return error;
  if (object.IsRoot()) return fBsyErr;
  const Identity& identity = object.look.identity;
  if (OpenForkFlags(identity) != 0) return fBsyErr;
  SideFile side;
  if (const OSErr error = side.Open(object.folder.get(), object.name); error != noErr) return error;
  const std::unique_lock topology(TopologyLock());
  const int flags = object.look.IsFolder() ? AT_REMOVEDIR : 0;
  if (unlinkat(object.folder.get(), object.name.c_str(), flags) != 0) return ErrorOf(errno);
  Step("object deleted");
  // Another link of it may live on.
  if (object.look.IsFolder() || object.look.status.stx_nlink <= 1) NoteDeleted(identity);
  return RemoveSide(object.folder.get(), object.name);
}

OSErr FSMoveObject(const FSRef* ref, const FSRef* destDirectory, FSRef* newRef) {
  if (destDirectory == nullptr) return paramErr;
  Located object;
  Located folder;
  FileLock lock;
  OSErr error = LockBoth(ref, destDirectory, &object, &folder, &lock);
  if (error == noErr) error = Relocate(object, folder, object.name);
  if (error != noErr || newRef == nullptr) return error;
  Located moved;
  if (const int lost = LocateChild(folder, object.name, &moved); lost != 0) return ErrorOf(lost);
  *newRef = ReferenceOf(moved);
  return noErr;
}

OSErr FSRenameUnicode(const FSRef* ref, UInt32 nameLength, const UniChar* name, TextEncoding,
                      FSRef* newRef) {
  std::string newName;
  OSErr error = NameFromUnits(nameLength, name, NameUse::kGive, &newName);
  if (error != noErr) return error;
  Located object;
  Located folder;
  FileLock lock;
  error = LockBoth(ref, nullptr, &object, &folder, &lock);
  if (error == noErr) error = Relocate(object, folder, newName);
  if (error != noErr || newRef == nullptr) return error;
  Located renamed;
  if (const int lost = LocateChild(folder, newName, &renamed); lost != 0) return ErrorOf(lost);
  *newRef = ReferenceOf(renamed);
  return noErr;
}
