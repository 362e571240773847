// Decoded pixels on their way into an image.
#pragma once

#include <cstdlib>
#include <memory>
#include <string>

#include "platform/ImageIO/ImageData.h"

namespace imageio {

/// R, G, B, A bytes per pixel, straight, rows without padding, from the top.
struct PixelBuffer {
  struct Free {
    void operator()(std::uint8_t* p) const { std::free(p); }
  };
  std::unique_ptr<std::uint8_t, Free> bytes;
  std::uint32_t width = 0;
  std::uint32_t height = 0;

  std::size_t rowBytes() const { return std::size_t{4} * width; }
  std::size_t size() const { return rowBytes() * height; }
  std::uint8_t* row(std::size_t y) const { return bytes.get() + y * rowBytes(); }
  /// Zeroed (transparent) pixels; false, and the buffer as it was, when there is not enough memory.
  bool allocate(std::uint32_t newWidth, std::uint32_t newHeight);
};

/// What a decoder found; the pixels' `bytes` are null when it found no picture.
struct DecodedFile {
  PixelBuffer pixels;
  bool hasAlpha = false;
  bool complete = false;
  ImageIOOrientation orientation = 1;
  ImageIOTexts texts;
  std::string error;
};

/// True for a picture of 1 to the greatest size decoded; else says so in `error`.
bool SizeAllowed(std::uint32_t width, std::uint32_t height, std::string* error);

/// The picture turned so that its orientation becomes 1. False when there is not enough memory.
bool TurnUpright(PixelBuffer* pixels, ImageIOOrientation orientation);

/// An image that owns the pixels, which are then gone from the buffer.
CGImageRef MakeImage(PixelBuffer* pixels, CGImageAlphaInfo alpha);

DecodedFile DecodePNG(std::span<const std::uint8_t> bytes);
DecodedFile DecodeJPEG(std::span<const std::uint8_t> bytes);

}  // namespace imageio
