/* Watches a camera component: prints a line whenever its state changes, and one a second, each with
   the seconds since the start. usage: watch_camera COMPONENT SECONDS

     3.021 LIVE source=vivid size=640x480 rate=29.9 received=12 opened=1 centre=81,90,240
     9.400 NONE message=... */
#define _DEFAULT_SOURCE
#include <dlfcn.h>
#include <string.h>
#include <time.h>

#include "components/camera_component.h"

static double Now(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

int main(int argc, char** argv) {
  static const char* const kStates[] = {"NONE", "LIVE", "STALE"};
  if (argc != 3) return 64;
  void* const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (library == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  int32_t (*newest)(tagSHARED_CAMERA_BUFFER*) = NULL;
  int32_t (*copyStatus)(LumivaneCameraStatus*) = NULL;
  *(void**)&newest = dlsym(library, "__public_fn2");
  *(void**)&copyStatus = dlsym(library, LUMIVANE_CAMERA_STATUS_FUNCTION);
  void (*willUnload)(void) = NULL;
  *(void**)&willUnload = dlsym(library, LUMIVANE_CAMERA_WILL_UNLOAD_FUNCTION);
  if (newest == NULL || copyStatus == NULL || willUnload == NULL) return 1;

  const double start = Now();
  double end = start;
  for (const char* digit = argv[2]; *digit >= '0' && *digit <= '9'; ++digit) {
    end = start + (end - start) * 10 + (*digit - '0');
  }
  double said = start - 1;
  double longest = 0;
  uint32_t state = UINT32_MAX;
  setvbuf(stdout, NULL, _IOLBF, 0);
  while (Now() < end) {
    tagSHARED_CAMERA_BUFFER record;
    LumivaneCameraStatus status;
    memset(&record, 0, sizeof(record));
    record.structSize = LUMIVANE_CAMERA_RECORD_SIZE;
    const double before = Now();
    const int32_t answered = newest(&record);
    const double now = Now();
    if (now - before > longest) longest = now - before;
    memset(&status, 0, sizeof(status));
    status.structSize = sizeof(status);
    if (!copyStatus(&status)) return 1;
    if (status.state != state || now - said >= 1) {
      printf(
          "%.3f %s answered=%d source=%s size=%dx%d rate=%.1f received=%llu opened=%u "
          "slowest=%.1fms",
          now - start, status.state < 3 ? kStates[status.state] : "?", answered != 0, status.source,
          status.frameWidth, status.frameHeight, status.rate, (unsigned long long)status.received,
          status.opened, longest * 1e3);
      if (answered && record.pixelFormat == LUMIVANE_CAMERA_FORMAT_2VUY) {
        const unsigned char* const pixel =
            (const unsigned char*)(uintptr_t)record.frameBufferPtr +
            (size_t)record.frameWidth * 2 * (size_t)(record.frameHeight / 2) +
            (size_t)(record.frameWidth / 2 & ~1) * 2;
        printf(" centre=%d,%d,%d", pixel[1], pixel[0], pixel[2]);
      }
      printf(" message=%s\n", status.message);
      state = status.state;
      said = now;
    }
    nanosleep(&(struct timespec){0, 20000000}, NULL);
  }
  willUnload();
  return dlclose(library) == 0 ? 0 : 1;
}
