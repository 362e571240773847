/*
 * A camera whose life is a script, for tests of programs that look at it. LUMIVANE_SCRIPTED_CAMERA:
 *
 *   dark    black for half a second, then brighter until it is grey after another, then grey with a
 *           changing pixel
 *   stale   one frame, of a camera that says it has been stale for a while
 *   none    no frame, ever
 *   crash   ends the program that asks
 *   bars    (or nothing) eight grey bars, the leftmost black, that stand still
 *
 * LUMIVANE_SCRIPTED_STATUS=no: the component says nothing of itself.
 */
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "components/camera_component.h"

enum { kWidth = 320, kHeight = 240, kRowBytes = 4 * kWidth, kSize = kRowBytes * kHeight };

static unsigned char* sFrame;
static uint64_t sSequence;
static double sStart;

static const char* Script(void) {
  const char* const script = getenv("LUMIVANE_SCRIPTED_CAMERA");
  return script != NULL ? script : "bars";
}

static double Now(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (double)now.tv_sec + (double)now.tv_nsec * 1e-9;
}

static void Fill(int x0, int x1, unsigned char level) {
  for (int y = 0; y < kHeight; ++y) {
    for (int x = x0; x < x1; ++x) {
      unsigned char* const pixel = sFrame + y * kRowBytes + 4 * x;
      pixel[0] = 255;
      pixel[1] = pixel[2] = pixel[3] = level;
    }
  }
}

static void Draw(void) {
  if (strcmp(Script(), "dark") == 0) {
    const double time = Now() - sStart;
    const double level = time < 0.5 ? 0 : time < 1 ? 256 * (time - 0.5) : 128;
    Fill(0, kWidth, (unsigned char)level);
    if (level > 0) sFrame[1] = (unsigned char)sSequence;
    return;
  }
  for (int bar = 0; bar < 8; ++bar) {
    Fill(bar * kWidth / 8, (bar + 1) * kWidth / 8, (unsigned char)(bar * 255 / 7));
  }
}

int32_t __public_fn2(tagSHARED_CAMERA_BUFFER* record) {
  const char* error = NULL;
  if (strcmp(Script(), "crash") == 0) abort();
  if (record->structSize != LUMIVANE_CAMERA_RECORD_SIZE || strcmp(Script(), "none") == 0) return 0;
  if (sFrame == NULL) {
    sFrame = (unsigned char*)LumivaneCamera_AllocateFrame(kSize, &error);
    sStart = Now();
  }
  if (sFrame == NULL) return 0;
  ++sSequence;
  Draw();
  return LumivaneCamera_SetFrame(record, sFrame, kWidth, kHeight, LUMIVANE_CAMERA_FORMAT_ARGB);
}

int32_t LumivaneCamera_CopyStatus(LumivaneCameraStatus* status) {
  LumivaneCameraStatus own;
  const char* const says = getenv("LUMIVANE_SCRIPTED_STATUS");
  if (says != NULL && strcmp(says, "no") == 0) return 0;
  memset(&own, 0, sizeof(own));
  own.state = sSequence == 0                   ? LUMIVANE_CAMERA_STATE_NONE
              : strcmp(Script(), "stale") == 0 ? LUMIVANE_CAMERA_STATE_STALE
                                               : LUMIVANE_CAMERA_STATE_LIVE;
  own.sequence = sSequence;
  own.skipped = 3;
  own.lost = 4;
  own.age = strcmp(Script(), "stale") == 0 ? UINT64_C(2500000000) : UINT64_C(12000000);
  own.rate = 25;
  strcpy(own.source, "Scripted \xC3\xA9 \xFF camera\n");
  strcpy(own.message, "as the script says");
  return LumivaneCamera_StoreStatus(status, &own);
}

__attribute__((destructor)) static void FreeFrame(void) {
  LumivaneCamera_FreeFrame(sFrame, kSize);
}
