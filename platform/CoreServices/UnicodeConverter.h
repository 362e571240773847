// Conversion between an encoding and Unicode in a stated form.
//
// Inputs are read and outputs written up to their sizes in bytes. What a call read and wrote is
// reported whatever its status; it stops between characters. A status of kTECOutputBufferFullStatus
// says that the rest of the input did not fit.
#pragma once

#include "platform/CoreServices/TextCommon.h"

using UnicodeMapVersion = SInt32;
inline constexpr UnicodeMapVersion kUnicodeUseLatestMapping = -1;
/// Decomposed is then what names of HFS Plus are: by the rules of Unicode 3.2, with U+2000-2FFF,
/// U+F900-FAFF and U+2F800-2FAFF left alone.
inline constexpr UnicodeMapVersion kUnicodeUseHFSPlusMapping = 4;

struct UnicodeMapping {
  TextEncoding unicodeEncoding;  ///< in 16-bit or UTF-8 format
  TextEncoding otherEncoding;
  UnicodeMapVersion mappingVersion;
};
using UnicodeMappingPtr = UnicodeMapping*;
using ConstUnicodeMappingPtr = const UnicodeMapping*;

struct OpaqueTextToUnicodeInfo;
struct OpaqueUnicodeToTextInfo;
using TextToUnicodeInfo = OpaqueTextToUnicodeInfo*;
using UnicodeToTextInfo = OpaqueUnicodeToTextInfo*;

// Control flags; other bits make no difference.
enum : OptionBits {
  kUnicodeUseFallbacksMask = 1U << 0,   ///< '?' for what has no form (kTECUsedFallbacksStatus)
  kUnicodeLooseMappingsMask = 1U << 5,  ///< also take what differs in nothing but meaning or form:
                                        ///< U+2126 for U+03A9, U+2010 for '-'
};

/// Null, and kTextUnsupportedEncodingErr, where there is no table for the other encoding or the
/// Unicode encoding is none; paramErr for null pointers.
OSStatus CreateTextToUnicodeInfo(ConstUnicodeMappingPtr mapping, TextToUnicodeInfo* info);
OSStatus CreateUnicodeToTextInfo(ConstUnicodeMappingPtr mapping, UnicodeToTextInfo* info);
/// Disposes and sets to null; paramErr for null.
OSStatus DisposeTextToUnicodeInfo(TextToUnicodeInfo* info);
OSStatus DisposeUnicodeToTextInfo(UnicodeToTextInfo* info);

/// Text to Unicode: UTF-16 units, or bytes of UTF-8. Besides the full buffer: paramErr for null
/// (a null text of no bytes is an empty one), kTextMalformedInputErr for bytes that mean nothing,
/// kTECPartialCharErr when the text ends within a character.
/// No offset arrays are filled: `offsetCount` is 0, `outOffsetCount` is set to 0 unless null.
OSStatus ConvertFromTextToUnicode(TextToUnicodeInfo info, ByteCount sourceLength,
                                  ConstLogicalAddress source, OptionBits controlFlags,
                                  ItemCount offsetCount, const ByteOffset offsets[],
                                  ItemCount* outOffsetCount, ByteOffset outOffsets[],
                                  ByteCount outputSize, ByteCount* sourceRead,
                                  ByteCount* unicodeLength, UniChar unicode[]);

/// Unicode, composed or decomposed, to text. Besides the full buffer: paramErr for null,
/// kTextMalformedInputErr for half pairs and for bytes that are no UTF-8, kTECPartialCharErr when
/// the input ends within a character, kTECUnmappableElementErr at a character that the encoding
/// lacks.
OSStatus ConvertFromUnicodeToText(UnicodeToTextInfo info, ByteCount unicodeLength,
                                  const UniChar unicode[], OptionBits controlFlags,
                                  ItemCount offsetCount, const ByteOffset offsets[],
                                  ItemCount* outOffsetCount, ByteOffset outOffsets[],
                                  ByteCount outputSize, ByteCount* inputRead,
                                  ByteCount* outputLength, LogicalAddress output);
