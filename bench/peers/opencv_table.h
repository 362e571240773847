// OpenCV's table look-up.
#pragma once

#include <cstddef>
#include <cstdint>

namespace bench::peers {

/// Every byte through a table of 256.
void OpenCVLUT(const std::uint8_t* src, std::uint8_t* dst, int bytes, int height,
               const std::uint8_t* table);

}  // namespace bench::peers
