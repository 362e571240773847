// The list of the pixel-map kernels' forms, one for each instruction set. What they are made of
// stands in the other QPixMap_*_simd.cpp files.
#include "sdk/QClasses/QPixMap_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/QPixMap_kernels_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "platform/System/KernelForms.h"

HWY_BEFORE_NAMESPACE();
namespace QPixMapKernels {
namespace HWY_NAMESPACE {

void Grey(const Rows& rows);
void Levels(const Rows& rows, const std::uint8_t* table);
void Duotone(const Rows& rows, Tint tint);
void PlanBlend(BlendPlan& plan, std::size_t pixels);
void Blend(const Rows& dst, const Source& a, const Source& b, const BlendPlan& plan);
void Overlay(const Rows& dst, const Source& overlay, float opacity);
void Overlay24(const Rows& dst, const Source& overlay, float opacity);
void From24(const Rows& dst, const Source& source);
void From422(const Rows& dst, const Source& source);
bool Opaque(const Rows& rows);

const KernelForm<RowKernels>* Form() {
  static const KernelForm<RowKernels> kForm = {
      HWY_TARGET,
      {hwy::TargetName(HWY_TARGET), Grey, Levels, Duotone, PlanBlend, Blend, Overlay, Overlay24,
       From24, From422, Opaque}};
  return &kForm;
}

}  // namespace HWY_NAMESPACE
}  // namespace QPixMapKernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QPixMapKernels {

HWY_EXPORT(Form);

std::span<const RowKernels> AvailableRowKernels() {
  static const std::vector<RowKernels> kForms =
      SupportedForms(HWY_DISPATCH_TABLE(Form), kScalarRowKernels);
  return kForms;
}

}  // namespace QPixMapKernels
#endif
