// A file's two forks by name and reference number. The data fork is the file itself; the resource
// fork lies in its AppleDouble side file (AppleDouble.h) and is written by replacing that file
// whole, so that a crash leaves the fork as it was before the write or after it.
//
// Both forks of every file exist always, if only with no bytes: opening or deleting an absent
// resource fork succeeds. Folders have no forks.
#pragma once

#include "platform/CoreServices/Files.h"

using FSIORefNum = SInt16;
inline constexpr FSIORefNum kFSInvalidForkRefNum = 0;

/// Permissions. Of one fork there is one opener at most in this process that asked for fsWrPerm or
/// fsRdWrPerm, and of a resource fork one in all processes.
enum : SInt8 {
  fsCurPerm = 0,  ///< fsRdWrPerm where it can be had, else fsRdPerm
  fsRdPerm = 1,
  fsWrPerm = 2,
  fsRdWrPerm = 3,
  fsRdWrShPerm = 4,  ///< reading and writing, shared with others that ask for the same
};

/// What an offset counts from. Read and write calls may add noCacheMask and the like; they are
/// ignored.
enum : UInt16 {
  fsAtMark = 0,  ///< the current position; the offset is ignored
  fsFromStart = 1,
  fsFromLEOF = 2,
  fsFromMark = 3,
};

/// The names of the forks: empty, and "RESOURCE_FORK".
OSErr FSGetDataForkName(HFSUniStr255* dataForkName);
OSErr FSGetResourceForkName(HFSUniStr255* resourceForkName);

/// Opens a fork at position 0 under a number of its own, above 0. errFSBadForkName for another
/// name, opWrErr when someone writes it already, wrPermErr without the right to write,
/// notAFileErr for folders, tmfoErr when 1024 forks are open, fsDSIntErr when the side file is
/// broken.
OSErr FSOpenFork(const FSRef* ref, UInt32 forkNameLength, const UniChar* forkName,
                 SInt8 permissions, FSIORefNum* forkRefNum);
/// rfNumErr for a number that is not open; here as in all calls below.
OSErr FSCloseFork(FSIORefNum forkRefNum);

/// Reads up to `requestCount` bytes and moves the position behind them. `actualCount` may be null.
/// eofErr when the fork ended before `requestCount` bytes, posErr for a position below 0,
/// paramErr for a position behind the end in fsFromLEOF's sense only if below 0.
OSErr FSReadFork(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset,
                 ByteCount requestCount, void* buffer, ByteCount* actualCount);
/// Writes and moves the position; a gap behind the old end reads as zeros. wrPermErr for a fork
/// open for reading; dskFulErr when it does not fit, also past 2^31 - 1 bytes of a resource fork.
OSErr FSWriteFork(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset,
                  ByteCount requestCount, const void* buffer, ByteCount* actualCount);

OSErr FSGetForkPosition(FSIORefNum forkRefNum, SInt64* position);
/// posErr for a position below 0, eofErr (the position goes to the end) for one behind the end.
OSErr FSSetForkPosition(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset);
OSErr FSGetForkSize(FSIORefNum forkRefNum, SInt64* forkSize);
/// Cuts or extends with zeros; a position behind the new end goes to the end.
OSErr FSSetForkSize(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset);
/// Brings what was written to the disk.
OSErr FSFlushFork(FSIORefNum forkRefNum);

/// Makes sure that a fork exists; noErr when it does. A resource fork with no bytes takes no room.
OSErr FSCreateFork(const FSRef* ref, UInt32 forkNameLength, const UniChar* forkName);
/// Empties a fork. fBsyErr while this process has it open.
OSErr FSDeleteFork(const FSRef* ref, UInt32 forkNameLength, const UniChar* forkName);

/// The file that an open fork belongs to, by its current reference; `forkName` may be null.
OSErr FSGetForkFile(FSIORefNum forkRefNum, FSRef* ref, HFSUniStr255* forkName);
