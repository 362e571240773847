#include "hosts/lumivane/VideoOutputDevice.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace lumivane {
namespace {

constexpr char kLoopbackHint[] =
    "; `sudo modprobe v4l2loopback` (package v4l2loopback-dkms) makes an output device that other "
    "programs see as a camera";

int Control(int descriptor, unsigned long request, void* argument) {
  int status = 0;
  do {
    status = ioctl(descriptor, request, argument);
  } while (status < 0 && errno == EINTR);
  return status;
}

std::string OpenProblem(int reason) {
  switch (reason) {
    case ENOENT:
    case ENODEV:
    case ENXIO:
      return std::string("there is no such device") + kLoopbackHint;
    case EACCES:
      return "no right to it; `sudo adduser $USER video`, then log in again";
    case EBUSY:
      return "another program holds it; `lumivane doctor` says which";
    default:
      return std::strerror(reason);
  }
}

/// Empty, or why it does not do.
std::string SetFormat(int descriptor, PictureSize size, Ratio rate, VideoMatrix matrix,
                      VideoOutputDevice* device) {
  v4l2_capability capability{};
  if (Control(descriptor, VIDIOC_QUERYCAP, &capability) < 0) {
    return std::string("it is no video device") + kLoopbackHint;
  }
  const __u32 can = (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0 ? capability.device_caps
                                                                          : capability.capabilities;
  if ((can & V4L2_CAP_VIDEO_OUTPUT) == 0) {
    return std::string("it takes no video: it is no output device") + kLoopbackHint;
  }
  // Shared buffers are what drivers of output devices are tried with. The loopback is the
  // exception: it was made to be written to.
  const bool isLoopback =
      std::strcmp(reinterpret_cast<const char*>(capability.driver), "v4l2 loopback") == 0;
  const bool takesWrites = (can & V4L2_CAP_READWRITE) != 0;
  const bool usesBuffers = (can & V4L2_CAP_STREAMING) != 0 && !(isLoopback && takesWrites);
  if (!usesBuffers && !takesWrites) return "it takes frames in no way we know";

  v4l2_format format{};
  format.type = V4L2_BUF_TYPE_VIDEO_OUTPUT;
  format.fmt.pix.width = static_cast<__u32>(EvenWidth(size.width));
  format.fmt.pix.height = static_cast<__u32>(size.height);
  format.fmt.pix.pixelformat = V4L2_PIX_FMT_UYVY;
  format.fmt.pix.field = V4L2_FIELD_NONE;
  format.fmt.pix.bytesperline = 2 * format.fmt.pix.width;
  format.fmt.pix.sizeimage = format.fmt.pix.bytesperline * format.fmt.pix.height;
  format.fmt.pix.colorspace =
      matrix == VideoMatrix::k709 ? V4L2_COLORSPACE_REC709 : V4L2_COLORSPACE_SMPTE170M;
  if (Control(descriptor, VIDIOC_S_FMT, &format) < 0) {
    const int reason = errno;
    return "it refuses UYVY of " + std::to_string(size.width) + " x " +
           std::to_string(size.height) + ": " +
           (reason == EBUSY ? OpenProblem(reason) : std::strerror(reason));
  }
  const v4l2_pix_format& set = format.fmt.pix;
  constexpr __u32 kLargestSide = 16384;
  if (set.pixelformat != V4L2_PIX_FMT_UYVY) return "it takes no UYVY";
  if (set.width < 2 || set.width % 2 != 0 || set.height < 1 || set.width > kLargestSide ||
      set.height > kLargestSide || set.bytesperline > 16 * kLargestSide) {
    return "it asks for an impossible size, " + std::to_string(set.width) + " x " +
           std::to_string(set.height);
  }
  device->size = {static_cast<int>(set.width), static_cast<int>(set.height)};
  device->rowBytes = set.bytesperline;

  // Only told to those who read; a device that does not want to know refuses.
  v4l2_streamparm pace{};
  pace.type = V4L2_BUF_TYPE_VIDEO_OUTPUT;
  pace.parm.output.timeperframe = {static_cast<__u32>(rate.divisor),
                                   static_cast<__u32>(rate.number)};
  Control(descriptor, VIDIOC_S_PARM, &pace);
  if (!usesBuffers) return {};
  std::string problem;
  device->buffers = VideoOutputBuffers::Make(
      CallsOf(descriptor), std::size_t{set.bytesperline} * set.height, set.field, &problem);
  return problem;
}

}  // namespace

VideoOutputDevice OpenVideoOutput(const std::string& path, PictureSize size, Ratio rate,
                                  VideoMatrix matrix, std::string* error) {
  VideoOutputDevice device;
  device.descriptor = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  std::string problem = device.descriptor < 0
                            ? OpenProblem(errno)
                            : SetFormat(device.descriptor, size, rate, matrix, &device);
  if (problem.empty()) return device;
  *error = "--device " + path + ": " + problem;
  device.buffers.reset();
  if (device.descriptor >= 0) close(device.descriptor);
  return {};
}

}  // namespace lumivane
