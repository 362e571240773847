// Memory that is never freed because an interface promises so.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define CORE_HAS_LEAK_CHECKER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CORE_HAS_LEAK_CHECKER 1
#endif
#endif

#ifdef CORE_HAS_LEAK_CHECKER
#include <sanitizer/lsan_interface.h>
#endif

/// Says that nobody will free this one block. The leak checker then passes over it and what it
/// alone refers to, and goes on reporting every other leak.
inline void KeepForProcess([[maybe_unused]] const void* block) {
#ifdef CORE_HAS_LEAK_CHECKER
  __lsan_ignore_object(block);
#endif
}
