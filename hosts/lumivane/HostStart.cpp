#include "hosts/lumivane/HostStart.h"

#include <cstdio>

#include "platform/CoreServices/Files.h"
#include "sdk/CoreX/CoreMachDebugLog.h"

namespace lumivane {

void PrepareHost() {
  FSRef logs{};
  const OSErr error = FSFindFolder(kUserDomain, kLogsFolderType, kCreateFolder, &logs);
  if (error != noErr) {
    std::fprintf(stderr,
                 "lumivane: the log folder cannot be made (error %d), so nothing is logged; check "
                 "XDG_STATE_HOME\n",
                 error);
  }
}

const char* Version() {
  return LUMIVANE_VERSION;
}

std::string LogFilePath() {
  FSRef logs{};
  if (FSFindFolder(kUserDomain, kLogsFolderType, kDontCreateFolder, &logs) != noErr) return {};
  UInt8 path[4096];
  if (FSRefMakePath(&logs, path, sizeof(path)) != noErr) return {};
  return std::string(reinterpret_cast<const char*>(path)) + "/" + g_CoreMachDebug_LogFileName;
}

}  // namespace lumivane
