#include "sdk/CoreX/MAC_fopen.h"

#include <string>

#include "platform/CoreServices/Resources.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/LFSRef.h"
#include "sdk/CoreX/LFSSpec.h"
#include "sdk/CoreX/XFileName.h"

namespace {

SInt8 ResourcePermission(const char* open_mode) {
  SInt8 permission = 0;
  for (const char* c = open_mode; *c != '\0'; ++c) {
    if (*c == 'r') permission |= fsRdPerm;
    if (*c == 'w' || *c == 'a') permission |= fsWrPerm;
  }
  return permission;
}

}  // namespace

std::FILE* fopen(const LFSRef& ref, const char* open_mode, OSType creator, OSType file_type) {
  std::FILE* const file = ref.fopen(open_mode);
  if (file != nullptr) {
    VERIFY_TEXT(__LINE__, "ref.SetFileTypeCreator(file_type,creator)",
                ref.SetFileTypeCreator(file_type, creator));
  }
  return file;
}

std::FILE* fopen(const XFileName& filename, const char* open_mode, OSType creator,
                 OSType file_type) {
  LFSRef theFileRef;
  if (!VERIFY(filename.GetSystemRepresentation(theFileRef))) return nullptr;
  return fopen(theFileRef, open_mode, creator, file_type);
}

std::FILE* fopen(const FSSpec* spec, const char* open_mode, OSType creator, OSType file_type) {
  return FSp_fopen_TypeCreator(spec, open_mode, file_type, creator);
}

std::FILE* FSp_fopen_TypeCreator(const FSSpec* spec, const char* open_mode, OSType file_type,
                                 OSType creator) {
  std::string path;
  if (!VERIFY(spec && open_mode) || !VERIFY(LFSSpec(*spec).GetUnixPath(path))) return nullptr;
  std::FILE* const file = std::fopen(path.c_str(), open_mode);
  if (!VERIFY(file)) return nullptr;
  FInfo info;
  if (FSpGetFInfo(spec, &info) == noErr) {
    info.fdType = file_type;
    info.fdCreator = creator;
    VERIFY_TEXT(__LINE__, "noErr==::FSpSetFInfo(spec,&info)", noErr == FSpSetFInfo(spec, &info));
  }
  return file;
}

std::FILE* MAC_fopen(const FSSpec* spec, const char* open_mode, OSType creator, OSType file_type,
                     SInt16* resRefNum) {
  if (resRefNum != nullptr) {
    *resRefNum = -1;
    if (!VERIFY(spec && open_mode)) return nullptr;
    const SInt8 permission = ResourcePermission(open_mode);
    ResFileRefNum refNum = FSpOpenResFile(spec, permission);
    if (refNum == -1) {
      if (!VERIFY_TEXT(__LINE__, "(permission & fsRdPerm)==0", (permission & fsRdPerm) == 0)) {
        return nullptr;
      }
      OSErr err = FSpCreate(spec, creator, file_type, smSystemScript);
      if (VERIFY_ERR(err) != noErr) return nullptr;
      FSpCreateResFile(spec, creator, file_type, smSystemScript);
      err = ResError();
      if (VERIFY_ERR(err) != noErr) return nullptr;
      refNum = FSpOpenResFile(spec, fsWrPerm);
      if (!VERIFY_TEXT(__LINE__, "refNum!=-1", refNum != -1)) return nullptr;
    }
    *resRefNum = refNum;
  }
  return FSp_fopen_TypeCreator(spec, open_mode, file_type, creator);
}

std::FILE* MAC_fopen(const LFSRef& ref, const char* open_mode, OSType creator, OSType file_type,
                     SInt16* resRefNum) {
  if (resRefNum != nullptr) *resRefNum = -1;
  FSSpec spec;
  if (!VERIFY(ref.GetFileSpec(spec))) return nullptr;
  return MAC_fopen(&spec, open_mode, creator, file_type, resRefNum);
}

std::FILE* MAC_fopen(const XFileName& filename, const char* open_mode, OSType creator,
                     OSType file_type, SInt16* resRefNum) {
  return MAC_fopen(static_cast<const LFSRef&>(filename), open_mode, creator, file_type, resRefNum);
}
