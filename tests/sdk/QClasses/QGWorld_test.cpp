#include "sdk/QClasses/QGWorld.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/CoreServices/MacMemory.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/QClasses/QPixMap.h"
#include "tests/support/LogCapture.h"

namespace {

using Lines = std::vector<std::string>;
using Bytes = std::vector<UInt8>;

std::string Failed(const std::string& code, const std::string& function,
                   const std::string& source = "sdk/QClasses/QGWorld") {
  return test::AnyLineNumber(test::VerifyLine(code, source, 1, function));
}
std::string FailedErr(int error, const std::string& code, const std::string& function) {
  return test::AnyLineNumber(test::VerifyErrLine(error, code, "sdk/QClasses/QGWorld", 1, function));
}

class World : public testing::Test {
 protected:
  void SetUp() override {
    handles_ = MacMemoryGetCounters().handles;
    worlds_ = GWorldGetCounters().worlds;
  }
  void TearDown() override {
    EXPECT_EQ(MacMemoryGetCounters().handles, handles_);
    EXPECT_EQ(GWorldGetCounters().worlds, worlds_);
  }
  Lines Logged() {
    const Lines lines = test::AnyLineNumbers(log_.Lines());
    log_.Clear();
    return lines;
  }
  test::LogCapture log_;
  SInt64 handles_ = 0;
  SInt64 worlds_ = 0;
};

char* BaseOf(const QGWorld& world) {
  return GetPixBaseAddr(world.GetPixMap());
}

void ExpectThrowsNil(const std::function<void()>& action) {
  try {
    action();
    ADD_FAILURE() << "nothing thrown";
  } catch (const CoreException& e) {
    EXPECT_STREQ(e.Message(), "Nil exception pointer");
  }
}

TEST_F(World, OwnsLockedZeroedPixels) {
  QGWorld world;
  EXPECT_FALSE(world.IsConstructed());
  ASSERT_TRUE(world.Construct(Point{6, 10}, 32));
  EXPECT_EQ(world.Bounds(), QRect(0, 0, 6, 10));
  EXPECT_EQ(world.Dimensions(), QPoint(10, 6));
  EXPECT_EQ(world.SizePixels(), QSize(10, 6));
  EXPECT_EQ(world.GetPixelFormat(), 32u);
  EXPECT_EQ(GetPixelsState(world.GetPixMap()), pixelsLocked);
  EXPECT_EQ(static_cast<CGrafPtr>(world), world.GetGWorld());
  EXPECT_TRUE(world.IsSizePixelFormat(QRect(5, 5, 11, 15), 32));
  EXPECT_FALSE(world.IsSizePixelFormat(QRect(5, 5, 11, 15), 24));
  EXPECT_FALSE(world.IsSizePixelFormat(QRect(5, 5, 11, 14), 32));
  EXPECT_TRUE(world.Construct(QSize(3, 4), 24));
  EXPECT_EQ(world.Dimensions(), QPoint(3, 4));
  QGWorld copy(world);
  EXPECT_EQ(copy.Dimensions(), QPoint(3, 4));
  EXPECT_EQ(copy.GetPixelFormat(), 24u);
  EXPECT_NE(BaseOf(copy), BaseOf(world));
  EXPECT_TRUE(copy.Construct(copy)) << "from itself";
  EXPECT_EQ(copy.Dimensions(), QPoint(3, 4));
  world.Destruct();
  EXPECT_FALSE(world.IsConstructed());
  EXPECT_EQ(Logged(), Lines{});
}

TEST_F(World, ConstructErrors) {
  QGWorld world;
  EXPECT_FALSE(world.Construct(Point{0, 10}, 32));
  EXPECT_EQ(Logged(), Lines{FailedErr(-50, "err", "Construct")});
  EXPECT_FALSE(world.Construct(Point{10, 10}, 'jpeg'));
  EXPECT_EQ(Logged(), Lines{FailedErr(-157, "err", "Construct")});
  EXPECT_FALSE(world.IsConstructed());
  ExpectThrowsNil([] { const QGWorld w(Point{-1, 5}, 32); });
  const QGWorld empty;
  ExpectThrowsNil([&] { const QGWorld w(empty); });
  ExpectThrowsNil([&] { world.Construct(empty); });
  ExpectThrowsNil([] { const QGWorld w(nullptr, nullptr); });
  ExpectThrowsNil([&] { static_cast<void>(empty.Bounds()); });
  ExpectThrowsNil([&] { static_cast<void>(empty.Dimensions()); });
  ExpectThrowsNil([&] { static_cast<void>(empty.SizePixels()); });
  Logged();
  EXPECT_EQ(empty.GetPixelFormat(), 0u);
  EXPECT_EQ(Logged(), Lines{Failed("mGWorld", "GetPixelFormat")});
  EXPECT_FALSE(empty.IsSizePixelFormat(QRect(), 0));
  EXPECT_EQ(Logged(), Lines{});
}

TEST_F(World, AliasesOverMemory) {
  Bytes pixels(12 * 5, 3);
  char* base = reinterpret_cast<char*>(pixels.data());
  QGWorld world;
  EXPECT_TRUE(world.ConstructAlias(base, 12, Point{5, 3}, 32));
  EXPECT_EQ(BaseOf(world), base);
  EXPECT_EQ(GetPixelsState(world.GetPixMap()), 0u) << "not this world's to lock";
  EXPECT_EQ(QTGetPixMapHandleRowBytes(world.GetPixMap()), 12);
  const tagQGWorldData data{24, 4, 5, 12, base};
  EXPECT_TRUE(world.ConstructAlias(data));
  EXPECT_EQ(world.Dimensions(), QPoint(4, 5));
  EXPECT_EQ(world.GetPixelFormat(), 24u);
  EXPECT_EQ(Logged(), Lines{});
  EXPECT_FALSE(world.ConstructAlias(nullptr, 12, Point{5, 3}, 32));
  EXPECT_EQ(Logged(), Lines{Failed("inBaseAddr", "ConstructAlias")});
  EXPECT_FALSE(world.IsConstructed()) << "the old world is gone";
  EXPECT_FALSE(world.ConstructAlias(base, 0, Point{5, 3}, 32));
  EXPECT_EQ(Logged(), Lines{Failed("inRowBytes", "ConstructAlias")});
  EXPECT_FALSE(world.ConstructAlias(base, 11, Point{5, 3}, 32));
  EXPECT_EQ(Logged(), Lines{FailedErr(-50, "err", "ConstructAlias")});
  EXPECT_EQ(pixels, Bytes(12 * 5, 3));
}

TEST_F(World, AliasesFromDescriptions) {
  Bytes pixels(16 * 4);
  char* base = reinterpret_cast<char*>(pixels.data());
  QImageDescription d(UInt32{'2vuy'});
  d.SetWidthHeight(6, 4);
  QGWorld world(base, d.GetHandle());
  EXPECT_EQ(world.GetPixelFormat(), UInt32{'2vuy'});
  EXPECT_EQ(QTGetPixMapHandleRowBytes(world.GetPixMap()), 12);
  EXPECT_FALSE(world.ConstructAlias(nullptr, d.GetHandle()));
  EXPECT_EQ(Logged(), Lines{Failed("inBaseAddr", "ConstructAlias")});
  EXPECT_FALSE(world.ConstructAlias(base, nullptr));
  EXPECT_EQ(Logged(), Lines{Failed("hImageDescription", "ConstructAlias")});
  d.SetWidthHeight(6, 0);
  EXPECT_FALSE(world.ConstructAlias(base, d.GetHandle()));
  EXPECT_EQ(Logged(), (Lines{FailedErr(-50, "err", "ConstructAlias"),
                             Failed("fOk = ConstructAlias(inBaseAddr, useRowBytes, "
                                    "imageDescription.Dimensions(), pixelFormat)",
                                    "ConstructAlias")}));
  QImageDescription argb(UInt32{32});
  argb.SetWidthHeight(4, 4);
  EXPECT_FALSE(world.ConstructAlias(base, argb.GetHandle()));
  EXPECT_EQ(Logged(),
            Lines{Failed("imageDescription.GetExtension_rowb(useRowBytes)", "ConstructAlias")});
  argb.AddExtension_rowb(16);
  EXPECT_TRUE(world.ConstructAlias(base, argb.GetHandle()));
  EXPECT_EQ(world.Dimensions(), QPoint(4, 4));
}

TEST_F(World, AliasesOverPixelMapsAndWorlds) {
  QGWorld parent(Point{4, 5}, 32);
  QGWorld alias;
  EXPECT_TRUE(alias.ConstructAlias(parent.GetPixMap()));
  EXPECT_EQ(BaseOf(alias), BaseOf(parent));
  EXPECT_EQ(alias.Dimensions(), parent.Dimensions());
  EXPECT_TRUE(alias.ConstructAlias(alias.GetPixMap())) << "over itself";
  EXPECT_TRUE(alias.ConstructAlias(parent));
  EXPECT_EQ(BaseOf(alias), BaseOf(parent));
  EXPECT_TRUE(parent.ConstructAlias(parent)) << "over itself, its pixels still its own";
  EXPECT_EQ(BaseOf(alias), BaseOf(parent));
  EXPECT_EQ(Logged(), Lines{});

  EXPECT_FALSE(alias.ConstructAlias(static_cast<PixMapHandle>(nullptr)));
  EXPECT_EQ(Logged(), Lines{Failed("hPixMap", "ConstructAlias")});
  PixMap record{};
  PixMap* pointer = &record;
  EXPECT_FALSE(alias.ConstructAlias(&pointer));
  EXPECT_EQ(Logged(), Lines{Failed("pixmapBaseAddr", "ConstructAlias")});
  record.baseAddr = BaseOf(parent);
  EXPECT_FALSE(alias.ConstructAlias(&pointer));
  EXPECT_EQ(Logged(), Lines{Failed("rowBytes", "ConstructAlias")});
  record.rowBytes = 16;
  EXPECT_FALSE(alias.ConstructAlias(&pointer));
  EXPECT_EQ(Logged(),
            (Lines{FailedErr(-50, "err", "ConstructAlias"),
                   Failed("fOk=ConstructAlias( pixmapBaseAddr, rowBytes, size, pixelFormat)",
                          "ConstructAlias")}));
  const QGWorld empty;
  EXPECT_FALSE(alias.ConstructAlias(empty));
  EXPECT_EQ(Logged(), Lines{Failed("inAliasThisWorld.IsConstructed()", "ConstructAlias")});
  (*parent.GetPixMap())->baseAddr = nullptr;
  EXPECT_FALSE(alias.ConstructAlias(parent));
  EXPECT_EQ(Logged(), Lines{Failed("pixelData", "ConstructAlias")});
  EXPECT_FALSE(alias.ConstructAliasOverRect(parent, QRect(0, 0, 1, 1)));
  EXPECT_EQ(Logged(), Lines{Failed("pixelData", "ConstructAliasOverRect")});
  (*parent.GetPixMap())->baseAddr = record.baseAddr;
  (*parent.GetPixMap())->bounds = {0, 0, 0, 0};
  EXPECT_FALSE(alias.ConstructAlias(parent));
  EXPECT_EQ(Logged(), (Lines{FailedErr(-50, "err", "ConstructAlias"),
                             Failed("fOk = ConstructAlias(pixelData,rowBytes, "
                                    "inAliasThisWorld.Dimensions(), pixelFormat )",
                                    "ConstructAlias")}));
}

TEST_F(World, AliasesOverRectanglesCountFourBytesPerPixel) {
  for (const UInt32 format : {32u, 24u, 40u}) {
    QGWorld parent(Point{20, 40}, format);
    QGWorld alias;
    ASSERT_TRUE(alias.ConstructAliasOverRect(parent, QRect(3, 10, 8, 14)));
    const SInt32 rowBytes = QTGetPixMapHandleRowBytes(parent.GetPixMap());
    EXPECT_EQ(BaseOf(alias) - BaseOf(parent), 3 * rowBytes + 40) << format;
    EXPECT_EQ(alias.Dimensions(), QPoint(4, 5));
    EXPECT_EQ(alias.GetPixelFormat(), format);
    EXPECT_EQ(QTGetPixMapHandleRowBytes(alias.GetPixMap()), rowBytes);
  }
  QGWorld parent(Point{4, 4}, 32);
  QGWorld alias;
  EXPECT_FALSE(alias.ConstructAliasOverRect(QGWorld(), QRect(0, 0, 1, 1)));
  EXPECT_EQ(Logged(), Lines{Failed("inAliasThisWorld.IsConstructed()", "ConstructAliasOverRect")});
  EXPECT_FALSE(alias.ConstructAliasOverRect(parent, QRect(2, 2, 2, 2)));
  EXPECT_EQ(Logged(),
            (Lines{FailedErr(-50, "err", "ConstructAlias"),
                   Failed("fOk = ConstructAlias(pixelData,rowBytes, aliasThisArea.Dimensions(), "
                          "pixelFormat )",
                          "ConstructAliasOverRect")}));
  EXPECT_FALSE(parent.ConstructAliasOverRect(parent, QRect(0, 0, 1, 1)));
  EXPECT_TRUE(parent.IsConstructed()) << "a refusal keeps the pixels";
}

TEST_F(World, FillsOfWholeRowsStayInsideTheParent) {
  // Exactly the memory there is: the sanitizer sees anything beyond.
  std::unique_ptr<UInt8[]> memory(new UInt8[4 * 32]);
  std::memset(memory.get(), 9, 4 * 32);
  QGWorld parent;
  ASSERT_TRUE(parent.ConstructAlias(reinterpret_cast<char*>(memory.get()), 32, Point{4, 8}, 32));
  QGWorld alias;
  ASSERT_TRUE(alias.ConstructAliasOverRect(parent, QRect(2, 4, 4, 8)));
  EXPECT_TRUE(alias.FillTransparentBlack());
  for (int i = 0; i < 128; ++i) {
    EXPECT_EQ(memory[static_cast<std::size_t>(i)], i < 64 + 16 ? 9 : 0) << i;
  }
  QGWorld second;
  ASSERT_TRUE(second.ConstructAliasOverRect(alias, QRect(1, 1, 2, 2)));
  EXPECT_TRUE(second.FillOpaqueBlack());
  EXPECT_EQ(memory[3 * 32 + 20], 255);
}

TEST_F(World, Fills) {
  QGWorld world(Point{5, 7}, 32);
  std::memset(BaseOf(world), 0x5A, 5 * 32);
  EXPECT_TRUE(world.FillOpaqueBlack());
  for (int y = 0; y < 5; ++y) {
    const UInt8* row = QPixMap_GetStartOfScanLine(world.GetPixMap(), y);
    for (int x = 0; x < 7; ++x) {
      EXPECT_EQ(row[4 * x], 255);
      EXPECT_EQ(row[4 * x + 1] | row[4 * x + 2] | row[4 * x + 3], 0);
    }
    EXPECT_EQ(row[28], 0) << "padding is filled with the low byte";
  }
  EXPECT_TRUE(world.FillTransparentBlack());
  for (int i = 0; i < 5 * 32; ++i) EXPECT_EQ(BaseOf(world)[i], 0);

  ASSERT_TRUE(world.Construct(Point{2, 3}, 24));
  std::memset(BaseOf(world), 0x5A, 32);
  EXPECT_TRUE(world.FillOpaqueBlack());
  for (int i = 0; i < 9; ++i) EXPECT_EQ(BaseOf(world)[i], 0);
  EXPECT_EQ(BaseOf(world)[9], 0x5A) << "padding stays";
  EXPECT_FALSE(world.FillTransparentBlack());
  EXPECT_EQ(Logged(),
            Lines{Failed("k32ARGBPixelFormat == GetPixelFormat()", "FillTransparentBlack")});

  ASSERT_TRUE(world.Construct(Point{2, 3}, 8));
  EXPECT_FALSE(world.FillOpaqueBlack());
  EXPECT_EQ(Logged(), Lines{});

  PixMap record{};
  Bytes one(4);
  ASSERT_TRUE(world.ConstructAlias(reinterpret_cast<char*>(one.data()), 4, Point{1, 1}, 32));
  record = **world.GetPixMap();
  (*world.GetPixMap())->rowBytes = 0;
  EXPECT_FALSE(world.FillOpaqueBlack());
  EXPECT_EQ(
      Logged(),
      (Lines{Failed("rowBytes", "QPixMap_FillPixelARGB32", "sdk/QClasses/QPixMap"),
             Failed("fOk = QPixMap_FillPixelARGB32(GetPixMap(), pixelValue)", "FillOpaqueBlack")}));
  EXPECT_FALSE(QPixMap_FillPixelARGB32(nullptr, 0));
  EXPECT_EQ(Logged(), Lines{Failed("hPixMap", "QPixMap_FillPixelARGB32", "sdk/QClasses/QPixMap")});
}

TEST_F(World, DescriptionsAreCompleteEvenWhenReportedFalse) {
  QGWorld world(Point{20, 320}, 32);
  QImageDescription d;
  EXPECT_TRUE(world.GetImageDescription(d, true));
  EXPECT_EQ(d.Dimensions(), QPoint(320, 20));
  QImageDescription e;
  EXPECT_FALSE(world.GetImageDescription(e, false));
  EXPECT_EQ(e.Dimensions(), QPoint(320, 20));
  EXPECT_EQ(e.GetPixelFormat(), 32u);
  EXPECT_EQ(Logged(), Lines{}) << "silently";

  unsigned char* data = nullptr;
  SInt32 size = 0;
  EXPECT_FALSE(world.GetDataDescription(e, data, size));
  EXPECT_EQ(Logged(),
            Lines{Failed("fOk = GetImageDescription(outDescription)", "GetDataDescription")});
  EXPECT_EQ(reinterpret_cast<char*>(data), BaseOf(world));
  EXPECT_EQ(size, 1280 * 20);
  EXPECT_TRUE(e.IsConstructed());

  const QGWorld empty;
  EXPECT_FALSE(empty.GetImageDescription(e, true));
  EXPECT_EQ(Logged(), Lines{Failed("hPixMap", "GetImageDescription")});
  EXPECT_FALSE(empty.GetDataDescription(e, data, size));
  EXPECT_EQ(Logged(), Lines{Failed("hPixMap", "GetDataDescription")});
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(size, 0);

  (*world.GetPixMap())->bounds = {0, 0, 0, 0};
  EXPECT_FALSE(world.GetImageDescription(e, true));
  EXPECT_EQ(Logged(), (Lines{test::AnyLineNumber(test::VerifyErrLine(
                                 -50, "err", "sdk/QClasses/QImageDescription", 1, "Construct")),
                             Failed("outDescription.Construct(hPixMap)", "GetImageDescription")}));
}

TEST_F(World, AutoLock) {
  const Handle h = NewHandle(12);
  const Handle other = NewHandle(3);
  const auto isLocked = [](Handle handle) { return (HGetState(handle) & 0x80) != 0; };
  {
    QAutoLock lock(h);
    EXPECT_TRUE(isLocked(h));
    EXPECT_EQ(lock.HandleSizeBytes(), 12u);
    {
      const QAutoLock inner(h);
      EXPECT_TRUE(isLocked(h));
    }
    EXPECT_TRUE(isLocked(h)) << "it was locked before the inner guard";
    lock.Lock(other);
    EXPECT_FALSE(isLocked(h));
    EXPECT_TRUE(isLocked(other));
    lock.Lock(nullptr);
    EXPECT_FALSE(isLocked(other));
    EXPECT_EQ(lock.HandleSizeBytes(), 0u);
    HLock(h);
    lock.Lock(h);
  }
  EXPECT_TRUE(isLocked(h));
  const QAutoLock none(nullptr);
  EXPECT_EQ(none.HandleSizeBytes(), 0u);
  DisposeHandle(h);
  DisposeHandle(other);
}

/// Random constructions, aliases and disposals: nothing leaks, nothing dangles (the sanitizer
/// watches), and every live world can be filled and read.
TEST_F(World, RandomSequencesOfConstructionAndDisposal) {
  const bool ok = rc::check("worlds", [this] {
    const UInt32 formats[] = {32, 24, 40, '2vuy', 'BGRA', 'none'};
    std::array<QGWorld, 4> worlds;
    // Who lies over whose pixels: an alias is disposed of before its memory goes.
    std::array<int, 4> over{-1, -1, -1, -1};
    const auto letGoOf = [&](int index, const auto& self) -> void {
      for (int i = 0; i < 4; ++i) {
        if (i != index && over[static_cast<std::size_t>(i)] == index) {
          self(i, self);
          worlds[static_cast<std::size_t>(i)].DisposeIF();
          over[static_cast<std::size_t>(i)] = -1;
        }
      }
    };
    const int steps = *rc::gen::inRange(1, 40);
    for (int step = 0; step < steps; ++step) {
      const int i = *rc::gen::inRange(0, 4);
      const int j = *rc::gen::inRange(0, 4);
      QGWorld& world = worlds[static_cast<std::size_t>(i)];
      const QGWorld& other = worlds[static_cast<std::size_t>(j)];
      const Point size{*rc::gen::inRange<SInt16>(-1, 9), *rc::gen::inRange<SInt16>(-1, 9)};
      const UInt32 format = formats[*rc::gen::inRange(0, 6)];
      letGoOf(i, letGoOf);
      int& base = over[static_cast<std::size_t>(i)];
      switch (*rc::gen::inRange(0, 6)) {
        case 0:
          world.Construct(size, format);
          base = -1;
          break;
        case 1:
          if (i != j) base = world.ConstructAlias(other) ? j : -1;
          break;
        case 2: {
          if (i == j || !other.IsConstructed() || other.GetPixelFormat() != 32) break;
          const QPoint d = other.Dimensions();
          const SInt16 top = *rc::gen::inRange<SInt16>(0, d.v);
          const SInt16 left = *rc::gen::inRange<SInt16>(0, d.h);
          base = world.ConstructAliasOverRect(other, QRect(top, left, d.v, d.h)) ? j : -1;
          break;
        }
        case 3:
          if (i == j || !other.IsConstructed()) break;
          world.Construct(other);
          base = -1;
          break;
        case 4:
          world.Destruct();
          base = -1;
          break;
        default: {
          QImageDescription d;
          if (other.IsConstructed()) RC_ASSERT(other.GetImageDescription(d, true));
          break;
        }
      }
      for (const QGWorld& w : worlds) {
        if (!w.IsConstructed()) continue;
        w.FillOpaqueBlack();
        const SInt32 last = w.Dimensions().v - 1;
        RC_ASSERT(QPixMap_GetStartOfScanLine(w.GetPixMap(), last) != nullptr);
        if (w.GetPixelFormat() == 32) {
          RC_ASSERT(*QPixMap_GetStartOfScanLine(w.GetPixMap(), last) == 255);
        }
      }
    }
    for (int i = 0; i < 4; ++i) letGoOf(i, letGoOf);
  });
  EXPECT_TRUE(ok);
}

}  // namespace
