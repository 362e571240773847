// The command line. Every option is declared here, once; the commands are in their own files.
#include <CLI/CLI.hpp>

#include <cmath>
#include <string>

#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/FileCommands.h"
#include "hosts/lumivane/HostStart.h"
#include "hosts/lumivane/PictureCommands.h"

namespace {

using namespace lumivane;

void AddPictureOptions(CLI::App* command, PictureSource& source) {
  command->add_option("--plugin", source.plugIn, "Path of CILumivaneInput.plugin")
      ->type_name("BUNDLE");
  command
      ->add_option_function<std::string>(
          "--size", [&source](const std::string& text) { source.size = ParseSize(text); },
          "Size of the pictures; the frame is fitted into it. Default: the frame's own size")
      ->type_name("WxH")
      ->check([](const std::string& text) {
        return ParseSize(text) ? std::string() : "'" + text + "' is not a size such as 640x480";
      });
  command->add_option("--clock", source.clock, "The filter's inputClock, 0 to 1")
      ->check(CLI::Range(0.0, 1.0))
      ->capture_default_str();
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Lumivane: a live camera as a picture generator"};
  app.name("lumivane");
  app.set_version_flag("--version", std::string("lumivane ") + Version());
  app.require_subcommand(1);
  app.footer("Exit codes: 0 done, 1 failed, 2 broken (doctor), 3 no camera, 64 usage.");
  int result = kExitOk;

  SnapshotOptions snapshot;
  CLI::App* snap = app.add_subcommand("snapshot", "Write frames of the live picture as PNG files");
  snap->add_option("--out,-o", snapshot.out,
                   "PNG file, or - for standard output; with --frames, NAME-0001.png and so on")
      ->required()
      ->type_name("FILE");
  snap->add_option("--frames,-n", snapshot.frames, "Number of frames")
      ->check(CLI::Range(1, 1000000))
      ->capture_default_str();
  snap->add_option("--rate", snapshot.rate, "Frames per second; 0: as fast as they can be had")
      ->check(CLI::Range(0.0, 1000.0))
      ->capture_default_str();
  snap->add_option("--warm-up", snapshot.warmUp, "Seconds of frames to throw away first")
      ->check(CLI::Range(0.0, 60.0))
      ->capture_default_str();
  snap->add_flag("--require-camera", snapshot.requireCamera,
                 "Write nothing and fail when there is no camera");
  snap->add_flag("--json", snapshot.json, "Print the summary as JSON");
  snap->add_flag("--quiet,-q", snapshot.quiet, "No progress, no summary");
  AddPictureOptions(snap, snapshot.source);
  snap->callback([&] { result = RunSnapshot(snapshot); });

  ViewOptions view;
  CLI::App* viewer = app.add_subcommand("view", "Show the live picture in a window");
  viewer->footer("Keys: q or Esc quit, s snapshot, f full screen, space freeze.");
  viewer->add_option("--snapshots", view.snapshotFolder, "Folder that the s key writes to")
      ->capture_default_str();
  viewer->add_option("--seconds", view.seconds, "End by itself after so long; 0: never")
      ->check(CLI::NonNegativeNumber);
  AddPictureOptions(viewer, view.source);
  viewer->callback([&] { result = RunView(view); });

  DoctorOptions doctor;
  CLI::App* doc = app.add_subcommand("doctor", "Say what works, what does not, and what to do");
  doc->add_option("--plugin", doctor.plugIn, "Path of CILumivaneInput.plugin")->type_name("BUNDLE");
  doc->add_option("--log-lines", doctor.logLines, "How many of the log's last lines to show")
      ->check(CLI::Range(0, 10000))
      ->capture_default_str();
  doc->add_flag("--json", doctor.json, "Print the findings as JSON");
  doc->callback([&] { result = RunDoctor(doctor); });

  CameraOptions camera;
  CLI::App* cameras = app.add_subcommand("camera", "List, install or remove the camera component");
  cameras->require_subcommand(1);
  const auto addDomain = [&camera](CLI::App* command) {
    command->add_option("--domain", camera.domain, "Whose components folder")
        ->check(CLI::IsMember({"user", "local", "system"}))
        ->capture_default_str();
    command->add_flag("--json", camera.json, "Print the result as JSON");
  };
  CLI::App* list = cameras->add_subcommand("list", "Show every components folder and its camera");
  list->add_flag("--json", camera.json, "Print the list as JSON");
  list->callback([&] { result = RunCameraList(camera); });
  CLI::App* install = cameras->add_subcommand("install", "Link the camera this program carries");
  addDomain(install);
  install->callback([&] { result = RunCameraInstall(camera); });
  CLI::App* remove = cameras->add_subcommand("remove", "Remove the link from the folder");
  addDomain(remove);
  remove->callback([&] { result = RunCameraRemove(camera); });

  AttributesOptions attributes;
  CLI::App* attr = app.add_subcommand("attributes", "Print the filter's attributes");
  attr->add_option("--plugin", attributes.plugIn, "Path of CILumivaneInput.plugin")
      ->type_name("BUNDLE");
  attr->add_flag("--json", attributes.json, "Print them as JSON");
  attr->callback([&] { result = RunAttributes(attributes); });

  AddFileCommands(app, &result);
  AddImageCommands(app, &result);
  AddVideoCommands(app, &result);

  PrepareHost();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kExitOk : kExitUsage;
  }
  return result;
}
