// 2vuy to ARGB. Included once per instruction set by Q_2vuy_conversion_simd.cpp.
//
// In integers: with y = Y - 16 and c = Cb - 128 the rule's three channels are
//   R = (1220944 y                + 2404000) >> 20
//   G = (1220944 y -  223609 c    -   34520) >> 20
//   B = (1220944 y + 2215014 c    +  524250) >> 20
// limited to 0..255, for every Y of 16 and above and every Cb. The luma factor is 16 * 76309, so
// the sums may be made of luma and chroma terms that were divided by 16 before: then a channel is
// the upper half of its 32-bit lane.
#if defined(SDK_QCLASSES_Q_2VUY_TOARGB_SIMD_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef SDK_QCLASSES_Q_2VUY_TOARGB_SIMD_INL_H_
#undef SDK_QCLASSES_Q_2VUY_TOARGB_SIMD_INL_H_
#else
#define SDK_QCLASSES_Q_2VUY_TOARGB_SIMD_INL_H_
#endif

#include "sdk/QClasses/Q_2vuy_simd-inl.h"

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
HWY_BEFORE_NAMESPACE();
namespace Q_2vuy {
namespace HWY_NAMESPACE {

constexpr std::int32_t kLuma = 76309;
constexpr std::int32_t kBlack = -16 * kLuma;    ///< the luma term of Y itself starts there
constexpr std::int32_t kBlackest = -(1 << 30);  ///< a luma term that nothing makes visible

/// The chroma term of a channel, for Cb and Y as they are.
template <std::int32_t factor, std::int32_t offset>
HWY_INLINE VI ChromaTerm(VI cb) {
  const VI product = hn::Mul(cb, hn::Set(DI(), factor));
  const VI sum = hn::Add(product, hn::Set(DI(), offset - 128 * factor + 16 * kBlack));
  return hn::ShiftRight<4>(sum);
}

/// The luma term. Below video black the rule's unsigned luma overflows: black, whatever is added.
HWY_INLINE VI LumaTerm(VI y) {
  const VI factor = hn::Set(DI(), kLuma);
#if HWY_TARGET <= HWY_AVX3
  const __mmask16 visible = _mm512_cmpgt_epi32_mask(y.raw, _mm512_set1_epi32(15));
  return VI{_mm512_mask_mullo_epi32(_mm512_set1_epi32(kBlackest), visible, y.raw, factor.raw)};
#else
  const auto hidden = hn::VecFromMask(DI(), hn::Lt(y, hn::Set(DI(), 16)));
  return hn::Or(hn::Mul(y, factor), hn::And(hidden, hn::Set(DI(), kBlackest)));
#endif
}

/// The upper halves of the lanes, in the order of the pixels.
HWY_INLINE VI16 Channels(VI first, VI second) {
#if HWY_TARGET <= HWY_AVX3
  constexpr __mmask64 kLowerHalves = 0x3333333333333333;
  const __m512i down = _mm512_set4_epi32(0x0F0E0F0E, 0x0B0A0B0A, 0x07060706, 0x03020302);
  return VI16{_mm512_mask_shuffle_epi8(second.raw, kLowerHalves, first.raw, down)};
#else
  const V32 down = hn::ShiftRight<16>(hn::BitCast(D32(), first));
  return hn::OddEven(hn::BitCast(DI16(), second), hn::BitCast(DI16(), down));
#endif
}

/// Byte 1 of each word.
HWY_INLINE VI FirstLuma(V32 pairs) {
#if HWY_ARCH_X86
  alignas(16) static constexpr std::uint8_t kOrder[16] = {1, 128, 128, 128, 5,  128, 128, 128,
                                                          9, 128, 128, 128, 13, 128, 128, 128};
  const V8 order = hn::LoadDup128(D8(), kOrder);
  return hn::BitCast(DI(), hn::TableLookupBytesOr0(hn::BitCast(D8(), pairs), order));
#else
  return hn::BitCast(DI(), Byte<1>(pairs));
#endif
}

HWY_INLINE void StepToARGB(const std::uint8_t* src, std::uint8_t* dst) {
  const V32 pairs = LoadPairs(src);
  const VI chroma = hn::BitCast(DI(), Byte<0>(pairs));
  const VI y0 = LumaTerm(FirstLuma(pairs));
  const VI y1 = LumaTerm(hn::BitCast(DI(), Byte<3>(pairs)));
  const auto channels = [=](VI term) LUMIVANE_INLINE_LAMBDA {
    return Channels(hn::Add(y0, term), hn::Add(y1, term));
  };
  StorePixels(channels(hn::Set(DI(), kBlack + 2404000 / 16)),
              channels(ChromaTerm<-223609, -34520>(chroma)),
              channels(ChromaTerm<2215014, 524250>(chroma)), dst);
}

HWY_INLINE void ToARGB(const Rows& rows) {
  ForSteps<4, 8, false>(rows, [](const std::uint8_t* src, std::uint8_t* dst, int)
                                  LUMIVANE_INLINE_LAMBDA { StepToARGB(src, dst); });
}

}  // namespace HWY_NAMESPACE
}  // namespace Q_2vuy
HWY_AFTER_NAMESPACE();
#endif

#endif
