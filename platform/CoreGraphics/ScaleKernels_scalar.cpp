#include <algorithm>

#include "platform/CoreGraphics/ScaleKernels.h"

namespace raster {
namespace {

void Columns(float* to, const std::uint8_t* pixels, std::size_t firstColumn, const TapRun* runs,
             std::size_t runCount, const float* weights) {
  for (std::size_t k = 0; k < runCount; ++k) {
    const TapRun& run = runs[k];
    const float* weight = weights + run.offset;
    float sum[4] = {0, 0, 0, 0};
    for (std::size_t i = 0; i < run.count; ++i) {
      const std::uint8_t* pixel = pixels + 4 * (run.first - firstColumn + i);
      for (int c = 0; c < 4; ++c) sum[c] += weight[i] * static_cast<float>(pixel[c]);
    }
    for (int c = 0; c < 4; ++c) *to++ = sum[c];
  }
}

std::uint8_t RoundedByte(float x, float limit) {
  return static_cast<std::uint8_t>(std::clamp(x, 0.0F, limit) + 0.5F);
}

void Rows(std::uint8_t* to, const float* const* rows, const float* weights, std::size_t rowCount,
          std::size_t pixels) {
  for (std::size_t k = 0; k < 4 * pixels; k += 4) {
    float sum[4] = {0, 0, 0, 0};
    for (std::size_t i = 0; i < rowCount; ++i) {
      for (std::size_t c = 0; c < 4; ++c) sum[c] += weights[i] * rows[i][k + c];
    }
    to[k] = RoundedByte(sum[0], 255.0F);
    for (std::size_t c = 1; c < 4; ++c) to[k + c] = RoundedByte(sum[c], to[k]);
  }
}

}  // namespace

const ScaleKernels kScalarScaleKernels = {"scalar", Columns, Rows};

}  // namespace raster
