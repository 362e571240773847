#include "platform/Foundation/NSValues.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <string>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/Foundation/NSAutoreleasePool.h"
#include "platform/Foundation/Text.h"
#include "tests/support/HermeticHome.h"

namespace {

using lumivane::foundation::Utf8;
using namespace std::string_literals;

class NSValuesTest : public testing::Test {
 protected:
  NSString* File(const std::string& bytes) {
    const auto path = folder_ / "file";
    test::WriteFile(path, bytes);
    return NSString_stringWithUTF8String(path.c_str());
  }
  test::TempFolder folder_;
  NSAutoreleasePool pool_;
};

TEST_F(NSValuesTest, ReadsTextFiles) {
  NSString* const text = NSString_stringWithContentsOfFile(File("gr\xC3\xBC\xC3\x9F\nzwei"));
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(CFStringGetLength(text), 9);
  EXPECT_EQ(Utf8(text), "gr\xC3\xBC\xC3\x9F\nzwei");
  NSString* const empty = NSString_stringWithContentsOfFile(File(""));
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(CFStringGetLength(empty), 0);
}

TEST_F(NSValuesTest, UnderstandsByteOrderMarks) {
  EXPECT_EQ(Utf8(NSString_stringWithContentsOfFile(File("\xEF\xBB\xBF"
                                                        "abc"))),
            "abc");
  EXPECT_EQ(Utf8(NSString_stringWithContentsOfFile(File("\xFF\xFE"
                                                        "a\0b\0"s))),
            "ab");
  EXPECT_EQ(Utf8(NSString_stringWithContentsOfFile(File("\xFE\xFF\0a\0b"s))), "ab");
}

TEST_F(NSValuesTest, TextComesBackAsItsUTF8) {
  const std::string text =
      "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBD\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
  EXPECT_EQ(Utf8(NSString_stringWithUTF8String(text.c_str())), text);
  const UniChar lone[] = {'a', 0xD800, 'b', 0xDC00, 0xD83D};
  NSString* const broken =
      NSAutorelease(CFStringCreateWithCharacters(kCFAllocatorDefault, lone, 5));
  EXPECT_EQ(Utf8(broken),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(Utf8(nullptr), "");
}

TEST_F(NSValuesTest, WhatIsNoTextIsNull) {
  EXPECT_EQ(NSString_stringWithContentsOfFile(File("a\xFF\xC0z")), nullptr);
  EXPECT_EQ(NSString_stringWithUTF8String("\xC3"), nullptr);
  EXPECT_EQ(NSString_stringWithUTF8String(nullptr), nullptr);
}

TEST_F(NSValuesTest, ReadsBytes) {
  const std::string bytes("\0\1\2\xFF", 4);
  NSData* const data = NSData_dataWithContentsOfFile(File(bytes));
  ASSERT_NE(data, nullptr);
  ASSERT_EQ(CFDataGetLength(data), 4);
  EXPECT_EQ(std::memcmp(CFDataGetBytePtr(data), bytes.data(), 4), 0);
}

TEST_F(NSValuesTest, WhatCannotBeReadIsNull) {
  EXPECT_EQ(NSData_dataWithContentsOfFile(nullptr), nullptr);
  EXPECT_EQ(NSString_stringWithContentsOfFile(nullptr), nullptr);
  const auto missing = folder_ / "missing";
  EXPECT_EQ(NSData_dataWithContentsOfFile(NSString_stringWithUTF8String(missing.c_str())), nullptr);
  // Neither a folder nor a pipe without a writer, which must not be waited for.
  EXPECT_EQ(NSData_dataWithContentsOfFile(NSString_stringWithUTF8String(folder_.path().c_str())),
            nullptr);
  const auto pipe = folder_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(NSData_dataWithContentsOfFile(NSString_stringWithUTF8String(pipe.c_str())), nullptr);
}

TEST_F(NSValuesTest, MakesNumbers) {
  double value = 0;
  EXPECT_TRUE(CFNumberGetValue(NSNumber_numberWithDouble(0.1), kCFNumberDoubleType, &value));
  EXPECT_EQ(value, 0.1);
  SInt32 whole = 0;
  EXPECT_TRUE(CFNumberGetValue(NSNumber_numberWithInt(-7), kCFNumberSInt32Type, &whole));
  EXPECT_EQ(whole, -7);
}

TEST_F(NSValuesTest, PairsObjectsAndKeysInOrder) {
  const CFTypeRef objects[] = {CFSTR("one"), CFSTR("two")};
  const CFTypeRef keys[] = {CFSTR("a"), CFSTR("b")};
  NSDictionary* const dictionary = NSDictionary_dictionaryWithObjectsforKeys(
      NSArray_arrayWithObjectscount(objects, 2), NSArray_arrayWithObjectscount(keys, 2));
  ASSERT_NE(dictionary, nullptr);
  EXPECT_EQ(CFDictionaryGetCount(dictionary), 2);
  EXPECT_TRUE(CFEqual(CFDictionaryGetValue(dictionary, CFSTR("a")), CFSTR("one")));
  EXPECT_TRUE(CFEqual(CFDictionaryGetValue(dictionary, CFSTR("b")), CFSTR("two")));
  EXPECT_EQ(NSDictionary_dictionaryWithObjectsforKeys(NSArray_arrayWithObjectscount(objects, 2),
                                                      NSArray_arrayWithObjectscount(keys, 1)),
            nullptr);
  EXPECT_EQ(NSDictionary_dictionaryWithObjectsforKeys(nullptr, nullptr), nullptr);
}

TEST_F(NSValuesTest, ResultsAreAutoreleased) {
  NSNumber* number = nullptr;
  {
    const NSAutoreleasePool inner;
    number = NSNumber_numberWithDouble(12345.678);
    EXPECT_EQ(CFGetRetainCount(number), 1);
    CFRetain(number);
  }
  EXPECT_EQ(CFGetRetainCount(number), 1);
  CFRelease(number);
}

}  // namespace
