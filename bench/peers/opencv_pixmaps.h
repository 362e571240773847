// OpenCV on frames of 32-bit pixels close together.
#pragma once

#include <cstdint>

namespace bench::peers {

/// The same weights for R, G and B, in 8 bits with rounding, by a colour matrix.
void OpenCVGrey(std::uint8_t* dst, const std::uint8_t* src, int width, int height);
/// The weighted sum of two frames, rounded, limited to 255.
void OpenCVBlend(std::uint8_t* dst, const std::uint8_t* a, double weightA, const std::uint8_t* b,
                 double weightB, int width, int height);

}  // namespace bench::peers
