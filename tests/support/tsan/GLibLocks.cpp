// What the thread sanitizer is told of GLib's locks.
//
// GLib's mutexes and conditions are made of futexes, in a library that is built without the
// sanitizer: it does not see that they order what threads do, and takes what GStreamer's threads
// do with this project's data for races. Preloaded into the tests' programs, these functions stand
// before GLib's and say it. Recursive and reader-writer locks are the system's, which the
// sanitizer sees; the calls within GLib itself do not come by here.
#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>

extern "C" {
// Null in the programs beside ours, which have no sanitizer.
void __tsan_acquire(void* address) __attribute__((weak));
void __tsan_release(void* address) __attribute__((weak));

void g_mutex_lock(void* mutex);
int g_mutex_trylock(void* mutex);
void g_mutex_unlock(void* mutex);
void g_cond_wait(void* condition, void* mutex);
int g_cond_wait_until(void* condition, void* mutex, std::int64_t end);
}

namespace {

void Acquire(void* mutex) {
  if (__tsan_acquire != nullptr) __tsan_acquire(mutex);
}

void Release(void* mutex) {
  if (__tsan_release != nullptr) __tsan_release(mutex);
}

/// GLib's own functions.
struct Real {
  decltype(&g_mutex_lock) lock;
  decltype(&g_mutex_trylock) tryLock;
  decltype(&g_mutex_unlock) unlock;
  decltype(&g_cond_wait) wait;
  decltype(&g_cond_wait_until) waitUntil;
};

template <typename Function>
void Find(const char* name, Function* function) {
  void* found = dlsym(RTLD_NEXT, name);
  if (found == nullptr) {
    // GLib came with a module, and is not the whole program's.
    void* const library = dlopen("libglib-2.0.so.0", RTLD_LAZY | RTLD_NOLOAD);
    if (library != nullptr) found = dlsym(library, name);
  }
  if (found == nullptr) std::abort();
  *function = reinterpret_cast<Function>(found);
}

/// All found at once, with the first call, which GLib's own start makes: a later caller may be one
/// that the dynamic loader waits for.
const Real& TheReal() {
  static const Real real = [] {
    Real found{};
    Find("g_mutex_lock", &found.lock);
    Find("g_mutex_trylock", &found.tryLock);
    Find("g_mutex_unlock", &found.unlock);
    Find("g_cond_wait", &found.wait);
    Find("g_cond_wait_until", &found.waitUntil);
    return found;
  }();
  return real;
}

}  // namespace

void g_mutex_lock(void* mutex) {
  TheReal().lock(mutex);
  Acquire(mutex);
}

int g_mutex_trylock(void* mutex) {
  const int locked = TheReal().tryLock(mutex);
  if (locked != 0) Acquire(mutex);
  return locked;
}

void g_mutex_unlock(void* mutex) {
  Release(mutex);
  TheReal().unlock(mutex);
}

void g_cond_wait(void* condition, void* mutex) {
  Release(mutex);
  TheReal().wait(condition, mutex);
  Acquire(mutex);
}

int g_cond_wait_until(void* condition, void* mutex, std::int64_t end) {
  Release(mutex);
  const int woken = TheReal().waitUntil(condition, mutex, end);
  Acquire(mutex);
  return woken;
}
