// `lumivane image VERB`: the toolkit's operations on picture files. Each verb reads its inputs,
// runs, and writes its output only when everything went well; false with one sentence otherwise.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "hosts/lumivane/FrameOperation.h"

namespace lumivane {

struct ImageOptions {
  std::vector<std::string> in;
  std::string out;
  bool json = false;

  PictureSize size;                            ///< fill, noise, from-2vuy
  double factor = 1.25;                        ///< brighten
  std::uint32_t colour = 0xFF000000;           ///< fill, duotone: 0xAARRGGBB
  std::vector<int> ycbcr;                      ///< fill: Y, Cb, Cr instead of the colour
  std::array<double, 2> weights = {0.5, 0.5};  ///< blend
  bool fade = false;                           ///< blend: cross-fade of video instead of weights
  double t = 0.5;                              ///< blend --fade, wipe
  std::string mask;                            ///< wipe: grey picture, white comes first
  std::vector<std::array<int, 4>> parts;       ///< wipe: X, Y, W, H of A and of B
  int cell = 8;                                ///< noise
  double amplitude = 0.5;                      ///< noise
  bool grey = false;                           ///< noise
  int black = 16;                              ///< levels
  int white = 235;                             ///< levels
  std::string pixelFormat;                     ///< to-2vuy, from-2vuy; empty: by the name
  bool toolkitRule = false;                    ///< video to RGB by the toolkit's fast rule
  int matrix = 709;                            ///< video to RGB: 709 or 601
  std::array<int, 2> at = {0, 0};              ///< overlay: X, Y
  double opacity = 1;                          ///< overlay
  FrameOperation frame;                        ///< the frame verbs
};

using ImageVerb = bool (*)(const ImageOptions& options, std::string* error);

// Pixel maps.
bool ImageGrey(const ImageOptions& options, std::string* error);
bool ImageBrighten(const ImageOptions& options, std::string* error);
bool ImageDuotone(const ImageOptions& options, std::string* error);
bool ImageBlend(const ImageOptions& options, std::string* error);
bool ImageOverlay(const ImageOptions& options, std::string* error);
bool ImageFill(const ImageOptions& options, std::string* error);
bool ImageNoise(const ImageOptions& options, std::string* error);

// 4:2:2 video.
bool ImageTo2vuy(const ImageOptions& options, std::string* error);
bool ImageFrom2vuy(const ImageOptions& options, std::string* error);
bool ImageFade(const ImageOptions& options, std::string* error);       ///< blend --fade
bool ImageFillVideo(const ImageOptions& options, std::string* error);  ///< fill --ycbcr
bool ImageOver(const ImageOptions& options, std::string* error);
bool ImageWipe(const ImageOptions& options, std::string* error);
bool ImageEqualise(const ImageOptions& options, std::string* error);
bool ImageLevels(const ImageOptions& options, std::string* error);

// Frames.
bool ImageFrame(const ImageOptions& options, std::string* error);

/// Prints what is known of each picture to standard output.
bool ImageInfo(const ImageOptions& options, std::string* error);

/// Runs a verb, tells its failure on standard error, and gives the exit code.
int RunImage(ImageVerb verb, const ImageOptions& options);

}  // namespace lumivane
