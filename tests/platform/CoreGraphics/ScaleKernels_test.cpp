#include "platform/CoreGraphics/ScaleKernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "tests/platform/CoreGraphics/Bitmaps.h"

namespace {

using bitmaps::Bytes;
using bitmaps::RandomBytes;
using raster::AvailableScaleKernels;
using raster::ScaleKernels;
using raster::TapRun;

using Floats = std::vector<float>;

constexpr std::size_t kGuard = 16;

/// Weights of about 1 altogether, some of them negative.
Floats RandomWeights(std::size_t count, std::mt19937& engine) {
  Floats weights(count);
  for (float& w : weights) w = static_cast<float>(engine() % 3001) / 2000.0F - 0.25F;
  return weights;
}

bool SameBits(const Floats& a, const Floats& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), 4 * a.size()) == 0;
}

TEST(ScaleKernels, ColumnsAreTheSumsStepByStep) {
  std::mt19937 engine(3);
  constexpr std::size_t kFirst = 5;
  constexpr std::size_t kColumns = 40;
  for (int round = 0; round < 40; ++round) {
    // Rounds of one number of taps, as scaling has it, and of mixed ones, as its edges have it.
    const Bytes pixels = RandomBytes(4 * kColumns + 1, static_cast<std::uint32_t>(round));
    std::vector<TapRun> runs;
    std::size_t weightCount = 0;
    const std::size_t runCount = engine() % 50;
    for (std::size_t k = 0; k < runCount; ++k) {
      TapRun run;
      run.count = round % 2 == 0 ? static_cast<std::size_t>(round / 2 % 9) : engine() % 6;
      run.first = kFirst + engine() % (kColumns - run.count + 1);
      run.offset = weightCount;
      weightCount += run.count;
      runs.push_back(run);
    }
    Floats weights = RandomWeights(weightCount, engine);
    Floats want;
    for (const TapRun& run : runs) {
      for (std::size_t c = 0; c < 4; ++c) {
        volatile float sum = 0;
        for (std::size_t i = 0; i < run.count; ++i) {
          const float byte = pixels[1 + 4 * (run.first - kFirst + i) + c];
          const volatile float product = weights[run.offset + i] * byte;
          sum = sum + product;
        }
        want.push_back(float(sum));
      }
    }
    weights.resize(weights.size() + raster::kWeightsRoom, 1e30F);
    want.resize(want.size() + kGuard, -7.0F);
    for (const ScaleKernels& k : AvailableScaleKernels()) {
      Floats got(want.size(), -7.0F);
      k.columns(got.data(), pixels.data() + 1, kFirst, runs.data(), runs.size(), weights.data());
      // Zeros of either sign are one sum.
      for (float& x : got) x += 0.0F;
      Floats plain = want;
      for (float& x : plain) x += 0.0F;
      ASSERT_TRUE(SameBits(got, plain)) << k.name << " round " << round;
    }
  }
}

TEST(ScaleKernels, RowsAreRoundedAndLimitedByAlpha) {
  std::mt19937 engine(5);
  for (std::size_t rowCount = 0; rowCount <= 9; ++rowCount) {
    for (std::size_t pixels = 0; pixels <= 37; ++pixels) {
      std::vector<Floats> rows(rowCount, Floats(4 * pixels + 1));
      std::vector<const float*> starts;
      for (Floats& row : rows) {
        for (float& x : row) x = static_cast<float>(engine() % 70000) / 200.0F - 40.0F;
        starts.push_back(row.data() + 1);
      }
      const Floats weights = RandomWeights(rowCount, engine);
      Bytes want(4 * pixels + kGuard, 0xA5);
      for (std::size_t i = 0; i < 4 * pixels; ++i) {
        volatile float sum = 0;
        for (std::size_t r = 0; r < rowCount; ++r) {
          const volatile float product = weights[r] * starts[r][i];
          sum = sum + product;
        }
        const float most = i % 4 == 0 ? 255.0F : want[i & ~std::size_t{3}];
        want[i] = static_cast<std::uint8_t>(std::min(std::max(float(sum), 0.0F), most) + 0.5F);
      }
      for (const ScaleKernels& k : AvailableScaleKernels()) {
        Bytes got(want.size(), 0xA5);
        k.rows(got.data(), starts.data(), weights.data(), rowCount, pixels);
        ASSERT_EQ(got, want) << k.name << ' ' << rowCount << " rows, " << pixels << " pixels";
      }
    }
  }
}

TEST(ScaleKernels, AFormCanBeSelectedByName) {
  EXPECT_EQ(AvailableScaleKernels().back().name, "scalar");
  const std::string_view best = AvailableScaleKernels().front().name;
  EXPECT_EQ(raster::ActiveScaleKernels().name, best);
  EXPECT_TRUE(raster::SelectScaleKernels("scalar"));
  EXPECT_EQ(raster::ActiveScaleKernels().name, "scalar");
  EXPECT_FALSE(raster::SelectScaleKernels("fastest"));
  EXPECT_TRUE(raster::SelectScaleKernels("vector"));
  EXPECT_EQ(raster::ActiveScaleKernels().name, best);
}

}  // namespace
