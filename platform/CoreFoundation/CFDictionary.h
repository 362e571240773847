// Associations of keys with values.
//
// Iteration, GetKeysAndValues and the description follow the order in which the keys came in;
// setting a key that is there keeps its place. Keys and values are handled by callbacks; without
// any they are plain pointers. Reading from several threads is safe while nobody changes it.
#pragma once

#include "platform/CoreFoundation/CFBase.h"

using CFDictionaryRetainCallBack = const void* (*)(CFAllocatorRef allocator, const void* value);
using CFDictionaryReleaseCallBack = void (*)(CFAllocatorRef allocator, const void* value);
using CFDictionaryCopyDescriptionCallBack = CFStringRef (*)(const void* value);
using CFDictionaryEqualCallBack = Boolean (*)(const void* a, const void* b);
using CFDictionaryHashCallBack = CFHashCode (*)(const void* value);
using CFDictionaryApplierFunction = void (*)(const void* key, const void* value, void* context);

struct CFDictionaryKeyCallBacks {
  CFIndex version;
  CFDictionaryRetainCallBack retain;
  CFDictionaryReleaseCallBack release;
  CFDictionaryCopyDescriptionCallBack copyDescription;
  CFDictionaryEqualCallBack equal;
  CFDictionaryHashCallBack hash;
};
struct CFDictionaryValueCallBacks {
  CFIndex version;
  CFDictionaryRetainCallBack retain;
  CFDictionaryReleaseCallBack release;
  CFDictionaryCopyDescriptionCallBack copyDescription;
  CFDictionaryEqualCallBack equal;
};

extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;  ///< objects, retained
/// Objects, copied when they are strings (a changing key would be lost), retained otherwise.
extern const CFDictionaryKeyCallBacks kCFCopyStringDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;  ///< objects, retained

CFTypeID CFDictionaryGetTypeID();
/// Of keys that are equal the first stays, as in CFDictionaryAddValue. Null for a negative count,
/// or null arrays with a count above 0.
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void** keys, const void** values,
                                   CFIndex count, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks);
CFDictionaryRef CFDictionaryCreateCopy(CFAllocatorRef allocator, CFDictionaryRef dictionary);
/// `capacity` is a hint.
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks);
CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity,
                                                     CFDictionaryRef dictionary);

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);
Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key);
Boolean CFDictionaryContainsValue(CFDictionaryRef dictionary, const void* value);
CFIndex CFDictionaryGetCountOfKey(CFDictionaryRef dictionary, const void* key);
CFIndex CFDictionaryGetCountOfValue(CFDictionaryRef dictionary, const void* value);
/// Not retained for the caller; null when there is none.
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);
/// True, and the value through `value` (which may be null), when the key is there.
Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void* key,
                                      const void** value);
/// True, and the key as the dictionary holds it through `actualKey`, when it is there.
Boolean CFDictionaryGetKeyIfPresent(CFDictionaryRef dictionary, const void* key,
                                    const void** actualKey);
/// Either array may be null; each has room for CFDictionaryGetCount pointers.
void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                  const void** values);
/// The dictionary must not be changed meanwhile.
void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier,
                               void* context);

// Changes. On an immutable dictionary they change nothing.
/// Adds only when the key is not there.
void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key, const void* value);
/// Adds or replaces.
void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value);
/// Replaces only when the key is there.
void CFDictionaryReplaceValue(CFMutableDictionaryRef dictionary, const void* key,
                              const void* value);
void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, const void* key);
void CFDictionaryRemoveAllValues(CFMutableDictionaryRef dictionary);
