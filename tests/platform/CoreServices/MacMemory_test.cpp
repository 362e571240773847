#include "platform/CoreServices/MacMemory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

class MacMemory : public testing::Test {
 protected:
  void SetUp() override { before_ = MacMemoryGetCounters(); }
  void TearDown() override {
    const MacMemoryCounters after = MacMemoryGetCounters();
    EXPECT_EQ(after.handles, before_.handles);
    EXPECT_EQ(after.handleBytes, before_.handleBytes);
    EXPECT_EQ(after.pointers, before_.pointers);
    EXPECT_EQ(after.pointerBytes, before_.pointerBytes);
  }
  MacMemoryCounters before_{};
};

std::string Bytes(Handle h) {
  return std::string(*h, static_cast<std::size_t>(GetHandleSize(h)));
}

TEST_F(MacMemory, CountersFollowEveryChangeOfSize) {
  const Handle h = NewHandle(100);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(MacMemoryGetCounters().handles, before_.handles + 1);
  EXPECT_EQ(MacMemoryGetCounters().handleBytes, before_.handleBytes + 100);
  SetHandleSize(h, 40);
  EXPECT_EQ(MacMemoryGetCounters().handleBytes, before_.handleBytes + 40);
  ReallocateHandle(h, 7);
  EXPECT_EQ(MacMemoryGetCounters().handleBytes, before_.handleBytes + 7);
  EmptyHandle(h);
  EXPECT_EQ(MacMemoryGetCounters().handleBytes, before_.handleBytes);
  EXPECT_EQ(MacMemoryGetCounters().handles, before_.handles + 1);
  DisposeHandle(h);
  EXPECT_EQ(MemError(), noErr);
}

TEST_F(MacMemory, ClearBlocksAndSlackAreZeroAndMayBeTouched) {
  for (const Size size : {0, 1, 63, 64, 65, 1000}) {
    const Handle h = NewHandleClear(size);
    const Ptr p = NewPtrClear(size);
    ASSERT_NE(h, nullptr);
    ASSERT_NE(p, nullptr);
    for (Size i = 0; i < size + kMacMemorySlack; ++i) {
      ASSERT_EQ((*h)[i], 0);
      ASSERT_EQ(p[i], 0);
    }
    std::memset(*h, 0x55, static_cast<std::size_t>(size + kMacMemorySlack));
    std::memset(p, 0x55, static_cast<std::size_t>(size + kMacMemorySlack));
    DisposeHandle(h);
    DisposePtr(p);
  }
}

TEST_F(MacMemory, ResizeKeepsWhatBothSizesShare) {
  Handle h = nullptr;
  ASSERT_EQ(PtrToHand("abcdef", &h, 6), noErr);
  SetHandleSize(h, 100000);
  EXPECT_EQ(MemError(), noErr);
  EXPECT_EQ(GetHandleSize(h), 100000);
  EXPECT_EQ(std::memcmp(*h, "abcdef", 6), 0);
  SetHandleSize(h, 3);
  EXPECT_EQ(Bytes(h), "abc");
  SetHandleSize(h, 0);
  EXPECT_EQ(GetHandleSize(h), 0);
  EXPECT_EQ(MemError(), noErr);
  DisposeHandle(h);
}

TEST_F(MacMemory, LockedBlocksStayAtTheirAddress) {
  const Handle h = NewHandle(16);
  HLock(h);
  const Ptr address = *h;
  SetHandleSize(h, 1 << 20);
  EXPECT_EQ(MemError(), memFullErr);
  EXPECT_EQ(*h, address);
  EXPECT_EQ(GetHandleSize(h), 16);
  SetHandleSize(h, 8);
  EXPECT_EQ(MemError(), noErr);
  SetHandleSize(h, 16);  // back within the memory it has
  EXPECT_EQ(MemError(), noErr);
  EXPECT_EQ(*h, address);
  MoveHHi(h);
  EXPECT_EQ(MemError(), memLockedErr);
  EmptyHandle(h);
  EXPECT_EQ(MemError(), memLockedErr);
  ReallocateHandle(h, 5);
  EXPECT_EQ(MemError(), memLockedErr);
  EXPECT_EQ(GetHandleSize(h), 16);
  HLock(h);
  HUnlock(h);
  SetHandleSize(h, 1 << 20);
  EXPECT_EQ(MemError(), noErr);
  DisposeHandle(h);
}

TEST_F(MacMemory, StateBits) {
  const Handle h = NewHandle(1);
  EXPECT_EQ(HGetState(h), 0);
  HLock(h);
  EXPECT_EQ(static_cast<UInt8>(HGetState(h)), 0x80);
  HPurge(h);
  HSetRBit(h);
  const SInt8 all = HGetState(h);
  EXPECT_EQ(static_cast<UInt8>(all), 0xE0);
  HUnlock(h);
  HNoPurge(h);
  EXPECT_EQ(static_cast<UInt8>(HGetState(h)), 0x20);
  HClrRBit(h);
  EXPECT_EQ(HGetState(h), 0);
  HSetState(h, static_cast<SInt8>(0xFF));
  EXPECT_EQ(HGetState(h), all);
  HSetState(h, 0);
  EXPECT_EQ(HGetState(h), 0);
  DisposeHandle(h);
}

TEST_F(MacMemory, Copies) {
  Handle h = nullptr;
  ASSERT_EQ(PtrToHand("one", &h, 3), noErr);
  Handle copy = h;
  ASSERT_EQ(HandToHand(&copy), noErr);
  EXPECT_NE(copy, h);
  EXPECT_EQ(Bytes(copy), "one");
  EXPECT_EQ(PtrAndHand("two", h, 3), noErr);
  EXPECT_EQ(Bytes(h), "onetwo");
  EXPECT_EQ(Bytes(copy), "one");
  EXPECT_EQ(PtrAndHand(*h, h, 6), noErr) << "the source may be the block itself";
  EXPECT_EQ(Bytes(h), "onetwoonetwo");
  EXPECT_EQ(HandAndHand(copy, h), noErr);
  EXPECT_EQ(Bytes(h), "onetwoonetwoone");
  EXPECT_EQ(HandAndHand(copy, copy), noErr);
  EXPECT_EQ(Bytes(copy), "oneone");
  EXPECT_EQ(PtrToXHand("a longer text", copy, 13), noErr);
  EXPECT_EQ(Bytes(copy), "a longer text");
  EXPECT_EQ(PtrToXHand(*copy + 2, copy, 6), noErr);
  EXPECT_EQ(Bytes(copy), "longer");
  Handle nothing = nullptr;
  EXPECT_EQ(PtrToHand(nullptr, &nothing, 0), noErr);
  EXPECT_EQ(GetHandleSize(nothing), 0);
  DisposeHandle(nothing);
  DisposeHandle(h);
  DisposeHandle(copy);
}

TEST_F(MacMemory, NoCallTouchesWhatIsNoHandle) {
  char* notMaster = nullptr;
  const Handle foreign = &notMaster;
  const Handle disposed = NewHandle(4);
  DisposeHandle(disposed);
  for (const Handle bad : {Handle{nullptr}, foreign, disposed}) {
    const OSErr expected = bad == nullptr ? nilHandleErr : memWZErr;
    DisposeHandle(bad);
    EXPECT_EQ(MemError(), expected);
    EmptyHandle(bad);
    EXPECT_EQ(MemError(), expected);
    ReallocateHandle(bad, 3);
    EXPECT_EQ(MemError(), expected);
    EXPECT_EQ(GetHandleSize(bad), 0);
    EXPECT_EQ(MemError(), expected);
    SetHandleSize(bad, 8);
    EXPECT_EQ(MemError(), expected);
    HLock(bad);
    EXPECT_EQ(MemError(), expected);
    HUnlock(bad);
    EXPECT_EQ(MemError(), expected);
    MoveHHi(bad);
    EXPECT_EQ(MemError(), expected);
    EXPECT_EQ(HGetState(bad), 0);
    EXPECT_EQ(MemError(), expected);
    HSetState(bad, 0);
    EXPECT_EQ(MemError(), expected);
    Handle copy = bad;
    EXPECT_EQ(HandToHand(&copy), expected);
    EXPECT_EQ(copy, bad);
    EXPECT_EQ(PtrAndHand("x", bad, 1), expected);
    EXPECT_EQ(PtrToXHand("x", bad, 1), expected);
    EXPECT_EQ(HandAndHand(bad, bad), expected);
    EXPECT_FALSE(IsHandleValid(bad));
  }
  EXPECT_EQ(notMaster, nullptr);
}

TEST_F(MacMemory, EmptiedHandlesReportNilHandle) {
  const Handle h = NewHandle(4);
  EmptyHandle(h);
  EXPECT_EQ(*h, nullptr);
  EXPECT_TRUE(IsHandleValid(h));
  EXPECT_EQ(GetHandleSize(h), 0);
  EXPECT_EQ(MemError(), nilHandleErr);
  SetHandleSize(h, 4);
  EXPECT_EQ(MemError(), nilHandleErr);
  EXPECT_EQ(PtrAndHand("x", h, 1), nilHandleErr);
  EXPECT_EQ(PtrToXHand("xyz", h, 3), noErr);
  EXPECT_EQ(Bytes(h), "xyz");
  DisposeHandle(h);
}

TEST_F(MacMemory, BadSizes) {
  EXPECT_EQ(NewHandle(-1), nullptr);
  EXPECT_EQ(MemError(), memFullErr);
  EXPECT_EQ(NewHandleClear(-2147483647 - 1), nullptr);
  EXPECT_EQ(NewPtr(-5), nullptr);
  EXPECT_EQ(MemError(), memFullErr);
  const Handle h = NewHandle(2);
  EXPECT_EQ(MemError(), noErr);
  SetHandleSize(h, -1);
  EXPECT_EQ(MemError(), memFullErr);
  EXPECT_EQ(GetHandleSize(h), 2);
  EXPECT_EQ(PtrAndHand("x", h, -1), paramErr);
  EXPECT_EQ(PtrAndHand(nullptr, h, 1), paramErr);
  EXPECT_EQ(PtrAndHand("x", h, 0x7FFFFFFF), memFullErr);
  Handle out = h;
  EXPECT_EQ(PtrToHand(nullptr, &out, 1), paramErr);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(PtrToHand("x", nullptr, 1), paramErr);
  EXPECT_EQ(HandToHand(nullptr), paramErr);
  DisposeHandle(h);
}

TEST_F(MacMemory, FixedBlocks) {
  const Ptr p = NewPtr(33);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 64, 0u);
  EXPECT_EQ(GetPtrSize(p), 33);
  EXPECT_EQ(MacMemoryGetCounters().pointerBytes, before_.pointerBytes + 33);
  EXPECT_FALSE(IsPointerValid(p + 1));
  DisposePtr(p + 1);
  EXPECT_EQ(MemError(), memWZErr);
  DisposePtr(p);
  EXPECT_EQ(MemError(), noErr);
  DisposePtr(p);
  EXPECT_EQ(MemError(), memWZErr);
  DisposePtr(nullptr);
  EXPECT_EQ(MemError(), noErr);
  EXPECT_EQ(GetPtrSize(nullptr), 0);
}

TEST_F(MacMemory, ThreadsKeepTheirOwnErrorAndShareTheHeap) {
  SetHandleSize(nullptr, 1);
  std::vector<std::thread> threads;
  std::vector<int> failures(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &failures] {
      for (int i = 0; i < 500; ++i) {
        const Handle h = NewHandle(i);
        SetHandleSize(h, 2 * i);
        if (MemError() != noErr || GetHandleSize(h) != 2 * i) ++failures[static_cast<size_t>(t)];
        DisposeHandle(h);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<int>(4, 0));
  EXPECT_EQ(MemError(), nilHandleErr);
}

TEST_F(MacMemory, MovesTolerateOverlapAndNothing) {
  char text[] = "abcdef";
  BlockMove(text, text + 2, 4);
  EXPECT_STREQ(text, "ababcd");
  BlockZero(text, 2);
  EXPECT_EQ(text[1], 0);
  EXPECT_EQ(text[2], 'a');
  BlockMoveData(nullptr, text, 3);
  BlockMoveData(text, text, -1);
  EXPECT_EQ(text[2], 'a');
}

}  // namespace
