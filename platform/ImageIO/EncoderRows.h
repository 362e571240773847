// An image's rows for an encoder.
#pragma once

#include <string>
#include <vector>

#include "platform/CoreGraphics/PixelSource.h"
#include "platform/ImageIO/ImageData.h"

namespace imageio {

class EncoderRows {
 public:
  /// The image, not null, must outlive the rows.
  explicit EncoderRows(CGImageRef image);

  std::uint32_t width() const { return static_cast<std::uint32_t>(source_.width); }
  std::uint32_t height() const { return static_cast<std::uint32_t>(source_.height); }
  bool hasAlpha() const;
  bool isGray() const { return source_.layout.components == 1; }

  /// Row y from the top, straight: A, R, G, B bytes.
  const std::uint8_t* row(std::uint32_t y);

 private:
  const raster::PixelSource source_;
  std::vector<std::uint8_t> row_;
};

/// What both encoders refuse: null, and more pixels than would be decoded again.
bool CanEncode(CGImageRef image, std::string* error);

}  // namespace imageio
