// The vector forms of the resizing kernels: a part of XFrameKernels_simd.cpp, included once per
// instruction set.
//
// Bilinear: the rule's horizontal sums (a u + b weight) of a source row depend on that row and the
// columns alone. They are kept for the last two source rows, so that each row's are made once and a
// destination row is one vertical step. A block is one vector's worth of pixels; the sums of its
// four bytes lie in four vectors, byte i scaled by 256^i (byte 3 by 1): a power of 2 changes no
// rounding, and saves moving the byte down and the truncated one up again.
#if defined(XFRAME_KERNELS_RESIZE_SIMD_H) == defined(HWY_TARGET_TOGGLE)
#ifdef XFRAME_KERNELS_RESIZE_SIMD_H
#undef XFRAME_KERNELS_RESIZE_SIMD_H
#else
#define XFRAME_KERNELS_RESIZE_SIMD_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "sdk/CoreX/XFrameKernels.h"

HWY_BEFORE_NAMESPACE();
namespace XFrameKernels {
namespace HWY_NAMESPACE {
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

namespace hn = hwy::HWY_NAMESPACE;

using D32 = hn::CappedTag<std::uint32_t, kColumnPadding>;
using DI = hn::RebindToSigned<D32>;
using DF = hn::RebindToFloat<D32>;
using V32 = hn::Vec<D32>;
using VF = hn::Vec<DF>;

// ---- Fetching pixels of a source row by their number

/// Whether a vector of pixels can be picked from several that lie in a row. Elsewhere one by one is
/// as fast.
#if HWY_TARGET == HWY_AVX2 || (HWY_ARCH_X86_64 && HWY_TARGET <= HWY_AVX3)
#define XFRAME_PICKS 1
#else
#define XFRAME_PICKS 0
#endif

#if XFRAME_PICKS
/// Lane i is lane index[i] of lo and hi, one after the other.
HWY_INLINE V32 Pick(V32 lo, V32 hi, V32 index) {
#if HWY_TARGET == HWY_AVX2
  const __m256i fromLo = _mm256_permutevar8x32_epi32(lo.raw, index.raw);
  const __m256i fromHi = _mm256_permutevar8x32_epi32(hi.raw, index.raw);
  // Bit 3 of the index, moved to the sign, chooses.
  const __m256 second = _mm256_castsi256_ps(_mm256_slli_epi32(index.raw, 28));
  return V32{_mm256_castps_si256(
      _mm256_blendv_ps(_mm256_castsi256_ps(fromLo), _mm256_castsi256_ps(fromHi), second))};
#else
  return V32{_mm512_permutex2var_epi32(lo.raw, index.raw, hi.raw)};
#endif
}
HWY_INLINE V32 Pick(V32 from, V32 index) {
#if HWY_TARGET == HWY_AVX2
  return V32{_mm256_permutevar8x32_epi32(from.raw, index.raw)};
#else
  return V32{_mm512_permutexvar_epi32(index.raw, from.raw)};
#endif
}
#endif

HWY_INLINE V32 LoadPixels(const std::uint8_t* row, std::size_t pixel) {
  const D32 d;
  const hn::Repartition<std::uint8_t, D32> d8;
  return hn::BitCast(d, hn::LoadU(d8, row + 4 * pixel));
}

/// How many vectors of neighbouring pixels hold all that any block of columns takes, its right taps
/// `right` pixels further: 1 or 2; 0 when they are more, or the row is shorter than that.
inline int VectorsSpanned(const std::int32_t* left, int columns, int right, int sourceWidth) {
#if XFRAME_PICKS
  const int lanes = static_cast<int>(hn::Lanes(D32()));
  int span = 0;
  for (int x = 0; x < columns; x += lanes) {
    span = std::max(span, left[x + lanes - 1] - left[x] + right + 1);
  }
  const int vectors = (span + lanes - 1) / lanes;
  return vectors <= 2 && vectors * lanes <= sourceWidth ? vectors : 0;
#else
  (void)left, (void)columns, (void)right, (void)sourceWidth;
  return 0;
#endif
}

#if XFRAME_PICKS
/// The pixels around a block's taps, from `vectors` loads.
template <int vectors>
struct Neighbours {
  V32 lo;
  V32 hi;
  std::int32_t base;

  HWY_INLINE Neighbours(const std::uint8_t* row, std::int32_t first, int sourceWidth) {
    const int lanes = static_cast<int>(hn::Lanes(D32()));
    // Near the row's end from further left, so as to stay inside.
    base = std::min(first, sourceWidth - vectors * lanes);
    lo = LoadPixels(row, static_cast<std::size_t>(base));
    hi = vectors == 2 ? LoadPixels(row, static_cast<std::size_t>(base + lanes)) : lo;
  }
  HWY_INLINE V32 operator[](V32 index) const {
    return vectors == 2 ? Pick(lo, hi, index) : Pick(lo, index);
  }
};

/// Left and right taps of each block of a row.
template <int vectors>
class PickTaps {
 public:
  HWY_INLINE PickTaps(const BilinearRun& run, const std::uint8_t* row)
      : left_(run.left), row_(row), width_(run.sourceWidth) {}

  HWY_INLINE void operator()(int x, V32& a, V32& b) const {
    const DI d;
    const Neighbours<vectors> pixels(row_, left_[x], width_);
    const auto index = hn::Sub(hn::LoadU(d, left_ + x), hn::Set(d, pixels.base));
    const auto last = hn::Set(d, width_ - 1 - pixels.base);
    const auto right = hn::Min(hn::Add(index, hn::Set(d, 1)), last);
    a = pixels[hn::BitCast(D32(), index)];
    b = pixels[hn::BitCast(D32(), right)];
  }

 private:
  const std::int32_t* left_;
  const std::uint8_t* row_;
  std::int32_t width_;
};
#endif

/// The same from any distance: all pairs of the row first, one by one.
class GatherTaps {
 public:
  GatherTaps(const BilinearRun& run, const std::uint8_t* row) {
    const int last = run.sourceWidth - 1;
    const int columns = hwy::RoundUpTo(run.columns, kColumnPadding);
    int x = 0;
    for (; x < columns && run.left[x] < last; ++x) {
      std::memcpy(pairs_ + 2 * x, row + 4 * static_cast<std::size_t>(run.left[x]), 8);
    }
    for (; x < columns; ++x) {
      std::memcpy(pairs_ + 2 * x, row + 4 * static_cast<std::size_t>(run.left[x]), 4);
      pairs_[2 * x + 1] = pairs_[2 * x];
    }
  }

  HWY_INLINE void operator()(int x, V32& a, V32& b) const {
    const D32 d;
    const auto lo = hn::LoadU(d, pairs_ + 2 * x);
    const auto hi = hn::LoadU(d, pairs_ + 2 * x + hn::Lanes(d));
    a = hn::ConcatEven(d, hi, lo);
    b = hn::ConcatOdd(d, hi, lo);
  }

 private:
  alignas(64) std::uint32_t pairs_[2 * kMostColumns];
};

// ---- Bilinear

/// Byte i of each pixel as a float, scaled.
template <int i>
HWY_INLINE VF ByteOf(V32 pixels) {
  const auto byte =
      i == 3 ? hn::ShiftRight<24>(pixels) : hn::And(pixels, hn::Set(D32(), 0xFFu << (8 * (i % 3))));
  return hn::ConvertTo(DF(), hn::BitCast(DI(), byte));
}

/// Truncates; within the range of integers, which needs no care for what lies beyond.
HWY_INLINE V32 Truncate(VF value) {
#if HWY_TARGET == HWY_AVX2
  return V32{_mm256_cvttps_epi32(value.raw)};
#elif HWY_ARCH_X86_64 && HWY_TARGET <= HWY_AVX3
  return V32{_mm512_cvttps_epi32(value.raw)};
#elif HWY_ARCH_X86_64
  return V32{_mm_cvttps_epi32(value.raw)};
#else
  return hn::BitCast(D32(), hn::ConvertTo(DI(), value));
#endif
}

/// The pixels whose scaled bytes these are.
HWY_INLINE V32 Join(VF b0, VF b1, VF b2, VF b3) {
  const D32 d;
  const V32 b01 =
      hn::OrAnd(hn::And(Truncate(b0), hn::Set(d, 0xFFu)), Truncate(b1), hn::Set(d, 0xFF00u));
  const V32 b012 = hn::OrAnd(b01, Truncate(b2), hn::Set(d, 0xFF0000u));
  return hn::Or(b012, hn::ShiftLeft<24>(Truncate(b3)));
}

/// A vector of pixels, or as many as the run still has.
HWY_INLINE void StorePixels(V32 pixels, std::uint8_t* dst, int x, int columns) {
  const D32 d;
  const hn::Repartition<std::uint8_t, D32> d8;
  const int lanes = static_cast<int>(hn::Lanes(d));
  if (HWY_LIKELY(x + lanes <= columns)) {
    hn::StoreU(hn::BitCast(d8, pixels), d8, dst + 4 * static_cast<std::size_t>(x));
  } else {
    alignas(64) std::uint32_t rest[kColumnPadding];
    hn::Store(pixels, d, rest);
    std::memcpy(dst + 4 * static_cast<std::size_t>(x), rest,
                4 * static_cast<std::size_t>(columns - x));
  }
}

/// The horizontal sums of a source row.
template <class Taps>
HWY_NOINLINE void SumRow(const BilinearRun& run, const std::uint8_t* row, float* sums) {
  const DF d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const Taps taps(run, row);
  for (int x = 0; x < run.columns; x += lanes) {
    V32 a;
    V32 b;
    taps(x, a, b);
    const VF w = hn::LoadU(d, run.weight + x);
    const VF u = hn::Sub(hn::Set(d, 1.0f), w);
    const auto sum = [&](VF left, VF right)
                         HWY_ATTR { return hn::Add(hn::Mul(left, u), hn::Mul(right, w)); };
    float* const out = sums + 4 * x;
    hn::Store(sum(ByteOf<0>(a), ByteOf<0>(b)), d, out);
    hn::Store(sum(ByteOf<1>(a), ByteOf<1>(b)), d, out + lanes);
    hn::Store(sum(ByteOf<2>(a), ByteOf<2>(b)), d, out + 2 * lanes);
    hn::Store(sum(ByteOf<3>(a), ByteOf<3>(b)), d, out + 3 * lanes);
  }
}

/// A destination row from two rows of sums.
HWY_NOINLINE void BlendRow(const BilinearRun& run, const float* upper, const float* lower,
                           float lowerWeight, std::uint8_t* dst) {
  const DF d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const VF up = hn::Set(d, 1.0f - lowerWeight);
  const VF down = hn::Set(d, lowerWeight);
  for (int x = 0; x < run.columns; x += lanes) {
    const auto at = [&](int i) HWY_ATTR {
      const int offset = 4 * x + i * lanes;
      return hn::Add(hn::Mul(hn::Load(d, upper + offset), up),
                     hn::Mul(hn::Load(d, lower + offset), down));
    };
    StorePixels(Join(at(0), at(1), at(2), at(3)), dst, x, run.columns);
  }
}

/// The same where the lower row has no weight: s * 1 + t * 0 = s.
HWY_NOINLINE void TruncateRow(const BilinearRun& run, const float* sums, std::uint8_t* dst) {
  const DF d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  for (int x = 0; x < run.columns; x += lanes) {
    const auto at = [&](int i) HWY_ATTR { return hn::Load(d, sums + 4 * x + i * lanes); };
    StorePixels(Join(at(0), at(1), at(2), at(3)), dst, x, run.columns);
  }
}

/// The sums of the last two source rows.
template <class Taps>
class SumsOfRows {
 public:
  explicit SumsOfRows(const BilinearRun& run) : run_(run) {
    slots_[0] = run.cache;
    slots_[1] = run.cache + 4 * hwy::RoundUpTo(run.columns, kColumnPadding);
  }

  /// Does not throw `kept`'s sums away.
  const float* Of(int row, int kept) {
    for (int slot = 0; slot < 2; ++slot) {
      if (rows_[slot] == row) return slots_[slot];
    }
    const int slot = rows_[0] == kept ? 1 : 0;
    rows_[slot] = row;
    SumRow<Taps>(run_, run_.src[row], slots_[slot]);
    return slots_[slot];
  }

 private:
  const BilinearRun& run_;
  float* slots_[2];
  int rows_[2] = {-1, -1};
};

template <class Taps>
void BilinearBy(const BilinearRun& run) {
  SumsOfRows<Taps> sums(run);
  float fy = run.fy;
  for (int y = 0; y < run.rows; ++y, fy += run.ystep) {
    const int y0 = std::min(run.sourceHeight - 1, static_cast<int>(fy));
    const int y1 = y0 + 1 < run.sourceHeight ? y0 + 1 : y0;
    const float weight = fy - static_cast<float>(y0);
    const float* const upper = sums.Of(y0, y1);
    if (weight == 0) {
      TruncateRow(run, upper, run.dst[y]);
    } else {
      BlendRow(run, upper, sums.Of(y1, y0), weight, run.dst[y]);
    }
  }
}

void Bilinear(const BilinearRun& run) {
  switch (VectorsSpanned(run.left, run.columns, 1, run.sourceWidth)) {
#if XFRAME_PICKS
    case 1:
      return BilinearBy<PickTaps<1>>(run);
    case 2:
      return BilinearBy<PickTaps<2>>(run);
#endif
    default:
      return BilinearBy<GatherTaps>(run);
  }
}

// ---- Nearest

#if XFRAME_PICKS
template <int vectors>
void PickRow(const NearestRun& run, const std::uint8_t* from, std::uint8_t* to) {
  const DI d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  for (int x = 0; x < run.columns; x += lanes) {
    const Neighbours<vectors> pixels(from, run.column[x], run.sourceWidth);
    const auto index = hn::Sub(hn::LoadU(d, run.column + x), hn::Set(d, pixels.base));
    StorePixels(pixels[hn::BitCast(D32(), index)], to, x, run.columns);
  }
}
#endif

void CopyRow(const NearestRun& run, const std::uint8_t* from, std::uint8_t* to) {
  const auto copy = [&](int x) {
    std::memcpy(to + 4 * static_cast<std::size_t>(x),
                from + 4 * static_cast<std::size_t>(run.column[x]), 4);
  };
  int x = 0;
  for (; x + 4 <= run.columns; x += 4) {
    copy(x);
    copy(x + 1);
    copy(x + 2);
    copy(x + 3);
  }
  for (; x < run.columns; ++x) copy(x);
}

void Nearest(const NearestRun& run) {
  [[maybe_unused]] const int vectors = VectorsSpanned(run.column, run.columns, 0, run.sourceWidth);
  int made = -1;
  double fy = run.fy;
  for (int y = 0; y < run.rows; ++y, fy += run.ystep) {
    const int y0 = std::min(run.sourceHeight - 1, static_cast<int>(fy));
    std::uint8_t* const to = run.dst[y];
    if (y0 == made) {
      // Made for the row above already.
      std::memcpy(to, run.dst[y - 1], 4 * static_cast<std::size_t>(run.columns));
      continue;
    }
    made = y0;
#if XFRAME_PICKS
    if (vectors == 1) {
      PickRow<1>(run, run.src[y0], to);
      continue;
    }
    if (vectors == 2) {
      PickRow<2>(run, run.src[y0], to);
      continue;
    }
#endif
    CopyRow(run, run.src[y0], to);
  }
}

#undef XFRAME_PICKS
#endif
}  // namespace HWY_NAMESPACE
}  // namespace XFrameKernels
HWY_AFTER_NAMESPACE();
#endif
