// Display, PipeWire and portal, for `lumivane doctor`.
#include <SDL.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "hosts/lumivane/DoctorFindings.h"
#include "hosts/lumivane/HostModules.h"

namespace fs = std::filesystem;

namespace lumivane {
namespace {

std::string Variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

bool Exists(const std::string& path) {
  std::error_code ignored;  // What cannot be looked at is not there for us.
  return fs::exists(path, ignored);
}

Finding NoDisplay() {
  return {Level::kOk, "display",
          "there is none, so `lumivane view` has nothing to show a window on; `lumivane snapshot` "
          "and `lumivane stream` need none",
          ""};
}

Finding LookAtDisplay() {
  const std::string display = Variable("DISPLAY");
  const std::string wayland = Variable("WAYLAND_DISPLAY");
  const std::string asked = Variable("SDL_VIDEODRIVER");
  const bool none = display.empty() && wayland.empty();
  // SDL complains aloud where it has nothing to try.
  if (none && asked.empty() && !Exists("/dev/dri")) return NoDisplay();
  if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
    return {Level::kWarning, "display", std::string("SDL cannot show windows: ") + SDL_GetError(),
            asked.empty() ? "check DISPLAY and WAYLAND_DISPLAY" : "unset SDL_VIDEODRIVER"};
  }
  const char* const current = SDL_GetCurrentVideoDriver();
  const std::string driver = current == nullptr ? "none" : current;
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
  if (driver != "offscreen" && driver != "dummy") {
    return {Level::kOk, "display", "SDL shows windows through " + driver, ""};
  }
  if (!asked.empty()) {
    return {Level::kWarning, "display",
            "SDL_VIDEODRIVER is " + asked + ": `lumivane view` shows no window",
            "unset SDL_VIDEODRIVER"};
  }
  if (none) return NoDisplay();
  return {Level::kWarning, "display",
          (wayland.empty() ? "DISPLAY is " + display : "WAYLAND_DISPLAY is " + wayland) +
              ", but no window can be opened there",
          "check the variable, and the right to that display (`xhost`)"};
}

/// Whether something listens at a socket.
bool Answers(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) return false;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const int file = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (file < 0) return false;
  const bool answers =
      connect(file, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  close(file);
  return answers;
}

Finding LookAtPipeWire() {
  std::string folder = Variable("PIPEWIRE_RUNTIME_DIR");
  if (folder.empty()) folder = Variable("XDG_RUNTIME_DIR");
  const std::string remote = Variable("PIPEWIRE_REMOTE");
  const std::string socket = folder + "/" + (remote.empty() ? "pipewire-0" : remote);
  if (folder.empty() || !Exists(socket)) {
    return {Level::kOk, "pipewire", "it does not run; cameras are used directly", ""};
  }
  if (!Answers(socket)) {
    return {Level::kWarning, "pipewire", socket + " is there, but nobody answers",
            "systemctl --user restart pipewire"};
  }
  ModuleSearch element;
  for (const ModuleSearch& search : ModuleSearches()) {
    if (search.name == "lumivanesrc") element = search;
  }
  element.fileName = "libgstpipewire.so";
  if (FoundModule(element).empty()) {
    return {Level::kOk, "pipewire",
            "it runs; cameras that only it has need the package gstreamer1.0-pipewire", ""};
  }
  return {Level::kOk, "pipewire", "it runs, and GStreamer can use its cameras", ""};
}

Finding LookAtPortal() {
  const bool flatpak = Exists("/.flatpak-info");
  const bool snap = !Variable("SNAP").empty();
  if (flatpak || snap) {
    return {Level::kWarning, "portal",
            std::string("this runs inside a ") + (flatpak ? "Flatpak" : "Snap") +
                ", which may keep cameras from it",
            flatpak ? "flatpak override --user --device=all " + Variable("FLATPAK_ID")
                    : "snap connect " + Variable("SNAP_NAME") + ":camera"};
  }
  for (const char* place : {"/usr/share", "/usr/local/share"}) {
    if (Exists(std::string(place) + "/dbus-1/services/org.freedesktop.portal.Desktop.service")) {
      return {Level::kOk, "portal", "the desktop portal is installed; nothing here needs it", ""};
    }
  }
  return {Level::kOk, "portal", "there is no desktop portal; nothing here needs one", ""};
}

}  // namespace

Findings LookAtDesktop() {
  return {LookAtDisplay(), LookAtPipeWire(), LookAtPortal()};
}

}  // namespace lumivane
