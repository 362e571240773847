// Colours of indexed pixels. Not for users of QuickDraw.
#pragma once

#include "platform/QuickDraw/QuickdrawTypes.h"

namespace Palettes {

struct Colour {
  UInt16 r, g, b;
};

/// The colour of an index: of the table (8 bytes an entry: a value and three components), or of the
/// standard one of the depth (1, 2, 4 or 8 bits) for null. Black for an index a table lacks.
Colour ColourOf(CTabHandle table, int bits, UInt8 index);

/// The index of the nearest colour, the lowest of equally near ones.
UInt8 IndexOf(CTabHandle table, int bits, const Colour& colour);

}  // namespace Palettes
