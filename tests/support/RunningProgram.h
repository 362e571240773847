// A program that runs beside the test: its lines are read as they come, signals are sent to it.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace test {

class RunningProgram {
 public:
  /// Starts `arguments[0]` in this process's environment with an empty standard input. Standard
  /// error goes into a file.
  explicit RunningProgram(const std::vector<std::string>& arguments);
  /// Kills it if it still runs.
  ~RunningProgram();
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  pid_t pid() const { return pid_; }
  /// The next line of its standard output without its end; empty at the end of the output.
  std::string ReadLine();
  /// Up to `count` bytes of its standard output; fewer at its end.
  std::string ReadBytes(std::size_t count);
  /// Closes the reading end.
  void StopReading();
  void Signal(int signal) const;
  /// Waits until it takes `signal` into its own hands, as it does once it has started: until then
  /// the signal would end it. False when it does not.
  bool WaitUntilItAnswers(int signal) const;
  /// Waits for its end. The exit code, or 128 + the signal's number; -1 and it is killed, when it
  /// does not end within `seconds`.
  int Wait(double seconds = 60);
  /// What it has written to standard error so far.
  std::string Errors() const;

 private:
  pid_t pid_ = -1;
  int out_ = -1;
  int errors_ = -1;
  int exitCode_ = -1;
};

}  // namespace test
