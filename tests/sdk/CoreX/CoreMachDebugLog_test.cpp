#include "sdk/CoreX/CoreMachDebugLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/LogCapture.h"

TEST(CoreMachDebugLog, AppendsToTheLogFile) {
  test::LogCapture log;
  CoreMachDebugLog("%s %d\n", "text", 7);
  EXPECT_EQ(log.Text(), "text 7\n");
}
