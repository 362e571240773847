#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/CoreFoundation/CFString.h"
#include "tests/support/CFUnits.h"

namespace {

using test::CFOwned;
using test::NewString;

CFIndex Compare(const std::u16string& a, const std::u16string& b, CFOptionFlags options = 0) {
  const CFOwned<CFStringRef> first(NewString(a));
  const CFOwned<CFStringRef> second(NewString(b));
  return CFStringCompare(first, second, options);
}

struct Place {
  CFIndex location;
  CFIndex length;
  bool operator==(const Place&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Place& place) {
  return out << '{' << place.location << ", " << place.length << '}';
}

Place Find(const std::u16string& text, const std::u16string& sought, CFOptionFlags options = 0) {
  const CFOwned<CFStringRef> string(NewString(text));
  const CFOwned<CFStringRef> needle(NewString(sought));
  const CFRange found = CFStringFind(string, needle, options);
  return {found.location, found.length};
}

constexpr Place kNowhere = {kCFNotFound, 0};

TEST(CFStringCompare, IsLiteralByUnitWithoutOptions) {
  EXPECT_EQ(Compare(u"a", u"a"), 0);
  EXPECT_EQ(Compare(u"a", u"A"), 1);
  EXPECT_EQ(Compare(u"A", u"a"), -1);
  EXPECT_EQ(Compare(u"a", u"ab"), -1);
  EXPECT_EQ(Compare(u"", u""), 0);
  EXPECT_EQ(Compare(u"\u00E9", u"e\u0301"), 1) << "canonically equal, literally not";
  EXPECT_EQ(Compare(u"\uFFFF", u"\U0001F600"), 1) << "by unit, not by code point";
  EXPECT_EQ(CFStringCompare(nullptr, CFSTR("a"), 0), kCFCompareLessThan);
  EXPECT_EQ(CFStringCompare(nullptr, nullptr, 0), kCFCompareEqualTo);
}

TEST(CFStringCompare, FoldsCaseFully) {
  EXPECT_EQ(Compare(u"HELLO", u"hello", kCFCompareCaseInsensitive), 0);
  EXPECT_EQ(Compare(u"\u00C9", u"\u00E9", kCFCompareCaseInsensitive), 0);
  EXPECT_EQ(Compare(u"stra\u00DFe", u"STRASSE", kCFCompareCaseInsensitive), 0);
  EXPECT_EQ(Compare(u"\u03A3", u"\u03C2", kCFCompareCaseInsensitive), 0) << "final sigma";
  EXPECT_EQ(Compare(u"\U00010400", u"\U00010428", kCFCompareCaseInsensitive), 0);
  EXPECT_EQ(Compare(u"a", u"B", kCFCompareCaseInsensitive), -1);
  EXPECT_EQ(Compare(u"a", u"\u00E4", kCFCompareCaseInsensitive), -1);
}

TEST(CFStringCompare, ComparesNumbersByValue) {
  const CFOptionFlags numerically = kCFCompareNumerically;
  EXPECT_EQ(Compare(u"file9", u"file10", numerically), -1);
  EXPECT_EQ(Compare(u"file9", u"file10"), 1);
  EXPECT_EQ(Compare(u"file009", u"file9", numerically), 0);
  EXPECT_EQ(Compare(u"1.2.3", u"1.2.10", numerically), -1);
  EXPECT_EQ(Compare(u"99999999999999999999999", u"100000000000000000000000", numerically), -1);
  EXPECT_EQ(Compare(u"a1", u"a", numerically), 1);
  EXPECT_EQ(Compare(u"A2", u"a10", numerically | kCFCompareCaseInsensitive), -1);
  EXPECT_EQ(Compare(u"\u0662", u"10", numerically), -1) << "digits of any script";
  EXPECT_EQ(Compare(u"0", u"000", numerically), 0);
}

TEST(CFStringCompare, TreatsEquivalentTextsAsEqualWhenAsked) {
  EXPECT_EQ(Compare(u"\u00E9", u"e\u0301", kCFCompareNonliteral), 0);
  EXPECT_EQ(Compare(u"\uAC00", u"\u1100\u1161", kCFCompareNonliteral), 0);
  EXPECT_EQ(Compare(u"q\u0323\u0307", u"q\u0307\u0323", kCFCompareNonliteral), 0);
  EXPECT_NE(Compare(u"\u00E9", u"e", kCFCompareNonliteral), 0);
}

TEST(CFStringCompare, LeavesDiacriticsAndWidthOutWhenAsked) {
  EXPECT_EQ(Compare(u"r\u00E9sum\u00E9", u"resume", kCFCompareDiacriticInsensitive), 0);
  EXPECT_EQ(Compare(u"\uFF21\uFF22", u"AB", kCFCompareWidthInsensitive), 0);
  EXPECT_EQ(Compare(u"\uFF76", u"\u30AB", kCFCompareWidthInsensitive), 0);
  EXPECT_NE(Compare(u"\u00B2", u"2", kCFCompareWidthInsensitive), 0) << "no matter of width";
  EXPECT_EQ(Compare(u"\uFF21", u"a", kCFCompareWidthInsensitive | kCFCompareCaseInsensitive), 0);
}

TEST(CFStringCompare, ForcedOrderingDecidesTies) {
  EXPECT_EQ(Compare(u"A", u"a", kCFCompareCaseInsensitive | kCFCompareForcedOrdering), -1);
  EXPECT_EQ(Compare(u"a", u"a", kCFCompareCaseInsensitive | kCFCompareForcedOrdering), 0);
}

TEST(CFStringCompare, LocalizedSortsLettersBeforeCase) {
  EXPECT_EQ(Compare(u"apple", u"Banana", kCFCompareLocalized), -1);
  EXPECT_EQ(Compare(u"apple", u"Banana"), 1);
  EXPECT_EQ(Compare(u"x2", u"x10", kCFCompareLocalized | kCFCompareNumerically), -1);
  EXPECT_EQ(Compare(u"x", u"x", kCFCompareLocalized), 0);
}

TEST(CFStringCompare, ComparesAPart) {
  EXPECT_EQ(CFStringCompareWithOptions(CFSTR("xabcx"), CFSTR("abc"), CFRangeMake(1, 3), 0),
            kCFCompareEqualTo);
  EXPECT_EQ(CFStringCompareWithOptions(CFSTR("xabcx"), CFSTR("abc"), CFRangeMake(9, 3), 0),
            kCFCompareLessThan);
}

RC_GTEST_PROP(CFStringCompare, IsAnOrder,
              (const std::vector<UInt16>& a, const std::vector<UInt16>& b)) {
  const std::u16string first(a.begin(), a.end());
  const std::u16string second(b.begin(), b.end());
  for (const CFOptionFlags options : {0, 1, 16, 64, 65, 128, 256}) {
    RC_ASSERT(Compare(first, second, options) == -Compare(second, first, options));
    RC_ASSERT(Compare(first, first, options) == 0);
  }
  const auto expected =
      std::lexicographical_compare_three_way(a.begin(), a.end(), b.begin(), b.end());
  RC_ASSERT(Compare(first, second) == (expected < 0 ? -1 : expected > 0 ? 1 : 0));
}

TEST(CFStringPrefix, AndSuffixAreLiteral) {
  EXPECT_TRUE(CFStringHasPrefix(CFSTR("LumivaneXXX"), CFSTR("Lumivane")));
  EXPECT_FALSE(CFStringHasPrefix(CFSTR("LumivaneXXX"), CFSTR("lumivane")));
  EXPECT_FALSE(CFStringHasPrefix(CFSTR("Lum"), CFSTR("Lumivane")));
  EXPECT_TRUE(CFStringHasPrefix(CFSTR("Lum"), CFSTR("")));
  EXPECT_TRUE(CFStringHasSuffix(CFSTR("a.component"), CFSTR(".component")));
  EXPECT_FALSE(CFStringHasSuffix(CFSTR("a.component"), CFSTR(".Component")));
  EXPECT_TRUE(CFStringHasSuffix(CFSTR("x"), CFSTR("x")));
}

TEST(CFStringFind, FindsTheFirstOrTheLast) {
  EXPECT_EQ(Find(u"abcabc", u"bc"), (Place{1, 2}));
  EXPECT_EQ(Find(u"abcabc", u"bc", kCFCompareBackwards), (Place{4, 2}));
  EXPECT_EQ(Find(u"aaa", u"aa", kCFCompareBackwards), (Place{1, 2}));
  EXPECT_EQ(Find(u"abc", u"x"), kNowhere);
  EXPECT_EQ(Find(u"abc", u"x", kCFCompareBackwards), kNowhere);
  EXPECT_EQ(Find(u"abc", u"abcd"), kNowhere);
  EXPECT_EQ(Find(u"abc", u""), kNowhere);
  EXPECT_EQ(Find(u"", u"a"), kNowhere);
}

TEST(CFStringFind, AnchorsAtAnEnd) {
  EXPECT_EQ(Find(u"abcabc", u"bc", kCFCompareAnchored), kNowhere);
  EXPECT_EQ(Find(u"abcabc", u"ab", kCFCompareAnchored), (Place{0, 2}));
  EXPECT_EQ(Find(u"abcabc", u"bc", kCFCompareAnchored | kCFCompareBackwards), (Place{4, 2}));
  EXPECT_EQ(Find(u"abcabc", u"ab", kCFCompareAnchored | kCFCompareBackwards), kNowhere);
}

TEST(CFStringFind, NeverEndsInsideACharacter) {
  EXPECT_EQ(Find(u"stra\u00DFe", u"SS", kCFCompareCaseInsensitive), (Place{4, 1}));
  EXPECT_EQ(Find(u"stra\u00DFe", u"s", kCFCompareCaseInsensitive | kCFCompareBackwards),
            (Place{0, 1}))
      << "half of a sharp s is none";
  EXPECT_EQ(Find(u"xe\u0301y", u"\u00E9", kCFCompareNonliteral), (Place{1, 2}));
  EXPECT_EQ(Find(u"xe\u0301y", u"e", kCFCompareNonliteral), kNowhere);
  EXPECT_EQ(Find(u"xe\u0301y", u"e"), (Place{1, 1})) << "literally it is there";
  EXPECT_EQ(
      Find(u"caf\u00E9s", u"CAFE", kCFCompareDiacriticInsensitive | kCFCompareCaseInsensitive),
      (Place{0, 4}));
}

TEST(CFStringFind, SearchesARange) {
  CFRange found = {7, 7};
  EXPECT_TRUE(CFStringFindWithOptions(CFSTR("abcabc"), CFSTR("a"), CFRangeMake(1, 5), 0, &found));
  EXPECT_EQ(found.location, 3);
  EXPECT_FALSE(CFStringFindWithOptions(CFSTR("abcabc"), CFSTR("bc"), CFRangeMake(2, 3), 0, &found));
  EXPECT_EQ(found.location, 3);
  EXPECT_TRUE(CFStringFindWithOptions(CFSTR("abcabc"), CFSTR("c"), CFRangeMake(0, 6), 0, nullptr));
}

TEST(CFStringFind, ListsAllPlaces) {
  const CFOwned<CFArrayRef> places(CFStringCreateArrayWithFindResults(
      nullptr, CFSTR("aaaXaa"), CFSTR("aa"), CFRangeMake(0, 6), 0));
  ASSERT_EQ(CFArrayGetCount(places), 2);
  EXPECT_EQ(static_cast<const CFRange*>(CFArrayGetValueAtIndex(places, 0))->location, 0);
  EXPECT_EQ(static_cast<const CFRange*>(CFArrayGetValueAtIndex(places, 1))->location, 4);
  // The ranges live on in a copy.
  CFArrayRef original = CFStringCreateArrayWithFindResults(nullptr, CFSTR("aXa"), CFSTR("a"),
                                                           CFRangeMake(0, 3), kCFCompareBackwards);
  const CFOwned<CFArrayRef> copy(CFArrayCreateCopy(nullptr, original));
  CFRelease(original);
  ASSERT_EQ(CFArrayGetCount(copy), 2);
  EXPECT_EQ(static_cast<const CFRange*>(CFArrayGetValueAtIndex(copy, 0))->location, 2);
  EXPECT_EQ(
      CFStringCreateArrayWithFindResults(nullptr, CFSTR("aXa"), CFSTR("q"), CFRangeMake(0, 3), 0),
      nullptr);
}

}  // namespace
