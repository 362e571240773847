// Relocatable and fixed memory blocks.
//
// A Handle is the address of a master pointer; the block it points at may move whenever its size
// grows while it is not locked. Every call accepts null, disposed and foreign handles: it then
// changes nothing and reports an error, as a result or through `MemError`. All calls are
// thread-safe; what lies in a block is the caller's to guard.
//
// Behind the stated size of every block lie `kMacMemorySlack` more bytes that belong to it, so that
// code which works in pairs of pixels or in vectors may run over the end of an odd row. They are
// zero at first, are not counted in any size, and their content is never kept on purpose.
#pragma once

#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/MacTypes.h"

inline constexpr OSErr nilHandleErr = -109;  ///< null handle, or an emptied one
inline constexpr OSErr memWZErr = -111;      ///< not a live block of this memory manager
inline constexpr OSErr memLockedErr = -117;  ///< the block is locked

/// Bytes behind every block that may be read and written although they are not part of its size.
inline constexpr Size kMacMemorySlack = 64;

/// Bits of a handle's state as `HGetState` returns it.
inline constexpr SInt8 kHandleLockedBit = 7;
inline constexpr SInt8 kHandlePurgeableBit = 6;
inline constexpr SInt8 kHandleResourceBit = 5;

/// A new unlocked block of `byteCount` bytes (0 or more), which the caller disposes of. Null, and
/// memFullErr from `MemError`, when there is no memory or the size is negative. The content of a
/// `NewHandle` is undefined, that of a `NewHandleClear` zero.
Handle NewHandle(Size byteCount);
Handle NewHandleClear(Size byteCount);

/// Frees the block and its master pointer, locked or not. MemError: nilHandleErr, memWZErr.
void DisposeHandle(Handle h);

/// Frees the block but keeps the master pointer, which becomes null. memLockedErr when locked.
void EmptyHandle(Handle h);

/// Gives the handle a block of `byteCount` bytes of undefined content in place of its old one.
/// memLockedErr when locked; memFullErr leaves the old block.
void ReallocateHandle(Handle h, Size byteCount);

/// The size in bytes; 0, with an error from `MemError`, for what is no handle or is emptied.
Size GetHandleSize(Handle h);

/// Grows or shrinks the block, keeping what both sizes share; new bytes are undefined. A locked
/// block never moves: growing it works only within the memory it has (memFullErr otherwise).
void SetHandleSize(Handle h, Size newSize);

/// Locks the block at its address. Locks do not nest: one `HUnlock` ends any number of them.
void HLock(Handle h);
void HUnlock(Handle h);
/// Moves a block out of the way before a long lock. Blocks here never stand in each other's way, so
/// that nothing moves; the error is memLockedErr for a locked block.
void MoveHHi(Handle h);
void HLockHi(Handle h);

void HPurge(Handle h);
void HNoPurge(Handle h);
void HSetRBit(Handle h);
void HClrRBit(Handle h);

/// The handle's flags: bit 7 locked, 6 purgeable, 5 resource; the others are 0. 0 on error.
SInt8 HGetState(Handle h);
/// Sets all three flags at once, as `HGetState` returned them.
void HSetState(Handle h, SInt8 flags);

/// Whether this is the address of a live master pointer.
Boolean IsHandleValid(Handle h);

/// Replaces `*h` by a new handle with a copy of its block; the old one stays the caller's. On error
/// `*h` is unchanged.
OSErr HandToHand(Handle* h);
/// A new handle with a copy of `size` bytes at `source`. On error `*destination` becomes null.
OSErr PtrToHand(const void* source, Handle* destination, Size size);
/// Copies over the old content of `destination`, which takes on the size.
OSErr PtrToXHand(const void* source, Handle destination, Size size);
/// Appends a copy of `size` bytes at `source`, which may lie in the block itself.
OSErr PtrAndHand(const void* source, Handle destination, Size size);
/// Appends a copy of `source`'s block to `destination`'s; the two may be the same.
OSErr HandAndHand(Handle source, Handle destination);

/// The result of the calling thread's last call of this file that returns no error itself.
OSErr MemError();

/// Fixed blocks, 64-byte aligned. Null and memFullErr as for handles.
Ptr NewPtr(Size byteCount);
Ptr NewPtrClear(Size byteCount);
/// MemError: memWZErr for what is no live fixed block; null is accepted without an error.
void DisposePtr(Ptr p);
Size GetPtrSize(Ptr p);
Boolean IsPointerValid(Ptr p);

/// Copies bytes between areas that may overlap.
void BlockMove(const void* source, void* destination, Size byteCount);
void BlockMoveData(const void* source, void* destination, Size byteCount);
void BlockZero(void* destination, Size byteCount);

/// What is alive at this moment, for tests and diagnostics: a leak shows as a number that grows.
struct MacMemoryCounters {
  SInt64 handles;       ///< live handles, emptied ones included
  SInt64 handleBytes;   ///< sum of their sizes
  SInt64 pointers;      ///< live fixed blocks
  SInt64 pointerBytes;  ///< sum of their sizes
};
MacMemoryCounters MacMemoryGetCounters();
