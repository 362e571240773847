#include "platform/CoreGraphics/RowKernels.h"

#include <atomic>

namespace raster {
namespace {

std::atomic<const RowKernels*> gSelected{nullptr};

}  // namespace

const RowKernels& ActiveRowKernels() noexcept {
  const RowKernels* selected = gSelected.load(std::memory_order_relaxed);
  return selected ? *selected : VectorRowKernels();
}

bool SelectRowKernels(std::string_view name) noexcept {
  for (const RowKernels* form : {&ScalarRowKernels(), &VectorRowKernels()}) {
    if (form->name != name) continue;
    gSelected.store(form, std::memory_order_relaxed);
    return true;
  }
  return false;
}

}  // namespace raster
