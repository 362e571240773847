// Keys of the property dictionaries of image sources and destinations.
#pragma once

#include "platform/CoreFoundation/CFBase.h"

extern const CFStringRef kCGImagePropertyPixelWidth;   ///< CFNumber
extern const CFStringRef kCGImagePropertyPixelHeight;  ///< CFNumber
extern const CFStringRef kCGImagePropertyDepth;        ///< CFNumber, bits per component
extern const CFStringRef kCGImagePropertyColorModel;   ///< CFString
extern const CFStringRef kCGImagePropertyHasAlpha;     ///< CFBoolean
extern const CFStringRef kCGImagePropertyOrientation;  ///< CFNumber, 1 to 8

/// CFDictionary: text by keyword. Any keyword of 1 to 79 Latin-1 characters may stand in it.
extern const CFStringRef kCGImagePropertyPNGDictionary;
extern const CFStringRef kCGImagePropertyPNGAuthor;
extern const CFStringRef kCGImagePropertyPNGComment;
extern const CFStringRef kCGImagePropertyPNGCopyright;
extern const CFStringRef kCGImagePropertyPNGCreationTime;
extern const CFStringRef kCGImagePropertyPNGDescription;
extern const CFStringRef kCGImagePropertyPNGSoftware;
extern const CFStringRef kCGImagePropertyPNGTitle;

extern const CFStringRef kCGImagePropertyColorModelRGB;

/// CFNumber 0...1: a JPEG's quality.
extern const CFStringRef kCGImageDestinationLossyCompressionQuality;
