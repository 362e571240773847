#include "components/gstreamer/dead_device.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <filesystem>
#include <vector>

namespace fs = std::filesystem;

namespace gstcamera {

int ReleaseDeadDescriptors(const std::string& device, const IsDead& isDead) {
  std::vector<int> dead;
  std::error_code error;
  fs::directory_iterator files("/proc/self/fd", error);
  for (; !error && files != fs::directory_iterator(); files.increment(error)) {
    const std::string number = files->path().filename().string();
    int file = -1;
    const char* const end = number.data() + number.size();
    if (std::from_chars(number.data(), end, file).ptr != end) continue;
    std::error_code closed;
    const std::string target = fs::read_symlink(files->path(), closed).string();
    if (closed || (target != device && target != device + " (deleted)")) continue;
    if (isDead(file)) dead.push_back(file);
  }
  if (dead.empty()) return 0;
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (nothing < 0) return 0;
  int released = 0;
  for (const int file : dead) {
    if (dup3(nothing, file, O_CLOEXEC) == file) ++released;
  }
  close(nothing);
  return released;
}

bool IsDeadVideoDevice(int file) {
  struct stat info = {};
  if (fstat(file, &info) != 0 || !S_ISCHR(info.st_mode)) return false;
  v4l2_capability capability = {};
  return ioctl(file, VIDIOC_QUERYCAP, &capability) != 0 && errno == ENODEV;
}

}  // namespace gstcamera
