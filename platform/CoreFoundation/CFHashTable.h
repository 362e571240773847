// The table behind dictionaries, sets and bags: entries in the order they came in, found by hash.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/CoreFoundation/CFBase.h"

namespace cfcollection {

/// How keys are kept and told apart; any function may be null (plain pointers).
struct KeyRules {
  const void* (*retain)(CFAllocatorRef, const void*) = nullptr;
  void (*release)(CFAllocatorRef, const void*) = nullptr;
  CFStringRef (*copyDescription)(const void*) = nullptr;
  Boolean (*equal)(const void*, const void*) = nullptr;
  CFHashCode (*hash)(const void*) = nullptr;

  const void* keep(const void* value) const {
    return retain != nullptr ? retain(kCFAllocatorDefault, value) : value;
  }
  void drop(const void* value) const {
    if (release != nullptr) release(kCFAllocatorDefault, value);
  }
  bool areEqual(const void* a, const void* b) const {
    return a == b || (equal != nullptr && equal(a, b) != 0);
  }
  CFHashCode hashOf(const void* value) const;
};

struct Entry {
  const void* key;
  const void* value;  ///< a dictionary's value
  CFIndex count;      ///< a bag's occurrences; 0 marks an entry taken out
  CFHashCode hash;
};

/// Open addressing into a vector of entries. Does not retain or release by itself.
class HashTable {
 public:
  explicit HashTable(const KeyRules& keyRules) : rules(keyRules) {}

  std::size_t size() const { return entries_.size() - dead_; }
  template <class Function>
  void forEach(Function function) const {
    for (const Entry& entry : entries_) {
      if (entry.count != 0) function(entry);
    }
  }
  /// The entry of an equal key, or null. Valid until the table changes.
  Entry* find(const void* key);
  const Entry* find(const void* key) const;
  /// Appends an entry for a key that is not there yet.
  void add(const void* key, const void* value);
  /// Takes an entry out; those after it keep their order.
  void erase(Entry* entry);
  HashTable takeAll();

  const KeyRules rules;

 private:
  std::size_t slotOf(const void* key, CFHashCode hash) const;
  std::size_t firstSlot(CFHashCode hash) const;
  void rebuild(std::size_t slotCount);

  std::vector<Entry> entries_;
  std::size_t dead_ = 0;        ///< entries taken out but not yet closed up
  std::vector<CFIndex> slots_;  ///< index of an entry plus 1; 0 is free. A power of two of them.
};

// Callbacks for objects.
const void* RetainObject(CFAllocatorRef, const void* object);
void ReleaseObject(CFAllocatorRef, const void* object);
/// A copy of a string, the object itself otherwise.
const void* CopyString(CFAllocatorRef, const void* object);

/// Limits the depth of nested descriptions on this thread, so that a collection that holds itself
/// comes to an end.
class DescriptionDepth {
 public:
  DescriptionDepth();
  ~DescriptionDepth();
  DescriptionDepth(const DescriptionDepth&) = delete;
  DescriptionDepth& operator=(const DescriptionDepth&) = delete;
  bool isTooDeep() const;
};

}  // namespace cfcollection
