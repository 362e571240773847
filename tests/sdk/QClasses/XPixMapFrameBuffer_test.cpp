#include "sdk/QClasses/XPixMapFrameBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "platform/CoreServices/MacMemory.h"
#include "sdk/CoreX/XFrameOperations.h"
#include "sdk/QClasses/QPixMap.h"
#include "tests/sdk/QClasses/PixMapInMemory.h"
#include "tests/support/LogCapture.h"

namespace {

using test::PixMapInMemory;
using Lines = std::vector<std::string>;

constexpr Fixed kGamma22 = 0x00023333;
constexpr Fixed kGamma18 = 0x0001CCCD;

class Worlds : public testing::Test {
 protected:
  void TearDown() override {
    EXPECT_EQ(GWorldGetCounters().worlds, worlds_.worlds);
    EXPECT_EQ(GWorldGetCounters().ownedPixelBytes, worlds_.ownedPixelBytes);
  }
  Lines Logged() const { return test::AnyLineNumbers(log_.Lines()); }
  static std::string Line(const std::string& code, const std::string& function) {
    return test::AnyLineNumber(
        test::VerifyLine(code, "sdk/QClasses/XPixMapFrameBuffer", 1, function));
  }
  static void ExpectEmpty(const MacPixMapFrameBuffer& frame) {
    EXPECT_EQ(frame.PixelType, XFrame_Pel_Unknown);
    EXPECT_EQ(frame.PelBytes, 0);
    EXPECT_EQ(frame.Fields, 0u);
    EXPECT_EQ(frame.Pixels, nullptr);
    EXPECT_EQ(frame.Width, 0);
    EXPECT_EQ(frame.Height, 0);
    EXPECT_EQ(frame.GetPixMap(), nullptr);
  }
  test::LogCapture log_;

 private:
  GWorldCounters worlds_ = GWorldGetCounters();
};

TEST_F(Worlds, FormatsAndGammaFollowThePixelType) {
  EXPECT_EQ(QuickTimeFourCharCodeFromPelFormat(XFrame_Pel_r408), UInt32{'r408'});
  EXPECT_EQ(QuickTimeFourCharCodeFromPelFormat(XFrame_Pel_v408), UInt32{'v408'});
  for (const auto other : {XFrame_Pel_ARGB, XFrame_Pel_VideoRGB, XFrame_Pel_Unknown}) {
    EXPECT_EQ(QuickTimeFourCharCodeFromPelFormat(other), 32u);
  }
  EXPECT_EQ(GammaFromPelFormat(XFrame_Pel_VideoRGB), kGamma22);
  EXPECT_EQ(GammaFromPelFormat(XFrame_Pel_v408), kGamma22);
  EXPECT_EQ(GammaFromPelFormat(XFrame_Pel_r408), kGamma22);
  EXPECT_EQ(GammaFromPelFormat(XFrame_Pel_ARGB), kGamma18);
  EXPECT_EQ(GammaFromPelFormat(XFrame_Pel_Unknown), kGamma18);
  SetRequestedGammaLevel(nullptr, XFrame_Pel_ARGB);
}

TEST_F(Worlds, AViewDescribesThePixelMap) {
  PixMapInMemory map(5, 3, 1, 12);
  map.record().bounds = {10, 20, 13, 25};
  MacPixMapFrameBuffer frame;
  ExpectEmpty(frame);
  EXPECT_TRUE(frame.Construct(map.handle()));
  EXPECT_EQ(frame.PixelType, XFrame_Pel_ARGB) << "by the pixel size";
  EXPECT_EQ(frame.PelBytes, 4);
  EXPECT_EQ(frame.Pixels, map.Row(0));
  EXPECT_EQ(frame.Width, 5);
  EXPECT_EQ(frame.Height, 3);
  EXPECT_EQ(frame.RowBytes, 32);
  EXPECT_EQ(frame.Fields, 0u);
  EXPECT_EQ(frame.GetPixMap(), map.handle());
  EXPECT_EQ(map.record().requestedGammaLevel, kGamma18);
  Rect bounds;
  EXPECT_TRUE(frame.GetPixMapBounds(bounds));
  EXPECT_EQ(QRect(bounds), QRect(10, 20, 13, 25));
  EXPECT_EQ(Logged(), Lines{});

  for (const auto& [format, type] : {std::pair<OSType, XFrame_Pel_Format>{'r408', XFrame_Pel_r408},
                                     {'v408', XFrame_Pel_v408},
                                     {'2vuy', XFrame_Pel_ARGB}}) {
    map.record().pixelFormat = format;
    const MacPixMapFrameBuffer other(map.handle());
    EXPECT_EQ(other.PixelType, type);
    EXPECT_EQ(other.PelBytes, 4);
    EXPECT_EQ(map.record().requestedGammaLevel, type == XFrame_Pel_ARGB ? kGamma18 : kGamma22);
  }
  EXPECT_TRUE(map.Unchanged());
}

TEST_F(Worlds, AViewLocksItsHandle) {
  const PixMapHandle pm = NewPixMap();
  char pixels[64] = {};
  (*pm)->baseAddr = pixels;
  (*pm)->bounds = {0, 0, 2, 2};
  QTSetPixMapHandleRowBytes(pm, 16);
  EXPECT_EQ(HGetState(reinterpret_cast<Handle>(pm)) & 0x80, 0);
  { const MacPixMapFrameBuffer frame(pm); }
  EXPECT_NE(HGetState(reinterpret_cast<Handle>(pm)) & 0x80, 0);
  DisposePixMap(pm);
}

TEST_F(Worlds, AViewNeedsAHandleAndPixels) {
  PixMapInMemory map(5, 3, 1);
  MacPixMapFrameBuffer frame(map.handle());
  EXPECT_FALSE(frame.Construct(nullptr));
  ExpectEmpty(frame);
  map.record().baseAddr = nullptr;
  map.record().requestedGammaLevel = 0;
  EXPECT_FALSE(frame.Construct(map.handle()));
  EXPECT_EQ(map.record().requestedGammaLevel, kGamma18) << "all the same";
  ExpectEmpty(frame);
  Rect bounds{1, 2, 3, 4};
  EXPECT_FALSE(frame.GetPixMapBounds(bounds));
  EXPECT_EQ(QRect(bounds), QRect());
  EXPECT_EQ(Logged(), (Lines{Line("hPixMap", "Construct"),
                             Line("Pixels = (XFramePixels)GetPixBaseAddr(hPixMap)", "Construct"),
                             Line("mPixMap", "GetPixMapBounds")}));
}

TEST_F(Worlds, AViewWithoutRowsIsLoggedButMade) {
  PixMapInMemory map(5, 3, 1);
  map.record().bounds = {4, 4, 4, 4};
  QTSetPixMapPtrRowBytes(&map.record(), 0);
  MacPixMapFrameBuffer frame;
  EXPECT_TRUE(frame.Construct(map.handle()));
  EXPECT_EQ(Logged(), (Lines{Line("Width =QPixMap_Width(hPixMap)", "Construct"),
                             Line("Height = QPixMap_Height(hPixMap)", "Construct"),
                             Line("RowBytes = QPixMap_GetRowBytes(hPixMap)", "Construct")}));
}

TEST_F(Worlds, AWorldIsMadeErasedAndDescribed) {
  for (const auto& [type, back] :
       {std::pair<XFrame_Pel_Format, XFrame_Pel_Format>{XFrame_Pel_ARGB, XFrame_Pel_ARGB},
        {XFrame_Pel_VideoRGB, XFrame_Pel_ARGB},
        {XFrame_Pel_r408, XFrame_Pel_r408},
        {XFrame_Pel_v408, XFrame_Pel_v408}}) {
    MacPixMapFrameWorld world;
    EXPECT_TRUE(world.IsEmpty());
    ASSERT_TRUE(world.Construct(7, 5, type));
    EXPECT_FALSE(world.IsEmpty());
    EXPECT_EQ(world.PixelType, back);
    EXPECT_EQ(world.Width, 7);
    EXPECT_EQ(world.Height, 5);
    EXPECT_EQ(world.PelBytes, 4);
    EXPECT_EQ(world.GetPixMap(), GetGWorldPixMap(world.GetGWorld()));
    EXPECT_NE(GetPixelsState(world.GetPixMap()) & pixelsLocked, 0u);
    EXPECT_EQ(QPixMap_GetPixelFormat(world.GetPixMap()), QuickTimeFourCharCodeFromPelFormat(type));
    EXPECT_EQ((*world.GetPixMap())->requestedGammaLevel, XFrame_IsYUV(back) ? kGamma22 : kGamma18);
    EXPECT_EQ(world.Pixels[world.RowBytes * 4 + 6 * 4 + 1], type == XFrame_Pel_r408   ? 219
                                                            : type == XFrame_Pel_v408 ? 235
                                                                                      : 255)
        << "erased to white";
    world.Empty();
    EXPECT_TRUE(world.IsEmpty());
    ExpectEmpty(world);
    world.Empty();
    world.Destruct();
  }
  EXPECT_EQ(Logged(), Lines{});
}

TEST_F(Worlds, ErasingLeavesTheCurrentPort) {
  MacPixMapFrameWorld current;
  ASSERT_TRUE(current.Construct(2, 2, XFrame_Pel_ARGB));
  SetGWorld(current.GetGWorld(), nullptr);
  MacPixMapFrameWorld world;
  QRect r(3, 4, 13, 24);
  ASSERT_TRUE(world.ConstructVirtual(r, XFrame_Pel_ARGB));
  EXPECT_EQ(world.Width, 20);
  EXPECT_EQ(world.Height, 10);
  CGrafPtr port = nullptr;
  GetGWorld(&port, nullptr);
  EXPECT_EQ(port, current.GetGWorld());
  std::memset(world.Pixels, 3, 8);
  QDErasePixels(world.GetGWorld());
  EXPECT_EQ(world.Pixels[0], 255);
  QDErasePixels(nullptr);
  SetGWorld(nullptr, nullptr);
}

TEST_F(Worlds, AWorldThatIsThereIsReplacedAndLogged) {
  MacPixMapFrameWorld world;
  QRect r(0, 0, 4, 4);
  ASSERT_TRUE(world.Construct(r, XFrame_Pel_ARGB));
  r = QRect(0, 0, 6, 5);
  EXPECT_TRUE(world.ConstructGWorld(r, XFrame_Pel_r408));
  EXPECT_EQ(world.Width, 5);
  EXPECT_EQ(world.PixelType, XFrame_Pel_r408);
  EXPECT_EQ(Logged(), (Lines{Line("IsEmpty()", "ConstructGWorld")}));
}

TEST_F(Worlds, SizesThatCannotBeFailWithEveryText) {
  MacPixMapFrameWorld world;
  EXPECT_FALSE(world.Construct(0, 4, XFrame_Pel_ARGB));
  const std::string made = Line("mGWorld", "ConstructGWorld");
  const std::string constructed = Line("ConstructGWorld(in_rect,inPelFormat)", "Construct");
  const std::string sized = Line("Construct(r,inPelFormat)", "Construct");
  Lines want{made, constructed, sized};
  EXPECT_EQ(Logged(), want);
  // Sizes that do not fit 16 bits are not cut to ones that do.
  EXPECT_FALSE(world.Construct(65536 + 10, 4, XFrame_Pel_ARGB));
  EXPECT_FALSE(world.Construct(10, -4, XFrame_Pel_ARGB));
  want.insert(want.end(), {made, constructed, sized, made, constructed, sized});
  EXPECT_EQ(Logged(), want);
  QRect none(5, 5, 5, 9);
  EXPECT_FALSE(world.ConstructVirtual(none, XFrame_Pel_ARGB));
  want.insert(want.end(),
              {made, constructed, Line("Construct(r,inPelFormat)", "ConstructVirtual")});
  EXPECT_EQ(Logged(), want);
  const MacPixMapFrameWorld empty;
  EXPECT_FALSE(world.Construct(empty));
  want.insert(want.end(), {made, constructed, Line("Construct(r,copyOf.PixelType)", "Construct")});
  EXPECT_EQ(Logged(), want);
  ExpectEmpty(world);
}

TEST_F(Worlds, ACopyTakesSizeAndTypeOnly) {
  MacPixMapFrameWorld first;
  QRect r(10, 10, 15, 17);
  ASSERT_TRUE(first.Construct(r, XFrame_Pel_v408));
  std::memset(first.Pixels, 9, 28);
  MacPixMapFrameWorld second;
  ASSERT_TRUE(second.Construct(first));
  EXPECT_EQ(second.Width, 7);
  EXPECT_EQ(second.Height, 5);
  EXPECT_EQ(second.PixelType, XFrame_Pel_v408);
  EXPECT_NE(second.Pixels, first.Pixels);
  EXPECT_NE(second.Pixels[0], 9);
  Rect bounds;
  second.GetPixMapBounds(bounds);
  EXPECT_EQ(QRect(bounds), QRect(0, 0, 5, 7)) << "at the origin";
  EXPECT_EQ(Logged(), Lines{});
  EXPECT_TRUE(first.Construct(first));
  EXPECT_EQ(first.Width, 7);
}

TEST_F(Worlds, APointerAliasLiesOverTheCallersPixels) {
  PixMapInMemory pixels(6, 4, 1, 8);
  {
    MacPixMapFrameWorld world;
    const Rect r{0, 0, 4, 6};
    ASSERT_TRUE(world.ConstructPtrAlias(r, pixels.Row(0), pixels.rowBytes(), 'r408'));
    EXPECT_EQ(world.Pixels, pixels.Row(0));
    EXPECT_EQ(world.RowBytes, pixels.rowBytes());
    EXPECT_EQ(world.PixelType, XFrame_Pel_r408);
    EXPECT_FALSE(world.ConstructPtrAlias(r, pixels.Row(1), pixels.rowBytes(), 'r408'));
    EXPECT_EQ(world.Pixels, pixels.Row(0)) << "what it had, it keeps";
    EXPECT_EQ(Logged(), (Lines{Line("IsEmpty()", "ConstructPtrAlias")}));
  }
  EXPECT_TRUE(pixels.Unchanged());
}

TEST_F(Worlds, APointerAliasLogsTheErrorCode) {
  PixMapInMemory pixels(6, 4, 1);
  MacPixMapFrameWorld world;
  const Rect r{0, 0, 4, 6};
  EXPECT_FALSE(world.ConstructPtrAlias(r, nullptr, 24, 32));
  EXPECT_FALSE(world.ConstructPtrAlias(r, pixels.Row(0), 23, 32)) << "a row does not fit";
  EXPECT_FALSE(world.ConstructPtrAlias(r, pixels.Row(0), -24, 32));
  EXPECT_FALSE(world.ConstructPtrAlias(r, pixels.Row(0), 24, 'what'));
  const auto line = [](int code) {
    return test::AnyLineNumber(test::VerifyErrLine(code, "err", "sdk/QClasses/XPixMapFrameBuffer",
                                                   1, "ConstructPtrAlias"));
  };
  EXPECT_EQ(Logged(), (Lines{line(paramErr), line(paramErr), line(paramErr), line(cDepthErr)}));
  ExpectEmpty(world);
  EXPECT_TRUE(world.IsEmpty());
}

TEST_F(Worlds, AFrameBufferAliasIsBoundToTheFrame) {
  PixMapInMemory pixels(6, 4, 1, 8);
  XFrameBuffer buffer;
  buffer.Width = 5;
  buffer.Height = 4;
  buffer.PixelType = XFrame_Pel_v408;
  buffer.Pixels = pixels.Row(0) + 4;
  buffer.RowBytes = pixels.rowBytes();
  buffer.PelBytes = 4;
  MacPixMapFrameWorld world;
  ASSERT_TRUE(world.ConstructFrameBufferAlias(buffer));
  EXPECT_EQ(world.Pixels, buffer.Pixels);
  EXPECT_EQ(world.Width, 5);
  EXPECT_EQ(world.Height, 4);
  EXPECT_EQ(world.PixelType, XFrame_Pel_v408);
  EXPECT_EQ(Logged(), Lines{});
  // Filling whole rows stops with the last pixel: what follows it is not the frame's.
  EXPECT_TRUE(QPixMap_FillPixelARGB32(world.GetPixMap(), 0x11));
  EXPECT_EQ(pixels.At(5, 3, 3), 0x11);
  EXPECT_EQ(pixels.Row(3)[24], pixels.Original(6, 3, 0));
  EXPECT_EQ(pixels.Row(2)[24], 0x11);

  EXPECT_FALSE(world.ConstructFrameBufferAlias(buffer));
  MacPixMapFrameWorld other;
  buffer.RowBytes = -buffer.RowBytes;
  EXPECT_FALSE(other.ConstructFrameBufferAlias(buffer));
  buffer.RowBytes = 0x40000;
  buffer.Width = 40000;
  EXPECT_FALSE(other.ConstructFrameBufferAlias(buffer)) << "no rectangle is so wide";
  const std::string err = test::AnyLineNumber(test::VerifyErrLine(
      paramErr, "err", "sdk/QClasses/XPixMapFrameBuffer", 1, "ConstructPtrAlias"));
  const std::string alias = Line(
      "fOk=ConstructPtrAlias(rect, in_buffer.Pixels, in_buffer.RowBytes, "
      "QuickTimeFourCharCodeFromPelFormat(in_buffer.PixelType) )",
      "ConstructFrameBufferAlias");
  EXPECT_EQ(Logged(),
            (Lines{Line("IsEmpty()", "ConstructFrameBufferAlias"), err, alias, err, alias}));
}

TEST_F(Worlds, AFieldAliasHasEverySecondRow) {
  MacPixMapFrameWorld frame;
  ASSERT_TRUE(frame.Construct(6, 9, XFrame_Pel_r408));
  for (int field = 0; field < 2; ++field) {
    MacPixMapFrameWorld alias;
    ASSERT_TRUE(alias.ConstructFieldAlias(frame.GetGWorld(), field));
    EXPECT_EQ(alias.Pixels, frame.Pixels + field * frame.RowBytes);
    EXPECT_EQ(alias.RowBytes, 2 * frame.RowBytes);
    EXPECT_EQ(alias.Width, 6);
    EXPECT_EQ(alias.Height, 4) << "the last of 9 rows belongs to neither";
    EXPECT_EQ(alias.PixelType, XFrame_Pel_r408);
  }
  EXPECT_EQ(Logged(), Lines{});
}

TEST_F(Worlds, AFieldAliasLocksThePort) {
  const Rect r{0, 0, 4, 4};
  GWorldPtr port = nullptr;
  ASSERT_EQ(QTNewGWorld(&port, 32, &r, nullptr, nullptr, 0), noErr);
  EXPECT_EQ(GetPixelsState(GetGWorldPixMap(port)), 0u);
  {
    MacPixMapFrameWorld top;
    MacPixMapFrameWorld bottom;
    ASSERT_TRUE(top.ConstructFieldAlias(port, 0));
    ASSERT_TRUE(bottom.ConstructFieldAlias(port, 1));
    EXPECT_EQ((*GetGWorldPixMap(port))->lockCount, 1u) << "once";
    // The last row of the lower field ends with the world, not a row later.
    const SInt64 whole = QPixMap_KnownBytes(GetGWorldPixMap(port));
    EXPECT_EQ(QPixMap_KnownBytes(top.GetPixMap()), whole);
    EXPECT_EQ(QPixMap_KnownBytes(bottom.GetPixMap()), whole - top.RowBytes / 2);
    EXPECT_TRUE(QPixMap_FillPixelARGB32(bottom.GetPixMap(), 0x22));
  }
  DisposeGWorld(port);
}

TEST_F(Worlds, AFieldAliasFails) {
  MacPixMapFrameWorld frame;
  ASSERT_TRUE(frame.Construct(6, 8, XFrame_Pel_ARGB));
  EXPECT_FALSE(frame.ConstructFieldAlias(frame.GetGWorld(), 0));
  MacPixMapFrameWorld alias;
  EXPECT_FALSE(alias.ConstructFieldAlias(frame.GetGWorld(), 2));
  EXPECT_FALSE(alias.ConstructFieldAlias(frame.GetGWorld(), -1));
  EXPECT_FALSE(alias.ConstructFieldAlias(nullptr, 0));
  const std::string order = Line("(field_order==1) || (field_order==0)", "ConstructFieldAlias");
  const std::string made = Line(
      "fOk=ConstructPtrAlias(fieldRect, baseAddr+offset, single_field_rowBytes, "
      "QPixMap_GetPixelFormat(hPixMap))",
      "ConstructFieldAlias");
  Lines want{Line("IsEmpty()", "ConstructFieldAlias"), order, order,
             Line("hPixMap", "ConstructFieldAlias")};
  EXPECT_EQ(Logged(), want);
  // Rows -10 to 10: halving the bottom would leave 15 rows of 2, and there are 20.
  MacPixMapFrameWorld above;
  QRect r(-10, 0, 10, 4);
  ASSERT_TRUE(above.Construct(r, XFrame_Pel_ARGB));
  EXPECT_FALSE(alias.ConstructFieldAlias(above.GetGWorld(), 0));
  want.push_back(made);
  EXPECT_EQ(Logged(), want);
  // One row has no field.
  MacPixMapFrameWorld flat;
  ASSERT_TRUE(flat.Construct(4, 1, XFrame_Pel_ARGB));
  EXPECT_FALSE(alias.ConstructFieldAlias(flat.GetGWorld(), 0));
  want.push_back(test::AnyLineNumber(test::VerifyErrLine(
      paramErr, "err", "sdk/QClasses/XPixMapFrameBuffer", 1, "ConstructPtrAlias")));
  want.push_back(made);
  EXPECT_EQ(Logged(), want);
  ExpectEmpty(alias);
}

TEST_F(Worlds, VecWorldsLieInOneBlock) {
  MacAltivecFrameWorld world;
  QRect r(2, 3, 7, 14);
  ASSERT_TRUE(world.Construct(r, XFrame_Pel_r408));
  EXPECT_EQ(world.Width, 11);
  EXPECT_EQ(world.Height, 5);
  EXPECT_EQ(world.RowBytes, 44) << "not rounded up";
  EXPECT_EQ(world.PixelType, XFrame_Pel_r408);
  std::memset(world.Pixels, 5, 220);
  EXPECT_EQ(GWorldGetCounters().ownedPixelBytes, 0);
  ASSERT_TRUE(world.ConstructVecFrame(r, XFrame_Pel_ARGB)) << "replaces without a word";
  EXPECT_EQ(world.PixelType, XFrame_Pel_ARGB);
  EXPECT_EQ(Logged(), Lines{});
  MacAltivecFrameWorld copy;
  ASSERT_TRUE(copy.Construct(world));
  EXPECT_EQ(copy.Width, 11);
  EXPECT_EQ(copy.RowBytes, 44);
  MacPixMapFrameWorld& base = copy;
  r = QRect(0, 0, 2, 2);
  ASSERT_TRUE(base.ConstructVirtual(r, XFrame_Pel_ARGB));
  EXPECT_EQ(base.RowBytes, 8) << "its own kind of memory";
  base.Empty();
  ExpectEmpty(base);
  ASSERT_TRUE(copy.Construct(3, 2, XFrame_Pel_v408));
  EXPECT_EQ(copy.RowBytes, 12);
}

TEST_F(Worlds, VecWorldsFailWithTheirTexts) {
  MacAltivecFrameWorld world;
  EXPECT_FALSE(world.Construct(0, 5, XFrame_Pel_ARGB));
  const std::string size = test::AnyLineNumber(test::VerifyLine(
      "frame_malloc_size!=0", "sdk/CoreX/XFrameBufferMemory", 1, "SetFrameDimensions"));
  const std::string pixels = Line("vec_aligned_frame_pixels", "ConstructVecFrame");
  const std::string rect = Line("ConstructVecFrame(in_rect,inPelFormat)", "Construct");
  const std::string sized = Line("MacAltivecFrameWorld::Construct(r,inPelFormat)", "Construct");
  Lines want{size, pixels, rect, sized};
  EXPECT_EQ(Logged(), want);
  // 32768 x 32768 x 4 and 65535 x 65535 x 4 bytes wrap to 0 and to few in 32 bits.
  QRect r(-16384, -16384, 16384, 16384);
  EXPECT_FALSE(world.ConstructVirtual(r, XFrame_Pel_ARGB));
  want.insert(want.end(), {pixels, rect, Line("Construct(r,inPelFormat)", "ConstructVirtual")});
  EXPECT_EQ(Logged(), want);
  r = QRect(-32768, -32768, 32767, 32767);
  EXPECT_FALSE(world.ConstructVecFrame(r, XFrame_Pel_ARGB));
  r = QRect(10, 10, 5, 5);  // The product of two negative sides.
  EXPECT_FALSE(world.ConstructVecFrame(r, XFrame_Pel_ARGB));
  const MacPixMapFrameWorld empty;
  EXPECT_FALSE(world.Construct(empty));
  want.insert(want.end(), {pixels, pixels, size, pixels, rect, sized});
  EXPECT_EQ(Logged(), want);
  ExpectEmpty(world);
}

TEST_F(Worlds, NewSizesKeepTheTypeAndTheKind) {
  MacAltivecFrameWorld world;
  ASSERT_TRUE(world.Construct(5, 4, XFrame_Pel_r408));
  ASSERT_TRUE(world.SetNewWidthHeight(7, 3));
  EXPECT_EQ(world.Width, 7);
  EXPECT_EQ(world.Height, 3);
  EXPECT_EQ(world.RowBytes, 28);
  EXPECT_EQ(world.PixelType, XFrame_Pel_r408);
  EXPECT_EQ(Logged(), Lines{});
  EXPECT_FALSE(world.SetNewWidthHeight(-1, 3));
  EXPECT_EQ(Logged().back(), Line("ConstructVirtual(r,inPelFormat)", "SetNewWidthHeight"));
  EXPECT_TRUE(world.IsEmpty());
}

TEST_F(Worlds, SizeAndFormatCanComeFromADescription) {
  ImageDescriptionHandle h = nullptr;
  PixMapInMemory map(12, 10, 1);
  map.record().pixelFormat = 'v408';
  ASSERT_EQ(MakeImageDescriptionForPixMap(map.handle(), &h), noErr);
  const QImageDescription description(h);
  MacPixMapFrameWorld world;
  ASSERT_TRUE(world.SetFramePropertiesWithImageDescription(description));
  EXPECT_EQ(world.Width, 12);
  EXPECT_EQ(world.Height, 10);
  EXPECT_EQ(world.PixelType, XFrame_Pel_v408);
  EXPECT_EQ(Logged(), Lines{});
  EXPECT_FALSE(world.SetFramePropertiesWithImageDescription(QImageDescription()));
  EXPECT_EQ(
      Logged(),
      (Lines{Line("inDescription.IsConstructed()", "SetFramePropertiesWithImageDescription")}));
  EXPECT_EQ(world.Width, 12) << "nothing was asked of it";
  (*h)->width = 0;
  EXPECT_FALSE(world.SetFramePropertiesWithImageDescription(description));
  EXPECT_TRUE(world.IsEmpty());
  DisposeHandle(reinterpret_cast<Handle>(h));
}

TEST_F(Worlds, CopiesIntoAnyPort) {
  MacPixMapFrameWorld world;
  ASSERT_TRUE(world.Construct(4, 4, XFrame_Pel_ARGB));
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 4; ++x) {
      const unsigned char pixel[4] = {255, static_cast<unsigned char>(60 * x),
                                      static_cast<unsigned char>(60 * y), 0};
      std::memcpy(world.Pixels + y * world.RowBytes + 4 * x, pixel, 4);
    }
  }
  const Rect r{0, 0, 8, 8};
  GWorldPtr port = nullptr;
  ASSERT_EQ(QTNewGWorld(&port, k24RGBPixelFormat, &r, nullptr, nullptr, 0), noErr);
  EXPECT_TRUE(world.CopyBits(port));
  const unsigned char* pixel = QPixMap_GetStartOfScanLine(GetGWorldPixMap(port), 7) + 3 * 5;
  EXPECT_EQ(pixel[0], 120);
  EXPECT_EQ(pixel[1], 180);
  EXPECT_EQ(pixel[2], 0);
  EXPECT_TRUE(world.CopyBits(port, {2, 1, 3, 2}, {0, 0, 1, 1}));
  pixel = QPixMap_GetStartOfScanLine(GetGWorldPixMap(port), 0);
  EXPECT_EQ(pixel[0], 60);
  EXPECT_EQ(pixel[1], 120);
  EXPECT_EQ(Logged(), Lines{});
  EXPECT_FALSE(world.CopyBits(nullptr));
  const MacPixMapFrameWorld empty;
  EXPECT_FALSE(empty.CopyBits(port));
  EXPECT_EQ(Logged(), (Lines{Line("portBits", "CopyBits"), Line("!IsEmpty()", "CopyBits")}));
  DisposeGWorld(port);
}

TEST_F(Worlds, FrameOperationsAndDrawingShareThePixels) {
  MacPixMapFrameWorld world;
  ASSERT_TRUE(world.Construct(8, 6, XFrame_Pel_r408));
  ASSERT_TRUE(XFrame_Blacken(world));
  const unsigned char* pixel = QPixMap_GetStartOfScanLine(world.GetPixMap(), 5) + 28;
  EXPECT_EQ(pixel[0], 255);
  EXPECT_EQ(pixel[1], 0);
  EXPECT_EQ(pixel[2], 128);
  MacPixMapFrameWorld bottom;
  ASSERT_TRUE(bottom.ConstructFieldAlias(world.GetGWorld(), 1));
  QDErasePixels(bottom.GetGWorld());
  EXPECT_EQ(world.Pixels[1], 0);
  EXPECT_EQ(world.Pixels[world.RowBytes + 1], 219);
}

TEST_F(Worlds, AnyOrderOfOperationsLeavesNothingBehind) {
  std::mt19937 engine(3);
  PixMapInMemory pixels(16, 16, 1);
  XFrameBuffer buffer;
  buffer.Width = 16;
  buffer.Height = 16;
  buffer.Pixels = pixels.Row(0);
  buffer.RowBytes = pixels.rowBytes();
  MacPixMapFrameWorld port;
  ASSERT_TRUE(port.Construct(9, 9, XFrame_Pel_ARGB));
  MacPixMapFrameWorld plain;
  MacAltivecFrameWorld vec;
  for (int step = 0; step < 500; ++step) {
    MacPixMapFrameWorld& world = engine() % 2 ? plain : static_cast<MacPixMapFrameWorld&>(vec);
    QRect r(0, 0, static_cast<SInt16>(engine() % 12), static_cast<SInt16>(engine() % 12));
    switch (engine() % 8) {
      case 0:
        world.ConstructVirtual(r, XFrame_Pel_ARGB);
        break;
      case 1:
        world.ConstructGWorld(r, XFrame_Pel_r408);
        break;
      case 2:
        world.ConstructFrameBufferAlias(buffer);
        break;
      case 3:
        world.ConstructFieldAlias(port.GetGWorld(), static_cast<int>(engine() % 3));
        break;
      case 4:
        world.Empty();
        break;
      case 5:
        world.SetNewWidthHeight(r.right, r.bottom);
        break;
      case 6:
        vec.Construct(plain);
        break;
      default:
        plain.Construct(vec);
        break;
    }
    XFrame_Blacken(world);
    if (world.IsEmpty()) {
      EXPECT_EQ(world.Pixels, nullptr);
    } else {
      EXPECT_NE(world.Pixels, nullptr);
    }
  }
}

}  // namespace
