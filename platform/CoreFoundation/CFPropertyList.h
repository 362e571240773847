// XML property lists: the format of Info.plist.
//
// A property list is a CFDictionary (string keys), CFArray, CFString, CFData, CFDate, CFNumber or
// CFBoolean, nested as the document is. The reader takes bytes to objects and nothing else: it
// opens no file and no network, declares no entity and expands none but XML's own five.
#pragma once

#include <cstddef>

#include "platform/CoreFoundation/CFBase.h"

enum CFPropertyListMutabilityOptions : CFOptionFlags {
  kCFPropertyListImmutable = 0,
  kCFPropertyListMutableContainers = 1,
  kCFPropertyListMutableContainersAndLeaves = 2,
};

/// What the reader accepts at most; more is an error that says so.
inline constexpr std::size_t kCFPropertyListMaximumBytes = 16 * 1024 * 1024;
inline constexpr int kCFPropertyListMaximumDepth = 128;       ///< nested dictionaries and arrays
inline constexpr int kCFPropertyListMaximumObjects = 262144;  ///< values and keys in all

/// Reads an XML property list (UTF-8, UTF-16, ISO 8859-1 or US-ASCII, as the document declares).
/// The result belongs to the caller. Null for anything that is not one well-formed property list:
/// then `errorString`, if not null, receives a new text, owned by the caller, that says what is
/// wrong and in which line; otherwise it receives null. Containers are mutable in fact with every
/// option; the option is for the interface's sake. Of two equal keys in a dictionary the last one
/// counts. Safe from any thread.
CFPropertyListRef CFPropertyListCreateFromXMLData(CFAllocatorRef allocator, CFDataRef xmlData,
                                                  CFOptionFlags mutabilityOption,
                                                  CFStringRef* errorString);
/// The same for `size` bytes at `bytes` (which may be null when `size` is 0).
CFPropertyListRef CFPropertyListCreateFromBytes(const void* bytes, std::size_t size,
                                                CFStringRef* errorString);

/// The property list as an XML document in UTF-8, keys in ascending order of their bytes,
/// readable by the reader above. Null when `propertyList` is null or holds an object of another
/// type, a key that is no string, a character XML cannot hold, a number that is not finite, or is
/// nested deeper than the reader accepts.
CFDataRef CFPropertyListCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef propertyList);
