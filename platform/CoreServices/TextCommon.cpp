#include "platform/CoreServices/TextCommon.h"

#include <string_view>

#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/ScriptTables.h"

namespace {

using lumivane::text::kAnyScript;

constexpr UInt32 kVariantShift = 16;
constexpr UInt32 kFormatShift = 26;
constexpr UInt32 kBaseMask = 0xFFFF;
constexpr UInt32 kVariantMask = 0x3FF;
constexpr UInt32 kFormatMask = 0xF;
constexpr SInt32 kUnicodeScript = 0x7E;

bool IsScript(SInt32 script) {
  return (script >= smRoman && script <= smUninterp) || script == kUnicodeScript;
}

// False when both are stated and differ.
bool Agree(SInt32& script, SInt32 other) {
  if (other == kAnyScript) return true;
  if (script != kTextScriptDontCare && script != other) return false;
  script = other;
  return true;
}

}  // namespace

TextEncoding CreateTextEncoding(TextEncodingBase base, TextEncodingVariant variant,
                                TextEncodingFormat format) {
  return (base & kBaseMask) | (variant & kVariantMask) << kVariantShift |
         (format & kFormatMask) << kFormatShift;
}

TextEncodingBase GetTextEncodingBase(TextEncoding encoding) {
  return encoding & kBaseMask;
}

TextEncodingVariant GetTextEncodingVariant(TextEncoding encoding) {
  return encoding >> kVariantShift & kVariantMask;
}

TextEncodingFormat GetTextEncodingFormat(TextEncoding encoding) {
  return encoding >> kFormatShift & kFormatMask;
}

OSStatus UpgradeScriptInfoToTextEncoding(SInt32 textScriptID, SInt32 textLanguageID,
                                         SInt32 regionID, ConstStr255Param fontName,
                                         TextEncoding* textEncoding) {
  if (textEncoding == nullptr) return paramErr;
  SInt32 script = textScriptID;
  if (script == smSystemScript || script == smCurrentScript) {
    script = GetScriptManagerVariable(smSysScript);
  }
  if (script != kTextScriptDontCare && !IsScript(script)) return paramErr;

  TextEncodingBase own = 0;
  bool hasOwn = false;
  if (textLanguageID != kTextLanguageDontCare) {
    lumivane::text::LanguageInfo language = {};
    if (!lumivane::text::FindLanguage(textLanguageID, &language)) return paramErr;
    if (!Agree(script, language.script)) return paramErr;
    own = language.encoding;
    hasOwn = own != static_cast<TextEncodingBase>(language.script);
  }
  if (regionID != kTextRegionDontCare) {
    const lumivane::text::RegionInfo* region = lumivane::text::FindRegion(regionID);
    if (region == nullptr || !Agree(script, region->script)) return paramErr;
    if (!hasOwn && region->script != kAnyScript) {
      own = region->encoding;
      hasOwn = own != static_cast<TextEncodingBase>(region->script);
    }
  }
  if (script == kTextScriptDontCare) return paramErr;
  if (script == smRoman && fontName != nullptr) {
    const std::string_view font(reinterpret_cast<const char*>(fontName + 1), fontName[0]);
    if (font == "Symbol") own = kTextEncodingMacSymbol;
    if (font == "Zapf Dingbats") own = kTextEncodingMacDingbats;
    hasOwn = hasOwn || own == kTextEncodingMacSymbol || own == kTextEncodingMacDingbats;
  }
  *textEncoding = hasOwn ? own : static_cast<TextEncoding>(script);
  return noErr;
}
