#include "platform/QuickTime/YCbCrRows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "tests/support/Exhaustive.h"

namespace {

struct Weights {
  double kr;
  double kb;
  const YCbCrMatrix* matrix;
};

const Weights kRec601{0.299, 0.114, &kYCbCr601};
const Weights kRec709{0.2126, 0.0722, &kYCbCr709};

UInt8 NearestByte(double v) {
  return static_cast<UInt8>(std::clamp(std::floor(v * 255 + 0.5), 0.0, 255.0));
}

/// Converts rows that hold every luma for one pair of chroma values, and compares with the
/// recommendations' own equations in double precision: R - Y = 2 (1 - Kr) Pr, B - Y = 2 (1 - Kb)
/// Pb, Y = Kr R + Kg G + Kb B.
void CheckAll(const Weights& w) {
  UInt8 source[512];
  UInt8 converted[1024];
  UInt8 expected[1024];
  double luma[256];
  for (int y = 0; y < 256; ++y) luma[y] = (y - 16) / 219.0;
  for (int cb = 0; cb < 256; cb += test::kDomainStep) {
    const double blue = 2 * (1 - w.kb) * ((cb - 128) / 224.0);
    for (int cr = 0; cr < 256; ++cr) {
      const double red = 2 * (1 - w.kr) * ((cr - 128) / 224.0);
      for (int y = 0; y < 256; ++y) {
        source[2 * y] = static_cast<UInt8>(y % 2 == 0 ? cb : cr);
        source[2 * y + 1] = static_cast<UInt8>(y);
        const double r = luma[y] + red;
        const double b = luma[y] + blue;
        UInt8* argb = expected + 4 * y;
        argb[0] = 255;
        argb[1] = NearestByte(r);
        argb[2] = NearestByte((luma[y] - w.kr * r - w.kb * b) / (1 - w.kr - w.kb));
        argb[3] = NearestByte(b);
      }
      for (const YCbCrForm& form : AvailableYCbCrForms()) {
        form.convert(*w.matrix, YCbCrOrder::CbY0CrY1, {source, 0, converted, 0, 256, 1});
        ASSERT_EQ(std::memcmp(expected, converted, sizeof(expected)), 0)
            << form.name << " Cb " << cb << " Cr " << cr;
      }
    }
  }
}

TEST(YCbCrRows, EveryInputIsCorrectlyRoundedByRec601) {
  CheckAll(kRec601);
}

TEST(YCbCrRows, EveryInputIsCorrectlyRoundedByRec709) {
  CheckAll(kRec709);
}

TEST(YCbCrRows, KnownColours) {
  struct Case {
    const YCbCrMatrix* matrix;
    UInt8 pair[4];
    UInt8 rgb[3];
  };
  const Case cases[] = {
      {&kYCbCr601, {128, 235, 128, 235}, {255, 255, 255}},
      {&kYCbCr601, {128, 16, 128, 16}, {0, 0, 0}},
      {&kYCbCr601, {90, 81, 240, 81}, {254, 0, 0}},
      {&kYCbCr601, {54, 145, 34, 145}, {0, 255, 1}},
      {&kYCbCr601, {240, 41, 110, 41}, {0, 0, 255}},
      {&kYCbCr709, {102, 63, 240, 63}, {255, 1, 0}},
      {&kYCbCr709, {128, 0, 128, 255}, {0, 0, 0}},
  };
  for (const Case& c : cases) {
    UInt8 argb[8];
    kScalarYCbCrForm.convert(*c.matrix, YCbCrOrder::CbY0CrY1, {c.pair, 0, argb, 0, 2, 1});
    EXPECT_EQ(argb[0], 255);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(argb[1 + i], c.rgb[i]) << int{c.pair[1]} << " " << i;
  }
}

TEST(YCbCrRows, FormsAgreeForAllWidthsStartsAndOrders) {
  std::mt19937 random(7);
  for (const YCbCrOrder order : {YCbCrOrder::CbY0CrY1, YCbCrOrder::Y0CbY1Cr}) {
    for (int width = -1; width <= 130; ++width) {
      for (std::size_t start = 0; start < 4; ++start) {
        const std::size_t pixels = width > 0 ? static_cast<std::size_t>(width + width % 2) : 0;
        // The source ends with its last pair: a sanitizer sees what reads on.
        std::vector<UInt8> source(start + 2 * pixels);
        for (UInt8& byte : source) byte = static_cast<UInt8>(random());
        const std::vector<UInt8> untouched(4 * pixels + 64, 0xA5);
        const auto converted = [&](const YCbCrForm& form) {
          std::vector<UInt8> out = untouched;
          form.convert(kYCbCr709, order,
                       {source.data() + start, 0, out.data() + 32 + start, 0, width, 1});
          return out;
        };
        const std::vector<UInt8> scalar = converted(kScalarYCbCrForm);
        for (std::size_t i = 0; i < scalar.size(); ++i) {
          const bool inside = i >= 32 + start && i < 32 + start + 4 * pixels;
          if (!inside) {
            ASSERT_EQ(scalar[i], 0xA5) << width << " " << i;
          }
        }
        for (const YCbCrForm& form : AvailableYCbCrForms()) {
          ASSERT_EQ(converted(form), scalar) << form.name << " " << width;
        }
      }
    }
  }
}

TEST(YCbCrRows, FramesGoRowByRowWhateverTheStride) {
  constexpr int kWidth = 70;
  constexpr int kHeight = 5;
  constexpr std::ptrdiff_t kSourceRow = 2 * kWidth + 6;
  constexpr std::ptrdiff_t kRow = 4 * kWidth + 10;
  std::mt19937 random(9);
  std::vector<UInt8> source(kSourceRow * kHeight);
  for (UInt8& byte : source) byte = static_cast<UInt8>(random());
  for (const YCbCrForm& form : AvailableYCbCrForms()) {
    std::vector<UInt8> down(kRow * kHeight, 0xA5);
    std::vector<UInt8> up = down;
    std::vector<UInt8> want = down;
    std::vector<UInt8> wantUp = down;
    for (int y = 0; y < kHeight; ++y) {
      UInt8 row[4 * kWidth];
      kScalarYCbCrForm.convert(kYCbCr601, YCbCrOrder::CbY0CrY1,
                               {source.data() + y * kSourceRow, 0, row, 0, kWidth, 1});
      std::copy(row, row + sizeof(row), want.begin() + y * kRow);
      std::copy(row, row + sizeof(row), wantUp.begin() + (kHeight - 1 - y) * kRow);
    }
    form.convert(kYCbCr601, YCbCrOrder::CbY0CrY1,
                 {source.data(), kSourceRow, down.data(), kRow, kWidth, kHeight});
    EXPECT_EQ(down, want) << form.name;
    form.convert(
        kYCbCr601, YCbCrOrder::CbY0CrY1,
        {source.data(), kSourceRow, up.data() + (kHeight - 1) * kRow, -kRow, kWidth, kHeight});
    EXPECT_EQ(up, wantUp) << form.name;
  }
}

TEST(YCbCrRows, AFormCanBeSelectedByName) {
  const std::string_view best = AvailableYCbCrForms().front().name;
  EXPECT_EQ(CurrentYCbCrForm().name, best);
  EXPECT_EQ(AvailableYCbCrForms().back().name, "scalar");
  for (const YCbCrForm& form : AvailableYCbCrForms()) {
    EXPECT_TRUE(SelectYCbCrForm(form.name));
    EXPECT_EQ(CurrentYCbCrForm().name, form.name);
  }
  EXPECT_FALSE(SelectYCbCrForm("none of this name"));
  EXPECT_TRUE(SelectYCbCrForm("vector"));
  EXPECT_EQ(CurrentYCbCrForm().name, best);
}

TEST(YCbCrRows, OrdersDifferOnlyInWhereTheBytesLie) {
  const UInt8 vuy2[4] = {90, 81, 240, 200};
  const UInt8 yuvs[4] = {81, 90, 200, 240};
  UInt8 a[8];
  UInt8 b[8];
  ConvertYCbCrRowToARGB(kYCbCr601, YCbCrOrder::CbY0CrY1, vuy2, a, 2);
  ConvertYCbCrRowToARGB(kYCbCr601, YCbCrOrder::Y0CbY1Cr, yuvs, b, 2);
  EXPECT_TRUE(std::equal(a, a + 8, b));
}

}  // namespace
