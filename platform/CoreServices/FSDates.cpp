#include "platform/CoreServices/FSDates.h"

namespace lumivane::files {

namespace {

bool Earlier(const statx_timestamp& a, const statx_timestamp& b) {
  return a.tv_sec < b.tv_sec || (a.tv_sec == b.tv_sec && a.tv_nsec < b.tv_nsec);
}

}  // namespace

UTCDateTime DateOfSeconds(SInt64 since1904) {
  if (since1904 < 0) return {};
  return {static_cast<UInt16>(since1904 >> 32), static_cast<UInt32>(since1904 & 0xffffffff), 0};
}

UTCDateTime DateOf(const statx_timestamp& time) {
  UTCDateTime date = DateOfSeconds(time.tv_sec + kSecondsTo1970);
  if (time.tv_sec + kSecondsTo1970 < 0) return date;
  date.fraction = static_cast<UInt16>(static_cast<UInt64>(time.tv_nsec) * 65536 / 1000000000);
  return date;
}

SInt64 SecondsOf(const UTCDateTime& date) {
  return static_cast<SInt64>((static_cast<UInt64>(date.highSeconds) << 32) | date.lowSeconds);
}

timespec TimeOf(const UTCDateTime& date) {
  timespec time{};
  time.tv_sec = SecondsOf(date) - kSecondsTo1970;
  // Rounded up, so that reading the date back cuts to the same fraction.
  time.tv_nsec =
      static_cast<long>((static_cast<UInt64>(date.fraction) * 1000000000 + 65535) / 65536);
  return time;
}

statx_timestamp BirthOf(const struct statx& status) {
  if ((status.stx_mask & STATX_BTIME) != 0) return status.stx_btime;
  statx_timestamp earliest = status.stx_mtime;
  if (Earlier(status.stx_ctime, earliest)) earliest = status.stx_ctime;
  if (Earlier(status.stx_atime, earliest)) earliest = status.stx_atime;
  return earliest;
}

}  // namespace lumivane::files
