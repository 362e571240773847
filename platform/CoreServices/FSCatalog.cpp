#include "platform/CoreServices/FileReference.h"
#include "platform/CoreServices/Files.h"

namespace lumivane::files {

namespace {

// Seconds from 1904-01-01 to 1970-01-01, both 00:00 UTC.
constexpr SInt64 kEpochs = 2082844800;

UTCDateTime DateOf(const statx_timestamp& time) {
  const SInt64 seconds = time.tv_sec + kEpochs;
  if (seconds < 0) return {};
  const auto fraction = static_cast<UInt64>(time.tv_nsec) * 65536 / 1000000000;
  return {static_cast<UInt16>(seconds >> 32), static_cast<UInt32>(seconds & 0xffffffff),
          static_cast<UInt16>(fraction)};
}

bool Earlier(const statx_timestamp& a, const statx_timestamp& b) {
  return a.tv_sec < b.tv_sec || (a.tv_sec == b.tv_sec && a.tv_nsec < b.tv_nsec);
}

statx_timestamp BirthOf(const struct statx& status) {
  if ((status.stx_mask & STATX_BTIME) != 0) return status.stx_btime;
  statx_timestamp earliest = status.stx_mtime;
  if (Earlier(status.stx_ctime, earliest)) earliest = status.stx_ctime;
  if (Earlier(status.stx_atime, earliest)) earliest = status.stx_atime;
  return earliest;
}

}  // namespace

}  // namespace lumivane::files

using namespace lumivane::files;

OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfo,
                       HFSUniStr255*, FSSpec*, FSRef* parentRef) {
  Located located;
  if (const OSErr error = Resolve(ref, &located); error != noErr) return error;
  if (parentRef != nullptr) {
    *parentRef = {};
    Located parent;
    if (LocateParent(located, &parent)) *parentRef = ReferenceOf(parent);
  }
  if (catalogInfo == nullptr) return noErr;
  const struct statx& status = located.look.status;
  if ((whichInfo & kFSCatInfoNodeFlags) != 0) {
    catalogInfo->nodeFlags = located.look.IsFolder() ? kFSNodeIsDirectoryMask : 0;
    if ((status.stx_mode & 0222) == 0) catalogInfo->nodeFlags |= kFSNodeLockedMask;
  }
  if ((whichInfo & kFSCatInfoCreateDate) != 0) catalogInfo->createDate = DateOf(BirthOf(status));
  if ((whichInfo & kFSCatInfoContentMod) != 0)
    catalogInfo->contentModDate = DateOf(status.stx_mtime);
  if ((whichInfo & kFSCatInfoAttrMod) != 0)
    catalogInfo->attributeModDate = DateOf(status.stx_ctime);
  if ((whichInfo & kFSCatInfoAccessDate) != 0) catalogInfo->accessDate = DateOf(status.stx_atime);
  return noErr;
}
