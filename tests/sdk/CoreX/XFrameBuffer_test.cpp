#include "sdk/CoreX/XFrameBuffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

#include "sdk/CoreX/XFrameBufferMemory.h"
#include "tests/support/LogCapture.h"

namespace {

using test::AnyLineNumbers;
using test::LogCapture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(XFrame_Pel_Unknown == 0x30303030);
static_assert(XFrame_Pel_ARGB == 0x38524742);
static_assert(XFrame_Pel_VideoRGB == 0x56524742);
static_assert(XFrame_Pel_r408 == 0x52595556);
static_assert(XFrame_Pel_v408 == 0x56595556);
static_assert(!std::is_polymorphic_v<XFrameBufferBase>);
static_assert(std::has_virtual_destructor_v<XFrameBuffer>);
static_assert(!std::is_polymorphic_v<XFrameBufferMemory>);

XFrameBuffer Frame(int width, int height, unsigned char* pixels = nullptr) {
  XFrameBuffer frame;
  frame.Width = width;
  frame.Height = height;
  frame.PixelType = XFrame_Pel_ARGB;
  frame.Fields = 0;
  frame.Pixels = pixels;
  frame.RowBytes = 4 * width;
  frame.PelBytes = 4;
  return frame;
}

TEST(XFrameBuffer, StartsEmpty) {
  const XFrameBuffer frame;
  EXPECT_EQ(frame.Width, 0);
  EXPECT_EQ(frame.Height, 0);
  EXPECT_EQ(frame.Fields, 0u);
  EXPECT_EQ(frame.PelBytes, 0);
  EXPECT_EQ(frame.Pixels, nullptr);
  EXPECT_EQ(frame.PixelType, XFrame_Pel_Unknown);
}

TEST(XFrameBuffer, FrameTypes) {
  struct Case {
    int width, height;
    UInt32 type;
  };
  const Case cases[] = {
      {352, 240, 1},  {352, 288, 2},   {640, 480, 3},    {640, 486, 3},    {352, 480, 5},
      {704, 480, 6},  {704, 486, 6},   {720, 480, 6},    {720, 486, 6},    {768, 480, 7},
      {768, 486, 7},  {352, 576, 8},   {704, 576, 9},    {720, 576, 9},    {768, 576, 10},
      {800, 600, 11}, {1280, 720, 14}, {1920, 1080, 15}, {1920, 1088, 15}, {1920, 1152, 16},
      {1024, 768, 0}, {720, 487, 0},   {721, 486, 0},    {0, 0, 0},        {352 + 65536, 240, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Frame(c.width, c.height).FrameTypeOf(), c.type) << c.width << 'x' << c.height;
  }
  int rows = 0;
  while (MapFrameSizeType[rows].width != 0) ++rows;
  EXPECT_EQ(rows, 23) << "duplicates are part of the table";
}

TEST(XFrameBuffer, HasTwoFieldsByHeightUnlessStated) {
  for (const auto& [width, height] :
       {std::pair{720, 486}, {1280, 720}, {721, 480}, {1920, 1080}, {640, 480}, {5, 2000}}) {
    EXPECT_TRUE(Frame(width, height).HasTwoFields()) << width << 'x' << height;
  }
  for (const auto& [width, height] :
       {std::pair{352, 240}, {720, 479}, {720, 481}, {720, 478}, {0, 0}, {720, -480}}) {
    EXPECT_FALSE(Frame(width, height).HasTwoFields()) << width << 'x' << height;
  }
  XFrameBuffer frame = Frame(720, 486);
  frame.Fields = 1;
  EXPECT_FALSE(frame.HasTwoFields());
  frame.Fields = 4;
  EXPECT_FALSE(frame.HasTwoFields());
  frame = Frame(352, 241);
  frame.Fields = 2;
  EXPECT_TRUE(frame.HasTwoFields());
  frame.Fields = 3;
  EXPECT_TRUE(frame.HasTwoFields());
}

TEST(XFrameBuffer, Fields) {
  unsigned char pixels[5 * 40] = {};
  XFrameBuffer frame = Frame(8, 5, pixels);
  frame.RowBytes = 40;
  frame.Fields = 2;
  XFrameBuffer top;
  XFrameBuffer bottom;
  frame.GetFields(top, bottom);
  for (const XFrameBuffer& field : {top, bottom}) {
    EXPECT_EQ(field.Width, 8);
    EXPECT_EQ(field.Height, 2);
    EXPECT_EQ(field.RowBytes, 80);
    EXPECT_EQ(field.PelBytes, 4);
    EXPECT_EQ(field.PixelType, XFrame_Pel_ARGB);
    EXPECT_EQ(field.Fields, 1u);
    EXPECT_FALSE(field.HasTwoFields());
  }
  EXPECT_EQ(top.Pixels, pixels);
  EXPECT_EQ(bottom.Pixels, pixels + 40);

  frame.Pixels = pixels + 160;
  frame.RowBytes = -40;
  frame.GetBottomField(bottom);
  EXPECT_EQ(bottom.Pixels, pixels + 120);
  EXPECT_EQ(bottom.RowBytes, -80);
}

TEST(XFrameBuffer, AFieldMayReplaceItsFrame) {
  unsigned char pixels[4 * 32] = {};
  XFrameBuffer frame = Frame(8, 4, pixels);
  frame.GetBottomField(frame);
  EXPECT_EQ(frame.Pixels, pixels + 32);
  EXPECT_EQ(frame.RowBytes, 64);
  EXPECT_EQ(frame.Height, 2);
}

TEST(XFrameBuffer, Cropping) {
  unsigned char pixels[10 * 48] = {};
  XFrameBuffer frame = Frame(12, 10, pixels);
  frame.Fields = 2;
  XFrameBuffer crop;
  frame.GetCroppedBuffer(crop, 1, 2, 3, 4);
  EXPECT_EQ(crop.Width, 8);
  EXPECT_EQ(crop.Height, 4);
  EXPECT_EQ(crop.Pixels, pixels + 2 * 48 + 4);
  EXPECT_EQ(crop.RowBytes, 48);
  EXPECT_EQ(crop.Fields, 2u);
  EXPECT_EQ(crop.PixelType, XFrame_Pel_ARGB);
  EXPECT_EQ(crop.PelBytes, 4);

  frame.GetCroppedBuffer(crop, -1, -2, 20, 30);
  EXPECT_EQ(crop.Width, -7);
  EXPECT_EQ(crop.Height, -18);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(crop.Pixels),
            reinterpret_cast<std::uintptr_t>(pixels) - 2 * 48 - 4);

  // A field of a crop is a crop of the field.
  frame.GetCroppedBuffer(crop, 1, 2, 1, 2);
  crop.GetBottomField(crop);
  EXPECT_EQ(crop.Pixels, pixels + 3 * 48 + 4);
  EXPECT_EQ(crop.Height, 3);

  constexpr int kMax = std::numeric_limits<int>::max();
  frame.GetCroppedBuffer(crop, -kMax, -kMax, -kMax, -kMax);
  EXPECT_EQ(crop.Width, 10) << "12 and twice 2^31 - 1, in 32 bits";
}

TEST(XFrameBuffer, DebugPrint) {
  XFrameBuffer frame = Frame(720, 486);
  frame.Fields = 0x1A2;
  const LogCapture log;
  frame.CoreDebugPrint("label");
  EXPECT_THAT(log.Lines(), ElementsAre("-----------", "label XFrameBuffer Properties",
                                       "Width,Height = (720,486)", "Fields  = 01a2"));
}

TEST(XFrameBufferMemory, HoldsABlockOfItsSize) {
  XFrameBufferMemory memory(10, 6);
  ASSERT_FALSE(memory.IsEmpty());
  EXPECT_EQ(memory.FrameStride(), 40);
  ASSERT_NE(memory.FrameStart(), nullptr);
  memory.FrameStart()[239] = 1;  // The address sanitizer watches the block's end.
  memory.SetFrameDimensions(4, 2);
  EXPECT_EQ(memory.FrameStride(), 16);
  memory.Empty();
  EXPECT_TRUE(memory.IsEmpty());
  EXPECT_EQ(memory.FrameStart(), nullptr);
  EXPECT_EQ(memory.FrameStride(), 16) << "the stride is kept";
  memory.Empty();
  memory.Destruct();
}

TEST(XFrameBufferMemory, StartsAtItsOffset) {
  XFrameBufferMemory memory;
  EXPECT_TRUE(memory.IsEmpty());
  EXPECT_EQ(memory.FrameStart(), nullptr);
  ASSERT_TRUE(memory.Construct(100, 16, 20));
  const unsigned char* start = memory.FrameStart();
  EXPECT_EQ(memory.FrameStride(), 20);
  EXPECT_NE(start, nullptr);
}

TEST(XFrameBufferMemory, RefusesNothing) {
  const LogCapture log;
  XFrameBufferMemory memory(0, 480);
  EXPECT_TRUE(memory.IsEmpty());
  memory.SetFrameDimensions(640, 0);
  EXPECT_TRUE(memory.IsEmpty());
  memory.SetFrameDimensions(65536, 16384);
  EXPECT_TRUE(memory.IsEmpty()) << "2^32 bytes are none in 32 bits";
  const std::string line = test::AnyLineNumber(test::VerifyLine(
      "frame_malloc_size!=0", "sdk/CoreX/XFrameBufferMemory", 0, "SetFrameDimensions"));
  EXPECT_THAT(AnyLineNumbers(log.Lines()), ElementsAre(line, line, line));
}

}  // namespace
