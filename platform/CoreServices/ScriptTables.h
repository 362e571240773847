// Regions and languages by their numbers, with the script and the encoding of their texts. Internal
// to the Script Manager and the text converters.
#pragma once

#include <span>

#include "platform/CoreServices/Script.h"
#include "platform/CoreServices/TextCommon.h"

namespace lumivane::text {

inline constexpr ScriptCode kAnyScript = kTextScriptDontCare;

struct RegionInfo {
  RegionCode region;
  ScriptCode script;          ///< kAnyScript for regions of several
  TextEncodingBase encoding;  ///< the script's number where it has none of its own
  const char* locale;         ///< "language" or "language_COUNTRY"; null for those that are no
                              ///< locale's region
};

std::span<const RegionInfo> AllRegions();
/// Null for a number that is no region's.
const RegionInfo* FindRegion(SInt32 region);

struct LanguageInfo {
  LangCode language;
  ScriptCode script;
  TextEncodingBase encoding;
};

/// False for a number that is no language's.
bool FindLanguage(SInt32 language, LanguageInfo* info);

/// The region of a locale ("pt_BR.UTF-8"); verUS for "C", "POSIX" and what is not known.
RegionCode RegionOfLocale(const char* locale);

}  // namespace lumivane::text
