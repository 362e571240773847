// What a process holds on to: for tests that load and unload modules.
#pragma once

#include <cstdint>
#include <string>

namespace test {

/// Mappings of this process whose line in /proc/self/maps contains `text`.
int CountMappings(const std::string& text);
/// Bytes of address space mapped below 4 GiB.
std::uint64_t LowMappedBytes();
/// Threads of this process.
int CountThreads();
/// Waits up to a second for the thread count to fall to `expected`: a joined thread's entry may
/// stay in /proc a moment longer.
bool ThreadsFallTo(int expected);

}  // namespace test
