#include "sdk/CoreX/LUnicodeTextConverter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/Script.h"
#include "tests/support/LogCapture.h"

namespace {

using test::LogCapture;

constexpr char kSource[] = "sdk/CoreX/LUnicodeTextConverter";

HFSUniStr255 Name(const std::u16string& units) {
  HFSUniStr255 name = {};
  name.length = static_cast<UInt16>(units.size());
  std::copy_n(units.begin(), std::min<std::size_t>(units.size(), 255), name.unicode);
  return name;
}

std::u16string Units(const HFSUniStr255& name) {
  return std::u16string(name.unicode, name.unicode + name.length);
}

std::string Line(const std::string& code, const char* function) {
  return test::AnyLineNumber(test::VerifyLine(code, kSource, 1, function));
}
std::string ErrLine(int error, const std::string& code, const char* function) {
  return test::AnyLineNumber(test::VerifyErrLine(error, code, kSource, 1, function));
}

void ExpectLines(const LogCapture& log, const std::vector<std::string>& lines) {
  EXPECT_EQ(test::AnyLineNumbers(log.Lines()), lines);
}

// ---- creation ----

TEST(LUnicodeTextConverter, IsSixHandlesAndNotCopied) {
  EXPECT_EQ(sizeof(LUnicodeTextConverter), 6 * sizeof(void*));
  EXPECT_FALSE(std::is_copy_constructible_v<LUnicodeTextConverter>);
  EXPECT_FALSE(std::is_copy_assignable_v<LUnicodeTextConverter>);
}

TEST(LUnicodeTextConverter, TakesTheBaseOfAHint) {
  const LogCapture log;
  for (const UInt32 hint :
       {UInt32{kTextEncodingMacRoman}, CreateTextEncoding(kTextEncodingMacRoman, 2, 0),
        CreateTextEncoding(0, 0, 2)}) {
    LUnicodeTextConverter converter(hint);
    HFSUniStr255 name = Name(u"");
    EXPECT_EQ(converter.TextToUnicode("\x8E", name), noErr);
    EXPECT_EQ(Units(name), u"e\u0301");
  }
  EXPECT_EQ(log.Text(), "");
}

TEST(LUnicodeTextConverter, AnEncodingWithoutATableLeavesNoConverters) {
  LogCapture log;
  LUnicodeTextConverter converter(UInt32{kTextEncodingMacDevanagari});
  ExpectLines(log, {Line("status == noErr", "CreateTextToUnicodeConverters"),
                    ErrLine(kTextUnsupportedEncodingErr,
                            "CreateTextToUnicodeConverters(textEncodingHint, mUTF8ToTextInfo, "
                            "mUnicodeToTextInfo, mTextToUTF8Info, mTextToUnicodeInfo)",
                            "InitUnicodeTextConverter")});
  log.Clear();
  HFSUniStr255 name = Name(u"before");
  std::string text = "before";
  EXPECT_EQ(converter.TextToUnicode("a", name), paramErr);
  EXPECT_EQ(name.length, 0);
  EXPECT_EQ(converter.UTF8ToText("a", text), paramErr);
  EXPECT_EQ(text, "");
  EXPECT_EQ(converter.UnicodeToText(Name(u"a"), text), paramErr);
  EXPECT_EQ(converter.TextToUTF8("a", text), paramErr);
  ExpectLines(log, {Line("status==noErr", "TextToUnicode")});
  // Unicode needs no table.
  EXPECT_EQ(converter.UTF8ToUnicode("a\xC3\xA9", name), noErr);
  EXPECT_EQ(Units(name), u"a\u00E9");
  EXPECT_EQ(converter.UnicodeToUTF8(name, text), noErr);
  EXPECT_EQ(text, "a\xC3\xA9");
}

TEST(LUnicodeTextConverter, AScriptWithoutATableLeavesNoConverters) {
  const LogCapture log;
  LUnicodeTextConverter converter(SInt16{smGurmukhi}, SInt16{verPunjabi});
  ExpectLines(log, {Line("status == noErr", "CreateTextToUnicodeConverters"),
                    ErrLine(kTextUnsupportedEncodingErr,
                            "CreateTextToUnicodeConverters(inForScript, inForRegion, "
                            "mUTF8ToTextInfo, mUnicodeToTextInfo, mTextToUTF8Info, "
                            "mTextToUnicodeInfo)",
                            "InitUnicodeTextConverter")});
}

TEST(LUnicodeTextConverter, DeletesTheFourConvertersAndKeepsTheTwo) {
  LUnicodeTextConverter converter(UInt32{kTextEncodingMacRoman});
  HFSUniStr255 name = {};
  std::string text;
  EXPECT_EQ(converter.UTF8ToText("a", text), noErr);
  converter.DeleteCurrentConverters();
  converter.DeleteCurrentConverters();
  EXPECT_EQ(converter.UTF8ToText("a", text), paramErr);
  EXPECT_EQ(converter.UTF8ToUnicode("a", name), noErr);
}

// ---- script and region ----

TEST(LUnicodeTextConverter, RegionsChooseTheEncoding) {
  struct Case {
    SInt16 script;
    SInt16 region;
    const char* bytes;
    std::u16string units;
  };
  for (const Case& c : {Case{smRoman, verUS, "\xDA\xDC", u"\u2044\u2039"},
                        {smRoman, verTurkey, "\xDA\xDC", u"G\u0306I\u0307"},
                        {smRoman, verIceland, "\xA0\xDE", u"Y\u0301\u00DE"},
                        {smRoman, verFaroeIsl, "\xA0", u"Y\u0301"},
                        {smRoman, verCroatia, "\xA9\xAE", u"S\u030CZ\u030C"},
                        {smRoman, verSlovenian, "\xA9", u"S\u030C"},
                        {smRoman, verYugoCroatian, "\xA9", u"S\u030C"},
                        {smRoman, verRomania, "\xAE\xDE", u"A\u0306T\u0326"},
                        {smCyrillic, verRussia, "\x80\xA2", u"\u0410\u0490"},
                        {smCyrillic, verUkraine, "\x80\xA2", u"\u0410\u0490"},
                        {smArabic, verArabic, "\xC7\xB1", u"\u0627\u0661"},
                        {smArabic, verIran, "\xC7\xB1", u"\u0627\u06F1"},
                        {smHebrew, verIsrael, "\xE0\xFA", u"\u05D0\u05EA"},
                        {smGreek, verGreece, "\xB6", u"\u0395"},
                        {smThai, verThailand, "\xA1", u"\u0E01"},
                        {smCentralEuroRoman, verPoland, "\x84", u"A\u0328"},
                        {smCentralEuroRoman, verCzech, "\xDE", u"r\u030C"},
                        {smJapanese, verJapan, "\x93\xFA\x96\x7B", u"\u65E5\u672C"},
                        {smTradChinese, verTaiwan, "\xA4\xA4", u"\u4E2D"},
                        {smSimpChinese, verChina, "\xD6\xD0", u"\u4E2D"},
                        {smKorean, verKorea, "\xB0\xA1", u"\u1100\u1161"}}) {
    const LogCapture log;
    LUnicodeTextConverter converter(c.script, c.region);
    HFSUniStr255 name = {};
    EXPECT_EQ(converter.TextToUnicode(c.bytes, name), noErr) << c.script << ' ' << c.region;
    EXPECT_EQ(Units(name), c.units) << c.script << ' ' << c.region;
    std::string back;
    std::string utf8;
    EXPECT_EQ(converter.TextToUTF8(c.bytes, utf8), noErr);
    EXPECT_EQ(converter.UTF8ToText(utf8, back), noErr);
    EXPECT_EQ(back, c.bytes) << c.script << ' ' << c.region;
    EXPECT_EQ(log.Text(), "");
  }
}

TEST(LUnicodeTextConverter, AContradictionIsReportedAndTheRegionDropped) {
  const LogCapture log;
  LUnicodeTextConverter converter(SInt16{smGreek}, SInt16{verJapan});
  ExpectLines(log, {Line("status!=paramErr", "EncodingOf")});
  HFSUniStr255 name = {};
  EXPECT_EQ(converter.TextToUnicode("\xB6", name), noErr);
  EXPECT_EQ(Units(name), u"\u0395");
}

TEST(LUnicodeTextConverter, AnUnknownScriptIsMacRoman) {
  for (const SInt16 script : {99, -77, 33, 32767}) {
    const LogCapture log;
    LUnicodeTextConverter converter(script, SInt16{999});
    ExpectLines(log, {Line("status!=paramErr", "EncodingOf")});
    HFSUniStr255 name = {};
    EXPECT_EQ(converter.TextToUnicode("\x8E", name), noErr);
    EXPECT_EQ(Units(name), u"e\u0301");
  }
}

// ---- text to names ----

TEST(LUnicodeTextConverter, PascalStrings) {
  LUnicodeTextConverter converter(UInt32{kTextEncodingMacRoman});
  HFSUniStr255 name = {};
  EXPECT_EQ(converter.TextToUnicode(reinterpret_cast<const unsigned char*>("\003a\x8E"
                                                                           "bc"),
                                    name),
            noErr);
  EXPECT_EQ(Units(name), u"ae\u0301b");
  EXPECT_EQ(converter.TextToUnicode(reinterpret_cast<const unsigned char*>(""), name), noErr);
  EXPECT_EQ(Units(name), u"");
  const LogCapture log;
  EXPECT_EQ(converter.TextToUnicode(static_cast<const unsigned char*>(nullptr), name), paramErr);
  ExpectLines(log, {Line("status==noErr", "TextToUnicode")});
}

TEST(LUnicodeTextConverter, NamesHold255Units) {
  LUnicodeTextConverter converter(UInt32{kTextEncodingMacRoman});
  struct Case {
    std::string text;
    OSStatus status;
    std::size_t units;
  };
  for (const Case& c : {Case{std::string(253, 'x'), noErr, 253},
                        {std::string(254, 'x'), noErr, 254},
                        {std::string(255, 'x'), noErr, 255},
                        {std::string(256, 'x'), kTECOutputBufferFullStatus, 255},
                        {std::string(5000, 'x'), kTECOutputBufferFullStatus, 255},
                        {std::string(127, '\x8E'), noErr, 254},
                        {std::string(128, '\x8E'), kTECOutputBufferFullStatus, 254},
                        {std::string(127, '\x8E') + "x", noErr, 255},
                        {"", noErr, 0}}) {
    LogCapture log;
    auto name = std::make_unique<HFSUniStr255>();
    EXPECT_EQ(converter.TextToUnicode(c.text, *name), c.status);
    EXPECT_EQ(name->length, c.units);
    ExpectLines(log, c.status == noErr
                         ? std::vector<std::string>{}
                         : std::vector<std::string>{Line("status==noErr", "TextToUnicode")});
    if (c.units % 2 == 0 && !c.text.empty() && c.text[0] == '\x8E') {
      EXPECT_EQ(name->unicode[c.units - 1], 0x301) << "no letter is cut from its accent";
    }
  }
}

TEST(LUnicodeTextConverter, BytesThatMeanNothingStopTheText) {
  LUnicodeTextConverter japanese(UInt32{kTextEncodingMacJapanese});
  HFSUniStr255 name = {};
  const LogCapture log;
  EXPECT_EQ(japanese.TextToUnicode("ab\x81", name), kTECPartialCharErr);
  EXPECT_EQ(Units(name), u"ab");
  EXPECT_EQ(japanese.TextToUnicode("ab\x81\x01zz", name), kTextMalformedInputErr);
  EXPECT_EQ(Units(name), u"ab");
  LUnicodeTextConverter thai(UInt32{kTextEncodingMacThai});
  EXPECT_EQ(thai.TextToUnicode("\xA1\xFC", name), kTextMalformedInputErr);
  EXPECT_EQ(Units(name), u"\u0E01");
  const std::string line = Line("status==noErr", "TextToUnicode");
  ExpectLines(log, {line, line, line});
}

// ---- UTF-8 and UTF-16 ----

TEST(LUnicodeTextConverter, UTF8AndUTF16KeepTheForm) {
  LUnicodeTextConverter converter(UInt32{kTextEncodingMacRoman});
  struct Case {
    std::string utf8;
    std::u16string units;
  };
  for (const Case& c : {Case{"", u""},
                        {"\xC3\xA9", u"\u00E9"},
                        {"e\xCC\x81", u"e\u0301"},
                        {"\xF0\x9F\x98\x80", u"\U0001F600"},
                        {"\xEF\xBB\xBFx", u"\uFEFFx"},
                        {std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
                        {std::string(255, 'n'), std::u16string(255, u'n')}}) {
    HFSUniStr255 name = Name(u"before");
    EXPECT_EQ(converter.UTF8ToUnicode(c.utf8, name), noErr);
    EXPECT_EQ(Units(name), c.units);
    std::string utf8 = "before";
    EXPECT_EQ(converter.UnicodeToUTF8(name, utf8), noErr);
    EXPECT_EQ(utf8, c.utf8);
  }
}

TEST(LUnicodeTextConverter, UTF8NamesHold255Units) {
  LUnicodeTextConverter converter(UInt32{kTextEncodingMacRoman});
  HFSUniStr255 name = {};
  const LogCapture log;
  EXPECT_EQ(converter.UTF8ToUnicode(std::string(256, 'n'), name), kTECOutputBufferFullStatus);
  EXPECT_EQ(name.length, 255);
  // A pair is not cut.
  std::string pairs(1, 'x');
  for (int i = 0; i < 128; ++i) pairs += "\xF0\x9F\x98\x80";
  EXPECT_EQ(converter.UTF8ToUnicode(pairs, name), kTECOutputBufferFullStatus);
  EXPECT_EQ(name.length, 255);
  EXPECT_EQ(converter.UTF8ToUnicode(pairs.substr(1), name), kTECOutputBufferFullStatus);
  EXPECT_EQ(name.length, 254);
  EXPECT_EQ(log.Text(), "");
}

TEST(LUnicodeTextConverter, WhatIsNoUnicodeStops) {
  LUnicodeTextConverter converter(UInt32{kTextEncodingMacRoman});
  HFSUniStr255 name = {};
  struct Case {
    const char* utf8;
    OSStatus status;
    const char16_t* units;
  };
  for (const Case& c : {Case{"a\x80z", kTextMalformedInputErr, u"a"},
                        {"a\xFFz", kTextMalformedInputErr, u"a"},
                        {"a\xC0\x80z", kTextMalformedInputErr, u"a"},
                        {"a\xED\xA0\x80z", kTextMalformedInputErr, u"a"},
                        {"a\xF4\x90\x80\x80z", kTextMalformedInputErr, u"a"},
                        {"a\xC3", kTECPartialCharErr, u"a"},
                        {"a\xE2\x82", kTECPartialCharErr, u"a"},
                        {"a\xF0\x9F\x98", kTECPartialCharErr, u"a"},
                        {"a\xE0", kTECPartialCharErr, u"a"}}) {
    EXPECT_EQ(converter.UTF8ToUnicode(c.utf8, name), c.status) << c.utf8;
    EXPECT_EQ(Units(name), c.units);
    std::string text;
    EXPECT_EQ(converter.UTF8ToText(c.utf8, text), c.status) << c.utf8;
    EXPECT_EQ(text, "a");
  }
  std::string utf8;
  EXPECT_EQ(converter.UnicodeToUTF8(Name({u'a', 0xDC00, u'b'}), utf8), kTextMalformedInputErr);
  EXPECT_EQ(utf8, "a");
  EXPECT_EQ(converter.UnicodeToUTF8(Name({u'a', 0xD83D}), utf8), kTECPartialCharErr);
  EXPECT_EQ(utf8, "a");
  EXPECT_EQ(converter.UnicodeToText(Name({u'a', 0xDC00, u'b'}), utf8), kTextMalformedInputErr);
  EXPECT_EQ(utf8, "a");
}

TEST(LUnicodeTextConverter, ALengthThatLiesIsNotBelieved) {
  LUnicodeTextConverter converter(UInt32{kTextEncodingMacRoman});
  auto name = std::make_unique<HFSUniStr255>(Name(std::u16string(255, u'n')));
  name->length = 65535;
  std::string utf8;
  EXPECT_EQ(converter.UnicodeToUTF8(*name, utf8), noErr);
  EXPECT_EQ(utf8, std::string(255, 'n'));
  EXPECT_EQ(converter.UnicodeToText(*name, utf8), noErr);
  EXPECT_EQ(utf8, std::string(255, 'n'));
}

// ---- growing conversions ----

TEST(LUnicodeTextConverter, LegacyTextIsFoundInEitherForm) {
  LUnicodeTextConverter converter(UInt32{kTextEncodingMacRoman});
  struct Case {
    std::u16string units;
    const char* text;
  };
  for (const Case& c : {Case{u"", ""},
                        {u"abc", "abc"},
                        {u"\u00E9", "\x8E"},
                        {u"e\u0301", "\x8E"},
                        {u"\u03A9", "\xBD"},
                        {u"\u2126", "\xBD"},  // loosely
                        {u"\u2010", "-"},
                        {u"\uF8FF", "\xF0"},
                        {u"A\u030A", "\x81"},
                        {u"\u212B", "\x81"}}) {
    std::string text = "before";
    EXPECT_EQ(converter.UnicodeToText(Name(c.units), text), noErr);
    EXPECT_EQ(text, c.text);
    std::string utf8;
    EXPECT_EQ(converter.UnicodeToUTF8(Name(c.units), utf8), noErr);
    EXPECT_EQ(converter.UTF8ToText(utf8, text), noErr);
    EXPECT_EQ(text, c.text);
  }
}

TEST(LUnicodeTextConverter, ACharacterWithoutAFormStops) {
  LUnicodeTextConverter converter(UInt32{kTextEncodingMacRoman});
  std::string text;
  EXPECT_EQ(converter.UnicodeToText(Name(u"ab\u65E5z"), text), kTECUnmappableElementErr);
  EXPECT_EQ(text, "ab");
  EXPECT_EQ(converter.UTF8ToText("ab\xE6\x97\xA5z", text), kTECUnmappableElementErr);
  EXPECT_EQ(text, "ab");
}

TEST(LUnicodeTextConverter, AFullBufferIsTriedTwiceAndReported) {
  // Two bytes for each unit do not fit the first size, one byte for each.
  LUnicodeTextConverter converter(UInt32{kTextEncodingMacJapanese});
  std::string text;
  EXPECT_EQ(converter.UnicodeToText(Name(u"\u65E5\u672C\u8A9E"), text), kTECOutputBufferFullStatus);
  EXPECT_EQ(text, "\x93\xFA");
  EXPECT_EQ(converter.UTF8ToText("\xE6\x97\xA5\xE6\x9C\xAC", text), noErr);
  EXPECT_EQ(text, "\x93\xFA\x96\x7B");
  std::string utf8;
  EXPECT_EQ(converter.TextToUTF8(text, utf8), noErr);
  EXPECT_EQ(utf8, "\xE6\x97\xA5\xE6\x9C\xAC");
}

TEST(LUnicodeTextConverter, TextToUTF8IsDecomposedAndLong) {
  LUnicodeTextConverter converter(UInt32{kTextEncodingMacRoman});
  std::string utf8;
  EXPECT_EQ(converter.TextToUTF8("\x8E", utf8), noErr);
  EXPECT_EQ(utf8, "e\xCC\x81");
  EXPECT_EQ(converter.TextToUTF8("", utf8), noErr);
  EXPECT_EQ(utf8, "");
  std::string text;
  for (int i = 0; i < 10000; ++i) text += static_cast<char>(i % 255 + 1);
  EXPECT_EQ(converter.TextToUTF8(text, utf8), noErr);
  std::string back;
  EXPECT_EQ(converter.UTF8ToText(utf8, back), noErr);
  EXPECT_TRUE(back == text);
  EXPECT_EQ(converter.TextToUTF8(text, text), noErr) << "onto itself";
  EXPECT_TRUE(text == utf8);
}

}  // namespace
