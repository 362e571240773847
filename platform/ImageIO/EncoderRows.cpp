#include "platform/ImageIO/EncoderRows.h"

#include "platform/CoreGraphics/CGObjects.h"
#include "platform/ImageIO/PixelBuffer.h"

namespace imageio {

EncoderRows::EncoderRows(CGImageRef image) : source_(image->source()), row_(4 * source_.width) {}

bool EncoderRows::hasAlpha() const {
  if (source_.layout.alpha != raster::AlphaKind::kNone) return true;
  // A picture whose memory is too short is transparent where it is missing.
  const std::size_t need = source_.firstByte + (source_.height - 1) * source_.bytesPerRow +
                           raster::RowNeed(source_.layout, source_.width);
  return need > source_.bytes.size;
}

const std::uint8_t* EncoderRows::row(std::uint32_t y) {
  source_.loadStraight(0, y, source_.width, row_.data());
  return row_.data();
}

bool CanEncode(CGImageRef image, std::string* error) {
  if (!image) {
    *error = "there is no image";
    return false;
  }
  const std::size_t width = CGImageGetWidth(image);
  const std::size_t height = CGImageGetHeight(image);
  return SizeAllowed(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), error);
}

}  // namespace imageio
