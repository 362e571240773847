#include "sdk/CoreGeometry/PerlinNoise.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "platform/System/Random.h"

namespace CoreGeometry {
namespace {

constexpr std::uint32_t kSingletonSeed = 4567;
constexpr std::int32_t kLargestOctave = 8;
// Maps a draw of 0..2^31 - 1 to [0, 2).
constexpr float kDrawScale = 0x1p-30f;

/// What the platform's conversion gives: a value out of range becomes the most negative integer.
std::int32_t ToInt32(float value) {
  constexpr float kLimit = 0x1p31f;
  if (!(value >= -kLimit && value < kLimit)) return std::numeric_limits<std::int32_t>::min();
  return static_cast<std::int32_t>(value);
}

/// One coordinate, split at its lattice cell.
struct Axis {
  std::uint32_t cell;  ///< of the lower corner; unsigned, so that the upper one may wrap
  float r0;            ///< offset from the lower corner
  float r1;            ///< offset from the upper corner

  explicit Axis(float v) {
    const std::int32_t b = ToInt32(std::floor(v));
    cell = static_cast<std::uint32_t>(b);
    r0 = v - static_cast<float>(b);
    r1 = r0 - 1.0f;
  }
  float weight() const { return (3.0f - 2.0f * r0) * (r0 * r0); }
};

float Lerp(float s, float a, float b) {
  return a - (a - b) * s;
}

}  // namespace

PerlinNoise PerlinNoise::sSingleton(kSingletonSeed);

PerlinNoise::PerlinNoise(std::uint32_t seed) {
  Construct(seed);
}

void PerlinNoise::Construct(std::uint32_t seed) {
  platform::srand(seed);
  for (int i = 0; i < 256; ++i) mPermutation[i] = static_cast<std::uint8_t>(i);
  for (int i = 0; i < 256; ++i) std::swap(mPermutation[i], mPermutation[platform::rand() & 255]);
  const auto draw = [] { return static_cast<float>(platform::rand()) * kDrawScale - 1.0f; };
  for (int k = 0; k < 256; ++k) {
    mGradientX[k] = draw();
    mGradientY[k] = draw();
    mGradientZ[k] = draw();
  }
}

float PerlinNoise::Noise1(float x) const {
  const Axis ax(x);
  const float u = ax.r0 * mGradientX[ax.cell & 255];
  const float v = ax.r1 * mGradientX[(ax.cell + 1) & 255];
  return Lerp(ax.weight(), u, v);
}

float PerlinNoise::Noise2(float x, float y) const {
  const Axis ax(x);
  const Axis ay(y);
  const std::uint32_t i = mPermutation[ax.cell & 255];
  const std::uint32_t j = mPermutation[(ax.cell + 1) & 255];
  const auto hash = [&](std::uint32_t n) { return mPermutation[n & 255]; };
  const auto corner = [&](std::uint8_t h, float rx, float ry) {
    return rx * mGradientX[h] + ry * mGradientY[h];
  };
  const float u00 = corner(hash(i + ay.cell), ax.r0, ay.r0);
  const float u10 = corner(hash(j + ay.cell), ax.r1, ay.r0);
  const float u01 = corner(hash(i + ay.cell + 1), ax.r0, ay.r1);
  const float u11 = corner(hash(j + ay.cell + 1), ax.r1, ay.r1);
  const float sx = ax.weight();
  return Lerp(ay.weight(), Lerp(sx, u00, u10), Lerp(sx, u01, u11));
}

float PerlinNoise::Noise3(float x, float y, float z) const {
  const Axis ax(x);
  const Axis ay(y);
  const Axis az(z);
  const auto hash = [&](std::uint32_t n) -> std::uint32_t { return mPermutation[n & 255]; };
  const std::uint32_t i = hash(ax.cell);
  const std::uint32_t j = hash(ax.cell + 1);
  const std::uint32_t b00 = hash(i + ay.cell);
  const std::uint32_t b10 = hash(j + ay.cell);
  const std::uint32_t b01 = hash(i + ay.cell + 1);
  const std::uint32_t b11 = hash(j + ay.cell + 1);
  const auto corner = [&](std::uint32_t h, float rx, float ry, float rz) {
    return rx * mGradientX[h] + ry * mGradientY[h] + rz * mGradientZ[h];
  };
  const float sx = ax.weight();
  const float sy = ay.weight();
  const auto plane = [&](std::uint32_t cell, float rz) {
    const float lower = Lerp(sx, corner(hash(cell + b00), ax.r0, ay.r0, rz),
                             corner(hash(cell + b10), ax.r1, ay.r0, rz));
    const float upper = Lerp(sx, corner(hash(cell + b01), ax.r0, ay.r1, rz),
                             corner(hash(cell + b11), ax.r1, ay.r1, rz));
    return Lerp(sy, lower, upper);
  };
  return Lerp(az.weight(), plane(az.cell, az.r0), plane(az.cell + 1, az.r1));
}

float PerlinNoise::Noise1FromNormalValue(float value, std::uint32_t octave) const {
  const std::int32_t clamped = std::clamp(static_cast<std::int32_t>(octave), 0, kLargestOctave);
  return Noise1(value * static_cast<float>(1 << (clamped + 1)));
}

std::uint32_t PerlinNoise::OctaveFromFrequency(float frequency) {
  const std::int32_t octave = ToInt32(std::log2(frequency));
  return static_cast<std::uint32_t>(std::clamp(octave, 0, kLargestOctave));
}

}  // namespace CoreGeometry
