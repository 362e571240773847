#include "platform/Foundation/NSAutoreleasePool.h"

#include <utility>

#include "platform/Foundation/NSObject.h"

namespace {

// Objects may autorelease others while they go, so this goes on until nothing more arrives.
void ReleaseAll(std::vector<CFTypeRef>& objects) {
  while (!objects.empty()) {
    const CFTypeRef last = objects.back();
    objects.pop_back();
    NSReleaseObject(last);
  }
}

// Trivially destructible, so that it can be asked while the thread's other objects go.
enum class Stage : UInt8 { kAlive, kEnded };
thread_local Stage stage = Stage::kAlive;
thread_local NSAutoreleasePool* innermost = nullptr;

struct Unpooled {
  std::vector<CFTypeRef> objects;
  ~Unpooled() {
    ReleaseAll(objects);
    stage = Stage::kEnded;
  }
};
thread_local Unpooled unpooled;

}  // namespace

NSAutoreleasePool::NSAutoreleasePool() : outer_(std::exchange(innermost, this)) {}

NSAutoreleasePool::~NSAutoreleasePool() {
  if (!inPlace_) return;  // An outer pool ended first and drained this one.
  while (innermost != this) {
    NSAutoreleasePool* const inner = innermost;
    inner->drain();
    inner->inPlace_ = false;
    innermost = inner->outer_;
  }
  drain();
  innermost = outer_;
}

void NSAutoreleasePool::drain() {
  ReleaseAll(objects_);
}

void NSAutoreleasePool::addObject(CFTypeRef object) {
  if (object == nullptr) return;
  if (innermost != nullptr) {
    innermost->objects_.push_back(object);
  } else if (stage == Stage::kAlive) {
    unpooled.objects.push_back(object);
  }
  // Else the thread is past its last chance to release anything; the object lives on with the
  // process, which is safe where releasing it under its caller's hands is not.
}

std::size_t NSAutoreleasePool::unpooledCount() {
  return stage == Stage::kAlive ? unpooled.objects.size() : 0;
}

void NSAutoreleasePool::drainUnpooled() {
  if (stage == Stage::kAlive) ReleaseAll(unpooled.objects);
}
