// Which of the formats a camera offers is asked for.
#pragma once

#include <string>
#include <vector>

#include "components/gstreamer/glib_text.h"
#include "components/gstreamer/settings.h"

namespace gstcamera {

/// One format of a camera at one size, with the rates it has there, fastest first.
struct OfferedFormat {
  std::string name;  ///< "UYVY", "YUY2", "MJPEG", "H264", otherwise the media type
  Size size;
  std::vector<double> rates;  ///< empty: not stated
};

/// What `caps` offers, in its own order; sizes and rates given as ranges are shown by their ends.
std::vector<OfferedFormat> ListFormats(const GstCaps* caps);

struct ChosenFormat {
  CapsHeld caps;        ///< null: whatever the camera gives
  std::string name;     ///< as in OfferedFormat
  bool decoded = true;  ///< frames are pixels
  bool isJpeg = false;  ///< each frame is a picture of its own
  Size size;
  double rate = 0;
};

/// Size first, then rate, then the least work, then the rawest format: the smallest size that
/// covers the wanted one (else the largest there is), of these what reaches the wanted rate (else
/// the fastest), so that a compressed format is taken where a raw one is too slow. With size auto:
/// what reaches the rate, of these the largest up to 1920x1080. Nothing chosen (null caps) when
/// nothing of `offered` is understood.
ChosenFormat ChooseFormat(const GstCaps* offered, const Settings& settings);

}  // namespace gstcamera
