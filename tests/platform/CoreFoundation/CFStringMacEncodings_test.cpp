// Strings in the Mac encodings that have tables of their own.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/CoreFoundation/CFString.h"
#include "tests/support/CFUnits.h"

namespace {

using test::CFOwned;
using test::NewString;
using test::Units;

struct Conversion {
  CFIndex units;
  std::string bytes;
  bool operator==(const Conversion&) const = default;
};

Conversion ToBytes(const std::u16string& units, CFStringEncoding encoding, UInt8 loss,
                   CFIndex limit) {
  const CFOwned<CFStringRef> string(NewString(units));
  std::vector<UInt8> buffer(static_cast<std::size_t>(limit) + 1, 0xEE);
  CFIndex used = -1;
  const CFIndex converted = CFStringGetBytes(string, CFRangeMake(0, CFStringGetLength(string)),
                                             encoding, loss, false, buffer.data(), limit, &used);
  EXPECT_EQ(buffer.back(), 0xEE) << "wrote beyond the limit";
  return {converted, std::string(buffer.begin(), buffer.begin() + used)};
}

TEST(CFStringMacEncodings, AreAvailableUnderTheirNames) {
  struct Case {
    CFStringEncoding encoding;
    const char16_t* iana;
    UInt32 codepage;
  };
  for (const Case& c : {Case{kCFStringEncodingMacJapanese, u"x-mac-japanese", 10001},
                        {kCFStringEncodingMacChineseTrad, u"x-mac-trad-chinese", 10002},
                        {kCFStringEncodingMacKorean, u"x-mac-korean", 10003},
                        {kCFStringEncodingMacArabic, u"x-mac-arabic", 10004},
                        {kCFStringEncodingMacHebrew, u"x-mac-hebrew", 10005},
                        {kCFStringEncodingMacChineseSimp, u"x-mac-simp-chinese", 10008},
                        {kCFStringEncodingMacRomanian, u"x-mac-romanian", 10010},
                        {kCFStringEncodingMacUkrainian, u"x-mac-ukrainian", 10017},
                        {kCFStringEncodingMacThai, u"x-mac-thai", 10021},
                        {kCFStringEncodingMacIcelandic, u"x-mac-icelandic", 10079},
                        {kCFStringEncodingMacCroatian, u"x-mac-croatian", 10082}}) {
    EXPECT_TRUE(CFStringIsEncodingAvailable(c.encoding)) << c.encoding;
    EXPECT_EQ(Units(CFStringConvertEncodingToIANACharSetName(c.encoding)), c.iana);
    EXPECT_EQ(CFStringConvertWindowsCodepageToEncoding(c.codepage), c.encoding);
    const CFOwned<CFStringRef> name(NewString(c.iana));
    EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(name), c.encoding);
  }
  for (const CFStringEncoding encoding :
       {kCFStringEncodingMacFarsi, kCFStringEncodingMacSymbol, kCFStringEncodingMacDingbats}) {
    EXPECT_TRUE(CFStringIsEncodingAvailable(encoding)) << encoding;
  }
  EXPECT_FALSE(CFStringIsEncodingAvailable(kCFStringEncodingMacCeltic));
}

TEST(CFStringMacEncodings, TellTheMostBytesTheyNeed) {
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingMacJapanese), 20);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingMacIcelandic), 10);
}

TEST(CFStringMacEncodings, AreCutAtCharacters) {
  // 1, 2, 1 byte for two units, 2 bytes.
  const std::u16string text = u"a\u65E5\u2026\uF87F\u672C";
  const std::string bytes = "a\x93\xFA\xFF\x96\x7B";
  const Conversion expected[] = {
      {0, ""},    {1, "a"},  {1, "a"}, {2, "a\x93\xFA"}, {4, "a\x93\xFA\xFF"}, {4, "a\x93\xFA\xFF"},
      {5, bytes}, {5, bytes}};
  for (CFIndex limit = 0; limit < 8; ++limit) {
    EXPECT_EQ(ToBytes(text, kCFStringEncodingMacJapanese, 0, limit), expected[limit]) << limit;
  }
}

TEST(CFStringMacEncodings, StopOrPutTheLossByte) {
  const std::u16string text = u"a\u0E01\U0001F600\u65E5";
  EXPECT_EQ(ToBytes(text, kCFStringEncodingMacJapanese, 0, 20), (Conversion{1, "a"}));
  EXPECT_EQ(ToBytes(text, kCFStringEncodingMacJapanese, '?', 20), (Conversion{5, "a??\x93\xFA"}));
  EXPECT_EQ(ToBytes(std::u16string{0x05D0, 0xD800, u'z'}, kCFStringEncodingMacHebrew, '?', 20),
            (Conversion{3, "\xE0?z"}));
}

TEST(CFStringMacEncodings, RefuseBytesThatMeanNothing) {
  struct Case {
    CFStringEncoding encoding;
    const char* bytes;
  };
  for (const Case& c : {Case{kCFStringEncodingMacJapanese, "\x93"},
                        {kCFStringEncodingMacJapanese, "\x93\x20"},
                        {kCFStringEncodingMacJapanese, "\xF5"},
                        {kCFStringEncodingMacJapanese, "\xED\xFC"},
                        {kCFStringEncodingMacThai, "\xFC"},
                        {kCFStringEncodingMacSymbol, "\x80"},
                        {kCFStringEncodingMacSymbol, "\xFF"},
                        {kCFStringEncodingMacDingbats, "\xF0"}}) {
    EXPECT_EQ(CFStringCreateWithCString(nullptr, c.bytes, c.encoding), nullptr) << c.bytes;
  }
}

}  // namespace
