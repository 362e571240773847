// The Resource Manager: typed, numbered and named pieces of data in a file's resource fork, in the
// published resource-file format.
//
// Open resource files form a list, the last opened first; searching starts at the current one and
// goes on to those opened before it. The `1` calls look into the current file alone. Each call
// leaves its result code for ResError. A resource's handle belongs to its file until it is detached
// or the file is closed. Changes reach the disk with WriteResource, UpdateResFile and CloseResFile;
// each of them replaces the fork whole.
#pragma once

#include "platform/CoreServices/FileSpecs.h"
#include "platform/CoreServices/Files.h"

using ResFileRefNum = SInt16;
using ResID = SInt16;
using ResAttributes = SInt16;
using ResFileAttributes = SInt16;

inline constexpr OSErr resNotFound = -192;
inline constexpr OSErr resFNotFound = -193;
inline constexpr OSErr addResFailed = -194;
inline constexpr OSErr rmvResFailed = -196;
inline constexpr OSErr resAttrErr = -198;
inline constexpr OSErr mapReadErr = -199;  ///< the fork is no well-formed resource file

/// Attributes of a resource.
enum : ResAttributes {
  resSysHeap = 64,
  resPurgeable = 32,
  resLocked = 16,
  resProtected = 8,
  resPreload = 4,
  resChanged = 2,
};
/// Attributes of a resource file.
enum : ResFileAttributes { mapReadOnly = 128, mapCompact = 64, mapChanged = 32 };

/// The result of this thread's last Resource Manager call.
OSErr ResError();

/// Adds an empty resource map to a file, which is made if it is missing. ResError: dupFNErr when
/// the file has one already.
void FSpCreateResFile(const FSSpec* spec, OSType creator, OSType fileType, ScriptCode scriptTag);
void HCreateResFile(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName);
/// The same for a file that exists.
OSErr FSCreateResourceFork(const FSRef* ref, UInt32 forkNameLength, const UniChar* forkName,
                           UInt32 flags);
/// Creates a file with a resource map. `newRef` and `newSpec` may be null.
void FSCreateResFile(const FSRef* parentRef, UInt32 nameLength, const UniChar* name,
                     FSCatalogInfoBitmap whichInfo, const FSCatalogInfo* catalogInfo, FSRef* newRef,
                     FSSpec* newSpec);

/// Open a resource file and make it the current one; -1 and ResError on failure: eofErr when there
/// is no resource map, mapReadErr when it is broken, opWrErr when someone writes it. fsWrPerm reads
/// too. Opening a file again that is open with as much permission makes it current and gives its
/// number.
ResFileRefNum FSpOpenResFile(const FSSpec* spec, SInt8 permission);
ResFileRefNum FSOpenResFile(const FSRef* ref, SInt8 permission);
ResFileRefNum HOpenResFile(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName,
                           SInt8 permission);

/// Writes what changed and closes; its handles are disposed of. When the writing fails the file
/// stays open, ResError says why, and nothing is lost.
void CloseResFile(ResFileRefNum refNum);
void UpdateResFile(ResFileRefNum refNum);
/// The current resource file; 0 when none is open.
ResFileRefNum CurResFile();
void UseResFile(ResFileRefNum refNum);
/// The file that a resource belongs to; -1 and resNotFound for other handles.
ResFileRefNum HomeResFile(Handle theResource);
ResFileAttributes GetResFileAttrs(ResFileRefNum refNum);
void SetResFileAttrs(ResFileRefNum refNum, ResFileAttributes attributes);

/// Null and resNotFound when there is none.
Handle GetResource(ResType theType, ResID theID);
Handle Get1Resource(ResType theType, ResID theID);
Handle GetNamedResource(ResType theType, ConstStr255Param name);
Handle Get1NamedResource(ResType theType, ConstStr255Param name);
/// Indices count from 1.
SInt16 CountResources(ResType theType);
SInt16 Count1Resources(ResType theType);
Handle GetIndResource(ResType theType, SInt16 index);
Handle Get1IndResource(ResType theType, SInt16 index);
SInt16 CountTypes();
SInt16 Count1Types();
void GetIndType(ResType* theType, SInt16 index);
void Get1IndType(ResType* theType, SInt16 index);

/// Whether resources are read when they are got (they are, at first).
void SetResLoad(Boolean load);
/// Reads a resource that has been got but not read.
void LoadResource(Handle theResource);
/// Gives back its memory. A changed resource, whose data would be lost, is not released.
void ReleaseResource(Handle theResource);
/// The handle becomes the caller's; the resource stays in the file. resAttrErr when it is changed.
void DetachResource(Handle theResource);
SInt32 GetResourceSizeOnDisk(Handle theResource);

/// A number above 127 that no resource of the type has.
ResID UniqueID(ResType theType);
ResID Unique1ID(ResType theType);
ResAttributes GetResAttrs(Handle theResource);
void SetResAttrs(Handle theResource, ResAttributes attributes);
void GetResInfo(Handle theResource, ResID* theID, ResType* theType, unsigned char* name);
/// An empty or null name leaves the name. resAttrErr when protected.
void SetResInfo(Handle theResource, ResID theID, ConstStr255Param name);

/// The handle becomes a resource of the current file. addResFailed when it is null or a resource
/// already, when there is no current file or it may not be written, or when it has a resource of
/// this type and number: one of the two could never be got.
void AddResource(Handle theData, ResType theType, ResID theID, ConstStr255Param name);
void ChangedResource(Handle theResource);
/// The resource leaves its file; the handle becomes the caller's. rmvResFailed when protected or
/// not of the current file.
void RemoveResource(Handle theResource);
/// Brings a changed resource to the disk.
void WriteResource(Handle theResource);
