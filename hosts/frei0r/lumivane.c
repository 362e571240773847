/*
 * The frei0r source "lumivane": the camera's picture in ffmpeg, melt, GStreamer's bridge and every
 * other program that loads frei0r plug-ins.
 *
 * Hosts load all plug-ins they find to list them, make instances only to ask for defaults, and end
 * without destroying what they made. So nothing here opens a file, starts a thread or allocates
 * more than an instance, until the first picture is asked for; and no order of calls is relied on.
 */
#include <frei0r.h>
#include <math.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>

#include "hosts/source/SourceLibrary.h"

#define LUMIVANE_EXPORT __attribute__((visibility("default")))

enum { kParameterCount = 1 };

static const double kDefaultClock = 0.5;

typedef struct Instance {
  unsigned int width;
  unsigned int height;
  double clock; /* always 0 to 1 */
} Instance;

/* The picture is held from the first update until the last instance goes, or the host says that it
   is done; after which an update takes it again. */
static pthread_mutex_t sLock = PTHREAD_MUTEX_INITIALIZER; /* of sHeld */
static const LumivaneSourceApi* sHeld;
/* Beside the lock, since instances are made while others wait for the camera to open or close. */
static atomic_int sInits;
static atomic_int sInstances;
static atomic_flag sToldWhyNot = ATOMIC_FLAG_INIT;

static const LumivaneSourceApi* Hold(void) {
  const LumivaneSourceApi* held;
  pthread_mutex_lock(&sLock);
  if (sHeld == NULL) {
    sHeld = LumivaneSource_Library();
    if (sHeld != NULL) sHeld->acquire();
  }
  held = sHeld;
  pthread_mutex_unlock(&sLock);
  return held;
}

/* Unless somebody has come back to `users` meanwhile. */
static void LetGoWithout(atomic_int* users) {
  pthread_mutex_lock(&sLock);
  if (atomic_load(users) == 0 && sHeld != NULL) {
    sHeld->release();
    sHeld = NULL;
  }
  pthread_mutex_unlock(&sLock);
}

static void TellWhyNot(const LumivaneSourceApi* api) {
  char why[1024];
  api->getError(why, sizeof(why));
  if (why[0] == '\0' || atomic_flag_test_and_set(&sToldWhyNot)) return;
  fprintf(stderr, "lumivane: no picture: %s\n", why);
}

LUMIVANE_EXPORT int f0r_init(void) {
  atomic_fetch_add(&sInits, 1);
  return 1;
}

LUMIVANE_EXPORT void f0r_deinit(void) {
  int inits = atomic_load(&sInits);
  /* Some hosts call it without having called f0r_init: the count stays above that. */
  while (inits > 0 && !atomic_compare_exchange_weak(&sInits, &inits, inits - 1)) {
  }
  if (inits == 1) LetGoWithout(&sInits);
}

LUMIVANE_EXPORT void f0r_get_plugin_info(f0r_plugin_info_t* info) {
  info->name = "lumivane";
  info->author = "Lumivane";
  info->plugin_type = F0R_PLUGIN_TYPE_SOURCE;
  info->color_model = F0R_COLOR_MODEL_RGBA8888;
  info->frei0r_version = FREI0R_MAJOR_VERSION;
  info->major_version = LUMIVANE_MAJOR;
  info->minor_version = LUMIVANE_MINOR;
  info->num_params = kParameterCount;
  info->explanation = "The live picture of a camera";
}

LUMIVANE_EXPORT void f0r_get_param_info(f0r_param_info_t* info, int index) {
  if (index != 0) return;
  info->name = "inputClock";
  info->type = F0R_PARAM_DOUBLE;
  info->explanation = "Moved to have the picture rendered again; its value changes nothing";
}

LUMIVANE_EXPORT f0r_instance_t f0r_construct(unsigned int width, unsigned int height) {
  Instance* instance;
  if (width == 0 || height == 0 || width > LUMIVANE_SOURCE_MAX_SIDE ||
      height > LUMIVANE_SOURCE_MAX_SIDE) {
    return NULL;
  }
  instance = malloc(sizeof(*instance));
  if (instance == NULL) return NULL;
  instance->width = width;
  instance->height = height;
  instance->clock = kDefaultClock;
  atomic_fetch_add(&sInstances, 1);
  return instance;
}

LUMIVANE_EXPORT void f0r_destruct(f0r_instance_t instance) {
  if (instance == NULL) return;
  free(instance);
  if (atomic_fetch_sub(&sInstances, 1) == 1) LetGoWithout(&sInstances);
}

LUMIVANE_EXPORT void f0r_set_param_value(f0r_instance_t instance, f0r_param_t value, int index) {
  double clock;
  if (instance == NULL || value == NULL || index != 0) return;
  clock = *(const double*)value;
  if (isnan(clock)) return;
  ((Instance*)instance)->clock = clock < 0 ? 0 : clock > 1 ? 1 : clock;
}

LUMIVANE_EXPORT void f0r_get_param_value(f0r_instance_t instance, f0r_param_t value, int index) {
  if (instance == NULL || value == NULL || index != 0) return;
  *(double*)value = ((const Instance*)instance)->clock;
}

/* The time is not looked at: hosts give it in seconds or milliseconds, and a camera has its own.
   Nor is the input, which some hosts fill with an address of nothing. */
LUMIVANE_EXPORT void f0r_update(f0r_instance_t instance, double time, const uint32_t* input,
                                uint32_t* output) {
  const Instance* const self = instance;
  const LumivaneSourceApi* api;
  LumivaneSourceBitmap bitmap;
  (void)time;
  (void)input;
  if (self == NULL || output == NULL) return;
  api = Hold();
  if (api == NULL) {
    const size_t count = (size_t)self->width * self->height;
    const unsigned char black[4] = {0, 0, 0, 255};
    size_t i;
    for (i = 0; i < count; ++i) __builtin_memcpy(output + i, black, sizeof(black));
    return;
  }
  bitmap.pixels = output;
  bitmap.rowBytes = 4 * (size_t)self->width;
  bitmap.width = self->width;
  bitmap.height = self->height;
  bitmap.order = LUMIVANE_SOURCE_RGBA;
  bitmap.placement = LUMIVANE_SOURCE_FIT;
  bitmap.clock = self->clock;
  if (api->draw(&bitmap) == LUMIVANE_SOURCE_NOTHING) TellWhyNot(api);
}

LUMIVANE_EXPORT void f0r_update2(f0r_instance_t instance, double time, const uint32_t* input1,
                                 const uint32_t* input2, const uint32_t* input3, uint32_t* output) {
  (void)input2;
  (void)input3;
  f0r_update(instance, time, input1, output);
}
