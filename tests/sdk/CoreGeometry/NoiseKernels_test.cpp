#include "sdk/CoreGeometry/NoiseKernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using NoiseKernels::AvailableKernels;
using NoiseKernels::Columns;
using NoiseKernels::Kernels;
using NoiseKernels::Picture;

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kGuard = 80;

const CoreGeometry::PerlinNoise& Noise() {
  return CoreGeometry::PerlinNoise::sSingleton;
}

struct Case {
  std::uint32_t width;
  std::uint32_t height;
  int pixelBytes;
  int cellSize;
  std::size_t padding;
  float amplitude;
};

Picture PictureOf(const Case& c, Bytes& bytes) {
  const std::size_t rowBytes = c.width * std::size_t(c.pixelBytes) + c.padding;
  return {bytes.data() + kGuard, rowBytes, c.width, c.height, c.pixelBytes, c.cellSize};
}

/// The rule, pixel by pixel, for the pixels of cell rows [first, last).
Bytes Want(const Case& c, Bytes bytes, std::uint32_t first, std::uint32_t last) {
  const Picture picture = PictureOf(c, bytes);
  const auto n = std::uint32_t(c.cellSize);
  for (std::uint32_t y = first * n; y < std::min(c.height, last * n); ++y) {
    for (std::uint32_t x = 0; x < c.width; ++x) {
      const float fx = float(int(x / n * n)) / float(c.width);
      const float fy = float(int(y / n * n)) / float(c.height);
      const volatile float noise = Noise().Noise2(fx * 256, fy * 256);
      const volatile float scaled = noise * c.amplitude;
      const volatile float value = scaled * 255;
      const bool fits = value >= -2147483648.0f && value < 2147483648.0f;
      const auto level = std::uint8_t(fits ? std::int32_t(value) : 0);
      std::uint8_t* const to = picture.first + y * picture.rowBytes + x * std::size_t(c.pixelBytes);
      to[0] = c.pixelBytes == 4 ? 255 : level;
      for (int i = 1; i < c.pixelBytes; ++i) to[i] = level;
    }
  }
  return bytes;
}

void Check(const Case& c, std::uint32_t first = 0, std::uint32_t last = 0xFFFFFFFF) {
  const std::size_t rowBytes = c.width * std::size_t(c.pixelBytes) + c.padding;
  Bytes before(2 * kGuard + c.height * rowBytes);
  std::mt19937 engine(c.width * 7 + c.height);
  for (std::uint8_t& b : before) b = std::uint8_t(engine());
  last = std::min(last, PictureOf(c, before).cellRows());
  const Bytes want = Want(c, before, first, last);
  for (const Kernels& k : AvailableKernels()) {
    Bytes got = before;
    const Picture picture = PictureOf(c, got);
    const Columns columns(picture);
    ASSERT_TRUE(columns.valid());
    k.fill(Noise(), picture, columns, c.amplitude, first, last);
    ASSERT_TRUE(got == want) << k.name << ' ' << c.width << " x " << c.height << ", "
                             << c.pixelBytes << " bytes, cells of " << c.cellSize << ", amplitude "
                             << c.amplitude;
  }
}

TEST(NoiseKernels, EveryCellSizeFillsEveryPixel) {
  for (const int pixelBytes : {1, 4}) {
    for (int cellSize = 1; cellSize <= 64; ++cellSize) {
      Check({300, 67, pixelBytes, cellSize, 5, 1.0f});
    }
  }
}

TEST(NoiseKernels, EveryWidthAroundVectorsAndLattice) {
  for (const int pixelBytes : {1, 4}) {
    for (std::uint32_t width = 1; width <= 70; ++width) {
      for (const int cellSize : {1, 2, 3, 8, 9, 17})
        Check({width, 5, pixelBytes, cellSize, 3, -2.5f});
    }
    // Fewer columns than the lattice has, as many, and more.
    for (const std::uint32_t width : {255u, 256u, 257u, 258u, 259u, 300u, 515u, 516u, 1000u}) {
      for (const int cellSize : {1, 2}) Check({width, 7, pixelBytes, cellSize, 0, 0.7f});
    }
  }
}

TEST(NoiseKernels, PicturesOfUsualSizes) {
  Check({640, 480, 4, 1, 0, 1.0f});
  Check({640, 480, 4, 8, 0, 1.0f});
  // Rows that skip lattice rows, and many that share one.
  Check({700, 40, 1, 1, 0, 1.0f});
  Check({300, 1100, 1, 1, 0, 1.0f});
  Check({1, 1, 4, 1, 0, 1.0f});
}

TEST(NoiseKernels, PartsOfAPictureLeaveTheRest) {
  const Case c = {310, 50, 4, 3, 4, 1.0f};
  Check(c, 0, 1);
  Check(c, 5, 9);
  Check(c, 16, 17);
  Check(c, 4, 4);
}

TEST(NoiseKernels, AnyAmplitude) {
  const float inf = std::numeric_limits<float>::infinity();
  for (const float amplitude : {0.0f, -0.0f, 1e-40f, 1.0f, -1.0f, 255.0f, 1e6f, 1048576.0f,
                                -1048577.0f, 2e7f, 1e30f, 3e38f, inf, -inf, std::nanf("")}) {
    for (const int pixelBytes : {1, 4}) {
      Check({300, 9, pixelBytes, 1, 1, amplitude});
      Check({40, 9, pixelBytes, 2, 1, amplitude});
    }
  }
}

TEST(NoiseKernels, PlacesAreTheRule) {
  for (const int cellSize : {1, 7, 64}) {
    for (const std::uint32_t size : {1u, 3u, 640u, 1921u, 100003u, 0x7FFFFFFFu}) {
      const Picture picture = {nullptr, size, size, size, 1, cellSize};
      for (const std::uint32_t index :
           {0u, 1u, picture.cellColumns() / 2, picture.cellColumns() - 1}) {
        if (index >= picture.cellColumns()) continue;
        const auto place = NoiseKernels::Place::Of(index, cellSize, size);
        const float v = float(int(index) * cellSize) / float(size) * 256;
        EXPECT_EQ(float(place.cell) + place.offset, v);
        EXPECT_LE(place.cell, 256u);
        EXPECT_GE(place.offset, 0.0f);
        EXPECT_LT(place.offset, 1.0f);
      }
      EXPECT_EQ(picture.cellRows(),
                (std::uint64_t{size} + unsigned(cellSize) - 1) / unsigned(cellSize));
    }
  }
}

TEST(NoiseKernels, AFormCanBeSelectedByName) {
  EXPECT_EQ(AvailableKernels().back().name, "scalar");
  const std::string_view best = AvailableKernels().front().name;
  EXPECT_EQ(NoiseKernels::CurrentKernels().name, best);
  EXPECT_TRUE(NoiseKernels::SelectKernels("scalar"));
  EXPECT_EQ(NoiseKernels::CurrentKernels().name, "scalar");
  EXPECT_FALSE(NoiseKernels::SelectKernels("none of this name"));
  EXPECT_TRUE(NoiseKernels::SelectKernels("vector"));
  EXPECT_EQ(NoiseKernels::CurrentKernels().name, best);
}

}  // namespace
