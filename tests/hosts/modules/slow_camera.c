/*
 * A camera that takes LUMIVANE_SLOW_CAMERA milliseconds to open, and says so meanwhile. A negative
 * number: it fails after that time and never has a frame. 64 x 48 ARGB, all white.
 */
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "components/camera_component.h"

enum { kWidth = 64, kHeight = 48, kSize = 4 * kWidth * kHeight };

static unsigned char* sFrame;
static struct timespec sStart;

static double Milliseconds(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (double)(now.tv_sec - sStart.tv_sec) * 1e3 + (double)(now.tv_nsec - sStart.tv_nsec) / 1e6;
}

static double Delay(void) {
  const char* const text = getenv("LUMIVANE_SLOW_CAMERA");
  return text != NULL ? atof(text) : 0;
}

LUMIVANE_CAMERA_ENTRY int32_t __public_fn2(tagSHARED_CAMERA_BUFFER* record) {
  if (sStart.tv_sec == 0) clock_gettime(CLOCK_MONOTONIC, &sStart);
  if (Delay() < 0 || Milliseconds() < Delay()) return 0;
  if (sFrame == NULL) {
    sFrame = (unsigned char*)LumivaneCamera_AllocateFrame(kSize, NULL);
    if (sFrame == NULL) return 0;
    memset(sFrame, 255, kSize);
  }
  return LumivaneCamera_SetFrame(record, sFrame, kWidth, kHeight, LUMIVANE_CAMERA_FORMAT_ARGB);
}

LUMIVANE_CAMERA_ENTRY int32_t LumivaneCamera_CopyStatus(LumivaneCameraStatus* status) {
  LumivaneCameraStatus full;
  const double delay = Delay() < 0 ? -Delay() : Delay();
  memset(&full, 0, sizeof(full));
  if (sStart.tv_sec != 0 && Milliseconds() < delay) full.flags = LUMIVANE_CAMERA_STATUS_OPENING;
  return LumivaneCamera_StoreStatus(status, &full);
}

__attribute__((destructor)) static void FreeFrame(void) {
  LumivaneCamera_FreeFrame(sFrame, kSize);
}
