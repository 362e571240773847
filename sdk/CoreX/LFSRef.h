// A file-system object that may not exist yet: a reference to one that does, the anchor, and the
// latent path below it, which is missing or has not been looked up.
//
// Every operation returns false (or null) on failure, with one log line for each check that failed
// unless it says "silently", and throws nothing. On failure an object is left as it was, except
// that every `Construct` empties it first. When the anchor's object is gone, what needs the anchor
// fails. Texts are UTF-8.
//
// A latent path may hold several names with slashes between them, but only a single one is ever
// looked up or created. A name with '/' in it, "." and ".." are never found or created. A name of
// more units than conversions keep is neither found, created nor given, since what would be left of
// it names another object.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/CoreServices/Aliases.h"
#include "platform/CoreServices/Files.h"
#include "sdk/CoreX/LHFSUnicodeName.h"

class LFSRef;
class LUnixPath;
class XFileName;

/// The flat form of a reference, for storing it or passing it by value. All zero when empty.
struct LFSRef_data_t {
  FSRef ref;
  HFSUniStr255 latent_path;
  UInt16 state;  ///< the low 16 bits of the reference's state

  bool IsEmpty() const { return state == 0; }
  void Empty();
  /// `LFSRef::GetData`, its result ignored.
  LFSRef_data_t& operator=(const LFSRef& file);
  LFSRef_data_t& operator=(const FSSpec& spec);
};

class LFSRef {
 public:
  /// Sets of bits.
  enum : SInt32 {
    State_Invalid = 0,
    State_Exists = 1,         ///< the anchor is meaningful
    State_HasLatentPath = 2,  ///< the latent path is meaningful
    State_ExistsWithLatentPath = 3,
  };
  /// Bytes of the text that `CoreDebugGetContents` writes.
  static constexpr std::size_t kDebugBufferSize = 4096;

  // The constructors with arguments are the matching `Construct`, its result ignored.
  LFSRef() = default;
  LFSRef(const LFSRef&) = default;
  LFSRef(const LFSRef& copyOf, bool normalize);
  explicit LFSRef(const char* in_unix_path);
  explicit LFSRef(const FSRef* theFileRef);
  explicit LFSRef(const FSRef& theFileRef);
  LFSRef(const FSRef* parentRef, const LHFSUnicodeName& unicode_subpath);
  LFSRef(const FSRef* parentRef, const char* subpath);
  LFSRef(const FSRef* parentRef, const std::string& subpath);
  explicit LFSRef(const LFSRef_data_t& in_data);
  explicit LFSRef(const FSSpec& in_file_spec);
  explicit LFSRef(const FSSpec* in_file_spec);
  LFSRef(const FSSpec& in_file_spec, const unsigned char* in_name);
  LFSRef(const FSSpec& in_file_spec, const char* in_name);
  explicit LFSRef(const XFileName& in_file_name);
  LFSRef& operator=(const LFSRef&) = default;
  virtual ~LFSRef();

  /// The deepest existing folder above the path's end becomes the anchor, the rest the latent path.
  /// The end itself is not looked up: an existing file is its folder and a name until `Normalize`.
  bool Construct(const char* in_unix_path);
  bool Construct(const FSRef* theFileRef);
  // A name, or several, below an existing folder; no name is the folder itself.
  bool Construct(const FSRef* parentRef, const LHFSUnicodeName& unicode_subpath);
  bool Construct(const FSRef* parentRef, const char* subpath);
  bool Construct(const FSRef* parentRef, const std::string& subpath);
  /// Takes over what the record says, whatever it is. Whether its state is not 0.
  bool Construct(const LFSRef_data_t& in_data);
  /// A copy; with `normalize`, the result is that of `Normalize`.
  bool Construct(const LFSRef& copyOf, bool normalize);
  // What a file spec names, which need not exist, in a folder that does; with a name, that in
  // the folder specified, or in the specified file's folder. Pascal strings are Mac Roman.
  bool Construct(const FSSpec& in_file_spec,
                 const unsigned char* in_name = static_cast<const unsigned char*>(nullptr));
  bool Construct(const FSSpec& in_file_spec, const char* in_name);
  /// The working directory.
  bool Construct_cwd();
  /// A folder of Folders.h, which exists already.
  bool FindExistingFolder(UInt32 folderType, SInt16 domain);
  void Empty();

  /// False when the latent path has no Unicode form or a cut one; the record has none then.
  bool GetData(LFSRef_data_t& out_data) const;

  SInt32 GetState() const { return mState; }
  bool IsState(SInt32 state) const { return mState == state; }
  bool HasState(SInt32 state) const { return (mState & state) == state; }
  bool IsValid() const { return mState != State_Invalid; }
  bool IsEmpty() const { return mState == State_Invalid; }
  const FSRef& GetAnchor() const { return mFSRef; }

  // Tests of what is there now. All silently but `HasLatentPath`.

  /// The state is State_Exists and nothing else, and the object is there.
  bool Exists() const;
  bool Is_FSRef_Valid() const;
  bool IsFile() const;
  bool IsFolder() const;
  bool FileExists() const;
  /// The bit is set and the path not empty; logs a set bit with an empty path.
  bool HasLatentPath() const;

  bool GetLatentPath(std::string& out_latent_path) const;
  bool GetLatentPath(LHFSUnicodeName& out_latent_path) const;

  /// Looks up the latent path, so that an object that exists is referred to by itself. False,
  /// silently, when it does not exist.
  bool Normalize();
  /// The same object as its folder and its name (state 3).
  bool GetLatentRef(LFSRef& out) const;
  /// The existing object itself.
  bool GetNormalizedRef(FSRef& out) const;
  /// Becomes folder and name.
  bool MakeRefWithLatentPath();

  /// The folder that the object is, or would be, in; of several missing names the folder is missing
  /// itself.
  bool GetParentFolder(LFSRef& out_parent_folder) const;
  /// The same name in another folder, or, when `folder` is a file, in that file's.
  bool ReplaceFolder(const LFSRef& folder);
  /// Replaces the whole latent path.
  bool ReplaceJustName(const char* in_justname);
  /// Appends to the name, as it stands: the dot is the caller's.
  bool AddExtension(const char* in_extension);
  bool ReplaceExtension(const char* in_extension);
  /// In any case of ASCII letters, with or without its dot.
  bool HasExtension(const char* in_extension) const;
  /// For a reference without a latent path: adds one of `name`, or of `name` and `subname`, Pascal
  /// strings in Mac Roman.
  bool AddJustName(const unsigned char* in_name, const unsigned char* in_subname);

  bool GetUnixPath(std::string& out) const;
  bool GetUnixPath(LUnixPath& out) const;
  bool GetJustName(std::string& out) const;
  /// The file spec of the object, which need not exist in a folder that does.
  bool GetFileSpec(FSSpec& out) const;

  // Create what the latent path names, in the anchor; `info` says what `which` names of the
  // catalogue information.
  bool CreateFolder(FSCatalogInfoBitmap which, const FSCatalogInfo* info);
  bool CreateFile(FSCatalogInfoBitmap which, const FSCatalogInfo* info);
  bool CreateFolder() { return CreateFolder(kFSCatInfoNone, nullptr); }
  bool CreateFile() { return CreateFile(kFSCatInfoNone, nullptr); }
  bool CreateFile(OSType in_filetype, OSType in_creator);
  /// Empties both forks of a file that exists, in place, or creates one.
  bool RecreateFile(OSType in_filetype, OSType in_creator);

  bool SetFileTypeCreator(OSType in_filetype, OSType in_creator) const;
  bool GetFileTypeCreator(OSType& out_filetype, OSType& out_creator) const;
  bool GetDateTimeCreated(UTCDateTime& out) const;
  bool GetDateTimeModified(UTCDateTime& out) const;
  /// FSGetCatalogInfo of the anchor.
  OSErr GetCatalogInfo(FSCatalogInfoBitmap which, FSCatalogInfo* info, HFSUniStr255* name,
                       FSSpec* spec, FSRef* parent) const;

  /// A file or an empty folder. The reference is stale afterwards.
  bool Delete();
  // Silently false for an object of the other kind.
  bool DeleteFile();
  bool DeleteFolder();
  /// Deletes a file and goes on naming it (state 3). Silently false for what is no file.
  bool FileDelete();
  /// Renames an existing object in its folder, and follows it.
  bool RenameFile(const char* in_name);

  /// A new data reference, the caller's: of the object, or of a file that need not exist in the
  /// anchor.
  bool GetQuickTimeDataRef(Handle& out_dataRef, OSType& out_dataRefType) const;
  /// Refers to what an alias record leads to. `wasChanged` and `fromRoot` may be null; a changed
  /// record is for the caller to store.
  bool ResolveAlias(AliasHandle alias, Boolean* wasChanged, const LFSRef* fromRoot);
  /// A new record, the caller's. `fromFile` may be null.
  AliasHandle AsNewAliasHandle(const FSRef* fromFile) const;

  /// A stream that the caller closes.
  std::FILE* fopen(const char* open_mode) const;
  /// Makes this folder the process's working directory.
  bool chdir() const;

  /// Whether both exist and have the same path, byte for byte. What does not exist is equal to
  /// nothing, with a log line.
  bool operator==(const LFSRef& rhs) const;

  /// Writes a description, cut to the buffer; with the anchor's bytes if asked.
  void CoreDebugGetContents(const char* label, char (&buffer)[kDebugBufferSize],
                            bool with_hex) const;
  void CoreDebugPrint(const char* label) const;

 private:
  void AddState(SInt32 state) { mState |= state; }
  /// The latent path as the one name that is looked up or created. False, silently, for a cut one;
  /// `out_converted` says whether there is a Unicode form at all.
  bool GetWholeName(LHFSUnicodeName& out_name, bool& out_converted) const;
  template <typename Create>
  bool CreateObject(const Create& create, const char* function);

  SInt32 mState = State_Invalid;
  FSRef mFSRef = {};
  std::string mLatentPath;
};
