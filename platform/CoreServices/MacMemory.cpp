#include "platform/CoreServices/MacMemory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>

namespace {

constexpr std::size_t kAlignment = 64;
constexpr SInt8 kStateBits = static_cast<SInt8>(0xE0);

struct FreeBlock {
  void operator()(char* p) const { std::free(p); }
};
using Block = std::unique_ptr<char, FreeBlock>;

/// Room for `size` bytes and the slack, in whole alignment units; only the slack is cleared.
Block AllocateBlock(Size size, bool clear) {
  if (size < 0) return nullptr;
  const std::size_t needed = static_cast<std::size_t>(size) + kMacMemorySlack;
  const std::size_t rounded = (needed + kAlignment - 1) / kAlignment * kAlignment;
  Block block(static_cast<char*>(std::aligned_alloc(kAlignment, rounded)));
  if (block) {
    const std::size_t from = clear ? 0 : static_cast<std::size_t>(size);
    std::memset(block.get() + from, 0, rounded - from);
  }
  return block;
}

/// The master pointer comes first: its address is the handle.
struct Master {
  char* address = nullptr;
  Block block;
  Size size = 0;
  Size capacity = 0;  ///< largest size this block can take on without moving
  SInt8 state = 0;

  bool locked() const { return (state & (1 << kHandleLockedBit)) != 0; }
  void adopt(Block fresh, Size newSize) {
    block = std::move(fresh);
    address = block.get();
    size = newSize;
    capacity = newSize;
  }
  void empty() {
    block.reset();
    address = nullptr;
    size = 0;
    capacity = 0;
  }
};

struct Heap {
  std::mutex mutex;
  std::unordered_map<Handle, std::unique_ptr<Master>> handles;
  std::unordered_map<Ptr, Size> pointers;
  SInt64 handleBytes = 0;
  SInt64 pointerBytes = 0;
};

/// Never destroyed: static objects of any module may dispose of their handles at exit.
Heap& TheHeap() {
  static Heap& heap = *new Heap;
  return heap;
}

thread_local OSErr tLastError = noErr;

OSErr Remember(OSErr error) {
  tLastError = error;
  return error;
}

/// Runs `work` on a live handle's master under the lock; reports what is no handle.
template <typename Work>
OSErr WithMaster(Handle h, bool allowEmpty, Work work) {
  if (h == nullptr) return nilHandleErr;
  Heap& heap = TheHeap();
  const std::lock_guard<std::mutex> guard(heap.mutex);
  const auto found = heap.handles.find(h);
  if (found == heap.handles.end()) return memWZErr;
  Master& master = *found->second;
  if (!allowEmpty && master.address == nullptr) return nilHandleErr;
  return work(heap, master);
}

OSErr ResizeLocked(Heap& heap, Master& master, Size newSize) {
  if (newSize < 0) return memFullErr;
  const Size oldSize = master.size;
  if (newSize > master.capacity) {
    if (master.locked()) return memFullErr;
    // Room to grow, so that appending piece by piece does not copy everything each time.
    const SInt64 generous = static_cast<SInt64>(newSize) + newSize / 8;
    const Size wanted = static_cast<Size>(std::min<SInt64>(generous, 0x7FFFFFFF));
    Block fresh = AllocateBlock(wanted, false);
    if (!fresh) return memFullErr;
    if (oldSize > 0) std::memcpy(fresh.get(), master.address, static_cast<std::size_t>(oldSize));
    master.adopt(std::move(fresh), newSize);
    master.capacity = wanted;
  }
  master.size = newSize;
  std::memset(master.address + newSize, 0, kMacMemorySlack);
  heap.handleBytes += newSize - oldSize;
  return noErr;
}

Handle MakeHandle(Size byteCount, bool clear) {
  try {
    auto master = std::make_unique<Master>();
    Block block = AllocateBlock(byteCount, clear);
    if (!block) {
      Remember(memFullErr);
      return nullptr;
    }
    master->adopt(std::move(block), byteCount);
    const Handle h = &master->address;
    Heap& heap = TheHeap();
    const std::lock_guard<std::mutex> guard(heap.mutex);
    heap.handles.emplace(h, std::move(master));
    heap.handleBytes += byteCount;
    Remember(noErr);
    return h;
  } catch (const std::bad_alloc&) {
    Remember(memFullErr);
    return nullptr;
  }
}

Ptr MakePtr(Size byteCount, bool clear) {
  Block block = AllocateBlock(byteCount, clear);
  if (!block) {
    Remember(memFullErr);
    return nullptr;
  }
  try {
    Heap& heap = TheHeap();
    const std::lock_guard<std::mutex> guard(heap.mutex);
    heap.pointers.emplace(block.get(), byteCount);
    heap.pointerBytes += byteCount;
  } catch (const std::bad_alloc&) {
    Remember(memFullErr);
    return nullptr;
  }
  Remember(noErr);
  return block.release();
}

void ChangeState(Handle h, SInt8 clearBits, SInt8 setBits) {
  Remember(WithMaster(h, true, [&](Heap&, Master& master) {
    master.state = static_cast<SInt8>((master.state & ~clearBits) | setBits);
    return noErr;
  }));
}

constexpr SInt8 StateBit(SInt8 bit) {
  return static_cast<SInt8>(1 << bit);
}

}  // namespace

Handle NewHandle(Size byteCount) {
  return MakeHandle(byteCount, false);
}

Handle NewHandleClear(Size byteCount) {
  return MakeHandle(byteCount, true);
}

void DisposeHandle(Handle h) {
  std::unique_ptr<Master> doomed;
  Remember(WithMaster(h, true, [&](Heap& heap, Master& master) {
    heap.handleBytes -= master.size;
    const auto found = heap.handles.find(h);
    doomed = std::move(found->second);
    heap.handles.erase(found);
    return noErr;
  }));
}

void EmptyHandle(Handle h) {
  Remember(WithMaster(h, true, [](Heap& heap, Master& master) {
    if (master.locked()) return memLockedErr;
    heap.handleBytes -= master.size;
    master.empty();
    return noErr;
  }));
}

void ReallocateHandle(Handle h, Size byteCount) {
  Remember(WithMaster(h, true, [&](Heap& heap, Master& master) {
    if (master.locked()) return memLockedErr;
    Block fresh = AllocateBlock(byteCount, false);
    if (!fresh) return memFullErr;
    heap.handleBytes += byteCount - master.size;
    master.adopt(std::move(fresh), byteCount);
    return noErr;
  }));
}

Size GetHandleSize(Handle h) {
  Size size = 0;
  Remember(WithMaster(h, false, [&](Heap&, Master& master) {
    size = master.size;
    return noErr;
  }));
  return size;
}

void SetHandleSize(Handle h, Size newSize) {
  Remember(WithMaster(
      h, false, [&](Heap& heap, Master& master) { return ResizeLocked(heap, master, newSize); }));
}

void HLock(Handle h) {
  ChangeState(h, 0, StateBit(kHandleLockedBit));
}

void HUnlock(Handle h) {
  ChangeState(h, StateBit(kHandleLockedBit), 0);
}

void MoveHHi(Handle h) {
  Remember(WithMaster(
      h, false, [](Heap&, Master& master) { return master.locked() ? memLockedErr : noErr; }));
}

void HLockHi(Handle h) {
  HLock(h);
}

void HPurge(Handle h) {
  ChangeState(h, 0, StateBit(kHandlePurgeableBit));
}

void HNoPurge(Handle h) {
  ChangeState(h, StateBit(kHandlePurgeableBit), 0);
}

void HSetRBit(Handle h) {
  ChangeState(h, 0, StateBit(kHandleResourceBit));
}

void HClrRBit(Handle h) {
  ChangeState(h, StateBit(kHandleResourceBit), 0);
}

SInt8 HGetState(Handle h) {
  SInt8 state = 0;
  Remember(WithMaster(h, true, [&](Heap&, Master& master) {
    state = master.state;
    return noErr;
  }));
  return state;
}

void HSetState(Handle h, SInt8 flags) {
  ChangeState(h, kStateBits, static_cast<SInt8>(flags & kStateBits));
}

Boolean IsHandleValid(Handle h) {
  return WithMaster(h, true, [](Heap&, Master&) { return noErr; }) == noErr;
}

OSErr HandToHand(Handle* h) {
  if (h == nullptr) return Remember(paramErr);
  Block copy;
  Size size = 0;
  const OSErr error = WithMaster(*h, false, [&](Heap&, Master& master) {
    copy = AllocateBlock(master.size, false);
    if (!copy) return memFullErr;
    size = master.size;
    std::memcpy(copy.get(), master.address, static_cast<std::size_t>(size));
    return noErr;
  });
  if (error != noErr) return Remember(error);
  const Handle fresh = NewHandle(0);
  if (fresh == nullptr) return MemError();
  const OSErr adopted = WithMaster(fresh, false, [&](Heap& heap, Master& master) {
    heap.handleBytes += size;
    master.adopt(std::move(copy), size);
    return noErr;
  });
  *h = fresh;
  return Remember(adopted);
}

OSErr PtrToHand(const void* source, Handle* destination, Size size) {
  if (destination == nullptr) return Remember(paramErr);
  *destination = nullptr;
  if (size < 0 || (source == nullptr && size > 0)) return Remember(paramErr);
  const Handle fresh = NewHandle(size);
  if (fresh == nullptr) return MemError();
  if (size > 0) std::memcpy(*fresh, source, static_cast<std::size_t>(size));
  *destination = fresh;
  return noErr;
}

OSErr PtrToXHand(const void* source, Handle destination, Size size) {
  if (size < 0 || (source == nullptr && size > 0)) return Remember(paramErr);
  return Remember(WithMaster(destination, true, [&](Heap& heap, Master& master) {
    if (size <= master.size && master.address != nullptr) {
      if (size > 0) std::memmove(master.address, source, static_cast<std::size_t>(size));
      return ResizeLocked(heap, master, size);
    }
    // The source may lie in the old block, which is therefore kept until the bytes are copied.
    if (master.locked() && size > master.capacity) return memFullErr;
    Block fresh = AllocateBlock(size, false);
    if (!fresh) return memFullErr;
    if (size > 0) std::memcpy(fresh.get(), source, static_cast<std::size_t>(size));
    if (size <= master.capacity) {
      if (size > 0) std::memcpy(master.address, fresh.get(), static_cast<std::size_t>(size));
      return ResizeLocked(heap, master, size);
    }
    heap.handleBytes += size - master.size;
    master.adopt(std::move(fresh), size);
    return noErr;
  }));
}

OSErr PtrAndHand(const void* source, Handle destination, Size size) {
  if (size < 0 || (source == nullptr && size > 0)) return Remember(paramErr);
  return Remember(WithMaster(destination, false, [&](Heap& heap, Master& master) {
    const Size oldSize = master.size;
    const SInt64 sum = static_cast<SInt64>(oldSize) + size;
    if (sum > 0x7FFFFFFF) return memFullErr;
    const char* bytes = static_cast<const char*>(source);
    const std::less<const char*> before;
    const bool inside = bytes != nullptr && !before(bytes, master.address) &&
                        before(bytes, master.address + oldSize);
    const std::ptrdiff_t offset = inside ? bytes - master.address : 0;
    const OSErr error = ResizeLocked(heap, master, static_cast<Size>(sum));
    if (error != noErr) return error;
    if (inside) bytes = master.address + offset;
    if (size > 0) std::memmove(master.address + oldSize, bytes, static_cast<std::size_t>(size));
    return noErr;
  }));
}

OSErr HandAndHand(Handle source, Handle destination) {
  Block copy;
  Size size = 0;
  const OSErr error = WithMaster(source, false, [&](Heap&, Master& master) {
    copy = AllocateBlock(master.size, false);
    if (!copy) return memFullErr;
    size = master.size;
    std::memcpy(copy.get(), master.address, static_cast<std::size_t>(size));
    return noErr;
  });
  if (error != noErr) return Remember(error);
  return PtrAndHand(copy.get(), destination, size);
}

OSErr MemError() {
  return tLastError;
}

Ptr NewPtr(Size byteCount) {
  return MakePtr(byteCount, false);
}

Ptr NewPtrClear(Size byteCount) {
  return MakePtr(byteCount, true);
}

void DisposePtr(Ptr p) {
  if (p == nullptr) {
    Remember(noErr);
    return;
  }
  Block doomed;
  {
    Heap& heap = TheHeap();
    const std::lock_guard<std::mutex> guard(heap.mutex);
    const auto found = heap.pointers.find(p);
    if (found == heap.pointers.end()) {
      Remember(memWZErr);
      return;
    }
    heap.pointerBytes -= found->second;
    heap.pointers.erase(found);
    doomed.reset(p);
  }
  Remember(noErr);
}

Size GetPtrSize(Ptr p) {
  Heap& heap = TheHeap();
  const std::lock_guard<std::mutex> guard(heap.mutex);
  const auto found = heap.pointers.find(p);
  Remember(found == heap.pointers.end() ? memWZErr : noErr);
  return found == heap.pointers.end() ? 0 : found->second;
}

Boolean IsPointerValid(Ptr p) {
  Heap& heap = TheHeap();
  const std::lock_guard<std::mutex> guard(heap.mutex);
  return heap.pointers.count(p) != 0;
}

void BlockMove(const void* source, void* destination, Size byteCount) {
  if (byteCount > 0 && source != nullptr && destination != nullptr) {
    std::memmove(destination, source, static_cast<std::size_t>(byteCount));
  }
}

void BlockMoveData(const void* source, void* destination, Size byteCount) {
  BlockMove(source, destination, byteCount);
}

void BlockZero(void* destination, Size byteCount) {
  if (byteCount > 0 && destination != nullptr) {
    std::memset(destination, 0, static_cast<std::size_t>(byteCount));
  }
}

MacMemoryCounters MacMemoryGetCounters() {
  Heap& heap = TheHeap();
  const std::lock_guard<std::mutex> guard(heap.mutex);
  return {static_cast<SInt64>(heap.handles.size()), heap.handleBytes,
          static_cast<SInt64>(heap.pointers.size()), heap.pointerBytes};
}
