// Drawing. Coordinates are in user space: origin at the bottom left of the bitmap, y up, one unit a
// pixel until the transform is changed. A pixel a shape covers in part gets that part of its
// colour. Every call does nothing when the context is null or a coordinate is not finite, and none
// ever writes outside the bitmap or the clip.
#pragma once

#include "platform/CoreGraphics/CGAffineTransform.h"
#include "platform/CoreGraphics/CGImage.h"

/// How sources meet what is there, premultiplied: R result, S source, D destination, Sa, Da alphas.
enum CGBlendMode : std::int32_t {
  kCGBlendModeNormal = 0,            ///< R = S + D (1 - Sa)
  kCGBlendModeClear = 16,            ///< R = 0
  kCGBlendModeCopy = 17,             ///< R = S
  kCGBlendModeSourceIn = 18,         ///< R = S Da
  kCGBlendModeSourceOut = 19,        ///< R = S (1 - Da)
  kCGBlendModeSourceAtop = 20,       ///< R = S Da + D (1 - Sa)
  kCGBlendModeDestinationOver = 21,  ///< R = S (1 - Da) + D
  kCGBlendModeDestinationIn = 22,    ///< R = D Sa
  kCGBlendModeDestinationOut = 23,   ///< R = D (1 - Sa)
  kCGBlendModeDestinationAtop = 24,  ///< R = S (1 - Da) + D Sa
  kCGBlendModeXOR = 25,              ///< R = S (1 - Da) + D (1 - Sa)
  kCGBlendModePlusLighter = 27       ///< R = min(1, S + D)
};

/// How an image that is not drawn pixel to pixel is sampled.
enum CGInterpolationQuality : std::int32_t {
  kCGInterpolationDefault = 0,  ///< as medium
  kCGInterpolationNone = 1,     ///< the pixel at the place
  kCGInterpolationLow = 2,      ///< bilinear between the four pixels nearest the place
  kCGInterpolationHigh = 3,     ///< Catmull-Rom cubic, widened over all pixels it stands for when
                                ///< shrinking
  kCGInterpolationMedium = 4    ///< bilinear, widened in the same way
};

CFTypeID CGContextGetTypeID();
CGContextRef CGContextRetain(CGContextRef context);
void CGContextRelease(CGContextRef context);

/// The graphics state: transform, clip, colours, alpha, blend mode, quality, line width. Restoring
/// without a saved state does nothing.
void CGContextSaveGState(CGContextRef context);
void CGContextRestoreGState(CGContextRef context);

void CGContextTranslateCTM(CGContextRef context, CGFloat tx, CGFloat ty);
void CGContextScaleCTM(CGContextRef context, CGFloat sx, CGFloat sy);
void CGContextRotateCTM(CGContextRef context, CGFloat angle);
void CGContextConcatCTM(CGContextRef context, CGAffineTransform transform);
CGAffineTransform CGContextGetCTM(CGContextRef context);

/// Limits all later drawing of this graphics state to `rect` as well.
void CGContextClipToRect(CGContextRef context, CGRect rect);
/// The smallest user-space rectangle around the clip; null when nothing can be drawn.
CGRect CGContextGetClipBoundingBox(CGContextRef context);

/// Components and alpha 0...1, values outside are cut off. Start: opaque black.
void CGContextSetRGBFillColor(CGContextRef context, CGFloat red, CGFloat green, CGFloat blue,
                              CGFloat alpha);
void CGContextSetGrayFillColor(CGContextRef context, CGFloat gray, CGFloat alpha);
void CGContextSetRGBStrokeColor(CGContextRef context, CGFloat red, CGFloat green, CGFloat blue,
                                CGFloat alpha);
void CGContextSetGrayStrokeColor(CGContextRef context, CGFloat gray, CGFloat alpha);
/// A factor on the alpha of everything drawn. Start: 1.
void CGContextSetAlpha(CGContextRef context, CGFloat alpha);
/// A value that is none of the enumerators leaves the mode as it is. Start: normal.
void CGContextSetBlendMode(CGContextRef context, CGBlendMode mode);
void CGContextSetInterpolationQuality(CGContextRef context, CGInterpolationQuality quality);
CGInterpolationQuality CGContextGetInterpolationQuality(CGContextRef context);
/// In user-space units; a value below or at 0 is ignored. Start: 1.
void CGContextSetLineWidth(CGContextRef context, CGFloat width);

void CGContextFillRect(CGContextRef context, CGRect rect);
void CGContextFillRects(CGContextRef context, const CGRect* rects, std::size_t count);
/// The outline, half the line width to each side, with mitred corners.
void CGContextStrokeRect(CGContextRef context, CGRect rect);
void CGContextStrokeRectWithWidth(CGContextRef context, CGRect rect, CGFloat width);
/// Makes the pixels transparent (black where the bitmap has no alpha), whatever the blend mode.
void CGContextClearRect(CGContextRef context, CGRect rect);

/// Draws `image` so that it fills `rect`, its top row at the rectangle's greatest y. A rectangle of
/// negative width or height is standardized first; flipping is the transform's business. Drawn
/// pixel to pixel, an image's colours are not filtered, and opaque ones arrive unchanged.
void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image);

/// Drawing is immediate; both return at once.
void CGContextFlush(CGContextRef context);
void CGContextSynchronize(CGContextRef context);
