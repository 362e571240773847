// The File Manager's references and the Folder Manager's look-ups, over POSIX.
#pragma once

#include "platform/CoreFoundation/CFBase.h"
#include "platform/CoreServices/MacTypes.h"

/// Opaque reference of an existing object. 80 bytes, freely copied and compared with
/// FSCompareFSRefs; owns nothing. All zero: refers to nothing.
struct FSRef {
  UInt8 hidden[80];
};
static_assert(sizeof(FSRef) == 80);

/// Error codes of the File and Folder Managers.
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
inline constexpr OSErr fBsyErr = -47;
inline constexpr OSErr dupFNErr = -48;
inline constexpr OSErr opWrErr = -49;
inline constexpr OSErr paramErr = -50;
inline constexpr OSErr rfNumErr = -51;
inline constexpr OSErr permErr = -54;
inline constexpr OSErr wrPermErr = -61;
inline constexpr OSErr memFullErr = -108;
inline constexpr OSErr dirNFErr = -120;
inline constexpr OSErr afpAccessDenied = -5000;
inline constexpr OSErr errFSBadFSRef = -1401;
inline constexpr OSErr errFSNameTooLong = -1410;

/// Domains: whose folders are meant.
enum : SInt16 {
  kOnSystemDisk = -32768,
  kSystemDomain = -32766,
  kLocalDomain = -32765,
  kNetworkDomain = -32764,
  kUserDomain = -32763,
};

/// Folder types with a place on this system.
enum : OSType {
  kLogsFolderType = 'logs',
  kFrameworksFolderType = 'fram',
  kQuickTimeComponentsFolderType = 'wcmp',
  kPreferencesFolderType = 'pref',
  kApplicationSupportFolderType = 'asup',
  kCachedDataFolderType = 'cach',
  kTemporaryFolderType = 'temp',
  kDesktopFolderType = 'desk',
  kDocumentsFolderType = 'docs',
  kCurrentUserFolderType = 'cusr',
};

inline constexpr Boolean kDontCreateFolder = 0;
inline constexpr Boolean kCreateFolder = 1;

/// The folder of `folderType` in `domain` into `foundRef`. With `createFolder`, a missing folder is
/// made (0700, parents too). fnfErr when it is missing or the pair has no place on this system.
/// docs/folders.md lists the mapping and the variables that override it.
OSErr FSFindFolder(SInt16 domain, OSType folderType, Boolean createFolder, FSRef* foundRef);

/// The object's absolute POSIX path, UTF-8, no trailing slash (but "/"), NUL-terminated.
OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 pathSize);

/// The reference of an existing path; `isDirectory` may be null. fnfErr when it does not exist.
OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory);
