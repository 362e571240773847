/* A camera component of another kind: it loads, but nobody can ask it for a frame. */
#include "components/camera_component.h"

LUMIVANE_CAMERA_ENTRY int32_t __public_fn0(void) {
  return 1;
}
