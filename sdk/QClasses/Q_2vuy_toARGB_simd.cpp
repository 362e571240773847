// 2vuy to ARGB. The vector forms, compiled once per instruction set.
//
// In integers: with y = Y - 16 and c = Cb - 128 the rule's three channels are
//   R = (1220944 y                + 2404000) >> 20
//   G = (1220944 y -  223609 c    -   34520) >> 20
//   B = (1220944 y + 2215014 c    +  524250) >> 20
// limited to 0..255, for every Y of 16 and above and every Cb. The luma factor is 16 * 76309, so
// the sums may be made of luma and chroma terms that were divided by 16 before: then a channel is
// the upper half of its 32-bit lane.
#include "sdk/QClasses/Q_2vuy_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/Q_2vuy_toARGB_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "sdk/QClasses/Q_2vuy_simd-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Q_2vuy {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128  // The scalar form stands for these.

constexpr std::int32_t kLuma = 76309;
constexpr std::int32_t kBlack = -16 * kLuma;  ///< the luma term of Y itself starts there

/// The chroma term of a channel, for Cb and Y as they are.
template <std::int32_t factor, std::int32_t offset>
HWY_INLINE VI ChromaTerm(VI cb) {
  const VI product = hn::Mul(cb, hn::Set(DI(), factor));
  const VI sum = hn::Add(product, hn::Set(DI(), offset - 128 * factor + 16 * kBlack));
  return hn::ShiftRight<4>(sum);
}

#if HWY_TARGET <= HWY_AVX3
/// Indices of the upper halves of two registers' lanes, in turns.
struct alignas(64) HalfOrder {
  std::int16_t lanes[32];
};
constexpr HalfOrder MakeHalfOrder() {
  HalfOrder order{};
  for (unsigned i = 0; i < 32; ++i) {
    order.lanes[i] = static_cast<std::int16_t>(i | 1 | i % 2 * 32);
  }
  return order;
}
constexpr HalfOrder kUpperHalves = MakeHalfOrder();
#endif

/// Where a pixel's luma is 16 and above. Below that the rule's unsigned luma overflows and leaves
/// black. Luma is the upper byte of its pixel's 16-bit lane.
HWY_INLINE hn::Mask<DI16> Visible(V32 pairs) {
  const V16 words = hn::BitCast(D16(), pairs);
  return hn::RebindMask(DI16(), hn::Gt(words, hn::Set(D16(), 0x0FFF)));
}

/// The upper halves of the lanes, in the order of the pixels; 0 for what is not visible.
HWY_INLINE VI16 Channels(VI first, VI second, hn::Mask<DI16> visible) {
#if HWY_TARGET <= HWY_AVX3
  const VI16 order = hn::Load(DI16(), kUpperHalves.lanes);
  return VI16{_mm512_maskz_permutex2var_epi16(visible.raw, first.raw, order.raw, second.raw)};
#else
  const V32 down = hn::ShiftRight<16>(hn::BitCast(D32(), first));
  return hn::IfThenElseZero(visible,
                            hn::OddEven(hn::BitCast(DI16(), second), hn::BitCast(DI16(), down)));
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
  const auto visible = Visible(pairs);
  const VI factor = hn::Set(DI(), kLuma);
  const VI y0 = hn::Mul(FirstLuma(pairs), factor);
  const VI y1 = hn::Mul(hn::BitCast(DI(), Byte<3>(pairs)), factor);
  const auto channels = [=](VI term) LUMIVANE_INLINE_LAMBDA {
    return Channels(hn::Add(y0, term), hn::Add(y1, term), visible);
  };
  StorePixels(channels(hn::Set(DI(), kBlack + 2404000 / 16)),
              channels(ChromaTerm<-223609, -34520>(chroma)),
              channels(ChromaTerm<2215014, 524250>(chroma)), dst);
}

void ToARGB(const Rows& rows) {
  ForSteps<4, 8, false>(rows, [](const std::uint8_t* src, std::uint8_t* dst, int)
                                  LUMIVANE_INLINE_LAMBDA { StepToARGB(src, dst); });
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace Q_2vuy
HWY_AFTER_NAMESPACE();
