// The vector forms of the blend, compiled once per instruction set.
#include <algorithm>
#include <bit>
#include <cmath>

#include "sdk/QClasses/QPixMap_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/QPixMap_blend_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "sdk/QClasses/QPixMap_lanes.h"

HWY_BEFORE_NAMESPACE();
namespace QPixMapKernels {
namespace HWY_NAMESPACE {

#if QPIXMAP_SCALAR_STANDS_IN

void PlanBlend(BlendPlan& plan, std::size_t pixels) {
  kScalarRowKernels.planBlend(plan, pixels);
}
void Blend(const Rows& dst, const Source& a, const Source& b, const BlendPlan& plan) {
  kScalarRowKernels.blend(dst, a, b, plan);
}

#else

namespace {

/// Whether all sums are within 32 bits.
bool WeightsFit(const BlendPlan& plan) {
  return 255 * (std::fabs(plan.weightA) + std::fabs(plan.weightB)) < 2147483647.0;
}

/// In doubles, for weights whose sums all fit in 32 bits.
void BlendInDoubles(const Rows& dst, const Source& a, double weightA, const Source& b,
                    double weightB) {
  const VF64 wa = hn::Set(DF64(), weightA);
  const VF64 wb = hn::Set(DF64(), weightB);
  const auto sum = [&](VF64 ofA, VF64 ofB) { return hn::Add(hn::Mul(ofA, wa), hn::Mul(ofB, wb)); };
  FromSources(dst, a, b, [&](V8 pixelsA, V8 pixelsB) {
    const V32 pa = Words(pixelsA);
    const V32 pb = Words(pixelsB);
    const V32 b0 = InDoubles(Byte<0>(pa), Byte<0>(pb), sum);
    const V32 b1 = InDoubles(Byte<1>(pa), Byte<1>(pb), sum);
    const V32 b2 = InDoubles(Byte<2>(pa), Byte<2>(pb), sum);
    const V32 b3 = InDoubles(Byte<3>(pa), Byte<3>(pb), sum);
    const V32 low = hn::Or(Byte<0>(b0), hn::ShiftLeft<8>(Byte<0>(b1)));
    const V32 high = hn::Or(hn::ShiftLeft<16>(Byte<0>(b2)), hn::ShiftLeft<24>(b3));
    return Bytes(hn::Or(low, high));
  });
}

#if HWY_TARGET <= HWY_AVX3

/// Whether a sum is never negative, and has 12 bits at the most.
bool WeightsAreSmall(const BlendPlan& plan) {
  return plan.weightA >= 0 && plan.weightB >= 0 && 255 * (plan.weightA + plan.weightB) < 4096;
}

/// A byte of each 64-bit lane, 0 to 5, in its own place, with junk around it. Merged into a 1.0 in
/// that place of the mantissa it makes f = 1 + byte * unit, and f * w - w, rounded once, is byte *
/// w rounded, in that unit. Added to 1.0, truncating, a sum has its whole part in the same place.
template <int byte>
HWY_INLINE __m512i BlendInPlace(__m512i a, __m512d weightA, __m512i b, __m512d weightB) {
  constexpr __mmask64 kPlace = 0x0101010101010101ull << byte;
  const __m512d one = _mm512_set1_pd(1.0);
  const auto product = [&](__m512i bytes, __m512d weight) HWY_ATTR {
    const __m512i merged = _mm512_mask_mov_epi8(_mm512_castpd_si512(one), kPlace, bytes);
    return _mm512_fmsub_pd(_mm512_castsi512_pd(merged), weight, weight);
  };
  const __m512d sum = _mm512_add_pd(product(a, weightA), product(b, weightB));
  return _mm512_castpd_si512(_mm512_add_round_pd(sum, one, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC));
}

/// In doubles, for small weights.
void BlendWithoutConversions(const Rows& dst, const Source& a, double weightA, const Source& b,
                             double weightB) {
  const __m512d wa = _mm512_set1_pd(weightA);
  const __m512d wb = _mm512_set1_pd(weightB);
  constexpr __mmask64 kByte1 = 0x0202020202020202;
  FromSources(dst, a, b, [&](V8 pixelsA, V8 pixelsB) {
    const __m512i pa = pixelsA.raw;
    const __m512i pb = pixelsB.raw;
    __m512i low = BlendInPlace<0>(pa, wa, pb, wb);
    low = _mm512_mask_mov_epi8(low, kByte1, BlendInPlace<1>(pa, wa, pb, wb));
    low = _mm512_mask_mov_epi8(low, kByte1 << 1, BlendInPlace<2>(pa, wa, pb, wb));
    low = _mm512_mask_mov_epi8(low, kByte1 << 2, BlendInPlace<3>(pa, wa, pb, wb));
    low = _mm512_mask_mov_epi8(low, kByte1 << 3, BlendInPlace<4>(pa, wa, pb, wb));
    low = _mm512_mask_mov_epi8(low, kByte1 << 4, BlendInPlace<5>(pa, wa, pb, wb));
    // The last two have no room beside the exponent: they are moved down, and up again.
    const __m512i highA = _mm512_srli_epi64(pa, 16);
    const __m512i highB = _mm512_srli_epi64(pb, 16);
    const __m512i high = _mm512_mask_mov_epi8(BlendInPlace<4>(highA, wa, highB, wb), kByte1 << 4,
                                              BlendInPlace<5>(highA, wa, highB, wb));
    return V8{_mm512_mask_mov_epi8(low, kByte1 << 5 | kByte1 << 6, _mm512_slli_epi64(high, 16))};
  });
}

#endif

#if HWY_TARGET == HWY_AVX3_DL

/// The rule's sum for all bytes a and b, taken apart into the whole part of a's product, that of
/// b's, and whether the rest carries. For most weights the bytes a that carry with one b are among
/// those that carry with another, or all of them and more: then each a has a rank, and each b a
/// number that overflows 8 bits when added to the ranks that carry with it. False when there are no
/// such ranks, or when a product is negative, so that truncation is not rounding down.
bool MakeTables(BlendPlan& plan) {
  const double weightA = plan.weightA;
  const double weightB = plan.weightB;
  if (!(weightA >= 0 && weightB >= 0)) return false;
  alignas(64) double productA[256];
  alignas(64) double nextA[256];
  double mostOfA = 0;
  for (std::size_t v = 0; v < 256; ++v) {
    productA[v] = static_cast<double>(v) * weightA;
    const double whole = std::floor(productA[v]);
    nextA[v] = whole + 1;
    plan.wholeA[v] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(whole));
    mostOfA = std::max(mostOfA, productA[v] - whole);
  }
  double productB[256];
  double wholeOfB[256];
  for (std::size_t v = 0; v < 256; ++v) {
    productB[v] = static_cast<double>(v) * weightB;
    wholeOfB[v] = std::floor(productB[v]);
    // Two fractions next to 1 could sum to 2.
    if (productB[v] - wholeOfB[v] + mostOfA > 1.99) return false;
  }

  // How many bytes carry with each one.
  alignas(64) std::int64_t carriesOfA[256];
  std::size_t carriesOfB[256] = {};
  for (std::size_t a = 0; a < 256; a += 8) {
    const __m512d product = _mm512_load_pd(productA + a);
    const __m512d next = _mm512_load_pd(nextA + a);
    __m512i count = _mm512_setzero_si512();
    for (std::size_t b = 0; b < 256; ++b) {
      const __m512d sum = _mm512_add_pd(product, _mm512_set1_pd(productB[b]));
      const __m512d limit = _mm512_add_pd(next, _mm512_set1_pd(wholeOfB[b]));
      const __mmask8 carry = _mm512_cmp_pd_mask(sum, limit, _CMP_GE_OQ);
      count = _mm512_mask_add_epi64(count, carry, count, _mm512_set1_epi64(1));
      carriesOfB[b] += static_cast<std::size_t>(std::popcount(static_cast<unsigned>(carry)));
    }
    _mm512_store_si512(carriesOfA + a, count);
  }

  // The sets are nested if, and only if, one side's counts follow from the other's: n bytes a carry
  // with at least k bytes b when n is the kth largest count of the b.
  std::size_t withCount[257] = {};  // bytes a of each count
  std::size_t bOfAtLeast[258] = {};
  for (const std::int64_t count : carriesOfA) ++withCount[count];
  for (const std::size_t count : carriesOfB) ++bOfAtLeast[count];
  for (std::size_t n = 256; n > 0; --n) bOfAtLeast[n - 1] += bOfAtLeast[n];
  std::size_t rank = 0;
  std::size_t ranks[257];
  for (std::size_t count = 0; count <= 256; ++count) {
    ranks[count] = rank;
    for (std::size_t i = 0; i < withCount[count]; ++i, ++rank) {
      // The byte a of this rank carries with every b that carries with 256 - rank bytes or more.
      if (bOfAtLeast[256 - rank] != count) return false;
    }
  }
  for (std::size_t v = 0; v < 256; ++v) {
    plan.rankA[v] = static_cast<std::uint8_t>(ranks[carriesOfA[v]]++);
    const std::uint32_t always = carriesOfB[v] == 256 ? 1 : 0;
    plan.wholeB[v] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(wholeOfB[v]) + always);
    plan.carryB[v] = static_cast<std::uint8_t>(carriesOfB[v]);
  }
  return true;
}

/// 256 bytes in registers.
class ByteTable {
 public:
  explicit HWY_INLINE ByteTable(const std::uint8_t* table)
      : part0_(_mm512_load_si512(table)),
        part1_(_mm512_load_si512(table + 64)),
        part2_(_mm512_load_si512(table + 128)),
        part3_(_mm512_load_si512(table + 192)) {}

  HWY_INLINE __m512i operator()(__m512i index, __mmask64 above) const {
    return _mm512_mask_blend_epi8(above, _mm512_permutex2var_epi8(part0_, index, part1_),
                                  _mm512_permutex2var_epi8(part2_, index, part3_));
  }

 private:
  __m512i part0_, part1_, part2_, part3_;
};

void BlendByTables(const Rows& dst, const Source& a, const Source& b, const BlendPlan& tables) {
  const ByteTable wholeA(tables.wholeA);
  const ByteTable rankA(tables.rankA);
  const ByteTable wholeB(tables.wholeB);
  const ByteTable carryB(tables.carryB);
  FromSources(dst, a, b, [&](V8 pixelsA, V8 pixelsB) {
    const __mmask64 aboveA = _mm512_movepi8_mask(pixelsA.raw);
    const __mmask64 aboveB = _mm512_movepi8_mask(pixelsB.raw);
    const __m512i rank = rankA(pixelsA.raw, aboveA);
    const __m512i reached = _mm512_add_epi8(rank, carryB(pixelsB.raw, aboveB));
    const __m512i whole = _mm512_add_epi8(wholeA(pixelsA.raw, aboveA), wholeB(pixelsB.raw, aboveB));
    const __mmask64 carry = _mm512_cmplt_epu8_mask(reached, rank);
    return V8{_mm512_mask_sub_epi8(whole, carry, whole, _mm512_set1_epi8(-1))};
  });
}

/// From as many pixels on tables pay for their making.
constexpr std::size_t kPixelsForTables = 1 << 15;

#endif

}  // namespace

void PlanBlend(BlendPlan& plan, std::size_t pixels) {
#if HWY_TARGET == HWY_AVX3_DL
  plan.byTables = pixels >= kPixelsForTables && WeightsFit(plan) && MakeTables(plan);
#else
  (void)plan;
  (void)pixels;
#endif
}

void Blend(const Rows& dst, const Source& a, const Source& b, const BlendPlan& plan) {
  if (!WeightsFit(plan)) {
    kScalarRowKernels.blend(dst, a, b, plan);
    return;
  }
#if HWY_TARGET == HWY_AVX3_DL
  if (plan.byTables) {
    BlendByTables(dst, a, b, plan);
    return;
  }
#endif
#if HWY_TARGET <= HWY_AVX3
  if (WeightsAreSmall(plan)) {
    BlendWithoutConversions(dst, a, plan.weightA, b, plan.weightB);
    return;
  }
#endif
  BlendInDoubles(dst, a, plan.weightA, b, plan.weightB);
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace QPixMapKernels
HWY_AFTER_NAMESPACE();
