#include "platform/Foundation/NSObject.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/Foundation/NSAutoreleasePool.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSValues.h"

namespace {

std::vector<std::string> gEvents;

class Plain : public NSObject {
 public:
  explicit Plain(std::string name = "plain") : name_(std::move(name)) {}
  void dealloc() override {
    gEvents.push_back(name_ + " dealloc");
    NSObject::dealloc();
  }

 protected:
  ~Plain() override { gEvents.push_back(name_ + " destroyed"); }

 private:
  std::string name_;
};

class Derived : public Plain {
 public:
  Derived() : Plain("derived") {
    exposeVariable("number", &number);
    exposeVariable("text", &text);
    exposeVariable("other", &other);
    exposeVariable("anything", &anything);
  }
  void dealloc() override {
    gEvents.push_back("derived first");
    NSRelease(number);
    NSRelease(text);
    NSRelease(other);
    NSReleaseObject(anything);
    Plain::dealloc();
  }
  NSNumber* number = nullptr;
  NSString* text = nullptr;
  Plain* other = nullptr;
  CFTypeRef anything = nullptr;
};

class Failing : public NSObject {
 public:
  id init() override {
    release();
    return nullptr;
  }
};

class Throwing : public NSObject {
 public:
  Throwing() { throw std::runtime_error("no"); }
};

class NSObjectTest : public testing::Test {
 protected:
  void SetUp() override { gEvents.clear(); }
};

NSObject* MakePlain() {
  return new Plain;
}
NSObject* MakeDerived() {
  return new Derived;
}

TEST_F(NSObjectTest, StartsWithOneReferenceAndEndsInDealloc) {
  auto* const object = new Plain;
  EXPECT_EQ(object->init(), object);
  EXPECT_EQ(object->retainCount(), 1u);
  EXPECT_EQ(object->retain(), object);
  EXPECT_EQ(object->retainCount(), 2u);
  object->release();
  EXPECT_EQ(object->retainCount(), 1u);
  EXPECT_TRUE(gEvents.empty());
  object->release();
  EXPECT_EQ(gEvents, (std::vector<std::string>{"plain dealloc", "plain destroyed"}));
}

TEST_F(NSObjectTest, DeallocRunsFromTheSubclassToTheRoot) {
  (new Derived)->release();
  EXPECT_EQ(gEvents,
            (std::vector<std::string>{"derived first", "derived dealloc", "derived destroyed"}));
}

TEST_F(NSObjectTest, IsACoreFoundationObject) {
  auto* const object = new Plain;
  const CFTypeRef reference = static_cast<const CFRuntimeObject*>(object);
  CFRetain(reference);
  EXPECT_EQ(CFGetRetainCount(reference), 2);
  EXPECT_EQ(CFGetTypeID(reference), NSObjectGetTypeID());
  CFRelease(reference);
  const void* values[] = {reference};
  const CFArrayRef array = CFArrayCreate(kCFAllocatorDefault, values, 1, &kCFTypeArrayCallBacks);
  EXPECT_EQ(object->retainCount(), 2u);
  EXPECT_EQ(NSObjectFrom(CFArrayGetValueAtIndex(array, 0)), object);
  CFRelease(array);
  EXPECT_EQ(object->retainCount(), 1u);
  object->release();
}

TEST_F(NSObjectTest, OtherObjectsAreNotNSObjects) {
  EXPECT_EQ(NSObjectFrom(CFSTR("text")), nullptr);
  EXPECT_EQ(NSObjectFrom(nullptr), nullptr);
  EXPECT_TRUE(NSIsString(CFSTR("text")));
  EXPECT_FALSE(NSIsNumber(CFSTR("text")));
  EXPECT_FALSE(NSIsString(nullptr));
}

TEST_F(NSObjectTest, ReferencesFromManyThreadsAddUp) {
  auto* const object = new Plain;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        object->retain();
        object->release();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(object->retainCount(), 1u);
  object->release();
  EXPECT_EQ(gEvents.size(), 2u);
}

TEST_F(NSObjectTest, KeyedValuesReachTheVariables) {
  const NSAutoreleasePool pool;
  auto* const object = new Derived;
  NSNumber* const number = NSNumber_numberWithDouble(0.25);
  const CFIndex before = CFGetRetainCount(number);
  EXPECT_TRUE(object->setValueforKey(number, CFSTR("number")));
  EXPECT_EQ(object->number, number);
  EXPECT_EQ(CFGetRetainCount(number), before + 1);
  EXPECT_EQ(object->valueForKey(CFSTR("number")), number);
  EXPECT_EQ(CFGetRetainCount(number), before + 1);

  NSNumber* const other = NSNumber_numberWithDouble(0.75);
  EXPECT_TRUE(object->setValueforKey(other, CFSTR("number")));
  EXPECT_EQ(CFGetRetainCount(number), before);
  EXPECT_TRUE(object->setValueforKey(other, CFSTR("number")));
  EXPECT_EQ(CFGetRetainCount(other), before + 1);
  EXPECT_TRUE(object->setValueforKey(nullptr, CFSTR("number")));
  EXPECT_EQ(object->number, nullptr);
  EXPECT_EQ(CFGetRetainCount(other), before);
  object->release();
}

TEST_F(NSObjectTest, KeyedValuesOfTheWrongKindChangeNothing) {
  const NSAutoreleasePool pool;
  auto* const object = new Derived;
  NSNumber* const number = NSNumber_numberWithInt(3);
  ASSERT_TRUE(object->setValueforKey(number, CFSTR("number")));
  EXPECT_FALSE(object->setValueforKey(CFSTR("text"), CFSTR("number")));
  EXPECT_EQ(object->number, number);
  EXPECT_FALSE(object->setValueforKey(number, CFSTR("text")));
  EXPECT_EQ(object->text, nullptr);
  EXPECT_TRUE(object->setValueforKey(CFSTR("text"), CFSTR("text")));
  EXPECT_FALSE(object->setValueforKey(CFSTR("text"), CFSTR("other")));

  auto* const wrong = new NSObject;
  EXPECT_FALSE(object->setValueforKey(static_cast<const CFRuntimeObject*>(wrong), CFSTR("other")));
  auto* const right = new Plain;
  EXPECT_TRUE(object->setValueforKey(static_cast<const CFRuntimeObject*>(right), CFSTR("other")));
  EXPECT_EQ(object->other, right);
  EXPECT_TRUE(
      object->setValueforKey(static_cast<const CFRuntimeObject*>(wrong), CFSTR("anything")));
  right->release();
  wrong->release();
  object->release();
}

TEST_F(NSObjectTest, UnknownKeysFail) {
  auto* const object = new Derived;
  EXPECT_FALSE(object->setValueforKey(CFSTR("x"), CFSTR("nothing")));
  EXPECT_FALSE(object->setValueforKey(nullptr, CFSTR("nothing")));
  EXPECT_FALSE(object->setValueforKey(CFSTR("x"), nullptr));
  EXPECT_EQ(object->valueForKey(CFSTR("nothing")), nullptr);
  EXPECT_EQ(object->valueForKey(nullptr), nullptr);
  object->release();
}

TEST_F(NSObjectTest, RegisteredClassesAreFoundAndMade) {
  const NSClassRegistration plain("TestPlain", typeid(Plain), MakePlain);
  const NSClassRegistration derived("TestDerived", typeid(Derived), MakeDerived);
  const Class record = NSClassFromString(CFSTR("TestDerived"));
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->name(), "TestDerived");
  EXPECT_NE(record->superclassName().find("Plain"), std::string::npos) << record->superclassName();
  EXPECT_TRUE(record->isSubclassOf("NSObject"));
  EXPECT_FALSE(record->isSubclassOf("CFRuntimeObject"));
  EXPECT_EQ(NSClassFromString(CFSTR("TestPlain"))->superclassName(), "NSObject");
  EXPECT_EQ(record->liveInstances(), 0);
  NSObject* const object = record->alloc();
  ASSERT_NE(object, nullptr);
  EXPECT_NE(dynamic_cast<Derived*>(object), nullptr);
  EXPECT_EQ(object->retainCount(), 1u);
  EXPECT_EQ(object->classRecord(), record);
  EXPECT_EQ(record->liveInstances(), 1);
  object->release();
  EXPECT_EQ(record->liveInstances(), 0);
}

TEST_F(NSObjectTest, ClassesAreWithdrawnAndTheirRecordsOutliveThat) {
  NSObject* object = nullptr;
  Class record = nullptr;
  {
    const NSClassRegistration registration("TestShortLived", typeid(Plain), MakePlain);
    record = NSClassFromString(CFSTR("TestShortLived"));
    object = record->alloc();
    record->hold();
  }
  EXPECT_EQ(NSClassFromString(CFSTR("TestShortLived")), nullptr);
  EXPECT_FALSE(record->isRegistered());
  EXPECT_EQ(record->alloc(), nullptr);
  EXPECT_EQ(object->classRecord(), record);
  object->release();
  EXPECT_EQ(record->liveInstances(), 0);
  record->drop();
}

TEST_F(NSObjectTest, TheFirstOfTwoClassesOfOneNameWins) {
  auto first = std::make_unique<NSClassRegistration>("TestTwice", typeid(Plain), MakePlain);
  const NSClassRegistration second("TestTwice", typeid(Derived), MakeDerived);
  EXPECT_EQ(NSClassFromString(CFSTR("TestTwice"))->superclassName(), "NSObject");
  first.reset();
  const Class left = NSClassFromString(CFSTR("TestTwice"));
  ASSERT_NE(left, nullptr);
  EXPECT_NE(left->superclassName(), "NSObject");
}

TEST_F(NSObjectTest, FailuresOfCreationAreNull) {
  EXPECT_EQ((new Failing)->init(), nullptr);
  const NSClassRegistration registration("TestThrowing", typeid(Throwing),
                                         []() -> NSObject* { return new Throwing; });
  const Class record = NSClassFromString(CFSTR("TestThrowing"));
  EXPECT_EQ(record->alloc(), nullptr);
  EXPECT_EQ(record->liveInstances(), 0);
  EXPECT_EQ(NSClassFromString(CFSTR("TestNobodyRegisteredThis")), nullptr);
  EXPECT_EQ(NSClassFromString(nullptr), nullptr);
}

TEST_F(NSObjectTest, AProgramsOwnClassesBelongToTheMainBundle) {
  const NSAutoreleasePool pool;
  const NSClassRegistration registration("TestOwn", typeid(Plain), MakePlain);
  NSBundle* const bundle = NSBundle::bundleForClass(NSClassFromString(CFSTR("TestOwn")));
  ASSERT_NE(bundle, nullptr);
  EXPECT_EQ(bundle->cfBundle(), CFBundleGetMainBundle());
  EXPECT_EQ(NSBundle::bundleForClass(nullptr), nullptr);
  EXPECT_EQ(NSClassInModule(CFSTR("TestOwn"), reinterpret_cast<const void*>(&MakePlain)),
            NSClassFromString(CFSTR("TestOwn")));
  EXPECT_EQ(NSClassInModule(CFSTR("TestOwn"), nullptr), nullptr);
}

}  // namespace
