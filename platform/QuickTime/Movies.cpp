#include "platform/QuickTime/Movies.h"

#include <atomic>

namespace {
std::atomic<OSErr> sLastError{noErr};
}

OSErr GetMoviesError() {
  return sLastError;
}

void SetMoviesError(OSErr error) {
  sLastError = error;
}
