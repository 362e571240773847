// libyuv on whole frames of bytes.
#pragma once

#include <cstdint>

namespace bench::peers {

/// dst = the mean of two frames of `height` rows of `bytes` bytes, rounded up.
void LibyuvMean(std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b, int bytes,
                int height);

}  // namespace bench::peers
