// Text: UTF-16 inside, immutable or mutable. A lone surrogate may be held like any unit; it has no
// form in other encodings, so converting it fails.
//
// Conversions are strict. Bytes that are not valid in their encoding make no string, and a
// character that the target encoding lacks fails the conversion; CFStringGetBytes alone can put a
// byte of the caller's choice in its place. Immutable strings may be used from any thread, mutable
// ones from several only while nobody changes them. Null or another type's object counts as an
// empty string where a string is read.
#pragma once

#include <cstdarg>

#include "platform/CoreFoundation/CFBase.h"
#include "platform/CoreFoundation/CFStringEncodings.h"

enum CFStringCompareFlags : CFOptionFlags {
  kCFCompareCaseInsensitive = 1,  ///< by full Unicode case folding
  kCFCompareBackwards = 4,        ///< search from the end
  kCFCompareAnchored = 8,         ///< match at the start (backwards: the end) only
  kCFCompareNonliteral = 16,      ///< canonically equivalent texts are equal
  kCFCompareLocalized = 32,       ///< order as the user's language sorts
  kCFCompareNumerically = 64,     ///< runs of decimal digits by their value
  kCFCompareDiacriticInsensitive = 128,
  kCFCompareWidthInsensitive = 256,  ///< full-width and half-width forms are equal
  kCFCompareForcedOrdering = 512     ///< equal under the options: decided literally
};

enum CFStringNormalizationForm : CFIndex {
  kCFStringNormalizationFormD = 0,
  kCFStringNormalizationFormKD = 1,
  kCFStringNormalizationFormC = 2,
  kCFStringNormalizationFormKC = 3
};

/// A constant string from UTF-8 text: one object per content, never freed, so that it outlives the
/// module whose code names it. Retain and release do nothing.
#define CFSTR(text) __CFStringMakeConstantString("" text "")
/// The constant for a text; what is not valid UTF-8 is read as ISO Latin 1. Null for null.
CFStringRef __CFStringMakeConstantString(const char* text);

CFTypeID CFStringGetTypeID();

// Creation. The result is the caller's; null when the arguments make no string.

/// From the bytes before the first zero byte, in `encoding`, whatever the encoding's unit is. In
/// kCFStringEncodingUnicode an odd last byte, being half a unit, is left out: "A" in little-endian
/// UTF-16 is one byte before its zero and makes an empty string.
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text,
                                      CFStringEncoding encoding);
/// From a Pascal string: a length byte, then that many bytes.
CFStringRef CFStringCreateWithPascalString(CFAllocatorRef allocator, ConstStr255Param text,
                                           CFStringEncoding encoding);
/// From UTF-16 units as they are.
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator, const UniChar* characters,
                                         CFIndex length);
/// From bytes. With `isExternalRepresentation` a leading byte-order mark of the Unicode encodings
/// is not part of the text, and says the byte order where the encoding does not; without a mark the
/// order is the machine's.
CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
/// These four copy, and free the given buffer by `contentsDeallocator` (as CFData does) at once
/// when they succeed.
CFStringRef CFStringCreateWithCStringNoCopy(CFAllocatorRef allocator, const char* text,
                                            CFStringEncoding encoding,
                                            CFAllocatorRef contentsDeallocator);
CFStringRef CFStringCreateWithPascalStringNoCopy(CFAllocatorRef allocator, ConstStr255Param text,
                                                 CFStringEncoding encoding,
                                                 CFAllocatorRef contentsDeallocator);
CFStringRef CFStringCreateWithCharactersNoCopy(CFAllocatorRef allocator, const UniChar* characters,
                                               CFIndex length, CFAllocatorRef contentsDeallocator);
CFStringRef CFStringCreateWithBytesNoCopy(CFAllocatorRef allocator, const UInt8* bytes,
                                          CFIndex length, CFStringEncoding encoding,
                                          Boolean isExternalRepresentation,
                                          CFAllocatorRef contentsDeallocator);
/// The same content, immutable (an immutable string is retained, not copied).
CFStringRef CFStringCreateCopy(CFAllocatorRef allocator, CFStringRef string);
/// `range` is cut at the string's bounds; null for a negative start or length.
CFStringRef CFStringCreateWithSubstring(CFAllocatorRef allocator, CFStringRef string,
                                        CFRange range);
/// As printf, with UTF-8 for %s, and further: %@ an object (a string's content, a number's value,
/// else its description; "(null)" for null), %C a UTF-16 unit, %S NUL-terminated UTF-16 units, %P a
/// Pascal string in Mac OS Roman. Flags, width, precision, "*" and positions ("%2$@") are
/// understood, sizes h hh l ll q j z t L as the compiler passes them (l is the machine's long).
/// Width and precision of texts count UTF-16 units. %n writes nothing. `options` is unused.
CFStringRef CFStringCreateWithFormat(CFAllocatorRef allocator, CFDictionaryRef options,
                                     CFStringRef format, ...);
CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef allocator, CFDictionaryRef options,
                                                 CFStringRef format, va_list arguments);
/// From a file's or a network's bytes, with byte-order mark handling as above.
CFStringRef CFStringCreateFromExternalRepresentation(CFAllocatorRef allocator, CFDataRef data,
                                                     CFStringEncoding encoding);
/// All of the string with a byte-order mark where UTF-16 and UTF-32 need one. `lossByte` as in
/// CFStringGetBytes; null when a character has no form.
CFDataRef CFStringCreateExternalRepresentation(CFAllocatorRef allocator, CFStringRef string,
                                               CFStringEncoding encoding, UInt8 lossByte);
/// The array's strings with the separator between them.
CFStringRef CFStringCreateByCombiningStrings(CFAllocatorRef allocator, CFArrayRef strings,
                                             CFStringRef separator);
/// The pieces between separators (one piece when there is none, also of an empty string).
CFArrayRef CFStringCreateArrayBySeparatingStrings(CFAllocatorRef allocator, CFStringRef string,
                                                  CFStringRef separator);

// Content.

CFIndex CFStringGetLength(CFStringRef string);  ///< in UTF-16 units
/// 0 out of range.
UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index);
/// Copies the units of `range`, cut at the string's bounds.
void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer);
/// The units themselves, not terminated, valid until the string is changed or ends.
const UniChar* CFStringGetCharactersPtr(CFStringRef string);
/// Always null: no string keeps 8-bit text. Use CFStringGetCString.
const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding);
ConstStr255Param CFStringGetPascalStringPtr(CFStringRef string, CFStringEncoding encoding);
/// The whole string and a terminator (a zero of the encoding's unit: one byte, two for UTF-16 of
/// any order, four for UTF-32) into `bufferSize` bytes. UTF-16 and UTF-32 are in the order the
/// encoding names, by default the machine's, without a byte-order mark. False when a character has
/// no form or the result does not fit; the buffer then holds an empty text if it has room for one.
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding);
/// The same as a Pascal string, of at most 255 bytes.
Boolean CFStringGetPascalString(CFStringRef string, StringPtr buffer, CFIndex bufferSize,
                                CFStringEncoding encoding);
/// Converts as many characters of `range` (cut at the string's bounds) as fit `maxBufferLength`
/// bytes, stopping before the first one that has no form in the encoding, unless `lossByte` is not
/// 0 and takes its place. No terminator is written. A surrogate pair is converted as a whole or not
/// at all, but in UTF-16, where a unit is a character of its own. With a null `buffer` nothing is
/// written or limited, only counted. Through
/// `usedBufferLength` (may be null) the bytes written or counted. With `isExternalRepresentation`
/// UTF-16 and UTF-32 start with a byte-order mark. Returns the UTF-16 units converted.
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex maxBufferLength, CFIndex* usedBufferLength);
/// The whole string and a terminator in the file system's encoding, UTF-8. Composed characters stay
/// composed: names are plain bytes here, and another form would be another name.
Boolean CFStringGetFileSystemRepresentation(CFStringRef string, char* buffer, CFIndex bufferSize);
/// Bytes needed for the above at most, terminator included.
CFIndex CFStringGetMaximumSizeOfFileSystemRepresentation(CFStringRef string);
CFStringRef CFStringCreateWithFileSystemRepresentation(CFAllocatorRef allocator,
                                                       const char* buffer);
/// The encodings that hold the whole string in least and in readable form.
CFStringEncoding CFStringGetSmallestEncoding(CFStringRef string);
CFStringEncoding CFStringGetFastestEncoding(CFStringRef string);
/// The decimal number the text begins with after white space; 0 if none, the limits if too large.
SInt32 CFStringGetIntValue(CFStringRef string);
double CFStringGetDoubleValue(CFStringRef string);

// Comparison and search.

/// -1, 0 or 1. Without options by the UTF-16 units' values.
CFComparisonResult CFStringCompare(CFStringRef string1, CFStringRef string2,
                                   CFOptionFlags compareOptions);
/// Compares only `rangeToCompare` of the first string, cut at its bounds.
CFComparisonResult CFStringCompareWithOptions(CFStringRef string1, CFStringRef string2,
                                              CFRange rangeToCompare, CFOptionFlags compareOptions);
Boolean CFStringHasPrefix(CFStringRef string, CFStringRef prefix);
Boolean CFStringHasSuffix(CFStringRef string, CFStringRef suffix);
/// Where `stringToFind` lies; location kCFNotFound and length 0 when nowhere. An empty text is
/// found nowhere.
CFRange CFStringFind(CFStringRef string, CFStringRef stringToFind, CFOptionFlags compareOptions);
Boolean CFStringFindWithOptions(CFStringRef string, CFStringRef stringToFind, CFRange rangeToSearch,
                                CFOptionFlags searchOptions, CFRange* result);
/// All places, not overlapping, in order: an array of pointers to CFRange that the array owns. Null
/// when there is none.
CFArrayRef CFStringCreateArrayWithFindResults(CFAllocatorRef allocator, CFStringRef string,
                                              CFStringRef stringToFind, CFRange rangeToSearch,
                                              CFOptionFlags compareOptions);

// Mutable strings. On an immutable string, out of range or beyond a set maximum these change
// nothing.

/// An empty string. `maxLength` above 0 is the length it never grows beyond, 0 sets no limit.
CFMutableStringRef CFStringCreateMutable(CFAllocatorRef allocator, CFIndex maxLength);
/// Null when the string is longer than a `maxLength` above 0.
CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef allocator, CFIndex maxLength,
                                             CFStringRef string);
void CFStringAppend(CFMutableStringRef string, CFStringRef appended);
void CFStringAppendCharacters(CFMutableStringRef string, const UniChar* characters, CFIndex length);
/// Appends nothing when the bytes are not valid in the encoding.
void CFStringAppendCString(CFMutableStringRef string, const char* text, CFStringEncoding encoding);
void CFStringAppendPascalString(CFMutableStringRef string, ConstStr255Param text,
                                CFStringEncoding encoding);
void CFStringAppendFormat(CFMutableStringRef string, CFDictionaryRef options, CFStringRef format,
                          ...);
void CFStringAppendFormatAndArguments(CFMutableStringRef string, CFDictionaryRef options,
                                      CFStringRef format, va_list arguments);
void CFStringInsert(CFMutableStringRef string, CFIndex index, CFStringRef inserted);
void CFStringDelete(CFMutableStringRef string, CFRange range);
void CFStringReplace(CFMutableStringRef string, CFRange range, CFStringRef replacement);
void CFStringReplaceAll(CFMutableStringRef string, CFStringRef replacement);
/// Replaces every place found in `range`; returns their number.
CFIndex CFStringFindAndReplace(CFMutableStringRef string, CFStringRef stringToFind,
                               CFStringRef replacement, CFRange range,
                               CFOptionFlags compareOptions);
/// Cuts to `length`, or fills up with `padString` repeated, from its unit `indexIntoPad` on.
void CFStringPad(CFMutableStringRef string, CFStringRef padString, CFIndex length,
                 CFIndex indexIntoPad);
/// Takes every `trimString` off both ends.
void CFStringTrim(CFMutableStringRef string, CFStringRef trimString);
void CFStringTrimWhitespace(CFMutableStringRef string);
/// Case by the Unicode rules; `locale` must be null (the language-neutral rules).
void CFStringLowercase(CFMutableStringRef string, const void* locale);
void CFStringUppercase(CFMutableStringRef string, const void* locale);
void CFStringCapitalize(CFMutableStringRef string, const void* locale);
void CFStringNormalize(CFMutableStringRef string, CFStringNormalizationForm form);
/// Case (kCFCompareCaseInsensitive), diacritics and width folded away as the options say.
void CFStringFold(CFMutableStringRef string, CFOptionFlags foldOptions, const void* locale);
