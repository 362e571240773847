#define _GNU_SOURCE /* dladdr */

#include "hosts/source/SourceLibrary.h"

#include <dlfcn.h>
#include <limits.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

static pthread_mutex_t sLock = PTHREAD_MUTEX_INITIALIZER;
static const LumivaneSourceApi* sApi;
static time_t sLastAttempt; /* monotonic seconds; 0: none yet */
static int sReported;

/* Cuts the last component off; 0 when none is left. */
static int GoUp(char* path) {
  char* const slash = strrchr(path, '/');
  if (slash == NULL || slash == path) return 0;
  *slash = '\0';
  return 1;
}

static time_t MonotonicSeconds(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec + 1; /* never 0 */
}

/* Loads the library from `folder`. Null, with the reason in *why where the file is there. */
static const LumivaneSourceApi* LoadFrom(const char* folder, const char* below, char* why,
                                         size_t whySize) {
  char path[PATH_MAX];
  LumivaneSourceGetApi getApi = NULL;
  const LumivaneSourceApi* api = NULL;
  void* library;
  const int length =
      snprintf(path, sizeof(path), "%s%s/%s", folder, below, LUMIVANE_SOURCE_LIBRARY_NAME);
  if (length < 0 || (size_t)length >= sizeof(path) || access(path, F_OK) != 0) return NULL;
  library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == NULL) {
    const char* const reason = dlerror();
    /* Bounded, so that the compiler sees that what is cut is meant to be. */
    snprintf(why, whySize, "%.900s", reason == NULL ? path : reason);
    return NULL;
  }
  *(void**)&getApi = dlsym(library, LUMIVANE_SOURCE_FUNCTION);
  if (getApi != NULL) api = getApi(LUMIVANE_SOURCE_VERSION);
  if (api == NULL) snprintf(why, whySize, "%.900s is of another version", path);
  return api; /* The library stays loaded: it keeps itself. */
}

static const LumivaneSourceApi* LoadFromRoot(const char* variable, const char* standard, char* why,
                                             size_t whySize) {
  const char* const value = getenv(variable);
  const int given = value != NULL && value[0] == '/';
  return LoadFrom(given ? value : standard, "", why, whySize);
}

static const LumivaneSourceApi* Search(char* why, size_t whySize) {
  const LumivaneSourceApi* api = NULL;
  Dl_info info;
  if (dladdr((const void*)&sApi, &info) != 0 && info.dli_fname != NULL) {
    char own[PATH_MAX];
    int level;
    if (realpath(info.dli_fname, own) != NULL && GoUp(own)) {
      for (level = 0; level < 2 && api == NULL && GoUp(own); ++level) {
        api = LoadFrom(own, "/lumivane", why, whySize);
      }
    }
  }
  if (api == NULL) {
    api = LoadFromRoot("LUMIVANE_LOCAL_ROOT", "/usr/local/lib/lumivane", why, whySize);
  }
  if (api == NULL) api = LoadFromRoot("LUMIVANE_SYSTEM_ROOT", "/usr/lib/lumivane", why, whySize);
  return api;
}

const LumivaneSourceApi* LumivaneSource_Library(void) {
  const LumivaneSourceApi* api;
  pthread_mutex_lock(&sLock);
  if (sApi == NULL && sLastAttempt != MonotonicSeconds()) {
    char why[1024] = LUMIVANE_SOURCE_LIBRARY_NAME
        " is not there; install lumivane, `lumivane doctor` says where it is looked for";
    sLastAttempt = MonotonicSeconds();
    sApi = Search(why, sizeof(why));
    if (sApi == NULL && !sReported) {
      fprintf(stderr, "lumivane: no picture: %s\n", why);
      sReported = 1;
    }
  }
  api = sApi;
  pthread_mutex_unlock(&sLock);
  return api;
}
