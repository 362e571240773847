#include "sdk/QClasses/QPixMap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "platform/CoreGraphics/CoreGraphics.h"
#include "sdk/CoreGeometry/NormalValue.h"
#include "sdk/CoreX/RowThreads.h"
#include "sdk/QClasses/QPixMap_kernels.h"
#include "tests/sdk/QClasses/PixMapInMemory.h"
#include "tests/support/LogCapture.h"

namespace {

using Bytes = std::vector<unsigned char>;
using test::PixMapInMemory;

std::vector<std::string> Logged(const test::LogCapture& log) {
  return test::AnyLineNumbers(log.Lines());
}
std::string Line(const std::string& code, const std::string& function,
                 const std::string& source = "sdk/QClasses/QPixMap") {
  return test::AnyLineNumber(test::VerifyLine(code, source, 1, function));
}

TEST(QRectFamily, SizesAndPointsAgree) {
  EXPECT_EQ(QRect(10, 20, 110, 320).Dimensions(), QPoint(300, 100));
  EXPECT_EQ(QRect(10, 20, 110, 320).Dimensions().v, 100);
  EXPECT_EQ(QPoint(QSize(4, 3)).h, 4);
  EXPECT_EQ(QPoint(QSize(4, 3)).v, 3);
  const Rect raw{1, 2, 3, 4};
  EXPECT_EQ(QRect(raw), QRect(1, 2, 3, 4));
}

TEST(QRectFamily, SameSizeComparesSums) {
  EXPECT_TRUE(QRect(0, 0, 10, 20).IsSameSize(QRect(5, 7, 15, 27)));
  EXPECT_FALSE(QRect(0, 0, 10, 20).IsSameSize(QRect(0, 0, 20, 10)));
  EXPECT_FALSE(QRect(0, 0, 10, 20).IsSameSize(QRect(0, 0, 10, 21)));
  EXPECT_FALSE(QRect(0, 0, 10, 20).IsSameSize(QRect(0, 0, 11, 20)));
  // 65535 wide both, though no 16-bit difference says so.
  EXPECT_TRUE(QRect(0, -32768, 1, 32767).IsSameSize(QRect(4, -32768, 5, 32767)));
}

TEST(NormalValue, IsLimitedWhenMade) {
  using Normal = CoreGeometry::T_normal_value<CoreGeometry::T_clamped_value<float>>;
  EXPECT_EQ(float(Normal(-0.5f)), 0.0f);
  EXPECT_EQ(float(Normal(1.5f)), 1.0f);
  EXPECT_EQ(float(Normal(0.25f)), 0.25f);
  EXPECT_TRUE(std::isnan(float(Normal(std::nanf("")))));
}

TEST(QPixMap, RowBytesFromFormatWidth) {
  EXPECT_EQ(QPixMap_RowBytesFromFormatWidth('cmyk', 10), 10);
  EXPECT_EQ(QPixMap_RowBytesFromFormatWidth('2vuy', 10), 20);
  EXPECT_EQ(QPixMap_RowBytesFromFormatWidth('2vuy', 11), 22) << "no rounding up";
  EXPECT_EQ(QPixMap_RowBytesFromFormatWidth('b48r', 10), 60);
  EXPECT_EQ(QPixMap_RowBytesFromFormatWidth('b64a', 10), 80);
  EXPECT_EQ(QPixMap_RowBytesFromFormatWidth(32, 10), 40);
  EXPECT_EQ(QPixMap_RowBytesFromFormatWidth(24, 10), 40) << "every other format";
  EXPECT_EQ(QPixMap_RowBytesFromFormatWidth('yuvs', 10), 40);
  EXPECT_EQ(QPixMap_RowBytesFromFormatWidth(32, 0), 0);
}

TEST(QPixMap, NumbersComeFromTheRecord) {
  PixMapInMemory map(5, 3, 1, 12);
  map.record().bounds = {10, 20, 13, 25};
  EXPECT_EQ(QPixMap_Width(map.handle()), 5);
  EXPECT_EQ(QPixMap_Height(map.handle()), 3);
  EXPECT_EQ(QPixMap_Dimensions(map.handle()).v, 3);
  EXPECT_EQ(QPixMap_Dimensions(map.handle()).h, 5);
  EXPECT_EQ(QPixMap_GetRowBytes(map.handle()), 32);
  EXPECT_EQ(QPixMap_PixelDataSizeBytes(map.handle()), 96);
  EXPECT_EQ(QPixMap_GetStartOfScanLine(map.handle(), 0), map.Row(0));
  EXPECT_EQ(QPixMap_GetStartOfScanLine(map.handle(), 2), map.Row(0) + 64);
  EXPECT_EQ(QPixMap_GetPixelFormat(map.handle()), 32u) << "the pixel size stands in";
  map.record().pixelFormat = 'r408';
  EXPECT_EQ(QPixMap_GetPixelFormat(map.handle()), UInt32{'r408'});
  // Row bytes are stored with flags, which are not theirs.
  EXPECT_NE(map.record().rowBytes, 32);
}

TEST(QPixMap, ViewsTakeTheNumbersOrThrow) {
  PixMapInMemory map(5, 3, 1, 12);
  const QPixMapInfo info(map.handle());
  EXPECT_EQ(info.width, 5);
  EXPECT_EQ(info.height, 3);
  EXPECT_EQ(info.pixelSize, 32);
  EXPECT_EQ(info.baseAddr, map.Row(0));
  EXPECT_EQ(info.rowBytes, 32);
  const QPixMapSurface32 surface(map.handle());
  EXPECT_EQ(surface.width, 5);
  EXPECT_EQ(surface.height, 3);
  EXPECT_EQ(surface.rowBytes, 32);
  EXPECT_EQ(surface.baseAddr, map.Row(0));

  const auto message = [](const std::function<void()>& make) -> std::string {
    try {
      make();
    } catch (const CoreException& e) {
      return e.Message();
    }
    return "nothing thrown";
  };
  EXPECT_EQ(message([] { QPixMapInfo none(nullptr); }), "Nil exception pointer");
  EXPECT_EQ(message([] { QPixMapSurface32 none(nullptr); }), "Nil exception pointer");
  map.record().pixelSize = 24;
  EXPECT_EQ(message([&] { QPixMapSurface32 other(map.handle()); }), "Nil exception pointer");
  EXPECT_EQ(message([&] { QPixMapInfo other(map.handle()); }), "nothing thrown");
}

TEST(QPixMap, MemCopyMovesTheDestinationsBytes) {
  PixMapInMemory from(4, 4, 1, 8);
  PixMapInMemory to(4, 3, 2, 8);
  QPixMap_MemCopyPixels(to.handle(), from.handle());
  EXPECT_EQ(Bytes(to.Row(0), to.Row(3)), Bytes(from.Row(0), from.Row(3))) << "padding too";
  EXPECT_TRUE(from.Unchanged());
  for (std::size_t i = 0; i < PixMapInMemory::kGuard; ++i) {
    ASSERT_EQ(to.bytes()[i], to.original()[i]);
    ASSERT_EQ(to.bytes().end()[-1 - long(i)], to.original().end()[-1 - long(i)]);
  }
}

TEST(QPixMap, MemCopyReadsNoMoreThanTheSourceHas) {
  PixMapInMemory from(4, 2, 1);
  PixMapInMemory to(4, 4, 2);
  QPixMap_MemCopyPixels(to.handle(), from.handle());
  EXPECT_EQ(Bytes(to.Row(0), to.Row(2)), Bytes(from.Row(0), from.Row(2)));
  EXPECT_EQ(Bytes(to.Row(2), to.Row(4)),
            Bytes(&to.Original(0, 2, 0), &to.Original(0, 2, 0) + 2 * to.rowBytes()));
}

TEST(QPixMap, MemCopyMovesWithinOneBlock) {
  PixMapInMemory whole(4, 6, 3);
  PixMap lower = whole.record();
  lower.bounds.bottom = 4;
  PixMap upper = lower;
  upper.baseAddr += whole.rowBytes();
  PixMap* from = &lower;
  PixMap* to = &upper;
  QPixMap_MemCopyPixels(&to, &from);
  for (int y = 0; y < 4; ++y) {
    for (int i = 0; i < whole.rowBytes(); ++i) {
      ASSERT_EQ(whole.Row(y + 1)[i], whole.Original(0, y, i)) << y;
    }
  }
}

TEST(QPixMap, MemCopyNamesTheIncludedSource) {
  PixMapInMemory map(2, 2, 1);
  test::LogCapture log;
  QPixMap_MemCopyPixels(nullptr, map.handle());
  QPixMap_MemCopyPixels(map.handle(), nullptr);
  const std::string line =
      Line("hDest!=nil && hPixMap!=nil", "QPixMap_MemCopyPixels", "sdk/QClasses/QPixMap_inl.h");
  EXPECT_EQ(Logged(log), (std::vector<std::string>{line, line}));
  EXPECT_TRUE(map.Unchanged());
}

TEST(QPixMap, Copy32x24TakesUnpaddedRows) {
  PixMapInMemory map(3, 2, 1, 8);
  const Bytes rgb = {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14, 15, 16, 17, 18, 19};
  QPixMap_Copy32x24(map.handle(), rgb.data());
  EXPECT_EQ(Bytes(map.Row(0), map.Row(0) + 12), (Bytes{0, 1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9}));
  EXPECT_EQ(Bytes(map.Row(1), map.Row(1) + 12),
            (Bytes{0, 11, 12, 13, 0, 14, 15, 16, 0, 17, 18, 19}));
  EXPECT_TRUE(map.OnlyPixelsChanged());
}

TEST(QPixMap, Copy32x24TakesTheStoredRowBytes) {
  // Long row bytes: the stored form holds all ones, and that is what counts here.
  PixMapInMemory map(4100, 2, 1, 0);
  ASSERT_EQ(map.rowBytes(), 16400);
  Bytes rgb(3 * 4100 * 2, 77);
  QPixMap_Copy32x24(map.handle(), rgb.data());
  EXPECT_EQ(map.Row(0)[0x3FFF], 0) << "the second row starts here";
  EXPECT_EQ(map.Row(0)[0x3FFF + 1], 77);
  EXPECT_EQ(map.Row(0)[0x3FFF + 4099 * 4], 0);
  EXPECT_EQ(map.Row(0)[0x3FFF + 4100 * 4], map.original()[PixMapInMemory::kGuard + 0x3FFF + 16400]);
}

TEST(QPixMap, Copy32x32IsOneMove) {
  PixMapInMemory map(3, 2, 1, 8);
  Bytes bytes(40);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i + 100);
  QPixMap_Copy32x32(map.handle(), bytes.data());
  EXPECT_EQ(Bytes(map.Row(0), map.Row(0) + 40), bytes) << "the padding is part of the move";
  EXPECT_EQ(map.bytes()[PixMapInMemory::kGuard + 40], map.original()[PixMapInMemory::kGuard + 40]);
}

TEST(QPixMap, FillsStoreWordsAndTriples) {
  PixMapInMemory map(5, 3, 1, 7);
  QPixMap_FillColor32(map.handle(), 0x11223344);
  const UInt32 word = 0x11223344;
  Bytes native(4);
  std::memcpy(native.data(), &word, 4);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 5; ++x) ASSERT_EQ(Pixel(map, x, y), native);
  }
  EXPECT_TRUE(map.OnlyPixelsChanged());

  PixMapInMemory map24(5, 3, 2, 4, 3);
  QPixMap_FillColor_RGB_24(map24.handle(), 0x99332211);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 5; ++x) ASSERT_EQ(Pixel(map24, x, y, 3), (Bytes{0x11, 0x22, 0x33}));
  }
  EXPECT_TRUE(map24.OnlyPixelsChanged());
}

TEST(QPixMap, FillPixelFillsThePaddingWithTheLowByte) {
  PixMapInMemory map(5, 3, 1, 7);
  EXPECT_TRUE(QPixMap_FillPixelARGB32(map.handle(), 0xFF00AB42));
  EXPECT_EQ(Bytes(map.Row(0), map.Row(3)), Bytes(std::size_t(3 * map.rowBytes()), 0x42));
  for (std::size_t i = 0; i < PixMapInMemory::kGuard; ++i) {
    ASSERT_EQ(map.bytes()[i], map.original()[i]);
    ASSERT_EQ(map.bytes().end()[-1 - long(i)], map.original().end()[-1 - long(i)]);
  }
}

TEST(QPixMap, FillPixelChecksHandleAndRowBytes) {
  PixMapInMemory map(5, 3, 1);
  test::LogCapture log;
  EXPECT_FALSE(QPixMap_FillPixelARGB32(nullptr, 1));
  QTSetPixMapPtrRowBytes(&map.record(), 0);
  EXPECT_FALSE(QPixMap_FillPixelARGB32(map.handle(), 1));
  EXPECT_EQ(Logged(log), (std::vector<std::string>{Line("hPixMap", "QPixMap_FillPixelARGB32"),
                                                   Line("rowBytes", "QPixMap_FillPixelARGB32")}));
  EXPECT_TRUE(map.Unchanged());
}

TEST(QPixMap, GreyPutsTheWeightsOnBlueRedAndGreen) {
  PixMapInMemory map(3, 1, 1, 4);
  SetPixel(map, 0, 0, {7, 0, 0, 255});
  SetPixel(map, 1, 0, {7, 255, 0, 0});
  SetPixel(map, 2, 0, {7, 0, 255, 0});
  QPixMap_Grayscale32(map.handle());
  EXPECT_EQ(Pixel(map, 0, 0), (Bytes{7, 54, 54, 54}));
  EXPECT_EQ(Pixel(map, 1, 0), (Bytes{7, 182, 182, 182}));
  EXPECT_EQ(Pixel(map, 2, 0), (Bytes{7, 18, 18, 18}));
}

TEST(QPixMap, BrightnessTable) {
  const QPixMapBrightness twice(2.0);
  EXPECT_EQ(twice[100], 200);
  EXPECT_EQ(twice[200], 255);
  const QPixMapBrightness none(-1);
  const QPixMapBrightness one(1.0);
  const QPixMapBrightness third(1.0 / 3);
  for (int v = 0; v < 256; ++v) {
    EXPECT_EQ(none[v], 0);
    const volatile double fraction = v / 255.0;
    const volatile double whole = fraction * 255.0;
    EXPECT_EQ(one[v], int(whole)) << "not always v: the steps round";
    const volatile double scaled = fraction * (1.0 / 3);
    EXPECT_EQ(third[v], int(scaled * 255.0));
  }
  EXPECT_EQ(QPixMapBrightness(1e300)[1], 255);
  EXPECT_EQ(QPixMapBrightness(1e300)[0], 0);
  EXPECT_EQ(QPixMapBrightness(std::nan(""))[9], 0);
}

TEST(QPixMap, BrightnessKeepsAlpha) {
  PixMapInMemory map(33, 2, 1, 4);
  SetPixel(map, 0, 0, {9, 100, 200, 3});
  SetPixel(map, 32, 1, {200, 100, 200, 3});
  QPixMap_Brightness32(map.handle(), 2.0);
  EXPECT_EQ(Pixel(map, 0, 0), (Bytes{9, 200, 255, 6}));
  EXPECT_EQ(Pixel(map, 32, 1), (Bytes{200, 200, 255, 6}));
  EXPECT_TRUE(map.OnlyPixelsChanged());
}

TEST(QPixMap, DuotoneKeepsNearWhite) {
  PixMapInMemory map(2, 1, 1);
  SetPixel(map, 0, 0, {255, 250, 250, 250});
  SetPixel(map, 1, 0, {4, 100, 100, 100});
  QPixMap_DuoTone32(map.handle(), 0x000000FF);
  EXPECT_EQ(Pixel(map, 0, 0), (Bytes{255, 250, 250, 250}));
  // Y = 1.164 * 85.9 = 99.98, Cr = 111.945, Cb = -37.74: 278.6, 86.9, 23.8.
  EXPECT_EQ(Pixel(map, 1, 0), (Bytes{4, 255, 86, 23}));
}

TEST(QPixMap, AlphaBlendWraps) {
  PixMapInMemory a(1, 1, 1);
  PixMapInMemory b(1, 1, 2);
  PixMapInMemory dest(1, 1, 3);
  SetPixel(a, 0, 0, {200, 200, 10, 0});
  SetPixel(b, 0, 0, {100, 55, 20, 255});
  QPixMap_AlphaBlend32(a.handle(), 1, b.handle(), 1, dest.handle());
  EXPECT_EQ(Pixel(dest, 0, 0), (Bytes{44, 255, 30, 255}));
}

TEST(QPixMap, AlphaBlendUsesEachMapsRowBytes) {
  PixMapInMemory a(7, 5, 1, 12);
  PixMapInMemory b(9, 6, 2, 4);
  PixMapInMemory dest(5, 4, 3, 20);
  QPixMap_AlphaBlend32(a.handle(), 0.25, b.handle(), 0.5, dest.handle());
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 5; ++x) {
      for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(dest.At(x, y, i), int(a.Original(x, y, i) * 0.25 + b.Original(x, y, i) * 0.5));
      }
    }
  }
  EXPECT_TRUE(dest.OnlyPixelsChanged());
  EXPECT_TRUE(a.Unchanged());
  EXPECT_TRUE(b.Unchanged());
}

TEST(QPixMap, AlphaBlendReadsOnlyWhatItsOperandsHave) {
  PixMapInMemory a(3, 2, 1);
  PixMapInMemory b(5, 4, 2);
  PixMapInMemory dest(5, 4, 3);
  QPixMap_AlphaBlend32(a.handle(), 1, b.handle(), 0, dest.handle());
  // Row 1 of `a` starts 12 bytes in; 3 pixels later its memory ends.
  for (int x = 0; x < 5; ++x) {
    EXPECT_EQ(Pixel(dest, x, 0), Bytes(a.Row(0) + 4 * x, a.Row(0) + 4 * x + 4));
    const bool there = x < 3;
    EXPECT_EQ(dest.At(x, 1, 0), there ? a.At(x, 1, 0) : dest.Original(x, 1, 0)) << x;
    EXPECT_EQ(dest.At(x, 2, 0), dest.Original(x, 2, 0)) << x;
  }
}

TEST(QPixMap, AlphaBlendOverlappingItselfGoesByteByByte) {
  PixMapInMemory map(64, 1, 4, 4);
  PixMap shifted = map.record();
  shifted.baseAddr += 1;
  shifted.bounds.right -= 1;
  PixMap* dest = &shifted;
  Bytes want = map.bytes();
  for (std::size_t i = 0; i < 63 * 4; ++i) {
    const std::size_t at = PixMapInMemory::kGuard + i;
    want[at + 1] = static_cast<unsigned char>(int(want[at] * 0.5 + want[at] * 0.25));
  }
  QPixMap_AlphaBlend32(map.handle(), 0.5, map.handle(), 0.25, &dest);
  EXPECT_EQ(map.bytes(), want);
}

TEST(QPixMap, PartialTransparencyLooksAtAlphaOnly) {
  PixMapInMemory map(5, 3, 1, 8);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 5; ++x) map.At(x, y, 0) = 255;
  }
  EXPECT_FALSE(QPixMap_IsPartiallyTransparent32(map.handle())) << "the padding does not count";
  map.At(4, 2, 0) = 254;
  EXPECT_TRUE(QPixMap_IsPartiallyTransparent32(map.handle()));
  map.record().pixelSize = 24;
  EXPECT_FALSE(QPixMap_IsPartiallyTransparent32(map.handle()));
}

TEST(QPixMap, SafeSetPixelStoresAWordInsideTheMemory) {
  const UInt32 value = 0x01020304;
  Bytes native(4);
  std::memcpy(native.data(), &value, 4);
  const auto where = [&](int h, int v) {
    PixMapInMemory map(4, 3, 1, 4);
    QPixMap_SafeSetPixel32(map.handle(), QPoint(h, v), value);
    for (std::size_t i = 0; i < map.bytes().size(); ++i) {
      if (map.bytes()[i] != map.original()[i]) {
        return int(i) - int(PixMapInMemory::kGuard);
      }
    }
    return -1;
  };
  EXPECT_EQ(where(1, 2), 2 * 20 + 4);
  EXPECT_EQ(where(-5, -7), 0);
  EXPECT_EQ(where(99, 1), 1 * 20 + 16) << "right itself is admitted: here that is padding";
  EXPECT_EQ(where(1, 99), -1) << "bottom itself is admitted, but there is no such row";
  EXPECT_EQ(where(4, 2), 2 * 20 + 16);
}

TEST(QPixMap, SafeSetPixelCountsFromTheFirstPixelWhateverTheBounds) {
  PixMapInMemory map(4, 3, 1);
  map.record().bounds = {1, 1, 4, 5};
  QPixMap_SafeSetPixel32(map.handle(), QPoint(0, 0), 0);
  EXPECT_EQ(Pixel(map, 1, 1), (Bytes{0, 0, 0, 0})) << "limited to (1, 1), which is counted as is";
  map.record().bounds = {-2, -3, 1, 1};
  map.Settle();
  QPixMap_SafeSetPixel32(map.handle(), QPoint(-3, -2), 0x77777777);
  EXPECT_TRUE(map.Unchanged()) << "before the first pixel";
}

PixMapInMemory& AsFormat(PixMapInMemory& map, OSType format) {
  map.record().pixelFormat = format;
  return map;
}

TEST(QPixMap, To_r408) {
  PixMapInMemory from(4, 2, 1, 6, 2);
  PixMapInMemory to(4, 2, 2, 8);
  AsFormat(from, '2vuy');
  AsFormat(to, 'r408');
  const Bytes groups = {10, 16, 20, 235, 30, 0, 40, 255};
  std::copy(groups.begin(), groups.end(), from.Row(0));
  EXPECT_EQ(QPixMap_Copy_2vuy_to_r408(to.handle(), from.handle()), 0);
  EXPECT_EQ(Bytes(to.Row(0), to.Row(0) + 16), (Bytes{255, 0, 10, 20, 255, 219, 10, 20,  //
                                                     255, 0, 30, 40, 255, 239, 30, 40}));
  for (int x = 0; x < 4; ++x) {
    const int group = x / 2 * 4;
    const int y = from.Row(1)[group + 1 + 2 * (x % 2)];
    EXPECT_EQ(Pixel(to, x, 1), (Bytes{255, static_cast<unsigned char>(std::max(y - 16, 0)),
                                      from.Row(1)[group], from.Row(1)[group + 2]}));
  }
  EXPECT_TRUE(to.OnlyPixelsChanged());
}

TEST(QPixMap, To_r408OfAnOddWidthWritesOnePixelMore) {
  PixMapInMemory from(3, 2, 1, 2, 2);
  PixMapInMemory to(3, 2, 2, 4);
  AsFormat(from, '2vuy');
  AsFormat(to, 'r408');
  EXPECT_EQ(QPixMap_Copy_2vuy_to_r408(to.handle(), from.handle()), 0);
  for (int y = 0; y < 2; ++y) {
    const unsigned char* group = from.Row(y) + 4;
    EXPECT_EQ(
        Bytes(to.Row(y) + 12, to.Row(y) + 16),
        (Bytes{255, static_cast<unsigned char>(std::max(group[3] - 16, 0)), group[0], group[2]}));
  }
}

TEST(QPixMap, To_r408OfAnOddWidthStaysInTheMemory) {
  PixMapInMemory from(3, 2, 1, 0, 2);
  PixMapInMemory to(3, 2, 2);
  AsFormat(from, '2vuy');
  AsFormat(to, 'r408');
  EXPECT_EQ(QPixMap_Copy_2vuy_to_r408(to.handle(), from.handle()), 0);
  const unsigned char* last = from.Row(1) + 4;
  EXPECT_EQ(Pixel(to, 2, 1),
            (Bytes{255, static_cast<unsigned char>(std::max(last[1] - 16, 0)), last[0], 128}))
      << "the Cr byte would lie behind the source";
  EXPECT_TRUE(to.OnlyPixelsChanged());
}

TEST(QPixMap, To_r408ChecksSizesAndFormats) {
  PixMapInMemory from(4, 2, 1, 0, 2);
  PixMapInMemory to(4, 2, 2);
  PixMapInMemory wide(6, 2, 2);
  AsFormat(from, '2vuy');
  AsFormat(to, 'r408');
  AsFormat(wide, 'r408');
  const char* const name = "QPixMap_Copy_2vuy_to_r408";
  const std::string sizes =
      Line("QPixMap_Dimensions(hDestPixMap)==QPixMap_Dimensions(hPixMap)", name);
  const std::string source = Line("FOUR_CHAR_CODE('2vuy')==QPixMap_GetPixelFormat(hPixMap)", name);
  test::LogCapture log;
  EXPECT_EQ(QPixMap_Copy_2vuy_to_r408(wide.handle(), from.handle()), -50);
  AsFormat(from, 'yuvs');
  EXPECT_EQ(QPixMap_Copy_2vuy_to_r408(to.handle(), from.handle()), -50);
  AsFormat(from, '2vuy');
  AsFormat(to, 'v408');
  EXPECT_EQ(QPixMap_Copy_2vuy_to_r408(to.handle(), from.handle()), 0);
  EXPECT_EQ(QPixMap_Copy_2vuy_to_r408(nullptr, from.handle()), -50);
  EXPECT_EQ(QPixMap_Copy_2vuy_to_r408(nullptr, nullptr), -50);
  EXPECT_EQ(
      Logged(log),
      (std::vector<std::string>{
          sizes, source, Line("FOUR_CHAR_CODE('r408')==QPixMap_GetPixelFormat(hDestPixMap)", name),
          sizes, source}));
  EXPECT_TRUE(to.Unchanged());
  EXPECT_TRUE(wide.Unchanged());
}

class QPixMapDrawing : public testing::Test {
 protected:
  QPixMapDrawing() {
    CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
    context_ =
        CGBitmapContextCreate(target_.data(), 4, 4, 8, 16, space, kCGImageAlphaPremultipliedFirst);
    CGColorSpaceRelease(space);
  }
  ~QPixMapDrawing() override { CGContextRelease(context_); }
  Bytes At(int x, int y) {
    const unsigned char* pixel = target_.data() + 16 * y + 4 * x;
    return Bytes(pixel, pixel + 4);
  }
  Bytes target_ = Bytes(64, 0);
  CGContextRef context_;
};

TEST_F(QPixMapDrawing, DrawsTheTopRowOnTop) {
  PixMapInMemory map(2, 2, 1, 8);
  SetPixel(map, 0, 0, {0, 10, 20, 30});
  SetPixel(map, 1, 1, {255, 40, 50, 60});
  ASSERT_TRUE(QPixMap_DrawCGContext(map.handle(), context_, CGRectMake(1, 0, 2, 2), false));
  EXPECT_EQ(At(1, 2), (Bytes{255, 10, 20, 30})) << "alpha is not looked at";
  EXPECT_EQ(At(2, 3), (Bytes{255, 40, 50, 60}));
  EXPECT_EQ(At(0, 0), (Bytes{0, 0, 0, 0}));
}

TEST_F(QPixMapDrawing, TakesStraightAlphaWhenAsked) {
  PixMapInMemory map(1, 1, 1);
  SetPixel(map, 0, 0, {0, 10, 20, 30});
  ASSERT_TRUE(QPixMap_DrawCGContext(map.handle(), context_, CGRectMake(0, 0, 1, 1), true));
  EXPECT_EQ(At(0, 3), (Bytes{0, 0, 0, 0})) << "transparent";
  SetPixel(map, 0, 0, {255, 10, 20, 30});
  ASSERT_TRUE(QPixMap_DrawCGContext(map.handle(), context_, CGRectMake(0, 0, 1, 1), true));
  EXPECT_EQ(At(0, 3), (Bytes{255, 10, 20, 30}));
}

TEST_F(QPixMapDrawing, FailsWithoutAPictureToDraw) {
  PixMapInMemory map(2, 2, 1);
  PixMapInMemory narrow(2, 2, 1, 0, 2);
  PixMapInMemory none(2, 2, 1);
  none.record().baseAddr = nullptr;
  const Bytes before = target_;
  test::LogCapture log;
  EXPECT_FALSE(QPixMap_DrawCGContext(nullptr, context_, CGRectMake(0, 0, 2, 2), true));
  EXPECT_FALSE(QPixMap_DrawCGContext(none.handle(), context_, CGRectMake(0, 0, 2, 2), true));
  EXPECT_FALSE(QPixMap_DrawCGContext(narrow.handle(), context_, CGRectMake(0, 0, 2, 2), true));
  EXPECT_EQ(Logged(log), (std::vector<std::string>{Line("hPixMap", "QPixMap_DrawCGContext"),
                                                   Line("provider", "QPixMap_DrawCGContext"),
                                                   Line("image", "QPixMap_DrawCGContext")}));
  EXPECT_EQ(target_, before);
}

TEST(QPixMap, NullHandlesDoNothing) {
  PixMapInMemory map(2, 2, 1);
  PixMap* nothing = nullptr;
  const unsigned char bytes[64] = {};
  for (PixMap** h : {static_cast<PixMap**>(nullptr), &nothing}) {
    EXPECT_EQ(QPixMap_Width(h), 0);
    EXPECT_EQ(QPixMap_Height(h), 0);
    EXPECT_EQ(QPixMap_GetRowBytes(h), 0);
    EXPECT_EQ(QPixMap_GetPixelFormat(h), 0u);
    EXPECT_EQ(QPixMap_PixelDataSizeBytes(h), 0);
    EXPECT_EQ(QPixMap_KnownBytes(h), 0);
    EXPECT_EQ(QPixMap_Dimensions(h), QPoint());
    EXPECT_EQ(QPixMap_GetStartOfScanLine(h, 3), nullptr);
    QPixMap_Copy32x24(h, bytes);
    QPixMap_Copy32x32(h, bytes);
    QPixMap_FillColor32(h, 1);
    QPixMap_FillColor_RGB_24(h, 1);
    QPixMap_SafeSetPixel32(h, QPoint(), 1);
    QPixMap_Grayscale32(h);
    QPixMap_Brightness32(h, 2);
    QPixMap_DuoTone32(h, 3);
    QPixMap_AlphaBlend32(h, 1, map.handle(), 1, map.handle());
    QPixMap_AlphaBlend32(map.handle(), 1, h, 1, map.handle());
    QPixMap_AlphaBlend32(map.handle(), 1, map.handle(), 1, h);
    EXPECT_FALSE(QPixMap_IsPartiallyTransparent32(h));
  }
  QPixMap_Copy32x24(map.handle(), nullptr);
  QPixMap_Copy32x32(map.handle(), nullptr);
  EXPECT_TRUE(map.Unchanged());
}

TEST(QPixMap, MapsWithoutPixelsOrRowsDoNothing) {
  PixMapInMemory empty(4, 3, 1);
  const Rect inverted{5, 5, 2, 1};
  for (const Rect& bounds : {Rect{0, 0, 0, 4}, Rect{0, 0, 3, 0}, inverted}) {
    empty.record().bounds = bounds;
    QPixMap_FillColor32(empty.handle(), 1);
    QPixMap_FillColor_RGB_24(empty.handle(), 1);
    QPixMap_Grayscale32(empty.handle());
    QPixMap_Brightness32(empty.handle(), 0);
    QPixMap_DuoTone32(empty.handle(), 1);
    QPixMap_AlphaBlend32(empty.handle(), 0, empty.handle(), 0, empty.handle());
    EXPECT_TRUE(empty.Unchanged());
  }
  EXPECT_EQ(QPixMap_KnownBytes(empty.handle()), 0);
}

TEST(QPixMap, RowsTooShortForTheirPixelsEndWithTheMemory) {
  // 24-bit rows taken for 32-bit ones: each runs into the next, the last one ends with the map. Of
  // pixel 5 of the last row just one byte is there.
  for (const auto& operation : std::vector<std::function<void(PixMap**)>>{
           [](PixMap** h) { QPixMap_FillColor32(h, 0x55AA55AA); },
           [](PixMap** h) { QPixMap_Grayscale32(h); },
           [](PixMap** h) { QPixMap_Brightness32(h, 0.5); },
           [](PixMap** h) { QPixMap_DuoTone32(h, 0x204060); },
           [](PixMap** h) { QPixMap_AlphaBlend32(h, 0.5, h, 0.2, h); },
           [](PixMap** h) { QPixMap_SafeSetPixel32(h, QPoint(5, 2), 0); }}) {
    PixMapInMemory map(7, 3, 9, 0, 3);
    operation(map.handle());
    const std::size_t end = PixMapInMemory::kGuard + 63;
    EXPECT_FALSE(map.Unchanged());
    for (std::size_t i = end; i < map.bytes().size(); ++i) {
      ASSERT_EQ(map.bytes()[i], map.original()[i]);
    }
  }
}

TEST(QPixMap, APartOfAnotherMapEndsWhereThatOneEnds) {
  PixMapInMemory map(4, 2, 1, 16);
  map.record().knownBytes = 32 + 16;
  EXPECT_TRUE(QPixMap_FillPixelARGB32(map.handle(), 0));
  EXPECT_EQ(Bytes(map.Row(1), map.Row(1) + 16), Bytes(16, 0));
  EXPECT_EQ(map.Row(1)[16], map.Original(4, 1, 0));
}

TEST(QPixMap, RowsTooShortForTheirPixelsAreFilledOneAfterTheOther) {
  // 5 bytes from row to row, 4 pixels each: the later row wins where two meet.
  for (const int pixelBytes : {3, 4}) {
    PixMapInMemory map(4, 6, 3, 0, pixelBytes);
    QTSetPixMapPtrRowBytes(&map.record(), 5);
    Bytes want = map.bytes();
    const unsigned char color[4] = {0x11, 0x22, 0x33, 0x44};
    const std::size_t size = 30;  // six rows' bytes are the map's own
    for (std::size_t y = 0; y < 6; ++y) {
      for (std::size_t x = 0; x < 4; ++x) {
        const auto each = static_cast<std::size_t>(pixelBytes);
        if (5 * y + each * (x + 1) > size) continue;
        for (std::size_t i = 0; i < each; ++i) {
          want[PixMapInMemory::kGuard + 5 * y + each * x + i] = color[i];
        }
      }
    }
    if (pixelBytes == 4) {
      QPixMap_FillColor32(map.handle(), 0x44332211);
    } else {
      QPixMap_FillColor_RGB_24(map.handle(), 0x44332211);
    }
    EXPECT_EQ(map.bytes(), want) << pixelBytes;
  }
}

TEST(QPixMap, OverlaysOfTheirOwnMemoryGoFromTheTopDown) {
  // The overlay lies in the destination, one pixel, or one row, or a row and a bit from it.
  for (const int shift : {0, 1, 4, 40 * 4, 40 * 4 + 6, -4, -40 * 4, -7}) {
    PixMapInMemory map(40, 12, 21);
    PixMap dest = map.record();
    PixMap overlay = map.record();
    dest.baseAddr += 2 * map.rowBytes();
    overlay.baseAddr = dest.baseAddr + shift;
    dest.bounds.bottom = overlay.bounds.bottom = 8;
    PixMap* to = &dest;
    PixMap* from = &overlay;
    Bytes want = map.bytes();
    unsigned char* const d = want.data() + (map.Row(2) - map.bytes().data());
    for (std::size_t i = 0; i < 8 * 40; ++i) {
      const double a = (d + shift)[4 * i] / 255.0 * static_cast<double>(0.75f);
      for (std::size_t c = 0; c < 4; ++c) {
        const double value = d[4 * i + c] * (1 - a) + (d + shift)[4 * i + c] * a;
        d[4 * i + c] = static_cast<unsigned char>(value);
      }
    }
    QPM_44(&to, Point{0, 0}, &from, 0.75f);
    EXPECT_EQ(map.bytes(), want) << shift;
  }
}

TEST(QPixMap, TheResultDoesNotDependOnTheNumberOfThreads) {
  const auto run = [](unsigned threads) {
    RowThreads::SetCount(threads);
    PixMapInMemory map(1001, 301, 6, 4);
    PixMapInMemory other(1001, 301, 7, 12);
    PixMapInMemory narrow(1001, 301, 8, 0, 3);
    QPixMap_Grayscale32(map.handle());
    QPM_44(map.handle(), Point{2, 3}, other.handle(), 0.9f);
    QPixMap_AlphaBlend32(map.handle(), 0.6, other.handle(), 0.4, map.handle());
    QPixMap_Brightness32(map.handle(), 1.3);
    QPixMap_DuoTone32(map.handle(), 0x80C0);
    QPixMap_FillColor32(other.handle(), 0x12345678);
    QPM_34(narrow.handle(), Point{-1, 2}, map.handle(), 1.0f);
    EXPECT_TRUE(map.OnlyPixelsChanged());
    EXPECT_TRUE(other.OnlyPixelsChanged());
    Bytes all = map.bytes();
    all.insert(all.end(), other.bytes().begin(), other.bytes().end());
    all.insert(all.end(), narrow.bytes().begin(), narrow.bytes().end());
    RowThreads::SetCount(1);
    return all;
  };
  const Bytes alone = run(1);
  EXPECT_TRUE(run(2) == alone);
  EXPECT_TRUE(run(5) == alone);
}

TEST(QPixMap, TheResultDoesNotDependOnTheForm) {
  const auto run = [](std::string_view form) {
    EXPECT_TRUE(QPixMapKernels::SelectRowKernels(form));
    PixMapInMemory map(37, 5, 6, 3, 4, 1);
    PixMapInMemory other(37, 5, 7, 9, 4, 3);
    QPixMap_AlphaBlend32(map.handle(), 0.6, other.handle(), 0.55, map.handle());
    QPixMap_Brightness32(map.handle(), 1.3);
    QPixMap_DuoTone32(map.handle(), 0x80C0);
    EXPECT_TRUE(map.OnlyPixelsChanged());
    PixMapInMemory grey(37, 5, 8, 3, 4, 2);
    QPixMap_Grayscale32(grey.handle());
    EXPECT_TRUE(grey.OnlyPixelsChanged());
    Bytes all = map.bytes();
    all.insert(all.end(), grey.bytes().begin(), grey.bytes().end());
    return all;
  };
  const Bytes scalar = run("scalar");
  for (const QPixMapKernels::RowKernels& form : QPixMapKernels::AvailableRowKernels()) {
    EXPECT_EQ(run(form.name), scalar) << form.name;
  }
  EXPECT_TRUE(QPixMapKernels::SelectRowKernels("vector"));
}

}  // namespace
