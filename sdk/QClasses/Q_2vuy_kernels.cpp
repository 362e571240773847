#include "sdk/QClasses/Q_2vuy_kernels.h"

#include "platform/System/KernelChoice.h"

namespace Q_2vuy {
namespace {

constinit KernelChoice<RowKernels> sChoice;

}  // namespace

const RowKernels& CurrentRowKernels() {
  return sChoice.Current(AvailableRowKernels());
}

bool SelectRowKernels(std::string_view name) {
  return sChoice.Select(AvailableRowKernels(), name);
}

}  // namespace Q_2vuy
