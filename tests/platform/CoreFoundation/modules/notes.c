/* A module that writes down, in the file TEST_NOTES names, when it comes and goes. */
#include <stdio.h>
#include <stdlib.h>

static void Note(const char* text) {
  const char* name = getenv("TEST_NOTES");
  FILE* file = name ? fopen(name, "a") : NULL;
  if (file) {
    fputs(text, file);
    fclose(file);
  }
}

__attribute__((constructor)) static void Come(void) {
  Note("come\n");
}
__attribute__((destructor)) static void Go(void) {
  Note("go\n");
}
