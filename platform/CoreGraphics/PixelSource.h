// Bounded reading of an image's pixels.
#pragma once

#include <array>
#include <optional>

#include "platform/CoreGraphics/PixelLayout.h"

namespace raster {

struct Bytes {
  const std::uint8_t* data = nullptr;
  std::size_t size = 0;
};

/// A picture in memory that may be shorter than the picture claims: what does not lie whole in
/// `bytes` reads as transparent.
struct PixelSource {
  Bytes bytes;
  PixelLayout layout;
  std::size_t width = 0;
  std::size_t height = 0;
  std::size_t bytesPerRow = 0;
  std::size_t firstByte = 0;
  /// (shown for 0, shown for 255) per colour component.
  std::optional<std::array<float, 6>> decode;

  /// `count` pixels from (x, y), y from the top, to the working form. They lie in the picture.
  void load(std::size_t x, std::size_t y, std::size_t count, std::uint8_t* to) const;
  /// The same, straight instead of premultiplied.
  void loadStraight(std::size_t x, std::size_t y, std::size_t count, std::uint8_t* to) const;

  /// The same pixels where they lie, when they are whole and already in the working form; else
  /// null.
  const std::uint8_t* inPlace(std::size_t x, std::size_t y, std::size_t count) const;

  /// Columns (rows) from the first that may hold anything but transparency.
  std::size_t presentColumns() const;
  std::size_t presentRows() const;

 private:
  template <class Load>
  void loadWith(Load loadPixels, std::size_t x, std::size_t y, std::size_t count,
                std::uint8_t* to) const;
};

}  // namespace raster
