#include "sdk/QClasses/Q_2vuy_kernels.h"

#include <array>
#include <atomic>

namespace Q_2vuy {
namespace {

constinit std::atomic<const RowKernels*> sSelected{nullptr};

}  // namespace

std::span<const RowKernels> AvailableRowKernels() {
  static const std::array<RowKernels, 2> kForms = {VectorRowKernels(), kScalarRowKernels};
  return kForms;
}

const RowKernels& CurrentRowKernels() {
  const RowKernels* selected = sSelected.load(std::memory_order_relaxed);
  return selected != nullptr ? *selected : AvailableRowKernels().front();
}

bool SelectRowKernels(std::string_view name) {
  for (const RowKernels& form : AvailableRowKernels()) {
    if (form.name == name) {
      sSelected.store(&form, std::memory_order_relaxed);
      return true;
    }
  }
  return false;
}

}  // namespace Q_2vuy
