// The row kernels' vector forms, compiled once per instruction set.
#include "sdk/CoreX/XFrameKernels.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/CoreX/XFrameKernels_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "platform/System/KernelForms.h"
#include "sdk/CoreX/XFrameKernels_resize_simd.h"

HWY_BEFORE_NAMESPACE();
namespace XFrameKernels {
namespace HWY_NAMESPACE {

// One lane is no vector: the scalar form stands for it.
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const KernelForm<RowKernels>* Form() {
  static const KernelForm<RowKernels> kForm = {HWY_TARGET, kScalarRowKernels};
  return &kForm;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

/// `op(tag, i)` for vectors of bytes from i on, that together cover `bytes` once and in order:
/// whole vectors, then shorter ones.
template <typename Op>
HWY_INLINE void OverBytes(std::size_t bytes, const Op& op) {
  const hn::ScalableTag<std::uint8_t> whole;
  const hn::CappedTag<std::uint8_t, 16> quarter;
  const hn::CappedTag<std::uint8_t, 4> pixel;
  const hn::CappedTag<std::uint8_t, 1> byte;
  const std::size_t lanes = hn::Lanes(whole);
  std::size_t i = 0;
  for (; i + 2 * lanes <= bytes; i += 2 * lanes) {
    op(whole, i);
    op(whole, i + lanes);
  }
  if (i + lanes <= bytes) {
    op(whole, i);
    i += lanes;
  }
  for (; i + hn::Lanes(quarter) <= bytes; i += hn::Lanes(quarter)) op(quarter, i);
  for (; i + hn::Lanes(pixel) <= bytes; i += hn::Lanes(pixel)) op(pixel, i);
  for (; i < bytes; ++i) op(byte, i);
}

// The machine's mean of bytes rounds up; the mean that rounds down is its mirror image:
// (a + b) >> 1 = 255 - ((255 - a + 255 - b + 1) >> 1).

void Pairs(DestRows dst, SourceRows src, std::size_t bytes, int pairs) {
  for (std::ptrdiff_t k = 0; k < pairs; ++k) {
    const std::uint8_t* const a = src[2 * k];
    const std::uint8_t* const b = src[2 * k + 1];
    std::uint8_t* const first = dst[2 * k];
    std::uint8_t* const second = dst[2 * k + 1];
    OverBytes(bytes, [&](auto d, std::size_t i) HWY_ATTR {
      const auto mirrored =
          hn::AverageRound(hn::Not(hn::LoadU(d, a + i)), hn::Not(hn::LoadU(d, b + i)));
      const auto mean = hn::Not(mirrored);
      hn::StoreU(mean, d, first + i);
      hn::StoreU(mean, d, second + i);
    });
  }
}

void ThreeRows(DestRows dst, const std::uint8_t* above, SourceRows src, const std::uint8_t* below,
               std::size_t bytes, int rows) {
  std::ptrdiff_t y = 0;
  // Two rows from four: each source row is read twice instead of three times.
  for (; y + 2 <= rows; y += 2) {
    const std::uint8_t* const p = y == 0 ? above : src[y - 1];
    const std::uint8_t* const c = src[y];
    const std::uint8_t* const q = src[y + 1];
    const std::uint8_t* const r = y + 2 == rows ? below : src[y + 2];
    std::uint8_t* const first = dst[y];
    std::uint8_t* const second = dst[y + 1];
    OverBytes(bytes, [&](auto d, std::size_t i) HWY_ATTR {
      const auto mp = hn::Not(hn::LoadU(d, p + i));
      const auto mc = hn::Not(hn::LoadU(d, c + i));
      const auto mq = hn::Not(hn::LoadU(d, q + i));
      const auto mr = hn::Not(hn::LoadU(d, r + i));
      const auto upper = hn::AverageRound(hn::AverageRound(mp, mq), mc);
      const auto lower = hn::AverageRound(hn::AverageRound(mc, mr), mq);
      hn::StoreU(hn::Not(upper), d, first + i);
      hn::StoreU(hn::Not(lower), d, second + i);
    });
  }
  if (y == rows) return;
  const std::uint8_t* const p = y == 0 ? above : src[y - 1];
  const std::uint8_t* const c = src[y];
  std::uint8_t* const out = dst[y];
  OverBytes(bytes, [&](auto d, std::size_t i) HWY_ATTR {
    const auto outer =
        hn::AverageRound(hn::Not(hn::LoadU(d, p + i)), hn::Not(hn::LoadU(d, below + i)));
    hn::StoreU(hn::Not(hn::AverageRound(outer, hn::Not(hn::LoadU(d, c + i)))), d, out + i);
  });
}

void Field(DestRows dst, SourceRows src, std::size_t bytes, int pairs) {
  for (std::ptrdiff_t k = 0; k < pairs; ++k) {
    const std::uint8_t* const a = src[k];
    const std::uint8_t* const b = src[k + 1];
    std::uint8_t* const kept = dst[2 * k];
    std::uint8_t* const between = dst[2 * k + 1];
    OverBytes(bytes, [&](auto d, std::size_t i) HWY_ATTR {
      const auto row = hn::LoadU(d, a + i);
      const auto mean = hn::Not(hn::AverageRound(hn::Not(row), hn::Not(hn::LoadU(d, b + i))));
      hn::StoreU(row, d, kept + i);
      hn::StoreU(mean, d, between + i);
    });
  }
}

void Fill(DestRows dst, const std::uint8_t (&pixel)[4], std::size_t pixels, int rows) {
  std::uint32_t word;
  std::memcpy(&word, pixel, sizeof(word));
  const hn::ScalableTag<std::uint8_t> d;
  const hn::Repartition<std::uint32_t, decltype(d)> d32;
  const auto bytesOfPixels = hn::BitCast(d, hn::Set(d32, word));
  const std::size_t lanes = hn::Lanes(d);
  const std::size_t bytes = 4 * pixels;
  for (std::ptrdiff_t y = 0; y < rows; ++y) {
    std::uint8_t* const out = dst[y];
    std::size_t i = 0;
    for (; i + 4 * lanes <= bytes; i += 4 * lanes) {
      hn::StoreU(bytesOfPixels, d, out + i);
      hn::StoreU(bytesOfPixels, d, out + i + lanes);
      hn::StoreU(bytesOfPixels, d, out + i + 2 * lanes);
      hn::StoreU(bytesOfPixels, d, out + i + 3 * lanes);
    }
    for (; i + lanes <= bytes; i += lanes) hn::StoreU(bytesOfPixels, d, out + i);
    for (; i < bytes; i += 4) std::memcpy(out + i, pixel, 4);
  }
}

void Darken(std::uint8_t* row, std::size_t bytes, int thirds) {
  // n / 3 = n * 43691 >> 17 for every 16-bit n.
  const auto darkened = [&](auto d, std::size_t i) HWY_ATTR {
    const hn::Repartition<std::uint16_t, decltype(d)> d16;
    const auto third = [&](auto bytesIn16) HWY_ATTR {
      const auto n = thirds == 1 ? bytesIn16 : hn::Add(bytesIn16, bytesIn16);
      return hn::ShiftRight<1>(hn::MulHigh(n, hn::Set(d16, std::uint16_t{43691})));
    };
    const auto both = hn::BitCast(d16, hn::LoadU(d, row + i));
    const auto even = third(hn::And(both, hn::Set(d16, std::uint16_t{0xFF})));
    const auto odd = third(hn::ShiftRight<8>(both));
    hn::StoreU(hn::BitCast(d, hn::Or(even, hn::ShiftLeft<8>(odd))), d, row + i);
  };
  const hn::ScalableTag<std::uint8_t> whole;
  const hn::CappedTag<std::uint8_t, 4> pixel;
  std::size_t i = 0;
  for (; i + hn::Lanes(whole) <= bytes; i += hn::Lanes(whole)) darkened(whole, i);
  for (; i + hn::Lanes(pixel) <= bytes; i += hn::Lanes(pixel)) darkened(pixel, i);
  kScalarRowKernels.darken(row + i, bytes - i, thirds);
}

const KernelForm<RowKernels>* Form() {
  static const KernelForm<RowKernels> kForm = {
      HWY_TARGET,
      {hwy::TargetName(HWY_TARGET), Pairs, ThreeRows, Field, Fill, Darken, Bilinear, Nearest}};
  return &kForm;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace XFrameKernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace XFrameKernels {

HWY_EXPORT(Form);

std::span<const RowKernels> AvailableRowKernels() {
  static const std::vector<RowKernels> kForms =
      SupportedForms(HWY_DISPATCH_TABLE(Form), kScalarRowKernels);
  return kForms;
}

}  // namespace XFrameKernels
#endif
