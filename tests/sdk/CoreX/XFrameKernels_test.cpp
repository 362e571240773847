#include "sdk/CoreX/XFrameKernels.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "tests/support/Exhaustive.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using XFrameKernels::AvailableRowKernels;
using XFrameKernels::RowKernels;

Bytes Noise(std::size_t size, unsigned seed) {
  std::mt19937 engine(seed);
  Bytes bytes(size);
  for (std::uint8_t& b : bytes) b = std::uint8_t(engine());
  return bytes;
}

/// Both bytes of every pair of bytes.
struct EveryPair {
  Bytes a = Bytes(65536);
  Bytes b = Bytes(65536);
  EveryPair() {
    for (std::size_t i = 0; i < 65536; ++i) {
      a[i] = std::uint8_t(i);
      b[i] = std::uint8_t(i >> 8);
    }
  }
};

std::uint8_t Mean(int a, int b) {
  return std::uint8_t((a + b) / 2);
}

TEST(XFrameKernels, MeansOfEveryPair) {
  const EveryPair all;
  Bytes want(65536);
  for (std::size_t i = 0; i < 65536; ++i) want[i] = Mean(all.a[i], all.b[i]);
  for (const RowKernels& k : AvailableRowKernels()) {
    Bytes first(65536);
    Bytes second(65536);
    k.pairs({first.data(), second.data() - first.data()},
            {all.a.data(), all.b.data() - all.a.data()}, 65536, 1);
    EXPECT_TRUE(first == want && second == want) << k.name;
    k.field({first.data(), second.data() - first.data()},
            {all.a.data(), all.b.data() - all.a.data()}, 65536, 1);
    EXPECT_TRUE(first == all.a && second == want) << k.name;
  }
}

TEST(XFrameKernels, ThreeRowsOfEveryTriple) {
  const EveryPair all;
  Bytes want(65536);
  Bytes wantSecond(65536);
  Bytes first(65536);
  Bytes second(65536);
  Bytes rows(2 * 65536);  // a grey row and, below it, `b`
  std::memcpy(rows.data() + 65536, all.b.data(), 65536);
  for (int grey = 0; grey < 256; grey += test::kDomainStep) {
    std::memset(rows.data(), grey, 65536);
    for (std::size_t i = 0; i < 65536; ++i) {
      want[i] = Mean(Mean(all.a[i], all.b[i]), grey);
      wantSecond[i] = Mean(Mean(grey, all.a[i]), all.b[i]);
    }
    for (const RowKernels& k : AvailableRowKernels()) {
      k.threeRows({first.data(), 0}, all.a.data(), {rows.data(), 0}, all.b.data(), 65536, 1);
      ASSERT_TRUE(first == want) << k.name << " row " << grey;
      first.assign(65536, 1);
      k.threeRows({first.data(), second.data() - first.data()}, all.a.data(), {rows.data(), 65536},
                  all.a.data(), 65536, 2);
      ASSERT_TRUE(first == want && second == wantSecond) << k.name << " row " << grey;
    }
  }
}

TEST(XFrameKernels, EveryByteDarkened) {
  for (const RowKernels& k : AvailableRowKernels()) {
    for (int thirds = 1; thirds <= 2; ++thirds) {
      for (std::size_t length = 0; length <= 256; length += length < 100 ? 1 : 39) {
        for (std::size_t from = 0; from + length <= 256; from += 64 + length % 3) {
          Bytes got(256);
          for (std::size_t i = 0; i < 256; ++i) got[i] = std::uint8_t(i);
          Bytes want = got;
          for (std::size_t i = from; i < from + length; ++i) {
            want[i] = std::uint8_t(thirds * (double(i) / 3.0));
          }
          k.darken(got.data() + from, length, thirds);
          ASSERT_EQ(got, want) << k.name << ' ' << thirds;
        }
      }
    }
  }
}

/// Rows in noise, from the top down or from the bottom up.
struct Picture {
  Bytes bytes;
  std::size_t start;
  std::ptrdiff_t stride;

  Picture(std::size_t rowBytes, int rows, std::size_t offset, bool down, unsigned seed) {
    const std::size_t step = rowBytes + 5;
    bytes = Noise(200 + offset + step * std::size_t(rows), seed);
    start = 100 + offset + (down ? 0 : step * std::size_t(rows - 1));
    stride = down ? std::ptrdiff_t(step) : -std::ptrdiff_t(step);
  }
  std::uint8_t* Row(std::ptrdiff_t y) { return bytes.data() + start + y * stride; }
  XFrameKernels::DestRows Dest() { return {Row(0), stride}; }
  XFrameKernels::SourceRows Source() { return {Row(0), stride}; }
};

/// `run(kernels, dst, src, rows, bytes)` gives what `want(dst, src, rows, bytes)` does, for rows of
/// every length and start; also in place, if it says so.
template <typename Run, typename Want>
void ExpectEverywhere(bool inPlace, const Run& run, const Want& want) {
  for (std::size_t bytes = 0; bytes <= 210; bytes += bytes < 140 ? 1 : 7) {
    for (int rows = 0; rows <= 6; rows += 2) {
      const std::size_t offset = bytes % 7;
      Picture src(bytes, 8, offset, bytes % 2 == 0, 1);
      const Picture before(bytes, 8, 3 * offset % 5, bytes % 4 < 2, 2);
      Picture wanted = before;
      want(wanted, src, rows, bytes);
      Picture wantedInPlace = src;
      want(wantedInPlace, wantedInPlace, rows, bytes);
      for (const RowKernels& k : AvailableRowKernels()) {
        Picture got = before;
        run(k, got, src, rows, bytes);
        ASSERT_EQ(got.bytes, wanted.bytes) << k.name << ", " << bytes << " bytes, " << rows;
        if (!inPlace) continue;
        got = src;
        run(k, got, got, rows, bytes);
        ASSERT_EQ(got.bytes, wantedInPlace.bytes) << k.name << ", " << bytes << " bytes, " << rows;
      }
    }
  }
}

TEST(XFrameKernels, PairsOfRowsOfEveryLength) {
  ExpectEverywhere(
      true,
      [](const RowKernels& k, Picture& dst, Picture& src, int rows, std::size_t bytes) {
        k.pairs(dst.Dest(), src.Source(), bytes, rows / 2);
      },
      [](Picture& dst, Picture& src, int rows, std::size_t bytes) {
        for (int y = 0; y < rows; y += 2) {
          for (std::size_t i = 0; i < bytes; ++i) {
            const std::uint8_t mean = Mean(src.Row(y)[i], src.Row(y + 1)[i]);
            dst.Row(y)[i] = dst.Row(y + 1)[i] = mean;
          }
        }
      });
}

TEST(XFrameKernels, FieldsOfRowsOfEveryLength) {
  for (const int field : {0, 1}) {
    ExpectEverywhere(
        true,
        [field](const RowKernels& k, Picture& dst, Picture& src, int rows, std::size_t bytes) {
          const int pairs = rows == 0 ? 0 : rows / 2 - 1 + (1 - field);
          k.field(dst.Dest(), {src.Row(field), 2 * src.stride}, bytes, pairs);
        },
        [field](Picture& dst, Picture& src, int rows, std::size_t bytes) {
          const int pairs = rows == 0 ? 0 : rows / 2 - 1 + (1 - field);
          for (int pair = 0; pair < pairs; ++pair) {
            const Bytes a(src.Row(2 * pair + field), src.Row(2 * pair + field) + bytes);
            const Bytes b(src.Row(2 * pair + field + 2), src.Row(2 * pair + field + 2) + bytes);
            for (std::size_t i = 0; i < bytes; ++i) {
              dst.Row(2 * pair)[i] = a[i];
              dst.Row(2 * pair + 1)[i] = Mean(a[i], b[i]);
            }
          }
        });
  }
}

TEST(XFrameKernels, ThreeRowsOfEveryLength) {
  for (const int more : {0, 1}) {
    ExpectEverywhere(
        false,
        [more](const RowKernels& k, Picture& dst, Picture& src, int rows, std::size_t bytes) {
          k.threeRows(dst.Dest(), src.Row(7), src.Source(), src.Row(6), bytes, rows + more);
        },
        [more](Picture& dst, Picture& src, int rows, std::size_t bytes) {
          for (int y = 0; y < rows + more; ++y) {
            const std::uint8_t* above = y == 0 ? src.Row(7) : src.Row(y - 1);
            const std::uint8_t* below = y == rows + more - 1 ? src.Row(6) : src.Row(y + 1);
            for (std::size_t i = 0; i < bytes; ++i) {
              dst.Row(y)[i] = Mean(Mean(above[i], below[i]), src.Row(y)[i]);
            }
          }
        });
  }
}

TEST(XFrameKernels, FillsOfEveryLength) {
  const std::uint8_t pixel[4] = {255, 0, 127, 128};
  ExpectEverywhere(
      false,
      [&pixel](const RowKernels& k, Picture& dst, Picture&, int rows, std::size_t bytes) {
        k.fill(dst.Dest(), pixel, bytes / 4, rows);
      },
      [&pixel](Picture& dst, Picture&, int rows, std::size_t bytes) {
        for (int y = 0; y < rows; ++y) {
          for (std::size_t i = 0; i < bytes / 4 * 4; ++i) dst.Row(y)[i] = pixel[i % 4];
        }
      });
}

// ---- Resizing

/// Columns of a source, the steps between them up to `mostStep` pixels.
struct Columns {
  std::vector<std::int32_t> left;
  std::vector<float> weight;
  int count;

  Columns(int columns, int sourceWidth, int mostStep, unsigned seed) : count(columns) {
    std::mt19937 engine(seed);
    int at = int(engine() % 3);
    for (int x = 0; x < columns; ++x) {
      left.push_back(std::min(at, sourceWidth - 1));
      at += int(engine() % unsigned(mostStep + 1));
      // Beyond the last pixel positions run on.
      const float past = left.back() == sourceWidth - 1 ? 1.75f : 1;
      weight.push_back(engine() % 5 == 0 ? 0 : float(engine() % 1000) / 999.0f * past);
    }
    while (left.size() % XFrameKernels::kColumnPadding != 0) {
      left.push_back(left.back());
      weight.push_back(weight.back());
    }
  }
};

/// Rows that start at multiples of 64 bytes, as those that go past the cache do.
struct AlignedPicture {
  Bytes bytes;
  std::uint8_t* first;
  std::ptrdiff_t stride;

  AlignedPicture(int columns, int rows) {
    stride = (4 * columns + 63) / 64 * 64 + 64;
    bytes.assign(std::size_t(stride * rows + 64), 0xA5);
    first = bytes.data() + (64 - reinterpret_cast<std::uintptr_t>(bytes.data()) % 64) % 64;
  }
};

/// The formula, each step in single precision.
std::uint8_t Bilinear(int a, int b, int c, int d, float weight, float lowerWeight) {
  const volatile float u = 1.0f - weight;
  const volatile float v = 1.0f - lowerWeight;
  const volatile float au = float(a) * u;
  const volatile float bw = float(b) * weight;
  const volatile float cu = float(c) * u;
  const volatile float dw = float(d) * weight;
  const volatile float upper = au + bw;
  const volatile float lower = cu + dw;
  const volatile float top = upper * v;
  const volatile float bottom = lower * lowerWeight;
  const volatile float all = top + bottom;
  return std::uint8_t(int(all));
}

struct Case {
  int sourceWidth;
  int sourceHeight;
  int columns;
  int mostStep;
  int rows;
  float fy;
  float ystep;
};
const Case kCases[] = {
    {1, 1, 1, 1, 1, 0, 1},          {1, 3, 40, 1, 9, 0, 0.375f},   {200, 5, 100, 1, 12, 0, 0.4f},
    {500, 9, 300, 2, 6, 0, 1.5f},   {900, 9, 300, 3, 4, 0.25f, 2}, {8, 4, 7, 1, 9, 0, 1.0f / 3},
    {31, 4, 512, 1, 5, 1.5f, 0.5f}, {33, 4, 90, 1, 5, 0, 1},       {4000, 6, 511, 9, 3, 0, 2.5f},
    {16, 2, 16, 1, 5, 0, 0.75f},    {15, 2, 33, 1, 4, 0, 0.7f},    {7, 2, 17, 1, 4, 2.5f, 3},
};

/// The picture's rows, and nothing written behind them.
void ExpectRows(const AlignedPicture& got, Picture& want, const Case& c) {
  for (int y = 0; y < c.rows; ++y) {
    const std::uint8_t* const row = got.first + y * got.stride;
    ASSERT_EQ(std::memcmp(row, want.Row(y), std::size_t(4 * c.columns)), 0) << "row " << y;
    for (std::ptrdiff_t i = 4 * c.columns; i < got.stride; ++i) ASSERT_EQ(row[i], 0xA5);
  }
}

TEST(XFrameKernels, BilinearIsTheFormulaStepByStep) {
  unsigned seed = 0;
  for (const Case& c : kCases) {
    for (const bool down : {true, false}) {
      const Columns columns(c.columns, c.sourceWidth, c.mostStep, ++seed);
      Picture src(std::size_t(4 * c.sourceWidth), c.sourceHeight, seed % 4, down, seed);
      const Picture before(std::size_t(4 * c.columns), c.rows, seed % 3, !down, seed + 1);
      Picture want = before;
      volatile float fy = c.fy;
      for (int y = 0; y < c.rows; ++y) {
        const int y0 = std::min(c.sourceHeight - 1, int(fy));
        const int y1 = std::min(c.sourceHeight - 1, y0 + 1);
        for (int x = 0; x < c.columns; ++x) {
          const int left = columns.left[std::size_t(x)];
          const int right = std::min(left + 1, c.sourceWidth - 1);
          for (int i = 0; i < 4; ++i) {
            want.Row(y)[4 * x + i] = Bilinear(src.Row(y0)[4 * left + i], src.Row(y0)[4 * right + i],
                                              src.Row(y1)[4 * left + i], src.Row(y1)[4 * right + i],
                                              columns.weight[std::size_t(x)], fy - float(y0));
          }
        }
        fy = fy + c.ystep;
      }
      for (const RowKernels& k : AvailableRowKernels()) {
        Picture got = before;
        alignas(64) float cache[8 * XFrameKernels::kMostColumns];
        k.bilinear({got.Dest(), c.rows, c.columns, columns.left.data(), columns.weight.data(),
                    src.Source(), c.sourceWidth, c.sourceHeight, c.fy, c.ystep, cache, false});
        ASSERT_EQ(got.bytes, want.bytes) << k.name << ", case " << seed;
        AlignedPicture past(c.columns, c.rows);
        k.bilinear({{past.first, past.stride},
                    c.rows,
                    c.columns,
                    columns.left.data(),
                    columns.weight.data(),
                    src.Source(),
                    c.sourceWidth,
                    c.sourceHeight,
                    c.fy,
                    c.ystep,
                    cache,
                    true});
        ExpectRows(past, want, c);
      }
    }
  }
}

TEST(XFrameKernels, NearestTakesTheColumnsOfTheRow) {
  unsigned seed = 0;
  for (const Case& c : kCases) {
    for (const bool down : {true, false}) {
      const Columns columns(c.columns, c.sourceWidth, c.mostStep, ++seed);
      Picture src(std::size_t(4 * c.sourceWidth), c.sourceHeight, seed % 4, down, seed);
      const Picture before(std::size_t(4 * c.columns), c.rows, seed % 3, !down, seed + 1);
      Picture want = before;
      double fy = double(c.fy);
      for (int y = 0; y < c.rows; ++y, fy += double(c.ystep)) {
        for (int x = 0; x < c.columns; ++x) {
          std::memcpy(
              want.Row(y) + 4 * x,
              src.Row(std::min(c.sourceHeight - 1, int(fy))) + 4 * columns.left[std::size_t(x)], 4);
        }
      }
      for (const RowKernels& k : AvailableRowKernels()) {
        Picture got = before;
        k.nearest({got.Dest(), c.rows, c.columns, columns.left.data(), src.Source(), c.sourceWidth,
                   c.sourceHeight, double(c.fy), double(c.ystep), false});
        ASSERT_EQ(got.bytes, want.bytes) << k.name << ", case " << seed;
        AlignedPicture past(c.columns, c.rows);
        k.nearest({{past.first, past.stride},
                   c.rows,
                   c.columns,
                   columns.left.data(),
                   src.Source(),
                   c.sourceWidth,
                   c.sourceHeight,
                   double(c.fy),
                   double(c.ystep),
                   true});
        ExpectRows(past, want, c);
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
