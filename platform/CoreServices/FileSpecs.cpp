#include "platform/CoreServices/FileSpecs.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <map>
#include <vector>

#include "platform/CoreServices/FSCatalogInfo.h"
#include "platform/CoreServices/FSDates.h"
#include "platform/CoreServices/FileErrors.h"
#include "platform/CoreServices/FileNames.h"
#include "platform/CoreServices/FileReference.h"
#include "platform/CoreServices/SpecNames.h"

namespace lumivane::files {

namespace {

/// What a file spec leads to: an object, or a name in a folder that has none of it.
struct Found {
  bool exists = false;
  Located object;
  Located folder;    ///< when it does not exist
  std::string name;  ///< on disk, when it does not exist
};

FSRef RefOf(const Located& located) {
  return ReferenceOf(located);
}

OSErr NameOnDisk(const std::string& roman, std::string* name) {
  if (roman.size() > kSpecNameLength) return bdNamErr;
  const HFSUniStr255 units = UnitsOfName(NameFromMacRoman(roman));
  const OSErr error = NameFromUnits(units.length, units.unicode, NameUse::kGive, name);
  return error == noErr ? error : bdNamErr;
}

/// One name in a folder.
OSErr FindName(Located&& folder, const std::string& roman, Found* found) {
  if (!folder.look.IsFolder()) return dirNFErr;
  const int error = LocateBySpecName(folder, roman, &found->object);
  if (error == 0) {
    ReferenceOf(found->object);
    found->exists = true;
    return noErr;
  }
  if (error != ENOENT) return ErrorOf(error);
  if (const OSErr bad = NameOnDisk(roman, &found->name); bad != noErr) return bad;
  found->folder = std::move(folder);
  found->exists = false;
  return noErr;
}

void SetFound(Located&& object, Found* found) {
  found->object = std::move(object);
  found->exists = true;
}

std::vector<std::string> SplitAtColons(const std::string& text) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (std::size_t end = text.find(':'); end != std::string::npos; end = text.find(':', start)) {
    parts.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  parts.push_back(text.substr(start));
  return parts;
}

/// Follows names from a folder; an empty one leads up, but at the end it only says "folder".
OSErr Walk(Located&& start, const std::vector<std::string>& names, Found* found) {
  SetFound(std::move(start), found);
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!found->exists || !found->object.look.IsFolder()) return dirNFErr;
    if (names[i].empty()) {
      if (i + 1 == names.size()) break;
      Located parent;
      const bool isRoot = found->object.look.identity == VolumeOf(found->object).root;
      if (isRoot || !LocateParent(found->object, &parent)) return dirNFErr;
      found->object = std::move(parent);
      continue;
    }
    Located folder = std::move(found->object);
    if (const OSErr error = FindName(std::move(folder), names[i], found); error != noErr) {
      return error;
    }
    const bool last = i + 1 == names.size() || (i + 2 == names.size() && names[i + 1].empty());
    if (!found->exists && !last) return dirNFErr;
    if (!found->exists) break;
  }
  return noErr;
}

OSErr FindPosixPath(const std::string& path, Found* found) {
  Located located;
  const int error = LocatePath(path, &located);
  if (error == 0) {
    SetFound(std::move(located), found);
    return noErr;
  }
  if (error != ENOENT) return ErrorOf(error);
  std::string text = path;
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  const std::size_t slash = text.rfind('/');
  const std::string leaf = text.substr(slash + 1);
  if (LocatePath(slash == 0 ? "/" : text.substr(0, slash), &found->folder) != 0) return dirNFErr;
  if (!found->folder.look.IsFolder() || leaf == "." || leaf == "..") return dirNFErr;
  found->name = leaf;
  found->exists = false;
  return noErr;
}

OSErr FindFolderOf(SInt16 vRefNum, SInt32 dirID, Located* folder) {
  Volume volume;
  if (!VolumeByNumber(vRefNum, &volume)) return nsvErr;
  if (dirID == fsRtParID) return dirNFErr;
  return LocateFolderByNumber(volume, static_cast<UInt32>(dirID), folder);
}

/// What volume, folder and text mean, for FSMakeFSSpec.
OSErr FindText(SInt16 vRefNum, SInt32 dirID, const std::string& text, Found* found) {
  if (!text.empty() && text[0] == '/') return FindPosixPath(text, found);
  const std::vector<std::string> parts = SplitAtColons(text);
  const bool isFull = parts.size() > 1 && !parts[0].empty();
  Located folder;
  OSErr error = noErr;
  if (dirID == fsRtParID && parts.size() == 1 && !text.empty()) {
    Volume volume;
    if (!VolumeByName(NameFromMacRoman(text), &volume)) return nsvErr;
    if (LocateVolume(volume, &folder) != noErr) return nsvErr;
    SetFound(std::move(folder), found);
    return noErr;
  }
  if (isFull) {
    // A name on this system may have a colon in it.
    Located object;
    if (FindFolderOf(vRefNum, dirID, &folder) == noErr &&
        LocateBySpecName(folder, text, &object) == 0) {
      ReferenceOf(object);
      SetFound(std::move(object), found);
      return noErr;
    }
    Volume volume;
    if (!VolumeByName(NameFromMacRoman(parts[0]), &volume)) return nsvErr;
    if (LocateVolume(volume, &folder) != noErr) return nsvErr;
    return Walk(std::move(folder), {parts.begin() + 1, parts.end()}, found);
  }
  error = FindFolderOf(vRefNum, dirID, &folder);
  if (error != noErr) return error;
  if (text.empty()) {
    SetFound(std::move(folder), found);
    return noErr;
  }
  if (parts.size() == 1) return FindName(std::move(folder), text, found);
  return Walk(std::move(folder), {parts.begin() + 1, parts.end()}, found);
}

/// What a file spec names; its name is one name, whatever characters are in it.
OSErr FindSpec(const FSSpec* spec, Found* found) {
  if (spec == nullptr) return paramErr;
  if (spec->name[0] > kSpecNameLength) return bdNamErr;
  const std::string name = TextOfPascal(spec->name);
  Volume volume;
  Located folder;
  if (spec->parID == fsRtParID) {
    const bool known =
        VolumeByNumber(spec->vRefNum, &volume) || VolumeByName(NameFromMacRoman(name), &volume);
    if (!known || LocateVolume(volume, &folder) != noErr) return nsvErr;
    if (name != SpecNameOf(volume.name, kRootNumber)) return fnfErr;
    SetFound(std::move(folder), found);
    return noErr;
  }
  const OSErr error = FindFolderOf(spec->vRefNum, spec->parID, &folder);
  if (error != noErr) return error;
  if (name.empty()) {
    SetFound(std::move(folder), found);
    return noErr;
  }
  return FindName(std::move(folder), name, found);
}

OSErr FindExisting(const FSSpec* spec, Located* located) {
  const std::shared_lock lock(TopologyLock());
  Found found;
  if (const OSErr error = FindSpec(spec, &found); error != noErr) return error;
  if (!found.exists) return fnfErr;
  *located = std::move(found.object);
  return noErr;
}

OSErr RefOfSpec(const FSSpec* spec, FSRef* ref) {
  Located located;
  const OSErr error = FindExisting(spec, &located);
  if (error == noErr) *ref = RefOf(located);
  return error;
}

/// The file spec of a name that no object has yet; bdNamErr when Mac Roman cannot say it.
OSErr SpecOfMissing(const Located& folder, const std::string& name, FSSpec* spec) {
  std::string roman;
  if (!MacRomanOfName(name, &roman) || roman.size() > kSpecNameLength) return bdNamErr;
  const Volume volume = VolumeOf(folder);
  ReferenceOf(folder);
  *spec = {};
  spec->vRefNum = volume.number;
  spec->parID = static_cast<SInt32>(NodeNumber(folder.look.identity, volume));
  SetPascal(spec->name, sizeof spec->name, roman);
  return fnfErr;
}

/// The folder and the name that a new object is to have.
OSErr PlaceOfNew(const FSSpec* spec, FSRef* folder, HFSUniStr255* name) {
  const std::shared_lock lock(TopologyLock());
  Found found;
  if (const OSErr error = FindSpec(spec, &found); error != noErr) return error;
  if (found.exists) return dupFNErr;
  *folder = RefOf(found.folder);
  *name = UnitsOfName(found.name);
  return noErr;
}

/// The legacy calls' local time.
UInt32 LocalSeconds(const UTCDateTime& date) {
  const SInt64 seconds = SecondsOf(date);
  if (seconds == 0) return 0;
  const std::time_t time = seconds - kSecondsTo1970;
  std::tm local{};
  localtime_r(&time, &local);
  return static_cast<UInt32>(seconds + local.tm_gmtoff);
}

SInt32 Narrow(UInt64 size) {
  return size > 0x7fffffff ? 0x7fffffff : static_cast<SInt32>(size);
}

OSErr IndexedObject(const Located& folder, SInt16 index, Located* object) {
  const FSRef ref = RefOf(folder);
  FSIterator iterator = nullptr;
  if (const OSErr error = FSOpenIterator(&ref, kFSIterateFlat, &iterator); error != noErr) {
    return error;
  }
  std::map<std::string, FSRef> byName;
  ItemCount actual = 0;
  HFSUniStr255 name{};
  FSRef child{};
  while (FSGetCatalogInfoBulk(iterator, 1, &actual, nullptr, kFSCatInfoNone, nullptr, &child,
                              nullptr, &name) == noErr) {
    byName[std::string(reinterpret_cast<const char*>(name.unicode), name.length * 2u)] = child;
  }
  FSCloseIterator(iterator);
  if (static_cast<std::size_t>(index) > byName.size()) return fnfErr;
  auto each = byName.begin();
  std::advance(each, index - 1);
  return Resolve(&each->second, object);
}

OSErr FillCatInfo(const Located& located, CInfoPBPtr block) {
  FSCatalogInfo info{};
  const FSCatalogInfoBitmap which = kFSCatInfoGettableInfo;
  if (const OSErr error = ReadCatalogInfo(located, which, &info); error != noErr) return error;
  StringPtr const name = block->hFileInfo.ioNamePtr;
  const SInt16 index = block->hFileInfo.ioFDirIndex;
  if (located.look.IsFolder()) {
    DirInfo& folder = block->dirInfo;
    folder = {};
    folder.ioFlAttrib = kioFlAttribDirMask;
    std::memcpy(&folder.ioDrUsrWds, info.finderInfo, sizeof folder.ioDrUsrWds);
    std::memcpy(&folder.ioDrFndrInfo, info.extFinderInfo, sizeof folder.ioDrFndrInfo);
    folder.ioDrDirID = static_cast<SInt32>(info.nodeID);
    folder.ioDrNmFls = static_cast<UInt16>(std::min<UInt32>(info.valence, 0xffff));
    folder.ioDrCrDat = LocalSeconds(info.createDate);
    folder.ioDrMdDat = LocalSeconds(info.contentModDate);
    folder.ioDrBkDat = LocalSeconds(info.backupDate);
    folder.ioDrParID = static_cast<SInt32>(info.parentDirID);
  } else {
    HFileInfo& file = block->hFileInfo;
    file = {};
    if ((info.nodeFlags & kFSNodeLockedMask) != 0) file.ioFlAttrib |= kioFlAttribLockedMask;
    std::memcpy(&file.ioFlFndrInfo, info.finderInfo, sizeof file.ioFlFndrInfo);
    std::memcpy(&file.ioFlXFndrInfo, info.extFinderInfo, sizeof file.ioFlXFndrInfo);
    file.ioDirID = static_cast<SInt32>(info.nodeID);
    file.ioFlLgLen = Narrow(info.dataLogicalSize);
    file.ioFlPyLen = Narrow(info.dataPhysicalSize);
    file.ioFlRLgLen = Narrow(info.rsrcLogicalSize);
    file.ioFlRPyLen = Narrow(info.rsrcPhysicalSize);
    file.ioFlCrDat = LocalSeconds(info.createDate);
    file.ioFlMdDat = LocalSeconds(info.contentModDate);
    file.ioFlBkDat = LocalSeconds(info.backupDate);
    file.ioFlParID = static_cast<SInt32>(info.parentDirID);
  }
  block->hFileInfo.ioNamePtr = name;
  block->hFileInfo.ioFDirIndex = index;
  block->hFileInfo.ioVRefNum = info.volume;
  if (name != nullptr && index != 0) {
    const FSSpec spec = SpecOf(located);
    std::memcpy(name, spec.name, spec.name[0] + 1u);
  }
  return noErr;
}

}  // namespace

}  // namespace lumivane::files

using namespace lumivane::files;

OSErr FSMakeFSSpec(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName, FSSpec* spec) {
  if (spec == nullptr) return paramErr;
  const std::shared_lock lock(TopologyLock());
  Found found;
  const OSErr error = FindText(vRefNum, dirID, TextOfPascal(fileName), &found);
  if (error != noErr) return error;
  if (!found.exists) return SpecOfMissing(found.folder, found.name, spec);
  ReferenceOf(found.object);
  *spec = SpecOf(found.object);
  return noErr;
}

OSErr FSpMakeFSRef(const FSSpec* source, FSRef* newRef) {
  return newRef == nullptr ? OSErr{paramErr} : RefOfSpec(source, newRef);
}

OSErr FSMakeFSSpecUnicode(const FSRef* parent, UInt32 nameLength, const UniChar* name,
                          FSSpec* spec) {
  if (spec == nullptr) return paramErr;
  const std::shared_lock lock(TopologyLock());
  Located folder;
  if (const OSErr error = ResolveLocked(parent, &folder); error != noErr) return error;
  if (!folder.look.IsFolder()) return errFSNotAFolder;
  std::string text;
  if (const OSErr error = NameFromUnits(nameLength, name, NameUse::kGive, &text); error != noErr) {
    return error;
  }
  Located object;
  const int error = LocateChild(folder, text, &object);
  if (error == ENOENT) return SpecOfMissing(folder, text, spec);
  if (error != 0) return ErrorOf(error);
  ReferenceOf(object);
  *spec = SpecOf(object);
  return noErr;
}

OSErr FSpCreate(const FSSpec* spec, OSType creator, OSType fileType, ScriptCode) {
  FSRef folder{};
  HFSUniStr255 name{};
  if (const OSErr error = PlaceOfNew(spec, &folder, &name); error != noErr) return error;
  FSCatalogInfo info{};
  const FInfo finder{fileType, creator, 0, {0, 0}, 0};
  std::memcpy(info.finderInfo, &finder, sizeof finder);
  return FSCreateFileUnicode(&folder, name.length, name.unicode, kFSCatInfoFinderInfo, &info,
                             nullptr, nullptr);
}

OSErr FSpDirCreate(const FSSpec* spec, ScriptCode, SInt32* createdDirID) {
  FSRef folder{};
  HFSUniStr255 name{};
  if (const OSErr error = PlaceOfNew(spec, &folder, &name); error != noErr) return error;
  UInt32 number = 0;
  const OSErr error = FSCreateDirectoryUnicode(&folder, name.length, name.unicode, kFSCatInfoNone,
                                               nullptr, nullptr, nullptr, &number);
  if (error == noErr && createdDirID != nullptr) *createdDirID = static_cast<SInt32>(number);
  return error;
}

OSErr FSpDelete(const FSSpec* spec) {
  FSRef ref{};
  const OSErr error = RefOfSpec(spec, &ref);
  return error != noErr ? error : FSDeleteObject(&ref);
}

OSErr FSpRename(const FSSpec* spec, ConstStr255Param newName) {
  FSRef ref{};
  if (const OSErr error = RefOfSpec(spec, &ref); error != noErr) return error;
  std::string name;
  if (const OSErr error = NameOnDisk(TextOfPascal(newName), &name); error != noErr) return error;
  const HFSUniStr255 units = UnitsOfName(name);
  return FSRenameUnicode(&ref, units.length, units.unicode, kTextEncodingUnknown, nullptr);
}

OSErr FSpCatMove(const FSSpec* source, const FSSpec* dest) {
  FSRef ref{};
  FSRef folder{};
  if (const OSErr error = RefOfSpec(source, &ref); error != noErr) return error;
  if (const OSErr error = RefOfSpec(dest, &folder); error != noErr) return error;
  return FSMoveObject(&ref, &folder, nullptr);
}

OSErr FSpGetFInfo(const FSSpec* spec, FInfo* fndrInfo) {
  if (fndrInfo == nullptr) return paramErr;
  Located located;
  if (const OSErr error = FindExisting(spec, &located); error != noErr) return error;
  if (located.look.IsFolder()) return fnfErr;
  FSCatalogInfo info{};
  const OSErr error = ReadCatalogInfo(located, kFSCatInfoFinderInfo, &info);
  if (error == noErr) std::memcpy(fndrInfo, info.finderInfo, sizeof *fndrInfo);
  return error;
}

OSErr FSpSetFInfo(const FSSpec* spec, const FInfo* fndrInfo) {
  if (fndrInfo == nullptr) return paramErr;
  Located located;
  if (const OSErr error = FindExisting(spec, &located); error != noErr) return error;
  if (located.look.IsFolder()) return fnfErr;
  FSCatalogInfo info{};
  std::memcpy(info.finderInfo, fndrInfo, sizeof *fndrInfo);
  const FSRef ref = RefOf(located);
  return FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info);
}

OSErr FSpOpenDF(const FSSpec* spec, SInt8 permission, SInt16* refNum) {
  FSRef ref{};
  const OSErr error = RefOfSpec(spec, &ref);
  return error != noErr ? error : FSOpenFork(&ref, 0, nullptr, permission, refNum);
}

OSErr FSpOpenRF(const FSSpec* spec, SInt8 permission, SInt16* refNum) {
  FSRef ref{};
  HFSUniStr255 name{};
  FSGetResourceForkName(&name);
  const OSErr error = RefOfSpec(spec, &ref);
  return error != noErr ? error : FSOpenFork(&ref, name.length, name.unicode, permission, refNum);
}

OSErr HCreate(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName, OSType creator,
              OSType fileType) {
  FSSpec spec{};
  const OSErr error = FSMakeFSSpec(vRefNum, dirID, fileName, &spec);
  if (error == noErr) return dupFNErr;
  return error != fnfErr ? error : FSpCreate(&spec, creator, fileType, smSystemScript);
}

OSErr HDelete(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName) {
  FSSpec spec{};
  const OSErr error = FSMakeFSSpec(vRefNum, dirID, fileName, &spec);
  return error != noErr ? error : FSpDelete(&spec);
}

OSErr HRename(SInt16 vRefNum, SInt32 dirID, ConstStr255Param oldName, ConstStr255Param newName) {
  FSSpec spec{};
  const OSErr error = FSMakeFSSpec(vRefNum, dirID, oldName, &spec);
  return error != noErr ? error : FSpRename(&spec, newName);
}

OSErr HGetFInfo(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName, FInfo* fndrInfo) {
  FSSpec spec{};
  const OSErr error = FSMakeFSSpec(vRefNum, dirID, fileName, &spec);
  return error != noErr ? error : FSpGetFInfo(&spec, fndrInfo);
}

OSErr HSetFInfo(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName, const FInfo* fndrInfo) {
  FSSpec spec{};
  const OSErr error = FSMakeFSSpec(vRefNum, dirID, fileName, &spec);
  return error != noErr ? error : FSpSetFInfo(&spec, fndrInfo);
}

OSErr HOpenDF(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName, SInt8 permission,
              SInt16* refNum) {
  FSSpec spec{};
  const OSErr error = FSMakeFSSpec(vRefNum, dirID, fileName, &spec);
  return error != noErr ? error : FSpOpenDF(&spec, permission, refNum);
}

OSErr HOpenRF(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName, SInt8 permission,
              SInt16* refNum) {
  FSSpec spec{};
  const OSErr error = FSMakeFSSpec(vRefNum, dirID, fileName, &spec);
  return error != noErr ? error : FSpOpenRF(&spec, permission, refNum);
}

OSErr PBGetCatInfoSync(CInfoPBPtr paramBlock) {
  if (paramBlock == nullptr) return paramErr;
  const HFileInfo& ask = paramBlock->hFileInfo;
  Located located;
  OSErr error = noErr;
  if (ask.ioFDirIndex == 0) {
    const std::shared_lock lock(TopologyLock());
    Found found;
    error = FindText(ask.ioVRefNum, ask.ioDirID, TextOfPascal(ask.ioNamePtr), &found);
    if (error == noErr && !found.exists) error = fnfErr;
    if (error == noErr) located = std::move(found.object);
  } else {
    const std::shared_lock lock(TopologyLock());
    error = FindFolderOf(ask.ioVRefNum, ask.ioDirID, &located);
  }
  if (error == noErr && ask.ioFDirIndex > 0) {
    Located folder = std::move(located);
    error = IndexedObject(folder, ask.ioFDirIndex, &located);
  }
  return error != noErr ? error : FillCatInfo(located, paramBlock);
}
