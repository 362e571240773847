// libyuv on whole 4:2:2 frames. Its UYVY is our '2vuy', its YUY2 our 'yuvs', its BGRA our A, R, G,
// B.
#pragma once

#include <cstdint>

namespace bench::peers {

/// To the library's own order B, G, R, A.
void LibyuvUYVYToARGB(const std::uint8_t* src, std::uint8_t* dst, int width, int height);

enum class LibyuvMatrix { k601, k709 };
/// Through its way from planes, then reversed into A, R, G, B: what there is for a matrix of
/// choice. `planes` has room for a frame of 2 bytes a pixel.
void LibyuvUYVYToReversedARGB(const std::uint8_t* src, std::uint8_t* dst, std::uint8_t* planes,
                              LibyuvMatrix matrix, int width, int height);
/// By rec. 601, with the frame reversed in place.
void LibyuvUYVYToReversedARGB(const std::uint8_t* src, std::uint8_t* dst, int width, int height);

/// From the library's own order.
void LibyuvARGBToUYVY(const std::uint8_t* src, std::uint8_t* dst, int width, int height);

/// Swaps the bytes of each pair.
void LibyuvSwap(const std::uint8_t* src, std::uint8_t* dst, int width, int height);

/// Bytes a * (256 - fraction) + b * fraction, rounded, over 256.
void LibyuvInterpolate(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* dst, int bytes,
                       int height, int fraction);

}  // namespace bench::peers
