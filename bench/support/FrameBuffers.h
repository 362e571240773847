// The shared frames as frame buffers of 4 bytes a pixel, rows close together.
#pragma once

#include "bench/support/Frames.h"
#include "bench/support/Operation.h"
#include "sdk/CoreX/XFrameBuffer.h"

namespace bench {

inline XFrameBuffer FrameOf(int width, int height, unsigned char* pixels) {
  XFrameBuffer frame;
  frame.Width = width;
  frame.Height = height;
  frame.PixelType = XFrame_Pel_ARGB;
  frame.PelBytes = 4;
  frame.RowBytes = 4 * width;
  frame.Pixels = pixels;
  return frame;
}

/// Noise of the shape's source size. Only to be read.
inline XFrameBuffer SourceFrame(const Shape& shape, Frames& frames) {
  return FrameOf(shape.sourceWidth, shape.sourceHeight, const_cast<unsigned char*>(frames.Noise()));
}

/// Out(0) in the shape's size.
inline XFrameBuffer DestFrame(const Shape& shape, Frames& frames) {
  return FrameOf(shape.width, shape.height, frames.Out());
}

}  // namespace bench
