// The frame operations that pictures and video streams share, as the command line names them.
#pragma once

#include <optional>
#include <string>

#include "hosts/lumivane/Commands.h"
#include "sdk/CoreX/XFrameOperations.h"

namespace lumivane {

enum class FrameVerb { kDeinterlace, kField, kClearField, kResize, kBlackenEdges, kCrop };

enum class ResizeMethod {
  kAuto,  ///< by fields where the material says that it is interlaced, else bilinear
  kBilinear,
  kNearest,
  kFields
};

struct FrameOperation {
  FrameVerb verb = FrameVerb::kDeinterlace;
  XFrameFilters filters = {XFrame_Filter_BlendThree};  ///< deinterlace
  int field = 0;                                       ///< field: 0 top, 1 bottom
  ResizeMethod method = ResizeMethod::kAuto;           ///< resize; resolved by then
  PictureSize size;                                    ///< resize
  XFrameEdges edges;                                   ///< blacken-edges, crop
};

/// The size of what the operation makes of a picture of size `in`; nothing, with one sentence,
/// where it cannot be done.
std::optional<PictureSize> OutputSize(const FrameOperation& operation, PictureSize in,
                                      std::string* error);

/// Runs it on pixels of 4 bytes. `out` has the output's size and, where that is the input's, the
/// input's row bytes. False when the toolkit refuses.
bool RunFrameOperation(const FrameOperation& operation, const XFrameBuffer& in, XFrameBuffer& out);

/// Row by row; frames of the same size and pixel bytes whose rows may lie differently far apart.
void CopyRows(const XFrameBuffer& in, const XFrameBuffer& out);

}  // namespace lumivane
