#include "hosts/lumivane/Progress.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace lumivane {

namespace {
constexpr double kSecondsBetweenLines = 0.1;
}

double MonotonicSeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

Progress::Progress(bool quiet) : active_(!quiet && isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
  Clear();
}

void Progress::Clear() {
  if (shown_) std::fputs("\r\033[K", stderr);
  shown_ = false;
}

void Progress::Show(const std::string& text) {
  if (!active_) return;
  const double now = MonotonicSeconds();
  if (shown_ && now - last_ < kSecondsBetweenLines) return;
  last_ = now;
  shown_ = true;
  std::fprintf(stderr, "\r\033[K%s", text.c_str());
  std::fflush(stderr);
}

}  // namespace lumivane
