#include "hosts/lumivane/VideoDevices.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/videodev2.h>
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>

namespace fs = std::filesystem;

namespace lumivane {
namespace {

/// The whole of `text` as a number that is not negative.
std::optional<int> Number(const std::string& text) {
  int number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || number < 0 || text.empty()) return std::nullopt;
  return number;
}

/// Names in a folder; none where it cannot be read.
std::vector<fs::path> EntriesOf(const fs::path& folder) {
  std::vector<fs::path> entries;
  std::error_code error;
  for (fs::directory_iterator i(folder, error), end; !error && i != end; i.increment(error)) {
    entries.push_back(i->path());
  }
  std::sort(entries.begin(), entries.end());
  return entries;
}

std::string LastingPathOf(const fs::path& device, const DeviceRoots& roots) {
  for (const char* kind : {"by-id", "by-path"}) {
    for (const fs::path& link : EntriesOf(fs::path(roots.devices) / "v4l" / kind)) {
      std::error_code error;
      if (fs::equivalent(link, device, error)) return link.string();
    }
  }
  return {};
}

std::string GroupName(gid_t id) {
  const struct group* const entry = getgrgid(id);
  return entry != nullptr ? entry->gr_name : std::to_string(id);
}

bool ProcessIsInGroup(gid_t id) {
  if (getegid() == id) return true;
  std::vector<gid_t> groups(static_cast<std::size_t>(std::max(getgroups(0, nullptr), 0)));
  const int count = getgroups(static_cast<int>(groups.size()), groups.data());
  groups.resize(static_cast<std::size_t>(std::max(count, 0)));
  return std::find(groups.begin(), groups.end(), id) != groups.end();
}

bool UserIsInGroup(gid_t id) {
  const struct passwd* const user = getpwuid(getuid());
  const struct group* const entry = getgrgid(id);
  if (user == nullptr || entry == nullptr) return false;
  if (user->pw_gid == id) return true;
  for (char** member = entry->gr_mem; *member != nullptr; ++member) {
    if (std::strcmp(*member, user->pw_name) == 0) return true;
  }
  return false;
}

template <std::size_t size>
std::string TextOf(const __u8 (&bytes)[size]) {
  const auto* const text = reinterpret_cast<const char*>(bytes);
  return {text, strnlen(text, size)};
}

/// Asks the driver; a file that is no video device stays what it is: no camera.
void Query(VideoDevice& device) {
  const int file = open(device.path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  if (file < 0) return;
  v4l2_capability capability{};
  if (ioctl(file, VIDIOC_QUERYCAP, &capability) == 0) {
    const __u32 able = (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0
                           ? capability.device_caps
                           : capability.capabilities;
    device.isCamera = (able & (V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_CAPTURE_MPLANE)) != 0;
    device.name = TextOf(capability.card);
    int current = 0;
    if (device.isCamera && ioctl(file, VIDIOC_G_INPUT, &current) == 0) {
      v4l2_input input{};
      input.index = static_cast<__u32>(current);
      if (ioctl(file, VIDIOC_ENUMINPUT, &input) == 0) {
        device.noSignal =
            (input.status & (V4L2_IN_ST_NO_POWER | V4L2_IN_ST_NO_SIGNAL | V4L2_IN_ST_NO_SYNC)) != 0;
      }
    }
  }
  close(file);
}

VideoDevice Describe(const fs::path& path, const DeviceRoots& roots) {
  VideoDevice device;
  device.path = path.string();
  device.lastingPath = LastingPathOf(path, roots);
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) {
    device.group = GroupName(status.st_gid);
    device.inGroup = ProcessIsInGroup(status.st_gid);
    device.willBeInGroup = UserIsInGroup(status.st_gid);
  }
  device.mayUse = faccessat(AT_FDCWD, path.c_str(), R_OK | W_OK, AT_EACCESS) == 0;
  device.holders = ProcessesHolding(device.path, roots);
  if (device.mayUse) Query(device);
  return device;
}

}  // namespace

std::vector<VideoDevice> VideoDevices(const DeviceRoots& roots) {
  constexpr char kPrefix[] = "video";
  std::vector<std::pair<int, fs::path>> numbered;
  for (const fs::path& path : EntriesOf(roots.devices)) {
    const std::string name = path.filename().string();
    if (!name.starts_with(kPrefix)) continue;
    const std::optional<int> number = Number(name.substr(sizeof(kPrefix) - 1));
    if (number) numbered.emplace_back(*number, path);
  }
  std::sort(numbered.begin(), numbered.end());
  std::vector<VideoDevice> devices;
  devices.reserve(numbered.size());
  for (const auto& [number, path] : numbered) devices.push_back(Describe(path, roots));
  return devices;
}

std::vector<ProcessName> ProcessesHolding(const std::string& path, const DeviceRoots& roots) {
  std::vector<ProcessName> holders;
  struct stat wanted {};
  if (stat(path.c_str(), &wanted) != 0) return holders;
  for (const fs::path& process : EntriesOf(roots.processes)) {
    const std::optional<int> id = Number(process.filename().string());
    if (!id || *id == getpid()) continue;
    for (const fs::path& file : EntriesOf(process / "fd")) {
      struct stat status {};
      if (stat(file.c_str(), &status) != 0 || status.st_dev != wanted.st_dev ||
          status.st_ino != wanted.st_ino) {
        continue;
      }
      ProcessName holder{*id, {}};
      std::ifstream in(process / "comm");
      std::getline(in, holder.name);
      holders.push_back(std::move(holder));
      break;
    }
  }
  std::sort(holders.begin(), holders.end(),
            [](const ProcessName& a, const ProcessName& b) { return a.id < b.id; });
  return holders;
}

}  // namespace lumivane
