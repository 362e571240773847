// Arrays, dictionaries, sets and bags.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/CFUnits.h"

namespace {

using test::CFOwned;
using test::NewString;
using test::TakeUnits;
using test::Units;

const void* Value(std::uintptr_t number) {
  return reinterpret_cast<const void*>(number);
}

std::u16string Joined(CFArrayRef array) {
  return TakeUnits(CFStringCreateByCombiningStrings(nullptr, array, CFSTR(",")));
}

CFRange All(CFArrayRef array) {
  return CFRangeMake(0, CFArrayGetCount(array));
}

// ---- arrays ----

TEST(CFArray, RetainsAndReleasesItsValues) {
  const CFOwned<CFStringRef> string(NewString(u"value"));
  const void* values[] = {string, string};
  {
    const CFOwned<CFArrayRef> array(CFArrayCreate(nullptr, values, 2, &kCFTypeArrayCallBacks));
    EXPECT_EQ(CFGetRetainCount(string), 3);
    const CFOwned<CFArrayRef> copy(CFArrayCreateCopy(nullptr, array));
    const CFOwned<CFMutableArrayRef> other(CFArrayCreateMutableCopy(nullptr, 0, array));
    EXPECT_EQ(CFGetRetainCount(string), 7);
    CFArrayRemoveValueAtIndex(other, 0);
    EXPECT_EQ(CFGetRetainCount(string), 6);
    CFArraySetValueAtIndex(other, 0, string);
    EXPECT_EQ(CFGetRetainCount(string), 6);
    CFArrayRemoveAllValues(other);
    EXPECT_EQ(CFGetRetainCount(string), 5);
    EXPECT_EQ(CFArrayGetTypeID(), CFGetTypeID(array));
  }
  EXPECT_EQ(CFGetRetainCount(string), 1);
}

TEST(CFArray, WithoutCallBacksHoldsPlainPointers) {
  const void* values[] = {Value(1), Value(2), Value(1)};
  const CFOwned<CFArrayRef> array(CFArrayCreate(nullptr, values, 3, nullptr));
  EXPECT_EQ(CFArrayGetValueAtIndex(array, 1), Value(2));
  EXPECT_EQ(CFArrayGetValueAtIndex(array, 3), nullptr);
  EXPECT_EQ(CFArrayGetValueAtIndex(array, -1), nullptr);
  EXPECT_EQ(CFArrayGetCountOfValue(array, All(array), Value(1)), 2);
  EXPECT_EQ(CFArrayGetFirstIndexOfValue(array, All(array), Value(1)), 0);
  EXPECT_EQ(CFArrayGetLastIndexOfValue(array, All(array), Value(1)), 2);
  EXPECT_EQ(CFArrayGetFirstIndexOfValue(array, CFRangeMake(1, 1), Value(1)), kCFNotFound);
  EXPECT_EQ(CFArrayGetLastIndexOfValue(array, CFRangeMake(0, 2), Value(9)), kCFNotFound);
  EXPECT_TRUE(CFArrayContainsValue(array, All(array), Value(2)));
  EXPECT_FALSE(CFArrayContainsValue(array, CFRangeMake(0, 1), Value(2)));
  const void* got[3] = {};
  CFArrayGetValues(array, CFRangeMake(1, 100), got);
  EXPECT_EQ(got[0], Value(2));
  EXPECT_EQ(got[2], nullptr);
  EXPECT_TRUE(TakeUnits(CFCopyDescription(array)).find(u"\t1 : <0x2>\n") != std::u16string::npos);
}

TEST(CFArray, RefusesBadArguments) {
  const void* value = Value(1);
  EXPECT_EQ(CFArrayCreate(nullptr, &value, -1, nullptr), nullptr);
  EXPECT_EQ(CFArrayCreate(nullptr, nullptr, 1, nullptr), nullptr);
  EXPECT_EQ(CFArrayCreateCopy(nullptr, nullptr), nullptr);
  EXPECT_EQ(CFArrayGetCount(nullptr), 0);
  EXPECT_EQ(CFArrayGetValueAtIndex(nullptr, 0), nullptr);
  EXPECT_EQ(CFArrayGetCount(reinterpret_cast<CFArrayRef>(CFSTR("x"))), 0);
}

TEST(CFArray, Changes) {
  const CFOwned<CFMutableArrayRef> array(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
  CFArrayAppendValue(array, CFSTR("b"));
  CFArrayInsertValueAtIndex(array, 0, CFSTR("a"));
  CFArrayInsertValueAtIndex(array, 2, CFSTR("d"));
  CFArraySetValueAtIndex(array, 3, CFSTR("e"));
  CFArraySetValueAtIndex(array, 2, CFSTR("c"));
  EXPECT_EQ(Joined(array), u"a,b,c,e");
  CFArrayExchangeValuesAtIndices(array, 0, 3);
  EXPECT_EQ(Joined(array), u"e,b,c,a");
  CFArrayAppendArray(array, array, CFRangeMake(1, 2));
  EXPECT_EQ(Joined(array), u"e,b,c,a,b,c");
  const void* replacement[] = {CFSTR("X")};
  CFArrayReplaceValues(array, CFRangeMake(0, 3), replacement, 1);
  EXPECT_EQ(Joined(array), u"X,a,b,c");
  CFArrayInsertValueAtIndex(array, 5, CFSTR("?"));
  CFArraySetValueAtIndex(array, 5, CFSTR("?"));
  CFArrayRemoveValueAtIndex(array, 4);
  CFArrayRemoveValueAtIndex(array, -1);
  CFArrayExchangeValuesAtIndices(array, 0, 4);
  CFArrayReplaceValues(array, CFRangeMake(3, 2), replacement, 1);
  CFArrayReplaceValues(array, CFRangeMake(0, 1), nullptr, 1);
  CFArrayReplaceValues(array, CFRangeMake(0x7FFFFFFF, 0x7FFFFFFF), nullptr, 0);
  EXPECT_EQ(Joined(array), u"X,a,b,c") << "out of range changes nothing";
}

TEST(CFArray, ImmutableOnesStay) {
  const void* values[] = {CFSTR("a")};
  const CFOwned<CFArrayRef> array(CFArrayCreate(nullptr, values, 1, &kCFTypeArrayCallBacks));
  auto* cheat = const_cast<CFMutableArrayRef>(array.get());
  CFArrayAppendValue(cheat, CFSTR("b"));
  CFArrayRemoveAllValues(cheat);
  CFArrayAppendArray(cheat, array, All(array));
  CFArraySortValues(cheat, All(array), nullptr, nullptr);
  EXPECT_EQ(Joined(array), u"a");
}

CFComparisonResult CompareStrings(const void* a, const void* b, void* context) {
  ++*static_cast<int*>(context);
  return CFStringCompare(static_cast<CFStringRef>(a), static_cast<CFStringRef>(b),
                         kCFCompareCaseInsensitive);
}

TEST(CFArray, SortsStablyAndSearches) {
  const CFOwned<CFMutableArrayRef> array(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
  for (const char* text : {"z", "b", "A", "a", "C"}) {
    CFArrayAppendValue(array, __CFStringMakeConstantString(text));
  }
  int calls = 0;
  CFArraySortValues(array, CFRangeMake(1, 4), CompareStrings, &calls);
  EXPECT_EQ(Joined(array), u"z,A,a,b,C");
  EXPECT_GT(calls, 0);
  EXPECT_EQ(CFArrayBSearchValues(array, CFRangeMake(1, 4), CFSTR("B"), CompareStrings, &calls), 3);
  EXPECT_EQ(CFArrayBSearchValues(array, CFRangeMake(1, 4), CFSTR("x"), CompareStrings, &calls), 5);
  EXPECT_EQ(CFArrayBSearchValues(array, CFRangeMake(1, 4), CFSTR("0"), CompareStrings, &calls), 1);
}

TEST(CFArray, AppliesInOrder) {
  const void* values[] = {Value(1), Value(2), Value(3)};
  const CFOwned<CFArrayRef> array(CFArrayCreate(nullptr, values, 3, nullptr));
  std::vector<const void*> seen;
  CFArrayApplyFunction(
      array, CFRangeMake(1, 2),
      [](const void* value, void* context) {
        static_cast<std::vector<const void*>*>(context)->push_back(value);
      },
      &seen);
  EXPECT_EQ(seen, (std::vector<const void*>{Value(2), Value(3)}));
}

TEST(CFArray, EqualityComparesValues) {
  const CFOwned<CFStringRef> one(NewString(u"x"));
  const CFOwned<CFStringRef> two(NewString(u"x"));
  const void* a[] = {one};
  const void* b[] = {two};
  const CFOwned<CFArrayRef> first(CFArrayCreate(nullptr, a, 1, &kCFTypeArrayCallBacks));
  const CFOwned<CFArrayRef> second(CFArrayCreate(nullptr, b, 1, &kCFTypeArrayCallBacks));
  const CFOwned<CFArrayRef> plain(CFArrayCreate(nullptr, a, 1, nullptr));
  const CFOwned<CFArrayRef> empty(CFArrayCreate(nullptr, a, 0, &kCFTypeArrayCallBacks));
  EXPECT_TRUE(CFEqual(first, second));
  EXPECT_EQ(CFHash(first), CFHash(second));
  EXPECT_FALSE(CFEqual(first, plain));
  EXPECT_FALSE(CFEqual(first, empty));
}

TEST(CFArray, DescribesItsValues) {
  const void* values[] = {kCFBooleanTrue};
  const CFOwned<CFArrayRef> array(CFArrayCreate(nullptr, values, 1, &kCFTypeArrayCallBacks));
  const std::u16string text = TakeUnits(CFCopyDescription(array));
  EXPECT_TRUE(text.starts_with(u"<CFArray 0x"));
  EXPECT_TRUE(text.find(u"[0x0]>{type = immutable, count = 1, values = (\n\t0 : <CFBoolean 0x") !=
              std::u16string::npos);
  EXPECT_TRUE(text.ends_with(u"{value = true}\n)}"));
}

TEST(CFArray, DescriptionOfACycleEnds) {
  const CFMutableArrayRef array = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
  CFArrayAppendValue(array, array);
  const std::u16string text = TakeUnits(CFCopyDescription(array));
  EXPECT_TRUE(text.find(u"...") != std::u16string::npos);
  EXPECT_LT(text.size(), 100000U);
  CFArrayRemoveAllValues(array);
  CFRelease(array);
}

// ---- dictionaries ----

TEST(CFDictionary, KeepsTheOrderInWhichKeysCameIn) {
  const CFOwned<CFMutableDictionaryRef> dictionary(CFDictionaryCreateMutable(
      nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  const std::vector<std::string> names = {"zulu", "alpha", "mike", "bravo"};
  for (const std::string& name : names) {
    CFDictionarySetValue(dictionary, __CFStringMakeConstantString(name.c_str()), kCFBooleanTrue);
  }
  CFDictionarySetValue(dictionary, CFSTR("alpha"), kCFBooleanFalse);
  const auto order = [&] {
    std::u16string joined;
    CFDictionaryApplyFunction(
        dictionary,
        [](const void* key, const void*, void* context) {
          *static_cast<std::u16string*>(context) += Units(static_cast<CFStringRef>(key)) + u" ";
        },
        &joined);
    return joined;
  };
  EXPECT_EQ(order(), u"zulu alpha mike bravo ");
  CFDictionaryRemoveValue(dictionary, CFSTR("alpha"));
  CFDictionaryAddValue(dictionary, CFSTR("alpha"), kCFBooleanTrue);
  EXPECT_EQ(order(), u"zulu mike bravo alpha ");
  const void* keys[4];
  const void* values[4];
  CFDictionaryGetKeysAndValues(dictionary, keys, values);
  EXPECT_EQ(keys[0], CFSTR("zulu"));
  EXPECT_EQ(keys[3], CFSTR("alpha"));
  EXPECT_EQ(values[3], kCFBooleanTrue);
  CFDictionaryGetKeysAndValues(dictionary, keys, nullptr);
  CFDictionaryGetKeysAndValues(dictionary, nullptr, values);
}

TEST(CFDictionary, AddSetReplaceAndRemove) {
  const CFOwned<CFMutableDictionaryRef> dictionary(
      CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr));
  CFDictionaryReplaceValue(dictionary, Value(1), Value(9));
  EXPECT_EQ(CFDictionaryGetCount(dictionary), 0);
  CFDictionaryAddValue(dictionary, Value(1), Value(10));
  CFDictionaryAddValue(dictionary, Value(1), Value(11));
  EXPECT_EQ(CFDictionaryGetValue(dictionary, Value(1)), Value(10));
  CFDictionarySetValue(dictionary, Value(1), Value(12));
  EXPECT_EQ(CFDictionaryGetValue(dictionary, Value(1)), Value(12));
  CFDictionaryReplaceValue(dictionary, Value(1), Value(13));
  EXPECT_EQ(CFDictionaryGetValue(dictionary, Value(1)), Value(13));
  CFDictionarySetValue(dictionary, Value(2), nullptr);
  const void* value = Value(5);
  EXPECT_TRUE(CFDictionaryGetValueIfPresent(dictionary, Value(2), &value));
  EXPECT_EQ(value, nullptr);
  EXPECT_FALSE(CFDictionaryGetValueIfPresent(dictionary, Value(3), &value));
  EXPECT_TRUE(CFDictionaryGetValueIfPresent(dictionary, Value(1), nullptr));
  EXPECT_TRUE(CFDictionaryContainsKey(dictionary, Value(2)));
  EXPECT_EQ(CFDictionaryGetCountOfKey(dictionary, Value(2)), 1);
  EXPECT_EQ(CFDictionaryGetCountOfKey(dictionary, Value(3)), 0);
  EXPECT_TRUE(CFDictionaryContainsValue(dictionary, Value(13)));
  EXPECT_FALSE(CFDictionaryContainsValue(dictionary, Value(12)));
  CFDictionaryRemoveValue(dictionary, Value(3));
  CFDictionaryRemoveValue(dictionary, Value(1));
  EXPECT_EQ(CFDictionaryGetCount(dictionary), 1);
  CFDictionaryRemoveAllValues(dictionary);
  EXPECT_EQ(CFDictionaryGetCount(dictionary), 0);
  EXPECT_EQ(CFDictionaryGetValue(dictionary, Value(2)), nullptr);
  CFDictionaryAddValue(dictionary, Value(4), Value(5));
  EXPECT_EQ(CFDictionaryGetValue(dictionary, Value(4)), Value(5));
}

TEST(CFDictionary, FindsKeysByValueAndRetainsOnce) {
  const CFOwned<CFStringRef> key(NewString(u"key"));
  const CFOwned<CFStringRef> same(NewString(u"key"));
  const CFOwned<CFStringRef> value(NewString(u"value"));
  const void* keys[] = {key, same};
  const void* values[] = {value, kCFNull};
  {
    const CFOwned<CFDictionaryRef> dictionary(CFDictionaryCreate(nullptr, keys, values, 2,
                                                                 &kCFTypeDictionaryKeyCallBacks,
                                                                 &kCFTypeDictionaryValueCallBacks));
    EXPECT_EQ(CFDictionaryGetCount(dictionary), 1) << "the first of equal keys stays";
    EXPECT_EQ(CFDictionaryGetValue(dictionary, same), value.get());
    const void* held = nullptr;
    EXPECT_TRUE(CFDictionaryGetKeyIfPresent(dictionary, same, &held));
    EXPECT_EQ(held, key.get());
    EXPECT_FALSE(CFDictionaryGetKeyIfPresent(dictionary, value, &held));
    EXPECT_EQ(CFGetRetainCount(key), 2);
    EXPECT_EQ(CFGetRetainCount(same), 1);
    EXPECT_EQ(CFGetRetainCount(value), 2);
    const CFOwned<CFMutableDictionaryRef> copy(
        CFDictionaryCreateMutableCopy(nullptr, 0, dictionary));
    EXPECT_EQ(CFGetRetainCount(value), 3);
    CFDictionarySetValue(copy, same, value);
    EXPECT_EQ(CFGetRetainCount(value), 3);
    CFDictionaryRemoveValue(copy, same);
    EXPECT_EQ(CFGetRetainCount(value), 2);
    EXPECT_EQ(CFGetRetainCount(key), 2);
  }
  EXPECT_EQ(CFGetRetainCount(key), 1);
  EXPECT_EQ(CFGetRetainCount(value), 1);
}

TEST(CFDictionary, MayCopyStringKeys) {
  const CFOwned<CFMutableDictionaryRef> dictionary(CFDictionaryCreateMutable(
      nullptr, 0, &kCFCopyStringDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  const CFOwned<CFMutableStringRef> key(CFStringCreateMutableCopy(nullptr, 0, CFSTR("key")));
  CFDictionarySetValue(dictionary, key, kCFBooleanTrue);
  CFStringAppend(key, CFSTR("changed"));
  EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("key")), kCFBooleanTrue);
  CFDictionarySetValue(dictionary, kCFNull, kCFBooleanFalse);
  EXPECT_EQ(CFDictionaryGetValue(dictionary, kCFNull), kCFBooleanFalse);
}

TEST(CFDictionary, EqualityIgnoresOrder) {
  const void* keys[] = {CFSTR("a"), CFSTR("b")};
  const void* keysTurned[] = {CFSTR("b"), CFSTR("a")};
  const void* values[] = {kCFBooleanTrue, kCFBooleanFalse};
  const void* valuesTurned[] = {kCFBooleanFalse, kCFBooleanTrue};
  const auto make = [](const void** someKeys, const void** someValues) {
    return CFOwned<CFDictionaryRef>(CFDictionaryCreate(nullptr, someKeys, someValues, 2,
                                                       &kCFTypeDictionaryKeyCallBacks,
                                                       &kCFTypeDictionaryValueCallBacks));
  };
  const auto first = make(keys, values);
  EXPECT_TRUE(CFEqual(first, make(keysTurned, valuesTurned)));
  EXPECT_EQ(CFHash(first), CFHash(make(keysTurned, valuesTurned)));
  EXPECT_FALSE(CFEqual(first, make(keysTurned, values)));
  const void* otherKeys[] = {CFSTR("a"), CFSTR("c")};
  EXPECT_FALSE(CFEqual(first, make(otherKeys, values)));
  const std::u16string text = TakeUnits(CFCopyDescription(first));
  EXPECT_TRUE(text.find(u"{type = immutable, count = 2, pairs = (\n\t0 : <CFString 0x") !=
              std::u16string::npos);
  EXPECT_TRUE(text.find(u"{contents = \"a\"} = <CFBoolean 0x") != std::u16string::npos);
  const CFOwned<CFDictionaryRef> copy(CFDictionaryCreateCopy(nullptr, first));
  EXPECT_TRUE(CFEqual(first, copy));
}

TEST(CFDictionary, RefusesBadArgumentsAndImmutableOnesStay) {
  const void* keys[] = {Value(1)};
  EXPECT_EQ(CFDictionaryCreate(nullptr, keys, keys, -1, nullptr, nullptr), nullptr);
  EXPECT_EQ(CFDictionaryCreate(nullptr, nullptr, keys, 1, nullptr, nullptr), nullptr);
  EXPECT_EQ(CFDictionaryCreate(nullptr, keys, nullptr, 1, nullptr, nullptr), nullptr);
  EXPECT_EQ(CFDictionaryCreateCopy(nullptr, nullptr), nullptr);
  EXPECT_EQ(CFDictionaryGetCount(nullptr), 0);
  EXPECT_EQ(CFDictionaryGetValue(nullptr, Value(1)), nullptr);
  const CFOwned<CFDictionaryRef> fixed(
      CFDictionaryCreate(nullptr, keys, keys, 1, nullptr, nullptr));
  auto* cheat = const_cast<CFMutableDictionaryRef>(fixed.get());
  CFDictionarySetValue(cheat, Value(2), Value(2));
  CFDictionaryAddValue(cheat, Value(2), Value(2));
  CFDictionaryReplaceValue(cheat, Value(1), Value(2));
  CFDictionaryRemoveValue(cheat, Value(1));
  CFDictionaryRemoveAllValues(cheat);
  EXPECT_EQ(CFDictionaryGetCount(fixed), 1);
  EXPECT_EQ(CFDictionaryGetValue(fixed, Value(1)), Value(1));
}

TEST(CFDictionary, KeysOfOneHashAreToldApart) {
  CFDictionaryKeyCallBacks callBacks{};
  callBacks.equal = [](const void* a, const void* b) -> Boolean {
    return reinterpret_cast<std::uintptr_t>(a) % 100 == reinterpret_cast<std::uintptr_t>(b) % 100;
  };
  // Without a hash function equal keys must still be found.
  const CFOwned<CFMutableDictionaryRef> dictionary(
      CFDictionaryCreateMutable(nullptr, 0, &callBacks, nullptr));
  for (std::uintptr_t i = 1; i <= 50; ++i) {
    CFDictionarySetValue(dictionary, Value(100 + i), Value(i));
  }
  for (std::uintptr_t i = 1; i <= 50; ++i) {
    EXPECT_EQ(CFDictionaryGetValue(dictionary, Value(700 + i)), Value(i));
  }
  EXPECT_FALSE(CFDictionaryContainsKey(dictionary, Value(51)));
}

RC_GTEST_PROP(CFDictionary, BehavesAsAMap,
              (const std::vector<std::pair<bool, UInt8>>& operations)) {
  const CFOwned<CFMutableDictionaryRef> dictionary(
      CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr));
  std::vector<std::pair<std::uintptr_t, std::uintptr_t>> model;
  std::uintptr_t next = 1;
  for (const auto& [isAdding, key] : operations) {
    const auto at = std::find_if(model.begin(), model.end(),
                                 [k = key](const auto& pair) { return pair.first == k; });
    if (isAdding) {
      ++next;
      CFDictionarySetValue(dictionary, Value(key), Value(next));
      if (at != model.end()) {
        at->second = next;
      } else {
        model.emplace_back(key, next);
      }
    } else {
      CFDictionaryRemoveValue(dictionary, Value(key));
      if (at != model.end()) model.erase(at);
    }
  }
  RC_ASSERT(CFDictionaryGetCount(dictionary) == static_cast<CFIndex>(model.size()));
  std::vector<const void*> keys(model.size());
  std::vector<const void*> values(model.size());
  CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
  for (std::size_t i = 0; i < model.size(); ++i) {
    RC_ASSERT((keys[i] == Value(model[i].first)));
    RC_ASSERT((values[i] == Value(model[i].second)));
    RC_ASSERT((CFDictionaryGetValue(dictionary, keys[i]) == values[i]));
  }
}

TEST(CFDictionary, ManyKeysInAndOut) {
  const CFOwned<CFMutableDictionaryRef> dictionary(
      CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr));
  constexpr std::uintptr_t kMany = 50000;
  for (std::uintptr_t i = 1; i <= kMany; ++i)
    CFDictionarySetValue(dictionary, Value(i), Value(2 * i));
  EXPECT_EQ(CFDictionaryGetCount(dictionary), static_cast<CFIndex>(kMany));
  for (std::uintptr_t i = 1; i <= kMany; ++i) {
    ASSERT_EQ(CFDictionaryGetValue(dictionary, Value(i)), Value(2 * i));
  }
  for (std::uintptr_t i = 1; i <= kMany; ++i) CFDictionaryRemoveValue(dictionary, Value(i));
  EXPECT_EQ(CFDictionaryGetCount(dictionary), 0);
}

TEST(CFDictionary, MayBeReadFromSeveralThreads) {
  const CFOwned<CFMutableDictionaryRef> dictionary(CFDictionaryCreateMutable(
      nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  for (int i = 0; i < 100; ++i) {
    const CFOwned<CFNumberRef> number(CFNumberCreate(nullptr, kCFNumberIntType, &i));
    CFDictionarySetValue(dictionary, number, number);
  }
  std::vector<std::thread> threads;
  std::vector<int> hits(4, 0);
  for (int& hit : hits) {
    threads.emplace_back([&hit, &dictionary] {
      for (int i = 0; i < 200; ++i) {
        const CFOwned<CFNumberRef> number(CFNumberCreate(nullptr, kCFNumberIntType, &i));
        const void* value = CFDictionaryGetValue(dictionary, number);
        if (value == nullptr) continue;
        CFRelease(CFRetain(value));
        ++hit;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(hits, (std::vector<int>{100, 100, 100, 100}));
}

// ---- sets and bags ----

TEST(CFSet, HoldsDistinctValues) {
  const CFOwned<CFStringRef> one(NewString(u"x"));
  const CFOwned<CFStringRef> two(NewString(u"x"));
  const void* values[] = {one, two, kCFNull};
  {
    const CFOwned<CFSetRef> set(CFSetCreate(nullptr, values, 3, &kCFTypeSetCallBacks));
    EXPECT_EQ(CFGetTypeID(set), CFSetGetTypeID());
    EXPECT_EQ(CFSetGetCount(set), 2);
    EXPECT_EQ(CFSetGetValue(set, two), one.get());
    EXPECT_EQ(CFSetGetCountOfValue(set, two), 1);
    EXPECT_EQ(CFSetGetCountOfValue(set, kCFBooleanTrue), 0);
    EXPECT_TRUE(CFSetContainsValue(set, kCFNull));
    const void* actual = nullptr;
    EXPECT_TRUE(CFSetGetValueIfPresent(set, two, &actual));
    EXPECT_EQ(actual, one.get());
    EXPECT_FALSE(CFSetGetValueIfPresent(set, kCFBooleanTrue, nullptr));
    const void* all[2];
    CFSetGetValues(set, all);
    EXPECT_EQ(all[0], one.get());
    EXPECT_EQ(all[1], kCFNull);
    EXPECT_EQ(CFGetRetainCount(one), 2);
    EXPECT_EQ(CFGetRetainCount(two), 1);

    const CFOwned<CFMutableSetRef> copy(CFSetCreateMutableCopy(nullptr, 0, set));
    EXPECT_TRUE(CFEqual(set, copy));
    EXPECT_EQ(CFHash(set), CFHash(copy));
    CFSetAddValue(copy, two);
    EXPECT_EQ(CFSetGetValue(copy, two), one.get()) << "adding keeps the old one";
    CFSetSetValue(copy, two);
    EXPECT_EQ(CFSetGetValue(copy, one), two.get()) << "setting takes the new one";
    CFSetReplaceValue(copy, one);
    EXPECT_EQ(CFSetGetValue(copy, two), one.get());
    CFSetReplaceValue(copy, kCFBooleanTrue);
    CFSetSetValue(copy, kCFBooleanTrue);
    EXPECT_EQ(CFSetGetCount(copy), 3);
    EXPECT_FALSE(CFEqual(set, copy));
    CFSetRemoveValue(copy, two);
    CFSetRemoveValue(copy, two);
    EXPECT_EQ(CFSetGetCount(copy), 2);
    CFSetRemoveAllValues(copy);
    EXPECT_EQ(CFSetGetCount(copy), 0);
    const CFOwned<CFSetRef> third(CFSetCreateCopy(nullptr, set));
    EXPECT_TRUE(CFEqual(set, third));
  }
  EXPECT_EQ(CFGetRetainCount(one), 1);
  EXPECT_EQ(CFGetRetainCount(two), 1);
}

TEST(CFSet, RefusesBadArgumentsAndImmutableOnesStay) {
  const void* values[] = {Value(1)};
  EXPECT_EQ(CFSetCreate(nullptr, values, -1, nullptr), nullptr);
  EXPECT_EQ(CFSetCreate(nullptr, nullptr, 1, nullptr), nullptr);
  EXPECT_EQ(CFSetCreateCopy(nullptr, nullptr), nullptr);
  EXPECT_EQ(CFSetGetCount(nullptr), 0);
  const CFOwned<CFSetRef> fixed(CFSetCreate(nullptr, values, 1, nullptr));
  auto* cheat = const_cast<CFMutableSetRef>(fixed.get());
  CFSetAddValue(cheat, Value(2));
  CFSetSetValue(cheat, Value(2));
  CFSetReplaceValue(cheat, Value(1));
  CFSetRemoveValue(cheat, Value(1));
  CFSetRemoveAllValues(cheat);
  EXPECT_EQ(CFSetGetCount(fixed), 1);
  int count = 0;
  CFSetApplyFunction(
      fixed, [](const void*, void* context) { ++*static_cast<int*>(context); }, &count);
  EXPECT_EQ(count, 1);
  EXPECT_TRUE(TakeUnits(CFCopyDescription(fixed))
                  .ends_with(u"{type = immutable, count = 1, values = (\n\t<0x1>\n)}"));
}

TEST(CFBag, CountsOccurrences) {
  const CFOwned<CFStringRef> one(NewString(u"x"));
  const CFOwned<CFStringRef> two(NewString(u"x"));
  const void* values[] = {one, two, kCFNull};
  {
    const CFOwned<CFBagRef> bag(CFBagCreate(nullptr, values, 3, &kCFTypeBagCallBacks));
    EXPECT_EQ(CFGetTypeID(bag), CFBagGetTypeID());
    EXPECT_EQ(CFBagGetCount(bag), 3);
    EXPECT_EQ(CFBagGetCountOfValue(bag, two), 2);
    EXPECT_EQ(CFBagGetCountOfValue(bag, kCFBooleanTrue), 0);
    EXPECT_EQ(CFBagGetValue(bag, two), one.get());
    EXPECT_TRUE(CFBagContainsValue(bag, kCFNull));
    EXPECT_TRUE(CFBagGetValueIfPresent(bag, two, nullptr));
    const void* all[3];
    CFBagGetValues(bag, all);
    EXPECT_EQ(all[0], one.get());
    EXPECT_EQ(all[1], one.get());
    EXPECT_EQ(all[2], kCFNull);
    EXPECT_EQ(CFGetRetainCount(one), 2);

    const CFOwned<CFMutableBagRef> copy(CFBagCreateMutableCopy(nullptr, 0, bag));
    EXPECT_TRUE(CFEqual(bag, copy));
    EXPECT_EQ(CFHash(bag), CFHash(copy));
    CFBagAddValue(copy, two);
    EXPECT_EQ(CFBagGetCountOfValue(copy, one), 3);
    EXPECT_FALSE(CFEqual(bag, copy));
    CFBagSetValue(copy, two);
    EXPECT_EQ(CFBagGetValue(copy, one), two.get());
    EXPECT_EQ(CFBagGetCountOfValue(copy, one), 3);
    CFBagReplaceValue(copy, one);
    CFBagRemoveValue(copy, two);
    EXPECT_EQ(CFBagGetCountOfValue(copy, one), 2);
    EXPECT_EQ(CFBagGetCount(copy), 3);
    CFBagRemoveValue(copy, two);
    CFBagRemoveValue(copy, two);
    CFBagRemoveValue(copy, two);
    EXPECT_EQ(CFBagGetCount(copy), 1);
    CFBagRemoveAllValues(copy);
    EXPECT_EQ(CFBagGetCount(copy), 0);
    CFBagAddValue(copy, one);
    EXPECT_EQ(CFBagGetCount(copy), 1);
  }
  EXPECT_EQ(CFGetRetainCount(one), 1);
  EXPECT_EQ(CFGetRetainCount(two), 1);
}

TEST(CFBag, EqualityCountsAndImmutableOnesStay) {
  const void* twice[] = {Value(1), Value(1), Value(2)};
  const void* other[] = {Value(1), Value(2), Value(2)};
  const CFOwned<CFBagRef> a(CFBagCreate(nullptr, twice, 3, nullptr));
  const CFOwned<CFBagRef> b(CFBagCreate(nullptr, other, 3, nullptr));
  const CFOwned<CFBagRef> c(CFBagCreateCopy(nullptr, a));
  EXPECT_FALSE(CFEqual(a, b));
  EXPECT_TRUE(CFEqual(a, c));
  EXPECT_EQ(CFBagCreate(nullptr, twice, -1, nullptr), nullptr);
  EXPECT_EQ(CFBagCreate(nullptr, nullptr, 1, nullptr), nullptr);
  auto* cheat = const_cast<CFMutableBagRef>(a.get());
  CFBagAddValue(cheat, Value(1));
  CFBagRemoveValue(cheat, Value(1));
  CFBagRemoveAllValues(cheat);
  EXPECT_EQ(CFBagGetCount(a), 3);
  int count = 0;
  CFBagApplyFunction(
      a, [](const void*, void* context) { ++*static_cast<int*>(context); }, &count);
  EXPECT_EQ(count, 3);
  EXPECT_TRUE(TakeUnits(CFCopyDescription(a))
                  .ends_with(u"count = 3, values = (\n\t<0x1> (2)\n\t<0x2> (1)\n)}"));
}

}  // namespace
