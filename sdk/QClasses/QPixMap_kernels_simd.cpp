// The row kernels' vector form, compiled once per instruction set. One lane is one pixel, in double
// precision where the rule is; every step keeps the scalar form's precision and order, and the last
// pixels of a row go through the scalar form itself.
#include "sdk/QClasses/QPixMap_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/QPixMap_kernels_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace QPixMapKernels {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using DF64 = hn::ScalableTag<double>;
using DF = hn::Rebind<float, DF64>;
using DI = hn::Rebind<std::int32_t, DF64>;
using D32 = hn::Rebind<std::uint32_t, DF64>;
using D8 = hn::ScalableTag<std::uint8_t>;
using VF64 = hn::Vec<DF64>;
using VI = hn::Vec<DI>;
using V32 = hn::Vec<D32>;

std::size_t PixelsPerStep() {
  return hn::Lanes(D32());
}

const std::uint32_t* Words(const std::uint8_t* bytes) {
  return reinterpret_cast<const std::uint32_t*>(bytes);
}
std::uint32_t* Words(std::uint8_t* bytes) {
  return reinterpret_cast<std::uint32_t*>(bytes);
}

/// Byte `index` (in memory order) of each word.
template <int index>
V32 Byte(V32 word) {
  return hn::And(hn::ShiftRight<8 * index>(word), hn::Set(D32(), 0xFFu));
}
VF64 Double(V32 value) {
  return hn::PromoteTo(DF64(), hn::BitCast(DI(), value));
}
VF64 Scaled(double factor, VF64 value) {
  return hn::Mul(hn::Set(DF64(), factor), value);
}
V32 Pack(V32 b0, V32 b1, V32 b2, V32 b3) {
  return hn::Or(hn::Or(b0, hn::ShiftLeft<8>(b1)),
                hn::Or(hn::ShiftLeft<16>(b2), hn::ShiftLeft<24>(b3)));
}

void Grey(std::uint8_t* row, std::size_t pixels) {
  const std::size_t step = PixelsPerStep();
  std::size_t x = 0;
  for (; pixels - x >= step; x += step, row += 4 * step) {
    const V32 argb = hn::LoadU(D32(), Words(row));
    const VF64 sum = hn::Add(hn::Add(Scaled(kGreyOfBlue, Double(Byte<3>(argb))),
                                     Scaled(kGreyOfRed, Double(Byte<1>(argb)))),
                             Scaled(kGreyOfGreen, Double(Byte<2>(argb))));
    const V32 g = hn::BitCast(D32(), hn::DemoteTo(DI(), sum));
    hn::StoreU(Pack(Byte<0>(argb), g, g, g), D32(), Words(row));
  }
  kScalarRowKernels.grey(row, pixels - x);
}

void Levels(std::uint8_t* row, std::size_t pixels, const std::uint8_t* table) {
  std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR  // One lane cannot look up in 16.
  const D8 d8;
  const hn::Repartition<std::uint32_t, D8> d32;
  const std::size_t step = hn::Lanes(d8) / 4;
  const auto alpha = hn::MaskFromVec(hn::BitCast(d8, hn::Set(d32, 0xFFu)));
  for (; pixels - x >= step; x += step, row += 4 * step) {
    const auto argb = hn::LoadU(d8, row);
    const auto low = hn::And(argb, hn::Set(d8, std::uint8_t{0x0F}));
    const auto high = hn::And(argb, hn::Set(d8, std::uint8_t{0xF0}));
    // The table is 16 lookups of 16 levels, of which the byte's high digit picks one.
    auto level = hn::Zero(d8);
    for (int part = 0; part < 16; ++part) {
      const auto levels = hn::TableLookupBytes(hn::LoadDup128(d8, table + 16 * part), low);
      const auto here = hn::Eq(high, hn::Set(d8, static_cast<std::uint8_t>(16 * part)));
      level = hn::IfThenElse(here, levels, level);
    }
    hn::StoreU(hn::IfThenElse(alpha, argb, level), d8, row);
  }
#endif
  kScalarRowKernels.levels(row, pixels - x, table);
}

/// To single precision, not below 0, truncated, at most 255.
V32 Channel(VF64 value) {
  const auto single = hn::Max(hn::DemoteTo(DF(), value), hn::Zero(DF()));
  return hn::BitCast(D32(), hn::Min(hn::ConvertTo(DI(), single), hn::Set(DI(), 255)));
}

void Duotone(std::uint8_t* row, std::size_t pixels, Tint tint) {
  const DF64 d;
  const VF64 red = hn::Set(d, 1.596 * tint.cr);
  const VF64 green1 = hn::Set(d, 0.813 * tint.cb);
  const VF64 green2 = hn::Set(d, 0.391 * tint.cr);
  const VF64 blue = hn::Set(d, 2.018 * tint.cb);
  const std::size_t step = PixelsPerStep();
  std::size_t x = 0;
  for (; pixels - x >= step; x += step, row += 4 * step) {
    const V32 argb = hn::LoadU(D32(), Words(row));
    const V32 r = Byte<1>(argb);
    const V32 g = Byte<2>(argb);
    const V32 b = Byte<3>(argb);
    const VF64 luma = hn::Add(hn::Add(Scaled(0.257, Double(r)), Scaled(0.504, Double(g))),
                              Scaled(0.098, Double(b)));
    const VF64 y = Scaled(1.164, hn::PromoteTo(d, hn::DemoteTo(DF(), luma)));
    const V32 tinted =
        Pack(Byte<0>(argb), Channel(hn::Add(y, red)), Channel(hn::Sub(hn::Sub(y, green1), green2)),
             Channel(hn::Add(y, blue)));
    const VI sum = hn::BitCast(DI(), hn::Add(hn::Add(r, g), b));
    const auto nearWhite = hn::RebindMask(D32(), hn::Gt(sum, hn::Set(DI(), kNearWhiteSum)));
    hn::StoreU(hn::IfThenElse(nearWhite, argb, tinted), D32(), Words(row));
  }
  kScalarRowKernels.duotone(row, pixels - x, tint);
}

V32 BlendedByte(V32 a, VF64 weightA, V32 b, VF64 weightB) {
  const DF64 d;
  const VF64 value = hn::Add(hn::Mul(Double(a), weightA), hn::Mul(Double(b), weightB));
  const auto inRange =
      hn::And(hn::Gt(value, hn::Set(d, -2147483649.0)), hn::Lt(value, hn::Set(d, 2147483648.0)));
  return Byte<0>(hn::BitCast(D32(), hn::DemoteTo(DI(), hn::IfThenElseZero(inRange, value))));
}

void Blend(std::uint8_t* dst, const std::uint8_t* a, double weightA, const std::uint8_t* b,
           double weightB, std::size_t pixels) {
  const VF64 wa = hn::Set(DF64(), weightA);
  const VF64 wb = hn::Set(DF64(), weightB);
  const std::size_t step = PixelsPerStep();
  std::size_t x = 0;
  for (; pixels - x >= step; x += step, dst += 4 * step, a += 4 * step, b += 4 * step) {
    const V32 pa = hn::LoadU(D32(), Words(a));
    const V32 pb = hn::LoadU(D32(), Words(b));
    const V32 blended = Pack(BlendedByte(Byte<0>(pa), wa, Byte<0>(pb), wb),
                             BlendedByte(Byte<1>(pa), wa, Byte<1>(pb), wb),
                             BlendedByte(Byte<2>(pa), wa, Byte<2>(pb), wb),
                             BlendedByte(Byte<3>(pa), wa, Byte<3>(pb), wb));
    hn::StoreU(blended, D32(), Words(dst));
  }
  kScalarRowKernels.blend(dst, a, weightA, b, weightB, pixels - x);
}

const RowKernels* Kernels() {
  static constexpr RowKernels kKernels = {"vector", Grey, Levels, Duotone, Blend};
  return &kKernels;
}

}  // namespace HWY_NAMESPACE
}  // namespace QPixMapKernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QPixMapKernels {

HWY_EXPORT(Kernels);

const RowKernels& VectorRowKernels() {
  return *HWY_DYNAMIC_DISPATCH(Kernels)();
}

}  // namespace QPixMapKernels
#endif
