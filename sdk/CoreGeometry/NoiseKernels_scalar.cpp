// The noise fill, straight from its rule.
#include <cstring>
#include <limits>

#include "sdk/CoreGeometry/NoiseKernels.h"

namespace NoiseKernels {
namespace {

std::uint8_t Level(float value) {
  constexpr float kLimit = 0x1p31f;
  // What no 32-bit integer holds truncates to the most negative one, whose low bits are 0.
  if (!(value >= -kLimit && value < kLimit)) return 0;
  return static_cast<std::uint8_t>(static_cast<std::int32_t>(value));
}

void Fill(const CoreGeometry::PerlinNoise& noise, const Picture& picture, const Columns&,
          float amplitude, std::uint32_t first, std::uint32_t last) {
  const auto n = static_cast<std::uint32_t>(picture.cellSize);
  const std::size_t rowSize =
      static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.pixelBytes);
  for (std::uint32_t cellRow = first; cellRow < last; ++cellRow) {
    const std::uint32_t y = cellRow * n;
    const float fy =
        static_cast<float>(static_cast<std::int32_t>(y)) / static_cast<float>(picture.height);
    std::uint8_t* const row = picture.first + y * picture.rowBytes;
    for (std::uint32_t x = 0; x < picture.width; x += n) {
      const float fx =
          static_cast<float>(static_cast<std::int32_t>(x)) / static_cast<float>(picture.width);
      const float value = noise.Noise2(fx * kLatticeCells, fy * kLatticeCells);
      const std::uint8_t level = Level(value * amplitude * 255);
      for (std::uint32_t i = x; i < picture.width && i - x < n; ++i) {
        if (picture.pixelBytes == 1) {
          row[i] = level;
        } else {
          const std::uint8_t pixel[4] = {255, level, level, level};
          std::memcpy(row + std::size_t{4} * i, pixel, 4);
        }
      }
    }
    // The rows of a cell are alike.
    for (std::uint32_t i = 1; i < n && y + i < picture.height; ++i) {
      std::memcpy(row + i * picture.rowBytes, row, rowSize);
    }
  }
}

}  // namespace

const Kernels kScalarKernels = {"scalar", Fill};

}  // namespace NoiseKernels
