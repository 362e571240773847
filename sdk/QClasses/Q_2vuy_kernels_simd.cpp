// The row kernels' vector form, compiled once per instruction set. One 32-bit lane is one 4:2:2
// pair or one ARGB pixel. Every step keeps the scalar form's precision and order; the last pairs of
// a row go through the scalar form itself.
#include "sdk/QClasses/Q_2vuy_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/Q_2vuy_kernels_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Q_2vuy {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D32 = hn::ScalableTag<std::uint32_t>;
using DI = hn::ScalableTag<std::int32_t>;
using DF = hn::ScalableTag<float>;
using DF64 = hn::ScalableTag<double>;
using V32 = hn::Vec<D32>;
using VF = hn::Vec<DF>;
using VF64 = hn::Vec<DF64>;

int PairsPerStep() {
  return static_cast<int>(hn::Lanes(D32()));
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
VF Float(V32 value) {
  return hn::ConvertTo(DF(), hn::BitCast(DI(), value));
}
V32 Pack(V32 b0, V32 b1, V32 b2, V32 b3) {
  return hn::Or(hn::Or(b0, hn::ShiftLeft<8>(b1)),
                hn::Or(hn::ShiftLeft<16>(b2), hn::ShiftLeft<24>(b3)));
}

/// The engine's rounding for values of 0 and above: a float's fraction is exact, and the first one
/// above a half already reaches the next integer with 0.49999999.
VF RoundNonNegative(VF value) {
  const VF whole = hn::Trunc(value);
  const auto up = hn::Gt(hn::Sub(value, whole), hn::Set(DF(), 0.5f));
  return hn::Add(whole, hn::IfThenElseZero(up, hn::Set(DF(), 1.0f)));
}
V32 ToInt(VF value) {
  return hn::BitCast(D32(), hn::ConvertTo(DI(), value));
}

/// Low byte of the truncated value; 0 beyond the 32-bit range and for NaN, as the most negative
/// integer's low byte is.
V32 TruncatedLow8(VF value) {
  const auto inRange =
      hn::And(hn::Lt(value, hn::Set(DF(), 0x1p31f)), hn::Ge(value, hn::Set(DF(), -0x1p31f)));
  return Byte<0>(ToInt(hn::IfThenElseZero(inRange, value)));
}

/// `operation` on the lanes widened to double; each half narrowed back.
template <typename Operation>
VF InDouble(VF value, const Operation& operation) {
#if HWY_TARGET == HWY_SCALAR  // One lane has no halves.
  return hn::DemoteTo(DF(), operation(hn::PromoteTo(DF64(), value)));
#else
  const hn::Half<DF> half;
  const VF64 lower = operation(hn::PromoteTo(DF64(), hn::LowerHalf(half, value)));
  const VF64 upper = operation(hn::PromoteTo(DF64(), hn::UpperHalf(half, value)));
  return hn::Combine(DF(), hn::DemoteTo(half, upper), hn::DemoteTo(half, lower));
#endif
}

V32 Channel(const float (&row)[3], VF y, VF cb) {
  const DF df;
  const VF sum = hn::Add(hn::Add(hn::Mul(hn::Set(df, row[0]), y), hn::Mul(hn::Set(df, row[1]), cb)),
                         hn::Set(df, row[2]));
  const VF positive = hn::Max(sum, hn::Zero(df));
  return ToInt(hn::Min(RoundNonNegative(positive), hn::Set(df, 255.0f)));
}

V32 PixelToARGB(V32 luma, VF cb) {
  const VF y = hn::Sub(Float(luma), hn::Set(DF(), 16.0f));
  const V32 r = Channel(yuv_r_709, y, cb);
  const V32 g = Channel(yuv_g_709, y, cb);
  const V32 b = Channel(yuv_b_709, y, cb);
  // Below video black the rule's unsigned luma overflows: black.
  const auto visible = hn::Gt(hn::BitCast(DI(), luma), hn::Set(DI(), 15));
  const V32 colour =
      hn::IfThenElseZero(hn::RebindMask(D32(), visible), Pack(hn::Zero(D32()), r, g, b));
  return hn::Or(colour, hn::Set(D32(), 0xFFu));
}

void ToARGB(const std::uint8_t* src, std::uint8_t* dst, int width) {
  const int step = 2 * PairsPerStep();
  int x = 0;
  for (; width - x >= step; x += step, src += 2 * step, dst += 4 * step) {
    const V32 pair = hn::LoadU(D32(), Words(src));
    const VF cb = hn::Sub(Float(Byte<0>(pair)), hn::Set(DF(), 128.0f));
    hn::StoreInterleaved2(PixelToARGB(Byte<1>(pair), cb), PixelToARGB(Byte<3>(pair), cb), D32(),
                          Words(dst));
  }
  kScalarRowKernels.to_ARGB(src, dst, width - x);
}

struct Pixel422 {
  V32 y;
  V32 cb;
  V32 cr;
};

V32 Chroma(VF difference) {
  return ToInt(RoundNonNegative(InDouble(difference, [](VF64 d) {
    return hn::Add(hn::Mul(d, hn::Set(DF64(), 0.875)), hn::Set(DF64(), 128.0));
  })));
}

Pixel422 FromPixel(V32 argb) {
  const DF df;
  const VF r = Float(Byte<1>(argb));
  const VF g = Float(Byte<2>(argb));
  const VF b = Float(Byte<3>(argb));
  const VF luma =
      hn::Add(hn::Add(hn::Mul(hn::Set(df, const_cr), r), hn::Mul(hn::Set(df, const_cg), g)),
              hn::Mul(hn::Set(df, const_cb), b));
  const VF scaled = InDouble(luma, [](VF64 d) {
    const VF64 product = hn::Mul(hn::Mul(d, hn::Set(DF64(), 219.0)), hn::Set(DF64(), 0.00390625));
    return hn::Add(product, hn::Set(DF64(), 16.0));
  });
  return {ToInt(RoundNonNegative(scaled)), Chroma(hn::Mul(hn::Sub(b, luma), hn::Set(df, const_cu))),
          Chroma(hn::Mul(hn::Sub(r, luma), hn::Set(df, const_cv)))};
}

struct Pair422 {
  V32 cb;
  V32 y0;
  V32 cr;
  V32 y1;
};

Pair422 FromPair(V32 first, V32 second) {
  const Pixel422 p0 = FromPixel(first);
  const Pixel422 p1 = FromPixel(second);
  return {hn::ShiftRight<1>(hn::Add(p0.cb, p1.cb)), p0.y, hn::ShiftRight<1>(hn::Add(p0.cr, p1.cr)),
          p1.y};
}

void FromARGB(const std::uint8_t* src, std::uint8_t* dst, int width) {
  const int step = 2 * PairsPerStep();
  int x = 0;
  for (; width - x >= step; x += step, src += 4 * step, dst += 2 * step) {
    V32 first;
    V32 second;
    hn::LoadInterleaved2(D32(), Words(src), first, second);
    const Pair422 pair = FromPair(first, second);
    hn::StoreU(Pack(pair.cb, pair.y0, pair.cr, pair.y1), D32(), Words(dst));
  }
  kScalarRowKernels.from_ARGB(src, dst, width - x);
}

void OverARGB(const std::uint8_t* src, std::uint8_t* dst, int width, float opacity) {
  const DF df;
  const VF one = hn::Set(df, 1.0f);
  const auto weight = [opacity](V32 argb) {
    return InDouble(Float(Byte<0>(argb)), [opacity](VF64 alpha) {
      return hn::Mul(hn::Div(alpha, hn::Set(DF64(), 255.0)),
                     hn::Set(DF64(), static_cast<double>(opacity)));
    });
  };
  const auto mix = [](V32 old, VF keep, V32 now, VF take) {
    return TruncatedLow8(hn::Add(hn::Mul(Float(old), keep), hn::Mul(Float(now), take)));
  };
  const int step = 2 * PairsPerStep();
  int x = 0;
  for (; width - x >= step; x += step, src += 4 * step, dst += 2 * step) {
    V32 first;
    V32 second;
    hn::LoadInterleaved2(D32(), Words(src), first, second);
    const Pair422 pair = FromPair(first, second);
    const V32 old = hn::LoadU(D32(), Words(dst));
    const VF a0 = weight(first);
    const VF a1 = weight(second);
    const VF w0 = hn::Sub(one, a0);
    const VF keep = hn::Mul(hn::Add(hn::Sub(one, a1), w0), hn::Set(df, 0.5f));
    const VF take = hn::Sub(one, keep);
    const V32 mixed =
        Pack(mix(Byte<0>(old), keep, pair.cb, take), mix(Byte<1>(old), w0, pair.y0, a0),
             mix(Byte<2>(old), keep, pair.cr, take), mix(Byte<3>(old), w0, pair.y1, a1));
    hn::StoreU(mixed, D32(), Words(dst));
  }
  kScalarRowKernels.over_ARGB(src, dst, width - x, opacity);
}

V32 BlendedByte(V32 a, VF keep, V32 b, VF take) {
  const VF value = hn::Add(hn::Mul(Float(a), keep), hn::Mul(Float(b), take));
  const auto positive = hn::Gt(value, hn::Zero(DF()));
  return TruncatedLow8(hn::IfThenElseZero(positive, value));
}

void Blend(std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b, int width, float t) {
  const VF take = hn::Set(DF(), t);
  const VF keep = hn::Set(DF(), 1.0f - t);
  const int step = 2 * PairsPerStep();
  int x = 0;
  for (; width - x >= step; x += step, dst += 2 * step, a += 2 * step, b += 2 * step) {
    const V32 wa = hn::LoadU(D32(), Words(a));
    const V32 wb = hn::LoadU(D32(), Words(b));
    const V32 blended = Pack(BlendedByte(Byte<0>(wa), keep, Byte<0>(wb), take),
                             BlendedByte(Byte<1>(wa), keep, Byte<1>(wb), take),
                             BlendedByte(Byte<2>(wa), keep, Byte<2>(wb), take),
                             BlendedByte(Byte<3>(wa), keep, Byte<3>(wb), take));
    hn::StoreU(blended, D32(), Words(dst));
  }
  kScalarRowKernels.blend(dst, a, b, width - x, t);
}

struct Weight {
  VF take;
  VF keep;
};

Weight MaskWeight(VF mask, float t) {
  const DF df;
  const VF fraction =
      InDouble(mask, [](VF64 m) { return hn::Mul(m, hn::Set(DF64(), 0.00392156862745098)); });
  const VF one = hn::Set(df, 1.0f);
  const VF w = hn::Mul(hn::Set(df, 2.0f * t), hn::Add(fraction, hn::Set(df, t)));
  const auto full = hn::Gt(w, one);
  return {hn::IfThenElse(full, one, w), hn::IfThenZeroElse(full, hn::Sub(one, w))};
}

void BlendMasked(std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b, int width,
                 float t, const std::uint8_t* mask) {
  const DF df;
  const hn::Rebind<std::uint16_t, D32> d16;
  const VF two = hn::Set(df, 2.0f);
  const int step = 2 * PairsPerStep();
  int x = 0;
  for (; width - x >= step;
       x += step, dst += 2 * step, a += 2 * step, b += 2 * step, mask += step) {
    // Two mask bytes a pair, the first pixel's in the low byte.
    const V32 masks =
        hn::PromoteTo(D32(), hn::LoadU(d16, reinterpret_cast<const std::uint16_t*>(mask)));
    const Weight p0 = MaskWeight(Float(Byte<0>(masks)), t);
    const Weight p1 = MaskWeight(Float(Byte<1>(masks)), t);
    const Weight chroma{hn::Div(hn::Add(p0.take, p1.take), two),
                        hn::Div(hn::Add(p0.keep, p1.keep), two)};
    const V32 wa = hn::LoadU(D32(), Words(a));
    const V32 wb = hn::LoadU(D32(), Words(b));
    const V32 blended = Pack(BlendedByte(Byte<0>(wa), chroma.keep, Byte<0>(wb), chroma.take),
                             BlendedByte(Byte<1>(wa), p0.keep, Byte<1>(wb), p0.take),
                             BlendedByte(Byte<2>(wa), chroma.keep, Byte<2>(wb), chroma.take),
                             BlendedByte(Byte<3>(wa), p1.keep, Byte<3>(wb), p1.take));
    hn::StoreU(blended, D32(), Words(dst));
  }
  kScalarRowKernels.blendMasked(dst, a, b, width - x, t, mask);
}

const RowKernels* Kernels() {
  static constexpr RowKernels kKernels = {"vector", ToARGB, FromARGB, OverARGB, Blend, BlendMasked};
  return &kKernels;
}

}  // namespace HWY_NAMESPACE
}  // namespace Q_2vuy
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Q_2vuy {

HWY_EXPORT(Kernels);

const RowKernels& VectorRowKernels() {
  return *HWY_DYNAMIC_DISPATCH(Kernels)();
}

}  // namespace Q_2vuy
#endif
