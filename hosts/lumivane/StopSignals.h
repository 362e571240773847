// Ctrl-C and the system's wish to end, as something a loop can wait on.
#pragma once

#include <csignal>

namespace lumivane {

/// From its making on, SIGINT, SIGTERM and SIGHUP are noted instead of ending the process, in this
/// thread and those it starts: make it before anything that starts threads. A signal the process
/// was started to ignore stays ignored. SIGPIPE is ignored: a reader that leaves is an error of the
/// write.
class StopSignals {
 public:
  StopSignals();
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  /// Whether one came; from then on always.
  bool Came();
  /// Sleeps until `time` of MonotonicSeconds(), or until one comes. The same answer.
  bool WaitUntil(double time);

 private:
  bool Poll(int milliseconds);

  sigset_t old_;
  int descriptor_ = -1;
  bool came_ = false;
};

}  // namespace lumivane
