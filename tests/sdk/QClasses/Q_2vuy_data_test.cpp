#include "sdk/QClasses/Q_2vuy_data.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "platform/CoreServices/MacMemory.h"
#include "sdk/QClasses/QPixMap.h"
#include "sdk/QClasses/Q_2vuy_kernels.h"
#include "tests/sdk/QClasses/Q_2vuy_rows.h"
#include "tests/support/LogCapture.h"

namespace {

using RasterGraphics::LumaCLUT;
using RasterGraphics::LumaMapping;
using test::AnyLineNumbers;
using test::LogCapture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Bytes = std::vector<unsigned char>;

std::string Failure(const std::string& code, const std::string& function) {
  return test::AnyLineNumber(test::VerifyLine(code, "sdk/QClasses/Q_2vuy_data", 1, function));
}

/// A frame over memory of the test's own, filled with noise.
struct Frame {
  Bytes bytes;
  Q_2vuy_data data;

  Frame(SInt16 width, SInt16 height, UInt32 format = '2vuy', int padding = 0, unsigned seed = 1) {
    std::mt19937 engine(seed);
    const int rowBytes = 2 * width + padding;
    bytes.resize(static_cast<std::size_t>(rowBytes * height) + 4);
    for (unsigned char& b : bytes) b = static_cast<unsigned char>(engine());
    data._Width = width;
    data._Height = height;
    data._RowBytes = rowBytes;
    data._PixelFormat = format;
    data._PixelData = bytes.data();
    data._PixelDataSize = static_cast<UInt32>(rowBytes * height);
  }
  unsigned char* row(int y) { return bytes.data() + y * data._RowBytes; }
  Bytes Pixels(int y) { return Bytes(row(y), row(y) + 2 * data._Width); }
};

QImageDescription Describe(UInt32 format, SInt16 width, SInt16 height, SInt32 dataSize) {
  auto handle = reinterpret_cast<ImageDescriptionHandle>(NewHandleClear(sizeof(ImageDescription)));
  (*handle)->idSize = sizeof(ImageDescription);
  (*handle)->cType = format;
  (*handle)->width = width;
  (*handle)->height = height;
  (*handle)->dataSize = dataSize;
  QImageDescription description;
  description.Construct(handle, true);
  return description;  // Elided: the copy of a description is a handle of its own.
}

void Dispose(QImageDescription& description) {
  // A frame's description belongs to nobody; the test gives it back.
  if (!description.OwnsHandle() && description.GetHandle() != nullptr) {
    DisposeHandle(reinterpret_cast<Handle>(description.GetHandle()));
  }
}

// ---- Format

TEST(Q2vuyFormat, Defaults) {
  const Q_2vuy_format format;
  EXPECT_EQ(format._Width, 0);
  EXPECT_EQ(format._Height, 0);
  EXPECT_EQ(format._RowBytes, 0);
  EXPECT_EQ(format._PixelFormat, static_cast<UInt32>('2vuy'));
  const Q_2vuy_data data;
  EXPECT_EQ(data._PixelData, nullptr);
  EXPECT_EQ(data._PixelDataSize, 0u);
  EXPECT_TRUE(data.IsEmpty());
}

TEST(Q2vuyFormat, ValidFormats) {
  EXPECT_TRUE(Q_2vuy_format::IsValidPixelFormat('2vuy'));
  EXPECT_TRUE(Q_2vuy_format::IsValidPixelFormat('yuvs'));
  for (const UInt32 other : {UInt32{32}, UInt32{'yuvu'}, UInt32{'UYVY'}, UInt32{0}}) {
    EXPECT_FALSE(Q_2vuy_format::IsValidPixelFormat(other));
  }
}

TEST(Q2vuyFormat, FromADescription) {
  Q_2vuy_format format;
  {
    const QImageDescription yuvs = Describe('yuvs', 720, 486, 0);
    ASSERT_TRUE(format.Construct(yuvs));
    EXPECT_EQ(format._Width, 720);
    EXPECT_EQ(format._Height, 486);
    EXPECT_EQ(format._RowBytes, 1440);
    EXPECT_EQ(format._PixelFormat, static_cast<UInt32>('yuvs'));
  }
  {
    const QImageDescription padded = Describe('2vuy', 100, 10, 2560);
    ASSERT_TRUE(format.Construct(padded));
    EXPECT_EQ(format._RowBytes, 256) << "from the data size";
  }
  {
    QImageDescription tagged = Describe('2vuy', 100, 10, 2560);
    ASSERT_EQ(tagged.AddImageDescriptionExtension_S32(512, 'rowb'), noErr);
    ASSERT_TRUE(format.Construct(tagged));
    EXPECT_EQ(format._RowBytes, 512) << "from the extension";
  }
  const LogCapture log;
  const QImageDescription argb = Describe(32, 100, 10, 0);
  EXPECT_FALSE(format.Construct(argb));
  EXPECT_EQ(format._Width, 0);
  EXPECT_EQ(format._Height, 0);
  EXPECT_EQ(format._RowBytes, 0);
  EXPECT_EQ(format._PixelFormat, static_cast<UInt32>('2vuy'));
  EXPECT_FALSE(format.Construct(QImageDescription()));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(Q2vuyFormat, CompatibilityIgnoresRowBytesAndItsOwnFormat) {
  Frame a(720, 4);
  Frame b(720, 4, 'yuvs', 64);
  EXPECT_TRUE(a.data.FormatCompatible(b.data));
  EXPECT_TRUE(a.data.CanCopyFormat(b.data));
  a.data._PixelFormat = 'none';
  EXPECT_TRUE(a.data.FormatCompatible(b.data));
  EXPECT_FALSE(b.data.FormatCompatible(a.data)) << "the other's format counts";
  Frame c(718, 4);
  Frame d(720, 5);
  EXPECT_FALSE(b.data.FormatCompatible(c.data));
  EXPECT_FALSE(b.data.FormatCompatible(d.data));
}

TEST(Q2vuyFormat, DescriptionIsTheRecordAndItsThreeExtensions) {
  Frame frame(720, 486, 'yuvs', 32);
  QImageDescription description;
  ASSERT_TRUE(frame.data.GetImageDescription(description));
  ASSERT_FALSE(description.OwnsHandle());
  const auto handle = reinterpret_cast<Handle>(description.GetHandle());
  const auto size = static_cast<std::size_t>(GetHandleSize(handle));
  Bytes got(*handle, *handle + size);

  // The record in native order, then each extension as an atom in file order.
  const auto native16 = [](int v) { return Bytes{UInt8(v), UInt8(v >> 8)}; };
  const auto native32 = [](UInt32 v) {
    return Bytes{UInt8(v), UInt8(v >> 8), UInt8(v >> 16), UInt8(v >> 24)};
  };
  const auto big32 = [](UInt32 v) {
    return Bytes{UInt8(v >> 24), UInt8(v >> 16), UInt8(v >> 8), UInt8(v)};
  };
  Bytes want;
  const auto add = [&want](const Bytes& part) {
    want.insert(want.end(), part.begin(), part.end());
  };
  add(native32(86 + 10 + 40 + 16));  // idSize grows with what is attached
  add(native32('yuvs'));
  add(native32(0));       // resvd1
  add(native16(0));       // resvd2
  add(native16(0));       // dataRefIndex
  add(native16(2));       // version
  add(native16(0));       // revisionLevel
  add(native32('appl'));  // vendor
  add(native32(0));       // temporalQuality
  add(native32(1024));    // spatialQuality
  add(native16(720));
  add(native16(486));
  add(native32(0x00480000));     // hRes
  add(native32(0x00480000));     // vRes
  add(native32(720 * 2 * 486));  // dataSize without the padding
  add(native16(1));              // frameCount
  add(Bytes(32, 0));             // name
  add(native16(24));             // depth
  add(native16(-1));             // clutID
  ASSERT_EQ(want.size(), 86u);
  add(big32(10));
  add(big32('fiel'));
  add({1, 0});
  add(big32(40));
  add(big32('clap'));
  for (const UInt32 n : {720u, 1u, 486u, 1u, 0u, 1u, 0u, 1u}) add(big32(n));
  add(big32(16));
  add(big32('pasp'));
  add(big32(1));
  add(big32(1));
  EXPECT_EQ(got, want);
  Dispose(description);
}

TEST(Q2vuyFormat, EachDescriptionLeavesOneBlockBehind) {
  Frame frame(16, 16);
  const MacMemoryCounters before = MacMemoryGetCounters();
  std::vector<Handle> left;
  for (int i = 0; i < 10; ++i) {
    QImageDescription description;
    ASSERT_TRUE(frame.data.GetImageDescription(description));
    left.push_back(reinterpret_cast<Handle>(description.GetHandle()));
  }
  const MacMemoryCounters after = MacMemoryGetCounters();
  EXPECT_EQ(after.handles - before.handles, 10);
  EXPECT_EQ(after.handleBytes - before.handleBytes, 10 * (86 + 66));
  for (const Handle handle : left) DisposeHandle(handle);
}

TEST(Q2vuyFormat, DebugDumpPrintsTheFieldsAndNotTheLabel) {
  Frame frame(720, 486);
  frame.data._PixelData = nullptr;
  const LogCapture log;
  frame.data.DebugDump("label");
  EXPECT_THAT(log.Lines(), ElementsAre("Q_2vuy_format::DebugDump _Width,_Height(720,486)",
                                       "Q_2vuy_format::DebugDump _RowBytes(1440)",
                                       "Q_2vuy_format::DebugDump _PixelFormat:32767579",
                                       "Q_2vuy_data::DebugDump _PixelData:00000000",
                                       "Q_2vuy_data::DebugDump _PixelDataSize:699840"));
}

// ---- Data

TEST(Q2vuyData, FromADescription) {
  unsigned char pixels[64];
  const QImageDescription good = Describe('2vuy', 4, 8, 0);
  const Q_2vuy_data data(good, pixels, sizeof(pixels));
  EXPECT_TRUE(data.IsConstructed());
  EXPECT_EQ(data._PixelData, pixels);
  EXPECT_EQ(data._PixelDataSize, 64u);

  const LogCapture log;
  const QImageDescription bad = Describe(32, 4, 8, 0);
  const Q_2vuy_data empty(bad, pixels, sizeof(pixels));
  EXPECT_TRUE(empty.IsEmpty());
  EXPECT_EQ(empty._PixelData, nullptr);
  EXPECT_EQ(empty._PixelDataSize, 0u);
  EXPECT_THAT(AnyLineNumbers(log.Lines()),
              ElementsAre(Failure("Construct(inImageDescription)", "Q_2vuy_data")));
}

TEST(Q2vuyData, IsConstructedNeedsAllFiveFields) {
  Frame frame(4, 4);
  EXPECT_TRUE(frame.data.IsConstructed());
  for (int field = 0; field < 5; ++field) {
    Q_2vuy_data data(frame.data);
    if (field == 0) data._Width = 0;
    if (field == 1) data._Height = 0;
    if (field == 2) data._RowBytes = 0;
    if (field == 3) data._PixelData = nullptr;
    if (field == 4) data._PixelDataSize = 0;
    EXPECT_TRUE(data.IsEmpty()) << field;
  }
}

TEST(Q2vuyData, SetFormatAndAssignmentKeepTheirOwnPixelFormat) {
  Frame yuvs(6, 4, 'yuvs');
  Q_2vuy_data data;
  EXPECT_TRUE(data.SetFormat(yuvs.data));
  EXPECT_EQ(data._Width, 6);
  EXPECT_EQ(data._Height, 4);
  EXPECT_EQ(data._RowBytes, 12);
  EXPECT_EQ(data._PixelFormat, static_cast<UInt32>('2vuy'));
  EXPECT_EQ(data._PixelData, nullptr);
  EXPECT_FALSE(data.SetFormat(Q_2vuy_format()));

  Q_2vuy_data assigned;
  assigned = yuvs.data;
  EXPECT_EQ(assigned._PixelData, yuvs.data._PixelData);
  EXPECT_EQ(assigned._PixelDataSize, yuvs.data._PixelDataSize);
  EXPECT_EQ(assigned._RowBytes, 12);
  EXPECT_EQ(assigned._PixelFormat, static_cast<UInt32>('2vuy'));
}

TEST(Q2vuyData, SubImages) {
  Frame frame(100, 50, 'yuvs', 8);
  Q_2vuy_data part;
  ASSERT_TRUE(frame.data.ConstructSubImage(part, QRect(10, 4, 20, 24)));
  EXPECT_EQ(part._Width, 20);
  EXPECT_EQ(part._Height, 10);
  EXPECT_EQ(part._RowBytes, 208);
  EXPECT_EQ(part._PixelData, frame.data._PixelData + 10 * 208 + 8);
  EXPECT_EQ(part._PixelDataSize, 10u * 208);
  EXPECT_EQ(part._PixelFormat, static_cast<UInt32>('2vuy')) << "whatever the parent";

  EXPECT_FALSE(frame.data.ConstructSubImage(part, QRect(10, 3, 20, 24)));
  EXPECT_TRUE(part.IsEmpty());
  EXPECT_EQ(part._Width, 0);
  EXPECT_EQ(part._PixelData, nullptr);
  EXPECT_FALSE(frame.data.ConstructSubImage(part, QRect(10, -3, 20, 24)));
  EXPECT_FALSE(Q_2vuy_data().ConstructSubImage(part, QRect(0, 0, 2, 2)));
}

TEST(Q2vuyData, ConstructGWorldAliasesThePixels) {
  Frame frame(8, 4);
  QGWorld world;
  ASSERT_TRUE(frame.data.ConstructGWorld(world));
  EXPECT_EQ(world.GetPixelFormat(), static_cast<UInt32>('2vuy'));
  EXPECT_EQ(world.SizePixels(), QSize(8, 4));
  EXPECT_EQ(QPixMap_GetStartOfScanLine(world.GetPixMap(), 1), frame.row(1));
  const LogCapture log;
  QGWorld none;
  EXPECT_FALSE(Q_2vuy_data().ConstructGWorld(none));
  ASSERT_FALSE(log.Lines().empty());
  EXPECT_EQ(
      test::AnyLineNumber(log.Lines().back()),
      Failure("fOk=outWorld.ConstructAlias((Ptr)_PixelData, imageDescription)", "ConstructGWorld"));
}

TEST(Q2vuyData, FillsUnitsWithLowBytes) {
  Frame frame(6, 3, '2vuy', 4);
  const Bytes before = frame.bytes;
  frame.data.CopyPixelsFromColor(0x1EB, 0x280, 0x305);
  for (int y = 0; y < 3; ++y) {
    for (int unit = 0; unit < 3; ++unit) {
      const unsigned char* p = frame.row(y) + 4 * unit;
      EXPECT_THAT(Bytes(p, p + 4), ElementsAre(0x80, 0xEB, 0x05, 0xEB));
    }
    for (int pad = 12; pad < 16; ++pad) {
      EXPECT_EQ(frame.row(y)[pad], before[static_cast<std::size_t>(16 * y + pad)]);
    }
  }
}

TEST(Q2vuyBuffer, AllocatesFilledFramesOnce) {
  Q_2vuy_format format;
  format._Width = 6;
  format._Height = 4;
  format._RowBytes = 12;
  format._PixelFormat = 'yuvs';
  Q_2vuy_buffer buffer;
  ASSERT_TRUE(buffer.AllocateBuffer(format));
  EXPECT_TRUE(buffer.IsConstructed());
  EXPECT_EQ(buffer._PixelDataSize, 48u);
  EXPECT_EQ(buffer._PixelFormat, static_cast<UInt32>('2vuy')) << "the format is not copied";
  for (UInt32 i = 0; i < 48; ++i) EXPECT_EQ(buffer._PixelData[i], i % 2 == 0 ? 128 : 0) << i;

  const LogCapture log;
  EXPECT_FALSE(buffer.AllocateBuffer(format));
  Q_2vuy_buffer none;
  EXPECT_FALSE(none.AllocateBuffer(Q_2vuy_format()));
  format._Height = -4;
  EXPECT_FALSE(none.AllocateBuffer(format));
  EXPECT_TRUE(none.IsEmpty());
  EXPECT_THAT(AnyLineNumbers(log.Lines()),
              ElementsAre(Failure("IsEmpty()", "AllocateBuffer"),
                          Failure("in_rhs.FrameSizeBytes()", "AllocateBuffer"),
                          Failure("_PixelData = (pixel_ptr_t)std::malloc(_PixelDataSize)",
                                  "AllocateBuffer")));
}

TEST(Q2vuyBuffer, FreeLeavesTheFields) {
  Q_2vuy_format format;
  format._Width = 2;
  format._Height = 2;
  format._RowBytes = 4;
  Q_2vuy_data data;
  EXPECT_FALSE(data.FreeBuffer());
  ASSERT_TRUE(data.AllocateBuffer(format));
  EXPECT_TRUE(data.FreeBuffer());
  EXPECT_TRUE(data.IsConstructed());
  data._PixelData = nullptr;
}

TEST(Q2vuyBuffer, OddWidthsStayInsideTheBlock) {
  // The address sanitizer watches the bytes behind the last row.
  Q_2vuy_format format;
  format._Width = 5;
  format._Height = 3;
  format._RowBytes = 10;
  Q_2vuy_buffer to;
  Q_2vuy_buffer from;
  ASSERT_TRUE(to.AllocateBuffer(format));
  ASSERT_TRUE(from.AllocateBuffer(format));
  from.CopyPixelsFromColor(50, 60, 70);
  to.CopyPixelsFrom(from, LumaCLUT());
  EXPECT_EQ(to._PixelData[0], 60);
  EXPECT_EQ(to._PixelData[29], 50);
}

// ---- Other rasters

struct Context : CoreGraphics::BitmapContext {
  Context(int width, int height, BitmapType type = BitmapType_Device_ARGB) {
    EXPECT_TRUE(Construct(width, height, type, 0));
    std::memset(GetImageDataBytes(), 0, GetImageDataSize());
  }
  ~Context() override {
    CGContextRelease(mContextRef);  // One of two references; Destruct gives back the other.
  }
};

TEST(Q2vuyData, ToABitmapContextKeepsTheOrderOfRowsInMemory) {
  for (const SInt16 width : {2, 5, 6, 33}) {
    Frame frame(width, 7, '2vuy', 12);
    Context context(width, 7);
    ASSERT_TRUE(frame.data.CopyPixelsTo(context));
    Bytes want(static_cast<std::size_t>(4 * width + 4));
    for (int y = 0; y < 7; ++y) {
      test::rows::to_ARGB(Q_2vuy::kScalarRowKernels, frame.row(y), want.data(), width);
      const unsigned char* got = context.QDGetStartOfScanline(y);
      EXPECT_EQ(got, context.CGGetStartOfScanline(static_cast<float>(6 - y)));
      EXPECT_EQ(Bytes(got, got + 4 * width), Bytes(want.begin(), want.begin() + 4 * width))
          << width << " row " << y;
    }
  }
}

TEST(Q2vuyData, FromABitmapContext) {
  Context context(6, 5);
  std::mt19937 engine(5);
  for (UInt32 i = 0; i < context.GetImageDataSize(); ++i) {
    context.GetImageDataBytes()[i] = static_cast<unsigned char>(engine());
  }
  for (const bool composite : {false, true}) {
    Frame frame(6, 5, '2vuy', 4);
    Frame want = frame;
    frame.data.CopyPixelsFrom(context, composite);
    for (int y = 0; y < 5; ++y) {
      const unsigned char* src = context.QDGetStartOfScanline(y);
      if (composite) {
        test::rows::over_ARGB(Q_2vuy::kScalarRowKernels, src, want.row(y), 6, 1.0f);
      } else {
        test::rows::from_ARGB(Q_2vuy::kScalarRowKernels, src, want.row(y), 6);
      }
    }
    EXPECT_EQ(frame.bytes, want.bytes) << composite;
  }
}

TEST(Q2vuyData, FromAWorld) {
  QGWorld world;
  ASSERT_TRUE(world.Construct(QSize(6, 5), k32ARGBPixelFormat));
  std::mt19937 engine(6);
  for (int y = 0; y < 5; ++y) {
    unsigned char* row = QPixMap_GetStartOfScanLine(world.GetPixMap(), y);
    for (int i = 0; i < 24; ++i) row[i] = static_cast<unsigned char>(engine());
  }
  for (const bool composite : {false, true}) {
    Frame frame(6, 5);
    Frame want = frame;
    frame.data.CopyPixelsFrom(world, composite);
    for (int y = 0; y < 5; ++y) {
      const unsigned char* src = QPixMap_GetStartOfScanLine(world.GetPixMap(), y);
      if (composite) {
        test::rows::over_ARGB(Q_2vuy::kScalarRowKernels, src, want.row(y), 6, 1.0f);
      } else {
        test::rows::from_ARGB(Q_2vuy::kScalarRowKernels, src, want.row(y), 6);
      }
    }
    EXPECT_EQ(frame.bytes, want.bytes) << composite;
  }
}

TEST(Q2vuyData, RefusesRastersThatDoNotFit) {
  Frame frame(6, 5);
  const Bytes before = frame.bytes;
  CoreGraphics::BitmapContext none;
  Context wide(8, 5);
  Context tall(6, 6);
  Context grey(6, 5, CoreGraphics::BitmapContext::BitmapType_Device_Grey);
  const LogCapture log;
  EXPECT_FALSE(frame.data.CanCopyFormat(none));
  EXPECT_FALSE(frame.data.CanCopyFormat(wide));
  EXPECT_FALSE(frame.data.CanCopyFormat(tall));
  EXPECT_FALSE(frame.data.CanCopyFormat(grey));
  EXPECT_THAT(AnyLineNumbers(log.Lines()),
              ElementsAre(Failure("in_rhs.IsConstructed()", "CanCopyFormat"),
                          Failure("sizePixels.h==_Width", "CanCopyFormat"),
                          Failure("sizePixels.v==_Height", "CanCopyFormat"),
                          Failure("fOk = "
                                  "(CoreGraphics::BitmapContext::BitmapType_Device_ARGB==in_rhs."
                                  "GetImageType())",
                                  "CanCopyFormat")));
  LogCapture again;
  EXPECT_FALSE(frame.data.CopyPixelsTo(wide));
  EXPECT_THAT(AnyLineNumbers(again.Lines()),
              ElementsAre(Failure("sizePixels.h==_Width", "CanCopyFormat")));
  again.Clear();
  frame.data.CopyPixelsFrom(wide, false);
  EXPECT_THAT(AnyLineNumbers(again.Lines()),
              ElementsAre(Failure("sizePixels.h==_Width", "CanCopyFormat"),
                          Failure("CanCopyFormat(in_source)", "CopyPixelsFrom")));

  QGWorld noWorld;
  QGWorld wideWorld;
  QGWorld tallWorld;
  QGWorld greyWorld;
  ASSERT_TRUE(wideWorld.Construct(QSize(8, 5), k32ARGBPixelFormat));
  ASSERT_TRUE(tallWorld.Construct(QSize(6, 6), k32ARGBPixelFormat));
  ASSERT_TRUE(greyWorld.Construct(QSize(6, 5), 40));
  again.Clear();
  EXPECT_FALSE(frame.data.CanCopyFormat(noWorld));
  EXPECT_FALSE(frame.data.CanCopyFormat(wideWorld));
  EXPECT_FALSE(frame.data.CanCopyFormat(tallWorld));
  EXPECT_FALSE(frame.data.CanCopyFormat(greyWorld));
  EXPECT_THAT(
      AnyLineNumbers(again.Lines()),
      ElementsAre(Failure("in_rhs.IsConstructed()", "CanCopyFormat"),
                  Failure("sizePixels.cx()==_Width", "CanCopyFormat"),
                  Failure("sizePixels.cy()==_Height", "CanCopyFormat"),
                  Failure("fOk = (k32ARGBPixelFormat==in_rhs.GetPixelFormat())", "CanCopyFormat")));
  again.Clear();
  frame.data.CopyPixelsFrom(wideWorld, true);
  EXPECT_THAT(AnyLineNumbers(again.Lines()),
              ElementsAre(Failure("sizePixels.cx()==_Width", "CanCopyFormat"),
                          Failure("CanCopyFormat(in_source)", "CopyPixelsFrom")));
  EXPECT_EQ(frame.bytes, before);
}

// ---- Frames from frames

TEST(Q2vuyCopy, SameFormatCopiesTheVisibleBytes) {
  for (const UInt32 format : {UInt32{'2vuy'}, UInt32{'yuvs'}}) {
    Frame to(6, 4, format, 8, 1);
    Frame from(6, 4, format, 2, 2);
    const Bytes before = to.bytes;
    to.data.CopyPixelsFrom(from.data);
    for (int y = 0; y < 4; ++y) {
      EXPECT_EQ(to.Pixels(y), from.Pixels(y));
      for (int pad = 12; pad < 20; ++pad) {
        EXPECT_EQ(to.row(y)[pad], before[static_cast<std::size_t>(20 * y + pad)]);
      }
    }
  }
}

TEST(Q2vuyCopy, EverySwizzleIsItsRow) {
  Frame source(64, 4, '2vuy', 0, 9);
  LumaCLUT clut;
  for (int i = 0; i < 256; ++i) clut[i] = static_cast<UInt16>(0x300 + 255 - i);
  for (const UInt32 format : {UInt32{'2vuy'}, UInt32{'yuvs'}}) {
    source.data._PixelFormat = format;
    const int luma = format == 'yuvs' ? 0 : 1;
    for (const bool mapped : {false, true}) {
      Frame to(64, 4, format == 'yuvs' ? '2vuy' : 'yuvs', 0, 10);
      if (mapped) {
        to.data.CopyPixelsFrom(source.data, clut);
      } else {
        to.data.CopyPixelsFrom(source.data);
      }
      for (int y = 0; y < 4; ++y) {
        for (int unit = 0; unit < 32; ++unit) {
          const unsigned char* s = source.row(y) + 4 * unit;
          const unsigned char* d = to.row(y) + 4 * unit;
          const auto level = [&](unsigned char v) { return mapped ? 255 - v : v; };
          // Always Cb, Y0, Cr, Y1, even where this frame calls itself 'yuvs'.
          EXPECT_EQ(d[0], s[1 - luma]);
          EXPECT_EQ(d[1], level(s[luma]));
          EXPECT_EQ(d[2], s[3 - luma]);
          EXPECT_EQ(d[3], level(s[luma + 2]));
        }
      }
    }
  }
}

TEST(Q2vuyCopy, PreconditionsLogAndChangeNothing) {
  Frame frame(6, 4);
  Frame other(8, 4);
  Frame fits(6, 4);
  const Bytes before = frame.bytes;
  LumaMapping mapping;
  CoreGraphics::MaskContext mask;
  const LogCapture log;
  frame.data.CopyPixelsFrom(other.data);
  frame.data.CopyPixelsFrom(other.data, LumaCLUT());
  frame.data.CopyPixelsFrom(other.data, LumaCLUT(), mapping);
  frame.data.CopyPixelsFrom(other.data, fits.data, 0.5f);
  frame.data.CopyPixelsFrom(fits.data, other.data, 0.5f);
  frame.data.WipePixelsFrom(other.data, fits.data, mask, 0.5f);
  frame.data.WipePixelsFrom(fits.data, other.data, mask, 0.5f);
  frame.data.WipePixelsFrom(other.data, fits.data, 0.5f);
  frame.data.WipePixelsFrom(fits.data, other.data, 0.5f);
  EXPECT_THAT(AnyLineNumbers(log.Lines()),
              ElementsAre(Failure("CanCopyFormat(in_source)", "CopyPixelsFrom"),
                          Failure("FormatCompatible(in_source)", "CopyPixelsFrom"),
                          Failure("FormatCompatible(in_source)", "CopyPixelsFrom"),
                          Failure("FormatCompatible(in_sourceA)", "CopyPixelsFrom"),
                          Failure("FormatCompatible(in_sourceB)", "CopyPixelsFrom"),
                          Failure("FormatCompatible(in_sourceA)", "WipePixelsFrom"),
                          Failure("FormatCompatible(in_sourceB)", "WipePixelsFrom"),
                          Failure("FormatCompatible(in_sourceA)", "WipePixelsFrom"),
                          Failure("FormatCompatible(in_sourceB)", "WipePixelsFrom")));
  EXPECT_EQ(frame.bytes, before);
}

TEST(Q2vuyEqualise, AllBlackMapsEverythingAboveTheFirstBinToTheTop) {
  Frame to(720, 2);
  Frame from(720, 2);
  from.data.CopyPixelsFromColor(16, 128, 128);
  LumaMapping mapping;
  to.data.CopyPixelsFrom(from.data, LumaCLUT(), mapping);
  EXPECT_EQ(mapping.Total(), 1440u);
  EXPECT_EQ(mapping[0], 0u);
  for (int bin = 1; bin <= 240; ++bin) EXPECT_EQ(mapping[bin], 240u) << bin;
}

TEST(Q2vuyEqualise, LagsOneFrameOverSeveralFrames) {
  // A second histogram in double precision: the bins are whole counts, so both agree but for the
  // last place, and the mapped levels are compared within one.
  LumaMapping mapping;
  std::vector<double> previous;  // the mapping the next frame must be drawn with
  for (unsigned frame = 0; frame < 5; ++frame) {
    Frame from(64, 16, frame % 2 == 0 ? '2vuy' : 'yuvs', 0, 70 + frame);
    for (std::size_t i = 0; i < from.bytes.size(); ++i) {
      from.bytes[i] = static_cast<unsigned char>(16 + from.bytes[i] % (40 + 30 * frame));
    }
    Frame to(64, 16);
    const LumaMapping before = mapping;
    to.data.CopyPixelsFrom(from.data, LumaCLUT(), mapping);
    const int luma = frame % 2 == 0 ? 1 : 0;
    std::vector<int> counts(241);
    for (int y = 0; y < 16; ++y) {
      for (int x = 0; x < 64; ++x) {
        const unsigned char level = from.row(y)[2 * x + luma];
        const int bin = std::clamp(level - 15, 0, 240);
        ++counts[static_cast<std::size_t>(bin)];
        const UInt32 want = std::min<UInt32>(before[bin] + 15, 255);
        ASSERT_EQ(to.row(y)[2 * x + 1], want) << "frame " << frame;
        ASSERT_EQ(to.row(y)[2 * x], from.row(y)[2 * x + 1 - luma]);
      }
    }
    EXPECT_EQ(mapping.Total(), 1024u);
    double cumulated = 0;
    for (int bin = 0; bin <= 240; ++bin) {
      cumulated += counts[static_cast<std::size_t>(bin)] / 1024.0;
      // Counts over 1024 are exact in single precision, and so is every sum of them.
      const auto exact =
          static_cast<UInt32>(static_cast<double>(static_cast<float>(cumulated) * 240.0f) + 0.5);
      ASSERT_EQ(mapping[bin], exact) << "frame " << frame << " bin " << bin;
    }
  }
}

TEST(Q2vuyEqualise, NoPixelsLeaveTheMappingAlone) {
  LumaMapping mapping;
  mapping[3] = 77;
  mapping.Total() = 5;
  Q_2vuy_data to;
  const Q_2vuy_data from;
  to.CopyPixelsFrom(from, LumaCLUT(), mapping);
  EXPECT_EQ(mapping[3], 77u);
  EXPECT_EQ(mapping.Total(), 5u);
}

TEST(Q2vuyEqualise, MappingsBeyondTheTableAreItsLastEntry) {
  Frame to(4, 1);
  Frame from(4, 1);
  from.data.CopyPixelsFromColor(100, 1, 2);
  LumaMapping mapping;
  mapping[85] = 0xFFFFFFFF;
  LumaCLUT clut;
  clut[255] = 0x142;
  to.data.CopyPixelsFrom(from.data, clut, mapping);
  EXPECT_THAT(to.Pixels(0), ElementsAre(1, 0x42, 2, 0x42, 1, 0x42, 2, 0x42));
}

TEST(Q2vuyBlend, FadesAndLimitsItsWeight) {
  Frame a(34, 3, '2vuy', 6, 1);
  Frame b(34, 3, 'yuvs', 2, 2);
  for (const float t : {-1.0f, 0.0f, 0.3f, 1.0f, 7.0f}) {
    Frame to(34, 3, '2vuy', 0, 3);
    to.data.CopyPixelsFrom(a.data, b.data, t);
    const float limited = t < 0 ? 0 : t > 1 ? 1 : t;
    for (int y = 0; y < 3; ++y) {
      Bytes want(68);
      test::rows::blend(Q_2vuy::kScalarRowKernels, want.data(), a.row(y), b.row(y), 34, limited);
      EXPECT_EQ(to.Pixels(y), want) << t;
      if (limited == 0) {
        EXPECT_EQ(to.Pixels(y), a.Pixels(y));
      }
      if (limited == 1) {
        EXPECT_EQ(to.Pixels(y), b.Pixels(y));
      }
    }
  }
}

struct Mask : CoreGraphics::MaskContext {
  Mask(int width, int height) { EXPECT_TRUE(Construct(width, height)); }
  ~Mask() override { CGContextRelease(mContextRef); }
};

TEST(Q2vuyWipe, ByMaskUsesItsRowsFromTheTop) {
  Frame a(8, 4, '2vuy', 0, 1);
  Frame b(8, 4, '2vuy', 0, 2);
  Mask mask(8, 4);
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 8; ++x) {
      mask.QDGetStartOfScanline(y)[x] = static_cast<unsigned char>(32 * x + 8 * y);
    }
  }
  for (const float t : {-2.0f, 0.0f, 0.4f, 0.8f, 3.0f}) {
    Frame to(8, 4, '2vuy', 0, 3);
    to.data.WipePixelsFrom(a.data, b.data, mask, t);
    const float limited = t < 0 ? 0 : t > 1 ? 1 : t;
    for (int y = 0; y < 4; ++y) {
      Bytes want(16);
      test::rows::blendMasked(Q_2vuy::kScalarRowKernels, want.data(), a.row(y), b.row(y), 8,
                              limited, mask.QDGetStartOfScanline(y));
      EXPECT_EQ(to.Pixels(y), want) << t;
    }
  }
}

TEST(Q2vuyWipe, ASmallMaskWipesOnlyWhereItIs) {
  Frame a(8, 4, '2vuy', 0, 1);
  Frame b(8, 4, '2vuy', 0, 2);
  Frame to(8, 4, '2vuy', 0, 3);
  const Bytes before = to.bytes;
  Mask mask(8, 2);
  to.data.WipePixelsFrom(a.data, b.data, mask, 1.0f);
  EXPECT_EQ(to.Pixels(1), b.Pixels(1));
  EXPECT_EQ(Bytes(to.row(2), to.row(2) + 32), Bytes(before.begin() + 32, before.begin() + 64));
  CoreGraphics::MaskContext none;
  to.bytes = before;
  to.data.WipePixelsFrom(a.data, b.data, none, 1.0f);
  EXPECT_EQ(to.bytes, before);
}

TEST(Q2vuyWipe, ByPosition) {
  Frame a(720, 3, '2vuy', 0, 1);
  Frame b(720, 3, '2vuy', 0, 2);
  const struct {
    float position;
    int split;
  } cases[] = {{-1.0f, 0},  {0.0f, 0},    {0.002f, 0},       {0.003f, 2},
               {0.5f, 360}, {0.99f, 712}, {0.996f, 716},     {0.999f, 720},
               {1.0f, 720}, {9.0f, 720},  {std::nanf(""), 0}};
  for (const auto& c : cases) {
    Frame to(720, 3, '2vuy', 0, 3);
    to.data.WipePixelsFrom(a.data, b.data, c.position);
    for (int y = 0; y < 3; ++y) {
      Bytes want = b.Pixels(y);
      const Bytes right = a.Pixels(y);
      std::copy(right.begin() + 2 * c.split, right.end(), want.begin() + 2 * c.split);
      ASSERT_EQ(to.Pixels(y), want) << c.position;
    }
  }
}

TEST(Q2vuyWipe, ByRectangles) {
  Frame a(16, 8, '2vuy', 0, 1);
  Frame b(16, 8, '2vuy', 4, 2);
  Frame to(16, 8, '2vuy', 8, 3);
  Frame want = to;
  EXPECT_TRUE(to.data.WipePixelsFrom(a.data, QRect(0, 0, 4, 8), b.data, QRect(2, 4, 8, 12)));
  for (int y = 0; y < 4; ++y) std::memcpy(want.row(y), a.row(y), 16);
  for (int y = 2; y < 8; ++y) std::memcpy(want.row(y) + 8, b.row(y) + 8, 16);
  EXPECT_EQ(to.bytes, want.bytes);

  // An odd side fails for its own part; the other is copied.
  to = Frame(16, 8, '2vuy', 8, 3);
  want = Frame(16, 8, '2vuy', 8, 3);
  to.data._PixelData = to.bytes.data();
  EXPECT_FALSE(to.data.WipePixelsFrom(a.data, QRect(0, 1, 4, 8), b.data, QRect(2, 4, 8, 12)));
  for (int y = 2; y < 8; ++y) std::memcpy(want.row(y) + 8, b.row(y) + 8, 16);
  EXPECT_EQ(to.bytes, want.bytes);
  EXPECT_FALSE(to.data.WipePixelsFrom(a.data, QRect(0, 0, 4, 8), b.data, QRect(2, 3, 8, 12)));
  EXPECT_FALSE(to.data.WipePixelsFrom(Q_2vuy_data(), QRect(0, 0, 4, 8), b.data, QRect(0, 0, 2, 2)));
}

TEST(Q2vuyWipe, RectanglesBeyondTheFramesAreCut) {
  Frame a(16, 8, '2vuy', 0, 1);
  Frame to(16, 8, '2vuy', 0, 3);
  Frame want = to;
  EXPECT_TRUE(to.data.WipePixelsFrom(a.data, QRect(-4, -6, 2, 4), a.data, QRect(6, 12, 90, 90)));
  for (int y = 0; y < 2; ++y) std::memcpy(want.row(y), a.row(y), 8);
  for (int y = 6; y < 8; ++y) std::memcpy(want.row(y) + 24, a.row(y) + 24, 8);
  EXPECT_EQ(to.bytes, want.bytes);
  EXPECT_TRUE(to.data.WipePixelsFrom(a.data, QRect(20, 20, 40, 40), a.data, QRect(5, 8, 2, 4)));
  EXPECT_EQ(to.bytes, want.bytes);
}

TEST(Q2vuyData, DataShorterThanTheFrameSaysAreNotOverrun) {
  // Exactly so many bytes on the heap: the address sanitizer watches their end.
  Frame whole(8, 4, '2vuy', 0, 1);
  for (UInt32 size = 0; size <= 64; ++size) {
    const Bytes part(whole.bytes.begin(), whole.bytes.begin() + size);
    Q_2vuy_data from(whole.data);
    from._PixelData = const_cast<unsigned char*>(part.data());
    from._PixelDataSize = size;
    Frame to(8, 4, '2vuy', 0, 2);
    const Bytes before = to.bytes;
    to.data.CopyPixelsFrom(from);
    to.data.CopyPixelsFrom(from, from, 0.0f);
    to.data.WipePixelsFrom(from, QRect(0, 0, 4, 4), from, QRect(0, 4, 4, 8));
    Context context(8, 4);
    EXPECT_TRUE(from.CopyPixelsTo(context));
    for (UInt32 i = 0; i < 64; ++i) {
      // Whole units of each row that is reached; the sub-image's rows end where the data do.
      const unsigned char want = i < size / 4 * 4 ? whole.bytes[i] : before[i];
      ASSERT_EQ(to.bytes[i], want) << "size " << size << " byte " << i;
    }
  }
}

}  // namespace
