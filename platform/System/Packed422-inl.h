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

#if HWY_TARGET == HWY_AVX3_DL

// LoadPairs gives the pairs of a step in the order in which StorePixels wants their pixels'
// channels, one 16-bit lane each, to write A, R, G, B. Channels are limited to 0..255; A is 255.

/// Where bytes of ARGB come from: of two registers with, in each block of 16 bytes, R then G of
/// eight pixels in the first one, B then A in the second.
struct alignas(64) ByteOrder {
  std::uint8_t bytes[64];
};
constexpr ByteOrder MakeByteOrder(unsigned firstPixel) {
  constexpr unsigned kPlace[4] = {64 + 8, 0, 8, 64};
  ByteOrder order{};
  for (unsigned i = 0; i < 64; ++i) {
    const unsigned pixel = firstPixel + i / 4;
    order.bytes[i] = static_cast<std::uint8_t>(kPlace[i % 4] + pixel / 8 * 16 + pixel % 8);
  }
  return order;
}
constexpr ByteOrder kFirstPixels = MakeByteOrder(0);
constexpr ByteOrder kLastPixels = MakeByteOrder(16);

HWY_INLINE V32 LoadPairs(const std::uint8_t* source) {
  return LoadWords(source);
}

HWY_INLINE void StorePixels(VI16 r, VI16 g, VI16 b, std::uint8_t* destination) {
  const V8 rg = PackBlocks(r, g);
  const V8 ba = PackBlocks(b, hn::Set(DI16(), 255));
  const auto pixels = [&](const ByteOrder& order) LUMIVANE_INLINE_LAMBDA {
    const V8 bytes = hn::Load(D8(), order.bytes);
    return V8{_mm512_permutex2var_epi8(rg.raw, bytes.raw, ba.raw)};
  };
  StoreWords(pixels(kFirstPixels), destination);
  StoreWords(pixels(kLastPixels), destination + 64);
}

#elif HWY_ARCH_X86

/// The pairs with neighbours in blocks of their own, so that interleaving within blocks leaves the
/// first and the last half of the pixels.
HWY_INLINE V32 LoadPairs(const std::uint8_t* source) {
  const V32 pairs = LoadWords(source);
#if HWY_TARGET == HWY_AVX3
  const __m512i order = _mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7);
  return V32{_mm512_permutexvar_epi64(order, pairs.raw)};
#elif HWY_TARGET == HWY_AVX2
  return V32{_mm256_permute4x64_epi64(pairs.raw, 0xD8)};
#else
  return pairs;
#endif
}

HWY_INLINE void StorePixels(VI16 r, VI16 g, VI16 b, std::uint8_t* destination) {
  const V8 ag = PackBlocks(hn::Set(DI16(), 255), g);
  const V8 rb = PackBlocks(r, b);
  const V16 ar = hn::BitCast(D16(), hn::InterleaveLower(D8(), ag, rb));
  const V16 gb = hn::BitCast(D16(), hn::InterleaveUpper(D8(), ag, rb));
  StoreWords(hn::InterleaveLower(D16(), ar, gb), destination);
  StoreWords(hn::InterleaveUpper(D16(), ar, gb), destination + hn::Lanes(D8()));
}

#else

HWY_INLINE V32 LoadPairs(const std::uint8_t* source) {
  return LoadWords(source);
}

HWY_INLINE void StorePixels(VI16 r, VI16 g, VI16 b, std::uint8_t* destination) {
  const auto byte = [](VI16 channel) LUMIVANE_INLINE_LAMBDA {
    const VI16 limited = hn::Min(hn::Max(channel, hn::Zero(DI16())), hn::Set(DI16(), 255));
    return hn::BitCast(D16(), limited);
  };
  const V16 ar = hn::Or(hn::Set(D16(), 255), hn::ShiftLeft<8>(byte(r)));
  const V16 gb = hn::Or(byte(g), hn::ShiftLeft<8>(byte(b)));
  hn::StoreInterleaved2(ar, gb, D16(), reinterpret_cast<std::uint16_t*>(destination));
}

#endif

/// Rows that lie end to end (`tight`) are one long row: nothing is left over where one of them
/// ends, and no loop ends there, which is some hundredths of a small frame's time.
struct JoinedRows {
  int pairs;
  int height;
};
HWY_INLINE JoinedRows Join(int width, int height, bool tight) {
  const int pairs = width / 2 + width % 2;
  if (!tight || pairs <= 0 || height <= 1 || height > (1 << 28) / pairs) return {pairs, height};
  return {pairs * height, 1};
}

/// Calls step(source, destination, pairs) for `vectors * PairsPerStep()` pairs at a time. A row's
/// last pairs, fewer than that, pass through buffers of a whole step; with `reads` the
/// destination's bytes go along.
template <int srcPairBytes, int dstPairBytes, bool reads, int vectors = 1, typename Step>
HWY_INLINE void ForSteps(const PackedRows& rows, const Step& step) {
  const std::ptrdiff_t rowPairs = rows.width / 2 + rows.width % 2;
  const auto [pairs, height] = Join(
      rows.width, rows.height,
      rows.srcRowBytes == srcPairBytes * rowPairs && rows.dstRowBytes == dstPairBytes * rowPairs);
  const int whole = vectors * PairsPerStep();
  for (int y = 0; y < height; ++y) {
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
