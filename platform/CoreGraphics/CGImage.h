// Images: a reading of a data provider's bytes as pixels. An image copies nothing; each time it is
// drawn it reads the provider's memory as it is then, and never past the provider's size.
#pragma once

#include "platform/CoreGraphics/CGColorSpace.h"
#include "platform/CoreGraphics/CGDataProvider.h"
#include "platform/CoreGraphics/CGGeometry.h"

/// Where a pixel's alpha component stands and whether the colours are already multiplied by it.
enum CGImageAlphaInfo : std::uint32_t {
  kCGImageAlphaNone = 0,
  kCGImageAlphaPremultipliedLast = 1,
  kCGImageAlphaPremultipliedFirst = 2,
  kCGImageAlphaLast = 3,
  kCGImageAlphaFirst = 4,
  kCGImageAlphaNoneSkipLast = 5,
  kCGImageAlphaNoneSkipFirst = 6,
  kCGImageAlphaOnly = 7
};

/// A CGImageAlphaInfo and the byte order of the words the pixels are stored in.
using CGBitmapInfo = std::uint32_t;
inline constexpr CGBitmapInfo kCGBitmapAlphaInfoMask = 0x1F;
inline constexpr CGBitmapInfo kCGBitmapFloatComponents = 1 << 8;
inline constexpr CGBitmapInfo kCGBitmapByteOrderMask = 0x7000;
inline constexpr CGBitmapInfo kCGBitmapByteOrderDefault = 0;
inline constexpr CGBitmapInfo kCGBitmapByteOrder16Little = 1 << 12;
inline constexpr CGBitmapInfo kCGBitmapByteOrder32Little = 2 << 12;
inline constexpr CGBitmapInfo kCGBitmapByteOrder16Big = 3 << 12;
inline constexpr CGBitmapInfo kCGBitmapByteOrder32Big = 4 << 12;

/// An image of `width` x `height` pixels, the top row first, rows `bytesPerRow` apart. Retains
/// `space` and `provider`.
///
/// Layouts, all of 8 bits per component:
///   space  bits per pixel  alpha info
///   gray    8              None
///   gray   16              PremultipliedLast, Last, NoneSkipLast, and the same with First
///   RGB    24              None
///   RGB    32              PremultipliedLast, Last, NoneSkipLast, None (the last byte is skipped),
///                          PremultipliedFirst, First, NoneSkipFirst
/// Byte order flags 32Big (as stored) and 32Little (the four bytes reversed) go with 32 bits only.
///
/// `decode`: null, or a pair (value shown for 0, value shown for 255) in 0...1 per colour
/// component; copied. `shouldInterpolate` false draws enlarged pixels as blocks.
///
/// Null when: a size is 0 or above 2^31 - 1 (a negative number given as size_t is that), the layout
/// is none of the table, a row of pixels needs more than `bytesPerRow`, `bytesPerRow` x `height`
/// reaches 2^63, or `space` or `provider` is null. A provider too small for the image is no error:
/// pixels that do not lie in it whole are transparent.
CGImageRef CGImageCreate(std::size_t width, std::size_t height, std::size_t bitsPerComponent,
                         std::size_t bitsPerPixel, std::size_t bytesPerRow, CGColorSpaceRef space,
                         CGBitmapInfo bitmapInfo, CGDataProviderRef provider, const CGFloat* decode,
                         bool shouldInterpolate, CGColorRenderingIntent intent);
/// The part of `image` inside `rect`, in pixels with the origin at the image's top left; `rect` is
/// first made integral and cut to the image. Shares the pixels. Null when nothing is left.
CGImageRef CGImageCreateWithImageInRect(CGImageRef image, CGRect rect);
/// A second image over the same provider.
CGImageRef CGImageCreateCopy(CGImageRef image);

CFTypeID CGImageGetTypeID();
CGImageRef CGImageRetain(CGImageRef image);
void CGImageRelease(CGImageRef image);

/// What the image was created with; 0, null or false for a null image.
std::size_t CGImageGetWidth(CGImageRef image);
std::size_t CGImageGetHeight(CGImageRef image);
std::size_t CGImageGetBitsPerComponent(CGImageRef image);
std::size_t CGImageGetBitsPerPixel(CGImageRef image);
std::size_t CGImageGetBytesPerRow(CGImageRef image);
CGColorSpaceRef CGImageGetColorSpace(CGImageRef image);
CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image);
CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image);
CGDataProviderRef CGImageGetDataProvider(CGImageRef image);
const CGFloat* CGImageGetDecode(CGImageRef image);
bool CGImageGetShouldInterpolate(CGImageRef image);
CGColorRenderingIntent CGImageGetRenderingIntent(CGImageRef image);
