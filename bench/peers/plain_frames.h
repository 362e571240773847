// Plain loops over frames of bytes, as one writes them first: g++ vectorises them by itself.
#pragma once

#include <cstddef>
#include <cstdint>

namespace bench::peers {

/// dst = (a + b) >> 1 for each byte.
void PlainMean(std::uint8_t* __restrict dst, const std::uint8_t* __restrict a,
               const std::uint8_t* __restrict b, std::size_t bytes);

}  // namespace bench::peers
