// The vector forms of the overlays, compiled once per instruction set.
#include "sdk/QClasses/QPixMap_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/QPixMap_overlay_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "sdk/QClasses/QPixMap_lanes.h"

HWY_BEFORE_NAMESPACE();
namespace QPixMapKernels {
namespace HWY_NAMESPACE {

void Overlay(const Rows& dst, const Source& overlay, float opacity) {
  kScalarRowKernels.overlay(dst, overlay, opacity);
}
void Overlay24(const Rows& dst, const Source& overlay, float opacity) {
  kScalarRowKernels.overlay24(dst, overlay, opacity);
}

}  // namespace HWY_NAMESPACE
}  // namespace QPixMapKernels
HWY_AFTER_NAMESPACE();
