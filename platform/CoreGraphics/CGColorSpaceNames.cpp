#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreGraphics/CGColorSpace.h"

const CFStringRef kCGColorSpaceSRGB = CFSTR("kCGColorSpaceSRGB");
const CFStringRef kCGColorSpaceGenericRGB = CFSTR("kCGColorSpaceGenericRGB");
const CFStringRef kCGColorSpaceGenericGray = CFSTR("kCGColorSpaceGenericGray");

CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name) {
  if (!name) return nullptr;
  if (CFEqual(name, kCGColorSpaceSRGB) || CFEqual(name, kCGColorSpaceGenericRGB)) {
    return CGColorSpaceCreateDeviceRGB();
  }
  if (CFEqual(name, kCGColorSpaceGenericGray)) return CGColorSpaceCreateDeviceGray();
  return nullptr;
}
