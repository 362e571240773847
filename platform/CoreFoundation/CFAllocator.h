// Allocators: who frees a buffer that an object has taken over.
//
// Objects themselves always live on the C++ heap, whatever allocator their creation names. An
// allocator matters only as the deallocator of a "no copy" creation.
#pragma once

#include "platform/CoreFoundation/CFBase.h"

using CFAllocatorAllocateCallBack = void* (*)(CFIndex size, CFOptionFlags hint, void* info);
using CFAllocatorReallocateCallBack = void* (*)(void* ptr, CFIndex newSize, CFOptionFlags hint,
                                                void* info);
using CFAllocatorDeallocateCallBack = void (*)(void* ptr, void* info);

/// The functions of an allocator of one's own; each may be null (nothing happens then, and what is
/// allocated is null). `info` is handed to all of them and is the caller's to keep alive.
struct CFAllocatorContext {
  CFIndex version;
  void* info;
  const void* (*retain)(const void* info);
  void (*release)(const void* info);
  CFStringRef (*copyDescription)(const void* info);
  CFAllocatorAllocateCallBack allocate;
  CFAllocatorReallocateCallBack reallocate;
  CFAllocatorDeallocateCallBack deallocate;
  CFIndex (*preferredSize)(CFIndex size, CFOptionFlags hint, void* info);
};

extern const CFAllocatorRef kCFAllocatorMalloc;  ///< malloc and free, as the default does
extern const CFAllocatorRef kCFAllocatorNull;    ///< allocates and frees nothing

CFTypeID CFAllocatorGetTypeID();
/// A new allocator with a copy of `context`, owned by the caller; null for a null context.
/// `context->retain` is called once with the information, `release` when the allocator goes.
CFAllocatorRef CFAllocatorCreate(CFAllocatorRef allocator, const CFAllocatorContext* context);
/// `size` bytes, or null when there are none to be had or `size` is 0 or below.
void* CFAllocatorAllocate(CFAllocatorRef allocator, CFIndex size, CFOptionFlags hint);
/// The block grown or shrunk. A null `ptr` allocates, a size of 0 or below frees and yields null.
void* CFAllocatorReallocate(CFAllocatorRef allocator, void* ptr, CFIndex newSize,
                            CFOptionFlags hint);
void CFAllocatorDeallocate(CFAllocatorRef allocator, void* ptr);
