// What the vector kernels of packed 4:2:2 video share: vectors of its pairs, and the walk over the
// rows of a frame. Included once per instruction set, after <hwy/foreach_target.h>. One 32-bit lane
// is one pair of 4:2:2 pixels or one 32-bit pixel.
#if defined(PLATFORM_SYSTEM_PACKED422_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef PLATFORM_SYSTEM_PACKED422_INL_H_
#undef PLATFORM_SYSTEM_PACKED422_INL_H_
#else
#define PLATFORM_SYSTEM_PACKED422_INL_H_
#endif

#include <hwy/highway.h>

#include <cstring>

#include "platform/System/PackedRows.h"

// For lambdas that are called in more than one place of a loop.
#undef LUMIVANE_INLINE_LAMBDA
#define LUMIVANE_INLINE_LAMBDA __attribute__((always_inline))

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128  // The scalar form stands for these.
HWY_BEFORE_NAMESPACE();
namespace packed422 {
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
#if HWY_ARCH_X86
/// 16-bit lanes to bytes, limited to 0..255: in each block of 16 bytes `a`'s first, then `b`'s.
HWY_INLINE V8 PackBlocks(VI16 a, VI16 b) {
#if HWY_TARGET <= HWY_AVX3
  return V8{_mm512_packus_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_AVX2
  return V8{_mm256_packus_epi16(a.raw, b.raw)};
#else
  return V8{_mm_packus_epi16(a.raw, b.raw)};
#endif
}

#endif

/// Calls step(source, destination, pairs) for `vectors * PairsPerStep()` pairs at a time. A row's
/// last pairs, fewer than that, pass through buffers of a whole step; with `reads` the
/// destination's bytes go along.
template <int srcPairBytes, int dstPairBytes, bool reads, int vectors = 1, typename Step>
HWY_INLINE void ForSteps(const PackedRows& rows, const Step& step) {
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
}  // namespace packed422
HWY_AFTER_NAMESPACE();
#endif

#endif
