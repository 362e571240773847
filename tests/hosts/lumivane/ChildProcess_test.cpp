// Work that may end the process that does it.
#include "hosts/lumivane/ChildProcess.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>

namespace {

using lumivane::DoInChild;
using ::testing::HasSubstr;

TEST(DoInChild, BringsTheResultAndChangesNothingHere) {
  int here = 1;
  std::string error;
  const auto result = DoInChild(
      [&here] {
        here = 2;
        return std::string(300000, 'x') + std::to_string(getpid());
      },
      60, &error);
  ASSERT_TRUE(result) << error;
  EXPECT_EQ(result->substr(0, 300000), std::string(300000, 'x'));
  EXPECT_NE(result->substr(300000), std::to_string(getpid()));
  EXPECT_EQ(here, 1);
}

TEST(DoInChild, TellsHowTheChildEnded) {
  std::string error;
  EXPECT_FALSE(DoInChild([]() -> std::string { std::abort(); }, 60, &error));
  EXPECT_THAT(error, HasSubstr("crashes the program that loads it (Aborted)"));
  EXPECT_FALSE(DoInChild([]() -> std::string { _exit(7); }, 60, &error));
  EXPECT_THAT(error, HasSubstr("exit code 7"));
  EXPECT_FALSE(DoInChild(
      []() -> std::string {
        for (;;) std::this_thread::sleep_for(std::chrono::seconds(1));
      },
      0.2, &error));
  EXPECT_EQ(error, "it does not answer");
}

}  // namespace
