// The folders a camera component is looked for in, and what lies there.
#pragma once

#include <array>
#include <string>

#include "platform/CoreFoundation/CFBundle.h"
#include "sdk/CoreX/CoreBaseDLL.h"

namespace lumivane {

/// What stands under the component's name in one folder.
struct CameraPlace {
  std::string domain;  ///< "user", "system" or "local"
  CFBaseDLL::Location location = CFBaseDLL::kLocationUserComponents;
  std::string folder;  ///< the folder's path, also while it is missing
  bool folderExists = false;
  std::string path;  ///< folder + "/LumivaneXXX.component"
  enum Kind { kNothing, kBundle, kLibrary, kOther } kind = kNothing;
  std::string linkTarget;  ///< of a symbolic link
  bool dangling = false;   ///< a symbolic link to nothing
};

/// The three places in the order the camera is looked for: user, system, local.
std::array<CameraPlace, 3> CameraPlaces();

/// Whether anything stands there, be it a link to nothing.
bool HasEntry(const CameraPlace& place);

/// Whether what stands there can be loaded, which is tried: it is unloaded again unless it was
/// loaded before. The filter uses the first place of which this is true. Why not in `*error`.
bool CameraLoads(const CameraPlace& place, std::string* error);

/// The place whose component a program that starts now would load; of path "" when there is none.
CameraPlace LoadedPlace();

/// What trying a component for real shows.
struct CameraTrial {
  bool created = false;  ///< it is a bundle with an executable
  bool loaded = false;   ///< its executable can be loaded
  bool hasEntryPoint = false;
  bool hasFrame = false;  ///< it offered a frame within half a second
  bool fatal = false;     ///< it ends or holds up every program that uses it
  std::string error;      ///< why not, where something failed
  std::string name;       ///< display name, else the file's
  std::string version;
  int width = 0;
  int height = 0;
  std::string pixelFormat;  ///< "2vuy", else "ARGB"
};

/// Loads the component at `place` and asks it for frames, in a process of its own: one that crashes
/// does so there. One that this process has loaded is asked here.
CameraTrial TryCamera(const CameraPlace& place);

/// Display name of a component: what its description says, else its file's.
std::string ComponentName(CFBundleRef bundle);

/// The component that is loaded in this process, wherever it was found: what lies in the folders
/// may be another by now, or nothing. Null while none is loaded. Not retained: the filter holds it
/// until the process ends.
CFBundleRef LoadedCamera();

/// Display name of the component that is loaded, else of the one that would be; empty when there is
/// none.
std::string CurrentCameraName();

}  // namespace lumivane
