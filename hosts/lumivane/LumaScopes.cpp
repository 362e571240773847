#include "hosts/lumivane/LumaScopes.h"

#include <algorithm>

namespace lumivane {
namespace {

template <typename Count>
void ForPixels(const Picture& picture, std::size_t mostPixels, const Count& count) {
  const std::size_t width = static_cast<std::size_t>(picture.width);
  const std::size_t height = static_cast<std::size_t>(picture.height);
  if (picture.rgba.size() < 4 * width * height) return;
  const std::size_t step =
      std::max<std::size_t>(1, (width * height + mostPixels - 1) / std::max(mostPixels, width));
  for (std::size_t y = 0; y < height; y += step) {
    const std::uint8_t* row = picture.rgba.data() + 4 * width * y;
    for (std::size_t x = 0; x < width; ++x) count(x, LumaOf(row + 4 * x));
  }
}

}  // namespace

std::uint8_t LumaOf(const std::uint8_t* rgb) {
  // 0.2126, 0.7152, 0.0722 of 65536.
  return static_cast<std::uint8_t>((13933u * rgb[0] + 46871u * rgb[1] + 4732u * rgb[2] + 32768u) >>
                                   16);
}

std::array<std::uint32_t, 256> LumaHistogram(const Picture& picture, std::size_t mostPixels) {
  std::array<std::uint32_t, 256> histogram{};
  ForPixels(picture, mostPixels, [&](std::size_t, std::uint8_t luma) { ++histogram[luma]; });
  return histogram;
}

LumaWaveform MakeLumaWaveform(const Picture& picture, int columns, int levels,
                              std::size_t mostPixels) {
  LumaWaveform waveform{columns, levels, {}};
  if (columns < 1 || levels < 1 || levels > 256) return {};
  const std::size_t across = static_cast<std::size_t>(columns);
  waveform.counts.resize(across * static_cast<std::size_t>(levels));
  const std::size_t width = static_cast<std::size_t>(picture.width);
  ForPixels(picture, mostPixels, [&](std::size_t x, std::uint8_t luma) {
    const std::size_t level = luma * static_cast<std::size_t>(levels) / 256;
    ++waveform.counts[level * across + x * across / width];
  });
  return waveform;
}

}  // namespace lumivane
