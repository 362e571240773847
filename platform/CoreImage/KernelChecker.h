// The rules of the kernel language beyond its grammar: names, types, calls. Internal to CoreImage.
#pragma once

#include "platform/CoreImage/KernelTree.h"

namespace lumivane::coreimage {

/// Checks a whole source. False with `error` at the first violation.
bool CheckKernelSource(const KernelTree& tree, CIKernelError& error);

}  // namespace lumivane::coreimage
