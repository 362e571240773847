// What programs need to know about cameras without linking GStreamer: run, answers in JSON on
// standard output, and ends.
//
//   camera-tool list                      cameras, settings
//   camera-tool use [KEY=VALUE...]        changes settings; an empty VALUE takes one out
//   camera-tool check SOURCE              what the source means, as `use` would keep it
//   camera-tool controls [--camera NAME] [CONTROL | CONTROL=VALUE]...
//
// Every answer has "ok"; one that is not has "message", and the exit code is 1.

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "components/gstreamer/cameras.h"
#include "components/gstreamer/controls.h"
#include "components/gstreamer/format_choice.h"
#include "components/gstreamer/pipeline.h"
#include "components/gstreamer/settings.h"
#include "components/gstreamer/settings_file.h"

namespace {

using namespace gstcamera;
using Json = nlohmann::ordered_json;

const char* Variable(const char* name) {
  return std::getenv(name);
}

int Answer(const Json& answer) {
  std::printf("%s\n", answer.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
  return answer.value("ok", false) ? 0 : 1;
}

int Failure(const std::string& message) {
  return Answer({{"ok", false}, {"message", message}});
}

Settings Current(std::string* path, Json* complaints) {
  *path = SettingsPath(Variable);
  *complaints = Json::array();
  return ReadSettings(*path, Variable,
                      [complaints](const std::string& line) { complaints->push_back(line); });
}

Json SettingsInEffect() {
  std::string path;
  Json complaints;
  const Settings settings = Current(&path, &complaints);
  Json values = Json::object();
  for (const char* const key : kSettingKeys) values[key] = SettingText(settings, key);
  // An address may hold a password.
  if (settings.source.kind == Source::kAddress)
    values["source"] = WithoutSecrets(settings.source.text);
  Json variables = Json::array();
  for (const char* const key : kSettingKeys) {
    const std::string name = VariableName(key);
    const char* const value = Variable(name.c_str());
    if (value != nullptr && *value != '\0') variables.push_back(name);
  }
  return {{"file", path}, {"values", values}, {"variables", variables}, {"complaints", complaints}};
}

Json Describe(const Camera& camera, const Settings& settings) {
  Json formats = Json::array();
  for (const OfferedFormat& format : ListFormats(camera.caps.get())) {
    formats.push_back({{"format", format.name},
                       {"width", format.size.width},
                       {"height", format.size.height},
                       {"rates", format.rates}});
  }
  const ChosenFormat chosen = ChooseFormat(camera.caps.get(), settings);
  Json asked = nullptr;
  if (chosen.caps) {
    asked = {{"format", chosen.name},
             {"width", chosen.size.width},
             {"height", chosen.size.height},
             {"rate", chosen.rate}};
  }
  return {{"name", camera.name},
          {"stableName", camera.stableName},
          {"path", camera.path},
          {"byId", camera.byId},
          {"byPath", camera.byPath},
          {"inUseBy", camera.path.empty() ? std::string() : HoldersOf(camera.path)},
          {"formats", formats},
          {"wouldUse", asked}};
}

int List() {
  std::string path;
  Json complaints;
  const Settings settings = Current(&path, &complaints);
  Json cameras = Json::array();
  for (const Camera& camera : ListCameras()) cameras.push_back(Describe(camera, settings));
  return Answer({{"ok", true}, {"cameras", cameras}, {"settings", SettingsInEffect()}});
}

// What a text that names a source comes to.
struct Resolved {
  std::string value;  ///< as it is kept: a connected camera by its stable name, a file by its path
  std::string note;   ///< the camera's own name
  std::string warning;  ///< why it shows nothing as things are now
  std::string error;    ///< why it names nothing; then nothing else is set
};

// The file that `text` names from the folder this runs in; empty: none.
std::string FileHere(const std::string& text) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(text, error)) return {};
  const std::filesystem::path whole = std::filesystem::absolute(text, error);
  return error ? std::string() : whole.lexically_normal().string();
}

// Why GStreamer cannot make such a pipeline; empty when it can.
std::string PipelineTrouble(const std::string& text) {
  GError* failure = nullptr;
  const ObjectHeld<GstElement> made(gst_parse_launch_full((text + " ! fakesink").c_str(), nullptr,
                                                          GST_PARSE_FLAG_FATAL_ERRORS, &failure));
  if (made) gst_object_ref_sink(made.get());
  const ErrorHeld held(failure);
  if (failure == nullptr) return {};
  return "GStreamer cannot make this pipeline: " + std::string(failure->message);
}

std::string AddressTrouble(const std::string& address) {
  if (!gst_uri_is_valid(address.c_str())) return "this is no valid address";
  if (IsFileAddress(address)) {
    const GlibText path(g_filename_from_uri(address.c_str(), nullptr, nullptr));
    if (!path) return {};
    if (!g_file_test(path.get(), G_FILE_TEST_EXISTS))
      return std::string("there is no file ") + path.get() + " now; it is shown when it comes";
    if (g_file_test(path.get(), G_FILE_TEST_IS_DIR))
      return std::string(path.get()) + " is a folder: name a film or a picture";
    return {};
  }
  const GlibText protocol(gst_uri_get_protocol(address.c_str()));
  if (gst_uri_protocol_is_supported(GST_URI_SRC, protocol.get())) return {};
  return std::string("no GStreamer plug-in on this machine opens ") + protocol.get() +
         ":// addresses";
}

Resolved Resolve(const std::string& text);

void ResolveCamera(const Source& source, Resolved& resolved) {
  const std::vector<Camera> cameras = ListCameras();
  const std::vector<std::size_t> found = FindCameras(cameras, source);
  if (found.empty()) {
    const std::string file =
        source.kind == Source::kCamera ? FileHere(resolved.value) : std::string();
    if (!file.empty()) {
      resolved = Resolve(file);
      return;
    }
    resolved.warning =
        "no camera \"" + source.text + "\" is connected now; it is used when it comes";
    if (source.kind == Source::kDevicePath && source.text.rfind("/dev/video", 0) == 0)
      resolved.warning += "; its number may change, `lumivane camera list` shows stable names";
    return;
  }
  const Camera& camera = cameras[found[0]];
  if (found.size() > 1 && camera.stableName != source.text) {
    resolved.error = "several cameras are called \"" + resolved.value + "\": ";
    for (const std::size_t i : found)
      resolved.error += (i == found[0] ? "" : ", ") + cameras[i].stableName;
    return;
  }
  resolved.value = "camera:" + camera.stableName;
  resolved.note = camera.name;
}

Resolved Resolve(const std::string& text) {
  Resolved resolved = {text, "", "", ""};
  if (text.rfind("./", 0) == 0 || text.rfind("../", 0) == 0) {
    const std::string file = FileHere(text);
    if (!file.empty()) resolved.value = file;
  }
  Source source;
  std::string wanted;
  const char* const home = Variable("HOME");
  bool known = ParseSource(resolved.value, home == nullptr ? "" : home, source, &wanted);
  if (known && source.kind == Source::kTest) {
    int pattern = 0;
    known = TestPattern(source.text, &pattern, &wanted);
  }
  if (!known) {
    resolved.error = "source is \"" + text + "\": want " + wanted;
    return resolved;
  }
  switch (source.kind) {
    case Source::kAddress:
      resolved.value = source.text;
      resolved.warning = AddressTrouble(source.text);
      break;
    case Source::kPipeline:
      resolved.warning = PipelineTrouble(source.text);
      break;
    case Source::kCamera:
    case Source::kDevicePath:
      ResolveCamera(source, resolved);
      break;
    case Source::kAuto:
    case Source::kTest:
      break;
  }
  return resolved;
}

int Check(const std::string& text) {
  const Resolved resolved = Resolve(text);
  if (!resolved.error.empty()) return Failure(resolved.error);
  return Answer({{"ok", true},
                 {"source", resolved.value},
                 {"note", resolved.note},
                 {"warning", resolved.warning}});
}

int Use(const std::vector<std::string>& arguments) {
  std::vector<FileChange> changes;
  Resolved source;
  Settings probe;
  for (const std::string& argument : arguments) {
    const std::size_t equals = argument.find('=');
    if (equals == std::string::npos) return Failure("\"" + argument + "\" is not KEY=VALUE");
    FileChange change = {"camera", argument.substr(0, equals), argument.substr(equals + 1)};
    std::string wanted;
    if (!change.value.empty()) {
      if (change.key == "source") {
        source = Resolve(change.value);
        if (!source.error.empty()) return Failure(source.error);
        change.value = source.value;
        // A key file holds no other text.
        if (g_utf8_validate(change.value.c_str(), -1, nullptr) == FALSE)
          return Failure("source is \"" + change.value + "\": want text in UTF-8");
      } else if (!SetOne(probe, change.key, change.value, "", &wanted)) {
        return Failure(change.key + " is \"" + change.value + "\": want " + wanted);
      }
    }
    changes.push_back(change);
  }
  std::string error;
  if (!changes.empty() && !ChangeSettingsFile(SettingsPath(Variable), changes, &error))
    return Failure(error);
  return Answer({{"ok", true},
                 {"note", source.note},
                 {"warning", source.warning},
                 {"settings", SettingsInEffect()}});
}

Json Describe(const Control& control) {
  constexpr const char* kTypes[] = {"integer", "boolean", "menu", "bitmask", "button"};
  Json json = {
      {"name", control.name},     {"type", kTypes[control.type]}, {"value", control.value},
      {"default", control.usual}, {"minimum", control.least},     {"maximum", control.most},
      {"step", control.step},     {"readOnly", control.readOnly}, {"inactive", control.inactive}};
  if (control.type == Control::kMenu) {
    Json menu = Json::array();
    for (const auto& [number, name] : control.menu)
      menu.push_back({{"value", number}, {"name", name}});
    json["menu"] = menu;
  }
  return json;
}

int Controls(std::vector<std::string> arguments) {
  std::string path;
  Json complaints;
  Source source = Current(&path, &complaints).source;
  if (arguments.size() >= 2 && arguments[0] == "--camera") {
    std::string wanted;
    if (!ParseSource(arguments[1], "", source, &wanted))
      return Failure("--camera is \"" + arguments[1] + "\": want " + wanted);
    arguments.erase(arguments.begin(), arguments.begin() + 2);
  }
  if (source.kind != Source::kAuto && source.kind != Source::kCamera &&
      source.kind != Source::kDevicePath) {
    return Failure("the source " + DisplayName(source) +
                   " has no controls; name a camera with --camera");
  }
  const std::vector<Camera> cameras = ListCameras();
  const std::vector<std::size_t> found = FindCameras(cameras, source);
  std::string device;
  std::string name = DisplayName(source);
  std::string stableName;
  if (!found.empty()) {
    device = cameras[found[0]].path;
    name = cameras[found[0]].name;
    stableName = cameras[found[0]].stableName;
  } else if (source.kind == Source::kDevicePath) {
    device = source.text;
  } else {
    return Failure(source.kind == Source::kAuto
                       ? "no camera is connected"
                       : "no camera called \"" + source.text + "\" is connected");
  }
  if (device.empty()) return Failure(name + " shows no controls: it is no V4L2 device");

  std::string error;
  std::string troubles;
  const auto trouble = [&troubles](const std::string& text) {
    troubles += (troubles.empty() ? "" : "; ") + text;
  };
  std::vector<FileChange> changes;
  std::vector<std::string> wanted;
  Json list = Json::array();
  const bool opened = WithControls(
      device,
      [&](const ControlDevice& camera) {
        for (const std::string& argument : arguments) {
          const std::size_t equals = argument.find('=');
          const std::string control = ControlName(argument.substr(0, equals));
          wanted.push_back(control);
          if (equals == std::string::npos) continue;
          const std::string value = argument.substr(equals + 1);
          std::string why;
          if (!camera.Set(control, value, &why)) {
            trouble(why);
            continue;
          }
          changes.push_back({"controls" + (stableName.empty() ? "" : " " + stableName), control,
                             value == "default" ? "" : value});
        }
        for (const Control& control : camera.List()) {
          if (wanted.empty() ||
              std::find(wanted.begin(), wanted.end(), control.name) != wanted.end())
            list.push_back(Describe(control));
        }
      },
      &error);
  if (!opened) return Failure(error);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    // What could not be set has been told.
    if (arguments[i].find('=') == std::string::npos &&
        std::none_of(list.begin(), list.end(),
                     [&](const Json& one) { return one["name"] == wanted[i]; }))
      trouble(name + " has no control \"" + arguments[i] + "\"");
  }
  // What the camera has taken is kept, whatever else was asked for.
  if (!changes.empty() && !ChangeSettingsFile(path, changes, &error)) trouble(error);
  if (!troubles.empty() && !changes.empty() && error.empty()) {
    std::string kept;
    for (const FileChange& change : changes) kept += (kept.empty() ? "" : ", ") + change.key;
    troubles += " (" + kept + " took effect all the same)";
  }
  Json answer = {
      {"ok", troubles.empty()}, {"camera", name}, {"device", device}, {"controls", list}};
  if (!troubles.empty()) answer["message"] = troubles;
  return Answer(answer);
}

}  // namespace

#if defined(__SANITIZE_ADDRESS__)
// What GLib keeps for good is no leak of this program.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_options() {
  return "print_suppressions=0";
}
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libglib-2.0.so\nleak:libgobject-2.0.so\nleak:libgio-2.0.so\nleak:libgst\n";
}
#endif

int main(int argc, char** argv) {
  GError* failure = nullptr;
  if (!gst_init_check(nullptr, nullptr, &failure)) {
    const ErrorHeld held(failure);
    return Failure(std::string("GStreamer does not start: ") +
                   (failure != nullptr ? failure->message : "no reason given"));
  }
  const std::string command = argc > 1 ? argv[1] : "";
  const std::vector<std::string> arguments(argv + std::min(argc, 2), argv + argc);
  if (command == "list" && arguments.empty()) return List();
  if (command == "use") return Use(arguments);
  if (command == "check" && arguments.size() == 1) return Check(arguments[0]);
  if (command == "controls") return Controls(arguments);
  std::fprintf(stderr,
               "usage: camera-tool list | use [KEY=VALUE...] | check SOURCE | "
               "controls [--camera NAME] [CONTROL[=VALUE]...]\n");
  return 64;
}
