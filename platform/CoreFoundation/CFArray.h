// Ordered collections.
//
// What an array does with its values (retain, compare, describe) is in its callbacks; without any
// the values are plain pointers. Reading from several threads is safe while nobody changes it.
#pragma once

#include "platform/CoreFoundation/CFBase.h"

using CFArrayRetainCallBack = const void* (*)(CFAllocatorRef allocator, const void* value);
using CFArrayReleaseCallBack = void (*)(CFAllocatorRef allocator, const void* value);
using CFArrayCopyDescriptionCallBack = CFStringRef (*)(const void* value);
using CFArrayEqualCallBack = Boolean (*)(const void* a, const void* b);
using CFArrayApplierFunction = void (*)(const void* value, void* context);
using CFComparatorFunction = CFComparisonResult (*)(const void* a, const void* b, void* context);

/// Each function may be null: nothing retained, compared by address, described as an address.
struct CFArrayCallBacks {
  CFIndex version;
  CFArrayRetainCallBack retain;
  CFArrayReleaseCallBack release;
  CFArrayCopyDescriptionCallBack copyDescription;
  CFArrayEqualCallBack equal;
};

extern const CFArrayCallBacks kCFTypeArrayCallBacks;  ///< values are objects, retained

CFTypeID CFArrayGetTypeID();
/// Null for a negative count, or null `values` with a count above 0. The callbacks are copied;
/// null ones mean plain pointers.
CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex count,
                         const CFArrayCallBacks* callBacks);
CFArrayRef CFArrayCreateCopy(CFAllocatorRef allocator, CFArrayRef array);
/// `capacity` is a hint.
CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                       const CFArrayCallBacks* callBacks);
CFMutableArrayRef CFArrayCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity,
                                           CFArrayRef array);

CFIndex CFArrayGetCount(CFArrayRef array);
/// Not retained for the caller; null out of range.
const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);
/// Copies the values of `range`, cut at the array's bounds.
void CFArrayGetValues(CFArrayRef array, CFRange range, const void** values);
Boolean CFArrayContainsValue(CFArrayRef array, CFRange range, const void* value);
CFIndex CFArrayGetCountOfValue(CFArrayRef array, CFRange range, const void* value);
/// kCFNotFound if nowhere in `range`.
CFIndex CFArrayGetFirstIndexOfValue(CFArrayRef array, CFRange range, const void* value);
CFIndex CFArrayGetLastIndexOfValue(CFArrayRef array, CFRange range, const void* value);
void CFArrayApplyFunction(CFArrayRef array, CFRange range, CFArrayApplierFunction applier,
                          void* context);
/// In a `range` sorted by `comparator`: the index of a match, or where the value would go.
CFIndex CFArrayBSearchValues(CFArrayRef array, CFRange range, const void* value,
                             CFComparatorFunction comparator, void* context);

// Changes. On an immutable array or out of range they change nothing.
void CFArrayAppendValue(CFMutableArrayRef array, const void* value);
void CFArrayAppendArray(CFMutableArrayRef array, CFArrayRef other, CFRange otherRange);
void CFArrayInsertValueAtIndex(CFMutableArrayRef array, CFIndex index, const void* value);
/// An index equal to the count appends.
void CFArraySetValueAtIndex(CFMutableArrayRef array, CFIndex index, const void* value);
void CFArrayRemoveValueAtIndex(CFMutableArrayRef array, CFIndex index);
void CFArrayRemoveAllValues(CFMutableArrayRef array);
void CFArrayReplaceValues(CFMutableArrayRef array, CFRange range, const void** newValues,
                          CFIndex newCount);
void CFArrayExchangeValuesAtIndices(CFMutableArrayRef array, CFIndex index1, CFIndex index2);
/// Equal values keep their order.
void CFArraySortValues(CFMutableArrayRef array, CFRange range, CFComparatorFunction comparator,
                       void* context);
