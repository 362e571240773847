// All of QuickDraw.
#pragma once

#include "platform/QuickDraw/CopyBits.h"
#include "platform/QuickDraw/PixMaps.h"
#include "platform/QuickDraw/QDOffscreen.h"
#include "platform/QuickDraw/QuickdrawTypes.h"
#include "platform/QuickDraw/Rects.h"
