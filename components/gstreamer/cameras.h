// The cameras of this machine.
#pragma once

#include <string>
#include <vector>

#include "components/gstreamer/glib_text.h"
#include "components/gstreamer/settings.h"

namespace gstcamera {

struct Camera {
  ObjectHeld<GstDevice> device;
  std::string name;        ///< as the camera calls itself; two may have the same
  std::string stableName;  ///< tells it from all others, also after a restart: the last part of
                           ///< byId, else of byPath, else its name
  std::string path;        ///< /dev/videoN; empty where the camera is no V4L2 device
  std::string byId;        ///< /dev/v4l/by-id/..., or empty
  std::string byPath;      ///< /dev/v4l/by-path/..., or empty
  CapsHeld caps;           ///< what it offers
};

/// Looks for cameras now: those of GStreamer's device providers. Opens each for a moment; may take
/// tenths of a second.
std::vector<Camera> ListCameras();

/// The indices of the cameras that `source` (kCamera, kDevicePath or kAuto) means, best first:
/// equal stable name or path, then equal name, then a name that contains the text. Letter case of
/// names does not matter.
std::vector<std::size_t> FindCameras(const std::vector<Camera>& cameras, const Source& source);

/// The path of a link below `folder` that leads to `device`, the first in alphabetical order; empty
/// when there is none.
std::string LinkTo(const std::string& folder, const std::string& device);

/// Who has the device open, from /proc: "obs (process 1234)", several with commas between; empty
/// when nobody can be seen. `proc` is the place of that file system.
std::string HoldersOf(const std::string& device, const std::string& proc = "/proc");

}  // namespace gstcamera
