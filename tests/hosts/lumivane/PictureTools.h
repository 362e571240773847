// Pictures, runs of the program and messages, for the tests of its picture commands.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>

#include "hosts/lumivane/PictureFile.h"
#include "tests/hosts/lumivane/BuiltProgram.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/Program.h"

namespace picture_tools {

using lumivane::ArgbPicture;
using Bytes = std::vector<std::uint8_t>;

using built_program::Lumivane;
using built_program::Program;

/// Sets a pixel's four bytes, A, R, G, B.
using Painter = std::function<void(int x, int y, std::uint8_t* argb)>;

inline ArgbPicture Painted(int width, int height, const Painter& paint) {
  ArgbPicture picture(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) paint(x, y, picture.Row(y) + 4 * x);
  }
  return picture;
}

/// Every byte random; alpha too with `withAlpha`, else 255.
inline ArgbPicture RandomPicture(int width, int height, unsigned seed, bool withAlpha = false) {
  std::mt19937 random(seed);
  return Painted(width, height, [&](int, int, std::uint8_t* argb) {
    for (int i = 0; i < 4; ++i) argb[i] = static_cast<std::uint8_t>(random());
    if (!withAlpha) argb[0] = 255;
  });
}

/// A folder of its own with pictures in it.
class PictureTest : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return (folder_ / name).string(); }

  std::string Write(const std::string& name, ArgbPicture picture) const {
    std::string error;
    EXPECT_TRUE(lumivane::WritePicture(picture, Path(name), &error)) << error;
    return Path(name);
  }

  ArgbPicture Read(const std::string& name) const {
    std::string error;
    ArgbPicture picture = lumivane::ReadPicture(Path(name), &error);
    EXPECT_FALSE(picture.empty()) << error;
    return picture;
  }

  std::string WriteText(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
    return Path(name);
  }

  std::string ReadText(const std::string& name) const {
    std::ostringstream bytes;
    bytes << std::ifstream(Path(name), std::ios::binary).rdbuf();
    return bytes.str();
  }

  std::size_t FileCount() const {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(folder_.path()),
                      std::filesystem::directory_iterator()));
  }

 private:
  test::TempFolder folder_;
};

/// Compares every pixel (A, R, G, B) with what `expect` says; tells the first that differs.
inline void ExpectPixels(const ArgbPicture& picture, int width, int height,
                         const std::function<std::array<int, 4>(int x, int y)>& expect) {
  ASSERT_EQ(picture.width, width);
  ASSERT_EQ(picture.height, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::uint8_t* const p = picture.Row(y) + 4 * x;
      const std::array<int, 4> have = {p[0], p[1], p[2], p[3]};
      ASSERT_EQ(have, expect(x, y)) << "pixel " << x << ", " << y;
    }
  }
}

}  // namespace picture_tools
