#include <cstring>
#include <new>

#include "platform/ImageIO/ImageData.h"
#include "platform/ImageIO/PixelBuffer.h"

ImageIOFormat ImageIOFormatOf(std::span<const std::uint8_t> bytes) noexcept {
  static constexpr std::uint8_t kPNG[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  static constexpr std::uint8_t kJPEG[] = {0xFF, 0xD8, 0xFF};
  if (bytes.size() >= sizeof kPNG && std::memcmp(bytes.data(), kPNG, sizeof kPNG) == 0) {
    return ImageIOFormat::kPNG;
  }
  if (bytes.size() >= sizeof kJPEG && std::memcmp(bytes.data(), kJPEG, sizeof kJPEG) == 0) {
    return ImageIOFormat::kJPEG;
  }
  return ImageIOFormat::kUnknown;
}

ImageIODecoded ImageIODecode(std::span<const std::uint8_t> bytes, bool applyOrientation) {
  ImageIODecoded result;
  result.format = ImageIOFormatOf(bytes);
  if (result.format == ImageIOFormat::kUnknown) {
    result.error = "neither PNG nor JPEG data";
    return result;
  }
  try {
    imageio::DecodedFile file = result.format == ImageIOFormat::kPNG ? imageio::DecodePNG(bytes)
                                                                     : imageio::DecodeJPEG(bytes);
    result.texts = std::move(file.texts);
    result.error = std::move(file.error);
    result.orientation = file.orientation;
    if (!file.pixels.bytes) return result;
    if (applyOrientation) {
      if (!imageio::TurnUpright(&file.pixels, file.orientation)) throw std::bad_alloc();
      result.orientation = 1;
    }
    result.complete = file.complete;
    // Rows that were never reached have alpha 0, which must then be looked at.
    const bool alpha = file.hasAlpha || !file.complete;
    result.image =
        imageio::MakeImage(&file.pixels, alpha ? kCGImageAlphaLast : kCGImageAlphaNoneSkipLast);
  } catch (const std::bad_alloc&) {
    result.error = "not enough memory";
  }
  return result;
}
