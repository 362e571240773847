#include "platform/CoreServices/AppleDouble.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "platform/CoreServices/BigEndian.h"

namespace lumivane::files {

namespace {

bool Overlap(std::vector<DoubleEntry> entries) {
  std::erase_if(entries, [](const DoubleEntry& entry) { return entry.length == 0; });
  std::sort(entries.begin(), entries.end(),
            [](const DoubleEntry& a, const DoubleEntry& b) { return a.offset < b.offset; });
  for (std::size_t i = 1; i < entries.size(); ++i) {
    const DoubleEntry& before = entries[i - 1];
    if (UInt64{before.offset} + before.length > entries[i].offset) return true;
  }
  return false;
}

bool SameId(const std::vector<DoubleEntry>& entries) {
  std::vector<UInt32> ids;
  ids.reserve(entries.size());
  for (const DoubleEntry& entry : entries) ids.push_back(entry.id);
  std::sort(ids.begin(), ids.end());
  return std::adjacent_find(ids.begin(), ids.end()) != ids.end();
}

}  // namespace

const DoubleEntry* DoubleHead::Find(UInt32 id) const {
  for (const DoubleEntry& entry : entries) {
    if (entry.id == id) return &entry;
  }
  return nullptr;
}

bool ParseDoubleHead(const UInt8* bytes, std::size_t available, UInt64 fileSize, DoubleHead* head) {
  if (available < kDoubleHeadSize || fileSize < available) return false;
  if (Get32(bytes) != kDoubleMagic || Get32(bytes + 4) != kDoubleVersion2) return false;
  DoubleHead parsed;
  std::memcpy(parsed.filler.data(), bytes + 8, parsed.filler.size());
  parsed.entries.resize(Get16(bytes + 24));
  if (parsed.Size() > available) return false;
  const UInt8* next = bytes + kDoubleHeadSize;
  for (DoubleEntry& entry : parsed.entries) {
    entry = {Get32(next), Get32(next + 4), Get32(next + 8)};
    next += kDoubleEntrySize;
    if (entry.id == 0 || UInt64{entry.offset} + entry.length > fileSize) return false;
    if (entry.length != 0 && entry.offset < parsed.Size()) return false;
  }
  if (SameId(parsed.entries) || Overlap(parsed.entries)) return false;
  const DoubleEntry* finder = parsed.Find(kDoubleFinderInfo);
  if (finder != nullptr && finder->length != 0 && finder->length < kFinderInfoSize) return false;
  const DoubleEntry* dates = parsed.Find(kDoubleFileDates);
  if (dates != nullptr && dates->length != 0 && dates->length < kFileDatesSize) return false;
  *head = std::move(parsed);
  return true;
}

std::optional<DoubleHead> LayOutDouble(const DoubleHead& old,
                                       const std::map<UInt32, std::optional<UInt32>>& lengths) {
  DoubleHead head;
  head.filler = old.filler;
  for (DoubleEntry entry : old.entries) {
    const auto change = lengths.find(entry.id);
    if (change != lengths.end()) {
      if (!change->second) continue;
      entry.length = *change->second;
    }
    head.entries.push_back(entry);
  }
  // New ones by falling id: Finder information, dates, resource fork, as others write them.
  for (auto each = lengths.rbegin(); each != lengths.rend(); ++each) {
    const auto& [id, length] = *each;
    if (length && old.Find(id) == nullptr) head.entries.push_back({id, 0, *length});
  }
  if (head.entries.size() > 65535) return std::nullopt;

  UInt64 next = head.Size();
  UInt64 keptStart = 0;
  UInt64 keptEnd = 0;
  for (const DoubleEntry& entry : head.entries) {
    if (entry.id != kDoubleFinderInfo || entry.length <= kFinderInfoSize) continue;
    if (entry.offset < next) return std::nullopt;
    keptStart = entry.offset;
    keptEnd = keptStart + entry.length;
  }
  const auto place = [&](DoubleEntry* entry) {
    if (keptEnd != 0 && entry->id == kDoubleFinderInfo) return true;
    if (next < keptEnd && next + entry->length > keptStart) next = keptEnd;
    if (next + entry->length > std::numeric_limits<SInt32>::max()) return false;
    entry->offset = static_cast<UInt32>(next);
    next += entry->length;
    return true;
  };
  for (DoubleEntry& entry : head.entries) {
    if (entry.id != kDoubleResourceFork && !place(&entry)) return std::nullopt;
  }
  next = std::max(next, keptEnd);
  for (DoubleEntry& entry : head.entries) {
    if (entry.id == kDoubleResourceFork && !place(&entry)) return std::nullopt;
  }
  return head;
}

std::vector<UInt8> WriteDoubleHead(const DoubleHead& head) {
  std::vector<UInt8> bytes(head.Size());
  Put32(bytes.data(), kDoubleMagic);
  Put32(bytes.data() + 4, kDoubleVersion2);
  std::memcpy(bytes.data() + 8, head.filler.data(), head.filler.size());
  Put16(bytes.data() + 24, static_cast<UInt16>(head.entries.size()));
  UInt8* next = bytes.data() + kDoubleHeadSize;
  for (const DoubleEntry& entry : head.entries) {
    Put32(next, entry.id);
    Put32(next + 4, entry.offset);
    Put32(next + 8, entry.length);
    next += kDoubleEntrySize;
  }
  return bytes;
}

}  // namespace lumivane::files
