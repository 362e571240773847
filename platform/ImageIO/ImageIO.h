// All of Image I/O.
#pragma once

#include "platform/ImageIO/CGImageDestination.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/ImageIO/ImageData.h"
