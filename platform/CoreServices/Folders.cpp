#include "platform/CoreServices/Folders.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "platform/CoreServices/FileErrors.h"
#include "platform/CoreServices/FileReference.h"

namespace lumivane::files {

namespace {

enum class Base {
  kHome,    ///< the home folder
  kData,    ///< $XDG_DATA_HOME, else ~/.local/share
  kState,   ///< $XDG_STATE_HOME, else ~/.local/state
  kConfig,  ///< $XDG_CONFIG_HOME, else ~/.config
  kCache,   ///< $XDG_CACHE_HOME, else ~/.cache
  kTemp,    ///< $TMPDIR, else /tmp
  kLocal,   ///< $LUMIVANE_LOCAL_ROOT, else /usr/local/lib/lumivane
  kSystem,  ///< $LUMIVANE_SYSTEM_ROOT, else /usr/lib/lumivane
};

struct FolderPlace {
  SInt16 domain;
  OSType type;
  Base base;
  const char* below;  ///< relative to the base; empty for the base itself
};

// The one table of places; docs/folders.md shows it to people.
constexpr FolderPlace kPlaces[] = {
    {kUserDomain, kQuickTimeComponentsFolderType, Base::kData, "lumivane/Components"},
    {kUserDomain, kQuickTimeExtensionsFolderType, Base::kData, "lumivane/Components"},
    {kUserDomain, kFrameworksFolderType, Base::kData, "lumivane/Frameworks"},
    {kUserDomain, kImageUnitsFolderType, Base::kData, "lumivane/ImageUnits"},
    {kUserDomain, kApplicationSupportFolderType, Base::kData, "lumivane/Application Support"},
    {kUserDomain, kDomainTopLevelFolderType, Base::kData, "lumivane"},
    {kUserDomain, kLogsFolderType, Base::kState, "lumivane/Logs"},
    {kUserDomain, kPreferencesFolderType, Base::kConfig, "lumivane"},
    {kUserDomain, kCachedDataFolderType, Base::kCache, "lumivane"},
    {kUserDomain, kTemporaryFolderType, Base::kTemp, ""},
    {kUserDomain, kDesktopFolderType, Base::kHome, "Desktop"},
    {kUserDomain, kDocumentsFolderType, Base::kHome, "Documents"},
    {kUserDomain, kCurrentUserFolderType, Base::kHome, ""},

    {kLocalDomain, kQuickTimeComponentsFolderType, Base::kLocal, "Components"},
    {kLocalDomain, kQuickTimeExtensionsFolderType, Base::kLocal, "Components"},
    {kLocalDomain, kFrameworksFolderType, Base::kLocal, "Frameworks"},
    {kLocalDomain, kImageUnitsFolderType, Base::kLocal, "ImageUnits"},
    {kLocalDomain, kApplicationSupportFolderType, Base::kLocal, "Application Support"},
    {kLocalDomain, kDomainTopLevelFolderType, Base::kLocal, ""},

    {kSystemDomain, kQuickTimeComponentsFolderType, Base::kSystem, "Components"},
    {kSystemDomain, kQuickTimeExtensionsFolderType, Base::kSystem, "Components"},
    {kSystemDomain, kFrameworksFolderType, Base::kSystem, "Frameworks"},
    {kSystemDomain, kImageUnitsFolderType, Base::kSystem, "ImageUnits"},
    {kSystemDomain, kApplicationSupportFolderType, Base::kSystem, "Application Support"},
    {kSystemDomain, kDomainTopLevelFolderType, Base::kSystem, ""},
};

// A relative path in one of these variables is to be ignored, by the base directory rules.
bool FromEnvironment(const char* variable, std::string* path) {
  const char* value = std::getenv(variable);
  if (value == nullptr || value[0] != '/') return false;
  *path = value;
  return true;
}

std::string HomeFolder() {
  std::string home;
  if (FromEnvironment("HOME", &home)) return home;
  std::array<char, 16384> text{};
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(getuid(), &entry, text.data(), text.size(), &found) == 0 && found != nullptr &&
      found->pw_dir != nullptr) {
    return found->pw_dir;
  }
  return {};
}

std::string BelowHome(const char* variable, const char* otherwise) {
  std::string path;
  if (FromEnvironment(variable, &path)) return path;
  const std::string home = HomeFolder();
  return home.empty() ? home : home + "/" + otherwise;
}

std::string Absolute(const char* variable, const char* otherwise) {
  std::string path;
  return FromEnvironment(variable, &path) ? path : otherwise;
}

std::string BaseFolder(Base base) {
  switch (base) {
    case Base::kHome:
      return HomeFolder();
    case Base::kData:
      return BelowHome("XDG_DATA_HOME", ".local/share");
    case Base::kState:
      return BelowHome("XDG_STATE_HOME", ".local/state");
    case Base::kConfig:
      return BelowHome("XDG_CONFIG_HOME", ".config");
    case Base::kCache:
      return BelowHome("XDG_CACHE_HOME", ".cache");
    case Base::kTemp:
      return Absolute("TMPDIR", "/tmp");
    case Base::kLocal:
      return Absolute("LUMIVANE_LOCAL_ROOT", "/usr/local/lib/lumivane");
    case Base::kSystem:
      return Absolute("LUMIVANE_SYSTEM_ROOT", "/usr/lib/lumivane");
  }
  return {};
}

const FolderPlace* PlaceOf(SInt16 domain, OSType type) {
  for (const FolderPlace& place : kPlaces) {
    if (place.domain == domain && place.type == type) return &place;
  }
  return nullptr;
}

int MakeFolders(const std::string& path, mode_t mode) {
  for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
    const std::string part = path.substr(0, end);
    // A folder that is there already is fine, whoever made it and when.
    if (mkdir(part.c_str(), mode) != 0 && errno != EEXIST && errno != EISDIR) {
      const int error = errno;
      struct stat status {};
      if (stat(part.c_str(), &status) != 0) return error;
    }
    if (end == std::string::npos) return 0;
  }
}

}  // namespace

std::string FolderPath(SInt16 domain, OSType type) {
  const FolderPlace* place = nullptr;
  if (domain == kOnSystemDisk || domain == kOnAppropriateDisk) {
    place = PlaceOf(kUserDomain, type);
    if (place == nullptr) place = PlaceOf(kSystemDomain, type);
  } else {
    place = PlaceOf(domain, type);
  }
  if (place == nullptr) return {};
  std::string base = BaseFolder(place->base);
  if (base.empty() || place->below[0] == '\0') return base;
  return base.back() == '/' ? base + place->below : base + "/" + place->below;
}

}  // namespace lumivane::files

using namespace lumivane::files;

OSErr FSFindFolder(SInt16 domain, OSType folderType, Boolean createFolder, FSRef* foundRef) {
  if (foundRef == nullptr) return paramErr;
  *foundRef = {};
  const std::string path = FolderPath(domain, folderType);
  if (path.empty()) return fnfErr;
  Located located;
  int error = LocatePath(path, &located);
  if (error == ENOENT && createFolder != kDontCreateFolder) {
    const bool shared = domain == kLocalDomain || domain == kSystemDomain;
    error = MakeFolders(path, shared ? 0755 : 0700);
    if (error == 0) error = LocatePath(path, &located);
  }
  if (error != 0) return ErrorOf(error);
  if (!located.look.IsFolder()) return createFolder != kDontCreateFolder ? dupFNErr : fnfErr;
  *foundRef = ReferenceOf(located);
  return noErr;
}
