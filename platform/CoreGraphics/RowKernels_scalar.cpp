#include <algorithm>

#include "platform/CoreGraphics/RowKernels.h"

namespace raster {
namespace {

std::uint8_t Multiply(unsigned x, unsigned y) {
  return static_cast<std::uint8_t>(Div255(x * y));
}

std::uint8_t AddCut(unsigned x, unsigned y) {
  return static_cast<std::uint8_t>(std::min(x + y, 255U));
}

void Over(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i, dst += 4, src += 4) {
    const unsigned rest = 255U - src[0];
    for (int c = 0; c < 4; ++c) dst[c] = AddCut(src[c], Multiply(dst[c], rest));
  }
}

void OverMasked(std::uint8_t* dst, const std::uint8_t* src, const std::uint8_t* mask,
                std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i, dst += 4, src += 4) {
    const unsigned rest = 255U - Multiply(src[0], mask[i]);
    for (int c = 0; c < 4; ++c) {
      dst[c] = AddCut(Multiply(src[c], mask[i]), Multiply(dst[c], rest));
    }
  }
}

void Premultiply(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i, dst += 4, src += 4) {
    const std::uint8_t alpha = src[0];
    for (int c = 1; c < 4; ++c) dst[c] = Multiply(src[c], alpha);
    dst[0] = alpha;
  }
}

void Permute(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels,
             const ByteOrder& order) {
  for (std::size_t i = 0; i < pixels; ++i, dst += 4, src += 4) {
    const std::uint8_t pixel[4] = {src[0], src[1], src[2], src[3]};
    for (int c = 0; c < 4; ++c) {
      dst[c] = static_cast<std::uint8_t>(pixel[order.from[c]] | order.set[c]);
    }
  }
}

}  // namespace

const RowKernels kScalarRowKernels = {"scalar", Over, OverMasked, Premultiply, Permute};

}  // namespace raster
