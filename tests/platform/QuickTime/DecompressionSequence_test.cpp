#include "platform/QuickTime/DecompressionSequence.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "platform/CoreServices/MacMemory.h"
#include "platform/QuickTime/YCbCrRows.h"
#include "tests/support/HermeticHome.h"

namespace {

using Pixels = std::vector<UInt8>;

class Sequences : public testing::Test {
 protected:
  void SetUp() override {
    memory_ = MacMemoryGetCounters();
    ASSERT_EQ(DecompressionSequenceCount(), 0);
  }
  void TearDown() override {
    CDSequenceEnd(sequence_);
    if (description_ != nullptr) DisposeHandle(reinterpret_cast<Handle>(description_));
    DisposeGWorld(port_);
    EXPECT_EQ(DecompressionSequenceCount(), 0);
    EXPECT_EQ(MacMemoryGetCounters().handles, memory_.handles);
  }

  /// A description of a tight picture.
  void Describe(OSType type, SInt16 width, SInt16 height, SInt32 dataSize = 0) {
    if (description_ != nullptr) DisposeHandle(reinterpret_cast<Handle>(description_));
    ASSERT_EQ(MakeImageDescriptionForEffect(type, &description_), noErr);
    (*description_)->width = width;
    (*description_)->height = height;
    (*description_)->dataSize = dataSize;
  }
  void Attach(SInt32 type, const std::string& bytes) {
    Handle h = nullptr;
    PtrToHand(bytes.data(), &h, static_cast<Size>(bytes.size()));
    ASSERT_EQ(AddImageDescriptionExtension(description_, h, type), noErr);
    DisposeHandle(h);
  }
  /// A port over guarded memory: 16 bytes before and after, all bytes 0xEE.
  void OpenPort(const Rect& bounds, SInt32 rowBytes, OSType format = k32ARGBPixelFormat) {
    DisposeGWorld(port_);
    bounds_ = bounds;
    rowBytes_ = rowBytes;
    memory_pixels_.assign(
        static_cast<std::size_t>((bounds.bottom - bounds.top) * rowBytes) + 2 * kGuard, 0xEE);
    ASSERT_EQ(QTNewGWorldFromPtr(&port_, format, &bounds, nullptr, nullptr, 0,
                                 memory_pixels_.data() + kGuard, rowBytes),
              noErr);
  }
  OSErr Begin(const MatrixRecord* matrix = nullptr, const Rect* source = nullptr,
              RgnHandle mask = nullptr, DecompressorComponent codec = bestFidelityCodec) {
    CDSequenceEnd(sequence_);
    MatrixRecord copy{};
    if (matrix != nullptr) copy = *matrix;
    return DecompressSequenceBegin(&sequence_, description_, port_, nullptr, source,
                                   matrix == nullptr ? nullptr : &copy, srcCopy, mask, 0,
                                   codecMaxQuality, codec);
  }
  OSErr Frame(const Pixels& data) {
    return DecompressSequenceFrameS(sequence_,
                                    reinterpret_cast<Ptr>(const_cast<UInt8*>(data.data())),
                                    static_cast<SInt32>(data.size()), 0, nullptr, nullptr);
  }
  /// The pixel as 0xAARRGGBB; 0xEEEEEEEE where nothing was drawn.
  UInt32 At(int h, int v) const {
    const UInt8* p = memory_pixels_.data() + kGuard +
                     static_cast<std::size_t>((v - bounds_.top) * rowBytes_) +
                     static_cast<std::size_t>((h - bounds_.left) * 4);
    return static_cast<UInt32>(p[0]) << 24 | static_cast<UInt32>(p[1]) << 16 |
           static_cast<UInt32>(p[2]) << 8 | p[3];
  }
  /// That nothing but the port's pixels was written.
  void ExpectGuards() const {
    const std::size_t used = static_cast<std::size_t>(bounds_.right - bounds_.left) * 4;
    const std::size_t rows = static_cast<std::size_t>(bounds_.bottom - bounds_.top);
    for (std::size_t i = 0; i < memory_pixels_.size(); ++i) {
      const bool inRows = i >= kGuard && i < kGuard + rows * static_cast<std::size_t>(rowBytes_);
      if (inRows && (i - kGuard) % static_cast<std::size_t>(rowBytes_) < used) continue;
      ASSERT_EQ(memory_pixels_[i], 0xEE) << i;
    }
  }
  static Pixels RandomPicture(int width, int height, std::size_t rowBytes) {
    std::mt19937 random(static_cast<unsigned>(width * 1000 + height));
    Pixels data(rowBytes * static_cast<std::size_t>(height));
    for (UInt8& byte : data) byte = static_cast<UInt8>(random());
    return data;
  }
  /// The source pixel by the definition: its own luma, its pair's chroma.
  static UInt32 Expected(const Pixels& data, std::size_t rowBytes, int x, int y,
                         const YCbCrMatrix& matrix = kYCbCr601) {
    const std::size_t pair =
        static_cast<std::size_t>(y) * rowBytes + static_cast<std::size_t>(x / 2) * 4;
    UInt8 unit[4] = {data[pair], data[pair + 1], data[pair + 2], 0};
    unit[3] = x % 2 != 0 ? data[pair + 3] : UInt8{0};
    UInt8 argb[8];
    kScalarYCbCrForm.convert(matrix, YCbCrOrder::CbY0CrY1, {unit, 0, argb, 0, 2, 1});
    const UInt8* p = argb + 4 * (x % 2);
    return static_cast<UInt32>(p[0]) << 24 | static_cast<UInt32>(p[1]) << 16 |
           static_cast<UInt32>(p[2]) << 8 | p[3];
  }
  static MatrixRecord Translation(int h, int v) {
    MatrixRecord m;
    SetIdentityMatrix(&m);
    TranslateMatrix(&m, Long2Fix(h), Long2Fix(v));
    return m;
  }

  static constexpr std::size_t kGuard = 16;
  static constexpr UInt32 kUntouched = 0xEEEEEEEE;
  MacMemoryCounters memory_{};
  ImageDescriptionHandle description_ = nullptr;
  GWorldPtr port_ = nullptr;
  ImageSequence sequence_ = 0;
  Pixels memory_pixels_;
  Rect bounds_{};
  SInt32 rowBytes_ = 0;
};

TEST_F(Sequences, AllWidthsDrawExactlyTheirPixels) {
  for (int width = 1; width <= 66; ++width) {
    const std::size_t rowBytes = static_cast<std::size_t>((width + 1) / 2 * 4);
    const Pixels data = RandomPicture(width, 3, rowBytes);
    Describe('2vuy', static_cast<SInt16>(width), 3, static_cast<SInt32>(data.size()));
    OpenPort({0, 0, 3, static_cast<SInt16>(width)}, width * 4);
    ASSERT_EQ(Begin(), noErr);
    ASSERT_EQ(Frame(data), noErr);
    for (int y = 0; y < 3; ++y) {
      for (int x = 0; x < width; ++x) {
        ASSERT_EQ(At(x, y), Expected(data, rowBytes, x, y)) << width << " " << x << " " << y;
      }
    }
    ExpectGuards();
  }
}

TEST_F(Sequences, TranslatedPicturesAreClippedToThePort) {
  const Pixels data = RandomPicture(11, 7, 24);
  Describe('2vuy', 11, 7, 24 * 7);
  OpenPort({5, -3, 12, 6}, 40);
  for (int dv = -8; dv <= 13; ++dv) {
    for (int dh = -15; dh <= 7; ++dh) {
      const MatrixRecord m = Translation(dh, dv);
      std::fill(memory_pixels_.begin(), memory_pixels_.end(), 0xEE);
      ASSERT_EQ(Begin(&m), noErr);
      ASSERT_EQ(Frame(data), noErr);
      for (int v = bounds_.top; v < bounds_.bottom; ++v) {
        for (int h = bounds_.left; h < bounds_.right; ++h) {
          const int x = h - dh;
          const int y = v - dv;
          const bool drawn = x >= 0 && x < 11 && y >= 0 && y < 7;
          ASSERT_EQ(At(h, v), drawn ? Expected(data, 24, x, y) : kUntouched)
              << dh << "," << dv << " at " << h << "," << v;
        }
      }
      ExpectGuards();
    }
  }
}

TEST_F(Sequences, SourceRectangleAndMaskLimitTheDrawing) {
  const Pixels data = RandomPicture(10, 10, 20);
  Describe('2vuy', 10, 10, 200);
  OpenPort({0, 0, 10, 10}, 40);
  const RgnHandle mask = NewRgn();
  SetRectRgn(mask, 4, 0, 9, 6);
  const Rect source{2, 1, 100, 8};
  ASSERT_EQ(Begin(nullptr, &source, mask), noErr);
  DisposeRgn(mask);
  ASSERT_EQ(Frame(data), noErr);
  for (int y = 0; y < 10; ++y) {
    for (int x = 0; x < 10; ++x) {
      const bool drawn = x >= 4 && x < 8 && y >= 2 && y < 6;
      ASSERT_EQ(At(x, y), drawn ? Expected(data, 20, x, y) : kUntouched) << x << " " << y;
    }
  }
  // Changes count from the next frame on.
  EXPECT_EQ(SetDSequenceMask(sequence_, nullptr), noErr);
  EXPECT_EQ(SetDSequenceSrcRect(sequence_, nullptr), noErr);
  ASSERT_EQ(Frame(data), noErr);
  EXPECT_EQ(At(9, 9), Expected(data, 20, 9, 9));
  const Rect outside{20, 20, 30, 30};
  EXPECT_EQ(SetDSequenceSrcRect(sequence_, &outside), paramErr);
}

TEST_F(Sequences, RowBytesComeFromTheExtensionTheDataSizeOrTheWidth) {
  const Pixels data = RandomPicture(6, 4, 32);
  OpenPort({0, 0, 4, 6}, 24);
  struct Case {
    SInt32 dataSize;
    std::string rowb;
    std::size_t rowBytes;
  };
  const Case cases[] = {
      {0, "", 12},
      {48, "", 12},
      {64, "", 16},
      {4, "", 12},  // less than a row: not believed
      {0, std::string("\0\0\0\x14", 4), 20},
      {48, std::string("\0\0\0\x20", 4), 32},   // the data size counts no padding
      {128, std::string("\x20\0\0\0", 4), 32},  // as the machine stores it
      {0, std::string("\0\x14", 2), 12},        // an extension of another size is none
  };
  for (const Case& c : cases) {
    Describe('2vuy', 6, 4, c.dataSize);
    if (!c.rowb.empty()) Attach('rowb', c.rowb);
    ASSERT_EQ(Begin(), noErr);
    ASSERT_EQ(Frame(data), noErr);
    for (int y = 0; y < 4; ++y) {
      ASSERT_EQ(At(5, y), Expected(data, c.rowBytes, 5, y)) << c.dataSize << " " << y;
    }
  }
  for (const std::string& bad : {std::string("\0\0\0\x0B", 4), std::string("\0\0\0\0", 4),
                                 std::string("\xFF\xFF\xFF\xF0", 4)}) {
    Describe('2vuy', 6, 4, 0);
    Attach('rowb', bad);
    EXPECT_EQ(Begin(), codecBadDataErr);
    EXPECT_EQ(sequence_, 0u);
  }
}

TEST_F(Sequences, TightOddRowsTakeTheirLastChromaFromTheNeighbour) {
  // Rows of 10 bytes: two whole pairs, then Cb and Y0 of a fifth pixel.
  const Pixels data = {10, 50, 200, 60, 20, 70, 210, 80, 30, 90,
                       40, 51, 201, 61, 21, 71, 211, 81, 31, 91};
  Describe('2vuy', 5, 2, 20);
  OpenPort({0, 0, 2, 5}, 20);
  ASSERT_EQ(Begin(), noErr);
  ASSERT_EQ(Frame(data), noErr);
  const Pixels completed = {30, 90, 210, 0, 31, 91, 211, 0};
  EXPECT_EQ(At(4, 0), Expected(completed, 4, 0, 0));
  EXPECT_EQ(At(4, 1), Expected(completed, 4, 0, 1));
  EXPECT_EQ(At(3, 1), Expected(data, 10, 3, 1));
  // The same when only that pixel is wanted.
  const Rect last{0, 4, 2, 5};
  std::fill(memory_pixels_.begin(), memory_pixels_.end(), 0xEE);
  ASSERT_EQ(SetDSequenceSrcRect(sequence_, &last), noErr);
  ASSERT_EQ(Frame(data), noErr);
  EXPECT_EQ(At(4, 1), Expected(completed, 4, 0, 1));
  EXPECT_EQ(At(3, 1), kUntouched);
  ExpectGuards();
  // A row of one pixel has no neighbour: neutral.
  Describe('2vuy', 1, 1, 2);
  OpenPort({0, 0, 1, 1}, 4);
  ASSERT_EQ(Begin(), noErr);
  ASSERT_EQ(Frame({128, 100}), noErr);
  EXPECT_EQ(At(0, 0), Expected({128, 100, 128, 0}, 4, 0, 0));
}

TEST_F(Sequences, ShortDataLeaveTheirRowsAndReport) {
  const Pixels data = RandomPicture(6, 5, 16);
  Describe('2vuy', 6, 5, 0);
  Attach('rowb', std::string("\0\0\0\x10", 4));
  for (std::size_t bytes = 0; bytes <= data.size(); ++bytes) {
    OpenPort({0, 0, 5, 6}, 24);
    ASSERT_EQ(Begin(), noErr);
    // Memory of exactly this size: the sanitizer sees any read beyond.
    const Pixels part(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(bytes));
    const int rows = bytes < 12 ? 0 : static_cast<int>((bytes - 12) / 16 + 1);
    char nothing = 0;
    const OSErr error = part.empty()
                            ? DecompressSequenceFrameS(sequence_, &nothing, 0, 0, nullptr, nullptr)
                            : Frame(part);
    ASSERT_EQ(error, rows == 5 ? noErr : codecBadDataErr) << bytes;
    for (int y = 0; y < 5; ++y) {
      ASSERT_EQ(At(5, y), y < rows ? Expected(data, 16, 5, y) : kUntouched) << bytes;
    }
  }
}

TEST_F(Sequences, TheMatrixFollowsTheHeightUnlessTheDescriptionSays) {
  const Pixels pair = {90, 81, 240, 81};
  struct Case {
    SInt16 height;
    SInt32 type;
    std::string extension;
    const YCbCrMatrix* matrix;
  };
  const std::string nclc("nclc\0\1\0\1\0", 9);
  const Case cases[] = {
      {576, 0, "", &kYCbCr601},
      {577, 0, "", &kYCbCr709},
      {480, 'nclc', nclc + '\1', &kYCbCr709},
      {720, 'nclc', nclc + '\6', &kYCbCr601},
      {720, 'nclc', nclc + '\5', &kYCbCr601},
      {720, 'nclc', nclc + '\2', &kYCbCr709},
      {480, 'nclc', nclc, &kYCbCr601},  // the wrong size
      {480, 'nclc', std::string("clcn\1\0\1\0\1\0", 10), &kYCbCr709},
      {480, 'colr', nclc + '\1', &kYCbCr709},
      {480, 'colr', std::string("prof\0\0\0\0\0\1", 10), &kYCbCr601},
  };
  for (const Case& c : cases) {
    Describe('2vuy', 2, c.height, 0);
    if (c.type != 0) Attach(c.type, c.extension);
    OpenPort({0, 0, 1, 2}, 8);
    ASSERT_EQ(Begin(), noErr);
    EXPECT_EQ(Frame(pair), codecBadDataErr) << "all but one row is missing";
    EXPECT_EQ(At(0, 0), Expected(pair, 4, 0, 0, *c.matrix)) << c.height << " " << c.extension;
  }
}

TEST_F(Sequences, YuvsAndUyvy) {
  OpenPort({0, 0, 1, 2}, 8);
  const Pixels pair = {90, 81, 240, 200};
  Describe('yuvs', 2, 1, 4);
  ASSERT_EQ(Begin(), noErr);
  EXPECT_EQ(Frame({81, 90, 200, 240}), noErr);
  EXPECT_EQ(At(0, 0), Expected(pair, 4, 0, 0));
  EXPECT_EQ(At(1, 0), Expected(pair, 4, 1, 0));
  Describe('UYVY', 2, 1, 4);
  ASSERT_EQ(Begin(), noErr);
  EXPECT_EQ(Frame(pair), noErr);
  EXPECT_EQ(At(1, 0), Expected(pair, 4, 1, 0));
}

TEST_F(Sequences, RawARGBIsCopied) {
  OpenPort({0, 0, 2, 2}, 8);
  Pixels data(16);
  for (std::size_t i = 0; i < 16; ++i) data[i] = static_cast<UInt8>(i);
  for (const OSType type : {OSType{'raw '}, OSType{k32ARGBPixelFormat}}) {
    Describe(type, 2, 2, 16);
    (*description_)->depth = 32;
    ASSERT_EQ(Begin(), noErr);
    EXPECT_EQ(Frame(data), noErr);
    EXPECT_EQ(At(1, 1), 0x0C0D0E0Fu);
  }
}

TEST_F(Sequences, ScalingSamplesBilinearly) {
  // 2 x 2 to 4 x 4: centres fall at quarters between the pixels.
  Describe(k32ARGBPixelFormat, 2, 2, 16);
  const Pixels data = {255, 0, 40, 0, 255, 100, 80, 0, 255, 200, 40, 0, 255, 255, 80, 0};
  OpenPort({0, 0, 4, 4}, 16);
  const Rect from{0, 0, 2, 2};
  const Rect to{0, 0, 4, 4};
  MatrixRecord m;
  RectMatrix(&m, &from, &to);
  ASSERT_EQ(Begin(&m), noErr);
  ASSERT_EQ(Frame(data), noErr);
  const double weight[4] = {0, 0.25, 0.75, 1};
  for (int v = 0; v < 4; ++v) {
    for (int h = 0; h < 4; ++h) {
      const double top = 0 * (1 - weight[h]) + 100 * weight[h];
      const double bottom = 200 * (1 - weight[h]) + 255 * weight[h];
      const auto red = static_cast<UInt32>(std::lround(top * (1 - weight[v]) + bottom * weight[v]));
      const auto green = static_cast<UInt32>(std::lround(40 + 40 * weight[h]));
      EXPECT_EQ(At(h, v), 0xFF000000u | red << 16 | green << 8) << h << " " << v;
    }
  }
  ExpectGuards();
}

TEST_F(Sequences, OtherMatricesDrawWherePixelCentresFallInside) {
  const Pixels data = RandomPicture(4, 4, 8);
  Describe('2vuy', 4, 4, 32);
  OpenPort({0, 0, 12, 12}, 48);
  // A quarter turn about the origin, moved to the right: (x, y) goes to (8 - y, x).
  const MatrixRecord turn{{{0, fixed1, 0}, {-fixed1, 0, 0}, {8 * fixed1, 0, fract1}}};
  ASSERT_EQ(Begin(&turn), noErr);
  ASSERT_EQ(Frame(data), noErr);
  for (int v = 0; v < 12; ++v) {
    for (int h = 0; h < 12; ++h) {
      const int x = v;
      const int y = 7 - h;
      const bool drawn = x < 4 && y >= 0 && y < 4;
      EXPECT_EQ(At(h, v), drawn ? Expected(data, 8, x, y) : kUntouched) << h << " " << v;
    }
  }
  // Mirrored.
  const MatrixRecord mirror{{{-fixed1, 0, 0}, {0, fixed1, 0}, {4 * fixed1, 0, fract1}}};
  ASSERT_EQ(SetDSequenceMatrix(sequence_, const_cast<MatrixRecord*>(&mirror)), noErr);
  ASSERT_EQ(Frame(data), noErr);
  EXPECT_EQ(At(0, 0), Expected(data, 8, 3, 0));
  // Half a pixel: blends of two neighbours, the last column still inside.
  std::fill(memory_pixels_.begin(), memory_pixels_.end(), 0xEE);
  MatrixRecord half = Translation(0, 0);
  half.matrix[2][0] = fixed1 / 2;
  ASSERT_EQ(SetDSequenceMatrix(sequence_, &half), noErr);
  MatrixRecord back{};
  EXPECT_EQ(GetDSequenceMatrix(sequence_, &back), noErr);
  EXPECT_TRUE(EqualMatrix(&back, &half));
  ASSERT_EQ(Frame(data), noErr);
  EXPECT_EQ(At(0, 0), Expected(data, 8, 0, 0));
  EXPECT_NE(At(3, 0), kUntouched);
  EXPECT_EQ(At(4, 0), kUntouched);
  // A perspective that keeps the left column in place.
  MatrixRecord perspective = Translation(0, 0);
  perspective.matrix[0][2] = fract1 / 8;
  ASSERT_EQ(SetDSequenceMatrix(sequence_, &perspective), noErr);
  EXPECT_EQ(Frame(data), noErr);
  ExpectGuards();
}

TEST_F(Sequences, ScaledShortDataLeaveWhatNeedsTheMissingRows) {
  Describe(k32ARGBPixelFormat, 1, 2, 8);
  OpenPort({0, 0, 4, 1}, 4);
  MatrixRecord m = Translation(0, 0);
  m.matrix[1][1] = 2 * fixed1;
  ASSERT_EQ(Begin(&m), noErr);
  EXPECT_EQ(Frame({1, 2, 3, 4}), codecBadDataErr);
  EXPECT_EQ(At(0, 0), 0x01020304u) << "the top row alone";
  EXPECT_EQ(At(0, 1), kUntouched) << "needs both rows";
  EXPECT_EQ(At(0, 3), kUntouched);
  char none = 0;
  EXPECT_EQ(DecompressSequenceFrameS(sequence_, &none, 0, 0, nullptr, nullptr), codecBadDataErr);
}

TEST_F(Sequences, MatricesThatScaleToNothingAreRefused) {
  Describe('2vuy', 4, 4, 0);
  OpenPort({0, 0, 4, 4}, 16);
  const MatrixRecord flat{{{fixed1, 0, 0}, {0, 0, 0}, {0, 0, fract1}}};
  const MatrixRecord zero{};
  const MatrixRecord line{{{fixed1, fixed1, 0}, {fixed1, fixed1, 0}, {0, 0, fract1}}};
  for (const MatrixRecord& m : {flat, zero, line}) {
    EXPECT_EQ(Begin(&m), matrixErr);
    EXPECT_EQ(sequence_, 0u);
  }
  ASSERT_EQ(Begin(), noErr);
  EXPECT_EQ(SetDSequenceMatrix(sequence_, const_cast<MatrixRecord*>(&flat)), matrixErr);
  // So small that no pixel's centre is met: nothing to draw, and no error.
  const MatrixRecord tiny{{{1, 0, 0}, {0, 1, 0}, {0, 0, fract1}}};
  ASSERT_EQ(SetDSequenceMatrix(sequence_, const_cast<MatrixRecord*>(&tiny)), noErr);
  EXPECT_EQ(Frame(RandomPicture(4, 4, 8)), noErr);
  EXPECT_EQ(At(0, 0), kUntouched);
}

TEST_F(Sequences, BeginErrors) {
  Describe('2vuy', 4, 4, 0);
  OpenPort({0, 0, 4, 4}, 16);
  const auto begin = [&](ImageSequence* id, ImageDescriptionHandle d, CGrafPtr port,
                         const Rect* source, SInt16 mode, DecompressorComponent codec) {
    return DecompressSequenceBegin(id, d, port, nullptr, source, nullptr, mode, nullptr, 0, 0,
                                   codec);
  };
  ImageSequence id = 99;
  EXPECT_EQ(begin(nullptr, description_, port_, nullptr, srcCopy, anyCodec), paramErr);
  EXPECT_EQ(begin(&id, nullptr, port_, nullptr, srcCopy, anyCodec), paramErr);
  EXPECT_EQ(id, 0u);
  ImageDescriptionHandle small = reinterpret_cast<ImageDescriptionHandle>(NewHandleClear(85));
  EXPECT_EQ(begin(&id, small, port_, nullptr, srcCopy, anyCodec), paramErr);
  DisposeHandle(reinterpret_cast<Handle>(small));
  SetGWorld(nullptr, nullptr);
  EXPECT_EQ(begin(&id, description_, nullptr, nullptr, srcCopy, anyCodec), paramErr);
  EXPECT_EQ(begin(&id, description_, reinterpret_cast<CGrafPtr>(&id), nullptr, srcCopy, anyCodec),
            paramErr);
  const Rect outside{4, 0, 8, 4};
  EXPECT_EQ(begin(&id, description_, port_, &outside, srcCopy, anyCodec), paramErr);
  EXPECT_EQ(begin(&id, description_, port_, nullptr, 36, anyCodec), codecUnimpErr);
  EXPECT_EQ(begin(&id, description_, port_, nullptr, srcCopy,
                  reinterpret_cast<DecompressorComponent>(&id)),
            noCodecErr);
  for (const SInt16 bad : {SInt16{0}, SInt16{-1}}) {
    Describe('2vuy', bad, 4, 0);
    EXPECT_EQ(begin(&id, description_, port_, nullptr, srcCopy, anyCodec), paramErr);
    Describe('2vuy', 4, bad, 0);
    EXPECT_EQ(begin(&id, description_, port_, nullptr, srcCopy, anyCodec), paramErr);
  }
  Describe('jpeg', 4, 4, 0);
  EXPECT_EQ(begin(&id, description_, port_, nullptr, srcCopy, bestFidelityCodec), noCodecErr);
  Describe('2vuy', 4, 4, 0);
  OpenPort({0, 0, 4, 4}, 16, k8IndexedGrayPixelFormat);
  EXPECT_EQ(begin(&id, description_, port_, nullptr, srcCopy, bestFidelityCodec), noCodecErr);
}

TEST_F(Sequences, LifeCycle) {
  Describe('2vuy', 2, 1, 4);
  OpenPort({0, 0, 1, 2}, 8);
  SetGWorld(port_, nullptr);
  ASSERT_EQ(DecompressSequenceBeginS(&sequence_, description_, nullptr, 0, nullptr, nullptr,
                                     nullptr, nullptr, ditherCopy, nullptr, 0, 0, anyCodec),
            noErr)
      << "into the current port";
  SetGWorld(nullptr, nullptr);
  EXPECT_NE(sequence_, 0u);
  EXPECT_EQ(DecompressionSequenceCount(), 1);
  EXPECT_EQ(CDSequenceBusy(sequence_), noErr);
  EXPECT_EQ(CDSequenceFlush(sequence_), noErr);
  EXPECT_EQ(SetDSequenceAccuracy(sequence_, codecMinQuality), noErr);
  EXPECT_EQ(SetDSequenceTransferMode(sequence_, srcCopy), noErr);
  EXPECT_EQ(SetDSequenceTransferMode(sequence_, 1), codecUnimpErr);

  struct Seen {
    int calls = 0;
    OSErr result = -1;
    SInt16 flags = 0;
  } seen;
  ICMCompletionProcRecord done{[](OSErr result, SInt16 flags, std::intptr_t refCon) {
                                 auto* s = reinterpret_cast<Seen*>(refCon);
                                 ++s->calls;
                                 s->result = result;
                                 s->flags = flags;
                               },
                               reinterpret_cast<std::intptr_t>(&seen)};
  CodecFlags out = 77;
  char frame[4] = {};
  EXPECT_EQ(DecompressSequenceFrameS(sequence_, frame, 4, 0, &out, &done), noErr);
  EXPECT_EQ(out, 0);
  EXPECT_EQ(seen.calls, 1);
  EXPECT_EQ(seen.result, noErr);
  EXPECT_EQ(seen.flags, codecCompletionSource | codecCompletionDest);
  EXPECT_EQ(DecompressSequenceFrameS(sequence_, nullptr, 4, 0, nullptr, &done), paramErr);
  EXPECT_EQ(seen.result, paramErr);
  EXPECT_EQ(DecompressSequenceFrameS(sequence_, frame, -1, 0, nullptr, nullptr), paramErr);

  const ImageSequence ended = sequence_;
  EXPECT_EQ(CDSequenceEnd(ended), noErr);
  EXPECT_EQ(CDSequenceEnd(ended), paramErr);
  EXPECT_EQ(CDSequenceEnd(0), noErr);
  EXPECT_EQ(DecompressSequenceFrameS(ended, frame, 4, 0, nullptr, nullptr), paramErr);
  EXPECT_EQ(SetDSequenceMatrix(ended, nullptr), paramErr);
  EXPECT_EQ(GetDSequenceMatrix(ended, nullptr), paramErr);
  EXPECT_EQ(SetDSequenceMask(ended, nullptr), paramErr);
  EXPECT_EQ(SetDSequenceAccuracy(ended, 0), paramErr);
  EXPECT_EQ(CDSequenceBusy(ended), paramErr);
  sequence_ = 0;
}

TEST_F(Sequences, APortThatIsGoneIsReported) {
  Describe('2vuy', 2, 1, 4);
  OpenPort({0, 0, 1, 2}, 8);
  ASSERT_EQ(Begin(), noErr);
  DisposeGWorld(port_);
  port_ = nullptr;
  EXPECT_EQ(Frame({1, 2, 3, 4}), paramErr);
}

// A codec that writes its instance's number.
int gOpened = 0;
int gClosed = 0;
OSErr OpenStub(ImageDescriptionHandle description, void** instance) {
  if ((*description)->depth == 99) return codecConditionErr;
  ++gOpened;
  *instance = new UInt8(static_cast<UInt8>((*description)->depth));
  return noErr;
}
void CloseStub(void* instance) {
  ++gClosed;
  delete static_cast<UInt8*>(instance);
}
void ConvertStub(void* instance, const UInt8*, UInt8* destination, UInt32 width) {
  std::memset(destination, *static_cast<UInt8*>(instance), std::size_t{4} * width);
}
ImageDecompressorInfo Stub(DecompressorQuality quality) {
  return {"stub", '2vuy', k32ARGBPixelFormat, quality, 2, 4, OpenStub, ConvertStub, CloseStub};
}

TEST_F(Sequences, CodecsAreChosenByQualityAgeAndName) {
  const CodecComponent full = FindImageDecompressor('2vuy', 32, bestFidelityCodec);
  ASSERT_NE(full, nullptr);
  char name[64];
  ASSERT_TRUE(GetImageDecompressorName(full, name, sizeof(name)));
  EXPECT_STREQ(name, "2vuy to ARGB, full matrix");
  const CodecComponent fast = RegisterImageDecompressor(Stub(DecompressorQuality::bestSpeed));
  ASSERT_NE(fast, nullptr);
  EXPECT_EQ(FindImageDecompressor('2vuy', 32, bestSpeedCodec), fast);
  EXPECT_EQ(FindImageDecompressor('2vuy', 32, bestFidelityCodec), full);
  EXPECT_EQ(FindImageDecompressor('2vuy', 32, anyCodec), full);
  EXPECT_EQ(FindImageDecompressor('2vuy', 32, bestCompressionCodec), full);
  EXPECT_EQ(FindImageDecompressor('2vuy', 32, fast), fast);
  EXPECT_EQ(FindImageDecompressor('yuvs', 32, fast), nullptr) << "not its format";
  EXPECT_EQ(FindImageDecompressor('2vuy', 'BGRA', anyCodec), nullptr);
  {
    const test::ScopedVariable toolkit("LUMIVANE_DECOMPRESSOR", "toolkit");
    EXPECT_EQ(FindImageDecompressor('2vuy', 32, bestFidelityCodec), fast);
    EXPECT_EQ(FindImageDecompressor('UYVY', 32, bestFidelityCodec),
              FindImageDecompressor('UYVY', 32, anyCodec))
        << "nobody has the toolkit's rule for it";
  }
  {
    const test::ScopedVariable other("LUMIVANE_DECOMPRESSOR", "something");
    EXPECT_EQ(FindImageDecompressor('2vuy', 32, bestFidelityCodec), full);
  }
  const CodecComponent newer = RegisterImageDecompressor(Stub(DecompressorQuality::bestSpeed));
  EXPECT_EQ(FindImageDecompressor('2vuy', 32, bestSpeedCodec), newer);
  EXPECT_EQ(UnregisterImageDecompressor(newer), noErr);
  EXPECT_EQ(FindImageDecompressor('2vuy', 32, bestSpeedCodec), fast);
  EXPECT_EQ(UnregisterImageDecompressor(fast), noErr);
  EXPECT_EQ(UnregisterImageDecompressor(fast), paramErr);
  EXPECT_EQ(UnregisterImageDecompressor(nullptr), paramErr);
  EXPECT_FALSE(GetImageDecompressorName(fast, name, sizeof(name)));
  EXPECT_FALSE(GetImageDecompressorName(full, nullptr, 0));
  EXPECT_TRUE(GetImageDecompressorName(full, name, 5));
  EXPECT_STREQ(name, "2vuy");
}

TEST_F(Sequences, IncompleteCodecsAreRefused) {
  const ImageDecompressorInfo good = Stub(DecompressorQuality::bestSpeed);
  const auto refused = [&](auto change) {
    ImageDecompressorInfo bad = good;
    change(bad);
    return RegisterImageDecompressor(bad) == nullptr;
  };
  EXPECT_TRUE(refused([](auto& i) { i.convertRow = nullptr; }));
  EXPECT_TRUE(refused([](auto& i) { i.sourceFormat = 0; }));
  EXPECT_TRUE(refused([](auto& i) { i.destinationFormat = 'jpeg'; }));
  EXPECT_TRUE(refused([](auto& i) { i.destinationFormat = 16; }));
  EXPECT_TRUE(refused([](auto& i) { i.destinationFormat = '2vuy'; }));
  EXPECT_TRUE(refused([](auto& i) { i.unitPixels = 0; }));
  EXPECT_TRUE(refused([](auto& i) { i.unitPixels = 17; }));
  EXPECT_TRUE(refused([](auto& i) { i.unitBytes = 0; }));
  EXPECT_TRUE(refused([](auto& i) { i.unitBytes = 65; }));
}

TEST_F(Sequences, WithdrawnCodecsAreClosedAndNotCalledAgain) {
  gOpened = gClosed = 0;
  const CodecComponent stub = RegisterImageDecompressor(Stub(DecompressorQuality::bestSpeed));
  Describe('2vuy', 2, 1, 4);
  OpenPort({0, 0, 1, 2}, 8);
  (*description_)->depth = 99;
  EXPECT_EQ(Begin(nullptr, nullptr, nullptr, stub), codecConditionErr) << "its own answer";
  (*description_)->depth = 17;
  ASSERT_EQ(Begin(nullptr, nullptr, nullptr, stub), noErr);
  EXPECT_EQ(Frame({0, 0, 0, 0}), noErr);
  EXPECT_EQ(At(1, 0), 0x11111111u);
  EXPECT_EQ(CDSequenceEnd(sequence_), noErr);
  EXPECT_EQ(gOpened, 1);
  EXPECT_EQ(gClosed, 1);
  ASSERT_EQ(Begin(nullptr, nullptr, nullptr, bestSpeedCodec), noErr);
  EXPECT_EQ(UnregisterImageDecompressor(stub), noErr);
  EXPECT_EQ(gClosed, 2) << "closed with its module still there";
  EXPECT_EQ(Frame({0, 0, 0, 0}), noCodecErr);
  EXPECT_EQ(CDSequenceEnd(sequence_), noErr);
  sequence_ = 0;
  EXPECT_EQ(gClosed, 2);
}

}  // namespace
