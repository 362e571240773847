#include "platform/CoreFoundation/CFType.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include "platform/CoreFoundation/CFRuntime.h"
#include "tests/support/CFUnits.h"

namespace {

using test::CFOwned;
using test::TakeUnits;

std::atomic<int> living = 0;

CFTypeID ProbeTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFTypeTestProbe");
  return typeID;
}

struct Probe final : CFRuntimeObject {
  Probe() : CFRuntimeObject(ProbeTypeID()) { ++living; }
  ~Probe() override { --living; }
};

// A constant used while this module's statics are made, before main.
const bool trueAtStart = CFBooleanGetValue(kCFBooleanTrue) != 0;
const CFTypeID nullTypeAtStart = CFGetTypeID(kCFNull);

TEST(CFType, CountsReferences) {
  const Probe* probe = new Probe;
  EXPECT_EQ(CFGetRetainCount(probe), 1);
  EXPECT_EQ(CFRetain(probe), probe);
  EXPECT_EQ(CFGetRetainCount(probe), 2);
  CFRelease(probe);
  EXPECT_EQ(CFGetRetainCount(probe), 1);
  EXPECT_EQ(living, 1);
  CFRelease(probe);
  EXPECT_EQ(living, 0);
}

TEST(CFType, CountsAcrossThreads) {
  const Probe* probe = new Probe;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    CFRetain(probe);
    threads.emplace_back([probe] {
      for (int i = 0; i < 5000; ++i) {
        CFRetain(probe);
        CFRelease(probe);
      }
      CFRelease(probe);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(CFGetRetainCount(probe), 1);
  CFRelease(probe);
  EXPECT_EQ(living, 0);
}

TEST(CFType, TheLastReleaseMayHappenOnAnyThread) {
  for (int i = 0; i < 50; ++i) {
    const Probe* probe = new Probe;
    CFRetain(probe);
    std::thread other([probe] { CFRelease(probe); });
    CFRelease(probe);
    other.join();
    EXPECT_EQ(living, 0);
  }
}

TEST(CFType, ToleratesNull) {
  EXPECT_EQ(CFRetain(nullptr), nullptr);
  CFRelease(nullptr);
  EXPECT_EQ(CFGetRetainCount(nullptr), 0);
  EXPECT_EQ(CFGetTypeID(nullptr), 0U);
  EXPECT_EQ(CFHash(nullptr), 0U);
  EXPECT_EQ(CFCopyDescription(nullptr), nullptr);
  EXPECT_TRUE(CFEqual(nullptr, nullptr));
  EXPECT_FALSE(CFEqual(nullptr, kCFNull));
  EXPECT_FALSE(CFEqual(kCFNull, nullptr));
}

TEST(CFType, IdentifiersDifferAndStay) {
  const std::vector<CFTypeID> first = {
      CFStringGetTypeID(),     CFNumberGetTypeID(),    CFBooleanGetTypeID(), CFNullGetTypeID(),
      CFArrayGetTypeID(),      CFDataGetTypeID(),      CFSetGetTypeID(),     CFBagGetTypeID(),
      CFDictionaryGetTypeID(), CFAllocatorGetTypeID(), ProbeTypeID()};
  EXPECT_EQ(std::set<CFTypeID>(first.begin(), first.end()).size(), first.size());
  EXPECT_EQ(std::set<CFTypeID>(first.begin(), first.end()).count(0), 0U);
  EXPECT_EQ(CFStringGetTypeID(), first[0]);
  EXPECT_EQ(ProbeTypeID(), first.back());
}

TEST(CFType, NamesTypes) {
  EXPECT_EQ(TakeUnits(CFCopyTypeIDDescription(CFStringGetTypeID())), u"CFString");
  EXPECT_EQ(TakeUnits(CFCopyTypeIDDescription(CFDictionaryGetTypeID())), u"CFDictionary");
  EXPECT_EQ(TakeUnits(CFCopyTypeIDDescription(ProbeTypeID())), u"CFTypeTestProbe");
  EXPECT_EQ(TakeUnits(CFCopyTypeIDDescription(0)), u"Not A Type");
  EXPECT_EQ(TakeUnits(CFCopyTypeIDDescription(0xFFFFFFFF)), u"Not A Type");
}

TEST(CFType, DescribesObjectsWithoutADescriptionOfTheirOwn) {
  const CFOwned<const Probe*> probe(new Probe);
  const std::u16string text = TakeUnits(CFCopyDescription(probe.get()));
  EXPECT_TRUE(text.starts_with(u"<CFTypeTestProbe 0x"));
  EXPECT_TRUE(text.ends_with(u" [0x0]>"));
  EXPECT_TRUE(TakeUnits(CFCopyDescription(kCFNull)).starts_with(u"<CFNull 0x"));
}

TEST(CFType, EqualityIsIdentityUnlessTheTypeKnowsBetter) {
  const CFOwned<const Probe*> a(new Probe);
  const CFOwned<const Probe*> b(new Probe);
  EXPECT_TRUE(CFEqual(a.get(), a.get()));
  EXPECT_FALSE(CFEqual(a.get(), b.get()));
  EXPECT_FALSE(CFEqual(a.get(), CFSTR("a")));
}

TEST(CFType, ShowWritesTheDescription) {
  testing::internal::CaptureStderr();
  CFShow(nullptr);
  CFShow(kCFBooleanTrue);
  const std::string text = testing::internal::GetCapturedStderr();
  EXPECT_TRUE(text.starts_with("(null)\n<CFBoolean 0x"));
  EXPECT_TRUE(text.ends_with(">{value = true}\n"));
}

TEST(CFType, ConstantsAreThereBeforeMain) {
  EXPECT_TRUE(trueAtStart);
  EXPECT_EQ(nullTypeAtStart, CFNullGetTypeID());
}

TEST(CFType, TypesMayBeRegisteredFromSeveralThreads) {
  std::vector<CFTypeID> ids(8);
  std::vector<std::thread> threads;
  for (CFTypeID& id : ids) {
    threads.emplace_back([&id] {
      id = CFRuntimeRegisterType("CFThreadedProbe");
      for (int i = 0; i < 100; ++i) CFRelease(CFCopyTypeIDDescription(id));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::set<CFTypeID>(ids.begin(), ids.end()).size(), ids.size());
}

TEST(CFAllocator, ContextFunctionsAreCalled) {
  struct Log {
    int allocated = 0;
    int freed = 0;
    int retained = 0;
    int released = 0;
  } log;
  CFAllocatorContext context{};
  context.info = &log;
  context.retain = [](const void* info) {
    ++static_cast<Log*>(const_cast<void*>(info))->retained;
    return info;
  };
  context.release = [](const void* info) {
    ++static_cast<Log*>(const_cast<void*>(info))->released;
  };
  context.allocate = [](CFIndex size, CFOptionFlags, void* info) -> void* {
    ++static_cast<Log*>(info)->allocated;
    return ::operator new(static_cast<std::size_t>(size));
  };
  context.deallocate = [](void* ptr, void* info) {
    ++static_cast<Log*>(info)->freed;
    ::operator delete(ptr);
  };
  CFAllocatorRef allocator = CFAllocatorCreate(kCFAllocatorDefault, &context);
  void* block = CFAllocatorAllocate(allocator, 8, 0);
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(CFAllocatorReallocate(allocator, block, 16, 0), nullptr) << "has no reallocate";
  CFAllocatorDeallocate(allocator, block);
  CFAllocatorDeallocate(allocator, nullptr);
  EXPECT_EQ(CFAllocatorAllocate(allocator, 0, 0), nullptr);
  EXPECT_EQ(CFAllocatorAllocate(allocator, -1, 0), nullptr);
  CFRelease(allocator);
  EXPECT_EQ(log.allocated, 1);
  EXPECT_EQ(log.freed, 1);
  EXPECT_EQ(log.retained, 1);
  EXPECT_EQ(log.released, 1);
  EXPECT_EQ(CFAllocatorCreate(kCFAllocatorDefault, nullptr), nullptr);
}

TEST(CFAllocator, DefaultAndMallocAreTheHeapNullIsNothing) {
  for (const CFAllocatorRef allocator : {kCFAllocatorDefault, kCFAllocatorMalloc}) {
    auto* block = static_cast<char*>(CFAllocatorAllocate(allocator, 4, 0));
    ASSERT_NE(block, nullptr);
    block[3] = 'x';
    block = static_cast<char*>(CFAllocatorReallocate(allocator, block, 4000, 0));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[3], 'x');
    EXPECT_EQ(CFAllocatorReallocate(allocator, block, 0, 0), nullptr);
    void* fresh = CFAllocatorReallocate(allocator, nullptr, 4, 0);
    EXPECT_NE(fresh, nullptr);
    CFAllocatorDeallocate(allocator, fresh);
  }
  EXPECT_EQ(CFAllocatorAllocate(kCFAllocatorNull, 4, 0), nullptr);
  int local = 0;
  CFAllocatorDeallocate(kCFAllocatorNull, &local);
  CFRelease(kCFAllocatorNull);
  EXPECT_EQ(CFGetTypeID(kCFAllocatorNull), CFAllocatorGetTypeID());
}

}  // namespace
