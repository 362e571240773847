#include "sdk/CoreX/FormatWithoutArguments.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

// The C library is the oracle; it is given formats that are made at run time, with arguments.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

namespace {

template <typename Zero>
std::string Printed(const std::string& format, Zero zero) {
  char buffer[4096];
  const int length = std::snprintf(buffer, sizeof(buffer), format.c_str(), zero);
  return {buffer, static_cast<std::size_t>(length)};
}

/// What the C library prints for one conversion given a zero, a null or an empty text.
std::string Oracle(const std::string& conversion) {
  const char kind = conversion.back();
  const bool isLongDouble = conversion.find('L') != std::string::npos;
  if (std::string("aAeEfFgG").find(kind) != std::string::npos) {
    return isLongDouble ? Printed(conversion, 0.0L) : Printed(conversion, 0.0);
  }
  if (kind == 's') return Printed(conversion, "");
  if (kind == 'p') return Printed(conversion, static_cast<void*>(nullptr));
  return Printed(conversion, 0LL);
}

TEST(FormatWithoutArguments, CopiesTextWithoutConversions) {
  EXPECT_EQ(FormatWithoutArguments(""), "");
  EXPECT_EQ(FormatWithoutArguments("plain \\n \t text\n"), "plain \\n \t text\n");
  EXPECT_EQ(FormatWithoutArguments("\xC3\xA9\xFF"), "\xC3\xA9\xFF");
}

TEST(FormatWithoutArguments, HalvesDoubledPercentSigns) {
  EXPECT_EQ(FormatWithoutArguments("100%%"), "100%");
  EXPECT_EQ(FormatWithoutArguments("%%%%d"), "%%d");
  EXPECT_EQ(FormatWithoutArguments("%%%d"), "%0");
  EXPECT_EQ(FormatWithoutArguments("%5%|"), "%|");
}

TEST(FormatWithoutArguments, PrintsZerosAndEmptyTexts) {
  EXPECT_EQ(FormatWithoutArguments("a%db%sc"), "a0bc");
  EXPECT_EQ(FormatWithoutArguments("%5d|%-5d|%05d|%+d|% d"), "    0|0    |00000|+0| 0");
  EXPECT_EQ(FormatWithoutArguments("%x %X %o %u %i"), "0 0 0 0 0");
  EXPECT_EQ(FormatWithoutArguments("%f %e %G %a"), "0.000000 0.000000e+00 0 0x0p+0");
  EXPECT_EQ(FormatWithoutArguments("[%s][%3s][%-3s]"), "[][   ][   ]");
  EXPECT_EQ(FormatWithoutArguments("%p"), "(nil)");
}

TEST(FormatWithoutArguments, TakesNoArgumentForWidthPrecisionAndPosition) {
  EXPECT_EQ(FormatWithoutArguments("%*d|%.*d|%*.*f"), "0||0");
  EXPECT_EQ(FormatWithoutArguments("%1$d %2$s|%3$*4$.5d"), "0 |00000");
}

TEST(FormatWithoutArguments, PrintsAnEmptyCharacterForAZeroOne) {
  EXPECT_EQ(FormatWithoutArguments("[%c]"), "[]");
  EXPECT_EQ(FormatWithoutArguments("[%3c][%-3c][%lc]"), "[   ][   ][]");
}

TEST(FormatWithoutArguments, WritesNothingForN) {
  EXPECT_EQ(FormatWithoutArguments("a%nb%lnc%hhnd%5ne"), "abcde");
}

TEST(FormatWithoutArguments, PrintsTheTextOfNoErrorForM) {
  EXPECT_EQ(FormatWithoutArguments("%m|%9m|%.3m"), "Success|  Success|Suc");
}

TEST(FormatWithoutArguments, CopiesWhatIsNoConversion) {
  EXPECT_EQ(FormatWithoutArguments("100%"), "100%");
  EXPECT_EQ(FormatWithoutArguments("100%5"), "100%5");
  EXPECT_EQ(FormatWithoutArguments("%-08.3l"), "%-08.3l");
  EXPECT_EQ(FormatWithoutArguments("50%y 50%\n"), "50%y 50%\n");
  EXPECT_EQ(FormatWithoutArguments("%é"), "%é");
  // What follows an unknown conversion is read again.
  EXPECT_EQ(FormatWithoutArguments("%y%d"), "%y0");
}

TEST(FormatWithoutArguments, HoldsHugeFieldsToTheSizeOfAMessage) {
  EXPECT_EQ(FormatWithoutArguments("%2000000000d").size(), 1023U);
  EXPECT_EQ(FormatWithoutArguments("%.99999999999999999999f").size(), 1025U);
  EXPECT_EQ(FormatWithoutArguments("%99999999999999999999$d"), "0");
}

TEST(FormatWithoutArguments, KeepsZeroBytes) {
  const std::string text("a\0%d\0b", 6);
  EXPECT_EQ(FormatWithoutArguments(text), std::string("a\0"
                                                      "0\0b",
                                                      5));
}

TEST(FormatWithoutArguments, AgreesWithTheCLibraryOnEveryConversion) {
  const std::vector<std::string> flags = {"",   "-",  "+",  " ",  "#",  "0",  "+0",
                                          "-0", " 0", "#0", "+#", "- ", "+ ", "-+#0"};
  const std::vector<std::string> widths = {"", "1", "4", "12"};
  const std::vector<std::string> precisions = {"", ".", ".0", ".1", ".3", ".10"};
  const std::vector<std::string> integerSizes = {"", "hh", "h", "l", "ll", "j", "z", "t"};
  int compared = 0;
  for (const char kind : std::string("diouxXaAeEfFgGsp")) {
    const bool isInteger = std::string("diouxX").find(kind) != std::string::npos;
    const bool isFloat = std::string("aAeEfFgG").find(kind) != std::string::npos;
    const std::vector<std::string> sizes =
        isInteger
            ? integerSizes
            : (isFloat ? std::vector<std::string>{"", "l", "L"} : std::vector<std::string>{""});
    for (const std::string& flag : flags) {
      // "0" and a precision have no meaning with these two.
      if ((kind == 's' || kind == 'p') && flag != "" && flag != "-") continue;
      for (const std::string& width : widths) {
        for (const std::string& precision : precisions) {
          if (kind == 'p' && !precision.empty()) continue;
          for (const std::string& size : sizes) {
            const std::string format = "%" + flag + width + precision + size + kind;
            ASSERT_EQ(FormatWithoutArguments(format), Oracle(format)) << format;
            ++compared;
          }
        }
      }
    }
  }
  EXPECT_GT(compared, 10000);
}

RC_GTEST_PROP(FormatWithoutArguments, LeavesTextAloneThatHasItsPercentSignsDoubled,
              (const std::string& text)) {
  std::string doubled;
  for (const char c : text) doubled += c == '%' ? "%%" : std::string(1, c);
  RC_ASSERT(FormatWithoutArguments(doubled) == text);
}

RC_GTEST_PROP(FormatWithoutArguments, TakesAnyText, ()) {
  const auto text = *rc::gen::container<std::string>(
      rc::gen::elementOf(std::string("%%%%diouxXaeEfgGcsnpmCSyz*$.0123456789-+ #'hlLqjtI\n")));
  RC_ASSERT(FormatWithoutArguments(text).size() <= (text.size() + 1) * 2100);
}

}  // namespace
