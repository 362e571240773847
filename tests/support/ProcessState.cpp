#include "tests/support/ProcessState.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

namespace test {

int CountMappings(const std::string& text) {
  std::ifstream maps("/proc/self/maps");
  int count = 0;
  for (std::string line; std::getline(maps, line);) {
#if defined(__SANITIZE_THREAD__)
    // The sanitizer keeps the files mapped whose symbols it has looked up, but not as code.
    if (line.find(" r-xp ") == std::string::npos) continue;
#endif
    if (line.find(text) != std::string::npos) ++count;
  }
  return count;
}

std::uint64_t LowMappedBytes() {
  constexpr unsigned long long kLimit = 1ULL << 32;
  std::ifstream maps("/proc/self/maps");
  std::uint64_t bytes = 0;
  for (std::string line; std::getline(maps, line);) {
    unsigned long long start = 0;
    unsigned long long end = 0;
    if (std::sscanf(line.c_str(), "%llx-%llx", &start, &end) == 2 && start < kLimit) {
      bytes += std::min(end, kLimit) - start;
    }
  }
  return bytes;
}

int CountThreads() {
#if defined(__SANITIZE_THREAD__)
  // The sanitizer starts a thread of its own with the process's first, and keeps it.
  static const bool started = (std::thread([] {}).join(), true);
  static_cast<void>(started);
#endif
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<int>(std::distance(begin(tasks), end(tasks)));
}

bool ThreadsFallTo(int expected) {
  using namespace std::chrono_literals;
  for (int i = 0; i < 1000 && CountThreads() > expected; ++i) std::this_thread::sleep_for(1ms);
  return CountThreads() <= expected;
}

}  // namespace test
