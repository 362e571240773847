#include "platform/CoreServices/Aliases.h"

#include <algorithm>
#include <cstring>

#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreServices/AliasRecord.h"
#include "platform/CoreServices/BigEndian.h"
#include "platform/CoreServices/FSCatalogInfo.h"
#include "platform/CoreServices/FSDates.h"
#include "platform/CoreServices/FileErrors.h"
#include "platform/CoreServices/FileNames.h"
#include "platform/CoreServices/FileReference.h"
#include "platform/CoreServices/MacMemory.h"
#include "platform/CoreServices/SpecNames.h"

namespace lumivane::files {

namespace {

std::vector<std::string> PartsOf(const std::string& path) {
  std::vector<std::string> parts;
  for (std::size_t start = 0; start < path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    if (end > start) parts.push_back(path.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

UInt64 FixedDate(const UTCDateTime& date) {
  return (static_cast<UInt64>(SecondsOf(date)) << 16) | date.fraction;
}

/// The way from a folder to a target, both absolute paths.
void SetRelative(const std::string& fromFolder, const std::string& target, AliasInfo* info) {
  const std::vector<std::string> from = PartsOf(fromFolder);
  const std::vector<std::string> to = PartsOf(target);
  std::size_t common = 0;
  while (common < from.size() && common + 1 < to.size() && from[common] == to[common]) ++common;
  std::string path;
  for (std::size_t i = common; i < from.size(); ++i) path += "../";
  for (std::size_t i = common; i < to.size(); ++i) path += to[i] + (i + 1 < to.size() ? "/" : "");
  info->relativePath = path.empty() ? "." : path;
  info->levelsUp = static_cast<SInt16>(std::min<std::size_t>(from.size() - common + 1, 0x7fff));
  info->levelsDown = static_cast<SInt16>(std::min<std::size_t>(to.size() - common, 0x7fff));
}

/// The folder that relative paths from a file start in; of a folder, itself.
std::string StartOf(const Located& file) {
  return file.look.IsFolder() ? file.Path() : file.folderPath;
}

std::string ColonPathOf(const Volume& volume, const std::string& below, bool isFolder) {
  std::string path;
  if (!MacRomanOfName(volume.name, &path)) return {};
  for (const std::string& part : PartsOf(below)) {
    std::string roman;
    if (!MacRomanOfName(part, &roman) || part.find(':') != std::string::npos) return {};
    path += ":" + roman;
  }
  if (isFolder || below == "/") path += ":";
  return path;
}

/// What a target's volume, path and folders have to do with it, whether or not it exists.
void SetPlace(const Volume& volume, const std::string& path, const Located& folder,
              AliasInfo* info) {
  Located root;
  info->volumeName = volume.name;
  if (LocateVolume(volume, &root) == noErr) {
    info->mountPoint = root.Path();
    info->volumeDate = FixedDate(DateOf(BirthOf(root.look.status)));
  }
  info->path =
      info->mountPoint == "/" ? path : path.substr(std::min(info->mountPoint.size(), path.size()));
  if (info->path.empty()) info->path = "/";
  info->colonPath = ColonPathOf(volume, info->path, info->isFolder);
  info->folder = folder.look.identity;
  info->folderNumber = NodeNumber(folder.look.identity, volume);
  info->folderName = SpecNameOf(folder.IsRoot() ? volume.name : folder.name, info->folderNumber);
  info->folderNumbers.clear();
  for (Identity each = folder.look.identity; each.device == volume.root.device;) {
    info->folderNumbers.push_back(NodeNumber(each, volume));
    if (each == volume.root || info->folderNumbers.size() >= 255) break;
    Located here;
    if (!LocateFolder(each, &here)) break;
    each = here.folderIdentity;
  }
}

OSErr InfoOf(const Located& target, AliasInfo* info) {
  const Volume volume = VolumeOf(target);
  FSCatalogInfo catalog{};
  OSErr error = ReadCatalogInfo(target, kFSCatInfoCreateDate | kFSCatInfoFinderInfo, &catalog);
  // A broken side file hides the type, not the place.
  if (error != noErr) error = ReadCatalogInfo(target, kFSCatInfoCreateDate, &catalog);
  if (error != noErr) return error;
  FInfo finder{};
  std::memcpy(&finder, catalog.finderInfo, sizeof finder);
  info->isFolder = target.look.IsFolder();
  info->name = target.IsRoot() ? volume.name : target.name;
  info->object = target.look.identity;
  info->number = NodeNumber(target.look.identity, volume);
  info->shortName = SpecNameOf(info->name, info->number);
  info->date = FixedDate(catalog.createDate);
  if (!info->isFolder) {
    info->type = finder.fdType;
    info->creator = finder.fdCreator;
  }
  Located folder;
  if (target.look.identity == volume.root || !LocateParent(target, &folder)) {
    // A root folder lies in nothing; what is said of its folder says it is one.
    if (LocateVolume(volume, &folder) != noErr) return nsvErr;
    SetPlace(volume, target.Path(), folder, info);
    info->folderNumber = kRootParentNumber;
    info->folderNumbers.clear();
    info->folderName.clear();
    return noErr;
  }
  SetPlace(volume, target.Path(), folder, info);
  return noErr;
}

/// Of a target that does not exist yet, or may not.
void InfoOfMissing(const Located& folder, const std::string& name, AliasInfo* info) {
  const Volume volume = VolumeOf(folder);
  info->name = name;
  info->shortName = SpecNameOf(name, 0);
  const std::string base = folder.Path();
  SetPlace(volume, base == "/" ? "/" + name : base + "/" + name, folder, info);
}

OSErr SetBytes(const std::vector<UInt8>& bytes, Handle handle) {
  const auto size = static_cast<Size>(bytes.size());
  SetHandleSize(handle, size);
  if (GetHandleSize(handle) != size || *handle == nullptr) return memFullErr;
  std::memcpy(*handle, bytes.data(), bytes.size());
  return noErr;
}

OSErr MakeHandle(const AliasInfo& info, AliasHandle* alias) {
  const std::optional<std::vector<UInt8>> bytes = WriteAliasRecord(info);
  if (!bytes) return errFSNameTooLong;
  Handle handle = nullptr;
  const OSErr error = PtrToHand(bytes->data(), &handle, static_cast<Size>(bytes->size()));
  if (error == noErr) *alias = reinterpret_cast<AliasHandle>(handle);
  return error;
}

std::vector<UInt8> BytesOf(AliasHandle alias) {
  auto* const handle = reinterpret_cast<Handle>(alias);
  if (handle == nullptr || !IsHandleValid(handle) || *handle == nullptr) return {};
  const auto* bytes = reinterpret_cast<const UInt8*>(*handle);
  return {bytes, bytes + GetHandleSize(handle)};
}

bool Read(AliasHandle alias, AliasInfo* info) {
  const std::vector<UInt8> bytes = BytesOf(alias);
  return ParseAliasRecord(bytes.data(), bytes.size(), info);
}

/// Whether two records lead to the same place. What is told of the target besides is no change.
bool SamePlace(const AliasInfo& a, const AliasInfo& b) {
  return a.path == b.path && a.mountPoint == b.mountPoint && a.name == b.name &&
         a.volumeName == b.volumeName && a.relativePath == b.relativePath && a.object == b.object &&
         a.folder == b.folder && a.isFolder == b.isFolder;
}

std::string FullPath(const AliasInfo& info) {
  if (info.path.empty() || info.path[0] != '/') return {};
  if (info.mountPoint.empty() || info.mountPoint == "/") return info.path;
  return info.path == "/" ? info.mountPoint : info.mountPoint + info.path;
}

/// The volume that a record names; its place may be another now.
bool VolumeOfRecord(const AliasInfo& info, Volume* volume) {
  Located root;
  if (!info.mountPoint.empty() && LocatePath(info.mountPoint, &root) == 0) {
    *volume = VolumeOf(root);
    if (volume->name == info.volumeName) return true;
  }
  return VolumeByName(info.volumeName, volume);
}

/// Looks for the target by its identity in the folder it was last known in, wherever that is now.
bool FindByIdentity(const AliasInfo& info, Located* target) {
  Volume volume;
  if (info.object.IsNull() || !VolumeOfRecord(info, &volume)) return false;
  // Device numbers are given anew when the system starts.
  Identity object = info.object;
  Identity known = info.folder;
  object.device = known.device = volume.root.device;
  const auto isIn = [&](const Located& folder) {
    return folder.look.IsFolder() && LocateByIdentity(folder, object, target) == 0;
  };
  Located folder;
  if (LocateFolder(known, &folder) && isIn(folder)) return true;
  const std::string path = FullPath(info);
  const std::size_t slash = path.rfind('/');
  if (slash != std::string::npos &&
      LocatePath(slash == 0 ? "/" : path.substr(0, slash), &folder) == 0 && isIn(folder)) {
    return true;
  }
  return LocateFolderByNumber(volume, info.folderNumber, &folder) == noErr && isIn(folder);
}

bool FindByPath(const AliasInfo& info, Located* target) {
  const std::string path = FullPath(info);
  if (path.empty()) return false;
  if (LocatePath(path, target, false) == 0) return true;
  // The volume may be mounted elsewhere now.
  Volume volume;
  Located root;
  if (!VolumeByName(info.volumeName, &volume) || LocateVolume(volume, &root) != noErr) return false;
  const std::string mountPoint = root.Path();
  return LocatePath(mountPoint == "/" ? info.path : mountPoint + info.path, target, false) == 0;
}

bool FindTarget(const AliasInfo& info, const Located* fromFile, Located* target) {
  if (fromFile != nullptr && !info.relativePath.empty() &&
      LocatePath(StartOf(*fromFile) + "/" + info.relativePath, target, false) == 0) {
    return true;
  }
  return FindByPath(info, target) || FindByIdentity(info, target);
}

/// The record of a target that is new or has moved; `old` gives what the caller put into it.
OSErr Renewed(const Located& target, const Located* fromFile, const AliasInfo& old,
              AliasInfo* info) {
  if (const OSErr error = InfoOf(target, info); error != noErr) return error;
  info->userType = old.userType;
  if (fromFile != nullptr) {
    SetRelative(StartOf(*fromFile), target.Path(), info);
  } else {
    info->relativePath = old.relativePath;
    info->levelsUp = old.levelsUp;
    info->levelsDown = old.levelsDown;
  }
  return noErr;
}

OSErr Store(const AliasInfo& info, AliasHandle alias) {
  const std::optional<std::vector<UInt8>> bytes = WriteAliasRecord(info);
  return bytes ? SetBytes(*bytes, reinterpret_cast<Handle>(alias)) : OSErr{errFSNameTooLong};
}

OSErr ResolveRecord(const FSRef* fromFile, AliasHandle alias, AliasInfo* info, FSRef* target,
                    Boolean* wasChanged) {
  if (wasChanged == nullptr) return paramErr;
  *wasChanged = 0;
  if (!Read(alias, info)) return paramErr;
  const std::shared_lock lock(TopologyLock());
  Located from;
  const bool hasFrom = fromFile != nullptr && ResolveLocked(fromFile, &from) == noErr;
  Located found;
  if (!FindTarget(*info, hasFrom ? &from : nullptr, &found)) return fnfErr;
  *target = ReferenceOf(found);
  AliasInfo now;
  // A record made without a starting file is not given a relative path by resolving it with one.
  const bool keepsRelative = hasFrom && !info->relativePath.empty();
  const OSErr error = Renewed(found, keepsRelative ? &from : nullptr, *info, &now);
  if (error != noErr || SamePlace(*info, now)) return error;
  *wasChanged = 1;
  return Store(now, alias);
}

OSErr RefOfSpec(const FSSpec* spec, FSRef* storage, const FSRef** ref) {
  *ref = nullptr;
  if (spec == nullptr) return noErr;
  const OSErr error = FSpMakeFSRef(spec, storage);
  if (error == noErr) *ref = storage;
  return error;
}

HFSUniStr255 UnitsOfPascal(ConstStr255Param name) {
  return UnitsOfName(NameFromMacRoman(TextOfPascal(name)));
}

}  // namespace

}  // namespace lumivane::files

using namespace lumivane::files;

OSErr FSNewAlias(const FSRef* fromFile, const FSRef* target, AliasHandle* inAlias) {
  if (target == nullptr || inAlias == nullptr) return paramErr;
  const std::shared_lock lock(TopologyLock());
  Located from;
  Located object;
  if (const OSErr error = ResolveLocked(target, &object); error != noErr) return error;
  if (fromFile != nullptr) {
    if (const OSErr error = ResolveLocked(fromFile, &from); error != noErr) return error;
  }
  AliasInfo info;
  const OSErr error = Renewed(object, fromFile != nullptr ? &from : nullptr, {}, &info);
  return error != noErr ? error : MakeHandle(info, inAlias);
}

OSErr FSNewAliasMinimal(const FSRef* target, AliasHandle* inAlias) {
  if (target == nullptr || inAlias == nullptr) return paramErr;
  const std::shared_lock lock(TopologyLock());
  Located object;
  if (const OSErr error = ResolveLocked(target, &object); error != noErr) return error;
  AliasInfo info;
  if (const OSErr error = InfoOf(object, &info); error != noErr) return error;
  info.colonPath.clear();
  info.folderNumbers.clear();
  info.folderName.clear();
  return MakeHandle(info, inAlias);
}

OSErr FSNewAliasUnicode(const FSRef* fromFile, const FSRef* targetParentRef,
                        UInt32 targetNameLength, const UniChar* targetName, AliasHandle* inAlias,
                        Boolean* isDirectory) {
  if (targetParentRef == nullptr || inAlias == nullptr) return paramErr;
  const std::shared_lock lock(TopologyLock());
  Located folder;
  Located from;
  if (const OSErr error = ResolveLocked(targetParentRef, &folder); error != noErr) return error;
  if (!folder.look.IsFolder()) return errFSNotAFolder;
  if (fromFile != nullptr) {
    if (const OSErr error = ResolveLocked(fromFile, &from); error != noErr) return error;
  }
  std::string name;
  if (const OSErr error = NameFromUnits(targetNameLength, targetName, NameUse::kGive, &name);
      error != noErr) {
    return error;
  }
  AliasInfo info;
  Located target;
  const bool exists = LocateChild(folder, name, &target) == 0;
  if (exists) {
    ReferenceOf(target);
    const OSErr error = Renewed(target, fromFile != nullptr ? &from : nullptr, {}, &info);
    if (error != noErr) return error;
  } else {
    InfoOfMissing(folder, name, &info);
    if (fromFile != nullptr) SetRelative(StartOf(from), FullPath(info), &info);
  }
  if (isDirectory != nullptr) *isDirectory = exists && target.look.IsFolder();
  return MakeHandle(info, inAlias);
}

OSErr FSResolveAlias(const FSRef* fromFile, AliasHandle alias, FSRef* target, Boolean* wasChanged) {
  if (target == nullptr) return paramErr;
  AliasInfo info;
  return ResolveRecord(fromFile, alias, &info, target, wasChanged);
}

OSErr FSUpdateAlias(const FSRef* fromFile, const FSRef* target, AliasHandle alias,
                    Boolean* wasChanged) {
  if (target == nullptr || wasChanged == nullptr) return paramErr;
  *wasChanged = 0;
  AliasInfo old;
  if (!Read(alias, &old)) return paramErr;
  const std::shared_lock lock(TopologyLock());
  Located object;
  Located from;
  if (const OSErr error = ResolveLocked(target, &object); error != noErr) return error;
  if (fromFile != nullptr) {
    if (const OSErr error = ResolveLocked(fromFile, &from); error != noErr) return error;
  }
  AliasInfo now;
  AliasInfo user;
  user.userType = old.userType;
  const OSErr error = Renewed(object, fromFile != nullptr ? &from : nullptr, user, &now);
  if (error != noErr || SamePlace(old, now)) return error;
  *wasChanged = 1;
  return Store(now, alias);
}

OSErr NewAlias(const FSSpec* fromFile, const FSSpec* target, AliasHandle* alias) {
  if (target == nullptr) return paramErr;
  FSRef from{};
  FSRef object{};
  const FSRef* fromRef = nullptr;
  if (const OSErr error = RefOfSpec(fromFile, &from, &fromRef); error != noErr) return error;
  const OSErr error = FSpMakeFSRef(target, &object);
  if (error == noErr) return FSNewAlias(fromRef, &object, alias);
  if (error != fnfErr) return error;
  // A target to come: its folder and its name.
  FSSpec folderSpec = *target;
  folderSpec.name[0] = 0;
  FSRef folder{};
  if (const OSErr lost = FSpMakeFSRef(&folderSpec, &folder); lost != noErr) return lost;
  const HFSUniStr255 name = UnitsOfPascal(target->name);
  const OSErr made = FSNewAliasUnicode(fromRef, &folder, name.length, name.unicode, alias, nullptr);
  return made == noErr ? OSErr{fnfErr} : made;
}

OSErr NewAliasMinimal(const FSSpec* target, AliasHandle* alias) {
  FSRef object{};
  const OSErr error = FSpMakeFSRef(target, &object);
  return error != noErr ? error : FSNewAliasMinimal(&object, alias);
}

OSErr ResolveAlias(const FSSpec* fromFile, AliasHandle alias, FSSpec* target, Boolean* wasChanged) {
  if (target == nullptr) return paramErr;
  FSRef from{};
  FSRef object{};
  const FSRef* fromRef = nullptr;
  RefOfSpec(fromFile, &from, &fromRef);
  AliasInfo info;
  const OSErr error = ResolveRecord(fromRef, alias, &info, &object, wasChanged);
  if (error == noErr) {
    return FSGetCatalogInfo(&object, kFSCatInfoNone, nullptr, nullptr, target, nullptr);
  }
  if (error != fnfErr) return error;
  const std::string path = FullPath(info);
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return fnfErr;
  FSRef folder{};
  const std::string folderPath = slash == 0 ? "/" : path.substr(0, slash);
  if (FSPathMakeRef(reinterpret_cast<const UInt8*>(folderPath.c_str()), &folder, nullptr) ==
      noErr) {
    const HFSUniStr255 name = UnitsOfName(path.substr(slash + 1));
    FSMakeFSSpecUnicode(&folder, name.length, name.unicode, target);
  }
  return fnfErr;
}

OSErr UpdateAlias(const FSSpec* fromFile, const FSSpec* target, AliasHandle alias,
                  Boolean* wasChanged) {
  FSRef from{};
  FSRef object{};
  const FSRef* fromRef = nullptr;
  if (const OSErr error = RefOfSpec(fromFile, &from, &fromRef); error != noErr) return error;
  const OSErr error = FSpMakeFSRef(target, &object);
  return error != noErr ? error : FSUpdateAlias(fromRef, &object, alias, wasChanged);
}

Size GetAliasSize(AliasHandle alias) {
  const std::vector<UInt8> bytes = BytesOf(alias);
  return bytes.size() < sizeof(AliasRecord) ? 0 : Size{Get16(bytes.data() + 4)};
}

OSType GetAliasUserType(AliasHandle alias) {
  const std::vector<UInt8> bytes = BytesOf(alias);
  return bytes.size() < sizeof(AliasRecord) ? 0 : Get32(bytes.data());
}

void SetAliasUserType(AliasHandle alias, OSType userType) {
  if (BytesOf(alias).size() < sizeof(AliasRecord)) return;
  Put32(reinterpret_cast<UInt8*>(*alias), userType);
}

OSStatus FSCopyAliasPath(AliasHandle alias, CFStringRef* path) {
  if (path == nullptr) return paramErr;
  AliasInfo info;
  if (!Read(alias, &info)) return paramErr;
  const std::string text = FullPath(info);
  *path = CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                  static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, 0);
  return *path != nullptr ? noErr : paramErr;
}

OSErr QTNewDataReferenceFromFSRef(const FSRef* fileRef, UInt32, Handle* outDataRef,
                                  OSType* outDataRefType) {
  if (outDataRef == nullptr || outDataRefType == nullptr) return paramErr;
  AliasHandle alias = nullptr;
  const OSErr error = FSNewAlias(nullptr, fileRef, &alias);
  if (error != noErr) return error;
  *outDataRef = reinterpret_cast<Handle>(alias);
  *outDataRefType = AliasDataHandlerSubType;
  return noErr;
}

OSErr QTNewDataReferenceFromFSRefCFString(const FSRef* directoryRef, CFStringRef fileName, UInt32,
                                          Handle* outDataRef, OSType* outDataRefType) {
  if (fileName == nullptr || outDataRef == nullptr || outDataRefType == nullptr) return paramErr;
  const CFIndex length = CFStringGetLength(fileName);
  if (length > 255) return errFSNameTooLong;
  HFSUniStr255 name{};
  name.length = static_cast<UInt16>(length);
  CFStringGetCharacters(fileName, CFRangeMake(0, length), name.unicode);
  AliasHandle alias = nullptr;
  const OSErr error =
      FSNewAliasUnicode(nullptr, directoryRef, name.length, name.unicode, &alias, nullptr);
  if (error != noErr) return error;
  *outDataRef = reinterpret_cast<Handle>(alias);
  *outDataRefType = AliasDataHandlerSubType;
  return noErr;
}
