#include "platform/QuickDraw/CopyBits.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "platform/CoreServices/MacMemory.h"
#include "platform/QuickDraw/QuickDraw.h"

namespace {

using Bytes = std::vector<UInt8>;

/// A world of the test's.
class World {
 public:
  World(SInt16 width, SInt16 height, OSType format, SInt16 left = 0, SInt16 top = 0) {
    const Rect r{top, left, static_cast<SInt16>(top + height), static_cast<SInt16>(left + width)};
    EXPECT_EQ(QTNewGWorld(&world_, format, &r, nullptr, nullptr, 0), noErr);
  }
  ~World() { DisposeGWorld(world_); }
  World(const World&) = delete;
  World& operator=(const World&) = delete;
  GWorldPtr port() const { return world_; }
  PixMap& record() const { return **GetGWorldPixMap(world_); }
  const BitMap* bits() const { return GetPortBitMapForCopyBits(world_); }
  Rect bounds() const { return record().bounds; }
  UInt8* Row(int y) const {
    return reinterpret_cast<UInt8*>(record().baseAddr) + y * QTGetPixMapPtrRowBytes(&record());
  }
  SInt32 height() const { return record().bounds.bottom - record().bounds.top; }
  Bytes all() const { return Bytes(Row(0), Row(height())); }
  void Noise(unsigned seed) const {
    std::mt19937 engine(seed);
    std::generate(Row(0), Row(height()), [&] { return UInt8(engine()); });
  }

 private:
  GWorldPtr world_ = nullptr;
};

void CopyAll(const World& from, const World& to) {
  const Rect source = from.bounds();
  const Rect dest = to.bounds();
  CopyBits(from.bits(), to.bits(), &source, &dest, srcCopy, nullptr);
}

Bytes PixelOf(const World& world, int x, int y, int size) {
  return Bytes(world.Row(y) + x * size, world.Row(y) + (x + 1) * size);
}

/// Bytes of one pixel (or pair of equal pixels) of a colour in a format.
Bytes Converted(const Bytes& argb, OSType format, int size) {
  const World from(2, 1, k32ARGBPixelFormat);
  const World to(2, 1, format);
  std::copy(argb.begin(), argb.end(), from.Row(0));
  std::copy(argb.begin(), argb.end(), from.Row(0) + 4);
  CopyAll(from, to);
  return Bytes(to.Row(0), to.Row(0) + size);
}

TEST(CopyBits, EqualFormatsKeepEveryByte) {
  for (const OSType format :
       {k32ARGBPixelFormat, k24RGBPixelFormat, k16BE555PixelFormat, k16LE5551PixelFormat,
        k8IndexedPixelFormat, k8IndexedGrayPixelFormat, k48RGBPixelFormat, k64ARGBPixelFormat,
        k32CMYKPixelFormat, kr408PixelFormat, kv408PixelFormat, k2vuyPixelFormat, kYUVSPixelFormat,
        kYUVUPixelFormat, kYVYU422PixelFormat, k1MonochromePixelFormat, k4IndexedGrayPixelFormat}) {
    const World from(16, 3, format);
    const World to(16, 3, format);
    from.Noise(format);
    CopyAll(from, to);
    const SInt64 bytes = QTGetPixelFormatRowSize(format, 16);
    for (int y = 0; y < 3; ++y) {
      // 'r408' luma is stored less 16: what would be above 239 has no full form, but is copied.
      EXPECT_EQ(Bytes(to.Row(y), to.Row(y) + bytes), Bytes(from.Row(y), from.Row(y) + bytes))
          << format;
    }
  }
}

TEST(CopyBits, ConvertsToEveryFormat) {
  const Bytes orange = {200, 255, 128, 0};
  EXPECT_EQ(Converted(orange, k24RGBPixelFormat, 3), (Bytes{255, 128, 0}));
  EXPECT_EQ(Converted(orange, k24BGRPixelFormat, 3), (Bytes{0, 128, 255}));
  EXPECT_EQ(Converted(orange, k32BGRAPixelFormat, 4), (Bytes{0, 128, 255, 200}));
  EXPECT_EQ(Converted(orange, k32ABGRPixelFormat, 4), (Bytes{200, 0, 128, 255}));
  EXPECT_EQ(Converted(orange, k32RGBAPixelFormat, 4), (Bytes{255, 128, 0, 200}));
  EXPECT_EQ(Converted(orange, k48RGBPixelFormat, 6), (Bytes{255, 255, 128, 128, 0, 0}));
  EXPECT_EQ(Converted(orange, k64ARGBPixelFormat, 8), (Bytes{200, 200, 255, 255, 128, 128, 0, 0}));
  EXPECT_EQ(Converted(orange, k16BE555PixelFormat, 2), (Bytes{0x7E, 0x00}));
  EXPECT_EQ(Converted(orange, k16LE555PixelFormat, 2), (Bytes{0x00, 0x7E}));
  EXPECT_EQ(Converted(orange, k16LE5551PixelFormat, 2), (Bytes{0x01, 0xFC}));
  EXPECT_EQ(Converted(orange, k16BE565PixelFormat, 2), (Bytes{0xFC, 0x00}));
  EXPECT_EQ(Converted(orange, k16LE565PixelFormat, 2), (Bytes{0x00, 0xFC}));
  EXPECT_EQ(Converted(orange, k32CMYKPixelFormat, 4), (Bytes{0, 127, 255, 0}));
  EXPECT_EQ(Converted(orange, k8IndexedGrayPixelFormat, 1), (Bytes{151}));
  // Rec. 601: Y 16 + 219 * 0.5937, Cb 128 - 224 * 0.3350, Cr 128 + 224 * 0.2898.
  EXPECT_EQ(Converted(orange, kv408PixelFormat, 4), (Bytes{53, 146, 193, 200}));
  EXPECT_EQ(Converted(orange, kr408PixelFormat, 4), (Bytes{200, 130, 53, 193}));
  EXPECT_EQ(Converted(orange, k2vuyPixelFormat, 4), (Bytes{53, 146, 193, 146}));
  EXPECT_EQ(Converted(orange, kYUVSPixelFormat, 4), (Bytes{146, 53, 146, 193}));
  EXPECT_EQ(Converted(orange, kYVYU422PixelFormat, 4), (Bytes{146, 193, 146, 53}));
  EXPECT_EQ(Converted(orange, kYUVUPixelFormat, 4), (Bytes{146, 181, 146, 65}));
}

TEST(CopyBits, ComesBackFromFormatsThatHoldIt) {
  const World source(16, 1, k32ARGBPixelFormat);
  source.Noise(4);
  for (const OSType format :
       {k32BGRAPixelFormat, k32ABGRPixelFormat, k32RGBAPixelFormat, k64ARGBPixelFormat,
        k24BGRPixelFormat, k48RGBPixelFormat, kv408PixelFormat, k16LE565PixelFormat}) {
    const World through(16, 1, format);
    const World back(16, 1, k32ARGBPixelFormat);
    CopyAll(source, through);
    CopyAll(through, back);
    const bool alpha =
        format != k24BGRPixelFormat && format != k48RGBPixelFormat && format != k16LE565PixelFormat;
    const int near = format == kv408PixelFormat ? 2 : format == k16LE565PixelFormat ? 4 : 0;
    for (int i = 0; i < 64; ++i) {
      const int want = i % 4 == 0 && !alpha ? 255 : source.Row(0)[i];
      EXPECT_NEAR(back.Row(0)[i], want, i % 4 == 0 ? 0 : near) << format << " byte " << i;
    }
  }
}

TEST(CopyBits, IndexedPixelsTakeTheStandardColours) {
  EXPECT_EQ(Converted({255, 255, 255, 255}, k8IndexedPixelFormat, 1), Bytes{0});
  EXPECT_EQ(Converted({255, 0, 0, 0}, k8IndexedPixelFormat, 1), Bytes{255});
  EXPECT_EQ(Converted({255, 204, 102, 51}, k8IndexedPixelFormat, 1), Bytes{1 * 36 + 3 * 6 + 4});
  EXPECT_EQ(Converted({255, 0, 0xBB, 0}, k8IndexedPixelFormat, 1), Bytes{227});
  EXPECT_EQ(Converted({255, 0x11, 0x11, 0x11}, k8IndexedPixelFormat, 1), Bytes{254});
  EXPECT_EQ(Converted({255, 0, 0, 0}, k4IndexedPixelFormat, 1), Bytes{0xFF});
  EXPECT_EQ(Converted({255, 220, 10, 10}, k4IndexedPixelFormat, 1), Bytes{0x33});
  EXPECT_EQ(Converted({255, 90, 80, 85}, k2IndexedPixelFormat, 1)[0] >> 4, 0b1010);
  EXPECT_EQ(Converted({255, 20, 10, 10}, k1MonochromePixelFormat, 1)[0] >> 6, 0b11);
  EXPECT_EQ(Converted({255, 250, 255, 240}, k1MonochromePixelFormat, 1)[0] >> 6, 0);
  EXPECT_EQ(Converted({255, 128, 128, 128}, k4IndexedGrayPixelFormat, 1), Bytes{0x88});

  const World from(256, 1, k8IndexedPixelFormat);
  const World back(256, 1, k8IndexedPixelFormat);
  const World through(256, 1, k32ARGBPixelFormat);
  for (int i = 0; i < 256; ++i) from.Row(0)[i] = UInt8(i);
  CopyAll(from, through);
  CopyAll(through, back);
  EXPECT_EQ(back.all(), from.all()) << "no colour is there twice";
}

TEST(CopyBits, AColourTableCounts) {
  const World from(4, 1, k8IndexedPixelFormat);
  const World to(4, 1, k32ARGBPixelFormat);
  Handle table = NewHandleClear(8 + 2 * 8);
  const UInt16 entries[8] = {0, 0xFFFF, 0, 0x8080, 1, 0, 0xFFFF, 0};
  std::memcpy(*table + 8, entries, sizeof(entries));
  reinterpret_cast<ColorTable*>(*table)->ctSize = 9;  // Says more than it has.
  from.record().pmTable = reinterpret_cast<CTabHandle>(table);
  const Bytes indices = {0, 1, 2, 200};
  std::copy(indices.begin(), indices.end(), from.Row(0));
  CopyAll(from, to);
  EXPECT_EQ(Bytes(to.Row(0), to.Row(0) + 16),
            (Bytes{255, 255, 0, 128, 255, 0, 255, 0, 255, 0, 0, 0, 255, 0, 0, 0}));
  to.Row(0)[1] = 10;
  to.Row(0)[2] = 240;
  CopyAll(to, from);
  EXPECT_EQ(from.Row(0)[0], 1) << "the nearest";
}

TEST(CopyBits, PairsShareTheMeanOfTheirChroma) {
  const World from(4, 1, k32ARGBPixelFormat);
  const World to(4, 1, k2vuyPixelFormat);
  const Bytes pixels = {255, 255, 0, 0, 255, 0, 0, 255, 255, 255, 255, 255, 255, 0, 0, 0};
  std::copy(pixels.begin(), pixels.end(), from.Row(0));
  CopyAll(from, to);
  const Bytes red = Converted({255, 255, 0, 0}, kv408PixelFormat, 4);
  const Bytes blue = Converted({255, 0, 0, 255}, kv408PixelFormat, 4);
  EXPECT_EQ(Bytes(to.Row(0), to.Row(0) + 8),
            (Bytes{UInt8((red[0] + blue[0] + 1) / 2), red[1], UInt8((red[2] + blue[2] + 1) / 2),
                   blue[1], 128, 235, 128, 16}));
}

TEST(CopyBits, AnOddRowOfPairsMayEndWithHalfAPair) {
  Bytes memory(6 + 6 + 8, 77);
  const Rect r{0, 0, 2, 3};
  GWorldPtr narrow = nullptr;
  ASSERT_EQ(
      QTNewGWorldFromPtr(&narrow, k2vuyPixelFormat, &r, nullptr, nullptr, 0, memory.data(), 6),
      noErr);
  const World from(3, 2, k32ARGBPixelFormat);
  for (UInt8* p = from.Row(0); p != from.Row(2); ++p) *p = 255;
  CopyBits(from.bits(), GetPortBitMapForCopyBits(narrow), &r, &r, srcCopy, nullptr);
  EXPECT_EQ(memory, (Bytes{128, 235, 128, 235, 128, 235, 128, 235, 128, 235,
                           128, 235, 77,  77,  77,  77,  77,  77,  77,  77}));
  const World back(3, 2, k32ARGBPixelFormat);
  CopyBits(GetPortBitMapForCopyBits(narrow), back.bits(), &r, &r, srcCopy, nullptr);
  EXPECT_EQ(PixelOf(back, 2, 1, 4), (Bytes{255, 255, 255, 255}));
  DisposeGWorld(narrow);
}

TEST(CopyBits, ScalesByThePixelUnderTheCentre) {
  const World from(7, 5, k32ARGBPixelFormat);
  from.Noise(9);
  const std::pair<SInt16, SInt16> sizes[] = {{1, 1}, {3, 2}, {7, 5}, {14, 10}, {20, 17}};
  for (const auto& [width, height] : sizes) {
    const World to(width, height, k32ARGBPixelFormat);
    CopyAll(from, to);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const int sx = int(std::floor((x + 0.5) * 7 / width));
        const int sy = int(std::floor((y + 0.5) * 5 / height));
        ASSERT_EQ(PixelOf(to, x, y, 4), PixelOf(from, sx, sy, 4)) << width << " x " << height;
      }
    }
  }
}

TEST(CopyBits, ClipsToBothRastersAndTheRegion) {
  const World from(6, 6, k32ARGBPixelFormat, 100, 50);
  const World to(8, 8, k32ARGBPixelFormat, -4, -4);
  from.Noise(1);
  to.Noise(2);
  const Bytes before = to.all();
  // One pixel of the source each, from two left of and above it on, to one beyond the destination.
  const Rect source{48, 98, 58, 108};
  const Rect dest{-5, -5, 5, 5};
  const RgnHandle region = NewRgn();
  SetRectRgn(region, -4, -4, 3, 2);
  CopyBits(from.bits(), to.bits(), &source, &dest, srcCopy, region);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x) {
      const int sx = x + 1 - 2;
      const int sy = y + 1 - 2;
      const bool inside = sx >= 0 && sy >= 0 && sx < 6 && sy < 6 && x < 7 && y < 6;
      const Bytes old(before.begin() + y * 32 + x * 4, before.begin() + y * 32 + x * 4 + 4);
      ASSERT_EQ(PixelOf(to, x, y, 4), inside ? PixelOf(from, sx, sy, 4) : old) << x << ", " << y;
    }
  }
  SetEmptyRgn(region);
  const Bytes after = to.all();
  CopyBits(from.bits(), to.bits(), &source, &dest, srcCopy, region);
  EXPECT_EQ(to.all(), after);
  DisposeRgn(region);
}

TEST(CopyBits, TheTwoMayBeTheSame) {
  const World world(8, 8, k32ARGBPixelFormat);
  world.Noise(3);
  const Bytes before = world.all();
  const Rect source{0, 0, 6, 6};
  const Rect dest{2, 1, 8, 7};
  CopyBits(world.bits(), world.bits(), &source, &dest, srcCopy, nullptr);
  for (int y = 0; y < 6; ++y) {
    for (int x = 0; x < 6; ++x) {
      const Bytes old(before.begin() + y * 32 + x * 4, before.begin() + y * 32 + x * 4 + 4);
      ASSERT_EQ(PixelOf(world, x + 1, y + 2, 4), old);
    }
  }
}

TEST(CopyBits, ABitmapIsBlackAndWhite) {
  UInt8 bits[4] = {0b10100000, 0, 0b01000000, 0};
  const BitMap map{reinterpret_cast<Ptr>(bits), 2, {0, 0, 2, 3}};
  const World to(3, 2, k8IndexedGrayPixelFormat);
  CopyBits(&map, to.bits(), &map.bounds, &map.bounds, ditherCopy, nullptr);
  EXPECT_EQ(Bytes(to.Row(0), to.Row(0) + 3), (Bytes{0, 255, 0}));
  EXPECT_EQ(Bytes(to.Row(1), to.Row(1) + 3), (Bytes{255, 0, 255}));
  to.Row(0)[1] = 20;
  CopyBits(to.bits(), &map, &map.bounds, &map.bounds, srcCopy, nullptr);
  EXPECT_EQ(bits[0], 0b11100000);
}

TEST(CopyBits, NothingOutsideTheMemoryIsTouched) {
  Bytes memory(2 * 12 + 16, 9);
  PixMap record{};
  record.baseAddr = reinterpret_cast<Ptr>(memory.data());
  record.bounds = {0, 0, 2, 4};
  record.pixelSize = 32;
  QTSetPixMapPtrRowBytes(&record, 12);  // Rows too short for four pixels.
  const World from(4, 2, k32ARGBPixelFormat);
  from.Noise(5);
  const Rect r = from.bounds();
  CopyBits(from.bits(), reinterpret_cast<const BitMap*>(&record), &r, &r, srcCopy, nullptr);
  EXPECT_EQ(Bytes(memory.begin(), memory.begin() + 12), Bytes(from.Row(0), from.Row(0) + 12));
  EXPECT_EQ(Bytes(memory.begin() + 12, memory.begin() + 24), Bytes(from.Row(1), from.Row(1) + 12));
  EXPECT_EQ(Bytes(memory.begin() + 24, memory.end()), Bytes(16, 9));
  record.knownBytes = 20;
  memory.assign(memory.size(), 9);
  CopyBits(from.bits(), reinterpret_cast<const BitMap*>(&record), &r, &r, srcCopy, nullptr);
  EXPECT_EQ(memory[19], from.Row(1)[7]);
  EXPECT_EQ(memory[20], 9);
}

TEST(CopyBits, BadArgumentsCopyNothing) {
  const World from(4, 4, k32ARGBPixelFormat);
  const World to(4, 4, k32ARGBPixelFormat);
  from.Noise(1);
  to.Noise(2);
  const Bytes before = to.all();
  const Rect r = from.bounds();
  const Rect none{2, 2, 2, 4};
  const Rect away{10, 10, 14, 14};
  CopyBits(nullptr, to.bits(), &r, &r, srcCopy, nullptr);
  CopyBits(from.bits(), nullptr, &r, &r, srcCopy, nullptr);
  CopyBits(from.bits(), to.bits(), nullptr, &r, srcCopy, nullptr);
  CopyBits(from.bits(), to.bits(), &r, nullptr, srcCopy, nullptr);
  CopyBits(from.bits(), to.bits(), &none, &r, srcCopy, nullptr);
  CopyBits(from.bits(), to.bits(), &r, &none, srcCopy, nullptr);
  CopyBits(from.bits(), to.bits(), &r, &away, srcCopy, nullptr);
  CopyBits(from.bits(), to.bits(), &away, &r, srcCopy, nullptr);
  CopyBits(from.bits(), to.bits(), &r, &r, 36, nullptr);
  PixMap record = from.record();
  record.pixelFormat = 'what';
  CopyBits(reinterpret_cast<const BitMap*>(&record), to.bits(), &r, &r, srcCopy, nullptr);
  record = from.record();
  record.baseAddr = nullptr;
  CopyBits(reinterpret_cast<const BitMap*>(&record), to.bits(), &r, &r, srcCopy, nullptr);
  EXPECT_EQ(to.all(), before);
  EXPECT_EQ(GetPortBitMapForCopyBits(nullptr), nullptr);
}

}  // namespace
