#include "platform/CoreGraphics/RowKernels.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/platform/CoreGraphics/Bitmaps.h"

namespace {

using bitmaps::Bytes;
using bitmaps::RandomBytes;

constexpr std::size_t kGuard = 8;

std::vector<const raster::RowKernels*> Forms() {
  std::vector<const raster::RowKernels*> forms;
  for (const raster::RowKernels& form : raster::AvailableRowKernels()) forms.push_back(&form);
  return forms;
}

unsigned Fraction(unsigned x, unsigned y) {
  return static_cast<unsigned>(std::lround(x * y / 255.0));
}

TEST(RowKernels, DivisionIsRoundedToNearestForEveryProduct) {
  for (unsigned x = 0; x < 256; ++x) {
    for (unsigned y = 0; y < 256; ++y) {
      ASSERT_EQ(raster::Div255(x * y), Fraction(x, y)) << x << " * " << y;
    }
  }
}

TEST(RowKernels, OverForEveryPairOfAlphaAndDestination) {
  for (const auto* form : Forms()) {
    Bytes src(256 * 256 * 4);
    Bytes dst(src.size());
    for (unsigned a = 0; a < 256; ++a) {
      for (unsigned d = 0; d < 256; ++d) {
        const std::size_t i = 4 * (256 * a + d);
        src[i] = static_cast<std::uint8_t>(a);
        src[i + 1] = static_cast<std::uint8_t>(a / 2);
        src[i + 2] = 0;
        src[i + 3] = 255;  // more than its alpha: cut, not wrapped
        for (std::size_t c = 0; c < 4; ++c) dst[i + c] = static_cast<std::uint8_t>(d);
      }
    }
    const Bytes before = dst;
    form->over(dst.data(), src.data(), 256 * 256);
    for (std::size_t i = 0; i < dst.size(); ++i) {
      const unsigned rest = 255U - src[i & ~std::size_t{3}];
      const unsigned want = std::min(src[i] + Fraction(before[i], rest), 255U);
      ASSERT_EQ(dst[i], want) << form->name << " byte " << i;
    }
  }
}

TEST(RowKernels, MaskedOverMultipliesTheSourceFirst) {
  for (const auto* form : Forms()) {
    Bytes src = RandomBytes(4 * 65536, 1);
    Bytes dst = RandomBytes(src.size(), 2);
    Bytes mask = RandomBytes(65536, 3);
    for (std::size_t i = 0; i < 256; ++i) mask[i] = 255;
    for (std::size_t i = 256; i < 512; ++i) mask[i] = 0;
    const Bytes before = dst;
    form->overMasked(dst.data(), src.data(), mask.data(), mask.size());
    for (std::size_t i = 0; i < dst.size(); ++i) {
      const unsigned m = mask[i / 4];
      const unsigned rest = 255 - Fraction(src[i & ~std::size_t{3}], m);
      ASSERT_EQ(dst[i], std::min(Fraction(src[i], m) + Fraction(before[i], rest), 255U))
          << form->name << " byte " << i;
    }
  }
}

TEST(RowKernels, PremultiplyForEveryPair) {
  for (const auto* form : Forms()) {
    Bytes src(256 * 256 * 4);
    for (std::size_t i = 0; i < src.size(); i += 4) {
      src[i] = static_cast<std::uint8_t>(i / 4 / 256);
      src[i + 1] = static_cast<std::uint8_t>(i / 4);
      src[i + 2] = static_cast<std::uint8_t>(255 - i / 4);
      src[i + 3] = 255;
    }
    Bytes dst(src.size());
    form->premultiply(dst.data(), src.data(), src.size() / 4);
    Bytes inPlace = src;
    form->premultiply(inPlace.data(), inPlace.data(), src.size() / 4);
    EXPECT_EQ(dst, inPlace);
    for (std::size_t i = 0; i < src.size(); i += 4) {
      ASSERT_EQ(dst[i], src[i]);
      for (std::size_t c = 1; c < 4; ++c) {
        ASSERT_EQ(dst[i + c], Fraction(src[i], src[i + c])) << form->name;
      }
    }
  }
}

// Every length around the vectors' sizes, from and to odd addresses, and nothing past the end.
TEST(RowKernels, FormsAgreeAtEveryLengthAndAlignment) {
  const raster::ByteOrder order{{3, 0, 2, 1}, {0, 255, 0, 0}};
  for (std::size_t n = 0; n <= 70; ++n) {
    for (std::size_t shift = 0; shift < 4; ++shift) {
      const Bytes src = RandomBytes(4 * n + shift, static_cast<std::uint32_t>(n));
      const Bytes mask = RandomBytes(n + shift, 7);
      for (int kernel = 0; kernel < 4; ++kernel) {
        Bytes scalar;
        for (std::size_t f = Forms().size(); f-- > 0;) {
          const raster::RowKernels& form = *Forms()[f];
          Bytes dst = RandomBytes(4 * n + shift + kGuard, 9);
          const Bytes before = dst;
          std::uint8_t* to = dst.data() + shift;
          const std::uint8_t* from = src.data() + shift;
          if (kernel == 0) form.over(to, from, n);
          if (kernel == 1) form.overMasked(to, from, mask.data() + shift, n);
          if (kernel == 2) form.premultiply(to, from, n);
          if (kernel == 3) form.permute(to, from, n, order);
          for (std::size_t i = 0; i < shift; ++i) ASSERT_EQ(dst[i], before[i]);
          for (std::size_t i = shift + 4 * n; i < dst.size(); ++i) ASSERT_EQ(dst[i], before[i]);
          if (scalar.empty()) scalar = dst;
          ASSERT_EQ(dst, scalar) << form.name << " kernel " << kernel << ", " << n << " pixels";
        }
      }
    }
  }
}

TEST(RowKernels, PermuteMovesAndSetsBytes) {
  for (const auto* form : Forms()) {
    const Bytes src{1, 2, 3, 4, 5, 6, 7, 8};
    Bytes dst(8);
    form->permute(dst.data(), src.data(), 2, {{3, 0, 2, 1}, {0, 255, 0, 0}});
    EXPECT_EQ(dst, (Bytes{4, 255, 3, 2, 8, 255, 7, 6})) << form->name;
  }
}

TEST(RowKernels, FormCanBeChosenByName) {
  EXPECT_EQ(raster::AvailableRowKernels().back().name, "scalar");
  const std::string_view best = raster::AvailableRowKernels().front().name;
  EXPECT_EQ(raster::ActiveRowKernels().name, best);
  EXPECT_FALSE(raster::SelectRowKernels("fastest"));
  EXPECT_EQ(raster::ActiveRowKernels().name, best);
  EXPECT_TRUE(raster::SelectRowKernels("scalar"));
  EXPECT_EQ(raster::ActiveRowKernels().name, "scalar");
  EXPECT_TRUE(raster::SelectRowKernels("vector"));
  EXPECT_EQ(raster::ActiveRowKernels().name, best);
}

}  // namespace
