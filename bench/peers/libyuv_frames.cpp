#include "bench/peers/libyuv_frames.h"

#include <libyuv/planar_functions.h>

namespace bench::peers {

void LibyuvMean(std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b, int bytes,
                int height) {
  libyuv::InterpolatePlane(a, bytes, b, bytes, dst, bytes, bytes, height, 128);
}

}  // namespace bench::peers
