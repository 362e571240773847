// Whole-frame operations give the same bytes for any number of threads.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "sdk/CoreG/namespace_CoreGraphics_BitmapContext.h"
#include "sdk/CoreX/RowThreads.h"
#include "sdk/CoreX/XFrameOperations.h"
#include "sdk/QClasses/QPixMap.h"
#include "sdk/QClasses/Q_2vuy_data.h"
#include "tests/sdk/CoreX/FrameInMemory.h"
#include "tests/sdk/QClasses/PixMapInMemory.h"

namespace {

using Bytes = std::vector<unsigned char>;
/// Makes its sources anew, works, and gives all that it may have written to.
using Operation = std::function<Bytes()>;

// Rows do not end with vectors, nor frames with blocks; all cost more than the threshold.
constexpr int kWidth = 817;
constexpr int kHeight = 403;
constexpr int kEvenHeight = 402;
static_assert(std::size_t{kWidth} * kEvenHeight * 4 > RowThreads::kThreshold);

void ExpectSameForAllThreads(const Operation& operation) {
  RowThreads::SetCount(1);
  const Bytes alone = operation();
  for (const unsigned threads : {2u, 7u}) {
    RowThreads::SetCount(threads);
    const Bytes shared = operation();
    ASSERT_EQ(shared.size(), alone.size());
    // Not EXPECT_EQ, which would print them.
    EXPECT_TRUE(std::memcmp(shared.data(), alone.data(), alone.size()) == 0)
        << threads << " threads";
  }
  RowThreads::SetCount(1);
}

// ---- Frames

struct FrameCase {
  const char* name;
  int height;
  std::function<bool(const XFrameBuffer&, XFrameBuffer&)> work;
};

const std::vector<FrameCase>& FrameCases() {
  static const std::vector<FrameCase> cases = {
      {"pairs", kEvenHeight,
       [](const XFrameBuffer& from, XFrameBuffer& to) {
         return XFrame_BlendFields(from, to, XFrameFilters{XFrame_Filter_BlendPairs});
       }},
      {"three rows", kEvenHeight,
       [](const XFrameBuffer& from, XFrameBuffer& to) {
         return XFrame_BlendFields(from, to, XFrameFilters{XFrame_Filter_BlendThree});
       }},
      {"first field", kHeight,
       [](const XFrameBuffer& from, XFrameBuffer& to) { return XFrame_OneFieldOnly(from, to, 0); }},
      {"second field", kHeight,
       [](const XFrameBuffer& from, XFrameBuffer& to) { return XFrame_OneFieldOnly(from, to, 1); }},
      {"copy", kHeight, XFrame_CopyBufferMemory},
      {"blacken", kHeight,
       [](const XFrameBuffer&, XFrameBuffer& to) { return XFrame_Blacken(to); }},
      {"bilinear", kHeight,
       [](const XFrameBuffer& from, XFrameBuffer& to) { return XFrame_ResizeBilinear(from, to); }},
      {"nearest", kHeight, XFrame_ResizeNearestPixel},
  };
  return cases;
}

TEST(SharedRows, OfFramesThatAreApart) {
  for (const FrameCase& one : FrameCases()) {
    for (const bool upsideDown : {false, true}) {
      SCOPED_TRACE(testing::Message() << one.name << ", upside down " << upsideDown);
      const int padding = upsideDown ? 12 : 0;
      test::FrameInMemory source(kWidth, one.height, 1, padding, upsideDown);
      const test::FrameInMemory old(kWidth, one.height, 2, padding, upsideDown);
      ExpectSameForAllThreads([&] {
        test::FrameInMemory dest = old;
        XFrameBuffer to = dest.buffer();
        EXPECT_TRUE(one.work(source.buffer(), to));
        return dest.bytes();
      });
    }
  }
}

TEST(SharedRows, OfAFrameInPlace) {
  for (const FrameCase& one : FrameCases()) {
    SCOPED_TRACE(one.name);
    const test::FrameInMemory old(kWidth, one.height, 1);
    ExpectSameForAllThreads([&] {
      test::FrameInMemory frame = old;
      XFrameBuffer to = frame.buffer();
      EXPECT_TRUE(one.work(frame.buffer(), to));
      return frame.bytes();
    });
  }
}

/// The destination starts some rows and bytes behind the source, in the same memory.
TEST(SharedRows, OfFramesThatOverlap) {
  for (const FrameCase& one : FrameCases()) {
    for (const int rows : {1, 100}) {
      SCOPED_TRACE(testing::Message() << one.name << ", " << rows << " rows apart");
      const test::FrameInMemory old(kWidth, one.height + rows + 1, 1);
      ExpectSameForAllThreads([&] {
        test::FrameInMemory memory = old;
        XFrameBuffer from = memory.buffer();
        from.Height = one.height;
        XFrameBuffer to = from;
        to.Pixels = memory.Row(rows) + 8;
        EXPECT_TRUE(one.work(from, to));
        return memory.bytes();
      });
    }
  }
}

TEST(SharedRows, OfFramesWhoseRowsOverlap) {
  for (const FrameCase& one : FrameCases()) {
    SCOPED_TRACE(one.name);
    test::FrameInMemory source(kWidth, one.height, 1);
    const test::FrameInMemory old(kWidth, one.height, 2);
    ExpectSameForAllThreads([&] {
      test::FrameInMemory dest = old;
      XFrameBuffer from = source.buffer();
      XFrameBuffer to = dest.buffer();
      from.RowBytes = to.RowBytes = 4 * kWidth - 40;
      EXPECT_TRUE(one.work(from, to));
      return dest.bytes();
    });
  }
}

TEST(SharedRows, OfResizedFrames) {
  for (const bool bilinear : {false, true}) {
    for (const auto& [width, height] : {std::pair{611, 451}, {1203, 801}}) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << ", bilinear " << bilinear);
      test::FrameInMemory source(kWidth, kHeight, 1);
      const test::FrameInMemory old(width, height, 2, 4);
      ExpectSameForAllThreads([&] {
        test::FrameInMemory dest = old;
        XFrameBuffer to = dest.buffer();
        EXPECT_TRUE(bilinear ? XFrame_ResizeBilinear(source.buffer(), to)
                             : XFrame_ResizeNearestPixel(source.buffer(), to));
        return dest.bytes();
      });
    }
  }
}

// ---- 4:2:2

/// Bytes at random, made once.
const Bytes& Noise() {
  static const Bytes noise = [] {
    Bytes bytes(std::size_t{8} * kWidth * kHeight);
    std::mt19937 engine(5);
    for (unsigned char& b : bytes) b = static_cast<unsigned char>(engine());
    return bytes;
  }();
  return noise;
}

/// A frame over memory of its own, with room for the last pair of an odd row.
class Frame422 {
 public:
  Frame422(int seed, int rowBytes)
      : bytes_(Noise().begin() + 1001 * seed,
               Noise().begin() + 1001 * seed + rowBytes * kHeight + 4) {
    data._Width = kWidth;
    data._Height = kHeight;
    data._RowBytes = rowBytes;
    data._PixelData = bytes_.data();
    data._PixelDataSize = static_cast<UInt32>(bytes_.size());
  }
  Frame422(const Frame422&) = delete;
  Frame422& operator=(const Frame422&) = delete;
  const Bytes& bytes() const { return bytes_; }

  Q_2vuy_data data;

 private:
  Bytes bytes_;
};

struct Case422 {
  const char* name;
  std::function<void(Frame422& dest, const Frame422& a, const Frame422& b)> work;
};

void FillContext(CoreGraphics::BitmapContext& context) {
  ASSERT_TRUE(
      context.Construct(kWidth, kHeight, CoreGraphics::BitmapContext::BitmapType_Device_ARGB, 0));
  for (int y = 0; y < kHeight; ++y) {
    std::memcpy(context.QDGetStartOfScanline(y), Noise().data() + 4 * kWidth * y, 4 * kWidth);
  }
}

const std::vector<Case422>& Cases422() {
  using RasterGraphics::LumaCLUT;
  using RasterGraphics::LumaMapping;
  static const std::vector<Case422> cases = {
      {"copy", [](Frame422& dest, const Frame422& a,
                  const Frame422&) { dest.data.CopyPixelsFrom(a.data); }},
      {"swap",
       [](Frame422& dest, const Frame422& a, const Frame422&) {
         Q_2vuy_data yuvs = a.data;
         yuvs._PixelFormat = 'yuvs';
         dest.data.CopyPixelsFrom(yuvs);
       }},
      {"table",
       [](Frame422& dest, const Frame422& a, const Frame422&) {
         LumaCLUT clut;
         for (int i = 0; i < 256; ++i) clut[i] = static_cast<UInt16>(255 - i);
         dest.data.CopyPixelsFrom(a.data, clut);
       }},
      {"cross-fade", [](Frame422& dest, const Frame422& a,
                        const Frame422& b) { dest.data.CopyPixelsFrom(a.data, b.data, 0.3f); }},
      {"wipe", [](Frame422& dest, const Frame422& a,
                  const Frame422& b) { dest.data.WipePixelsFrom(a.data, b.data, 0.4f); }},
      {"from ARGB",
       [](Frame422& dest, const Frame422&, const Frame422&) {
         CoreGraphics::BitmapContext context;
         FillContext(context);
         dest.data.CopyPixelsFrom(context, false);
       }},
      {"over",
       [](Frame422& dest, const Frame422&, const Frame422&) {
         CoreGraphics::BitmapContext context;
         FillContext(context);
         dest.data.CopyPixelsFrom(context, true);
       }},
      {"mask wipe",
       [](Frame422& dest, const Frame422& a, const Frame422& b) {
         CoreGraphics::MaskContext mask;
         ASSERT_TRUE(mask.Construct(kWidth, kHeight));
         for (int y = 0; y < kHeight; ++y) {
           std::memset(mask.QDGetStartOfScanline(y), y % 256, kWidth);
         }
         dest.data.WipePixelsFrom(a.data, b.data, mask, 0.6f);
       }},
      {"equalisation",
       [](Frame422& dest, const Frame422& a, const Frame422&) {
         LumaCLUT clut;
         for (int i = 0; i < 256; ++i) clut[i] = static_cast<UInt16>(i);
         LumaMapping mapping;
         dest.data.CopyPixelsFrom(a.data, clut, mapping);
         // The histogram that was counted shows in what it maps.
         dest.data.CopyPixelsFrom(a.data, clut, mapping);
       }},
  };
  return cases;
}

TEST(SharedRows, Of422Frames) {
  for (const Case422& one : Cases422()) {
    // Whole pairs do not fit the narrow rows: they overlap by one pixel.
    for (const int rowBytes : {2 * kWidth, 2 * kWidth + 14}) {
      SCOPED_TRACE(testing::Message() << one.name << ", row bytes " << rowBytes);
      ExpectSameForAllThreads([&] {
        const Frame422 a(1, rowBytes);
        const Frame422 b(2, rowBytes);
        Frame422 dest(3, rowBytes);
        one.work(dest, a, b);
        return dest.bytes();
      });
    }
  }
}

TEST(SharedRows, Of422FramesThatOverlap) {
  for (const Case422& one : Cases422()) {
    for (const std::ptrdiff_t offset : {4, 4000}) {
      SCOPED_TRACE(testing::Message() << one.name << ", offset " << offset);
      ExpectSameForAllThreads([&] {
        Frame422 memory(1, 2 * kWidth + 2);
        Frame422 a(2, 2 * kWidth + 2);
        const Frame422 b(3, 2 * kWidth + 2);
        Frame422 dest(4, 2 * kWidth + 2);
        a.data._PixelData = memory.data._PixelData;
        dest.data._PixelData = memory.data._PixelData + offset;
        dest.data._PixelDataSize -= static_cast<UInt32>(offset);
        one.work(dest, a, b);
        return memory.bytes();
      });
    }
  }
}

TEST(SharedRows, OfAContextMadeFrom422) {
  ExpectSameForAllThreads([] {
    const Frame422 source(1, 2 * kWidth + 2);
    CoreGraphics::BitmapContext context;
    FillContext(context);
    EXPECT_TRUE(source.data.CopyPixelsTo(context));
    const unsigned char* top = context.QDGetStartOfScanline(0);
    return Bytes(top, top + std::size_t{context.GetImageRowBytes()} * (kHeight - 1) + 4 * kWidth);
  });
}

// ---- Pixel maps and noise

TEST(SharedRows, OfPixelMaps) {
  struct Case {
    const char* name;
    std::function<void(PixMap** map, PixMap** other)> work;
  };
  const std::vector<Case> cases = {
      {"grey", [](PixMap** map, PixMap**) { QPixMap_Grayscale32(map); }},
      {"brighten", [](PixMap** map, PixMap**) { QPixMap_Brightness32(map, 1.3); }},
      {"duotone", [](PixMap** map, PixMap**) { QPixMap_DuoTone32(map, 0x3060C0); }},
      {"blend",
       [](PixMap** map, PixMap** other) { QPixMap_AlphaBlend32(map, 0.6, other, 0.4, map); }},
      {"overlay",
       [](PixMap** map, PixMap** other) {
         QPM_44(map, Point{3, -5}, other, 0.7f);
       }},
      {"fill", [](PixMap** map, PixMap**) { QPixMap_FillColor32(map, 0x12345678); }},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    ExpectSameForAllThreads([&] {
      test::PixMapInMemory map(kWidth, kHeight, 1, 8);
      test::PixMapInMemory other(kWidth, kHeight, 2, 8);
      one.work(map.handle(), other.handle());
      return map.bytes();
    });
  }
}

TEST(SharedRows, OfPixelMapsWhoseRowsOverlap) {
  ExpectSameForAllThreads([] {
    test::PixMapInMemory map(kWidth, kHeight, 1, 0);
    test::PixMapInMemory other(kWidth, kHeight, 2, 0);
    QTSetPixMapPtrRowBytes(*map.handle(), 4 * kWidth - 40);
    QTSetPixMapPtrRowBytes(*other.handle(), 4 * kWidth - 40);
    QPixMap_AlphaBlend32(map.handle(), 0.6, other.handle(), 0.4, map.handle());
    QPixMap_DuoTone32(map.handle(), 0x3060C0);
    QPM_44(map.handle(), Point{0, 0}, other.handle(), 0.7f);
    return map.bytes();
  });
}

TEST(SharedRows, OfNoise) {
  for (const int cell : {1, 3, 16}) {
    SCOPED_TRACE(cell);
    ExpectSameForAllThreads([cell] {
      CoreGraphics::BitmapContext context;
      FillContext(context);
      context.FillPerlinNoise(cell, 1.5f);
      const unsigned char* top = context.QDGetStartOfScanline(0);
      return Bytes(top, top + std::size_t{context.GetImageRowBytes()} * (kHeight - 1) + 4 * kWidth);
    });
  }
}

}  // namespace
