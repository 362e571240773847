// The AppleDouble format, version 2: a head with a table of entries, and the entries' bytes behind
// it. All numbers are big-endian.
//
//   0  magic 0x00051607   4  version 0x00020000   8  16 bytes of filler   24  number of entries
//   26 per entry: id, offset, length (4 bytes each)
//
// Internal to the file layer; what lies on disk is SideFile.h's.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <vector>

#include "platform/CoreServices/MacTypes.h"

namespace lumivane::files {

enum : UInt32 {
  kDoubleResourceFork = 2,
  kDoubleFileDates = 8,
  kDoubleFinderInfo = 9,
};

inline constexpr UInt32 kDoubleMagic = 0x00051607;
inline constexpr UInt32 kDoubleVersion2 = 0x00020000;
inline constexpr std::size_t kDoubleHeadSize = 26;
inline constexpr std::size_t kDoubleEntrySize = 12;
inline constexpr std::size_t kDoubleMaxHead = kDoubleHeadSize + 65535 * kDoubleEntrySize;
inline constexpr std::size_t kFinderInfoSize = 32;
inline constexpr std::size_t kFileDatesSize = 16;

struct DoubleEntry {
  UInt32 id = 0;
  UInt32 offset = 0;
  UInt32 length = 0;
};

struct DoubleHead {
  std::array<UInt8, 16> filler{};
  std::vector<DoubleEntry> entries;

  const DoubleEntry* Find(UInt32 id) const;
  std::size_t Size() const { return kDoubleHeadSize + entries.size() * kDoubleEntrySize; }
};

/// Reads the head from a file's first `available` bytes; the file has `fileSize`. False unless it
/// is well formed: right magic and version, a table that lies within `available` (which is enough
/// when it is the smaller of `fileSize` and kDoubleMaxHead), no id twice, every entry within the
/// file, and none that overlaps the table or another.
bool ParseDoubleHead(const UInt8* bytes, std::size_t available, UInt64 fileSize, DoubleHead* head);

/// The table for a file in which the entries of `lengths` have these lengths (or are gone, for
/// nothing) and all others those of `old`. Entries keep their order and new ones are added; the
/// resource fork's bytes go last, so that it can grow. Nothing when the file would be longer than
/// the format can say.
///
/// A Finder information entry that is longer than its 32 bytes keeps its offset: extended
/// attributes stored behind them refer to places in the file by number. Nothing when it would lie
/// in the way of a longer table.
std::optional<DoubleHead> LayOutDouble(const DoubleHead& old,
                                       const std::map<UInt32, std::optional<UInt32>>& lengths);

std::vector<UInt8> WriteDoubleHead(const DoubleHead& head);

}  // namespace lumivane::files
