// All of CoreGraphics.
#pragma once

#include "platform/CoreGraphics/CGAffineTransform.h"
#include "platform/CoreGraphics/CGBitmapContext.h"
#include "platform/CoreGraphics/CGColorSpace.h"
#include "platform/CoreGraphics/CGContext.h"
#include "platform/CoreGraphics/CGDataProvider.h"
#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/CoreGraphics/CGImage.h"
