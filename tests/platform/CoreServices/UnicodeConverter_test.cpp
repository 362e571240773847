#include "platform/CoreServices/UnicodeConverter.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/TextEncodingConverter.h"

namespace {

UnicodeMapping Mapping(TextEncoding other,
                       TextEncodingVariant variant = kUnicodeCanonicalDecompVariant,
                       TextEncodingFormat format = kUnicode16BitFormat,
                       UnicodeMapVersion version = kUnicodeUseHFSPlusMapping) {
  return {CreateTextEncoding(kTextEncodingUnicodeV2_0, variant, format), other, version};
}

struct Result {
  OSStatus status;
  ByteCount read;
  std::string out;
  bool operator==(const Result&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Result& result) {
  out << result.status << ", read " << result.read << ':';
  for (const char byte : result.out) {
    out << ' ' << std::hex << static_cast<unsigned>(static_cast<UInt8>(byte)) << std::dec;
  }
  return out;
}

std::string Bytes(const std::u16string& units) {
  return std::string(reinterpret_cast<const char*>(units.data()), 2 * units.size());
}

// In a buffer of just that size, so that writing on is found out.
Result ToUnicode(const UnicodeMapping& mapping, const std::string& text, ByteCount limit = 2000) {
  TextToUnicodeInfo info = nullptr;
  EXPECT_EQ(CreateTextToUnicodeInfo(&mapping, &info), noErr);
  std::vector<UniChar> out((limit + 1) / 2 + 1, 0xEEEE);
  Result result = {};
  ByteCount written = 0;
  ItemCount offsets = 77;
  result.status = ConvertFromTextToUnicode(info, static_cast<ByteCount>(text.size()), text.data(),
                                           kUnicodeLooseMappingsMask, 0, nullptr, &offsets, nullptr,
                                           limit, &result.read, &written, out.data());
  EXPECT_EQ(offsets, 0U);
  EXPECT_LE(written, limit);
  EXPECT_EQ(out.back(), 0xEEEE);
  result.out.assign(reinterpret_cast<const char*>(out.data()), written);
  EXPECT_EQ(DisposeTextToUnicodeInfo(&info), noErr);
  EXPECT_EQ(info, nullptr);
  return result;
}

Result ToText(const UnicodeMapping& mapping, const std::string& unicode, ByteCount limit = 2000,
              OptionBits flags = 0) {
  UnicodeToTextInfo info = nullptr;
  EXPECT_EQ(CreateUnicodeToTextInfo(&mapping, &info), noErr);
  std::vector<UniChar> input((unicode.size() + 1) / 2);
  if (!unicode.empty()) std::memcpy(input.data(), unicode.data(), unicode.size());
  std::vector<char> out(limit + 1, '\x55');
  Result result = {};
  ByteCount written = 0;
  ItemCount offsets = 77;
  result.status = ConvertFromUnicodeToText(info, static_cast<ByteCount>(unicode.size()),
                                           input.data(), flags, 0, nullptr, &offsets, nullptr,
                                           limit, &result.read, &written, out.data());
  EXPECT_EQ(offsets, 0U);
  EXPECT_LE(written, limit);
  EXPECT_EQ(out.back(), '\x55');
  result.out.assign(out.data(), written);
  EXPECT_EQ(DisposeUnicodeToTextInfo(&info), noErr);
  EXPECT_EQ(info, nullptr);
  return result;
}

Result ToText(const UnicodeMapping& mapping, const std::u16string& units, ByteCount limit = 2000,
              OptionBits flags = 0) {
  return ToText(mapping, Bytes(units), limit, flags);
}

// ---- creation ----

TEST(UnicodeConverter, NeedsAUnicodeEncodingAndAnotherOne) {
  struct Case {
    UnicodeMapping mapping;
    OSStatus status;
  };
  for (const Case& c : {Case{Mapping(0), noErr},
                        {Mapping(0, 0, kUnicodeUTF8Format), noErr},
                        {Mapping(kTextEncodingMacDevanagari), kTextUnsupportedEncodingErr},
                        {Mapping(0, 0, kUnicodeUTF7Format), kTextUnsupportedEncodingErr},
                        {Mapping(0, 0, kUnicode32BitFormat), kTextUnsupportedEncodingErr},
                        {Mapping(kTextEncodingUnicodeDefault), kTextUnsupportedEncodingErr},
                        {{0, 0, kUnicodeUseHFSPlusMapping}, kTextUnsupportedEncodingErr},
                        {{0x0201, 0, kUnicodeUseHFSPlusMapping}, kTextUnsupportedEncodingErr}}) {
    TextToUnicodeInfo toUnicode = nullptr;
    UnicodeToTextInfo toText = nullptr;
    EXPECT_EQ(CreateTextToUnicodeInfo(&c.mapping, &toUnicode), c.status);
    EXPECT_EQ(CreateUnicodeToTextInfo(&c.mapping, &toText), c.status);
    EXPECT_EQ(toUnicode != nullptr, c.status == noErr);
    EXPECT_EQ(toText != nullptr, c.status == noErr);
    EXPECT_EQ(DisposeTextToUnicodeInfo(&toUnicode), c.status == noErr ? noErr : paramErr);
    EXPECT_EQ(DisposeUnicodeToTextInfo(&toText), c.status == noErr ? noErr : paramErr);
  }
}

TEST(UnicodeConverter, NullsAreParameterErrors) {
  const UnicodeMapping mapping = Mapping(0);
  TextToUnicodeInfo toUnicode = nullptr;
  UnicodeToTextInfo toText = nullptr;
  EXPECT_EQ(CreateTextToUnicodeInfo(nullptr, &toUnicode), paramErr);
  EXPECT_EQ(CreateTextToUnicodeInfo(&mapping, nullptr), paramErr);
  EXPECT_EQ(CreateUnicodeToTextInfo(nullptr, &toText), paramErr);
  EXPECT_EQ(CreateUnicodeToTextInfo(&mapping, nullptr), paramErr);
  EXPECT_EQ(DisposeTextToUnicodeInfo(nullptr), paramErr);
  EXPECT_EQ(DisposeUnicodeToTextInfo(nullptr), paramErr);
  ByteCount read = 7;
  ByteCount written = 7;
  UniChar unit = 'a';
  char byte = 'a';
  const auto convert = [&](const void* source, ByteCount* outRead, ByteCount* outWritten,
                           UniChar* out) {
    return ConvertFromTextToUnicode(toUnicode, 1, source, 0, 0, nullptr, nullptr, nullptr, 2,
                                    outRead, outWritten, out);
  };
  const auto convertBack = [&](const UniChar* source, ByteCount* outRead, ByteCount* outWritten,
                               char* out) {
    return ConvertFromUnicodeToText(toText, 2, source, 0, 0, nullptr, nullptr, nullptr, 1, outRead,
                                    outWritten, out);
  };
  EXPECT_EQ(convert(&byte, &read, &written, &unit), paramErr) << "no converter";
  EXPECT_EQ(convertBack(&unit, &read, &written, &byte), paramErr) << "no converter";
  EXPECT_EQ(read, 0U);
  EXPECT_EQ(written, 0U);
  ASSERT_EQ(CreateTextToUnicodeInfo(&mapping, &toUnicode), noErr);
  ASSERT_EQ(CreateUnicodeToTextInfo(&mapping, &toText), noErr);
  EXPECT_EQ(convert(nullptr, &read, &written, &unit), paramErr);
  EXPECT_EQ(convert(&byte, nullptr, &written, &unit), paramErr);
  EXPECT_EQ(convert(&byte, &read, nullptr, &unit), paramErr);
  EXPECT_EQ(convert(&byte, &read, &written, nullptr), paramErr);
  EXPECT_EQ(convertBack(nullptr, &read, &written, &byte), paramErr);
  EXPECT_EQ(convertBack(&unit, nullptr, &written, &byte), paramErr);
  EXPECT_EQ(convertBack(&unit, &read, nullptr, &byte), paramErr);
  EXPECT_EQ(convertBack(&unit, &read, &written, nullptr), paramErr);
  EXPECT_EQ(convert(&byte, &read, &written, &unit), noErr);
  EXPECT_EQ(convertBack(&unit, &read, &written, &byte), noErr);
  DisposeTextToUnicodeInfo(&toUnicode);
  DisposeUnicodeToTextInfo(&toText);
}

// ---- forms ----

TEST(UnicodeConverter, TheVariantDecidesTheForm) {
  struct Case {
    TextEncodingVariant variant;
    UnicodeMapVersion version;
    std::u16string text;  // of MacRoman 8E AD (é and ≠)
  };
  for (const Case& c :
       {Case{kTextEncodingDefaultVariant, kUnicodeUseLatestMapping, u"\u00E9\u2260"},
        {kTextEncodingDefaultVariant, kUnicodeUseHFSPlusMapping, u"\u00E9\u2260"},
        {kUnicodeCanonicalDecompVariant, kUnicodeUseLatestMapping, u"e\u0301=\u0338"},
        {kUnicodeCanonicalDecompVariant, kUnicodeUseHFSPlusMapping, u"e\u0301\u2260"},
        {kUnicodeHFSPlusDecompVariant, kUnicodeUseLatestMapping, u"e\u0301\u2260"},
        {kUnicodeCanonicalCompVariant, kUnicodeUseLatestMapping, u"\u00E9\u2260"},
        {kUnicodeHFSPlusCompVariant, kUnicodeUseLatestMapping, u"\u00E9\u2260"}}) {
    EXPECT_EQ(ToUnicode(Mapping(0, c.variant, 0, c.version), "\x8E\xAD"),
              (Result{noErr, 2, Bytes(c.text)}))
        << c.variant << ' ' << c.version;
    // Whatever the form, all are read.
    for (const std::u16string text : {u"\u00E9\u2260", u"e\u0301=\u0338", u"e\u0301\u2260"}) {
      EXPECT_EQ(ToText(Mapping(0, c.variant, 0, c.version), text).out.substr(0, 1), "\x8E");
    }
  }
}

TEST(UnicodeConverter, UTF8IsAFormat) {
  const UnicodeMapping mapping = Mapping(0, kUnicodeCanonicalDecompVariant, kUnicodeUTF8Format);
  EXPECT_EQ(ToUnicode(mapping, "a\x8E"), (Result{noErr, 2, "ae\xCC\x81"}));
  EXPECT_EQ(ToText(mapping, std::string("ae\xCC\x81")), (Result{noErr, 4, "a\x8E"}));
  EXPECT_EQ(ToText(mapping, std::string("a\xC3\xA9")), (Result{noErr, 3, "a\x8E"}));
  EXPECT_EQ(ToUnicode(mapping, ""), (Result{noErr, 0, ""}));
  EXPECT_EQ(ToText(mapping, std::string()), (Result{noErr, 0, ""}));
}

TEST(UnicodeConverter, ComposedAndDecomposedTextIsFound) {
  struct Case {
    TextEncodingBase base;
    std::u16string text;
    const char* bytes;
  };
  for (const Case& c : {Case{kTextEncodingMacJapanese, u"\u304C", "\x82\xAA"},
                        {kTextEncodingMacJapanese, u"\u304B\u3099", "\x82\xAA"},
                        {kTextEncodingMacKorean, u"\uAC00", "\xB0\xA1"},
                        {kTextEncodingMacKorean, u"\u1100\u1161", "\xB0\xA1"},
                        {kTextEncodingMacKorean, u"\u1112\u1161\u11AB", "\xC7\xD1"},
                        {kTextEncodingMacHebrew, u"\uFB2A", "\xD6"},
                        {kTextEncodingMacHebrew, u"\u05E9\u05C1", "\xD6"},
                        {kTextEncodingMacGreek, u"\u0385", "\x87"},
                        {kTextEncodingMacGreek, u"\u03B9\u0308\u0301", "\xFD"},
                        {kTextEncodingMacCentralEurRoman, u"z\u030C", "\xEC"},
                        {kTextEncodingMacThai, u"\u0E48\uF875\u0E01", "\x83\xA1"},
                        {kTextEncodingMacThai, u"\u0E48\u0E01", "\xE8\xA1"},
                        {kTextEncodingMacSymbol, u"\u00AE\uF87F\u00AE", "\xE2\xD2"},
                        {0x0A01, u"\u304B\u3099\u30AB", "\x82\xAA\x83\x4A"},  // Shift JIS
                        {0x0940, u"\u1112\u1161\u11AB", "\xC7\xD1"},          // EUC-KR
                        {0x0500, u"e\u0301\u20AC", "\xE9\x80"}}) {            // Windows Latin 1
    EXPECT_EQ(ToText(Mapping(c.base), c.text),
              (Result{noErr, static_cast<ByteCount>(2 * c.text.size()), c.bytes}))
        << c.base;
  }
}

TEST(UnicodeConverter, MarksThatTheEncodingLacksStopTheText) {
  // a with ring and acute: the ring alone has a form in Mac Roman.
  EXPECT_EQ(ToText(Mapping(0), u"x\u01FBy"), (Result{kTECUnmappableElementErr, 2, "x"}));
  EXPECT_EQ(ToText(Mapping(0), u"xa\u030A\u0301"), (Result{kTECUnmappableElementErr, 2, "x"}));
  EXPECT_EQ(ToText(Mapping(0), u"\u0301"), (Result{kTECUnmappableElementErr, 0, ""}));
}

TEST(UnicodeConverter, LooseMappingsTakeOneForTheOther) {
  struct Case {
    const char16_t* text;
    const char* loose;
  };
  for (const Case& c : {Case{u"\u2126", "\xBD"},
                        {u"\u212B", "\x81"},
                        {u"\u212A", "K"},
                        {u"\u2010", "-"},
                        {u"\u2212", "-"},
                        {u"\u02BC", "\xD5"},
                        {u"\u0394", "\xC6"},
                        {u"\u03BC", "\xB5"}}) {
    EXPECT_EQ(ToText(Mapping(0), std::u16string(c.text)),
              (Result{kTECUnmappableElementErr, 0, ""}));
    EXPECT_EQ(ToText(Mapping(0), std::u16string(c.text), 9, kUnicodeLooseMappingsMask),
              (Result{noErr, 2, c.loose}));
  }
}

TEST(UnicodeConverter, FallbacksArePutAndTold) {
  EXPECT_EQ(ToText(Mapping(0), u"a\u65E5b\U0001F600\u0301", 9, kUnicodeUseFallbacksMask),
            (Result{kTECUsedFallbacksStatus, 12, "a?b?"}));
  EXPECT_EQ(ToText(Mapping(0), u"ab", 9, kUnicodeUseFallbacksMask), (Result{noErr, 4, "ab"}));
}

// ---- errors and full buffers ----

TEST(UnicodeConverter, BrokenText) {
  struct Case {
    TextEncodingBase base;
    std::string text;
    OSStatus status;
    ByteCount read;
  };
  for (const Case& c : {Case{kTextEncodingMacJapanese, "ab\x82", kTECPartialCharErr, 2},
                        {kTextEncodingMacJapanese, "ab\x82\x20", kTextMalformedInputErr, 2},
                        {kTextEncodingMacJapanese, "ab\xF5zz", kTextMalformedInputErr, 2},
                        {kTextEncodingMacThai, "a\xFDz", kTextMalformedInputErr, 1},
                        {0x0A01, "a\x82", kTECPartialCharErr, 1},
                        {0x0632, "a\x81\x30\x81", kTECPartialCharErr, 1},
                        {0x0632, "a\x81\x30", kTECPartialCharErr, 1},
                        {0x0820, "a\x1B$Q", kTextMalformedInputErr, 0}}) {
    const Result result = ToUnicode(Mapping(c.base), c.text);
    EXPECT_EQ(result.status, c.status) << c.base << ' ' << c.text;
    EXPECT_EQ(result.read, c.read) << c.base << ' ' << c.text;
    EXPECT_EQ(result.out, Bytes(std::u16string(c.text.begin(), c.text.begin() + c.read)));
  }
}

TEST(UnicodeConverter, BrokenUnicode) {
  EXPECT_EQ(ToText(Mapping(0), std::u16string{u'a', 0xDC00, u'b'}),
            (Result{kTextMalformedInputErr, 2, "a"}));
  EXPECT_EQ(ToText(Mapping(0), std::u16string{u'a', 0xD800, u'b'}),
            (Result{kTextMalformedInputErr, 2, "a"}));
  EXPECT_EQ(ToText(Mapping(0), std::u16string{u'a', 0xD800}), (Result{kTECPartialCharErr, 2, "a"}));
  EXPECT_EQ(ToText(Mapping(0), Bytes(u"ab").substr(0, 3)), (Result{kTECPartialCharErr, 2, "a"}));
  const UnicodeMapping utf8 = Mapping(0, 0, kUnicodeUTF8Format);
  EXPECT_EQ(ToText(utf8, std::string("a\xC3")), (Result{kTECPartialCharErr, 1, "a"}));
  EXPECT_EQ(ToText(utf8, std::string("a\xC3\x28")), (Result{kTextMalformedInputErr, 1, "a"}));
  EXPECT_EQ(ToText(utf8, std::string("a\xED\xA0\x80")), (Result{kTextMalformedInputErr, 1, "a"}));
}

TEST(UnicodeConverter, AFullBufferStopsBetweenCharacters) {
  struct Case {
    UnicodeMapping mapping;
    std::string text;
  };
  for (const Case& c : {Case{Mapping(0), "a\x8E\x81 \xAD\xF0z"},
                        {Mapping(0, 2, kUnicodeUTF8Format), "a\x8E\x81 \xAD\xF0z"},
                        {Mapping(kTextEncodingMacJapanese), "a\x82\xAA\x93\xFA\xFF\xB1z"},
                        {Mapping(0x0632, 0), "a\xD6\xD0\x95\x32\x82\x36z"}}) {
    const Result whole = ToUnicode(c.mapping, c.text);
    ASSERT_EQ(whole.status, noErr);
    ASSERT_EQ(whole.read, c.text.size());
    for (ByteCount limit = 0; limit < whole.out.size(); ++limit) {
      const Result part = ToUnicode(c.mapping, c.text, limit);
      EXPECT_EQ(part.status, kTECOutputBufferFullStatus);
      EXPECT_LT(part.read, c.text.size());
      // What is left gives what is missing.
      const Result rest = ToUnicode(c.mapping, c.text.substr(part.read));
      EXPECT_EQ(rest.status, noErr);
      EXPECT_EQ(part.out + rest.out, whole.out) << limit;
      // One character more would not have fitted.
      for (std::size_t more = part.read + 1U; more <= c.text.size(); ++more) {
        const Result longer = ToUnicode(c.mapping, c.text.substr(0, more));
        if (longer.status == noErr) {
          EXPECT_GT(longer.out.size(), limit);
          break;
        }
      }
    }
    const Result whole8 = ToText(c.mapping, whole.out);
    EXPECT_EQ(whole8, (Result{noErr, static_cast<ByteCount>(whole.out.size()), c.text}));
    for (ByteCount limit = 0; limit < c.text.size(); ++limit) {
      const Result part = ToText(c.mapping, whole.out, limit);
      EXPECT_EQ(part.status, kTECOutputBufferFullStatus) << limit;
      const Result rest = ToText(c.mapping, whole.out.substr(part.read));
      EXPECT_EQ(rest.status, noErr);
      EXPECT_EQ(part.out + rest.out, c.text) << limit;
    }
  }
}

RC_GTEST_PROP(UnicodeConverter, NoBytesBreakIt, (const std::string& text)) {
  for (const TextEncodingBase base : {0U, 1U, 3U, 5U, 21U, 0x0A01U, 0x0632U, 0x0820U}) {
    const Result decoded = ToUnicode(Mapping(base), text, 40);
    RC_ASSERT(decoded.read <= text.size());
    const Result encoded = ToText(Mapping(base), text, 20);
    RC_ASSERT(encoded.read <= text.size());
    const Result encoded8 = ToText(Mapping(base, 2, kUnicodeUTF8Format), text, 20);
    RC_ASSERT(encoded8.read <= text.size());
  }
}

// ---- one encoding to another ----

Result Convert(TextEncoding from, TextEncoding to, const std::string& text,
               ByteCount limit = 2000) {
  TECObjectRef converter = nullptr;
  EXPECT_EQ(TECCreateConverter(&converter, from, to), noErr);
  std::vector<UInt8> out(limit + 1, 0x55);
  Result result = {};
  ByteCount written = 0;
  result.status = TECConvertText(converter, reinterpret_cast<ConstTextPtr>(text.data()),
                                 static_cast<ByteCount>(text.size()), &result.read, out.data(),
                                 limit, &written);
  EXPECT_LE(written, limit);
  EXPECT_EQ(out.back(), 0x55);
  result.out.assign(reinterpret_cast<const char*>(out.data()), written);
  EXPECT_EQ(TECDisposeConverter(converter), noErr);
  return result;
}

constexpr TextEncoding kUTF8 = 0x08000100;
constexpr TextEncoding kUTF16 = 0x0100;
constexpr TextEncoding kUTF16BE = 0x10000100;
constexpr TextEncoding kUTF32LE = 0x1C000100;

TEST(TextEncodingConverter, ConvertsBetweenAnyTwo) {
  struct Case {
    TextEncoding from;
    TextEncoding to;
    std::string text;
    std::string converted;
  };
  for (const Case& c :
       {Case{kUTF8, kUTF16, "a\xC3\xA9\xF0\x9F\x98\x80", Bytes(u"a\u00E9\U0001F600")},
        {kUTF16, kUTF8, Bytes(u"a\u00E9e\u0301\U0001F600"),
         "a\xC3\xA9"
         "e\xCC\x81\xF0\x9F\x98\x80"},
        {kUTF8, kUTF16BE, "a\xC3\xA9", std::string("\0a\0\xE9", 4)},
        {kUTF32LE, kUTF8, std::string("\xE9\0\0\0", 4), "\xC3\xA9"},
        {kTextEncodingMacRoman, kUTF8, "\x8E\xF0", "\xC3\xA9\xEF\xA3\xBF"},
        {kTextEncodingMacRoman, 0x0500, "\x8E\xDB", "\xE9\x80"},
        {kTextEncodingMacJapanese, kUTF8, "\x93\xFA\xFF", "\xE6\x97\xA5\xE2\x80\xA6\xEF\xA1\xBF"},
        {kUTF8, kTextEncodingMacJapanese, "\xE6\x97\xA5\xE2\x80\xA6\xEF\xA1\xBF", "\x93\xFA\xFF"},
        {kUTF8, kUTF8, "\xEF\xBB\xBFx", "\xEF\xBB\xBFx"},
        {CreateTextEncoding(kTextEncodingUnicodeV3_2, 2, 2), kUTF16, "x", Bytes(u"x")},
        {kUTF8, kUTF16, "", ""}}) {
    EXPECT_EQ(Convert(c.from, c.to, c.text),
              (Result{noErr, static_cast<ByteCount>(c.text.size()), c.converted}));
    for (ByteCount limit = 0; limit < c.converted.size(); ++limit) {
      const Result part = Convert(c.from, c.to, c.text, limit);
      EXPECT_EQ(part.status, kTECOutputBufferFullStatus) << limit;
      const Result rest = Convert(c.from, c.to, c.text.substr(part.read));
      EXPECT_EQ(rest.status, noErr);
      EXPECT_EQ(part.out + rest.out, c.converted) << limit;
    }
  }
}

TEST(TextEncodingConverter, StopsBeforeWhatItCannotConvert) {
  struct Case {
    TextEncoding from;
    TextEncoding to;
    std::string text;
    Result result;
  };
  for (const Case& c :
       {Case{kUTF8, kTextEncodingMacRoman, "ab\xE6\x97\xA5z", {kTECUnmappableElementErr, 2, "ab"}},
        {kUTF8, kUTF16, "a\xFFz", {kTextMalformedInputErr, 1, Bytes(u"a")}},
        {kUTF8, kUTF16, "a\xF0\x9F\x98", {kTECPartialCharErr, 1, Bytes(u"a")}},
        {kUTF16, kUTF8, Bytes({u'a', 0xDC00}), {kTextMalformedInputErr, 2, "a"}},
        {kUTF16, kUTF8, Bytes({u'a', 0xD83D}), {kTECPartialCharErr, 2, "a"}},
        {kUTF16, kUTF8, Bytes(u"a") + "b", {kTECPartialCharErr, 2, "a"}},
        {kUTF32LE, kUTF8, std::string("a\0\0\0b\0", 6), {kTECPartialCharErr, 4, "a"}},
        {kTextEncodingMacJapanese, kUTF8, "a\x93", {kTECPartialCharErr, 1, "a"}}}) {
    EXPECT_EQ(Convert(c.from, c.to, c.text), c.result);
  }
}

TEST(TextEncodingConverter, NeedsTwoEncodingsThatItHas) {
  TECObjectRef converter = reinterpret_cast<TECObjectRef>(1);
  EXPECT_EQ(TECCreateConverter(&converter, kTextEncodingMacDevanagari, kUTF8),
            kTECNoConversionPathErr);
  EXPECT_EQ(converter, nullptr);
  EXPECT_EQ(TECCreateConverter(&converter, kUTF8, 0xFFFF), kTECNoConversionPathErr);
  EXPECT_EQ(TECCreateConverter(nullptr, kUTF8, kUTF16), paramErr);
  EXPECT_EQ(TECDisposeConverter(nullptr), kTECCorruptConverterErr);
  ByteCount read = 7;
  ByteCount written = 7;
  UInt8 byte = 'a';
  EXPECT_EQ(TECConvertText(nullptr, &byte, 1, &read, &byte, 1, &written), kTECCorruptConverterErr);
  EXPECT_EQ(read, 0U);
  EXPECT_EQ(written, 0U);
  ASSERT_EQ(TECCreateConverter(&converter, kUTF8, kUTF16), noErr);
  EXPECT_EQ(TECConvertText(converter, nullptr, 1, &read, &byte, 1, &written), paramErr);
  EXPECT_EQ(TECConvertText(converter, &byte, 1, nullptr, &byte, 1, &written), paramErr);
  EXPECT_EQ(TECConvertText(converter, &byte, 1, &read, nullptr, 1, &written), paramErr);
  EXPECT_EQ(TECConvertText(converter, &byte, 1, &read, &byte, 1, nullptr), paramErr);
  EXPECT_EQ(TECConvertText(converter, nullptr, 0, &read, nullptr, 0, &written), noErr);
  EXPECT_EQ(TECDisposeConverter(converter), noErr);
}

}  // namespace
