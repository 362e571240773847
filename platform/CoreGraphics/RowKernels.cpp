#include "platform/CoreGraphics/RowKernels.h"

#include "platform/System/KernelChoice.h"

namespace raster {
namespace {
constinit KernelChoice<RowKernels> gChoice;
}

const RowKernels& ActiveRowKernels() {
  return gChoice.Current(AvailableRowKernels());
}

bool SelectRowKernels(std::string_view name) {
  return gChoice.Select(AvailableRowKernels(), name);
}

}  // namespace raster
