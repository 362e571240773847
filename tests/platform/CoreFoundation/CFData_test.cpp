#include "platform/CoreFoundation/CFData.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/support/CFUnits.h"

namespace {

using test::CFOwned;
using test::TakeUnits;

std::string Bytes(CFDataRef data) {
  return {reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
          static_cast<std::size_t>(CFDataGetLength(data))};
}

CFDataRef Make(const std::string& bytes) {
  return CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                      static_cast<CFIndex>(bytes.size()));
}

void Append(CFMutableDataRef data, const std::string& bytes) {
  CFDataAppendBytes(data, reinterpret_cast<const UInt8*>(bytes.data()),
                    static_cast<CFIndex>(bytes.size()));
}

TEST(CFData, CopiesItsBytes) {
  std::string source("\x00\x01\xFFz", 4);
  const CFOwned<CFDataRef> data(Make(source));
  source.assign(4, '.');
  EXPECT_EQ(Bytes(data), std::string("\x00\x01\xFFz", 4));
  EXPECT_EQ(CFGetTypeID(data), CFDataGetTypeID());
}

TEST(CFData, RefusesBadBuffers) {
  const UInt8 byte = 0;
  EXPECT_EQ(CFDataCreate(nullptr, &byte, -1), nullptr);
  EXPECT_EQ(CFDataCreate(nullptr, nullptr, 1), nullptr);
  EXPECT_EQ(CFDataCreateWithBytesNoCopy(nullptr, nullptr, 1, nullptr), nullptr);
  const CFOwned<CFDataRef> empty(CFDataCreate(nullptr, nullptr, 0));
  EXPECT_EQ(CFDataGetLength(empty), 0);
  EXPECT_NE(CFDataGetBytePtr(empty), nullptr);
  EXPECT_EQ(CFDataGetLength(nullptr), 0);
  EXPECT_EQ(CFDataGetBytePtr(nullptr), nullptr);
}

TEST(CFData, NoCopyUsesTheBufferAndItsDeallocator) {
  auto* heap = static_cast<UInt8*>(std::malloc(3));
  std::memcpy(heap, "abc", 3);
  const CFDataRef freed = CFDataCreateWithBytesNoCopy(nullptr, heap, 3, kCFAllocatorMalloc);
  EXPECT_EQ(CFDataGetBytePtr(freed), heap);
  CFRelease(freed);

  UInt8 local[] = {'x', 'y'};
  const CFOwned<CFDataRef> kept(CFDataCreateWithBytesNoCopy(nullptr, local, 2, kCFAllocatorNull));
  local[0] = 'z';
  EXPECT_EQ(Bytes(kept), "zy");
  // A copy must not follow the borrowed buffer.
  const CFOwned<CFDataRef> copy(CFDataCreateCopy(nullptr, kept));
  local[0] = '-';
  EXPECT_EQ(Bytes(copy), "zy");
}

TEST(CFData, NoCopyCallsACustomDeallocatorOnceAndKeepsIt) {
  int freed = 0;
  CFAllocatorContext context{};
  context.info = &freed;
  context.deallocate = [](void*, void* info) { ++*static_cast<int*>(info); };
  const CFAllocatorRef allocator = CFAllocatorCreate(nullptr, &context);
  UInt8 byte = 1;
  const CFDataRef data = CFDataCreateWithBytesNoCopy(nullptr, &byte, 1, allocator);
  CFRelease(allocator);
  CFRetain(data);
  CFRelease(data);
  EXPECT_EQ(freed, 0);
  CFRelease(data);
  EXPECT_EQ(freed, 1);
}

TEST(CFData, GetBytesIsCutAtTheEnd) {
  const CFOwned<CFDataRef> data(Make("abcdef"));
  UInt8 buffer[8];
  std::memset(buffer, '.', sizeof buffer);
  CFDataGetBytes(data, CFRangeMake(4, 100), buffer);
  EXPECT_EQ(std::memcmp(buffer, "ef......", 8), 0);
  CFDataGetBytes(data, CFRangeMake(-1, 2), buffer);
  CFDataGetBytes(data, CFRangeMake(6, 2), buffer);
  CFDataGetBytes(data, CFRangeMake(2, 0x7FFFFFFF), buffer);
  EXPECT_EQ(std::memcmp(buffer, "cdef....", 8), 0);
}

TEST(CFData, MutableDataGrowsShrinksAndReplaces) {
  const CFOwned<CFMutableDataRef> data(CFDataCreateMutable(nullptr, 0));
  Append(data, "hello");
  CFDataReplaceBytes(data, CFRangeMake(1, 3), reinterpret_cast<const UInt8*>("EYYY"), 4);
  EXPECT_EQ(Bytes(data), "hEYYYo");
  CFDataDeleteBytes(data, CFRangeMake(0, 2));
  EXPECT_EQ(Bytes(data), "YYYo");
  CFDataSetLength(data, 6);
  EXPECT_EQ(Bytes(data), std::string("YYYo\0\0", 6));
  CFDataIncreaseLength(data, 1);
  EXPECT_EQ(CFDataGetLength(data), 7);
  CFDataSetLength(data, 2);
  CFDataGetMutableBytePtr(data)[0] = '!';
  EXPECT_EQ(Bytes(data), "!Y");
  // Its own bytes appended to itself.
  CFDataAppendBytes(data, CFDataGetBytePtr(data), 2);
  EXPECT_EQ(Bytes(data), "!Y!Y");
}

TEST(CFData, WrongChangesChangeNothing) {
  const CFOwned<CFMutableDataRef> data(CFDataCreateMutable(nullptr, 4));
  Append(data, "abcde");
  EXPECT_EQ(CFDataGetLength(data), 0) << "beyond its capacity";
  Append(data, "abcd");
  CFDataSetLength(data, 5);
  CFDataSetLength(data, -1);
  CFDataIncreaseLength(data, -1);
  CFDataIncreaseLength(data, 0x7FFFFFFF);
  CFDataDeleteBytes(data, CFRangeMake(3, 2));
  CFDataDeleteBytes(data, CFRangeMake(-1, 1));
  CFDataReplaceBytes(data, CFRangeMake(0, 1), nullptr, 2);
  CFDataReplaceBytes(data, CFRangeMake(0x7FFFFFFF, 0x7FFFFFFF), nullptr, 0);
  EXPECT_EQ(Bytes(data), "abcd");
  const CFOwned<CFDataRef> fixed(Make("abcd"));
  auto* cheat = const_cast<CFMutableDataRef>(fixed.get());
  Append(cheat, "x");
  CFDataSetLength(cheat, 1);
  EXPECT_EQ(CFDataGetMutableBytePtr(cheat), nullptr);
  EXPECT_EQ(Bytes(fixed), "abcd");
  EXPECT_EQ(CFDataCreateMutable(nullptr, -1), nullptr);
  EXPECT_EQ(CFDataCreateMutableCopy(nullptr, 3, fixed), nullptr);
  EXPECT_EQ(CFDataCreateMutableCopy(nullptr, 0, nullptr), nullptr);
}

TEST(CFData, CopiesAreIndependent) {
  const CFOwned<CFMutableDataRef> data(CFDataCreateMutable(nullptr, 0));
  Append(data, "ab");
  const CFOwned<CFDataRef> copy(CFDataCreateCopy(nullptr, data));
  const CFOwned<CFMutableDataRef> second(CFDataCreateMutableCopy(nullptr, 0, data));
  Append(data, "c");
  Append(second, "d");
  EXPECT_EQ(Bytes(copy), "ab");
  EXPECT_EQ(Bytes(second), "abd");
  EXPECT_EQ(Bytes(data), "abc");
  EXPECT_EQ(CFDataCreateCopy(nullptr, nullptr), nullptr);
}

TEST(CFData, EqualContentIsEqual) {
  const CFOwned<CFDataRef> a(Make("same"));
  const CFOwned<CFDataRef> b(Make("same"));
  const CFOwned<CFDataRef> c(Make("samE"));
  const CFOwned<CFDataRef> d(Make("same "));
  EXPECT_TRUE(CFEqual(a, b));
  EXPECT_EQ(CFHash(a), CFHash(b));
  EXPECT_FALSE(CFEqual(a, c));
  EXPECT_FALSE(CFEqual(a, d));
}

TEST(CFData, FindsBytes) {
  const CFOwned<CFDataRef> data(Make("abcabc"));
  const CFOwned<CFDataRef> needle(Make("bc"));
  const CFOwned<CFDataRef> head(Make("ab"));
  const CFOwned<CFDataRef> empty(Make(""));
  const CFRange all = CFRangeMake(0, 6);
  const auto find = [&](CFDataRef sought, CFRange range, CFOptionFlags options) {
    return CFDataFind(data, sought, range, static_cast<CFDataSearchFlags>(options)).location;
  };
  EXPECT_EQ(find(needle, all, 0), 1);
  EXPECT_EQ(find(needle, CFRangeMake(2, 4), 0), 4);
  EXPECT_EQ(find(needle, all, kCFDataSearchBackwards), 4);
  EXPECT_EQ(find(needle, all, kCFDataSearchAnchored), kCFNotFound);
  EXPECT_EQ(find(head, all, kCFDataSearchAnchored), 0);
  EXPECT_EQ(find(needle, all, kCFDataSearchAnchored | kCFDataSearchBackwards), 4);
  EXPECT_EQ(find(head, all, kCFDataSearchAnchored | kCFDataSearchBackwards), kCFNotFound);
  EXPECT_EQ(find(empty, all, 0), kCFNotFound);
  EXPECT_EQ(find(needle, CFRangeMake(5, 1), 0), kCFNotFound);
}

TEST(CFData, DescribesLengthAndBytes) {
  const CFOwned<CFDataRef> data(Make(std::string("\x01\xAB\x00", 3)));
  EXPECT_TRUE(TakeUnits(CFCopyDescription(data))
                  .ends_with(u"{length = 3, capacity = 3, bytes = 0x01ab00}"));
  const CFOwned<CFDataRef> longer(Make(std::string(100, '\x11')));
  EXPECT_TRUE(TakeUnits(CFCopyDescription(longer))
                  .ends_with(u"bytes = 0x11111111111111111111111111111111 ... 1111111111111111}"));
}

}  // namespace
