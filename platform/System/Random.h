// The platform's pseudo-random numbers: the "minimal standard" generator of Park and Miller (CACM
// 31, 1988), x' = 16807 x mod (2^31 - 1). Everything built from it is the same on every machine.
// The C library's own rand/srand are a different generator and are left alone.
#pragma once

#include <cstdint>

namespace platform {

/// The largest value of `rand`: 2^31 - 2, one below the modulus.
inline constexpr std::int32_t kRandMax = 2147483646;

/// Sets the process-wide state; a seed that is a multiple of 2^31 - 1 (0 too) counts as 1.
void srand(std::uint32_t seed) noexcept;

/// The next state, 1 to kRandMax. The state before any `srand` is 1. Safe from any thread.
std::int32_t rand() noexcept;

}  // namespace platform
