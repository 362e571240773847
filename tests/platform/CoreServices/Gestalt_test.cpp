#include "platform/CoreServices/Gestalt.h"

#include <gtest/gtest.h>

#include "platform/CoreServices/Files.h"

TEST(Gestalt, AnswersTheVersion) {
  SInt32 version = 0;
  EXPECT_EQ(Gestalt(gestaltSystemVersion, &version), noErr);
  EXPECT_EQ(version, 0x1048);
  SInt32 major = 0;
  SInt32 minor = 0;
  SInt32 bugFix = 0;
  EXPECT_EQ(Gestalt(gestaltSystemVersionMajor, &major), noErr);
  EXPECT_EQ(Gestalt(gestaltSystemVersionMinor, &minor), noErr);
  EXPECT_EQ(Gestalt(gestaltSystemVersionBugFix, &bugFix), noErr);
  // The one number holds the other three, a decimal digit in each half byte.
  EXPECT_EQ(version, (major / 10 << 12) | (major % 10 << 8) | (minor << 4) | bugFix);
}

TEST(Gestalt, KnowsNoOtherSelector) {
  SInt32 response = 77;
  EXPECT_EQ(Gestalt('xxxx', &response), gestaltUndefSelectorErr);
  EXPECT_EQ(Gestalt(0, &response), -5551);
  EXPECT_EQ(response, 77);
  EXPECT_EQ(Gestalt(gestaltSystemVersion, nullptr), paramErr);
}
