#include "bench/peers/plain_video422.h"

#include <algorithm>

namespace bench::peers {
namespace {

std::uint8_t Channel(int value) {
  return static_cast<std::uint8_t>(std::clamp(value >> 20, 0, 255));
}

void Pixel(int luma, int c, std::uint8_t* argb) {
  const int y = 1220944 * (luma - 16);
  const bool visible = luma >= 16;
  argb[0] = 255;
  argb[1] = visible ? Channel(y + 2404000) : std::uint8_t{0};
  argb[2] = visible ? Channel(y - 223609 * c - 34520) : std::uint8_t{0};
  argb[3] = visible ? Channel(y + 2215014 * c + 524250) : std::uint8_t{0};
}

}  // namespace

void PlainToARGB(const std::uint8_t* __restrict src, std::uint8_t* __restrict dst,
                 std::size_t pixels) {
  for (std::size_t pair = 0; pair < pixels / 2; ++pair) {
    const int c = src[4 * pair] - 128;
    Pixel(src[4 * pair + 1], c, dst + 8 * pair);
    Pixel(src[4 * pair + 3], c, dst + 8 * pair + 4);
  }
}

void PlainSwap(const std::uint8_t* __restrict src, std::uint8_t* __restrict dst,
               std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) {
    dst[2 * i] = src[2 * i + 1];
    dst[2 * i + 1] = src[2 * i];
  }
}

void PlainMap(const std::uint8_t* __restrict src, std::uint8_t* __restrict dst, std::size_t pixels,
              const std::uint8_t* table) {
  for (std::size_t i = 0; i < pixels; ++i) {
    dst[2 * i] = src[2 * i];
    dst[2 * i + 1] = table[src[2 * i + 1]];
  }
}

void PlainCount(const std::uint8_t* src, std::size_t pixels, std::uint32_t* counts) {
  for (std::size_t i = 0; i < pixels; i += 4, src += 8) {
    ++counts[src[1]];
    ++counts[256 + src[3]];
    ++counts[512 + src[5]];
    ++counts[768 + src[7]];
  }
}

void PlainBlend(const std::uint8_t* __restrict a, const std::uint8_t* __restrict b,
                std::uint8_t* __restrict dst, std::size_t bytes, float t) {
  const float keep = 1.0f - t;
  for (std::size_t i = 0; i < bytes; ++i) {
    const float value = static_cast<float>(a[i]) * keep + static_cast<float>(b[i]) * t;
    dst[i] = static_cast<std::uint8_t>(static_cast<int>(value));
  }
}

}  // namespace bench::peers
