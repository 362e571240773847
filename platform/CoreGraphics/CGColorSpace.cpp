#include "platform/CoreGraphics/CGColorSpace.h"

#include "platform/CoreGraphics/CGObjects.h"

namespace {

// Made at the first use and kept to the end of the process.
CGColorSpaceRef DeviceGray() {
  static const CGColorSpaceRef space = new CGColorSpace(kCGColorSpaceModelMonochrome);
  return space;
}

CGColorSpaceRef DeviceRGB() {
  static const CGColorSpaceRef space = new CGColorSpace(kCGColorSpaceModelRGB);
  return space;
}

}  // namespace

CGColorSpaceRef CGColorSpaceCreateDeviceGray() {
  return CGColorSpaceRetain(DeviceGray());
}

CGColorSpaceRef CGColorSpaceCreateDeviceRGB() {
  return CGColorSpaceRetain(DeviceRGB());
}

CFTypeID CGColorSpaceGetTypeID() {
  static const CFTypeID type = CFRuntimeRegisterType("CGColorSpace");
  return type;
}

CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space) {
  if (space) space->retainReference();
  return space;
}

void CGColorSpaceRelease(CGColorSpaceRef space) {
  if (space) space->releaseReference();
}

std::size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space) {
  if (!space) return 0;
  return space->model == kCGColorSpaceModelMonochrome ? 1 : 3;
}

CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space) {
  return space ? space->model : kCGColorSpaceModelUnknown;
}
