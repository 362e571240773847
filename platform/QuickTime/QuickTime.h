// All of the Image Compression Manager.
#pragma once

#include "platform/QuickDraw/QuickDraw.h"
#include "platform/QuickTime/CodecErrors.h"
#include "platform/QuickTime/DecompressionSequence.h"
#include "platform/QuickTime/Decompressors.h"
#include "platform/QuickTime/ImageDescription.h"
#include "platform/QuickTime/Matrix.h"
