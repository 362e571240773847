// Going through a folder's objects.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/CoreServices/FSCatalogInfo.h"
#include "platform/CoreServices/FileErrors.h"
#include "platform/CoreServices/FileNames.h"
#include "platform/CoreServices/FileReference.h"
#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/SideFile.h"
#include "platform/CoreServices/SpecNames.h"

struct LumivaneFSIterator {
  using Stream = std::unique_ptr<DIR, int (*)(DIR*)>;
  struct Level {
    lumivane::files::Located folder;
    Stream stream;
  };
  std::mutex mutex;
  bool subtree = false;
  std::vector<Level> levels;
};

namespace lumivane::files {

namespace {

class IteratorTable {
 public:
  static IteratorTable& Shared() {
    static auto* const table = new IteratorTable;  // outlives every static destructor
    return *table;
  }
  FSIterator Add(std::shared_ptr<LumivaneFSIterator> iterator) {
    const std::lock_guard lock(mutex_);
    FSIterator handle = iterator.get();
    iterators_[handle] = std::move(iterator);
    return handle;
  }
  std::shared_ptr<LumivaneFSIterator> Find(FSIterator handle) {
    const std::lock_guard lock(mutex_);
    const auto found = iterators_.find(handle);
    return found == iterators_.end() ? nullptr : found->second;
  }
  bool Remove(FSIterator handle) {
    const std::lock_guard lock(mutex_);
    return iterators_.erase(handle) != 0;
  }

 private:
  std::mutex mutex_;
  std::map<FSIterator, std::shared_ptr<LumivaneFSIterator>> iterators_;
};

int Enter(LumivaneFSIterator* iterator, Located&& folder) {
  const Descriptor self = folder.Open(O_RDONLY | O_DIRECTORY);
  if (!self.IsOpen()) return errno;
  const int fd = openat(self.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return errno;
  LumivaneFSIterator::Stream stream(fdopendir(fd), &closedir);
  if (!stream) return errno;
  iterator->levels.push_back({std::move(folder), std::move(stream)});
  return 0;
}

/// Whether an entry is an object of its own and not somebody's side file.
bool IsObject(int folder, const std::string& name) {
  if (name == "." || name == ".." || IsUnfinishedSide(name)) return false;
  if (name.compare(0, 2, "._") != 0 || name.size() == 2) return true;
  struct stat status {};
  return fstatat(folder, name.c_str() + 2, &status, AT_SYMLINK_NOFOLLOW) != 0;
}

bool Next(LumivaneFSIterator* iterator, Located* object) {
  while (!iterator->levels.empty()) {
    auto& [folder, stream] = iterator->levels.back();
    const dirent* entry = readdir(stream.get());
    if (entry == nullptr) {
      iterator->levels.pop_back();
      continue;
    }
    const std::string name = entry->d_name;
    if (!IsObject(dirfd(stream.get()), name)) continue;
    if (LocateChild(folder, name, object) != 0) continue;  // gone since
    return true;
  }
  return false;
}

}  // namespace

}  // namespace lumivane::files

using namespace lumivane::files;

OSErr FSOpenIterator(const FSRef* container, FSIteratorFlags iteratorFlags, FSIterator* iterator) {
  if (iterator == nullptr) return paramErr;
  if (iteratorFlags != kFSIterateFlat && iteratorFlags != kFSIterateSubtree) {
    return errFSBadIteratorFlags;
  }
  Located folder;
  if (const OSErr error = Resolve(container, &folder); error != noErr) return error;
  if (!folder.look.IsFolder()) return errFSNotAFolder;
  auto state = std::make_shared<LumivaneFSIterator>();
  state->subtree = iteratorFlags == kFSIterateSubtree;
  if (const int error = Enter(state.get(), std::move(folder)); error != 0) return ErrorOf(error);
  *iterator = IteratorTable::Shared().Add(std::move(state));
  return noErr;
}

OSErr FSCloseIterator(FSIterator iterator) {
  return IteratorTable::Shared().Remove(iterator) ? noErr : errFSIteratorNotFound;
}

OSErr FSGetCatalogInfoBulk(FSIterator iterator, ItemCount maximumObjects, ItemCount* actualObjects,
                           Boolean* containerChanged, FSCatalogInfoBitmap whichInfo,
                           FSCatalogInfo* catalogInfos, FSRef* refs, FSSpec* specs,
                           HFSUniStr255* names) {
  if (actualObjects == nullptr || maximumObjects == 0) return paramErr;
  *actualObjects = 0;
  if (containerChanged != nullptr) *containerChanged = 0;
  const std::shared_ptr<LumivaneFSIterator> state = IteratorTable::Shared().Find(iterator);
  if (!state) return errFSIteratorNotFound;
  const std::lock_guard lock(state->mutex);
  const std::shared_lock topology(TopologyLock());
  while (*actualObjects < maximumObjects) {
    Located object;
    if (!Next(state.get(), &object)) return errFSNoMoreItems;
    const ItemCount i = *actualObjects;
    const FSRef ref = ReferenceOf(object);
    if (catalogInfos != nullptr) {
      const OSErr error = ReadCatalogInfo(object, whichInfo, &catalogInfos[i]);
      if (error != noErr) return error;
    }
    if (refs != nullptr) refs[i] = ref;
    if (specs != nullptr) specs[i] = SpecOf(object);
    if (names != nullptr) names[i] = UnitsOfName(object.name);
    ++*actualObjects;
    // A subfolder that may not be read shows nothing; it was itself shown.
    if (state->subtree && object.look.IsFolder()) Enter(state.get(), std::move(object));
  }
  return noErr;
}
