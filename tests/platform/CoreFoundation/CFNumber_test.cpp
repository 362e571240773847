#include "platform/CoreFoundation/CFNumber.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include "tests/support/CFUnits.h"

namespace {

using test::CFOwned;
using test::TakeUnits;

__extension__ typedef __int128 Int128;

template <class T>
CFNumberRef Make(CFNumberType type, T value) {
  return CFNumberCreate(kCFAllocatorDefault, type, &value);
}

template <class T>
T Get(CFNumberRef number, CFNumberType type, bool& exact) {
  T value{};
  exact = CFNumberGetValue(number, type, &value) != 0;
  return value;
}

// Calls function.template operator()<T>(type) for every code with its native type.
template <class Function>
void ForEachType(Function function) {
  function.template operator()<SInt8>(kCFNumberSInt8Type);
  function.template operator()<SInt16>(kCFNumberSInt16Type);
  function.template operator()<SInt32>(kCFNumberSInt32Type);
  function.template operator()<SInt64>(kCFNumberSInt64Type);
  function.template operator()<float>(kCFNumberFloat32Type);
  function.template operator()<double>(kCFNumberFloat64Type);
  function.template operator()<SInt8>(kCFNumberCharType);
  function.template operator()<SInt16>(kCFNumberShortType);
  function.template operator()<SInt32>(kCFNumberIntType);
  function.template operator()<SInt32>(kCFNumberLongType);
  function.template operator()<SInt64>(kCFNumberLongLongType);
  function.template operator()<float>(kCFNumberFloatType);
  function.template operator()<double>(kCFNumberDoubleType);
  function.template operator()<SInt32>(kCFNumberCFIndexType);
}

// What a value becomes, reckoned with 128-bit integers and without the code's own helpers.
template <class To, class From>
To Expected(From from, bool& exact) {
  if constexpr (std::is_floating_point_v<To>) {
    const To to = static_cast<To>(from);
    if constexpr (std::is_floating_point_v<From>) {
      exact = std::isnan(from) || static_cast<double>(to) == static_cast<double>(from);
    } else {
      exact = static_cast<Int128>(to) == static_cast<Int128>(from);
    }
    return to;
  } else {
    Int128 whole = 0;
    bool isWhole = true;
    if constexpr (std::is_floating_point_v<From>) {
      const double value = static_cast<double>(from);
      if (std::isnan(value)) {
        isWhole = false;
      } else if (std::abs(value) > 1e30) {
        whole = value < 0 ? std::numeric_limits<SInt64>::min() : std::numeric_limits<SInt64>::max();
        isWhole = false;
      } else {
        whole = static_cast<Int128>(value);
        isWhole = static_cast<double>(whole) == value;
        if (whole > std::numeric_limits<SInt64>::max() ||
            whole < std::numeric_limits<SInt64>::min()) {
          whole =
              whole < 0 ? std::numeric_limits<SInt64>::min() : std::numeric_limits<SInt64>::max();
          isWhole = false;
        }
      }
    } else {
      whole = from;
    }
    To to;
    std::memcpy(&to, &whole, sizeof to);
    exact = isWhole && static_cast<Int128>(to) == whole;
    return to;
  }
}

template <class From>
std::vector<From> Samples() {
  if constexpr (std::is_floating_point_v<From>) {
    const auto max = std::numeric_limits<From>::max();
    const auto inf = std::numeric_limits<From>::infinity();
    return {static_cast<From>(0),
            static_cast<From>(-0.0),
            static_cast<From>(3.7),
            static_cast<From>(-3.7),
            static_cast<From>(127),
            static_cast<From>(128),
            static_cast<From>(-129),
            static_cast<From>(65536),
            static_cast<From>(2147483648.0),
            static_cast<From>(0x1p40),
            static_cast<From>(0x1p63),
            static_cast<From>(-0x1p63),
            static_cast<From>(1.1e19),
            static_cast<From>(0.1),
            static_cast<From>(16777217.0),
            std::numeric_limits<From>::quiet_NaN(),
            inf,
            -inf,
            max,
            -max,
            std::numeric_limits<From>::denorm_min()};
  } else {
    std::vector<From> samples;
    for (const SInt64 value : {SInt64{0},
                               SInt64{1},
                               SInt64{-1},
                               SInt64{127},
                               SInt64{128},
                               SInt64{-128},
                               SInt64{-129},
                               SInt64{255},
                               SInt64{256},
                               SInt64{32767},
                               SInt64{32768},
                               SInt64{-32769},
                               SInt64{65536},
                               SInt64{16777217},
                               SInt64{2147483647},
                               SInt64{2147483648},
                               SInt64{-2147483649},
                               SInt64{1} << 40,
                               (SInt64{1} << 53) + 1,
                               std::numeric_limits<SInt64>::max(),
                               std::numeric_limits<SInt64>::min()}) {
      if (static_cast<From>(value) == value) samples.push_back(static_cast<From>(value));
    }
    return samples;
  }
}

TEST(CFNumber, ConvertsBetweenAllPairsOfTypes) {
  ForEachType([]<class From>(CFNumberType fromType) {
    for (const From from : Samples<From>()) {
      const CFOwned<CFNumberRef> number(Make(fromType, from));
      ASSERT_NE(number.get(), nullptr);
      ForEachType([&]<class To>(CFNumberType toType) {
        bool exact = false;
        bool expectedExact = false;
        // A double beyond the float range is undefined in the plain cast the oracle uses.
        if (std::is_same_v<To, float> && std::abs(static_cast<double>(from)) > 3.5e38 &&
            !std::isinf(static_cast<double>(from))) {
          const To to = Get<To>(number, toType, exact);
          EXPECT_TRUE(std::isinf(static_cast<double>(to)));
          EXPECT_EQ(std::signbit(static_cast<double>(to)), std::signbit(static_cast<double>(from)));
          EXPECT_FALSE(exact);
          return;
        }
        const To expected = Expected<To>(from, expectedExact);
        const To to = Get<To>(number, toType, exact);
        EXPECT_EQ(exact, expectedExact) << fromType << " to " << toType << " of " << +from;
        if (std::isnan(static_cast<double>(expected))) {
          EXPECT_TRUE(std::isnan(static_cast<double>(to)));
        } else {
          EXPECT_EQ(to, expected) << fromType << " to " << toType << " of " << +from;
        }
      });
    }
  });
}

TEST(CFNumber, CutsAFractionAndSaysSo) {
  const CFOwned<CFNumberRef> number(Make(kCFNumberDoubleType, 3.7));
  SInt32 value = 0;
  EXPECT_FALSE(CFNumberGetValue(number, kCFNumberSInt32Type, &value));
  EXPECT_EQ(value, 3);
}

TEST(CFNumber, TooWideAnIntegerDeliversItsLowBits) {
  const CFOwned<CFNumberRef> number(Make(kCFNumberSInt64Type, SInt64{0x1122334455667788}));
  bool exact = true;
  EXPECT_EQ(Get<SInt8>(number, kCFNumberCharType, exact), static_cast<SInt8>(0x88));
  EXPECT_FALSE(exact);
  EXPECT_EQ(Get<SInt16>(number, kCFNumberShortType, exact), 0x7788);
  EXPECT_FALSE(exact);
  EXPECT_EQ(Get<SInt32>(number, kCFNumberLongType, exact), 0x55667788);
  EXPECT_FALSE(exact);
  EXPECT_EQ(Get<SInt64>(number, kCFNumberLongLongType, exact), 0x1122334455667788);
  EXPECT_TRUE(exact);
}

TEST(CFNumber, LongAndIndexHave32Bits) {
  // Bytes beyond the 32 bits must neither be read nor written.
  SInt32 values[2] = {7, -1};
  for (const CFNumberType type : {kCFNumberLongType, kCFNumberCFIndexType}) {
    const CFOwned<CFNumberRef> number(CFNumberCreate(kCFAllocatorDefault, type, values));
    EXPECT_EQ(CFNumberGetByteSize(number), 4);
    EXPECT_EQ(CFNumberGetType(number), kCFNumberSInt32Type);
    SInt32 out[2] = {0, 0x5A5A5A5A};
    EXPECT_TRUE(CFNumberGetValue(number, type, out));
    EXPECT_EQ(out[0], 7);
    EXPECT_EQ(out[1], 0x5A5A5A5A);
  }
}

TEST(CFNumber, KnowsItsTypeAndSize) {
  ForEachType([]<class T>(CFNumberType type) {
    const CFOwned<CFNumberRef> number(Make(type, T{1}));
    EXPECT_EQ(CFNumberGetByteSize(number), static_cast<CFIndex>(sizeof(T)));
    EXPECT_EQ(CFNumberIsFloatType(number) != 0, std::is_floating_point_v<T>);
    EXPECT_GE(CFNumberGetType(number), kCFNumberSInt8Type);
    EXPECT_LE(CFNumberGetType(number), kCFNumberFloat64Type);
    EXPECT_EQ(CFGetTypeID(number), CFNumberGetTypeID());
  });
}

TEST(CFNumber, RefusesWhatIsNoTypeOrNoNumber) {
  SInt64 value = 42;
  for (const CFIndex code : {-1, 0, 15, 1000}) {
    EXPECT_EQ(CFNumberCreate(kCFAllocatorDefault, static_cast<CFNumberType>(code), &value),
              nullptr);
  }
  EXPECT_EQ(CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, nullptr), nullptr);
  const CFOwned<CFNumberRef> number(Make(kCFNumberIntType, 1));
  EXPECT_FALSE(CFNumberGetValue(number, static_cast<CFNumberType>(15), &value));
  EXPECT_FALSE(CFNumberGetValue(nullptr, kCFNumberIntType, &value));
  EXPECT_FALSE(CFNumberGetValue(number, kCFNumberIntType, nullptr));
  const auto* string = reinterpret_cast<CFNumberRef>(CFSTR("1"));
  EXPECT_FALSE(CFNumberGetValue(string, kCFNumberIntType, &value));
  EXPECT_EQ(CFNumberGetType(string), 0);
  EXPECT_EQ(value, 42);
}

TEST(CFNumber, ComparesAcrossTypesExactly) {
  const CFOwned<CFNumberRef> big(Make(kCFNumberSInt64Type, (SInt64{1} << 53) + 1));
  const CFOwned<CFNumberRef> real(Make(kCFNumberDoubleType, 0x1p53));
  EXPECT_EQ(CFNumberCompare(big, real, nullptr), kCFCompareGreaterThan);
  EXPECT_EQ(CFNumberCompare(real, big, nullptr), kCFCompareLessThan);
  EXPECT_FALSE(CFEqual(big, real));
  const CFOwned<CFNumberRef> max(Make(kCFNumberSInt64Type, std::numeric_limits<SInt64>::max()));
  const CFOwned<CFNumberRef> twoTo63(Make(kCFNumberDoubleType, 0x1p63));
  EXPECT_EQ(CFNumberCompare(max, twoTo63, nullptr), kCFCompareLessThan);
  const CFOwned<CFNumberRef> minusThree(Make(kCFNumberIntType, -3));
  const CFOwned<CFNumberRef> minusThreeAndAHalf(Make(kCFNumberDoubleType, -3.5));
  EXPECT_EQ(CFNumberCompare(minusThree, minusThreeAndAHalf, nullptr), kCFCompareGreaterThan);
  EXPECT_EQ(CFNumberCompare(minusThreeAndAHalf, minusThree, nullptr), kCFCompareLessThan);
}

TEST(CFNumber, OrdersNotANumberBetweenNegativeNumbersAndZero) {
  const CFOwned<CFNumberRef> minus(Make(kCFNumberIntType, -1));
  const CFOwned<CFNumberRef> zero(Make(kCFNumberDoubleType, 0.0));
  EXPECT_EQ(CFNumberCompare(kCFNumberNaN, minus, nullptr), kCFCompareGreaterThan);
  EXPECT_EQ(CFNumberCompare(minus, kCFNumberNaN, nullptr), kCFCompareLessThan);
  EXPECT_EQ(CFNumberCompare(kCFNumberNaN, zero, nullptr), kCFCompareLessThan);
  EXPECT_EQ(CFNumberCompare(zero, kCFNumberNaN, nullptr), kCFCompareGreaterThan);
  EXPECT_EQ(CFNumberCompare(kCFNumberNaN, kCFNumberNaN, nullptr), kCFCompareEqualTo);
  EXPECT_EQ(CFNumberCompare(kCFNumberNegativeInfinity, kCFNumberNaN, nullptr), kCFCompareLessThan);
  EXPECT_EQ(CFNumberCompare(kCFNumberPositiveInfinity, kCFNumberNaN, nullptr),
            kCFCompareGreaterThan);
  EXPECT_EQ(CFNumberCompare(kCFNumberPositiveInfinity, minus, nullptr), kCFCompareGreaterThan);
  EXPECT_EQ(CFNumberCompare(nullptr, nullptr, nullptr), kCFCompareEqualTo);
  EXPECT_EQ(CFNumberCompare(nullptr, minus, nullptr), kCFCompareLessThan);
  EXPECT_EQ(CFNumberCompare(minus, nullptr, nullptr), kCFCompareGreaterThan);
}

TEST(CFNumber, EqualValuesAreEqualAndHashAlike) {
  ForEachType([]<class T>(CFNumberType type) {
    const CFOwned<CFNumberRef> number(Make(type, T{42}));
    const CFOwned<CFNumberRef> other(Make(kCFNumberDoubleType, 42.0));
    EXPECT_TRUE(CFEqual(number, other));
    EXPECT_EQ(CFHash(number), CFHash(other));
  });
  const CFOwned<CFNumberRef> plus(Make(kCFNumberDoubleType, 0.0));
  const CFOwned<CFNumberRef> minus(Make(kCFNumberDoubleType, -0.0));
  EXPECT_TRUE(CFEqual(plus, minus));
  EXPECT_EQ(CFHash(plus), CFHash(minus));
  const CFOwned<CFNumberRef> nan(Make(kCFNumberFloatType, std::nanf("1")));
  EXPECT_TRUE(CFEqual(nan, kCFNumberNaN));
  EXPECT_EQ(CFHash(nan), CFHash(kCFNumberNaN));
}

TEST(CFNumber, DescribesValueAndType) {
  const CFOwned<CFNumberRef> three(Make(kCFNumberIntType, 3));
  const std::u16string text = TakeUnits(CFCopyDescription(three));
  EXPECT_TRUE(text.starts_with(u"<CFNumber 0x")) << "unexpected opening";
  EXPECT_TRUE(text.ends_with(u"[0x0]>{value = +3, type = kCFNumberSInt32Type}"));
  const CFOwned<CFNumberRef> minus(Make(kCFNumberSInt64Type, std::numeric_limits<SInt64>::min()));
  EXPECT_TRUE(TakeUnits(CFCopyDescription(minus))
                  .ends_with(u"{value = -9223372036854775808, type = kCFNumberSInt64Type}"));
  const auto plain = [](CFNumberRef number) {
    return TakeUnits(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%@"), number));
  };
  EXPECT_EQ(plain(three), u"3");
  const CFOwned<CFNumberRef> tenth(Make(kCFNumberDoubleType, 0.1));
  EXPECT_EQ(plain(tenth), u"0.1");
  const CFOwned<CFNumberRef> single(Make(kCFNumberFloatType, 0.1F));
  EXPECT_EQ(plain(single), u"0.1");
  const CFOwned<CFNumberRef> third(Make(kCFNumberDoubleType, 1.0 / 3));
  EXPECT_EQ(plain(third), u"0.3333333333333333");
  EXPECT_EQ(plain(kCFNumberNaN), u"nan");
  EXPECT_EQ(plain(kCFNumberPositiveInfinity), u"inf");
  EXPECT_EQ(plain(kCFNumberNegativeInfinity), u"-inf");
}

RC_GTEST_PROP(CFNumber, EveryIntegerComesBack, (SInt64 value)) {
  const CFOwned<CFNumberRef> number(Make(kCFNumberSInt64Type, value));
  bool exact = false;
  RC_ASSERT(Get<SInt64>(number, kCFNumberSInt64Type, exact) == value);
  RC_ASSERT(exact);
  RC_ASSERT(Get<SInt32>(number, kCFNumberSInt32Type, exact) ==
            static_cast<SInt32>(static_cast<UInt32>(value)));
  RC_ASSERT(exact == (value == static_cast<SInt32>(value)));
}

RC_GTEST_PROP(CFNumber, OrderIsThatOfTheValues, (SInt32 a, SInt32 b)) {
  const CFOwned<CFNumberRef> integer(Make(kCFNumberIntType, a));
  const CFOwned<CFNumberRef> real(Make(kCFNumberDoubleType, static_cast<double>(b) + 0.5));
  const double right = static_cast<double>(b) + 0.5;
  RC_ASSERT(CFNumberCompare(integer, real, nullptr) ==
            (static_cast<double>(a) < right ? kCFCompareLessThan : kCFCompareGreaterThan));
}

TEST(CFBoolean, HasTwoConstants) {
  EXPECT_NE(static_cast<const void*>(kCFBooleanTrue), static_cast<const void*>(kCFBooleanFalse));
  EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
  EXPECT_FALSE(CFBooleanGetValue(kCFBooleanFalse));
  EXPECT_FALSE(CFBooleanGetValue(nullptr));
  EXPECT_FALSE(CFBooleanGetValue(reinterpret_cast<CFBooleanRef>(CFSTR("true"))));
  EXPECT_EQ(CFGetTypeID(kCFBooleanTrue), CFBooleanGetTypeID());
  EXPECT_TRUE(TakeUnits(CFCopyDescription(kCFBooleanTrue)).ends_with(u">{value = true}"));
  EXPECT_TRUE(TakeUnits(CFCopyDescription(kCFBooleanFalse)).ends_with(u">{value = false}"));
  const CFOwned<CFNumberRef> one(Make(kCFNumberIntType, 1));
  EXPECT_FALSE(CFEqual(one, kCFBooleanTrue));
}

TEST(CFBoolean, OutlivesEveryRelease) {
  for (int i = 0; i < 10; ++i) {
    CFRelease(kCFBooleanTrue);
    CFRelease(kCFNumberNaN);
    CFRelease(kCFNull);
  }
  EXPECT_EQ(CFGetRetainCount(kCFBooleanTrue), 1);
  EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
  EXPECT_EQ(CFGetTypeID(kCFNull), CFNullGetTypeID());
}

}  // namespace
