// Pictures as 4:2:2 video and back, by the toolkit's own conversions.
#pragma once

#include <string>

#include "hosts/lumivane/PictureFile.h"
#include "sdk/CoreG/namespace_CoreGraphics_BitmapContext.h"
#include "sdk/QClasses/Q_2vuy_data.h"

namespace lumivane {

// Video has whole pairs of pixels: at an odd width, frames and contexts here are one pixel wider,
// which shows the last one once more, so that its chroma is whole.

constexpr int EvenWidth(int width) {
  return width + width % 2;
}
constexpr int VideoRowBytes(int width) {
  return 2 * EvenWidth(width);
}

/// A bitmap context with the picture's bytes. Alpha is not multiplied in: the conversions weigh
/// with it themselves.
bool MakeContext(const ArgbPicture& picture, CoreGraphics::BitmapContext& context);
ArgbPicture PictureFrom(const CoreGraphics::BitmapContext& context);

/// An empty '2vuy' frame.
bool MakeVideo(int width, int height, Q_2vuy_buffer& video);
/// The picture as Rec. 709 '2vuy', alpha ignored.
bool MakeVideo(const ArgbPicture& picture, Q_2vuy_buffer& video);

enum class VideoMatrix { k601 = 601, k709 = 709 };

/// How video becomes RGB.
struct VideoToRgb {
  /// The toolkit's fast rule, which does not read Cr; else exactly, by `matrix`.
  bool toolkitRule = false;
  VideoMatrix matrix = VideoMatrix::k709;
};

/// The first `width` columns. Empty when the platform refuses.
ArgbPicture PictureFrom(const Q_2vuy_data& video, int width, const VideoToRgb& conversion);

}  // namespace lumivane
