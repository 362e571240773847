#include "sdk/CoreX/TCFNumber.h"

const char* T_numeric_base::name_of(CFNumberType type) {
  switch (type) {
    case kCFNumberSInt8Type:
      return "kCFNumberSInt8Type";
    case kCFNumberSInt16Type:
      return "kCFNumberSInt16Type";
    case kCFNumberSInt32Type:
      return "kCFNumberSInt32Type";
    case kCFNumberSInt64Type:
      return "kCFNumberSInt64Type";
    case kCFNumberCharType:
      return "kCFNumberCharType";
    case kCFNumberShortType:
      return "kCFNumberShortType";
    case kCFNumberIntType:
      return "kCFNumberIntType";
    case kCFNumberLongType:
      return "kCFNumberLongType";
    case kCFNumberLongLongType:
      return "kCFNumberLongLongType";
    case kCFNumberFloatType:
      return "kCFNumberFloatType";
    case kCFNumberDoubleType:
      return "kCFNumberDoubleType";
    case kCFNumberCFIndexType:
      return "kCFNumberCFIndexType";
    default:
      return "Unknown";
  }
}
