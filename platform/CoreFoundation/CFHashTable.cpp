#include "platform/CoreFoundation/CFHashTable.h"

#include <utility>

#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFType.h"

namespace cfcollection {

namespace {

constexpr std::size_t kFewestSlots = 8;
constexpr int kDeepest = 64;

thread_local int depth = 0;

}  // namespace

CFHashCode KeyRules::hashOf(const void* value) const {
  if (hash != nullptr) return hash(value);
  const auto address = reinterpret_cast<std::uintptr_t>(value);
  // Keys that are only told apart by `equal` must share a hash.
  return equal != nullptr ? 0 : static_cast<CFHashCode>((address >> 4) ^ (address >> 32));
}

Entry* HashTable::find(const void* key) {
  return const_cast<Entry*>(std::as_const(*this).find(key));
}

const Entry* HashTable::find(const void* key) const {
  if (size() == 0) return nullptr;
  const CFIndex index = slots_[slotOf(key, rules.hashOf(key))];
  return index != 0 ? &entries_[static_cast<std::size_t>(index - 1)] : nullptr;
}

void HashTable::add(const void* key, const void* value) {
  const CFHashCode hash = rules.hashOf(key);
  entries_.push_back({key, value, 1, hash});
  if (slots_.size() < 2 * entries_.size()) {
    rebuild(slots_.empty() ? kFewestSlots : 2 * slots_.size());
  } else {
    slots_[slotOf(key, hash)] = static_cast<CFIndex>(entries_.size());
  }
}

void HashTable::erase(Entry* entry) {
  entry->count = 0;
  ++dead_;
  // Closing up now and then keeps the cost of an erasure constant on average.
  if (2 * dead_ > entries_.size()) {
    std::erase_if(entries_, [](const Entry& each) { return each.count == 0; });
    dead_ = 0;
    rebuild(slots_.size());
  }
}

HashTable HashTable::takeAll() {
  HashTable taken(rules);
  taken.entries_ = std::exchange(entries_, {});
  taken.slots_ = std::exchange(slots_, {});
  taken.dead_ = std::exchange(dead_, 0);
  return taken;
}

std::size_t HashTable::firstSlot(CFHashCode hash) const {
  // Fibonacci hashing spreads hashes that differ in their high bits only.
  const std::uint64_t spread = (std::uint64_t{hash} * 0x9E3779B97F4A7C15U) >> 32;
  return static_cast<std::size_t>(spread) & (slots_.size() - 1);
}

// The slot of the key's entry, or the free one where it belongs.
std::size_t HashTable::slotOf(const void* key, CFHashCode hash) const {
  std::size_t slot = firstSlot(hash);
  for (; slots_[slot] != 0; slot = (slot + 1) & (slots_.size() - 1)) {
    const Entry& entry = entries_[static_cast<std::size_t>(slots_[slot] - 1)];
    if (entry.count != 0 && entry.hash == hash && rules.areEqual(entry.key, key)) break;
  }
  return slot;
}

void HashTable::rebuild(std::size_t slotCount) {
  slots_.assign(slotCount, 0);
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    std::size_t slot = firstSlot(entries_[i].hash);
    while (slots_[slot] != 0) slot = (slot + 1) & (slotCount - 1);
    slots_[slot] = static_cast<CFIndex>(i + 1);
  }
}

const void* RetainObject(CFAllocatorRef, const void* object) {
  return CFRetain(object);
}

void ReleaseObject(CFAllocatorRef, const void* object) {
  CFRelease(object);
}

const void* CopyString(CFAllocatorRef allocator, const void* object) {
  return CFGetTypeID(object) == CFStringGetTypeID()
             ? CFStringCreateCopy(allocator, static_cast<CFStringRef>(object))
             : CFRetain(object);
}

DescriptionDepth::DescriptionDepth() {
  ++depth;
}
DescriptionDepth::~DescriptionDepth() {
  --depth;
}
bool DescriptionDepth::isTooDeep() const {
  return depth > kDeepest;
}

}  // namespace cfcollection
