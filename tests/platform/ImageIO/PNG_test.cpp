#include <gtest/gtest.h>

#include <cmath>

#include "platform/ImageIO/ImageData.h"
#include "tests/platform/ImageIO/PNGFile.h"
#include "tests/platform/ImageIO/Pixels.h"

namespace {

using pixels::Bytes;
using pixels::Decoded;
using pngfile::Description;

// A pattern with all bits of any depth in it.
unsigned Sample(const Description& d, std::uint32_t x, std::uint32_t y, int c) {
  const unsigned mixed = (x * 2654435761U) ^ (y * 40503U) ^ (static_cast<unsigned>(c) * 97U << 5);
  const unsigned value = mixed ^ mixed >> 13;
  const unsigned limit =
      d.colorType == 3 ? static_cast<unsigned>(d.palette.size() / 3) : 1U << d.depth;
  return value % limit;
}

// What a sample of the depth is in 8 bits.
std::uint8_t ToByte(unsigned value, int depth) {
  return static_cast<std::uint8_t>(std::lround(value * 255.0 / ((1 << depth) - 1)));
}

Bytes Expected(const Description& d) {
  Bytes want;
  for (std::uint32_t y = 0; y < d.height; ++y) {
    for (std::uint32_t x = 0; x < d.width; ++x) {
      const unsigned first = Sample(d, x, y, 0);
      std::uint8_t alpha = 255;
      if (d.colorType == 3) {
        for (unsigned c = 0; c < 3; ++c) want.push_back(d.palette[3 * first + c]);
        if (first < d.transparency.size()) alpha = d.transparency[first];
        want.push_back(alpha);
        continue;
      }
      bool keyed = !d.transparency.empty();
      for (int c = 0; c < 3; ++c) {
        const unsigned value = Sample(d, x, y, d.colorType & 2 ? c : 0);
        want.push_back(ToByte(value, d.depth));
        const std::size_t k = d.colorType & 2 ? 2 * static_cast<std::size_t>(c) : 0;
        if (keyed) {
          keyed = value == (static_cast<unsigned>(d.transparency[k]) << 8 | d.transparency[k + 1]);
        }
      }
      if (d.colorType & 4) alpha = ToByte(Sample(d, x, y, d.channels() - 1), d.depth);
      if (keyed) alpha = 0;
      want.push_back(alpha);
    }
  }
  return want;
}

Bytes Written(const Description& d) {
  return pngfile::Write(
      d, [&](std::uint32_t x, std::uint32_t y, int c) { return Sample(d, x, y, c); });
}

std::vector<Description> EveryKind() {
  std::vector<Description> kinds;
  for (const auto& [type, depths] : std::vector<std::pair<int, std::vector<int>>>{
           {0, {1, 2, 4, 8, 16}}, {2, {8, 16}}, {3, {1, 2, 4, 8}}, {4, {8, 16}}, {6, {8, 16}}}) {
    for (const int depth : depths) {
      for (const bool interlaced : {false, true}) {
        for (const bool transparent : {false, true}) {
          if (transparent && (type & 4)) continue;
          for (const auto& [w, h] :
               std::vector<std::pair<std::uint32_t, std::uint32_t>>{{1, 1}, {3, 2}, {13, 9}}) {
            Description d;
            d.width = w;
            d.height = h;
            d.depth = depth;
            d.colorType = type;
            d.interlaced = interlaced;
            if (type == 3) {
              for (unsigned i = 0; i < (1U << depth) * 3; ++i) {
                d.palette.push_back(static_cast<std::uint8_t>(i * 37));
              }
              if (transparent) d.transparency = {0, 128};
            } else if (transparent) {
              // The colour of the first pixel.
              for (int c = 0; c < (type == 2 ? 3 : 1); ++c) {
                const unsigned value = Sample(d, 0, 0, c);
                d.transparency.push_back(static_cast<std::uint8_t>(value >> 8));
                d.transparency.push_back(static_cast<std::uint8_t>(value));
              }
            }
            kinds.push_back(d);
          }
        }
      }
    }
  }
  return kinds;
}

TEST(PNG, EveryColourTypeDepthAndInterlace) {
  for (const Description& d : EveryKind()) {
    const Decoded decoded(Written(d));
    ASSERT_NE(decoded.image, nullptr) << decoded.error;
    EXPECT_TRUE(decoded.complete) << decoded.error;
    EXPECT_EQ(decoded.format, ImageIOFormat::kPNG);
    EXPECT_EQ(CGImageGetWidth(decoded.image), d.width);
    EXPECT_EQ(CGImageGetHeight(decoded.image), d.height);
    const bool alpha = (d.colorType & 4) != 0 || !d.transparency.empty();
    EXPECT_EQ(CGImageGetAlphaInfo(decoded.image),
              alpha ? kCGImageAlphaLast : kCGImageAlphaNoneSkipLast);
    ASSERT_EQ(pixels::Of(decoded.image), Expected(d))
        << "type " << d.colorType << " depth " << d.depth << " interlaced " << d.interlaced
        << " tRNS " << d.transparency.size();
  }
}

// Rows arrive whole or not at all, and never a crash.
TEST(PNG, EveryTruncationGivesTheReadRowsOrAReason) {
  for (const bool interlaced : {false, true}) {
    Description d;
    d.width = 5;
    d.height = 4;
    d.colorType = 2;
    d.interlaced = interlaced;
    const Bytes file = Written(d);
    const Bytes whole = Expected(d);
    bool partial = false;
    for (std::size_t size = 0; size < file.size(); ++size) {
      Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
      cut.shrink_to_fit();
      const Decoded decoded(cut);
      ASSERT_FALSE(decoded.complete) << size;
      ASSERT_FALSE(decoded.error.empty()) << size;
      if (!decoded.image) continue;
      const Bytes rows = pixels::Of(decoded.image);
      EXPECT_NE(rows, Bytes(rows.size())) << "a picture without a row, " << size;
      EXPECT_EQ(CGImageGetAlphaInfo(decoded.image), kCGImageAlphaLast);
      const Bytes got = pixels::Of(decoded.image);
      for (std::size_t i = 0; i < got.size(); i += 4) {
        if (got[i + 3] == 0) continue;
        partial = true;
        ASSERT_EQ(Bytes(&got[i], &got[i] + 4), Bytes(&whole[i], &whole[i] + 4)) << size;
      }
    }
    EXPECT_TRUE(partial);
  }
}

TEST(PNG, EveryByteDamagedIsSurvived) {
  Description d;
  d.width = 6;
  d.height = 5;
  d.colorType = 3;
  d.depth = 4;
  d.interlaced = true;
  d.palette = Bytes(48, 9);
  d.transparency = {1, 2, 3};
  d.chunks = {{"tEXt", {'A', 0, 'b'}}, {"eXIf", {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 0}}};
  const Bytes file = Written(d);
  EXPECT_GT(pixels::RefusedWithOneByteDamaged(file), 100);
}

TEST(PNG, ClaimedSizesPastTheLimitsAreRefused) {
  for (const auto& [w, h] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
           {kImageIOMaxDimension + 1, 1},
           {1, kImageIOMaxDimension + 1},
           {kImageIOMaxDimension, kImageIOMaxDimension},
           {0x7FFFFFFF, 0x7FFFFFFF},
           {0, 5},
           {5, 0},
           {0xFFFFFFFF, 1}}) {
    Description d;
    const Bytes small = Written(d);
    Bytes file(small.begin(), small.begin() + 8);
    Bytes header;
    pngfile::Append32(&header, w);
    pngfile::Append32(&header, h);
    header.insert(header.end(), {8, 2, 0, 0, 0});
    pngfile::AppendChunk(&file, "IHDR", header);
    file.insert(file.end(), small.begin() + 33, small.end());
    const Decoded decoded(file);
    EXPECT_EQ(decoded.image, nullptr) << w << " x " << h;
    EXPECT_FALSE(decoded.error.empty());
  }
}

TEST(PNG, TextsAndOrientationAreRead) {
  Description d;
  d.width = 3;
  d.height = 2;
  Bytes text{'T', 'i', 't', 'l', 'e', 0, 'c', 'a', 'f', 0xE9};
  Bytes international{'N', 'o', 't', 'e', 0, 0, 0, 0, 0, 0xE2, 0x82, 0xAC};
  Bytes exif{'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 0x12, 1, 3, 0, 1, 0, 0, 0, 6, 0, 0, 0, 0, 0, 0, 0};
  d.chunks = {{"tEXt", text}, {"iTXt", international}, {"eXIf", exif}};
  const Decoded decoded(Written(d));
  EXPECT_EQ(decoded.texts, (ImageIOTexts{{"Title", "caf\xC3\xA9"}, {"Note", "\xE2\x82\xAC"}}));
  EXPECT_EQ(decoded.orientation, 6);
  EXPECT_EQ(CGImageGetWidth(decoded.image), 3U);
  const Decoded upright(Written(d), true);
  EXPECT_EQ(upright.orientation, 1);
  EXPECT_EQ(CGImageGetWidth(upright.image), 2U);
  EXPECT_EQ(CGImageGetHeight(upright.image), 3U);
}

// Written and read again: the same pixels for every layout that keeps them.
TEST(PNG, RoundTripOfEveryLayout) {
  Bytes rgba(4 * 7 * 5);
  for (std::size_t i = 0; i < rgba.size(); ++i) rgba[i] = static_cast<std::uint8_t>(i * 73 + i / 9);
  const std::size_t n = 35;
  for (const CGBitmapInfo info :
       {static_cast<CGBitmapInfo>(kCGImageAlphaLast), static_cast<CGBitmapInfo>(kCGImageAlphaFirst),
        kCGImageAlphaFirst | kCGBitmapByteOrder32Little,
        static_cast<CGBitmapInfo>(kCGImageAlphaNoneSkipLast),
        static_cast<CGBitmapInfo>(kCGImageAlphaNoneSkipFirst)}) {
    const bool first =
        (info & 0x1F) == kCGImageAlphaFirst || (info & 0x1F) == kCGImageAlphaNoneSkipFirst;
    const bool alpha = (info & 0x1F) == kCGImageAlphaFirst || (info & 0x1F) == kCGImageAlphaLast;
    const bool reversed = (info & kCGBitmapByteOrderMask) != 0;
    Bytes stored(rgba.size());
    for (std::size_t i = 0; i < n; ++i) {
      for (std::size_t c = 0; c < 4; ++c) {
        const std::size_t logical = first ? (c + 1) % 4 : c;
        stored[4 * i + (reversed ? 3 - logical : logical)] = rgba[4 * i + c];
      }
    }
    const CGImageRef image = pixels::Create(stored, 7, 5, 32, info);
    const Bytes file = ImageIOEncodePNG(image);
    CGImageRelease(image);
    ASSERT_FALSE(file.empty());
    EXPECT_EQ(file[25], alpha ? 6 : 2);  // colour type
    const Decoded decoded(file);
    ASSERT_TRUE(decoded.complete);
    Bytes want = rgba;
    if (!alpha) {
      for (std::size_t i = 3; i < want.size(); i += 4) want[i] = 255;
    }
    EXPECT_EQ(pixels::Of(decoded.image), want) << std::hex << info;
  }
}

TEST(PNG, GrayIsWrittenAsGray) {
  const Bytes gray{0, 50, 100, 150, 200, 255};
  const CGImageRef image = pixels::Create(gray, 3, 2, 8, kCGImageAlphaNone, true);
  const Bytes file = ImageIOEncodePNG(image);
  CGImageRelease(image);
  EXPECT_EQ(file[25], 0);
  const Decoded decoded(file);
  const Bytes got = pixels::Of(decoded.image);
  for (std::size_t i = 0; i < gray.size(); ++i) {
    EXPECT_EQ(Bytes(&got[4 * i], &got[4 * i] + 4), (Bytes{gray[i], gray[i], gray[i], 255}));
  }
}

TEST(PNG, PremultipliedColoursAreDivided) {
  Bytes argb;
  Bytes want;
  for (unsigned a = 0; a < 256; a += 5) {
    for (unsigned c = 0; c <= a; c += 3) {
      for (const unsigned x : {a, c, a, 0U}) argb.push_back(static_cast<std::uint8_t>(x));
      const auto divided = [a](unsigned x) {
        return static_cast<std::uint8_t>(a == 0 ? 0 : std::floor(x * 255.0 / a + 0.5));
      };
      for (const unsigned x : {c, a, 0U}) want.push_back(divided(x));
      want.push_back(static_cast<std::uint8_t>(a));
    }
  }
  const CGImageRef image =
      pixels::Create(argb, argb.size() / 4, 1, 32, kCGImageAlphaPremultipliedFirst);
  const Decoded decoded(ImageIOEncodePNG(image));
  CGImageRelease(image);
  EXPECT_EQ(pixels::Of(decoded.image), want);
}

TEST(PNG, MissingPixelsAreWrittenTransparent) {
  const Bytes bytes(4 * 3, 77);
  const CGImageRef image = pixels::Create(bytes, 2, 2, 32, kCGImageAlphaNoneSkipLast);
  const Decoded decoded(ImageIOEncodePNG(image));
  CGImageRelease(image);
  EXPECT_EQ(pixels::Of(decoded.image),
            (Bytes{77, 77, 77, 255, 77, 77, 77, 255, 77, 77, 77, 255, 0, 0, 0, 0}));
}

TEST(PNG, TextsSurviveTheRoundTrip) {
  const CGImageRef image = pixels::Create(Bytes(4), 1, 1, 32, kCGImageAlphaLast);
  const ImageIOTexts texts{{"Title", "plain"},
                           {"Author", "Zo\xC3\xAB"},
                           {"Comment", "\xE2\x82\xAC and \xF0\x9F\x93\xB7"},
                           {"Description", ""}};
  std::string error;
  const Bytes file = ImageIOEncodePNG(image, texts, &error);
  EXPECT_EQ(error, "");
  EXPECT_EQ(Decoded(file).texts, texts);
  // What fits Latin-1 is tEXt, which every reader knows; the rest iTXt.
  const std::string data(file.begin(), file.end());
  EXPECT_NE(data.find("tEXtTitle"), std::string::npos);
  EXPECT_NE(data.find("tEXtAuthor"), std::string::npos);
  EXPECT_NE(data.find("iTXtComment"), std::string::npos);
  for (const std::string& key :
       {std::string(), std::string(80, 'k'), std::string(" a"), std::string("a "),
        std::string("a  b"), std::string("a\nb"), std::string("\xE2\x82\xAC")}) {
    EXPECT_TRUE(ImageIOEncodePNG(image, {{key, "text"}}, &error).empty()) << key;
    EXPECT_NE(error.find("keyword"), std::string::npos);
  }
  EXPECT_TRUE(ImageIOEncodePNG(image, {{"Title", std::string("a\0b", 3)}}, &error).empty());
  EXPECT_FALSE(ImageIOEncodePNG(image, {{std::string(79, 'k'), "text"}}, &error).empty());
  CGImageRelease(image);
}

TEST(PNG, WhatCannotBeEncodedSaysWhy) {
  std::string error;
  EXPECT_TRUE(ImageIOEncodePNG(nullptr, {}, &error).empty());
  EXPECT_FALSE(error.empty());
  EXPECT_TRUE(ImageIOEncodePNG(nullptr).empty());
  const Bytes bytes(64);
  const CFDataRef data = CFDataCreate(kCFAllocatorDefault, bytes.data(), 64);
  const CGDataProviderRef provider = CGDataProviderCreateWithCFData(data);
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGImageRef huge = CGImageCreate(0x7FFFFFFF, 1, 8, 32, std::size_t{4} * 0x7FFFFFFF, space, 2,
                                        provider, nullptr, true, kCGRenderingIntentDefault);
  ASSERT_NE(huge, nullptr);
  error.clear();
  EXPECT_TRUE(ImageIOEncodePNG(huge, {}, &error).empty());
  EXPECT_NE(error.find("too large"), std::string::npos);
  CGImageRelease(huge);
  CGColorSpaceRelease(space);
  CGDataProviderRelease(provider);
  CFRelease(data);
}

TEST(ImageIO, OtherBytesAreNoPicture) {
  for (const Bytes& bytes : {Bytes{}, Bytes{0x89}, Bytes{'G', 'I', 'F', '8', '9', 'a'},
                             Bytes{0xFF, 0xD8}, Bytes(100, 0)}) {
    const Decoded decoded(bytes);
    EXPECT_EQ(decoded.image, nullptr);
    EXPECT_EQ(decoded.format, ImageIOFormat::kUnknown);
    EXPECT_FALSE(decoded.error.empty());
  }
}

}  // namespace
