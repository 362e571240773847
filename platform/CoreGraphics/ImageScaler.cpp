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

std::uint8_t RoundedByte(float x, float limit) {
  return static_cast<std::uint8_t>(std::clamp(x, 0.0F, limit) + 0.5F);
}

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
  wide_.resize(4 * columnCount_);
  const std::size_t slots =
      rows_.longest <= kMaxSlots ? std::max<std::size_t>(rows_.longest, 1) : 1;
  slots_.resize(slots * 4 * n);
  slotRow_.assign(slots, kNoRow);
  sum_.resize(4 * n);
  out_.resize(4 * n);
}

void ScalingSampler::scaleRow(std::size_t imageRow, float* to) {
  if (columnCount_ > 0) source_.load(firstColumn_, imageRow, columnCount_, loaded_.data());
  for (std::size_t i = 0; i < loaded_.size(); ++i) wide_[i] = loaded_[i];
  for (const AxisTaps::Run& run : columns_.runs) {
    const float* weight = columns_.weights.data() + run.offset;
    float sum[4] = {0, 0, 0, 0};
    for (std::size_t i = 0; i < run.count; ++i) {
      const float* pixel = wide_.data() + 4 * (run.first - firstColumn_ + i);
      for (int c = 0; c < 4; ++c) sum[c] += weight[i] * pixel[c];
    }
    for (int c = 0; c < 4; ++c) *to++ = sum[c];
  }
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
  std::fill(sum_.begin(), sum_.end(), 0.0F);
  for (std::size_t i = 0; i < run.count; ++i) {
    const float weight = rows_.weights[run.offset + i];
    if (weight == 0) continue;
    const float* from = scaledRow(run.first + i);
    for (std::size_t k = 0; k < sum_.size(); ++k) sum_[k] += weight * from[k];
  }
  for (std::size_t k = 0; k < sum_.size(); k += 4) {
    out_[k] = RoundedByte(sum_[k], 255.0F);
    for (std::size_t c = 1; c < 4; ++c) out_[k + c] = RoundedByte(sum_[k + c], out_[k]);
  }
  return out_.data();
}

}  // namespace raster
