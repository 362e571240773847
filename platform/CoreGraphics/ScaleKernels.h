// The inner loops of separable scaling, in forms with equal results: the scalar one (the
// definition), and one for each instruction set. Sums are in single precision, in the order of the
// taps, starting from 0. Pixels have four bytes, alpha first. Memory needs no alignment.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace raster {

/// The taps of one bitmap column (or row) along one axis of the image.
struct TapRun {
  std::size_t first = 0;  ///< image column of the first tap
  std::size_t count = 0;
  std::size_t offset = 0;  ///< of its weight among all weights; one run's follow another's
};

/// Weights are followed by room for reading as many more.
inline constexpr std::size_t kWeightsRoom = 8;

struct ScaleKernels {
  std::string_view name;

  /// The four sums of weight times byte over the taps of each run. Pixel 0 of `pixels` is image
  /// column `firstColumn`.
  void (*columns)(float* to, const std::uint8_t* pixels, std::size_t firstColumn,
                  const TapRun* runs, std::size_t runCount, const float* weights);

  /// The sums of weight times row over `rowCount` rows of what `columns` made, as bytes: rounded to
  /// nearest, alpha limited to 0...255, colours to 0...alpha.
  void (*rows)(std::uint8_t* to, const float* const* rows, const float* weights,
               std::size_t rowCount, std::size_t pixels);
};

extern const ScaleKernels kScalarScaleKernels;

/// The forms usable on this machine, by their instruction sets' names, best first, "scalar" last.
std::span<const ScaleKernels> AvailableScaleKernels();

/// The form in use: the best one unless another was selected.
const ScaleKernels& ActiveScaleKernels();
/// For tests, benchmarks and bug reports; "vector" is the best form. False when there is none of
/// that name.
bool SelectScaleKernels(std::string_view name);

}  // namespace raster
