// The Alias Manager: records that find an object again after it was moved or renamed, and the data
// references made of them.
//
// A record is a version 2 alias record in the published form: volume, folder and file names and
// numbers, creation dates, type and creator, Unicode names, the POSIX path; and, under tags of this
// system, the path relative to another file and the object's identity.
//
// Resolving tries the relative path (when a file to start from is given), then the full path, then
// looks for the identity in the folder the target was last known in. An object that has taken the
// target's place at the same path is found as the target.
#pragma once

#include "platform/CoreServices/FileSpecs.h"
#include "platform/CoreServices/Files.h"

/// The head of a record, big-endian like all that follows it: read it with GetAliasUserType and
/// GetAliasSize.
struct AliasRecord {
  OSType userType;   ///< the application's own use
  UInt16 aliasSize;  ///< the record's bytes, this head included
};
using AliasPtr = AliasRecord*;
using AliasHandle = AliasPtr*;

inline constexpr ResType rAliasType = 'alis';

/// A new record, disposed of by the caller. `fromFile` may be null: no relative path then.
OSErr FSNewAlias(const FSRef* fromFile, const FSRef* target, AliasHandle* inAlias);
OSErr FSNewAliasMinimal(const FSRef* target, AliasHandle* inAlias);
/// For a target that need not exist in an existing folder.
OSErr FSNewAliasUnicode(const FSRef* fromFile, const FSRef* targetParentRef,
                        UInt32 targetNameLength, const UniChar* targetName, AliasHandle* inAlias,
                        Boolean* isDirectory);

/// fnfErr when the target is nowhere to be found, paramErr for a broken record. `wasChanged` says
/// whether the record was brought up to date because the target had moved, been renamed or been
/// replaced.
OSErr FSResolveAlias(const FSRef* fromFile, AliasHandle alias, FSRef* target, Boolean* wasChanged);
/// Makes the record one of `target`; `wasChanged` says whether that changed it.
OSErr FSUpdateAlias(const FSRef* fromFile, const FSRef* target, AliasHandle alias,
                    Boolean* wasChanged);

/// The same with file specs. NewAlias makes a record of a missing target in an existing folder,
/// too, and says fnfErr then.
OSErr NewAlias(const FSSpec* fromFile, const FSSpec* target, AliasHandle* alias);
OSErr NewAliasMinimal(const FSSpec* target, AliasHandle* alias);
/// fnfErr with `target` naming the missing object when only its last part is missing.
OSErr ResolveAlias(const FSSpec* fromFile, AliasHandle alias, FSSpec* target, Boolean* wasChanged);
OSErr UpdateAlias(const FSSpec* fromFile, const FSSpec* target, AliasHandle alias,
                  Boolean* wasChanged);

Size GetAliasSize(AliasHandle alias);
OSType GetAliasUserType(AliasHandle alias);
void SetAliasUserType(AliasHandle alias, OSType userType);
/// The full POSIX path the record holds, without looking at the disk. `path` is released by the
/// caller.
OSStatus FSCopyAliasPath(AliasHandle alias, CFStringRef* path);

/// Type of data references that are alias records.
inline constexpr OSType AliasDataHandlerSubType = 'alis';

// Looked up by name by those that link weakly.
extern "C" {
/// A data reference of an existing file: a new handle, disposed of by the caller, and its type.
/// `flags` is 0.
OSErr QTNewDataReferenceFromFSRef(const FSRef* fileRef, UInt32 flags, Handle* outDataRef,
                                  OSType* outDataRefType);
/// Of a file, that need not exist, in an existing folder.
OSErr QTNewDataReferenceFromFSRefCFString(const FSRef* directoryRef, CFStringRef fileName,
                                          UInt32 flags, Handle* outDataRef, OSType* outDataRefType);
}
