// What `lumivane doctor` looks at, one subject a function, and what it has to say about each.
#pragma once

#include <string>
#include <vector>

#include "hosts/lumivane/HostModules.h"
#include "hosts/lumivane/VideoDevices.h"

namespace lumivane {

enum class Level { kOk, kWarning, kBroken };

struct Finding {
  Level level = Level::kOk;
  std::string subject;
  std::string text;
  std::string remedy;  ///< what mends it; empty when nothing need be done
};
using Findings = std::vector<Finding>;

/// A shell's command that gives what stands at `path` another name.
std::string OutOfTheWay(const std::string& path);

/// What came of trying the component that the filter loads.
enum class CameraUse { kNone, kFrames, kFatal };

/// Tries each component for real, and says which one the filter loads.
Findings LookAtComponents(CameraUse* use);

/// Loads the plug-in (`given`, or where it is looked for) and asks its filter for a picture, unless
/// the camera would end this process.
Findings LookAtPlugIn(const std::string& given, CameraUse use);

/// Rights, holders, names and signal of these devices.
Findings FindingsOf(const std::vector<VideoDevice>& devices);
/// Those of the system's.
Findings LookAtDevices();

/// What the GStreamer component is set to, and which of its settings it cannot use.
Findings LookAtSettings();

/// Whether hosts that search so find our module, and whether it can be loaded.
Finding FindingOf(const ModuleSearch& search);
/// That for each kind of host.
Findings LookAtModules();

/// What `lumivane view` has to show a window on, and the ways to cameras that the desktop guards.
Findings LookAtDesktop();

/// Whether the log at `path` (empty: there is no place for one) can be written.
Findings LookAtLog(const std::string& path);

}  // namespace lumivane
