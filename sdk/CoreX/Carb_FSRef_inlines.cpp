#include "sdk/CoreX/Carb_FSRef_inlines.h"

#include <cstring>

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/LUnixPath.h"

bool bool_FSRef_GetUnixPath(const FSRef& fileRef, std::string& out_path) {
  // A buffer for each call, so that threads do not meet in it.
  char path[4096];
  if (FSRefMakePath(&fileRef, reinterpret_cast<UInt8*>(path), sizeof(path)) != noErr) return false;
  out_path = path;
  return true;
}

bool bool_FSRef_MakeLatentFromPath(const char* in_unix_path, FSRef& out_ref,
                                   std::string& out_latent_path) {
  const LUnixPath path(in_unix_path);
  std::string base;
  std::string rest;
  bool found = false;
  Boolean out_is_directory = 0;
  for (bool more = path.GetFirstPair(base, rest); more; more = path.GetNextPair(base, rest)) {
    // A file's path with a slash behind it names nothing, but a file in the middle of a path is to
    // be found as what it is.
    std::string folder = base;
    if (folder.size() > 1) LUnixPath::RemoveTrailingSlash(folder);
    FSRef ref;
    Boolean isDirectory = 0;
    if (FSPathMakeRef(reinterpret_cast<const UInt8*>(folder.c_str()), &ref, &isDirectory) !=
        noErr) {
      continue;
    }
    out_ref = ref;
    out_latent_path = rest;
    out_is_directory = isDirectory;
    found = true;
  }
  if (!found) return false;
  VERIFY(out_is_directory);
  return true;
}

bool bool_FSRef_RenameUnicode(const FSRef& fileRef, const LHFSUnicodeName& newName,
                              FSRef* out_new_ref) {
  FSRef renamed;
  const OSErr err =
      FSRenameUnicode(&fileRef, newName.length, newName.unicode, kTextEncodingMacUnicode, &renamed);
  if (!VERIFY_TEXT(__LINE__, "err==noErr", err == noErr)) return false;
  if (out_new_ref != nullptr) *out_new_ref = renamed;
  return true;
}

bool bool_FSRef_GetFinderInfo(const FSRef& fileRef, FInfo& out_info) {
  FSCatalogInfo info;
  if (FSGetCatalogInfo(&fileRef, kFSCatInfoFinderInfo, &info, nullptr, nullptr, nullptr) != noErr) {
    return false;
  }
  std::memcpy(&out_info, info.finderInfo, sizeof(out_info));
  return true;
}

bool bool_FSRef_SetFinderInfo(const FSRef& fileRef, const FInfo& finderInfo) {
  FSCatalogInfo info = {};
  std::memcpy(info.finderInfo, &finderInfo, sizeof(finderInfo));
  return FSSetCatalogInfo(&fileRef, kFSCatInfoFinderInfo, &info) == noErr;
}

bool bool_FSRef_IsFolder(const FSRef& fileRef) {
  FSCatalogInfo info;
  return FSGetCatalogInfo(&fileRef, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr) ==
             noErr &&
         (info.nodeFlags & kFSNodeIsDirectoryMask) != 0;
}

OSErr FSRef_GetParentAndRelativeName(const FSRef& fileRef, FSRef& out_parent,
                                     LHFSUnicodeName& out_name) {
  HFSUniStr255 name;
  FSRef parent;
  const OSErr err = FSGetCatalogInfo(&fileRef, kFSCatInfoNone, nullptr, &name, nullptr, &parent);
  if (err != noErr) return err;
  const FSRef none = {};
  if (std::memcmp(&parent, &none, sizeof(parent)) == 0) return errFSBadFSRef;
  out_name.Construct(name);
  if (out_name.length != name.length) return errFSNameTooLong;
  out_parent = parent;
  return noErr;
}

OSErr FSRef_ConstructFromParentAndRelativeName(FSRef& out_ref, const FSRef& parent,
                                               const char* relative_path) {
  LHFSUnicodeName relative;
  if (!VERIFY(relative_path && relative.Construct(relative_path))) return -1;
  if (!bool_UnicodeName_IsWhole(relative, relative_path)) return fnfErr;
  FSRef found;
  const OSErr err =
      FSMakeFSRefUnicode(&parent, relative.length, relative.unicode, kTextEncodingUnknown, &found);
  if (err == noErr) out_ref = found;
  return err;
}

bool bool_FSSpec_GetVolumeFolderID(const FSSpec& spec, SInt16& out_volume, SInt32& out_folderID,
                                   bool* out_isFolder) {
  FSRef object;
  if (FSpMakeFSRef(&spec, &object) == noErr && bool_FSRef_IsFolder(object)) {
    FSCatalogInfo catalog;
    if (FSGetCatalogInfo(&object, kFSCatInfoNodeID | kFSCatInfoVolume, &catalog, nullptr, nullptr,
                         nullptr) != noErr) {
      return false;
    }
    out_volume = catalog.volume;
    out_folderID = static_cast<SInt32>(catalog.nodeID);
    if (out_isFolder != nullptr) *out_isFolder = true;
    return true;
  }
  // Of the folder itself, its name not asked for.
  CInfoPBRec info = {};
  info.hFileInfo.ioVRefNum = spec.vRefNum;
  info.hFileInfo.ioFDirIndex = -1;
  info.hFileInfo.ioDirID = spec.parID;
  if (PBGetCatInfoSync(&info) != noErr) return false;
  out_volume = spec.vRefNum;
  out_folderID = spec.parID;
  if (out_isFolder != nullptr) *out_isFolder = false;
  return true;
}

bool bool_FSRef_ConstructVolumeFolderName(FSRef& out_ref, SInt16 volume, SInt32 folderID,
                                          ConstStr255Param name) {
  FSSpec spec;
  FSRef found;
  if (FSMakeFSSpec(volume, folderID, name, &spec) != noErr ||
      FSpMakeFSRef(&spec, &found) != noErr) {
    return false;
  }
  out_ref = found;
  return true;
}

bool bool_UnicodeName_IsWhole(const HFSUniStr255& name, const std::string& utf8) {
  // Units in UTF-16: one for each character, two for those of four bytes.
  std::size_t units = 0;
  for (const char c : utf8) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0) != 0x80) ++units;
    if (byte >= 0xF0) ++units;
  }
  return name.length == units;
}
