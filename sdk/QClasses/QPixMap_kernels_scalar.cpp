// The row kernels, straight from their rules. Nothing here is reassociated: each conversion between
// single and double precision is part of the definition.
#include <limits>

#include "sdk/QClasses/QPixMap_kernels.h"

namespace QPixMapKernels {
namespace {

constexpr std::size_t kPixelBytes = 4;

std::int32_t Truncate(double value) {
  if (!(value > -2147483649.0 && value < 2147483648.0)) {
    return std::numeric_limits<std::int32_t>::min();
  }
  return static_cast<std::int32_t>(value);
}

void Grey(std::uint8_t* row, std::size_t pixels) {
  for (std::size_t x = 0; x < pixels; ++x, row += kPixelBytes) {
    const double g = kGreyOfBlue * row[3] + kGreyOfRed * row[1] + kGreyOfGreen * row[2];
    row[1] = row[2] = row[3] = static_cast<std::uint8_t>(Truncate(g));
  }
}

void Levels(std::uint8_t* row, std::size_t pixels, const std::uint8_t* table) {
  for (std::size_t x = 0; x < pixels; ++x, row += kPixelBytes) {
    row[1] = table[row[1]];
    row[2] = table[row[2]];
    row[3] = table[row[3]];
  }
}

std::uint8_t Channel(double value) {
  float single = static_cast<float>(value);
  if (single < 0.0f) single = 0.0f;
  const std::uint32_t whole = static_cast<std::uint32_t>(single);
  return static_cast<std::uint8_t>(whole > 255 ? 255 : whole);
}

void Duotone(std::uint8_t* row, std::size_t pixels, Tint tint) {
  for (std::size_t x = 0; x < pixels; ++x, row += kPixelBytes) {
    if (row[1] + row[2] + row[3] > kNearWhiteSum) continue;
    const double y = 1.164 * static_cast<float>(0.257 * row[1] + 0.504 * row[2] + 0.098 * row[3]);
    row[1] = Channel(y + 1.596 * tint.cr);
    // Cb and Cr are paired with each other's factors here: the tint's look depends on it.
    row[2] = Channel(y - 0.813 * tint.cb - 0.391 * tint.cr);
    row[3] = Channel(y + 2.018 * tint.cb);
  }
}

void Blend(std::uint8_t* dst, const std::uint8_t* a, double weightA, const std::uint8_t* b,
           double weightB, std::size_t pixels) {
  for (std::size_t i = 0; i < kPixelBytes * pixels; ++i) {
    dst[i] = static_cast<std::uint8_t>(Truncate(a[i] * weightA + b[i] * weightB));
  }
}

}  // namespace

Tint TintOfColor(std::uint32_t color) {
  const double r = color & 0xFF;
  const double g = (color >> 8) & 0xFF;
  const double b = (color >> 16) & 0xFF;
  return {static_cast<float>(0.439 * r - 0.368 * g - 0.071 * b),
          static_cast<float>(-0.148 * r - 0.291 * g + 0.439 * b)};
}

const RowKernels kScalarRowKernels = {"scalar", Grey, Levels, Duotone, Blend};

}  // namespace QPixMapKernels
