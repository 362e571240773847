// Kernels that fill pictures with gradient noise in square cells of one value. The scalar form is
// the definition; the vector forms give the same bytes for every input. Safe from any thread;
// cannot fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "sdk/CoreGeometry/PerlinNoise.h"

namespace NoiseKernels {

/// The noise spans the picture with this many lattice cells each way.
inline constexpr float kLatticeCells = 256;

/// A picture in memory: at least one pixel, rows from the top.
struct Picture {
  std::uint8_t* first;
  std::size_t rowBytes;  ///< at least width * pixelBytes
  std::uint32_t width;   ///< at most 2^31 - 1, as is height
  std::uint32_t height;
  int pixelBytes;  ///< 1: the value; 4: 255 and three times the value
  int cellSize;    ///< pixels, each way, 1 to 64

  std::uint32_t cellColumns() const;
  std::uint32_t cellRows() const;
};

/// Where a coordinate of a cell lies in the lattice.
struct Place {
  std::uint32_t cell;  ///< of the lower corner
  float offset;        ///< from it
  float weight;        ///< of the upper corner, 3 offset^2 - 2 offset^3

  /// Of the cell with index `index` of a picture with `size` pixels that way.
  static Place Of(std::uint32_t index, int cellSize, std::uint32_t size);
};

/// The places of a picture's cell columns, prepared once for all its rows. Cells never decrease.
class Columns {
 public:
  explicit Columns(const Picture& picture);
  /// False when there was no memory for them: the scalar form does without.
  bool valid() const { return memory_ != nullptr; }
  std::size_t count() const { return count_; }
  /// Each followed by room for reading a vector more.
  const std::int32_t* cells() const { return cells_; }
  const float* offsets() const { return offsets_; }
  const float* weights() const { return weights_; }

 private:
  std::size_t count_;
  std::unique_ptr<std::byte[]> memory_;
  std::int32_t* cells_ = nullptr;
  float* offsets_ = nullptr;
  float* weights_ = nullptr;
};

struct Kernels {
  std::string_view name;

  /// Fills the pixels of cell rows [first, last). A cell's value is the low 8 bits of
  /// trunc(noise * amplitude * 255) in single precision, from the left, where the noise is taken at
  /// the cell's first pixel, (x / width * 256, y / height * 256). A value beyond the 32-bit range,
  /// or NaN, is 0.
  void (*fill)(const CoreGeometry::PerlinNoise& noise, const Picture& picture,
               const Columns& columns, float amplitude, std::uint32_t first, std::uint32_t last);
};

/// The forms usable on this machine, one for each of its instruction sets by that set's name, best
/// first, "scalar" last.
std::span<const Kernels> AvailableKernels();
const Kernels& CurrentKernels();
/// For tests, benchmarks and bug reports; "vector" is the best form. False when there is none of
/// that name.
bool SelectKernels(std::string_view name);

extern const Kernels kScalarKernels;

}  // namespace NoiseKernels
