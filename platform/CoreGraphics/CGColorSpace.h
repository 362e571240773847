// Colour spaces. Each space exists once in a process and is never destroyed: a Create call hands
// out one more reference to it, and a reference that nobody gives back costs a count, not memory.
#pragma once

#include "platform/CoreGraphics/CGBase.h"

enum CGColorSpaceModel : std::int32_t {
  kCGColorSpaceModelUnknown = -1,
  kCGColorSpaceModelMonochrome = 0,
  kCGColorSpaceModelRGB = 1
};

enum CGColorRenderingIntent : std::int32_t {
  kCGRenderingIntentDefault = 0,
  kCGRenderingIntentAbsoluteColorimetric = 1,
  kCGRenderingIntentRelativeColorimetric = 2,
  kCGRenderingIntentPerceptual = 3,
  kCGRenderingIntentSaturation = 4
};

extern const CFStringRef kCGColorSpaceSRGB;
extern const CFStringRef kCGColorSpaceGenericRGB;
extern const CFStringRef kCGColorSpaceGenericGray;

/// One grey component per pixel, 0 black to 1 white. Never null.
CGColorSpaceRef CGColorSpaceCreateDeviceGray();
/// Red, green, blue per pixel. Never null.
CGColorSpaceRef CGColorSpaceCreateDeviceRGB();
/// One of the names above; null for any other. Their values are drawn into a device space of the
/// same model unchanged: the devices drawn to here are sRGB.
CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name);

CFTypeID CGColorSpaceGetTypeID();
CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space);
void CGColorSpaceRelease(CGColorSpaceRef space);
/// Colour components per pixel, without alpha: 1 or 3; 0 for null.
std::size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space);
CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space);
