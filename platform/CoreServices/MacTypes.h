// The platform's basic types. Widths are those of the interfaces they appear in: a `long` of the
// 32-bit platform is SInt32 here, whatever the machine's own `long` is.
#pragma once

#include <cstddef>
#include <cstdint>

using UInt8 = std::uint8_t;
using SInt8 = std::int8_t;
using UInt16 = std::uint16_t;
using SInt16 = std::int16_t;
using UInt32 = std::uint32_t;
using SInt32 = std::int32_t;
using UInt64 = std::uint64_t;
using SInt64 = std::int64_t;
using Boolean = std::uint8_t;
using Fixed = std::int32_t;  ///< 16.16 fixed point
using OSErr = std::int16_t;
using OSStatus = std::int32_t;
using OSType = std::uint32_t;   ///< four-character code, first character in the high byte
using ResType = std::uint32_t;  ///< four-character code of a resource
using FourCharCode = std::uint32_t;
using UniChar = std::uint16_t;  ///< one UTF-16 code unit
using ByteCount = std::uint32_t;
using ItemCount = std::uint32_t;
using Ptr = char*;
using Handle = char**;  ///< relocatable block: points at the block's current address
using Size = std::int32_t;
using TextEncoding = std::uint32_t;
using ScriptCode = std::int16_t;
using RegionCode = std::int16_t;
using LangCode = std::int16_t;

using StringPtr = unsigned char*;  ///< Pascal string: length byte, then the bytes
using ConstStr255Param = const unsigned char*;
using Str255 = unsigned char[256];
using Str63 = unsigned char[64];

/// QuickDraw point and rectangle: vertical before horizontal.
struct Point {
  SInt16 v;
  SInt16 h;
};
struct Rect {
  SInt16 top;
  SInt16 left;
  SInt16 bottom;
  SInt16 right;
};

/// Seconds since 1904-01-01 00:00 UTC: 48 bits of seconds, then 1/65536 s.
struct UTCDateTime {
  UInt16 highSeconds;
  UInt32 lowSeconds;
  UInt16 fraction;
};

/// A file name of the file system: up to 255 UTF-16 code units.
struct HFSUniStr255 {
  UInt16 length;
  UniChar unicode[255];
};

inline constexpr OSErr noErr = 0;
