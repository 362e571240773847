/*
 * A camera without pictures whose thread loads and unloads a library all the time, as media
 * libraries do. Whoever joins it while the dynamic loader is locked waits for ever.
 */
#include <dlfcn.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>

#include "components/camera_component.h"

static pthread_t sThread;
static int sRunning;
static int sStop; /* atomic */

static void* Load(void* unused) {
  (void)unused;
  while (!__atomic_load_n(&sStop, __ATOMIC_ACQUIRE)) {
    void* const library = dlopen("libm.so.6", RTLD_NOW | RTLD_LOCAL);
    if (library != NULL) dlclose(library);
  }
  return NULL;
}

int32_t __public_fn2(tagSHARED_CAMERA_BUFFER* record) {
  (void)record;
  if (!sRunning) sRunning = pthread_create(&sThread, NULL, Load, NULL) == 0;
  return 0;
}

void LumivaneBundle_WillUnload(void) {
  if (!sRunning) return;
  __atomic_store_n(&sStop, 1, __ATOMIC_RELEASE);
  pthread_join(sThread, NULL);
  sRunning = 0;
  __atomic_store_n(&sStop, 0, __ATOMIC_RELEASE);
}

/* The code of a running thread is being taken away. */
__attribute__((destructor)) static void End(void) {
  if (!sRunning) return;
  fprintf(stderr, "unloaded without a word\n");
  abort();
}
