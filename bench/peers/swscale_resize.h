// libswscale's scaling of ARGB frames, its context prepared once.
#pragma once

#include "bench/support/Operation.h"

namespace bench::peers {

Body SwscaleBilinear(const Shape& shape, Frames& frames);
Body SwscaleNearest(const Shape& shape, Frames& frames);

}  // namespace bench::peers
