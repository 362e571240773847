// The older file spec (volume, folder number, Mac Roman name of 63 characters at most)
// with path, type and creator, and create and delete operations.
//
// The object specified need not exist, in a folder that does. Operations return false and log one
// line on failure; tests (`Exists`, `IsFileType` and the like) are silent; nothing throws. Names
// and colon-separated paths are Mac Roman, Unix paths UTF-8. A name that is too long is refused.
#pragma once

#include <string>

#include "platform/CoreServices/Aliases.h"
#include "platform/CoreServices/Files.h"

class CoreCString;
class LFSRef;
class LHFSUnicodeName;
class XFileName;

class LFSSpec : public FSSpec {
 public:
  static constexpr OSType sDefaultCreator = 'none';
  static constexpr OSType sDefaultFileType = 'BINA';

  // The matching `Construct`, its result ignored.
  LFSSpec() : FSSpec{} {}
  LFSSpec(const FSSpec& spec) : FSSpec(spec) {}
  explicit LFSSpec(const unsigned char* path);
  explicit LFSSpec(const char* path);
  explicit LFSSpec(const LFSRef& file);
  explicit LFSSpec(const XFileName& file);
  explicit LFSSpec(const FSRef& file);
  LFSSpec& operator=(const FSSpec& spec);

  // All empty the file spec first.

  /// "Volume:folder:name", or a Unix path, which starts with '/'.
  bool Construct(const unsigned char* path);
  /// The same, of any length.
  bool Construct(const char* path);
  bool Construct(const LFSRef& file);
  bool Construct(const XFileName& file);
  bool Construct(const FSRef& file);
  void Empty() { static_cast<FSSpec&>(*this) = {}; }

  // Names. What changes the name leaves the object on disk alone, but for `FileRename`.

  bool Set_name(const unsigned char* in_name);
  bool Set_name(const char* in_name);
  bool ReplaceJustName(const char* in_name) { return Set_name(in_name); }
  bool GetJustName(CoreCString& out) const;
  /// An existing object's whole name.
  bool GetJustName(HFSUniStr255& out) const;
  bool FileRename(const char* in_name);
  /// Appends to the name as it stands: the dot is the caller's.
  bool AddExtension(const char* in_extension);
  bool ReplaceExtension(const char* in_extension);
  bool HasExtension(const char* in_extension) const;

  // Paths. "Just" is the folder's; a folder's colon-separated path ends with a colon.

  /// Copies `size` characters at most (and 255) into a Pascal string.
  bool GetJustPath(unsigned char* buffer, UInt16 size) const;
  bool GetJustPath(CoreCString& out) const;
  bool GetFullPath(unsigned char* buffer, UInt16 size) const;
  bool GetFullPath(CoreCString& out) const;
  // Below "/Volumes/NAME/", the start-up volume too.
  bool GetJustPath_unix(CoreCString& out) const;
  bool GetFullPath_unix(CoreCString& out) const;
  /// The path as the system knows it.
  bool GetUnixPath(std::string& out) const;

  bool Exists() const;
  bool FileExists() const;
  bool FolderExists() const;
  bool IsFolder() const { return FolderExists(); }
  /// The same volume, folder and name, letter by letter.
  bool operator==(const FSSpec& other) const;
  bool operator==(const LFSSpec& other) const { return *this == static_cast<const FSSpec&>(other); }
  // The same name.
  bool operator==(const unsigned char* in_name) const;
  bool operator==(const char* in_name) const;

  // Of files.
  bool GetFileTypeCreator(OSType& out_filetype, OSType& out_creator) const;
  bool SetFileTypeCreator(OSType in_filetype, OSType in_creator) const;
  bool GetFileType(OSType& out_filetype) const;
  bool GetCreator(OSType& out_creator) const;
  bool SetFileType(OSType in_filetype) const;
  bool SetCreator(OSType in_creator) const;
  bool IsFileType(OSType in_filetype) const;
  bool IsCreator(OSType in_creator) const;
  bool IsFileTypeCreator(OSType in_filetype, OSType in_creator) const;

  bool GetParentFolder(LFSSpec& out_folder) const;
  bool GetParentFolderRef(FSRef& out_folder) const;
  /// This folder's own number.
  bool GetFolderID(SInt32& out_folderID) const;
  bool FindExistingFolder(UInt32 folderType, SInt16 domain);
  /// The same name in another folder, or, when `folder` is a file, in that file's.
  bool ReplaceFolder(const FSSpec& folder);

  bool CreateFile(OSType in_filetype = sDefaultFileType, OSType in_creator = sDefaultCreator) const;
  /// Specifies the new file.
  bool CreateFile(const LHFSUnicodeName& in_name, const FSSpec& in_parent,
                  OSType in_filetype = sDefaultFileType, OSType in_creator = sDefaultCreator);
  /// Leaves the file with a resource map, made where one was missing.
  bool CreateFileWithResFork(OSType in_filetype = sDefaultFileType,
                             OSType in_creator = sDefaultCreator) const;
  bool FileDelete() const;
  /// Brings what was written on the volume to its disk.
  bool FlushVolume() const;

  bool GetFileRef(FSRef& out) const;
  bool GetTextEncoding(UInt32& out_encoding) const;
  /// The script the name is in, as the Finder noted it; smRoman where it did not.
  bool GetScriptCode(SInt16& out_script) const;
  bool GetCreationDateTime(UTCDateTime& out) const;
  bool GetModificationDateTime(UTCDateTime& out) const;
  /// Specifies what an alias record leads to. `wasChanged` and `from` may be null.
  bool ResolveAlias(AliasHandle alias, Boolean* wasChanged, const FSSpec* from);
  /// A new record, the caller's. `from` may be null.
  AliasHandle AsNewAliasHandle(const FSSpec* from) const;
  /// The older catalogue record; its name pointer is null.
  bool GetCatInfoNoName(CInfoPBRec& out) const;
  /// Logs the file spec and its path.
  void printf(const char* label) const;

 private:
  bool Find(FSRef& out) const;
};
