// Encoded images to images and back, without any other object in between. The CGImageSource and
// CGImageDestination calls stand on these.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/CoreGraphics/CGImage.h"

/// Limits of what is decoded, against small files that claim enormous pictures.
inline constexpr std::uint32_t kImageIOMaxDimension = 32768;
inline constexpr std::uint64_t kImageIOMaxPixels = std::uint64_t{1} << 27;

enum class ImageIOFormat { kUnknown, kPNG, kJPEG };

/// The place of the first stored pixel, as the Exif orientation tag counts: 1 top left (upright),
/// 2 top right, 3 bottom right, 4 bottom left, 5 left top, 6 right top, 7 right bottom, 8 left
/// bottom.
using ImageIOOrientation = int;

/// Keyword and text in order; keywords 1 to 79 Latin-1 characters, both in UTF-8.
using ImageIOTexts = std::vector<std::pair<std::string, std::string>>;

struct ImageIODecoded {
  /// 32 bits, RGB: kCGImageAlphaLast for a PNG with transparency, else kCGImageAlphaNoneSkipLast.
  /// The caller releases it. Null when not even one row could be decoded.
  CGImageRef image = nullptr;
  ImageIOFormat format = ImageIOFormat::kUnknown;
  ImageIOOrientation orientation = 1;
  ImageIOTexts texts;     ///< a PNG's tEXt, zTXt and iTXt entries
  bool complete = false;  ///< false: the data end or break early; rows not decoded are transparent
                          ///< (PNG) or as far as the decoder could fill them (JPEG)
  std::string error;      ///< what was wrong, when there is no image or it is not complete
};

/// The format the first bytes announce.
ImageIOFormat ImageIOFormatOf(std::span<const std::uint8_t> bytes) noexcept;

/// Decodes a PNG (every colour type, depth and interlace) or JPEG (grey, YCbCr, CMYK, YCCK;
/// baseline and progressive) to 8 bits per component. Never reads outside `bytes`; any bytes at all
/// may be given. With `applyOrientation` the pixels are turned upright and `orientation` is 1.
ImageIODecoded ImageIODecode(std::span<const std::uint8_t> bytes, bool applyOrientation = false);

/// The image's pixels as they are now, as a PNG: RGBA when the image has alpha, RGB without, grey
/// for a gray image without alpha. Straight (PNG's alpha is not premultiplied), 8 bits. Empty, with
/// the reason in `error` when that is given, for a null image, a bad keyword or too little memory.
std::vector<std::uint8_t> ImageIOEncodePNG(CGImageRef image, const ImageIOTexts& texts = {},
                                           std::string* error = nullptr);
/// As a baseline JPEG (4:2:0 below quality 0.9, else 4:4:4), on white where transparent. `quality`
/// 0...1.
std::vector<std::uint8_t> ImageIOEncodeJPEG(CGImageRef image, double quality = 0.9,
                                            std::string* error = nullptr);

/// Puts `bytes` into the file at `path` so that at each moment it holds either what it held before
/// or all of `bytes`: written aside in the same folder, synced, renamed. False, with the reason in
/// `error`, leaves the old file and nothing else.
bool ImageIOWriteFile(const std::string& path, std::span<const std::uint8_t> bytes,
                      std::string* error = nullptr);
/// ImageIOEncodePNG, then ImageIOWriteFile.
bool ImageIOWritePNG(CGImageRef image, const std::string& path, const ImageIOTexts& texts = {},
                     std::string* error = nullptr);
