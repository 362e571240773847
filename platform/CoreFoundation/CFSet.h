// Collections of distinct values.
//
// Iteration follows the order in which the values came in. Values are handled by callbacks;
// without any they are plain pointers. Reading from several threads is safe while nobody changes
// it.
#pragma once

#include "platform/CoreFoundation/CFBase.h"

using CFSetRetainCallBack = const void* (*)(CFAllocatorRef allocator, const void* value);
using CFSetReleaseCallBack = void (*)(CFAllocatorRef allocator, const void* value);
using CFSetCopyDescriptionCallBack = CFStringRef (*)(const void* value);
using CFSetEqualCallBack = Boolean (*)(const void* a, const void* b);
using CFSetHashCallBack = CFHashCode (*)(const void* value);
using CFSetApplierFunction = void (*)(const void* value, void* context);

struct CFSetCallBacks {
  CFIndex version;
  CFSetRetainCallBack retain;
  CFSetReleaseCallBack release;
  CFSetCopyDescriptionCallBack copyDescription;
  CFSetEqualCallBack equal;
  CFSetHashCallBack hash;
};

extern const CFSetCallBacks kCFTypeSetCallBacks;        ///< objects, retained
extern const CFSetCallBacks kCFCopyStringSetCallBacks;  ///< strings are copied

CFTypeID CFSetGetTypeID();
/// Null for a negative count, or null `values` with a count above 0.
CFSetRef CFSetCreate(CFAllocatorRef allocator, const void** values, CFIndex count,
                     const CFSetCallBacks* callBacks);
CFSetRef CFSetCreateCopy(CFAllocatorRef allocator, CFSetRef collection);
/// `capacity` is a hint.
CFMutableSetRef CFSetCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                   const CFSetCallBacks* callBacks);
CFMutableSetRef CFSetCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity,
                                       CFSetRef collection);

CFIndex CFSetGetCount(CFSetRef collection);  ///< distinct values
/// 1 or 0.
CFIndex CFSetGetCountOfValue(CFSetRef collection, const void* value);
Boolean CFSetContainsValue(CFSetRef collection, const void* value);
/// The value as the collection holds it, not retained for the caller; null when there is none.
const void* CFSetGetValue(CFSetRef collection, const void* value);
/// True, and the value as held through `actual` (which may be null), when it is there.
Boolean CFSetGetValueIfPresent(CFSetRef collection, const void* candidate, const void** actual);
/// `values` has room for CFSetGetCount pointers.
void CFSetGetValues(CFSetRef collection, const void** values);
/// The collection must not be changed meanwhile.
void CFSetApplyFunction(CFSetRef collection, CFSetApplierFunction applier, void* context);

// Changes. On an immutable collection they change nothing.
/// Adds only when no equal value is there.
void CFSetAddValue(CFMutableSetRef collection, const void* value);
/// Takes the place of an equal value, if there is one.
void CFSetReplaceValue(CFMutableSetRef collection, const void* value);
/// Adds, or takes the place of the equal value that is there.
void CFSetSetValue(CFMutableSetRef collection, const void* value);
/// Takes the value out, if it is there.
void CFSetRemoveValue(CFMutableSetRef collection, const void* value);
void CFSetRemoveAllValues(CFMutableSetRef collection);
