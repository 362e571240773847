#include "sdk/QClasses/QPixMap_kernels.h"

#include "platform/System/KernelChoice.h"

namespace QPixMapKernels {
namespace {
constinit KernelChoice<RowKernels> sChoice;
}

const RowKernels& CurrentRowKernels() {
  return sChoice.Current(AvailableRowKernels());
}

bool SelectRowKernels(std::string_view name) {
  return sChoice.Select(AvailableRowKernels(), name);
}

}  // namespace QPixMapKernels
