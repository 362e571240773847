// Rows of one frame and where they go.
#pragma once

#include <cstddef>
#include <cstdint>

/// Rows may start at any address and lie any number of bytes apart, also upwards.
struct PackedRows {
  const std::uint8_t* src;
  std::ptrdiff_t srcRowBytes;
  std::uint8_t* dst;
  std::ptrdiff_t dstRowBytes;
  int width;   ///< pixels
  int height;  ///< rows
};
