#include "sdk/CoreX/LAlias.h"

#include "platform/CoreServices/MacMemory.h"
#include "sdk/CoreX/Carb_FSRef_inlines.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/T_CFString.h"

LAliasBase::~LAliasBase() {
  Empty();
}

void LAliasBase::Empty() {
  if (mAlias != nullptr && !IsResource()) DisposeHandle(AsHandle());
  mAlias = nullptr;
  mResolved = false;
  mResFile = kNoFile;
  mResID = 0;
  mHasFrom = false;
}

bool LAliasBase::HasRecord() const {
  return VERIFY(mAlias) && VERIFY(IsHandleValid(AsHandle()));
}

void LAliasBase::NoteHome() {
  const ResFileRefNum home = HomeResFile(AsHandle());
  if (ResError() != noErr) return;
  ResType type = 0;
  Str255 name = {};
  mResFile = home;
  GetResInfo(AsHandle(), &mResID, &type, name);
}

bool LAliasBase::Construct(AliasHandle alias) {
  if (alias != nullptr && alias == mAlias) return true;
  Empty();
  if (!VERIFY(alias) || !VERIFY(IsHandleValid(reinterpret_cast<Handle>(alias)))) return false;
  mAlias = alias;
  NoteHome();
  return true;
}

bool LAliasBase::Construct(short resID) {
  Empty();
  Handle resource = ::GetResource(rAliasType, resID);
  if (!VERIFY(resource)) return false;
  mAlias = reinterpret_cast<AliasHandle>(resource);
  NoteHome();
  return VERIFY(IsResource());
}

bool LAliasBase::Construct(const FSSpec& target, const FSSpec* from) {
  Empty();
  AliasHandle alias = nullptr;
  FSRef fromRef;
  if (from != nullptr && VERIFY_ERR(FSpMakeFSRef(from, &fromRef)) != noErr) return false;
  if (VERIFY_ERR(NewAlias(from, &target, &alias)) != noErr) return false;
  mAlias = alias;
  mHasFrom = from != nullptr;
  if (mHasFrom) mFrom = fromRef;
  return true;
}

bool LAliasBase::Construct(const FSRef& target, const FSRef* from) {
  Empty();
  AliasHandle alias = nullptr;
  if (VERIFY_ERR(FSNewAlias(from, &target, &alias)) != noErr) return false;
  mAlias = alias;
  mHasFrom = from != nullptr;
  if (mHasFrom) mFrom = *from;
  return true;
}

bool LAliasBase::Resolve() {
  Boolean wasChanged = 0;
  return ResolveWasChanged(wasChanged);
}

bool LAliasBase::ResolveWasChanged(Boolean& out_wasChanged) {
  mResolved = false;
  out_wasChanged = 0;
  if (!HasRecord()) return false;
  Boolean wasChanged = 0;
  if (VERIFY_ERR(ResolveTarget(&wasChanged)) != noErr) return false;
  mResolved = true;
  out_wasChanged = wasChanged;
  if (wasChanged != 0 && IsResource()) {
    ChangedResource(AsHandle());
    VERIFY_ERR(ResError());
  }
  return true;
}

bool LAliasBase::GetUnixPath(std::string& out) {
  FSRef target;
  return GetFileRef(target) && VERIFY(bool_FSRef_GetUnixPath(target, out));
}

bool LAliasBase::GetUnixPath(TCFString& out) {
  std::string path;
  return GetUnixPath(path) && VERIFY(out.SetValue(path, kCFStringEncodingUTF8));
}

bool LAliasBase::AddResource(short resID, const unsigned char* in_name) {
  if (!HasRecord() || !VERIFY(!IsResource())) return false;
  ::AddResource(AsHandle(), rAliasType, resID, in_name);
  if (VERIFY_ERR(ResError()) != noErr) return false;
  NoteHome();
  return VERIFY(IsResource());
}

bool LAliasBase::SetResInfo(short resID, const unsigned char* in_name) {
  if (!HasRecord() || !VERIFY(IsResource())) return false;
  ::SetResInfo(AsHandle(), resID, in_name);
  if (VERIFY_ERR(ResError()) != noErr) return false;
  mResID = resID;
  return true;
}

bool LAliasBase::RemoveResource() {
  if (!HasRecord() || !VERIFY(IsResource())) return false;
  // Resources are taken from the current file only.
  const ResFileRefNum current = CurResFile();
  UseResFile(mResFile);
  ::RemoveResource(AsHandle());
  const OSErr err = ResError();
  UseResFile(current);
  if (VERIFY_ERR(err) != noErr) return false;
  mResFile = kNoFile;
  mResID = 0;
  return true;
}

bool LAliasBase::DetachResource() {
  if (!HasRecord() || !VERIFY(IsResource())) return false;
  // A changed resource cannot be detached.
  if ((GetResAttrs(AsHandle()) & resChanged) != 0) {
    WriteResource(AsHandle());
    if (VERIFY_ERR(ResError()) != noErr) return false;
  }
  ::DetachResource(AsHandle());
  if (VERIFY_ERR(ResError()) != noErr) return false;
  mResFile = kNoFile;
  mResID = 0;
  return true;
}

OSErr LAliasSpec::ResolveTarget(Boolean* wasChanged) {
  FSSpec from;
  const FSRef* const fromRef = From();
  if (fromRef != nullptr) {
    const OSErr err = FSGetCatalogInfo(fromRef, kFSCatInfoNone, nullptr, nullptr, &from, nullptr);
    if (err != noErr) return err;
  }
  FSSpec target = {};
  const OSErr err =
      ResolveAlias(fromRef != nullptr ? &from : nullptr, GetAlias(), &target, wasChanged);
  if (err == noErr) mTarget = target;
  return err;
}

bool LAliasSpec::GetFileSpec(FSSpec& out) {
  if (!ResolveIF()) return false;
  out = mTarget;
  return true;
}

bool LAliasSpec::GetFileRef(FSRef& out) {
  FSRef target;
  if (!ResolveIF() || VERIFY_ERR(FSpMakeFSRef(&mTarget, &target)) != noErr) return false;
  out = target;
  return true;
}

OSErr LAliasRef::ResolveTarget(Boolean* wasChanged) {
  FSRef target;
  const OSErr err = FSResolveAlias(From(), GetAlias(), &target, wasChanged);
  if (err == noErr) mTarget = target;
  return err;
}

bool LAliasRef::GetFileSpec(FSSpec& out) {
  FSSpec spec = {};
  if (!ResolveIF() || VERIFY_ERR(FSGetCatalogInfo(&mTarget, kFSCatInfoNone, nullptr, nullptr, &spec,
                                                  nullptr)) != noErr) {
    return false;
  }
  out = spec;
  return true;
}

bool LAliasRef::GetFileRef(FSRef& out) {
  if (!ResolveIF()) return false;
  out = mTarget;
  return true;
}
