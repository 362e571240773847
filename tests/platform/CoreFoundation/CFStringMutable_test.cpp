#include <gtest/gtest.h>

#include <string>

#include "platform/CoreFoundation/CFString.h"
#include "tests/support/CFUnits.h"

namespace {

using test::CFOwned;
using test::NewString;
using test::Units;

class CFStringMutable : public testing::Test {
 protected:
  void set(const std::u16string& text) {
    const CFOwned<CFStringRef> content(NewString(text));
    CFStringReplaceAll(string_, content);
  }
  std::u16string text() const { return Units(string_); }

  const CFOwned<CFMutableStringRef> string_{CFStringCreateMutable(nullptr, 0)};
};

TEST_F(CFStringMutable, AppendsTextOfEveryKind) {
  CFStringAppend(string_, CFSTR("a"));
  const UniChar units[] = {'b', 0x4E2D};
  CFStringAppendCharacters(string_, units, 2);
  CFStringAppendCString(string_, "\x8E", kCFStringEncodingMacRoman);
  const unsigned char pascal[] = {2, 'c', 'd'};
  CFStringAppendPascalString(string_, pascal, kCFStringEncodingASCII);
  CFStringAppendFormat(string_, nullptr, CFSTR("%d%@"), 7, CFSTR("!"));
  EXPECT_EQ(text(), u"ab\u4E2D\u00E9cd7!");
  CFStringAppendCString(string_, "\xFF", kCFStringEncodingUTF8);
  CFStringAppendCString(string_, nullptr, kCFStringEncodingUTF8);
  CFStringAppendCharacters(string_, units, -1);
  CFStringAppend(string_, nullptr);
  EXPECT_EQ(text(), u"ab\u4E2D\u00E9cd7!") << "nothing that is no text";
}

TEST_F(CFStringMutable, AppendsItself) {
  set(u"ab");
  CFStringAppend(string_, string_);
  EXPECT_EQ(text(), u"abab");
  CFStringInsert(string_, 1, string_);
  EXPECT_EQ(text(), u"aababbab");
}

TEST_F(CFStringMutable, InsertsDeletesAndReplaces) {
  set(u"hello");
  CFStringInsert(string_, 5, CFSTR("!"));
  CFStringInsert(string_, 0, CFSTR(">"));
  EXPECT_EQ(text(), u">hello!");
  CFStringDelete(string_, CFRangeMake(0, 1));
  CFStringReplace(string_, CFRangeMake(1, 3), CFSTR("ipp"));
  EXPECT_EQ(text(), u"hippo!");
  CFStringInsert(string_, 7, CFSTR("x"));
  CFStringInsert(string_, -1, CFSTR("x"));
  CFStringDelete(string_, CFRangeMake(5, 2));
  CFStringReplace(string_, CFRangeMake(0x7FFFFFFF, 0x7FFFFFFF), CFSTR("x"));
  EXPECT_EQ(text(), u"hippo!") << "out of range changes nothing";
}

TEST_F(CFStringMutable, KeepsItsLimit) {
  const CFOwned<CFMutableStringRef> limited(CFStringCreateMutable(nullptr, 3));
  CFStringAppend(limited, CFSTR("abcd"));
  EXPECT_EQ(Units(limited), u"");
  CFStringAppend(limited, CFSTR("abc"));
  CFStringAppend(limited, CFSTR("d"));
  CFStringReplaceAll(limited, CFSTR("wxyz"));
  CFStringPad(limited, CFSTR("."), 4, 0);
  EXPECT_EQ(CFStringFindAndReplace(limited, CFSTR("a"), CFSTR("aa"), CFRangeMake(0, 3), 0), 0);
  EXPECT_EQ(Units(limited), u"abc");
  CFStringReplace(limited, CFRangeMake(0, 1), CFSTR("X"));
  EXPECT_EQ(Units(limited), u"Xbc");
  EXPECT_EQ(CFStringCreateMutable(nullptr, -1), nullptr);
  EXPECT_EQ(CFStringCreateMutableCopy(nullptr, 2, CFSTR("abc")), nullptr);
  EXPECT_EQ(CFStringCreateMutableCopy(nullptr, 0, nullptr), nullptr);
}

TEST_F(CFStringMutable, LeavesImmutableStringsAlone) {
  const CFOwned<CFStringRef> fixed(NewString(u"fixed"));
  auto* cheat = const_cast<CFMutableStringRef>(fixed.get());
  CFStringAppend(cheat, CFSTR("x"));
  CFStringUppercase(cheat, nullptr);
  CFStringNormalize(cheat, kCFStringNormalizationFormD);
  CFStringTrim(cheat, CFSTR("f"));
  CFStringPad(cheat, nullptr, 1, 0);
  EXPECT_EQ(Units(fixed), u"fixed");
  CFStringAppend(nullptr, CFSTR("x"));
}

TEST_F(CFStringMutable, FindsAndReplaces) {
  set(u"one two one");
  EXPECT_EQ(CFStringFindAndReplace(string_, CFSTR("one"), CFSTR("1"), CFRangeMake(0, 11), 0), 2);
  EXPECT_EQ(text(), u"1 two 1");
  EXPECT_EQ(CFStringFindAndReplace(string_, CFSTR("TWO"), CFSTR("2"), CFRangeMake(0, 7),
                                   kCFCompareCaseInsensitive),
            1);
  EXPECT_EQ(text(), u"1 2 1");
  EXPECT_EQ(CFStringFindAndReplace(string_, CFSTR("1"), CFSTR("11"), CFRangeMake(2, 3), 0), 1);
  EXPECT_EQ(text(), u"1 2 11");
  EXPECT_EQ(CFStringFindAndReplace(string_, CFSTR("x"), CFSTR("y"), CFRangeMake(0, 6), 0), 0);
}

TEST_F(CFStringMutable, PadsAndCuts) {
  set(u"ab");
  CFStringPad(string_, CFSTR("xyz"), 7, 1);
  EXPECT_EQ(text(), u"abyzxyz");
  CFStringPad(string_, nullptr, 3, 0);
  EXPECT_EQ(text(), u"aby");
  CFStringPad(string_, CFSTR(""), 5, 0);
  CFStringPad(string_, CFSTR("x"), 5, 1);
  CFStringPad(string_, CFSTR("x"), -1, 0);
  EXPECT_EQ(text(), u"aby");
}

TEST_F(CFStringMutable, Trims) {
  set(u"--a--b----");
  CFStringTrim(string_, CFSTR("--"));
  EXPECT_EQ(text(), u"a--b");
  set(u"\u00A0 \t\n x y\u3000\r\n");
  CFStringTrimWhitespace(string_);
  EXPECT_EQ(text(), u"x y");
  set(u" \n");
  CFStringTrimWhitespace(string_);
  EXPECT_EQ(text(), u"");
}

TEST_F(CFStringMutable, MapsCase) {
  set(u"Stra\u00DFe \u0130");
  CFStringUppercase(string_, nullptr);
  EXPECT_EQ(text(), u"STRASSE \u0130");
  CFStringLowercase(string_, nullptr);
  EXPECT_EQ(text(), u"strasse i\u0307");
  set(u"hello wORLD");
  CFStringCapitalize(string_, nullptr);
  EXPECT_EQ(text(), u"Hello World");
  set(u"");
  CFStringUppercase(string_, nullptr);
  EXPECT_EQ(text(), u"");
}

TEST_F(CFStringMutable, Normalizes) {
  const struct {
    CFStringNormalizationForm form;
    const char16_t* expected;
  } kCases[] = {{kCFStringNormalizationFormD, u"e\u0301\uFB01\u1100\u1161"},
                {kCFStringNormalizationFormKD, u"e\u0301fi\u1100\u1161"},
                {kCFStringNormalizationFormC, u"\u00E9\uFB01\uAC00"},
                {kCFStringNormalizationFormKC, u"\u00E9fi\uAC00"}};
  for (const auto& each : kCases) {
    set(u"\u00E9\uFB01\uAC00");
    CFStringNormalize(string_, each.form);
    EXPECT_EQ(text(), each.expected) << each.form;
  }
  set(u"\u00E9");
  CFStringNormalize(string_, static_cast<CFStringNormalizationForm>(9));
  EXPECT_EQ(text(), u"\u00E9");
}

TEST_F(CFStringMutable, Folds) {
  set(u"\u00C9T\u00C9 \uFF21");
  CFStringFold(string_, kCFCompareDiacriticInsensitive | kCFCompareWidthInsensitive, nullptr);
  EXPECT_EQ(text(), u"ETE A");
  CFStringFold(string_, kCFCompareCaseInsensitive, nullptr);
  EXPECT_EQ(text(), u"ete a");
}

}  // namespace
