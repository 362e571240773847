// What GLib keeps for good, in libraries that are never unloaded, is no leak of this project.
#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__)
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_options() {
  return "print_suppressions=0";
}
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libglib-2.0.so\nleak:libgobject-2.0.so\nleak:libgio-2.0.so\nleak:libgstreamer-1.0."
         "so\n";
}
#endif
