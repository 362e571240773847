#include "platform/System/Random.h"

#include <gtest/gtest.h>

namespace {

TEST(Random, FollowsTheRecurrence) {
  platform::srand(4567);
  std::int64_t x = 4567;
  for (int i = 0; i < 10000; ++i) {
    x = x * 16807 % 2147483647;
    ASSERT_EQ(platform::rand(), x) << "draw " << i;
  }
}

TEST(Random, TenThousandthDrawFromOneIsThePublishedOne) {
  platform::srand(1);
  std::int32_t last = 0;
  for (int i = 0; i < 10000; ++i) last = platform::rand();
  EXPECT_EQ(last, 1043618065);  // Park and Miller's own check of an implementation.
}

TEST(Random, ASeedWithoutStateCountsAsOne) {
  platform::srand(1);
  const std::int32_t first = platform::rand();
  for (const std::uint32_t seed : {0u, 2147483647u, 4294967294u}) {
    platform::srand(seed);
    EXPECT_EQ(platform::rand(), first) << seed;
  }
}

TEST(Random, LeavesTheLibrarysGeneratorAlone) {
  std::srand(7);
  const int expected = std::rand();
  std::srand(7);
  platform::srand(99);
  platform::rand();
  EXPECT_EQ(std::rand(), expected);
}

}  // namespace
