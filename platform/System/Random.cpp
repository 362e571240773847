#include "platform/System/Random.h"

#include <mutex>
#include <random>

namespace platform {
namespace {

std::mutex sLock;
constinit std::minstd_rand0* sGenerator = nullptr;

std::minstd_rand0& Generator() {
  // Never destroyed: static destructors of other modules may still draw.
  if (sGenerator == nullptr) sGenerator = new std::minstd_rand0(1);
  return *sGenerator;
}

}  // namespace

void srand(std::uint32_t seed) noexcept {
  const std::lock_guard guard(sLock);
  Generator().seed(seed);
}

std::int32_t rand() noexcept {
  const std::lock_guard guard(sLock);
  return static_cast<std::int32_t>(Generator()());
}

}  // namespace platform
