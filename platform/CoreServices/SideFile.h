// The AppleDouble side file "._name" beside a file or folder. Internal to the file layer.
//
// A side file is never changed in place: the new one is written beside it, brought to the disk and
// renamed over it, so that at any moment the old or the new one is there, whole. Those who change
// one object at a time hold its FileLock, across processes.
//
// Order of locks: file locks first (sorted among themselves), TopologyLock after them.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/CoreServices/AppleDouble.h"
#include "platform/CoreServices/FileReference.h"
#include "platform/CoreServices/Files.h"

namespace lumivane::files {

/// The name of the side file of `name`.
std::string SideName(const std::string& name);
/// Whether `name` is that of a side file not yet finished.
bool IsUnfinishedSide(const std::string& name);

/// Keeps other users of this layer, in this process or another, from changing what belongs to some
/// objects. Best effort: an object that cannot be opened for reading is not locked.
class FileLock {
 public:
  /// fBsyErr when somebody else holds one of them for ten seconds.
  OSErr Take(std::vector<const Located*> objects);

 private:
  std::vector<Descriptor> held_;
};

/// Finds the object of `ref` and takes its lock; it is still there then.
OSErr ResolveAndLock(const FSRef* ref, Located* located, FileLock* lock);

/// An open side file; with no file, one without entries.
class SideFile {
 public:
  /// Of the object `name` in `folder`. noErr when there is none; fsDSIntErr when it is broken.
  OSErr Open(int folder, const std::string& name);

  bool Exists() const { return fd_.IsOpen(); }
  const DoubleHead& head() const { return head_; }
  UInt32 LengthOf(UInt32 id) const;
  /// Reads from an entry; what lies behind its end is not read.
  OSErr Read(UInt32 id, UInt64 offset, void* buffer, std::size_t count, std::size_t* actual) const;
  int fd() const { return fd_.get(); }

 private:
  Descriptor fd_;
  DoubleHead head_;
};

/// The new content of an entry, piece after piece.
struct SidePiece {
  enum class From { kOld, kMemory, kZeros } from = From::kZeros;
  UInt64 offset = 0;  ///< in the entry as it was, for kOld
  const void* memory = nullptr;
  UInt64 length = 0;
};
/// Entries to set, or (nothing) to remove.
using SideChanges = std::map<UInt32, std::optional<std::vector<SidePiece>>>;

/// Replaces the side file of the object `name` in `folder` by one with these changes; a side file
/// that would say nothing is removed instead. `owner` gives the new file its rights. Caller holds
/// the object's lock.
OSErr ChangeSide(int folder, const std::string& name, const struct statx& owner,
                 const SideFile& old, const SideChanges& changes);

/// Puts a copy of the side file of `name` in `folder` beside where `newName` in `newFolder` is
/// going to be, in place of a stray one there. Nothing happens without a side file, but that the
/// stray one goes. fsDSIntErr, and nothing happens, when either is broken.
OSErr CarrySide(int folder, const std::string& name, int newFolder, const std::string& newName);
/// Removes the side file of `name`; noErr without one.
OSErr RemoveSide(int folder, const std::string& name);

/// Called between the steps of a change with the step's name. For tests that end the process there.
using StepHook = void (*)(const char* step);
void SetStepHook(StepHook hook);
void Step(const char* step);

}  // namespace lumivane::files
