#include "platform/ImageIO/CGImageProperties.h"

#include "platform/CoreFoundation/CFString.h"

const CFStringRef kCGImagePropertyPixelWidth = CFSTR("PixelWidth");
const CFStringRef kCGImagePropertyPixelHeight = CFSTR("PixelHeight");
const CFStringRef kCGImagePropertyDepth = CFSTR("Depth");
const CFStringRef kCGImagePropertyColorModel = CFSTR("ColorModel");
const CFStringRef kCGImagePropertyHasAlpha = CFSTR("HasAlpha");
const CFStringRef kCGImagePropertyOrientation = CFSTR("Orientation");

const CFStringRef kCGImagePropertyPNGDictionary = CFSTR("{PNG}");
const CFStringRef kCGImagePropertyPNGAuthor = CFSTR("Author");
const CFStringRef kCGImagePropertyPNGComment = CFSTR("Comment");
const CFStringRef kCGImagePropertyPNGCopyright = CFSTR("Copyright");
const CFStringRef kCGImagePropertyPNGCreationTime = CFSTR("Creation Time");
const CFStringRef kCGImagePropertyPNGDescription = CFSTR("Description");
const CFStringRef kCGImagePropertyPNGSoftware = CFSTR("Software");
const CFStringRef kCGImagePropertyPNGTitle = CFSTR("Title");

const CFStringRef kCGImagePropertyColorModelRGB = CFSTR("RGB");

const CFStringRef kCGImageDestinationLossyCompressionQuality =
    CFSTR("kCGImageDestinationLossyCompressionQuality");
