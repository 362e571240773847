// Where the rows of a frame lie. For the frame operations' own use.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

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

/// Whether the first `bytes` bytes of every row of a frame share no memory with those of another
/// row. The frame has rows.
inline bool HasSeparateRows(const XFrameBuffer& buffer, std::size_t bytes) {
  const SInt64 step = buffer.RowBytes;
  return buffer.Height == 1 || static_cast<std::size_t>(step < 0 ? -step : step) >= bytes;
}

/// First and last byte address of such rows.
inline std::pair<std::uintptr_t, std::uintptr_t> Extent(const XFrameBuffer& buffer,
                                                        std::size_t bytes) {
  const auto top = reinterpret_cast<std::uintptr_t>(Row(buffer, 0));
  const auto bottom = reinterpret_cast<std::uintptr_t>(Row(buffer, buffer.Height - 1));
  return {std::min(top, bottom), std::max(top, bottom) + bytes};
}

/// Whether two frames that have rows lie apart, so that the order in which rows are made does not
/// matter.
inline bool AreApart(const XFrameBuffer& source, std::size_t sourceBytes, const XFrameBuffer& dest,
                     std::size_t destBytes) {
  const auto s = Extent(source, sourceBytes);
  const auto d = Extent(dest, destBytes);
  return s.second <= d.first || d.second <= s.first;
}

}  // namespace XFrameRows
