// The command line of `lumivane camera`.
#include <CLI/CLI.hpp>

#include <memory>

#include "hosts/lumivane/Commands.h"

namespace lumivane {

void AddCameraCommands(CLI::App& app, int* result) {
  const auto options = std::make_shared<CameraOptions>();
  CLI::App* const camera =
      app.add_subcommand("camera", "List, install or remove the camera component");
  camera->require_subcommand(1);
  const auto add = [&](const char* name, const char* text, int (*run)(const CameraOptions&)) {
    CLI::App* const verb = camera->add_subcommand(name, text);
    verb->add_flag("--json", options->json, "Print the result as JSON");
    verb->callback([options, result, run] { *result = run(*options); });
    return verb;
  };
  const auto addDomain = [&](CLI::App* verb) {
    verb->add_option("--domain", options->domain, "Whose components folder")
        ->check(CLI::IsMember({"user", "local", "system"}))
        ->capture_default_str();
  };
  add("list", "Show every components folder and its camera", RunCameraList);
  CLI::App* const install =
      add("install", "Link a camera component this program carries", RunCameraInstall);
  addDomain(install);
  install
      ->add_option("--component", options->component,
                   "gstreamer: real cameras, addresses, files (the default); testpattern: a "
                   "picture that needs no camera")
      ->check(CLI::IsMember({"gstreamer", "testpattern"}));
  addDomain(add("remove", "Remove the link from the folder", RunCameraRemove));
}

}  // namespace lumivane
