#include <algorithm>
#include <cmath>

#include "sdk/QClasses/QPixMap.h"

namespace {

/// Truncation to an integer; what no 32-bit integer holds becomes the most negative one.
SInt32 Truncate(double value) {
  if (!(value > -2147483649.0 && value < 2147483648.0)) return -2147483647 - 1;
  return static_cast<SInt32>(value);
}

/// The two taps along one axis and the second one's weight.
struct Taps {
  SInt32 first;
  SInt32 second;
  double fraction;
};

}  // namespace

UInt16 QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(PixMap** hPixMap, double x, double y) {
  const SInt32 maxCol = QPixMap_Width(hPixMap) - 1;
  const SInt32 maxRow = QPixMap_Height(hPixMap) - 1;
  if (maxCol < 0 || maxRow < 0 || GetPixBaseAddr(hPixMap) == nullptr) return 0;
  const SInt32 x0 = std::clamp(Truncate(x), SInt32{0}, maxCol);
  const SInt32 y0 = std::clamp(Truncate(y), SInt32{0}, maxRow);
  const Taps column{x0, x0 < maxCol ? x0 + 1 : x0, x - x0};
  const SInt64 below = static_cast<SInt64>(Truncate(y)) + 1;
  const Taps row{y0, static_cast<SInt32>(std::clamp<SInt64>(below, 0, maxRow)), y - y0};

  const unsigned char* upper = QPixMap_GetStartOfScanLine(hPixMap, row.first);
  const unsigned char* lower = QPixMap_GetStartOfScanLine(hPixMap, row.second);
  const double fx = column.fraction;
  const double fy = row.fraction;
  const double top = (1 - fx) * upper[column.first] + fx * upper[column.second];
  const double bottom = (1 - fx) * lower[column.first] + fx * lower[column.second];
  const double v = top * (1 - fy) + bottom * fy;
  return static_cast<UInt16>(Truncate(std::max(v, 0.0)));
}
