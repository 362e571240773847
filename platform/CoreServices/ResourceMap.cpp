#include "platform/CoreServices/ResourceMap.h"

#include <algorithm>
#include <cstring>

#include "platform/CoreServices/BigEndian.h"

namespace lumivane::files {

namespace {

constexpr std::size_t kMapHead = 28;
constexpr std::size_t kTypeSize = 8;
constexpr std::size_t kReferenceSize = 12;
constexpr UInt16 kNoName = 0xffff;
// Bits of a map's attributes that say something about the map in memory.
constexpr UInt16 kMapStored = 0x0080;

/// The bytes of a fork, with every access checked.
class View {
 public:
  View(const UInt8* bytes, std::size_t size) : bytes_(bytes), size_(size) {}

  std::size_t size() const { return size_; }
  bool Has(std::size_t at, std::size_t count) const { return at <= size_ && count <= size_ - at; }
  std::optional<View> Part(std::size_t at, std::size_t count) const {
    if (!Has(at, count)) return std::nullopt;
    return View(bytes_ + at, count);
  }
  const UInt8* at(std::size_t offset) const { return bytes_ + offset; }

 private:
  const UInt8* bytes_;
  std::size_t size_;
};

struct Reader {
  const View& fork;
  const View& data;
  const View& map;
  std::size_t dataOffset;
  std::size_t typeList;
  std::size_t nameList;
  std::size_t references = 0;

  bool ReadReference(std::size_t at, ResType type, ResourceMap* out) {
    // Lists that share their references would make a small map mean millions of resources.
    if (!map.Has(at, kReferenceSize) || ++references * kReferenceSize > map.size()) return false;
    const UInt8* bytes = map.at(at);
    ResourceEntry entry;
    entry.type = type;
    entry.id = static_cast<SInt16>(Get16(bytes));
    entry.attributes = bytes[4];
    const UInt16 name = Get16(bytes + 2);
    if (name != kNoName) {
      const std::size_t start = nameList + name;
      if (!map.Has(start, 1) || !map.Has(start + 1, *map.at(start))) return false;
      entry.hasName = true;
      entry.name.assign(reinterpret_cast<const char*>(map.at(start + 1)), *map.at(start));
    }
    const std::size_t offset = Get32(bytes + 4) & 0xffffff;
    if (!data.Has(offset, 4)) return false;
    entry.size = Get32(data.at(offset));
    if (!data.Has(offset + 4, entry.size)) return false;
    entry.data = dataOffset + offset + 4;
    out->entries.push_back(std::move(entry));
    return true;
  }

  bool ReadTypes(ResourceMap* out) {
    if (!map.Has(typeList, 2)) return false;
    const std::size_t types = static_cast<UInt16>(Get16(map.at(typeList)) + 1);
    for (std::size_t i = 0; i < types; ++i) {
      const std::size_t at = typeList + 2 + i * kTypeSize;
      if (!map.Has(at, kTypeSize)) return false;
      const ResType type = Get32(map.at(at));
      const std::size_t count = static_cast<UInt16>(Get16(map.at(at + 4)) + 1);
      const std::size_t first = typeList + Get16(map.at(at + 6));
      for (std::size_t j = 0; j < count; ++j) {
        if (!ReadReference(first + j * kReferenceSize, type, out)) return false;
      }
    }
    return true;
  }
};

}  // namespace

bool ParseResourceFork(const UInt8* bytes, std::size_t size, ResourceMap* map) {
  const View fork(bytes, size);
  if (!fork.Has(0, 16)) return false;
  const std::size_t dataOffset = Get32(bytes);
  const std::optional<View> data = fork.Part(dataOffset, Get32(bytes + 8));
  const std::optional<View> mapView = fork.Part(Get32(bytes + 4), Get32(bytes + 12));
  if (!data || !mapView || !mapView->Has(0, kMapHead)) return false;
  ResourceMap parsed;
  if (dataOffset >= kResourceHeadSize && fork.Has(0, kResourceHeadSize)) {
    std::memcpy(parsed.reserved.data(), bytes + 16, parsed.reserved.size());
  }
  parsed.attributes = Get16(mapView->at(22));
  Reader reader{fork, *data, *mapView, dataOffset, Get16(mapView->at(24)), Get16(mapView->at(26))};
  if (!reader.ReadTypes(&parsed)) return false;
  *map = std::move(parsed);
  return true;
}

std::optional<std::vector<UInt8>> WriteResourceFork(const ResourceMap& map,
                                                    const std::vector<std::string>& data) {
  // Those of one type together, types by their first resource.
  std::vector<ResType> types;
  for (const ResourceEntry& entry : map.entries) {
    if (std::find(types.begin(), types.end(), entry.type) == types.end()) {
      types.push_back(entry.type);
    }
  }
  const std::size_t typeList = 2 + types.size() * kTypeSize;
  const std::size_t nameList = kMapHead + typeList + map.entries.size() * kReferenceSize;
  if (nameList > 0xffff || types.size() > 0xffff || map.entries.size() != data.size()) {
    return std::nullopt;
  }
  std::vector<UInt8> bytes(kResourceHeadSize);
  std::vector<UInt8> mapBytes(nameList);
  std::vector<UInt8> names;
  UInt8* typeAt = mapBytes.data() + kMapHead + 2;
  std::size_t reference = typeList;
  for (const ResType type : types) {
    Put32(typeAt, type);
    Put16(typeAt + 6, static_cast<UInt16>(reference));
    UInt16 count = 0;
    for (std::size_t i = 0; i < map.entries.size(); ++i) {
      const ResourceEntry& entry = map.entries[i];
      if (entry.type != type) continue;
      const std::size_t offset = bytes.size() - kResourceHeadSize;
      if (offset > 0xffffff || names.size() >= kNoName || data[i].size() > 0x7fffffff) {
        return std::nullopt;
      }
      UInt8* at = mapBytes.data() + kMapHead + reference;
      Put16(at, static_cast<UInt16>(entry.id));
      Put16(at + 2, entry.hasName ? static_cast<UInt16>(names.size()) : kNoName);
      Put32(at + 4, (static_cast<UInt32>(entry.attributes) << 24) | static_cast<UInt32>(offset));
      if (entry.hasName) {
        const std::size_t length = std::min<std::size_t>(entry.name.size(), 255);
        names.push_back(static_cast<UInt8>(length));
        names.insert(names.end(), entry.name.begin(),
                     entry.name.begin() + static_cast<std::ptrdiff_t>(length));
      }
      bytes.resize(bytes.size() + 4);
      Put32(bytes.data() + bytes.size() - 4, static_cast<UInt32>(data[i].size()));
      bytes.insert(bytes.end(), data[i].begin(), data[i].end());
      reference += kReferenceSize;
      ++count;
    }
    Put16(typeAt + 4, static_cast<UInt16>(count - 1));
    typeAt += kTypeSize;
  }
  Put16(mapBytes.data() + 22, map.attributes & kMapStored);
  Put16(mapBytes.data() + 24, kMapHead);
  Put16(mapBytes.data() + 26, static_cast<UInt16>(nameList));
  Put16(mapBytes.data() + kMapHead, static_cast<UInt16>(types.size() - 1));
  mapBytes.insert(mapBytes.end(), names.begin(), names.end());

  if (bytes.size() + mapBytes.size() > 0x7fffffff) return std::nullopt;
  Put32(bytes.data(), kResourceHeadSize);
  Put32(bytes.data() + 4, static_cast<UInt32>(bytes.size()));
  Put32(bytes.data() + 8, static_cast<UInt32>(bytes.size() - kResourceHeadSize));
  Put32(bytes.data() + 12, static_cast<UInt32>(mapBytes.size()));
  std::memcpy(bytes.data() + 16, map.reserved.data(), map.reserved.size());
  std::memcpy(mapBytes.data(), bytes.data(), 16);
  bytes.insert(bytes.end(), mapBytes.begin(), mapBytes.end());
  return bytes;
}

}  // namespace lumivane::files
