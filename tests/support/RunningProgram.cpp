#include "tests/support/RunningProgram.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace test {

RunningProgram::RunningProgram(const std::vector<std::string>& arguments) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  out_ = ends[0];
  errors_ = memfd_create("errors", MFD_CLOEXEC);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, ends[1], 1);
  posix_spawn_file_actions_adddup2(&actions, errors_, 2);
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const int error = posix_spawnp(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  if (error != 0) {
    pid_ = -1;
    close(out_);
    close(errors_);
    throw std::runtime_error("cannot run " + arguments[0]);
  }
}

RunningProgram::~RunningProgram() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  StopReading();
  close(errors_);
}

std::string RunningProgram::ReadLine() {
  std::string line;
  for (char byte = 0; read(out_, &byte, 1) == 1 && byte != '\n';) line.push_back(byte);
  return line;
}

std::string RunningProgram::ReadBytes(std::size_t count) {
  std::string bytes(count, '\0');
  std::size_t done = 0;
  while (done < count) {
    const ssize_t n = read(out_, bytes.data() + done, count - done);
    if (n <= 0) break;
    done += static_cast<std::size_t>(n);
  }
  bytes.resize(done);
  return bytes;
}

void RunningProgram::StopReading() {
  if (out_ >= 0) close(out_);
  out_ = -1;
}

void RunningProgram::Signal(int signal) const {
  if (pid_ > 0) kill(pid_, signal);
}

bool RunningProgram::WaitUntilItAnswers(int signal) const {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (std::chrono::steady_clock::now() < end) {
    std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
    for (std::string line; std::getline(status, line);) {
      // Blocked, to be read, or caught.
      if (!line.starts_with("SigBlk:") && !line.starts_with("SigCgt:")) continue;
      const std::uint64_t signals = std::stoull(line.substr(7), nullptr, 16);
      if ((signals >> (signal - 1) & 1) != 0) return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}

int RunningProgram::Wait(double seconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (pid_ > 0) {
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) == pid_) {
      pid_ = -1;
      exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    } else if (std::chrono::steady_clock::now() > end) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
      pid_ = -1;
    } else {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
  return exitCode_;
}

std::string RunningProgram::Errors() const {
  std::string text;
  char buffer[4096];
  off_t at = 0;
  for (ssize_t n; (n = pread(errors_, buffer, sizeof(buffer), at)) > 0; at += n) {
    text.append(buffer, static_cast<std::size_t>(n));
  }
  return text;
}

}  // namespace test
