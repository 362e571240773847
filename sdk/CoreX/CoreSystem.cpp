#include "sdk/CoreX/CoreSystem.h"

#include "platform/CoreServices/Gestalt.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/StaticOrder.h"

CORE_BUILT_EARLY CoreSystem CoreSystem::sSingleton;
CORE_BUILT_EARLY CFBundleDLL SystemFramework::sSystem(CFSTR("System.framework"));

CoreSystem::CoreSystem() {
  const OSErr error = Gestalt(gestaltSystemVersion, &mVersion);
  VERIFY_TEXT(8, "error==noErr", error == noErr);
}

bool CoreSystem::IsAtLeast(CoreSystemName version) const {
  return IsAtLeast(mVersion, version);
}

bool CoreSystem::IsAtLeast(SInt32 systemVersion, CoreSystemName version) {
  return (systemVersion & 0xFFF0) >= version;
}

int SystemFramework::mprotect(const void* address, std::size_t length, int protection) {
  if (!sSystem.LoadSystemFramework()) return 0;
  return sSystem.FnCall<int(const void*, std::size_t, int)>(CFSTR("mprotect"), address, length,
                                                            protection);
}

int SystemFramework::chdir(const char* in_utf8_path_string) {
  if (!sSystem.LoadSystemFramework()) return -1;
  if (!VERIFY_AT(52, in_utf8_path_string)) return -1;
  return sSystem.FnCall<int(const char*)>(CFSTR("chdir"), in_utf8_path_string);
}

char* SystemFramework::getcwd(char* buffer, std::size_t size) {
  if (!sSystem.LoadSystemFramework()) return nullptr;
  return sSystem.FnCall<char*(char*, std::size_t)>(CFSTR("getcwd"), buffer, size);
}
