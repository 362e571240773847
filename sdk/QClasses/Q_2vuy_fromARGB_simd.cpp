// ARGB to 2vuy and over it. The vector forms, compiled once per instruction set.
//
// In single precision, with what is equal to the rule's double precision for every colour:
//   x * 0.875 + 128 and x * 219 / 256 + 16, narrowed, are one fused multiply-add each, or sums of
//   exact parts;
//   the rounding, which takes a half down, is the ceiling of what is one half less, and the half
//   may be left out of the sum to begin with; A / 255 narrowed is that quotient.
// The luma sum stays as it is, step by step.
#include "sdk/QClasses/Q_2vuy_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/Q_2vuy_fromARGB_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "sdk/QClasses/Q_2vuy_simd-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Q_2vuy {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128  // The scalar form stands for these.

/// Rounded up, for positive values in range.
HWY_INLINE V32 RoundUp(VF value) {
#if HWY_TARGET <= HWY_AVX3
  return V32{_mm512_cvt_roundps_epi32(value.raw, _MM_FROUND_TO_POS_INF | _MM_FROUND_NO_EXC)};
#elif HWY_TARGET == HWY_SSSE3
  const V32 whole = ToInt(value);
  const auto more = hn::VecFromMask(DF(), hn::Lt(Float(whole), value));
  return hn::Sub(whole, hn::BitCast(D32(), more));
#else
  return ToInt(hn::Ceil(value));
#endif
}

/// luma * 219 / 256 + 16 in double precision, narrowed and rounded by the engine's rule.
HWY_INLINE V32 LumaLevel(VF luma) {
  const VF factor = hn::Set(DF(), 219.0f / 256);
  const VF offset = hn::Set(DF(), 15.5f);
#if HWY_NATIVE_FMA
  return RoundUp(hn::MulAdd(luma, factor, offset));
#else
  // In two parts, whose products are exact.
  const VF high = hn::BitCast(DF(), hn::And(hn::BitCast(D32(), luma), hn::Set(D32(), 0xFFFFF000u)));
  const VF low = hn::Sub(luma, high);
  return RoundUp(hn::Add(hn::Add(hn::Mul(high, factor), offset), hn::Mul(low, factor)));
#endif
}

/// difference * 0.875 + 128, likewise.
HWY_INLINE V32 ChromaLevel(VF difference) {
  const VF offset = hn::Set(DF(), 127.5f);
#if HWY_NATIVE_FMA
  return RoundUp(hn::MulAdd(difference, hn::Set(DF(), 0.875f), offset));
#else
  const VF eighth = hn::Mul(difference, hn::Set(DF(), 0.125f));
  return RoundUp(hn::Add(hn::Sub(offset, eighth), difference));
#endif
}

struct Pixel422 {
  V32 y;
  V32 cb;
  V32 cr;
};

HWY_INLINE Pixel422 FromPixel(V32 argb) {
  const DF df;
  const VF b = Float(Byte<3>(argb));
#if HWY_NATIVE_FMA
  // R and G stay where they are in their lanes: powers of two change no rounding.
  const VF r256 = Float(hn::And(argb, hn::Set(D32(), 0xFF00u)));
  const VF g65536 = Float(hn::And(argb, hn::Set(D32(), 0xFF0000u)));
  const VF red = hn::Mul(hn::Set(df, const_cr / 256), r256);
  const VF green = hn::Mul(hn::Set(df, const_cg / 65536), g65536);
#else
  const VF r = Float(Byte<1>(argb));
  const VF red = hn::Mul(hn::Set(df, const_cr), r);
  const VF green = hn::Mul(hn::Set(df, const_cg), Float(Byte<2>(argb)));
#endif
  const VF luma = hn::Add(hn::Add(red, green), hn::Mul(hn::Set(df, const_cb), b));
#if HWY_NATIVE_FMA
  const VF redDifference = hn::MulSub(r256, hn::Set(df, 1.0f / 256), luma);
#else
  const VF redDifference = hn::Sub(r, luma);
#endif
  const VF u = hn::Mul(hn::Sub(b, luma), hn::Set(df, const_cu));
  const VF v = hn::Mul(redDifference, hn::Set(df, const_cv));
  return {LumaLevel(luma), ChromaLevel(u), ChromaLevel(v)};
}

/// The pixels of a step, in whatever order of the pairs suits the instruction set.
struct PixelPairs {
  V32 first;
  V32 second;
};

HWY_INLINE PixelPairs LoadPixelPairs(const std::uint8_t* argb) {
  const V32 lower = LoadWords(argb);
  const V32 upper = LoadWords(argb + hn::Lanes(D8()));
#if HWY_TARGET == HWY_AVX2
  // Within blocks, which costs half as much: StepOrder puts what comes out into order.
  const __m256 a = _mm256_castsi256_ps(lower.raw);
  const __m256 b = _mm256_castsi256_ps(upper.raw);
  return {V32{_mm256_castps_si256(_mm256_shuffle_ps(a, b, 0x88))},
          V32{_mm256_castps_si256(_mm256_shuffle_ps(a, b, 0xDD))}};
#else
  return {hn::ConcatEven(D32(), upper, lower), hn::ConcatOdd(D32(), upper, lower)};
#endif
}

/// Pairs in LoadPixelPairs's order to the order of the row and, being its own inverse, back.
HWY_INLINE V32 StepOrder(V32 pairs) {
#if HWY_TARGET == HWY_AVX2
  return V32{_mm256_permute4x64_epi64(pairs.raw, 0xD8)};
#else
  return pairs;
#endif
}

struct Pair422 {
  V32 cb;
  V32 y0;
  V32 cr;
  V32 y1;
};

HWY_INLINE Pair422 FromPair(const PixelPairs& pixels) {
  const Pixel422 p0 = FromPixel(pixels.first);
  const Pixel422 p1 = FromPixel(pixels.second);
  return {hn::ShiftRight<1>(hn::Add(p0.cb, p1.cb)), p0.y, hn::ShiftRight<1>(hn::Add(p0.cr, p1.cr)),
          p1.y};
}

void FromARGB(const Rows& rows) {
  ForSteps<8, 4, false>(rows,
                        [](const std::uint8_t* src, std::uint8_t* dst, int) LUMIVANE_INLINE_LAMBDA {
                          const Pair422 pair = FromPair(LoadPixelPairs(src));
                          StoreWords(StepOrder(Pack(pair.cb, pair.y0, pair.cr, pair.y1)), dst);
                        });
}

/// `alpha / 255 * opacity` of each pixel, of an opacity of 1 or any other.
template <bool opaque>
HWY_INLINE VF AlphaWeight(V32 argb, float opacity) {
  const VF alpha = Float(Byte<0>(argb));
  if (opaque) return ByteFraction(alpha);
  return InDouble(alpha, [opacity](VF64 a) LUMIVANE_INLINE_LAMBDA {
    return hn::Mul(hn::Div(a, hn::Set(DF64(), 255.0)),
                   hn::Set(DF64(), static_cast<double>(opacity)));
  });
}

/// With opacities of 0 to 1 everything is in range and nothing negative.
template <bool opaque, bool inRange>
HWY_INLINE void OverARGBRows(const Rows& rows, float opacity) {
  const DF df;
  const VF one = hn::Set(df, 1.0f);
  const auto mix = [](V32 old, VF keep, V32 now, VF take) LUMIVANE_INLINE_LAMBDA {
    const VF value = hn::Add(hn::Mul(Float(old), keep), hn::Mul(Float(now), take));
    return inRange ? ToInt(value) : TruncatedWithinRange(value);
  };
  ForSteps<8, 4, true>(
      rows, [=](const std::uint8_t* src, std::uint8_t* dst, int) LUMIVANE_INLINE_LAMBDA {
        const PixelPairs pixels = LoadPixelPairs(src);
        const Pair422 pair = FromPair(pixels);
        const V32 old = StepOrder(LoadWords(dst));
        const VF a0 = AlphaWeight<opaque>(pixels.first, opacity);
        const VF a1 = AlphaWeight<opaque>(pixels.second, opacity);
        const VF w0 = hn::Sub(one, a0);
        const VF keep = hn::Mul(hn::Add(hn::Sub(one, a1), w0), hn::Set(df, 0.5f));
        const VF take = hn::Sub(one, keep);
        const V32 cb = mix(Byte<0>(old), keep, pair.cb, take);
        const V32 y0 = mix(Byte<1>(old), w0, pair.y0, a0);
        const V32 cr = mix(Byte<2>(old), keep, pair.cr, take);
        const V32 y1 = mix(Byte<3>(old), w0, pair.y1, a1);
        const V32 low = hn::Set(D32(), 0xFFu);
        const V32 mixed = Pack(hn::And(cb, low), hn::And(y0, low), hn::And(cr, low), y1);
        StoreWords(StepOrder(mixed), dst);
      });
}

void OverARGB(const Rows& rows, float opacity) {
  if (opacity == 1.0f) {
    OverARGBRows<true, true>(rows, opacity);
  } else if (opacity >= 0.0f && opacity <= 1.0f) {
    OverARGBRows<false, true>(rows, opacity);
  } else {
    OverARGBRows<false, false>(rows, opacity);
  }
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace Q_2vuy
HWY_AFTER_NAMESPACE();
