// The command line of `lumivane view`.
#include <memory>

#include "hosts/lumivane/OptionValues.h"
#include "hosts/lumivane/PictureOptions.h"
#include "hosts/lumivane/ViewInput.h"

namespace lumivane {

void AddViewCommand(CLI::App& app, int* result) {
  const auto options = std::make_shared<ViewOptions>();
  CLI::App* const view = app.add_subcommand("view", "Show the live picture in a window");
  std::string keys = "Keys:";
  for (const KeyHelp& help : kViewKeys) {
    keys += std::string(keys.size() > 5 ? ", " : " ") + help.key + " " + help.does;
  }
  view->footer(keys + ".");
  view->add_option("--snapshots", options->snapshotFolder, "Folder that the s and r keys write to")
      ->type_name("FOLDER")
      ->check(CLI::ExistingDirectory)
      ->capture_default_str();
  view->add_flag("--full-screen", options->fullScreen, "Start with the whole screen");
  view->add_flag("--mirror", options->mirrored, "Start as a mirror");
  view->add_flag("--headless", options->headless,
                 "Run without a display, drawing where nobody sees");
  view->add_option("--seconds", options->seconds, "End by itself after so long; 0: never")
      ->check(NotNegative());
  AddPictureOptions(view, options->source);
  view->callback([options, result] { *result = RunView(*options); });
}

}  // namespace lumivane
