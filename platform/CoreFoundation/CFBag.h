// Collections that count how often a value was added.
//
// Iteration follows the order in which the values came in. Values are handled by callbacks;
// without any they are plain pointers. Reading from several threads is safe while nobody changes
// it.
#pragma once

#include "platform/CoreFoundation/CFBase.h"

using CFBagRetainCallBack = const void* (*)(CFAllocatorRef allocator, const void* value);
using CFBagReleaseCallBack = void (*)(CFAllocatorRef allocator, const void* value);
using CFBagCopyDescriptionCallBack = CFStringRef (*)(const void* value);
using CFBagEqualCallBack = Boolean (*)(const void* a, const void* b);
using CFBagHashCallBack = CFHashCode (*)(const void* value);
using CFBagApplierFunction = void (*)(const void* value, void* context);

struct CFBagCallBacks {
  CFIndex version;
  CFBagRetainCallBack retain;
  CFBagReleaseCallBack release;
  CFBagCopyDescriptionCallBack copyDescription;
  CFBagEqualCallBack equal;
  CFBagHashCallBack hash;
};

extern const CFBagCallBacks kCFTypeBagCallBacks;        ///< objects, retained
extern const CFBagCallBacks kCFCopyStringBagCallBacks;  ///< strings are copied

CFTypeID CFBagGetTypeID();
/// Null for a negative count, or null `values` with a count above 0.
CFBagRef CFBagCreate(CFAllocatorRef allocator, const void** values, CFIndex count,
                     const CFBagCallBacks* callBacks);
CFBagRef CFBagCreateCopy(CFAllocatorRef allocator, CFBagRef collection);
/// `capacity` is a hint.
CFMutableBagRef CFBagCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                   const CFBagCallBacks* callBacks);
CFMutableBagRef CFBagCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity,
                                       CFBagRef collection);

CFIndex CFBagGetCount(CFBagRef collection);  ///< occurrences of all values together
/// How often the value is there.
CFIndex CFBagGetCountOfValue(CFBagRef collection, const void* value);
Boolean CFBagContainsValue(CFBagRef collection, const void* value);
/// The value as the collection holds it, not retained for the caller; null when there is none.
const void* CFBagGetValue(CFBagRef collection, const void* value);
/// True, and the value as held through `actual` (which may be null), when it is there.
Boolean CFBagGetValueIfPresent(CFBagRef collection, const void* candidate, const void** actual);
/// `values` has room for CFBagGetCount pointers.
void CFBagGetValues(CFBagRef collection, const void** values);
/// The collection must not be changed meanwhile.
void CFBagApplyFunction(CFBagRef collection, CFBagApplierFunction applier, void* context);

// Changes. On an immutable collection they change nothing.
/// One more of the value.
void CFBagAddValue(CFMutableBagRef collection, const void* value);
/// Takes the place of an equal value, if there is one.
void CFBagReplaceValue(CFMutableBagRef collection, const void* value);
/// Adds, or takes the place of every equal value that is there, keeping their number.
void CFBagSetValue(CFMutableBagRef collection, const void* value);
/// One less of the value, if it is there.
void CFBagRemoveValue(CFMutableBagRef collection, const void* value);
void CFBagRemoveAllValues(CFMutableBagRef collection);
