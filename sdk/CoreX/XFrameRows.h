// Where the rows of a frame lie. For the frame operations' own use.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sdk/CoreX/XFrameBuffer.h"

namespace XFrameRows {

inline bool HasPixels(const XFrameBuffer& buffer) {
  return buffer.Pixels != nullptr;
}

/// First byte of a row from the top. The frame has pixels and the row.
inline unsigned char* Row(const XFrameBuffer& buffer, int y) {
  return buffer.Pixels + static_cast<std::ptrdiff_t>(y) * buffer.RowBytes;
}

/// Bytes of a row's pixels; 0 for a frame without columns.
inline std::size_t RowSize(const XFrameBuffer& buffer) {
  if (buffer.Width <= 0 || buffer.PelBytes <= 0) return 0;
  return static_cast<std::size_t>(buffer.Width) * static_cast<std::size_t>(buffer.PelBytes);
}

/// Whether two runs of bytes are the same one or have none in common.
inline bool ApartOrSame(const unsigned char* a, const unsigned char* b, std::size_t bytes) {
  const auto pa = reinterpret_cast<std::uintptr_t>(a);
  const auto pb = reinterpret_cast<std::uintptr_t>(b);
  return pa == pb || (pa < pb ? pb - pa >= bytes : pa - pb >= bytes);
}

}  // namespace XFrameRows
