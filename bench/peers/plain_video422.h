// Plain loops over 4:2:2 frames, as one writes them first: g++ vectorises them by itself.
#pragma once

#include <cstddef>
#include <cstdint>

namespace bench::peers {

/// 2vuy to A, R, G, B in the integers that equal the engine's rule.
void PlainToARGB(const std::uint8_t* __restrict src, std::uint8_t* __restrict dst,
                 std::size_t pixels);
void PlainSwap(const std::uint8_t* __restrict src, std::uint8_t* __restrict dst,
               std::size_t pixels);
void PlainMap(const std::uint8_t* __restrict src, std::uint8_t* __restrict dst, std::size_t pixels,
              const std::uint8_t* table);
/// Luma into four tables of 256 counts.
void PlainCount(const std::uint8_t* src, std::size_t pixels, std::uint32_t* counts);
/// trunc(a * (1 - t) + b * t) in single precision.
void PlainBlend(const std::uint8_t* __restrict a, const std::uint8_t* __restrict b,
                std::uint8_t* __restrict dst, std::size_t bytes, float t);

}  // namespace bench::peers
