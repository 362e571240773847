// The alias record, version 2: a head of 150 bytes and tagged pieces behind it. All numbers are
// big-endian. Internal to the file layer.
//
//   0 user type   4 size   6 version (2)   8 kind (0 file, 1 folder)   10 volume name (Str27)
//   38 volume's creation date   42 volume's signature   44 kind of drive   46 folder's number
//   50 name (Str63)   114 number   118 creation date   122 type   126 creator
//   130 levels up from the starting file to the common folder, 132 and down to the target (-1:
//   none) 134 volume attributes (4)   138 file system's id   140 reserved (10) 150 pieces: tag,
//   length, bytes, padded to even; tag -1 ends
//
// Tags: 0 folder's name; 1 numbers of the folders upwards; 2 colon path; 14 Unicode name and 15
// volume name (count, then UTF-16); 16 volume's and 17 target's creation date (1/65536 s); 18 POSIX
// path below the volume's root; 19 the volume's mount point. This system's own: 'LR' the POSIX path
// relative to the starting file's folder, 'LI' identities of the target and of its folder.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/CoreServices/MacTypes.h"
#include "platform/CoreServices/ObjectIdentity.h"

namespace lumivane::files {

inline constexpr std::size_t kAliasHeadSize = 150;

struct AliasInfo {
  OSType userType = 0;
  bool isFolder = false;
  std::string volumeName;  ///< UTF-8
  UInt64 volumeDate = 0;   ///< 1/65536 s since 1904-01-01
  std::string name;        ///< as on disk
  std::string shortName;   ///< Mac Roman
  std::string folderName;  ///< Mac Roman
  UInt32 folderNumber = 0;
  UInt32 number = 0;
  UInt64 date = 0;
  OSType type = 0;
  OSType creator = 0;
  SInt16 levelsUp = -1;
  SInt16 levelsDown = -1;
  std::vector<UInt32> folderNumbers;
  std::string colonPath;   ///< Mac Roman; empty when Mac Roman cannot say it
  std::string path;        ///< POSIX, below the volume's root, with a slash in front
  std::string mountPoint;  ///< POSIX
  std::string relativePath;
  Identity object;  ///< null for a target that did not exist
  Identity folder;
};

/// False for what is no whole version 2 record.
bool ParseAliasRecord(const UInt8* bytes, std::size_t size, AliasInfo* info);
/// Nothing when the record would be longer than its size field can say.
std::optional<std::vector<UInt8>> WriteAliasRecord(const AliasInfo& info);

}  // namespace lumivane::files
