// What every CoreGraphics header shares: the scalar type and the references.
//
// Every reference is a counted object (CFRuntimeObject): CFRetain and CFRelease work on each, and
// the typed Retain and Release calls below do the same, but accept null. A call whose name contains
// Create or Copy hands its caller one reference; any other result is borrowed. Objects other than
// contexts never change and may be used from any thread; a context belongs to one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/CoreFoundation/CFBase.h"

/// The 32-bit platform's floating-point type of all coordinates.
using CGFloat = float;

using CGColorSpaceRef = struct CGColorSpace*;
using CGDataProviderRef = struct CGDataProvider*;
using CGImageRef = struct CGImage*;
using CGContextRef = struct CGContext*;
