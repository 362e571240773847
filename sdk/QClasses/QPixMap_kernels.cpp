#include "sdk/QClasses/QPixMap_kernels.h"

#include <array>

#include "platform/System/KernelChoice.h"

namespace QPixMapKernels {
namespace {
constinit KernelChoice<RowKernels> sChoice;
}

std::span<const RowKernels> AvailableRowKernels() {
  static const std::array<RowKernels, 2> kForms = {VectorRowKernels(), kScalarRowKernels};
  return kForms;
}

const RowKernels& CurrentRowKernels() {
  return sChoice.Current(AvailableRowKernels());
}

bool SelectRowKernels(std::string_view name) {
  return sChoice.Select(AvailableRowKernels(), name);
}

}  // namespace QPixMapKernels
