// The vector forms of the blends, compiled once per instruction set. They multiply bytes where they
// lie in their 32-bit lanes: a factor of 256 or 65536 changes no rounding, and what truncation
// leaves below a byte's place is masked away.
#include <type_traits>

#include "sdk/QClasses/Q_2vuy_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/Q_2vuy_blend_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "platform/System/KernelForms.h"
#include "sdk/QClasses/Q_2vuy_simd-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Q_2vuy {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const KernelForm<BlendKernels>* BlendForm() {
  static const KernelForm<BlendKernels> kForm = {HWY_TARGET, kScalarRowKernels.blends};
  return &kForm;
}

#else

struct Weight {
  VF take;
  VF keep;
};

/// The weights of one step's bytes: chroma, first luma, second luma.
struct Weights {
  Weight chroma;
  Weight y0;
  Weight y1;
};

HWY_INLINE VF Mix(VF a, VF b, const Weight& weight) {
  return hn::Add(hn::Mul(a, weight.keep), hn::Mul(b, weight.take));
}

/// With weights of 0 to 1 every value is a byte and nothing is negative.
struct InRange {
  template <int byte>
  static HWY_INLINE V32 Blend(V32 a, V32 b, const Weight& weight) {
    if constexpr (byte == 3) {  // Would be a negative integer in its place.
      return hn::ShiftLeft<24>(ToInt(Mix(Float(Byte<3>(a)), Float(Byte<3>(b)), weight)));
    } else {
      const V32 place = hn::Set(D32(), 0xFFu << (8 * byte));
      const V32 value = ToInt(Mix(Float(hn::And(a, place)), Float(hn::And(b, place)), weight));
      return byte == 0 ? value : hn::And(value, place);
    }
  }
};

/// Any weights: negative (and NaN) is 0, then the low byte of what is left.
struct AnyRange {
  template <int byte>
  static HWY_INLINE V32 Blend(V32 a, V32 b, const Weight& weight) {
    const VF value = Mix(Float(Byte<byte>(a)), Float(Byte<byte>(b)), weight);
    const auto positive = hn::Gt(value, hn::Zero(DF()));
    const V32 truncated = TruncatedWithinRange(hn::IfThenElseZero(positive, value));
    return hn::ShiftLeft<8 * byte>(hn::And(truncated, hn::Set(D32(), 0xFFu)));
  }
};

template <typename Range>
HWY_INLINE void BlendStep(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* dst,
                          const Weights& weights) {
  const V32 wa = LoadWords(a);
  const V32 wb = LoadWords(b);
  const V32 low = hn::Or(Range::template Blend<0>(wa, wb, weights.chroma),
                         Range::template Blend<1>(wa, wb, weights.y0));
  const V32 high = hn::Or(Range::template Blend<2>(wa, wb, weights.chroma),
                          Range::template Blend<3>(wa, wb, weights.y1));
  StoreWords(hn::Or(low, high), dst);
}

/// Calls step(a, b, destination, mask) for `PairsPerStep()` pairs at a time, a row's last ones in
/// buffers of a whole step. `mask` may be null.
template <typename Step>
HWY_INLINE void ForBlendSteps(const BlendRows& rows, const std::uint8_t* mask,
                              std::ptrdiff_t maskRowBytes, const Step& step) {
  const int pairs = rows.width / 2 + rows.width % 2;
  const int lanes = PairsPerStep();
  for (int y = 0; y < rows.height; ++y) {
    const std::uint8_t* a = rows.a + y * rows.aRowBytes;
    const std::uint8_t* b = rows.b + y * rows.bRowBytes;
    const std::uint8_t* m = mask == nullptr ? nullptr : mask + y * maskRowBytes;
    std::uint8_t* dst = rows.dst + y * rows.dstRowBytes;
    int x = 0;
    for (; pairs - x >= lanes; x += lanes) {
      step(a + 4 * x, b + 4 * x, dst + 4 * x, m == nullptr ? nullptr : m + 2 * x);
    }
    if (x < pairs) {
      HWY_ALIGN std::uint8_t buffers[4][kLongestVector] = {};
      const std::size_t bytes = static_cast<std::size_t>(4 * (pairs - x));
      std::memcpy(buffers[0], a + 4 * x, bytes);
      std::memcpy(buffers[1], b + 4 * x, bytes);
      if (m != nullptr) std::memcpy(buffers[2], m + 2 * x, bytes / 2);
      step(buffers[0], buffers[1], buffers[3], buffers[2]);
      std::memcpy(dst + 4 * x, buffers[3], bytes);
    }
  }
}

template <typename Range>
HWY_INLINE void BlendRowsBy(const BlendRows& rows, float t) {
  const Weight weight{hn::Set(DF(), t), hn::Set(DF(), 1.0f - t)};
  ForBlendSteps(rows, nullptr, 0,
                [=](const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* dst,
                    const std::uint8_t*) LUMIVANE_INLINE_LAMBDA {
                  BlendStep<Range>(a, b, dst, {weight, weight, weight});
                });
}

bool IsWithinRange(float t) {
  return t >= 0.0f && t <= 1.0f;
}

void Blend(const BlendRows& rows, float t) {
  if (IsWithinRange(t)) {
    BlendRowsBy<InRange>(rows, t);
  } else {
    BlendRowsBy<AnyRange>(rows, t);
  }
}

template <typename Range>
HWY_INLINE Weight MaskWeight(V32 mask, float t) {
  const DF df;
  const VF one = hn::Set(df, 1.0f);
  const VF w = hn::Mul(hn::Set(df, 2.0f * t), hn::Add(ByteFraction(Float(mask)), hn::Set(df, t)));
  if constexpr (std::is_same_v<Range, InRange>) {
    const VF take = hn::Min(w, one);
    return {take, hn::Sub(one, take)};
  } else {
    const auto full = hn::Gt(w, one);
    return {hn::IfThenElse(full, one, w), hn::IfThenZeroElse(full, hn::Sub(one, w))};
  }
}

template <typename Range>
HWY_INLINE void BlendMaskedBy(const BlendRows& rows, float t, const std::uint8_t* mask,
                              std::ptrdiff_t maskRowBytes) {
  const auto half = [](VF a, VF b) LUMIVANE_INLINE_LAMBDA {
    return hn::Mul(hn::Add(a, b), hn::Set(DF(), 0.5f));
  };
  ForBlendSteps(rows, mask, maskRowBytes,
                [=](const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* dst,
                    const std::uint8_t* levels) LUMIVANE_INLINE_LAMBDA {
                  // Two levels a pair, the first pixel's in the low byte.
                  const hn::Rebind<std::uint16_t, D32> d16;
                  const V32 two = hn::PromoteTo(
                      D32(), hn::LoadU(d16, reinterpret_cast<const std::uint16_t*>(levels)));
                  const Weight y0 = MaskWeight<Range>(Byte<0>(two), t);
                  const Weight y1 = MaskWeight<Range>(hn::ShiftRight<8>(two), t);
                  const Weight chroma{half(y0.take, y1.take), half(y0.keep, y1.keep)};
                  BlendStep<Range>(a, b, dst, {chroma, y0, y1});
                });
}

void BlendMasked(const BlendRows& rows, float t, const std::uint8_t* mask,
                 std::ptrdiff_t maskRowBytes) {
  if (IsWithinRange(t)) {
    BlendMaskedBy<InRange>(rows, t, mask, maskRowBytes);
  } else {
    BlendMaskedBy<AnyRange>(rows, t, mask, maskRowBytes);
  }
}

const KernelForm<BlendKernels>* BlendForm() {
  static const KernelForm<BlendKernels> kForm = {HWY_TARGET,
                                                 {hwy::TargetName(HWY_TARGET), Blend, BlendMasked}};
  return &kForm;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace Q_2vuy
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Q_2vuy {

HWY_EXPORT(BlendForm);

std::span<const BlendKernels> AvailableBlendKernels() {
  static const std::vector<BlendKernels> kForms =
      SupportedForms(HWY_DISPATCH_TABLE(BlendForm), kScalarRowKernels.blends);
  return kForms;
}

}  // namespace Q_2vuy
#endif
