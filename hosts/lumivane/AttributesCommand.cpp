// The command line of `lumivane attributes`.
#include <memory>

#include "hosts/lumivane/PictureOptions.h"

namespace lumivane {

void AddAttributesCommand(CLI::App& app, int* result) {
  const auto options = std::make_shared<AttributesOptions>();
  CLI::App* const attributes = app.add_subcommand("attributes", "Print the filter's attributes");
  AddPlugInOption(attributes, options->plugIn);
  attributes->add_flag("--json", options->json, "Print them as JSON");
  attributes->callback([options, result] { *result = RunAttributes(*options); });
}

}  // namespace lumivane
