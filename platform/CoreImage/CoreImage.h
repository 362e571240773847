// The filter framework in one header.
#pragma once

#include "platform/CoreImage/CIConstants.h"
#include "platform/CoreImage/CIContext.h"
#include "platform/CoreImage/CIFilter.h"
#include "platform/CoreImage/CIImage.h"
#include "platform/CoreImage/CIKernel.h"
#include "platform/CoreImage/CIPlugIn.h"
#include "platform/Foundation/Foundation.h"
