#include "hosts/lumivane/CommandLine.h"

#include <string>

#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/FileCommands.h"
#include "hosts/lumivane/HostStart.h"
#include "hosts/lumivane/PictureCommands.h"

namespace lumivane {

std::unique_ptr<CLI::App> MakeCommandLine(int* result) {
  auto app = std::make_unique<CLI::App>("Lumivane: a live camera as a picture generator");
  app->name("lumivane");
  app->set_version_flag("--version", std::string("lumivane ") + Version());
  app->require_subcommand(1);
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
