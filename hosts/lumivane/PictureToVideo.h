// Pictures as 8-bit 4:2:2 video for other programs, by the exact matrix.
//
// Y = 16 + 219 (Kr R + Kg G + Kb B), Cb = 128 + 224 (B - Y') / (2 (1 - Kb)), Cr likewise with R,
// all of 0..1 and rounded to nearest (ITU-R BT.601: Kr 0.299, Kb 0.114; BT.709: 0.2126, 0.0722).
// Chroma is that of the mean of a pair of pixels. This is the inverse of how the filter shows video
// frames, unlike the toolkit's own conversion, whose white is luma 234.
#pragma once

#include <cstdint>
#include <vector>

#include "hosts/lumivane/LiveFilter.h"
#include "hosts/lumivane/VideoPicture.h"

namespace lumivane {

/// What the filter takes a frame of so many rows for, and players do too.
constexpr VideoMatrix MatrixFor(int height) {
  return height > 576 ? VideoMatrix::k709 : VideoMatrix::k601;
}

enum class VideoForm {
  kPlanes,  ///< all Y, then all Cb, then all Cr: a frame of Y4M's C422
  kUYVY,    ///< Cb Y Cr Y
};

/// Width of the video: that of the picture, or one more where it is odd, showing the last column
/// twice. Rows are not padded.
int VideoWidth(const Picture& picture);

/// Replaces `*bytes` with the frame, 2 * VideoWidth * height bytes. What is transparent is on
/// black. `rowBytes`: of kUYVY, where they are more than twice the width; the rest of a row is 0.
void PictureToVideo(const Picture& picture, VideoMatrix matrix, VideoForm form,
                    std::vector<std::uint8_t>* bytes, std::size_t rowBytes = 0);

}  // namespace lumivane
