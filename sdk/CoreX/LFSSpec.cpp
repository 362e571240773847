#include "sdk/CoreX/LFSSpec.h"

#include <algorithm>
#include <cstring>

#include "platform/CoreServices/Resources.h"
#include "sdk/CoreX/Carb_FSRef_inlines.h"
#include "sdk/CoreX/CoreCString.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/FSCatalogInfo_t.h"
#include "sdk/CoreX/LFSRef.h"
#include "sdk/CoreX/LUnixPath.h"
#include "sdk/CoreX/T_CFString.h"
#include "sdk/CoreX/XFileName.h"

namespace {

constexpr std::size_t kMaxNameLength = sizeof(Str63) - 1;

std::string TextOf(const unsigned char* pascal) {
  return {reinterpret_cast<const char*>(pascal + 1), pascal[0]};
}

/// A name of at most 63 characters as a Pascal string, the rest zero.
bool SetPascal(Str63& out, const std::string& text) {
  if (text.empty() || text.size() > kMaxNameLength) return false;
  std::memset(out, 0, sizeof(out));
  out[0] = static_cast<unsigned char>(text.size());
  std::memcpy(out + 1, text.data(), text.size());
  return true;
}

/// A file spec is good when its object may yet be made.
bool IsUsable(OSErr err) {
  return err == noErr || err == fnfErr;
}

OSErr MakeSpec(SInt16 volume, SInt32 folder, const std::string& text, FSSpec& out) {
  Str255 pascal = {};
  pascal[0] = static_cast<unsigned char>(std::min<std::size_t>(text.size(), 255));
  std::memcpy(pascal + 1, text.data(), pascal[0]);
  FSSpec spec = {};
  const OSErr err = FSMakeFSSpec(volume, folder, pascal, &spec);
  if (IsUsable(err)) out = spec;
  return err;
}

/// The UTF-8 form of an object's own name.
OSErr WholeNameOf(const FSRef& object, std::string& out) {
  HFSUniStr255 name;
  const OSErr err = FSGetCatalogInfo(&object, kFSCatInfoNone, nullptr, &name, nullptr, nullptr);
  if (err != noErr) return err;
  return TCFString::FromUnicode(name, out, kCFStringEncodingUTF8) ? OSErr{noErr} : OSErr{bdNamErr};
}

/// The names from the volume's root folder down to the folder of a number, each followed by the
/// separator: Mac Roman, or whole and in UTF-8. Throws the catalogue's error.
std::string PathOfFolder(SInt16 volume, SInt32 folder, char separator, bool whole) {
  std::string path;
  for (SInt32 directory = folder;;) {
    Str255 legacyName = {};
    CInfoPBRec info = {};
    info.dirInfo.ioNamePtr = legacyName;
    info.dirInfo.ioVRefNum = volume;
    info.dirInfo.ioFDirIndex = -1;
    info.dirInfo.ioDrDirID = directory;
    OSErr err = PBGetCatInfoSync(&info);
    std::string name = TextOf(legacyName);
    FSRef ref;
    if (err == noErr && whole) {
      err = bool_FSRef_ConstructVolumeFolderName(ref, volume, directory) ? WholeNameOf(ref, name)
                                                                         : OSErr{dirNFErr};
    }
    if (err != noErr) throw CoreException("OSErr: %d", err);
    // A name that starts with the separator is taken to bring its own.
    if (name.empty() || name[0] != separator) name += separator;
    path.insert(0, name);
    if (directory == fsRtDirID) return path;
    directory = info.dirInfo.ioDrParID;
  }
}

/// The same without the exception.
bool GetPathOfFolder(const FSSpec& spec, char separator, bool whole, std::string& out) {
  try {
    out = PathOfFolder(spec.vRefNum, spec.parID, separator, whole);
    return true;
  } catch (const CoreException&) {
    return false;
  }
}

/// False when a C string cannot hold the text.
bool Assign(CoreCString& out, const std::string& text) {
  try {
    out = text.c_str();
    return true;
  } catch (const CoreException&) {
    return false;
  }
}

void CopyToPascal(const std::string& text, unsigned char* buffer, UInt16 size) {
  const std::size_t length = std::min({text.size(), std::size_t{size}, std::size_t{255}});
  buffer[0] = static_cast<unsigned char>(length);
  std::copy_n(text.data(), length, buffer + 1);
}

}  // namespace

LFSSpec::LFSSpec(const unsigned char* path) : FSSpec{} {
  Construct(path);
}

LFSSpec::LFSSpec(const char* path) : FSSpec{} {
  Construct(path);
}

LFSSpec::LFSSpec(const LFSRef& file) : FSSpec{} {
  Construct(file);
}

LFSSpec::LFSSpec(const XFileName& file) : FSSpec{} {
  Construct(file);
}

LFSSpec::LFSSpec(const FSRef& file) : FSSpec{} {
  Construct(file);
}

LFSSpec& LFSSpec::operator=(const FSSpec& spec) {
  static_cast<FSSpec&>(*this) = spec;
  return *this;
}

bool LFSSpec::Construct(const unsigned char* path) {
  const std::string text = path != nullptr ? TextOf(path) : std::string();
  return Construct(text.c_str());
}

bool LFSSpec::Construct(const char* path) {
  std::string rest = path != nullptr ? path : "";
  Empty();
  if (!VERIFY(!rest.empty())) return false;
  if (rest[0] == '/') {
    const LFSRef ref(rest.c_str());
    return VERIFY(ref.GetFileSpec(*this));
  }
  // A longer path than a Pascal string holds is walked in pieces that end with a colon.
  SInt16 volume = 0;
  SInt32 folder = 0;
  while (rest.size() > 255) {
    const std::size_t colon = rest.rfind(':', 254);
    FSSpec piece = {};
    bool isFolder = false;
    if (!VERIFY(colon != std::string::npos && colon > 0) ||
                VERIFY_ERR(MakeSpec(volume, folder, rest.substr(0, colon + 1), piece)) != noErr ||
                                    !VERIFY(bool_FSSpec_GetVolumeFolderID(piece, volume, folder, &isFolder) && isFolder)) {
      return false;
    }
    rest.erase(0, colon);
  }
  const OSErr err = MakeSpec(volume, folder, rest, *this);
  if (IsUsable(err)) return true;
  VERIFY_ERR(err);
  return false;
}

bool LFSSpec::Construct(const LFSRef& file) {
  Empty();
  return VERIFY(file.GetFileSpec(*this));
}

bool LFSSpec::Construct(const XFileName& file) {
  return Construct(static_cast<const LFSRef&>(file));
}

bool LFSSpec::Construct(const FSRef& file) {
  Empty();
  return VERIFY(noErr ==
                FSGetCatalogInfo(&file, kFSCatInfoNone, nullptr, nullptr, this, nullptr));
}

bool LFSSpec::Set_name(const unsigned char* in_name) {
  return VERIFY(in_name) && VERIFY(SetPascal(name, TextOf(in_name)));
}

bool LFSSpec::Set_name(const char* in_name) {
  return VERIFY(in_name) && VERIFY(SetPascal(name, in_name));
}

bool LFSSpec::GetJustName(CoreCString& out) const {
  out = static_cast<const unsigned char*>(name);
  return true;
}

bool LFSSpec::GetJustName(HFSUniStr255& out) const {
  FSRef object;
  if (FSpMakeFSRef(this, &object) == noErr) {
    return VERIFY(noErr == FSGetCatalogInfo(&object, kFSCatInfoNone, nullptr, &out, nullptr,
                                            nullptr));
  }
  return VERIFY(TCFString::ToUnicode(name, out, kCFStringEncodingMacRoman));
}

bool LFSSpec::FileRename(const char* in_name) {
  FSSpec renamed = *this;
  if (!VERIFY(in_name) ||
              !VERIFY(Exists()) ||
                      !VERIFY(SetPascal(renamed.name, in_name)) ||
                                        VERIFY_ERR(FSpRename(this, renamed.name)) != noErr) {
    return false;
  }
  *this = renamed;
  return true;
}

bool LFSSpec::AddExtension(const char* in_extension) {
  return VERIFY(in_extension) && VERIFY(SetPascal(name, TextOf(name) + in_extension));
}

bool LFSSpec::ReplaceExtension(const char* in_extension) {
  std::string text = TextOf(name);
  return VERIFY(LUnixPath::ReplacePathExtension(text, in_extension)) &&
                                                VERIFY(SetPascal(name, text));
}

bool LFSSpec::HasExtension(const char* in_extension) const {
  return LUnixPath(TextOf(name).c_str()).HasExtension(in_extension);
}

bool LFSSpec::GetJustPath(unsigned char* buffer, UInt16 size) const {
  std::string path;
  if (!VERIFY(buffer) || !VERIFY(GetPathOfFolder(*this, ':', false, path))) return false;
  CopyToPascal(path, buffer, size);
  return true;
}

bool LFSSpec::GetJustPath(CoreCString& out) const {
  std::string path;
  return VERIFY(GetPathOfFolder(*this, ':', false, path)) && VERIFY(Assign(out, path));
}

bool LFSSpec::GetFullPath(unsigned char* buffer, UInt16 size) const {
  CoreCString path;
  if (!VERIFY(buffer) || !VERIFY(GetFullPath(path))) return false;
  CopyToPascal(path.c_str(), buffer, size);
  return true;
}

bool LFSSpec::GetFullPath(CoreCString& out) const {
  std::string path;
  // A volume's root folder lies in none.
  const bool isRoot = parID == fsRtParID;
  if (!isRoot && !VERIFY(GetPathOfFolder(*this, ':', false, path))) return false;
  path += TextOf(name);
  if (IsFolder()) path += ':';
  return VERIFY(Assign(out, path));
}

bool LFSSpec::GetJustPath_unix(CoreCString& out) const {
  std::string path;
  return VERIFY(GetPathOfFolder(*this, '/', true, path)) && VERIFY(Assign(out, "/Volumes/" + path));
}

bool LFSSpec::GetFullPath_unix(CoreCString& out) const {
  CoreCString folder("/Volumes/");
  // A volume's root folder lies in none.
  const bool isRoot = parID == fsRtParID;
  if (!isRoot && !VERIFY(GetJustPath_unix(folder))) return false;
  std::string path = folder.c_str();
  if (path.back() != '/') path += '/';
  HFSUniStr255 unicode_name;
  std::string own_name;
  return VERIFY(GetJustName(unicode_name)) &&
                VERIFY(TCFString::FromUnicode(unicode_name, own_name, kCFStringEncodingUTF8)) &&
                                              VERIFY(Assign(out, path + own_name));
}

bool LFSSpec::GetUnixPath(std::string& out) const {
  if (!VERIFY(name[0] != 0)) return false;
  const LFSRef ref(*this);
  return VERIFY(ref.GetUnixPath(out));
}

bool LFSSpec::Find(FSRef& out) const {
  // To the platform no name at all means the folder itself, and no folder the root folder. Here an
  // empty file spec names nothing.
  return name[0] != 0 && FSpMakeFSRef(this, &out) == noErr;
}

bool LFSSpec::Exists() const {
  FSRef object;
  return Find(object);
}

bool LFSSpec::FileExists() const {
  FSRef object;
  return Find(object) && !bool_FSRef_IsFolder(object);
}

bool LFSSpec::FolderExists() const {
  FSRef object;
  return Find(object) && bool_FSRef_IsFolder(object);
}

bool LFSSpec::operator==(const FSSpec& other) const {
  return vRefNum == other.vRefNum && parID == other.parID && *this == other.name;
}

bool LFSSpec::operator==(const unsigned char* in_name) const {
  return in_name != nullptr && TextOf(name) == TextOf(in_name);
}

bool LFSSpec::operator==(const char* in_name) const {
  return in_name != nullptr && TextOf(name) == in_name;
}

bool LFSSpec::GetFileTypeCreator(OSType& out_filetype, OSType& out_creator) const {
  FInfo info;
  if (VERIFY_ERR(FSpGetFInfo(this, &info)) != noErr) return false;
  out_filetype = info.fdType;
  out_creator = info.fdCreator;
  return true;
}

bool LFSSpec::SetFileTypeCreator(OSType in_filetype, OSType in_creator) const {
  FInfo info;
  if (VERIFY_ERR(FSpGetFInfo(this, &info)) != noErr) return false;
  info.fdType = in_filetype;
  info.fdCreator = in_creator;
  return VERIFY_ERR(FSpSetFInfo(this, &info)) == noErr;
}

bool LFSSpec::GetFileType(OSType& out_filetype) const {
  OSType creator;
  return GetFileTypeCreator(out_filetype, creator);
}

bool LFSSpec::GetCreator(OSType& out_creator) const {
  OSType filetype;
  return GetFileTypeCreator(filetype, out_creator);
}

bool LFSSpec::SetFileType(OSType in_filetype) const {
  OSType creator;
  return GetCreator(creator) && SetFileTypeCreator(in_filetype, creator);
}

bool LFSSpec::SetCreator(OSType in_creator) const {
  OSType filetype;
  return GetFileType(filetype) && SetFileTypeCreator(filetype, in_creator);
}

bool LFSSpec::IsFileType(OSType in_filetype) const {
  FInfo info;
  return FSpGetFInfo(this, &info) == noErr && info.fdType == in_filetype;
}

bool LFSSpec::IsCreator(OSType in_creator) const {
  FInfo info;
  return FSpGetFInfo(this, &info) == noErr && info.fdCreator == in_creator;
}

bool LFSSpec::IsFileTypeCreator(OSType in_filetype, OSType in_creator) const {
  return IsFileType(in_filetype) && IsCreator(in_creator);
}

bool LFSSpec::GetParentFolder(LFSSpec& out_folder) const {
  FSRef folder;
  return VERIFY(GetParentFolderRef(folder)) && VERIFY(out_folder.Construct(folder));
}

bool LFSSpec::GetParentFolderRef(FSRef& out_folder) const {
  return VERIFY(parID != fsRtParID) &&
                VERIFY(bool_FSRef_ConstructVolumeFolderName(out_folder, vRefNum, parID));
}

bool LFSSpec::GetFolderID(SInt32& out_folderID) const {
  SInt16 volumeID = 0;
  SInt32 folderID = 0;
  bool fIsFolder = false;
  if (!VERIFY(bool_FSSpec_GetVolumeFolderID(*this, volumeID, folderID, &fIsFolder)) ||
                                            !VERIFY(fIsFolder)) {
    return false;
  }
  out_folderID = folderID;
  return true;
}

bool LFSSpec::FindExistingFolder(UInt32 folderType, SInt16 domain) {
  FSRef folder = {};
  Empty();
  return VERIFY_ERR(FSFindFolder(domain, folderType, kDontCreateFolder, &folder)) == noErr &&
                                 Construct(folder);
}

bool LFSSpec::ReplaceFolder(const FSSpec& folder) {
  SInt16 volumeID = 0;
  SInt32 folderID = 0;
  if (!VERIFY(LFSSpec(folder).Exists()) ||
                      !VERIFY(bool_FSSpec_GetVolumeFolderID(folder, volumeID, folderID, nullptr))) {
    return false;
  }
  vRefNum = volumeID;
  parID = folderID;
  return true;
}

bool LFSSpec::CreateFile(OSType in_filetype, OSType in_creator) const {
  return VERIFY_ERR(FSpCreate(this, in_creator, in_filetype, smSystemScript)) == noErr;
}

bool LFSSpec::CreateFile(const LHFSUnicodeName& in_name, const FSSpec& in_parent,
                         OSType in_filetype, OSType in_creator) {
  FSRef parent;
  FSSpec created = {};
  const FSCatalogInfo_t info(in_filetype, in_creator);
  if (VERIFY_ERR(FSpMakeFSRef(&in_parent, &parent)) != noErr ||
                              VERIFY_ERR(FSCreateFileUnicode(&parent, in_name.length, in_name.unicode,
                                     kFSCatInfoFinderInfo, &info, nullptr, &created)) != noErr) {
    return false;
  }
  *this = created;
  return true;
}

bool LFSSpec::CreateFileWithResFork(OSType in_filetype, OSType in_creator) const {
  ResFileRefNum refNum = FSpOpenResFile(this, fsRdWrPerm);
  if (refNum != -1) {
    CloseResFile(refNum);
    return true;
  }
  if (!FileExists() &&
      VERIFY_ERR(FSpCreate(this, in_creator, in_filetype, smSystemScript)) != noErr) {
    return false;
  }
  FSpCreateResFile(this, in_creator, in_filetype, smSystemScript);
  return VERIFY_ERR(ResError()) == noErr;
}

bool LFSSpec::FileDelete() const {
  return VERIFY(FileExists()) && VERIFY_ERR(FSpDelete(this)) == noErr;
}

bool LFSSpec::FlushVolume() const {
  return VERIFY_ERR(FlushVol(nullptr, vRefNum)) == noErr;
}

bool LFSSpec::GetFileRef(FSRef& out) const {
  FSRef ref;
  if (!VERIFY(Find(ref))) return false;
  out = ref;
  return true;
}

bool LFSSpec::GetTextEncoding(UInt32& out_encoding) const {
  FSRef ref;
  FSCatalogInfo info;
  if (!GetFileRef(ref) || VERIFY_ERR(FSGetCatalogInfo(&ref, kFSCatInfoTextEncoding, &info, nullptr,
                                                      nullptr, nullptr)) != noErr) {
    return false;
  }
  out_encoding = info.textEncodingHint;
  return true;
}

bool LFSSpec::GetScriptCode(SInt16& out_script) const {
  FSRef ref;
  FSCatalogInfo info;
  if (!GetFileRef(ref) || VERIFY_ERR(FSGetCatalogInfo(&ref, kFSCatInfoFinderXInfo, &info, nullptr,
                                                      nullptr, nullptr)) != noErr) {
    return false;
  }
  // Of files and folders alike, the byte after 8 others; its high bit says that it is meant.
  constexpr std::size_t kScriptOffset = 8;
  const UInt8 script = info.extFinderInfo[kScriptOffset];
  out_script = (script & 0x80) != 0 ? static_cast<SInt16>(script & 0x7F) : SInt16{smRoman};
  return true;
}

bool LFSSpec::GetCreationDateTime(UTCDateTime& out) const {
  FSRef ref;
  return GetFileRef(ref) && VERIFY(LFSRef(ref).GetDateTimeCreated(out));
}

bool LFSSpec::GetModificationDateTime(UTCDateTime& out) const {
  FSRef ref;
  return GetFileRef(ref) && VERIFY(LFSRef(ref).GetDateTimeModified(out));
}

bool LFSSpec::ResolveAlias(AliasHandle alias, Boolean* wasChanged, const FSSpec* from) {
  FSSpec target = {};
  Boolean changed = 0;
  const OSErr err = ::ResolveAlias(from, alias, &target, &changed);
  if (wasChanged != nullptr) *wasChanged = changed;
  if (VERIFY_ERR(err) != noErr) return false;
  *this = target;
  return true;
}

AliasHandle LFSSpec::AsNewAliasHandle(const FSSpec* from) const {
  AliasHandle alias = nullptr;
  return VERIFY_ERR(NewAlias(from, this, &alias)) == noErr ? alias : nullptr;
}

bool LFSSpec::GetCatInfoNoName(CInfoPBRec& out) const {
  FSSpec spec = *this;
  CInfoPBRec info = {};
  info.hFileInfo.ioNamePtr = spec.name;
  info.hFileInfo.ioVRefNum = vRefNum;
  info.hFileInfo.ioDirID = parID;
  if (VERIFY_ERR(PBGetCatInfoSync(&info)) != noErr) return false;
  info.hFileInfo.ioNamePtr = nullptr;
  out = info;
  return true;
}

void LFSSpec::printf(const char* label) const {
  CoreCString path;
  GetFullPath(path);
  CoreMachDebugLog("LFSSpec::Trace (%s) vRefNum:%d parID:%ld name:'%s'\nPATH:'%.1023s'\n",
                   label != nullptr ? label : "", vRefNum, static_cast<long>(parID),
                   TextOf(name).c_str(), path.c_str() != nullptr ? path.c_str() : "");
}
