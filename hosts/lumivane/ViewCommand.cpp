// The command line of `lumivane view`.
#include <memory>

#include "hosts/lumivane/PictureOptions.h"

namespace lumivane {

void AddViewCommand(CLI::App& app, int* result) {
  const auto options = std::make_shared<ViewOptions>();
  CLI::App* const view = app.add_subcommand("view", "Show the live picture in a window");
  view->footer("Keys: q or Esc quit, s snapshot, f full screen, space freeze.");
  view->add_option("--snapshots", options->snapshotFolder, "Folder that the s key writes to")
      ->type_name("FOLDER")
      ->capture_default_str();
  view->add_option("--seconds", options->seconds, "End by itself after so long; 0: never")
      ->check(CLI::NonNegativeNumber);
  AddPictureOptions(view, options->source);
  view->callback([options, result] { *result = RunView(*options); });
}

}  // namespace lumivane
