// The process's table of filters. Internal to CoreImage.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/CoreImage/CIFilter.h"

namespace lumivane::coreimage {

/// What is registered under one name. Copies share the references; the registry holds one.
struct FilterEntry {
  Class filterClass = nullptr;
  NSDictionary* attributes = nullptr;  ///< may be null
};

/// Safe from any thread. The lock is recursive: a filter's constructor runs under it and may look
/// other filters up.
class FilterRegistry {
 public:
  static FilterRegistry& Shared();

  std::recursive_mutex& lock() { return lock_; }

  bool Add(const std::string& name, Class filterClass, NSDictionary* attributes);
  bool Remove(const std::string& name);
  /// Null when there is none or its module has gone. Valid while lock() is held.
  const FilterEntry* Find(const std::string& name);
  /// Sorted.
  std::vector<std::string> Names();

 private:
  void DropGone();

  std::recursive_mutex lock_;
  std::map<std::string, FilterEntry> entries_;
};

/// The categories of a filter's description; null when it names none.
NSArray* CategoriesOf(NSDictionary* attributes);

}  // namespace lumivane::coreimage
