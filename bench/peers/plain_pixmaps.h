// Plain loops over 32-bit pixels, A, R, G, B, as one writes them first: g++ vectorises them by
// itself where it can.
#pragma once

#include <cstddef>
#include <cstdint>

namespace bench::peers {

/// R, G and B become trunc((0.2126 B + 0.7152 R) + 0.0722 G).
void PlainGrey(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels);
/// R, G and B go through a table of 256.
void PlainLevels(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels,
                 const std::uint8_t* table);
/// R, G and B take the chroma of a colour, R in the low byte.
void PlainDuotone(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels,
                  std::uint32_t color);
/// trunc(a * weightA + b * weightB) for each byte.
void PlainBlend(std::uint8_t* dst, const std::uint8_t* a, double weightA, const std::uint8_t* b,
                double weightB, std::size_t pixels);
/// trunc(d * (1 - alpha) + o * alpha) for each byte, with the overlay's alpha times the opacity.
void PlainOverlay(std::uint8_t* dst, const std::uint8_t* overlay, float opacity,
                  std::size_t pixels);
/// 255 and three times the low 8 bits of the noise * amplitude * 255, noise in 256 lattice cells
/// each way, for each pixel.
void PlainNoise(std::uint8_t* dst, int width, int height, float amplitude);

}  // namespace bench::peers
