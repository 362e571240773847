#include "platform/QuickDraw/QuickDraw.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "platform/CoreServices/MacMemory.h"

namespace {

class QuickDraw : public testing::Test {
 protected:
  void SetUp() override {
    memory_ = MacMemoryGetCounters();
    worlds_ = GWorldGetCounters();
  }
  void TearDown() override {
    EXPECT_EQ(MacMemoryGetCounters().handles, memory_.handles);
    EXPECT_EQ(MacMemoryGetCounters().pointers, memory_.pointers);
    EXPECT_EQ(GWorldGetCounters().worlds, worlds_.worlds);
    EXPECT_EQ(GWorldGetCounters().ownedPixelBytes, worlds_.ownedPixelBytes);
  }
  static GWorldPtr NewWorld(SInt16 width, SInt16 height, OSType format) {
    const Rect bounds{0, 0, height, width};
    GWorldPtr world = nullptr;
    EXPECT_EQ(QTNewGWorld(&world, format, &bounds, nullptr, nullptr, 0), noErr);
    return world;
  }
  MacMemoryCounters memory_{};
  GWorldCounters worlds_{};
};

TEST_F(QuickDraw, RectanglesAndPoints) {
  Rect r;
  SetRect(&r, 1, 2, 11, 22);
  EXPECT_EQ(r.left, 1);
  EXPECT_EQ(r.top, 2);
  EXPECT_EQ(r.right, 11);
  EXPECT_EQ(r.bottom, 22);
  OffsetRect(&r, 10, -2);
  const Rect moved{0, 11, 20, 21};
  EXPECT_TRUE(EqualRect(&r, &moved));
  InsetRect(&r, 2, 3);
  const Rect inset{3, 13, 17, 19};
  EXPECT_TRUE(EqualRect(&r, &inset));
  InsetRect(&r, 3, 0);
  const Rect none{0, 0, 0, 0};
  EXPECT_TRUE(EqualRect(&r, &none));

  const Rect a{0, 0, 10, 10};
  const Rect b{5, 6, 20, 30};
  const Rect c{10, 0, 20, 10};
  Rect out;
  EXPECT_TRUE(SectRect(&a, &b, &out));
  const Rect common{5, 6, 10, 10};
  EXPECT_TRUE(EqualRect(&out, &common));
  EXPECT_FALSE(SectRect(&a, &c, &out)) << "they only touch";
  EXPECT_TRUE(EqualRect(&out, &none));
  EXPECT_FALSE(SectRect(&a, nullptr, &out));
  UnionRect(&a, &b, &out);
  const Rect around{0, 0, 20, 30};
  EXPECT_TRUE(EqualRect(&out, &around));
  EXPECT_TRUE(EmptyRect(nullptr));
  const Rect upsideDown{5, 0, 4, 10};
  EXPECT_TRUE(EmptyRect(&upsideDown));
  EXPECT_TRUE(PtInRect({0, 9}, &a));
  EXPECT_FALSE(PtInRect({0, 10}, &a));
  EXPECT_FALSE(PtInRect({-1, 0}, &a));
  Point p;
  SetPt(&p, 3, 4);
  AddPt({1, 2}, &p);
  EXPECT_TRUE(EqualPt(p, {5, 5}));
  SubPt({5, 4}, &p);
  EXPECT_TRUE(EqualPt(p, {0, 1}));
}

TEST_F(QuickDraw, Regions) {
  const RgnHandle rgn = NewRgn();
  EXPECT_TRUE(EmptyRgn(rgn));
  SetRectRgn(rgn, 1, 2, 3, 4);
  Rect box;
  EXPECT_EQ(GetRegionBounds(rgn, &box), &box);
  EXPECT_EQ(box.left, 1);
  EXPECT_EQ(box.bottom, 4);
  EXPECT_FALSE(EmptyRgn(rgn));
  SetRectRgn(rgn, 3, 2, 3, 4);
  EXPECT_TRUE(EmptyRgn(rgn));
  DisposeRgn(rgn);
  EXPECT_TRUE(EmptyRgn(nullptr));
  GetRegionBounds(nullptr, &box);
  EXPECT_EQ(box.bottom, 0);
  SetEmptyRgn(nullptr);
}

TEST_F(QuickDraw, PixelSizesAndRowSizes) {
  struct Case {
    OSType format;
    SInt16 bits;
    SInt64 rowOf7;
  };
  const Case cases[] = {
      {1, 1, 1},        {2, 2, 2},        {4, 4, 4},        {8, 8, 7},        {16, 16, 14},
      {24, 24, 21},     {32, 32, 28},     {33, 1, 1},       {34, 2, 2},       {36, 4, 4},
      {40, 8, 7},       {'2vuy', 16, 16}, {'yuvs', 16, 16}, {'UYVY', 16, 16}, {'YVYU', 16, 16},
      {'yuvu', 16, 16}, {'BGRA', 32, 28}, {'RGBA', 32, 28}, {'ABGR', 32, 28}, {'24BG', 24, 21},
      {'r408', 32, 28}, {'v408', 32, 28}, {'b48r', 48, 42}, {'b64a', 64, 56}, {'L565', 16, 14},
      {'B565', 16, 14}, {'L555', 16, 14}, {'5551', 16, 14}, {'jpeg', 0, 0},   {0, 0, 0}};
  for (const Case& c : cases) {
    EXPECT_EQ(QTGetPixelSize(c.format), c.bits) << c.format;
    EXPECT_EQ(QTGetPixelFormatRowSize(c.format, 7), c.rowOf7) << c.format;
  }
  EXPECT_EQ(QTGetPixelFormatRowSize(32, -1), 0);
}

TEST_F(QuickDraw, NewWorldsOwnZeroedAlignedPixels) {
  const Rect bounds{-5, -7, 8, 30};  // 37 x 13
  GWorldPtr world = nullptr;
  ASSERT_EQ(QTNewGWorld(&world, k32ARGBPixelFormat, &bounds, nullptr, nullptr, 0), noErr);
  const PixMapHandle pm = GetGWorldPixMap(world);
  ASSERT_NE(pm, nullptr);
  EXPECT_EQ(GetPortPixMap(world), pm);
  Rect box;
  EXPECT_TRUE(EqualRect(GetPortBounds(world, &box), &bounds));
  EXPECT_EQ(GetPixMapPixelFormat(pm), 32u);
  EXPECT_EQ(GetPixDepth(pm), 32);
  EXPECT_EQ(QTGetPixMapHandleRowBytes(pm), 160) << "148 in whole 16s";
  EXPECT_EQ(static_cast<UInt16>((*pm)->rowBytes), 0x8000 | 160);
  EXPECT_EQ(GetPixRowBytes(pm), 160);
  const Ptr base = GetPixBaseAddr(pm);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(base) % 64, 0u);
  for (int i = 0; i < 160 * 13 + kMacMemorySlack; ++i) ASSERT_EQ(base[i], 0);
  EXPECT_EQ(GWorldGetCounters().ownedPixelBytes, worlds_.ownedPixelBytes + 160 * 13);
  EXPECT_EQ(GetPixelsState(pm), 0u);
  EXPECT_TRUE(LockPixels(pm));
  EXPECT_TRUE(LockPixels(pm));
  UnlockPixels(pm);
  EXPECT_EQ(GetPixelsState(pm), pixelsLocked);
  UnlockPixels(pm);
  UnlockPixels(pm);
  EXPECT_EQ(GetPixelsState(pm), 0u);
  DisposeGWorld(world);
  EXPECT_EQ(GetGWorldPixMap(world), nullptr);
  DisposeGWorld(world);
}

TEST_F(QuickDraw, WideRowsKeepTheirRowBytes) {
  for (const SInt32 width : {4092, 4096, 8000, 32767}) {
    const GWorldPtr world = NewWorld(static_cast<SInt16>(width), 2, 32);
    const SInt32 expected = (width * 4 + 15) / 16 * 16;
    EXPECT_EQ(QTGetPixMapHandleRowBytes(GetGWorldPixMap(world)), expected);
    DisposeGWorld(world);
  }
  PixMap record{};
  for (const SInt32 rowBytes : {0, 1, 0x3FFE, 0x3FFF, 0x4000, 0x8000, 0x7FFFFFFF}) {
    EXPECT_EQ(QTSetPixMapPtrRowBytes(&record, rowBytes), noErr);
    EXPECT_EQ(QTGetPixMapPtrRowBytes(&record), rowBytes);
    EXPECT_NE(static_cast<UInt16>(record.rowBytes) & kPixMapRowBytesFlag, 0);
  }
  EXPECT_EQ(QTSetPixMapPtrRowBytes(&record, -1), paramErr);
  // Flag bits of a record of someone else's are not part of the value.
  record = PixMap{};
  record.rowBytes = static_cast<SInt16>(0xC000 | 100);
  EXPECT_EQ(QTGetPixMapPtrRowBytes(&record), 100);
}

TEST_F(QuickDraw, WorldErrors) {
  GWorldPtr world = nullptr;
  const Rect good{0, 0, 4, 4};
  for (const Rect& bad : {Rect{0, 0, 0, 4}, Rect{0, 0, 4, 0}, Rect{4, 0, 0, 4}}) {
    world = reinterpret_cast<GWorldPtr>(&world);
    EXPECT_EQ(QTNewGWorld(&world, 32, &bad, nullptr, nullptr, 0), paramErr);
    EXPECT_EQ(world, nullptr);
  }
  EXPECT_EQ(QTNewGWorld(nullptr, 32, &good, nullptr, nullptr, 0), paramErr);
  EXPECT_EQ(QTNewGWorld(&world, 32, nullptr, nullptr, nullptr, 0), paramErr);
  EXPECT_EQ(QTNewGWorld(&world, 'jpeg', &good, nullptr, nullptr, 0), cDepthErr);
  EXPECT_EQ(NewGWorld(&world, 7, &good, nullptr, nullptr, 0), cDepthErr);
  const Rect huge{-32768, -32768, 32767, 32767};
  EXPECT_EQ(QTNewGWorld(&world, 32, &huge, nullptr, nullptr, 0), memFullErr);
  EXPECT_EQ(world, nullptr);
  char pixels[64] = {};
  EXPECT_EQ(QTNewGWorldFromPtr(&world, 32, &good, nullptr, nullptr, 0, nullptr, 16), paramErr);
  EXPECT_EQ(QTNewGWorldFromPtr(&world, 32, &good, nullptr, nullptr, 0, pixels, 15), paramErr);
  EXPECT_EQ(QTNewGWorldFromPtr(&world, 32, &good, nullptr, nullptr, 0, pixels, -16), paramErr);
  EXPECT_EQ(QTNewGWorldFromPtr(&world, 32, &good, nullptr, nullptr, 0, pixels, 0x7FFFFFFF),
            paramErr);
  EXPECT_EQ(QTNewGWorldFromPtr(&world, 32, &good, nullptr, nullptr, 0, pixels, 16), noErr);
  EXPECT_EQ(GetPixBaseAddr(GetGWorldPixMap(world)), pixels);
  DisposeGWorld(world);
  // No port of any kind is no port.
  EXPECT_EQ(GetGWorldPixMap(nullptr), nullptr);
  EXPECT_EQ(GetGWorldPixMap(reinterpret_cast<GWorldPtr>(pixels)), nullptr);
  DisposeGWorld(reinterpret_cast<GWorldPtr>(pixels));
  DisposeGWorld(nullptr);
}

TEST_F(QuickDraw, AliasesDoNotOwn) {
  std::vector<char> pixels(5 * 12, 7);
  const Rect bounds{0, 0, 5, 5};
  GWorldPtr world = nullptr;
  ASSERT_EQ(QTNewGWorldFromPtr(&world, '2vuy', &bounds, nullptr, nullptr, 0, pixels.data(), 10),
            noErr);
  EXPECT_EQ(GWorldGetCounters().ownedPixelBytes, worlds_.ownedPixelBytes);
  DisposeGWorld(world);
  EXPECT_EQ(pixels, std::vector<char>(5 * 12, 7));
}

TEST_F(QuickDraw, ColourTablesAreCopied) {
  const auto table = reinterpret_cast<CTabHandle>(NewHandleClear(sizeof(ColorTable)));
  (*table)->ctSeed = 77;
  const Rect bounds{0, 0, 2, 2};
  GWorldPtr world = nullptr;
  ASSERT_EQ(QTNewGWorld(&world, 8, &bounds, table, nullptr, 0), noErr);
  DisposeHandle(reinterpret_cast<Handle>(table));
  EXPECT_EQ((*(*GetGWorldPixMap(world))->pmTable)->ctSeed, 77);
  char* foreign = nullptr;
  GWorldPtr none = nullptr;
  EXPECT_EQ(QTNewGWorld(&none, 8, &bounds, reinterpret_cast<CTabHandle>(&foreign), nullptr, 0),
            memWZErr);
  EXPECT_EQ(none, nullptr);
  DisposeGWorld(world);
}

TEST_F(QuickDraw, RequestedGamma) {
  PixMap record{};
  PixMap* pointer = &record;
  EXPECT_EQ(QTGetPixMapHandleRequestedGammaLevel(&pointer), kQTUsePlatformDefaultGammaLevel);
  EXPECT_EQ(QTSetPixMapHandleRequestedGammaLevel(&pointer, kQTCCIR601VideoGammaLevel), noErr);
  EXPECT_EQ(QTGetPixMapHandleRequestedGammaLevel(&pointer), 0x00023333);
  EXPECT_EQ(QTGetPixMapHandleGammaLevel(&pointer), 0);
  EXPECT_EQ(QTSetPixMapHandleGammaLevel(&pointer, 5), noErr);
  EXPECT_EQ(QTGetPixMapHandleGammaLevel(&pointer), 5);
  EXPECT_EQ(QTSetPixMapHandleRequestedGammaLevel(nullptr, 1), paramErr);
  EXPECT_EQ(QTSetPixMapHandleGammaLevel(nullptr, 1), paramErr);
  EXPECT_EQ(QTGetPixMapHandleRequestedGammaLevel(nullptr), 0);
}

TEST_F(QuickDraw, NullPixelMaps) {
  PixMap* nothing = nullptr;
  for (const PixMapHandle pm : {PixMapHandle{nullptr}, &nothing}) {
    EXPECT_EQ(GetPixBaseAddr(pm), nullptr);
    EXPECT_FALSE(LockPixels(pm));
    UnlockPixels(pm);
    EXPECT_EQ(GetPixelsState(pm), 0u);
    EXPECT_EQ(QTGetPixMapHandleRowBytes(pm), 0);
    EXPECT_EQ(QTSetPixMapHandleRowBytes(pm, 4), paramErr);
    EXPECT_EQ(GetPixMapPixelFormat(pm), 0u);
    EXPECT_EQ(GetPixDepth(pm), 0);
    Rect r{1, 1, 1, 1};
    EXPECT_EQ(GetPixBounds(pm, &r)->top, 0);
    DisposePixMap(pm);
  }
  PixMap sized{};
  sized.pixelSize = 24;
  PixMap* pointer = &sized;
  EXPECT_EQ(GetPixMapPixelFormat(&pointer), 24u) << "the size stands in for the format";
  EXPECT_FALSE(LockPixels(&pointer)) << "no pixels";
}

TEST_F(QuickDraw, CurrentPortIsTheThreads) {
  const GWorldPtr world = NewWorld(3, 3, 32);
  CGrafPtr port = world;
  GDHandle device = reinterpret_cast<GDHandle>(&port);
  GetGWorld(&port, &device);
  EXPECT_EQ(port, nullptr);
  EXPECT_EQ(device, nullptr);
  SetGWorld(world, nullptr);
  std::thread([] {
    CGrafPtr other = reinterpret_cast<CGrafPtr>(&other);
    GetGWorld(&other, nullptr);
    EXPECT_EQ(other, nullptr);
  }).join();
  GetGWorld(&port, nullptr);
  EXPECT_EQ(port, world);
  DisposeGWorld(world);
  GetGWorld(&port, nullptr);
  EXPECT_EQ(port, nullptr) << "a port does not outlive its world";
}

TEST_F(QuickDraw, EraseStaysInsideTheRectangleAndThePort) {
  const Rect bounds{10, 10, 13, 15};
  GWorldPtr world = nullptr;
  std::vector<UInt8> pixels(3 * 24 + 8, 1);
  ASSERT_EQ(QTNewGWorldFromPtr(&world, 32, &bounds, nullptr, nullptr, 0, pixels.data() + 4, 24),
            noErr);
  SetGWorld(world, nullptr);
  const Rect area{11, 13, 100, 100};
  EraseRect(&area);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    bool inside = false;
    if (i >= 4 && i < 4 + 3 * 24) {
      const std::size_t row = (i - 4) / 24;
      const std::size_t column = (i - 4) % 24 / 4;
      inside = row >= 1 && column >= 3 && column < 5;
    }
    EXPECT_EQ(pixels[i], inside ? 255 : 1) << i;
  }
  SetGWorld(nullptr, nullptr);
  EraseRect(&area);
  EraseRect(nullptr);
  DisposeGWorld(world);
}

TEST_F(QuickDraw, WhiteOfEachKindOfFormat) {
  struct Case {
    OSType format;
    std::vector<UInt8> row;  ///< 3 pixels, the middle one erased, over bytes of 0x11
  };
  const Case cases[] = {
      {1, {0x11 & ~0x40}},
      {33, {0x11 | 0x40}},
      {4, {0x10, 0x11}},
      {36, {0x1F, 0x11}},
      {40, {0x11, 0xFF, 0x11}},
      {16, {0x11, 0x11, 0x7F, 0xFF, 0x11, 0x11}},
      {24, {0x11, 0x11, 0x11, 0xFF, 0xFF, 0xFF, 0x11, 0x11, 0x11}},
      {'2vuy', {128, 0x11, 128, 235, 0x11, 0x11, 0x11, 0x11}},
      {'yuvs', {0x11, 128, 235, 128, 0x11, 0x11, 0x11, 0x11}},
      {'r408', {0x11, 0x11, 0x11, 0x11, 255, 219, 128, 128, 0x11, 0x11, 0x11, 0x11}},
  };
  for (const Case& c : cases) {
    const GWorldPtr world = NewWorld(3, 1, c.format);
    auto* base = reinterpret_cast<UInt8*>(GetPixBaseAddr(GetGWorldPixMap(world)));
    std::memset(base, 0x11, c.row.size());
    SetGWorld(world, nullptr);
    const Rect middle{0, 1, 1, 2};
    EraseRect(&middle);
    EXPECT_EQ(std::vector<UInt8>(base, base + c.row.size()), c.row) << c.format;
    DisposeGWorld(world);
  }
}

}  // namespace
