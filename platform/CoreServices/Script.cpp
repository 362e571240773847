#include "platform/CoreServices/Script.h"

#include <cstdlib>

#include "platform/CoreServices/ScriptTables.h"

namespace {

RegionCode SystemRegion() {
  for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* locale = std::getenv(variable);
    if (locale != nullptr && *locale != 0) return lumivane::text::RegionOfLocale(locale);
  }
  return verUS;
}

}  // namespace

SInt32 GetScriptManagerVariable(SInt16 selector) {
  switch (selector) {
    case smRegionCode:
      return SystemRegion();
    case smSysScript:
    case smKeyScript:
      return lumivane::text::FindRegion(SystemRegion())->script;
    default:
      return 0;
  }
}
