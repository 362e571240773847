// pixman's scaling of pixels of four bytes, by compositing with SRC through a transform.
#pragma once

#include "sdk/CoreX/XFrameBuffer.h"

namespace bench::peers {

void PixmanScaleBilinear(const XFrameBuffer& dest, const XFrameBuffer& source);
void PixmanScaleNearest(const XFrameBuffer& dest, const XFrameBuffer& source);

}  // namespace bench::peers
