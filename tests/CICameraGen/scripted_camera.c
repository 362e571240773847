/*
 * A camera component that does what a test says. LUMIVANE_SCRIPTED_CAMERA, read at each call, is a
 * text of NAME=NUMBER words that replace the fields of the record below and the result; pointer=0
 * leaves the pointer null. What it saw is in its exported variables.
 */
#include <stdlib.h>
#include <string.h>

#include "components/camera_component.h"

enum { kMemory = 4 << 20 };

int32_t scripted_calls;
uint32_t scripted_last_struct_size;
unsigned char* scripted_frame;

static unsigned char* Frame(void) {
  if (scripted_frame == NULL) {
    scripted_frame = (unsigned char*)LumivaneCamera_AllocateFrame(kMemory, NULL);
    /* Opaque grey pixels in ARGB: 255, n, n, n with n the pixel's number. */
    if (scripted_frame != NULL) {
      for (uint32_t i = 0; i < kMemory / 4; ++i) {
        memset(scripted_frame + 4 * i, (int)(i & 0xFF), 4);
        scripted_frame[4 * i] = 255;
      }
    }
  }
  return scripted_frame;
}

static long long Scripted(const char* name, long long otherwise) {
  const char* const script = getenv("LUMIVANE_SCRIPTED_CAMERA");
  const char* word = script;
  const size_t length = strlen(name);
  while (word != NULL && *word != '\0') {
    if (strncmp(word, name, length) == 0 && word[length] == '=') {
      return strtoll(word + length + 1, NULL, 0);
    }
    word = strchr(word, ' ');
    if (word != NULL) ++word;
  }
  return otherwise;
}

LUMIVANE_CAMERA_ENTRY int32_t __public_fn2(tagSHARED_CAMERA_BUFFER* record) {
  ++scripted_calls;
  scripted_last_struct_size = record->structSize;
  record->structSize = 0xDEAD; /* the caller sets it anew each time */
  LumivaneCamera_SetPixels(record, Scripted("pointer", 1) != 0 ? Frame() : NULL);
  record->frameWidth = (int16_t)Scripted("width", 8);
  record->frameHeight = (int16_t)Scripted("height", 4);
  record->rowBytes = (uint32_t)Scripted("rowBytes", 4 * record->frameWidth);
  record->dataSize =
      (uint32_t)Scripted("dataSize", (long long)record->rowBytes * record->frameHeight);
  record->pixelFormat = (uint32_t)Scripted("format", LUMIVANE_CAMERA_FORMAT_ARGB);
  return (int32_t)Scripted("result", 1);
}

__attribute__((destructor)) static void FreeMemory(void) {
  LumivaneCamera_FreeFrame(scripted_frame, kMemory);
}
