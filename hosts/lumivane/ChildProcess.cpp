#include "hosts/lumivane/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "hosts/lumivane/Progress.h"

namespace lumivane {
namespace {

[[noreturn]] void BeChild(const std::function<std::string()>& work, int out) {
  // A crash is told of; nobody needs its memory.
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
  const std::string result = work();
  std::size_t written = 0;
  while (written < result.size()) {
    const ssize_t n = write(out, result.data() + written, result.size() - written);
    if (n < 0 && errno != EINTR) _exit(1);
    if (n > 0) written += static_cast<std::size_t>(n);
  }
  // Nothing of this copy is destroyed: it all belongs to the other process.
  _exit(0);
}

/// Everything until the other end closes; false when that takes longer.
bool ReadAll(int in, double end, std::string* bytes) {
  for (;;) {
    const double rest = end - MonotonicSeconds();
    pollfd wait = {in, POLLIN, 0};
    const int ready = rest > 0 ? poll(&wait, 1, static_cast<int>(std::ceil(1000 * rest))) : 0;
    if (ready == 0) return false;
    if (ready < 0 && errno == EINTR) continue;
    char block[4096];
    const ssize_t n = read(in, block, sizeof(block));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return n == 0;
    bytes->append(block, static_cast<std::size_t>(n));
  }
}

}  // namespace

std::optional<std::string> DoInChild(const std::function<std::string()>& work, double seconds,
                                     std::string* error) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return work();
  // What is in a buffer now would be written by both.
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) {
    close(ends[0]);
    close(ends[1]);
    return work();
  }
  if (child == 0) BeChild(work, ends[1]);
  close(ends[1]);
  std::string result;
  const bool complete = ReadAll(ends[0], MonotonicSeconds() + seconds, &result);
  close(ends[0]);
  if (!complete) kill(child, SIGKILL);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!complete) {
    *error = "it does not answer";
  } else if (WIFSIGNALED(status)) {
    *error =
        "it crashes the program that loads it (" + std::string(strsignal(WTERMSIG(status))) + ")";
  } else if (WEXITSTATUS(status) != 0) {
    *error =
        "it ends the program that loads it (exit code " + std::to_string(WEXITSTATUS(status)) + ")";
  } else {
    return result;
  }
  return std::nullopt;
}

bool HasOneThread() {
#ifdef __SANITIZE_THREAD__
  constexpr int kOfTheSanitizer = 1;
#else
  constexpr int kOfTheSanitizer = 0;
#endif
  std::error_code error;
  int count = 0;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", error)) {
    static_cast<void>(task);
    ++count;
  }
  return count >= 1 && count <= 1 + kOfTheSanitizer;
}

}  // namespace lumivane
