#include "platform/CoreFoundation/CFDate.h"

#include <gtest/gtest.h>

#include <ctime>

#include "platform/CoreFoundation/CFString.h"
#include "tests/support/CFOwned.h"

using Date = test::CFOwned<CFDateRef>;

TEST(CFDate, HoldsATime) {
  const Date date(CFDateCreate(nullptr, 12.5));
  EXPECT_EQ(CFDateGetAbsoluteTime(date), 12.5);
  EXPECT_EQ(CFGetTypeID(date), CFDateGetTypeID());
  EXPECT_TRUE(CFEqual(date, Date(CFDateCreate(nullptr, 12.5))));
  EXPECT_EQ(CFHash(date), CFHash(Date(CFDateCreate(nullptr, 12.5))));
  EXPECT_FALSE(CFEqual(date, Date(CFDateCreate(nullptr, 12.0))));
  EXPECT_EQ(test::TakeText(CFCopyTypeIDDescription(CFDateGetTypeID())), "CFDate");
}

TEST(CFDate, CountsFromTheReferenceDate) {
  const double now = static_cast<double>(std::time(nullptr)) - kCFAbsoluteTimeIntervalSince1970;
  EXPECT_NEAR(CFAbsoluteTimeGetCurrent(), now, 2.0);
  std::tm reference{};
  reference.tm_year = 101;
  reference.tm_mday = 1;
  EXPECT_EQ(static_cast<double>(timegm(&reference)), kCFAbsoluteTimeIntervalSince1970);
}
