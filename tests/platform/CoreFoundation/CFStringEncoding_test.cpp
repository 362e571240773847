#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <array>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "platform/CoreFoundation/CFString.h"
#include "tests/platform/CoreFoundation/SingleByteOracle.h"
#include "tests/support/CFUnits.h"

namespace {

using test::CFOwned;
using test::NewString;
using test::TakeUnits;
using test::Units;

CFStringRef FromBytes(const std::string& bytes, CFStringEncoding encoding, bool external = false) {
  return CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                 static_cast<CFIndex>(bytes.size()), encoding, external);
}

struct Conversion {
  CFIndex units;
  std::string bytes;
  bool operator==(const Conversion&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Conversion& conversion) {
  out << conversion.units << " units:";
  for (const char byte : conversion.bytes) {
    out << ' ' << std::hex << static_cast<unsigned>(static_cast<UInt8>(byte));
  }
  return out << std::dec;
}

Conversion ToBytes(const std::u16string& units, CFStringEncoding encoding, UInt8 loss = 0,
                   bool external = false, CFIndex limit = 4096) {
  const CFOwned<CFStringRef> string(NewString(units));
  std::vector<UInt8> buffer(static_cast<std::size_t>(limit) + 1, 0xEE);
  CFIndex used = -1;
  const CFIndex converted = CFStringGetBytes(string, CFRangeMake(0, CFStringGetLength(string)),
                                             encoding, loss, external, buffer.data(), limit, &used);
  EXPECT_LE(used, limit);
  EXPECT_EQ(buffer[static_cast<std::size_t>(limit)], 0xEE) << "wrote beyond the limit";
  return {converted, std::string(buffer.begin(), buffer.begin() + used)};
}

std::string Byte(unsigned byte) {
  return std::string(1, static_cast<char>(byte));
}

// ---- single-byte encodings ----

TEST(CFStringEncoding, SingleBytesBecomeThePublishedCharacters) {
  for (const SingleByteOracle& oracle : kSingleByteOracles) {
    ASSERT_TRUE(CFStringIsEncodingAvailable(oracle.encoding)) << oracle.encoding;
    for (unsigned byte = 0; byte < 256; ++byte) {
      const CFOwned<CFStringRef> string(FromBytes(Byte(byte), oracle.encoding));
      if (oracle.characters[byte] == 0xFFFF) {
        EXPECT_EQ(string.get(), nullptr) << oracle.encoding << " byte " << byte;
      } else {
        ASSERT_NE(string.get(), nullptr) << oracle.encoding << " byte " << byte;
        EXPECT_EQ(Units(string), std::u16string(1, oracle.characters[byte]))
            << oracle.encoding << " byte " << byte;
      }
    }
  }
}

TEST(CFStringEncoding, EveryCharacterOfThePlaneBecomesItsByteOrFails) {
  std::u16string all;
  for (unsigned c = 0; c < 0xD800; ++c) all += static_cast<char16_t>(c);
  for (unsigned c = 0xE000; c < 0x10000; ++c) all += static_cast<char16_t>(c);
  const CFOwned<CFStringRef> string(NewString(all));
  std::vector<UInt8> bytes(all.size());
  for (const SingleByteOracle& oracle : kSingleByteOracles) {
    std::map<char16_t, UInt8> expected;
    for (unsigned byte = 0; byte < 256; ++byte) {
      if (oracle.characters[byte] != 0xFFFF) {
        expected.try_emplace(oracle.characters[byte], static_cast<UInt8>(byte));
      }
    }
    constexpr UInt8 kLoss = 0x1A;
    CFIndex used = 0;
    ASSERT_EQ(
        CFStringGetBytes(string, CFRangeMake(0, CFStringGetLength(string)), oracle.encoding, kLoss,
                         false, bytes.data(), static_cast<CFIndex>(bytes.size()), &used),
        CFStringGetLength(string));
    ASSERT_EQ(static_cast<std::size_t>(used), all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
      const auto found = expected.find(all[i]);
      if (bytes[i] != (found != expected.end() ? found->second : kLoss)) {
        FAIL() << "encoding " << oracle.encoding << " character " << static_cast<unsigned>(all[i]);
      }
    }
    // Without a loss byte what has no byte fails.
    unsigned failures = 0;
    for (char16_t c = 0; c < 0x500; ++c) {
      const Conversion one = ToBytes(std::u16string(1, c), oracle.encoding, 0, false, 4);
      if (expected.contains(c)) {
        ASSERT_EQ(one, (Conversion{1, Byte(expected[c])}));
      } else {
        ASSERT_EQ(one, (Conversion{0, ""}));
        ++failures;
      }
    }
    EXPECT_GT(failures, 0U);
  }
}

TEST(CFStringEncoding, APairIsOneLossInASingleByteEncoding) {
  EXPECT_EQ(ToBytes(u"a\U0001F600b", kCFStringEncodingMacRoman, '?'), (Conversion{4, "a?b"}));
  EXPECT_EQ(ToBytes(u"a\U0001F600b", kCFStringEncodingISOLatin1, '?'), (Conversion{4, "a?b"}));
  EXPECT_EQ(ToBytes(u"a\U0001F600b", kCFStringEncodingISOLatin1), (Conversion{1, "a"}));
}

// ---- non-lossy ASCII ----

TEST(CFStringEncoding, NonLossyASCIIEscapes) {
  EXPECT_EQ(ToBytes(u"a\\b\u00E9\u20AC\U0001F600\n", kCFStringEncodingNonLossyASCII),
            (Conversion{8, "a\\\\b\\351\\u20ac\\ud83d\\ude00\n"}));
  EXPECT_EQ(
      TakeUnits(FromBytes("a\\\\b\\351\\u20AC\\ud83d\\ude00\n", kCFStringEncodingNonLossyASCII)),
      u"a\\b\u00E9\u20AC\U0001F600\n");
  EXPECT_EQ(TakeUnits(FromBytes("\\000\\377\\u0000", kCFStringEncodingNonLossyASCII)),
            std::u16string(u"\0\u00FF\0", 3));
  // Even a lone surrogate has a form here.
  EXPECT_EQ(ToBytes(std::u16string(1, 0xDC00), kCFStringEncodingNonLossyASCII),
            (Conversion{1, "\\udc00"}));
}

TEST(CFStringEncoding, NonLossyASCIIRefusesBrokenEscapes) {
  for (const char* text : {"\\", "\\4", "\\40", "\\400", "\\389", "\\u", "\\u12", "\\u12g4",
                           "\\x41", "\\n", "\xC3\xA9", "\x80"}) {
    EXPECT_EQ(FromBytes(text, kCFStringEncodingNonLossyASCII), nullptr) << text;
  }
}

RC_GTEST_PROP(CFStringEncoding, NonLossyASCIIKeepsEveryUnit, (const std::vector<UInt16>& units)) {
  const std::u16string text(units.begin(), units.end());
  const Conversion converted = ToBytes(text, kCFStringEncodingNonLossyASCII, 0, false, 100000);
  RC_ASSERT(converted.units == static_cast<CFIndex>(text.size()));
  RC_ASSERT(TakeUnits(FromBytes(converted.bytes, kCFStringEncodingNonLossyASCII)) == text);
}

// ---- UTF-8 ----

TEST(CFStringEncoding, UTF8RoundTripsEveryScalar) {
  std::u16string text;
  std::string bytes;
  for (char32_t c = 0; c < 0x110000; c += (c < 0x3000 ? 1 : 7)) {
    if (c >= 0xD800 && c < 0xE000) continue;
    if (c < 0x10000) {
      text += static_cast<char16_t>(c);
    } else {
      text += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
      text += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    }
    if (c < 0x80) {
      bytes += static_cast<char>(c);
    } else if (c < 0x800) {
      bytes += {static_cast<char>(0xC0 + c / 64), static_cast<char>(0x80 + c % 64)};
    } else if (c < 0x10000) {
      bytes += {static_cast<char>(0xE0 + c / 4096), static_cast<char>(0x80 + c / 64 % 64),
                static_cast<char>(0x80 + c % 64)};
    } else {
      bytes += {static_cast<char>(0xF0 + c / 262144), static_cast<char>(0x80 + c / 4096 % 64),
                static_cast<char>(0x80 + c / 64 % 64), static_cast<char>(0x80 + c % 64)};
    }
  }
  const CFOwned<CFStringRef> string(FromBytes(bytes, kCFStringEncodingUTF8));
  ASSERT_NE(string.get(), nullptr);
  EXPECT_TRUE(Units(string) == text);
  const Conversion back = ToBytes(text, kCFStringEncodingUTF8, 0, false, 1 << 21);
  EXPECT_EQ(back.units, static_cast<CFIndex>(text.size()));
  EXPECT_TRUE(back.bytes == bytes);
}

TEST(CFStringEncoding, UTF8RefusesWhatIsNotWellFormed) {
  for (const char* text : {"\x80",
                           "\xBF",
                           "\xC0\x80",
                           "\xC1\xBF",
                           "\xC3",
                           "\xC3\x28",
                           "\xE0\x80\x80",
                           "\xE0\x9F\xBF",
                           "\xE2\x82",
                           "\xE2\x28\xA1",
                           "\xED\xA0\x80",
                           "\xED\xBF\xBF",
                           "\xF0\x80\x80\x80",
                           "\xF0\x8F\xBF\xBF",
                           "\xF0\x9F\x98",
                           "\xF4\x90\x80\x80",
                           "\xF5\x80\x80\x80",
                           "\xFE",
                           "\xFF",
                           "ok\xFFok"}) {
    EXPECT_EQ(FromBytes(text, kCFStringEncodingUTF8), nullptr) << text;
  }
}

TEST(CFStringEncoding, LoneSurrogatesHaveNoFormOutsideUTF16) {
  for (const char16_t unit : {u'\xD800', u'\xDBFF', u'\xDC00', u'\xDFFF'}) {
    const std::u16string text = {u'a', unit, u'b'};
    for (const CFStringEncoding encoding :
         {CFStringEncoding{kCFStringEncodingUTF8}, CFStringEncoding{kCFStringEncodingISOLatin1},
          CFStringEncoding{kCFStringEncodingMacRoman}, CFStringEncoding{kCFStringEncodingShiftJIS},
          CFStringEncoding{kCFStringEncodingGB_18030_2000}}) {
      EXPECT_EQ(ToBytes(text, encoding), (Conversion{1, "a"})) << encoding;
      EXPECT_EQ(ToBytes(text, encoding, '?'), (Conversion{3, "a?b"})) << encoding;
    }
    EXPECT_EQ(ToBytes(text, kCFStringEncodingUTF32LE).units, 1);
    EXPECT_EQ(ToBytes(text, kCFStringEncodingUTF16).units, 3);
  }
  // A swapped pair is two lone ones.
  EXPECT_EQ(ToBytes(std::u16string{0xDE00, 0xD83D}, kCFStringEncodingUTF8, '?'),
            (Conversion{2, "??"}));
}

// ---- UTF-16 and UTF-32 ----

TEST(CFStringEncoding, UTF16InBothOrders) {
  EXPECT_EQ(ToBytes(u"A\u20AC", kCFStringEncodingUTF16BE),
            (Conversion{2, std::string("\0A\x20\xAC", 4)}));
  EXPECT_EQ(ToBytes(u"A\u20AC", kCFStringEncodingUTF16LE),
            (Conversion{2, std::string("A\0\xAC\x20", 4)}));
  const char16_t units[] = {u'A', u'\u20AC'};
  EXPECT_EQ(ToBytes(u"A\u20AC", kCFStringEncodingUnicode),
            (Conversion{2, std::string(reinterpret_cast<const char*>(units), 4)}));
  EXPECT_EQ(TakeUnits(FromBytes(std::string("\0A\x20\xAC", 4), kCFStringEncodingUTF16BE)),
            u"A\u20AC");
  EXPECT_EQ(TakeUnits(FromBytes(std::string("A\0\xAC\x20", 4), kCFStringEncodingUTF16LE)),
            u"A\u20AC");
  EXPECT_EQ(TakeUnits(FromBytes(std::string("A\0\xAC", 3), kCFStringEncodingUTF16LE)), u"A")
      << "half a unit is left out";
}

TEST(CFStringEncoding, UTF32InBothOrders) {
  EXPECT_EQ(ToBytes(u"\U0001F600", kCFStringEncodingUTF32BE),
            (Conversion{2, std::string("\0\x01\xF6\0", 4)}));
  EXPECT_EQ(ToBytes(u"\U0001F600", kCFStringEncodingUTF32LE),
            (Conversion{2, std::string("\0\xF6\x01\0", 4)}));
  EXPECT_EQ(TakeUnits(FromBytes(std::string("\0\x01\xF6\0", 4), kCFStringEncodingUTF32BE)),
            u"\U0001F600");
  EXPECT_EQ(FromBytes(std::string("\0\x01\xF6", 3), kCFStringEncodingUTF32BE), nullptr);
  EXPECT_EQ(FromBytes(std::string("\0\x11\0\0", 4), kCFStringEncodingUTF32BE), nullptr);
  EXPECT_EQ(FromBytes(std::string("\0\0\xD8\0", 4), kCFStringEncodingUTF32BE), nullptr);
}

TEST(CFStringEncoding, ByteOrderMarksBelongToExternalForms) {
  EXPECT_EQ(TakeUnits(FromBytes("\xEF\xBB\xBFx", kCFStringEncodingUTF8, true)), u"x");
  EXPECT_EQ(TakeUnits(FromBytes("\xEF\xBB\xBFx", kCFStringEncodingUTF8, false)), u"\uFEFFx");
  EXPECT_EQ(TakeUnits(FromBytes(std::string("\xFE\xFF\0x", 4), kCFStringEncodingUTF16, true)),
            u"x");
  EXPECT_EQ(TakeUnits(FromBytes(std::string("\xFF\xFEx\0", 4), kCFStringEncodingUTF16, true)),
            u"x");
  EXPECT_EQ(
      TakeUnits(FromBytes(std::string("\0\0\xFE\xFF\0\0\0x", 8), kCFStringEncodingUTF32, true)),
      u"x");
  EXPECT_EQ(TakeUnits(FromBytes(std::string("\xFE\xFF\0x", 4), kCFStringEncodingUTF16BE, true)),
            u"x");
  // An order that is stated is not overruled.
  EXPECT_EQ(TakeUnits(FromBytes(std::string("\xFF\xFE\0x", 4), kCFStringEncodingUTF16BE, true)),
            u"\uFFFEx");
  const Conversion marked = ToBytes(u"x", kCFStringEncodingUTF16, 0, true);
  const char16_t expected[] = {u'\uFEFF', u'x'};
  EXPECT_EQ(marked, (Conversion{1, std::string(reinterpret_cast<const char*>(expected), 4)}));
  EXPECT_EQ(ToBytes(u"x", kCFStringEncodingUTF8, 0, true), (Conversion{1, "x"}));
  EXPECT_EQ(ToBytes(u"x", kCFStringEncodingUTF16BE, 0, true),
            (Conversion{1, std::string("\0x", 2)}));
  EXPECT_EQ(ToBytes(u"x", kCFStringEncodingUTF32, 0, true).bytes.size(), 8U);
  EXPECT_EQ(ToBytes(u"x", kCFStringEncodingUTF16, 0, true, 1), (Conversion{0, ""}));
}

RC_GTEST_PROP(CFStringEncoding, UTF16KeepsEveryUnitInEveryOrder,
              (const std::vector<UInt16>& units)) {
  const std::u16string text(units.begin(), units.end());
  for (const CFStringEncoding encoding :
       {kCFStringEncodingUTF16, kCFStringEncodingUTF16BE, kCFStringEncodingUTF16LE}) {
    const Conversion converted = ToBytes(text, encoding, 0, false, 100000);
    RC_ASSERT(converted.bytes.size() == 2 * text.size());
    RC_ASSERT(TakeUnits(FromBytes(converted.bytes, encoding)) == text);
  }
}

// ---- encodings of several bytes ----

struct Sample {
  CFStringEncoding encoding;
  const char16_t* text;
  const char* bytes;
};

// As Python 3's codecs convert them.
constexpr Sample kSamples[] = {
    {kCFStringEncodingGB_18030_2000, u"中文€𠀀ä",
     "\xD6\xD0\xCE\xC4\xA2\xE3\x95\x32\x82\x36\x81\x30\x8A\x31"},
    {kCFStringEncodingGBK_95, u"中文漢字", "\xD6\xD0\xCE\xC4\x9D\x68\xD7\xD6"},
    {kCFStringEncodingEUC_CN, u"中文汉字", "\xD6\xD0\xCE\xC4\xBA\xBA\xD7\xD6"},
    {kCFStringEncodingBig5, u"中文漢字", "\xA4\xA4\xA4\xE5\xBA\x7E\xA6\x72"},
    {kCFStringEncodingBig5_HKSCS_1999, u"中文漢字", "\xA4\xA4\xA4\xE5\xBA\x7E\xA6\x72"},
    {kCFStringEncodingShiftJIS, u"日本語カナｱ", "\x93\xFA\x96\x7B\x8C\xEA\x83\x4A\x83\x69\xB1"},
    {kCFStringEncodingDOSJapanese, u"日本語カナｱ①",
     "\x93\xFA\x96\x7B\x8C\xEA\x83\x4A\x83\x69\xB1\x87\x40"},
    {kCFStringEncodingEUC_JP, u"日本語カナｱ", "\xC6\xFC\xCB\xDC\xB8\xEC\xA5\xAB\xA5\xCA\x8E\xB1"},
    {kCFStringEncodingEUC_KR, u"한국어", "\xC7\xD1\xB1\xB9\xBE\xEE"},
    {kCFStringEncodingDOSKorean, u"한국어똠", "\xC7\xD1\xB1\xB9\xBE\xEE\x8C\x63"},
    {kCFStringEncodingDOSChineseTrad, u"中文漢字", "\xA4\xA4\xA4\xE5\xBA\x7E\xA6\x72"},
    {kCFStringEncodingDOSChineseSimplif, u"中文漢字", "\xD6\xD0\xCE\xC4\x9D\x68\xD7\xD6"},
    {kCFStringEncodingISO_2022_JP, u"abc日本語def",
     "\x61\x62\x63\x1B\x24\x42\x46\x7C\x4B\x5C\x38\x6C\x1B\x28\x42\x64\x65\x66"},
    {kCFStringEncodingISO_2022_JP_1, u"abc日本語def",
     "\x61\x62\x63\x1B\x24\x42\x46\x7C\x4B\x5C\x38\x6C\x1B\x28\x42\x64\x65\x66"},
    {kCFStringEncodingISO_2022_JP_2, u"abc日本語def",
     "\x61\x62\x63\x1B\x24\x42\x46\x7C\x4B\x5C\x38\x6C\x1B\x28\x42\x64\x65\x66"},
    {kCFStringEncodingISO_2022_KR, u"ab한국어cd",
     "\x61\x62\x1B\x24\x29\x43\x0E\x47\x51\x31\x39\x3E\x6E\x0F\x63\x64"},
    {kCFStringEncodingHZ_GB_2312, u"ab中文cd", "\x61\x62\x7E\x7B\x56\x50\x4E\x44\x7E\x7D\x63\x64"},
    {kCFStringEncodingUTF7, u"Hi 中文!", "\x48\x69\x20\x2B\x54\x69\x31\x6C\x68\x77\x21"},
};

TEST(CFStringEncoding, SeveralByteEncodingsBothWays) {
  for (const Sample& sample : kSamples) {
    ASSERT_TRUE(CFStringIsEncodingAvailable(sample.encoding)) << sample.encoding;
    const std::u16string text = sample.text;
    const Conversion converted = ToBytes(text, sample.encoding);
    if (sample.encoding == kCFStringEncodingISO_2022_KR ||
        sample.encoding == kCFStringEncodingHZ_GB_2312) {
      // Both may announce or reset their sets in more than one place.
      EXPECT_EQ(TakeUnits(FromBytes(converted.bytes, sample.encoding)), text);
    } else {
      EXPECT_EQ(converted, (Conversion{static_cast<CFIndex>(text.size()), sample.bytes}))
          << sample.encoding;
    }
    const CFOwned<CFStringRef> string(FromBytes(sample.bytes, sample.encoding));
    ASSERT_NE(string.get(), nullptr) << sample.encoding;
    EXPECT_EQ(Units(string), text) << sample.encoding;
  }
}

TEST(CFStringEncoding, SeveralByteEncodingsAreCutAtCharacters) {
  for (const Sample& sample : kSamples) {
    const std::u16string text = sample.text;
    const auto size = static_cast<CFIndex>(ToBytes(text, sample.encoding).bytes.size());
    CFIndex before = -1;
    for (CFIndex limit = 0; limit <= size; ++limit) {
      const Conversion cut = ToBytes(text, sample.encoding, 0, false, limit);
      EXPECT_GE(cut.units, before);
      before = cut.units;
      // What came out is complete in itself.
      const CFOwned<CFStringRef> string(FromBytes(cut.bytes, sample.encoding));
      ASSERT_NE(string.get(), nullptr) << sample.encoding << " at " << limit;
      EXPECT_EQ(Units(string), text.substr(0, static_cast<std::size_t>(cut.units)))
          << sample.encoding << " at " << limit;
    }
    EXPECT_EQ(before, static_cast<CFIndex>(text.size()));
  }
}

TEST(CFStringEncoding, SeveralByteEncodingsStopOrPutTheLossByte) {
  // A character that none of the Japanese sets has.
  const std::u16string text = u"\u65E5\u0E01\u672C";
  EXPECT_EQ(ToBytes(text, kCFStringEncodingShiftJIS), (Conversion{1, "\x93\xFA"}));
  EXPECT_EQ(ToBytes(text, kCFStringEncodingShiftJIS, '?'), (Conversion{3, "\x93\xFA?\x96\x7B"}));
  EXPECT_EQ(ToBytes(text, kCFStringEncodingEUC_JP, '?'), (Conversion{3, "\xC6\xFC?\xCB\xDC"}));
  // With shifts, the loss byte is ASCII's, and the cut text is shifted back.
  EXPECT_EQ(ToBytes(text, kCFStringEncodingISO_2022_JP), (Conversion{1, "\x1B$B\x46\x7C\x1B(B"}));
  EXPECT_EQ(ToBytes(text, kCFStringEncodingISO_2022_JP, '?'),
            (Conversion{3, "\x1B$B\x46\x7C\x1B(B?\x1B$B\x4B\x5C\x1B(B"}));
  EXPECT_EQ(ToBytes(u"\u65E5\U0001F600\u672C", kCFStringEncodingEUC_JP, '?'),
            (Conversion{4, "\xC6\xFC?\xCB\xDC"}));
}

TEST(CFStringEncoding, SeveralByteEncodingsRefuseBrokenBytes) {
  EXPECT_EQ(FromBytes("\x93", kCFStringEncodingShiftJIS), nullptr);
  EXPECT_EQ(FromBytes("a\xFF", kCFStringEncodingEUC_JP), nullptr);
  EXPECT_EQ(FromBytes("\xA4", kCFStringEncodingBig5), nullptr);
  EXPECT_EQ(FromBytes("\x81\x30\x81", kCFStringEncodingGB_18030_2000), nullptr);
  EXPECT_EQ(FromBytes("\x1B$Q!!", kCFStringEncodingISO_2022_JP), nullptr);
}

TEST(CFStringEncoding, LongTextsOfSeveralBytesPassTheLibrarysBuffers) {
  std::u16string text;
  for (int i = 0; i < 3000; ++i) text += u"\u65E5\u672Cx";
  for (const CFStringEncoding encoding :
       {kCFStringEncodingShiftJIS, kCFStringEncodingISO_2022_JP, kCFStringEncodingGB_18030_2000}) {
    const Conversion whole = ToBytes(text, encoding, 0, false, 1 << 20);
    ASSERT_EQ(whole.units, static_cast<CFIndex>(text.size()));
    EXPECT_TRUE(TakeUnits(FromBytes(whole.bytes, encoding)) == text);
    const Conversion cut = ToBytes(text, encoding, 0, false, 5001);
    EXPECT_TRUE(TakeUnits(FromBytes(cut.bytes, encoding)) ==
                text.substr(0, static_cast<std::size_t>(cut.units)));
    // One more character would not have fitted.
    const Conversion more = ToBytes(text.substr(0, static_cast<std::size_t>(cut.units) + 1),
                                    encoding, 0, false, 1 << 20);
    EXPECT_GT(more.bytes.size(), 5001U);
  }
}

TEST(CFStringEncoding, EveryAvailableEncodingKeepsASCIIRoundTrip) {
  const std::u16string text = u"Hello, World 0123456789";
  for (const CFStringEncoding* encoding = CFStringGetListOfAvailableEncodings();
       *encoding != kCFStringEncodingInvalidId; ++encoding) {
    // These have no ASCII.
    if (*encoding == kCFStringEncodingGB_2312_80 || *encoding == kCFStringEncodingMacSymbol ||
        *encoding == kCFStringEncodingMacDingbats) {
      continue;
    }
    const Conversion converted = ToBytes(text, *encoding);
    EXPECT_EQ(converted.units, static_cast<CFIndex>(text.size())) << *encoding;
    EXPECT_LE(static_cast<CFIndex>(converted.bytes.size()),
              CFStringGetMaximumSizeForEncoding(static_cast<CFIndex>(text.size()), *encoding));
    EXPECT_EQ(TakeUnits(FromBytes(converted.bytes, *encoding)), text) << *encoding;
    EXPECT_NE(CFStringGetNameOfEncoding(*encoding), nullptr);
    EXPECT_TRUE(CFStringIsEncodingAvailable(*encoding));
  }
}

TEST(CFStringEncoding, ALossByteTheEncodingLacksIsWrittenAsItIs) {
  EXPECT_EQ(ToBytes(u"\u4E2D\u0E01\u6587", kCFStringEncodingGB_2312_80, '?'),
            (Conversion{3, "\x56\x50?\x4E\x44"}));
  EXPECT_EQ(ToBytes(u"\u0E01", kCFStringEncodingShiftJIS, 0xFE), (Conversion{1, "\xFE"}));
}

// ---- names and sizes ----

TEST(CFStringEncoding, NamedEncodingsAreAvailable) {
  for (const CFStringEncoding encoding :
       {0x08000100U, 0U, 0x0500U, 0x0201U, 0x0600U, 0x0B01U, 0x0BFFU, 0x0100U, 0x10000100U,
        0x14000100U, 0x0c000100U, 0x18000100U, 0x1c000100U}) {
    EXPECT_TRUE(CFStringIsEncodingAvailable(encoding)) << encoding;
  }
  EXPECT_FALSE(CFStringIsEncodingAvailable(kCFStringEncodingInvalidId));
  EXPECT_FALSE(CFStringIsEncodingAvailable(0x7777));
  EXPECT_FALSE(CFStringIsEncodingAvailable(kCFStringEncodingMacTibetan));
  EXPECT_EQ(FromBytes("x", 0x7777), nullptr);
  EXPECT_EQ(ToBytes(u"x", 0x7777), (Conversion{0, ""}));
  EXPECT_EQ(CFStringGetNameOfEncoding(0x7777), nullptr);
  EXPECT_EQ(CFStringGetSystemEncoding(), 0x08000100U);
  EXPECT_EQ(CFStringFileSystemEncoding(), 0x08000100U);
}

TEST(CFStringEncoding, MaximumSizes) {
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF8), 30);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingMacRoman), 10);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingASCII), 10);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUnicode), 20);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF32), 40);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingNonLossyASCII), 60);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(0, kCFStringEncodingUTF8), 0);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(-1, kCFStringEncodingUTF8), kCFNotFound);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(0x7FFFFFFF, kCFStringEncodingUTF8), kCFNotFound);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(0x7FFFFFFF, kCFStringEncodingMacRoman), 0x7FFFFFFF);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(1, 0x7777), kCFNotFound);
}

RC_GTEST_PROP(CFStringEncoding, NoTextNeedsMoreThanTheMaximum, (const std::vector<UInt16>& units)) {
  const std::u16string text(units.begin(), units.end());
  for (const CFStringEncoding* encoding = CFStringGetListOfAvailableEncodings();
       *encoding != kCFStringEncodingInvalidId; ++encoding) {
    const CFIndex most =
        CFStringGetMaximumSizeForEncoding(static_cast<CFIndex>(text.size()), *encoding);
    const Conversion converted = ToBytes(text, *encoding, '?', false, 1 << 16);
    RC_ASSERT(static_cast<CFIndex>(converted.bytes.size()) <= most);
  }
}

TEST(CFStringEncoding, IANANames) {
  const auto name = [](CFStringEncoding encoding) {
    return Units(CFStringConvertEncodingToIANACharSetName(encoding));
  };
  EXPECT_EQ(name(kCFStringEncodingUTF8), u"utf-8");
  EXPECT_EQ(name(kCFStringEncodingMacRoman), u"macintosh");
  EXPECT_EQ(name(kCFStringEncodingISOLatin1), u"iso-8859-1");
  EXPECT_EQ(name(kCFStringEncodingWindowsLatin1), u"windows-1252");
  EXPECT_EQ(name(kCFStringEncodingASCII), u"us-ascii");
  EXPECT_EQ(name(kCFStringEncodingUnicode), u"utf-16");
  EXPECT_EQ(CFStringConvertEncodingToIANACharSetName(kCFStringEncodingNextStepLatin), nullptr);
  EXPECT_EQ(CFStringConvertEncodingToIANACharSetName(0x7777), nullptr);
  for (const CFStringEncoding* encoding = CFStringGetListOfAvailableEncodings();
       *encoding != kCFStringEncodingInvalidId; ++encoding) {
    const CFStringRef iana = CFStringConvertEncodingToIANACharSetName(*encoding);
    if (iana == nullptr) continue;
    const CFStringEncoding back = CFStringConvertIANACharSetNameToEncoding(iana);
    EXPECT_EQ(CFStringConvertEncodingToIANACharSetName(back), iana) << *encoding;
  }
  EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(CFSTR("UTF-8")), 0x08000100U);
  EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(CFSTR("latin1")), 0x0201U);
  EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(CFSTR("ANSI_X3.4-1968")), 0x0600U);
  EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(CFSTR("no-such-set")),
            kCFStringEncodingInvalidId);
  EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(CFSTR("")), kCFStringEncodingInvalidId);
  EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(nullptr), kCFStringEncodingInvalidId);
}

TEST(CFStringEncoding, WindowsCodePages) {
  EXPECT_EQ(CFStringConvertEncodingToWindowsCodepage(kCFStringEncodingWindowsLatin1), 1252U);
  EXPECT_EQ(CFStringConvertEncodingToWindowsCodepage(kCFStringEncodingUTF8), 65001U);
  EXPECT_EQ(CFStringConvertWindowsCodepageToEncoding(1251), kCFStringEncodingWindowsCyrillic);
  EXPECT_EQ(CFStringConvertWindowsCodepageToEncoding(4), kCFStringEncodingInvalidId);
  EXPECT_EQ(CFStringConvertWindowsCodepageToEncoding(0), kCFStringEncodingInvalidId);
  EXPECT_EQ(CFStringConvertEncodingToWindowsCodepage(kCFStringEncodingNextStepLatin),
            kCFStringEncodingInvalidId);
  EXPECT_EQ(CFStringGetMostCompatibleMacStringEncoding(kCFStringEncodingWindowsLatin1),
            CFStringEncoding{kCFStringEncodingMacRoman});
  EXPECT_EQ(CFStringGetMostCompatibleMacStringEncoding(kCFStringEncodingMacGreek),
            kCFStringEncodingMacGreek);
}

}  // namespace
