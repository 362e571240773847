// Contexts that draw into memory.
#pragma once

#include "platform/CoreGraphics/CGContext.h"

/// A context over `height` rows of `width` pixels at `data`, the top row first, `bytesPerRow`
/// apart. With `data` null the context owns zeroed memory. `bytesPerRow` 0 stands for the row's
/// need. Retains `space`. Nothing at `data` is changed before something is drawn, and only pixels
/// drawn to are: never the bytes between the rows' ends.
///
/// Layouts, all of 8 bits per component: gray with kCGImageAlphaNone (1 byte per pixel); RGB with
/// PremultipliedFirst, PremultipliedLast, NoneSkipFirst, NoneSkipLast (4 bytes per pixel), as
/// stored or with kCGBitmapByteOrder32Big or 32Little. A skipped byte is written as 255.
///
/// Null when: a size is 0 or above 2^31 - 1, the layout is another, `bytesPerRow` is less than a
/// row needs, `bytesPerRow` x `height` reaches 2^63, `space` is null, or there is not enough
/// memory.
CGContextRef CGBitmapContextCreate(void* data, std::size_t width, std::size_t height,
                                   std::size_t bitsPerComponent, std::size_t bytesPerRow,
                                   CGColorSpaceRef space, CGBitmapInfo bitmapInfo);

/// What the context was created with; 0 or null for a null context.
void* CGBitmapContextGetData(CGContextRef context);
std::size_t CGBitmapContextGetWidth(CGContextRef context);
std::size_t CGBitmapContextGetHeight(CGContextRef context);
std::size_t CGBitmapContextGetBitsPerComponent(CGContextRef context);
std::size_t CGBitmapContextGetBitsPerPixel(CGContextRef context);
std::size_t CGBitmapContextGetBytesPerRow(CGContextRef context);
CGColorSpaceRef CGBitmapContextGetColorSpace(CGContextRef context);
CGImageAlphaInfo CGBitmapContextGetAlphaInfo(CGContextRef context);
CGBitmapInfo CGBitmapContextGetBitmapInfo(CGContextRef context);

/// An image of the pixels as they are now, copied: later drawing does not change it. Null for null
/// and when there is not enough memory.
CGImageRef CGBitmapContextCreateImage(CGContextRef context);
