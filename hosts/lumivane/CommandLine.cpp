#include "hosts/lumivane/CommandLine.h"

#include <string>
#include <vector>

#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/FileCommands.h"
#include "hosts/lumivane/HostStart.h"
#include "hosts/lumivane/PictureCommands.h"

namespace lumivane {
namespace {

/// With the command that was meant: its own help is what is wanted.
std::string UsageError(const CLI::App* app, const CLI::Error& error) {
  std::string command = app->get_name();
  const std::vector<std::string> rest = app->remaining(true);
  while (!app->get_subcommands().empty()) {
    app = app->get_subcommands().front();
    command += " " + app->get_name();
  }
  std::string text = error.what();
  if (error.get_name() == "RequiredError" && !rest.empty()) {
    // A word that was mistyped is missing too, but that is not what is wrong.
    const std::string& word = rest.front();
    const bool takesCommands = !app->get_subcommands([](const CLI::App*) { return true; }).empty();
    if (word[0] == '-') {
      text = "there is no option '" + word + "'";
    } else if (takesCommands) {
      text = "there is no command '" + word + "'";
    }
  }
  return "lumivane: " + text + "\n`" + command + " --help` tells more\n";
}

}  // namespace

std::unique_ptr<CLI::App> MakeCommandLine(int* result) {
  auto app = std::make_unique<CLI::App>("Lumivane: a live camera as a picture generator");
  app->name("lumivane");
  app->set_version_flag("--version", std::string("lumivane ") + Version());
  app->require_subcommand(1);
  app->failure_message(UsageError);
  app->footer("Exit codes: 0 done, 1 failed, 2 broken (doctor), 3 no camera, 64 usage.");
  AddSnapshotCommand(*app, result);
  AddViewCommand(*app, result);
  AddStreamCommands(*app, result);
  AddDoctorCommand(*app, result);
  AddCameraCommands(*app, result);
  AddAttributesCommand(*app, result);
  AddFileCommands(*app, result);
  AddImageCommands(*app, result);
  AddVideoCommands(*app, result);
  AddCompletionCommand(*app, result);
  AddManualCommand(*app, result);
  return app;
}

}  // namespace lumivane
