// The File Manager over POSIX: references of objects, catalogue information, and creating,
// renaming, moving and deleting objects. Forks are in FileForks.h, file specs
// in FileSpecs.h, folders by purpose in Folders.h, Finder information in Finder.h; all are
// included.
//
// Every call is safe to make from several threads. Calls that find an object by its reference:
// errFSBadFSRef for a record that is no reference, fnfErr when the object is gone or another has
// taken its place, afpAccessDenied when a folder's rights hide it.
#pragma once

#include "platform/CoreFoundation/CFBase.h"
#include "platform/CoreServices/Finder.h"
#include "platform/CoreServices/MacTypes.h"
#include "platform/CoreServices/TextCommon.h"

/// Opaque reference of an existing object. 80 bytes, freely copied and compared with
/// FSCompareFSRefs; owns nothing. All zero: refers to nothing.
///
/// It stays valid while its object lives: across a rename or move made through this layer, also of
/// a folder above the object, and across a rename within its folder made by someone else. It fails
/// (FSGetCatalogInfo) once the object is gone, also when another object has its name or inode.
/// Good within the process only.
struct FSRef {
  UInt8 hidden[80];
};
static_assert(sizeof(FSRef) == 80);

using FSVolumeRefNum = SInt16;
inline constexpr FSVolumeRefNum kFSInvalidVolumeRefNum = 0;

/// Error codes of the File and Folder Managers.
inline constexpr OSErr dirFulErr = -33;
inline constexpr OSErr dskFulErr = -34;
inline constexpr OSErr nsvErr = -35;
inline constexpr OSErr ioErr = -36;
inline constexpr OSErr bdNamErr = -37;
inline constexpr OSErr fnOpnErr = -38;
inline constexpr OSErr eofErr = -39;
inline constexpr OSErr posErr = -40;
inline constexpr OSErr tmfoErr = -42;
inline constexpr OSErr fnfErr = -43;
inline constexpr OSErr wPrErr = -44;
inline constexpr OSErr fLckdErr = -45;
inline constexpr OSErr vLckdErr = -46;
inline constexpr OSErr fBsyErr = -47;
inline constexpr OSErr dupFNErr = -48;
inline constexpr OSErr opWrErr = -49;
inline constexpr OSErr paramErr = -50;
inline constexpr OSErr rfNumErr = -51;
inline constexpr OSErr permErr = -54;
inline constexpr OSErr wrPermErr = -61;
inline constexpr OSErr memFullErr = -108;
inline constexpr OSErr dirNFErr = -120;
inline constexpr OSErr badMovErr = -122;
inline constexpr OSErr wrgVolTypErr = -123;
inline constexpr OSErr fsDSIntErr = -127;  ///< a side file is broken; it is left as it is
inline constexpr OSErr notAFileErr = -1302;
inline constexpr OSErr diffVolErr = -1303;
inline constexpr OSErr errFSBadFSRef = -1401;
inline constexpr OSErr errFSBadForkName = -1402;
inline constexpr OSErr errFSBadForkRef = -1404;
inline constexpr OSErr errFSBadInfoBitmap = -1405;
inline constexpr OSErr errFSMissingName = -1406;
inline constexpr OSErr errFSNotAFolder = -1407;
inline constexpr OSErr errFSForkNotFound = -1409;
inline constexpr OSErr errFSNameTooLong = -1410;
inline constexpr OSErr errFSForkExists = -1413;
inline constexpr OSErr errFSNoMoreItems = -1417;
inline constexpr OSErr errFSBadIteratorFlags = -1422;
inline constexpr OSErr errFSIteratorNotFound = -1423;
inline constexpr OSErr errFSRefsDifferent = -1420;
inline constexpr OSErr afpAccessDenied = -5000;
inline constexpr OSErr pathTooLongErr = -2110;

/// Which fields of FSCatalogInfo a call reads or writes.
using FSCatalogInfoBitmap = UInt32;
enum : FSCatalogInfoBitmap {
  kFSCatInfoNone = 0x00000000,
  kFSCatInfoTextEncoding = 0x00000001,
  kFSCatInfoNodeFlags = 0x00000002,
  kFSCatInfoVolume = 0x00000004,
  kFSCatInfoParentDirID = 0x00000008,
  kFSCatInfoNodeID = 0x00000010,
  kFSCatInfoCreateDate = 0x00000020,
  kFSCatInfoContentMod = 0x00000040,
  kFSCatInfoAttrMod = 0x00000080,
  kFSCatInfoAccessDate = 0x00000100,
  kFSCatInfoBackupDate = 0x00000200,
  kFSCatInfoPermissions = 0x00000400,
  kFSCatInfoFinderInfo = 0x00000800,
  kFSCatInfoFinderXInfo = 0x00001000,
  kFSCatInfoValence = 0x00002000,
  kFSCatInfoDataSizes = 0x00004000,
  kFSCatInfoRsrcSizes = 0x00008000,
  kFSCatInfoSharingFlags = 0x00010000,
  kFSCatInfoUserPrivs = 0x00020000,
  kFSCatInfoUserAccess = 0x00080000,
  kFSCatInfoAllDates = 0x000003E0,
  kFSCatInfoGettableInfo = 0x0003FFFF,
  kFSCatInfoSettableInfo = 0x00001FE3,
  kFSCatInfoReserved = 0xFFFC0000,
};

/// Bits of FSCatalogInfo::nodeFlags.
enum : UInt16 {
  kFSNodeLockedBit = 0,
  kFSNodeLockedMask = 0x0001,  ///< nobody may write it
  kFSNodeResOpenBit = 2,
  kFSNodeResOpenMask = 0x0004,  ///< this process has its resource fork open
  kFSNodeDataOpenBit = 3,
  kFSNodeDataOpenMask = 0x0008,  ///< this process has its data fork open
  kFSNodeIsDirectoryBit = 4,
  kFSNodeIsDirectoryMask = 0x0010,
  kFSNodeForkOpenBit = 7,
  kFSNodeForkOpenMask = 0x0080,  ///< this process has a fork of it open
};

struct FSPermissionInfo {
  UInt32 userID;
  UInt32 groupID;
  UInt8 reserved1;
  UInt8 userAccess;  ///< what this process may do: 4 read, 2 write, 1 search
  UInt16 mode;       ///< POSIX type and permission bits
  UInt32 reserved2;
};

struct FSCatalogInfo {
  UInt16 nodeFlags;
  FSVolumeRefNum volume;
  UInt32 parentDirID;  ///< 1 for a volume's root folder
  UInt32 nodeID;       ///< 2 for a volume's root folder
  UInt8 sharingFlags;
  UInt8 userPrivileges;
  UInt8 reserved1;
  UInt8 reserved2;
  UTCDateTime createDate;  ///< birth time; the earliest of the other dates where there is none
  UTCDateTime contentModDate;
  UTCDateTime attributeModDate;
  UTCDateTime accessDate;
  UTCDateTime backupDate;  ///< zero when never backed up
  FSPermissionInfo permissions;
  UInt8 finderInfo[16];     ///< an FInfo (of folders a DInfo) as it lies in memory
  UInt8 extFinderInfo[16];  ///< an FXInfo (of folders a DXInfo) as it lies in memory
  UInt64 dataLogicalSize;
  UInt64 dataPhysicalSize;
  UInt64 rsrcLogicalSize;
  UInt64 rsrcPhysicalSize;
  UInt32 valence;  ///< number of objects in a folder
  TextEncoding textEncodingHint;
};

struct FSSpec;

/// The object's absolute POSIX path, UTF-8 (exactly the bytes on disk), no trailing slash (but
/// "/"), NUL-terminated, into `pathSize` bytes. pathTooLongErr when it does not fit.
OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 pathSize);

/// The reference of an existing path, symbolic links followed; a relative path counts from the
/// working directory; "/Volumes/NAME/..." leads to the volume of that name. `isDirectory` may be
/// null. fnfErr when it does not exist or its links run in a circle.
OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory);

/// noErr when both refer to the same object, else errFSRefsDifferent (also when both exist but on
/// different volumes); a reference that is not valid gives its error.
OSErr FSCompareFSRefs(const FSRef* ref1, const FSRef* ref2);

/// Reads what `whichInfo` names into `catalogInfo`, and, each if not null, the object's own name,
/// its file spec and its folder's reference (all zero for the root folder).
/// With everything null it is the test whether `ref` still refers to an object.
OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfo,
                       HFSUniStr255* outName, FSSpec* fsSpec, FSRef* parentRef);

/// Writes what `whichInfo` (of kFSCatInfoSettableInfo) names: Finder information, dates and
/// permissions. errFSBadInfoBitmap for other bits. The creation date and the backup date are kept
/// in the side file (AppleDouble.h), since POSIX cannot set the one and has not the other; the date
/// of an attribute change and the text encoding, which follow from other things, are accepted and
/// not kept.
OSErr FSSetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo,
                       const FSCatalogInfo* catalogInfo);

// Names are up to 255 UTF-16 units; on disk they are UTF-8, byte for byte: no change of case or
// composition. A byte of a name on disk that is not valid UTF-8 is the unit 0xDC00 + byte, so that
// every name that is on disk can be written as units and found again. A name with '/' or NUL in it,
// or one that is "." or "..", is never found (fnfErr) nor given (bdNamErr).

/// The reference of the object `name` in the folder `parentRef`; a symbolic link is an object of
/// its own here. fnfErr when there is none, errFSNotAFolder when the parent is none,
/// errFSNameTooLong.
OSErr FSMakeFSRefUnicode(const FSRef* parentRef, UInt32 nameLength, const UniChar* name,
                         TextEncoding textEncodingHint, FSRef* newRef);

/// Create an empty file (0666, less the umask) or folder (0777, less the umask) with the
/// catalogue information that `whichInfo` names. `newRef`, `newSpec` and `newDirID` may be null.
/// dupFNErr when the name is taken; fsDSIntErr when a broken side file bears the name already.
/// When the information cannot be set, nothing is created.
OSErr FSCreateFileUnicode(const FSRef* parentRef, UInt32 nameLength, const UniChar* name,
                          FSCatalogInfoBitmap whichInfo, const FSCatalogInfo* catalogInfo,
                          FSRef* newRef, FSSpec* newSpec);
OSErr FSCreateDirectoryUnicode(const FSRef* parentRef, UInt32 nameLength, const UniChar* name,
                               FSCatalogInfoBitmap whichInfo, const FSCatalogInfo* catalogInfo,
                               FSRef* newRef, FSSpec* newSpec, UInt32* newDirID);

/// Deletes a file, or a folder with no objects in it (else fBsyErr), with its side file.
OSErr FSDeleteObject(const FSRef* ref);

/// Moves an object under its name into another folder of the same volume (else diffVolErr).
/// dupFNErr when the name is taken there, badMovErr for a folder moved into itself. `newRef` may be
/// null; `ref` stays good too.
OSErr FSMoveObject(const FSRef* ref, const FSRef* destDirectory, FSRef* newRef);
/// Renames an object in its folder. dupFNErr when the name is taken.
OSErr FSRenameUnicode(const FSRef* ref, UInt32 nameLength, const UniChar* name,
                      TextEncoding textEncodingHint, FSRef* newRef);

using FSIterator = struct LumivaneFSIterator*;
using FSIteratorFlags = UInt32;
enum : FSIteratorFlags { kFSIterateFlat = 0, kFSIterateSubtree = 1, kFSIterateDelete = 2 };

/// Goes through a folder's objects, side files left out, in no order. FSCloseIterator ends it.
/// errFSBadIteratorFlags for kFSIterateDelete.
OSErr FSOpenIterator(const FSRef* container, FSIteratorFlags iteratorFlags, FSIterator* iterator);
OSErr FSCloseIterator(FSIterator iterator);
/// The next objects, `maximumObjects` at most; arrays may be null. errFSNoMoreItems with
/// `actualObjects` below the maximum when these were the last. `containerChanged`, if not null, is
/// false always.
OSErr FSGetCatalogInfoBulk(FSIterator iterator, ItemCount maximumObjects, ItemCount* actualObjects,
                           Boolean* containerChanged, FSCatalogInfoBitmap whichInfo,
                           FSCatalogInfo* catalogInfos, FSRef* refs, FSSpec* specs,
                           HFSUniStr255* names);

using FSVolumeInfoBitmap = UInt32;
enum : FSVolumeInfoBitmap {
  kFSVolInfoNone = 0x0000,
  kFSVolInfoCreateDate = 0x0001,
  kFSVolInfoModDate = 0x0002,
  kFSVolInfoBackupDate = 0x0004,
  kFSVolInfoCheckedDate = 0x0008,
  kFSVolInfoFileCount = 0x0010,
  kFSVolInfoDirCount = 0x0020,
  kFSVolInfoSizes = 0x0040,
  kFSVolInfoBlocks = 0x0080,
  kFSVolInfoNextAlloc = 0x0100,
  kFSVolInfoRsrcClump = 0x0200,
  kFSVolInfoDataClump = 0x0400,
  kFSVolInfoNextID = 0x0800,
  kFSVolInfoFinderInfo = 0x1000,
  kFSVolInfoFlags = 0x2000,
  kFSVolInfoFSInfo = 0x4000,
  kFSVolInfoDriveInfo = 0x8000,
  kFSVolInfoGettableInfo = 0xFFFF,
};
/// Bits of FSVolumeInfo::flags.
enum : UInt16 { kFSVolFlagHardwareLockedMask = 0x0080, kFSVolFlagSoftwareLockedMask = 0x8000 };

struct FSVolumeInfo {
  UTCDateTime createDate;  ///< the root folder's
  UTCDateTime modifyDate;
  UTCDateTime backupDate;   ///< zero: not kept
  UTCDateTime checkedDate;  ///< zero: not kept
  UInt32 fileCount;         ///< files and folders together: POSIX does not tell them apart
  UInt32 folderCount;       ///< 0
  UInt64 totalBytes;
  UInt64 freeBytes;  ///< for ordinary users
  UInt32 blockSize;
  UInt32 totalBlocks;
  UInt32 freeBlocks;
  UInt32 nextAllocation;  ///< 0
  UInt32 rsrcClumpSize;   ///< the block size
  UInt32 dataClumpSize;   ///< the block size
  UInt32 nextCatalogID;   ///< 0
  UInt8 finderInfo[32];   ///< zero
  UInt16 flags;
  UInt16 filesystemID;  ///< 0
  UInt16 signature;     ///< 'H+'
  UInt16 driveNumber;   ///< 1
  SInt16 driverRefNum;  ///< 0
};

/// Mounted volumes by number (`volumeIndex` 0) or by index from 1 (nsvErr past the last). All
/// pointers may be null. The start-up volume is the first and bears the name "Root"; the others
/// bear the name of the folder they are mounted on, with a number where that is not unique.
OSErr FSGetVolumeInfo(FSVolumeRefNum volume, ItemCount volumeIndex, FSVolumeRefNum* actualVolume,
                      FSVolumeInfoBitmap whichInfo, FSVolumeInfo* info, HFSUniStr255* volumeName,
                      FSRef* rootDirectory);

// The rest of the file layer, which needs the types above.
#include "platform/CoreServices/FileForks.h"
#include "platform/CoreServices/FileSpecs.h"
#include "platform/CoreServices/Folders.h"
