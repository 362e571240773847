// Makes `malloc` fail for the toolkit, where a test says so.
#pragma once

#include <cstddef>

namespace test {

/// While it lives, allocations of at least `size` bytes that the toolkit makes with `malloc` fail.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::size_t size);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
};

/// Bytes that `malloc` has given the process and not got back.
std::size_t AllocatedBytes();

}  // namespace test
