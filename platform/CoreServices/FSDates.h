// The catalogue's dates. Internal to the file layer.
#pragma once

#include <sys/stat.h>

#include "platform/CoreServices/MacTypes.h"

namespace lumivane::files {

/// Seconds from 1904-01-01 to 1970-01-01, both 00:00 UTC.
inline constexpr SInt64 kSecondsTo1970 = 2082844800;
/// Seconds from 1904-01-01 to 2000-01-01, where AppleDouble's dates count from.
inline constexpr SInt64 kSecondsTo2000 = 3029529600;

/// 1904 itself for dates before it.
UTCDateTime DateOf(const statx_timestamp& time);
UTCDateTime DateOfSeconds(SInt64 since1904);
SInt64 SecondsOf(const UTCDateTime& date);  ///< since 1904, the fraction cut off
timespec TimeOf(const UTCDateTime& date);

/// The birth time, or the earliest of the other times where the file system does not keep it.
statx_timestamp BirthOf(const struct statx& status);

}  // namespace lumivane::files
