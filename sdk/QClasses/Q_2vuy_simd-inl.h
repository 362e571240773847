// What the vector forms of the 4:2:2 kernels share. Included once per instruction set, inside no
// namespace, after <hwy/highway.h>. One 32-bit lane is one pair of 4:2:2 pixels or one ARGB pixel.
#if defined(SDK_QCLASSES_Q_2VUY_SIMD_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef SDK_QCLASSES_Q_2VUY_SIMD_INL_H_
#undef SDK_QCLASSES_Q_2VUY_SIMD_INL_H_
#else
#define SDK_QCLASSES_Q_2VUY_SIMD_INL_H_
#endif

#include <hwy/highway.h>

#include <cstring>

#include "sdk/QClasses/Q_2vuy_kernels.h"

// For lambdas that are called in more than one place of a loop.
#undef LUMIVANE_INLINE_LAMBDA
#define LUMIVANE_INLINE_LAMBDA __attribute__((always_inline))

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128  // The scalar form stands for these.
HWY_BEFORE_NAMESPACE();
namespace Q_2vuy {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D8 = hn::ScalableTag<std::uint8_t>;
using D16 = hn::ScalableTag<std::uint16_t>;
using D32 = hn::ScalableTag<std::uint32_t>;
using DI16 = hn::ScalableTag<std::int16_t>;
using DI = hn::ScalableTag<std::int32_t>;
using DF = hn::ScalableTag<float>;
using DF64 = hn::ScalableTag<double>;
using V8 = hn::Vec<D8>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;
using VI16 = hn::Vec<DI16>;
using VI = hn::Vec<DI>;
using VF = hn::Vec<DF>;
using VF64 = hn::Vec<DF64>;

HWY_INLINE int PairsPerStep() {
  return static_cast<int>(hn::Lanes(D32()));
}

/// The longest vector of the fixed-size instruction sets, and a limit for those without one.
constexpr std::size_t kLongestVector = HWY_MAX_BYTES < 256 ? HWY_MAX_BYTES : 256;

HWY_INLINE V32 LoadWords(const std::uint8_t* bytes) {
  return hn::LoadU(D32(), reinterpret_cast<const std::uint32_t*>(bytes));
}
template <typename V>
HWY_INLINE void StoreWords(V words, std::uint8_t* bytes) {
  hn::StoreU(hn::BitCast(D32(), words), D32(), reinterpret_cast<std::uint32_t*>(bytes));
}

/// Byte `index` (in memory order) of each word.
template <int index>
HWY_INLINE V32 Byte(V32 word) {
  if constexpr (index == 0) {
    return hn::And(word, hn::Set(D32(), 0xFFu));
  } else if constexpr (index == 3) {
    return hn::ShiftRight<24>(word);
  } else {
    return hn::And(hn::ShiftRight<8 * index>(word), hn::Set(D32(), 0xFFu));
  }
}
HWY_INLINE VF Float(V32 value) {
  return hn::ConvertTo(DF(), hn::BitCast(DI(), value));
}
HWY_INLINE V32 Pack(V32 b0, V32 b1, V32 b2, V32 b3) {
  return hn::Or(hn::Or(b0, hn::ShiftLeft<8>(b1)),
                hn::Or(hn::ShiftLeft<16>(b2), hn::ShiftLeft<24>(b3)));
}

#if HWY_ARCH_X86
/// 16-bit lanes to bytes, limited to 0..255: in each block of 16 bytes `a`'s first, then `b`'s.
HWY_INLINE V8 PackBlocks(V16 a, V16 b) {
#if HWY_TARGET <= HWY_AVX3
  return V8{_mm512_packus_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_AVX2
  return V8{_mm256_packus_epi16(a.raw, b.raw)};
#else
  return V8{_mm_packus_epi16(a.raw, b.raw)};
#endif
}

#endif

HWY_INLINE V32 ToInt(VF value) {
  return hn::BitCast(D32(), hn::ConvertTo(DI(), value));
}

/// Truncated; 0 beyond the 32-bit range and for NaN, as the low byte of the most negative integer.
HWY_INLINE V32 TruncatedWithinRange(VF value) {
  const auto inRange =
      hn::And(hn::Lt(value, hn::Set(DF(), 0x1p31f)), hn::Ge(value, hn::Set(DF(), -0x1p31f)));
  return ToInt(hn::IfThenElseZero(inRange, value));
}

/// `operation` on the lanes widened to double; each half narrowed back.
template <typename Operation>
HWY_INLINE VF InDouble(VF value, const Operation& operation) {
  const hn::Half<DF> half;
  const VF64 lower = operation(hn::PromoteTo(DF64(), hn::LowerHalf(half, value)));
  const VF64 upper = operation(hn::PromoteTo(DF64(), hn::UpperHalf(half, value)));
  return hn::Combine(DF(), hn::DemoteTo(half, upper), hn::DemoteTo(half, lower));
}

#if HWY_NATIVE_FMA
/// byte / 255 for bytes, as double precision narrowed has it: the factor in two parts.
HWY_INLINE VF ByteFraction(VF byte) {
  constexpr float kHigh = static_cast<float>(1 / 255.0);
  constexpr float kLow = static_cast<float>(1 / 255.0 - static_cast<double>(kHigh));
  return hn::MulAdd(byte, hn::Set(DF(), kHigh), hn::Mul(byte, hn::Set(DF(), kLow)));
}
#endif

/// Calls step(source, destination, pairs) for `vectors * PairsPerStep()` pairs at a time. A row's
/// last pairs, fewer than that, pass through buffers of a whole step; with `reads` the
/// destination's bytes go along.
template <int srcPairBytes, int dstPairBytes, bool reads, int vectors = 1, typename Step>
HWY_INLINE void ForSteps(const Rows& rows, const Step& step) {
  const int pairs = rows.width / 2 + rows.width % 2;
  const int whole = vectors * PairsPerStep();
  for (int y = 0; y < rows.height; ++y) {
    const std::uint8_t* src = rows.src + y * rows.srcRowBytes;
    std::uint8_t* dst = rows.dst + y * rows.dstRowBytes;
    int left = pairs;
    for (; left >= whole; left -= whole) {
      step(src, dst, whole);
      src += srcPairBytes * whole;
      dst += dstPairBytes * whole;
    }
    if (left > 0) {
      HWY_ALIGN std::uint8_t from[vectors * kLongestVector / 4 * srcPairBytes];
      HWY_ALIGN std::uint8_t to[vectors * kLongestVector / 4 * dstPairBytes];
      const std::size_t written = static_cast<std::size_t>(left * dstPairBytes);
      std::memset(from, 0, sizeof(from));
      std::memcpy(from, src, static_cast<std::size_t>(left * srcPairBytes));
      if (reads) {
        std::memset(to, 0, sizeof(to));
        std::memcpy(to, dst, written);
      }
      step(from, to, left);
      std::memcpy(dst, to, written);
    }
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace Q_2vuy
HWY_AFTER_NAMESPACE();
#endif

#endif
