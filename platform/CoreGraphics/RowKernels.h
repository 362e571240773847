// The inner loops over rows of four-byte pixels, in forms with equal results: the scalar one (the
// definition), and one for each instruction set. Rows need no alignment; source and destination may
// be the same row but not overlap otherwise. Multiplication of two 8-bit fractions is x * y / 255,
// rounded to nearest.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace raster {

/// Byte i of a pixel becomes (byte from[i] | set[i]); set[i] is 0 or 255.
struct ByteOrder {
  std::uint8_t from[4];
  std::uint8_t set[4];
};

struct RowKernels {
  std::string_view name;
  /// Source-over of premultiplied A, R, G, B pixels: d = s + d (255 - sA) / 255, cut at 255 (which
  /// only a source whose colour exceeds its alpha can reach).
  void (*over)(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels);
  /// The same with each source pixel first multiplied by its byte of `mask`.
  void (*overMasked)(std::uint8_t* dst, const std::uint8_t* src, const std::uint8_t* mask,
                     std::size_t pixels);
  /// Straight A, R, G, B to premultiplied.
  void (*premultiply)(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels);
  void (*permute)(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels,
                  const ByteOrder& order);
};

extern const RowKernels kScalarRowKernels;

/// The forms usable on this machine, by their instruction sets' names, best first, "scalar" last.
std::span<const RowKernels> AvailableRowKernels();

/// The form in use: the best one unless another was selected.
const RowKernels& ActiveRowKernels();
/// For tests, benchmarks and bug reports; "vector" is the best form. False when there is none of
/// that name.
bool SelectRowKernels(std::string_view name);

/// x / 255 rounded to nearest, for x up to 255 * 255.
constexpr unsigned Div255(unsigned x) {
  x += 128;
  return (x + (x >> 8)) >> 8;
}

}  // namespace raster
