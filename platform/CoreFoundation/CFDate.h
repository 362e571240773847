// A point in time.
#pragma once

#include "platform/CoreFoundation/CFBase.h"

/// Seconds since 2001-01-01 00:00:00 UTC; leap seconds are not counted.
using CFAbsoluteTime = double;
using CFTimeInterval = double;

/// From 1970-01-01 to the reference date, in seconds.
inline constexpr CFTimeInterval kCFAbsoluteTimeIntervalSince1970 = 978307200.0;

CFTypeID CFDateGetTypeID();
CFDateRef CFDateCreate(CFAllocatorRef allocator, CFAbsoluteTime time);
/// `date` must not be null.
CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date);
CFAbsoluteTime CFAbsoluteTimeGetCurrent();
