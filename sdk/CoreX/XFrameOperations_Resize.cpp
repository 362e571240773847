#include <algorithm>
#include <cstring>

#include "sdk/CoreX/RowThreads.h"
#include "sdk/CoreX/XFrameKernels.h"
#include "sdk/CoreX/XFrameOperations.h"
#include "sdk/CoreX/XFrameRows.h"

using XFrameKernels::BilinearRun;
using XFrameKernels::CurrentRowKernels;
using XFrameKernels::kColumnPadding;
using XFrameKernels::kMostColumns;
using XFrameKernels::kScalarRowKernels;
using XFrameKernels::NearestRun;
using XFrameRows::HasPixels;
using XFrameRows::Row;

namespace {

constexpr int kPixelBytes = 4;
/// A bilinear resize takes so many times as long as a copy, roughly.
constexpr std::size_t kBilinearCost = 4;
/// Columns of a resize by nearest pixels whose table is made at once.
constexpr int kMostNearestColumns = 4096;
/// Positions that accumulate can run past the end. So far they may for the vector forms, which take
/// the weights' rounding errors to stay below 1.
constexpr float kLargestWeight = 2048;

bool CanResize(const XFrameBuffer& source, const XFrameBuffer& dest) {
  return HasPixels(source) && HasPixels(dest) && source.Width > 0 && source.Height > 0;
}

bool IsEmpty(const XFrameBuffer& dest) {
  return dest.Width <= 0 || dest.Height <= 0;
}

/// Whether the destination's pixels can be made in any order.
bool InAnyOrder(const XFrameBuffer& source, const XFrameBuffer& dest) {
  const std::size_t destBytes = static_cast<std::size_t>(dest.Width) * kPixelBytes;
  return XFrameRows::HasSeparateRows(dest, destBytes) &&
         XFrameRows::AreApart(source, static_cast<std::size_t>(source.Width) * kPixelBytes, dest,
                              destBytes);
}

/// Results that no cache holds are written past it: that saves reading the memory first.
bool Streams(const XFrameBuffer& dest) {
  constexpr std::size_t kLeastBytes = std::size_t{16} << 20;
  constexpr std::uintptr_t kLine = 64;
  const std::size_t bytes = static_cast<std::size_t>(dest.Width) * kPixelBytes;
  const bool aligned = reinterpret_cast<std::uintptr_t>(dest.Pixels) % kLine == 0 &&
                       static_cast<std::uintptr_t>(SInt64{dest.RowBytes}) % kLine == 0;
  return aligned && bytes * static_cast<std::size_t>(dest.Height) >= kLeastBytes;
}

/// What a row of the result reads and writes.
std::size_t BytesPerRow(const XFrameBuffer& source, const XFrameBuffer& dest) {
  return (static_cast<std::size_t>(source.Width) + static_cast<std::size_t>(dest.Width)) *
         kPixelBytes;
}

unsigned char* Pixel(const XFrameBuffer& buffer, int x, int y) {
  return Row(buffer, y) + static_cast<std::ptrdiff_t>(x) * kPixelBytes;
}

/// Pads an array of columns as the kernels want it.
template <typename T>
void Pad(T* columns, int count) {
  for (int x = count; x % kColumnPadding != 0; ++x) columns[x] = columns[count - 1];
}

/// Where a run of columns of a bilinear resize comes from.
struct BilinearColumns {
  alignas(64) std::int32_t left[kMostColumns];
  alignas(64) float weight[kMostColumns];

  /// The next `count` columns. `fx` runs on from call to call: positions accumulate.
  void Make(int count, float& fx, float xstep, int sourceWidth) {
    for (int x = 0; x < count; ++x) {
      left[x] = std::min(sourceWidth - 1, static_cast<int>(fx));
      weight[x] = fx - static_cast<float>(left[x]);
      fx += xstep;
    }
  }
};

/// How far the last row's position is behind the row it is taken from.
float LastWeight(const XFrameBuffer& source, const XFrameBuffer& dest, float ystep) {
  float fy = 0;
  for (int y = 1; y < dest.Height; ++y) fy += ystep;
  return fy - static_cast<float>(std::min(source.Height - 1, static_cast<int>(fy)));
}

/// A run that takes its columns from `columns` as they will be.
BilinearRun RunOf(const XFrameBuffer& source, BilinearColumns& columns, float ystep) {
  BilinearRun run = {};
  run.left = columns.left;
  run.weight = columns.weight;
  run.src = {Row(source, 0), source.RowBytes};
  run.sourceWidth = source.Width;
  run.sourceHeight = source.Height;
  run.ystep = ystep;
  return run;
}

/// Row by row and pixel by pixel, for frames that share memory: what has been written is read
/// again.
void ResizeInOrder(const XFrameBuffer& source, const XFrameBuffer& dest, float xstep, float ystep) {
  BilinearColumns columns;
  BilinearRun run = RunOf(source, columns, ystep);
  run.rows = 1;
  run.columns = 1;
  for (int y = 0; y < dest.Height; ++y, run.fy += ystep) {
    float fx = 0;
    for (int x = 0; x < dest.Width; ++x) {
      columns.Make(1, fx, xstep, source.Width);
      run.dst = {Pixel(dest, x, y), 0};
      kScalarRowKernels.bilinear(run);
    }
  }
}

/// Rows [first, last) of the destination. `straight`: no row's weight is out of the ordinary.
void ResizeRows(const XFrameBuffer& source, const XFrameBuffer& dest, float xstep, float ystep,
                bool straight, int first, int last) {
  BilinearColumns columns;
  alignas(64) float cache[8 * kMostColumns];
  BilinearRun run = RunOf(source, columns, ystep);
  run.rows = last - first;
  for (int y = 0; y < first; ++y) run.fy += ystep;
  run.cache = cache;
  run.streams = Streams(dest);
  float fx = 0;
  for (int column = 0; column < dest.Width; column += kMostColumns) {
    run.columns = std::min(kMostColumns, dest.Width - column);
    run.dst = {Pixel(dest, column, first), dest.RowBytes};
    columns.Make(run.columns, fx, xstep, source.Width);
    Pad(columns.left, run.columns);
    Pad(columns.weight, run.columns);
    const bool near = straight && columns.weight[run.columns - 1] < kLargestWeight;
    (near ? CurrentRowKernels() : kScalarRowKernels).bilinear(run);
  }
}

}  // namespace

bool XFrame_ResizeBilinear(const XFrameBuffer& source, XFrameBuffer& dest) {
  if (IsEmpty(dest)) return true;
  if (!CanResize(source, dest)) return false;
  const float xstep = static_cast<float>(source.Width) / static_cast<float>(dest.Width);
  const float ystep = static_cast<float>(source.Height) / static_cast<float>(dest.Height);
  if (!InAnyOrder(source, dest)) {
    ResizeInOrder(source, dest, xstep, ystep);
    return true;
  }
  const bool straight = LastWeight(source, dest, ystep) < kLargestWeight;
  RowThreads::ForRows(
      dest.Height, kBilinearCost * BytesPerRow(source, dest),
      [&](int first, int last) { ResizeRows(source, dest, xstep, ystep, straight, first, last); });
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

namespace {

/// Row by row and pixel by pixel, for frames that share memory and for pixels of other sizes.
void NearestInOrder(const XFrameBuffer& source, const XFrameBuffer& dest, double xstep,
                    double ystep) {
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
}

void NearestRows(const XFrameBuffer& source, const XFrameBuffer& dest, double xstep, double ystep,
                 int first, int last) {
  alignas(64) std::int32_t columns[kMostNearestColumns];
  NearestRun run = {};
  run.rows = last - first;
  run.column = columns;
  run.src = {Row(source, 0), source.RowBytes};
  run.sourceWidth = source.Width;
  run.sourceHeight = source.Height;
  for (int y = 0; y < first; ++y) run.fy += ystep;
  run.ystep = ystep;
  run.streams = Streams(dest);
  double fx = 0;
  for (int column = 0; column < dest.Width; column += kMostNearestColumns) {
    run.columns = std::min(kMostNearestColumns, dest.Width - column);
    run.dst = {Pixel(dest, column, first), dest.RowBytes};
    for (int x = 0; x < run.columns; ++x, fx += xstep) {
      columns[x] = std::min(static_cast<int>(fx), source.Width - 1);
    }
    Pad(columns, run.columns);
    CurrentRowKernels().nearest(run);
  }
}

}  // namespace

bool XFrame_ResizeNearestPixel(const XFrameBuffer& source, XFrameBuffer& dest) {
  if (IsEmpty(dest)) return true;
  // A pixel is read as 4 bytes from its own start, which the last one of a row must have.
  if (!CanResize(source, dest) || source.PelBytes < kPixelBytes) return false;
  const double xstep = static_cast<double>(source.Width) / dest.Width;
  const double ystep = static_cast<double>(source.Height) / dest.Height;
  if (source.PelBytes != kPixelBytes || !InAnyOrder(source, dest)) {
    NearestInOrder(source, dest, xstep, ystep);
    return true;
  }
  RowThreads::ForRows(dest.Height, BytesPerRow(source, dest), [&](int first, int last) {
    NearestRows(source, dest, xstep, ystep, first, last);
  });
  return true;
}
