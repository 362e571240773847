// File specs of the older kind: volume, folder number and Pascal name.
//
// A volume's number is negative; 0 stands for the start-up volume. A folder's number is its node
// number on the volume, 2 for the root folder; 1 is "above" it. Numbers are looked up among the
// folders this process has met, then on the volume itself.
//
// Names are Mac Roman, up to 63 characters. An object whose name has more, or characters that Mac
// Roman lacks, bears in a file spec a name cut short, with '#' and its node number in
// hexadecimal before the extension ("A long nam#1A2B.txt"), and is found again by it. The calls'
// script codes make no difference to that.
#pragma once

#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/Script.h"

struct FSSpec {
  SInt16 vRefNum;
  SInt32 parID;
  Str63 name;
};
using FSSpecPtr = FSSpec*;

enum : SInt32 {
  fsRtParID = 1,  ///< the folder that a volume's root folder is said to lie in
  fsRtDirID = 2,  ///< a volume's root folder
};

/// The file spec of the object that volume, folder and name lead to. `fileName` may be empty
/// or null (the folder itself), a name, a partial path (":a:b", "a:b" if `dirID` has an entry of
/// this very name) or a full path ("Volume:a:b"); "::" goes up. A text that starts with '/' is a
/// POSIX path in UTF-8. fnfErr when all but the last part exist: the file spec is then that of
/// the object to be made. dirNFErr when an earlier part is missing, nsvErr for an unknown volume,
/// bdNamErr for a name that no object can have.
OSErr FSMakeFSSpec(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName, FSSpec* spec);

/// The reference of an existing object; fnfErr when there is none.
OSErr FSpMakeFSRef(const FSSpec* source, FSRef* newRef);

/// The file spec of a name in a folder, made short if need be; the object need not exist.
OSErr FSMakeFSSpecUnicode(const FSRef* parent, UInt32 nameLength, const UniChar* name,
                          FSSpec* spec);

/// Creates an empty file. dupFNErr when there is one.
OSErr FSpCreate(const FSSpec* spec, OSType creator, OSType fileType, ScriptCode scriptTag);
/// Creates a folder; `createdDirID` may be null.
OSErr FSpDirCreate(const FSSpec* spec, ScriptCode scriptTag, SInt32* createdDirID);
OSErr FSpDelete(const FSSpec* spec);
/// Renames in place. dupFNErr when the new name is taken.
OSErr FSpRename(const FSSpec* spec, ConstStr255Param newName);
/// Moves into the folder `dest`, which is on the same volume.
OSErr FSpCatMove(const FSSpec* source, const FSSpec* dest);
/// Of files; fnfErr for folders.
OSErr FSpGetFInfo(const FSSpec* spec, FInfo* fndrInfo);
OSErr FSpSetFInfo(const FSSpec* spec, const FInfo* fndrInfo);
/// Open the data fork or the resource fork; the number is FSOpenFork's.
OSErr FSpOpenDF(const FSSpec* spec, SInt8 permission, SInt16* refNum);
OSErr FSpOpenRF(const FSSpec* spec, SInt8 permission, SInt16* refNum);

/// The same by volume, folder and name.
OSErr HCreate(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName, OSType creator,
              OSType fileType);
OSErr HDelete(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName);
OSErr HRename(SInt16 vRefNum, SInt32 dirID, ConstStr255Param oldName, ConstStr255Param newName);
OSErr HGetFInfo(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName, FInfo* fndrInfo);
OSErr HSetFInfo(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName, const FInfo* fndrInfo);
OSErr HOpenDF(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName, SInt8 permission,
              SInt16* refNum);
OSErr HOpenRF(SInt16 vRefNum, SInt32 dirID, ConstStr255Param fileName, SInt8 permission,
              SInt16* refNum);

/// Brings what was written on a volume to its disk; `volName` may be null.
OSErr FlushVol(ConstStr255Param volName, SInt16 vRefNum);

/// Catalogue information by number and name. Dates are seconds since 1904-01-01, local time.
struct HFileInfo {
  StringPtr ioNamePtr;
  SInt16 ioVRefNum;
  SInt16 ioFDirIndex;
  SInt8 ioFlAttrib;
  FInfo ioFlFndrInfo;
  SInt32 ioDirID;
  SInt32 ioFlLgLen;
  SInt32 ioFlPyLen;
  SInt32 ioFlRLgLen;
  SInt32 ioFlRPyLen;
  UInt32 ioFlCrDat;
  UInt32 ioFlMdDat;
  UInt32 ioFlBkDat;
  FXInfo ioFlXFndrInfo;
  SInt32 ioFlParID;
};
struct DirInfo {
  StringPtr ioNamePtr;
  SInt16 ioVRefNum;
  SInt16 ioFDirIndex;
  SInt8 ioFlAttrib;
  DInfo ioDrUsrWds;
  SInt32 ioDrDirID;
  UInt16 ioDrNmFls;
  UInt32 ioDrCrDat;
  UInt32 ioDrMdDat;
  UInt32 ioDrBkDat;
  DXInfo ioDrFndrInfo;
  SInt32 ioDrParID;
};
union CInfoPBRec {
  HFileInfo hFileInfo;
  DirInfo dirInfo;
};
using CInfoPBPtr = CInfoPBRec*;

/// Bits of ioFlAttrib.
enum : SInt8 { kioFlAttribLockedMask = 0x01, kioFlAttribDirMask = 0x10 };

/// By `ioFDirIndex`: 0 the object `ioNamePtr` in folder `ioDirID`; below 0 the folder `ioDirID`
/// itself, whose name is written to `ioNamePtr` (room for 64 bytes) if that is not null; above 0
/// the folder's object of this index, by name order, its name written likewise, fnfErr past the
/// last. Fills the record of the object's kind (kioFlAttribDirMask tells).
OSErr PBGetCatInfoSync(CInfoPBPtr paramBlock);
