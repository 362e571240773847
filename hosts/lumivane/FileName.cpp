// `lumivane file name convert`.
#include <cstdio>

#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/FileCommands.h"
#include "hosts/lumivane/FileText.h"
#include "sdk/CoreX/Carb_FSRef_inlines.h"
#include "sdk/CoreX/LHFSUnicodeName.h"
#include "sdk/CoreX/LUnicodeTextConverter.h"

namespace lumivane {
namespace {

std::string UnitsText(const HFSUniStr255& name) {
  std::string text;
  for (UInt16 i = 0; i < name.length; ++i) {
    char digits[6];
    std::snprintf(digits, sizeof digits, "%04X", static_cast<unsigned>(name.unicode[i]));
    if (!text.empty()) text += ' ';
    text += digits;
  }
  return text;
}

}  // namespace

int RunFileNameConvert(const FileOptions& options) {
  LHFSUnicodeName name;
  if (options.name.empty()) return FileFailure("''", "an empty name is none");
  if (!name.Construct(options.name)) {
    return FileFailure(options.name, "is no UTF-8 text");
  }
  nlohmann::ordered_json values = {
      {"name", options.name},       {"units", UnitsText(name)},
      {"length", name.length},      {"whole", bool_UnicodeName_IsWhole(name, options.name)},
      {"script", options.script},   {"region", options.region},
      {"legacy", nullptr},          {"decomposed", nullptr},
      {"decomposedUnits", nullptr}, {"error", ""},
  };
  LUnicodeTextConverter converter(static_cast<SInt16>(options.script),
                                  static_cast<SInt16>(options.region));
  std::string legacy;
  std::string decomposed;
  HFSUniStr255 units = {};
  OSStatus status = converter.UTF8ToText(options.name, legacy);
  if (status == noErr) {
    values["legacy"] = HexText(legacy);
    status = converter.TextToUTF8(legacy, decomposed);
  }
  if (status == noErr) {
    values["decomposed"] = decomposed;
    status = converter.TextToUnicode(legacy, units);
  }
  if (status == noErr) values["decomposedUnits"] = UnitsText(units);
  if (status != noErr) {
    values["error"] = "not in this encoding (error " + std::to_string(status) + ")";
  }
  PrintValues(values, options.json);
  return kExitOk;
}

}  // namespace lumivane
