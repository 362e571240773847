#include "hosts/lumivane/StopSignals.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cmath>
#include <thread>

#include "hosts/lumivane/Progress.h"

namespace lumivane {

StopSignals::StopSignals() {
  sigset_t ours;
  sigemptyset(&ours);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
      sigaddset(&ours, signal);
    }
  }
  pthread_sigmask(SIG_BLOCK, &ours, &old_);
  descriptor_ = signalfd(-1, &ours, SFD_CLOEXEC | SFD_NONBLOCK);
  std::signal(SIGPIPE, SIG_IGN);
}

StopSignals::~StopSignals() {
  // One that came when the work was already ending is answered too.
  Poll(0);
  if (descriptor_ >= 0) close(descriptor_);
  pthread_sigmask(SIG_SETMASK, &old_, nullptr);
}

bool StopSignals::Poll(int milliseconds) {
  pollfd wait = {descriptor_, POLLIN, 0};
  if (poll(&wait, 1, came_ ? 0 : milliseconds) <= 0) return came_;
  // Taken off the queue: it is answered, and must not end the process when the mask goes.
  signalfd_siginfo info;
  while (read(descriptor_, &info, sizeof(info)) == sizeof(info)) came_ = true;
  return came_;
}

bool StopSignals::Came() {
  return Poll(0);
}

bool StopSignals::WaitUntil(double time) {
  for (;;) {
    const double rest = time - MonotonicSeconds();
    if (rest <= 0) return Poll(0);
    // Whole milliseconds by poll, which a signal ends; what is left is too short to be noticed.
    if (rest < 0.001) {
      std::this_thread::sleep_for(std::chrono::duration<double>(rest));
    } else if (Poll(static_cast<int>(std::fmin(1000 * rest, 60000)))) {
      return true;
    }
  }
}

}  // namespace lumivane
