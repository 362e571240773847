#include "platform/CoreGraphics/Coverage.h"

#include <algorithm>
#include <cmath>

#include "platform/CoreGraphics/RowKernels.h"

namespace raster {
namespace {

// Half of the least coverage that rounds to 1 / 255 is 1 / 510; edges nearer than this to a pixel
// edge are on it.
constexpr double kEdgeTolerance = 1.0 / 1024;

bool NearWhole(double x) {
  return std::fabs(x - std::nearbyint(x)) < kEdgeTolerance;
}

int ClampedInt(double x, int low, int high) {
  if (x <= low) return low;
  if (x >= high) return high;
  return static_cast<int>(x);
}

// Adds one piece of an edge within a pixel row: from (x0, y0) to (x1, y1), x within 0...n, heights
// within the row. The area to the right of it gains `dir` times its height; the pixels it crosses
// gain the part on its right.
void AddPiece(double x0, double y0, double x1, double y1, double dir, int n, double* sums) {
  const double height = (y1 - y0) * dir;
  if (height == 0) return;
  if (x0 > x1) std::swap(x0, x1);
  const int first = std::min(static_cast<int>(x0), n);
  const int last = std::min(static_cast<int>(x1), n);
  if (first >= n) return;
  if (first == last || x1 - x0 < 1e-12) {
    const double right = 1 - ((x0 + x1) * 0.5 - first);
    sums[first] += height * right;
    sums[first + 1] += height * (1 - right);
    return;
  }
  const double perColumn = height / (x1 - x0);
  for (int i = first; i <= last && i < n; ++i) {
    const double from = std::max(x0, static_cast<double>(i));
    const double to = std::min(x1, i + 1.0);
    const double part = perColumn * (to - from);
    const double right = 1 - ((from + to) * 0.5 - i);
    sums[i] += part * right;
    sums[i + 1] += part * (1 - right);
  }
}

// One edge against the row: cut to it, then at x = 0 and x = n, since what lies left of the columns
// still covers all of them and what lies right covers none.
void AddEdge(Vec2 p, Vec2 q, int n, double* sums) {
  double dir = 1;
  if (p.y > q.y) {
    std::swap(p, q);
    dir = -1;
  }
  const double y0 = std::max(p.y, 0.0);
  const double y1 = std::min(q.y, 1.0);
  if (!(y0 < y1)) return;
  const double slope = (q.x - p.x) / (q.y - p.y);
  const double x0 = p.x + (y0 - p.y) * slope;
  double cuts[4] = {y0, y1, y1, y1};
  int count = 1;
  if (slope != 0) {
    double atLeft = y0 + (0 - x0) / slope;
    double atRight = y0 + (n - x0) / slope;
    if (atLeft > atRight) std::swap(atLeft, atRight);
    if (atLeft > y0 && atLeft < y1) cuts[count++] = atLeft;
    if (atRight > y0 && atRight < y1) cuts[count++] = atRight;
  }
  cuts[count] = y1;
  const double limit = n;
  for (int i = 0; i < count; ++i) {
    const double from = std::clamp(x0 + (cuts[i] - y0) * slope, 0.0, limit);
    const double to = std::clamp(x0 + (cuts[i + 1] - y0) * slope, 0.0, limit);
    AddPiece(from, cuts[i], to, cuts[i + 1], dir, n, sums);
  }
}

}  // namespace

PixelBox Intersect(const PixelBox& a, const PixelBox& b) {
  return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
          std::min(a.bottom, b.bottom)};
}

Quad Quad::of(const CGRect& rect, const Matrix& m) {
  const double x0 = rect.origin.x;
  const double y0 = rect.origin.y;
  const double x1 = x0 + rect.size.width;
  const double y1 = y0 + rect.size.height;
  return {{m.apply(x0, y0), m.apply(x1, y0), m.apply(x1, y1), m.apply(x0, y1)}};
}

bool Quad::finite() const {
  return std::all_of(corner.begin(), corner.end(),
                     [](const Vec2& p) { return std::isfinite(p.x) && std::isfinite(p.y); });
}

bool Quad::onPixelEdges() const {
  for (std::size_t i = 0; i < 4; ++i) {
    const Vec2& p = corner[i];
    const Vec2& q = corner[(i + 1) % 4];
    if (!NearWhole(p.x) || !NearWhole(p.y)) return false;
    if (std::fabs(p.x - q.x) >= kEdgeTolerance && std::fabs(p.y - q.y) >= kEdgeTolerance) {
      return false;
    }
  }
  return true;
}

PixelBox Quad::touched(const PixelBox& limit) const {
  double left = corner[0].x, right = left, top = corner[0].y, bottom = top;
  for (const Vec2& p : corner) {
    left = std::min(left, p.x);
    right = std::max(right, p.x);
    top = std::min(top, p.y);
    bottom = std::max(bottom, p.y);
  }
  const auto low = [](double x, int from, int to) {
    return ClampedInt(std::floor(x + kEdgeTolerance), from, to);
  };
  const auto high = [](double x, int from, int to) {
    return ClampedInt(std::ceil(x - kEdgeTolerance), from, to);
  };
  return {low(left, limit.left, limit.right), low(top, limit.top, limit.bottom),
          high(right, limit.left, limit.right), high(bottom, limit.top, limit.bottom)};
}

void Quad::accumulate(int y, int x, int n, double* sums) const {
  for (std::size_t i = 0; i < 4; ++i) {
    const Vec2& p = corner[i];
    const Vec2& q = corner[(i + 1) % 4];
    AddEdge({p.x - x, p.y - y}, {q.x - x, q.y - y}, n, sums);
  }
}

CoverageRows::CoverageRows(const Shape& shape, const PixelBox& box, unsigned opacity)
    : shape_(shape),
      box_(box),
      opacity_(opacity),
      wholeArea_(!shape.hole && shape.area.onPixelEdges()) {
  const auto n = static_cast<std::size_t>(box.width());
  const bool clipped = shape.clips && !shape.clips->empty();
  if (!wholeArea_ || clipped || opacity != 255) mask_.resize(n);
  if (!wholeArea_ || clipped) sums_.resize(n + 1);
  if (shape.hole) holeSums_.resize(n + 1);
}

void CoverageRows::multiplyBy(const Quad& quad, const Quad* hole, int y) {
  const int n = box_.width();
  std::fill(sums_.begin(), sums_.end(), 0.0);
  quad.accumulate(y, box_.left, n, sums_.data());
  if (hole) {
    std::fill(holeSums_.begin(), holeSums_.end(), 0.0);
    hole->accumulate(y, box_.left, n, holeSums_.data());
  }
  double sum = 0;
  double holeSum = 0;
  for (std::size_t i = 0; i < mask_.size(); ++i) {
    sum += sums_[i];
    double part = std::min(std::fabs(sum), 1.0);
    if (hole) {
      holeSum += holeSums_[i];
      part = std::max(part - std::min(std::fabs(holeSum), 1.0), 0.0);
    }
    const auto coverage = static_cast<unsigned>(part * 255 + 0.5);
    mask_[i] = static_cast<std::uint8_t>(Div255(mask_[i] * coverage));
  }
}

const std::uint8_t* CoverageRows::row(int y) {
  if (mask_.empty()) return nullptr;
  std::fill(mask_.begin(), mask_.end(), static_cast<std::uint8_t>(opacity_));
  if (!wholeArea_) multiplyBy(shape_.area, shape_.hole, y);
  if (shape_.clips) {
    for (const Quad& clip : *shape_.clips) multiplyBy(clip, nullptr, y);
  }
  return mask_.data();
}

}  // namespace raster
