// The row kernels' vector form, compiled once per instruction set. A row's last bytes go through
// the scalar form.
#include "sdk/CoreX/XFrameKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/CoreX/XFrameKernels_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "platform/System/KernelForms.h"

HWY_BEFORE_NAMESPACE();
namespace XFrameKernels {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D8 = hn::ScalableTag<std::uint8_t>;
using V8 = hn::Vec<D8>;

/// The machine's mean rounds up; where the sum is odd that is one too many.
V8 MeanDown(V8 a, V8 b) {
  const V8 odd = hn::And(hn::Xor(a, b), hn::Set(D8(), 1));
  return hn::Sub(hn::AverageRound(a, b), odd);
}

void Mean(std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b, std::size_t bytes) {
  const D8 d;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t i = 0;
  for (; i + lanes <= bytes; i += lanes) {
    hn::StoreU(MeanDown(hn::LoadU(d, a + i), hn::LoadU(d, b + i)), d, dst + i);
  }
  kScalarRowKernels.mean(dst + i, a + i, b + i, bytes - i);
}

void ThreeRows(std::uint8_t* dst, const std::uint8_t* above, const std::uint8_t* row,
               const std::uint8_t* below, std::size_t bytes) {
  const D8 d;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t i = 0;
  for (; i + lanes <= bytes; i += lanes) {
    const V8 outer = MeanDown(hn::LoadU(d, above + i), hn::LoadU(d, below + i));
    hn::StoreU(MeanDown(outer, hn::LoadU(d, row + i)), d, dst + i);
  }
  kScalarRowKernels.threeRows(dst + i, above + i, row + i, below + i, bytes - i);
}

#if HWY_TARGET == HWY_SCALAR

void Bilinear(std::uint8_t* dst, const std::uint8_t* upper, const std::uint8_t* lower,
              float lowerWeight, const Tap* taps, std::size_t count) {
  kScalarRowKernels.bilinear(dst, upper, lower, lowerWeight, taps, count);
}

#else

/// One pixel is one vector of four floats.
void Bilinear(std::uint8_t* dst, const std::uint8_t* upper, const std::uint8_t* lower,
              float lowerWeight, const Tap* taps, std::size_t count) {
  const hn::FixedTag<float, 4> df;
  const hn::FixedTag<std::int32_t, 4> di;
  const hn::FixedTag<std::uint8_t, 4> d8;
  const auto pixel = [&](const std::uint8_t* bytes) {
    return hn::ConvertTo(df, hn::PromoteTo(di, hn::LoadU(d8, bytes)));
  };
  const auto down = hn::Set(df, lowerWeight);
  const auto up = hn::Set(df, 1.0f - lowerWeight);
  for (std::size_t x = 0; x < count; ++x, dst += 4) {
    const auto right = hn::Set(df, taps[x].weight);
    const auto left = hn::Set(df, 1.0f - taps[x].weight);
    const auto row = [&](const std::uint8_t* bytes) {
      return hn::Add(hn::Mul(pixel(bytes + taps[x].left), left),
                     hn::Mul(pixel(bytes + taps[x].right), right));
    };
    const auto value = hn::Add(hn::Mul(row(upper), up), hn::Mul(row(lower), down));
    // Values lie within a byte, so narrowing with saturation keeps them.
    hn::StoreU(hn::DemoteTo(d8, hn::ConvertTo(di, value)), d8, dst);
  }
}

#endif

const KernelForm<RowKernels>* Form() {
  static const KernelForm<RowKernels> kForm = {
      HWY_TARGET, {hwy::TargetName(HWY_TARGET), Mean, ThreeRows, Bilinear}};
  return &kForm;
}

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
