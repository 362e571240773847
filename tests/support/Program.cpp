#include "tests/support/Program.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>

namespace test {
namespace {

struct Pipe {
  int ends[2];
  Pipe() {
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  }
  ~Pipe() {
    CloseRead();
    CloseWrite();
  }
  void CloseRead() { Close(ends[0]); }
  void CloseWrite() { Close(ends[1]); }

 private:
  static void Close(int& end) {
    if (end >= 0) close(end);
    end = -1;
  }
};

std::string ReadAll(int file) {
  std::string all;
  char buffer[65536];
  for (ssize_t n; (n = read(file, buffer, sizeof(buffer))) > 0;) {
    all.append(buffer, static_cast<std::size_t>(n));
  }
  return all;
}

void WriteAll(int file, const std::string& bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = write(file, bytes.data() + done, bytes.size() - done);
    if (n <= 0) return;  // The program stopped reading: its own business.
    done += static_cast<std::size_t>(n);
  }
}

}  // namespace

ProgramResult RunProgram(const std::vector<std::string>& arguments, const std::string& input) {
  Pipe in;
  Pipe out;
  Pipe err;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in.ends[0], 0);
  posix_spawn_file_actions_adddup2(&actions, out.ends[1], 1);
  posix_spawn_file_actions_adddup2(&actions, err.ends[1], 2);
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  pid_t child = 0;
  const int error = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("cannot run " + arguments[0]);
  in.CloseRead();
  out.CloseWrite();
  err.CloseWrite();

  ProgramResult result;
  std::thread feed([&] {
    // A program that ends without reading everything is no reason to end the test.
    sigset_t pipeSignal;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
    WriteAll(in.ends[1], input);
    in.CloseWrite();
  });
  std::thread errors([&] { result.err = ReadAll(err.ends[0]); });
  result.out = ReadAll(out.ends[0]);
  errors.join();
  feed.join();
  int status = 0;
  waitpid(child, &status, 0);
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

}  // namespace test
