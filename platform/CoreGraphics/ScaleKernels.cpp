#include "platform/CoreGraphics/ScaleKernels.h"

#include "platform/System/KernelChoice.h"

namespace raster {
namespace {
constinit KernelChoice<ScaleKernels> gChoice;
}

const ScaleKernels& ActiveScaleKernels() {
  return gChoice.Current(AvailableScaleKernels());
}

bool SelectScaleKernels(std::string_view name) {
  return gChoice.Select(AvailableScaleKernels(), name);
}

}  // namespace raster
