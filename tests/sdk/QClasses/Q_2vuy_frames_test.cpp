// Whole-frame operations of the 4:2:2 engine in each form of their kernels: frames that overlap,
// and rows shared among threads.
#include <gtest/gtest.h>

#include <random>
#include <string_view>
#include <vector>

#include "sdk/CoreX/RowThreads.h"
#include "sdk/QClasses/Q_2vuy_data.h"
#include "sdk/QClasses/Q_2vuy_rows.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Q_2vuy::AvailableRowKernels;
using Q_2vuy::RowKernels;

constexpr std::uint8_t kCanary = 0xA5;

Bytes RandomBytes(std::size_t size, unsigned seed) {
  std::mt19937 engine(seed);
  Bytes bytes(size);
  for (std::uint8_t& b : bytes) b = static_cast<std::uint8_t>(engine());
  return bytes;
}

TEST(Q2vuyLuma, CountsEndWhereOneIsTooSmallAStep) {
  UInt32 counts[256] = {};
  counts[0] = 10;
  counts[15] = 5;
  counts[16] = 3;
  counts[255] = (1u << 24) + 9;
  const RasterGraphics::LumaHistogram histogram = Q_2vuy::HistogramOf(counts);
  EXPECT_EQ(histogram[0], 15.0f);  // All levels up to 15.
  EXPECT_EQ(histogram[1], 3.0f);
  EXPECT_EQ(histogram[240], 16777216.0f);
  EXPECT_EQ(histogram.Total(), 16777216.0f);
  float one = 16777216.0f;
  one += 1.0f;
  EXPECT_EQ(one, 16777216.0f) << "what adding one by one comes to";
}

/// A frame over bytes of a test.
Q_2vuy_data FrameOver(Bytes& bytes, std::size_t at, int width, int height, int rowBytes,
                      UInt32 format) {
  Q_2vuy_data frame;
  frame._Width = static_cast<SInt16>(width);
  frame._Height = static_cast<SInt16>(height);
  frame._RowBytes = rowBytes;
  frame._PixelFormat = format;
  frame._PixelData = bytes.data() + at;
  frame._PixelDataSize = static_cast<UInt32>(bytes.size() - at);
  return frame;
}

TEST(Q2vuyFrames, FramesThatOverlapAreWorkedOnUnitByUnitFromTheTop) {
  constexpr int kWidth = 70;
  constexpr int kHeight = 6;
  constexpr int kRowBytes = 2 * kWidth + 4;
  const Bytes before = RandomBytes(kRowBytes * (kHeight + 2) + 64, 21);
  RasterGraphics::LumaCLUT clut;
  for (int i = 0; i < 256; ++i) clut[i] = static_cast<std::uint16_t>(255 - i);
  for (const std::size_t shift : {4, 8, 60, 144, 148}) {
    for (const bool forward : {false, true}) {
      const std::size_t from = forward ? 0 : shift;
      const std::size_t to = forward ? shift : 0;
      const auto unitByUnit = [&](Bytes& bytes, auto&& luma) {
        for (int y = 0; y < kHeight; ++y) {
          std::uint8_t* src = bytes.data() + from + static_cast<std::size_t>(y * kRowBytes);
          std::uint8_t* dst = bytes.data() + to + static_cast<std::size_t>(y * kRowBytes);
          for (int x = 0; x < kWidth; x += 2, src += 4, dst += 4) {
            const std::uint8_t unit[4] = {src[1], luma(src[0]), src[3], luma(src[2])};
            for (int i = 0; i < 4; ++i) dst[i] = unit[i];
          }
        }
      };
      for (const RowKernels& form : AvailableRowKernels()) {
        ASSERT_TRUE(Q_2vuy::SelectRowKernels(form.name));
        Bytes want = before;
        Bytes got = before;
        unitByUnit(want, [](std::uint8_t y) { return y; });
        FrameOver(got, to, kWidth, kHeight, kRowBytes, '2vuy')
            .CopyPixelsFrom(FrameOver(got, from, kWidth, kHeight, kRowBytes, 'yuvs'));
        EXPECT_EQ(got, want) << form.name << ' ' << shift << ' ' << forward;
        want = before;
        got = before;
        unitByUnit(want, [](std::uint8_t y) { return static_cast<std::uint8_t>(255 - y); });
        FrameOver(got, to, kWidth, kHeight, kRowBytes, '2vuy')
            .CopyPixelsFrom(FrameOver(got, from, kWidth, kHeight, kRowBytes, 'yuvs'), clut);
        EXPECT_EQ(got, want) << form.name << ' ' << shift << ' ' << forward;
      }
      Q_2vuy::SelectRowKernels("vector");
    }
  }
}

TEST(Q2vuyFrames, RowsThatReachIntoTheNextOneGoFromTheTopDown) {
  constexpr int kWidth = 64;
  constexpr int kHeight = 20;
  constexpr int kRowBytes = 40;  // Less than a row's 128.
  const Bytes a = RandomBytes(4096, 31);
  const Bytes b = RandomBytes(4096, 32);
  const auto blended = [&](std::string_view form) {
    Q_2vuy::SelectRowKernels(form);
    Bytes sourceA = a;
    Bytes sourceB = b;
    FrameOver(sourceA, 0, kWidth, kHeight, kRowBytes, '2vuy')
        .CopyPixelsFrom(FrameOver(sourceA, 0, kWidth, kHeight, kRowBytes, '2vuy'),
                        FrameOver(sourceB, 0, kWidth, kHeight, kRowBytes, '2vuy'), 0.4f);
    Q_2vuy::SelectRowKernels("vector");
    return sourceA;
  };
  const Bytes want = blended("scalar");
  for (const RowKernels& form : AvailableRowKernels()) EXPECT_EQ(blended(form.name), want);
}

struct Context : CoreGraphics::BitmapContext {
  Context(int width, int height) {
    EXPECT_TRUE(Construct(width, height, BitmapType_Device_ARGB, 0));
  }
  ~Context() override {
    CGContextRelease(mContextRef);  // One of two references; Destruct gives back the other.
  }
};

TEST(Q2vuyFrames, ThreadsChangeNoByteAndNoCount) {
  constexpr int kWidth = 1278;
  constexpr int kHeight = 720;
  constexpr int kRowBytes = 2 * kWidth + 4;
  Bytes a = RandomBytes(kRowBytes * kHeight, 41);
  Bytes b = RandomBytes(kRowBytes * kHeight, 42);
  const auto everything = [&] {
    std::vector<Bytes> results;
    const Q_2vuy_data sourceA = FrameOver(a, 0, kWidth, kHeight, kRowBytes, 'yuvs');
    const Q_2vuy_data sourceB = FrameOver(b, 0, kWidth, kHeight, kRowBytes, '2vuy');
    const RasterGraphics::LumaCLUT clut;
    RasterGraphics::LumaMapping mapping;
    const auto keep = [&](auto&& copy) {
      Bytes out(a.size(), kCanary);
      Q_2vuy_data frame = FrameOver(out, 0, kWidth, kHeight, kRowBytes, '2vuy');
      copy(frame);
      results.push_back(std::move(out));
    };
    keep([&](Q_2vuy_data& frame) { frame.CopyPixelsFrom(sourceA); });
    keep([&](Q_2vuy_data& frame) { frame.CopyPixelsFrom(sourceB); });
    keep([&](Q_2vuy_data& frame) { frame.CopyPixelsFrom(sourceA, clut); });
    keep([&](Q_2vuy_data& frame) { frame.CopyPixelsFrom(sourceA, clut, mapping); });
    keep([&](Q_2vuy_data& frame) { frame.CopyPixelsFrom(sourceB, clut, mapping); });
    keep([&](Q_2vuy_data& frame) { frame.CopyPixelsFrom(sourceA, sourceB, 0.3f); });
    EXPECT_EQ(mapping.Total(), static_cast<UInt32>(kWidth * kHeight));
    // Odd, so that a tight row of the context ends in the next one.
    Context context(kWidth - 1, kHeight);
    const Q_2vuy_data odd = FrameOver(b, 0, kWidth - 1, kHeight, kRowBytes, '2vuy');
    EXPECT_TRUE(odd.CopyPixelsTo(context));
    results.emplace_back(context.GetImageDataBytes(),
                         context.GetImageDataBytes() + context.GetImageDataSize());
    for (const bool composite : {false, true}) {
      Bytes out(a.size(), kCanary);
      FrameOver(out, 0, kWidth - 1, kHeight, kRowBytes, '2vuy').CopyPixelsFrom(context, composite);
      results.push_back(std::move(out));
    }
    return results;
  };
  const auto want = everything();
  for (const unsigned threads : {2u, 3u}) {
    RowThreads::SetCount(threads);
    EXPECT_EQ(everything(), want) << threads;
  }
  RowThreads::SetCount(1);
}

}  // namespace
