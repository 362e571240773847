// The orientation tag of Exif data.
#pragma once

#include <cstdint>
#include <span>

#include "platform/ImageIO/ImageData.h"

namespace imageio {

/// `tiff`: Exif data from their TIFF header on ("II" or "MM"), any bytes at all. The orientation of
/// the first image (tag 0x0112), or 1 when there is none or it is not 1 to 8.
ImageIOOrientation ExifOrientation(std::span<const std::uint8_t> tiff) noexcept;

/// A JPEG APP1 segment's data: as above behind "Exif", 0, 0; 1 for any other segment.
ImageIOOrientation ExifSegmentOrientation(std::span<const std::uint8_t> segment) noexcept;

}  // namespace imageio
