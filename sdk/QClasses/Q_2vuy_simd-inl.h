// What the vector forms of the 4:2:2 kernels share. Included once per instruction set.
#if defined(SDK_QCLASSES_Q_2VUY_SIMD_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef SDK_QCLASSES_Q_2VUY_SIMD_INL_H_
#undef SDK_QCLASSES_Q_2VUY_SIMD_INL_H_
#else
#define SDK_QCLASSES_Q_2VUY_SIMD_INL_H_
#endif

#include <hwy/highway.h>

#include "platform/System/Packed422-inl.h"
#include "sdk/QClasses/Q_2vuy_kernels.h"

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128  // The scalar form stands for these.
HWY_BEFORE_NAMESPACE();
namespace Q_2vuy {
namespace HWY_NAMESPACE {
using namespace packed422::HWY_NAMESPACE;

HWY_INLINE VF Float(V32 value) {
  return hn::ConvertTo(DF(), hn::BitCast(DI(), value));
}
HWY_INLINE V32 Pack(V32 b0, V32 b1, V32 b2, V32 b3) {
  return hn::Or(hn::Or(b0, hn::ShiftLeft<8>(b1)),
                hn::Or(hn::ShiftLeft<16>(b2), hn::ShiftLeft<24>(b3)));
}

/// Truncated, for values in range: what the library's conversion adds for others costs more than
/// the rest of a kernel.
HWY_INLINE V32 ToInt(VF value) {
#if !HWY_ARCH_X86
  return hn::BitCast(D32(), hn::ConvertTo(DI(), value));
#elif HWY_TARGET <= HWY_AVX3
  return V32{_mm512_cvttps_epi32(value.raw)};
#elif HWY_TARGET == HWY_AVX2
  return V32{_mm256_cvttps_epi32(value.raw)};
#else
  return V32{_mm_cvttps_epi32(value.raw)};
#endif
}

/// Truncated; 0 beyond the 32-bit range and for NaN, as the low byte of the most negative integer.
HWY_INLINE V32 TruncatedWithinRange(VF value) {
  const auto inRange =
      hn::And(hn::Lt(value, hn::Set(DF(), 0x1p31f)), hn::Ge(value, hn::Set(DF(), -0x1p31f)));
  return ToInt(hn::IfThenElseZero(inRange, value));
}

/// `operation` on the lanes widened to double; each half narrowed back.
template <typename Operation>
HWY_INLINE VF InDouble(VF value, const Operation& operation) {
  const hn::Half<DF> half;
  const VF64 lower = operation(hn::PromoteTo(DF64(), hn::LowerHalf(half, value)));
  const VF64 upper = operation(hn::PromoteTo(DF64(), hn::UpperHalf(half, value)));
  return hn::Combine(DF(), hn::DemoteTo(half, upper), hn::DemoteTo(half, lower));
}

/// byte / 255 for bytes, as double precision narrowed has it.
HWY_INLINE VF ByteFraction(VF byte) {
#if HWY_NATIVE_FMA
  // By the reciprocal in two parts.
  constexpr float kHigh = static_cast<float>(1 / 255.0);
  constexpr float kLow = static_cast<float>(1 / 255.0 - static_cast<double>(kHigh));
  return hn::MulAdd(byte, hn::Set(DF(), kHigh), hn::Mul(byte, hn::Set(DF(), kLow)));
#else
  return hn::Div(byte, hn::Set(DF(), 255.0f));
#endif
}

}  // namespace HWY_NAMESPACE
}  // namespace Q_2vuy
HWY_AFTER_NAMESPACE();
#endif

#endif
