// Finder information between memory (the machine's order) and disk (big-endian).
#include <cstring>

#include "platform/CoreServices/BigEndian.h"
#include "platform/CoreServices/FSCatalogInfo.h"

namespace lumivane::files {

namespace {

// Widths of the fields, in order; each record has 16 bytes and no gaps.
constexpr UInt8 kFileInfo[] = {4, 4, 2, 2, 2, 2};
constexpr UInt8 kFileExtended[] = {2, 2, 2, 2, 1, 1, 2, 4};
constexpr UInt8 kFolderInfo[] = {2, 2, 2, 2, 2, 2, 2, 2};
constexpr UInt8 kFolderExtended[] = {2, 2, 4, 1, 1, 2, 4};

template <std::size_t N>
void ToDisk(const UInt8 (&widths)[N], const UInt8* memory, UInt8* disk) {
  for (const UInt8 width : widths) {
    if (width == 4) {
      UInt32 value = 0;
      std::memcpy(&value, memory, 4);
      Put32(disk, value);
    } else if (width == 2) {
      UInt16 value = 0;
      std::memcpy(&value, memory, 2);
      Put16(disk, value);
    } else {
      *disk = *memory;
    }
    memory += width;
    disk += width;
  }
}

template <std::size_t N>
void FromDisk(const UInt8 (&widths)[N], const UInt8* disk, UInt8* memory) {
  for (const UInt8 width : widths) {
    if (width == 4) {
      const UInt32 value = Get32(disk);
      std::memcpy(memory, &value, 4);
    } else if (width == 2) {
      const UInt16 value = Get16(disk);
      std::memcpy(memory, &value, 2);
    } else {
      *memory = *disk;
    }
    memory += width;
    disk += width;
  }
}

}  // namespace

FinderBytes PackFinderInfo(bool isFolder, const UInt8 info[16], const UInt8 extended[16]) {
  FinderBytes bytes{};
  if (isFolder) {
    ToDisk(kFolderInfo, info, bytes.data());
    ToDisk(kFolderExtended, extended, bytes.data() + 16);
  } else {
    ToDisk(kFileInfo, info, bytes.data());
    ToDisk(kFileExtended, extended, bytes.data() + 16);
  }
  return bytes;
}

void UnpackFinderInfo(bool isFolder, const FinderBytes& bytes, UInt8 info[16], UInt8 extended[16]) {
  if (isFolder) {
    FromDisk(kFolderInfo, bytes.data(), info);
    FromDisk(kFolderExtended, bytes.data() + 16, extended);
  } else {
    FromDisk(kFileInfo, bytes.data(), info);
    FromDisk(kFileExtended, bytes.data() + 16, extended);
  }
}

}  // namespace lumivane::files
