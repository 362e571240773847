#include "bench/peers/plain_frames.h"

namespace bench::peers {

void PlainMean(std::uint8_t* __restrict dst, const std::uint8_t* __restrict a,
               const std::uint8_t* __restrict b, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i) dst[i] = static_cast<std::uint8_t>((a[i] + b[i]) >> 1);
}

}  // namespace bench::peers
