#include "platform/QuickTime/YCbCrRows.h"

#include "platform/System/KernelChoice.h"

namespace {
constinit KernelChoice<YCbCrForm> sChoice;
}

const YCbCrForm& CurrentYCbCrForm() {
  return sChoice.Current(AvailableYCbCrForms());
}

bool SelectYCbCrForm(std::string_view name) {
  return sChoice.Select(AvailableYCbCrForms(), name);
}

void ConvertYCbCrRowToARGB(const YCbCrMatrix& matrix, YCbCrOrder order, const UInt8* source,
                           UInt8* destination, UInt32 width) {
  CurrentYCbCrForm().convert(matrix, order,
                             {source, 0, destination, 0, static_cast<int>(width), 1});
}
