// Pictures as the toolkit's operations take them, and their files.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hosts/lumivane/Commands.h"
#include "sdk/CoreX/XFrameBuffer.h"
#include "sdk/QClasses/QGWorld.h"

namespace lumivane {

/// Worlds and 4:2:2 frames have 16-bit sides, and 4:2:2 frames an even width.
inline constexpr int kLargestPictureSide = 32766;

/// 8-bit A, R, G, B, colours not multiplied with alpha, top row first. Rows have room for a whole
/// pair of pixels at an odd width, as operations on pairs write one.
struct ArgbPicture {
  int width = 0;
  int height = 0;
  int rowBytes = 0;
  std::vector<std::uint8_t> pixels;

  ArgbPicture() = default;
  /// Zero bytes. Sides 1 to kLargestPictureSide.
  ArgbPicture(int pictureWidth, int pictureHeight);
  std::uint8_t* Row(int y) { return pixels.data() + std::size_t(y) * std::size_t(rowBytes); }
  const std::uint8_t* Row(int y) const {
    return pixels.data() + std::size_t(y) * std::size_t(rowBytes);
  }
  bool empty() const { return pixels.empty(); }

  /// Views over these pixels, valid as long as they are.
  XFrameBuffer FrameBuffer();
  bool MakeWorld(QGWorld& world);
};

/// Reads a PNG or JPEG, turned upright. Empty, with one sentence that names the file, for anything
/// that is not a whole picture of at most kLargestPictureSide.
/// `format`: "PNG" or "JPEG".
ArgbPicture ReadPicture(const std::string& path, std::string* error, std::string* format = nullptr);

/// Writes a PNG, aside and then renamed; without an alpha channel where every pixel is opaque. "-":
/// to standard output. False with one sentence, and an old file is as it was.
bool WritePicture(ArgbPicture& picture, const std::string& path, std::string* error);

/// Bytes of a file or, for "-", of standard input; at most `limit`.
std::optional<std::vector<std::uint8_t>> ReadBytes(const std::string& path, std::size_t limit,
                                                   std::string* error);
/// To a file, aside and renamed, or for "-" to standard output.
bool WriteBytes(const std::string& path, const std::vector<std::uint8_t>& bytes,
                std::string* error);

/// "640 x 480".
std::string SizeText(int width, int height);

}  // namespace lumivane
