#include "platform/ImageIO/ExifOrientation.h"

#include <cstring>

namespace imageio {
namespace {

constexpr unsigned kOrientationTag = 0x0112;
constexpr unsigned kTypeShort = 3;
constexpr std::size_t kEntrySize = 12;

// Reads numbers of either byte order; past the end everything is 0.
struct TiffReader {
  std::span<const std::uint8_t> bytes;
  bool bigEndian = false;

  std::uint32_t number(std::size_t at, std::size_t size) const {
    if (at > bytes.size() || bytes.size() - at < size) return 0;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
      value = value << 8 | bytes[bigEndian ? at + i : at + size - 1 - i];
    }
    return value;
  }
};

}  // namespace

ImageIOOrientation ExifOrientation(std::span<const std::uint8_t> tiff) noexcept {
  if (tiff.size() < 8) return 1;
  TiffReader reader{tiff};
  if (tiff[0] == 'M' && tiff[1] == 'M') {
    reader.bigEndian = true;
  } else if (tiff[0] != 'I' || tiff[1] != 'I') {
    return 1;
  }
  if (reader.number(2, 2) != 42) return 1;
  const std::size_t directory = reader.number(4, 4);
  const std::size_t entries = reader.number(directory, 2);
  for (std::size_t i = 0; i < entries; ++i) {
    const std::size_t entry = directory + 2 + i * kEntrySize;
    if (entry >= tiff.size()) break;
    if (reader.number(entry, 2) != kOrientationTag) continue;
    if (reader.number(entry + 2, 2) != kTypeShort || reader.number(entry + 4, 4) != 1) return 1;
    const std::uint32_t value = reader.number(entry + 8, 2);
    return value >= 1 && value <= 8 ? static_cast<ImageIOOrientation>(value) : 1;
  }
  return 1;
}

ImageIOOrientation ExifSegmentOrientation(std::span<const std::uint8_t> segment) noexcept {
  static constexpr std::uint8_t kHead[] = {'E', 'x', 'i', 'f', 0, 0};
  if (segment.size() < sizeof kHead) return 1;
  if (std::memcmp(segment.data(), kHead, sizeof kHead) != 0) return 1;
  return ExifOrientation(segment.subspan(sizeof kHead));
}

}  // namespace imageio
