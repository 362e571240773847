// The class methods of the value classes. Every result is a new, autoreleased object.
#pragma once

#include "platform/Foundation/NSObject.h"

/// The text of a file, UTF-8 (UTF-16 when it starts with a byte order mark; a UTF-8 mark is
/// dropped). Null when it cannot be read or is not such text, or is 2 GiB or longer.
NSString* NSString_stringWithContentsOfFile(NSString* path);
/// From UTF-8; null when `text` is null or not valid UTF-8.
NSString* NSString_stringWithUTF8String(const char* text);

/// The bytes of a regular file. Null when it cannot be read, or is 2 GiB or longer.
NSData* NSData_dataWithContentsOfFile(NSString* path);

NSNumber* NSNumber_numberWithDouble(double value);
NSNumber* NSNumber_numberWithInt(SInt32 value);

/// Pairs objects and keys in order. Null when either is null or their counts differ.
NSDictionary* NSDictionary_dictionaryWithObjectsforKeys(NSArray* objects, NSArray* keys);
/// The same from plain arrays of `count` non-null objects and keys.
NSDictionary* NSDictionary_dictionaryWithObjectsforKeyscount(const CFTypeRef* objects,
                                                             const CFTypeRef* keys, CFIndex count);
NSArray* NSArray_arrayWithObjectscount(const CFTypeRef* objects, CFIndex count);
