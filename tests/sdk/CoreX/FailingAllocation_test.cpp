#include "tests/sdk/CoreX/FailingAllocation.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdint>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// Declared by a header that g++ does not bring along.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {
std::size_t sFailingFrom = SIZE_MAX;
}

// The linker sends the calls of `malloc` here: see CMakeLists.txt.
extern "C" void* __real_malloc(std::size_t size);
extern "C" void* __wrap_malloc(std::size_t size);
extern "C" void* __wrap_malloc(std::size_t size) {
  return size >= sFailingFrom ? nullptr : __real_malloc(size);
}

namespace test {

FailingAllocation::FailingAllocation(std::size_t size) {
  sFailingFrom = size;
}

FailingAllocation::~FailingAllocation() {
  sFailingFrom = SIZE_MAX;
}

std::size_t AllocatedBytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return __sanitizer_get_current_allocated_bytes();
#else
  return mallinfo2().uordblks;
#endif
}

TEST(FailingAllocation, FailsFromItsSizeOn) {
  const FailingAllocation failing(1000);
  EXPECT_EQ(std::malloc(1000), nullptr);
  void* block = std::malloc(999);
  EXPECT_NE(block, nullptr);
  std::free(block);
}

}  // namespace test
