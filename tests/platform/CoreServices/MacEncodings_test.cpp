// Every byte of every Mac script, both ways.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "platform/CoreServices/TextEncodingConverter.h"
#include "platform/CoreServices/UnicodeConverter.h"

namespace {

struct Result {
  OSStatus status;
  ByteCount read;
  std::string out;
};

// Both directions between an encoding and the names of HFS Plus.
class Converters {
 public:
  explicit Converters(TextEncodingBase base,
                      TextEncodingVariant variant = kUnicodeCanonicalDecompVariant) {
    const UnicodeMapping mapping = {
        CreateTextEncoding(kTextEncodingUnicodeV2_0, variant, kUnicode16BitFormat), base,
        kUnicodeUseHFSPlusMapping};
    EXPECT_EQ(CreateTextToUnicodeInfo(&mapping, &toUnicode), noErr) << base;
    EXPECT_EQ(CreateUnicodeToTextInfo(&mapping, &toText), noErr) << base;
  }
  ~Converters() {
    DisposeTextToUnicodeInfo(&toUnicode);
    DisposeUnicodeToTextInfo(&toText);
  }
  Converters(const Converters&) = delete;
  Converters& operator=(const Converters&) = delete;

  OSStatus Decode(const std::string& bytes, std::u16string& text) const {
    UniChar units[64];
    ByteCount read = 0;
    ByteCount written = 0;
    const OSStatus status = ConvertFromTextToUnicode(
        toUnicode, static_cast<ByteCount>(bytes.size()), bytes.data(), 0, 0, nullptr, nullptr,
        nullptr, sizeof units, &read, &written, units);
    text.assign(units, units + written / 2);
    return status;
  }
  OSStatus Encode(const std::u16string& text, std::string& bytes) const {
    char out[64];
    ByteCount read = 0;
    ByteCount written = 0;
    const OSStatus status =
        ConvertFromUnicodeToText(toText, static_cast<ByteCount>(2 * text.size()),
                                 reinterpret_cast<const UniChar*>(text.data()), 0, 0, nullptr,
                                 nullptr, nullptr, sizeof out, &read, &written, out);
    bytes.assign(out, out + written);
    return status;
  }

  TextToUnicodeInfo toUnicode = nullptr;
  UnicodeToTextInfo toText = nullptr;
};

std::string Hex(const std::string& bytes) {
  std::string out;
  for (const char byte : bytes) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(static_cast<UInt8>(byte)));
    out += digits;
  }
  return out;
}

struct SingleByteSet {
  TextEncodingBase base;
  unsigned meaning;  // bytes that mean something
  unsigned twins;    // of these, such as mean what a lower byte does
};

constexpr SingleByteSet kSingleByteSets[] = {
    {kTextEncodingMacRoman, 256, 0},
    // ASCII's signs (and Hebrew's digits) once in each direction.
    {kTextEncodingMacArabic, 256, 26},
    {kTextEncodingMacFarsi, 256, 26},
    {kTextEncodingMacHebrew, 256, 36},
    {kTextEncodingMacGreek, 256, 0},
    {kTextEncodingMacCyrillic, 256, 0},
    {kTextEncodingMacUkrainian, 256, 0},
    {kTextEncodingMacThai, 250, 0},
    {kTextEncodingMacCentralEurRoman, 256, 0},
    {kTextEncodingMacSymbol, 223, 0},
    {kTextEncodingMacDingbats, 235, 0},
    {kTextEncodingMacTurkish, 256, 0},
    {kTextEncodingMacCroatian, 256, 0},
    {kTextEncodingMacIcelandic, 256, 0},
    {kTextEncodingMacRomanian, 256, 0},
};

TEST(MacEncodings, EveryByteOfASingleByteScriptBothWays) {
  for (const SingleByteSet& set : kSingleByteSets) {
    for (const TextEncodingVariant variant :
         {kTextEncodingDefaultVariant, kUnicodeCanonicalDecompVariant,
          kUnicodeCanonicalCompVariant}) {
      const Converters converters(set.base, variant);
      std::map<std::u16string, std::string> firstOf;
      unsigned meaning = 0;
      unsigned twins = 0;
      for (unsigned byte = 0; byte < 256; ++byte) {
        const std::string bytes(1, static_cast<char>(byte));
        std::u16string text;
        const OSStatus status = converters.Decode(bytes, text);
        if (status != noErr) {
          EXPECT_EQ(status, kTextMalformedInputErr) << set.base << ' ' << byte;
          EXPECT_EQ(text, u"");
          continue;
        }
        ++meaning;
        ASSERT_FALSE(text.empty()) << set.base << ' ' << byte;
        twins += firstOf.try_emplace(text, bytes).second ? 0 : 1;
        std::string back;
        ASSERT_EQ(converters.Encode(text, back), noErr) << set.base << ' ' << byte;
        ASSERT_EQ(Hex(back), Hex(firstOf[text])) << set.base << ' ' << byte;
      }
      EXPECT_EQ(meaning, set.meaning) << set.base;
      EXPECT_EQ(twins, set.twins) << set.base;
    }
  }
}

struct DoubleByteSet {
  TextEncodingBase base;
  unsigned singles;
  unsigned doubles;
};

constexpr DoubleByteSet kDoubleByteSets[] = {
    {kTextEncodingMacJapanese, 196, 7192},
    {kTextEncodingMacKorean, 134, 9361},
    {kTextEncodingMacChineseTrad, 135, 13461},
    {kTextEncodingMacChineseSimp, 135, 7480},
};

TEST(MacEncodings, EveryCodeOfADoubleByteScriptBothWays) {
  for (const DoubleByteSet& set : kDoubleByteSets) {
    const Converters converters(set.base);
    std::map<std::u16string, std::string> firstOf;
    unsigned singles = 0;
    unsigned doubles = 0;
    const auto tryCode = [&](const std::string& bytes) {
      std::u16string text;
      if (converters.Decode(bytes, text) != noErr) return false;
      firstOf.try_emplace(text, bytes);
      std::string back;
      EXPECT_EQ(converters.Encode(text, back), noErr) << set.base << ' ' << Hex(bytes);
      EXPECT_EQ(Hex(back), Hex(firstOf[text])) << set.base;
      return true;
    };
    for (unsigned byte = 0; byte < 256; ++byte) {
      const std::string lead(1, static_cast<char>(byte));
      if (tryCode(lead)) {
        ++singles;
        continue;
      }
      for (unsigned second = 0; second < 256; ++second) {
        doubles += tryCode(lead + static_cast<char>(second)) ? 1 : 0;
      }
    }
    EXPECT_EQ(singles, set.singles) << set.base;
    EXPECT_EQ(doubles, set.doubles) << set.base;
    EXPECT_EQ(firstOf.size(), singles + doubles) << set.base << ": no two codes are twins";
  }
}

TEST(MacEncodings, CharactersOfThePublishedTables) {
  struct Case {
    TextEncodingBase base;
    const char* bytes;
    const char16_t* text;
  };
  for (const Case& c :
       {Case{kTextEncodingMacRoman, "\xDB\xF0\x8E", u"\u20AC\uF8FF\u00E9"},
        {kTextEncodingMacIcelandic, "\xA0\xDC\xDE\xE0", u"\u00DD\u00D0\u00DE\u00FD"},
        {kTextEncodingMacCroatian, "\xA9\xD0\xF0", u"\u0160\u0110\u0111"},
        {kTextEncodingMacRomanian, "\xAE\xAF\xDE\xDF", u"\u0102\u0218\u021A\u021B"},
        {kTextEncodingMacTurkish, "\xDA\xDD\xDE", u"\u011E\u0131\u015E"},
        {kTextEncodingMacUkrainian, "\xA2\xB6\xFF", u"\u0490\u0491\u20AC"},
        {kTextEncodingMacHebrew, "\xA8\xA9\xE0", u")(\u05D0"},
        {kTextEncodingMacHebrew, "\xA6\xC0\x81", u"\u20AA\uF86A\u05DC\u05B9\u05F2\u05B7"},
        {kTextEncodingMacArabic, "\x20\xA0\xA5\xB1\xC7", u"  \u066A\u0661\u0627"},
        {kTextEncodingMacFarsi, "\xB1\xF3\xFF", u"\u06F1\u067E\u06D2"},
        {kTextEncodingMacThai, "\x83\xA1", u"\u0E48\uF875\u0E01"},
        {kTextEncodingMacSymbol, "\"aE\xE2", u"\u2200\u03B1\u0395\u00AE\uF87F"},
        {kTextEncodingMacDingbats, "!\xFE", u"\u2701\u27BE"},
        {kTextEncodingMacJapanese, "\\\x80\xA0\xFD\xFE\xFF",
         u"\u00A5\\\u00A0\u00A9\u2122\u2026\uF87F"},
        {kTextEncodingMacJapanese, "\x88\x9F\xB1", u"\u4E9C\uFF71"},
        {kTextEncodingMacKorean, "\xB0\xA1\x80", u"\uAC00\u00A0"},
        {kTextEncodingMacChineseTrad, "\xA4\x40", u"\u4E00"},
        {kTextEncodingMacChineseSimp, "\xB0\xA1", u"\u554A"}}) {
    const Converters converters(c.base, kTextEncodingDefaultVariant);
    std::u16string text;
    EXPECT_EQ(converters.Decode(c.bytes, text), noErr) << c.base;
    EXPECT_EQ(text, c.text) << c.base;
  }
}

TEST(MacEncodings, ScriptsWithoutATableAreUnsupported) {
  for (const TextEncodingBase base :
       {TextEncodingBase{8}, TextEncodingBase{kTextEncodingMacDevanagari}, TextEncodingBase{10},
        TextEncodingBase{20}, TextEncodingBase{22}, TextEncodingBase{26}, TextEncodingBase{28},
        TextEncodingBase{30}, TextEncodingBase{kTextEncodingMacExtArabic},
        TextEncodingBase{kTextEncodingMacCeltic}, TextEncodingBase{kTextEncodingMacGaelic},
        TextEncodingBase{kTextEncodingMacInuit}, TextEncodingBase{0x7E},
        TextEncodingBase{0xFFFF}}) {
    const UnicodeMapping mapping = {CreateTextEncoding(kTextEncodingUnicodeV2_0, 2, 0), base,
                                    kUnicodeUseHFSPlusMapping};
    TextToUnicodeInfo toUnicode = reinterpret_cast<TextToUnicodeInfo>(1);
    UnicodeToTextInfo toText = reinterpret_cast<UnicodeToTextInfo>(1);
    EXPECT_EQ(CreateTextToUnicodeInfo(&mapping, &toUnicode), kTextUnsupportedEncodingErr) << base;
    EXPECT_EQ(CreateUnicodeToTextInfo(&mapping, &toText), kTextUnsupportedEncodingErr) << base;
    EXPECT_EQ(toUnicode, nullptr);
    EXPECT_EQ(toText, nullptr);
  }
}

// The tables as Perl has them now: a line "BYTES UNIT UNIT..." for each code.
std::string FromPerl(const char* encoding) {
  const std::string command =
      std::string(
          "perl -MEncode -e 'my $e = shift; sub d { my $t = eval { decode($e, $_[0], "
          "Encode::FB_CROAK | Encode::LEAVE_SRC) }; return unless defined $t && length $t; "
          "printf qq(%s %s\\n), uc unpack(q(H*), $_[0]), uc unpack(q(H*), "
          "encode(q(UTF-16BE), $t)); 1 } for my $a (0 .. 255) { next if d(chr $a); next if "
          "$a < 128; d(chr($a) . chr $_) for 0 .. 255 }' ") +
      encoding + " 2>/dev/null";
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return out;
  char buffer[4096];
  for (std::size_t size = 0; (size = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
    out.append(buffer, size);
  }
  pclose(pipe);
  return out;
}

TEST(MacEncodings, TablesAreWhatPerlHas) {
  if (std::system(
          "perl -MEncode -MEncode::Byte -MEncode::Symbol -MEncode::JP -MEncode::KR -MEncode::CN "
          "-MEncode::TW -e 1 >/dev/null 2>&1") != 0) {
    GTEST_SKIP() << "perl with Encode is not there to compare with";
  }
  struct Case {
    TextEncodingBase base;
    const char* name;
    unsigned codes;
  };
  for (const Case& c : {Case{kTextEncodingMacJapanese, "MacJapanese", 7387},
                        {kTextEncodingMacKorean, "MacKorean", 9494},
                        {kTextEncodingMacChineseTrad, "MacChineseTrad", 13595},
                        {kTextEncodingMacChineseSimp, "MacChineseSimp", 7614},
                        {kTextEncodingMacArabic, "MacArabic", 229},
                        {kTextEncodingMacFarsi, "MacFarsi", 229},
                        {kTextEncodingMacHebrew, "MacHebrew", 219},
                        {kTextEncodingMacThai, "MacThai", 249},
                        {kTextEncodingMacSymbol, "MacSymbol", 222},
                        {kTextEncodingMacDingbats, "MacDingbats", 234},
                        {kTextEncodingMacCroatian, "MacCroatian", 255},
                        {kTextEncodingMacIcelandic, "MacIcelandic", 255},
                        {kTextEncodingMacRomanian, "MacRomanian", 255}}) {
    const Converters converters(c.base, kTextEncodingDefaultVariant);
    std::istringstream lines(FromPerl(c.name));
    unsigned codes = 0;
    for (std::string bytes, units; lines >> bytes >> units;) {
      ++codes;
      std::string code;
      for (std::size_t i = 0; i < bytes.size(); i += 2) {
        code += static_cast<char>(std::stoi(bytes.substr(i, 2), nullptr, 16));
      }
      std::u16string expected;
      for (std::size_t i = 0; i < units.size(); i += 4) {
        expected += static_cast<char16_t>(std::stoi(units.substr(i, 4), nullptr, 16));
      }
      std::u16string text;
      ASSERT_EQ(converters.Decode(code, text), noErr) << c.name << ' ' << bytes;
      ASSERT_EQ(text, expected) << c.name << ' ' << bytes;
    }
    EXPECT_EQ(codes, c.codes) << c.name;
  }
}

}  // namespace
