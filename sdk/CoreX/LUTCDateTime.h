// A point in time as file catalogues keep it, with its order.
#pragma once

#include "platform/CoreServices/MacTypes.h"

/// Seconds since 1904-01-01 00:00 UTC in three fields, the most significant first.
struct LUTCDateTime : UTCDateTime {
  LUTCDateTime() : UTCDateTime{} {}
  LUTCDateTime(const UTCDateTime& time) : UTCDateTime(time) {}

  /// Below 0: earlier than `other`; above 0: later; 0: the same.
  int Compare(const UTCDateTime& other) const {
    if (highSeconds != other.highSeconds) return highSeconds < other.highSeconds ? -1 : 1;
    if (lowSeconds != other.lowSeconds) return lowSeconds < other.lowSeconds ? -1 : 1;
    if (fraction != other.fraction) return fraction < other.fraction ? -1 : 1;
    return 0;
  }
};
