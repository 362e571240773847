// Byte buffers.
#pragma once

#include "platform/CoreFoundation/CFBase.h"

enum CFDataSearchFlags : CFOptionFlags {
  kCFDataSearchBackwards = 1UL << 0,
  kCFDataSearchAnchored = 1UL << 1
};

CFTypeID CFDataGetTypeID();
/// A copy of `length` bytes. Null for a negative length, or a null buffer with a length above 0.
CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length);
/// Takes the buffer as it is. When the object ends, `bytesDeallocator` frees it: the default is
/// free(), kCFAllocatorNull leaves it to the caller. On failure the buffer stays the caller's.
CFDataRef CFDataCreateWithBytesNoCopy(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                      CFAllocatorRef bytesDeallocator);
/// An immutable copy; null for null.
CFDataRef CFDataCreateCopy(CFAllocatorRef allocator, CFDataRef data);
/// An empty mutable buffer. `capacity` above 0 is the length it never grows beyond, 0 sets no
/// limit.
CFMutableDataRef CFDataCreateMutable(CFAllocatorRef allocator, CFIndex capacity);
/// A mutable copy; null when `capacity` is above 0 and less than the data's length.
CFMutableDataRef CFDataCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity,
                                         CFDataRef data);

CFIndex CFDataGetLength(CFDataRef data);
/// The bytes, valid until the data is changed or ends; not null unless the data is.
const UInt8* CFDataGetBytePtr(CFDataRef data);
/// Null for immutable data.
UInt8* CFDataGetMutableBytePtr(CFMutableDataRef data);
/// Copies the bytes of `range` (cut at the data's bounds) to `buffer`.
void CFDataGetBytes(CFDataRef data, CFRange range, UInt8* buffer);
/// Where `dataToFind` lies within `searchRange`; location kCFNotFound and length 0 if nowhere.
CFRange CFDataFind(CFDataRef data, CFDataRef dataToFind, CFRange searchRange,
                   CFDataSearchFlags options);

// Changes. On immutable data, beyond a set capacity or out of range they change nothing.
/// Cuts, or fills up with zeros.
void CFDataSetLength(CFMutableDataRef data, CFIndex length);
void CFDataIncreaseLength(CFMutableDataRef data, CFIndex extraLength);
void CFDataAppendBytes(CFMutableDataRef data, const UInt8* bytes, CFIndex length);
void CFDataReplaceBytes(CFMutableDataRef data, CFRange range, const UInt8* newBytes,
                        CFIndex newLength);
void CFDataDeleteBytes(CFMutableDataRef data, CFRange range);
