// OpenCV's resize of pixels of four bytes.
#pragma once

#include "sdk/CoreX/XFrameBuffer.h"

namespace bench::peers {

void OpenCVResizeLinear(const XFrameBuffer& dest, const XFrameBuffer& source);
void OpenCVResizeNearest(const XFrameBuffer& dest, const XFrameBuffer& source);

}  // namespace bench::peers
