// Scaling along the axes by a separable filter.
#pragma once

#include <vector>

#include "platform/CoreGraphics/ImageSampler.h"
#include "platform/CoreGraphics/ScaleKernels.h"

namespace raster {

/// The taps of a run of bitmap columns (or rows) along one axis of the image.
struct AxisTaps {
  using Run = TapRun;
  std::vector<Run> runs;
  std::vector<float> weights;  ///< and kWeightsRoom more
  std::size_t longest = 0;

  /// Bitmap coordinate = scale * image coordinate + shift; for bitmap columns from `start`. The
  /// image is `size` long; from `present` on it is transparent and has no taps.
  AxisTaps(double scale, double shift, int start, int count, std::size_t size, std::size_t present,
           Sampling sampling);
};

class ScalingSampler final : public RowSampler {
 public:
  /// `toBitmap` without shear: b = c = 0.
  ScalingSampler(const PixelSource& source, const Matrix& toBitmap, const PixelBox& box,
                 Sampling sampling);
  const std::uint8_t* row(int y) override;

 private:
  void scaleRow(std::size_t imageRow, float* to);
  const float* scaledRow(std::size_t imageRow);
  void sumRowsOneByOne(const AxisTaps::Run& run);

  const PixelSource source_;
  const PixelBox box_;
  const AxisTaps columns_;
  const AxisTaps rows_;
  std::size_t firstColumn_ = 0;
  std::size_t columnCount_ = 0;
  std::vector<std::uint8_t> loaded_;
  // Horizontally scaled image rows, image row r in slot r modulo the number of slots.
  std::vector<float> slots_;
  std::vector<std::size_t> slotRow_;
  // The rows that make a bitmap row, and their weights.
  std::vector<const float*> rowsOfRun_;
  std::vector<float> weightsOfRun_;
  std::vector<float> sum_;
  std::vector<std::uint8_t> out_;
};

}  // namespace raster
