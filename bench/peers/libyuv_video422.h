// libyuv on whole 4:2:2 frames. Its UYVY is our '2vuy', its YUY2 our 'yuvs', its BGRA our A, R, G,
// B.
#pragma once

#include <cstdint>

namespace bench::peers {

/// To the library's own order B, G, R, A.
void LibyuvUYVYToARGB(const std::uint8_t* src, std::uint8_t* dst, int width, int height);

/// The same by rec. 601, then reversed into A, R, G, B, row by row.
void LibyuvUYVYToReversedARGB(const std::uint8_t* src, std::uint8_t* dst, int width, int height);
/// By rec. 709, for which it has a way from planes only. `planes` has room for 2 bytes a pixel of a
/// row.
void LibyuvUYVYToReversedARGB709(const std::uint8_t* src, std::uint8_t* dst, std::uint8_t* planes,
                                 int width, int height);

/// From the library's own order.
void LibyuvARGBToUYVY(const std::uint8_t* src, std::uint8_t* dst, int width, int height);

/// Swaps the bytes of each pair.
void LibyuvSwap(const std::uint8_t* src, std::uint8_t* dst, int width, int height);

/// Bytes a * (256 - fraction) + b * fraction, rounded, over 256.
void LibyuvInterpolate(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* dst, int bytes,
                       int height, int fraction);

}  // namespace bench::peers
