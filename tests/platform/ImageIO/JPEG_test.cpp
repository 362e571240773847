#include <gtest/gtest.h>

// The library's header needs these two.
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "platform/ImageIO/ExifOrientation.h"
#include "platform/ImageIO/ImageData.h"
#include "tests/platform/ImageIO/Pixels.h"

namespace {

using pixels::Bytes;
using pixels::Decoded;

constexpr unsigned kWidth = 37;
constexpr unsigned kHeight = 23;

// Best-quality coding of a smooth picture: quantization steps of 1 and the colour conversion.
constexpr double kCodingTolerance = 4;

// A smooth picture: 0 red rises to the right, 1 green downwards, 2 blue to both.
unsigned Smooth(unsigned x, unsigned y, unsigned c) {
  if (c == 0) return 20 + x * 5;
  if (c == 1) return 30 + y * 8;
  return 10 + x * 3 + y * 4;
}

struct Kind {
  J_COLOR_SPACE input = JCS_RGB;
  J_COLOR_SPACE stored = JCS_YCbCr;
  int components = 3;
  bool progressive = false;
  bool adobe = false;
  unsigned width = kWidth;
  unsigned height = kHeight;
  int quality = 100;
};

// `sample(x, y, component)` of the input space.
template <class Sample>
Bytes Write(const Kind& kind, Sample sample, const Bytes& app1 = {}) {
  jpeg_compress_struct jpeg{};
  jpeg_error_mgr errors{};
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_compress(&jpeg);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&jpeg, &memory, &size);
  jpeg.image_width = kind.width;
  jpeg.image_height = kind.height;
  jpeg.input_components = kind.components;
  jpeg.in_color_space = kind.input;
  jpeg_set_defaults(&jpeg);
  jpeg_set_colorspace(&jpeg, kind.stored);
  jpeg_set_quality(&jpeg, kind.quality, TRUE);
  for (int c = 0; c < jpeg.num_components; ++c) {
    jpeg.comp_info[c].h_samp_factor = 1;
    jpeg.comp_info[c].v_samp_factor = 1;
  }
  jpeg.write_Adobe_marker = kind.adobe ? TRUE : FALSE;
  if (kind.progressive) jpeg_simple_progression(&jpeg);
  jpeg_start_compress(&jpeg, TRUE);
  if (!app1.empty()) {
    jpeg_write_marker(&jpeg, JPEG_APP0 + 1, app1.data(), static_cast<unsigned>(app1.size()));
  }
  std::vector<std::uint8_t> row(kind.width * static_cast<unsigned>(kind.components));
  for (unsigned y = 0; y < kind.height; ++y) {
    for (unsigned i = 0; i < row.size(); ++i) {
      const auto components = static_cast<unsigned>(kind.components);
      row[i] = static_cast<std::uint8_t>(sample(i / components, y, i % components));
    }
    JSAMPROW rows = row.data();
    jpeg_write_scanlines(&jpeg, &rows, 1);
  }
  jpeg_finish_compress(&jpeg);
  Bytes file(memory, memory + size);
  jpeg_destroy_compress(&jpeg);
  std::free(memory);
  return file;
}

template <class Color>
void ExpectColors(const Decoded& decoded, Color color, double tolerance = kCodingTolerance) {
  ASSERT_NE(decoded.image, nullptr) << decoded.error;
  EXPECT_TRUE(decoded.complete) << decoded.error;
  EXPECT_EQ(decoded.format, ImageIOFormat::kJPEG);
  EXPECT_EQ(CGImageGetAlphaInfo(decoded.image), kCGImageAlphaNoneSkipLast);
  ASSERT_EQ(CGImageGetWidth(decoded.image), kWidth);
  ASSERT_EQ(CGImageGetHeight(decoded.image), kHeight);
  const Bytes got = pixels::Of(decoded.image);
  for (unsigned y = 0; y < kHeight; ++y) {
    for (unsigned x = 0; x < kWidth; ++x) {
      for (unsigned c = 0; c < 3; ++c) {
        ASSERT_NEAR(got[4 * (y * kWidth + x) + c], color(x, y, c), tolerance)
            << x << ", " << y << " component " << c;
      }
    }
  }
}

TEST(JPEG, ColourBaselineAndProgressive) {
  for (const bool progressive : {false, true}) {
    Kind kind;
    kind.progressive = progressive;
    ExpectColors(Decoded(Write(kind, Smooth)), Smooth);
    kind.stored = JCS_RGB;
    kind.adobe = true;
    ExpectColors(Decoded(Write(kind, Smooth)), Smooth);
  }
}

TEST(JPEG, Gray) {
  Kind kind;
  kind.input = JCS_GRAYSCALE;
  kind.stored = JCS_GRAYSCALE;
  kind.components = 1;
  ExpectColors(Decoded(Write(kind, Smooth)),
               [](unsigned x, unsigned y, unsigned) { return Smooth(x, y, 0); });
}

// Files with Adobe's marker hold 255 - ink; without it ink.
TEST(JPEG, FourInks) {
  const auto light = [](unsigned x, unsigned y, unsigned c) {
    return c == 3 ? 255 - 2 * y : Smooth(x, y, c);
  };
  const auto ink = [&](unsigned x, unsigned y, unsigned c) { return 255 - light(x, y, c); };
  const auto color = [&](unsigned x, unsigned y, unsigned c) {
    return light(x, y, c) * light(x, y, 3) / 255.0;
  };
  for (const J_COLOR_SPACE stored : {JCS_CMYK, JCS_YCCK}) {
    Kind kind;
    kind.input = JCS_CMYK;
    kind.stored = stored;
    kind.components = 4;
    kind.adobe = true;
    ExpectColors(Decoded(Write(kind, light)), color, kCodingTolerance + 2);
  }
  Kind kind;
  kind.input = JCS_CMYK;
  kind.stored = JCS_CMYK;
  kind.components = 4;
  ExpectColors(Decoded(Write(kind, ink)), color, kCodingTolerance + 2);
}

Bytes Exif(unsigned orientation, bool big) {
  Bytes bytes{'E', 'x', 'i', 'f', 0, 0};
  const auto put = [&](unsigned value, int size) {
    for (int i = 0; i < size; ++i) {
      bytes.push_back(static_cast<std::uint8_t>(value >> 8 * (big ? size - 1 - i : i)));
    }
  };
  bytes.push_back(big ? 'M' : 'I');
  bytes.push_back(big ? 'M' : 'I');
  put(42, 2);
  put(8, 4);
  put(2, 2);
  put(0x0100, 2);  // another tag first
  put(4, 2);
  put(1, 4);
  put(640, 4);
  put(0x0112, 2);
  put(3, 2);
  put(1, 4);
  put(orientation, 2);
  put(0, 2);
  put(0, 4);
  return bytes;
}

TEST(JPEG, OrientationIsReadAndApplied) {
  // Where the upright picture's (x, y) is stored, from the names of the orientations.
  const auto stored = [](unsigned orientation, unsigned x,
                         unsigned y) -> std::pair<unsigned, unsigned> {
    const unsigned w = kWidth - 1;
    const unsigned h = kHeight - 1;
    switch (orientation) {
      case 2:
        return {w - x, y};
      case 3:
        return {w - x, h - y};
      case 4:
        return {x, h - y};
      case 5:
        return {y, x};
      case 6:
        return {y, h - x};  // first row is the right side
      case 7:
        return {w - y, h - x};
      case 8:
        return {w - y, x};  // first row is the left side
      default:
        return {x, y};
    }
  };
  for (const bool big : {false, true}) {
    for (unsigned orientation = 1; orientation <= 8; ++orientation) {
      const Bytes file = Write(Kind(), Smooth, Exif(orientation, big));
      const Decoded asStored(file);
      EXPECT_EQ(asStored.orientation, static_cast<int>(orientation));
      const Bytes before = pixels::Of(asStored.image);
      const Decoded upright(file, true);
      EXPECT_EQ(upright.orientation, 1);
      const Bytes after = pixels::Of(upright.image);
      const unsigned width = orientation >= 5 ? kHeight : kWidth;
      const unsigned height = orientation >= 5 ? kWidth : kHeight;
      ASSERT_EQ(CGImageGetWidth(upright.image), width);
      ASSERT_EQ(CGImageGetHeight(upright.image), height);
      for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x) {
          const auto [u, v] = stored(orientation, x, y);
          for (unsigned c = 0; c < 4; ++c) {
            ASSERT_EQ(after[4 * (y * width + x) + c], before[4 * (v * kWidth + u) + c])
                << orientation << " at " << x << ", " << y;
          }
        }
      }
    }
  }
}

TEST(Exif, DamagedDataMeanUpright) {
  const Bytes good = Exif(6, false);
  EXPECT_EQ(imageio::ExifSegmentOrientation(good), 6);
  for (std::size_t size = 0; size < good.size(); ++size) {
    Bytes cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
    cut.shrink_to_fit();
    const int got = imageio::ExifSegmentOrientation(cut);
    EXPECT_TRUE(got == 1 || got == 6) << size;
    if (size < 38) {
      EXPECT_EQ(got, 1) << size;
    }
  }
  for (const unsigned bad : {0U, 9U, 65535U}) {
    EXPECT_EQ(imageio::ExifSegmentOrientation(Exif(bad, true)), 1);
  }
  for (std::size_t i = 0; i < good.size(); ++i) {
    for (unsigned value = 0; value < 256; ++value) {
      Bytes damaged = good;
      damaged[i] = static_cast<std::uint8_t>(value);
      const int got = imageio::ExifSegmentOrientation(damaged);
      ASSERT_GE(got, 1);
      ASSERT_LE(got, 8);
    }
  }
  Bytes far = good;
  far[10] = far[11] = far[12] = far[13] = 0xFF;  // the directory's offset
  EXPECT_EQ(imageio::ExifSegmentOrientation(far), 1);
  Bytes number = good;
  number[30] = 4;  // the type is no longer a short
  EXPECT_EQ(imageio::ExifSegmentOrientation(number), 1);
}

TEST(JPEG, EveryTruncationGivesAPictureOrAReason) {
  for (const bool progressive : {false, true}) {
    Kind kind;
    kind.progressive = progressive;
    kind.quality = 80;
    const Bytes file = Write(kind, Smooth, Exif(3, true));
    bool partial = false;
    for (std::size_t size = 0; size + 2 < file.size(); ++size) {
      Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
      cut.shrink_to_fit();
      const Decoded decoded(cut);
      ASSERT_FALSE(decoded.complete) << size;
      ASSERT_FALSE(decoded.error.empty()) << size;
      partial = partial || decoded.image;
    }
    EXPECT_TRUE(partial);
  }
}

TEST(JPEG, EveryByteDamagedIsSurvived) {
  Kind kind;
  kind.width = 17;
  kind.height = 9;
  kind.quality = 50;
  const Bytes file = Write(kind, Smooth, Exif(3, true));
  EXPECT_GT(pixels::RefusedWithOneByteDamaged(file), 100);
}

TEST(JPEG, ClaimedSizesPastTheLimitsAreRefused) {
  Bytes file = Write(Kind(), Smooth);
  for (std::size_t i = 0; i + 9 < file.size(); ++i) {
    if (file[i] != 0xFF || file[i + 1] != 0xC0) continue;
    file[i + 5] = 0xFF;  // 65280 + rows
    Decoded tall(file);
    EXPECT_EQ(tall.image, nullptr);
    EXPECT_NE(tall.error.find("too large"), std::string::npos) << tall.error;
    file[i + 5] = 0x20;
    file[i + 7] = 0x20;  // 8192 by 8192, from a few hundred bytes
    Decoded empty(file);
    EXPECT_EQ(empty.image, nullptr);
    EXPECT_NE(empty.error.find("too short"), std::string::npos) << empty.error;
    return;
  }
  FAIL() << "no frame header";
}

TEST(JPEG, EncodedPicturesComeBack) {
  Bytes rgba;
  for (unsigned y = 0; y < kHeight; ++y) {
    for (unsigned x = 0; x < kWidth; ++x) {
      for (unsigned c = 0; c < 3; ++c) rgba.push_back(static_cast<std::uint8_t>(Smooth(x, y, c)));
      rgba.push_back(255);
    }
  }
  const CGImageRef image = pixels::Create(rgba, kWidth, kHeight, 32, kCGImageAlphaLast);
  const Bytes best = ImageIOEncodeJPEG(image, 1);
  ExpectColors(Decoded(best), Smooth);
  const Bytes small = ImageIOEncodeJPEG(image, 0.3);
  EXPECT_LT(small.size(), best.size());
  EXPECT_TRUE(Decoded(small).complete);
  EXPECT_TRUE(Decoded(ImageIOEncodeJPEG(image, std::nan(""))).complete);
  EXPECT_TRUE(Decoded(ImageIOEncodeJPEG(image, -5)).complete);
  CGImageRelease(image);
  std::string error;
  EXPECT_TRUE(ImageIOEncodeJPEG(nullptr, 1, &error).empty());
  EXPECT_FALSE(error.empty());
}

TEST(JPEG, TransparentPixelsAreWrittenOnWhite) {
  Bytes rgba(4 * 16 * 16);
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    rgba[i] = 200;
    rgba[i + 3] = 51;
  }
  const CGImageRef image = pixels::Create(rgba, 16, 16, 32, kCGImageAlphaLast);
  const Decoded decoded(ImageIOEncodeJPEG(image, 1));
  CGImageRelease(image);
  const Bytes got = pixels::Of(decoded.image);
  EXPECT_NEAR(got[0], 244, 2);  // 200 / 5 + 255 * 4 / 5
  EXPECT_NEAR(got[1], 204, 2);
}

TEST(JPEG, GrayIsWrittenAsGray) {
  const CGImageRef image = pixels::Create(Bytes(64, 90), 8, 8, 8, kCGImageAlphaNone, true);
  const Bytes file = ImageIOEncodeJPEG(image, 1);
  CGImageRelease(image);
  const Decoded decoded(file);
  EXPECT_EQ(pixels::Of(decoded.image)[0], 90);
  const auto frame =
      std::search(file.begin(), file.end(), std::begin("\xFF\xC0"), std::begin("\xFF\xC0") + 2,
                  [](std::uint8_t a, char b) { return a == static_cast<std::uint8_t>(b); });
  ASSERT_LT(frame - file.begin() + 9, static_cast<std::ptrdiff_t>(file.size()));
  EXPECT_EQ(frame[9], 1);  // components
}

}  // namespace
