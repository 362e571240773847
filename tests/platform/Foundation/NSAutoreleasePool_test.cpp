#include "platform/Foundation/NSAutoreleasePool.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/CoreFoundation/CFType.h"
#include "platform/Foundation/NSObject.h"
#include "platform/Foundation/NSValues.h"

namespace {

std::vector<int> gGone;

class Numbered : public NSObject {
 public:
  explicit Numbered(int number, int next = 0) : number_(number), next_(next) {}
  void dealloc() override {
    gGone.push_back(number_);
    if (next_ != 0) (new Numbered(next_))->autorelease();
    NSObject::dealloc();
  }

 private:
  int number_;
  int next_;
};

class NSAutoreleasePoolTest : public testing::Test {
 protected:
  void SetUp() override { gGone.clear(); }
};

TEST_F(NSAutoreleasePoolTest, GivesBackLatestFirst) {
  {
    const NSAutoreleasePool pool;
    (new Numbered(1))->autorelease();
    (new Numbered(2))->autorelease();
    EXPECT_TRUE(gGone.empty());
  }
  EXPECT_EQ(gGone, (std::vector<int>{2, 1}));
}

TEST_F(NSAutoreleasePoolTest, GivesBackOneReferencePerAutorelease) {
  auto* const object = new Numbered(1);
  {
    const NSAutoreleasePool pool;
    object->retain();
    EXPECT_EQ(object->autorelease(), object);
    object->retain();
    object->autorelease();
    EXPECT_EQ(object->retainCount(), 3u);
  }
  EXPECT_EQ(object->retainCount(), 1u);
  object->release();
  EXPECT_EQ(gGone, std::vector<int>{1});
}

TEST_F(NSAutoreleasePoolTest, TheInnermostPoolTakesTheObject) {
  const NSAutoreleasePool outer;
  {
    const NSAutoreleasePool inner;
    (new Numbered(1))->autorelease();
  }
  EXPECT_EQ(gGone, std::vector<int>{1});
  (new Numbered(2))->autorelease();
  EXPECT_EQ(gGone, std::vector<int>{1});
}

TEST_F(NSAutoreleasePoolTest, AnOuterPoolThatEndsFirstDrainsTheInnerOnes) {
  auto outer = std::make_unique<NSAutoreleasePool>();
  (new Numbered(1))->autorelease();
  auto inner = std::make_unique<NSAutoreleasePool>();
  (new Numbered(2))->autorelease();
  outer.reset();
  EXPECT_EQ(gGone, (std::vector<int>{2, 1}));
  // The inner pool is in place no more: objects go where they would without it.
  (new Numbered(3))->autorelease();
  EXPECT_EQ(NSAutoreleasePool::unpooledCount(), 1u);
  inner.reset();
  EXPECT_EQ(gGone.size(), 2u);
  NSAutoreleasePool::drainUnpooled();
  EXPECT_EQ(gGone.back(), 3);
}

TEST_F(NSAutoreleasePoolTest, ObjectsAutoreleasedWhileDrainingGoToo) {
  {
    const NSAutoreleasePool pool;
    (new Numbered(1, 2))->autorelease();
  }
  EXPECT_EQ(gGone, (std::vector<int>{1, 2}));
  EXPECT_EQ(NSAutoreleasePool::unpooledCount(), 0u);
}

TEST_F(NSAutoreleasePoolTest, ADrainedPoolStaysInPlace) {
  NSAutoreleasePool pool;
  (new Numbered(1))->autorelease();
  pool.drain();
  EXPECT_EQ(gGone, std::vector<int>{1});
  (new Numbered(2))->autorelease();
  EXPECT_EQ(NSAutoreleasePool::unpooledCount(), 0u);
  pool.drain();
  EXPECT_EQ(gGone, (std::vector<int>{1, 2}));
}

TEST_F(NSAutoreleasePoolTest, WithoutAPoolObjectsLiveUntilTheThreadEnds) {
  Numbered* object = nullptr;
  std::thread([&] {
    object = new Numbered(7);
    object->autorelease();
    EXPECT_EQ(NSAutoreleasePool::unpooledCount(), 1u);
    {
      // A later pool does not shorten their life.
      const NSAutoreleasePool pool;
    }
    EXPECT_EQ(object->retainCount(), 1u);
  }).join();
  EXPECT_EQ(gGone, std::vector<int>{7});
}

TEST_F(NSAutoreleasePoolTest, PoolsOfThreadsAreApart) {
  const NSAutoreleasePool pool;
  (new Numbered(1))->autorelease();
  std::thread([] {
    const NSAutoreleasePool own;
    EXPECT_EQ(NSAutoreleasePool::unpooledCount(), 0u);
    (new Numbered(2))->autorelease();
  }).join();
  EXPECT_EQ(gGone, std::vector<int>{2});
}

TEST_F(NSAutoreleasePoolTest, TakesCoreFoundationObjectsAndNull) {
  const NSAutoreleasePool outer;
  NSNumber* const number = NSNumber_numberWithDouble(1.5);
  CFRetain(number);
  const CFIndex before = CFGetRetainCount(number);
  {
    const NSAutoreleasePool pool;
    EXPECT_EQ(NSAutorelease(number), number);
    EXPECT_EQ(NSAutorelease(static_cast<NSNumber*>(nullptr)), nullptr);
    NSAutoreleasePool::addObject(nullptr);
  }
  EXPECT_EQ(CFGetRetainCount(number), before - 1);
}

}  // namespace
