// Core Foundation's basic types. CFIndex and its kin are the 32-bit platform's `long`.
#pragma once

#include "platform/CoreServices/MacTypes.h"

using CFTypeRef = const void*;  ///< any object; null where stated
using CFTypeID = std::uint32_t;
using CFOptionFlags = std::uint32_t;
using CFHashCode = std::uint32_t;
using CFIndex = std::int32_t;

struct CFRange {
  CFIndex location;
  CFIndex length;
};
constexpr CFRange CFRangeMake(CFIndex location, CFIndex length) {
  return {location, length};
}

enum CFComparisonResult : CFIndex {
  kCFCompareLessThan = -1,
  kCFCompareEqualTo = 0,
  kCFCompareGreaterThan = 1
};

using CFStringRef = const struct __CFString*;
using CFMutableStringRef = struct __CFString*;
using CFNumberRef = const struct __CFNumber*;
using CFBooleanRef = const struct __CFBoolean*;
using CFNullRef = const struct __CFNull*;
using CFArrayRef = const struct __CFArray*;
using CFMutableArrayRef = struct __CFArray*;
using CFDictionaryRef = const struct __CFDictionary*;
using CFMutableDictionaryRef = struct __CFDictionary*;
using CFDataRef = const struct __CFData*;
using CFMutableDataRef = struct __CFData*;
using CFSetRef = const struct __CFSet*;
using CFMutableSetRef = struct __CFSet*;
using CFBagRef = const struct __CFBag*;
using CFMutableBagRef = struct __CFBag*;
using CFURLRef = const struct __CFURL*;
using CFBundleRef = struct __CFBundle*;
using CFDateRef = const struct __CFDate*;
using CFPropertyListRef = CFTypeRef;

/// Allocators are accepted for the interface's sake; every one of them is the C++ heap.
using CFAllocatorRef = const struct __CFAllocator*;
inline constexpr CFAllocatorRef kCFAllocatorDefault = nullptr;
inline constexpr CFAllocatorRef kCFAllocatorSystemDefault = nullptr;

inline constexpr CFIndex kCFNotFound = -1;
