#include "sdk/QClasses/Q_2vuy_kernels.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "tests/sdk/QClasses/Q_2vuy_rows.h"
#include "tests/support/Exhaustive.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Q_2vuy::AvailableRowKernels;
using Q_2vuy::RowKernels;
using namespace test::rows;

// The rules once more, written to be obvious: long double nowhere, one step a line.
namespace oracle {

/// Widen, add, truncate; what does not fit is the most negative integer.
std::int64_t Round(float v) {
  const double shifted = double(v) + 0.49999999;
  if (!(std::fabs(shifted) < 2147483648.0)) return std::numeric_limits<std::int32_t>::min();
  return std::int64_t(shifted);
}

std::uint8_t Channel(float ky, float kcb, float kcr, std::uint8_t luma, std::uint8_t cb) {
  const std::uint32_t lifted = std::uint32_t(luma) - 16u;
  const float y = float(lifted);
  const float c = float(int(cb) - 128);
  const volatile float py = ky * y;
  const volatile float pc = kcb * c;
  const volatile float sum = py + pc;
  const volatile float all = sum + kcr;
  const std::int64_t n = Round(all);
  if (n > 254) return 255;
  return n < 0 ? 0 : std::uint8_t(n);
}

std::array<std::uint8_t, 4> ToARGB(std::uint8_t luma, std::uint8_t cb) {
  return {255, Channel(1.16438282f, 0, 1.79274213f, luma, cb),
          Channel(1.16438282f, -0.213249996f, -0.532910168f, luma, cb),
          Channel(1.16438282f, 2.11240244f, 0, luma, cb)};
}

struct Pixel {
  int y, cb, cr;
};

Pixel FromRGB(int r, int g, int b) {
  const volatile float pr = 0.2125f * float(r);
  const volatile float pg = 0.7154f * float(g);
  const volatile float pb = 0.0721f * float(b);
  const volatile float rg = pr + pg;
  const volatile float luma = rg + pb;
  const volatile float db = float(b) - luma;
  const volatile float dr = float(r) - luma;
  const volatile float u = db * 0.53885114f;
  const volatile float v = dr * 0.63492066f;
  return {int(Round(float(double(luma) * 219.0 * 0.00390625 + 16.0))),
          int(Round(float(double(u) * 0.875 + 128.0))),
          int(Round(float(double(v) * 0.875 + 128.0)))};
}

void FromPair(const std::uint8_t* argb, int out[4]) {
  const Pixel p0 = FromRGB(argb[1], argb[2], argb[3]);
  const Pixel p1 = FromRGB(argb[5], argb[6], argb[7]);
  out[0] = (p0.cb + p1.cb) / 2;
  out[1] = p0.y;
  out[2] = (p0.cr + p1.cr) / 2;
  out[3] = p1.y;
}

void OverPair(const std::uint8_t* argb, std::uint8_t* dst, float opacity) {
  int now[4];
  FromPair(argb, now);
  const float a0 = float(argb[0] / 255.0 * double(opacity));
  const float a1 = float(argb[4] / 255.0 * double(opacity));
  const volatile float w0 = 1.0f - a0;
  const volatile float w1 = 1.0f - a1;
  const volatile float sum = w1 + w0;
  const volatile float k = sum * 0.5f;
  const volatile float t = 1.0f - k;
  const float keep[4] = {k, w0, k, w0};
  const float take[4] = {t, a0, t, a1};
  for (int i = 0; i < 4; ++i) {
    const volatile float kept = float(dst[i]) * keep[i];
    const volatile float taken = float(now[i]) * take[i];
    const volatile float mixed = kept + taken;
    dst[i] = std::uint8_t(std::int64_t(mixed) & 0xFF);
  }
}

std::uint8_t Mix(std::uint8_t a, float keep, std::uint8_t b, float take) {
  const volatile float kept = float(a) * keep;
  const volatile float taken = float(b) * take;
  const volatile float mixed = kept + taken;
  return mixed < 0 ? 0 : std::uint8_t(unsigned(mixed));
}

void MaskWeight(std::uint8_t mask, float t, float* w, float* k) {
  const float fraction = float(mask * 0.00392156862745098);
  const volatile float twice = 2.0f * t;
  const volatile float sum = fraction + t;
  const volatile float product = twice * sum;
  *w = product > 1 ? 1.0f : product;
  *k = product > 1 ? 0.0f : 1.0f - product;
}

}  // namespace oracle

Bytes RandomBytes(std::size_t size, unsigned seed) {
  std::mt19937 engine(seed);
  Bytes bytes(size);
  for (std::uint8_t& b : bytes) b = std::uint8_t(engine());
  return bytes;
}

int PairsOf(int width) {
  return (width + 1) / 2;
}

constexpr std::uint8_t kCanary = 0xA5;
constexpr std::size_t kGuard = 32;

/// A row at an odd address with guards on both sides.
struct GuardedRow {
  Bytes storage;
  std::size_t start;
  std::size_t size;
  GuardedRow(std::size_t bytes, std::size_t offset)
      : storage(kGuard + offset + bytes + kGuard, kCanary), start(kGuard + offset), size(bytes) {}
  std::uint8_t* data() { return storage.data() + start; }
  Bytes row() const {
    return Bytes(storage.begin() + long(start), storage.begin() + long(start + size));
  }
  bool GuardsIntact() const {
    for (std::size_t i = 0; i < storage.size(); ++i) {
      if ((i < start || i >= start + size) && storage[i] != kCanary) return false;
    }
    return true;
  }
};

TEST(Q2vuyKernels, ConstantsAreTheStatedBits) {
  const auto bits = [](float f) {
    std::uint32_t u;
    std::memcpy(&u, &f, 4);
    return u;
  };
  EXPECT_EQ(bits(Q_2vuy::yuv_r_709[0]), 0x3f950a7fu);
  EXPECT_EQ(bits(Q_2vuy::yuv_r_709[2]), 0x3fe57893u);
  EXPECT_EQ(bits(Q_2vuy::yuv_g_709[0]), 0x3f950a7fu);
  EXPECT_EQ(bits(Q_2vuy::yuv_g_709[1]), 0xbe5a5e35u);
  EXPECT_EQ(bits(Q_2vuy::yuv_g_709[2]), 0xbf086ccdu);
  EXPECT_EQ(bits(Q_2vuy::yuv_b_709[1]), 0x4007319au);
  EXPECT_EQ(bits(Q_2vuy::yuv_r_601[2]), 0x3fb374bcu);
  EXPECT_EQ(bits(Q_2vuy::yuv_g_601[1]), 0xbeb03298u);
  EXPECT_EQ(bits(Q_2vuy::yuv_g_601[2]), 0xbf36d19eu);
  EXPECT_EQ(bits(Q_2vuy::yuv_b_601[1]), 0x3fe2d0e5u);
  for (const float zero :
       {Q_2vuy::yuv_r_709[1], Q_2vuy::yuv_b_709[2], Q_2vuy::yuv_r_601[1], Q_2vuy::yuv_b_601[2]}) {
    EXPECT_EQ(bits(zero), 0u);
  }
  EXPECT_EQ(Q_2vuy::const_cu, 0.53885114f);
  EXPECT_EQ(Q_2vuy::const_cv, 0.63492066f);
}

TEST(Q2vuyKernels, RoundingTakesAHalfDownAndOverflowsToTheMostNegative) {
  constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
  EXPECT_EQ(Q_2vuy::Round(0.5f), 0);
  EXPECT_EQ(Q_2vuy::Round(0.50000006f), 1);
  EXPECT_EQ(Q_2vuy::Round(254.5f), 254);
  EXPECT_EQ(Q_2vuy::Round(-0.9f), 0);
  EXPECT_EQ(Q_2vuy::Round(-1.6f), -1);
  EXPECT_EQ(Q_2vuy::Round(4.29e9f), kMin);
  EXPECT_EQ(Q_2vuy::Round(-4.29e9f), kMin);
  EXPECT_EQ(Q_2vuy::Round(std::nanf("")), kMin);
  EXPECT_EQ(Q_2vuy::Truncate(-1.99f), -1);
  EXPECT_EQ(Q_2vuy::Truncate(1.99f), 1);
  EXPECT_EQ(Q_2vuy::Truncate(0x1p31f), kMin);
}

TEST(Q2vuyKernels, ToARGBOverEveryChromaAndLuma) {
  // One row per Cb with every luma as Y0 and its complement as Y1; Cr is noise that must not
  // matter.
  for (const RowKernels& k : AvailableRowKernels()) {
    for (int cb = 0; cb < 256; ++cb) {
      Bytes src(4 * 256);
      for (int y = 0; y < 256; ++y) {
        src[4 * y] = std::uint8_t(cb);
        src[4 * y + 1] = std::uint8_t(y);
        src[4 * y + 2] = std::uint8_t(7 * y + cb);
        src[4 * y + 3] = std::uint8_t(255 - y);
      }
      Bytes dst(8 * 256);
      to_ARGB(k, src.data(), dst.data(), 512);
      for (int y = 0; y < 256; ++y) {
        const auto first = oracle::ToARGB(std::uint8_t(y), std::uint8_t(cb));
        const auto second = oracle::ToARGB(std::uint8_t(255 - y), std::uint8_t(cb));
        for (int i = 0; i < 4; ++i) {
          ASSERT_EQ(dst[8 * y + i], first[i]) << k.name << " cb " << cb << " y " << y << " i " << i;
          ASSERT_EQ(dst[8 * y + 4 + i], second[i]) << k.name << " cb " << cb << " y " << 255 - y;
        }
      }
    }
  }
}

TEST(Q2vuyKernels, ToARGBKnownValues) {
  for (const RowKernels& k : AvailableRowKernels()) {
    const std::uint8_t white[4] = {128, 235, 77, 235};
    const std::uint8_t black[4] = {128, 16, 200, 16};
    const std::uint8_t below[4] = {240, 15, 0, 0};
    std::uint8_t out[8];
    to_ARGB(k, white, out, 2);
    EXPECT_EQ(Bytes(out, out + 8), (Bytes{255, 255, 254, 255, 255, 255, 254, 255})) << k.name;
    to_ARGB(k, black, out, 2);
    EXPECT_EQ(Bytes(out, out + 8), (Bytes{255, 2, 0, 0, 255, 2, 0, 0})) << k.name;
    to_ARGB(k, below, out, 2);
    EXPECT_EQ(Bytes(out, out + 8), (Bytes{255, 0, 0, 0, 255, 0, 0, 0})) << k.name;
  }
}

TEST(Q2vuyKernels, FromARGBOverEveryColour) {
  // Both pixels of a pair are the same colour, so that the mean is the pixel's own chroma.
  for (int r = 0; r < 256; r += test::kDomainStep) {
    Bytes src(8 * 256);
    for (int g = 0; g < 256; ++g) {
      for (int b = 0; b < 256; ++b) {
        for (int p = 0; p < 2; ++p) {
          std::uint8_t* pixel = &src[std::size_t(8 * b + 4 * p)];
          pixel[0] = std::uint8_t(r ^ g ^ b);  // Alpha is ignored.
          pixel[1] = std::uint8_t(r);
          pixel[2] = std::uint8_t(g);
          pixel[3] = std::uint8_t(b);
        }
      }
      Bytes want(4 * 256);
      for (int b = 0; b < 256; ++b) {
        const oracle::Pixel p = oracle::FromRGB(r, g, b);
        ASSERT_GE(p.y, 16);
        ASSERT_LE(p.y, 235);
        ASSERT_GE(p.cb, 16);
        ASSERT_LE(p.cb, 240);
        ASSERT_GE(p.cr, 16);
        ASSERT_LE(p.cr, 240);
        want[4 * b] = std::uint8_t(p.cb);
        want[4 * b + 1] = want[4 * b + 3] = std::uint8_t(p.y);
        want[4 * b + 2] = std::uint8_t(p.cr);
      }
      for (const RowKernels& k : AvailableRowKernels()) {
        Bytes got(4 * 256);
        from_ARGB(k, src.data(), got.data(), 512);
        ASSERT_EQ(got, want) << k.name << " r " << r << " g " << g;
      }
    }
  }
}

TEST(Q2vuyKernels, FromARGBKnownValuesAndMeanRoundsDown) {
  for (const RowKernels& k : AvailableRowKernels()) {
    const std::uint8_t whiteBlack[8] = {255, 255, 255, 255, 0, 0, 0, 0};
    std::uint8_t out[4];
    from_ARGB(k, whiteBlack, out, 2);
    EXPECT_EQ(Bytes(out, out + 4), (Bytes{128, 234, 128, 16})) << k.name;
    int odd = 0;
    for (int v = 0; v < 256; ++v) {
      const std::uint8_t pair[8] = {9, 0, 0, std::uint8_t(v), 9, std::uint8_t(v), 0, 0};
      const oracle::Pixel p0 = oracle::FromRGB(0, 0, v);
      const oracle::Pixel p1 = oracle::FromRGB(v, 0, 0);
      odd += (p0.cb + p1.cb) % 2;
      from_ARGB(k, pair, out, 2);
      EXPECT_EQ(out[0], (p0.cb + p1.cb) / 2) << k.name << ' ' << v;
      EXPECT_EQ(out[2], (p0.cr + p1.cr) / 2) << k.name << ' ' << v;
    }
    EXPECT_GT(odd, 0) << "the cases above must contain sums that do not halve";
  }
}

TEST(Q2vuyKernels, OverARGBOverADenseGrid) {
  const Bytes colours = RandomBytes(8 * 64, 11);
  for (const RowKernels& k : AvailableRowKernels()) {
    for (const float opacity : {0.0f, 0.1f, 0.5f, 0.999f, 1.0f}) {
      for (int a0 = 0; a0 < 256; a0 += 15) {
        for (int a1 = 0; a1 < 256; a1 += 51) {
          Bytes src = colours;
          for (std::size_t p = 0; p < 64; ++p) {
            src[8 * p] = std::uint8_t(a0);
            src[8 * p + 4] = std::uint8_t(a1);
          }
          for (int old = 0; old < 256; old += 17) {
            Bytes want(4 * 64, std::uint8_t(old));
            Bytes got = want;
            for (std::size_t p = 0; p < 64; ++p)
              oracle::OverPair(&src[8 * p], &want[4 * p], opacity);
            over_ARGB(k, src.data(), got.data(), 128, opacity);
            ASSERT_EQ(got, want) << k.name << " opacity " << opacity << " alphas " << a0 << ", "
                                 << a1 << " old " << old;
          }
        }
      }
    }
  }
}

TEST(Q2vuyKernels, OverARGBWrapsTheSecondLumaAndKeepsWithTheFirstWeight) {
  for (const RowKernels& k : AvailableRowKernels()) {
    // The first pixel is clear, the second opaque white: 234 kept whole and 234 added is 468.
    const std::uint8_t src[8] = {0, 0, 0, 0, 255, 255, 255, 255};
    std::uint8_t dst[4] = {128, 234, 128, 234};
    over_ARGB(k, src, dst, 2, 1.0f);
    EXPECT_EQ(dst[1], 234) << k.name;
    EXPECT_EQ(dst[3], 212) << k.name;
  }
}

TEST(Q2vuyKernels, OverARGBWithoutOpacityChangesNothing) {
  for (const RowKernels& k : AvailableRowKernels()) {
    const Bytes src = RandomBytes(8 * 50, 3);
    const Bytes old = RandomBytes(4 * 50, 4);
    Bytes dst = old;
    over_ARGB(k, src.data(), dst.data(), 100, 0.0f);
    EXPECT_EQ(dst, old) << k.name;
  }
}

TEST(Q2vuyKernels, FormsAgreeOnAbsurdOpacities) {
  const Bytes src = RandomBytes(8 * 64, 21);
  for (const float opacity :
       {-3.0f, 2.0f, 1e6f, -1e9f, 1e20f, std::numeric_limits<float>::infinity(), std::nanf("")}) {
    const Bytes old = RandomBytes(4 * 64, 22);
    Bytes want = old;
    over_ARGB(Q_2vuy::kScalarRowKernels, src.data(), want.data(), 128, opacity);
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got = old;
      over_ARGB(k, src.data(), got.data(), 128, opacity);
      EXPECT_EQ(got, want) << k.name << ' ' << opacity;
    }
  }
}

TEST(Q2vuyKernels, BlendOverEveryPairOfBytes) {
  Bytes a(65536 * 4 / 4);
  Bytes b(a.size());
  for (int i = 0; i < 65536; ++i) {
    a[std::size_t(i)] = std::uint8_t(i & 0xFF);
    b[std::size_t(i)] = std::uint8_t(i >> 8);
  }
  for (const float t : {0.0f, 0.25f, 1.0f / 3, 0.5f, 0.7f, 0.999f, 1.0f}) {
    Bytes want(a.size());
    const float keep = 1.0f - t;
    for (std::size_t i = 0; i < a.size(); ++i) want[i] = oracle::Mix(a[i], keep, b[i], t);
    if (t == 0.0f) {
      ASSERT_EQ(want, a);
    }
    if (t == 1.0f) {
      ASSERT_EQ(want, b);
    }
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got(a.size());
      blend(k, got.data(), a.data(), b.data(), int(a.size() / 2), t);
      ASSERT_EQ(got, want) << k.name << " t " << t;
    }
  }
}

TEST(Q2vuyKernels, BlendMaskedOverEveryMask) {
  const Bytes a = RandomBytes(4 * 4096, 31);
  const Bytes b = RandomBytes(4 * 4096, 32);
  Bytes mask(2 * 4096);
  for (std::size_t i = 0; i < 4096; ++i) {
    mask[2 * i] = std::uint8_t(i & 0xFF);
    mask[2 * i + 1] = std::uint8_t(17 * (i >> 8));
  }
  // Up to about 0.366 no level has its full weight.
  constexpr float kLastBelowFull = 0.36602539f;
  ASSERT_LE(2 * kLastBelowFull * (1 + kLastBelowFull), 1.0f);
  const float firstFull = std::nextafter(std::nextafter(kLastBelowFull, 1.0f), 1.0f);
  ASSERT_GT(2 * firstFull * (1 + firstFull), 1.0f);
  for (const float t : {0.0f, 1e-40f, 1e-30f, 1e-9f, 0.1f, 0.3f, kLastBelowFull, firstFull, 0.5f,
                        0.70710678f, 0.9f, 1.0f}) {
    Bytes want(a.size());
    for (std::size_t p = 0; p < 4096; ++p) {
      float w0, k0, w1, k1;
      oracle::MaskWeight(mask[2 * p], t, &w0, &k0);
      oracle::MaskWeight(mask[2 * p + 1], t, &w1, &k1);
      const float take[4] = {(w0 + w1) / 2, w0, (w0 + w1) / 2, w1};
      const float keep[4] = {(k0 + k1) / 2, k0, (k0 + k1) / 2, k1};
      for (std::size_t i = 0; i < 4; ++i) {
        want[4 * p + i] = oracle::Mix(a[4 * p + i], keep[i], b[4 * p + i], take[i]);
      }
    }
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got(a.size());
      blendMasked(k, got.data(), a.data(), b.data(), 2 * 4096, t, mask.data());
      ASSERT_EQ(got, want) << k.name << " t " << t;
    }
  }
}

TEST(Q2vuyKernels, BlendMaskedOverEveryPairOfBytes) {
  // The mask is as bright all over, so that luma and chroma have the same weight.
  Bytes a(65536);
  Bytes b(a.size());
  for (int i = 0; i < 65536; ++i) {
    a[std::size_t(i)] = std::uint8_t(i & 0xFF);
    b[std::size_t(i)] = std::uint8_t(i >> 8);
  }
  for (const float t : {0.2f, 0.3f, 0.62f}) {
    for (int level = 0; level < 256; level += 5 * test::kDomainStep) {
      float take, keep;
      oracle::MaskWeight(std::uint8_t(level), t, &take, &keep);
      Bytes want(a.size());
      for (std::size_t i = 0; i < a.size(); ++i) want[i] = oracle::Mix(a[i], keep, b[i], take);
      const Bytes mask(a.size() / 2, std::uint8_t(level));
      for (const RowKernels& k : AvailableRowKernels()) {
        Bytes got(a.size());
        blendMasked(k, got.data(), a.data(), b.data(), int(mask.size()), t, mask.data());
        ASSERT_EQ(got, want) << k.name << " t " << t << " level " << level;
      }
    }
  }
}

TEST(Q2vuyKernels, BlendMaskedWhereLevelsBecomeFull) {
  // Runs of each level, long enough for whole vectors, and each with the level before in its midst.
  constexpr std::size_t kRun = 192;
  Bytes mask;
  for (int level = 0; level < 256; ++level) {
    mask.insert(mask.end(), kRun, std::uint8_t(level));
    if (level > 0) mask[mask.size() - kRun / 4] = std::uint8_t(level - 1);
  }
  const Bytes a = RandomBytes(2 * mask.size(), 61);
  const Bytes b = RandomBytes(2 * mask.size(), 62);
  const int width = int(mask.size());
  std::vector<float> weights = {0.36602539f, 0.36602545f, 0.70710671f, 0.70710677f, 0.70710683f};
  for (int i = 0; i < 24; ++i) weights.push_back(0.3661f + 0.0143f * float(i));
  for (const float t : weights) {
    Bytes want(a.size());
    blendMasked(Q_2vuy::kScalarRowKernels, want.data(), a.data(), b.data(), width, t, mask.data());
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got(a.size());
      blendMasked(k, got.data(), a.data(), b.data(), width, t, mask.data());
      ASSERT_EQ(got, want) << k.name << " t " << t;
    }
  }
}

TEST(Q2vuyKernels, FormsAgreeOnAbsurdWeights) {
  const Bytes a = RandomBytes(4 * 256, 51);
  const Bytes b = RandomBytes(4 * 256, 52);
  const Bytes mask = RandomBytes(2 * 256, 53);
  const auto& scalar = Q_2vuy::kScalarRowKernels;
  for (const float t : {-1e-40f, -0.3f, -3.0f, 1.0000001f, 2.0f, 1e6f, -1e9f, 1e20f, -3e38f,
                        std::numeric_limits<float>::infinity(), std::nanf("")}) {
    Bytes wantBlend(a.size());
    Bytes wantMasked(a.size());
    blend(scalar, wantBlend.data(), a.data(), b.data(), 512, t);
    blendMasked(scalar, wantMasked.data(), a.data(), b.data(), 512, t, mask.data());
    for (const RowKernels& k : AvailableRowKernels()) {
      Bytes got(a.size());
      blend(k, got.data(), a.data(), b.data(), 512, t);
      EXPECT_EQ(got, wantBlend) << k.name << ' ' << t;
      blendMasked(k, got.data(), a.data(), b.data(), 512, t, mask.data());
      EXPECT_EQ(got, wantMasked) << k.name << ' ' << t;
    }
  }
}

TEST(Q2vuyKernels, EveryWidthAndStartStaysInsideItsPairs) {
  const Bytes argb = RandomBytes(8 * 70, 41);
  const Bytes a = RandomBytes(4 * 70, 42);
  const Bytes b = RandomBytes(4 * 70, 43);
  const Bytes mask = RandomBytes(2 * 70, 44);
  for (const RowKernels& k : AvailableRowKernels()) {
    for (int width = -1; width <= 130; ++width) {
      for (std::size_t offset = 0; offset < 4; ++offset) {
        const std::size_t pairs = width > 0 ? std::size_t(PairsOf(width)) : 0;
        const auto check = [&](const char* what, std::size_t bytesPerPair, const auto& run) {
          GuardedRow want(bytesPerPair * pairs, offset);
          GuardedRow got(bytesPerPair * pairs, offset);
          run(Q_2vuy::kScalarRowKernels, want.data());
          run(k, got.data());
          EXPECT_EQ(got.row(), want.row()) << k.name << ' ' << what << " width " << width;
          EXPECT_TRUE(got.GuardsIntact()) << k.name << ' ' << what << " width " << width;
          EXPECT_TRUE(want.GuardsIntact()) << what << " width " << width;
        };
        // Sources start at odd addresses too, and end where their last pair ends.
        const auto tail = [&](const Bytes& all, std::size_t bytes) {
          Bytes copy(all.end() - long(bytes), all.end());
          copy.insert(copy.begin(), offset, 0);
          return copy;
        };
        const Bytes srcA = tail(a, 4 * pairs);
        const Bytes srcB = tail(b, 4 * pairs);
        const Bytes srcARGB = tail(argb, 8 * pairs);
        const Bytes srcMask = tail(mask, 2 * pairs);
        check("to", 8, [&](const RowKernels& form, std::uint8_t* dst) {
          to_ARGB(form, srcA.data() + offset, dst, width);
        });
        check("from", 4, [&](const RowKernels& form, std::uint8_t* dst) {
          from_ARGB(form, srcARGB.data() + offset, dst, width);
        });
        check("over", 4, [&](const RowKernels& form, std::uint8_t* dst) {
          over_ARGB(form, srcARGB.data() + offset, dst, width, 0.7f);
        });
        check("blend", 4, [&](const RowKernels& form, std::uint8_t* dst) {
          blend(form, dst, srcA.data() + offset, srcB.data() + offset, width, 0.3f);
        });
        check("masked", 4, [&](const RowKernels& form, std::uint8_t* dst) {
          blendMasked(form, dst, srcA.data() + offset, srcB.data() + offset, width, 0.6f,
                      srcMask.data() + offset);
        });
      }
    }
  }
}

TEST(Q2vuyKernels, AFormCanBeSelectedByName) {
  EXPECT_EQ(AvailableRowKernels().back().name, "scalar");
  const std::string_view best = AvailableRowKernels().front().name;
  EXPECT_EQ(Q_2vuy::CurrentRowKernels().name, best);
  EXPECT_TRUE(Q_2vuy::SelectRowKernels("scalar"));
  EXPECT_EQ(Q_2vuy::CurrentRowKernels().name, "scalar");
  EXPECT_FALSE(Q_2vuy::SelectRowKernels("none of this name"));
  EXPECT_EQ(Q_2vuy::CurrentRowKernels().name, "scalar");
  EXPECT_TRUE(Q_2vuy::SelectRowKernels(best));
}

}  // namespace
