#include "sdk/QClasses/QPixMap_overlay.h"

unsigned char QPixMapOverlay::Blend(unsigned char dest, unsigned char overlay, double alpha) {
  const double keep = 1 - alpha;
  const double value = dest * keep + overlay * alpha;
  // What no 32-bit integer holds truncates to the most negative one, so to 0 here.
  if (!(value > -2147483649.0 && value < 2147483648.0)) return 0;
  return static_cast<unsigned char>(std::clamp(static_cast<SInt32>(value), SInt32{0}, SInt32{255}));
}
