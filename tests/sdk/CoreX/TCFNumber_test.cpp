#include "sdk/CoreX/TCFNumber.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

namespace {

template <typename T>
CFNumberType kCodeOf = T_numeric<T>::sNumberType;

CFNumberRef NewNumber(std::int64_t value) {
  return CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value);
}

CFNumberRef NewNumber(double value) {
  return CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value);
}

/// What a number reads as, and whether it did without loss.
template <typename T, typename Value>
std::pair<T, bool> Read(Value value) {
  const TCFNumber number(NewNumber(value), kCFTypeRef_Owned);
  T out = 77;
  const bool lossless = number.GetValue(out);
  T converted = 78;
  EXPECT_EQ(CFTypeRefClass::ConvertTo(number.GetRef(), converted), lossless);
  EXPECT_EQ(converted, out);
  return {out, lossless};
}

TEST(TNumeric, ReadsEachTypeByItsCode) {
  EXPECT_EQ(kCodeOf<char>, 1);
  EXPECT_EQ(kCodeOf<short>, 2);
  EXPECT_EQ(kCodeOf<int>, 3);
  EXPECT_EQ(kCodeOf<long>, 3);
  EXPECT_EQ(kCodeOf<long long>, 4);
  EXPECT_EQ(kCodeOf<unsigned char>, 7);
  EXPECT_EQ(kCodeOf<unsigned short>, 8);
  EXPECT_EQ(kCodeOf<unsigned int>, 9);
  EXPECT_EQ(kCodeOf<unsigned long>, 10);
  EXPECT_EQ(kCodeOf<unsigned long long>, 11);
  EXPECT_EQ(kCodeOf<float>, 12);
  EXPECT_EQ(kCodeOf<double>, 13);
}

TEST(TNumeric, NamesItsCodes) {
  const char* const names[] = {"Unknown",
                               "kCFNumberSInt8Type",
                               "kCFNumberSInt16Type",
                               "kCFNumberSInt32Type",
                               "kCFNumberSInt64Type",
                               "Unknown",
                               "Unknown",
                               "kCFNumberCharType",
                               "kCFNumberShortType",
                               "kCFNumberIntType",
                               "kCFNumberLongType",
                               "kCFNumberLongLongType",
                               "kCFNumberFloatType",
                               "kCFNumberDoubleType",
                               "kCFNumberCFIndexType",
                               "Unknown"};
  for (CFIndex code = 0; code < 16; ++code) {
    EXPECT_STREQ(T_numeric_base::name_of(static_cast<CFNumberType>(code)), names[code]) << code;
  }
  EXPECT_STREQ(T_numeric_base::name_of(static_cast<CFNumberType>(-1)), "Unknown");
  EXPECT_STREQ(T_numeric<long>::name_of(T_numeric<long>::sNumberType), "kCFNumberSInt32Type");
}

TEST(TCFNumber, ReadsWhatFits) {
  EXPECT_EQ((Read<short>(std::int64_t{-32768})), std::pair(short{-32768}, true));
  EXPECT_EQ((Read<unsigned short>(std::int64_t{32767})), std::pair((unsigned short)32767, true));
  EXPECT_EQ((Read<int>(std::int64_t{-2147483648})), std::pair(-2147483647 - 1, true));
  EXPECT_EQ((Read<unsigned int>(std::int64_t{2147483647})), std::pair(2147483647U, true));
  EXPECT_EQ((Read<long>(std::int64_t{-2147483648})), std::pair(-2147483648L, true));
  EXPECT_EQ((Read<unsigned long>(std::int64_t{2147483647})), std::pair(2147483647UL, true));
  EXPECT_EQ((Read<float>(0.5)), std::pair(0.5F, true));
  EXPECT_EQ((Read<double>(0.1)), std::pair(0.1, true));
  EXPECT_EQ((Read<double>(std::int64_t{3})), std::pair(3.0, true));
}

TEST(TCFNumber, ReadsUnsignedTypesThroughSignedCodes) {
  EXPECT_EQ((Read<unsigned short>(std::int64_t{-1})), std::pair((unsigned short)65535, true));
  EXPECT_EQ((Read<unsigned int>(std::int64_t{-1})), std::pair(4294967295U, true));
  EXPECT_EQ((Read<unsigned long>(std::int64_t{-1})),
            std::pair(std::numeric_limits<unsigned long>::max(), true));
  EXPECT_EQ((Read<unsigned short>(std::int64_t{65535})), std::pair((unsigned short)65535, false));
  EXPECT_EQ((Read<unsigned int>(std::int64_t{4294967295})), std::pair(4294967295U, false));
}

TEST(TCFNumber, DeliversTheLowBitsOfWhatIsTooWide) {
  const std::int64_t wide = 0x0123456789ABCDEF;
  EXPECT_EQ((Read<short>(wide)), std::pair(static_cast<short>(0xCDEF), false));
  EXPECT_EQ((Read<unsigned short>(wide)), std::pair((unsigned short)0xCDEF, false));
  EXPECT_EQ((Read<int>(wide)), std::pair(static_cast<int>(0x89ABCDEF), false));
  EXPECT_EQ((Read<unsigned int>(wide)), std::pair(0x89ABCDEFU, false));
}

TEST(TCFNumber, ReadsLongsThroughTheir32BitCodes) {
  const std::int64_t wide = std::int64_t{1} << 40;
  EXPECT_EQ((Read<long>(wide)), std::pair(0L, false));
  EXPECT_EQ((Read<unsigned long>(wide)), std::pair(0UL, false));
  EXPECT_EQ((Read<long>(wide + 5)), std::pair(5L, false));
  EXPECT_EQ((Read<unsigned long>(wide + 5)), std::pair(5UL, false));
  EXPECT_EQ((Read<long>(std::int64_t{0x80000000})), std::pair(-2147483648L, false));
}

TEST(TCFNumber, CutsFractions) {
  EXPECT_EQ((Read<int>(3.7)), std::pair(3, false));
  EXPECT_EQ((Read<int>(-3.7)), std::pair(-3, false));
  EXPECT_EQ((Read<long>(3.7)), std::pair(3L, false));
  EXPECT_EQ((Read<short>(4.0)), std::pair(short{4}, true));
}

TEST(TCFNumber, SaysWhatAFloatLoses) {
  EXPECT_EQ((Read<float>(0.1)), std::pair(0.1F, false));
  EXPECT_EQ((Read<float>(std::int64_t{16777217})), std::pair(16777216.0F, false));
}

TEST(TCFNumber, LeavesTheOutputAloneWithoutANumber) {
  int out = 77;
  EXPECT_FALSE(TCFNumber().GetValue(out));
  EXPECT_FALSE(
      TCFNumber(reinterpret_cast<CFNumberRef>(CFSTR("3")), kCFTypeRef_NotOwned).GetValue(out));
  EXPECT_FALSE(CFTypeRefClass::ConvertTo(nullptr, out));
  EXPECT_FALSE(CFTypeRefClass::ConvertTo(CFSTR("3"), out));
  EXPECT_FALSE(CFTypeRefClass::ConvertTo(kCFBooleanTrue, out));
  EXPECT_EQ(out, 77);
}

TEST(TCFNumber, ConvertsBorrowedObjects) {
  CFNumberRef number = NewNumber(std::int64_t{12});
  double out = 0;
  EXPECT_TRUE(CFTypeRefClass::ConvertTo(number, out));
  EXPECT_EQ(out, 12.0);
  EXPECT_EQ(CFGetRetainCount(number), 1);
  CFRelease(number);
}

template <typename T>
constexpr bool kIsRead = requires(const TCFNumber& number, T& out) {
  number.GetValue(out);
};
static_assert(kIsRead<short> && kIsRead<unsigned short> && kIsRead<int> && kIsRead<unsigned int>);
static_assert(kIsRead<long> && kIsRead<unsigned long> && kIsRead<float> && kIsRead<double>);
static_assert(!kIsRead<bool> && !kIsRead<char> && !kIsRead<std::string>);

RC_GTEST_PROP(TCFNumber, ReadsAnyIntegerByItsBits, (std::int64_t value)) {
  const TCFNumber number(NewNumber(value), kCFTypeRef_Owned);
  const auto check = [&](auto out) {
    using T = decltype(out);
    using Wire = typename T_numeric<T>::wire_type;
    const bool lossless = number.GetValue(out);
    RC_ASSERT(out == static_cast<T>(static_cast<Wire>(value)));
    RC_ASSERT(lossless == (static_cast<std::int64_t>(static_cast<Wire>(value)) == value));
  };
  check(short{});
  check(static_cast<unsigned short>(0));
  check(int{});
  check(0U);
  check(0L);
  check(0UL);
}

}  // namespace
