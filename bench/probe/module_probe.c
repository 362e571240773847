/*
 * usage: module_probe MODULE scan|picture: prints how many nanoseconds a host that has nothing of
 * ours loaded needs to look at the frei0r module, or to get its first picture.
 */
#include <dlfcn.h>
#include <frei0r.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

enum { kWidth = 640, kHeight = 480 };

static long long Now(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1000000000LL + now.tv_nsec;
}

int main(int argc, char** argv) {
  typedef int (*Init)(void);
  typedef void (*Deinit)(void);
  typedef void (*GetPluginInfo)(f0r_plugin_info_t*);
  typedef void (*GetParamInfo)(f0r_param_info_t*, int);
  typedef f0r_instance_t (*Construct)(unsigned int, unsigned int);
  typedef void (*Destruct)(f0r_instance_t);
  typedef void (*Update)(f0r_instance_t, double, const uint32_t*, uint32_t*);
  uint32_t* const pixels = calloc(sizeof(uint32_t), (size_t)kWidth * kHeight);
  if (argc != 3 || pixels == NULL) return 64;
  const int wantsPicture = strcmp(argv[2], "picture") == 0;
  const long long start = Now();
  void* const module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (module == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  Init init;
  Deinit deinit;
  GetPluginInfo getPluginInfo;
  GetParamInfo getParamInfo;
  Construct construct;
  Destruct destruct;
  Update update;
  *(void**)&init = dlsym(module, "f0r_init");
  *(void**)&deinit = dlsym(module, "f0r_deinit");
  *(void**)&getPluginInfo = dlsym(module, "f0r_get_plugin_info");
  *(void**)&getParamInfo = dlsym(module, "f0r_get_param_info");
  *(void**)&construct = dlsym(module, "f0r_construct");
  *(void**)&destruct = dlsym(module, "f0r_destruct");
  *(void**)&update = dlsym(module, "f0r_update");
  f0r_plugin_info_t info;
  init();
  getPluginInfo(&info);
  for (int i = 0; i < info.num_params; ++i) {
    f0r_param_info_t parameter;
    getParamInfo(&parameter, i);
  }
  f0r_instance_t const instance = construct(kWidth, kHeight);
  if (wantsPicture) update(instance, 0, NULL, pixels);
  const long long end = Now();
  destruct(instance);
  deinit();
  dlclose(module);
  printf("%lld\n", end - start);
  free(pixels);
  return 0;
}
