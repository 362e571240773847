// The Folder Manager: folders by purpose and by whose they are. The table of places is in
// Folders.cpp.
#pragma once

#include <string>

#include "platform/CoreServices/Files.h"

/// Domains: whose folders are meant.
enum : SInt16 {
  kOnSystemDisk = -32768,
  kOnAppropriateDisk = -32767,
  kSystemDomain = -32766,
  kLocalDomain = -32765,
  kNetworkDomain = -32764,
  kUserDomain = -32763,
};

/// Folder types with a place on this system.
enum : OSType {
  kLogsFolderType = 'logs',
  kFrameworksFolderType = 'fram',
  kQuickTimeComponentsFolderType = 'wcmp',
  kQuickTimeExtensionsFolderType = 'qtex',
  kImageUnitsFolderType = 'imgu',  ///< plug-ins that bring image filters; a code of this system
  kPreferencesFolderType = 'pref',
  kApplicationSupportFolderType = 'asup',
  kCachedDataFolderType = 'cach',
  kTemporaryFolderType = 'temp',
  kDesktopFolderType = 'desk',
  kDocumentsFolderType = 'docs',
  kCurrentUserFolderType = 'cusr',
  kDomainTopLevelFolderType = 'dtop',  ///< the folder that holds the domain's other folders
};

inline constexpr Boolean kDontCreateFolder = 0;
inline constexpr Boolean kCreateFolder = 1;

/// The folder of `folderType` in `domain` into `foundRef`. The environment is read at each call.
/// With `createFolder`, a missing folder is made (0700 in the user's domain, 0755 in the others,
/// parents too). fnfErr when it is missing or the pair has no place on this system; dupFNErr when
/// it is to be made and something that is no folder bears its name.
/// kOnSystemDisk means the user's folder where there is one, else the system's.
/// docs/folders.md lists the mapping and the variables that override it.
OSErr FSFindFolder(SInt16 domain, OSType folderType, Boolean createFolder, FSRef* foundRef);

namespace lumivane::files {

/// Where the folder lies, whether or not it exists; empty when the pair has no place.
std::string FolderPath(SInt16 domain, OSType folderType);

}  // namespace lumivane::files
