// A source whose static objects use the toolkit's while they are built and destroyed. Its name
// sorts behind, and its priority is before, everything that does not say so itself.
#include <string>

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/CoreSystem.h"
#include "sdk/CoreX/CoreUnixPath.h"
#include "sdk/CoreX/LUnixPath.h"
#include "sdk/CoreX/QFramework.h"
#include "sdk/CoreX/T_CFString.h"
#include "tests/sdk/CoreX/ToolkitProbe.h"

namespace {

unsigned* sEndResults = nullptr;

unsigned UseEverything() {
  unsigned results = 0;
  if (CoreUnixPath::s_slash_str_const == "/" && LUnixPath::s_slash_str_const == "/") results |= 1;
  if (CoreSystem::sSingleton.IsAtLeast(kCoreSystem_10_4)) results |= 2;
  if (SystemFramework::sSystem.BundleName() != nullptr &&
      TCFString(SystemFramework::sSystem.BundleName()).strcmp("System.framework") == 0) {
    results |= 4;
  }
  if (QFramework::sQuickTime.BundleName() != nullptr &&
      TCFString(QFramework::sQuickTime.BundleName()).strcmp("QuickTime.framework") == 0) {
    results |= 8;
  }
  TCFString held;
  try {
    if (held.construct(CFSTR("text"), kCFTypeRef_NotOwned)) results |= 16;
  } catch (const CFTypeRefClass::TypeException&) {
    CoreMachDebugLog("a string is no string\n");
  }
  std::string base;
  std::string rest;
  if (CoreUnixPath("name").GetFirstPair(base, rest) && base == "./") results |= 32;
  return results;
}

struct EarlyUser {
  unsigned atStart = UseEverything();
  ~EarlyUser() {
    if (sEndResults != nullptr) *sEndResults = UseEverything();
  }
};

// Built right behind what declares itself as built early, and destroyed right before it.
__attribute__((init_priority(201))) EarlyUser sUser;

}  // namespace

unsigned probe_static_results() {
  return sUser.atStart;
}

void probe_report_end_to(unsigned* results) {
  sEndResults = results;
}
