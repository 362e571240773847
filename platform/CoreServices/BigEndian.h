// Big-endian numbers in bytes. Internal to the file layer.
#pragma once

#include "platform/CoreServices/MacTypes.h"

namespace lumivane::files {

inline UInt16 Get16(const UInt8* bytes) {
  return static_cast<UInt16>((bytes[0] << 8) | bytes[1]);
}
inline UInt32 Get32(const UInt8* bytes) {
  return (static_cast<UInt32>(Get16(bytes)) << 16) | Get16(bytes + 2);
}
inline UInt64 Get64(const UInt8* bytes) {
  return (static_cast<UInt64>(Get32(bytes)) << 32) | Get32(bytes + 4);
}
inline void Put16(UInt8* bytes, UInt16 value) {
  bytes[0] = static_cast<UInt8>(value >> 8);
  bytes[1] = static_cast<UInt8>(value);
}
inline void Put32(UInt8* bytes, UInt32 value) {
  Put16(bytes, static_cast<UInt16>(value >> 16));
  Put16(bytes + 2, static_cast<UInt16>(value));
}
inline void Put64(UInt8* bytes, UInt64 value) {
  Put32(bytes, static_cast<UInt32>(value >> 32));
  Put32(bytes + 4, static_cast<UInt32>(value));
}

}  // namespace lumivane::files
