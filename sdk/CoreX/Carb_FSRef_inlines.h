// Free functions on a bare file reference: paths, names, Finder information, and the way to and
// from a volume's folder numbers.
//
// Each returns false (or an OS status other than 0) on failure and leaves its outputs as they were;
// a log line only where it is said.
#pragma once

#include <string>

#include "platform/CoreServices/Files.h"
#include "sdk/CoreX/Core_FSRef_inl.h"
#include "sdk/CoreX/LHFSUnicodeName.h"

/// The object's absolute path, UTF-8, up to 4095 bytes. Silently.
bool bool_FSRef_GetUnixPath(const FSRef& fileRef, std::string& out_path);

/// The deepest folder above the end of `in_unix_path` that exists, and the rest of the path below
/// it, which may be empty and may hold several names. The end itself is not looked up: even an
/// existing file comes out as its folder and one name. A file that stands where a folder should is
/// taken as the deepest one, with a log line. False, silently, when nothing on the way exists (and
/// with the path's own log line when the path is empty or null).
bool bool_FSRef_MakeLatentFromPath(const char* in_unix_path, FSRef& out_ref,
                                   std::string& out_latent_path);

/// Renames in place; `out_new_ref` may be null. One log line on failure.
bool bool_FSRef_RenameUnicode(const FSRef& fileRef, const LHFSUnicodeName& newName,
                              FSRef* out_new_ref);

// Type, creator and Finder flags. Silently.
bool bool_FSRef_GetFinderInfo(const FSRef& fileRef, FInfo& out_info);
bool bool_FSRef_SetFinderInfo(const FSRef& fileRef, const FInfo& info);

/// Whether the object is a folder; false also when there is none. Silently.
bool bool_FSRef_IsFolder(const FSRef& fileRef);

/// The object's own name and its folder. errFSBadFSRef for what has no folder above it.
OSErr FSRef_GetParentAndRelativeName(const FSRef& fileRef, FSRef& out_parent,
                                     LHFSUnicodeName& out_name);

/// The existing object with this UTF-8 name in a folder. -1, with a log line, for a name that is
/// null or has no Unicode form; fnfErr also for one that is longer than names can be told apart.
OSErr FSRef_ConstructFromParentAndRelativeName(FSRef& out_ref, const FSRef& parent,
                                               const char* relative_path);

/// The volume and number of the folder that a file spec names, or else of the folder that it
/// names something in (which need not exist).
bool bool_FSSpec_GetVolumeFolderID(const FSSpec& spec, SInt16& out_volume, SInt32& out_folderID,
                                   bool* out_isFolder);
/// The object of this name in the folder of this number; the folder itself for no name.
bool bool_FSRef_ConstructVolumeFolderName(FSRef& out_ref, SInt16 volume, SInt32 folderID,
                                          ConstStr255Param name = nullptr);

/// Whether `name` is the Unicode form of all of `utf8`. Conversions keep only so many units, and
/// what was cut would name something else.
bool bool_UnicodeName_IsWhole(const HFSUniStr255& name, const std::string& utf8);
