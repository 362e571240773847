#include "sdk/CoreX/XFrameOperations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "sdk/CoreX/RowThreads.h"
#include "sdk/CoreX/XFrameKernels.h"
#include "tests/sdk/CoreX/FrameInMemory.h"
#include "tests/support/LogCapture.h"

namespace {

using test::FrameInMemory;
using test::LogCapture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Layouts that every operation is tried in.
struct Layout {
  int padding;
  bool upsideDown;
};
constexpr Layout kLayouts[] = {{0, false}, {12, false}, {3, false}, {8, true}};

/// Runs a test body under every form of the row kernels.
template <typename Body>
void UnderEveryForm(const Body& body) {
  for (const XFrameKernels::RowKernels& form : XFrameKernels::AvailableRowKernels()) {
    SCOPED_TRACE(form.name);
    ASSERT_TRUE(XFrameKernels::SelectRowKernels(form.name));
    body();
  }
  XFrameKernels::SelectRowKernels(XFrameKernels::AvailableRowKernels().front().name);
}

void ExpectSame(const FrameInMemory& got, const FrameInMemory& want) {
  EXPECT_EQ(got.bytes(), want.bytes());
}

// ---- Deinterlacing

void OracleBlend(FrameInMemory& source, FrameInMemory& dest, bool three) {
  const int height = source.height();
  for (int y = 0; y < height; ++y) {
    for (int i = 0; i < 4 * source.width(); ++i) {
      if (three) {
        const int p = source.Row(y == 0 ? 0 : y - 1)[i];
        const int q = source.Row(y == height - 1 ? y : y + 1)[i];
        dest.Row(y)[i] = static_cast<unsigned char>((((p + q) >> 1) + source.Row(y)[i]) >> 1);
      } else {
        const int even = y & ~1;
        dest.Row(y)[i] =
            static_cast<unsigned char>((source.Row(even)[i] + source.Row(even + 1)[i]) >> 1);
      }
    }
  }
}

void OracleOneField(FrameInMemory& source, FrameInMemory& dest, int field) {
  // For an even height: row 2k is row k of the field, row 2k + 1 the mean with the next one.
  const int rows = source.height() / 2;
  for (int k = 0; k < rows; ++k) {
    const unsigned char* now = source.Row(2 * k + field);
    const unsigned char* next = source.Row(2 * std::min(k + 1, rows - 1) + field);
    for (int i = 0; i < 4 * source.width(); ++i) {
      dest.Row(2 * k)[i] = now[i];
      dest.Row(2 * k + 1)[i] = static_cast<unsigned char>((now[i] + next[i]) >> 1);
    }
  }
}

TEST(Deinterlace, EveryFlagWord) {
  UnderEveryForm([] {
    for (const Layout& layout : kLayouts) {
      for (UInt32 flags = 0; flags <= 0x7F; ++flags) {
        for (const int height : {2, 4, 10}) {
          FrameInMemory source(19, height, 1, layout.padding, layout.upsideDown);
          FrameInMemory got(19, height, 2, layout.padding, layout.upsideDown);
          FrameInMemory want = got;
          bool ok = true;
          if ((flags & 0x07) != 0) {
            ok = false;
          } else if ((flags & 0x18) != 0) {
            OracleBlend(source, want, (flags & 0x08) != 0);
          } else if ((flags & 0x20) != 0) {
            OracleOneField(source, want, 0);
          } else if ((flags & 0x40) != 0) {
            OracleOneField(source, want, 1);
          } else {
            ok = false;
          }
          XFrameBuffer dest = got.buffer();
          ASSERT_EQ(XFrame_Deinterlace(source.buffer(), dest, XFrameFilters{flags}), ok) << flags;
          ASSERT_EQ(got.bytes(), want.bytes()) << "flags " << flags << " height " << height;
        }
      }
    }
  });
}

TEST(Deinterlace, HighFlagBitsDoNotMatter) {
  FrameInMemory source(8, 4, 1);
  FrameInMemory got(8, 4, 2);
  FrameInMemory want = got;
  OracleBlend(source, want, true);
  XFrameBuffer dest = got.buffer();
  EXPECT_TRUE(XFrame_Deinterlace(source.buffer(), dest, XFrameFilters{0xFFFFFF88}));
  ExpectSame(got, want);
}

TEST(Deinterlace, RefusesFramesThatDoNotFit) {
  FrameInMemory source(8, 4, 1);
  FrameInMemory got(8, 4, 2);
  const FrameInMemory before = got;
  const LogCapture log;
  const auto refuses = [&](auto&& change) {
    XFrameBuffer from = source.buffer();
    XFrameBuffer to = got.buffer();
    change(from, to);
    EXPECT_FALSE(XFrame_Deinterlace(from, to, XFrameFilters{0x08}));
    EXPECT_FALSE(XFrame_Deinterlace(from, to, XFrameFilters{0x20}));
    EXPECT_FALSE(XFrame_BlendFields(from, to, XFrameFilters{0x08}));
    EXPECT_FALSE(XFrame_BlendFields(from, to, XFrameFilters{0x00}));
  };
  refuses([](XFrameBuffer& from, XFrameBuffer& to) { from.Height = to.Height = 3; });
  refuses([](XFrameBuffer&, XFrameBuffer& to) { to.PixelType = XFrame_Pel_r408; });
  refuses([](XFrameBuffer&, XFrameBuffer& to) { to.Width = 7; });
  refuses([](XFrameBuffer&, XFrameBuffer& to) { to.Height = 2; });
  refuses([](XFrameBuffer&, XFrameBuffer& to) { to.RowBytes = 36; });
  refuses([](XFrameBuffer& from, XFrameBuffer&) { from.Pixels = nullptr; });
  refuses([](XFrameBuffer&, XFrameBuffer& to) { to.Pixels = nullptr; });
  ExpectSame(got, before);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(Deinterlace, NoRowsOrColumnsAreASuccess) {
  FrameInMemory memory(8, 4, 1);
  const FrameInMemory before = memory;
  XFrameBuffer source = memory.buffer();
  XFrameBuffer dest = memory.buffer();
  source.Height = dest.Height = 0;
  EXPECT_TRUE(XFrame_BlendFields(source, dest, XFrameFilters{0x08}));
  EXPECT_TRUE(XFrame_BlendFields(source, dest, XFrameFilters{0x10}));
  EXPECT_TRUE(XFrame_OneFieldOnly(source, dest, 0));
  source.Height = dest.Height = -2;
  EXPECT_TRUE(XFrame_OneFieldOnly(source, dest, 1));
  source.Height = dest.Height = 4;
  source.Width = dest.Width = 0;
  EXPECT_TRUE(XFrame_BlendFields(source, dest, XFrameFilters{0x08}));
  EXPECT_TRUE(XFrame_OneFieldOnly(source, dest, 0));
  ExpectSame(memory, before);
}

TEST(BlendFields, KnownValues) {
  UnderEveryForm([] {
    FrameInMemory source(1, 2, 1);
    FrameInMemory dest(1, 2, 2);
    std::memset(source.Row(0), 255, 4);
    std::memset(source.Row(1), 254, 4);
    XFrameBuffer to = dest.buffer();
    ASSERT_TRUE(XFrame_BlendFields(source.buffer(), to, XFrameFilters{0x10}));
    EXPECT_EQ(dest.At(0, 0, 0), 254);
    EXPECT_EQ(dest.At(0, 1, 3), 254);

    FrameInMemory tall(1, 4, 3);
    FrameInMemory out(1, 4, 4);
    std::memset(tall.Row(0), 10, 4);
    std::memset(tall.Row(1), 20, 4);
    std::memset(tall.Row(2), 31, 4);
    to = out.buffer();
    ASSERT_TRUE(XFrame_BlendFields(tall.buffer(), to, XFrameFilters{0x08}));
    EXPECT_EQ(out.At(0, 1, 2), 20);
  });
}

TEST(BlendFields, CountsThePixelsBytes) {
  // Two bytes a pixel: half of each row is left alone.
  FrameInMemory source(8, 4, 1);
  FrameInMemory got(8, 4, 2);
  FrameInMemory want = got;
  FrameInMemory whole = got;
  OracleBlend(source, whole, true);
  for (int y = 0; y < 4; ++y) std::memcpy(want.Row(y), whole.Row(y), 16);
  XFrameBuffer from = source.buffer();
  from.PelBytes = 2;
  XFrameBuffer to = got.buffer();
  EXPECT_TRUE(XFrame_BlendFields(from, to, XFrameFilters{0x08}));
  ExpectSame(got, want);
}

TEST(BlendFields, SharedMemoryGoesByteByByteFromTheTop) {
  // A destination that begins a few bytes into the source, for every form of the kernels.
  for (const UInt32 flags : {0x08u, 0x10u}) {
    for (const int shift : {-37, -4, 0, 1, 4, 37, 76, 80}) {
      FrameInMemory want(19, 6, 9, 4);
      UnderEveryForm([&] {
        FrameInMemory memory(19, 6, 9, 4);
        XFrameBuffer source = memory.buffer();
        source.Height = 4;
        source.Pixels += 80;
        XFrameBuffer dest = source;
        dest.Pixels += shift;
        ASSERT_TRUE(XFrame_BlendFields(source, dest, XFrameFilters{flags}));
        FrameInMemory plain(19, 6, 9, 4);
        unsigned char* from = plain.Row(1);
        unsigned char* to = from + shift;
        for (int y = 0; y < 4; y += flags == 0x08 ? 1 : 2) {
          for (int i = 0; i < 76; ++i) {
            if (flags == 0x08) {
              const int p = from[80 * std::max(y - 1, 0) + i];
              const int q = from[80 * std::min(y + 1, 3) + i];
              to[80 * y + i] = static_cast<unsigned char>((((p + q) >> 1) + from[80 * y + i]) >> 1);
            } else {
              const auto mean =
                  static_cast<unsigned char>((from[80 * y + i] + from[80 * (y + 1) + i]) >> 1);
              to[80 * y + i] = mean;
              to[80 * (y + 1) + i] = mean;
            }
          }
        }
        ASSERT_EQ(memory.bytes(), plain.bytes()) << "flags " << flags << " shift " << shift;
      });
    }
  }
}

TEST(OneFieldOnly, OddHeightsFollowTheFormula) {
  // Rows taken for each output row; -1 leaves the row as it is. {a, b} is the mean of both.
  struct Case {
    int height, field;
    std::vector<std::pair<int, int>> rows;
  };
  const Case cases[] = {
      {1, 0, {{0, 0}}},
      {1, 1, {{-1, -1}}},  // the only row of the second field lies outside
      {2, 0, {{0, 0}, {0, 0}}},
      {2, 1, {{1, 1}, {1, 1}}},
      {3, 0, {{0, 0}, {0, 2}, {1, 1}}},
      {3, 1, {{1, 1}, {1, 2}, {2, 2}}},
      {4, 0, {{0, 0}, {0, 2}, {2, 2}, {2, 2}}},
      {5, 0, {{0, 0}, {0, 2}, {2, 2}, {2, 3}, {3, 3}}},
      {5, 1, {{1, 1}, {1, 3}, {3, 3}, {3, 4}, {4, 4}}},
  };
  for (const Case& c : cases) {
    for (const Layout& layout : kLayouts) {
      FrameInMemory source(9, c.height, 1, layout.padding, layout.upsideDown);
      FrameInMemory got(9, c.height, 2, layout.padding, layout.upsideDown);
      FrameInMemory want = got;
      for (int y = 0; y < c.height; ++y) {
        const auto [a, b] = c.rows[static_cast<std::size_t>(y)];
        if (a < 0) continue;
        for (int i = 0; i < 36; ++i) {
          want.Row(y)[i] = static_cast<unsigned char>((source.Row(a)[i] + source.Row(b)[i]) >> 1);
        }
      }
      XFrameBuffer dest = got.buffer();
      EXPECT_TRUE(XFrame_OneFieldOnly(source.buffer(), dest, c.field));
      EXPECT_EQ(got.bytes(), want.bytes()) << c.height << " field " << c.field;
    }
  }
}

TEST(OneFieldOnly, HasNoOtherFieldsAndNeedsPixels) {
  FrameInMemory source(4, 4, 1);
  FrameInMemory got(4, 4, 2);
  const FrameInMemory before = got;
  XFrameBuffer dest = got.buffer();
  EXPECT_FALSE(XFrame_OneFieldOnly(source.buffer(), dest, 2));
  EXPECT_FALSE(XFrame_OneFieldOnly(source.buffer(), dest, -1));
  XFrameBuffer none = source.buffer();
  none.Pixels = nullptr;
  EXPECT_FALSE(XFrame_OneFieldOnly(none, dest, 0));
  ExpectSame(got, before);
}

TEST(OneFieldOnly, SharedMemoryGoesByteByByteFromTheTop) {
  // In place, and a destination that begins some bytes or rows further on.
  for (const int field : {0, 1}) {
    for (const int height : {2, 4, 5, 6}) {
      for (const int shift : {0, -37, -4, 1, 4, 37, 80, -80, 160, 240}) {
        FrameInMemory plain(19, 12, 9, 4);
        unsigned char* from = plain.Row(3);
        unsigned char* to = from + shift;
        const int last = field == 1 ? height - 1 : height - 2;
        int cur = field;
        int next = field + 2 < height ? field + 2 : last;
        for (int y = 0; y < height; ++y, to += 80) {
          if (y % 2 == 0) {
            std::memmove(to, from + 80 * cur, 76);
            continue;
          }
          for (int i = 0; i < 76; ++i) {
            to[i] = static_cast<unsigned char>((from[80 * cur + i] + from[80 * next + i]) >> 1);
          }
          cur = std::max(field, std::min(next, last));
          next = std::max(field, std::min(cur + 2, last));
        }
        UnderEveryForm([&] {
          FrameInMemory memory(19, 12, 9, 4);
          XFrameBuffer source = memory.buffer();
          source.Height = height;
          source.Pixels = memory.Row(3);
          XFrameBuffer dest = source;
          dest.Pixels += shift;
          ASSERT_TRUE(XFrame_OneFieldOnly(source, dest, field));
          ASSERT_EQ(memory.bytes(), plain.bytes())
              << "field " << field << " height " << height << " shift " << shift;
        });
      }
    }
  }
}

TEST(Adaptive, IsReserved) {
  FrameInMemory memory(4, 4, 1);
  const FrameInMemory before = memory;
  XFrameBuffer dest = memory.buffer();
  EXPECT_FALSE(XFrame_DeInterlaceAdaptive(memory.buffer(), dest, XFrameFilters{0x08}));
  ExpectSame(memory, before);
}

TEST(BlackenField, ZeroesEverySecondRowInAnyFormat) {
  for (const XFrame_Pel_Format format : {XFrame_Pel_ARGB, XFrame_Pel_r408}) {
    for (const int field : {0, 1, 4, 5, 9, -3, -2}) {
      FrameInMemory got(6, 5, 1, 4, false, format);
      FrameInMemory want = got;
      for (int y = field; y < 5; y += 2) {
        if (y >= 0) std::memset(want.Row(y), 0, 24);
      }
      XFrameBuffer buffer = got.buffer();
      EXPECT_TRUE(XFrame_BlackenField(buffer, field));
      EXPECT_EQ(got.bytes(), want.bytes()) << field;
    }
  }
  FrameInMemory memory(6, 5, 1);
  const FrameInMemory before = memory;
  for (int what = 0; what < 3; ++what) {
    XFrameBuffer buffer = memory.buffer();
    if (what == 0) buffer.Pixels = nullptr;
    if (what == 1) buffer.Width = 0;
    if (what == 2) buffer.Height = 0;
    EXPECT_FALSE(XFrame_BlackenField(buffer, 0));
  }
  ExpectSame(memory, before);
}

// ---- Copying

TEST(CopyBufferMemory, CopiesPixelsAndNothingElse) {
  for (const Layout& layout : kLayouts) {
    FrameInMemory source(7, 5, 1, layout.padding, layout.upsideDown);
    FrameInMemory got(7, 5, 2, layout.padding, layout.upsideDown);
    FrameInMemory want = got;
    for (int y = 0; y < 5; ++y) std::memcpy(want.Row(y), source.Row(y), 28);
    XFrameBuffer dest = got.buffer();
    EXPECT_TRUE(XFrame_CopyBufferMemory(source.buffer(), dest));
    ExpectSame(got, want);
  }
}

TEST(CopyBufferMemory, RowsMayOverlap) {
  for (const int shift : {-12, -1, 1, 12}) {
    FrameInMemory memory(7, 3, 1, 20);
    FrameInMemory want = memory;
    for (int y = 0; y < 3; ++y) std::memmove(want.Row(y) + shift, want.Row(y), 28);
    XFrameBuffer dest = memory.buffer();
    dest.Pixels += shift;
    EXPECT_TRUE(XFrame_CopyBufferMemory(memory.buffer(), dest));
    EXPECT_EQ(memory.bytes(), want.bytes()) << shift;
  }
}

TEST(CopyBufferMemory, LogsFramesThatDiffer) {
  FrameInMemory source(7, 5, 1);
  FrameInMemory got(7, 5, 2);
  const FrameInMemory before = got;
  const LogCapture log;
  for (int what = 0; what < 4; ++what) {
    XFrameBuffer dest = got.buffer();
    if (what == 0) dest.PixelType = XFrame_Pel_VideoRGB;
    if (what == 1) dest.Width = 6;
    if (what == 2) dest.Height = 4;
    if (what == 3) dest.RowBytes = 32;
    EXPECT_FALSE(XFrame_CopyBufferMemory(source.buffer(), dest));
  }
  const std::string line = test::AnyLineNumber(test::VerifyLine(
      "Source==Destination", "sdk/CoreX/XFrameOperations", 0, "XFrame_CopyBufferMemory"));
  EXPECT_THAT(test::AnyLineNumbers(log.Lines()), ElementsAre(line, line, line, line));
  XFrameBuffer none = source.buffer();
  none.Pixels = nullptr;
  XFrameBuffer dest = got.buffer();
  EXPECT_FALSE(XFrame_CopyBufferMemory(none, dest));
  ExpectSame(got, before);
}

// ---- Resizing

void OracleBilinear(const XFrameBuffer& source, const XFrameBuffer& dest) {
  const float xstep = float(source.Width) / float(dest.Width);
  const float ystep = float(source.Height) / float(dest.Height);
  volatile float fy = 0;
  for (int y = 0; y < dest.Height; ++y) {
    const int y0 = std::min(source.Height - 1, int(fy));
    const volatile float wy = fy - float(y0);
    const unsigned char* upper = source.Pixels + y0 * source.RowBytes;
    const unsigned char* lower = y0 + 1 < source.Height ? upper + source.RowBytes : upper;
    volatile float fx = 0;
    for (int x = 0; x < dest.Width; ++x) {
      const int x0 = std::min(source.Width - 1, int(fx));
      const volatile float wx = fx - float(x0);
      const int right = x0 + 1 < source.Width ? 4 * x0 + 4 : 4 * x0;
      for (int i = 0; i < 4; ++i) {
        const volatile float u = 1 - wx;
        const volatile float v = 1 - wy;
        const volatile float a = float(upper[4 * x0 + i]) * u;
        const volatile float b = float(upper[right + i]) * wx;
        const volatile float c = float(lower[4 * x0 + i]) * u;
        const volatile float d = float(lower[right + i]) * wx;
        const volatile float ab = a + b;
        const volatile float cd = c + d;
        const volatile float top = ab * v;
        const volatile float bottom = cd * wy;
        const volatile float sum = top + bottom;
        dest.Pixels[y * dest.RowBytes + 4 * x + i] = static_cast<unsigned char>(int(sum));
      }
      fx = fx + xstep;
    }
    fy = fy + ystep;
  }
}

struct SizePair {
  int fromWidth, fromHeight, toWidth, toHeight;
};
constexpr SizePair kSizes[] = {
    {1, 1, 1, 1},     {1, 1, 7, 5},    {7, 5, 1, 1},     {2, 1, 4, 1},      {1, 2, 1, 4},
    {16, 9, 16, 9},   {16, 9, 32, 18}, {32, 18, 16, 9},  {17, 11, 40, 3},   {40, 3, 17, 11},
    {3, 3, 100, 100}, {100, 7, 3, 50}, {13, 8, 1030, 2}, {640, 2, 2050, 3}, {2051, 3, 640, 2},
};

TEST(ResizeBilinear, IsTheRuleForEverySizeAndLayout) {
  UnderEveryForm([] {
    for (const SizePair& s : kSizes) {
      for (const Layout& layout : kLayouts) {
        FrameInMemory source(s.fromWidth, s.fromHeight, 1, layout.padding, layout.upsideDown);
        FrameInMemory got(s.toWidth, s.toHeight, 2, 8 - layout.padding % 8, !layout.upsideDown);
        FrameInMemory want = got;
        OracleBilinear(source.buffer(), want.buffer());
        XFrameBuffer dest = got.buffer();
        ASSERT_TRUE(XFrame_ResizeBilinear(source.buffer(), dest));
        ASSERT_EQ(got.bytes(), want.bytes())
            << s.fromWidth << 'x' << s.fromHeight << " to " << s.toWidth << 'x' << s.toHeight;
      }
    }
  });
}

TEST(ResizeBilinear, AccumulatesItsSteps) {
  // Were positions multiplied instead, a wide row would differ somewhere.
  FrameInMemory source(1001, 1, 1);
  FrameInMemory got(3003, 1, 2);
  XFrameBuffer dest = got.buffer();
  ASSERT_TRUE(XFrame_ResizeBilinear(source.buffer(), dest));
  int differences = 0;
  const float step = 1001.0f / 3003.0f;
  for (int x = 0; x < 3003; ++x) {
    const float fx = static_cast<float>(x) * step;
    const int x0 = std::min(1000, static_cast<int>(fx));
    const float wx = fx - static_cast<float>(x0);
    const int right = std::min(1000, x0 + 1);
    for (int i = 0; i < 4; ++i) {
      const float value = static_cast<float>(source.At(x0, 0, i)) * (1 - wx) +
                          static_cast<float>(source.At(right, 0, i)) * wx;
      differences += got.At(x, 0, i) != static_cast<unsigned char>(value) ? 1 : 0;
    }
  }
  EXPECT_GT(differences, 0);
}

TEST(ResizeBilinear, KnownValues) {
  FrameInMemory source(2, 1, 1);
  std::memset(source.Row(0), 0, 4);
  std::memset(source.Row(0) + 4, 255, 4);
  FrameInMemory got(4, 1, 2);
  XFrameBuffer dest = got.buffer();
  ASSERT_TRUE(XFrame_ResizeBilinear(source.buffer(), dest));
  EXPECT_EQ(got.At(0, 0, 0), 0);
  EXPECT_EQ(got.At(1, 0, 0), 127);
  EXPECT_EQ(got.At(2, 0, 0), 255);
  EXPECT_EQ(got.At(3, 0, 0), 255);
}

TEST(ResizeBilinear, SharedMemoryGoesPixelByPixel) {
  for (const int offset : {-40, -4, 0, 4, 44}) {
    UnderEveryForm([&] {
      FrameInMemory memory(20, 10, 3);
      FrameInMemory want(20, 10, 3);
      const auto run = [&](FrameInMemory& frame, auto&& resize) {
        XFrameBuffer source = frame.buffer();
        source.Width = 8;
        source.Height = 4;
        source.Pixels += 2 * 80 + 40;
        XFrameBuffer dest = frame.buffer();
        dest.Width = 9;
        dest.Height = 5;
        dest.Pixels = source.Pixels + offset;
        resize(source, dest);
      };
      run(memory,
          [](const XFrameBuffer& s, XFrameBuffer& d) { ASSERT_TRUE(XFrame_ResizeBilinear(s, d)); });
      // The rule's order: a pixel's four bytes are read before they are written.
      run(want, [](const XFrameBuffer& s, XFrameBuffer& d) { OracleBilinear(s, d); });
      EXPECT_EQ(memory.bytes(), want.bytes()) << offset;
    });
  }
}

TEST(ResizeBilinear, ByFields) {
  for (const SizePair& s : {SizePair{16, 10, 24, 14}, {9, 7, 5, 11}, {8, 8, 8, 8}}) {
    FrameInMemory source(s.fromWidth, s.fromHeight, 1, 4);
    FrameInMemory got(s.toWidth, s.toHeight, 2, 12);
    FrameInMemory want = got;
    XFrameBuffer st, sb, dt, db;
    source.buffer().GetFields(st, sb);
    want.buffer().GetFields(dt, db);
    OracleBilinear(st, dt);
    OracleBilinear(sb, db);
    FrameInMemory viaFlag = got;
    XFrameBuffer dest = got.buffer();
    EXPECT_TRUE(XFrame_ResizeBilinearWithFields(source.buffer(), dest));
    ExpectSame(got, want);
    dest = viaFlag.buffer();
    EXPECT_TRUE(XFrame_ResizeBilinear(source.buffer(), dest, false));
    ExpectSame(viaFlag, want);

    FrameInMemory progressive(s.toWidth, s.toHeight, 2, 12);
    FrameInMemory whole = progressive;
    OracleBilinear(source.buffer(), whole.buffer());
    dest = progressive.buffer();
    EXPECT_TRUE(XFrame_ResizeBilinear(source.buffer(), dest, true));
    ExpectSame(progressive, whole);
  }
}

TEST(ResizeNearest, IsTheRuleForEverySizeAndLayout) {
  UnderEveryForm([] {
    for (const SizePair& s : kSizes) {
      for (const Layout& layout : kLayouts) {
        FrameInMemory source(s.fromWidth, s.fromHeight, 1, layout.padding, layout.upsideDown);
        FrameInMemory got(s.toWidth, s.toHeight, 2, layout.padding, layout.upsideDown);
        FrameInMemory want = got;
        double fy = 0;
        for (int y = 0; y < s.toHeight; ++y) {
          double fx = 0;
          for (int x = 0; x < s.toWidth; ++x) {
            std::memcpy(want.Row(y) + 4 * x,
                        source.Row(std::min(s.fromHeight - 1, int(fy))) +
                            4 * std::min(s.fromWidth - 1, int(fx)),
                        4);
            fx += double(s.fromWidth) / s.toWidth;
          }
          fy += double(s.fromHeight) / s.toHeight;
        }
        XFrameBuffer dest = got.buffer();
        ASSERT_TRUE(XFrame_ResizeNearestPixel(source.buffer(), dest));
        ASSERT_EQ(got.bytes(), want.bytes())
            << s.fromWidth << 'x' << s.fromHeight << " to " << s.toWidth << 'x' << s.toHeight;
      }
    }
  });
}

TEST(ResizeNearest, PixelsOfOtherSizes) {
  // Each pixel's first four bytes.
  FrameInMemory memory(40, 6, 1);
  XFrameBuffer source = memory.buffer();
  source.Width = 20;
  source.PelBytes = 8;
  FrameInMemory got(33, 9, 2);
  FrameInMemory want = got;
  double fy = 0;
  for (int y = 0; y < 9; ++y, fy += 6.0 / 9) {
    double fx = 0;
    for (int x = 0; x < 33; ++x, fx += 20.0 / 33) {
      std::memcpy(want.Row(y) + 4 * x, memory.Row(int(fy)) + 8 * int(fx), 4);
    }
  }
  XFrameBuffer dest = got.buffer();
  ASSERT_TRUE(XFrame_ResizeNearestPixel(source, dest));
  ExpectSame(got, want);
}

TEST(Threads, GiveTheSameBytes) {
  FrameInMemory source(700, 600, 1, 8);
  FrameInMemory other(700, 600, 2, 8);
  FrameInMemory large(900, 700, 3);
  const auto everything = [&] {
    std::vector<std::vector<unsigned char>> results;
    FrameInMemory frame = other;
    const auto same = [&](auto&& operation) {
      frame = other;
      XFrameBuffer dest = frame.buffer();
      EXPECT_TRUE(operation(source.buffer(), dest));
      results.push_back(frame.bytes());
      frame = other;  // In place
      dest = frame.buffer();
      EXPECT_TRUE(operation(frame.buffer(), dest));
      results.push_back(frame.bytes());
    };
    for (const UInt32 flags : {0x08u, 0x10u, 0x20u, 0x40u}) {
      same([flags](const XFrameBuffer& s, XFrameBuffer& d) {
        return XFrame_Deinterlace(s, d, XFrameFilters{flags});
      });
    }
    same(XFrame_CopyBufferMemory);
    for (const XFrame_Pel_Format format : {XFrame_Pel_ARGB, XFrame_Pel_r408}) {
      same([format](const XFrameBuffer&, XFrameBuffer& d) {
        d.PixelType = format;
        return XFrame_Blacken(d);
      });
    }
    for (bool (*resize)(const XFrameBuffer&, XFrameBuffer&) :
         {static_cast<bool (*)(const XFrameBuffer&, XFrameBuffer&)>(XFrame_ResizeBilinear),
          XFrame_ResizeNearestPixel}) {
      FrameInMemory up = large;
      XFrameBuffer dest = up.buffer();
      EXPECT_TRUE(resize(source.buffer(), dest));
      results.push_back(up.bytes());
      FrameInMemory down = source;
      dest = down.buffer();
      EXPECT_TRUE(resize(large.buffer(), dest));
      results.push_back(down.bytes());
    }
    return results;
  };
  const auto alone = everything();
  for (const unsigned threads : {2u, 5u}) {
    RowThreads::SetCount(threads);
    EXPECT_TRUE(everything() == alone) << threads;
  }
  RowThreads::SetCount(1);
}

TEST(Resize, FieldViewsOfCrops) {
  FrameInMemory memory(30, 20, 1);
  XFrameBuffer crop;
  memory.buffer().GetCroppedBuffer(crop, 3, 2, 5, 1);
  XFrameBuffer field;
  crop.GetBottomField(field);
  FrameInMemory got(11, 13, 2);
  FrameInMemory want = got;
  OracleBilinear(field, want.buffer());
  XFrameBuffer dest = got.buffer();
  ASSERT_TRUE(XFrame_ResizeBilinear(field, dest));
  ExpectSame(got, want);
}

TEST(Resize, NothingToReadOrToWrite) {
  FrameInMemory memory(8, 4, 1);
  FrameInMemory got(8, 4, 2);
  const FrameInMemory before = got;
  for (bool (*resize)(const XFrameBuffer&, XFrameBuffer&) :
       {static_cast<bool (*)(const XFrameBuffer&, XFrameBuffer&)>(XFrame_ResizeBilinear),
        XFrame_ResizeNearestPixel}) {
    for (int what = 0; what < 4; ++what) {
      XFrameBuffer source = memory.buffer();
      XFrameBuffer dest = got.buffer();
      if (what == 0) source.Width = 0;
      if (what == 1) source.Height = -1;
      if (what == 2) source.Pixels = nullptr;
      if (what == 3) dest.Pixels = nullptr;
      EXPECT_FALSE(resize(source, dest)) << what;
    }
    XFrameBuffer none = got.buffer();
    none.Height = 0;
    EXPECT_TRUE(resize(memory.buffer(), none));
    none = got.buffer();
    none.Width = -4;
    EXPECT_TRUE(resize(memory.buffer(), none));
  }
  ExpectSame(got, before);
}

// ---- Blackening

void OracleBlack(unsigned char* bytes, int count, XFrame_Pel_Format format) {
  const bool yuv = format == XFrame_Pel_r408 || format == XFrame_Pel_v408;
  const unsigned char black[4] = {255, 0, 128, 128};
  for (int i = 0; i < (yuv ? count / 4 * 4 : count); ++i) bytes[i] = yuv ? black[i % 4] : 0;
}

constexpr XFrame_Pel_Format kFormats[] = {XFrame_Pel_ARGB, XFrame_Pel_VideoRGB, XFrame_Pel_r408,
                                          XFrame_Pel_v408, XFrame_Pel_Unknown};

TEST(Blacken, PixelDataInEveryFormatAndLength) {
  for (const XFrame_Pel_Format format : kFormats) {
    for (int count = 0; count <= 33; ++count) {
      std::vector<unsigned char> got(40, 0xA5);
      std::vector<unsigned char> want = got;
      OracleBlack(want.data(), count, format);
      EXPECT_TRUE(XFrame_BlackenPixelData(format, got.data(), static_cast<UInt32>(count)));
      EXPECT_EQ(got, want) << count;
    }
  }
  EXPECT_FALSE(XFrame_BlackenPixelData(XFrame_Pel_ARGB, nullptr, 4));
}

TEST(Blacken, FramesAndRows) {
  for (const XFrame_Pel_Format format : kFormats) {
    for (const Layout& layout : kLayouts) {
      FrameInMemory got(7, 4, 1, layout.padding, layout.upsideDown, format);
      FrameInMemory want = got;
      OracleBlack(want.Row(2), 28, format);
      EXPECT_TRUE(XFrame_BlackenScanLine(got.buffer(), 2));
      EXPECT_FALSE(XFrame_BlackenScanLine(got.buffer(), 4));
      EXPECT_FALSE(XFrame_BlackenScanLine(got.buffer(), -1));
      ExpectSame(got, want);
      for (int y = 0; y < 4; ++y) OracleBlack(want.Row(y), 28, format);
      XFrameBuffer buffer = got.buffer();
      EXPECT_TRUE(XFrame_Blacken(buffer));
      ExpectSame(got, want);
    }
  }
  FrameInMemory memory(7, 4, 1);
  XFrameBuffer buffer = memory.buffer();
  EXPECT_TRUE(XFrame_BlackenWith<XFrameBlacken_r408_ScanLine>(buffer));
  EXPECT_EQ(memory.At(3, 3, 0), 255) << "the row function decides, not the format";
  EXPECT_TRUE(XFrame_BlackenWith<XFrameBlacken_ARGB_ScanLine>(buffer));
  EXPECT_EQ(memory.At(3, 3, 0), 0);
}

TEST(Blacken, NeedsAFrame) {
  FrameInMemory memory(7, 4, 1);
  const FrameInMemory before = memory;
  for (int what = 0; what < 3; ++what) {
    XFrameBuffer buffer = memory.buffer();
    if (what == 0) buffer.Pixels = nullptr;
    if (what == 1) buffer.Width = 0;
    if (what == 2) buffer.Height = 0;
    EXPECT_FALSE(XFrame_Blacken(buffer));
    EXPECT_FALSE(XFrame_BlackenEdges(buffer, XFrameEdges{1, 1, 1, 1}));
  }
  ExpectSame(memory, before);
}

/// The rule over a frame of exactly this size; what lies outside is left out.
void OracleEdges(FrameInMemory& frame, const XFrameEdges& e, XFrame_Pel_Format format) {
  const int w = frame.width();
  const int h = frame.height();
  const auto inside = [&](int x, int y) { return x >= 0 && x < w && y >= 0 && y < h; };
  const auto feather = [&](int x, int y, int thirds) {
    if (!inside(x, y)) return;
    for (int i = 0; i < 4; ++i) {
      const double third = frame.At(x, y, i) / 3.0;
      frame.At(x, y, i) = static_cast<unsigned char>(int(thirds * third));
    }
  };
  const auto black = [&](int x, int y) {
    if (inside(x, y)) OracleBlack(frame.Row(y) + 4 * x, 4, format);
  };
  if (e.top != 0) {
    for (int y = 0; y < e.top; ++y) {
      for (int x = 0; x < w; ++x) black(x, y);
    }
    for (int x = e.left; x < w - e.right; ++x) {
      feather(x, e.top, 1);
      feather(x, e.top + 1, 2);
    }
  }
  if (e.bottom != 0) {
    for (int y = h - e.bottom; y < h; ++y) {
      for (int x = 0; x < w; ++x) black(x, y);
    }
    for (int x = e.left; x < w - e.right; ++x) {
      feather(x, h - e.bottom - 1, 1);
      feather(x, h - e.bottom - 2, 2);
    }
  }
  if (e.left == 0 && e.right == 0) return;
  for (int y = e.top; y < h - e.bottom; ++y) {
    if (e.left != 0) {
      for (int x = 0; x < e.left; ++x) black(x, y);
      feather(e.left, y, 1);
      feather(e.left + 1, y, 2);
    }
    if (e.right != 0) {
      for (int x = w - e.right; x < w; ++x) black(x, y);
      feather(w - e.right - 1, y, 1);
      feather(w - e.right - 2, y, 2);
    }
  }
}

TEST(BlackenEdges, EveryBorderOfSmallFrames) {
  for (const XFrame_Pel_Format format : {XFrame_Pel_ARGB, XFrame_Pel_r408}) {
    for (const Layout& layout : kLayouts) {
      for (const auto& [width, height] : {std::pair{9, 8}, {3, 3}, {1, 1}, {2, 7}}) {
        for (int code = 0; code < 5 * 5 * 5 * 5; ++code) {
          constexpr SInt16 kWidths[] = {0, 1, 2, 5, -1};
          const XFrameEdges edges{kWidths[code % 5], kWidths[code / 5 % 5], kWidths[code / 25 % 5],
                                  kWidths[code / 125]};
          FrameInMemory got(width, height, 1, layout.padding, layout.upsideDown, format);
          FrameInMemory want = got;
          OracleEdges(want, edges, format);
          XFrameBuffer buffer = got.buffer();
          ASSERT_TRUE(XFrame_BlackenEdges(buffer, edges));
          ASSERT_EQ(got.bytes(), want.bytes())
              << width << 'x' << height << " edges " << edges.left << ' ' << edges.top << ' '
              << edges.right << ' ' << edges.bottom;
        }
      }
    }
  }
}

TEST(BlackenEdges, KnownValues) {
  FrameInMemory frame(8, 1, 1);
  std::memset(frame.Row(0), 200, 32);
  XFrameBuffer buffer = frame.buffer();
  ASSERT_TRUE(XFrame_BlackenEdges(buffer, XFrameEdges{2, 0, 0, 0}));
  EXPECT_EQ(frame.At(0, 0, 1), 0);
  EXPECT_EQ(frame.At(1, 0, 1), 0);
  EXPECT_EQ(frame.At(2, 0, 1), 66);
  EXPECT_EQ(frame.At(3, 0, 1), 133);
  EXPECT_EQ(frame.At(4, 0, 1), 200);
}

TEST(BlackenEdges, HugeBordersEndAtTheFrame) {
  FrameInMemory got(6, 6, 1, 4);
  FrameInMemory want = got;
  for (int y = 0; y < 6; ++y) std::memset(want.Row(y), 0, 24);
  XFrameBuffer buffer = got.buffer();
  EXPECT_TRUE(XFrame_BlackenEdges(buffer, XFrameEdges{32767, 32767, 32767, 32767}));
  ExpectSame(got, want);
}

}  // namespace
