// The file name that callers pass around: a reference (LFSRef) with conversions to the other forms
// of a name, comparison of dates, and opening as a stream.
//
// Operations return false (or null) on failure and log one line that names the operation of the
// reference that failed, besides those of the reference; nothing throws. Texts are UTF-8.
#pragma once

#include <cstdio>
#include <string>

#include "sdk/CoreX/LFSRef.h"
#include "sdk/CoreX/LUTCDateTime.h"

class LFSSpec;
class LUnixPath;

class XFileName {
 public:
  // The matching `Construct`, its result ignored.
  XFileName() = default;
  XFileName(const XFileName&) = default;
  explicit XFileName(const XFileName* copyOf);
  explicit XFileName(const char* in_unix_path);
  explicit XFileName(const FSRef* theFileRef);
  explicit XFileName(const LFSRef& file);
  explicit XFileName(const FSSpec* in_file_spec);
  XFileName(const FSSpec* in_file_spec, const char* in_name);
  XFileName(const FSRef* parent, const char* relative);
  XFileName& operator=(const XFileName&) = default;
  /// Empty, silently, for null.
  XFileName& operator=(const XFileName* copyOf);
  XFileName& operator=(const char* in_unix_path);
  XFileName& operator=(const FSRef* theFileRef);
  XFileName& operator=(const LFSRef& file);
  XFileName& operator=(const FSSpec* in_file_spec);

  // All empty the name first.

  /// A file that need not exist, in a folder that does.
  bool Construct(const char* in_unix_path);
  bool Construct(const XFileName& copyOf);
  bool Construct(const FSRef* theFileRef);
  bool Construct(const LFSRef& file);
  bool Construct(const FSSpec* in_file_spec);
  bool Construct(const FSSpec* in_file_spec, const char* in_name);
  /// An object that exists.
  bool Construct(const FSRef* parent, const char* relative);
  void Empty() { m_filename.Empty(); }
  /// Whether the name has both other forms: file spec and Unix path.
  bool IsConstructed() const;

  operator const LFSRef&() const { return m_filename; }

  // LFSRef's operations.

  bool ReplaceFolder(const XFileName& new_folder);
  bool ReplaceJustName(const char* in_justname);
  bool ReplaceExtension(const char* in_extension);
  bool AddExtension(const char* in_extension);
  bool GetParentFolder(XFileName& out_parent_folder) const;
  bool GetJustName(std::string& out_justname) const;
  bool GetFileTypeCreator(OSType& out_filetype, OSType& out_creator) const;
  bool SetFileTypeCreator(OSType in_filetype, OSType in_creator) const;
  bool GetDateTimeCreated(LUTCDateTime& out_time) const;
  bool GetDateTimeModified(LUTCDateTime& out_time) const;
  bool GetUnixPath(std::string& out_path) const;
  bool GetUnixPath(LUnixPath& out_path) const;
  bool FileExists() const;
  // The name goes on being the old one.
  bool RenameFile(const char* in_name) const;
  bool DeleteFile() const;

  bool GetSystemRepresentation(LFSSpec& out) const;
  bool GetSystemRepresentation(LUnixPath& out) const;
  bool GetSystemRepresentation(LFSRef& out) const;

  /// The Unix path, for debugging: in one buffer for the process, overwritten by the next call of
  /// any object. Empty when there is none.
  const char* NameOf() const;

  // Compare the dates of modification, strictly. False when either has none.
  bool IsOlderThan(const XFileName& rhs) const;
  bool IsNewerThan(const XFileName& rhs) const;

  /// A stream that the caller closes; the file gets 'BINA' for its type and creator.
  std::FILE* fopen(const char* open_mode) const;

 private:
  LFSRef m_filename;
};
