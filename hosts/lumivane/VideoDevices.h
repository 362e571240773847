// The system's camera devices: who may use them, who does, and what they say of themselves.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace lumivane {

/// Where devices and processes are looked for; others than the system's own in tests.
struct DeviceRoots {
  std::string devices =
      "/dev";  ///< videoN, and below v4l/by-id and v4l/by-path their lasting names
  std::string processes = "/proc";
};

struct ProcessName {
  pid_t id = 0;
  std::string name;
};

struct VideoDevice {
  std::string path;
  std::string lastingPath;           ///< by identity, else by place; empty when it has neither
  std::string group;                 ///< name of the group it belongs to, else its number
  bool mayUse = false;               ///< this process may read and write it
  bool inGroup = false;              ///< this process is of that group
  bool willBeInGroup = false;        ///< the user is, and processes of a new login will be
  bool isCamera = false;             ///< it can capture pictures; known only where it may be used
  std::string name;                  ///< its driver's name for it
  bool noSignal = false;             ///< its current input says that nothing arrives
  std::vector<ProcessName> holders;  ///< those of them that this user may see
};

/// Every videoN, by number. Devices are asked for what they are, not started.
std::vector<VideoDevice> VideoDevices(const DeviceRoots& roots = {});

/// The processes, but for this one, that have `path` open.
std::vector<ProcessName> ProcessesHolding(const std::string& path, const DeviceRoots& roots = {});

}  // namespace lumivane
