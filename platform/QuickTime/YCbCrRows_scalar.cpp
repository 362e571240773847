#include <algorithm>

#include "platform/QuickTime/YCbCrRows.h"

namespace {

constexpr int kFractionBits = 30;
constexpr int kLowBits = 14;

constexpr YCbCrFactor Factor(double value) {
  const double scaled = value * (SInt64{1} << kFractionBits);
  const SInt64 rounded = static_cast<SInt64>(scaled < 0 ? scaled - 0.5 : scaled + 0.5);
  return {static_cast<SInt32>(rounded >> kLowBits),
          static_cast<SInt32>(rounded & ((1 << kLowBits) - 1))};
}

/// The matrix for luma weights Kr and Kb.
constexpr YCbCrMatrix MatrixOf(double kr, double kb) {
  const double kg = 1 - kr - kb;
  const double luma = 255.0 / 219;
  const double chroma = 255.0 / 224 * 2;
  return {Factor(luma), Factor(chroma * (1 - kr)), Factor(-chroma * kb * (1 - kb) / kg),
          Factor(-chroma * kr * (1 - kr) / kg), Factor(chroma * (1 - kb))};
}

SInt64 Scaled(const YCbCrFactor& factor, int value) {
  const SInt64 whole = static_cast<SInt64>(factor.high) * (1 << kLowBits) + factor.low;
  return whole * value;
}

UInt8 Rounded(SInt64 value) {
  const SInt64 nearest = (value + (SInt64{1} << (kFractionBits - 1))) >> kFractionBits;
  return static_cast<UInt8>(std::clamp<SInt64>(nearest, 0, 255));
}

void ConvertPixel(const YCbCrMatrix& matrix, int y, int cb, int cr, UInt8* argb) {
  const SInt64 luma = Scaled(matrix.y, y - 16);
  argb[0] = 255;
  argb[1] = Rounded(luma + Scaled(matrix.crToR, cr - 128));
  argb[2] = Rounded(luma + Scaled(matrix.cbToG, cb - 128) + Scaled(matrix.crToG, cr - 128));
  argb[3] = Rounded(luma + Scaled(matrix.cbToB, cb - 128));
}

}  // namespace

constinit const YCbCrMatrix kYCbCr601 = MatrixOf(0.299, 0.114);
constinit const YCbCrMatrix kYCbCr709 = MatrixOf(0.2126, 0.0722);

void ConvertYCbCrRowToARGB_Scalar(const YCbCrMatrix& matrix, YCbCrOrder order, const UInt8* source,
                                  UInt8* destination, UInt32 width) {
  const int luma = order == YCbCrOrder::CbY0CrY1 ? 1 : 0;
  const int chroma = 1 - luma;
  for (UInt32 x = 0; x < width; x += 2, source += 4, destination += 8) {
    const int cb = source[chroma];
    const int cr = source[chroma + 2];
    ConvertPixel(matrix, source[luma], cb, cr, destination);
    ConvertPixel(matrix, source[luma + 2], cb, cr, destination + 4);
  }
}
