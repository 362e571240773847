#include <algorithm>

#include "platform/QuickTime/YCbCrRows.h"

namespace {

constexpr int kUnit = 73;        ///< parts of a level
constexpr int kLumaFactor = 85;  ///< in those parts
constexpr double kOffset = kUnit / 2.0 - 16 * kLumaFactor;

constexpr SInt64 Fixed(double value, int fractionBits) {
  const double scaled = value * static_cast<double>(SInt64{1} << fractionBits);
  return static_cast<SInt64>(scaled < 0 ? scaled - 0.5 : scaled + 0.5);
}

constexpr YCbCrMatrix::One OneFactor(double factor) {
  const SInt64 fixed = Fixed(kUnit * factor, 16);
  return {static_cast<SInt32>(fixed), static_cast<SInt32>(Fixed(kOffset, 16) - 128 * fixed)};
}

constexpr YCbCrMatrix::Two TwoFactors(double ofCb, double ofCr) {
  const SInt64 cb = Fixed(kUnit * ofCb, 24);
  const SInt64 cr = Fixed(kUnit * ofCr, 24);
  const SInt64 offset = Fixed(kOffset, 24) - 128 * (cb + cr);
  constexpr SInt64 kLow = (1 << 15) - 1;
  return {static_cast<SInt16>(cb >> 15),     static_cast<SInt16>(cr >> 15),
          static_cast<SInt16>(cb & kLow),    static_cast<SInt16>(cr & kLow),
          static_cast<SInt32>(offset >> 15), static_cast<SInt32>(offset & kLow)};
}

/// The matrix for luma weights Kr and Kb.
constexpr YCbCrMatrix MatrixOf(double kr, double kb) {
  const double kg = 1 - kr - kb;
  const double chroma = 255.0 / 224 * 2;
  return {OneFactor(chroma * (1 - kr)),
          TwoFactors(-chroma * kb * (1 - kb) / kg, -chroma * kr * (1 - kr) / kg),
          OneFactor(chroma * (1 - kb))};
}

SInt32 Parts(const YCbCrMatrix::One& one, int value) {
  return static_cast<SInt32>((SInt64{one.factor} * value + one.offset) >> 16);
}

SInt32 Parts(const YCbCrMatrix::Two& two, int cb, int cr) {
  const SInt32 low = two.cbLow * cb + two.crLow * cr + two.offsetLow;
  return (two.cbHigh * cb + two.crHigh * cr + two.offsetHigh + (low >> 15)) >> 9;
}

UInt8 Channel(int luma, SInt32 parts) {
  const int sum = kLumaFactor * luma + parts;
  return sum < 0 ? UInt8{0} : static_cast<UInt8>(std::min(sum / kUnit, 255));
}

void ConvertPair(const YCbCrMatrix& matrix, const int (&luma)[2], int cb, int cr, UInt8* argb) {
  const SInt32 r = Parts(matrix.crToR, cr);
  const SInt32 g = Parts(matrix.toG, cb, cr);
  const SInt32 b = Parts(matrix.cbToB, cb);
  for (const int y : luma) {
    argb[0] = 255;
    argb[1] = Channel(y, r);
    argb[2] = Channel(y, g);
    argb[3] = Channel(y, b);
    argb += 4;
  }
}

void Convert(const YCbCrMatrix& matrix, YCbCrOrder order, const PackedRows& rows) {
  const int y = order == YCbCrOrder::CbY0CrY1 ? 1 : 0;
  const int c = 1 - y;
  for (int row = 0; row < rows.height; ++row) {
    const UInt8* src = rows.src + row * rows.srcRowBytes;
    UInt8* dst = rows.dst + row * rows.dstRowBytes;
    for (int x = 0; x < rows.width; x += 2, src += 4, dst += 8) {
      ConvertPair(matrix, {src[y], src[y + 2]}, src[c], src[c + 2], dst);
    }
  }
}

}  // namespace

constinit const YCbCrMatrix kYCbCr601 = MatrixOf(0.299, 0.114);
constinit const YCbCrMatrix kYCbCr709 = MatrixOf(0.2126, 0.0722);

const YCbCrForm kScalarYCbCrForm = {"scalar", Convert};
