#include "sdk/CoreGeometry/PerlinNoise.h"

#include <gtest/gtest.h>

#include <rapidcheck/gtest.h>
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

namespace {

using CoreGeometry::PerlinNoise;

static_assert(sizeof(PerlinNoise) == 256 + 3 * 256 * sizeof(float));
static_assert(!std::is_polymorphic_v<PerlinNoise>);

/// The tables and formulas, written out the long way: integer arithmetic for the generator, a
/// doubled table instead of wrapped sums, one corner after the other.
struct Oracle {
  int p[1024];
  float g[3][256];

  explicit Oracle(std::int64_t state) {
    const auto next = [&] { return state = state * 16807 % 2147483647; };
    for (int i = 0; i < 256; ++i) p[i] = i;
    for (int i = 0; i < 256; ++i) {
      const int j = static_cast<int>(next() & 255);
      const int t = p[i];
      p[i] = p[j];
      p[j] = t;
    }
    for (int i = 256; i < 1024; ++i) p[i] = p[i - 256];
    for (int k = 0; k < 256; ++k) {
      for (int axis = 0; axis < 3; ++axis) {
        const volatile float draw = static_cast<float>(next());
        const volatile float scaled = draw * 9.31322574615478515625e-10f;
        g[axis][k] = scaled - 1.0f;
      }
    }
  }

  static int Cell(float v) { return static_cast<int>(std::floor(v)); }
  static int Wrap(int n) { return ((n % 256) + 256) % 256; }
  static float Offset(float v) { return v - static_cast<float>(Cell(v)); }
  static float Weight(float r) { return (3.0f - 2.0f * r) * (r * r); }
  static float Lerp(float s, float a, float b) { return a - (a - b) * s; }

  float Noise1(float x) const {
    const float r = Offset(x);
    return Lerp(Weight(r), r * g[0][Wrap(Cell(x))], (r - 1.0f) * g[0][Wrap(Cell(x) + 1)]);
  }
  float Noise2(float x, float y) const {
    float value[2][2];
    for (int dy = 0; dy < 2; ++dy) {
      for (int dx = 0; dx < 2; ++dx) {
        const int h = p[p[Wrap(Cell(x) + dx)] + Wrap(Cell(y) + dy)];
        const float rx = dx ? Offset(x) - 1.0f : Offset(x);
        const float ry = dy ? Offset(y) - 1.0f : Offset(y);
        value[dy][dx] = rx * g[0][h] + ry * g[1][h];
      }
    }
    const float sx = Weight(Offset(x));
    return Lerp(Weight(Offset(y)), Lerp(sx, value[0][0], value[0][1]),
                Lerp(sx, value[1][0], value[1][1]));
  }
  float Noise3(float x, float y, float z) const {
    float plane[2];
    for (int dz = 0; dz < 2; ++dz) {
      float value[2][2];
      for (int dy = 0; dy < 2; ++dy) {
        for (int dx = 0; dx < 2; ++dx) {
          const int xy = p[p[Wrap(Cell(x) + dx)] + Wrap(Cell(y) + dy)];
          const int h = p[xy + Wrap(Cell(z) + dz)];
          const float rx = dx ? Offset(x) - 1.0f : Offset(x);
          const float ry = dy ? Offset(y) - 1.0f : Offset(y);
          const float rz = dz ? Offset(z) - 1.0f : Offset(z);
          value[dy][dx] = rx * g[0][h] + ry * g[1][h] + rz * g[2][h];
        }
      }
      const float sx = Weight(Offset(x));
      plane[dz] = Lerp(Weight(Offset(y)), Lerp(sx, value[0][0], value[0][1]),
                       Lerp(sx, value[1][0], value[1][1]));
    }
    return Lerp(Weight(Offset(z)), plane[0], plane[1]);
  }
};

const Oracle& Reference() {
  static const Oracle oracle(4567);
  return oracle;
}

/// Coordinates around every kind of place: cells, signs, fractions, the table's wrap.
std::vector<float> Coordinates() {
  std::vector<float> all;
  for (const float base :
       {-513.0f, -257.0f, -256.0f, -2.0f, -1.0f, 0.0f, 1.0f, 254.0f, 255.0f, 256.0f, 1000.0f}) {
    for (const float part : {0.0f, 0.125f, 0.3f, 0.5f, 0.9999f}) all.push_back(base + part);
  }
  return all;
}

TEST(PerlinNoise, SingletonIsTheFieldOfItsSeed) {
  EXPECT_EQ(PerlinNoise::sSingleton, PerlinNoise(4567));
  EXPECT_FALSE(PerlinNoise::sSingleton == PerlinNoise(4568));
}

TEST(PerlinNoise, OneDimensionIsTheRule) {
  for (const float x : Coordinates()) {
    EXPECT_EQ(PerlinNoise::sSingleton.Noise1(x), Reference().Noise1(x)) << x;
  }
}

TEST(PerlinNoise, TwoDimensionsAreTheRule) {
  for (const float x : Coordinates()) {
    for (const float y : Coordinates()) {
      ASSERT_EQ(PerlinNoise::sSingleton.Noise2(x, y), Reference().Noise2(x, y)) << x << ' ' << y;
    }
  }
}

TEST(PerlinNoise, ThreeDimensionsAreTheRule) {
  for (const float x : Coordinates()) {
    for (const float y : Coordinates()) {
      for (const float z : {-256.25f, -1.0f, -0.5f, 0.75f, 255.5f, 256.0f}) {
        ASSERT_EQ(PerlinNoise::sSingleton.Noise3(x, y, z), Reference().Noise3(x, y, z))
            << x << ' ' << y << ' ' << z;
      }
    }
  }
}

TEST(PerlinNoise, IsZeroOnTheLattice) {
  for (int x = -300; x <= 300; x += 7) {
    const float fx = static_cast<float>(x);
    EXPECT_EQ(PerlinNoise::sSingleton.Noise1(fx), 0.0f);
    for (int y = -300; y <= 300; y += 11) {
      const float fy = static_cast<float>(y);
      EXPECT_EQ(PerlinNoise::sSingleton.Noise2(fx, fy), 0.0f);
      EXPECT_EQ(PerlinNoise::sSingleton.Noise3(fx, fy, fx + fy), 0.0f);
    }
  }
}

RC_GTEST_PROP(PerlinNoise, RepeatsEvery256, ()) {
  // Multiples of 1/64 below 2^15 are exact in single precision, and so is the sum with 256.
  const auto coordinate = rc::gen::map(rc::gen::inRange(-32 * 64 * 256, 32 * 64 * 256),
                                       [](int n) { return static_cast<float>(n) / 64.0f; });
  const float x = *coordinate;
  const float y = *coordinate;
  const float z = *coordinate;
  const PerlinNoise& noise = PerlinNoise::sSingleton;
  RC_ASSERT(noise.Noise1(x + 256) == noise.Noise1(x));
  RC_ASSERT(noise.Noise2(x + 256, y) == noise.Noise2(x, y));
  RC_ASSERT(noise.Noise2(x, y - 256) == noise.Noise2(x, y));
  RC_ASSERT(noise.Noise3(x, y, z + 256) == noise.Noise3(x, y, z));
}

TEST(PerlinNoise, FarAndUndefinedPlacesAreDefined) {
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const float x : {1e10f, -1e10f, 0x1p31f, -0x1p31f, inf, -inf, nan}) {
    // Beyond 2^31 the cell is -2^31 and the offset huge: no fixed value, but no fault either.
    PerlinNoise::sSingleton.Noise1(x);
    PerlinNoise::sSingleton.Noise2(x, 0.5f);
    PerlinNoise::sSingleton.Noise3(0.5f, x, x);
  }
  EXPECT_EQ(PerlinNoise::sSingleton.Noise1(-0x1p31f), 0.0f);
  EXPECT_TRUE(std::isnan(PerlinNoise::sSingleton.Noise1(nan)));
}

TEST(PerlinNoise, OctaveOfAFrequency) {
  struct Case {
    float frequency;
    std::uint32_t octave;
  };
  const Case cases[] = {{0.0f, 0},   {-4.0f, 0}, {0.25f, 0},  {1.0f, 0},   {1.99f, 0},
                        {2.0f, 1},   {6.0f, 2},  {8.0f, 3},   {255.0f, 7}, {256.0f, 8},
                        {300.0f, 8}, {1e30f, 8}, {511.0f, 8}, {1024.0f, 8}};
  for (const Case& c : cases) {
    EXPECT_EQ(PerlinNoise::OctaveFromFrequency(c.frequency), c.octave) << c.frequency;
  }
}

TEST(PerlinNoise, NormalValueScalesByThePowerAfterTheOctave) {
  const PerlinNoise& noise = PerlinNoise::sSingleton;
  for (const float value : {0.0f, 0.3f, 0.7f, -0.2f, 1.0f}) {
    for (std::uint32_t octave = 0; octave <= 8; ++octave) {
      const float scale = static_cast<float>(std::pow(2, octave + 1));
      EXPECT_EQ(noise.Noise1FromNormalValue(value, octave), noise.Noise1(value * scale));
    }
    EXPECT_EQ(noise.Noise1FromNormalValue(value, 9), noise.Noise1(value * 512));
    EXPECT_EQ(noise.Noise1FromNormalValue(value, 0x7FFFFFFF), noise.Noise1(value * 512));
    EXPECT_EQ(noise.Noise1FromNormalValue(value, 0x80000000), noise.Noise1(value * 2));
    EXPECT_EQ(noise.Noise1FromNormalValue(value, 0xFFFFFFFF), noise.Noise1(value * 2));
  }
}

}  // namespace
