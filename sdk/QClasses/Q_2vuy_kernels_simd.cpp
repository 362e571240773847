// The list of the 4:2:2 row kernels' forms, one for each instruction set. What they are made of
// stands in the other Q_2vuy_*_simd.cpp files.
#include "sdk/QClasses/Q_2vuy_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/Q_2vuy_kernels_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "platform/System/KernelForms.h"

HWY_BEFORE_NAMESPACE();
namespace Q_2vuy {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const KernelForm<RowKernels>* Form() {
  static const KernelForm<RowKernels> kForm = {HWY_TARGET, kScalarRowKernels};
  return &kForm;
}

#else

void ToARGB(const Rows& rows);
void FromARGB(const Rows& rows);
void OverARGB(const Rows& rows, float opacity);
void Swap(const Rows& rows);
void Map(const Rows& rows, Order order, const std::uint8_t* table);
void CountAndMap(const Rows& rows, Order order, const std::uint8_t* table, std::uint32_t* counts);
void Blend(const BlendRows& rows, float t);
void BlendMasked(const BlendRows& rows, float t, const std::uint8_t* mask,
                 std::ptrdiff_t maskRowBytes);

const KernelForm<RowKernels>* Form() {
  static const KernelForm<RowKernels> kForm = {HWY_TARGET,
                                               {hwy::TargetName(HWY_TARGET),
                                                {ToARGB, FromARGB, OverARGB},
                                                {Swap, Map, CountAndMap},
                                                {Blend, BlendMasked}}};
  return &kForm;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace Q_2vuy
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Q_2vuy {

HWY_EXPORT(Form);

std::span<const RowKernels> AvailableRowKernels() {
  static const std::vector<RowKernels> kForms =
      SupportedForms(HWY_DISPATCH_TABLE(Form), kScalarRowKernels);
  return kForms;
}

}  // namespace Q_2vuy
#endif
