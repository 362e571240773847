#include "sdk/CoreX/XFrameKernels.h"

#include "platform/System/KernelChoice.h"

namespace XFrameKernels {
namespace {
constinit KernelChoice<RowKernels> sChoice;
}

const RowKernels& CurrentRowKernels() {
  return sChoice.Current(AvailableRowKernels());
}

bool SelectRowKernels(std::string_view name) {
  return sChoice.Select(AvailableRowKernels(), name);
}

}  // namespace XFrameKernels
