#include <algorithm>
#include <cstring>
#include <limits>

#include "sdk/CoreX/RowThreads.h"
#include "sdk/CoreX/XFrameKernels.h"
#include "sdk/CoreX/XFrameOperations.h"
#include "sdk/CoreX/XFrameRows.h"

using XFrameKernels::CurrentRowKernels;
using XFrameRows::HasPixels;
using XFrameRows::Row;
using XFrameRows::RowSize;

namespace {

/// Feathered pixels lie 4 bytes apart whatever the format.
constexpr SInt64 kFeatherBytes = 4;

constexpr unsigned char kBlackOfYUV[4] = {255, 0, 128, 128};

bool CanBlacken(const XFrameBuffer& buffer) {
  return HasPixels(buffer) && buffer.Width != 0 && buffer.Height != 0;
}

bool HasRow(const XFrameBuffer& buffer, SInt64 y) {
  return y >= 0 && y < buffer.Height;
}

/// Pixels [from, to) of a row become that many thirds, as far as the frame has them.
void Feather(const XFrameBuffer& buffer, SInt64 from, SInt64 to, SInt64 y, int thirds) {
  if (!HasRow(buffer, y)) return;
  const auto pixels = static_cast<SInt64>(RowSize(buffer)) / kFeatherBytes;
  from = std::max<SInt64>(from, 0);
  to = std::min(to, pixels);
  if (from >= to) return;
  CurrentRowKernels().darken(Row(buffer, static_cast<int>(y)) + from * kFeatherBytes,
                             static_cast<std::size_t>((to - from) * kFeatherBytes), thirds);
}

/// The columns between the side borders of two rows next to the top or bottom border.
void FeatherRows(const XFrameBuffer& buffer, const XFrameEdges& edges, SInt64 nearRow,
                 SInt64 farRow) {
  const SInt64 end = SInt64{buffer.Width} - edges.right;
  Feather(buffer, edges.left, end, nearRow, 1);
  Feather(buffer, edges.left, end, farRow, 2);
}

/// One pixel at a side, which is not worth a kernel.
void FeatherPixel(const XFrameBuffer& buffer, SInt64 x, int y, int thirds) {
  if (x < 0 || (x + 1) * kFeatherBytes > static_cast<SInt64>(RowSize(buffer))) return;
  XFrameKernels::kScalarRowKernels.darken(Row(buffer, y) + x * kFeatherBytes, kFeatherBytes,
                                          thirds);
}

/// Pixels [from, to) of a row, as far as the frame has them.
void BlackenPixels(const XFrameBuffer& buffer, int y, SInt64 from, SInt64 to) {
  from = std::clamp<SInt64>(from, 0, buffer.Width);
  to = std::clamp<SInt64>(to, 0, buffer.Width);
  if (from >= to || buffer.PelBytes <= 0) return;
  XFrame_BlackenPixelData(buffer.PixelType, Row(buffer, y) + from * buffer.PelBytes,
                          static_cast<UInt32>((to - from) * buffer.PelBytes));
}

}  // namespace

void XFrameBlacken_ARGB_ScanLine(unsigned char* bytes, UInt32 count) {
  std::memset(bytes, 0, count);
}

void XFrameBlacken_r408_ScanLine(unsigned char* bytes, UInt32 count) {
  CurrentRowKernels().fill({bytes, 0}, kBlackOfYUV, count / 4, 1);
}

template <void (*BlackenRow)(unsigned char*, UInt32)>
bool XFrame_BlackenWith(XFrameBuffer& buffer) {
  if (!CanBlacken(buffer)) return false;
  const std::size_t bytes = RowSize(buffer);
  if (bytes == 0) return true;
  // Rows without a gap are one long row, of a length that can be said.
  const std::size_t most = std::numeric_limits<UInt32>::max() / bytes;
  const bool gapless = buffer.RowBytes == static_cast<SInt64>(bytes) && bytes % 4 == 0;
  const auto blacken = [&](int first, int end) {
    for (int y = first; y < end;) {
      const std::size_t rest = static_cast<std::size_t>(end - y);
      const std::size_t rows = gapless ? std::min(rest, most) : 1;
      BlackenRow(Row(buffer, y), static_cast<UInt32>(bytes * rows));
      y += static_cast<int>(rows);
    }
  };
  if (buffer.Height > 0 && XFrameRows::HasSeparateRows(buffer, bytes)) {
    RowThreads::ForRows(buffer.Height, bytes, blacken);
  } else {
    blacken(0, buffer.Height);
  }
  return true;
}

template bool XFrame_BlackenWith<XFrameBlacken_ARGB_ScanLine>(XFrameBuffer&);
template bool XFrame_BlackenWith<XFrameBlacken_r408_ScanLine>(XFrameBuffer&);

bool XFrame_BlackenPixelData(XFrame_Pel_Format format, unsigned char* bytes, UInt32 count) {
  if (bytes == nullptr) return false;
  if (XFrame_IsYUV(format)) {
    XFrameBlacken_r408_ScanLine(bytes, count);
  } else {
    XFrameBlacken_ARGB_ScanLine(bytes, count);
  }
  return true;
}

bool XFrame_BlackenScanLine(const XFrameBuffer& buffer, int row) {
  if (!HasPixels(buffer) || !HasRow(buffer, row)) return false;
  return XFrame_BlackenPixelData(buffer.PixelType, Row(buffer, row),
                                 static_cast<UInt32>(RowSize(buffer)));
}

bool XFrame_Blacken(XFrameBuffer& buffer) {
  return XFrame_IsYUV(buffer.PixelType) ? XFrame_BlackenWith<XFrameBlacken_r408_ScanLine>(buffer)
                                        : XFrame_BlackenWith<XFrameBlacken_ARGB_ScanLine>(buffer);
}

bool XFrame_BlackenEdges(XFrameBuffer& buffer, const XFrameEdges& edges) {
  if (!CanBlacken(buffer)) return false;
  const SInt64 width = buffer.Width;
  const SInt64 height = buffer.Height;
  if (edges.top != 0) {
    for (int y = 0; y < std::min<SInt64>(edges.top, height); ++y) XFrame_BlackenScanLine(buffer, y);
    FeatherRows(buffer, edges, edges.top, edges.top + 1);
  }
  if (edges.bottom != 0) {
    const SInt64 first = std::max<SInt64>(height - edges.bottom, 0);
    for (SInt64 y = first; y < height; ++y) XFrame_BlackenScanLine(buffer, static_cast<int>(y));
    FeatherRows(buffer, edges, height - edges.bottom - 1, height - edges.bottom - 2);
  }
  if (edges.left == 0 && edges.right == 0) return true;

  const SInt64 end = std::min<SInt64>(height - edges.bottom, height);
  for (SInt64 row = std::max<SInt64>(edges.top, 0); row < end; ++row) {
    const int y = static_cast<int>(row);
    if (edges.left * buffer.PelBytes != 0) {
      BlackenPixels(buffer, y, 0, edges.left);
      FeatherPixel(buffer, edges.left, y, 1);
      FeatherPixel(buffer, SInt64{edges.left} + 1, y, 2);
    }
    if (edges.right * buffer.PelBytes != 0) {
      BlackenPixels(buffer, y, width - edges.right, width);
      FeatherPixel(buffer, width - edges.right - 1, y, 1);
      FeatherPixel(buffer, width - edges.right - 2, y, 2);
    }
  }
  return true;
}
