#include "platform/CoreFoundation/CFAllocator.h"

#include <cstdlib>
#include <new>

#include "platform/CoreFoundation/CFConstant.h"

struct __CFAllocator final : CFRuntimeObject {
  explicit __CFAllocator(const CFAllocatorContext& functions, bool constant = false)
      : CFRuntimeObject(CFAllocatorGetTypeID(), constant), context(functions) {
    if (context.retain != nullptr) context.retain(context.info);
  }
  ~__CFAllocator() override {
    if (context.release != nullptr) context.release(context.info);
  }

  CFAllocatorContext context;
};

namespace {

const CFAllocatorContext& MallocContext() {
  static constexpr CFAllocatorContext kContext = {
      0,
      nullptr,
      nullptr,
      nullptr,
      nullptr,
      [](CFIndex size, CFOptionFlags, void*) {
        return std::malloc(static_cast<std::size_t>(size));
      },
      [](void* ptr, CFIndex size, CFOptionFlags, void*) {
        return std::realloc(ptr, static_cast<std::size_t>(size));
      },
      [](void* ptr, void*) { std::free(ptr); },
      nullptr};
  return kContext;
}

const CFAllocatorContext& ContextOf(CFAllocatorRef allocator) {
  return allocator != nullptr ? allocator->context : MallocContext();
}

alignas(__CFAllocator) unsigned char mallocStorage[sizeof(__CFAllocator)];
alignas(__CFAllocator) unsigned char nullStorage[sizeof(__CFAllocator)];

const struct Constants {
  Constants() {
    new (mallocStorage) __CFAllocator(MallocContext(), true);
    new (nullStorage) __CFAllocator(CFAllocatorContext{}, true);
  }
} constants CF_CONSTANT_OBJECTS;

}  // namespace

const CFAllocatorRef kCFAllocatorMalloc = reinterpret_cast<CFAllocatorRef>(mallocStorage);
const CFAllocatorRef kCFAllocatorNull = reinterpret_cast<CFAllocatorRef>(nullStorage);

CFTypeID CFAllocatorGetTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFAllocator");
  return typeID;
}

CFAllocatorRef CFAllocatorCreate(CFAllocatorRef, const CFAllocatorContext* context) {
  return context != nullptr ? new __CFAllocator(*context) : nullptr;
}

void* CFAllocatorAllocate(CFAllocatorRef allocator, CFIndex size, CFOptionFlags hint) {
  const CFAllocatorContext& context = ContextOf(allocator);
  if (size <= 0 || context.allocate == nullptr) return nullptr;
  return context.allocate(size, hint, context.info);
}

void* CFAllocatorReallocate(CFAllocatorRef allocator, void* ptr, CFIndex newSize,
                            CFOptionFlags hint) {
  if (ptr == nullptr) return CFAllocatorAllocate(allocator, newSize, hint);
  if (newSize <= 0) {
    CFAllocatorDeallocate(allocator, ptr);
    return nullptr;
  }
  const CFAllocatorContext& context = ContextOf(allocator);
  return context.reallocate != nullptr ? context.reallocate(ptr, newSize, hint, context.info)
                                       : nullptr;
}

void CFAllocatorDeallocate(CFAllocatorRef allocator, void* ptr) {
  const CFAllocatorContext& context = ContextOf(allocator);
  if (ptr != nullptr && context.deallocate != nullptr) context.deallocate(ptr, context.info);
}
