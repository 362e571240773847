#include "sdk/CoreX/XFrameKernels.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tests/support/Exhaustive.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using XFrameKernels::AvailableRowKernels;
using XFrameKernels::RowKernels;
using XFrameKernels::Tap;

TEST(XFrameKernels, MeanOfEveryPair) {
  Bytes a(65536);
  Bytes b(65536);
  Bytes want(65536);
  for (int i = 0; i < 65536; ++i) {
    a[std::size_t(i)] = std::uint8_t(i);
    b[std::size_t(i)] = std::uint8_t(i >> 8);
    want[std::size_t(i)] = std::uint8_t(((i & 255) + (i >> 8)) / 2);
  }
  for (const RowKernels& k : AvailableRowKernels()) {
    Bytes got(65536);
    k.mean(got.data(), a.data(), b.data(), got.size());
    EXPECT_EQ(got, want) << k.name;
  }
}

TEST(XFrameKernels, ThreeRowsOfEveryTriple) {
  Bytes above(65536);
  Bytes below(65536);
  for (int i = 0; i < 65536; ++i) {
    above[std::size_t(i)] = std::uint8_t(i);
    below[std::size_t(i)] = std::uint8_t(i >> 8);
  }
  for (int row = 0; row < 256; row += test::kDomainStep) {
    const Bytes middle(65536, std::uint8_t(row));
    Bytes want(65536);
    for (std::size_t i = 0; i < 65536; ++i) {
      want[i] = std::uint8_t(((above[i] + below[i]) / 2 + row) / 2);
    }
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got(65536);
      k.threeRows(got.data(), above.data(), middle.data(), below.data(), got.size());
      ASSERT_EQ(got, want) << k.name << " row " << row;
    }
  }
}

TEST(XFrameKernels, BilinearIsTheFormulaStepByStep) {
  std::mt19937 engine(5);
  Bytes upper(4 * 64);
  Bytes lower(4 * 64);
  for (std::uint8_t& b : upper) b = std::uint8_t(engine());
  for (std::uint8_t& b : lower) b = std::uint8_t(engine());
  std::vector<Tap> taps;
  for (int i = 0; i < 500; ++i) {
    const auto left = std::int32_t(engine() % 63) * 4;
    taps.push_back({left, engine() % 5 == 0 ? left : left + 4,
                    float(engine() % 1000) / 999.0f * (i % 7 == 0 ? 1.001f : 1.0f)});
  }
  for (const float weight : {0.0f, 0.25f, 1.0f / 3, 0.99999f, 1.0f}) {
    Bytes want(4 * taps.size());
    for (std::size_t x = 0; x < taps.size(); ++x) {
      for (int i = 0; i < 4; ++i) {
        const volatile float u = 1.0f - taps[x].weight;
        const volatile float v = 1.0f - weight;
        const volatile float a = float(upper[std::size_t(taps[x].left + i)]) * u;
        const volatile float b = float(upper[std::size_t(taps[x].right + i)]) * taps[x].weight;
        const volatile float c = float(lower[std::size_t(taps[x].left + i)]) * u;
        const volatile float d = float(lower[std::size_t(taps[x].right + i)]) * taps[x].weight;
        const volatile float ab = a + b;
        const volatile float cd = c + d;
        const volatile float top = ab * v;
        const volatile float bottom = cd * weight;
        const volatile float all = top + bottom;
        want[4 * x + std::size_t(i)] = std::uint8_t(int(all));
      }
    }
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got(want.size());
      k.bilinear(got.data(), upper.data(), lower.data(), weight, taps.data(), taps.size());
      EXPECT_EQ(got, want) << k.name << " weight " << weight;
    }
  }
}

TEST(XFrameKernels, EveryLengthAndStartStaysInside) {
  const Bytes source(400, 77);
  for (const RowKernels& k : AvailableRowKernels()) {
    for (std::size_t bytes = 0; bytes <= 130; ++bytes) {
      for (std::size_t offset = 0; offset < 4; ++offset) {
        Bytes got(bytes + 80, 0xA5);
        Bytes want = got;
        k.mean(got.data() + 40 + offset, source.data() + offset, source.data() + 3 * offset, bytes);
        std::fill_n(want.begin() + long(40 + offset), bytes, std::uint8_t(77));
        ASSERT_EQ(got, want) << k.name << ' ' << bytes;
        got.assign(got.size(), 0xA5);
        k.threeRows(got.data() + 40 + offset, source.data() + offset, source.data(),
                    source.data() + 1, bytes);
        ASSERT_EQ(got, want) << k.name << ' ' << bytes;
      }
    }
  }
}

TEST(XFrameKernels, AFormCanBeSelectedByName) {
  EXPECT_EQ(AvailableRowKernels().back().name, "scalar");
  const std::string_view best = AvailableRowKernels().front().name;
  EXPECT_TRUE(XFrameKernels::SelectRowKernels("scalar"));
  EXPECT_EQ(XFrameKernels::CurrentRowKernels().name, "scalar");
  EXPECT_FALSE(XFrameKernels::SelectRowKernels(""));
  EXPECT_TRUE(XFrameKernels::SelectRowKernels(best));
  EXPECT_EQ(XFrameKernels::CurrentRowKernels().name, best);
}

}  // namespace
