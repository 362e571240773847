#include "sdk/QClasses/QImageSequence.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/CoreServices/MacMemory.h"
#include "sdk/QClasses/Q_2vuy_data.h"
#include "sdk/QClasses/Q_2vuy_decompressor.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/LogCapture.h"

namespace {

using Lines = std::vector<std::string>;

std::string Failed(const std::string& code, const std::string& function) {
  return test::AnyLineNumber(test::VerifyLine(code, "sdk/QClasses/QImageSequence", 1, function));
}
std::string FailedErr(int error, const std::string& code, const std::string& function) {
  return test::AnyLineNumber(
      test::VerifyErrLine(error, code, "sdk/QClasses/QImageSequence", 1, function));
}

constexpr char kBegin[] =
    "err=::DecompressSequenceBegin(&mSeqID, desc, port, gdh, srcRect, matrix, mode, mask, flags, "
    "accuracy, codec)";
constexpr char kFrame[] =
    "err=::DecompressSequenceFrameS(mSeqID, inData, dataSize, inFlags, outFlags, "
    "asyncCompletionProc)";

class Sequence : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(DecompressionSequenceCount(), 0); }
  Lines Logged() {
    const Lines lines = test::AnyLineNumbers(log_.Lines());
    log_.Clear();
    return lines;
  }
  OSErr Begin(QImageSequence& sequence, const QImageDescription& d, const QGWorld& world,
              DecompressorComponent codec = bestFidelityCodec) {
    return sequence.DecompressSequenceBegin(d.GetHandle(), world, nullptr, nullptr, nullptr,
                                            srcCopy, nullptr, 0, codecMaxQuality, codec);
  }
  test::LogCapture log_;
};

TEST_F(Sequence, ClosedObjects) {
  QImageSequence sequence;
  EXPECT_EQ(sequence.GetSeqID(), 0u);
  EXPECT_EQ(sequence.CDSequenceEnd(), 0);
  sequence.DisposeIF();
  EXPECT_EQ(Logged(), Lines{});
  char data[4] = {};
  EXPECT_EQ(sequence.DecompressSequenceFrameS(data, 4, 0, nullptr, nullptr), -50);
  EXPECT_EQ(Logged(), Lines{Failed("mSeqID", "DecompressSequenceFrameS")});
  const QGWorld world(Point{2, 2}, '2vuy');
  EXPECT_EQ(sequence.DecompressSequenceFrameS(world.GetPixMap()), -50);
  EXPECT_EQ(Logged(), Lines{Failed("mSeqID", "DecompressSequenceFrameS")});
}

TEST_F(Sequence, BeginFramesEnd) {
  const QGWorld world(Point{2, 2}, 32);
  const QGWorld source(Point{2, 2}, '2vuy');
  std::memset(GetPixBaseAddr(source.GetPixMap()), 128, 16 * 2);
  QImageDescription d(source.GetPixMap());
  {
    QImageSequence sequence;
    ASSERT_EQ(Begin(sequence, d, world), noErr);
    const ImageSequence first = sequence.GetSeqID();
    EXPECT_NE(first, 0u);
    ASSERT_EQ(Begin(sequence, d, world), noErr);
    EXPECT_EQ(DecompressionSequenceCount(), 1) << "the first one was ended";
    EXPECT_NE(sequence.GetSeqID(), first);
    EXPECT_EQ(sequence.DecompressSequenceFrameS(source.GetPixMap()), noErr);
    const auto* pixel = reinterpret_cast<UInt8*>(GetPixBaseAddr(world.GetPixMap()));
    EXPECT_EQ(pixel[0], 255);
    EXPECT_EQ(pixel[1], 130) << "255/219 x 112 = 130.4";
    EXPECT_EQ(Logged(), Lines{});

    EXPECT_EQ(sequence.DecompressSequenceFrameS(nullptr), -50);
    EXPECT_EQ(Logged(), Lines{Failed("hSourcePixMap", "DecompressSequenceFrameS")});
    char data[3] = {};
    EXPECT_EQ(sequence.DecompressSequenceFrameS(data, 3, 0, nullptr, nullptr), codecBadDataErr);
    EXPECT_EQ(Logged(), Lines{FailedErr(-8969, kFrame, "DecompressSequenceFrameS")});
    PixMap nothing{};
    PixMap* pointer = &nothing;
    EXPECT_EQ(sequence.DecompressSequenceFrameS(&pointer), -50);
    EXPECT_EQ(Logged(),
              (Lines{FailedErr(-50, kFrame, "DecompressSequenceFrameS"),
                     FailedErr(-50,
                               "err=DecompressSequenceFrameS( GetPixBaseAddr(hSourcePixMap), "
                               "imageDataSize )",
                               "DecompressSequenceFrameS")}));
    EXPECT_EQ(sequence.CDSequenceEnd(), noErr);
    EXPECT_EQ(sequence.GetSeqID(), 0u);

    ASSERT_EQ(Begin(sequence, d, world), noErr);
    CDSequenceEnd(sequence.GetSeqID());
    EXPECT_EQ(sequence.CDSequenceEnd(), -50) << "somebody ended it already";
    EXPECT_EQ(sequence.GetSeqID(), 0u);
    EXPECT_EQ(Logged(), Lines{FailedErr(-50, "err=::CDSequenceEnd(mSeqID)", "CDSequenceEnd")});
    ASSERT_EQ(Begin(sequence, d, world), noErr);
  }
  EXPECT_EQ(DecompressionSequenceCount(), 0) << "the destructor ends it";
}

TEST_F(Sequence, FailedBeginsLeaveItClosed) {
  QImageSequence sequence;
  const QGWorld world(Point{2, 2}, 32);
  QImageDescription d(UInt32{'jpeg'});
  d.SetWidthHeight(2, 2);
  EXPECT_EQ(Begin(sequence, d, world), noCodecErr);
  EXPECT_EQ(Logged(), Lines{FailedErr(-8961, kBegin, "DecompressSequenceBegin")});
  EXPECT_FALSE(sequence.IsConstructed());
  EXPECT_EQ(Begin(sequence, QImageDescription(), world), -50);
  EXPECT_EQ(Logged(), Lines{FailedErr(-50, kBegin, "DecompressSequenceBegin")});
}

TEST_F(Sequence, FromWorldToWorldIsAlwaysRefused) {
  QImageSequence sequence;
  const QGWorld source(Point{2, 2}, '2vuy');
  const QGWorld destination(Point{4, 4}, 32);
  EXPECT_EQ(sequence.DecompressSequenceBeginS(source, destination, codecMaxQuality, anyCodec), -50);
  EXPECT_EQ(Logged(), Lines{Failed("sourceWorld.GetImageDescription(sourceImageDesc)",
                                   "DecompressSequenceBeginS")});
  EXPECT_FALSE(sequence.IsConstructed());
  EXPECT_EQ(sequence.DecompressSequenceBeginS(QGWorld(), destination, 0, anyCodec), -50);
  EXPECT_EQ(Logged().size(), 2u);
}

TEST_F(Sequence, BestSpeedIsTheToolkitsOwnRule) {
  ASSERT_TRUE(Q_2vuy_DecompressorsAreRegistered());
  constexpr int kWidth = 600;
  const QGWorld world(Point{1, kWidth}, 32);
  std::vector<unsigned char> vuy2(2 * kWidth);
  for (std::size_t i = 0; i < vuy2.size(); ++i)
    vuy2[i] = static_cast<unsigned char>(i * 37 + i / 5);
  std::vector<unsigned char> yuvs(vuy2.size());
  for (std::size_t i = 0; i < vuy2.size(); ++i) yuvs[i] = vuy2[i ^ 1];
  std::vector<unsigned char> expected(4 * kWidth);
  Q_2vuy_data::ConvertScanline_2vuy_to_ARGB(vuy2.data(), expected.data(), kWidth);
  const char* drawn = GetPixBaseAddr(world.GetPixMap());

  const auto check = [&](UInt32 type, std::vector<unsigned char>& data,
                         DecompressorComponent codec) {
    std::memset(GetPixBaseAddr(world.GetPixMap()), 0, expected.size());
    QImageDescription d(type);
    d.SetWidthHeight(kWidth, 1);
    QImageSequence sequence;
    EXPECT_EQ(Begin(sequence, d, world, codec), noErr);
    EXPECT_EQ(
        sequence.DecompressSequenceFrameS(reinterpret_cast<char*>(data.data()),
                                          static_cast<SInt32>(data.size()), 0, nullptr, nullptr),
        noErr);
    return std::memcmp(drawn, expected.data(), expected.size()) == 0;
  };
  EXPECT_TRUE(check('2vuy', vuy2, bestSpeedCodec));
  EXPECT_TRUE(check('yuvs', yuvs, bestSpeedCodec));
  EXPECT_FALSE(check('2vuy', vuy2, bestFidelityCodec));
  const test::ScopedVariable toolkit("LUMIVANE_DECOMPRESSOR", "toolkit");
  EXPECT_TRUE(check('2vuy', vuy2, bestFidelityCodec));
  EXPECT_TRUE(check('yuvs', yuvs, bestFidelityCodec));
}

}  // namespace
