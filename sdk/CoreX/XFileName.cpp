#include "sdk/CoreX/XFileName.h"

#include "sdk/CoreX/Carb_FSRef_inlines.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/LFSSpec.h"
#include "sdk/CoreX/LUnixPath.h"
#include "sdk/CoreX/MAC_fopen.h"

XFileName::XFileName(const XFileName* copyOf) {
  if (VERIFY(copyOf)) Construct(*copyOf);
}

XFileName::XFileName(const char* in_unix_path) {
  Construct(in_unix_path);
}

XFileName::XFileName(const FSRef* theFileRef) {
  Construct(theFileRef);
}

XFileName::XFileName(const LFSRef& file) {
  Construct(file);
}

XFileName::XFileName(const FSSpec* in_file_spec) {
  Construct(in_file_spec);
}

XFileName::XFileName(const FSSpec* in_file_spec, const char* in_name) {
  Construct(in_file_spec, in_name);
}

XFileName::XFileName(const FSRef* parent, const char* relative) {
  Construct(parent, relative);
}

XFileName& XFileName::operator=(const XFileName* copyOf) {
  if (copyOf == nullptr) {
    Empty();
  } else {
    Construct(*copyOf);
  }
  return *this;
}

XFileName& XFileName::operator=(const char* in_unix_path) {
  Construct(in_unix_path);
  return *this;
}

XFileName& XFileName::operator=(const FSRef* theFileRef) {
  Construct(theFileRef);
  return *this;
}

XFileName& XFileName::operator=(const LFSRef& file) {
  Construct(file);
  return *this;
}

XFileName& XFileName::operator=(const FSSpec* in_file_spec) {
  Construct(in_file_spec);
  return *this;
}

bool XFileName::Construct(const char* in_unix_path) {
  if (!VERIFY(m_filename.Construct(in_unix_path))) return false;
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=IsConstructed()", fOk = IsConstructed());
  return fOk;
}

bool XFileName::Construct(const XFileName& copyOf) {
  return m_filename.Construct(copyOf.m_filename, false);
}

bool XFileName::Construct(const FSRef* theFileRef) {
  return VERIFY(m_filename.Construct(theFileRef));
}

bool XFileName::Construct(const LFSRef& file) {
  return m_filename.Construct(file, false);
}

bool XFileName::Construct(const FSSpec* in_file_spec) {
  if (!VERIFY(in_file_spec)) {
    Empty();
    return false;
  }
  return VERIFY(m_filename.Construct(*in_file_spec));
}

bool XFileName::Construct(const FSSpec* in_file_spec, const char* in_name) {
  if (!VERIFY(in_file_spec)) {
    Empty();
    return false;
  }
  return VERIFY(m_filename.Construct(*in_file_spec, in_name));
}

bool XFileName::Construct(const FSRef* parent, const char* relative) {
  FSRef ref = {};
  OSErr err = paramErr;
  if (VERIFY(parent && relative)) {
    err = FSRef_ConstructFromParentAndRelativeName(ref, *parent, relative);
  }
  Empty();
  return VERIFY_TEXT(__LINE__,
                     "noErr==FSRef_ConstructFromParentAndRelativeName(ref,*parent,relative)",
                     noErr == err) &&
         Construct(&ref);
}

bool XFileName::IsConstructed() const {
  FSSpec spec;
  std::string path;
  return m_filename.GetFileSpec(spec) && m_filename.GetUnixPath(path);
}

bool XFileName::ReplaceFolder(const XFileName& new_folder) {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.ReplaceFolder(new_folder.m_filename)",
              fOk = m_filename.ReplaceFolder(new_folder.m_filename));
  return fOk;
}

bool XFileName::ReplaceJustName(const char* in_justname) {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.ReplaceJustName(in_justname)",
              fOk = m_filename.ReplaceJustName(in_justname));
  return fOk;
}

bool XFileName::ReplaceExtension(const char* in_extension) {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.ReplaceExtension(in_extension)",
              fOk = m_filename.ReplaceExtension(in_extension));
  return fOk;
}

bool XFileName::AddExtension(const char* in_extension) {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.AddExtension(in_extension)",
              fOk = m_filename.AddExtension(in_extension));
  return fOk;
}

bool XFileName::GetParentFolder(XFileName& out_parent_folder) const {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.GetParentFolder(out_parent_folder.m_filename)",
              fOk = m_filename.GetParentFolder(out_parent_folder.m_filename));
  return fOk;
}

bool XFileName::GetJustName(std::string& out_justname) const {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.GetJustName(out_justname)",
              fOk = m_filename.GetJustName(out_justname));
  return fOk;
}

bool XFileName::GetFileTypeCreator(OSType& out_filetype, OSType& out_creator) const {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.GetFileTypeCreator(out_filetype,out_creator)",
              fOk = m_filename.GetFileTypeCreator(out_filetype, out_creator));
  return fOk;
}

bool XFileName::SetFileTypeCreator(OSType in_filetype, OSType in_creator) const {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.SetFileTypeCreator(in_filetype,in_creator)",
              fOk = m_filename.SetFileTypeCreator(in_filetype, in_creator));
  return fOk;
}

bool XFileName::GetDateTimeCreated(LUTCDateTime& out_time) const {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.GetDateTimeCreated(out_time)",
              fOk = m_filename.GetDateTimeCreated(out_time));
  return fOk;
}

bool XFileName::GetDateTimeModified(LUTCDateTime& out_time) const {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.GetDateTimeModified(out_time)",
              fOk = m_filename.GetDateTimeModified(out_time));
  return fOk;
}

bool XFileName::GetUnixPath(std::string& out_path) const {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.GetUnixPath(out_path)",
              fOk = m_filename.GetUnixPath(out_path));
  return fOk;
}

bool XFileName::GetUnixPath(LUnixPath& out_path) const {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.GetUnixPath(out_path)",
              fOk = m_filename.GetUnixPath(out_path));
  return fOk;
}

bool XFileName::FileExists() const {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.FileExists()", fOk = m_filename.FileExists());
  return fOk;
}

bool XFileName::RenameFile(const char* in_name) const {
  LFSRef non_const(m_filename);
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=non_const.RenameFile(in_name)", fOk = non_const.RenameFile(in_name));
  return fOk;
}

bool XFileName::DeleteFile() const {
  LFSRef non_const(m_filename);
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=non_const.FileDelete()", fOk = non_const.FileDelete());
  return fOk;
}

bool XFileName::GetSystemRepresentation(LFSSpec& out) const {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=m_filename.GetFileSpec(out)", fOk = m_filename.GetFileSpec(out));
  return fOk;
}

bool XFileName::GetSystemRepresentation(LUnixPath& out) const {
  return GetUnixPath(out);
}

bool XFileName::GetSystemRepresentation(LFSRef& out) const {
  bool fOk = false;
  VERIFY_TEXT(__LINE__, "fOk=out.Construct(m_filename,false)",
              fOk = m_filename.IsValid() && out.Construct(m_filename, false));
  return fOk;
}

const char* XFileName::NameOf() const {
  static std::string s_unix_path;
  if (!GetUnixPath(s_unix_path)) s_unix_path.clear();
  return s_unix_path.c_str();
}

bool XFileName::IsOlderThan(const XFileName& rhs) const {
  LUTCDateTime our_time;
  LUTCDateTime their_time;
  return VERIFY(GetDateTimeModified(our_time) && rhs.GetDateTimeModified(their_time)) &&
                                                 our_time.Compare(their_time) < 0;
}

bool XFileName::IsNewerThan(const XFileName& rhs) const {
  LUTCDateTime our_time;
  LUTCDateTime their_time;
  return VERIFY(GetDateTimeModified(our_time) && rhs.GetDateTimeModified(their_time)) &&
                                                 our_time.Compare(their_time) > 0;
}

std::FILE* XFileName::fopen(const char* open_mode) const {
  LFSSpec theSpec;
  if (!VERIFY(GetSystemRepresentation(theSpec))) return nullptr;
  std::FILE* file = nullptr;
  VERIFY_TEXT(__LINE__, "file = MAC_fopen(theSpec,open_mode,'BINA','BINA')",
              file = MAC_fopen(&theSpec, open_mode, 'BINA', 'BINA', nullptr));
  return file;
}
