// What stays open of a camera that is gone.
#pragma once

#include <functional>
#include <string>

namespace gstcamera {

/// Whether a descriptor's device no longer answers.
using IsDead = std::function<bool(int file)>;

/// GStreamer's V4L2 source may keep the descriptor of a device that was taken away while it
/// streamed. As long as it is open, the driver cannot let go of the device: the camera comes back
/// under another number, or, where the driver waits for the last one to close, not at all.
///
/// Puts /dev/null in the place of each of this process's descriptors that was opened as `device`
/// (a path, of a node that may have been removed since) and is dead. The numbers stay taken, so
/// that whoever closes one later closes nothing else. Returns how many there were.
int ReleaseDeadDescriptors(const std::string& device, const IsDead& isDead);

/// A V4L2 device that was taken away.
bool IsDeadVideoDevice(int file);

}  // namespace gstcamera
