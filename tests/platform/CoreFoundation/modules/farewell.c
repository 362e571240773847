/* A module that counts its farewells, each after a thread that needs the dynamic loader. */
#include <dlfcn.h>
#include <pthread.h>
#include <stddef.h>

static int* sFarewells;

void count_farewells(int* farewells) {
  sFarewells = farewells;
}

static void* UseTheLoader(void* library) {
  library = dlopen("libm.so.6", RTLD_NOW | RTLD_LOCAL);
  if (library != NULL) dlclose(library);
  return library;
}

void LumivaneBundle_WillUnload(void) {
  pthread_t thread;
  void* library = NULL;
  if (pthread_create(&thread, NULL, UseTheLoader, NULL) != 0) return;
  pthread_join(thread, &library);
  if (sFarewells != NULL && library != NULL) ++*sFarewells;
}
