#include "sdk/CoreX/LFSRef.h"

#include <cstring>

#include "platform/CoreServices/Folders.h"
#include "sdk/CoreX/Carb_FSRef_inlines.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/CoreUnixPath.h"
#include "sdk/CoreX/FSCatalogInfo_t.h"
#include "sdk/CoreX/LFileFork.h"
#include "sdk/CoreX/LUnixPath.h"
#include "sdk/CoreX/QFramework.h"
#include "sdk/CoreX/T_CFString.h"

namespace {

/// Of a Pascal string in Mac Roman. False when some of it is lost.
bool TextOfPascal(const unsigned char* pascal, std::string& out) {
  LHFSUnicodeName name;
  return name.Construct(pascal) && name.length == pascal[0] && name.GetUnixPath(out);
}

bool IsEmptyPascal(const unsigned char* pascal) {
  return pascal == nullptr || pascal[0] == 0;
}

}  // namespace

LFSRef::LFSRef(const FSSpec* in_file_spec) {
  if (VERIFY(in_file_spec)) Construct(*in_file_spec);
}

void LFSRef::Empty() {
  mState = State_Invalid;
  mFSRef = {};
  mLatentPath.clear();
}

bool LFSRef::Construct(const char* in_unix_path) {
  const std::string path = in_unix_path != nullptr ? in_unix_path : "";
  Empty();
  if (!VERIFY_TEXT(__LINE__, "bool_FSRef_MakeLatentFromPath(in_unix_path,mFSRef,mLatentPath)",
                   bool_FSRef_MakeLatentFromPath(path.c_str(), mFSRef, mLatentPath))) {
    return false;
  }
  AddState(State_Exists);
  if (!mLatentPath.empty()) AddState(State_HasLatentPath);
  return true;
}

bool LFSRef::Construct(const FSRef* theFileRef) {
  // The reference may be the object's own.
  const FSRef copy = theFileRef != nullptr ? *theFileRef : FSRef{};
  Empty();
  if (!VERIFY(theFileRef)) return false;
  if (!VERIFY_TEXT(__LINE__, "bool_FSRef_IsValid(*theFileRef)", bool_FSRef_IsValid(copy))) {
    return false;
  }
  mFSRef = copy;
  mState = State_Exists;
  return true;
}

bool LFSRef::Construct(const FSRef* parentRef, const LHFSUnicodeName& unicode_subpath) {
  if (!VERIFY(Construct(parentRef))) return false;
  bool fOk = false;
  VERIFY(fOk = unicode_subpath.GetUnixPath(mLatentPath));
  if (!fOk) {
    Empty();
    return false;
  }
  AddState(State_HasLatentPath);
  return true;
}

bool LFSRef::Construct(const FSRef* parentRef, const char* subpath) {
  const std::string text = subpath != nullptr ? subpath : "";
  if (!VERIFY(Construct(parentRef))) return false;
  if (subpath == nullptr) return true;
  mLatentPath = text;
  AddState(State_HasLatentPath);
  return true;
}

bool LFSRef::Construct(const FSRef* parentRef, const std::string& subpath) {
  // A copy: the sub-path may be this reference's own, which the next line clears.
  const std::string text = subpath;  // NOLINT(performance-unnecessary-copy-initialization)
  if (!VERIFY(Construct(parentRef))) return false;
  if (text.empty()) return true;
  mLatentPath = text;
  AddState(State_HasLatentPath);
  return true;
}

bool LFSRef::Construct(const LFSRef_data_t& in_data) {
  Empty();
  mState = in_data.state;
  mFSRef = in_data.ref;
  if (in_data.latent_path.length != 0) {
    LHFSUnicodeName unicodeName;
    if (VERIFY(unicodeName.Construct(in_data.latent_path))) {
      VERIFY(unicodeName.GetUnixPath(mLatentPath));
    }
  }
  return mState != State_Invalid;
}

bool LFSRef::GetData(LFSRef_data_t& out_data) const {
  out_data.Empty();
  out_data.state = static_cast<UInt16>(mState);
  out_data.ref = mFSRef;
  if (!HasState(State_HasLatentPath)) return true;
  const bool fOk = LHFSUnicodeName::ConvertFileName(mLatentPath, out_data.latent_path) &&
                   bool_UnicodeName_IsWhole(out_data.latent_path, mLatentPath);
  VERIFY_TEXT(__LINE__, "fOk=LHFSUnicodeName::ConvertFileName(mLatentPath, out_data.latent_path)",
              fOk);
  if (!fOk) std::memset(&out_data.latent_path, 0, sizeof(out_data.latent_path));
  return fOk;
}

bool LFSRef::Construct(const LFSRef& copyOf, bool normalize) {
  if (this != &copyOf) {
    Empty();
    mState = copyOf.mState;
    mFSRef = copyOf.mFSRef;
    mLatentPath = copyOf.mLatentPath;
  }
  return !normalize || Normalize();
}

bool LFSRef::Construct(const FSSpec& in_file_spec, const unsigned char* in_name) {
  Empty();
  if (IsEmptyPascal(in_name) && FSpMakeFSRef(&in_file_spec, &mFSRef) == noErr) {
    mState = State_Exists;
    return true;
  }
  SInt16 volumeID = 0;
  SInt32 folderID = 0;
  bool fIsFolder = false;
  if (!VERIFY(bool_FSSpec_GetVolumeFolderID(in_file_spec, volumeID, folderID, &fIsFolder)) ||
          !VERIFY(bool_FSRef_ConstructVolumeFolderName(mFSRef, volumeID, folderID))) {
    Empty();
    return false;
  }
  mState = State_Exists;
  if (AddJustName(IsEmptyPascal(in_name) ? in_file_spec.name : in_name, nullptr)) return true;
  Empty();
  return false;
}

bool LFSRef::Construct(const FSSpec& in_file_spec, const char* in_name) {
  const std::string name = in_name != nullptr ? in_name : "";
  if (name.empty()) return Construct(in_file_spec);
  Empty();
  SInt16 volumeID = 0;
  SInt32 folderID = 0;
  bool fIsFolder = false;
  if (!VERIFY(bool_FSSpec_GetVolumeFolderID(in_file_spec, volumeID, folderID, &fIsFolder)) ||
          !VERIFY(bool_FSRef_ConstructVolumeFolderName(mFSRef, volumeID, folderID))) {
    Empty();
    return false;
  }
  mState = State_ExistsWithLatentPath;
  mLatentPath = name;
  return true;
}

bool LFSRef::Construct_cwd() {
  Empty();
  CoreUnixPath cwd;
  return VERIFY(cwd.getcwd()) && Construct(static_cast<const char*>(cwd));
}

bool LFSRef::FindExistingFolder(UInt32 folderType, SInt16 domain) {
  Empty();
  FSRef tempFolderRef = {};
  const OSErr err = FSFindFolder(domain, folderType, kDontCreateFolder, &tempFolderRef);
  if (!VERIFY_TEXT(__LINE__, "err==noErr", err == noErr)) return false;
  return Construct(&tempFolderRef);
}

bool LFSRef::Exists() const {
  return IsState(State_Exists) && Is_FSRef_Valid();
}

bool LFSRef::Is_FSRef_Valid() const {
  return bool_FSRef_IsValid(mFSRef);
}

bool LFSRef::IsFile() const {
  const LFSRef normal(*this, true);
  FSCatalogInfo info;
  return normal.Exists() &&
         normal.GetCatalogInfo(kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr) == noErr &&
         (info.nodeFlags & kFSNodeIsDirectoryMask) == 0;
}

bool LFSRef::IsFolder() const {
  const LFSRef normal(*this, true);
  return normal.Exists() && bool_FSRef_IsFolder(normal.mFSRef);
}

bool LFSRef::FileExists() const {
  const LFSRef normal(*this, true);
  return normal.Exists() && normal.IsFile();
}

bool LFSRef::HasLatentPath() const {
  if (!HasState(State_HasLatentPath)) return false;
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk = (mLatentPath.length()>0)", fOk = mLatentPath.length() > 0);
  return fOk;
}

bool LFSRef::GetLatentPath(std::string& out_latent_path) const {
  if (!VERIFY(HasLatentPath())) return false;
  out_latent_path = mLatentPath;
  return true;
}

bool LFSRef::GetLatentPath(LHFSUnicodeName& out_latent_path) const {
  if (!VERIFY(HasLatentPath())) return false;
  const bool fOk = out_latent_path.Construct(mLatentPath) &&
                   bool_UnicodeName_IsWhole(out_latent_path, mLatentPath);
  VERIFY_TEXT(__LINE__, "fOk = out_latent_path.Construct(mLatentPath)", fOk);
  if (!fOk) out_latent_path.Empty();
  return fOk;
}

bool LFSRef::GetWholeName(LHFSUnicodeName& out_name, bool& out_converted) const {
  out_converted = mLatentPath.length() > 0 && out_name.Construct(mLatentPath.c_str());
  return out_converted && bool_UnicodeName_IsWhole(out_name, mLatentPath);
}

bool LFSRef::Normalize() {
  if (!Is_FSRef_Valid()) return false;
  if (Exists()) return true;
  LHFSUnicodeName latent_path;
  bool converted = false;
  const bool whole = GetWholeName(latent_path, converted);
  if (!VERIFY_TEXT(__LINE__,
                   "(mLatentPath.length()>0) && latent_path.Construct(mLatentPath.c_str())",
                   converted)) {
    return false;
  }
  FSRef normalizedRef;
  if (!whole || FSMakeFSRefUnicode(&mFSRef, latent_path.length, latent_path.unicode,
                                   kTextEncodingUnknown, &normalizedRef) != noErr) {
    return false;
  }
  // What was found may be gone by now; the object then stays as it was.
  LFSRef normal;
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk = Construct(&normalizedRef)", fOk = normal.Construct(&normalizedRef));
  if (fOk) *this = normal;
  return fOk;
}

bool LFSRef::GetLatentRef(LFSRef& out) const {
  if (!VERIFY(Is_FSRef_Valid())) return false;
  LFSRef theLatentRef;
  bool fOk = false;
  if (IsState(State_Exists)) {
    FSRef parentRef;
    LHFSUnicodeName latent_name;
    if (!VERIFY_TEXT(__LINE__,
                     "noErr==FSRef_GetParentAndRelativeName(mFSRef, parentRef, latent_name)",
                     noErr == FSRef_GetParentAndRelativeName(mFSRef, parentRef, latent_name))) {
      return false;
    }
    VERIFY_TEXT(__LINE__, "fOk = theLatentRef.Construct(&parentRef,latent_name)",
                fOk = theLatentRef.Construct(&parentRef, latent_name));
  } else if (HasState(State_Exists)) {
    VERIFY_TEXT(__LINE__, "fOk = theLatentRef.Construct(*this,false)",
                fOk = theLatentRef.Construct(*this, false));
  }
  if (fOk) out = theLatentRef;
  return fOk;
}

bool LFSRef::GetNormalizedRef(FSRef& out) const {
  if (!Is_FSRef_Valid()) return false;
  LFSRef theNormalizedRef(*this, false);
  if (!VERIFY(theNormalizedRef.Normalize() && theNormalizedRef.IsState(State_Exists))) return false;
  out = theNormalizedRef.mFSRef;
  return true;
}

bool LFSRef::MakeRefWithLatentPath() {
  LFSRef theLatentRef;
  if (!VERIFY(GetLatentRef(theLatentRef))) return false;
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk = Construct(theLatentRef)", fOk = Construct(theLatentRef, false));
  return fOk && VERIFY(HasLatentPath());
}

bool LFSRef::GetParentFolder(LFSRef& out_parent_folder) const {
  LFSRef latentRef;
  if (!VERIFY(GetLatentRef(latentRef))) return false;
  // Of several names all but the last are the folder's; the anchor is the folder of a single one.
  std::string folder = latentRef.mLatentPath;
  LUnixPath::RemoveTrailingSlash(folder);
  const std::size_t slash = folder.rfind('/');
  folder.erase(slash == std::string::npos ? 0 : slash);
  LFSRef parent;
  const bool fOk =
      bool_FSRef_IsFolder(latentRef.mFSRef) && parent.Construct(&latentRef.mFSRef, folder);
  VERIFY_TEXT(__LINE__, "fOk=latentRef.GetNormalizedRef(out_parent_folder)", fOk);
  if (fOk) out_parent_folder = parent;
  return fOk;
}

bool LFSRef::ReplaceFolder(const LFSRef& folder) {
  LFSRef latent;
  FSRef f;
  if (!VERIFY(GetLatentRef(latent)) || !VERIFY(folder.GetNormalizedRef(f))) return false;
  if (!bool_FSRef_IsFolder(f)) {
    LHFSUnicodeName fileName;
    const FSRef file = f;
    if (!VERIFY(noErr == FSRef_GetParentAndRelativeName(file, f, fileName))) return false;
  }
  LFSRef moved;
  if (!VERIFY(moved.Construct(&f, latent.mLatentPath))) return false;
  *this = moved;
  return true;
}

bool LFSRef::ReplaceJustName(const char* in_justname) {
  if (!VERIFY_TEXT(__LINE__, "(in_justname!=0) && (std::strlen(in_justname)>0)",
                   in_justname != nullptr && std::strlen(in_justname) > 0)) {
    return false;
  }
  const std::string name = in_justname;
  if (!HasLatentPath() && !MakeRefWithLatentPath()) return false;
  mLatentPath = name;
  return true;
}

bool LFSRef::AddExtension(const char* in_extension) {
  if (!VERIFY(in_extension) || !VERIFY(!IsFolder())) return false;
  LFSRef latent;
  if (!VERIFY(GetLatentRef(latent)) || !VERIFY(latent.HasLatentPath())) return false;
  latent.mLatentPath += in_extension;
  return Construct(latent, false);
}

bool LFSRef::ReplaceExtension(const char* in_extension) {
  if (!VERIFY(!IsFolder())) return false;
  LFSRef latent;
  if (!VERIFY(GetLatentRef(latent)) ||
              !VERIFY(latent.HasLatentPath()) ||
                      !VERIFY(LUnixPath::ReplacePathExtension(latent.mLatentPath, in_extension))) {
    return false;
  }
  return Construct(latent, false);
}

bool LFSRef::HasExtension(const char* in_extension) const {
  LUnixPath path;
  return VERIFY(GetUnixPath(path)) && path.HasExtension(in_extension);
}

bool LFSRef::AddJustName(const unsigned char* in_name, const unsigned char* in_subname) {
  if (!VERIFY_TEXT(__LINE__, "mLatentPath.length()==0", mLatentPath.length() == 0)) return false;
  if (!VERIFY_TEXT(__LINE__, "(in_name!=0) && (in_name[0]>0)", !IsEmptyPascal(in_name))) {
    return false;
  }
  std::string latent;
  std::string subname;
  if (!VERIFY(TextOfPascal(in_name, latent))) return false;
  if (!IsEmptyPascal(in_subname)) {
    if (!VERIFY(TextOfPascal(in_subname, subname))) return false;
    latent += "/" + subname;
  }
  mLatentPath = latent;
  AddState(State_HasLatentPath);
  return true;
}

bool LFSRef::GetUnixPath(std::string& out) const {
  if (!Is_FSRef_Valid()) return false;
  if (!VERIFY(HasState(State_Exists))) return false;
  std::string path_part;
  if (!VERIFY(bool_FSRef_GetUnixPath(mFSRef, path_part))) return false;
  if (HasState(State_HasLatentPath)) {
    // The root folder's path brings its slash along.
    if (path_part != "/") path_part += "/";
    path_part += mLatentPath;
  }
  out = path_part;
  return true;
}

bool LFSRef::GetUnixPath(LUnixPath& out) const {
  std::string path;
  if (!GetUnixPath(path)) return false;
  out = LUnixPath(path.c_str());
  return true;
}

bool LFSRef::GetJustName(std::string& out) const {
  std::string path;
  return VERIFY(GetUnixPath(path)) && LUnixPath::GetPathJustName(path, out);
}

bool LFSRef::GetFileSpec(FSSpec& out) const {
  const LFSRef normal(*this, true);
  if (normal.Exists()) {
    return VERIFY(noErr ==
                  normal.GetCatalogInfo(kFSCatInfoNone, nullptr, nullptr, &out, nullptr));
  }
  if (!VERIFY(Is_FSRef_Valid()) || !VERIFY(HasLatentPath())) return false;
  LHFSUnicodeName latent_path;
  bool converted = false;
  if (!VERIFY(GetWholeName(latent_path, converted))) return false;
  FSSpec spec = {};
  const OSErr err = FSMakeFSSpecUnicode(&mFSRef, latent_path.length, latent_path.unicode, &spec);
  // The file spec of a missing object is good.
  if (!VERIFY((err == noErr) || (err == fnfErr))) return false;
  out = spec;
  return true;
}

template <typename Create>
bool LFSRef::CreateObject(const Create& create, const char* function) {
  if (!VERIFY_IN(function, __LINE__, "HasState(State_Exists)", HasState(State_Exists)) ||
      !VERIFY_IN(function, __LINE__, "HasState(State_HasLatentPath)",
                 HasState(State_HasLatentPath))) {
    return false;
  }
  LHFSUnicodeName latent_path;
  bool converted = false;
  OSErr err = bdNamErr;
  FSRef newFSRef;
  if (GetWholeName(latent_path, converted)) {
    err = create(latent_path, &newFSRef);
  } else if (converted) {
    err = errFSNameTooLong;
  }
  if (err != noErr) {
    _CoreMachDebugVerifyOSerrBody(err, function, CORE_SOURCE_NAME, __LINE__, " code : err");
    return false;
  }
  bool fOk = false;
  VERIFY_IN(function, __LINE__, "fOk = Construct(&newFSRef)", fOk = Construct(&newFSRef));
  AddState(State_Exists);
  return fOk;
}

bool LFSRef::CreateFolder(FSCatalogInfoBitmap which, const FSCatalogInfo* info) {
  return CreateObject(
      [&](const HFSUniStr255& name, FSRef* newRef) {
        return FSCreateDirectoryUnicode(&mFSRef, name.length, name.unicode, which, info, newRef,
                                        nullptr, nullptr);
      },
      __FUNCTION__);
}

bool LFSRef::CreateFile(FSCatalogInfoBitmap which, const FSCatalogInfo* info) {
  return CreateObject(
      [&](const HFSUniStr255& name, FSRef* newRef) {
        return FSCreateFileUnicode(&mFSRef, name.length, name.unicode, which, info, newRef,
                                   nullptr);
      },
      __FUNCTION__);
}

bool LFSRef::CreateFile(OSType in_filetype, OSType in_creator) {
  if (!VERIFY(!FileExists())) return false;
  const FSCatalogInfo_t new_file_info(in_filetype, in_creator);
  if (!VERIFY_TEXT(__LINE__, "CreateFile(kFSCatInfoFinderInfo,&new_file_info)",
                   CreateFile(kFSCatInfoFinderInfo, &new_file_info))) {
    return false;
  }
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=SetFileTypeCreator(in_filetype,in_creator)",
              fOk = SetFileTypeCreator(in_filetype, in_creator));
  return fOk;
}

bool LFSRef::RecreateFile(OSType in_filetype, OSType in_creator) {
  bool fOk = false;
  if (!FileExists()) {
    VERIFY_TEXT(__LINE__, "fOk = CreateFile(in_filetype,in_creator)",
                fOk = CreateFile(in_filetype, in_creator));
    return fOk;
  }
  FSRef file;
  if (!VERIFY(GetNormalizedRef(file)) || !VERIFY(LFileFork::DeleteDataFork(file)) ||
                                                 !VERIFY(LFileFork::DeleteResourceFork(file))) {
    return false;
  }
  VERIFY_TEXT(__LINE__, "fOk=SetFileTypeCreator(in_filetype,in_creator)",
              fOk = SetFileTypeCreator(in_filetype, in_creator));
  return fOk;
}

bool LFSRef::SetFileTypeCreator(OSType in_filetype, OSType in_creator) const {
  FSRef file;
  FInfo info;
  if (!VERIFY(FileExists()) || !VERIFY(GetNormalizedRef(file)) ||
                                       !VERIFY(bool_FSRef_GetFinderInfo(file, info))) {
    return false;
  }
  info.fdType = in_filetype;
  info.fdCreator = in_creator;
  return VERIFY(bool_FSRef_SetFinderInfo(file, info));
}

bool LFSRef::GetFileTypeCreator(OSType& out_filetype, OSType& out_creator) const {
  FSRef file;
  FInfo info;
  if (!VERIFY(FileExists()) || !VERIFY(GetNormalizedRef(file)) ||
                                       !VERIFY(bool_FSRef_GetFinderInfo(file, info))) {
    return false;
  }
  out_filetype = info.fdType;
  out_creator = info.fdCreator;
  return true;
}

bool LFSRef::GetDateTimeCreated(UTCDateTime& out) const {
  FSRef object;
  FSCatalogInfo info;
  if (!VERIFY(GetNormalizedRef(object)) ||
              !VERIFY(noErr == ::FSGetCatalogInfo(&object, kFSCatInfoCreateDate, &info, nullptr, nullptr,
                                          nullptr))) {
    return false;
  }
  out = info.createDate;
  return true;
}

bool LFSRef::GetDateTimeModified(UTCDateTime& out) const {
  FSRef object;
  FSCatalogInfo info;
  if (!VERIFY(GetNormalizedRef(object)) ||
              !VERIFY(noErr == ::FSGetCatalogInfo(&object, kFSCatInfoContentMod, &info, nullptr, nullptr,
                                          nullptr))) {
    return false;
  }
  out = info.contentModDate;
  return true;
}

OSErr LFSRef::GetCatalogInfo(FSCatalogInfoBitmap which, FSCatalogInfo* info, HFSUniStr255* name,
                             FSSpec* spec, FSRef* parent) const {
  return FSGetCatalogInfo(&mFSRef, which, info, name, spec, parent);
}

bool LFSRef::Delete() {
  LFSRef theNormalizedRef(*this, false);
  if (!VERIFY(theNormalizedRef.Normalize() && theNormalizedRef.IsState(State_Exists))) return false;
  const bool fOk = noErr == ::FSDeleteObject(&theNormalizedRef.mFSRef);
  VERIFY_TEXT(__LINE__, "fOk=(noErr==::FSDeleteObject(theNormalizedRef))", fOk);
  return fOk;
}

bool LFSRef::DeleteFile() {
  return IsFile() && Delete();
}

bool LFSRef::DeleteFolder() {
  return IsFolder() && Delete();
}

bool LFSRef::FileDelete() {
  LFSRef latent;
  return IsFile() && VERIFY(GetLatentRef(latent)) && DeleteFile() && Construct(latent, false);
}

bool LFSRef::RenameFile(const char* in_name) {
  LFSRef renamed(*this, false);
  LHFSUnicodeName unicode_name;
  if (!VERIFY_TEXT(__LINE__, "Normalize() && IsState(State_Exists)",
                   renamed.Normalize() && renamed.IsState(State_Exists)) ||
      !VERIFY(in_name && unicode_name.Construct(in_name)) ||
              !VERIFY(bool_UnicodeName_IsWhole(unicode_name, in_name)) ||
                  !VERIFY_TEXT(
                      __LINE__, "bool_FSRef_RenameUnicode(mFSRef,unicode_name,&newFSRef)",
                      bool_FSRef_RenameUnicode(renamed.mFSRef, unicode_name, &renamed.mFSRef))) {
    return false;
  }
  *this = renamed;
  return true;
}

bool LFSRef::GetQuickTimeDataRef(Handle& out_dataRef, OSType& out_dataRefType) const {
  if (!VERIFY(HasState(State_Exists))) return false;
  Handle dataRef = nullptr;
  OSType dataRefType = 0;
  OSErr err = noErr;
  if (IsState(State_Exists)) {
    err = QFramework::NewDataReferenceFromFSRef(&mFSRef, 0, &dataRef, &dataRefType);
  } else {
    const TCFString name(mLatentPath);
    err = QFramework::NewDataReferenceFromFSRefCFString(&mFSRef, name, 0, &dataRef, &dataRefType);
    // Systems without the framework have the function all the same.
    if (dataRef == nullptr) {
      err = QTNewDataReferenceFromFSRefCFString(&mFSRef, name, 0, &dataRef, &dataRefType);
    }
  }
  if (VERIFY_ERR(err) != noErr || !VERIFY(dataRef)) return false;
  out_dataRef = dataRef;
  out_dataRefType = dataRefType;
  return true;
}

bool LFSRef::ResolveAlias(AliasHandle alias, Boolean* wasChanged, const LFSRef* fromRoot) {
  FSRef root;
  if (fromRoot != nullptr && !VERIFY(fromRoot->GetNormalizedRef(root))) return false;
  FSRef target;
  Boolean changed = 0;
  const OSErr err = FSResolveAlias(fromRoot != nullptr ? &root : nullptr, alias, &target, &changed);
  if (wasChanged != nullptr) *wasChanged = changed;
  if (VERIFY_ERR(err) != noErr) return false;
  return VERIFY(Construct(&target));
}

AliasHandle LFSRef::AsNewAliasHandle(const FSRef* fromFile) const {
  FSRef target;
  AliasHandle alias = nullptr;
  if (!VERIFY(GetNormalizedRef(target))) return nullptr;
  const OSErr err = FSNewAlias(fromFile, &target, &alias);
  return VERIFY_ERR(err) == noErr ? alias : nullptr;
}

std::FILE* LFSRef::fopen(const char* open_mode) const {
  std::string s_unix_path;
  if (!VERIFY(GetUnixPath(s_unix_path)) || !VERIFY(open_mode)) return nullptr;
  std::FILE* fp = nullptr;
  VERIFY(fp = std::fopen(s_unix_path.c_str(), open_mode));
  return fp;
}

bool LFSRef::chdir() const {
  std::string path;
  return VERIFY(IsFolder()) && VERIFY(GetUnixPath(path)) && CoreUnixPath(path.c_str()).chdir();
}

bool LFSRef::operator==(const LFSRef& rhs) const {
  LFSRef lhs_normal(*this, false);
  LFSRef rhs_normal(rhs, false);
  if (!VERIFY(lhs_normal.Normalize() && rhs_normal.Normalize())) return false;
  if (lhs_normal.mState != rhs_normal.mState) return false;
  std::string lhs_utf8_path;
  std::string rhs_utf8_path;
  return VERIFY(lhs_normal.GetUnixPath(lhs_utf8_path) && rhs_normal.GetUnixPath(rhs_utf8_path)) &&
                                                         lhs_utf8_path == rhs_utf8_path;
}
