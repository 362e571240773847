#include "platform/CoreServices/Resources.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "platform/CoreServices/FileNames.h"
#include "platform/CoreServices/FileReference.h"
#include "platform/CoreServices/MacMemory.h"
#include "platform/CoreServices/OpenForks.h"
#include "platform/CoreServices/ResourceMap.h"
#include "platform/CoreServices/SpecNames.h"

namespace lumivane::files {

namespace {

// Larger forks are not made by this format; 16 MB of data and one resource that starts there.
constexpr SInt64 kMostForkBytes = 1 << 28;

struct Resource {
  ResourceEntry entry;      ///< its data are where they are in the file's bytes
  Handle handle = nullptr;  ///< null until it is got
  bool isNew = false;       ///< never written: its data are in the handle alone

  bool IsChanged() const { return (entry.attributes & resChanged) != 0; }
};

struct ResourceFile {
  ResFileRefNum number = 0;  ///< the open fork's
  Identity identity;
  bool mayWrite = false;
  bool mapChanged = false;
  ResFileAttributes attributes = 0;
  std::vector<UInt8> bytes;  ///< the fork as it was read or last written
  ResourceMap map;           ///< its entries are in `resources`
  std::vector<std::unique_ptr<Resource>> resources;

  bool IsChanged() const {
    return mapChanged || std::any_of(resources.begin(), resources.end(),
                                     [](const auto& each) { return each->IsChanged(); });
  }
};

struct Manager {
  std::recursive_mutex mutex;
  std::vector<std::unique_ptr<ResourceFile>> files;  ///< the last opened is the last
  ResFileRefNum current = 0;
  bool load = true;

  static Manager& Shared() {
    static auto* const manager = new Manager;  // outlives every static destructor
    return *manager;
  }

  ResourceFile* Find(ResFileRefNum number) {
    for (const auto& file : files) {
      if (file->number == number) return file.get();
    }
    return nullptr;
  }
  ResourceFile* Current() { return Find(current); }

  Resource* FindHandle(Handle handle, ResourceFile** home) {
    for (const auto& file : files) {
      for (const auto& resource : file->resources) {
        if (handle != nullptr && resource->handle == handle) {
          if (home != nullptr) *home = file.get();
          return resource.get();
        }
      }
    }
    return nullptr;
  }

  /// The files to look through: the current one and those opened before it, or it alone.
  std::vector<ResourceFile*> SearchPath(bool one) {
    std::vector<ResourceFile*> path;
    for (auto file = files.rbegin(); file != files.rend(); ++file) {
      const bool reached = !path.empty() || (*file)->number == current;
      if (!reached) continue;
      path.push_back(file->get());
      if (one) break;
    }
    return path;
  }
  /// All files, or the current one alone.
  std::vector<ResourceFile*> AllFiles(bool one) {
    if (one) return SearchPath(true);
    std::vector<ResourceFile*> all;
    for (auto file = files.rbegin(); file != files.rend(); ++file) all.push_back(file->get());
    return all;
  }
};

thread_local OSErr lastError = noErr;

/// Holds the manager for one call and sets the call's result code.
class Call {
 public:
  Call() : lock_(Manager::Shared().mutex) { lastError = noErr; }
  Manager* operator->() const { return &Manager::Shared(); }
  /// Notes an error and gives it on.
  static OSErr Fail(OSErr error) { return lastError = error; }

 private:
  std::lock_guard<std::recursive_mutex> lock_;
};

bool IsLive(Handle handle) {
  return handle != nullptr && IsHandleValid(handle) != 0;
}

bool IsLoaded(Handle handle) {
  return IsLive(handle) && *handle != nullptr;
}

OSErr Load(const ResourceFile& file, Resource* resource) {
  if (IsLoaded(resource->handle) || resource->isNew) return noErr;
  const auto size = static_cast<Size>(resource->entry.size);
  ReallocateHandle(resource->handle, size);
  if (*resource->handle == nullptr) return memFullErr;
  if (size != 0)
    std::memcpy(*resource->handle, file.bytes.data() + resource->entry.data, resource->entry.size);
  return noErr;
}

/// The handle of a resource, made if need be and read if wanted.
Handle Get(const ResourceFile& file, Resource* resource, bool load) {
  if (!IsLive(resource->handle)) {
    resource->handle = NewHandle(0);
    if (resource->handle == nullptr) {
      Call::Fail(memFullErr);
      return nullptr;
    }
    EmptyHandle(resource->handle);
    HSetRBit(resource->handle);
  }
  if (load) {
    if (const OSErr error = Load(file, resource); error != noErr) {
      Call::Fail(error);
      return nullptr;
    }
  }
  return resource->handle;
}

/// A name as the Resource Manager compares it: case does not count, accents do.
std::u16string Folded(const std::string& roman) {
  const HFSUniStr255 units = UnitsOfName(NameFromMacRoman(roman));
  std::u16string folded;
  for (UInt16 i = 0; i < units.length; ++i) {
    folded += static_cast<char16_t>(u_foldCase(units.unicode[i], U_FOLD_CASE_DEFAULT));
  }
  return folded;
}

template <typename Matches>
Handle GetMatching(bool one, const Matches& matches) {
  const Call call;
  for (ResourceFile* file : call->SearchPath(one)) {
    for (const auto& resource : file->resources) {
      if (matches(resource->entry)) return Get(*file, resource.get(), call->load);
    }
  }
  Call::Fail(resNotFound);
  return nullptr;
}

Handle GetNumbered(bool one, ResType type, ResID id) {
  return GetMatching(
      one, [&](const ResourceEntry& entry) { return entry.type == type && entry.id == id; });
}

Handle GetNamed(bool one, ResType type, ConstStr255Param name) {
  const std::u16string wanted = Folded(TextOfPascal(name));
  return GetMatching(one, [&](const ResourceEntry& entry) {
    return entry.type == type && entry.hasName && Folded(entry.name) == wanted;
  });
}

SInt16 Count(bool one, ResType type) {
  const Call call;
  std::size_t count = 0;
  for (const ResourceFile* file : call->AllFiles(one)) {
    for (const auto& resource : file->resources) count += resource->entry.type == type ? 1u : 0u;
  }
  return static_cast<SInt16>(std::min<std::size_t>(count, 0x7fff));
}

Handle GetIndexed(bool one, ResType type, SInt16 index) {
  const Call call;
  SInt16 left = index;
  for (ResourceFile* file : call->AllFiles(one)) {
    for (const auto& resource : file->resources) {
      if (resource->entry.type == type && --left == 0)
        return Get(*file, resource.get(), call->load);
    }
  }
  Call::Fail(resNotFound);
  return nullptr;
}

std::vector<ResType> Types(bool one) {
  std::vector<ResType> types;
  for (const ResourceFile* file : Manager::Shared().AllFiles(one)) {
    for (const auto& resource : file->resources) {
      if (std::find(types.begin(), types.end(), resource->entry.type) == types.end()) {
        types.push_back(resource->entry.type);
      }
    }
  }
  return types;
}

void GetType(bool one, ResType* type, SInt16 index) {
  const Call call;
  const std::vector<ResType> types = Types(one);
  const bool known = index >= 1 && static_cast<std::size_t>(index) <= types.size();
  if (type != nullptr) *type = known ? types[static_cast<std::size_t>(index - 1)] : 0;
  if (!known) Call::Fail(resNotFound);
}

ResID Unique(bool one, ResType type) {
  const Call call;
  std::set<ResID> used;
  for (const ResourceFile* file : call->AllFiles(one)) {
    for (const auto& resource : file->resources) {
      if (resource->entry.type == type) used.insert(resource->entry.id);
    }
  }
  for (ResID id = 128; id < 0x7fff; ++id) {
    if (!used.contains(id)) return id;
  }
  Call::Fail(resNotFound);
  return 0;
}

/// The bytes of a resource as they are to be written.
std::string DataOf(const ResourceFile& file, const Resource& resource) {
  if ((resource.isNew || resource.IsChanged()) && IsLoaded(resource.handle)) {
    return {*resource.handle, static_cast<std::size_t>(GetHandleSize(resource.handle))};
  }
  return {reinterpret_cast<const char*>(file.bytes.data()) + resource.entry.data,
          resource.isNew ? 0 : resource.entry.size};
}

/// Puts those of one type together as the writer does, so that what was written can be matched.
void GroupByType(std::vector<std::unique_ptr<Resource>>* resources) {
  std::vector<ResType> types;
  const auto rank = [&types](const std::unique_ptr<Resource>& resource) {
    return std::find(types.begin(), types.end(), resource->entry.type) - types.begin();
  };
  for (const auto& resource : *resources) {
    if (static_cast<std::size_t>(rank(resource)) == types.size()) {
      types.push_back(resource->entry.type);
    }
  }
  std::stable_sort(resources->begin(), resources->end(),
                   [&](const auto& a, const auto& b) { return rank(a) < rank(b); });
}

OSErr Update(ResourceFile* file) {
  if (!file->IsChanged()) return noErr;
  if (!file->mayWrite) return wrPermErr;
  GroupByType(&file->resources);
  ResourceMap map = file->map;
  map.attributes = static_cast<UInt16>(file->attributes & mapReadOnly);
  map.entries.clear();
  std::vector<std::string> data;
  for (const auto& resource : file->resources) {
    map.entries.push_back(resource->entry);
    map.entries.back().attributes &= static_cast<UInt8>(~resChanged);
    data.push_back(DataOf(*file, *resource));
  }
  std::optional<std::vector<UInt8>> bytes = WriteResourceFork(map, data);
  ResourceMap written;
  if (!bytes || !ParseResourceFork(bytes->data(), bytes->size(), &written)) return dskFulErr;
  const OSErr error = ReplaceResourceFork(file->number, bytes->data(), bytes->size());
  if (error != noErr) return error;
  file->bytes = std::move(*bytes);
  file->mapChanged = false;
  for (std::size_t i = 0; i < file->resources.size(); ++i) {
    Resource& resource = *file->resources[i];
    resource.entry.data = written.entries[i].data;
    resource.entry.size = written.entries[i].size;
    resource.entry.attributes = written.entries[i].attributes;
    resource.isNew = false;
  }
  return noErr;
}

/// The empty map that a new resource file has.
std::vector<UInt8> EmptyFork() {
  return *WriteResourceFork({}, {});
}

OSErr ReadFork(FSIORefNum number, std::vector<UInt8>* bytes) {
  SInt64 size = 0;
  if (const OSErr error = FSGetForkSize(number, &size); error != noErr) return error;
  if (size == 0) return eofErr;
  if (size > kMostForkBytes) return mapReadErr;
  bytes->resize(static_cast<std::size_t>(size));
  return FSReadFork(number, fsFromStart, 0, static_cast<ByteCount>(size), bytes->data(), nullptr);
}

OSErr OpenFile(const FSRef* ref, SInt8 permission, ResFileRefNum* number) {
  Located located;
  if (const OSErr error = Resolve(ref, &located); error != noErr) return error;
  Manager& manager = Manager::Shared();
  for (const auto& file : manager.files) {
    if (file->identity == located.look.identity && (file->mayWrite || permission == fsRdPerm)) {
      *number = manager.current = file->number;
      return noErr;
    }
  }
  // Writing a map takes reading it.
  const SInt8 access = permission == fsWrPerm ? SInt8{fsRdWrPerm} : permission;
  auto file = std::make_unique<ResourceFile>();
  FSIORefNum fork = 0;
  OSErr error = access == fsCurPerm ? OpenForkByReference(ref, true, fsRdWrPerm, &fork)
                                    : OpenForkByReference(ref, true, access, &fork);
  file->mayWrite = error == noErr && access != fsRdPerm;
  if (access == fsCurPerm && (error == wrPermErr || error == opWrErr || error == wPrErr)) {
    error = OpenForkByReference(ref, true, fsRdPerm, &fork);
  }
  if (error != noErr) return error;
  error = ReadFork(fork, &file->bytes);
  if (error == noErr && !ParseResourceFork(file->bytes.data(), file->bytes.size(), &file->map)) {
    error = mapReadErr;
  }
  if (error != noErr) {
    FSCloseFork(fork);
    return error;
  }
  file->number = fork;
  file->identity = located.look.identity;
  file->attributes = static_cast<ResFileAttributes>(file->map.attributes & mapReadOnly);
  for (ResourceEntry& entry : file->map.entries) {
    auto resource = std::make_unique<Resource>();
    resource->entry = std::move(entry);
    resource->entry.attributes &= static_cast<UInt8>(~resChanged);
    file->resources.push_back(std::move(resource));
  }
  file->map.entries.clear();
  manager.files.push_back(std::move(file));
  *number = manager.current = fork;
  return noErr;
}

ResFileRefNum OpenResFile(const FSRef* ref, SInt8 permission) {
  ResFileRefNum number = -1;
  const OSErr error = OpenFile(ref, permission, &number);
  if (error == noErr) return number;
  Call::Fail(error);
  return -1;
}

OSErr AddMap(const FSRef* ref) {
  FSIORefNum number = 0;
  if (const OSErr error = OpenForkByReference(ref, true, fsRdWrPerm, &number); error != noErr) {
    return error == opWrErr ? OSErr{dupFNErr} : error;
  }
  SInt64 size = 0;
  OSErr error = FSGetForkSize(number, &size);
  if (error == noErr && size != 0) error = dupFNErr;
  if (error == noErr) {
    const std::vector<UInt8> bytes = EmptyFork();
    error = ReplaceResourceFork(number, bytes.data(), bytes.size());
  }
  FSCloseFork(number);
  return error;
}

OSErr CreateOnSpec(const FSSpec* spec, OSType creator, OSType fileType, ScriptCode script) {
  FSRef ref{};
  OSErr error = FSpMakeFSRef(spec, &ref);
  if (error == fnfErr) {
    error = FSpCreate(spec, creator, fileType, script);
    if (error == noErr) error = FSpMakeFSRef(spec, &ref);
  }
  return error == noErr ? AddMap(&ref) : error;
}

/// Finds a handle's resource, or notes that it is none.
Resource* ResourceOf(const Call& call, Handle handle, ResourceFile** home) {
  Resource* resource = call->FindHandle(handle, home);
  if (resource == nullptr) Call::Fail(resNotFound);
  return resource;
}

void Forget(Resource* resource) {
  if (IsLive(resource->handle)) HClrRBit(resource->handle);
  resource->handle = nullptr;
}

}  // namespace

}  // namespace lumivane::files

using namespace lumivane::files;

OSErr ResError() {
  return lastError;
}

void FSpCreateResFile(const FSSpec* spec, OSType creator, OSType fileType, ScriptCode scriptTag) {
  const Call call;
  Call::Fail(CreateOnSpec(spec, creator, fileType, scriptTag));
}

void HCreateResFile(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName) {
  const Call call;
  FSSpec spec{};
  const OSErr error = FSMakeFSSpec(vRefNum, dirID, fileName, &spec);
  Call::Fail(error == noErr || error == fnfErr ? CreateOnSpec(&spec, 0, 0, smSystemScript) : error);
}

OSErr FSCreateResourceFork(const FSRef* ref, UInt32 forkNameLength, const UniChar* forkName,
                           UInt32) {
  const Call call;
  bool isResource = false;
  const OSErr error = ForkOfName(forkNameLength, forkName, &isResource);
  if (error != noErr) return Call::Fail(error);
  return Call::Fail(isResource ? AddMap(ref) : OSErr{errFSBadForkName});
}

void FSCreateResFile(const FSRef* parentRef, UInt32 nameLength, const UniChar* name,
                     FSCatalogInfoBitmap whichInfo, const FSCatalogInfo* catalogInfo, FSRef* newRef,
                     FSSpec* newSpec) {
  const Call call;
  FSRef ref{};
  OSErr error =
      FSCreateFileUnicode(parentRef, nameLength, name, whichInfo, catalogInfo, &ref, newSpec);
  if (error == noErr) error = AddMap(&ref);
  if (error == noErr && newRef != nullptr) *newRef = ref;
  Call::Fail(error);
}

ResFileRefNum FSpOpenResFile(const FSSpec* spec, SInt8 permission) {
  const Call call;
  FSRef ref{};
  const OSErr error = FSpMakeFSRef(spec, &ref);
  if (error == noErr) return OpenResFile(&ref, permission);
  Call::Fail(error);
  return -1;
}

ResFileRefNum FSOpenResFile(const FSRef* ref, SInt8 permission) {
  const Call call;
  return OpenResFile(ref, permission);
}

ResFileRefNum HOpenResFile(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName,
                           SInt8 permission) {
  const Call call;
  FSSpec spec{};
  FSRef ref{};
  OSErr error = FSMakeFSSpec(vRefNum, dirID, fileName, &spec);
  if (error == noErr) error = FSpMakeFSRef(&spec, &ref);
  if (error == noErr) return OpenResFile(&ref, permission);
  Call::Fail(error);
  return -1;
}

void CloseResFile(ResFileRefNum refNum) {
  const Call call;
  auto& files = call->files;
  const auto found = std::find_if(files.begin(), files.end(),
                                  [&](const auto& file) { return file->number == refNum; });
  if (found == files.end()) {
    Call::Fail(resFNotFound);
    return;
  }
  ResourceFile& file = **found;
  if (Call::Fail(Update(&file)) != noErr) return;
  for (const auto& resource : file.resources) {
    if (IsLive(resource->handle)) DisposeHandle(resource->handle);
  }
  FSCloseFork(refNum);
  const auto at = found - files.begin();
  files.erase(found);
  if (call->current == refNum) {
    const auto before = std::max<std::ptrdiff_t>(at - 1, 0);
    call->current =
        files.empty() ? ResFileRefNum{0} : files[static_cast<std::size_t>(before)]->number;
  }
}

void UpdateResFile(ResFileRefNum refNum) {
  const Call call;
  ResourceFile* file = call->Find(refNum);
  Call::Fail(file == nullptr ? OSErr{resFNotFound} : Update(file));
}

ResFileRefNum CurResFile() {
  const Call call;
  return call->current;
}

void UseResFile(ResFileRefNum refNum) {
  const Call call;
  if (call->Find(refNum) == nullptr) {
    Call::Fail(resFNotFound);
  } else {
    call->current = refNum;
  }
}

ResFileRefNum HomeResFile(Handle theResource) {
  const Call call;
  ResourceFile* home = nullptr;
  return ResourceOf(call, theResource, &home) == nullptr ? ResFileRefNum{-1} : home->number;
}

ResFileAttributes GetResFileAttrs(ResFileRefNum refNum) {
  const Call call;
  const ResourceFile* file = call->Find(refNum);
  if (file == nullptr) {
    Call::Fail(resFNotFound);
    return 0;
  }
  return static_cast<ResFileAttributes>(file->attributes | (file->IsChanged() ? mapChanged : 0));
}

void SetResFileAttrs(ResFileRefNum refNum, ResFileAttributes attributes) {
  const Call call;
  ResourceFile* file = call->Find(refNum);
  if (file == nullptr) {
    Call::Fail(resFNotFound);
    return;
  }
  file->attributes = static_cast<ResFileAttributes>(attributes & (mapReadOnly | mapCompact));
  if ((attributes & mapChanged) != 0) file->mapChanged = true;
}

Handle GetResource(ResType theType, ResID theID) {
  return GetNumbered(false, theType, theID);
}
Handle Get1Resource(ResType theType, ResID theID) {
  return GetNumbered(true, theType, theID);
}
Handle GetNamedResource(ResType theType, ConstStr255Param name) {
  return GetNamed(false, theType, name);
}
Handle Get1NamedResource(ResType theType, ConstStr255Param name) {
  return GetNamed(true, theType, name);
}
SInt16 CountResources(ResType theType) {
  return Count(false, theType);
}
SInt16 Count1Resources(ResType theType) {
  return Count(true, theType);
}
Handle GetIndResource(ResType theType, SInt16 index) {
  return GetIndexed(false, theType, index);
}
Handle Get1IndResource(ResType theType, SInt16 index) {
  return GetIndexed(true, theType, index);
}

SInt16 CountTypes() {
  const Call call;
  return static_cast<SInt16>(std::min<std::size_t>(Types(false).size(), 0x7fff));
}
SInt16 Count1Types() {
  const Call call;
  return static_cast<SInt16>(std::min<std::size_t>(Types(true).size(), 0x7fff));
}
void GetIndType(ResType* theType, SInt16 index) {
  GetType(false, theType, index);
}
void Get1IndType(ResType* theType, SInt16 index) {
  GetType(true, theType, index);
}

void SetResLoad(Boolean load) {
  const Call call;
  call->load = load != 0;
}

void LoadResource(Handle theResource) {
  const Call call;
  ResourceFile* home = nullptr;
  Resource* resource = ResourceOf(call, theResource, &home);
  if (resource != nullptr) Call::Fail(Load(*home, resource));
}

void ReleaseResource(Handle theResource) {
  const Call call;
  Resource* resource = ResourceOf(call, theResource, nullptr);
  if (resource == nullptr || resource->IsChanged() || resource->isNew) return;
  DisposeHandle(resource->handle);
  resource->handle = nullptr;
}

void DetachResource(Handle theResource) {
  const Call call;
  ResourceFile* home = nullptr;
  Resource* resource = ResourceOf(call, theResource, &home);
  if (resource == nullptr) return;
  if (resource->IsChanged()) {
    Call::Fail(resAttrErr);
    return;
  }
  Forget(resource);
}

SInt32 GetResourceSizeOnDisk(Handle theResource) {
  const Call call;
  const Resource* resource = ResourceOf(call, theResource, nullptr);
  if (resource == nullptr) return -1;
  return resource->isNew ? 0 : static_cast<SInt32>(resource->entry.size);
}

ResID UniqueID(ResType theType) {
  return Unique(false, theType);
}
ResID Unique1ID(ResType theType) {
  return Unique(true, theType);
}

ResAttributes GetResAttrs(Handle theResource) {
  const Call call;
  const Resource* resource = ResourceOf(call, theResource, nullptr);
  return resource == nullptr ? ResAttributes{0} : ResAttributes{resource->entry.attributes};
}

void SetResAttrs(Handle theResource, ResAttributes attributes) {
  const Call call;
  ResourceFile* home = nullptr;
  Resource* resource = ResourceOf(call, theResource, &home);
  if (resource == nullptr) return;
  // Whether it is changed is ChangedResource's to say.
  resource->entry.attributes =
      static_cast<UInt8>((attributes & ~resChanged) | (resource->entry.attributes & resChanged));
  home->mapChanged = true;
}

void GetResInfo(Handle theResource, ResID* theID, ResType* theType, unsigned char* name) {
  const Call call;
  const Resource* resource = ResourceOf(call, theResource, nullptr);
  if (resource == nullptr) return;
  if (theID != nullptr) *theID = resource->entry.id;
  if (theType != nullptr) *theType = resource->entry.type;
  if (name != nullptr) SetPascal(name, sizeof(Str255), resource->entry.name);
}

void SetResInfo(Handle theResource, ResID theID, ConstStr255Param name) {
  const Call call;
  ResourceFile* home = nullptr;
  Resource* resource = ResourceOf(call, theResource, &home);
  if (resource == nullptr) return;
  const bool taken =
      std::any_of(home->resources.begin(), home->resources.end(), [&](const auto& other) {
        return other.get() != resource && other->entry.type == resource->entry.type &&
               other->entry.id == theID;
      });
  if ((resource->entry.attributes & resProtected) != 0 || !home->mayWrite || taken) {
    Call::Fail(resAttrErr);
    return;
  }
  resource->entry.id = theID;
  if (name != nullptr && name[0] != 0) {
    resource->entry.name = TextOfPascal(name);
    resource->entry.hasName = true;
  }
  home->mapChanged = true;
}

void AddResource(Handle theData, ResType theType, ResID theID, ConstStr255Param name) {
  const Call call;
  ResourceFile* file = call->Current();
  // The flag spares the search of what cannot be a resource.
  const bool marked = IsLoaded(theData) && (HGetState(theData) & (1 << kHandleResourceBit)) != 0;
  const bool free = IsLoaded(theData) && (!marked || call->FindHandle(theData, nullptr) == nullptr);
  const bool taken =
      file != nullptr &&
      std::any_of(file->resources.begin(), file->resources.end(), [&](const auto& other) {
        return other->entry.type == theType && other->entry.id == theID;
      });
  if (!free || taken || file == nullptr || !file->mayWrite ||
      (file->attributes & mapReadOnly) != 0) {
    Call::Fail(addResFailed);
    return;
  }
  auto resource = std::make_unique<Resource>();
  resource->entry.type = theType;
  resource->entry.id = theID;
  resource->entry.attributes = resChanged;
  resource->entry.name = TextOfPascal(name);
  resource->entry.hasName = !resource->entry.name.empty();
  resource->handle = theData;
  resource->isNew = true;
  HSetRBit(theData);
  file->resources.push_back(std::move(resource));
  file->mapChanged = true;
}

void ChangedResource(Handle theResource) {
  const Call call;
  ResourceFile* home = nullptr;
  Resource* resource = ResourceOf(call, theResource, &home);
  if (resource == nullptr) return;
  if ((resource->entry.attributes & resProtected) != 0) {
    Call::Fail(resAttrErr);
  } else if (!home->mayWrite || (home->attributes & mapReadOnly) != 0) {
    Call::Fail(wrPermErr);
  } else {
    resource->entry.attributes |= resChanged;
  }
}

void RemoveResource(Handle theResource) {
  const Call call;
  ResourceFile* home = nullptr;
  Resource* resource = ResourceOf(call, theResource, &home);
  if (resource == nullptr) return;
  if (home != call->Current() || !home->mayWrite || (home->attributes & mapReadOnly) != 0 ||
      (resource->entry.attributes & resProtected) != 0) {
    Call::Fail(rmvResFailed);
    return;
  }
  Load(*home, resource);
  Forget(resource);
  std::erase_if(home->resources, [&](const auto& each) { return each.get() == resource; });
  home->mapChanged = true;
}

void WriteResource(Handle theResource) {
  const Call call;
  ResourceFile* home = nullptr;
  const Resource* resource = ResourceOf(call, theResource, &home);
  if (resource == nullptr) return;
  if (resource->IsChanged()) Call::Fail(Update(home));
}
