// The published resource-file format: a head, the resources' data, and a map of them. All numbers
// are big-endian. Internal to the file layer.
//
//   head (256 bytes): offset and length of data and map (data offset, map offset, data length, map
//     length; 4 bytes each), 112 bytes of the system's and 128 of the application's
//   data: per resource 4 bytes of length, then its bytes
//   map: copy of the head's 16 bytes, 4 + 2 bytes used in memory, 2 bytes of attributes, offsets of
//     the type list and of the name list from the map's start (2 bytes each)
//   type list: number of types - 1; per type: type, number - 1, offset of its references from the
//     type list's start
//   reference: id, offset of the name from the name list's start (-1: none), attributes (1 byte),
//     offset of the data from the data's start (3 bytes), 4 bytes used in memory
//   name list: Pascal strings
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "platform/CoreServices/MacTypes.h"

namespace lumivane::files {

inline constexpr std::size_t kResourceHeadSize = 256;

struct ResourceEntry {
  ResType type = 0;
  SInt16 id = 0;
  UInt8 attributes = 0;
  bool hasName = false;
  std::string name;      ///< Mac Roman
  std::size_t data = 0;  ///< where the bytes are in the fork, and how many
  std::size_t size = 0;
};

struct ResourceMap {
  std::array<UInt8, kResourceHeadSize - 16> reserved{};  ///< the head's bytes for others, kept
  UInt16 attributes = 0;
  std::vector<ResourceEntry> entries;  ///< those of one type one after the other
};

/// Reads a fork's map. False unless everything it points at lies within the fork.
bool ParseResourceFork(const UInt8* bytes, std::size_t size, ResourceMap* map);

/// A fork with the map and, one per entry, these data; the entries' `data` and `size` are not used.
/// Nothing when the format cannot hold so much: data past 16 MB, or names and references past 64
/// KB.
std::optional<std::vector<UInt8>> WriteResourceFork(const ResourceMap& map,
                                                    const std::vector<std::string>& data);

}  // namespace lumivane::files
