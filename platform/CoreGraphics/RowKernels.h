// The inner loops over rows of four-byte pixels, in two forms with equal results: plain (the
// definition) and vector. Rows need no alignment; source and destination may be the same row but
// not overlap otherwise. Multiplication of two 8-bit fractions is x * y / 255, rounded to nearest.
#pragma once

#include <cstddef>
#include <cstdint>
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

const RowKernels& ScalarRowKernels() noexcept;
const RowKernels& VectorRowKernels() noexcept;

/// The form in use: the vector one unless another was selected.
const RowKernels& ActiveRowKernels() noexcept;
/// "scalar" or "vector", for tests and bug reports; false for any other name.
bool SelectRowKernels(std::string_view name) noexcept;

/// x / 255 rounded to nearest, for x up to 255 * 255.
constexpr unsigned Div255(unsigned x) {
  x += 128;
  return (x + (x >> 8)) >> 8;
}

}  // namespace raster
