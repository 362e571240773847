#include "components/gstreamer/cameras.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace gstcamera {
namespace {

std::string LastPart(const std::string& path) {
  return fs::path(path).filename().string();
}

std::string Folded(const std::string& text) {
  const GlibText valid(g_utf8_make_valid(text.c_str(), -1));
  const GlibText folded(g_utf8_casefold(valid.get(), -1));
  return folded.get();
}

// The device file among a device's properties, by whichever name its provider gives it.
std::string DevicePath(GstDevice* device) {
  GstStructure* const properties = gst_device_get_properties(device);
  if (properties == nullptr) return {};
  std::string path;
  for (const char* key : {"device.path", "api.v4l2.path", "object.path"}) {
    const char* const value = gst_structure_get_string(properties, key);
    if (value == nullptr) continue;
    path = value;
    if (path.rfind("v4l2:", 0) == 0) path = path.substr(5);
    if (path.rfind("/dev/", 0) == 0) break;
    path.clear();
  }
  gst_structure_free(properties);
  return path;
}

std::string Canonical(const std::string& path) {
  std::error_code error;
  const fs::path real = fs::canonical(path, error);
  return error ? path : real.string();
}

}  // namespace

std::string LinkTo(const std::string& folder, const std::string& device) {
  std::error_code error;
  std::vector<std::string> links;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
    if (Canonical(entry.path().string()) == Canonical(device))
      links.push_back(entry.path().string());
  }
  return links.empty() ? std::string() : *std::min_element(links.begin(), links.end());
}

std::vector<Camera> ListCameras() {
  std::vector<Camera> cameras;
  const ObjectHeld<GstDeviceMonitor> monitor(gst_device_monitor_new());
  gst_device_monitor_add_filter(monitor.get(), "Video/Source", nullptr);
  GList* const devices = gst_device_monitor_get_devices(monitor.get());
  for (GList* at = devices; at != nullptr; at = at->next) {
    Camera camera;
    camera.device.reset(GST_DEVICE(at->data));
    const GlibText name(gst_device_get_display_name(camera.device.get()));
    camera.name = name ? name.get() : "";
    camera.caps.reset(gst_device_get_caps(camera.device.get()));
    camera.path = DevicePath(camera.device.get());
    if (!camera.path.empty()) {
      camera.byId = LinkTo("/dev/v4l/by-id", camera.path);
      camera.byPath = LinkTo("/dev/v4l/by-path", camera.path);
    }
    camera.stableName = !camera.byId.empty()     ? LastPart(camera.byId)
                        : !camera.byPath.empty() ? LastPart(camera.byPath)
                                                 : camera.name;
    cameras.push_back(std::move(camera));
  }
  g_list_free(devices);
  return cameras;
}

std::vector<std::size_t> FindCameras(const std::vector<Camera>& cameras, const Source& source) {
  std::vector<std::size_t> found;
  const auto take = [&](const auto& fits) {
    for (std::size_t i = 0; i < cameras.size(); ++i) {
      if (fits(cameras[i])) found.push_back(i);
    }
    return !found.empty();
  };
  if (source.kind == Source::kAuto) {
    take([](const Camera&) { return true; });
  } else if (source.kind == Source::kDevicePath) {
    const std::string path = Canonical(source.text);
    take([&](const Camera& camera) {
      return !camera.path.empty() && Canonical(camera.path) == path;
    });
  } else if (source.kind == Source::kCamera) {
    const std::string name = Folded(source.text);
    const bool any = take([&](const Camera& camera) {
                       return camera.stableName == source.text ||
                              LastPart(camera.byId) == source.text ||
                              LastPart(camera.byPath) == source.text;
                     }) ||
                     take([&](const Camera& camera) { return Folded(camera.name) == name; }) ||
                     take([&](const Camera& camera) {
                       return Folded(camera.name).find(name) != std::string::npos;
                     });
    (void)any;
  }
  return found;
}

std::string HoldersOf(const std::string& device, const std::string& proc) {
  std::string holders;
  const std::string wanted = Canonical(device);
  std::error_code error;
  for (const fs::directory_entry& process : fs::directory_iterator(proc, error)) {
    const std::string id = process.path().filename().string();
    long number = 0;
    const auto [stop, bad] = std::from_chars(id.data(), id.data() + id.size(), number);
    if (bad != std::errc() || stop != id.data() + id.size()) continue;
    std::error_code closed;  // Other users' files cannot be looked at.
    bool holds = false;
    fs::directory_iterator files(process.path() / "fd", closed);
    for (; !closed && files != fs::directory_iterator(); files.increment(closed)) {
      std::error_code gone;
      if (fs::read_symlink(files->path(), gone) == wanted && !gone) {
        holds = true;
        break;
      }
    }
    if (!holds) continue;
    std::string name;
    std::ifstream comm(process.path() / "comm");
    std::getline(comm, name);
    if (!holders.empty()) holders += ", ";
    holders += (name.empty() ? "a program" : name) + " (process " + id + ")";
    if (number == getpid()) holders += ", which is this one";
  }
  return holders;
}

}  // namespace gstcamera
