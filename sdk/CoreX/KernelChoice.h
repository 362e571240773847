// Moved: the platform's kernels use it too.
#pragma once

#include "platform/System/KernelChoice.h"
