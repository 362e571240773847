#include "sdk/CoreX/CFTypeRefClass.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "sdk/CoreX/T_CFString.h"

namespace {

using testing::HasSubstr;

TEST(ConvertToText, GivesAStringsText) {
  std::string out = "old";
  EXPECT_TRUE(CFTypeRefClass::ConvertTo(CFSTR("gr\xC3\xBC\xC3\x9F"), out));
  EXPECT_EQ(out, "gr\xC3\xBC\xC3\x9F");
}

TEST(ConvertToText, EmptiesTheOutputForAnEmptyString) {
  std::string out = "old";
  EXPECT_FALSE(CFTypeRefClass::ConvertTo(CFSTR(""), out));
  EXPECT_EQ(out, "");
}

TEST(ConvertToText, LeavesTheOutputAloneForNull) {
  std::string out = "old";
  EXPECT_FALSE(CFTypeRefClass::ConvertTo(nullptr, out));
  EXPECT_EQ(out, "old");
}

TEST(ConvertToText, DescribesEveryOtherObject) {
  const SInt32 value = 31337;
  CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &value);
  std::string out;
  EXPECT_TRUE(CFTypeRefClass::ConvertTo(number, out));
  std::string description;
  EXPECT_TRUE(CFTypeRefClass::GetDescription(number, description));
  EXPECT_EQ(out, description);
  EXPECT_THAT(out, HasSubstr("31337"));
  EXPECT_EQ(CFGetRetainCount(number), 1);
  CFRelease(number);
}

TEST(GetDescription, IsTheObjectsDescription) {
  std::string out;
  EXPECT_TRUE(CFTypeRefClass::GetDescription(kCFBooleanTrue, out));
  const TCFString expected(CFCopyDescription(kCFBooleanTrue), kCFTypeRef_Owned);
  EXPECT_EQ(expected.strcmp(out.c_str()), 0);
}

TEST(GetDescription, FailsForNull) {
  std::string out = "old";
  EXPECT_FALSE(CFTypeRefClass::GetDescription(nullptr, out));
  EXPECT_EQ(out, "");
}

TEST(GetTypeDescription, NamesTheType) {
  std::string out;
  EXPECT_TRUE(CFTypeRefClass::GetTypeDescription(CFStringGetTypeID(), out));
  EXPECT_EQ(out, "CFString");
  EXPECT_TRUE(CFTypeRefClass::GetTypeDescription(CFNumberGetTypeID(), out));
  EXPECT_EQ(out, "CFNumber");
}

}  // namespace
