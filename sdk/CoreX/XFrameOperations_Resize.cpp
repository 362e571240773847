#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "sdk/CoreX/XFrameKernels.h"
#include "sdk/CoreX/XFrameOperations.h"
#include "sdk/CoreX/XFrameRows.h"

using XFrameKernels::Tap;
using XFrameRows::HasPixels;
using XFrameRows::Row;

namespace {

constexpr int kPixelBytes = 4;
/// Columns whose taps are worked out at once and used for all rows: they fit the first-level cache.
constexpr int kColumnsAtOnce = 1024;

bool CanResize(const XFrameBuffer& source, const XFrameBuffer& dest) {
  return HasPixels(source) && HasPixels(dest) && source.Width > 0 && source.Height > 0;
}

bool IsEmpty(const XFrameBuffer& dest) {
  return dest.Width <= 0 || dest.Height <= 0;
}

/// First and last byte address that the rows of a frame touch.
std::pair<std::uintptr_t, std::uintptr_t> Extent(const XFrameBuffer& buffer, std::size_t rowSize) {
  const auto top = reinterpret_cast<std::uintptr_t>(Row(buffer, 0));
  const auto bottom = reinterpret_cast<std::uintptr_t>(Row(buffer, buffer.Height - 1));
  return {std::min(top, bottom), std::max(top, bottom) + rowSize};
}

bool ShareMemory(const XFrameBuffer& source, const XFrameBuffer& dest) {
  const auto s = Extent(source, static_cast<std::size_t>(source.Width) * kPixelBytes);
  const auto d = Extent(dest, static_cast<std::size_t>(dest.Width) * kPixelBytes);
  return s.first < d.second && d.first < s.second;
}

/// The taps of the next `count` columns. `fx` runs on from call to call: positions accumulate.
void MakeTaps(Tap* taps, int count, float& fx, float xstep, int sourceWidth) {
  for (int x = 0; x < count; ++x) {
    const int x0 = std::min(sourceWidth - 1, static_cast<int>(fx));
    const std::int32_t left = x0 * kPixelBytes;
    taps[x] = {left, x0 + 1 < sourceWidth ? left + kPixelBytes : left, fx - static_cast<float>(x0)};
    fx += xstep;
  }
}

/// A run of columns of every row. `firstColumn` counts in the destination.
void ResizeColumns(const XFrameBuffer& source, XFrameBuffer& dest, const Tap* taps, int firstColumn,
                   int count, float ystep) {
  const XFrameKernels::RowKernels& kernels = XFrameKernels::CurrentRowKernels();
  float fy = 0;
  for (int y = 0; y < dest.Height; ++y, fy += ystep) {
    const int y0 = std::min(source.Height - 1, static_cast<int>(fy));
    const int y1 = y0 + 1 < source.Height ? y0 + 1 : y0;
    kernels.bilinear(Row(dest, y) + static_cast<std::ptrdiff_t>(firstColumn) * kPixelBytes,
                     Row(source, y0), Row(source, y1), fy - static_cast<float>(y0), taps,
                     static_cast<std::size_t>(count));
  }
}

/// Row by row and pixel by pixel, for frames that share memory: what has been written is read
/// again.
void ResizeInOrder(const XFrameBuffer& source, XFrameBuffer& dest, float xstep, float ystep) {
  float fy = 0;
  for (int y = 0; y < dest.Height; ++y, fy += ystep) {
    const int y0 = std::min(source.Height - 1, static_cast<int>(fy));
    const int y1 = y0 + 1 < source.Height ? y0 + 1 : y0;
    float fx = 0;
    for (int x = 0; x < dest.Width; ++x) {
      Tap tap;
      MakeTaps(&tap, 1, fx, xstep, source.Width);
      XFrameKernels::kScalarRowKernels.bilinear(
          Row(dest, y) + static_cast<std::ptrdiff_t>(x) * kPixelBytes, Row(source, y0),
          Row(source, y1), fy - static_cast<float>(y0), &tap, 1);
    }
  }
}

}  // namespace

bool XFrame_ResizeBilinear(const XFrameBuffer& source, XFrameBuffer& dest) {
  if (IsEmpty(dest)) return true;
  if (!CanResize(source, dest)) return false;
  const float xstep = static_cast<float>(source.Width) / static_cast<float>(dest.Width);
  const float ystep = static_cast<float>(source.Height) / static_cast<float>(dest.Height);
  if (ShareMemory(source, dest)) {
    ResizeInOrder(source, dest, xstep, ystep);
    return true;
  }
  Tap taps[kColumnsAtOnce];
  float fx = 0;
  for (int column = 0; column < dest.Width; column += kColumnsAtOnce) {
    const int count = std::min(kColumnsAtOnce, dest.Width - column);
    MakeTaps(taps, count, fx, xstep, source.Width);
    ResizeColumns(source, dest, taps, column, count, ystep);
  }
  return true;
}

bool XFrame_ResizeBilinear(const XFrameBuffer& source, XFrameBuffer& dest, bool progressive) {
  return progressive ? XFrame_ResizeBilinear(source, dest)
                     : XFrame_ResizeBilinearWithFields(source, dest);
}

bool XFrame_ResizeBilinearWithFields(const XFrameBuffer& source, XFrameBuffer& dest) {
  XFrameBuffer sourceTop;
  XFrameBuffer sourceBottom;
  XFrameBuffer destTop;
  XFrameBuffer destBottom;
  source.GetFields(sourceTop, sourceBottom);
  dest.GetFields(destTop, destBottom);
  const bool top = XFrame_ResizeBilinear(sourceTop, destTop);
  const bool bottom = XFrame_ResizeBilinear(sourceBottom, destBottom);
  return top && bottom;
}

bool XFrame_ResizeNearestPixel(const XFrameBuffer& source, XFrameBuffer& dest) {
  if (IsEmpty(dest)) return true;
  // A pixel is read as 4 bytes from its own start, which the last one of a row must have.
  if (!CanResize(source, dest) || source.PelBytes < kPixelBytes) return false;
  const double xstep = static_cast<double>(source.Width) / dest.Width;
  const double ystep = static_cast<double>(source.Height) / dest.Height;
  double fy = 0;
  for (int y = 0; y < dest.Height; ++y, fy += ystep) {
    const unsigned char* from = Row(source, std::min(source.Height - 1, static_cast<int>(fy)));
    unsigned char* to = Row(dest, y);
    double fx = 0;
    for (int x = 0; x < dest.Width; ++x, fx += xstep, to += kPixelBytes) {
      const int column = std::min(static_cast<int>(fx), source.Width - 1);
      std::memmove(to, from + static_cast<std::ptrdiff_t>(column) * source.PelBytes, kPixelBytes);
    }
  }
  return true;
}
