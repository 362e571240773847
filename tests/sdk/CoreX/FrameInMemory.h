// A frame over memory of the test's own, with guards around it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "sdk/CoreX/XFrameBuffer.h"

namespace test {

class FrameInMemory {
 public:
  static constexpr std::size_t kGuard = 64;

  /// `padding` bytes behind each row; a negative stride has the top row at the highest address.
  FrameInMemory(int width, int height, unsigned seed, int padding = 0, bool upsideDown = false,
                XFrame_Pel_Format format = XFrame_Pel_ARGB)
      : width_(width), height_(height), stride_(4 * width + padding), upsideDown_(upsideDown) {
    std::mt19937 engine(seed);
    bytes_.resize(2 * kGuard + static_cast<std::size_t>(stride_ * height));
    for (unsigned char& b : bytes_) b = static_cast<unsigned char>(engine());
    format_ = format;
  }

  XFrameBuffer buffer() {
    XFrameBuffer frame;
    frame.Width = width_;
    frame.Height = height_;
    frame.PixelType = format_;
    frame.PelBytes = 4;
    frame.Pixels = Row(0);
    frame.RowBytes = upsideDown_ ? -stride_ : stride_;
    return frame;
  }
  unsigned char* Row(int y) {
    const int row = upsideDown_ ? height_ - 1 - y : y;
    return bytes_.data() + kGuard + row * stride_;
  }
  unsigned char& At(int x, int y, int byte) { return Row(y)[4 * x + byte]; }

  int width() const { return width_; }
  int height() const { return height_; }
  /// Everything: pixels, padding and guards.
  const std::vector<unsigned char>& bytes() const { return bytes_; }

 private:
  int width_;
  int height_;
  int stride_;
  bool upsideDown_;
  XFrame_Pel_Format format_;
  std::vector<unsigned char> bytes_;
};

}  // namespace test
