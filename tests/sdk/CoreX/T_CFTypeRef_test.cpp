#include "sdk/CoreX/T_CFTypeRef.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "tests/sdk/CoreX/ProbeModule.h"

namespace {

CFNumberRef NewNumber(SInt32 value) {
  return CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &value);
}

CFStringRef NewString(const char* text) {
  return CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8);
}

using StringHolder = T_CFTypeRef<CFStringRef>;

static_assert(!std::is_copy_constructible_v<StringHolder>);
static_assert(!std::is_copy_assignable_v<StringHolder>);
static_assert(sizeof(CFTypeRef_Ownership) == 4);
static_assert(kCFTypeRef_NotOwned == 0 && kCFTypeRef_Owned == 1);

TEST(TCFTypeID, IsThePlatformsIdentifierOfEachType) {
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFStringRef>::sTypeID}, CFStringGetTypeID());
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFNumberRef>::sTypeID}, CFNumberGetTypeID());
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFBooleanRef>::sTypeID}, CFBooleanGetTypeID());
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFArrayRef>::sTypeID}, CFArrayGetTypeID());
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFMutableArrayRef>::sTypeID}, CFArrayGetTypeID());
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFDictionaryRef>::sTypeID}, CFDictionaryGetTypeID());
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFDataRef>::sTypeID}, CFDataGetTypeID());
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFSetRef>::sTypeID}, CFSetGetTypeID());
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFMutableSetRef>::sTypeID}, CFSetGetTypeID());
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFBagRef>::sTypeID}, CFBagGetTypeID());
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFMutableBagRef>::sTypeID}, CFBagGetTypeID());
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFBundleRef>::sTypeID}, CFBundleGetTypeID());
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFURLRef>::sTypeID}, CFURLGetTypeID());
}

TEST(TCFTypeID, IsNoneForAReferenceToAnything) {
  EXPECT_EQ(CFTypeID{T_CFTypeID<CFTypeRef>::sTypeID}, 0U);
}

TEST(TCFTypeRef, StartsEmpty) {
  const StringHolder holder;
  EXPECT_EQ(holder.GetRef(), nullptr);
  EXPECT_EQ(holder.GetOwnership(), kCFTypeRef_NotOwned);
}

TEST(TCFTypeRef, BorrowsWhatItDoesNotOwn) {
  CFStringRef string = NewString("text");
  {
    const StringHolder holder(string, kCFTypeRef_NotOwned);
    EXPECT_EQ(holder.GetRef(), string);
    EXPECT_EQ(CFGetRetainCount(string), 1);
  }
  EXPECT_EQ(CFGetRetainCount(string), 1);
  CFRelease(string);
}

TEST(TCFTypeRef, ReleasesWhatItOwns) {
  CFStringRef string = NewString("text");
  CFRetain(string);
  {
    const StringHolder holder(string, kCFTypeRef_Owned);
    EXPECT_EQ(CFGetRetainCount(string), 2);
  }
  EXPECT_EQ(CFGetRetainCount(string), 1);
  CFRelease(string);
}

TEST(TCFTypeRef, TakesAnyObjectInItsConstructor) {
  CFNumberRef number = NewNumber(3);
  CFRetain(number);
  {
    const StringHolder holder(reinterpret_cast<CFStringRef>(number), kCFTypeRef_Owned);
    EXPECT_EQ(static_cast<CFTypeRef>(holder.GetRef()), number);
  }
  EXPECT_EQ(CFGetRetainCount(number), 1);
  CFRelease(number);
}

TEST(TCFTypeRefConstruct, ReplacesAndReleasesWhatWasHeld) {
  CFStringRef first = NewString("first");
  CFStringRef second = NewString("second");
  CFRetain(first);
  StringHolder holder(first, kCFTypeRef_Owned);
  EXPECT_TRUE(holder.construct(second, kCFTypeRef_NotOwned));
  EXPECT_EQ(CFGetRetainCount(first), 1);
  EXPECT_EQ(holder.GetRef(), second);
  EXPECT_EQ(holder.GetOwnership(), kCFTypeRef_NotOwned);
  holder.destruct();
  EXPECT_EQ(CFGetRetainCount(second), 1);
  CFRelease(first);
  CFRelease(second);
}

TEST(TCFTypeRefConstruct, IsFalseForNull) {
  CFStringRef string = NewString("text");
  CFRetain(string);
  StringHolder holder(string, kCFTypeRef_Owned);
  EXPECT_FALSE(holder.construct(nullptr, kCFTypeRef_Owned));
  EXPECT_EQ(holder.GetRef(), nullptr);
  EXPECT_EQ(CFGetRetainCount(string), 1);
  CFRelease(string);
}

TEST(TCFTypeRefConstruct, ThrowsForAnotherTypeAndKeepsTheObject) {
  CFNumberRef number = NewNumber(3);
  CFRetain(number);
  StringHolder holder;
  EXPECT_THROW(holder.construct(reinterpret_cast<CFStringRef>(number), kCFTypeRef_Owned),
               CFTypeRefClass::TypeException);
  EXPECT_EQ(static_cast<CFTypeRef>(holder.GetRef()), number);
  EXPECT_EQ(holder.GetOwnership(), kCFTypeRef_Owned);
  EXPECT_EQ(CFGetRetainCount(number), 2);
  holder.destruct();
  EXPECT_EQ(CFGetRetainCount(number), 1);
  CFRelease(number);
}

TEST(TCFTypeRefConstruct, TakesEveryObjectWithoutAType) {
  CFNumberRef number = NewNumber(3);
  T_CFTypeRef<CFTypeRef> holder;
  EXPECT_TRUE(holder.construct(number, kCFTypeRef_Owned));
  EXPECT_TRUE(holder.construct(CFSTR("text"), kCFTypeRef_NotOwned));
  EXPECT_FALSE(holder.construct(nullptr, kCFTypeRef_NotOwned));
}

TEST(TCFTypeRefDestruct, LeavesTheCountOfABorrowedObjectAlone) {
  CFStringRef string = NewString("text");
  StringHolder holder(string, kCFTypeRef_NotOwned);
  holder.destruct();
  EXPECT_EQ(holder.GetRef(), nullptr);
  EXPECT_EQ(CFGetRetainCount(string), 1);
  CFRelease(string);
}

TEST(TCFTypeRefDestruct, MayBeCalledTwice) {
  CFStringRef string = NewString("text");
  CFRetain(string);
  StringHolder holder(string, kCFTypeRef_Owned);
  holder.destruct();
  holder.destruct();
  EXPECT_EQ(holder.GetOwnership(), kCFTypeRef_NotOwned);
  EXPECT_EQ(CFGetRetainCount(string), 1);
  CFRelease(string);
}

TEST(ThrowIfNotTypeMatch, ThrowsForNullAndOtherTypes) {
  EXPECT_NO_THROW(CFTypeRefClass::ThrowIfNotTypeMatch(CFSTR("text"), CFStringGetTypeID()));
  EXPECT_NO_THROW(CFTypeRefClass::ThrowIfNotTypeMatch(CFSTR("text"), 0));
  EXPECT_THROW(CFTypeRefClass::ThrowIfNotTypeMatch(CFSTR("text"), CFNumberGetTypeID()),
               CFTypeRefClass::TypeException);
  EXPECT_THROW(CFTypeRefClass::ThrowIfNotTypeMatch(nullptr, CFStringGetTypeID()),
               CFTypeRefClass::TypeException);
  EXPECT_THROW(CFTypeRefClass::ThrowIfNotTypeMatch(nullptr, 0), CFTypeRefClass::TypeException);
}

TEST(TypeException, IsAStandardException) {
  const CFTypeRefClass::TypeException exception;
  const std::exception& base = exception;
  EXPECT_STREQ(base.what(), "CFTypeRefClass::TypeException");
}

TEST(TypeException, IsCaughtByTypeOutsideOfTheModuleThatThrewIt) {
  const test::ProbeModule module;
  EXPECT_THROW(PROBE(module, probe_throw_type_exception), CFTypeRefClass::TypeException);
  EXPECT_THROW(PROBE(module, probe_throw_type_exception), std::exception);
}

}  // namespace
