// `lumivane attributes`: what the filter says about itself.
#include <cstdio>

#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/HostText.h"
#include "hosts/lumivane/LiveFilter.h"
#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/CoreImage.h"
#include "platform/Foundation/Foundation.h"

namespace lumivane {
namespace {

void PrintIndented(const nlohmann::ordered_json& object, int indent) {
  for (const auto& [key, value] : object.items()) {
    if (value.is_object()) {
      std::printf("%*s%s\n", indent, "", key.c_str());
      PrintIndented(value, indent + 2);
      continue;
    }
    const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
    std::printf("%*s%-*s %s\n", indent, "", 32 - indent, key.c_str(), text.c_str());
  }
}

}  // namespace

int RunAttributes(const AttributesOptions& options) {
  PictureSource source;
  source.plugIn = options.plugIn;
  std::string error;
  const std::unique_ptr<LiveFilter> filter = LiveFilter::Open(source, &error);
  if (!filter) {
    std::fprintf(stderr, "lumivane: %s\n", error.c_str());
    return kExitFailed;
  }
  const NSAutoreleasePool pool;
  const nlohmann::ordered_json attributes = Json(filter->filter().attributes());
  if (options.json) {
    std::printf("%s\n", attributes.dump(2).c_str());
  } else {
    PrintIndented(attributes, 0);
  }
  return kExitOk;
}

}  // namespace lumivane
