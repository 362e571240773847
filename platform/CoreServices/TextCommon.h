// Text encodings as the converters name them: a base, a variant of it, and a format of that.
//
// A base's number is that of the CFStringEncoding of the same name
// (platform/CoreFoundation/CFStringEncodings.h), where kTextEncodingX is kCFStringEncodingX.
#pragma once

#include "platform/CoreServices/MacTypes.h"

using TextEncodingBase = UInt32;
using TextEncodingVariant = UInt32;
using TextEncodingFormat = UInt32;
using OptionBits = UInt32;
using ByteOffset = UInt32;
using LogicalAddress = void*;
using ConstLogicalAddress = const void*;
using TextPtr = UInt8*;
using ConstTextPtr = const UInt8*;

enum : TextEncodingBase {
  kTextEncodingMacRoman = 0,
  kTextEncodingMacJapanese = 1,
  kTextEncodingMacChineseTrad = 2,
  kTextEncodingMacKorean = 3,
  kTextEncodingMacArabic = 4,
  kTextEncodingMacHebrew = 5,
  kTextEncodingMacGreek = 6,
  kTextEncodingMacCyrillic = 7,
  kTextEncodingMacDevanagari = 9,
  kTextEncodingMacThai = 21,
  kTextEncodingMacChineseSimp = 25,
  kTextEncodingMacCentralEurRoman = 29,
  kTextEncodingMacExtArabic = 31,
  kTextEncodingMacSymbol = 33,
  kTextEncodingMacDingbats = 34,
  kTextEncodingMacTurkish = 35,
  kTextEncodingMacCroatian = 36,
  kTextEncodingMacIcelandic = 37,
  kTextEncodingMacRomanian = 38,
  kTextEncodingMacCeltic = 39,
  kTextEncodingMacGaelic = 40,
  kTextEncodingMacUnicode = 0x7E,
  kTextEncodingMacFarsi = 0x8C,
  kTextEncodingMacUkrainian = 0x98,
  kTextEncodingMacInuit = 0xEC,
  kTextEncodingUnicodeDefault = 0x0100,
  kTextEncodingUnicodeV1_1 = 0x0101,
  kTextEncodingUnicodeV2_0 = 0x0103,
  kTextEncodingUnicodeV2_1 = 0x0103,
  kTextEncodingUnicodeV3_0 = 0x0104,
  kTextEncodingUnicodeV3_1 = 0x0105,
  kTextEncodingUnicodeV3_2 = 0x0106,
  kTextEncodingUnicodeV4_0 = 0x0108,
  kTextEncodingUnknown = 0xFFFF,
};

enum : TextEncodingVariant {
  kTextEncodingDefaultVariant = 0,
  // Of Unicode: the form in which composed characters come out.
  kUnicodeNoSubset = 0,                ///< as the other encoding's table has them
  kUnicodeCanonicalDecompVariant = 2,  ///< decomposed
  kUnicodeCanonicalCompVariant = 3,    ///< composed
  kUnicodeHFSPlusDecompVariant = 8,    ///< decomposed as the names of HFS Plus
  kUnicodeHFSPlusCompVariant = 9,
};

enum : TextEncodingFormat {
  kTextEncodingDefaultFormat = 0,
  // Of Unicode.
  kUnicode16BitFormat = 0,  ///< in the machine's byte order
  kUnicodeUTF16Format = 0,
  kUnicodeUTF7Format = 1,
  kUnicodeUTF8Format = 2,
  kUnicode32BitFormat = 3,
  kUnicodeUTF32Format = 3,
  kUnicodeUTF16BEFormat = 4,
  kUnicodeUTF16LEFormat = 5,
  kUnicodeUTF32BEFormat = 6,
  kUnicodeUTF32LEFormat = 7,
};

inline constexpr SInt32 kTextScriptDontCare = -128;
inline constexpr SInt32 kTextLanguageDontCare = -128;
inline constexpr SInt32 kTextRegionDontCare = -128;

// Results of the converters, of type OSStatus; all else is paramErr.
inline constexpr OSStatus kTextUnsupportedEncodingErr = -8738;  ///< no table for the encoding
inline constexpr OSStatus kTextMalformedInputErr = -8739;       ///< bytes or units that are no text
inline constexpr OSStatus kTextUndefinedElementErr = -8740;
inline constexpr OSStatus kTECCorruptConverterErr = -8748;
inline constexpr OSStatus kTECNoConversionPathErr = -8749;
inline constexpr OSStatus kTECPartialCharErr = -8753;        ///< the input ends within a character
inline constexpr OSStatus kTECUnmappableElementErr = -8754;  ///< no such character in the target
inline constexpr OSStatus kTECUsedFallbacksStatus = -8783;
inline constexpr OSStatus kTECOutputBufferFullStatus = -8785;

/// The encoding of base, variant (10 bits) and format (4 bits).
TextEncoding CreateTextEncoding(TextEncodingBase base, TextEncodingVariant variant,
                                TextEncodingFormat format);
TextEncodingBase GetTextEncodingBase(TextEncoding encoding);
TextEncodingVariant GetTextEncodingVariant(TextEncoding encoding);
TextEncodingFormat GetTextEncodingFormat(TextEncoding encoding);

/// The encoding of texts in a script, of a language, of a region, in a font (a Pascal string or
/// null; "Symbol", "Zapf Dingbats"): each may be left out (kText...DontCare, null), but not all
/// three numbers. smSystemScript and smCurrentScript stand for the system's script. Regions and
/// languages whose texts have an encoding of their own within a script choose it: Turkish,
/// Croatian, Icelandic, Romanian, Celtic, Gaelic, Farsi, Ukrainian, Inuit.
/// paramErr, with the encoding as it was, for numbers that do not exist or contradict each other.
/// The encoding need not be one that can be converted.
OSStatus UpgradeScriptInfoToTextEncoding(SInt32 textScriptID, SInt32 textLanguageID,
                                         SInt32 regionID, ConstStr255Param fontName,
                                         TextEncoding* textEncoding);
