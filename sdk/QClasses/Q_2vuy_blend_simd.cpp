// The vector forms of the blends, compiled once per instruction set.
#include <algorithm>
#include <cmath>

#include "sdk/QClasses/Q_2vuy_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/Q_2vuy_blend_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "sdk/QClasses/Q_2vuy_simd-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Q_2vuy {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128  // The scalar form stands for these.

struct Weight {
  VF take;
  VF keep;
};

/// The weights of a step's pixels. A pair's chroma has the mean of its pixels'.
struct Weights {
  Weight first;
  Weight second;
};

HWY_INLINE VF Mix(VF a, VF b, const Weight& weight) {
  return hn::Add(hn::Mul(a, weight.keep), hn::Mul(b, weight.take));
}

HWY_INLINE Weight Sum(const Weight& first, const Weight& second) {
  return {hn::Add(first.take, second.take), hn::Add(first.keep, second.keep)};
}

HWY_INLINE Weight Mean(const Weights& weights) {
  const Weight sum = Sum(weights.first, weights.second);
  const VF half = hn::Set(DF(), 0.5f);
  return {hn::Mul(sum.take, half), hn::Mul(sum.keep, half)};
}

#if HWY_TARGET <= HWY_AVX3

// Bytes become floats without a conversion, merged into a 1.0 as the last or the second last eight
// bits of its mantissa: f = 1 + byte * unit, and f * w - w, rounded once, is byte * w rounded, in
// that unit. Added to 1.0, truncating, a sum has its whole part in the same bits.

constexpr __mmask64 kByte0 = 0x1111111111111111;
constexpr __mmask64 kByte1 = kByte0 << 1;
constexpr __mmask64 kBytes23 = kByte0 << 2 | kByte0 << 3;

/// 1 + byte * 2^-23 for bytes 0 and 2 of each word, 1 + byte * 2^-15 for bytes 1 and 3.
template <int byte>
HWY_INLINE VF OnePlus(const std::uint8_t* words) {
  constexpr __mmask64 kPlace = byte % 2 == 0 ? kByte0 : kByte1;
  const __m512i one = _mm512_castps_si512(_mm512_set1_ps(1.0f));
  if constexpr (byte < 2) {
    return VF{_mm512_castsi512_ps(_mm512_mask_mov_epi8(one, kPlace, LoadWords(words).raw))};
  } else {
    // What is masked out is not read, as are two bytes behind the last word.
    return VF{_mm512_castsi512_ps(_mm512_mask_loadu_epi8(one, kPlace, words + 2))};
  }
}

/// In place 0 or 1 of each word, with junk around it; `scale` is how many times too large the
/// weights are.
template <int byte, int scale>
HWY_INLINE __m512i BlendByte(const std::uint8_t* a, const std::uint8_t* b, const Weight& weight) {
  const VF sum = hn::Add(hn::MulSub(OnePlus<byte>(a), weight.keep, weight.keep),
                         hn::MulSub(OnePlus<byte>(b), weight.take, weight.take));
  return _mm512_castps_si512(
      _mm512_add_round_ps(sum.raw, _mm512_set1_ps(scale), _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC));
}

HWY_INLINE void BlendInRange(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* dst,
                             const Weights& weights) {
  alignas(16) static constexpr std::uint8_t kUp[16] = {0, 0, 0, 1, 0, 0, 4,  5,
                                                       0, 0, 8, 9, 0, 0, 12, 13};
  const Weight chroma = Sum(weights.first, weights.second);
  const __m512i low = _mm512_mask_mov_epi8(BlendByte<0, 2>(a, b, chroma), kByte1,
                                           BlendByte<1, 1>(a, b, weights.first));
  const __m512i high = _mm512_mask_mov_epi8(BlendByte<2, 2>(a, b, chroma), kByte1,
                                            BlendByte<3, 1>(a, b, weights.second));
  const __m512i up = hn::LoadDup128(D8(), kUp).raw;
  StoreWords(V32{_mm512_mask_shuffle_epi8(low, kBytes23, high, up)}, dst);
}

#else

// Bytes are multiplied where they lie in their 32-bit lanes: a factor of 256 or 65536 changes no
// rounding, and what truncation leaves below a byte's place is masked away.

template <int byte>
HWY_INLINE V32 BlendByte(V32 a, V32 b, const Weight& weight) {
  if constexpr (byte == 3) {  // Would be a negative integer in its place.
    return hn::ShiftLeft<24>(ToInt(Mix(Float(Byte<3>(a)), Float(Byte<3>(b)), weight)));
  } else {
    const V32 place = hn::Set(D32(), 0xFFu << (8 * byte));
    const V32 value = ToInt(Mix(Float(hn::And(a, place)), Float(hn::And(b, place)), weight));
    return byte == 0 ? value : hn::And(value, place);
  }
}

HWY_INLINE void BlendInRange(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* dst,
                             const Weights& weights) {
  const V32 wa = LoadWords(a);
  const V32 wb = LoadWords(b);
  const Weight chroma = Mean(weights);
  const V32 low = hn::Or(BlendByte<0>(wa, wb, chroma), BlendByte<1>(wa, wb, weights.first));
  const V32 high = hn::Or(BlendByte<2>(wa, wb, chroma), BlendByte<3>(wa, wb, weights.second));
  StoreWords(hn::Or(low, high), dst);
}

#endif

/// Any weights: negative (and NaN) is 0, then the low byte of what is left.
template <int byte>
HWY_INLINE V32 BlendAnyByte(V32 a, V32 b, const Weight& weight) {
  const VF value = Mix(Float(Byte<byte>(a)), Float(Byte<byte>(b)), weight);
  const auto positive = hn::Gt(value, hn::Zero(DF()));
  const V32 truncated = TruncatedWithinRange(hn::IfThenElseZero(positive, value));
  return hn::ShiftLeft<8 * byte>(hn::And(truncated, hn::Set(D32(), 0xFFu)));
}

HWY_INLINE void BlendAny(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* dst,
                         const Weights& weights) {
  const V32 wa = LoadWords(a);
  const V32 wb = LoadWords(b);
  const Weight chroma = Mean(weights);
  const V32 low = hn::Or(BlendAnyByte<0>(wa, wb, chroma), BlendAnyByte<1>(wa, wb, weights.first));
  const V32 high = hn::Or(BlendAnyByte<2>(wa, wb, chroma), BlendAnyByte<3>(wa, wb, weights.second));
  StoreWords(hn::Or(low, high), dst);
}

/// What is known of the weights.
enum class Range {
  kAny,
  kInside,     ///< 0 to 1, so that every value is a byte and nothing is negative
  kBelowFull,  ///< the same, and no level's weight comes to more than 1
};

/// One level a pixel.
struct Mask {
  const std::uint8_t* levels;  ///< or null
  std::ptrdiff_t rowBytes;
  std::uint8_t full;  ///< from here on levels weigh 1, in the range kInside
};

/// Whether nothing but `b` shows in a step.
HWY_INLINE bool IsFull(const std::uint8_t* levels, std::uint8_t full) {
  const hn::Half<D8> d;
  const auto level = hn::LoadU(d, levels);
  return hn::AllTrue(d, hn::Eq(hn::Max(level, hn::Set(d, full)), level));
}

template <Range range>
HWY_INLINE void BlendStep(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* dst,
                          const Weights& weights) {
  if constexpr (range == Range::kAny) {
    BlendAny(a, b, dst, weights);
  } else {
    BlendInRange(a, b, dst, weights);
  }
}

/// Blends `PairsPerStep()` pairs at a time, with weightsOf(levels) of their levels; a row's last
/// ones in buffers of a whole step. Without a mask the levels are null.
template <Range range, typename WeightsOf>
HWY_INLINE void BlendSteps(const BlendRows& rows, const Mask& mask, const WeightsOf& weightsOf) {
  const std::ptrdiff_t rowPairs = rows.width / 2 + rows.width % 2;
  const auto tight = [=](std::ptrdiff_t rowBytes) { return rowBytes == 4 * rowPairs; };
  const auto [pairs, height] =
      Join(rows.width, rows.height,
           tight(rows.aRowBytes) && tight(rows.bRowBytes) && tight(rows.dstRowBytes) &&
               (mask.levels == nullptr || tight(2 * mask.rowBytes)));
  const int lanes = PairsPerStep();
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* a = rows.a + y * rows.aRowBytes;
    const std::uint8_t* b = rows.b + y * rows.bRowBytes;
    const std::uint8_t* m = mask.levels == nullptr ? nullptr : mask.levels + y * mask.rowBytes;
    std::uint8_t* dst = rows.dst + y * rows.dstRowBytes;
    int x = 0;
    if (pairs >= lanes) {
      // Weights are made one step ahead, so that no step waits for its own.
      Weights next = weightsOf(m);
      for (; pairs - x >= lanes; x += lanes) {
        const Weights weights = next;
        const int ahead = pairs - x >= 2 * lanes ? x + lanes : x;
        next = weightsOf(m == nullptr ? nullptr : m + 2 * ahead);
        if (range == Range::kInside && m != nullptr && IsFull(m + 2 * x, mask.full)) {
          StoreWords(LoadWords(b + 4 * x), dst + 4 * x);
        } else {
          BlendStep<range>(a + 4 * x, b + 4 * x, dst + 4 * x, weights);
        }
      }
    }
    if (x < pairs) {
      HWY_ALIGN std::uint8_t buffers[4][kLongestVector] = {};
      const std::size_t bytes = static_cast<std::size_t>(4 * (pairs - x));
      std::memcpy(buffers[0], a + 4 * x, bytes);
      std::memcpy(buffers[1], b + 4 * x, bytes);
      if (m != nullptr) std::memcpy(buffers[2], m + 2 * x, bytes / 2);
      BlendStep<range>(buffers[0], buffers[1], buffers[3], weightsOf(buffers[2]));
      std::memcpy(dst + 4 * x, buffers[3], bytes);
    }
  }
}

template <Range range>
HWY_INLINE void BlendRowsBy(const BlendRows& rows, float t) {
  const Weight weight{hn::Set(DF(), t), hn::Set(DF(), 1.0f - t)};
  BlendSteps<range>(rows, Mask{}, [=](const std::uint8_t*) LUMIVANE_INLINE_LAMBDA {
    return Weights{weight, weight};
  });
}

bool IsWithinRange(float t) {
  return t >= 0.0f && t <= 1.0f;
}

void Blend(const BlendRows& rows, float t) {
  if (IsWithinRange(t)) {
    BlendRowsBy<Range::kInside>(rows, t);
  } else {
    BlendRowsBy<Range::kAny>(rows, t);
  }
}

/// Two levels a lane, the first pixel's in the low byte.
HWY_INLINE V32 LoadTwoLevels(const std::uint8_t* levels) {
  const hn::Rebind<std::uint16_t, D32> d16;
  return hn::PromoteTo(D32(), hn::LoadU(d16, reinterpret_cast<const std::uint16_t*>(levels)));
}

/// The levels of a step as fractions of 255, as double precision narrowed has them, times
/// kFractionScale.
struct Fractions {
  VF first;
  VF second;
};

#if HWY_TARGET <= HWY_AVX3

// level / 255 is 0.llll... to base 256, so that the level four times over is 2^32 times as much,
// cut off. The first bit that a float has no place for is the highest of a level's own: it is
// rounded up, whatever follows.
constexpr float kFractionScale = 0x1p32f;

HWY_INLINE VF RoundedUp(__m512i fourfold) {
  return VF{_mm512_cvt_roundepu32_ps(fourfold, _MM_FROUND_TO_POS_INF | _MM_FROUND_NO_EXC)};
}

#if HWY_TARGET == HWY_AVX3_DL
struct alignas(64) LevelOrder {
  std::uint8_t bytes[64];
};
constexpr LevelOrder MakeLevelOrder(unsigned pixel) {
  LevelOrder order{};
  for (unsigned i = 0; i < 64; ++i) order.bytes[i] = static_cast<std::uint8_t>(i / 4 * 2 + pixel);
  return order;
}
constexpr LevelOrder kFirstLevels = MakeLevelOrder(0);
constexpr LevelOrder kSecondLevels = MakeLevelOrder(1);

HWY_INLINE Fractions FractionsOf(const std::uint8_t* levels) {
  const __m512i all =
      _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(levels)));
  const auto fractions = [&](const LevelOrder& order) LUMIVANE_INLINE_LAMBDA {
    return RoundedUp(_mm512_permutexvar_epi8(_mm512_load_si512(order.bytes), all));
  };
  return {fractions(kFirstLevels), fractions(kSecondLevels)};
}
#else
HWY_INLINE Fractions FractionsOf(const std::uint8_t* levels) {
  alignas(16) static constexpr std::uint8_t kFirst[16] = {0, 0, 0, 0, 4,  4,  4,  4,
                                                          8, 8, 8, 8, 12, 12, 12, 12};
  const V8 first = hn::LoadDup128(D8(), kFirst);
  const V8 second = hn::Add(first, hn::Set(D8(), 1));
  const V8 two = hn::BitCast(D8(), LoadTwoLevels(levels));
  return {RoundedUp(hn::TableLookupBytes(two, first).raw),
          RoundedUp(hn::TableLookupBytes(two, second).raw)};
}
#endif

#else

constexpr float kFractionScale = 1.0f;

HWY_INLINE Fractions FractionsOf(const std::uint8_t* levels) {
  const V32 two = LoadTwoLevels(levels);
  return {ByteFraction(Float(Byte<0>(two))), ByteFraction(Float(hn::ShiftRight<8>(two)))};
}

#endif

template <Range range>
HWY_INLINE Weight MaskWeight(VF fraction, float t) {
  const DF df;
  const VF one = hn::Set(df, 1.0f);
  const VF w = hn::Mul(hn::Set(df, 2.0f * t / kFractionScale),
                       hn::Add(fraction, hn::Set(df, t * kFractionScale)));
  if constexpr (range == Range::kAny) {
    const auto full = hn::Gt(w, one);
    return {hn::IfThenElse(full, one, w), hn::IfThenZeroElse(full, hn::Sub(one, w))};
  } else {
    const VF take = range == Range::kBelowFull ? w : hn::Min(w, one);
    return {take, hn::Sub(one, take)};
  }
}

template <Range range>
HWY_INLINE void BlendMaskedBy(const BlendRows& rows, float t, const Mask& mask) {
  BlendSteps<range>(rows, mask, [=](const std::uint8_t* levels) LUMIVANE_INLINE_LAMBDA {
    const Fractions fractions = FractionsOf(levels);
    return Weights{MaskWeight<range>(fractions.first, t), MaskWeight<range>(fractions.second, t)};
  });
}

/// The weight of the highest level, limited or not.
float HighestWeight(float t) {
  return 2.0f * t * (1.0f + t);
}

/// A level from which on all weigh 1, for a `t` with which the highest one does: where
/// 2 t (level / 255 + t) is more than 1 by what the level before would lack, so that rounding makes
/// no difference.
std::uint8_t FullLevel(float t) {
  const double first = 255.0 * (0.5 / static_cast<double>(t) - static_cast<double>(t));
  return static_cast<std::uint8_t>(std::clamp(std::floor(first) + 2.0, 0.0, 255.0));
}

void BlendMasked(const BlendRows& rows, float t, const std::uint8_t* mask,
                 std::ptrdiff_t maskRowBytes) {
  if (!IsWithinRange(t)) {
    BlendMaskedBy<Range::kAny>(rows, t, {mask, maskRowBytes, 0});
  } else if (HighestWeight(t) > 1.0f) {
    BlendMaskedBy<Range::kInside>(rows, t, {mask, maskRowBytes, FullLevel(t)});
  } else {
    BlendMaskedBy<Range::kBelowFull>(rows, t, {mask, maskRowBytes, 0});
  }
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace Q_2vuy
HWY_AFTER_NAMESPACE();
