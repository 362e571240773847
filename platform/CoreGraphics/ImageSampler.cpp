#include "platform/CoreGraphics/ImageSampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "platform/CoreGraphics/ImageScaler.h"

namespace raster {
namespace {

// Largest picture made to shrink an image before it is turned.
constexpr double kMaxShrunkPixels = 1 << 24;

std::size_t ColumnAt(double x, std::size_t size) {
  const double column = std::clamp(std::floor(x), 0.0, static_cast<double>(size) - 1);
  return static_cast<std::size_t>(column);
}

// Pixel on pixel, perhaps mirrored.
class AlignedSampler final : public RowSampler {
 public:
  AlignedSampler(const PixelSource& source, const Matrix& toBitmap, const PixelBox& box)
      : source_(source), m_(toBitmap), box_(box), out_(4 * static_cast<std::size_t>(box.width())) {}

  const std::uint8_t* row(int y) override {
    const auto n = static_cast<std::size_t>(box_.width());
    const std::size_t v = ColumnAt((y + 0.5 - m_.ty) / m_.d, source_.height);
    const int firstX = m_.a > 0 ? box_.left : box_.right - 1;
    const std::size_t u = ColumnAt((firstX + 0.5 - m_.tx) / m_.a, source_.width);
    if (m_.a > 0) {
      if (const std::uint8_t* inPlace = source_.inPlace(u, v, n)) return inPlace;
    }
    source_.load(u, v, n, out_.data());
    if (m_.a < 0) {
      for (std::size_t i = 0, k = n - 1; i < k; ++i, --k) {
        std::swap_ranges(&out_[4 * i], &out_[4 * i] + 4, &out_[4 * k]);
      }
    }
    return out_.data();
  }

 private:
  const PixelSource source_;
  const Matrix m_;
  const PixelBox box_;
  std::vector<std::uint8_t> out_;
};

// Unfiltered scaling along the axes.
class NearestSampler final : public RowSampler {
 public:
  NearestSampler(const PixelSource& source, const Matrix& toBitmap, const PixelBox& box)
      : source_(source), m_(toBitmap), box_(box) {
    const auto n = static_cast<std::size_t>(box.width());
    columns_.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
      const double x = box.left + static_cast<double>(i) + 0.5;
      columns_[i] = ColumnAt((x - m_.tx) / m_.a, source.width);
    }
    const auto [low, high] = std::minmax_element(columns_.begin(), columns_.end());
    first_ = *low;
    span_ = *high - *low + 1;
    // Far apart columns are read one by one.
    if (span_ <= 4 * n) loaded_.resize(4 * span_);
    out_.resize(4 * n);
  }

  const std::uint8_t* row(int y) override {
    const std::size_t v = ColumnAt((y + 0.5 - m_.ty) / m_.d, source_.height);
    if (v == lastRow_) return out_.data();
    lastRow_ = v;
    const std::uint8_t* from = source_.inPlace(first_, v, span_);
    if (from == nullptr && !loaded_.empty()) {
      source_.load(first_, v, span_, loaded_.data());
      from = loaded_.data();
    }
    std::uint8_t* to = out_.data();
    for (const std::size_t column : columns_) {
      if (from != nullptr) {
        std::memcpy(to, from + 4 * (column - first_), 4);
      } else {
        source_.load(column, v, 1, to);
      }
      to += 4;
    }
    return out_.data();
  }

 private:
  const PixelSource source_;
  const Matrix m_;
  const PixelBox box_;
  std::vector<std::size_t> columns_;
  std::size_t first_ = 0;
  std::size_t span_ = 0;
  std::size_t lastRow_ = SIZE_MAX;
  std::vector<std::uint8_t> loaded_;
  std::vector<std::uint8_t> out_;
};

// Any transform, by a filter that is not widened.
class TurningSampler final : public RowSampler {
 public:
  TurningSampler(const PixelSource& source, const Matrix& toBitmap, const PixelBox& box,
                 Sampling sampling)
      : source_(source),
        toImage_(toBitmap.inverse()),
        box_(box),
        sampling_(sampling),
        out_(4 * static_cast<std::size_t>(box.width())) {}

  /// Keeps the memory `source` lies in alive.
  void own(std::vector<std::uint8_t> memory) { owned_ = std::move(memory); }

  const std::uint8_t* row(int y) override {
    std::uint8_t* to = out_.data();
    for (int x = box_.left; x < box_.right; ++x, to += 4) {
      Vec2 place = toImage_.apply(x + 0.5, y + 0.5);
      place.x = std::clamp(place.x, 0.0, static_cast<double>(source_.width));
      place.y = std::clamp(place.y, 0.0, static_cast<double>(source_.height));
      if (sampling_ == Sampling::kNearest) {
        source_.load(ColumnAt(place.x, source_.width), ColumnAt(place.y, source_.height), 1, to);
      } else {
        filter(place, to);
      }
    }
    return out_.data();
  }

 private:
  static constexpr int kMaxTaps = 4;

  struct Taps {
    std::size_t first = 0;
    std::size_t count = 0;
    float weight[kMaxTaps]{};
  };

  Taps tapsAt(double center, std::size_t size) const {
    const int radius = FilterRadius(sampling_);
    const double start = std::floor(center - 0.5) - radius + 1;
    Taps taps;
    double values[kMaxTaps];
    double sum = 0;
    for (int i = 0; i < 2 * radius; ++i) {
      const double column = start + i;
      if (column < 0 || column >= static_cast<double>(size)) continue;
      if (taps.count == 0) taps.first = static_cast<std::size_t>(column);
      values[taps.count] = FilterValue(sampling_, column + 0.5 - center);
      sum += values[taps.count++];
    }
    for (std::size_t i = 0; i < taps.count; ++i) {
      taps.weight[i] = static_cast<float>(values[i] / sum);
    }
    return taps;
  }

  void filter(Vec2 place, std::uint8_t* to) const {
    const Taps columns = tapsAt(place.x, source_.width);
    const Taps rows = tapsAt(place.y, source_.height);
    float sum[4] = {0, 0, 0, 0};
    for (std::size_t r = 0; r < rows.count; ++r) {
      std::uint8_t pixels[4 * kMaxTaps];
      source_.load(columns.first, rows.first + r, columns.count, pixels);
      for (std::size_t i = 0; i < columns.count; ++i) {
        const float weight = rows.weight[r] * columns.weight[i];
        for (std::size_t c = 0; c < 4; ++c) sum[c] += weight * pixels[4 * i + c];
      }
    }
    to[0] = static_cast<std::uint8_t>(std::clamp(sum[0], 0.0F, 255.0F) + 0.5F);
    const float limit = to[0];
    for (int c = 1; c < 4; ++c) {
      to[c] = static_cast<std::uint8_t>(std::clamp(sum[c], 0.0F, limit) + 0.5F);
    }
  }

  const PixelSource source_;
  const Matrix toImage_;
  const PixelBox box_;
  const Sampling sampling_;
  std::vector<std::uint8_t> out_;
  std::vector<std::uint8_t> owned_;
};

// A turned image that shrinks is first shrunk along its own axes to the size it will have.
std::unique_ptr<RowSampler> MakeShrunkSampler(const PixelSource& source, const Matrix& toBitmap,
                                              const PixelBox& box, Sampling sampling) {
  const double scaleX = std::min(std::hypot(toBitmap.a, toBitmap.b), 1.0);
  const double scaleY = std::min(std::hypot(toBitmap.c, toBitmap.d), 1.0);
  const double width = std::max(std::ceil(static_cast<double>(source.width) * scaleX), 1.0);
  const double height = std::max(std::ceil(static_cast<double>(source.height) * scaleY), 1.0);
  if ((scaleX == 1 && scaleY == 1) || width * height > kMaxShrunkPixels) return nullptr;

  const Matrix shrink{width / static_cast<double>(source.width),   0, 0,
                      height / static_cast<double>(source.height), 0, 0};
  const PixelBox whole{0, 0, static_cast<int>(width), static_cast<int>(height)};
  PixelSource shrunk;
  shrunk.layout = *ImageLayout(8, 32, 3, kCGImageAlphaPremultipliedFirst);
  shrunk.width = static_cast<std::size_t>(width);
  shrunk.height = static_cast<std::size_t>(height);
  shrunk.bytesPerRow = 4 * shrunk.width;
  std::vector<std::uint8_t> memory(shrunk.bytesPerRow * shrunk.height);
  ScalingSampler scaler(source, shrink, whole, sampling);
  for (int y = 0; y < whole.bottom; ++y) {
    std::memcpy(&memory[static_cast<std::size_t>(y) * shrunk.bytesPerRow], scaler.row(y),
                shrunk.bytesPerRow);
  }
  shrunk.bytes = {memory.data(), memory.size()};
  const Matrix rest = Concat(shrink.inverse(), toBitmap);
  auto sampler = std::make_unique<TurningSampler>(shrunk, rest, box, sampling);
  sampler->own(std::move(memory));
  return sampler;
}

// The transform with its rounding errors taken off when it puts each image pixel on one bitmap
// pixel.
bool LiesOnPixels(const PixelSource& source, const Matrix& m, Matrix* exact) {
  const CGRect unit = CGRectMake(0, 0, 1, 1);
  const double w = static_cast<double>(source.width);
  const double h = static_cast<double>(source.height);
  const Quad quad = Quad::of(unit, {m.a * w, m.b * w, m.c * h, m.d * h, m.tx, m.ty});
  if (!quad.onPixelEdges()) return false;
  *exact = {std::nearbyint(m.a), std::nearbyint(m.b),  std::nearbyint(m.c),
            std::nearbyint(m.d), std::nearbyint(m.tx), std::nearbyint(m.ty)};
  const bool upright =
      exact->b == 0 && exact->c == 0 && std::fabs(exact->a) == 1 && std::fabs(exact->d) == 1;
  const bool turned =
      exact->a == 0 && exact->d == 0 && std::fabs(exact->b) == 1 && std::fabs(exact->c) == 1;
  if (!upright && !turned) return false;
  const Quad whole = Quad::of(
      unit, {exact->a * w, exact->b * w, exact->c * h, exact->d * h, exact->tx, exact->ty});
  for (std::size_t i = 0; i < 4; ++i) {
    if (std::fabs(whole.corner[i].x - quad.corner[i].x) > 0.5) return false;
    if (std::fabs(whole.corner[i].y - quad.corner[i].y) > 0.5) return false;
  }
  return true;
}

}  // namespace

double FilterValue(Sampling sampling, double x) {
  x = std::fabs(x);
  if (sampling != Sampling::kCubic) return std::max(1 - x, 0.0);
  if (x < 1) return (1.5 * x - 2.5) * x * x + 1;
  if (x < 2) return ((-0.5 * x + 2.5) * x - 4) * x + 2;
  return 0;
}

int FilterRadius(Sampling sampling) {
  return sampling == Sampling::kCubic ? 2 : 1;
}

std::unique_ptr<RowSampler> MakeRowSampler(const PixelSource& source, const Matrix& toBitmap,
                                           const PixelBox& box, Sampling sampling) {
  Matrix m = toBitmap;
  const Matrix back = m.inverse();
  for (const double x : {back.a, back.b, back.c, back.d, back.tx, back.ty}) {
    if (!std::isfinite(x)) return nullptr;
  }
  Matrix exact;
  if (LiesOnPixels(source, m, &exact)) {
    if (exact.b == 0) return std::make_unique<AlignedSampler>(source, exact, box);
    return std::make_unique<TurningSampler>(source, exact, box, Sampling::kNearest);
  }
  if (m.b == 0 && m.c == 0) {
    if (sampling == Sampling::kNearest) return std::make_unique<NearestSampler>(source, m, box);
    return std::make_unique<ScalingSampler>(source, m, box, sampling);
  }
  if (sampling == Sampling::kTriangle || sampling == Sampling::kCubic) {
    if (auto shrunk = MakeShrunkSampler(source, m, box, sampling)) return shrunk;
  }
  return std::make_unique<TurningSampler>(source, m, box, sampling);
}

}  // namespace raster
