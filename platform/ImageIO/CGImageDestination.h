// Image destinations: images to PNG or JPEG, in a file or in data.
#pragma once

#include "platform/CoreGraphics/CGImage.h"
#include "platform/ImageIO/CGImageProperties.h"

using CGImageDestinationRef = struct CGImageDestination*;

/// `type`: "public.png" or "public.jpeg"; null for any other, for a null target and for a count
/// other than 1 (neither format holds more). Both targets are retained.
CGImageDestinationRef CGImageDestinationCreateWithData(CFMutableDataRef data, CFStringRef type,
                                                       std::size_t count, CFDictionaryRef options);
/// A file URL. The file is replaced whole, at CGImageDestinationFinalize.
CGImageDestinationRef CGImageDestinationCreateWithURL(CFURLRef url, CFStringRef type,
                                                      std::size_t count, CFDictionaryRef options);

CFTypeID CGImageDestinationGetTypeID();
/// Adds the image, whose pixels are read at the end. Properties (may be null):
/// kCGImagePropertyPNGDictionary, kCGImageDestinationLossyCompressionQuality. More images than the
/// count are ignored.
void CGImageDestinationAddImage(CGImageDestinationRef destination, CGImageRef image,
                                CFDictionaryRef properties);
/// Encodes and appends to the data, or writes the file. False when no image was added, encoding or
/// writing failed (the data and an old file are then as they were), or it was done before.
bool CGImageDestinationFinalize(CGImageDestinationRef destination);
