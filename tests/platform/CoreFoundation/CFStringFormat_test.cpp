#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <clocale>
#include <cstdio>
#include <limits>
#include <string>

#include "platform/CoreFoundation/CFString.h"
#include "tests/support/CFUnits.h"

namespace {

using test::CFOwned;
using test::NewString;
using test::TakeUnits;

// The format reaches the call as an object, so that the compiler cannot check it.
template <class... Arguments>
std::u16string Format(const char* format, Arguments... arguments) {
  return TakeUnits(CFStringCreateWithFormat(nullptr, nullptr, __CFStringMakeConstantString(format),
                                            arguments...));
}

TEST(CFStringFormat, Integers) {
  EXPECT_EQ(Format("%d %i %u", -5, 6, 4000000000U), u"-5 6 4000000000");
  EXPECT_EQ(Format("%x %X %o", 255U, 255U, 8U), u"ff FF 10");
  EXPECT_EQ(Format("%ld %lu", -5L, 18446744073709551615UL), u"-5 18446744073709551615");
  EXPECT_EQ(Format("%lld %llu %qd", std::numeric_limits<long long>::min(), 5ULL, 7LL),
            u"-9223372036854775808 5 7");
  EXPECT_EQ(Format("%hhd %hd %hhu %hu", 257, 65537, 257, 65537), u"1 1 1 1");
  EXPECT_EQ(Format("%u %x", -1, -1), u"4294967295 ffffffff");
  EXPECT_EQ(Format("%zu %td %jd", std::size_t{3}, std::ptrdiff_t{-4}, std::intmax_t{5}), u"3 -4 5");
}

TEST(CFStringFormat, FlagsWidthAndPrecision) {
  EXPECT_EQ(Format("[%5d|%-5d|%05d|%+d|% d]", 42, 42, 42, 42, 42), u"[   42|42   |00042|+42| 42]");
  EXPECT_EQ(Format("[%#x|%#o|%.3d|%8.3d]", 255U, 8U, 7, 7), u"[0xff|010|007|     007]");
  EXPECT_EQ(Format("[%*d|%-*d|%.*f]", 5, 42, 5, 42, 2, 3.14159), u"[   42|42   |3.14]");
  EXPECT_EQ(Format("[%*d]", -5, 42), u"[42   ]");
  EXPECT_EQ(Format("[%.*f]", -1, 0.5), u"[0.500000]");
}

TEST(CFStringFormat, FloatingPoint) {
  EXPECT_EQ(Format("%f %.2f %e %g %G", 1.5, 2.345, 1234.5, 0.0001, 1e20),
            u"1.500000 2.35 1.234500e+03 0.0001 1E+20");
  EXPECT_EQ(Format("%a", 1.0), u"0x1p+0");
  EXPECT_EQ(Format("%Lf", 2.5L), u"2.500000");
  EXPECT_EQ(Format("%f %f", std::numeric_limits<double>::infinity(),
                   -std::numeric_limits<double>::infinity()),
            u"inf -inf");
}

TEST(CFStringFormat, Texts) {
  EXPECT_EQ(Format("%s|%@|%c|%C", "gr\xC3\xBC\xC3\x9F", CFSTR("\u4E2D"), 'x', 0x20AC),
            u"gr\u00FC\u00DF|\u4E2D|x|\u20AC");
  const UniChar units[] = {'u', 0x4E2D, 0};
  const unsigned char pascal[] = {2, 'p', 0x8E};
  EXPECT_EQ(Format("%S|%P", units, pascal), u"u\u4E2D|p\u00E9");
  EXPECT_EQ(Format("[%6@|%-6@|%.2@|%6.2@]", CFSTR("abc"), CFSTR("abc"), CFSTR("abc"), CFSTR("abc")),
            u"[   abc|abc   |ab|    ab]");
  const char unterminated[] = {'a', 'b', 'c'};
  EXPECT_EQ(Format("%.3s", unterminated), u"abc");
  const UniChar unterminatedUnits[] = {'a', 'b'};
  EXPECT_EQ(Format("%.2S", unterminatedUnits), u"ab");
  EXPECT_EQ(Format("%s", "a\xFF"), u"a\uFFFD");
}

TEST(CFStringFormat, Objects) {
  const int seven = 7;
  const CFOwned<CFNumberRef> number(CFNumberCreate(nullptr, kCFNumberIntType, &seven));
  EXPECT_EQ(Format("%@ %@ %@", number.get(), kCFBooleanTrue, kCFNull), u"7 true <null>");
  const CFOwned<CFArrayRef> array(CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks));
  EXPECT_TRUE(Format("%@", array.get()).starts_with(u"<CFArray 0x"));
}

TEST(CFStringFormat, NullPrintsAsSuch) {
  EXPECT_EQ(Format("%s %@ %S %P", static_cast<char*>(nullptr), static_cast<void*>(nullptr),
                   static_cast<UniChar*>(nullptr), static_cast<unsigned char*>(nullptr)),
            u"(null) (null) (null) (null)");
  EXPECT_EQ(Format("%p %p", reinterpret_cast<void*>(0x1F), static_cast<void*>(nullptr)),
            u"0x1f (nil)");
}

TEST(CFStringFormat, PositionsChooseTheArgument) {
  EXPECT_EQ(Format("%2$@ %1$d %2$@", 5, CFSTR("x")), u"x 5 x");
  EXPECT_EQ(Format("%3$s %1$.*2$f", 1.0, 1, "z"), u"z 1.0");
  EXPECT_EQ(Format("%2$d", 1, 2), u"2");
}

TEST(CFStringFormat, PercentAndWhatIsNoDirective) {
  EXPECT_EQ(Format("100%%"), u"100%");
  EXPECT_EQ(Format("%"), u"%");
  EXPECT_EQ(Format("a%!b"), u"a%!b");
  EXPECT_EQ(Format("%5"), u"%5");
  EXPECT_EQ(Format(""), u"");
  int written = 42;
  EXPECT_EQ(Format("a%nb", &written), u"ab");
  EXPECT_EQ(written, 42);
  EXPECT_EQ(CFStringCreateWithFormat(nullptr, nullptr, nullptr), nullptr);
}

TEST(CFStringFormat, WildWidthsAreCut) {
  EXPECT_EQ(Format("%999999999999d", 1).size(), std::size_t{1} << 20);
  EXPECT_LE(Format("%.999999999f", 1.0).size(), (std::size_t{1} << 20) + 2);
}

TEST(CFStringFormat, TheLocaleDoesNotMatter) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  // Whatever of these the machine has; the result is the same in any case.
  for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "C.UTF-8"}) {
    std::setlocale(LC_ALL, name);
    EXPECT_EQ(Format("%.1f", 1.5), u"1.5");
    const double value = 1.5;
    const CFOwned<CFNumberRef> number(CFNumberCreate(nullptr, kCFNumberDoubleType, &value));
    EXPECT_EQ(Format("%@", number.get()), u"1.5");
  }
  std::setlocale(LC_ALL, before.c_str());
}

RC_GTEST_PROP(CFStringFormat, NumbersAreAsPrintfHasThem, (int integer, double real)) {
  char expected[512];
  std::snprintf(expected, sizeof expected, "%d %x %.3f %g %12d|", integer,
                static_cast<unsigned>(integer), real, real, integer);
  const std::string text = expected;
  RC_ASSERT(Format("%d %x %.3f %g %12d|", integer, static_cast<unsigned>(integer), real, real,
                   integer) == std::u16string(text.begin(), text.end()));
}

}  // namespace
