// The vector forms of the conversions, compiled once per instruction set.
#include "sdk/QClasses/Q_2vuy_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/Q_2vuy_conversion_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "platform/System/KernelForms.h"
#include "sdk/QClasses/Q_2vuy_fromARGB_simd-inl.h"
#include "sdk/QClasses/Q_2vuy_toARGB_simd-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Q_2vuy {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const KernelForm<ConversionKernels>* ConversionForm() {
  static const KernelForm<ConversionKernels> kForm = {HWY_TARGET, kScalarRowKernels.conversion};
  return &kForm;
}

#else

const KernelForm<ConversionKernels>* ConversionForm() {
  static const KernelForm<ConversionKernels> kForm = {
      HWY_TARGET, {hwy::TargetName(HWY_TARGET), ToARGB, FromARGB, OverARGB}};
  return &kForm;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace Q_2vuy
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Q_2vuy {

HWY_EXPORT(ConversionForm);

std::span<const ConversionKernels> AvailableConversionKernels() {
  static const std::vector<ConversionKernels> kForms =
      SupportedForms(HWY_DISPATCH_TABLE(ConversionForm), kScalarRowKernels.conversion);
  return kForms;
}

}  // namespace Q_2vuy
#endif
