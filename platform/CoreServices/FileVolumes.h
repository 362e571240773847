// Mounted volumes, their numbers and names, and the numbers of nodes. Internal to the file layer.
//
// A volume is what lies below one mount point on one device. Its number is given when it is first
// met and kept while it is mounted.
#pragma once

#include <string>

#include "platform/CoreServices/FileReference.h"
#include "platform/CoreServices/Files.h"

namespace lumivane::files {

inline constexpr FSVolumeRefNum kStartUpVolume = -100;
inline constexpr UInt32 kRootParentNumber = 1;
inline constexpr UInt32 kRootNumber = 2;

struct Volume {
  FSVolumeRefNum number = 0;
  Identity root;
  std::string name;  ///< UTF-8, unique among the volumes met
};

/// The volume an object lies on.
Volume VolumeOf(const Located& located);
/// Of the volume's root folder itself, too.
OSErr LocateVolume(const Volume& volume, Located* root);
/// 0 is the start-up volume. False for a number not given, or no longer mounted.
bool VolumeByNumber(FSVolumeRefNum number, Volume* volume);
bool VolumeByName(const std::string& name, Volume* volume);
/// From 1; the start-up volume is the first.
bool VolumeByIndex(std::size_t index, Volume* volume);

/// For a path "/Volumes/NAME" or below it, the path it stands for: NAME is the name of a volume.
/// False for other paths and when no volume bears the name.
bool PathOnVolume(const std::string& path, std::string* onVolume);

UInt32 NodeNumber(const Identity& object, const Volume& volume);
/// The number of the folder that the object lies in.
UInt32 ParentNumber(const Located& located, const Volume& volume);
/// Finds a folder by number: among those met, else by a search of the volume that gives up after
/// a second. dirNFErr when there is none.
OSErr LocateFolderByNumber(const Volume& volume, UInt32 number, Located* folder);

}  // namespace lumivane::files
