// `lumivane video VERB`: the frame operations on a stream.
#pragma once

#include <optional>
#include <string>

#include "hosts/lumivane/FrameOperation.h"
#include "hosts/lumivane/VideoStream.h"

namespace lumivane {

struct VideoOptions {
  std::string in = "-";
  std::string out = "-";
  FrameOperation operation;
  std::optional<StreamForm> raw;  ///< the input's frames have no headers
  PictureSize rawSize;
  Ratio rate = {25, 1};  ///< of raw frames
  bool toY4M = false;    ///< write Y4M from raw frames
  bool json = false;
  bool quiet = false;
};

int RunVideo(const VideoOptions& options);

}  // namespace lumivane
