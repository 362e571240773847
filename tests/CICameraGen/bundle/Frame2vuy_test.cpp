// The road from a 2vuy frame to a picture.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <array>
#include <cstring>

#include "platform/CoreServices/MacMemory.h"
#include "platform/QuickTime/QuickTime.h"
#include "tests/CICameraGen/bundle/LoadedPlugIn.h"

namespace {

using test::Script;
using Pixel = std::array<int, 4>;

constexpr unsigned char kBlackLuma = 16;
constexpr unsigned char kWhiteLuma = 235;

class Frame2vuy : public test::LoadedPlugIn {
 protected:
  Frame2vuy() {
    Load();
    bundle_ = test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
    filter_ = NewFilter();
    void* const module = dlopen(bundle_.c_str(), RTLD_NOW | RTLD_NOLOAD);
    frame_ = *static_cast<unsigned char**>(dlsym(module, "scripted_frame"));
    dlclose(module);
  }
  ~Frame2vuy() override { Dispose(filter_); }

  static std::string Format(int width, int height, const std::string& more = "") {
    return "format=0x32767579 width=" + std::to_string(width) +
           " height=" + std::to_string(height) + " dataSize=" + std::to_string(2 * width * height) +
           " " + more;
  }
  // Grey everywhere.
  void Fill(std::size_t bytes, unsigned char luma) {
    for (std::size_t i = 0; i < bytes; i += 4) {
      const unsigned char unit[] = {128, luma, 128, luma};
      std::memcpy(frame_ + i, unit, 4);
    }
  }
  static Pixel At(const Shown& shown, std::size_t x, std::size_t y) {
    const std::uint8_t* const p = shown.pixels.data() + (y * shown.width + x) * 4;
    return {p[0], p[1], p[2], p[3]};
  }

  std::filesystem::path bundle_;
  CILumivaneInput* filter_ = nullptr;
  unsigned char* frame_ = nullptr;
};

constexpr Pixel kWhite = {255, 255, 255, 255};
constexpr Pixel kBlack = {255, 0, 0, 0};
constexpr Pixel kClear = {0, 0, 0, 0};

TEST_F(Frame2vuy, IsConvertedTopRowFirst) {
  const Script script(Format(640, 480));
  Fill(640 * 480 * 2, kBlackLuma);
  Fill(640 * 2, kWhiteLuma);
  const test::LogCapture log;
  const Shown shown = Show(filter_);
  EXPECT_FALSE(shown.isNoCamera);
  ASSERT_EQ(shown.width, 640U);
  ASSERT_EQ(shown.height, 480U);
  EXPECT_EQ(At(shown, 0, 0), kWhite);
  EXPECT_EQ(At(shown, 639, 0), kWhite);
  EXPECT_EQ(At(shown, 0, 1), kBlack);
  EXPECT_EQ(At(shown, 639, 479), kBlack);
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(Frame2vuy, HasTheColoursOfItsStandard) {
  // 75 % red by the formulas of Rec. 601 for 480 rows, of Rec. 709 for 720.
  const struct {
    int height;
    unsigned char unit[4];
  } reds[] = {{480, {100, 65, 212, 65}}, {720, {109, 51, 212, 51}}};
  for (const auto& red : reds) {
    const Script script(Format(640, red.height));
    CILumivaneInput* const filter = NewFilter();
    for (int i = 0; i < 640 * red.height * 2; i += 4) std::memcpy(frame_ + i, red.unit, 4);
    const Pixel pixel = At(Show(filter), 320, 240);
    EXPECT_EQ(pixel[0], 255);
    // One step of luma is 1.16 levels of red, one of chroma up to 1.8.
    EXPECT_NEAR(pixel[1], 191, 3) << red.height;
    EXPECT_NEAR(pixel[2], 0, 3) << red.height;
    EXPECT_NEAR(pixel[3], 0, 3) << red.height;
    Dispose(filter);
  }
}

TEST_F(Frame2vuy, SmallerOnesLieInTheTopLeftCornerUnscaled) {
  const Script script(Format(320, 240));
  Fill(320 * 240 * 2, kWhiteLuma);
  const Shown shown = Show(filter_);
  ASSERT_EQ(shown.width, 640U);
  ASSERT_EQ(shown.height, 480U);
  EXPECT_EQ(At(shown, 0, 0), kWhite);
  EXPECT_EQ(At(shown, 319, 239), kWhite);
  EXPECT_EQ(At(shown, 320, 239), kClear) << "nobody's pixels beside it";
  EXPECT_EQ(At(shown, 319, 240), kClear);
  EXPECT_EQ(At(shown, 639, 479), kClear);
}

TEST_F(Frame2vuy, LargerOnesAreCutOff) {
  const Script script(Format(800, 600));
  Fill(800 * 600 * 2, kBlackLuma);
  const unsigned char white[] = {128, kWhiteLuma, 128, kWhiteLuma};
  std::memcpy(frame_ + 479 * 1600 + 638 * 2, white, 4);
  const Shown shown = Show(filter_);
  ASSERT_EQ(shown.width, 640U);
  ASSERT_EQ(shown.height, 480U);
  EXPECT_EQ(At(shown, 639, 479), kWhite);
  EXPECT_EQ(At(shown, 637, 479), kBlack);
}

TEST_F(Frame2vuy, RowsAreTakenAsTightlyPackedWhateverTheRecordSays) {
  const Script script(Format(640, 480, "rowBytes=1344"));
  Fill(1344 * 480, kBlackLuma);
  const unsigned char white[] = {128, kWhiteLuma, 128, kWhiteLuma};
  std::memcpy(frame_ + 1344, white, 4);  // where the padded second row starts
  const Shown shown = Show(filter_);
  EXPECT_EQ(At(shown, 0, 1), kBlack);
  EXPECT_EQ(At(shown, 32, 1), kWhite) << "(1344 - 1280) / 2 pixels to the right";
}

TEST_F(Frame2vuy, TheNextFrameIsDrawnIntoTheSamePixels) {
  const Script script(Format(640, 480));
  const NSAutoreleasePool pool;
  Fill(640 * 480 * 2, kWhiteLuma);
  CIImage* const first = filter_->outputImage();
  EXPECT_EQ(At(Draw(first), 5, 5), kWhite);
  Fill(640 * 480 * 2, kBlackLuma);
  EXPECT_EQ(At(Draw(first), 5, 5), kWhite) << "converted when it was asked for";
  filter_->outputImage();
  EXPECT_EQ(At(Draw(first), 5, 5), kBlack);
}

TEST_F(Frame2vuy, EachFilterHasPixelsOfItsOwn) {
  const Script script(Format(640, 480));
  CILumivaneInput* const other = NewFilter();
  {
    const NSAutoreleasePool pool;
    Fill(640 * 480 * 2, kWhiteLuma);
    CIImage* const first = filter_->outputImage();
    Fill(640 * 480 * 2, kBlackLuma);
    EXPECT_EQ(At(Draw(other->outputImage()), 5, 5), kBlack);
    EXPECT_EQ(At(Draw(first), 5, 5), kWhite);
  }
  Dispose(other);
}

TEST_F(Frame2vuy, TheSequenceIsOpenedOnceAndEndsWithTheFilter) {
  const SInt64 before = DecompressionSequenceCount();
  CILumivaneInput* const filter = NewFilter();
  EXPECT_EQ(DecompressionSequenceCount(), before) << "not before the first 2vuy frame";
  {
    const Script script(Format(640, 480));
    EXPECT_TRUE(ShowsFrame(filter));
    EXPECT_TRUE(ShowsFrame(filter));
    EXPECT_EQ(DecompressionSequenceCount(), before + 1);
  }
  {
    const Script script(Format(320, 960));
    const Shown shown = Show(filter);
    EXPECT_FALSE(shown.isNoCamera);
    EXPECT_EQ(shown.width, 640U) << "its data read as the first frame's rows";
    EXPECT_EQ(DecompressionSequenceCount(), before + 1) << "not reopened for another size";
  }
  {
    const Script script(Format(320, 240));
    EXPECT_TRUE(ShowsNoCamera(filter)) << "too little data for the first frame's size";
    EXPECT_EQ(DecompressionSequenceCount(), before + 1);
  }
  Dispose(filter);
  EXPECT_EQ(DecompressionSequenceCount(), before);
}

TEST_F(Frame2vuy, OpeningAgainEndsTheOpenSequence) {
  const Script script(Format(640, 480));
  EXPECT_TRUE(ShowsFrame(filter_));
  const SInt64 before = DecompressionSequenceCount();
  ImageDescriptionHandle const handle =
      reinterpret_cast<ImageDescriptionHandle>(NewHandleClear(sizeof(ImageDescription)));
  (**handle).idSize = sizeof(ImageDescription);
  (**handle).cType = '2vuy';
  (**handle).width = 640;
  (**handle).height = 480;
  (**handle).depth = 24;
  QImageDescription description;
  ASSERT_TRUE(description.Construct(handle, true));
  EXPECT_EQ(filter_->open_2vuy_ARGB_Decompressor(description), 0);
  EXPECT_EQ(DecompressionSequenceCount(), before);
  EXPECT_TRUE(ShowsFrame(filter_));
  (**handle).width = 0;
  EXPECT_EQ(filter_->open_2vuy_ARGB_Decompressor(description), paramErr) << "the platform's error";
  EXPECT_EQ(DecompressionSequenceCount(), before - 1);
  EXPECT_TRUE(ShowsNoCamera(filter_));
}

TEST_F(Frame2vuy, ASequenceThatCouldNotBeOpenedIsNotTriedAgain) {
  for (const char* size : {"width=0 height=480", "width=640 height=0", "width=-2 height=480"}) {
    CILumivaneInput* const filter = NewFilter();
    {
      const Script script(std::string("format=0x32767579 dataSize=614400 ") + size);
      const test::LogCapture log;
      EXPECT_TRUE(ShowsNoCamera(filter)) << size;
      EXPECT_EQ(log.Lines().size(), 1U) << "the failed begin";
    }
    {
      const Script script(Format(640, 480));
      const test::LogCapture log;
      EXPECT_TRUE(ShowsNoCamera(filter)) << "for good";
      EXPECT_TRUE(log.Lines().empty());
      EXPECT_TRUE(ShowsFrame(filter_)) << "another filter is not affected";
    }
    {
      const Script script("");
      EXPECT_TRUE(ShowsFrame(filter)) << "nor are ARGB frames";
    }
    Dispose(filter);
  }
}

TEST_F(Frame2vuy, TooLittleDataShowTheNoCameraPictureAndAreNotReadPast) {
  for (const char* dataSize : {"0", "1", "1280", "614399", "-1", "2147483648"}) {
    const Script script(std::string("format=0x32767579 width=640 height=480 dataSize=") + dataSize);
    const bool none = ShowsNoCamera(filter_);
    // Sizes of 2 GiB and more are negative to the sequence.
    EXPECT_TRUE(none) << dataSize;
  }
  const Script script(Format(640, 480));
  EXPECT_TRUE(ShowsFrame(filter_)) << "the sequence is still open";
}

TEST_F(Frame2vuy, TenThousandLeaveOneDescriptionEachAndNothingElse) {
  constexpr int kFrames = 10000;
  constexpr SInt64 kDescriptionBytes = 86 + 10 + 40 + 16;  // the record and its three extensions
  const Script script(Format(8, 4));
  EXPECT_TRUE(ShowsFrame(filter_));
  const MacMemoryCounters before = MacMemoryGetCounters();
  const SInt64 sequences = DecompressionSequenceCount();
  [[maybe_unused]] const std::size_t heap = mallinfo2().uordblks;
  for (int i = 0; i < kFrames; ++i) {
    const NSAutoreleasePool pool;
    ASSERT_NE(filter_->outputImage(), nullptr);
  }
  const MacMemoryCounters after = MacMemoryGetCounters();
  EXPECT_EQ(after.handles, before.handles + kFrames);
  EXPECT_EQ(after.handleBytes, before.handleBytes + kFrames * kDescriptionBytes);
  EXPECT_EQ(after.pointers, before.pointers);
  EXPECT_EQ(after.pointerBytes, before.pointerBytes);
  EXPECT_EQ(DecompressionSequenceCount(), sequences);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  // The block with its slack and upkeep, and no second leak behind it: images and colour spaces
  // would show here.
  const std::size_t perFrame = (mallinfo2().uordblks - heap) / kFrames;
  EXPECT_GE(perFrame, static_cast<std::size_t>(kDescriptionBytes));
  EXPECT_LE(perFrame, 400u);
#endif
}

}  // namespace
