#include <limits>

#include "sdk/CoreX/XFrameKernels.h"

namespace XFrameKernels {
namespace {

void Mean(std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i) dst[i] = static_cast<std::uint8_t>((a[i] + b[i]) >> 1);
}

void ThreeRows(std::uint8_t* dst, const std::uint8_t* above, const std::uint8_t* row,
               const std::uint8_t* below, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i) {
    dst[i] = static_cast<std::uint8_t>((((above[i] + below[i]) >> 1) + row[i]) >> 1);
  }
}

/// Low 8 bits of the truncated value; weights are never so far off that it leaves 32 bits.
std::uint8_t TruncateByte(float value) {
  return static_cast<std::uint8_t>(static_cast<std::int32_t>(value));
}

void Bilinear(std::uint8_t* dst, const std::uint8_t* upper, const std::uint8_t* lower,
              float lowerWeight, const Tap* taps, std::size_t count) {
  const float upperWeight = 1.0f - lowerWeight;
  for (std::size_t x = 0; x < count; ++x, dst += 4) {
    const Tap& tap = taps[x];
    const float leftWeight = 1.0f - tap.weight;
    for (int i = 0; i < 4; ++i) {
      const float a = upper[tap.left + i];
      const float b = upper[tap.right + i];
      const float c = lower[tap.left + i];
      const float d = lower[tap.right + i];
      dst[i] = TruncateByte(((a * leftWeight + b * tap.weight) * upperWeight) +
                            ((c * leftWeight + d * tap.weight) * lowerWeight));
    }
  }
}

}  // namespace

const RowKernels kScalarRowKernels = {"scalar", Mean, ThreeRows, Bilinear};

}  // namespace XFrameKernels
