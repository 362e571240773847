// The vector form, compiled once per instruction set. One 32-bit lane is one pair of pixels; the
// last pairs of a row go through the scalar form.
#include "platform/QuickTime/YCbCrRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/QuickTime/YCbCrRows_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using DU = hn::ScalableTag<std::uint32_t>;
using DI = hn::ScalableTag<std::int32_t>;
using VU = hn::Vec<DU>;
using VI = hn::Vec<DI>;

/// A sum of products, its high parts scaled by 2^16 and its low parts by 2^30. Neither leaves 32
/// bits: the factors are below 2.2, the values below 2^8.
struct Sum {
  VI high;
  VI low;
};

Sum Product(const YCbCrFactor& factor, VI value) {
  return {hn::Mul(hn::Set(DI(), factor.high), value), hn::Mul(hn::Set(DI(), factor.low), value)};
}
Sum Plus(Sum a, Sum b) {
  return {hn::Add(a.high, b.high), hn::Add(a.low, b.low)};
}

/// Rounded to nearest and limited to 0..255. The shift of the low part rounds down and so loses
/// nothing that the second shift would not.
VU Rounded(Sum sum) {
  const VI value = hn::Add(sum.high, hn::ShiftRight<14>(sum.low));
  const VI nearest = hn::ShiftRight<16>(hn::Add(value, hn::Set(DI(), 1 << 15)));
  return hn::BitCast(DU(), hn::Min(hn::Max(nearest, hn::Zero(DI())), hn::Set(DI(), 255)));
}

template <int byte>
VI Centred(VU word, int centre) {
  const VU value = hn::And(hn::ShiftRight<8 * byte>(word), hn::Set(DU(), 0xFFu));
  return hn::Sub(hn::BitCast(DI(), value), hn::Set(DI(), centre));
}

/// A, R, G, B in memory order.
VU Pack(VU r, VU g, VU b) {
  const VU rg = hn::Or(hn::ShiftLeft<8>(r), hn::ShiftLeft<16>(g));
  return hn::Or(hn::Or(hn::Set(DU(), 0xFFu), rg), hn::ShiftLeft<24>(b));
}

template <int lumaByte>
void ConvertRow(const YCbCrMatrix& matrix, const UInt8* source, UInt8* destination, UInt32 pairs) {
  constexpr int chromaByte = 1 - lumaByte;
  const std::size_t lanes = hn::Lanes(DU());
  for (UInt32 pair = 0; pair + lanes <= pairs; pair += static_cast<UInt32>(lanes)) {
    const VU word = hn::LoadU(DU(), reinterpret_cast<const std::uint32_t*>(source));
    const VI cb = Centred<chromaByte>(word, 128);
    const VI cr = Centred<chromaByte + 2>(word, 128);
    const Sum red = Product(matrix.crToR, cr);
    const Sum green = Plus(Product(matrix.cbToG, cb), Product(matrix.crToG, cr));
    const Sum blue = Product(matrix.cbToB, cb);
    const Sum luma0 = Product(matrix.y, Centred<lumaByte>(word, 16));
    const Sum luma1 = Product(matrix.y, Centred<lumaByte + 2>(word, 16));
    const VU pixel0 =
        Pack(Rounded(Plus(luma0, red)), Rounded(Plus(luma0, green)), Rounded(Plus(luma0, blue)));
    const VU pixel1 =
        Pack(Rounded(Plus(luma1, red)), Rounded(Plus(luma1, green)), Rounded(Plus(luma1, blue)));
    hn::StoreInterleaved2(pixel0, pixel1, DU(), reinterpret_cast<std::uint32_t*>(destination));
    source += 4 * lanes;
    destination += 8 * lanes;
  }
}

UInt32 ConvertPairs(const YCbCrMatrix& matrix, YCbCrOrder order, const UInt8* source,
                    UInt8* destination, UInt32 pairs) {
  if (order == YCbCrOrder::CbY0CrY1) {
    ConvertRow<1>(matrix, source, destination, pairs);
  } else {
    ConvertRow<0>(matrix, source, destination, pairs);
  }
  return pairs - pairs % static_cast<UInt32>(hn::Lanes(DU()));
}

}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

HWY_EXPORT(ConvertPairs);

void ConvertYCbCrRowToARGB_Vector(const YCbCrMatrix& matrix, YCbCrOrder order, const UInt8* source,
                                  UInt8* destination, UInt32 width) {
  const UInt32 pairs = width / 2 + width % 2;
  const UInt32 done = HWY_DYNAMIC_DISPATCH(ConvertPairs)(matrix, order, source, destination, pairs);
  ConvertYCbCrRowToARGB_Scalar(matrix, order, source + std::size_t{4} * done,
                               destination + std::size_t{8} * done, (pairs - done) * 2);
}

#endif
