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
constexpr std::int32_t kBlack = -16 * kLuma;  ///< the luma term of Y itself starts there

/// The chroma term of a channel, for Cb and Y as they are.
template <std::int32_t factor, std::int32_t offset>
HWY_INLINE VI ChromaTerm(VI cb) {
  const VI product = hn::Mul(cb, hn::Set(DI(), factor));
  const VI sum = hn::Add(product, hn::Set(DI(), offset - 128 * factor + 16 * kBlack));
  return hn::ShiftRight<4>(sum);
}

/// One pixel of each pair: R in the upper half of `r`'s lanes, and so on.
struct Terms {
  VI r;
  VI g;
  VI b;
};

HWY_INLINE Terms PixelTerms(VI luma, VI cg, VI cb) {
  const VI y = hn::Mul(luma, hn::Set(DI(), kLuma));
  return {hn::Add(y, hn::Set(DI(), kBlack + 2404000 / 16)), hn::Add(y, cg), hn::Add(y, cb)};
}

/// The upper halves of `upper`'s lanes in their places, those of `lower`'s in the lower ones.
HWY_INLINE V16 UpperHalves(VI upper, VI lower) {
  return hn::OddEven(hn::BitCast(D16(), upper),
                     hn::BitCast(D16(), hn::ShiftRight<16>(hn::BitCast(D32(), lower))));
}

#if HWY_ARCH_X86

/// A, R in the low half of the result's block, G, B in the upper one.
HWY_INLINE V16 PixelBytes(VI luma, VI cg, VI cb) {
  const Terms terms = PixelTerms(luma, cg, cb);
  // Below video black the rule's unsigned luma overflows: black.
  const auto visible = hn::Gt(luma, hn::Set(DI(), 15));
  const V16 gb = hn::BitCast(
      D16(), hn::IfThenElseZero(visible, hn::BitCast(DI(), UpperHalves(terms.b, terms.g))));
  const V16 r = hn::BitCast(D16(), hn::IfThenElseZero(visible, terms.r));
  const V16 ar = hn::OddEven(r, hn::Set(D16(), 255));
  return hn::BitCast(D16(), PackBlocks(hn::BitCast(DI16(), ar), hn::BitCast(DI16(), gb)));
}

#if HWY_TARGET <= HWY_AVX3
/// Indices of 16-bit lanes in the first (0..31) and second (32..63) pixels' bytes, for the first
/// half of a step's pixels; the second half's are 16 more.
struct alignas(64) PixelOrder {
  std::uint16_t lanes[32];
};
constexpr PixelOrder MakePixelOrder(unsigned half) {
  PixelOrder order{};
  for (unsigned i = 0; i < 32; ++i) {
    const unsigned pixel = i / 2 + 16 * half;
    const unsigned pair = pixel / 2;
    const unsigned block = pair / 4;
    order.lanes[i] = static_cast<std::uint16_t>(pixel % 2 * 32 + block * 8 + i % 2 * 4 + pair % 4);
  }
  return order;
}
constexpr PixelOrder kFirstHalf = MakePixelOrder(0);
constexpr PixelOrder kSecondHalf = MakePixelOrder(1);
#endif

HWY_INLINE void StepToARGB(const std::uint8_t* src, std::uint8_t* dst) {
#if HWY_TARGET == HWY_AVX2
  // Blocks of two neighbouring units each, so that the halves of what is interleaved within blocks
  // are the halves of the step.
  const V32 pair{_mm256_permute4x64_epi64(LoadWords(src).raw, 0xD8)};
#else
  const V32 pair = LoadWords(src);
#endif
  const VI chroma = hn::BitCast(DI(), Byte<0>(pair));
  const VI cg = ChromaTerm<-223609, -34520>(chroma);
  const VI cb = ChromaTerm<2215014, 524250>(chroma);
  const V16 first = PixelBytes(hn::BitCast(DI(), Byte<1>(pair)), cg, cb);
  const V16 second = PixelBytes(hn::BitCast(DI(), Byte<3>(pair)), cg, cb);
  const std::size_t half = hn::Lanes(D8());
#if HWY_TARGET <= HWY_AVX3
  const auto pixels = [&](const PixelOrder& order) {
    const V16 lanes = hn::Load(D16(), order.lanes);
    return V16{_mm512_permutex2var_epi16(first.raw, lanes.raw, second.raw)};
  };
  StoreWords(pixels(kFirstHalf), dst);
  StoreWords(pixels(kSecondHalf), dst + half);
#else
  const V16 ar = hn::InterleaveLower(D16(), first, second);
  const V16 gb = hn::InterleaveUpper(D16(), first, second);
  StoreWords(hn::InterleaveLower(D16(), ar, gb), dst);
  StoreWords(hn::InterleaveUpper(D16(), ar, gb), dst + half);
#endif
}

#else

HWY_INLINE V32 Channel(VI term) {
  const VI value = hn::ShiftRight<16>(term);
  return hn::BitCast(D32(), hn::Min(hn::Max(value, hn::Zero(DI())), hn::Set(DI(), 255)));
}

HWY_INLINE V32 PixelWords(VI luma, VI cg, VI cb) {
  const Terms terms = PixelTerms(luma, cg, cb);
  const V32 colour = Pack(hn::Zero(D32()), Channel(terms.r), Channel(terms.g), Channel(terms.b));
  // Below video black the rule's unsigned luma overflows: black.
  const auto visible = hn::RebindMask(D32(), hn::Gt(luma, hn::Set(DI(), 15)));
  return hn::Or(hn::IfThenElseZero(visible, colour), hn::Set(D32(), 0xFFu));
}

HWY_INLINE void StepToARGB(const std::uint8_t* src, std::uint8_t* dst) {
  const V32 pair = LoadWords(src);
  const VI chroma = hn::BitCast(DI(), Byte<0>(pair));
  const VI cg = ChromaTerm<-223609, -34520>(chroma);
  const VI cb = ChromaTerm<2215014, 524250>(chroma);
  hn::StoreInterleaved2(PixelWords(hn::BitCast(DI(), Byte<1>(pair)), cg, cb),
                        PixelWords(hn::BitCast(DI(), Byte<3>(pair)), cg, cb), D32(),
                        reinterpret_cast<std::uint32_t*>(dst));
}

#endif

HWY_INLINE void ToARGB(const Rows& rows) {
  ForSteps<4, 8, false>(rows, [](const std::uint8_t* src, std::uint8_t* dst, int)
                                  LUMIVANE_INLINE_LAMBDA { StepToARGB(src, dst); });
}

}  // namespace HWY_NAMESPACE
}  // namespace Q_2vuy
HWY_AFTER_NAMESPACE();
#endif

#endif
