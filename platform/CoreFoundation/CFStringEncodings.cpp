#include "platform/CoreFoundation/CFStringEncodings.h"

#include <unicode/ucnv.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "platform/CoreFoundation/CFStringInternal.h"
#include "platform/CoreFoundation/CFStringTranscoder.h"

namespace {

using cftext::EncodingInfo;
using cftext::FindEncoding;

// Letters and digits only, small: "UTF-8", "utf8" and "UTF_8" name the same set.
std::string Key(std::string_view name) {
  std::string key;
  for (const char c : name) {
    if (c >= 'A' && c <= 'Z') key += static_cast<char>(c - 'A' + 'a');
    if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) key += c;
  }
  return key;
}

// Whether the library lists `key` among the names of the encoding's converter.
bool HasAlias(const EncodingInfo& info, const std::string& key) {
  const char* converter = info.converter != nullptr ? info.converter : info.ianaName;
  if (converter == nullptr) return false;
  UErrorCode error = U_ZERO_ERROR;
  const std::uint16_t count = ucnv_countAliases(converter, &error);
  for (std::uint16_t i = 0; U_SUCCESS(error) && i < count; ++i) {
    const char* alias = ucnv_getAlias(converter, i, &error);
    if (U_SUCCESS(error) && alias != nullptr && Key(alias) == key) return true;
  }
  return false;
}

}  // namespace

namespace cftext {

const EncodingInfo* FindEncoding(CFStringEncoding encoding) {
  for (const EncodingInfo& info : AllEncodings()) {
    if (info.encoding == encoding) {
      return info.scheme != Scheme::kLibrary || LibraryHas(info) ? &info : nullptr;
    }
  }
  return nullptr;
}

}  // namespace cftext

Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding) {
  return FindEncoding(encoding) != nullptr;
}

const CFStringEncoding* CFStringGetListOfAvailableEncodings() {
  static const std::vector<CFStringEncoding>& list = *[] {
    auto* available = new std::vector<CFStringEncoding>;
    for (const EncodingInfo& info : cftext::AllEncodings()) {
      if (FindEncoding(info.encoding) != nullptr) available->push_back(info.encoding);
    }
    available->push_back(kCFStringEncodingInvalidId);
    return available;
  }();
  return list.data();
}

CFStringRef CFStringGetNameOfEncoding(CFStringEncoding encoding) {
  const EncodingInfo* info = FindEncoding(encoding);
  return info != nullptr ? __CFStringMakeConstantString(info->title) : nullptr;
}

CFStringEncoding CFStringGetSystemEncoding() {
  return kCFStringEncodingUTF8;
}

CFStringEncoding CFStringFileSystemEncoding() {
  return kCFStringEncodingUTF8;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
  const EncodingInfo* info = FindEncoding(encoding);
  if (info == nullptr || length < 0) return kCFNotFound;
  const std::size_t size = cftext::MaximumSize(*info, static_cast<std::size_t>(length));
  return size <= static_cast<std::size_t>(std::numeric_limits<CFIndex>::max())
             ? static_cast<CFIndex>(size)
             : kCFNotFound;
}

CFStringEncoding CFStringGetMostCompatibleMacStringEncoding(CFStringEncoding encoding) {
  struct Pair {
    CFStringEncoding from;
    CFStringEncoding to;
  };
  static constexpr Pair kPairs[] = {
      {kCFStringEncodingASCII, kCFStringEncodingMacRoman},
      {kCFStringEncodingWindowsLatin1, kCFStringEncodingMacRoman},
      {kCFStringEncodingISOLatin1, kCFStringEncodingMacRoman},
      {kCFStringEncodingISOLatin9, kCFStringEncodingMacRoman},
      {kCFStringEncodingNextStepLatin, kCFStringEncodingMacRoman},
      {kCFStringEncodingDOSLatinUS, kCFStringEncodingMacRoman},
      {kCFStringEncodingDOSLatin1, kCFStringEncodingMacRoman},
      {kCFStringEncodingWindowsLatin2, kCFStringEncodingMacCentralEurRoman},
      {kCFStringEncodingISOLatin2, kCFStringEncodingMacCentralEurRoman},
      {kCFStringEncodingDOSLatin2, kCFStringEncodingMacCentralEurRoman},
      {kCFStringEncodingWindowsCyrillic, kCFStringEncodingMacCyrillic},
      {kCFStringEncodingISOLatinCyrillic, kCFStringEncodingMacCyrillic},
      {kCFStringEncodingDOSCyrillic, kCFStringEncodingMacCyrillic},
      {kCFStringEncodingDOSRussian, kCFStringEncodingMacCyrillic},
      {kCFStringEncodingKOI8_R, kCFStringEncodingMacCyrillic},
      {kCFStringEncodingKOI8_U, kCFStringEncodingMacCyrillic},
      {kCFStringEncodingWindowsGreek, kCFStringEncodingMacGreek},
      {kCFStringEncodingISOLatinGreek, kCFStringEncodingMacGreek},
      {kCFStringEncodingDOSGreek, kCFStringEncodingMacGreek},
      {kCFStringEncodingWindowsLatin5, kCFStringEncodingMacTurkish},
      {kCFStringEncodingISOLatin5, kCFStringEncodingMacTurkish},
      {kCFStringEncodingDOSTurkish, kCFStringEncodingMacTurkish},
      {kCFStringEncodingWindowsHebrew, kCFStringEncodingMacHebrew},
      {kCFStringEncodingISOLatinHebrew, kCFStringEncodingMacHebrew},
      {kCFStringEncodingWindowsArabic, kCFStringEncodingMacArabic},
      {kCFStringEncodingISOLatinArabic, kCFStringEncodingMacArabic},
      {kCFStringEncodingShiftJIS, kCFStringEncodingMacJapanese},
      {kCFStringEncodingEUC_JP, kCFStringEncodingMacJapanese},
      {kCFStringEncodingISO_2022_JP, kCFStringEncodingMacJapanese},
      {kCFStringEncodingDOSJapanese, kCFStringEncodingMacJapanese},
      {kCFStringEncodingEUC_KR, kCFStringEncodingMacKorean},
      {kCFStringEncodingDOSKorean, kCFStringEncodingMacKorean},
      {kCFStringEncodingBig5, kCFStringEncodingMacChineseTrad},
      {kCFStringEncodingDOSChineseTrad, kCFStringEncodingMacChineseTrad},
      {kCFStringEncodingEUC_CN, kCFStringEncodingMacChineseSimp},
      {kCFStringEncodingDOSChineseSimplif, kCFStringEncodingMacChineseSimp},
      {kCFStringEncodingDOSThai, kCFStringEncodingMacThai},
      {kCFStringEncodingISOLatinThai, kCFStringEncodingMacThai},
  };
  const auto* found = std::find_if(std::begin(kPairs), std::end(kPairs),
                                   [&](const Pair& pair) { return pair.from == encoding; });
  return found != std::end(kPairs) ? found->to : encoding;
}

CFStringRef CFStringConvertEncodingToIANACharSetName(CFStringEncoding encoding) {
  for (const EncodingInfo& info : cftext::AllEncodings()) {
    if (info.encoding == encoding && info.ianaName != nullptr) {
      return __CFStringMakeConstantString(info.ianaName);
    }
  }
  return nullptr;
}

CFStringEncoding CFStringConvertIANACharSetNameToEncoding(CFStringRef name) {
  const std::string key = Key(cftext::ToUTF8(cftext::View(name)));
  if (key.empty()) return kCFStringEncodingInvalidId;
  for (const EncodingInfo& info : cftext::AllEncodings()) {
    if (info.ianaName != nullptr && Key(info.ianaName) == key) return info.encoding;
  }
  for (const EncodingInfo& info : cftext::AllEncodings()) {
    if (HasAlias(info, key)) return info.encoding;
  }
  return kCFStringEncodingInvalidId;
}

UInt32 CFStringConvertEncodingToWindowsCodepage(CFStringEncoding encoding) {
  for (const EncodingInfo& info : cftext::AllEncodings()) {
    if (info.encoding == encoding && info.codepage != 0) return info.codepage;
  }
  return kCFStringEncodingInvalidId;
}

CFStringEncoding CFStringConvertWindowsCodepageToEncoding(UInt32 codepage) {
  for (const EncodingInfo& info : cftext::AllEncodings()) {
    if (info.codepage == codepage && codepage != 0) return info.encoding;
  }
  return kCFStringEncodingInvalidId;
}
