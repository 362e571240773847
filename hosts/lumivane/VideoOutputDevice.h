// A V4L2 output device: other programs see what is written to it as a camera (v4l2loopback), or it
// leaves the machine (a card's output).
#pragma once

#include <memory>
#include <string>

#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/VideoOutputBuffers.h"
#include "hosts/lumivane/VideoPicture.h"
#include "hosts/lumivane/VideoStream.h"

namespace lumivane {

struct VideoOutputDevice {
  int descriptor = -1;  ///< non-blocking, takes whole frames of UYVY; the caller closes it
  /// What takes the frames; null: write() does.
  std::unique_ptr<VideoOutputBuffers> buffers;
  PictureSize size;          ///< what the device takes: it has the last word
  std::size_t rowBytes = 0;  ///< from one row to the next
};

/// Opens the output device at `path` and sets its format: UYVY of about that size and rate, with
/// colours by that matrix. A descriptor of -1 with one sentence, which says what
/// mends it where that is known.
VideoOutputDevice OpenVideoOutput(const std::string& path, PictureSize size, Ratio rate,
                                  VideoMatrix matrix, std::string* error);

}  // namespace lumivane
