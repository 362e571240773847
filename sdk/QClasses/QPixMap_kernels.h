// Row kernels of the pixel-map operations on 32-bit pixels: A, R, G, B in memory order, 8 bits
// each.
//
// Rows may start at any address. A kernel works in place, or its destination row is one of its
// source rows or apart from them: the operations take the scalar form for any other overlap. Safe
// from any thread; cannot fail. The scalar form is the definition; the vector form gives the same
// bytes for every input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace QPixMapKernels {

/// Grey: the weights of ITU-R BT.709 luma for R, G and B, which the rule deliberately
/// puts on B, R and G.
inline constexpr double kGreyOfBlue = 0.2126;
inline constexpr double kGreyOfRed = 0.7152;
inline constexpr double kGreyOfGreen = 0.0722;
/// Sums of R, G and B above this are white enough to stay as they are under a tint.
inline constexpr int kNearWhiteSum = 743;

/// The colour differences that a tint gives to every pixel, around 0.
struct Tint {
  float cr;
  float cb;
};
/// Red in the low byte, then green, then blue.
Tint TintOfColor(std::uint32_t color);

struct RowKernels {
  std::string_view name;

  /// R, G and B become trunc((0.2126 B + 0.7152 R) + 0.0722 G) in double precision.
  void (*grey)(std::uint8_t* row, std::size_t pixels);

  /// R, G and B go through a table of 256 levels.
  void (*levels)(std::uint8_t* row, std::size_t pixels, const std::uint8_t* table);

  /// Each pixel keeps its brightness and takes the tint's chroma; near-white ones stay.
  void (*duotone)(std::uint8_t* row, std::size_t pixels, Tint tint);

  /// dst = trunc(a * weightA + b * weightB) in double precision for each of 4 * `pixels` bytes, low
  /// 8 bits. What lies beyond the 32-bit range, and NaN, is the most negative integer: 0.
  void (*blend)(std::uint8_t* dst, const std::uint8_t* a, double weightA, const std::uint8_t* b,
                double weightB, std::size_t pixels);
};

/// The forms usable on this machine, best first, "scalar" last.
std::span<const RowKernels> AvailableRowKernels();
const RowKernels& CurrentRowKernels();
/// For tests, benchmarks and bug reports; false when there is no form of that name.
bool SelectRowKernels(std::string_view name);

extern const RowKernels kScalarRowKernels;
const RowKernels& VectorRowKernels();

}  // namespace QPixMapKernels
