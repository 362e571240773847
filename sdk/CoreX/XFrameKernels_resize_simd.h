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

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "sdk/CoreX/XFrameKernels.h"

HWY_BEFORE_NAMESPACE();
namespace XFrameKernels {
namespace HWY_NAMESPACE {
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

namespace hn = hwy::HWY_NAMESPACE;

/// Whether a vector of pixels can be picked from several that lie in a row. Elsewhere one by one is
/// as fast.
#if HWY_TARGET == HWY_AVX2 || (HWY_ARCH_X86_64 && HWY_TARGET <= HWY_AVX3)
#define XFRAME_PICKS 1
#else
#define XFRAME_PICKS 0
#endif

using D32 = hn::CappedTag<std::uint32_t, XFRAME_PICKS ? kColumnPadding : 4>;
using DI = hn::RebindToSigned<D32>;
using DF = hn::RebindToFloat<D32>;
using V32 = hn::Vec<D32>;
using VF = hn::Vec<DF>;

// ---- Fetching pixels of a source row by their number

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
/// `right` pixels further: 1, 2 or 4; 0 when they are more, or the row is shorter than that.
inline int VectorsSpanned(const std::int32_t* left, int columns, int right, int sourceWidth) {
#if XFRAME_PICKS
  const int lanes = static_cast<int>(hn::Lanes(D32()));
  int span = 0;
  for (int x = 0; x < columns; x += lanes) {
    span = std::max(span, left[x + lanes - 1] - left[x] + right + 1);
  }
  const int vectors = span <= lanes ? 1 : span <= 2 * lanes ? 2 : 4;
  return span <= 4 * lanes && vectors * lanes <= sourceWidth ? vectors : 0;
#else
  (void)left, (void)columns, (void)right, (void)sourceWidth;
  return 0;
#endif
}

#if XFRAME_PICKS
/// The pixels around a block's taps, from `vectors` loads.
template <int vectors>
class Neighbours {
 public:
  HWY_INLINE Neighbours(const std::uint8_t* row, std::int32_t base) {
    const std::size_t lanes = hn::Lanes(D32());
    const auto first = static_cast<std::size_t>(base);
    v0_ = LoadPixels(row, first);
    if (vectors > 1) v1_ = LoadPixels(row, first + lanes);
    if (vectors > 2) v2_ = LoadPixels(row, first + 2 * lanes);
    if (vectors > 2) v3_ = LoadPixels(row, first + 3 * lanes);
  }

  /// Near the row's end from further left, so as to stay inside.
  static HWY_INLINE std::int32_t Base(std::int32_t left, int sourceWidth) {
    return std::min(left, sourceWidth - vectors * static_cast<int>(hn::Lanes(D32())));
  }

  HWY_INLINE V32 operator[](V32 index) const {
    if (vectors == 1) return Pick(v0_, index);
    const V32 lower = Pick(v0_, v1_, index);
    if (vectors == 2) return lower;
    const DI d;
    const auto inUpper =
        hn::Gt(hn::BitCast(d, index), hn::Set(d, 2 * static_cast<std::int32_t>(hn::Lanes(d)) - 1));
    return hn::IfThenElse(hn::RebindMask(D32(), inUpper), Pick(v2_, v3_, index), lower);
  }

 private:
  V32 v0_;
  V32 v1_;
  V32 v2_;
  V32 v3_;
};

/// Where the taps of a run's blocks are among their neighbours.
template <int vectors>
struct PickedColumns {
  explicit PickedColumns(const BilinearRun& run) {
    const int lanes = static_cast<int>(hn::Lanes(D32()));
    for (int x = 0; x < run.columns; x += lanes) {
      const std::int32_t first = Neighbours<vectors>::Base(run.left[x], run.sourceWidth);
      base[x / lanes] = first;
      for (int i = x; i < x + lanes; ++i) {
        left[i] = run.left[i] - first;
        right[i] = std::min(run.left[i] + 1, run.sourceWidth - 1) - first;
      }
    }
  }

  std::int32_t base[kMostColumns / 4];
  alignas(64) std::int32_t left[kMostColumns];
  alignas(64) std::int32_t right[kMostColumns];
};

/// Left and right taps of each block of a row.
template <int vectors>
class PickTaps {
 public:
  using Columns = PickedColumns<vectors>;

  HWY_INLINE PickTaps(const BilinearRun& /*run*/, const Columns& columns, const std::uint8_t* row,
                      const std::uint8_t* ahead)
      : columns_(columns), row_(row), ahead_(ahead) {}

  HWY_INLINE void operator()(int x, V32& a, V32& b) const {
    const DI d;
    const int block = x / static_cast<int>(hn::Lanes(d));
    const Neighbours<vectors> pixels(row_, columns_.base[block]);
    for (int i = 0; i < vectors; ++i) {
      hwy::Prefetch(ahead_ + 4 * (columns_.base[block] + i * static_cast<int>(hn::Lanes(d))));
    }
    a = pixels[hn::BitCast(D32(), hn::Load(d, columns_.left + x))];
    b = pixels[hn::BitCast(D32(), hn::Load(d, columns_.right + x))];
  }

 private:
  const Columns& columns_;
  const std::uint8_t* row_;
  const std::uint8_t* ahead_;
};
#endif

/// Columns whose taps lie anywhere.
struct ScatteredColumns {
  explicit ScatteredColumns(const BilinearRun& run)
      : count(hwy::RoundUpTo(run.columns, kColumnPadding)) {
    const std::int32_t* const end = run.left + count;
    paired = static_cast<int>(std::lower_bound(run.left, end, run.sourceWidth - 1) - run.left);
  }
  int count;
  int paired;  ///< columns before the first one on the last pixel, which has no right neighbour
};

HWY_INLINE void CopyPair(std::uint32_t* pair, const std::uint8_t* row, std::int32_t left,
                         bool paired) {
  const std::uint8_t* const from = row + 4 * static_cast<std::size_t>(left);
  if (paired) {
    std::memcpy(pair, from, 8);
  } else {
    std::memcpy(pair, from, 4);
    pair[1] = pair[0];
  }
}

#if XFRAME_PICKS
/// Left and right taps from any distance: all pairs of the row first, one by one.
class GatherTaps {
 public:
  using Columns = ScatteredColumns;

  GatherTaps(const BilinearRun& run, const Columns& columns, const std::uint8_t* row,
             const std::uint8_t* ahead) {
    const std::int32_t* const left = run.left;
    const int paired = columns.paired;
    const int count = columns.count;
    int x = 0;
    for (; x + 8 <= paired; x += 8) {
      hwy::Prefetch(ahead + 4 * static_cast<std::size_t>(left[x]));
      hwy::Prefetch(ahead + 4 * static_cast<std::size_t>(left[x + 4]));
      for (int i = x; i < x + 8; ++i) CopyPair(pairs_ + 2 * i, row, left[i], true);
    }
    for (; x < count; ++x) CopyPair(pairs_ + 2 * x, row, left[x], x < paired);
  }

  HWY_INLINE void operator()(int x, V32& a, V32& b) const {
    const D32 d;
    const auto lo = hn::Load(d, pairs_ + 2 * x);
    const auto hi = hn::Load(d, pairs_ + 2 * x + hn::Lanes(d));
    a = hn::ConcatEven(d, hi, lo);
    b = hn::ConcatOdd(d, hi, lo);
  }

 private:
  alignas(64) std::uint32_t pairs_[2 * kMostColumns];
};
#else
/// Left and right taps from any distance, for vectors of four pixels.
class GatherTaps {
 public:
  using Columns = ScatteredColumns;

  HWY_INLINE GatherTaps(const BilinearRun& run, const Columns& columns, const std::uint8_t* row,
                        const std::uint8_t* ahead)
      : left_(run.left), row_(row), ahead_(ahead), paired_(columns.paired) {}

  HWY_INLINE void operator()(int x, V32& a, V32& b) const {
    const D32 d;
    hwy::Prefetch(ahead_ + 4 * static_cast<std::size_t>(left_[x]));
    V32 lo;
    V32 hi;
    if (HWY_LIKELY(x + 4 <= paired_)) {
      lo = hn::Combine(d, Pair(x + 1), Pair(x));
      hi = hn::Combine(d, Pair(x + 3), Pair(x + 2));
    } else {
      alignas(16) std::uint32_t pairs[8];
      for (int i = 0; i < 4; ++i) CopyPair(pairs + 2 * i, row_, left_[x + i], x + i < paired_);
      lo = hn::Load(d, pairs);
      hi = hn::Load(d, pairs + 4);
    }
    a = hn::ConcatEven(d, hi, lo);
    b = hn::ConcatOdd(d, hi, lo);
  }

 private:
  HWY_INLINE hn::Vec<hn::Half<D32>> Pair(int x) const {
    const hn::Half<D32> d;
    const hn::Repartition<std::uint8_t, decltype(d)> d8;
    return hn::BitCast(d, hn::LoadU(d8, row_ + 4 * static_cast<std::size_t>(left_[x])));
  }

  const std::int32_t* left_;
  const std::uint8_t* row_;
  const std::uint8_t* ahead_;
  int paired_;
};
#endif

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

/// The scaled sums of a block.
struct Sums {
  VF b0;
  VF b1;
  VF b2;
  VF b3;
};

/// The pixels that they truncate to.
HWY_INLINE V32 Join(const Sums& sums) {
  const D32 d;
  const V32 b0 = hn::And(Truncate(sums.b0), hn::Set(d, 0xFFu));
  const V32 b01 = hn::OrAnd(b0, Truncate(sums.b1), hn::Set(d, 0xFF00u));
  const V32 b012 = hn::OrAnd(b01, Truncate(sums.b2), hn::Set(d, 0xFF0000u));
  return hn::Or(b012, hn::ShiftLeft<24>(Truncate(sums.b3)));
}

/// A vector of pixels, or as many as the run still has.
HWY_INLINE void StorePixels(V32 pixels, std::uint8_t* dst, int x, int columns, bool streams) {
  const D32 d;
  const hn::Repartition<std::uint8_t, D32> d8;
  const int lanes = static_cast<int>(hn::Lanes(d));
  std::uint8_t* const to = dst + 4 * static_cast<std::size_t>(x);
  if (HWY_LIKELY(x + lanes <= columns)) {
    if (streams) {
      hn::Stream(hn::BitCast(d8, pixels), d8, to);
    } else {
      hn::StoreU(hn::BitCast(d8, pixels), d8, to);
    }
  } else {
    alignas(64) std::uint32_t rest[kColumnPadding];
    hn::Store(pixels, d, rest);
    std::memcpy(to, rest, 4 * static_cast<std::size_t>(columns - x));
  }
}

/// A row's sums as they were kept.
class KeptSums {
 public:
  explicit KeptSums(const float* sums) : sums_(sums) {}
  HWY_INLINE Sums operator()(int x) const {
    const DF d;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const float* const at = sums_ + 4 * x;
    return {hn::Load(d, at), hn::Load(d, at + lanes), hn::Load(d, at + 2 * lanes),
            hn::Load(d, at + 3 * lanes)};
  }

 private:
  const float* sums_;
};

/// A row's sums from its pixels; kept for other rows if `keeps`.
template <class Taps, bool keeps>
class NewSums {
 public:
  HWY_INLINE NewSums(const BilinearRun& run, const typename Taps::Columns& columns, int row,
                     int ahead, float* kept)
      : taps_(run, columns, run.src[row], run.src[std::min(ahead, run.sourceHeight - 1)]),
        weight_(run.weight),
        kept_(kept) {}

  HWY_INLINE Sums operator()(int x) const {
    const DF d;
    V32 a;
    V32 b;
    taps_(x, a, b);
    const VF w = hn::LoadU(d, weight_ + x);
    const VF u = hn::Sub(hn::Set(d, 1.0f), w);
    const auto sum = [&](VF left, VF right)
                         HWY_ATTR { return hn::Add(hn::Mul(left, u), hn::Mul(right, w)); };
    const Sums sums = {sum(ByteOf<0>(a), ByteOf<0>(b)), sum(ByteOf<1>(a), ByteOf<1>(b)),
                       sum(ByteOf<2>(a), ByteOf<2>(b)), sum(ByteOf<3>(a), ByteOf<3>(b))};
    if (keeps) {
      const int lanes = static_cast<int>(hn::Lanes(d));
      float* const out = kept_ + 4 * x;
      hn::Store(sums.b0, d, out);
      hn::Store(sums.b1, d, out + lanes);
      hn::Store(sums.b2, d, out + 2 * lanes);
      hn::Store(sums.b3, d, out + 3 * lanes);
    }
    return sums;
  }

 private:
  const Taps taps_;
  const float* weight_;
  float* kept_;
};

/// A destination row from the sums of two.
template <class Upper, class Lower>
HWY_INLINE void BlendRow(const BilinearRun& run, const Upper& upper, const Lower& lower,
                         float lowerWeight, std::uint8_t* dst) {
  const int columns = run.columns;
  const bool streams = run.streams;
  const DF d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const VF up = hn::Set(d, 1.0f - lowerWeight);
  const VF down = hn::Set(d, lowerWeight);
  const auto blend = [&](VF top, VF bottom)
                         HWY_ATTR { return hn::Add(hn::Mul(top, up), hn::Mul(bottom, down)); };
  for (int x = 0; x < columns; x += lanes) {
    const Sums t = upper(x);
    const Sums b = lower(x);
    StorePixels(Join({blend(t.b0, b.b0), blend(t.b1, b.b1), blend(t.b2, b.b2), blend(t.b3, b.b3)}),
                dst, x, columns, streams);
  }
}

/// The same where the lower row has no weight: s * 1 + t * 0 = s.
template <class Upper>
HWY_INLINE void TruncateRow(const BilinearRun& run, const Upper& upper, std::uint8_t* dst) {
  const int columns = run.columns;
  const bool streams = run.streams;
  const int lanes = static_cast<int>(hn::Lanes(DF()));
  for (int x = 0; x < columns; x += lanes) StorePixels(Join(upper(x)), dst, x, columns, streams);
}

/// The rows of a run, by the sums of the last two source rows.
template <class Taps>
class BilinearRows {
 public:
  explicit BilinearRows(const BilinearRun& run) : run_(run), columns_(run) {
    slots_[0] = run.cache;
    slots_[1] = run.cache + 4 * hwy::RoundUpTo(run.columns, kColumnPadding);
  }

  void Make() {
    float fy = run_.fy;
    for (int y = 0; y < run_.rows; ++y) {
      const int upper = RowAt(fy);
      const int lower = std::min(upper + 1, run_.sourceHeight - 1);
      const float weight = fy - static_cast<float>(upper);
      fy += run_.ystep;
      const int nextUpper = y + 1 < run_.rows ? RowAt(fy) : run_.sourceHeight;
      if (weight == 0) {
        MakeFromOne(upper, nextUpper == upper, nextUpper, run_.dst[y]);
      } else {
        MakeFromTwo(upper, lower, weight, nextUpper, run_.dst[y]);
      }
    }
  }

 private:
  using Keeping = NewSums<Taps, true>;
  using Passing = NewSums<Taps, false>;

  int RowAt(float fy) const { return std::min(run_.sourceHeight - 1, static_cast<int>(fy)); }

  void MakeFromOne(int row, bool again, int nextUpper, std::uint8_t* dst) {
    if (again) Keep(row, row, nextUpper);
    const float* const kept = Kept(row);
    if (kept != nullptr) {
      TruncateRow(run_, KeptSums(kept), dst);
    } else {
      TruncateRow(run_, Passing(run_, columns_, row, nextUpper, nullptr), dst);
    }
  }

  /// `nextUpper` is the row that the next destination row begins with.
  void MakeFromTwo(int upper, int lower, float weight, int nextUpper, std::uint8_t* dst) {
    if (nextUpper == upper || upper == lower) Keep(upper, lower, nextUpper + 1);
    const float* const keptUpper = Kept(upper);
    const float* const keptLower = Kept(lower);
    if (keptUpper != nullptr && keptLower != nullptr) {
      BlendRow(run_, KeptSums(keptUpper), KeptSums(keptLower), weight, dst);
    } else if (keptUpper != nullptr) {
      const Keeping sums(run_, columns_, lower, lower + 1, SlotFor(lower, upper));
      BlendRow(run_, KeptSums(keptUpper), sums, weight, dst);
    } else if (keptLower != nullptr) {
      const Passing sums(run_, columns_, upper, nextUpper, nullptr);
      BlendRow(run_, sums, KeptSums(keptLower), weight, dst);
    } else if (nextUpper == lower) {
      const Passing top(run_, columns_, upper, nextUpper, nullptr);
      const Keeping bottom(run_, columns_, lower, nextUpper + 1, SlotFor(lower, lower));
      BlendRow(run_, top, bottom, weight, dst);
    } else {
      const Passing top(run_, columns_, upper, nextUpper, nullptr);
      const Passing bottom(run_, columns_, lower, nextUpper + 1, nullptr);
      BlendRow(run_, top, bottom, weight, dst);
    }
  }

  const float* Kept(int row) const {
    return rows_[0] == row ? slots_[0] : rows_[1] == row ? slots_[1] : nullptr;
  }
  /// Where to keep the sums of `row`; not where those of `other` are.
  float* SlotFor(int row, int other) {
    const int slot = rows_[0] == other ? 1 : 0;
    rows_[slot] = row;
    return slots_[slot];
  }
  void Keep(int row, int other, int ahead) {
    if (Kept(row) != nullptr) return;
    const Keeping sums(run_, columns_, row, ahead, SlotFor(row, other));
    const int lanes = static_cast<int>(hn::Lanes(DF()));
    for (int x = 0; x < run_.columns; x += lanes) sums(x);
  }

  const BilinearRun& run_;
  const typename Taps::Columns columns_;
  float* slots_[2];
  int rows_[2] = {-1, -1};
};

void BilinearByTaps(const BilinearRun& run) {
  switch (VectorsSpanned(run.left, run.columns, 1, run.sourceWidth)) {
#if XFRAME_PICKS
    case 1:
      return BilinearRows<PickTaps<1>>(run).Make();
    case 2:
      return BilinearRows<PickTaps<2>>(run).Make();
    case 4:
      return BilinearRows<PickTaps<4>>(run).Make();
#endif
    default:
      return BilinearRows<GatherTaps>(run).Make();
  }
}

void Bilinear(const BilinearRun& run) {
  BilinearByTaps(run);
  if (run.streams) hwy::FlushStream();
}

// ---- Nearest

#if XFRAME_PICKS
template <int vectors>
void PickRow(const NearestRun& run, const std::uint8_t* from, std::uint8_t* to) {
  const DI d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const std::int32_t* const column = run.column;
  const int columns = run.columns;
  const int width = run.sourceWidth;
  for (int x = 0; x < columns; x += lanes) {
    const std::int32_t base = Neighbours<vectors>::Base(column[x], width);
    const Neighbours<vectors> pixels(from, base);
    const auto index = hn::Sub(hn::LoadU(d, column + x), hn::Set(d, base));
    StorePixels(pixels[hn::BitCast(D32(), index)], to, x, columns, run.streams);
  }
}
#endif

/// Pixels one by one, two to a store.
void CopyPixels(const NearestRun& run, const std::uint8_t* from, std::uint8_t* to) {
  const std::int32_t* const column = run.column;
  const int columns = run.columns;
  const auto pixel = [&](int x) {
    std::uint32_t word;
    std::memcpy(&word, from + 4 * static_cast<std::size_t>(column[x]), 4);
    return std::uint64_t{word};
  };
  const auto copyTwo = [&](int x) {
    const std::uint64_t two = pixel(x) | pixel(x + 1) << 32;
    std::memcpy(to + 4 * static_cast<std::size_t>(x), &two, 8);
  };
  int x = 0;
  for (; x + 8 <= columns; x += 8) {
    copyTwo(x);
    copyTwo(x + 2);
    copyTwo(x + 4);
    copyTwo(x + 6);
  }
  for (; x < columns; ++x) {
    std::memcpy(to + 4 * static_cast<std::size_t>(x),
                from + 4 * static_cast<std::size_t>(column[x]), 4);
  }
}

/// A row that has just been made, once more. (The library's copy starts too slowly for one row.)
void RepeatRow(const std::uint8_t* from, std::uint8_t* to, std::size_t bytes) {
  const hn::ScalableTag<std::uint8_t> d;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t i = 0;
  for (; i + 2 * lanes <= bytes; i += 2 * lanes) {
    const auto first = hn::LoadU(d, from + i);
    const auto second = hn::LoadU(d, from + i + lanes);
    hn::StoreU(first, d, to + i);
    hn::StoreU(second, d, to + i + lanes);
  }
  std::memcpy(to + i, from + i, bytes - i);
}

void Nearest(const NearestRun& run) {
  [[maybe_unused]] const int vectors = VectorsSpanned(run.column, run.columns, 0, run.sourceWidth);
  int made = -1;
  double fy = run.fy;
  for (int y = 0; y < run.rows; ++y, fy += run.ystep) {
    const int y0 = std::min(run.sourceHeight - 1, static_cast<int>(fy));
    std::uint8_t* const to = run.dst[y];
    // Made for the row above already; what went past the cache is not read again.
    if (y0 == made && !(run.streams && vectors != 0)) {
      RepeatRow(run.dst[y - 1], to, 4 * static_cast<std::size_t>(run.columns));
      continue;
    }
    made = y0;
    const std::uint8_t* const from = run.src[y0];
    switch (vectors) {
#if XFRAME_PICKS
      case 1:
        PickRow<1>(run, from, to);
        break;
      case 2:
        PickRow<2>(run, from, to);
        break;
      case 4:
        PickRow<4>(run, from, to);
        break;
#endif
      default:
        CopyPixels(run, from, to);
    }
  }
  if (run.streams) hwy::FlushStream();
}

#undef XFRAME_PICKS
#endif
}  // namespace HWY_NAMESPACE
}  // namespace XFrameKernels
HWY_AFTER_NAMESPACE();
#endif
