// The command line of `lumivane camera`.
#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "components/gstreamer/settings.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/OptionValues.h"

namespace lumivane {

namespace {

// What a key of the settings is for, in a line.
const char* HelpOf(std::string_view key) {
  constexpr std::pair<std::string_view, const char*> kHelp[] = {
      {"size", "WIDTHxHEIGHT of the frames, or auto: the source's own"},
      {"rate", "Frames per second, or max"},
      {"format", "2vuy or argb"},
      {"fit", "letterbox, crop or stretch, where the source has another shape"},
      {"flip", "none, horizontal, vertical or both; after turning"},
      {"rotate", "0, 90, 180 or 270, clockwise"},
      {"matrix", "What the source's colours are: auto, bt601, bt709 or bt2020"},
      {"range", "Their range: auto, limited or full"},
      {"deinterlace", "auto or no"},
      {"loop", "Whether a file begins again at its end: yes or no"},
      {"stale-after", "Seconds without a frame until the picture counts as stale"},
      {"hold", "Seconds that a stale picture still shows"},
      {"timeout", "Seconds without a frame until the source is opened anew"}};
  for (const auto& [name, help] : kHelp) {
    if (name == key) return help;
  }
  return "";
}

// The values there are; empty: any.
std::vector<std::string> ChoicesOf(std::string_view key) {
  if (key == "format") return {"2vuy", "argb"};
  if (key == "fit") return {"letterbox", "crop", "stretch"};
  if (key == "flip") return {"none", "horizontal", "vertical", "both"};
  if (key == "rotate") return {"0", "90", "180", "270"};
  if (key == "matrix") return {"auto", "bt601", "bt709", "bt2020"};
  if (key == "range") return {"auto", "limited", "full"};
  if (key == "deinterlace") return {"auto", "no"};
  if (key == "loop") return {"yes", "no"};
  return {};
}

void AddCameraUse(CLI::App& camera, int* result) {
  const auto options = std::make_shared<CameraUseOptions>();
  CLI::App* const use = camera.add_subcommand(
      "use", "Choose what the GStreamer component shows, and how; alone: show the settings");
  use->footer("An empty value, as in --size '', takes a setting back to its default.");
  use->add_option_function<std::string>(
         "source", [options](const std::string& source) { options->source = source; },
         "auto, a camera's name or path, an address, a file, test, test:PATTERN or pipeline:TEXT")
      ->type_name("CAMERA");
  for (const std::string_view key : gstcamera::kSettingKeys) {
    if (key == "source") continue;
    CLI::Option* const option = use->add_option_function<std::string>(
                                       "--" + std::string(key),
                                       [options, key](const std::string& value) {
                                         options->settings.emplace_back(key, value);
                                       },
                                       HelpOf(key))
                                    ->type_name("VALUE");
    const std::vector<std::string> choices = ChoicesOf(key);
    if (!choices.empty()) NameChoices(option, choices);
  }
  use->add_flag("--json", options->json, "Print the result as JSON");
  use->callback([options, result] { *result = RunCameraUse(*options); });
}

void AddCameraControls(CLI::App& camera, int* result) {
  const auto options = std::make_shared<CameraControlsOptions>();
  CLI::App* const controls = camera.add_subcommand(
      "controls", "Show a camera's own controls, such as brightness, or set them for good");
  controls->add_option("control", options->controls,
                       "NAME to show, NAME=VALUE to set, NAME=default to take back; none: all");
  controls->add_option("--camera", options->camera, "Another camera than the one that is chosen")
      ->type_name("CAMERA");
  controls->add_flag("--json", options->json, "Print the result as JSON");
  controls->callback([options, result] { *result = RunCameraControls(*options); });
}

void AddCameraTest(CLI::App& camera, int* result) {
  const auto options = std::make_shared<CameraTestOptions>();
  CLI::App* const test = camera.add_subcommand(
      "test", "Measure what the camera gives: rate, lost frames, age, latency");
  test->add_option("--seconds", options->seconds, "How long to measure")
      ->check(Between(0.1, 86400.0))
      ->capture_default_str();
  test->add_option("--wait", options->wait, "Seconds to wait for the first frame")
      ->check(Between(0.0, 3600.0))
      ->capture_default_str();
  test->add_option("--source", options->source, "Another source than the one that is chosen")
      ->type_name("CAMERA");
  test->add_flag("--json", options->json, "Print the result as JSON");
  test->callback([options, result] { *result = RunCameraTest(*options); });
}

}  // namespace

void AddCameraCommands(CLI::App& app, int* result) {
  const auto options = std::make_shared<CameraOptions>();
  CLI::App* const camera =
      app.add_subcommand("camera", "List, choose, set and test cameras; install their component");
  camera->require_subcommand(1);
  const auto add = [&](const char* name, const char* text, int (*run)(const CameraOptions&)) {
    CLI::App* const verb = camera->add_subcommand(name, text);
    verb->add_flag("--json", options->json, "Print the result as JSON");
    verb->callback([options, result, run, verb] {
      const CLI::Option* const domain = verb->get_option_no_throw("--domain");
      options->domainGiven = domain != nullptr && domain->count() > 0;
      *result = run(*options);
    });
    return verb;
  };
  const auto addDomain = [&](CLI::App* verb) {
    verb->add_option("--domain", options->domain, "Whose components folder")
        ->check(CLI::IsMember({"user", "local", "system"}))
        ->capture_default_str();
  };
  add("list", "Show every components folder and every camera", RunCameraList)
      ->add_flag("--names", options->names, "Print the cameras' stable names alone, one a line");
  CLI::App* const install =
      add("install", "Link a camera component this program carries", RunCameraInstall);
  addDomain(install);
  install
      ->add_option("--component", options->component,
                   "gstreamer: real cameras, addresses, files (the default); testpattern: a "
                   "picture that needs no camera")
      ->check(CLI::IsMember({"gstreamer", "testpattern"}));
  AddCameraUse(*camera, result);
  AddCameraControls(*camera, result);
  AddCameraTest(*camera, result);
  addDomain(add("remove", "Remove the link from the folder", RunCameraRemove));
}

}  // namespace lumivane
