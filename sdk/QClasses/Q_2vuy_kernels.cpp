#include "sdk/QClasses/Q_2vuy_kernels.h"

#include <cassert>
#include <vector>

#include "platform/System/KernelChoice.h"

namespace Q_2vuy {
namespace {

constinit KernelChoice<RowKernels> sChoice;

std::vector<RowKernels> Together() {
  const auto conversions = AvailableConversionKernels();
  const auto lumas = AvailableLumaKernels();
  const auto blends = AvailableBlendKernels();
  std::vector<RowKernels> forms;
  for (std::size_t i = 0; i < conversions.size(); ++i) {
    assert(lumas[i].name == conversions[i].name && blends[i].name == conversions[i].name);
    forms.push_back({conversions[i].name, conversions[i], lumas[i], blends[i]});
  }
  return forms;
}

}  // namespace

std::span<const RowKernels> AvailableRowKernels() {
  static const std::vector<RowKernels> kForms = Together();
  return kForms;
}

const RowKernels& CurrentRowKernels() {
  return sChoice.Current(AvailableRowKernels());
}

bool SelectRowKernels(std::string_view name) {
  return sChoice.Select(AvailableRowKernels(), name);
}

}  // namespace Q_2vuy
