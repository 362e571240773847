#include "sdk/QClasses/QPixMap_kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "tests/support/Exhaustive.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using QPixMapKernels::AvailableRowKernels;
using QPixMapKernels::BlendPlan;
using QPixMapKernels::RowKernels;
using QPixMapKernels::Rows;
using QPixMapKernels::Source;
using QPixMapKernels::Tint;

/// One row of pixels.
Rows Row(std::uint8_t* first, std::size_t width) {
  return {first, 0, width, 1};
}
Source From(const std::uint8_t* first) {
  return {first, 0};
}

void Blend(const RowKernels& k, const Rows& dst, const Source& a, double weightA, const Source& b,
           double weightB) {
  BlendPlan plan{weightA, weightB};
  k.planBlend(plan, dst.width * dst.height);
  k.blend(dst, a, b, plan);
}

// The rules once more, one rounded step at a time.
namespace oracle {

std::uint8_t Grey(int r, int g, int b) {
  const volatile double pb = 0.2126 * b;
  const volatile double pr = 0.7152 * r;
  const volatile double pg = 0.0722 * g;
  const volatile double two = pb + pr;
  const volatile double all = two + pg;
  return std::uint8_t(int(all));
}

std::uint8_t Channel(double v) {
  const float single = float(v);
  if (single <= 0) return 0;
  return std::uint8_t(std::min(255, int(single)));
}

void Duotone(std::uint8_t* argb, std::uint32_t color) {
  const double tr = color & 255;
  const double tg = (color >> 8) & 255;
  const double tb = (color >> 16) & 255;
  const float cr = float(0.439 * tr - 0.368 * tg - 0.071 * tb);
  const float cb = float(-0.148 * tr - 0.291 * tg + 0.439 * tb);
  const double r = argb[1];
  const double g = argb[2];
  const double b = argb[3];
  if (r + g + b > 743) return;
  const volatile float inner = float(0.257 * r + 0.504 * g + 0.098 * b);
  const volatile double y = 1.164 * double(inner);
  argb[1] = Channel(y + 1.596 * double(cr));
  const volatile double less = y - 0.813 * double(cb);
  argb[2] = Channel(less - 0.391 * double(cr));
  argb[3] = Channel(y + 2.018 * double(cb));
}

std::uint8_t Blend(int a, double wa, int b, double wb) {
  const volatile double pa = a * wa;
  const volatile double pb = b * wb;
  const volatile double sum = pa + pb;
  if (!(std::fabs(sum) < 2147483648.0)) return 0;
  return std::uint8_t(std::int64_t(sum) & 255);
}

}  // namespace oracle

/// All 65,536 (G, B) of one R, with alphas that must stay.
Bytes AllOfRed(int r) {
  Bytes row(4 * 65536);
  for (std::size_t i = 0; i < 65536; ++i) {
    row[4 * i] = std::uint8_t(i * 7 + 3);
    row[4 * i + 1] = std::uint8_t(r);
    row[4 * i + 2] = std::uint8_t(i >> 8);
    row[4 * i + 3] = std::uint8_t(i);
  }
  return row;
}

TEST(QPixMapKernels, GreyOverEveryColour) {
  for (int r = 0; r < 256; r += test::kDomainStep) {
    const Bytes row = AllOfRed(r);
    Bytes want = row;
    for (std::size_t i = 0; i < want.size(); i += 4) {
      want[i + 1] = want[i + 2] = want[i + 3] = oracle::Grey(row[i + 1], row[i + 2], row[i + 3]);
    }
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got = row;
      k.grey(Row(got.data(), 65536));
      ASSERT_TRUE(got == want) << k.name << " r " << r;
    }
  }
}

TEST(QPixMapKernels, DuotoneOverEveryColour) {
  const std::uint32_t color = 0x003060C0;
  const Tint tint = QPixMapKernels::TintOfColor(color);
  for (int r = 0; r < 256; r += test::kDomainStep) {
    const Bytes row = AllOfRed(r);
    Bytes want = row;
    for (std::size_t i = 0; i < want.size(); i += 4) oracle::Duotone(&want[i], color);
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got = row;
      k.duotone(Row(got.data(), 65536), tint);
      ASSERT_TRUE(got == want) << k.name << " r " << r;
    }
  }
}

TEST(QPixMapKernels, DuotoneOverManyTints) {
  std::mt19937 engine(5);
  Bytes row(4 * 1024);
  for (std::uint8_t& b : row) b = std::uint8_t(engine());
  for (std::uint32_t n = 0; n < 216; ++n) {
    // The high byte is no part of the colour.
    const std::uint32_t color = n % 6 * 51 | (n / 6 % 6 * 51) << 8 | (n / 36 * 51) << 16 | n << 24;
    Bytes want = row;
    for (std::size_t i = 0; i < want.size(); i += 4) oracle::Duotone(&want[i], color);
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got = row;
      k.duotone(Row(got.data(), 1024), QPixMapKernels::TintOfColor(color));
      ASSERT_TRUE(got == want) << k.name << " color " << color;
    }
  }
}

TEST(QPixMapKernels, DuotoneNearWhiteStartsAbove743) {
  for (const RowKernels& k : AvailableRowKernels()) {
    Bytes row;
    for (int i = 0; i < 64; ++i) row.insert(row.end(), {9, 247, 248, 249, 9, 247, 248, 248});
    const Bytes before = row;
    k.duotone(Row(row.data(), 128), QPixMapKernels::TintOfColor(0x0000FF));
    for (std::size_t i = 0; i < row.size(); i += 8) {
      EXPECT_TRUE(std::equal(&row[i], &row[i] + 4, &before[i])) << k.name << " a sum of 744 stays";
      EXPECT_FALSE(std::equal(&row[i + 4], &row[i] + 8, &before[i + 4])) << k.name;
    }
  }
}

TEST(QPixMapKernels, LevelsOverEveryByteAndChannel) {
  std::mt19937 engine(8);
  std::uint8_t table[256];
  for (std::uint8_t& t : table) t = std::uint8_t(engine());
  Bytes row(4 * 256);
  Bytes want(row.size());
  for (std::size_t i = 0; i < 256; ++i) {
    for (std::size_t c = 0; c < 4; ++c) {
      row[4 * i + c] = std::uint8_t(i + 37 * c);
      want[4 * i + c] = c == 0 ? row[4 * i] : table[row[4 * i + c]];
    }
  }
  for (const RowKernels& k : AvailableRowKernels()) {
    Bytes got = row;
    k.levels(Row(got.data(), 256), table);
    EXPECT_EQ(got, want) << k.name;
  }
}

TEST(QPixMapKernels, GreyOfGreysAndOfWholeSums) {
  // Every grey, alone and beside colours whose weighted sum is a whole number too.
  Bytes row;
  for (int v = 0; v < 256; ++v) {
    const auto grey = std::uint8_t(v);
    row.insert(row.end(), {7, grey, grey, grey});
  }
  for (int v = 0; v < 16; ++v) row.insert(row.end(), {7, 1, 0, std::uint8_t(v)});
  const std::size_t greys = row.size();
  for (int r = 0; r < 256; ++r) {
    for (int g = 0; g < 256; ++g) {
      for (int b = 0; b < 256; b += 1 + 4 * (test::kDomainStep - 1)) {
        if ((3576 * r + 361 * g + 1063 * b) % 5000 != 0 || (r == g && g == b)) continue;
        row.insert(row.end(), {9, std::uint8_t(r), std::uint8_t(g), std::uint8_t(b)});
        row.insert(row.end(), {9, 255, 255, std::uint8_t(b)});
      }
    }
  }
  ASSERT_GT(row.size(), greys);
  Bytes want = row;
  for (std::size_t i = 0; i < want.size(); i += 4) {
    want[i + 1] = want[i + 2] = want[i + 3] = oracle::Grey(row[i + 1], row[i + 2], row[i + 3]);
  }
  EXPECT_EQ(want[4 * 255 + 1], 254) << "the steps' rounding is part of the rule";
  for (const RowKernels& k : AvailableRowKernels()) {
    Bytes got = row;
    k.grey(Row(got.data(), row.size() / 4));
    EXPECT_TRUE(got == want) << k.name;
  }
}

TEST(QPixMapKernels, BlendOverEveryPairOfBytes) {
  // Twice, which is enough pixels for forms that prepare themselves for the weights.
  constexpr std::size_t kPairs = 65536;
  Bytes a(2 * kPairs);
  Bytes b(2 * kPairs);
  for (std::size_t i = 0; i < a.size(); ++i) {
    a[i] = std::uint8_t(i);
    b[i] = std::uint8_t(i >> 8);
  }
  const double inf = std::numeric_limits<double>::infinity();
  std::vector<std::pair<double, double>> weights = {
      {1, 0},      {0, 1},         {0.5, 0.5},  {1.0 / 3, 2.0 / 3}, {1, 1},
      {-1, 0.25},  {2.7, -9},      {1e6, 3},    {-1e7, 1e7},        {8421504, 1},
      {1e9, -1e9}, {1e300, 1e300}, {inf, 1},    {inf, -inf},        {1, std::nan("")},
      {0, 0},      {-0.0, 0.6},    {1e-300, 1}, {5e-324, 0.5},      {1e-310, 5e-324}};
  // On both sides of what 12 bits hold.
  for (const double sum : {16.0, 16.0627450, 16.0627451, 16.0627452, 16.07}) {
    weights.emplace_back(sum, 0);
    weights.emplace_back(sum / 3, sum - sum / 3);
  }
  // Weights as programs give them: their sums are whole for many pairs, and round down for some.
  for (int i = 1; i < 100; i += 3 * test::kDomainStep)
    weights.emplace_back(i / 100.0, 1 - i / 100.0);
  for (int i = 1; i < 10; ++i) weights.emplace_back(i / 10.0, (10 - i) / 10.0);
  std::mt19937 engine(3);
  for (int i = 0; i < 20 / test::kDomainStep; ++i) {
    weights.emplace_back(engine() / 4294967296.0, engine() / 2147483648.0);
  }
  for (const auto& [wa, wb] : weights) {
    Bytes want(kPairs);
    for (std::size_t i = 0; i < kPairs; ++i) want[i] = oracle::Blend(a[i], wa, b[i], wb);
    want.insert(want.end(), want.begin(), want.end());
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got(a.size());
      Blend(k, Row(got.data(), a.size() / 4), From(a.data()), wa, From(b.data()), wb);
      EXPECT_TRUE(got == want) << k.name << " weights " << wa << ", " << wb;
    }
  }
}

/// One overlay byte over one destination byte, step by step.
std::uint8_t OverlayOracle(int d, int o, int alpha, float opacity) {
  const volatile double share = alpha / 255.0;
  const volatile double a = share * double(opacity);
  const volatile double k = 1 - a;
  const volatile double pd = d * k;
  const volatile double po = o * a;
  const volatile double sum = pd + po;
  if (!(std::fabs(sum) < 2147483648.0)) return 0;
  return std::uint8_t(std::min<std::int64_t>(255, std::max<std::int64_t>(0, std::int64_t(sum))));
}

/// Every pair of destination and overlay bytes under one alpha, in every form.
void CheckOverlays(int alpha, float opacity) {
  Bytes dst(4 * 65536);
  Bytes overlay(dst.size());
  Bytes want(dst.size());
  std::uint8_t table[256][256];
  for (int d = 0; d < 256; ++d) {
    for (int o = 0; o < 256; ++o) table[d][o] = OverlayOracle(d, o, alpha, opacity);
  }
  for (std::size_t i = 0; i < 65536; ++i) {
    overlay[4 * i] = std::uint8_t(alpha);
    dst[4 * i] = std::uint8_t(i * 5);
    for (std::size_t c = 1; c < 4; ++c) {
      // A pair in each channel, and different ones in one pixel.
      const std::size_t pair = (i + 21846 * c) & 65535;
      dst[4 * i + c] = std::uint8_t(pair >> 8);
      overlay[4 * i + c] = std::uint8_t(pair);
    }
    for (std::size_t c = 0; c < 4; ++c) {
      want[4 * i + c] = table[dst[4 * i + c]][overlay[4 * i + c]];
    }
  }
  for (const RowKernels& k : AvailableRowKernels()) {
    if (k.name == "scalar" && alpha % 16 != 15) continue;  // it is slow, and the rule itself
    Bytes got = dst;
    k.overlay(Row(got.data(), 65536), From(overlay.data()), opacity);
    ASSERT_TRUE(got == want) << k.name << " alpha " << alpha << " opacity " << opacity;
  }
}

TEST(QPixMapKernels, OverlayOfEveryPairUnderEveryAlpha) {
  for (int alpha = 0; alpha < 256; alpha += test::kDomainStep) CheckOverlays(alpha, 1.0f);
}

TEST(QPixMapKernels, OverlayOfEveryPairUnderManyOpacities) {
  const float inf = std::numeric_limits<float>::infinity();
  for (const float opacity : {0.5f, 0.25f, 0.7f, 1.0f / 3, 0.99998f, 0.99999f, 1e-6f, 1e-40f, 0.0f,
                              -0.0f, -1.0f, 1.5f, -3e9f, 1e30f, inf, -inf, std::nanf("")}) {
    const bool usual = opacity > 0 && opacity < 1;
    for (const int alpha : {0, 1, 2, 51, 85, 127, 128, 170, 204, 240, 254, 255}) {
      if (test::kDomainStep > 1 && alpha % 3 != 1) continue;
      if (usual || alpha % 51 == 0) CheckOverlays(alpha, opacity);
    }
  }
  std::mt19937 engine(17);
  for (int i = 0; i < 150; i += 5 * test::kDomainStep - 4) {
    CheckOverlays(int(engine() % 256), float(engine() % 65537) / 65536.0f);
  }
}

TEST(QPixMapKernels, OverlayOfRunsAndOfWhatIsThereAlready) {
  // As pictures are: runs of clear and of opaque pixels, and edges; flat parts, where each sum is
  // next to a whole number; more than one block of each.
  std::mt19937 engine(29);
  constexpr std::size_t kPixels = 3000;
  Bytes dst(4 * kPixels);
  Bytes overlay(4 * kPixels);
  for (std::size_t i = 0, run = 0, kind = 0; i < kPixels; ++i, --run) {
    if (run == 0) {
      run = 1 + engine() % (i % 2 == 0 ? 5 : 150);
      kind = engine() % 4;
    }
    const std::uint8_t alphas[4] = {0, 255, std::uint8_t(engine()), 77};
    for (std::size_t c = 0; c < 4; ++c) {
      dst[4 * i + c] = std::uint8_t(kind == 3 ? 200 : engine());
      overlay[4 * i + c] = std::uint8_t(kind == 3 ? 200 : engine());
    }
    overlay[4 * i] = alphas[kind];
  }
  for (const float opacity : {1.0f, 0.5f, 0.99f, 0.003f}) {
    Bytes want = dst;
    for (std::size_t i = 0; i < want.size(); ++i) {
      want[i] = OverlayOracle(dst[i], overlay[i], overlay[i & ~std::size_t{3}], opacity);
    }
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got = dst;
      k.overlay(Row(got.data(), kPixels), From(overlay.data()), opacity);
      EXPECT_TRUE(got == want) << k.name << " opacity " << opacity;
    }
  }
}

TEST(QPixMapKernels, OverlayOnThreeByteColours) {
  std::mt19937 engine(19);
  constexpr std::size_t kPixels = 20000;
  Bytes dst(3 * kPixels);
  Bytes overlay(4 * kPixels);
  for (std::uint8_t& b : dst) b = std::uint8_t(engine());
  for (std::uint8_t& b : overlay) b = std::uint8_t(engine());
  for (const float opacity : {1.0f, 0.5f, 0.1f, 2.0f, 0.0f}) {
    Bytes want = dst;
    for (std::size_t i = 0; i < want.size(); ++i) {
      const std::size_t pixel = 4 * (i / 3);
      want[i] = OverlayOracle(dst[i], overlay[pixel + 1 + i % 3], overlay[pixel], opacity);
    }
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got = dst;
      k.overlay24(Row(got.data(), kPixels), From(overlay.data()), opacity);
      EXPECT_TRUE(got == want) << k.name << " opacity " << opacity;
    }
  }
}

TEST(QPixMapKernels, GroupsBecomePixels) {
  // Every byte in every place of a group, at every number of groups.
  std::mt19937 engine(23);
  for (std::size_t groups = 0; groups <= 70; ++groups) {
    Bytes source(4 * groups + 1);
    for (std::size_t i = 0; i < source.size(); ++i) {
      source[i] = groups == 70 ? std::uint8_t(i * 3) : std::uint8_t(engine());
    }
    Bytes want(8 * groups + 32, 0xA5);
    for (std::size_t g = 0; g < groups; ++g) {
      const std::uint8_t* const from = &source[4 * g + 1];
      for (std::size_t p = 0; p < 2; ++p) {
        const std::uint8_t y = from[1 + 2 * p];
        const std::uint8_t pixel[4] = {255, std::uint8_t(y < 16 ? 0 : y - 16), from[0], from[2]};
        std::copy(pixel, pixel + 4, &want[8 * g + 4 * p]);
      }
    }
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got(want.size(), 0xA5);
      k.from422(Row(got.data(), 2 * groups), From(source.data() + 1));
      ASSERT_EQ(got, want) << k.name << ' ' << groups;
    }
  }
}

TEST(QPixMapKernels, ThreeBytesBecomeFour) {
  for (std::size_t pixels = 0; pixels <= 40; ++pixels) {
    Bytes source(3 * pixels);
    for (std::size_t i = 0; i < source.size(); ++i) source[i] = std::uint8_t(i + 1);
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got(4 * pixels + 20, 0xA5);
      k.from24(Row(got.data(), pixels), From(source.data()));
      for (std::size_t i = 0; i < got.size(); ++i) {
        const std::size_t byte = i / 4 * 3 + i % 4 - 1;
        const int want = i >= 4 * pixels ? 0xA5 : i % 4 == 0 ? 0 : source[byte];
        ASSERT_EQ(got[i], want) << k.name << ' ' << pixels << ' ' << i;
      }
    }
  }
}

TEST(QPixMapKernels, OneTransparentPixelIsFoundAnywhere) {
  constexpr std::size_t kWidth = 131;
  constexpr std::size_t kGap = 3;
  Bytes map((4 * kWidth + kGap) * 3, 7);
  const Rows rows = {map.data(), 4 * kWidth + kGap, kWidth, 3};
  const auto alpha = [&](std::size_t i) -> std::uint8_t& {
    return map[i / kWidth * (4 * kWidth + kGap) + 4 * (i % kWidth)];
  };
  for (std::size_t i = 0; i < 3 * kWidth; ++i) alpha(i) = 255;
  for (const RowKernels& k : AvailableRowKernels()) {
    EXPECT_TRUE(k.opaque(rows)) << k.name;
    EXPECT_TRUE(k.opaque({map.data(), 0, 0, 0})) << k.name;
    for (std::size_t i = 0; i < 3 * kWidth; ++i) {
      alpha(i) = std::uint8_t(i % 255);
      EXPECT_FALSE(k.opaque(rows)) << k.name << ' ' << i;
      alpha(i) = 255;
    }
  }
}

/// Rows between bytes that must stay, which also lie between the rows.
struct Guarded {
  static constexpr std::size_t kGuard = 64;

  Guarded(std::mt19937& engine, std::size_t pixelBytes, std::size_t pixels, std::size_t rowCount,
          std::size_t gap, std::size_t offset)
      : width(pixels),
        height(rowCount),
        rowBytes(pixelBytes * pixels + gap),
        start(kGuard + offset),
        rowSize(pixelBytes * pixels),
        bytes(start + rowBytes * height + kGuard) {
    for (std::uint8_t& b : bytes) b = std::uint8_t(engine());
  }
  Rows rows() { return {bytes.data() + start, std::ptrdiff_t(rowBytes), width, height}; }
  Source source() const { return {bytes.data() + start, std::ptrdiff_t(rowBytes)}; }
  bool IsPixel(std::size_t i) const {
    if (i < start || i >= start + rowBytes * height) return false;
    return (i - start) % rowBytes < rowSize;
  }

  std::size_t width;
  std::size_t height;
  std::size_t rowBytes;
  std::size_t start;
  std::size_t rowSize;
  Bytes bytes;
};

TEST(QPixMapKernels, EveryWidthAtOddAddressesStaysInItsRows) {
  std::mt19937 engine(13);
  std::uint8_t table[256];
  for (std::uint8_t& t : table) t = std::uint8_t(engine());
  for (std::size_t width = 0; width <= 66; ++width) {
    for (std::size_t offset = 0; offset < 4; ++offset) {
      const std::size_t gap = offset == 0 ? 0 : width % 3 + offset;
      const Guarded noise(engine, 4, width, 3, gap, offset);
      const Guarded narrow(engine, 3, width, 3, gap, offset);
      const Guarded other(engine, 4, width, 3, width % 2, 3 - offset);
      const auto check = [&](const char* what, const Guarded& before, const auto& run) {
        Guarded want = before;
        run(QPixMapKernels::kScalarRowKernels, want);
        for (std::size_t i = 0; i < want.bytes.size(); ++i) {
          if (before.IsPixel(i)) continue;
          ASSERT_EQ(want.bytes[i], before.bytes[i]) << what;
        }
        for (const RowKernels& k : AvailableRowKernels()) {
          Guarded got = before;
          run(k, got);
          ASSERT_EQ(got.bytes, want.bytes) << what << ' ' << k.name << " width " << width;
        }
      };
      check("grey", noise, [&](const RowKernels& k, Guarded& m) { k.grey(m.rows()); });
      check("levels", noise, [&](const RowKernels& k, Guarded& m) { k.levels(m.rows(), table); });
      check("duotone", noise, [&](const RowKernels& k, Guarded& m) {
        k.duotone(m.rows(), {30.5f, -20.25f});
      });
      check("blend", noise, [&](const RowKernels& k, Guarded& m) {
        Blend(k, m.rows(), m.source(), 0.7, other.source(), 0.6);
      });
      check("blend of two others", noise, [&](const RowKernels& k, Guarded& m) {
        Blend(k, m.rows(), other.source(), 0.75, other.source(), 0.25);
      });
      check("overlay", noise,
            [&](const RowKernels& k, Guarded& m) { k.overlay(m.rows(), other.source(), 0.9f); });
      check("overlay of itself", noise,
            [&](const RowKernels& k, Guarded& m) { k.overlay(m.rows(), m.source(), 1.0f); });
      check("from24", noise,
            [&](const RowKernels& k, Guarded& m) { k.from24(m.rows(), narrow.source()); });
      check("overlay24", narrow,
            [&](const RowKernels& k, Guarded& m) { k.overlay24(m.rows(), other.source(), 1.0f); });
    }
  }
}

TEST(QPixMapKernels, AFormCanBeSelectedByName) {
  EXPECT_EQ(AvailableRowKernels().back().name, "scalar");
  const std::string_view best = AvailableRowKernels().front().name;
  EXPECT_EQ(QPixMapKernels::CurrentRowKernels().name, best);
  EXPECT_TRUE(QPixMapKernels::SelectRowKernels("scalar"));
  EXPECT_EQ(QPixMapKernels::CurrentRowKernels().name, "scalar");
  EXPECT_FALSE(QPixMapKernels::SelectRowKernels("none of this name"));
  EXPECT_EQ(QPixMapKernels::CurrentRowKernels().name, "scalar");
  EXPECT_TRUE(QPixMapKernels::SelectRowKernels(best));
}

}  // namespace
