// The Mac encodings that the system's conversion library lacks, as tables. Their data is written by
// tables/make_mac_tables.pl.
#pragma once

#include <span>

#include "platform/CoreFoundation/CFStringEncodings.h"
#include "platform/CoreServices/MacTypes.h"

namespace cftext {

inline constexpr char16_t kMacNone = 0xFFFF;      ///< a byte that means nothing
inline constexpr char16_t kMacSequence = 0xFFFE;  ///< a byte that means several characters

/// What the bytes from `first` on mean, alone (`lead` is 0) or after the byte `lead`.
struct MacRow {
  UInt8 lead;
  UInt8 first;
  UInt16 count;
  const char16_t* units;
};

/// One byte, or two as lead * 256 + second, that mean several characters.
struct MacSequence {
  UInt16 code;
  const char16_t* text;
};

struct MacTable {
  CFStringEncoding encoding;
  std::span<const MacRow> rows;  ///< that of single bytes first, then by lead byte
  std::span<const MacSequence> sequences;
};

std::span<const MacTable> AllMacTables();

}  // namespace cftext
