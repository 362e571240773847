// Numbers and truth values: immutable objects, usable from any thread.
#pragma once

#include "platform/CoreFoundation/CFBase.h"

/// How a native number is laid out. Widths are the 32-bit platform's: long and CFIndex have 32
/// bits, long long has 64.
enum CFNumberType : CFIndex {
  kCFNumberSInt8Type = 1,
  kCFNumberSInt16Type = 2,
  kCFNumberSInt32Type = 3,
  kCFNumberSInt64Type = 4,
  kCFNumberFloat32Type = 5,
  kCFNumberFloat64Type = 6,
  kCFNumberCharType = 7,
  kCFNumberShortType = 8,
  kCFNumberIntType = 9,
  kCFNumberLongType = 10,
  kCFNumberLongLongType = 11,
  kCFNumberFloatType = 12,
  kCFNumberDoubleType = 13,
  kCFNumberCFIndexType = 14,
  kCFNumberMaxType = 14
};

extern const CFNumberRef kCFNumberNaN;
extern const CFNumberRef kCFNumberPositiveInfinity;
extern const CFNumberRef kCFNumberNegativeInfinity;

CFTypeID CFNumberGetTypeID();
/// A new number from the native value at `valuePtr`, laid out as `type` says, owned by the caller.
/// Null for a null pointer or a type that is none of the above.
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void* valuePtr);
/// The fixed-width type the number is kept in (codes 1 to 6); a C type's number is kept in the
/// fixed-width type of its width. Of null or another type's object: 0.
CFNumberType CFNumberGetType(CFNumberRef number);
/// Bytes of the number's type: 1, 2, 4 or 8.
CFIndex CFNumberGetByteSize(CFNumberRef number);
Boolean CFNumberIsFloatType(CFNumberRef number);
/// Writes the number, converted to `type`, to `valuePtr`, and says whether it arrived without loss.
///
/// The converted value is written in either case: an integer too wide delivers its low bits; a
/// fraction is cut toward zero; a floating-point number beyond 64 bits, or infinite, delivers the
/// low bits of the nearest 64-bit integer; NaN delivers 0. To a floating-point type an integer is
/// rounded to nearest, a double too large for a float becomes infinite. NaN and infinities pass
/// between floating-point types without loss.
/// False, and nothing written, for a null argument or an unknown type.
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* valuePtr);
/// Orders by exact value, integers and floating point alike. NaN equals NaN and lies between the
/// negative numbers and zero. `context` is unused. Two nulls are equal, null is less than a number.
CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef other, void* context);

extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;

CFTypeID CFBooleanGetTypeID();
/// False for null.
Boolean CFBooleanGetValue(CFBooleanRef boolean);
