// Text encodings by their published codes.
//
// UTF-8, UTF-16, UTF-32, ASCII, Mac OS Roman, Windows Latin 1, ISO Latin 1, NEXTSTEP and non-lossy
// ASCII are always there; the others when the system's conversion library has them
// (CFStringIsEncodingAvailable).
#pragma once

#include "platform/CoreFoundation/CFBase.h"

using CFStringEncoding = UInt32;

inline constexpr CFStringEncoding kCFStringEncodingInvalidId = 0xffffffffU;

enum CFStringBuiltInEncodings : CFStringEncoding {
  kCFStringEncodingMacRoman = 0,
  kCFStringEncodingWindowsLatin1 = 0x0500,
  kCFStringEncodingISOLatin1 = 0x0201,
  kCFStringEncodingNextStepLatin = 0x0B01,
  kCFStringEncodingASCII = 0x0600,
  kCFStringEncodingUnicode = 0x0100,  ///< UTF-16 in the machine's byte order
  kCFStringEncodingUTF8 = 0x08000100,
  kCFStringEncodingNonLossyASCII = 0x0BFF,
  kCFStringEncodingUTF16 = 0x0100,
  kCFStringEncodingUTF16BE = 0x10000100,
  kCFStringEncodingUTF16LE = 0x14000100,
  kCFStringEncodingUTF32 = 0x0c000100,  ///< in the machine's byte order
  kCFStringEncodingUTF32BE = 0x18000100,
  kCFStringEncodingUTF32LE = 0x1c000100
};

enum CFStringEncodings : CFStringEncoding {
  kCFStringEncodingMacJapanese = 1,
  kCFStringEncodingMacChineseTrad = 2,
  kCFStringEncodingMacKorean = 3,
  kCFStringEncodingMacArabic = 4,
  kCFStringEncodingMacHebrew = 5,
  kCFStringEncodingMacGreek = 6,
  kCFStringEncodingMacCyrillic = 7,
  kCFStringEncodingMacDevanagari = 9,
  kCFStringEncodingMacGurmukhi = 10,
  kCFStringEncodingMacGujarati = 11,
  kCFStringEncodingMacOriya = 12,
  kCFStringEncodingMacBengali = 13,
  kCFStringEncodingMacTamil = 14,
  kCFStringEncodingMacTelugu = 15,
  kCFStringEncodingMacKannada = 16,
  kCFStringEncodingMacMalayalam = 17,
  kCFStringEncodingMacSinhalese = 18,
  kCFStringEncodingMacBurmese = 19,
  kCFStringEncodingMacKhmer = 20,
  kCFStringEncodingMacThai = 21,
  kCFStringEncodingMacLaotian = 22,
  kCFStringEncodingMacGeorgian = 23,
  kCFStringEncodingMacArmenian = 24,
  kCFStringEncodingMacChineseSimp = 25,
  kCFStringEncodingMacTibetan = 26,
  kCFStringEncodingMacMongolian = 27,
  kCFStringEncodingMacEthiopic = 28,
  kCFStringEncodingMacCentralEurRoman = 29,
  kCFStringEncodingMacVietnamese = 30,
  kCFStringEncodingMacExtArabic = 31,
  kCFStringEncodingMacSymbol = 33,
  kCFStringEncodingMacDingbats = 34,
  kCFStringEncodingMacTurkish = 35,
  kCFStringEncodingMacCroatian = 36,
  kCFStringEncodingMacIcelandic = 37,
  kCFStringEncodingMacRomanian = 38,
  kCFStringEncodingMacCeltic = 39,
  kCFStringEncodingMacGaelic = 40,
  kCFStringEncodingMacFarsi = 0x8C,
  kCFStringEncodingMacUkrainian = 0x98,
  kCFStringEncodingMacInuit = 0xEC,
  kCFStringEncodingMacVT100 = 0xFC,
  kCFStringEncodingMacHFS = 0xFF,
  kCFStringEncodingISOLatin2 = 0x0202,
  kCFStringEncodingISOLatin3 = 0x0203,
  kCFStringEncodingISOLatin4 = 0x0204,
  kCFStringEncodingISOLatinCyrillic = 0x0205,
  kCFStringEncodingISOLatinArabic = 0x0206,
  kCFStringEncodingISOLatinGreek = 0x0207,
  kCFStringEncodingISOLatinHebrew = 0x0208,
  kCFStringEncodingISOLatin5 = 0x0209,
  kCFStringEncodingISOLatin6 = 0x020A,
  kCFStringEncodingISOLatinThai = 0x020B,
  kCFStringEncodingISOLatin7 = 0x020D,
  kCFStringEncodingISOLatin8 = 0x020E,
  kCFStringEncodingISOLatin9 = 0x020F,
  kCFStringEncodingISOLatin10 = 0x0210,
  kCFStringEncodingDOSLatinUS = 0x0400,
  kCFStringEncodingDOSGreek = 0x0405,
  kCFStringEncodingDOSBalticRim = 0x0406,
  kCFStringEncodingDOSLatin1 = 0x0410,
  kCFStringEncodingDOSGreek1 = 0x0411,
  kCFStringEncodingDOSLatin2 = 0x0412,
  kCFStringEncodingDOSCyrillic = 0x0413,
  kCFStringEncodingDOSTurkish = 0x0414,
  kCFStringEncodingDOSPortuguese = 0x0415,
  kCFStringEncodingDOSIcelandic = 0x0416,
  kCFStringEncodingDOSHebrew = 0x0417,
  kCFStringEncodingDOSCanadianFrench = 0x0418,
  kCFStringEncodingDOSArabic = 0x0419,
  kCFStringEncodingDOSNordic = 0x041A,
  kCFStringEncodingDOSRussian = 0x041B,
  kCFStringEncodingDOSGreek2 = 0x041C,
  kCFStringEncodingDOSThai = 0x041D,
  kCFStringEncodingDOSJapanese = 0x0420,
  kCFStringEncodingDOSChineseSimplif = 0x0421,
  kCFStringEncodingDOSKorean = 0x0422,
  kCFStringEncodingDOSChineseTrad = 0x0423,
  kCFStringEncodingWindowsLatin2 = 0x0501,
  kCFStringEncodingWindowsCyrillic = 0x0502,
  kCFStringEncodingWindowsGreek = 0x0503,
  kCFStringEncodingWindowsLatin5 = 0x0504,
  kCFStringEncodingWindowsHebrew = 0x0505,
  kCFStringEncodingWindowsArabic = 0x0506,
  kCFStringEncodingWindowsBalticRim = 0x0507,
  kCFStringEncodingWindowsVietnamese = 0x0508,
  kCFStringEncodingWindowsKoreanJohab = 0x0510,
  kCFStringEncodingANSEL = 0x0601,
  kCFStringEncodingJIS_X0201_76 = 0x0620,
  kCFStringEncodingJIS_X0208_83 = 0x0621,
  kCFStringEncodingJIS_X0208_90 = 0x0622,
  kCFStringEncodingJIS_X0212_90 = 0x0623,
  kCFStringEncodingJIS_C6226_78 = 0x0624,
  kCFStringEncodingShiftJIS_X0213 = 0x0628,
  kCFStringEncodingShiftJIS_X0213_MenKuTen = 0x0629,
  kCFStringEncodingGB_2312_80 = 0x0630,
  kCFStringEncodingGBK_95 = 0x0631,
  kCFStringEncodingGB_18030_2000 = 0x0632,
  kCFStringEncodingKSC_5601_87 = 0x0640,
  kCFStringEncodingKSC_5601_92_Johab = 0x0641,
  kCFStringEncodingCNS_11643_92_P1 = 0x0651,
  kCFStringEncodingCNS_11643_92_P2 = 0x0652,
  kCFStringEncodingCNS_11643_92_P3 = 0x0653,
  kCFStringEncodingISO_2022_JP = 0x0820,
  kCFStringEncodingISO_2022_JP_2 = 0x0821,
  kCFStringEncodingISO_2022_JP_1 = 0x0822,
  kCFStringEncodingISO_2022_JP_3 = 0x0823,
  kCFStringEncodingISO_2022_CN = 0x0830,
  kCFStringEncodingISO_2022_CN_EXT = 0x0831,
  kCFStringEncodingISO_2022_KR = 0x0840,
  kCFStringEncodingEUC_JP = 0x0920,
  kCFStringEncodingEUC_CN = 0x0930,
  kCFStringEncodingEUC_TW = 0x0931,
  kCFStringEncodingEUC_KR = 0x0940,
  kCFStringEncodingShiftJIS = 0x0A01,
  kCFStringEncodingKOI8_R = 0x0A02,
  kCFStringEncodingBig5 = 0x0A03,
  kCFStringEncodingMacRomanLatin1 = 0x0A04,
  kCFStringEncodingHZ_GB_2312 = 0x0A05,
  kCFStringEncodingBig5_HKSCS_1999 = 0x0A06,
  kCFStringEncodingVISCII = 0x0A07,
  kCFStringEncodingKOI8_U = 0x0A08,
  kCFStringEncodingBig5_E = 0x0A09,
  kCFStringEncodingUTF7_IMAP = 0x0A10,
  kCFStringEncodingNextStepJapanese = 0x0B02,
  kCFStringEncodingEBCDIC_US = 0x0C01,
  kCFStringEncodingEBCDIC_CP037 = 0x0C02,
  kCFStringEncodingUTF7 = 0x04000100
};

Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding);
/// Every available encoding, ended by kCFStringEncodingInvalidId; never freed.
const CFStringEncoding* CFStringGetListOfAvailableEncodings();
/// A constant string ("Western (Mac OS Roman)"), not owned by the caller; null when not available.
CFStringRef CFStringGetNameOfEncoding(CFStringEncoding encoding);
/// The encoding of 8-bit texts without one of their own: UTF-8.
CFStringEncoding CFStringGetSystemEncoding();
/// UTF-8: file names on this system are byte strings, by convention in UTF-8.
CFStringEncoding CFStringFileSystemEncoding();
/// The bytes that `length` UTF-16 units need at most, without a terminator and without a byte-order
/// mark. kCFNotFound when that does not fit a CFIndex, the encoding is not available or `length` is
/// negative.
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
/// The encoding that has the same characters for most users; the encoding itself when there is
/// none.
CFStringEncoding CFStringGetMostCompatibleMacStringEncoding(CFStringEncoding encoding);
/// The IANA character set name ("utf-8"), a constant string not owned by the caller; null when the
/// encoding has none.
CFStringRef CFStringConvertEncodingToIANACharSetName(CFStringEncoding encoding);
/// The encoding of an IANA name or alias in any case; kCFStringEncodingInvalidId when unknown.
CFStringEncoding CFStringConvertIANACharSetNameToEncoding(CFStringRef name);
/// Windows code page number (65001 for UTF-8); kCFStringEncodingInvalidId when there is none.
UInt32 CFStringConvertEncodingToWindowsCodepage(CFStringEncoding encoding);
CFStringEncoding CFStringConvertWindowsCodepageToEncoding(UInt32 codepage);
