#include "sdk/CoreX/T_CFString.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/sdk/CoreX/FailingAllocation.h"
#include "tests/support/LogCapture.h"

namespace {

using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kSource[] = "sdk/CoreX/T_CFString";
constexpr char kInlines[] = "sdk/CoreX/T_CFString_inlines";
constexpr CFStringEncoding kUnknownEncoding = 0x7BAD;

std::string InlineLine(const std::string& code, int line, const std::string& function) {
  return test::VerifyLine(code, kInlines, line, function);
}

/// The text of a string as UTF-16 units.
std::vector<UniChar> Units(const TCFString& string) {
  std::vector<UniChar> units(static_cast<std::size_t>(CFStringGetLength(string.GetRef())));
  CFStringGetCharacters(string.GetRef(), CFRangeMake(0, CFStringGetLength(string.GetRef())),
                        units.data());
  return units;
}

HFSUniStr255 Name(const std::vector<UniChar>& units) {
  HFSUniStr255 name = {};
  name.length = static_cast<UInt16>(units.size());
  for (std::size_t i = 0; i < units.size(); ++i) name.unicode[i] = units[i];
  return name;
}

CFStringRef NewString(const std::vector<UniChar>& units) {
  return CFStringCreateWithCharacters(kCFAllocatorDefault, units.data(),
                                      static_cast<CFIndex>(units.size()));
}

/// A string in which half a surrogate pair stands alone: it has no 8-bit form.
CFStringRef NewHalfPair() {
  return NewString({'a', 0xD800, 'b'});
}

CFNumberRef NewNumber() {
  const SInt32 value = 3;
  return CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &value);
}

// Construction and assignment.

TEST(TCFStringConstructor, StoresAnyReference) {
  CFStringRef string = NewString({'a'});
  CFRetain(string);
  {
    const TCFString borrowed(string, kCFTypeRef_NotOwned);
    const TCFString owned(string, kCFTypeRef_Owned);
    EXPECT_EQ(borrowed.GetRef(), string);
    EXPECT_TRUE(owned.IsValid());
  }
  EXPECT_EQ(CFGetRetainCount(string), 1);
  CFRelease(string);
  CFNumberRef number = NewNumber();
  const TCFString wrong(reinterpret_cast<CFStringRef>(number), kCFTypeRef_Owned);
  EXPECT_FALSE(wrong.IsValid());
  EXPECT_FALSE(wrong.IsTypeValid());
  EXPECT_FALSE(TCFString().IsValid());
}

TEST(TCFStringConstructor, TakesEveryFormOfText) {
  const LogCapture log;
  EXPECT_EQ(TCFString("gr\xC3\xBC").strcmp(CFSTR("gr\xC3\xBC")), 0);
  EXPECT_EQ(TCFString(std::string("text")).strcmp("text"), 0);
  EXPECT_EQ(TCFString(Name({'n', 0x20AC})).strcmp("n\xE2\x82\xAC"), 0);
  EXPECT_EQ(TCFString(L"\u4142\u4344").strcmp("\xE4\x85\x82\xE4\x8D\x84"), 0);
  EXPECT_EQ(TCFString(std::wstring(L"\u4142")).strcmp("\xE4\x85\x82"), 0);
  EXPECT_EQ(log.Text(), "");
}

TEST(TCFStringConstructor, OwnsWhatItMakes) {
  EXPECT_EQ(TCFString("text").GetOwnership(), kCFTypeRef_Owned);
  EXPECT_EQ(CFGetRetainCount(TCFString("text").GetRef()), 1);
}

TEST(TCFStringConstructor, LogsNull) {
  const LogCapture log;
  EXPECT_FALSE(TCFString(static_cast<const char*>(nullptr)).IsValid());
  EXPECT_FALSE(TCFString(static_cast<const wchar_t*>(nullptr)).IsValid());
  EXPECT_THAT(log.Lines(), ElementsAre(InlineLine("in_cstring!=NULL", 26, "TCFString"),
                                       InlineLine("in_wide_cstring!=NULL", 37, "TCFString")));
}

TEST(TCFStringAssignment, ReplacesTheText) {
  CFStringRef first = NewString({'a'});
  CFRetain(first);
  TCFString string(first, kCFTypeRef_Owned);
  string = "b";
  EXPECT_EQ(CFGetRetainCount(first), 1);
  EXPECT_EQ(string.strcmp("b"), 0);
  string = Name({'c'});
  EXPECT_EQ(string.strcmp("c"), 0);
  string = L"\u4142";
  EXPECT_EQ(string.strcmp("\xE4\x85\x82"), 0);
  CFRelease(first);
}

TEST(TCFStringAssignment, OfNullLogsAndEmpties) {
  const LogCapture log;
  TCFString string("text");
  string = static_cast<const char*>(nullptr);
  EXPECT_EQ(string.GetRef(), nullptr);
  string = "text";
  string = static_cast<const wchar_t*>(nullptr);
  EXPECT_EQ(string.GetRef(), nullptr);
  EXPECT_THAT(log.Lines(), ElementsAre(InlineLine("in_cstring!=NULL", 46, "operator="),
                                       InlineLine("in_wide_cstring!=NULL", 37, "operator=")));
}

// Setters.

TEST(TCFStringSetValue, TakesTextInAnEncoding) {
  TCFString string;
  EXPECT_TRUE(string.SetValue("\x8E", kCFStringEncodingMacRoman));
  EXPECT_THAT(Units(string), ElementsAre(0xE9));
  EXPECT_TRUE(string.SetValue(std::string("\xE9"), kCFStringEncodingISOLatin1));
  EXPECT_THAT(Units(string), ElementsAre(0xE9));
  EXPECT_TRUE(string.SetValue("", kCFStringEncodingUTF8));
  EXPECT_TRUE(string.IsValid());
  EXPECT_EQ(string.strlen(), 0);
}

TEST(TCFStringSetValue, LogsTextThatIsNotInTheEncoding) {
  const LogCapture log;
  TCFString string("text");
  EXPECT_FALSE(string.SetValue("a\xFF", kCFStringEncodingUTF8));
  EXPECT_EQ(string.GetRef(), nullptr);
  EXPECT_EQ(string.GetOwnership(), kCFTypeRef_NotOwned);
  EXPECT_THAT(log.Lines(), ElementsAre("TCFString::SetValue in_cstring:a\xFF "
                                       "inFromThisEncoding:134217984"));
}

TEST(TCFStringSetValue, LogsAnEncodingTheSystemLacks) {
  const LogCapture log;
  TCFString string("text");
  EXPECT_FALSE(string.SetValue(std::string("a"), kTCFString_NoPreference));
  EXPECT_EQ(string.GetRef(), nullptr);
  EXPECT_THAT(log.Lines(), ElementsAre("TCFString::SetValue in_cstring:a inFromThisEncoding:-1"));
}

TEST(TCFStringSetValue, LogsNull) {
  const LogCapture log;
  const auto emptied = [](auto text, auto... encoding) {
    TCFString string("text");
    EXPECT_FALSE(string.SetValue(text, encoding...));
    return string.GetRef() == nullptr;
  };
  EXPECT_TRUE(emptied(static_cast<const char*>(nullptr), kCFStringEncodingUTF8));
  EXPECT_TRUE(emptied(static_cast<const UniChar*>(nullptr)));
  EXPECT_TRUE(emptied(static_cast<const wchar_t*>(nullptr)));
  EXPECT_TRUE(emptied(static_cast<const unsigned char*>(nullptr), kCFStringEncodingUTF8));
  EXPECT_THAT(log.Lines(), ElementsAre(InlineLine("in_cstring!=NULL", 105, "SetValue"),
                                       InlineLine("in_cstring!=NULL", 134, "SetValue"),
                                       InlineLine("in_wide_cstring!=NULL", 216, "SetValue"),
                                       InlineLine("in_pstring!=NULL", 247, "SetValue")));
}

TEST(TCFStringSetValue, TakesAPascalString) {
  const LogCapture log;
  TCFString string;
  const unsigned char text[] = {3, 'a', 0x8E, 'c', 'd'};
  EXPECT_TRUE(string.SetValue(text, kCFStringEncodingMacRoman));
  EXPECT_THAT(Units(string), ElementsAre('a', 0xE9, 'c'));
  const unsigned char empty[] = {0};
  EXPECT_TRUE(string.SetValue(empty, kCFStringEncodingMacRoman));
  EXPECT_EQ(string.strlen(), 0);
  unsigned char longest[256];
  std::memset(longest, 'x', sizeof(longest));
  longest[0] = 255;
  EXPECT_TRUE(string.SetValue(longest, kCFStringEncodingUTF8));
  EXPECT_EQ(string.strlen(), 255);
  EXPECT_FALSE(string.SetValue(text, kCFStringEncodingUTF8));
  EXPECT_EQ(string.GetRef(), nullptr);
  EXPECT_EQ(log.Text(), "");
}

TEST(TCFStringSetValue, TakesUnitsUpToTheFirstZero) {
  TCFString string;
  const UniChar text[] = {'a', 0xD83D, 0xDE00, 0xD800, 0, 'b'};
  EXPECT_TRUE(string.SetValue(text));
  EXPECT_THAT(Units(string), ElementsAre('a', 0xD83D, 0xDE00, 0xD800));
  EXPECT_TRUE(string.SetValue(text + 4));
  EXPECT_EQ(string.strlen(), 0);
}

TEST(TCFStringSetValue, TakesANameByItsLength) {
  TCFString string;
  EXPECT_TRUE(string.SetValue(Name({'a', 0, 'b'})));
  EXPECT_THAT(Units(string), ElementsAre('a', 0, 'b'));
  EXPECT_TRUE(string.SetValue(Name({})));
  EXPECT_TRUE(string.IsValid());
  EXPECT_EQ(string.strlen(), 0);
}

TEST(TCFStringSetValue, ReadsNoNamePastItsEnd) {
  HFSUniStr255 name = Name(std::vector<UniChar>(255, 'n'));
  name.length = 65535;
  TCFString string;
  EXPECT_TRUE(string.SetValue(name));
  EXPECT_EQ(string.strlen(), 255);
}

TEST(TCFStringSetValue, ReadsWideTextAsBytesUpToTheFirstZeroByte) {
  TCFString string;
  // Every second byte of Latin letters is zero: one byte is left, which is half a unit.
  EXPECT_TRUE(string.SetValue(L"AB"));
  EXPECT_LT(string.strlen(), 2);
  // Both bytes of the first unit, one of the second.
  EXPECT_TRUE(string.SetValue(L"\u4142B"));
  EXPECT_THAT(Units(string), ElementsAre(0x4142));
  // A zero low byte ends the text at once.
  EXPECT_TRUE(string.SetValue(L"\u4100\u4142"));
  EXPECT_EQ(string.strlen(), 0);
  EXPECT_TRUE(string.SetValue(L""));
  EXPECT_EQ(string.strlen(), 0);
}

TEST(TCFStringSetValue, CutsWideUnitsTo16Bits) {
  TCFString string;
  EXPECT_TRUE(string.SetValue(L"\U00014142\u4344"));
  EXPECT_THAT(Units(string), ElementsAre(0x4142, 0x4344));
}

TEST(TCFStringSetValue, MayTakeItsOwnText) {
  TCFString string("text");
  const UniChar* units = CFStringGetCharactersPtr(string.GetRef());
  if (units == nullptr) GTEST_SKIP() << "this string shows nobody its units";
  const std::vector<UniChar> copy(units, units + 4);
  HFSUniStr255 name = Name(copy);
  EXPECT_TRUE(string.SetValue(name));
  EXPECT_EQ(string.strcmp("text"), 0);
}

// Length and comparison.

TEST(TCFStringStrlen, CountsUnits) {
  const LogCapture log;
  EXPECT_EQ(TCFString("\xF0\x9F\x98\x80").strlen(), 2);
  EXPECT_EQ(TCFString("").strlen(), 0);
  EXPECT_EQ(log.Text(), "");
  EXPECT_EQ(TCFString().strlen(), 0);
  EXPECT_THAT(log.Lines(), ElementsAre(InlineLine("IsValid()", 67, "strlen")));
}

TEST(TCFStringStrcmp, OrdersLiterally) {
  EXPECT_EQ(TCFString("a").strcmp("a"), 0);
  EXPECT_EQ(TCFString("a").strcmp("b"), -1);
  EXPECT_EQ(TCFString("b").strcmp("a"), 1);
  EXPECT_EQ(TCFString("a").strcmp("A"), 1);
  EXPECT_EQ(TCFString("a").strcmp(CFSTR("ab")), -1);
  EXPECT_EQ(TCFString("ab").strcmp(CFSTR("a")), 1);
  EXPECT_EQ(TCFString("").strcmp(""), 0);
  // Composed and decomposed.
  EXPECT_NE(TCFString("\xC3\xA9").strcmp("e\xCC\x81"), 0);
}

TEST(TCFStringStrcmp, LogsWhatIsMissing) {
  const LogCapture log;
  EXPECT_EQ(TCFString().strcmp("a"), -1);
  EXPECT_EQ(TCFString("a").strcmp(static_cast<const char*>(nullptr)), -1);
  EXPECT_EQ(TCFString().strcmp(CFSTR("a")), -1);
  EXPECT_EQ(TCFString("a").strcmp(static_cast<CFStringRef>(nullptr)), -1);
  EXPECT_THAT(log.Lines(), ElementsAre(InlineLine("IsValid()", 76, "strcmp"),
                                       InlineLine("in_rhs_utf8_cstring!=NULL", 78, "strcmp"),
                                       InlineLine("IsValid()", 90, "strcmp"),
                                       InlineLine("rhs_StringRef!=NULL", 92, "strcmp")));
}

TEST(TCFStringStrcmp, FailsForTextThatIsNoUTF8) {
  const LogCapture log;
  EXPECT_EQ(TCFString("a").strcmp("\xFF"), -1);
  EXPECT_THAT(log.Lines(),
              ElementsAre("TCFString::SetValue in_cstring:\xFF inFromThisEncoding:134217984",
                          InlineLine("rhs_StringRef!=NULL", 92, "strcmp")));
}

// 8-bit text.

TEST(TCFStringGetText, ConvertsToTheEncoding) {
  const TCFString string("\xC3\xA9");
  std::string out;
  EXPECT_TRUE(string.GetValue(out, kCFStringEncodingUTF8));
  EXPECT_EQ(out, "\xC3\xA9");
  EXPECT_TRUE(string.GetValue(out, kCFStringEncodingMacRoman));
  EXPECT_EQ(out, "\x8E");
  EXPECT_TRUE(string.GetValue(out, kCFStringEncodingWindowsLatin1));
  EXPECT_EQ(out, "\xE9");
  EXPECT_TRUE(string.GetValue(out, kCFStringEncodingISOLatin1));
  EXPECT_EQ(out, "\xE9");
  EXPECT_TRUE(string.GetValue(out, kCFStringEncodingNextStepLatin));
  EXPECT_EQ(out, "\xDD");
}

TEST(TCFStringGetText, IsUTF8WithoutAPreference) {
  std::string out;
  EXPECT_TRUE(TCFString("\xE2\x82\xAC").GetValue(out, kTCFString_NoPreference));
  EXPECT_EQ(out, "\xE2\x82\xAC");
  EXPECT_TRUE(TCFString("\xE2\x82\xAC").GetValue(out));
  EXPECT_EQ(out, "\xE2\x82\xAC");
}

TEST(TCFStringGetText, FallsBackToUTF8) {
  const LogCapture log;
  std::string out;
  // No form in the encoding, and no such encoding.
  EXPECT_TRUE(TCFString("\xE2\x82\xAC").GetValue(out, kCFStringEncodingASCII));
  EXPECT_EQ(out, "\xE2\x82\xAC");
  ASSERT_FALSE(CFStringIsEncodingAvailable(kUnknownEncoding));
  EXPECT_TRUE(
      TCFString("\xC3\xA9").GetValue(out, static_cast<CFStringBuiltInEncodings>(kUnknownEncoding)));
  EXPECT_EQ(out, "\xC3\xA9");
  EXPECT_EQ(log.Text(), "");
}

TEST(TCFStringGetText, FillsItsBufferToTheLastByte) {
  // Three bytes for every unit, and one for every unit: what the encodings need at most.
  std::string expected;
  for (int i = 0; i < 1000; ++i) expected += "\xE2\x82\xAC";
  std::string out;
  EXPECT_TRUE(TCFString(expected).GetValue(out, kCFStringEncodingUTF8));
  EXPECT_EQ(out, expected);
  const std::string ascii(1000, 'x');
  EXPECT_TRUE(TCFString(ascii).GetValue(out, kCFStringEncodingMacRoman));
  EXPECT_EQ(out, ascii);
}

TEST(TCFStringGetText, EmptiesTheOutputOfAnEmptyString) {
  const LogCapture log;
  std::string out = "old";
  EXPECT_FALSE(TCFString("").GetConstCharStarValue(out, kCFStringEncodingUTF8));
  EXPECT_FALSE(TCFString().GetConstCharStarValue(out, kCFStringEncodingUTF8));
  EXPECT_EQ(out, "old");
  EXPECT_FALSE(TCFString("").GetValue(out, kCFStringEncodingUTF8));
  EXPECT_EQ(out, "");
  out = "old";
  EXPECT_FALSE(TCFString().GetValue(out, kCFStringEncodingUTF8));
  EXPECT_EQ(out, "");
  EXPECT_EQ(log.Text(), "");
}

TEST(TCFStringGetText, LogsHalfASurrogatePair) {
  const TCFString string(NewHalfPair(), kCFTypeRef_Owned);
  const std::string line = test::VerifyLine(
      "fOk = ::CFStringGetCString(mValueRef,buffer_raw_string,_max_buffer_size,"
      "PreferredEncoding[i])",
      kSource, 179, "GetConstCharStarValue");
  const LogCapture log;
  std::string out = "old";
  EXPECT_FALSE(string.GetConstCharStarValue(out, kTCFString_NoPreference));
  EXPECT_EQ(out, "old");
  EXPECT_FALSE(string.GetValue(out, kCFStringEncodingMacRoman));
  EXPECT_EQ(out, "");
  EXPECT_THAT(log.Lines(), ElementsAre(line, line));
}

TEST(TCFStringGetText, LogsThatThereIsNoMemory) {
  const std::string text(10000, 'x');
  const TCFString string(text);
  const LogCapture log;
  std::string out = "old";
  {
    const test::FailingAllocation failing(10000);
    EXPECT_FALSE(string.GetConstCharStarValue(out, kTCFString_NoPreference));
    EXPECT_FALSE(string.GetConstCharStarValue(out, kCFStringEncodingMacRoman));
  }
  EXPECT_EQ(out, "old");
  const std::string line =
      test::VerifyLine("buffer_raw_string = (char*)std::malloc(_max_buffer_size)", kSource, 178,
                       "GetConstCharStarValue");
  EXPECT_THAT(log.Lines(), ElementsAre(line, line));
}

TEST(TCFStringGetText, LeavesItsBuffersAllocated) {
  const std::string text(1000, 'x');
  const TCFString string(text);
  std::string out(1000, ' ');
  const std::size_t before = test::AllocatedBytes();
  for (int i = 0; i < 100; ++i) string.GetValue(out, kCFStringEncodingMacRoman);
  EXPECT_GE(test::AllocatedBytes() - before, 100U * 1000U);
}

TEST(TCFStringGetText, FreesTheBufferOfAFailedConversion) {
  const TCFString string(NewString(std::vector<UniChar>(1000, 0xD800)), kCFTypeRef_Owned);
  std::string out;
  string.GetValue(out, kCFStringEncodingMacRoman);
  const std::size_t before = test::AllocatedBytes();
  for (int i = 0; i < 100; ++i) string.GetValue(out, kCFStringEncodingMacRoman);
  EXPECT_LT(test::AllocatedBytes(), before + 10U * 1000U);
}

RC_GTEST_PROP(TCFStringGetText, IsWhatWasSet, (const std::vector<UniChar>& anyUnits)) {
  std::vector<UniChar> units;
  for (const UniChar unit : anyUnits) {
    if (unit != 0 && (unit < 0xD800 || unit > 0xDFFF)) units.push_back(unit);
  }
  const TCFString string(NewString(units), kCFTypeRef_Owned);
  std::string text;
  RC_ASSERT(string.GetValue(text, kCFStringEncodingUTF8) == !units.empty());
  RC_ASSERT(Units(TCFString(text)) == units);
}

TEST(TCFStringGetPascal, IsMacRoman) {
  unsigned char out[256] = {};
  EXPECT_TRUE(TCFString("a\xC3\xA9").GetValue(out));
  EXPECT_EQ(out[0], 2);
  EXPECT_EQ(out[1], 'a');
  EXPECT_EQ(out[2], 0x8E);
}

TEST(TCFStringGetPascal, IsCutAt255Bytes) {
  unsigned char out[257] = {};
  out[256] = 0xAB;
  EXPECT_TRUE(TCFString(std::string(300, 'x')).GetValue(out));
  EXPECT_EQ(out[0], 255);
  EXPECT_EQ(out[255], 'x');
  EXPECT_EQ(out[256], 0xAB);
}

TEST(TCFStringGetPascal, IsEmptyOnFailure) {
  const LogCapture log;
  unsigned char out[256] = {5, 'o', 'l', 'd'};
  EXPECT_FALSE(TCFString("").GetValue(out));
  EXPECT_EQ(out[0], 0);
  EXPECT_FALSE(TCFString("a").GetValue(static_cast<unsigned char*>(nullptr)));
  EXPECT_EQ(log.Text(), "");
}

// Unicode.

TEST(TCFStringGetName, GivesTheUnits) {
  HFSUniStr255 out;
  std::memset(&out, 0xAB, sizeof(out));
  EXPECT_TRUE(TCFString("a\xE2\x82\xAC").GetValue(out));
  EXPECT_EQ(out.length, 2);
  EXPECT_EQ(out.unicode[0], 'a');
  EXPECT_EQ(out.unicode[1], 0x20AC);
  EXPECT_EQ(out.unicode[2], 0xABAB);
}

TEST(TCFStringGetName, TakesAtMost127Units) {
  for (const std::size_t length : {126U, 127U, 128U, 200U, 255U, 256U, 1000U}) {
    HFSUniStr255 out;
    std::memset(&out, 0xAB, sizeof(out));
    EXPECT_TRUE(TCFString(std::string(length, 'x')).GetValue(out));
    EXPECT_EQ(out.length, std::min<std::size_t>(length, 127)) << length;
    EXPECT_EQ(out.unicode[out.length - 1], 'x');
    EXPECT_EQ(out.unicode[127], 0xABAB) << length;
  }
}

TEST(TCFStringGetName, IsEmptyForAnEmptyString) {
  const LogCapture log;
  HFSUniStr255 out = Name({'o'});
  EXPECT_FALSE(TCFString("").GetValue(out));
  EXPECT_EQ(out.length, 0);
  EXPECT_EQ(log.Text(), "");
  out.length = 1;
  EXPECT_FALSE(TCFString().GetValue(out));
  EXPECT_EQ(out.length, 0);
  EXPECT_THAT(log.Lines(), ElementsAre(InlineLine("IsValid()", 67, "strlen")));
}

TEST(TCFStringGetUnits, GivesAnOwnBuffer) {
  const TCFString string(NewString({'a', 0xD800, 'b'}), kCFTypeRef_Owned);
  const UniChar* out = nullptr;
  SInt32 length = 0;
  ASSERT_TRUE(string.GetValue(out, length));
  EXPECT_EQ(length, 3);
  EXPECT_EQ(std::vector<UniChar>(out, out + 4), (std::vector<UniChar>{'a', 0xD800, 'b', 0}));
  std::free(const_cast<UniChar*>(out));
}

TEST(TCFStringGetUnits, GivesAnEmptyStringsZero) {
  const UniChar* out = nullptr;
  SInt32 length = 7;
  ASSERT_TRUE(TCFString("").GetValue(out, length));
  EXPECT_EQ(length, 0);
  EXPECT_EQ(out[0], 0);
  std::free(const_cast<UniChar*>(out));
}

TEST(TCFStringGetUnits, LogsWhatIsNoString) {
  const LogCapture log;
  const UniChar something = 'x';
  const UniChar* out = &something;
  SInt32 length = 7;
  EXPECT_FALSE(TCFString().GetValue(out, length));
  EXPECT_EQ(out, nullptr);
  EXPECT_THAT(log.Lines(), ElementsAre(InlineLine("IsTypeValid()", 151, "GetValue")));
}

TEST(TCFStringGetUnits, LogsThatThereIsNoMemory) {
  const TCFString string(std::string(10000, 'x'));
  const LogCapture log;
  const UniChar* out = nullptr;
  SInt32 length = 7;
  {
    const test::FailingAllocation failing(20002);
    EXPECT_FALSE(string.GetValue(out, length));
  }
  EXPECT_EQ(out, nullptr);
  EXPECT_THAT(log.Lines(), ElementsAre(InlineLine("uszValue", 156, "GetValue")));
}

TEST(TCFStringGetWide, WidensEveryUnit) {
  std::wstring out = L"old";
  EXPECT_TRUE(TCFString(NewString({'a', 0xD83D, 0xDE00, 0xFFFF}), kCFTypeRef_Owned).GetValue(out));
  EXPECT_EQ(out, (std::wstring{L'a', wchar_t{0xD83D}, wchar_t{0xDE00}, wchar_t{0xFFFF}}));
  EXPECT_TRUE(TCFString("").GetValue(out));
  EXPECT_EQ(out, L"");
}

TEST(TCFStringGetWide, IsEmptyWithoutAString) {
  const LogCapture log;
  std::wstring out = L"old";
  EXPECT_FALSE(TCFString().GetValue(out));
  EXPECT_EQ(out, L"");
  EXPECT_THAT(log.Lines(), ElementsAre(InlineLine("IsTypeValid()", 151, "GetValue")));
}

TEST(TCFStringGetWide, FreesItsBuffers) {
  const TCFString string(std::string(1000, 'x'));
  std::wstring out(1000, L' ');
  string.GetValue(out);
  const std::size_t before = test::AllocatedBytes();
  for (int i = 0; i < 100; ++i) string.GetValue(out);
  EXPECT_LT(test::AllocatedBytes(), before + 10U * 1000U);
}

TEST(TCFStringGetHolder, FillsTheHolder) {
  T_cstring<UniChar> out;
  EXPECT_TRUE(TCFString("a\xE2\x82\xAC").GetValue(out));
  EXPECT_EQ(std::vector<UniChar>(out.m_cstring, out.m_cstring + 3),
            (std::vector<UniChar>{'a', 0x20AC, 0}));
}

TEST(TCFStringGetHolder, NeedsABufferForAnEmptyString) {
  const LogCapture log;
  T_cstring<UniChar> out;
  EXPECT_FALSE(TCFString("").GetValue(out));
  EXPECT_EQ(out.m_cstring, nullptr);
  ASSERT_TRUE(out.set_length(3));
  out.m_cstring[0] = 'x';
  EXPECT_TRUE(TCFString("").GetValue(out));
  EXPECT_EQ(out.m_cstring[0], 0);
  EXPECT_EQ(log.Text(), "");
}

TEST(TCFStringGetHolder, LogsWhatIsNoString) {
  const LogCapture log;
  T_cstring<UniChar> out;
  EXPECT_FALSE(TCFString().GetValue(out));
  EXPECT_THAT(log.Lines(), ElementsAre(InlineLine("IsTypeValid()", 174, "GetValue")));
}

TEST(TCFStringGetHolder, LogsThatThereIsNoMemory) {
  const TCFString string(std::string(10000, 'x'));
  const LogCapture log;
  T_cstring<UniChar> out;
  {
    const test::FailingAllocation failing(20002);
    EXPECT_FALSE(string.GetValue(out));
  }
  EXPECT_EQ(out.m_cstring, nullptr);
  EXPECT_THAT(log.Lines(),
              ElementsAre(test::VerifyLine("m_cstring!=__null", kSource, 55, "set_length")));
}

// Conversions in one step.

TEST(TCFStringToUnicode, ConvertsText) {
  HFSUniStr255 name;
  EXPECT_TRUE(TCFString::ToUnicode("\x8E", name, kCFStringEncodingMacRoman));
  EXPECT_EQ(name.length, 1);
  EXPECT_EQ(name.unicode[0], 0xE9);
  std::wstring wide;
  EXPECT_TRUE(TCFString::ToUnicode("\xE2\x82\xAC", wide, kCFStringEncodingUTF8));
  EXPECT_EQ(wide, L"\u20AC");
  const unsigned char pascal[] = {1, 0x8E};
  EXPECT_TRUE(TCFString::ToUnicode(pascal, name, kCFStringEncodingMacRoman));
  EXPECT_EQ(name.length, 1);
  EXPECT_EQ(name.unicode[0], 0xE9);
}

TEST(TCFStringToUnicode, LogsNull) {
  const LogCapture log;
  HFSUniStr255 name;
  std::wstring wide;
  EXPECT_FALSE(
      TCFString::ToUnicode(static_cast<const char*>(nullptr), name, kCFStringEncodingUTF8));
  EXPECT_FALSE(
      TCFString::ToUnicode(static_cast<const char*>(nullptr), wide, kCFStringEncodingUTF8));
  EXPECT_FALSE(TCFString::ToUnicode(static_cast<const unsigned char*>(nullptr), name,
                                    kCFStringEncodingUTF8));
  EXPECT_THAT(log.Lines(), ElementsAre(InlineLine("in_utf8_cstring!=NULL", 322, "ToUnicode"),
                                       InlineLine("in_utf8_cstring!=NULL", 294, "ToUnicode"),
                                       InlineLine("in_pstring!=NULL", 308, "ToUnicode")));
}

TEST(TCFStringToUnicode, FailsForTextThatIsNotInTheEncoding) {
  HFSUniStr255 name;
  EXPECT_FALSE(TCFString::ToUnicode("\xFF", name, kCFStringEncodingUTF8));
  std::wstring wide;
  EXPECT_FALSE(TCFString::ToUnicode("\xFF", wide, kCFStringEncodingUTF8));
}

TEST(TCFStringFromUnicode, ConvertsText) {
  std::string out;
  EXPECT_TRUE(TCFString::FromUnicode(Name({0xE9}), out, kCFStringEncodingMacRoman));
  EXPECT_EQ(out, "\x8E");
  EXPECT_TRUE(TCFString::FromUnicode(L"\u4142", out, kCFStringEncodingUTF8));
  EXPECT_EQ(out, "\xE4\x85\x82");
  // Latin letters do not survive the way through bytes.
  EXPECT_FALSE(TCFString::FromUnicode(L"AB", out, kCFStringEncodingUTF8));
  EXPECT_EQ(out, "");
}

TEST(TCFStringFromUnicode, LogsNull) {
  const LogCapture log;
  std::string out;
  EXPECT_FALSE(TCFString::FromUnicode(nullptr, out, kCFStringEncodingUTF8));
  EXPECT_THAT(log.Lines(), ElementsAre(InlineLine("in_wide_cstring!=NULL", 277, "FromUnicode")));
}

}  // namespace
