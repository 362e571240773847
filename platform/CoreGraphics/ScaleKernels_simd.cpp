// The vector forms, compiled once per instruction set by the include below.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/CoreGraphics/ScaleKernels_simd.cpp"
#include <hwy/foreach_target.h>
// clang-format off: must follow foreach_target.h
#include <hwy/highway.h>
// clang-format on

#include "platform/CoreGraphics/ScaleKernels.h"
#include "platform/System/KernelForms.h"

HWY_BEFORE_NAMESPACE();
namespace raster {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

void Columns(float* to, const std::uint8_t* pixels, std::size_t firstColumn, const TapRun* runs,
             std::size_t runCount, const float* weights) {
  kScalarScaleKernels.columns(to, pixels, firstColumn, runs, runCount, weights);
}
void Rows(std::uint8_t* to, const float* const* rows, const float* weights, std::size_t rowCount,
          std::size_t pixels) {
  kScalarScaleKernels.rows(to, rows, weights, rowCount, pixels);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

// `count` floats made of as many bytes.
template <std::size_t count>
HWY_INLINE hn::Vec<hn::FixedTag<float, count>> Floats(const std::uint8_t* bytes) {
  const hn::FixedTag<float, count> df;
  const hn::Rebind<std::int32_t, decltype(df)> di;
  const hn::Rebind<std::uint8_t, decltype(df)> d8;
  return hn::ConvertTo(df, hn::PromoteTo(di, hn::LoadU(d8, bytes)));
}

#if HWY_MAX_BYTES >= 32
constexpr bool kTwoTapsAtOnce = true;

/// Both of two taps in one vector.
HWY_INLINE void TwoTaps(float* to, const std::uint8_t* pixels, const float* weights) {
  const hn::FixedTag<float, 8> d;
  const hn::FixedTag<float, 4> half;
  HWY_ALIGN static constexpr std::int32_t kWhich[8] = {0, 0, 0, 0, 1, 1, 1, 1};
  const auto which = hn::SetTableIndices(d, kWhich);
  const auto both = hn::Mul(Floats<8>(pixels), hn::TableLookupLanes(hn::LoadU(d, weights), which));
  hn::StoreU(hn::Add(hn::LowerHalf(half, both), hn::UpperHalf(half, both)), half, to);
}
#else
constexpr bool kTwoTapsAtOnce = false;

HWY_INLINE void TwoTaps(float*, const std::uint8_t*, const float*) {}
#endif

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3

/// Two taps of each of two neighbouring pixels.
HWY_INLINE void TwoTapsTwice(float* to, const std::uint8_t* left, const std::uint8_t* right,
                             const float* weights) {
  const __m512i which = _mm512_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3);
  const __m128i bytes =
      _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(left)),
                         _mm_loadl_epi64(reinterpret_cast<const __m128i*>(right)));
  const __m512 taps = _mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(bytes));
  const __m512 weight = _mm512_permutexvar_ps(which, _mm512_castps128_ps512(_mm_loadu_ps(weights)));
  const __m512 products = _mm512_mul_ps(taps, weight);
  // First taps to the lower half, second ones to the upper.
  const __m512 sorted = _mm512_shuffle_f32x4(products, products, _MM_SHUFFLE(3, 1, 2, 0));
  _mm256_storeu_ps(
      to, _mm256_add_ps(_mm512_castps512_ps256(sorted), _mm512_extractf32x8_ps(sorted, 1)));
}

/// Four taps in one vector, summed one after the other.
HWY_INLINE void FourTaps(float* to, const std::uint8_t* pixels, const float* weights) {
  const __m512i which = _mm512_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3);
  const __m512 taps = _mm512_cvtepi32_ps(
      _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels))));
  const __m512 weight = _mm512_permutexvar_ps(which, _mm512_castps128_ps512(_mm_loadu_ps(weights)));
  const __m512 products = _mm512_mul_ps(taps, weight);
  const __m128 two =
      _mm_add_ps(_mm512_castps512_ps128(products), _mm512_extractf32x4_ps(products, 1));
  const __m128 three = _mm_add_ps(two, _mm512_extractf32x4_ps(products, 2));
  _mm_storeu_ps(to, _mm_add_ps(three, _mm512_extractf32x4_ps(products, 3)));
}

#endif

void Columns(float* to, const std::uint8_t* pixels, std::size_t firstColumn, const TapRun* runs,
             std::size_t runCount, const float* weights) {
  const hn::FixedTag<float, 4> d;
  for (std::size_t k = 0; k < runCount; ++k, to += 4) {
    const TapRun& run = runs[k];
    const float* weight = weights + run.offset;
    const std::uint8_t* pixel = pixels + 4 * (run.first - firstColumn);
    if (kTwoTapsAtOnce && run.count == 2) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
      if (k + 1 < runCount && runs[k + 1].count == 2) {
        TwoTapsTwice(to, pixel, pixels + 4 * (runs[k + 1].first - firstColumn), weight);
        ++k;
        to += 4;
        continue;
      }
#endif
      TwoTaps(to, pixel, weight);
      continue;
    }
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
    if (run.count == 4) {
      FourTaps(to, pixel, weight);
      continue;
    }
#endif
    auto sum = hn::Zero(d);
    for (std::size_t i = 0; i < run.count; ++i) {
      sum = hn::Add(sum, hn::Mul(hn::Set(d, weight[i]), Floats<4>(pixel + 4 * i)));
    }
    hn::StoreU(sum, d, to);
  }
}

using DF = hn::ScalableTag<float>;
using DI = hn::Rebind<std::int32_t, DF>;
using D32 = hn::Rebind<std::uint32_t, DF>;
using D8 = hn::Rebind<std::uint8_t, DF>;
using VF = hn::Vec<DF>;

/// All ones in each pixel's first lane.
HWY_INLINE hn::Mask<DF> AlphaLanes() {
  const hn::Repartition<std::uint64_t, DF> d64;
  const auto evenLanes = hn::BitCast(D32(), hn::Set(d64, 0xFFFFFFFFu));
  const auto firstPairs = hn::InterleaveLower(evenLanes, hn::Zero(D32()));
  return hn::RebindMask(DF(), hn::Ne(firstPairs, hn::Zero(D32())));
}

// Values known to lie within a byte, without Highway's care for others.
HWY_INLINE hn::Vec<DI> Truncate(VF v) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
  return hn::Vec<DI>{_mm512_cvttps_epi32(v.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET == HWY_AVX2
  return hn::Vec<DI>{_mm256_cvttps_epi32(v.raw)};
#elif HWY_ARCH_X86
  return hn::Vec<DI>{_mm_cvttps_epi32(v.raw)};
#else
  return hn::ConvertTo(DI(), v);
#endif
}
HWY_INLINE void StoreBytes(hn::Vec<DI> values, std::uint8_t* to) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm512_cvtepi32_epi8(values.raw));
#else
  hn::StoreU(hn::U8FromU32(hn::BitCast(D32(), values)), D8(), to);
#endif
}

HWY_INLINE void StoreRounded(VF sum, hn::Mask<DF> alphaLanes, std::uint8_t* to) {
  const DF d;
  const VF most = hn::Set(d, 255.0F);
  const VF half = hn::Set(d, 0.5F);
  const VF positive = hn::Max(sum, hn::Zero(d));
  const auto alpha = Truncate(hn::Add(hn::Min(positive, most), half));
  const VF limit = hn::IfThenElse(alphaLanes, most, hn::Broadcast<0>(hn::ConvertTo(d, alpha)));
  StoreBytes(Truncate(hn::Add(hn::Min(positive, limit), half)), to);
}

/// `rowCount` rows, or as many as `more` says when it is 0.
template <std::size_t rowCount>
HWY_INLINE VF Sum(const float* const* rows, const float* weights, std::size_t more, std::size_t k) {
  const DF d;
  VF sum = hn::Zero(d);
  const std::size_t count = rowCount != 0 ? rowCount : more;
  for (std::size_t i = 0; i < count; ++i) {
    sum = hn::Add(sum, hn::Mul(hn::Set(d, weights[i]), hn::LoadU(d, rows[i] + k)));
  }
  return sum;
}

template <std::size_t rowCount>
void SumRows(std::uint8_t* to, const float* const* rows, const float* weights, std::size_t more,
             std::size_t pixels) {
  const std::size_t lanes = hn::Lanes(DF());
  const auto alphaLanes = AlphaLanes();
  std::size_t k = 0;
  for (; k + lanes <= 4 * pixels; k += lanes) {
    StoreRounded(Sum<rowCount>(rows, weights, more, k), alphaLanes, to + k);
  }
  if (k == 4 * pixels) return;
  // The last pixels are taken again together with some before them, or alone where there are none.
  if (4 * pixels >= lanes) {
    k = 4 * pixels - lanes;
    StoreRounded(Sum<rowCount>(rows, weights, more, k), alphaLanes, to + k);
    return;
  }
  kScalarScaleKernels.rows(to, rows, weights, more, pixels);
}

void Rows(std::uint8_t* to, const float* const* rows, const float* weights, std::size_t rowCount,
          std::size_t pixels) {
  switch (rowCount) {
    case 1:
      return SumRows<1>(to, rows, weights, rowCount, pixels);
    case 2:
      return SumRows<2>(to, rows, weights, rowCount, pixels);
    case 4:
      return SumRows<4>(to, rows, weights, rowCount, pixels);
    default:
      return SumRows<0>(to, rows, weights, rowCount, pixels);
  }
}

#endif

}  // namespace

const KernelForm<ScaleKernels>* ScaleForm() {
  static const KernelForm<ScaleKernels> kForm = {HWY_TARGET,
                                                 {hwy::TargetName(HWY_TARGET), Columns, Rows}};
  return &kForm;
}

}  // namespace HWY_NAMESPACE
}  // namespace raster
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace raster {

HWY_EXPORT(ScaleForm);

std::span<const ScaleKernels> AvailableScaleKernels() {
  static const std::vector<ScaleKernels> kForms =
      SupportedForms(HWY_DISPATCH_TABLE(ScaleForm), kScalarScaleKernels);
  return kForms;
}

}  // namespace raster
#endif
