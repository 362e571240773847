// Row kernels of the frame operations. The scalar form is the definition; the vector form gives the
// same bytes for every input. Rows may start at any address. The destination row is one of the
// source rows or apart from all of them: the operations take the scalar form for any other overlap.
// Safe from any thread; cannot fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace XFrameKernels {

/// Where a destination pixel of a resized row comes from.
struct Tap {
  std::int32_t left;   ///< byte offset of the left pixel in its row
  std::int32_t right;  ///< and of the right one
  float weight;        ///< of the right one; the left one has 1 - weight
};

struct RowKernels {
  std::string_view name;

  /// dst = (a + b) >> 1 for each byte.
  void (*mean)(std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b, std::size_t bytes);

  /// dst = (((above + below) >> 1) + row) >> 1 for each byte.
  void (*threeRows)(std::uint8_t* dst, const std::uint8_t* above, const std::uint8_t* row,
                    const std::uint8_t* below, std::size_t bytes);

  /// `count` pixels of 4 bytes, each from four: with u = 1 - weight and v = 1 - lowerWeight,
  /// trunc(((a u + b weight) v) + ((c u + d weight) lowerWeight)) in single precision, a and b the
  /// taps in the upper row, c and d in the lower one.
  void (*bilinear)(std::uint8_t* dst, const std::uint8_t* upper, const std::uint8_t* lower,
                   float lowerWeight, const Tap* taps, std::size_t count);
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
