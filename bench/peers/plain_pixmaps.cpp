#include "bench/peers/plain_pixmaps.h"

#include <algorithm>

#include "sdk/CoreGeometry/PerlinNoise.h"

namespace bench::peers {

void PlainGrey(std::uint8_t* __restrict dst, const std::uint8_t* __restrict src,
               std::size_t pixels) {
  for (std::size_t i = 0; i < 4 * pixels; i += 4) {
    const double grey = 0.2126 * src[i + 3] + 0.7152 * src[i + 1] + 0.0722 * src[i + 2];
    const auto level = static_cast<std::uint8_t>(static_cast<int>(grey));
    dst[i] = src[i];
    dst[i + 1] = dst[i + 2] = dst[i + 3] = level;
  }
}

void PlainLevels(std::uint8_t* __restrict dst, const std::uint8_t* __restrict src,
                 std::size_t pixels, const std::uint8_t* __restrict table) {
  for (std::size_t i = 0; i < 4 * pixels; i += 4) {
    dst[i] = src[i];
    dst[i + 1] = table[src[i + 1]];
    dst[i + 2] = table[src[i + 2]];
    dst[i + 3] = table[src[i + 3]];
  }
}

void PlainDuotone(std::uint8_t* __restrict dst, const std::uint8_t* __restrict src,
                  std::size_t pixels, std::uint32_t color) {
  const double red = color & 255;
  const double green = color >> 8 & 255;
  const double blue = color >> 16 & 255;
  const auto cr = static_cast<float>(0.439 * red - 0.368 * green - 0.071 * blue);
  const auto cb = static_cast<float>(-0.148 * red - 0.291 * green + 0.439 * blue);
  const auto level = [](double value) {
    const float single = std::max(static_cast<float>(value), 0.0f);
    return static_cast<std::uint8_t>(std::min(static_cast<int>(single), 255));
  };
  for (std::size_t i = 0; i < 4 * pixels; i += 4) {
    const int r = src[i + 1];
    const int g = src[i + 2];
    const int b = src[i + 3];
    const double y = 1.164 * static_cast<float>(0.257 * r + 0.504 * g + 0.098 * b);
    const bool white = r + g + b > 743;
    dst[i] = src[i];
    dst[i + 1] = white ? src[i + 1] : level(y + 1.596 * cr);
    dst[i + 2] = white ? src[i + 2] : level(y - 0.813 * cb - 0.391 * cr);
    dst[i + 3] = white ? src[i + 3] : level(y + 2.018 * cb);
  }
}

void PlainBlend(std::uint8_t* __restrict dst, const std::uint8_t* __restrict a, double weightA,
                const std::uint8_t* __restrict b, double weightB, std::size_t pixels) {
  for (std::size_t i = 0; i < 4 * pixels; ++i) {
    dst[i] = static_cast<std::uint8_t>(static_cast<int>(a[i] * weightA + b[i] * weightB));
  }
}

void PlainOverlay(std::uint8_t* __restrict dst, const std::uint8_t* __restrict overlay,
                  float opacity, std::size_t pixels) {
  for (std::size_t i = 0; i < 4 * pixels; i += 4) {
    const double of = overlay[i] / 255.0 * static_cast<double>(opacity);
    const double under = 1 - of;
    for (std::size_t c = i; c < i + 4; ++c) {
      dst[c] = static_cast<std::uint8_t>(static_cast<int>(dst[c] * under + overlay[c] * of));
    }
  }
}

void PlainNoise(std::uint8_t* dst, int width, int height, float amplitude) {
  const CoreGeometry::PerlinNoise& noise = CoreGeometry::PerlinNoise::sSingleton;
  for (int y = 0; y < height; ++y) {
    const float fy = static_cast<float>(y) / static_cast<float>(height);
    for (int x = 0; x < width; ++x, dst += 4) {
      const float fx = static_cast<float>(x) / static_cast<float>(width);
      const float value = noise.Noise2(fx * 256, fy * 256) * amplitude * 255;
      dst[0] = 255;
      dst[1] = dst[2] = dst[3] = static_cast<std::uint8_t>(static_cast<int>(value));
    }
  }
}

}  // namespace bench::peers
