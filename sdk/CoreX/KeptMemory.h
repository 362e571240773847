// Memory that is never freed because an interface promises so.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#define __SANITIZE_ADDRESS__ 1
#endif
#endif

/// Says that nobody will free this one block. The leak checker then passes over it and what it
/// alone refers to, and goes on reporting every other leak.
inline void KeepForProcess([[maybe_unused]] const void* block) {
#if defined(__SANITIZE_ADDRESS__)
  __lsan_ignore_object(block);
#endif
}
