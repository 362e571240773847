#include "platform/CoreFoundation/CFNumber.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <string>

#include "platform/CoreFoundation/CFConstant.h"
#include "platform/CoreFoundation/CFStringInternal.h"

namespace {

// The fixed-width type of each code; 0 for codes that are none.
CFNumberType Canonical(CFNumberType type) {
  switch (type) {
    case kCFNumberCharType:
      return kCFNumberSInt8Type;
    case kCFNumberShortType:
      return kCFNumberSInt16Type;
    case kCFNumberIntType:
    case kCFNumberLongType:
    case kCFNumberCFIndexType:
      return kCFNumberSInt32Type;
    case kCFNumberLongLongType:
      return kCFNumberSInt64Type;
    case kCFNumberFloatType:
      return kCFNumberFloat32Type;
    case kCFNumberDoubleType:
      return kCFNumberFloat64Type;
    default:
      return type >= kCFNumberSInt8Type && type <= kCFNumberFloat64Type
                 ? type
                 : static_cast<CFNumberType>(0);
  }
}

bool IsFloat(CFNumberType canonical) {
  return canonical == kCFNumberFloat32Type || canonical == kCFNumberFloat64Type;
}

const char* TypeName(CFNumberType canonical) {
  static constexpr const char* kNames[] = {"",
                                           "kCFNumberSInt8Type",
                                           "kCFNumberSInt16Type",
                                           "kCFNumberSInt32Type",
                                           "kCFNumberSInt64Type",
                                           "kCFNumberFloat32Type",
                                           "kCFNumberFloat64Type"};
  return kNames[canonical];
}

constexpr double kTwoTo63 = 9223372036854775808.0;

template <class T>
T Read(const void* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

// The low bits of the integer, and whether they are all of it.
template <class T>
bool StoreInteger(SInt64 value, void* out) {
  const auto low = static_cast<T>(static_cast<std::make_unsigned_t<T>>(value));
  std::memcpy(out, &low, sizeof low);
  return low == value;
}

bool StoreInteger(CFNumberType canonical, SInt64 value, void* out) {
  switch (canonical) {
    case kCFNumberSInt8Type:
      return StoreInteger<SInt8>(value, out);
    case kCFNumberSInt16Type:
      return StoreInteger<SInt16>(value, out);
    case kCFNumberSInt32Type:
      return StoreInteger<SInt32>(value, out);
    default:
      return StoreInteger<SInt64>(value, out);
  }
}

// Cut toward zero and held within 64 bits; `exact` tells whether the integer is the number.
SInt64 Truncate(double value, bool& exact) {
  exact = false;
  if (std::isnan(value)) return 0;
  if (value >= kTwoTo63) return std::numeric_limits<SInt64>::max();
  if (value < -kTwoTo63) return std::numeric_limits<SInt64>::min();
  const auto integer = static_cast<SInt64>(value);
  exact = static_cast<double>(integer) == value;
  return integer;
}

bool StoreFloat(CFNumberType canonical, double value, void* out) {
  if (canonical == kCFNumberFloat64Type) {
    std::memcpy(out, &value, sizeof value);
    return true;
  }
  // A double beyond the float range converts to an infinity under IEEE 754 arithmetic, which
  // C++ leaves open; the explicit case keeps it defined. Halfway beyond the largest float and up,
  // rounding to nearest leaves the range.
  constexpr double kFloatOverflow = 0x1.ffffffp127;
  const float narrow = std::abs(value) >= kFloatOverflow
                           ? std::copysign(std::numeric_limits<float>::infinity(),
                                           std::signbit(value) ? -1.0F : 1.0F)
                           : static_cast<float>(value);
  std::memcpy(out, &narrow, sizeof narrow);
  return std::isnan(value) || static_cast<double>(narrow) == value;
}

// Whether an integer's nearest double is the integer itself.
bool FitsDouble(SInt64 value) {
  const auto wide = static_cast<double>(value);
  return wide < kTwoTo63 && static_cast<SInt64>(wide) == value;
}

CFComparisonResult Order(bool less, bool greater) {
  if (less) return kCFCompareLessThan;
  return greater ? kCFCompareGreaterThan : kCFCompareEqualTo;
}

CFComparisonResult CompareIntegerWithDouble(SInt64 integer, double value) {
  if (value >= kTwoTo63) return kCFCompareLessThan;
  if (value < -kTwoTo63) return kCFCompareGreaterThan;
  const auto whole = static_cast<SInt64>(value);
  if (integer != whole) return Order(integer < whole, true);
  const double fraction = value - static_cast<double>(whole);
  return Order(fraction > 0, fraction < 0);
}

CFComparisonResult Reverse(CFComparisonResult result) {
  return static_cast<CFComparisonResult>(-static_cast<CFIndex>(result));
}

}  // namespace

struct __CFNumber final : CFRuntimeObject {
  __CFNumber(CFNumberType canonical, const void* bytes)
      : CFRuntimeObject(CFNumberGetTypeID()), type(canonical) {
    switch (canonical) {
      case kCFNumberSInt8Type:
        integer =
            Read<SInt8>(bytes);  // NOLINT(bugprone-signed-char-misuse): a number, no character
        break;
      case kCFNumberSInt16Type:
        integer = Read<SInt16>(bytes);
        break;
      case kCFNumberSInt32Type:
        integer = Read<SInt32>(bytes);
        break;
      case kCFNumberSInt64Type:
        integer = Read<SInt64>(bytes);
        break;
      case kCFNumberFloat32Type:
        real = static_cast<double>(Read<float>(bytes));
        break;
      default:
        real = Read<double>(bytes);
        break;
    }
  }
  explicit __CFNumber(double constant)
      : CFRuntimeObject(CFNumberGetTypeID(), true), type(kCFNumberFloat64Type), real(constant) {}

  bool isEqualTo(const CFRuntimeObject& other) const override {
    return compare(static_cast<const __CFNumber&>(other)) == kCFCompareEqualTo;
  }

  // Numbers that compare equal hash alike whatever their types: by their integer if they are one.
  CFHashCode hashValue() const override {
    SInt64 whole = integer;
    if (IsFloat(type)) {
      bool exact = false;
      whole = Truncate(real, exact);
      if (!exact && !std::isnan(real)) std::memcpy(&whole, &real, sizeof whole);
    }
    const auto bits = static_cast<UInt64>(whole) * 0x9E3779B97F4A7C15U;
    return static_cast<CFHashCode>(bits >> 32);
  }

  CFStringRef copyDescriptionText() const override {
    std::string value = valueText();
    if (!IsFloat(type) && integer >= 0) value.insert(0, "+");
    return cftext::Make(u"<" + cftext::DescriptionHead(*this) + u">{value = " +
                        cftext::FromUTF8(value) + u", type = " + cftext::FromUTF8(TypeName(type)) +
                        u"}");
  }
  CFStringRef copyFormattingText() const override { return cftext::MakeFromUTF8(valueText()); }

  CFComparisonResult compare(const __CFNumber& other) const {
    if (!IsFloat(type)) {
      if (!IsFloat(other.type)) return Order(integer<other.integer, integer> other.integer);
      if (std::isnan(other.real)) return Reverse(other.compareNaN(integer < 0));
      return CompareIntegerWithDouble(integer, other.real);
    }
    if (!IsFloat(other.type)) {
      if (std::isnan(real)) return compareNaN(other.integer < 0);
      return Reverse(CompareIntegerWithDouble(other.integer, real));
    }
    if (std::isnan(real)) {
      return std::isnan(other.real) ? kCFCompareEqualTo : compareNaN(other.real < 0);
    }
    if (std::isnan(other.real)) return Reverse(other.compareNaN(real < 0));
    return Order(real<other.real, real> other.real);
  }

  std::string valueText() const {
    if (!IsFloat(type)) return std::to_string(integer);
    if (std::isnan(real)) return "nan";
    if (std::isinf(real)) return real < 0 ? "-inf" : "inf";
    // The shortest text that reads back as the same number.
    const bool isSingle = type == kCFNumberFloat32Type;
    for (int digits = isSingle ? 6 : 15;; ++digits) {
      std::string text = cftext::DoubleText(real, digits);
      const char* end = text.data() + text.size();
      double whole = 0;
      float single = 0;
      if (isSingle) {
        std::from_chars(text.data(), end, single);
      } else {
        std::from_chars(text.data(), end, whole);
      }
      const bool same = (isSingle ? static_cast<double>(single) : whole) == real;
      if (same || digits >= (isSingle ? 9 : 17)) return text;
    }
  }

  const CFNumberType type;  ///< one of the fixed-width types
  SInt64 integer = 0;       ///< the value of integer types
  double real = 0;          ///< the value of floating-point types; a float is exact in it

 private:
  static CFComparisonResult compareNaN(bool otherIsNegative) {
    return otherIsNegative ? kCFCompareGreaterThan : kCFCompareLessThan;
  }
};

struct __CFBoolean final : CFRuntimeObject {
  explicit __CFBoolean(bool truth) : CFRuntimeObject(CFBooleanGetTypeID(), true), value(truth) {}

  CFHashCode hashValue() const override { return value ? 1 : 0; }
  CFStringRef copyDescriptionText() const override {
    return cftext::Make(u"<" + cftext::DescriptionHead(*this) + u">{value = " +
                        (value ? u"true" : u"false") + u"}");
  }
  CFStringRef copyFormattingText() const override {
    return cftext::Make(value ? u"true" : u"false");
  }

  const bool value;
};

namespace {

alignas(__CFNumber) unsigned char nanStorage[sizeof(__CFNumber)];
alignas(__CFNumber) unsigned char positiveStorage[sizeof(__CFNumber)];
alignas(__CFNumber) unsigned char negativeStorage[sizeof(__CFNumber)];
alignas(__CFBoolean) unsigned char trueStorage[sizeof(__CFBoolean)];
alignas(__CFBoolean) unsigned char falseStorage[sizeof(__CFBoolean)];

const struct Constants {
  Constants() {
    new (nanStorage) __CFNumber(std::numeric_limits<double>::quiet_NaN());
    new (positiveStorage) __CFNumber(std::numeric_limits<double>::infinity());
    new (negativeStorage) __CFNumber(-std::numeric_limits<double>::infinity());
    new (trueStorage) __CFBoolean(true);
    new (falseStorage) __CFBoolean(false);
  }
} constants CF_CONSTANT_OBJECTS;

const __CFNumber* Number(CFTypeRef number) {
  return CFRuntimeCast<__CFNumber>(number, CFNumberGetTypeID());
}

}  // namespace

const CFNumberRef kCFNumberNaN = reinterpret_cast<CFNumberRef>(nanStorage);
const CFNumberRef kCFNumberPositiveInfinity = reinterpret_cast<CFNumberRef>(positiveStorage);
const CFNumberRef kCFNumberNegativeInfinity = reinterpret_cast<CFNumberRef>(negativeStorage);
const CFBooleanRef kCFBooleanTrue = reinterpret_cast<CFBooleanRef>(trueStorage);
const CFBooleanRef kCFBooleanFalse = reinterpret_cast<CFBooleanRef>(falseStorage);

CFTypeID CFNumberGetTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFNumber");
  return typeID;
}

CFTypeID CFBooleanGetTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFBoolean");
  return typeID;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* valuePtr) {
  const CFNumberType canonical = Canonical(type);
  return valuePtr != nullptr && canonical != 0 ? new __CFNumber(canonical, valuePtr) : nullptr;
}

CFNumberType CFNumberGetType(CFNumberRef number) {
  const __CFNumber* object = Number(number);
  return object != nullptr ? object->type : static_cast<CFNumberType>(0);
}

CFIndex CFNumberGetByteSize(CFNumberRef number) {
  static constexpr CFIndex kSizes[] = {0, 1, 2, 4, 8, 4, 8};
  return kSizes[CFNumberGetType(number)];
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
  return IsFloat(CFNumberGetType(number));
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* valuePtr) {
  const __CFNumber* object = Number(number);
  const CFNumberType canonical = Canonical(type);
  if (object == nullptr || valuePtr == nullptr || canonical == 0) return false;
  const bool fromFloat = IsFloat(object->type);
  if (IsFloat(canonical)) {
    if (fromFloat) return StoreFloat(canonical, object->real, valuePtr);
    // Straight from the integer, so that a float is rounded once.
    if (canonical == kCFNumberFloat32Type) {
      const auto narrow = static_cast<float>(object->integer);
      std::memcpy(valuePtr, &narrow, sizeof narrow);
      return narrow < static_cast<float>(kTwoTo63) &&
             static_cast<SInt64>(narrow) == object->integer;
    }
    StoreFloat(canonical, static_cast<double>(object->integer), valuePtr);
    return FitsDouble(object->integer);
  }
  if (!fromFloat) return StoreInteger(canonical, object->integer, valuePtr);
  bool exact = false;
  const SInt64 integer = Truncate(object->real, exact);
  const bool fits = StoreInteger(canonical, integer, valuePtr);
  return exact && fits;
}

CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef other, void*) {
  const __CFNumber* a = Number(number);
  const __CFNumber* b = Number(other);
  if (a == nullptr || b == nullptr) return Order(a == nullptr && b != nullptr, a != nullptr);
  return a->compare(*b);
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
  const auto* object = CFRuntimeCast<__CFBoolean>(boolean, CFBooleanGetTypeID());
  return object != nullptr && object->value;
}
