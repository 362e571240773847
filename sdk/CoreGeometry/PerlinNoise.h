// Gradient noise in one, two and three dimensions, after Ken Perlin's lattice noise of 1985 ("An
// Image Synthesizer", SIGGRAPH 1985): a seeded permutation hashes lattice points to random
// gradients, whose dot products with the offsets to the lattice corners are blended with the cubic
// 3t^2 - 2t^3. Gradients are not normalised, and one dimension takes its gradients without the
// permutation: the field is the one every earlier version of the system drew.
//
// All arithmetic is single precision, step by step. Every result is 0 on the lattice. Objects are
// never changed after construction: any number of threads may sample one.
#pragma once

#include <cstdint>

namespace CoreGeometry {

class PerlinNoise {
 public:
  /// Builds the tables from `seed`. Reseeds the platform's process-wide generator.
  explicit PerlinNoise(std::uint32_t seed);
  void Construct(std::uint32_t seed);

  /// Noise at a point, in lattice units; period 256 in each coordinate. Roughly -1 to 1, not
  /// clamped. A coordinate beyond the 32-bit range counts as in the lattice cell -2^31.
  float Noise1(float x) const;
  float Noise2(float x, float y) const;
  float Noise3(float x, float y, float z) const;

  /// Noise1 at value * 2^(octave + 1), with the octave (as a signed number) clamped to 0..8.
  float Noise1FromNormalValue(float value, std::uint32_t octave) const;

  /// log2 of the frequency, truncated, clamped to 0..8; 0 for what has no logarithm.
  static std::uint32_t OctaveFromFrequency(float frequency);

  /// The process-wide field, seed 4567. Usable once static initialisation has reached it.
  static PerlinNoise sSingleton;

  /// The tables, 256 entries each, for kernels that sample many points.
  const std::uint8_t* Permutation() const { return mPermutation; }
  const float* GradientX() const { return mGradientX; }
  const float* GradientY() const { return mGradientY; }

  bool operator==(const PerlinNoise&) const = default;

 private:
  std::uint8_t mPermutation[256];
  float mGradientX[256];
  float mGradientY[256];
  float mGradientZ[256];
};

}  // namespace CoreGeometry
