// Reading and writing catalogue information of an object that has been found. Internal to the file
// layer.
#pragma once

#include <array>

#include "platform/CoreServices/AppleDouble.h"
#include "platform/CoreServices/FileReference.h"
#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/SideFile.h"

namespace lumivane::files {

/// Finder information as it lies on disk: 16 bytes FInfo or DInfo, 16 bytes FXInfo or DXInfo,
/// big-endian.
using FinderBytes = std::array<UInt8, kFinderInfoSize>;

FinderBytes PackFinderInfo(bool isFolder, const UInt8 info[16], const UInt8 extended[16]);
void UnpackFinderInfo(bool isFolder, const FinderBytes& bytes, UInt8 info[16], UInt8 extended[16]);

/// Reads what `which` names. fsDSIntErr when that is in the side file and the side file is broken;
/// a creation date is then the file system's.
OSErr ReadCatalogInfo(const Located& located, FSCatalogInfoBitmap which, FSCatalogInfo* info);

/// Whether `which` names something that is kept in the side file.
bool NeedsSideFile(FSCatalogInfoBitmap which);
/// The changes that make a side file say what `which` names. `bytes` holds what they point at.
struct SideBytes {
  FinderBytes finder{};
  std::array<UInt8, kFileDatesSize> dates{};
};
OSErr MakeSideChanges(const SideFile& old, bool isFolder, FSCatalogInfoBitmap which,
                      const FSCatalogInfo& info, SideBytes* bytes, SideChanges* changes);

/// Writes what `which` names. Caller holds the object's lock.
OSErr WriteCatalogInfo(const Located& located, FSCatalogInfoBitmap which,
                       const FSCatalogInfo& info);

/// Number of objects in an open folder, side files left out; an errno below 0 on failure.
SInt64 CountObjects(int folder);

}  // namespace lumivane::files
