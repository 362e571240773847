// The program `lumivane`.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "hosts/lumivane/CommandLine.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/HostStart.h"

namespace {

/// A standard stream that was closed gets a descriptor that fails in its own direction. Otherwise
/// the next file that is opened takes its place, and messages go into it.
void KeepStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) continue;
    // The lowest that is free: this one, as those before it are open.
    if (open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) != descriptor) return;
  }
}

/// Whoever reads has had enough: that is how a pipe ends.
bool NobodyReads() {
  pollfd out = {STDOUT_FILENO, POLLOUT, 0};
  return poll(&out, 1, 0) == 1 && (out.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
}

/// Results that did not reach their file are no results.
bool FlushResults() {
  errno = 0;
  const bool flushed = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  if (flushed || errno == EPIPE || errno == EBADF || NobodyReads()) return true;
  std::fprintf(stderr, "lumivane: standard output cannot be written%s%s\n", errno != 0 ? ": " : "",
               errno != 0 ? std::strerror(errno) : "");
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  KeepStandardDescriptors();
  // A file that may not grow is one that cannot be written, with a message and nothing left over.
  std::signal(SIGXFSZ, SIG_IGN);
  int result = lumivane::kExitOk;
  const auto app = lumivane::MakeCommandLine(&result);
  lumivane::PrepareHost();
  try {
    app->parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    result = app->exit(error) == 0 ? lumivane::kExitOk : lumivane::kExitUsage;
  }
  // What failed has said so already.
  if (result == lumivane::kExitOk && !FlushResults()) result = lumivane::kExitFailed;
  return result;
}
