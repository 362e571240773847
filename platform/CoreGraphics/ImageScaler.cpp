#include "platform/CoreGraphics/ImageScaler.h"

#include <algorithm>
#include <cmath>

namespace raster {
namespace {

// Rows kept for the next bitmap row. When one row needs more than this many, each is used so rarely
// that keeping it would cost more memory than making it again costs time.
constexpr std::size_t kMaxSlots = 256;
// Past this many taps the sum of all weights is their integral to far better than 8 bits, and need
// not be added up for the part of an image that is not there.
constexpr double kManyTaps = 4096;
constexpr std::size_t kNoRow = SIZE_MAX;

}  // namespace

AxisTaps::AxisTaps(double scale, double shift, int start, int count, std::size_t size,
                   std::size_t present, Sampling sampling) {
  const bool widened = sampling != Sampling::kBilinear;
  const double step = widened ? std::max(1.0, 1 / std::fabs(scale)) : 1.0;
  const double support = FilterRadius(sampling) * step;
  const double end = static_cast<double>(size);
  runs.reserve(static_cast<std::size_t>(count));
  for (int p = start; p < start + count; ++p) {
    const double center = std::clamp((p + 0.5 - shift) / scale, 0.0, end);
    const double low = std::max(std::ceil(center - support - 0.5), 0.0);
    const double high = std::min(std::floor(center + support - 0.5), end - 1);
    const double lastPresent = std::min(high, static_cast<double>(present) - 1);
    Run run;
    run.offset = weights.size();
    if (low <= lastPresent) {
      run.first = static_cast<std::size_t>(low);
      run.count = static_cast<std::size_t>(lastPresent - low) + 1;
      const auto value = [&](double i) { return FilterValue(sampling, (i + 0.5 - center) / step); };
      double sum = 0;
      if (lastPresent == high || high - low < kManyTaps) {
        for (double i = low; i <= high; ++i) sum += value(i);
      } else {
        sum = step;
      }
      for (std::size_t i = 0; i < run.count; ++i) {
        weights.push_back(static_cast<float>(value(low + static_cast<double>(i)) / sum));
      }
    }
    longest = std::max(longest, run.count);
    runs.push_back(run);
  }
  weights.insert(weights.end(), kWeightsRoom, 0.0F);
}

ScalingSampler::ScalingSampler(const PixelSource& source, const Matrix& toBitmap,
                               const PixelBox& box, Sampling sampling)
    : source_(source),
      box_(box),
      columns_(toBitmap.a, toBitmap.tx, box.left, box.width(), source.width,
               source.presentColumns(), sampling),
      rows_(toBitmap.d, toBitmap.ty, box.top, box.bottom - box.top, source.height,
            source.presentRows(), sampling) {
  std::size_t endColumn = 0;
  firstColumn_ = SIZE_MAX;
  for (const AxisTaps::Run& run : columns_.runs) {
    if (run.count == 0) continue;
    firstColumn_ = std::min(firstColumn_, run.first);
    endColumn = std::max(endColumn, run.first + run.count);
  }
  columnCount_ = endColumn > firstColumn_ ? endColumn - firstColumn_ : 0;
  const auto n = static_cast<std::size_t>(box.width());
  loaded_.resize(4 * columnCount_);
  const std::size_t slots =
      rows_.longest <= kMaxSlots ? std::max<std::size_t>(rows_.longest, 1) : 1;
  slots_.resize(slots * 4 * n);
  rowsOfRun_.reserve(slots);
  weightsOfRun_.reserve(slots);
  slotRow_.assign(slots, kNoRow);
  sum_.resize(4 * n);
  out_.resize(4 * n);
}

void ScalingSampler::scaleRow(std::size_t imageRow, float* to) {
  const std::uint8_t* pixels = loaded_.data();
  if (columnCount_ > 0) {
    pixels = source_.inPlace(firstColumn_, imageRow, columnCount_);
    if (pixels == nullptr) {
      source_.load(firstColumn_, imageRow, columnCount_, loaded_.data());
      pixels = loaded_.data();
    }
  }
  ActiveScaleKernels().columns(to, pixels, firstColumn_, columns_.runs.data(), columns_.runs.size(),
                               columns_.weights.data());
}

const float* ScalingSampler::scaledRow(std::size_t imageRow) {
  const std::size_t slot = imageRow % slotRow_.size();
  float* row = slots_.data() + slot * sum_.size();
  if (slotRow_[slot] != imageRow) {
    scaleRow(imageRow, row);
    slotRow_[slot] = imageRow;
  }
  return row;
}

const std::uint8_t* ScalingSampler::row(int y) {
  const AxisTaps::Run& run = rows_.runs[static_cast<std::size_t>(y - box_.top)];
  rowsOfRun_.clear();
  weightsOfRun_.clear();
  if (run.count > slotRow_.size()) {
    sumRowsOneByOne(run);
  } else {
    for (std::size_t i = 0; i < run.count; ++i) {
      const float weight = rows_.weights[run.offset + i];
      if (weight == 0) continue;
      rowsOfRun_.push_back(scaledRow(run.first + i));
      weightsOfRun_.push_back(weight);
    }
  }
  ActiveScaleKernels().rows(out_.data(), rowsOfRun_.data(), weightsOfRun_.data(), rowsOfRun_.size(),
                            out_.size() / 4);
  return out_.data();
}

/// For rows that are not kept: their sum is the one row left.
void ScalingSampler::sumRowsOneByOne(const AxisTaps::Run& run) {
  std::fill(sum_.begin(), sum_.end(), 0.0F);
  for (std::size_t i = 0; i < run.count; ++i) {
    const float weight = rows_.weights[run.offset + i];
    if (weight == 0) continue;
    const float* from = scaledRow(run.first + i);
    for (std::size_t k = 0; k < sum_.size(); ++k) sum_[k] += weight * from[k];
  }
  rowsOfRun_.push_back(sum_.data());
  weightsOfRun_.push_back(1.0F);
}

}  // namespace raster
