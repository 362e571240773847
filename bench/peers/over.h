// Source-over of premultiplied 32-bit pixels by other libraries, whole frames close together.
#pragma once

#include <cstdint>

namespace bench::peers {

/// A, R, G, B in memory order.
void PixmanOverARGB(std::uint8_t* dst, const std::uint8_t* src, int width, int height);
/// B, G, R, A, which pixman has its own loops for.
void PixmanOverBGRA(std::uint8_t* dst, const std::uint8_t* src, int width, int height);
/// B, G, R, A; in 8 bits.
void LibyuvOver(std::uint8_t* dst, const std::uint8_t* src, int width, int height);

}  // namespace bench::peers
