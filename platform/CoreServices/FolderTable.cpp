#include "platform/CoreServices/FolderTable.h"

#include <algorithm>
#include <tuple>

namespace lumivane::files {

FolderTable& FolderTable::Shared() {
  // Never destroyed: static destructors of other modules still write the log.
  static auto* const table = new FolderTable;
  return *table;
}

void FolderTable::Adopt(const Identity& folder, std::ptrdiff_t count) {
  const auto found = nodes_.find(folder);
  if (found != nodes_.end()) {
    found->second.children =
        static_cast<std::size_t>(static_cast<std::ptrdiff_t>(found->second.children) + count);
  }
}

void FolderTable::Enter(const Identity& object, const Place& place) {
  const std::lock_guard lock(mutex_);
  if (place.folder.IsNull() == false && !nodes_.contains(place.folder)) return;
  const auto [node, isNew] = nodes_.try_emplace(object);
  Node& entry = node->second;
  const bool moved = !isNew && entry.place.moved;
  if (!isNew) Adopt(entry.place.folder, -1);
  entry.place = place;
  entry.place.moved = place.moved || moved;
  entry.used = ++clock_;
  Adopt(place.folder, +1);
  if (place.isFolder) folderNumbers_[NumberKey(object)] = object;
  if (nodes_.size() > limit_) Shrink();
}

void FolderTable::Drop(const Identity& object) {
  const std::lock_guard lock(mutex_);
  const auto found = nodes_.find(object);
  // A folder that still has entries below it is left for Shrink: they must stay countable.
  if (found == nodes_.end() || found->second.children != 0) return;
  Erase(found);
}

std::optional<FolderTable::Place> FolderTable::Find(const Identity& object) {
  const std::lock_guard lock(mutex_);
  const auto found = nodes_.find(object);
  if (found == nodes_.end()) return std::nullopt;
  found->second.used = ++clock_;
  return found->second.place;
}

std::vector<Identity> FolderTable::ChainLocked(const Identity& folder) {
  std::vector<Identity> chain;
  Identity current = folder;
  while (!current.IsNull() && chain.size() < kMaxDepth) {
    const auto found = nodes_.find(current);
    if (found == nodes_.end()) break;
    found->second.used = ++clock_;
    chain.push_back(current);
    current = found->second.place.folder;
  }
  return chain;
}

std::vector<Identity> FolderTable::ChainOf(const Identity& folder) {
  const std::lock_guard lock(mutex_);
  return ChainLocked(folder);
}

std::optional<std::string> FolderTable::PathOf(const Identity& folder) {
  const std::lock_guard lock(mutex_);
  const std::vector<Identity> chain = ChainLocked(folder);
  if (chain.empty() || !nodes_.at(chain.back()).place.folder.IsNull()) return std::nullopt;
  std::string path;
  for (auto id = chain.rbegin() + 1; id != chain.rend(); ++id)
    path += "/" + nodes_.at(*id).place.name;
  return path.empty() ? "/" : path;
}

std::optional<Identity> FolderTable::FindNumber(UInt32 device, UInt32 number) {
  const std::lock_guard lock(mutex_);
  const auto found = folderNumbers_.find((static_cast<UInt64>(device) << 32) | number);
  if (found == folderNumbers_.end()) return std::nullopt;
  return found->second;
}

void FolderTable::Erase(Nodes::iterator node) {
  const Identity object = node->first;
  const Identity folder = node->second.place.folder;
  const auto number = folderNumbers_.find(NumberKey(object));
  if (number != folderNumbers_.end() && number->second == object) folderNumbers_.erase(number);
  nodes_.erase(node);
  Adopt(folder, -1);
}

void FolderTable::Shrink() {
  const std::size_t goal = limit_ - limit_ / 4;
  const UInt64 newest = clock_;
  while (nodes_.size() > goal) {
    using Key = std::tuple<bool, UInt64, Identity>;
    std::vector<Key> leaves;
    for (const auto& [id, node] : nodes_) {
      if (node.children == 0 && node.used != newest) {
        leaves.emplace_back(node.place.moved, node.used, id);
      }
    }
    if (leaves.empty()) return;
    const std::size_t count = std::min(leaves.size(), nodes_.size() - goal);
    const auto older = [](const Key& a, const Key& b) {
      return std::tie(std::get<0>(a), std::get<1>(a)) < std::tie(std::get<0>(b), std::get<1>(b));
    };
    std::nth_element(leaves.begin(), leaves.begin() + static_cast<std::ptrdiff_t>(count - 1),
                     leaves.end(), older);
    for (std::size_t i = 0; i < count; ++i) {
      Erase(nodes_.find(std::get<2>(leaves[i])));
    }
  }
}

void FolderTable::SetLimit(std::size_t entries) {
  const std::lock_guard lock(mutex_);
  limit_ = std::max<std::size_t>(entries, 4);
  if (nodes_.size() > limit_) Shrink();
}

std::size_t FolderTable::size() {
  const std::lock_guard lock(mutex_);
  return nodes_.size();
}

}  // namespace lumivane::files
