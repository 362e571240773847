/*
 * A camera that has frames while the file named by LUMIVANE_SWITCHED_CAMERA exists. 64 x 48 ARGB;
 * the left half is opaque, the right half half transparent, and premultiplied.
 */
#include <stdlib.h>
#include <unistd.h>

#include "components/camera_component.h"

enum { kWidth = 64, kHeight = 48, kRowBytes = 4 * kWidth, kSize = kRowBytes * kHeight };

static unsigned char* sFrame;

LUMIVANE_CAMERA_ENTRY int32_t __public_fn2(tagSHARED_CAMERA_BUFFER* record) {
  const char* const name = getenv("LUMIVANE_SWITCHED_CAMERA");
  if (name == NULL || access(name, F_OK) != 0) return 0;
  if (sFrame == NULL) {
    sFrame = (unsigned char*)LumivaneCamera_AllocateFrame(kSize, NULL);
    if (sFrame == NULL) return 0;
    for (int i = 0; i < kSize; i += 4) {
      const int clear = i % kRowBytes >= kRowBytes / 2;
      sFrame[i] = clear ? 128 : 255;
      sFrame[i + 1] = clear ? 100 : 200;
      sFrame[i + 2] = clear ? 50 : 150;
      sFrame[i + 3] = (unsigned char)(i / kRowBytes);
    }
  }
  return LumivaneCamera_SetFrame(record, sFrame, kWidth, kHeight, LUMIVANE_CAMERA_FORMAT_ARGB);
}

__attribute__((destructor)) static void FreeFrame(void) {
  LumivaneCamera_FreeFrame(sFrame, kSize);
}
