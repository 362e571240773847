/* usage: lumivane_frei0r_exit MODULE: ends the process while two threads ask for pictures. */
#include <dlfcn.h>
#include <frei0r.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

typedef f0r_instance_t (*Construct)(unsigned int, unsigned int);
typedef void (*Update)(f0r_instance_t, double, const uint32_t*, uint32_t*);

enum { kWidth = 320, kHeight = 240 };

static Construct sConstruct;
static Update sUpdate;

static void* Run(void* ready) {
  uint32_t* const pixels = malloc(sizeof(uint32_t) * kWidth * kHeight);
  f0r_instance_t const instance = sConstruct(kWidth, kHeight);
  for (;;) {
    sUpdate(instance, 0, NULL, pixels);
    if (write(*(int*)ready, "r", 1) != 1) return NULL;
  }
}

int main(int argc, char** argv) {
  void* const module = argc > 1 ? dlopen(argv[1], RTLD_NOW) : NULL;
  int ends[2];
  char byte;
  if (module == NULL || pipe(ends) != 0) {
    fprintf(stderr, "%s\n", module == NULL ? dlerror() : "no pipe");
    return 2;
  }
  *(void**)&sConstruct = dlsym(module, "f0r_construct");
  *(void**)&sUpdate = dlsym(module, "f0r_update");
  for (int i = 0; i < 2; ++i) {
    pthread_t thread;
    if (pthread_create(&thread, NULL, Run, &ends[1]) != 0) return 2;
  }
  for (int i = 0; i < 20; ++i) {
    if (read(ends[0], &byte, 1) != 1) return 2;
  }
  exit(0);
}
