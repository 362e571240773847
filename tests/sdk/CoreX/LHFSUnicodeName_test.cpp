#include "sdk/CoreX/LHFSUnicodeName.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "platform/CoreServices/Script.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/LogCapture.h"

namespace {

using test::LogCapture;

constexpr char kSource[] = "sdk/CoreX/LHFSUnicodeName";
constexpr char kInlines[] = "sdk/CoreX/LHFSUnicodeName_inlines";

HFSUniStr255 Name(const std::u16string& units) {
  HFSUniStr255 name;
  std::memset(&name, 0xEE, sizeof name);
  name.length = static_cast<UInt16>(units.size());
  std::copy_n(units.begin(), std::min<std::size_t>(units.size(), 255), name.unicode);
  return name;
}

std::u16string Units(const HFSUniStr255& name) {
  return std::u16string(name.unicode, name.unicode + name.length);
}

std::string Line(const std::string& code, const char* source, const char* function) {
  return test::AnyLineNumber(test::VerifyLine(code, source, 1, function));
}

void ExpectLines(const LogCapture& log, const std::vector<std::string>& lines) {
  EXPECT_EQ(test::AnyLineNumbers(log.Lines()), lines);
}

void ExpectEmpty(const LHFSUnicodeName& name) {
  EXPECT_EQ(name.length, 0);
  EXPECT_TRUE(std::all_of(std::begin(name.unicode), std::end(name.unicode),
                          [](UniChar unit) { return unit == 0; }));
  EXPECT_TRUE(name.IsValid());
}

const std::string kTooLongForNul = Line("in_length<kMaxLength", kInlines, "set_length");
const std::string kNoNul =
    Line("fOk = (superclass_t::length<kMaxLength)", kInlines, "NullTerminateIt");

TEST(LHFSUnicodeName, IsANameWithTwoGuards) {
  EXPECT_EQ(sizeof(LHFSUnicodeName), sizeof(HFSUniStr255) + 4);
  const LHFSUnicodeName name;
  ExpectEmpty(name);
  const auto* words = reinterpret_cast<const UInt16*>(&name);
  EXPECT_EQ(words[256], 0xBAAD);
  EXPECT_EQ(words[257], 0xDEAD);
  EXPECT_EQ(LHFSUnicodeName::kMaxLength, 254);
}

// ---- special names ----

TEST(LHFSUnicodeName, SpecialNames) {
  const LogCapture log;
  LHFSUnicodeName name(Name(u"before"));
  EXPECT_TRUE(name.Construct(kSpecialName_DataFork));
  ExpectEmpty(name);
  EXPECT_TRUE(name.Construct(kSpecialName_ResourceFork));
  EXPECT_EQ(Units(name), u"RESOURCE_FORK");
  EXPECT_TRUE(name.IsValid());
  EXPECT_TRUE(name.Construct(kSpecialName_None));
  ExpectEmpty(name);
  for (const int other : {1, 5, 255, 258, -1}) {
    name.Construct(Name(u"before"));
    EXPECT_FALSE(name.Construct(static_cast<kSpecialName>(other)));
    ExpectEmpty(name);
  }
  EXPECT_EQ(Units(LHFSUnicodeName::sDataFork), u"");
  EXPECT_EQ(Units(LHFSUnicodeName::sResourceFork), u"RESOURCE_FORK");
  EXPECT_TRUE(LHFSUnicodeName::sDataFork.IsValid());
  EXPECT_TRUE(LHFSUnicodeName::sResourceFork.IsValid());
  EXPECT_EQ(log.Text(), "");
}

TEST(LHFSUnicodeName, TheConstructorReportsAnUnknownSpecialName) {
  const LogCapture log;
  const LHFSUnicodeName name(static_cast<kSpecialName>(5));
  ExpectEmpty(name);
  ExpectLines(log, {Line("Construct(in_specialName)", kInlines, "LHFSUnicodeName")});
}

// ---- copies ----

TEST(LHFSUnicodeName, CopiesNamesOf253UnitsAtMost) {
  for (const std::size_t length : {0U, 1U, 127U, 128U, 252U, 253U}) {
    const LogCapture log;
    const std::u16string units(length, u'\u00E9');
    LHFSUnicodeName name(Name(u"a longer one before"));
    EXPECT_TRUE(name.Construct(Name(units)));
    EXPECT_EQ(Units(name), units);
    EXPECT_TRUE(name.IsValid());
    EXPECT_TRUE(std::all_of(name.unicode + length, name.unicode + 255,
                            [](UniChar unit) { return unit == 0; }));
    const LHFSUnicodeName constructed(Name(units));
    EXPECT_EQ(Units(constructed), units);
    LHFSUnicodeName assigned;
    assigned = Name(units);
    EXPECT_EQ(Units(assigned), units);
    const LHFSUnicodeName copy(name);
    assigned = copy;
    EXPECT_EQ(Units(assigned), units);
    EXPECT_EQ(log.Text(), "");
  }
}

TEST(LHFSUnicodeName, TakesANameOf254UnitsAsNotValid) {
  const LogCapture log;
  const std::u16string units(254, u'n');
  LHFSUnicodeName name;
  EXPECT_TRUE(name.Construct(Name(units)));
  ExpectLines(log, {kTooLongForNul, kNoNul});
  EXPECT_EQ(Units(name), units);
  EXPECT_TRUE(name.IsMarked());
  EXPECT_FALSE(name.IsNullTerminated());
  EXPECT_FALSE(name.IsValid());
}

TEST(LHFSUnicodeName, RefusesNamesOf255UnitsAndMore) {
  for (const UInt16 length : {255, 256, 65535}) {
    const LogCapture log;
    HFSUniStr255 given = Name(std::u16string(255, u'n'));
    given.length = length;
    LHFSUnicodeName name(Name(u"before"));
    EXPECT_TRUE(name.Construct(given)) << "always";
    ExpectEmpty(name);
    ExpectLines(log, {Line("copyOf.length<=kMaxLength", kInlines, "Construct")});
  }
}

TEST(LHFSUnicodeName, TheConstructorReportsANameThatIsNotValid) {
  const LogCapture log;
  const LHFSUnicodeName name(Name(std::u16string(254, u'n')));
  ExpectLines(log, {kTooLongForNul, kNoNul, Line("IsValid()", kInlines, "LHFSUnicodeName")});
}

TEST(LHFSUnicodeName, CopiesItself) {
  LHFSUnicodeName name(Name(u"self"));
  const HFSUniStr255& same = name;
  name = same;
  EXPECT_EQ(Units(name), u"self");
}

// ---- wide and 16-bit strings ----

template <typename T>
void TryLengths() {
  for (const std::size_t length : {1U, 2U, 252U, 253U}) {
    const LogCapture log;
    const std::vector<T> text = [&] {
      std::vector<T> units(length, static_cast<T>('x'));
      units.push_back(0);
      return units;
    }();
    LHFSUnicodeName name;
    EXPECT_TRUE(name.Construct(text.data()));
    EXPECT_EQ(Units(name), std::u16string(length, u'x'));
    EXPECT_TRUE(name.IsValid());
    EXPECT_EQ(Units(LHFSUnicodeName(text.data())), std::u16string(length, u'x'));
    EXPECT_EQ(log.Text(), "");
  }
  std::vector<T> text(254, static_cast<T>('x'));
  text.push_back(0);
  LHFSUnicodeName name(Name(u"before"));
  {
    const LogCapture log;
    EXPECT_TRUE(name.Construct(text.data()));
    ExpectLines(log, {kTooLongForNul, kNoNul});
    EXPECT_EQ(Units(name), std::u16string(254, u'x'));
    EXPECT_FALSE(name.IsValid());
  }
  for (const std::size_t length : {255U, 256U, 1000U}) {
    text.assign(length, static_cast<T>('x'));
    text.push_back(0);
    const LogCapture log;
    EXPECT_FALSE(name.Construct(text.data()));
    ExpectEmpty(name);
    ExpectLines(log, {Line("in_length<=kMaxLength", kInlines, "Constructor")});
  }
  {
    const LogCapture log;
    const T nothing[] = {0};
    name.Construct(Name(u"before"));
    EXPECT_FALSE(name.Construct(nothing));
    ExpectEmpty(name);
    EXPECT_EQ(log.Text(), "");
    EXPECT_FALSE(name.Construct(static_cast<const T*>(nullptr)));
    ExpectEmpty(name);
    ExpectLines(log, {Line("in_file_name!=__null", kInlines, "Constructor")});
  }
  const LogCapture log;
  const LHFSUnicodeName constructed(static_cast<const T*>(nullptr));
  ExpectLines(log, {Line("in_file_name!=__null", kInlines, "Constructor"),
                    Line("Construct(in_file_name)", kInlines, "LHFSUnicodeName")});
}

TEST(LHFSUnicodeName, WideStrings) {
  TryLengths<wchar_t>();
}

TEST(LHFSUnicodeName, SixteenBitStrings) {
  TryLengths<unsigned short>();
}

TEST(LHFSUnicodeName, WideCharactersAreCutTo16Bits) {
  const LHFSUnicodeName name(L"a\u00E9\U0001F600");
  EXPECT_EQ(Units(name), (std::u16string{u'a', 0xE9, 0xF600}));
  const unsigned short pair[] = {0xD83D, 0xDE00, 0};
  EXPECT_EQ(Units(LHFSUnicodeName(pair)), u"\U0001F600");
}

// ---- UTF-8 ----

TEST(LHFSUnicodeName, UTF8BothWays) {
  struct Case {
    const char* utf8;
    std::u16string units;
  };
  for (const Case& c : {Case{"name", u"name"},
                        {"Caf\xC3\xA9", u"Caf\u00E9"},
                        {"Cafe\xCC\x81", u"Cafe\u0301"},
                        {"\xF0\x9F\x98\x80", u"\U0001F600"},
                        {"\xE6\x97\xA5\xE6\x9C\xAC", u"\u65E5\u672C"},
                        {"a:b", u"a:b"}}) {
    const LogCapture log;
    LHFSUnicodeName name;
    EXPECT_TRUE(name.Construct(c.utf8));
    EXPECT_EQ(Units(name), c.units);
    EXPECT_TRUE(name.IsValid());
    EXPECT_TRUE(name.Construct(std::string(c.utf8)));
    EXPECT_EQ(Units(name), c.units) << "in the form it was given";
    EXPECT_EQ(Units(LHFSUnicodeName(c.utf8)), c.units);
    EXPECT_EQ(Units(LHFSUnicodeName(std::string(c.utf8))), c.units);
    HFSUniStr255 converted = Name(u"");
    EXPECT_TRUE(LHFSUnicodeName::ConvertFileName(std::string(c.utf8), converted));
    EXPECT_EQ(Units(converted), c.units);
    std::string back = "before";
    EXPECT_TRUE(name.GetUnixPath(back));
    EXPECT_EQ(back, c.utf8);
    std::wstring wide = L"before";
    EXPECT_TRUE(name.GetUnixPath(wide));
    EXPECT_EQ(wide, std::wstring(c.units.begin(), c.units.end()));
    EXPECT_EQ(log.Text(), "");
  }
}

TEST(LHFSUnicodeName, UTF8NamesAreCutAt127Units) {
  for (const std::size_t length : {126U, 127U, 128U, 253U, 254U, 255U, 300U}) {
    LHFSUnicodeName name;
    EXPECT_TRUE(name.Construct(std::string(length, 'u').c_str()));
    EXPECT_EQ(Units(name), std::u16string(std::min<std::size_t>(length, 127), u'u'));
    EXPECT_TRUE(name.IsValid());
  }
}

TEST(LHFSUnicodeName, RefusesWhatIsNoUTF8) {
  for (const char* text :
       {"\x80", "a\xFF", "\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
    LogCapture log;
    LHFSUnicodeName name(Name(u"before"));
    EXPECT_FALSE(name.Construct(text)) << text;
    ExpectEmpty(name);
    std::vector<std::string> lines = test::AnyLineNumbers(log.Lines());
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), Line("ConvertFileName(in_file_name, *this)", kSource, "Construct"));
    log.Clear();
    EXPECT_FALSE(name.Construct(std::string(text)));
    ExpectEmpty(name);
    lines = test::AnyLineNumbers(log.Lines());
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[lines.size() - 2],
              Line("ConvertFileName(in_file_name, *this)", kSource, "Construct"));
    EXPECT_EQ(lines.back(), Line("fOk = Construct(in_file_name.c_str())", kSource, "Construct"));
  }
  const LogCapture log;
  LHFSUnicodeName name(Name(u"before"));
  EXPECT_FALSE(name.Construct(static_cast<const char*>(nullptr)));
  ExpectEmpty(name);
  ExpectLines(log, {Line("ConvertFileName(in_file_name, *this)", kSource, "Construct")});
}

TEST(LHFSUnicodeName, AnEmptyUTF8TextIsNoName) {
  LHFSUnicodeName name(Name(u"before"));
  EXPECT_FALSE(name.Construct(""));
  ExpectEmpty(name);
}

TEST(LHFSUnicodeName, PathsOfWholeNames) {
  const std::u16string units(253, u'\u65E5');
  std::string path;
  EXPECT_TRUE(LHFSUnicodeName(Name(units)).GetUnixPath(path));
  EXPECT_EQ(path.size(), 253U * 3);
  std::wstring wide;
  EXPECT_TRUE(LHFSUnicodeName(Name(units)).GetUnixPath(wide));
  EXPECT_EQ(wide.size(), 253U);
}

TEST(LHFSUnicodeName, AnEmptyNameHasAnEmptyPath) {
  const LogCapture log;
  std::string path = "before";
  std::wstring wide = L"before";
  EXPECT_TRUE(LHFSUnicodeName().GetUnixPath(path));
  EXPECT_TRUE(LHFSUnicodeName().GetUnixPath(wide));
  EXPECT_EQ(path, "");
  EXPECT_EQ(wide, L"");
  EXPECT_EQ(log.Text(), "");
}

TEST(LHFSUnicodeName, NoPathWithoutTheNul) {
  LHFSUnicodeName name(Name(u"abc"));
  name.unicode[3] = u'd';
  const LogCapture log;
  std::string path = "before";
  std::wstring wide = L"before";
  EXPECT_FALSE(name.GetUnixPath(path));
  EXPECT_FALSE(name.GetUnixPath(wide));
  EXPECT_EQ(path, "");
  EXPECT_EQ(wide, L"");
  const std::string line = Line("IsNullTerminated()", kSource, "GetUnixPath");
  ExpectLines(log, {line, line});
}

TEST(LHFSUnicodeName, HalfAPairHasNoPathInUTF8) {
  const LHFSUnicodeName name(Name(std::u16string{u'a', 0xD83D}));
  LogCapture log;
  std::string path = "before";
  EXPECT_FALSE(name.GetUnixPath(path));
  EXPECT_EQ(path, "");
  const std::vector<std::string> lines = test::AnyLineNumbers(log.Lines());
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(),
            Line("TCFString::FromUnicode(*this, out_file_name)", kSource, "GetUnixPath"));
  std::wstring wide;
  EXPECT_TRUE(name.GetUnixPath(wide));
  EXPECT_EQ(wide, (std::wstring{L'a', static_cast<wchar_t>(0xD83D)}));
}

// ---- Pascal strings ----

std::vector<unsigned char> Pascal(const std::string& text) {
  std::vector<unsigned char> bytes(1, static_cast<unsigned char>(text.size()));
  bytes.insert(bytes.end(), text.begin(), text.end());
  return bytes;
}

TEST(LHFSUnicodeName, MacRomanPascalStrings) {
  const LogCapture log;
  LHFSUnicodeName name;
  EXPECT_TRUE(name.Construct(Pascal("Caf\x8E").data()));
  EXPECT_EQ(Units(name), u"Caf\u00E9");
  EXPECT_TRUE(name == LHFSUnicodeName("Caf\xC3\xA9")) << "as from UTF-8";
  EXPECT_EQ(Units(LHFSUnicodeName(Pascal("Caf\x8E").data())), u"Caf\u00E9");
  EXPECT_TRUE(name.Construct(Pascal(std::string(200, 'p')).data()));
  EXPECT_EQ(name.length, 127);
  EXPECT_TRUE(name.IsValid());
  EXPECT_EQ(log.Text(), "");
  EXPECT_FALSE(name.Construct(Pascal("").data()));
  ExpectEmpty(name);
  EXPECT_FALSE(name.Construct(static_cast<const unsigned char*>(nullptr)));
  ExpectEmpty(name);
}

TEST(LHFSUnicodeName, ScriptCodedPascalStringsAreDecomposed) {
  struct Case {
    const char* locale;
    SInt16 script;
    std::string text;
    std::u16string units;
  };
  for (const Case& c : {Case{"C", smRoman, "Caf\x8E", u"Cafe\u0301"},
                        {"is_IS.UTF-8", smRoman, "\xA0", u"Y\u0301"},
                        {"tr_TR", smRoman, "\xDA", u"G\u0306"},
                        {"ru_RU.UTF-8", smCyrillic, "\x89\xDF", u"\u0418\u0306\u044F"},
                        {"el_GR", smGreek, "\xC0", u"\u03B1\u0301"},
                        {"ja_JP", smJapanese, "\x82\xAA", u"\u304B\u3099"},
                        {"he_IL", smHebrew, "\xE0", u"\u05D0"}}) {
    const test::ScopedVariable locale("LC_ALL", c.locale);
    const LogCapture log;
    LHFSUnicodeName name;
    EXPECT_TRUE(name.Construct(Pascal(c.text).data(), c.script)) << c.locale;
    EXPECT_EQ(Units(name), c.units) << c.locale;
    EXPECT_TRUE(name.IsValid());
    EXPECT_EQ(Units(LHFSUnicodeName(Pascal(c.text).data(), c.script)), c.units);
    HFSUniStr255 converted = Name(u"");
    EXPECT_TRUE(LHFSUnicodeName::ConvertFileName(Pascal(c.text).data(), c.script, converted));
    EXPECT_EQ(Units(converted), c.units);
  }
}

TEST(LHFSUnicodeName, AnEmptyScriptCodedNameIsEmpty) {
  const LogCapture log;
  LHFSUnicodeName name(Name(u"before"));
  EXPECT_TRUE(name.Construct(Pascal("").data(), smRoman));
  ExpectEmpty(name);
  EXPECT_EQ(log.Text(), "");
}

TEST(LHFSUnicodeName, AScriptWithoutATableIsAFailure) {
  const LogCapture log;
  LHFSUnicodeName name(Name(u"before"));
  EXPECT_FALSE(name.Construct(Pascal("abc").data(), smTibetan));
  ExpectEmpty(name);
  const std::vector<std::string> lines = test::AnyLineNumbers(log.Lines());
  ASSERT_GE(lines.size(), 3U);
  EXPECT_EQ(lines[lines.size() - 3],
            Line("status==noErr", "sdk/CoreX/LUnicodeTextConverter", "TextToUnicode"));
  EXPECT_EQ(lines[lines.size() - 2], Line("fOk = (status==noErr)", kSource, "ConvertFileName"));
  EXPECT_EQ(lines.back(), Line("ConvertFileName(in_pstring, forScriptCode, utf16_file_name)",
                               kSource, "Construct"));
}

// ---- lengths and guards ----

TEST(LHFSUnicodeName, StoresAnyLengthAndReportsThoseWithoutRoomForTheNul) {
  LHFSUnicodeName name;
  for (const UInt16 length : {0, 1, 253}) {
    const LogCapture log;
    name.set_length(length);
    EXPECT_EQ(name.length, length);
    EXPECT_TRUE(name.NullTerminateIt());
    EXPECT_EQ(log.Text(), "");
  }
  for (const UInt16 length : {254, 255, 65535}) {
    const LogCapture log;
    name.set_length(length);
    EXPECT_EQ(name.length, length);
    EXPECT_FALSE(name.NullTerminateIt());
    EXPECT_FALSE(name.IsNullTerminated());
    ExpectLines(log, {kTooLongForNul, kNoNul});
  }
  name.Empty();
}

TEST(LHFSUnicodeName, NullTerminates) {
  LHFSUnicodeName name(Name(u"abcdef"));
  name.set_length(3);
  EXPECT_FALSE(name.IsNullTerminated());
  EXPECT_TRUE(name.NullTerminateIt());
  EXPECT_TRUE(name.IsNullTerminated());
  EXPECT_EQ(name.unicode[3], 0);
}

TEST(LHFSUnicodeName, TheDestructorReportsAnOverwrittenGuard) {
  for (const std::size_t guard : {256U, 257U}) {
    LogCapture log;
    auto name = std::make_unique<LHFSUnicodeName>(Name(u"abc"));
    auto* words = reinterpret_cast<unsigned char*>(name.get());
    words[2 * guard] ^= 1;
    EXPECT_FALSE(name->IsMarked());
    EXPECT_FALSE(name->IsValid());
    EXPECT_EQ(log.Text(), "");
    name.reset();
    ExpectLines(log, {Line("IsMarked()", kInlines, "~LHFSUnicodeName")});
  }
  const LogCapture log;
  LHFSUnicodeName name;
  reinterpret_cast<unsigned char*>(&name)[512] ^= 1;
  name.MarkOverflow();
  EXPECT_TRUE(name.IsMarked());
}

// ---- identity ----

TEST(LHFSUnicodeName, IdenticalUnitByUnit) {
  struct Case {
    const char16_t* a;
    const char16_t* b;
    bool identical;
  };
  for (const Case& c : {Case{u"", u"", true},
                        {u"abc", u"abc", true},
                        {u"abc", u"abC", false},
                        {u"abc", u"ab", false},
                        {u"ab", u"abc", false},
                        {u"\u00E9", u"e\u0301", false},
                        {u"\U0001F600", u"\U0001F600", true},
                        {u"\U0001F600", u"\U0001F601", false}}) {
    const HFSUniStr255 a = Name(c.a);
    const HFSUniStr255 b = Name(c.b);
    EXPECT_EQ(LHFSUnicodeName::Identical(&a, &b), c.identical);
    EXPECT_EQ(LHFSUnicodeName(a) == b, c.identical);
  }
  const HFSUniStr255 a = Name(u"");
  EXPECT_FALSE(LHFSUnicodeName::Identical(&a, nullptr));
  EXPECT_FALSE(LHFSUnicodeName::Identical(nullptr, nullptr));
}

RC_GTEST_PROP(LHFSUnicodeName, KeepsEveryNameThatFits, ()) {
  const auto units =
      *rc::gen::resize(253, rc::gen::container<std::vector<UInt16>>(rc::gen::nonZero<UInt16>()));
  RC_PRE(units.size() <= 253U);
  const std::u16string text(units.begin(), units.end());
  const LHFSUnicodeName name(Name(text));
  RC_ASSERT(Units(name) == text);
  RC_ASSERT(name.IsValid());
  std::string utf8;
  std::wstring wide;
  RC_ASSERT(name.GetUnixPath(wide));
  RC_ASSERT(wide == std::wstring(text.begin(), text.end()));
}

}  // namespace
