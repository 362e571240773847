#include "platform/CoreGraphics/CGContext.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <new>

#include "platform/CoreGraphics/CGContextObject.h"
#include "platform/CoreGraphics/Compositor.h"

namespace {

using raster::Matrix;
using raster::PixelBox;
using raster::Quad;

bool Finite(const CGRect& r) {
  return std::isfinite(r.origin.x) && std::isfinite(r.origin.y) && std::isfinite(r.size.width) &&
         std::isfinite(r.size.height);
}

double Unit(CGFloat x) {
  return std::isnan(x) ? 0.0 : std::clamp(double{x}, 0.0, 1.0);
}

void Prepend(CGContextRef context, const Matrix& change) {
  context->state.ctm = raster::Concat(change, context->state.ctm);
}

// Paints the area (less the hole) with one colour. Memory that cannot be had paints nothing: the
// calls have no way to say so.
void Paint(CGContextRef context, const Quad& area, const Quad* hole,
           const std::array<double, 4>& color, double alpha, CGBlendMode mode) {
  if (!area.finite() || (hole && !hole->finite())) return;
  const PixelBox box = area.touched(context->state.clipBox);
  if (box.empty()) return;
  try {
    const auto n = static_cast<std::size_t>(box.width());
    const double opacity = color[3] * alpha;
    std::uint8_t pixel[4] = {static_cast<std::uint8_t>(std::lround(opacity * 255))};
    for (std::size_t c = 0; c < 3; ++c) {
      pixel[c + 1] = static_cast<std::uint8_t>(std::lround(color[c] * opacity * 255));
    }
    std::vector<std::uint8_t> source(4 * n);
    for (std::size_t i = 0; i < source.size(); ++i) source[i] = pixel[i & 3];
    raster::CoverageRows coverage({area, hole, &context->state.clips}, box, 255);
    raster::Compositor compositor(context->layout, mode);
    for (int y = box.top; y < box.bottom; ++y) {
      compositor.blend(context->pixel(box.left, y), source.data(), coverage.row(y), n);
    }
  } catch (const std::bad_alloc&) {
  }
}

}  // namespace

CGContext::~CGContext() {
  CGColorSpaceRelease(space);
  if (ownsData) std::free(data);
}

Matrix CGContext::toBitmap() const {
  return raster::Concat(state.ctm, {1, 0, 0, -1, 0, static_cast<double>(height)});
}

std::uint8_t* CGContext::pixel(int x, int y) const {
  return data + static_cast<std::size_t>(y) * bytesPerRow +
         static_cast<std::size_t>(x) * layout.bytesPerPixel;
}

unsigned CGContext::opacity() const {
  return static_cast<unsigned>(std::lround(state.alpha * 255));
}

CFTypeID CGContextGetTypeID() {
  static const CFTypeID type = CFRuntimeRegisterType("CGContext");
  return type;
}

CGContextRef CGContextRetain(CGContextRef context) {
  if (context) context->retainReference();
  return context;
}

void CGContextRelease(CGContextRef context) {
  if (context) context->releaseReference();
}

void CGContextSaveGState(CGContextRef context) {
  if (context) context->saved.push_back(context->state);
}

void CGContextRestoreGState(CGContextRef context) {
  if (!context || context->saved.empty()) return;
  context->state = std::move(context->saved.back());
  context->saved.pop_back();
}

void CGContextTranslateCTM(CGContextRef context, CGFloat tx, CGFloat ty) {
  if (context) Prepend(context, {1, 0, 0, 1, tx, ty});
}

void CGContextScaleCTM(CGContextRef context, CGFloat sx, CGFloat sy) {
  if (context) Prepend(context, {sx, 0, 0, sy, 0, 0});
}

void CGContextRotateCTM(CGContextRef context, CGFloat angle) {
  if (!context) return;
  const double s = std::sin(double{angle});
  const double c = std::cos(double{angle});
  Prepend(context, {c, s, -s, c, 0, 0});
}

void CGContextConcatCTM(CGContextRef context, CGAffineTransform transform) {
  if (context) Prepend(context, Matrix::of(transform));
}

CGAffineTransform CGContextGetCTM(CGContextRef context) {
  return context ? context->state.ctm.transform() : CGAffineTransformIdentity;
}

void CGContextClipToRect(CGContextRef context, CGRect rect) {
  if (!context) return;
  GraphicsState& state = context->state;
  const Quad quad = Quad::of(CGRectStandardize(rect), context->toBitmap());
  if (!Finite(rect) || !quad.finite()) {
    // The null rectangle leaves nothing to draw to; an infinite one does not limit.
    if (CGRectIsNull(rect)) state.clipBox = {};
    return;
  }
  state.clipBox = quad.touched(state.clipBox);
  if (!state.clipBox.empty() && !quad.onPixelEdges()) state.clips.push_back(quad);
}

CGRect CGContextGetClipBoundingBox(CGContextRef context) {
  if (!context || context->state.clipBox.empty()) return CGRectNull;
  const Matrix m = context->toBitmap();
  if (!m.invertible()) return CGRectNull;
  const PixelBox& box = context->state.clipBox;
  const CGRect pixels = CGRectMake(static_cast<CGFloat>(box.left), static_cast<CGFloat>(box.top),
                                   static_cast<CGFloat>(box.right - box.left),
                                   static_cast<CGFloat>(box.bottom - box.top));
  return CGRectApplyAffineTransform(pixels, m.inverse().transform());
}

void CGContextSetRGBFillColor(CGContextRef context, CGFloat red, CGFloat green, CGFloat blue,
                              CGFloat alpha) {
  if (context) context->state.fill = {Unit(red), Unit(green), Unit(blue), Unit(alpha)};
}

void CGContextSetGrayFillColor(CGContextRef context, CGFloat gray, CGFloat alpha) {
  CGContextSetRGBFillColor(context, gray, gray, gray, alpha);
}

void CGContextSetRGBStrokeColor(CGContextRef context, CGFloat red, CGFloat green, CGFloat blue,
                                CGFloat alpha) {
  if (context) context->state.stroke = {Unit(red), Unit(green), Unit(blue), Unit(alpha)};
}

void CGContextSetGrayStrokeColor(CGContextRef context, CGFloat gray, CGFloat alpha) {
  CGContextSetRGBStrokeColor(context, gray, gray, gray, alpha);
}

void CGContextSetAlpha(CGContextRef context, CGFloat alpha) {
  if (context) context->state.alpha = Unit(alpha);
}

void CGContextSetBlendMode(CGContextRef context, CGBlendMode mode) {
  if (context && raster::IsBlendMode(mode)) context->state.mode = mode;
}

void CGContextSetInterpolationQuality(CGContextRef context, CGInterpolationQuality quality) {
  if (!context) return;
  if (quality < kCGInterpolationDefault || quality > kCGInterpolationMedium) return;
  context->state.quality = quality;
}

CGInterpolationQuality CGContextGetInterpolationQuality(CGContextRef context) {
  return context ? context->state.quality : kCGInterpolationDefault;
}

void CGContextSetLineWidth(CGContextRef context, CGFloat width) {
  if (context && std::isfinite(width) && width > 0) context->state.lineWidth = width;
}

void CGContextFillRect(CGContextRef context, CGRect rect) {
  if (!context || !Finite(rect)) return;
  const GraphicsState& state = context->state;
  Paint(context, Quad::of(CGRectStandardize(rect), context->toBitmap()), nullptr, state.fill,
        state.alpha, state.mode);
}

void CGContextFillRects(CGContextRef context, const CGRect* rects, std::size_t count) {
  if (!rects) return;
  for (std::size_t i = 0; i < count; ++i) CGContextFillRect(context, rects[i]);
}

void CGContextStrokeRect(CGContextRef context, CGRect rect) {
  if (!context || !Finite(rect)) return;
  const GraphicsState& state = context->state;
  const auto half = static_cast<CGFloat>(state.lineWidth / 2);
  const Matrix m = context->toBitmap();
  const CGRect outline = CGRectStandardize(rect);
  const Quad outer = Quad::of(CGRectInset(outline, -half, -half), m);
  const CGRect inside = CGRectInset(outline, half, half);
  const bool hollow = !CGRectIsEmpty(inside);
  const Quad inner = Quad::of(hollow ? inside : CGRectZero, m);
  Paint(context, outer, hollow ? &inner : nullptr, state.stroke, state.alpha, state.mode);
}

void CGContextStrokeRectWithWidth(CGContextRef context, CGRect rect, CGFloat width) {
  if (!context || !std::isfinite(width) || width <= 0) return;
  const double old = context->state.lineWidth;
  context->state.lineWidth = width;
  CGContextStrokeRect(context, rect);
  context->state.lineWidth = old;
}

void CGContextClearRect(CGContextRef context, CGRect rect) {
  if (!context || !Finite(rect)) return;
  Paint(context, Quad::of(CGRectStandardize(rect), context->toBitmap()), nullptr, {0, 0, 0, 0}, 1,
        kCGBlendModeClear);
}

void CGContextFlush(CGContextRef) {}
void CGContextSynchronize(CGContextRef) {}
