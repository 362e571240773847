#include "platform/CoreImage/FilterRegistry.h"

#include "platform/Foundation/Text.h"

namespace lumivane::coreimage {

namespace {

void Drop(const FilterEntry& entry) {
  entry.filterClass->drop();
  NSRelease(entry.attributes);
}

}  // namespace

// Never destroyed: modules take their filters out until the process ends.
FilterRegistry& FilterRegistry::Shared() {
  static FilterRegistry& registry = *new FilterRegistry;
  return registry;
}

// Records of classes whose module has gone are still held, but nothing can be made of them.
void FilterRegistry::DropGone() {
  std::erase_if(entries_, [](const auto& entry) {
    if (entry.second.filterClass->isRegistered()) return false;
    Drop(entry.second);
    return true;
  });
}

bool FilterRegistry::Add(const std::string& name, Class filterClass, NSDictionary* attributes) {
  const std::lock_guard guard(lock_);
  DropGone();
  if (!entries_.try_emplace(name, FilterEntry{filterClass, attributes}).second) return false;
  filterClass->hold();
  NSRetain(attributes);
  return true;
}

bool FilterRegistry::Remove(const std::string& name) {
  const std::lock_guard guard(lock_);
  const auto found = entries_.find(name);
  if (found == entries_.end()) return false;
  Drop(found->second);
  entries_.erase(found);
  return true;
}

const FilterEntry* FilterRegistry::Find(const std::string& name) {
  const std::lock_guard guard(lock_);
  const auto found = entries_.find(name);
  if (found == entries_.end() || !found->second.filterClass->isRegistered()) return nullptr;
  return &found->second;
}

std::vector<std::string> FilterRegistry::Names() {
  const std::lock_guard guard(lock_);
  DropGone();
  std::vector<std::string> names;
  for (const auto& [name, entry] : entries_) names.push_back(name);
  return names;
}

NSArray* CategoriesOf(NSDictionary* attributes) {
  return foundation::ArrayValue(attributes, kCIAttributeFilterCategories);
}

}  // namespace lumivane::coreimage
