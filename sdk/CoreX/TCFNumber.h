// Numbers: which number code reads which native type, and the holder of a number object.
#pragma once

#include "sdk/CoreX/T_CFTypeRef.h"

struct T_numeric_base {
  /// The code's name ("kCFNumberSInt8Type"); "Unknown" for codes no native type is read by.
  static const char* name_of(CFNumberType type);
};

/// How a native type is read: by the code `sNumberType`, into a `wire_type` of that code's width.
///
/// Signed types have the fixed-width codes, unsigned ones the C-type codes of the same width, whose
/// numbers are signed: -1 reads as the type's largest value, and a value that needs the topmost bit
/// is lossy though its bits arrive. The codes of `long` have 32 bits on every machine; a wider
/// native long receives the value extended.
template <typename T>
struct T_numeric;

template <CFNumberType kType, typename Wire>
struct T_numeric_of : T_numeric_base {
  static constexpr CFNumberType sNumberType = kType;
  using wire_type = Wire;
};

template <>
struct T_numeric<char> : T_numeric_of<kCFNumberSInt8Type, SInt8> {};
template <>
struct T_numeric<short> : T_numeric_of<kCFNumberSInt16Type, SInt16> {};
template <>
struct T_numeric<int> : T_numeric_of<kCFNumberSInt32Type, SInt32> {};
template <>
struct T_numeric<long> : T_numeric_of<kCFNumberSInt32Type, SInt32> {};
template <>
struct T_numeric<long long> : T_numeric_of<kCFNumberSInt64Type, SInt64> {};
template <>
struct T_numeric<unsigned char> : T_numeric_of<kCFNumberCharType, SInt8> {};
template <>
struct T_numeric<unsigned short> : T_numeric_of<kCFNumberShortType, SInt16> {};
template <>
struct T_numeric<unsigned int> : T_numeric_of<kCFNumberIntType, SInt32> {};
template <>
struct T_numeric<unsigned long> : T_numeric_of<kCFNumberLongType, SInt32> {};
template <>
struct T_numeric<unsigned long long> : T_numeric_of<kCFNumberLongLongType, SInt64> {};
template <>
struct T_numeric<float> : T_numeric_of<kCFNumberFloatType, float> {};
template <>
struct T_numeric<double> : T_numeric_of<kCFNumberDoubleType, double> {};

class TCFNumber : public T_CFTypeRef<CFNumberRef> {
 public:
  using T_CFTypeRef::T_CFTypeRef;

  /// Whether a number is held and arrived in `out` without loss. A lossy conversion delivers what
  /// CFNumberGetValue makes of it: low bits, or a fraction cut off. Without a number `out` is left
  /// alone.
  template <typename T>
  requires kIsCFNumberNative<T>
  bool GetValue(T& out) const {
    if (mValueRef == nullptr || CFGetTypeID(mValueRef) != T_CFTypeID<CFNumberRef>::sTypeID) {
      return false;
    }
    typename T_numeric<T>::wire_type value = {};
    const bool lossless = CFNumberGetValue(mValueRef, T_numeric<T>::sNumberType, &value) != 0;
    out = static_cast<T>(value);
    return lossless;
  }
};

template <typename T>
requires kIsCFNumberNative<T>
bool CFTypeRefClass::ConvertTo(CFTypeRef ref, T& out) {
  return TCFNumber(static_cast<CFNumberRef>(ref), kCFTypeRef_NotOwned).GetValue(out);
}
