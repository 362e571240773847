#include "sdk/QClasses/RasterGraphics.h"

namespace RasterGraphics {

constinit LumaHistogram sUnusedHistogram;
constinit const LumaMapping sUnusedMapping;

}  // namespace RasterGraphics
