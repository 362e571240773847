#include "hosts/lumivane/CameraTool.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "CICameraGen/SharedCameraBundle.h"
#include "hosts/lumivane/CameraFolders.h"
#include "hosts/lumivane/HostText.h"
#include "platform/CoreFoundation/CoreFoundation.h"

namespace fs = std::filesystem;

namespace lumivane {
namespace {

constexpr const char* kToolInBundle = "/Contents/Linux/camera-tool";

nlohmann::ordered_json Failure(const std::string& message) {
  return {{"ok", false}, {"message", message}};
}

std::string FindTool() {
  std::vector<std::string> bundles = {CarriedComponent("gstreamer")};
  for (const CameraPlace& place : CameraPlaces()) bundles.push_back(place.path);
  for (const std::string& bundle : bundles) {
    std::string tool = bundle + kToolInBundle;
    if (!bundle.empty() && access(tool.c_str(), X_OK) == 0) return tool;
  }
  return {};
}

// What the program prints; its messages go where this program's go.
bool Output(std::vector<std::string> arguments, std::string* output, std::string* error) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    *error = std::strerror(errno);
    return false;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  pid_t child = 0;
  const int failure = posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  if (failure != 0) {
    close(ends[0]);
    *error = std::strerror(failure);
    return false;
  }
  char buffer[4096];
  for (ssize_t size; (size = read(ends[0], buffer, sizeof(buffer))) != 0;) {
    if (size > 0) output->append(buffer, static_cast<std::size_t>(size));
    if (size < 0 && errno != EINTR) break;
  }
  close(ends[0]);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFSIGNALED(status)) return true;
  *error = std::string("it was ended by the signal ") + strsignal(WTERMSIG(status));
  return false;
}

}  // namespace

const char* ComponentResource(const std::string& name) {
  return name == "gstreamer" ? "gstreamer/LumivaneXXX"
                             : SharedCameraBundle::kCameraComponentBaseName;
}

std::string CarriedComponent(const std::string& name) {
  CFBundleRef const application = CFBundleGetMainBundle();
  if (application == nullptr) return {};
  const Held<CFStringRef> resource(CFStringCreateWithCString(
      kCFAllocatorDefault, ComponentResource(name), kCFStringEncodingUTF8));
  const Held<CFURLRef> url(
      CFBundleCopyResourceURL(application, resource.get(), CFSTR("component"), nullptr));
  return PathText(url.get());
}

bool SettingsHaveEffect(std::string* why) {
  const CameraPlace place = LoadedPlace();
  if (place.path.empty()) {
    *why = "no camera component is installed; `lumivane camera install` installs one";
    return false;
  }
  if (access((place.path + kToolInBundle).c_str(), F_OK) == 0) return true;
  *why = "programs load " + place.path +
         ", which is not the GStreamer component; `lumivane camera list` shows what there is";
  return false;
}

nlohmann::ordered_json AskCameraTool(const std::vector<std::string>& arguments) {
  std::vector<std::string> all = {FindTool()};
  if (all[0].empty()) {
    return Failure(
        "the GStreamer component, which knows the cameras, is neither part of this program nor "
        "installed");
  }
  all.insert(all.end(), arguments.begin(), arguments.end());
  std::string output;
  std::string error;
  if (!Output(all, &output, &error)) return Failure(all[0] + " cannot be run: " + error);
  auto answer = nlohmann::ordered_json::parse(output, nullptr, false);
  if (!answer.is_object() || !answer.contains("ok"))
    return Failure(all[0] + " gives no answer that can be understood");
  return answer;
}

}  // namespace lumivane
