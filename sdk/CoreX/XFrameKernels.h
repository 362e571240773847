// Row kernels of the frame operations. The scalar form is the definition; a vector form gives the
// same bytes for every input. A kernel walks the rows itself, so that a form is chosen once for a
// block of rows. Rows may start at any address, and may go up or down. Safe from any thread; cannot
// fail; nothing is allocated.
//
// A destination row is apart from all source rows, or it is one of those it is made from and those
// are not read for later rows. The operations take the scalar form, row by row, for any other
// overlap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace XFrameKernels {

/// Rows of bytes, `stride` bytes from one to the next.
template <typename Byte>
struct Rows {
  Byte* first;
  std::ptrdiff_t stride;

  Byte* operator[](std::ptrdiff_t y) const { return first + y * stride; }
};
using SourceRows = Rows<const std::uint8_t>;
using DestRows = Rows<std::uint8_t>;

/// Arrays for columns have room for a multiple of this many, and repeat their last column there.
inline constexpr int kColumnPadding = 16;
/// A run of a bilinear resize has no more columns: what belongs to them fits the first-level cache.
inline constexpr int kMostColumns = 512;

/// A run of columns of a bilinear resize.
struct BilinearRun {
  DestRows dst;  ///< the run's first pixel in its first row
  int rows;
  int columns;               ///< at most kMostColumns
  const std::int32_t* left;  ///< pixel in the source row that is a column's left tap; rises
  const float* weight;       ///< of the right tap, the next pixel if there is one; below 2048
  SourceRows src;
  int sourceWidth;
  int sourceHeight;
  float fy;      ///< position of the first row in the source
  float ystep;   ///< added after each row; positions stay below sourceHeight + 2048
  float* cache;  ///< 8 floats a column, aligned to 64 bytes; for the kernel's own use
  bool streams;  ///< past the cache; dst and its stride are multiples of 64
};

/// A run of columns of a resize by nearest pixels.
struct NearestRun {
  DestRows dst;
  int rows;
  int columns;
  const std::int32_t* column;  ///< pixel in the source row; rises
  SourceRows src;
  int sourceWidth;
  int sourceHeight;
  double fy;
  double ystep;
  bool streams;
};

struct RowKernels {
  std::string_view name;

  /// dst rows 2k and 2k + 1 = (a + b) >> 1 for each byte, a and b in the same rows of src.
  void (*pairs)(DestRows dst, SourceRows src, std::size_t bytes, int pairs);

  /// dst = (((above + below) >> 1) + row) >> 1 for each byte. `above` stands before the first row
  /// of src, `below` after the last.
  void (*threeRows)(DestRows dst, const std::uint8_t* above, SourceRows src,
                    const std::uint8_t* below, std::size_t bytes, int rows);

  /// dst row 2k = src row k, dst row 2k + 1 = (row k + row k + 1) >> 1. Reads one source row more
  /// than `pairs`.
  void (*field)(DestRows dst, SourceRows src, std::size_t bytes, int pairs);

  /// Each of 4 bytes.
  void (*fill)(DestRows dst, const std::uint8_t (&pixel)[4], std::size_t pixels, int rows);

  /// byte = thirds * byte / 3, rounded down; thirds is 1 or 2.
  void (*darken)(std::uint8_t* row, std::size_t bytes, int thirds);

  /// Pixels of 4 bytes, each from four: for a row at fy, y0 = min(trunc(fy), sourceHeight - 1) and
  /// w' = fy - y0; a and b are the taps in row y0, c and d those in the next if there is one. With
  /// u = 1 - weight and v = 1 - w', trunc(((a u + b weight) v) + ((c u + d weight) w')) in single
  /// precision.
  void (*bilinear)(const BilinearRun& run);

  /// Pixels of 4 bytes, from source row min(trunc(fy), sourceHeight - 1).
  void (*nearest)(const NearestRun& run);
};

/// The forms usable on this machine, one for each of its instruction sets by that set's name, best
/// first, "scalar" last.
std::span<const RowKernels> AvailableRowKernels();
const RowKernels& CurrentRowKernels();
/// For tests, benchmarks and bug reports; "vector" is the best form. False when there is none of
/// that name.
bool SelectRowKernels(std::string_view name);

extern const RowKernels kScalarRowKernels;

}  // namespace XFrameKernels
