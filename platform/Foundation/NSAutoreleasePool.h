// Pools of autoreleased objects: one stack of pools per thread.
#pragma once

#include <vector>

#include "platform/CoreFoundation/CFBase.h"

/// From construction to destruction the innermost pool of its thread: gives back one reference of
/// every object autoreleased meanwhile, latest first. Make it a local variable, or create and
/// delete it on one thread; a pool that ends before the pools inside it drains those too.
///
/// An object autoreleased while its thread has no pool is kept until the thread ends (on the main
/// thread, until the process exits), or until drainUnpooled. It is never lost, but a long-running
/// thread without a pool grows: give each turn of a loop its own pool.
class NSAutoreleasePool {
 public:
  NSAutoreleasePool();
  ~NSAutoreleasePool();
  NSAutoreleasePool(const NSAutoreleasePool&) = delete;
  NSAutoreleasePool& operator=(const NSAutoreleasePool&) = delete;

  /// Gives the objects back now; the pool stays in place and is empty.
  void drain();

  /// Takes over one reference of `object` for the innermost pool of the calling thread; null is
  /// ignored.
  static void addObject(CFTypeRef object);
  /// How many objects of the calling thread wait without a pool.
  static std::size_t unpooledCount();
  /// Gives back the calling thread's objects that were autoreleased without a pool.
  static void drainUnpooled();

 private:
  NSAutoreleasePool* outer_;
  bool inPlace_ = true;
  std::vector<CFTypeRef> objects_;
};
