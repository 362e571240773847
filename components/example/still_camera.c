/* The smallest useful camera component: one picture that never changes. */
#include "camera_component.h"

enum { kWidth = 320, kHeight = 240, kRowBytes = 4 * kWidth, kSize = kRowBytes * kHeight };

static unsigned char* sFrame;

static int MakeFrame(void) {
  const char* error = NULL;
  sFrame = (unsigned char*)LumivaneCamera_AllocateFrame(kSize, &error);
  if (sFrame == NULL) {
    fprintf(stderr, "LumivaneXXX.component: %s\n", error);
    return 0;
  }
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      unsigned char* const pixel = sFrame + y * kRowBytes + 4 * x;
      pixel[0] = 255;                                /* alpha */
      pixel[1] = (unsigned char)(x * 255 / kWidth);  /* red */
      pixel[2] = (unsigned char)(y * 255 / kHeight); /* green */
      pixel[3] = 160;                                /* blue */
    }
  }
  return 1;
}

int32_t __public_fn2(tagSHARED_CAMERA_BUFFER* record) {
  if (record->structSize != LUMIVANE_CAMERA_RECORD_SIZE) return 0;
  if (sFrame == NULL && !MakeFrame()) return 0;
  return LumivaneCamera_SetFrame(record, sFrame, kWidth, kHeight, LUMIVANE_CAMERA_FORMAT_ARGB);
}

__attribute__((destructor)) static void FreeFrame(void) {
  LumivaneCamera_FreeFrame(sFrame, kSize);
}
