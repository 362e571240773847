#include <cmath>
#include <new>

#include "platform/CoreGraphics/CGContextObject.h"
#include "platform/CoreGraphics/CGObjects.h"
#include "platform/CoreGraphics/Compositor.h"
#include "platform/CoreGraphics/ImageSampler.h"

namespace {

raster::Sampling SamplingOf(CGInterpolationQuality quality, bool interpolate) {
  if (!interpolate) return raster::Sampling::kNearest;
  switch (quality) {
    case kCGInterpolationNone:
      return raster::Sampling::kNearest;
    case kCGInterpolationLow:
      return raster::Sampling::kBilinear;
    case kCGInterpolationHigh:
      return raster::Sampling::kCubic;
    default:
      return raster::Sampling::kTriangle;
  }
}

}  // namespace

void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image) {
  if (!context || !image) return;
  rect = CGRectStandardize(rect);
  const double width = rect.size.width;
  const double height = rect.size.height;
  if (!(width > 0 && height > 0)) return;

  const raster::PixelSource source = image->source();
  const raster::Matrix bitmap = context->toBitmap();
  const raster::Quad area = raster::Quad::of(rect, bitmap);
  // Image rows run down, user space up.
  const raster::Matrix placed = raster::Concat(
      {width / static_cast<double>(source.width), 0, 0,
       -height / static_cast<double>(source.height), rect.origin.x, rect.origin.y + height},
      bitmap);
  if (!area.finite() || !placed.invertible()) return;
  const raster::PixelBox box = area.touched(context->state.clipBox);
  if (box.empty()) return;
  // Memory that cannot be had draws nothing: the call has no way to say so.
  try {
    const auto sampler = raster::MakeRowSampler(
        source, placed, box, SamplingOf(context->state.quality, image->shouldInterpolate));
    if (!sampler) return;
    raster::CoverageRows coverage({area, nullptr, &context->state.clips}, box, context->opacity());
    raster::Compositor compositor(context->layout, context->state.mode);
    const auto n = static_cast<std::size_t>(box.width());
    for (int y = box.top; y < box.bottom; ++y) {
      compositor.blend(context->pixel(box.left, y), sampler->row(y), coverage.row(y), n);
    }
  } catch (const std::bad_alloc&) {
  }
}
