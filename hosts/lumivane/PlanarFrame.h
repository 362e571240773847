// Frames of a video stream as planes of samples, and the frame operations on them.
//
// Samples stay as they are stored, whatever the chroma's resolution: an operation that only moves
// or averages rows works on each plane's rows as they lie, and no sample is converted.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hosts/lumivane/FrameOperation.h"

namespace lumivane {

/// What a frame is made of, 8 bits a sample.
struct FrameLayout {
  int width = 0;
  int height = 0;
  bool argb = false;       ///< one plane of A, R, G, B pixels; else planes of one sample per pixel
  int planes = 3;          ///< 1: Y; 3: Y, Cb, Cr; 4: alpha too
  int chromaX = 1;         ///< luma columns to one of chroma
  int chromaY = 1;         ///< luma rows to one of chroma
  bool fullRange = false;  ///< black is 0, not 16

  bool operator==(const FrameLayout&) const = default;
};

struct FramePlane {
  int width = 0;  ///< samples, or pixels of `pelBytes`
  int height = 0;
  int pelBytes = 1;
  int rowBytes = 0;  ///< a multiple of 4, so that a row can be taken as pixels of 4 bytes
  std::vector<std::uint8_t> bytes;

  std::uint8_t* Row(int y) { return bytes.data() + std::size_t(y) * std::size_t(rowBytes); }
  const std::uint8_t* Row(int y) const {
    return bytes.data() + std::size_t(y) * std::size_t(rowBytes);
  }
};

struct PlanarFrame {
  FrameLayout layout;
  std::vector<FramePlane> planes;

  /// All bytes zero.
  explicit PlanarFrame(const FrameLayout& frameLayout);
};

/// Bytes of all planes together, without padding.
std::uint64_t FrameBytes(const FrameLayout& layout);

/// One operation on frames of one layout, one after the other, in constant memory.
class PlanarOperation {
 public:
  /// Nothing, with one sentence, where it cannot be done with such frames. `interlaced`: rows take
  /// turns between two fields.
  static std::optional<PlanarOperation> Make(const FrameOperation& operation, const FrameLayout& in,
                                             bool interlaced, std::string* error);

  const FrameOperation& operation() const { return operation_; }
  const FrameLayout& outputLayout() const { return out_; }

  /// `in` and `out` have the layouts of this object. False when the toolkit refuses.
  bool Run(PlanarFrame& in, PlanarFrame& out) const;

 private:
  PlanarOperation(const FrameOperation& operation, const FrameLayout& in, const FrameLayout& out)
      : operation_(operation), in_(in), out_(out) {}

  bool RunOnRows(PlanarFrame& in, PlanarFrame& out) const;
  bool Resize(PlanarFrame& in, PlanarFrame& out) const;
  bool BlackenEdges(PlanarFrame& in, PlanarFrame& out) const;

  FrameOperation operation_;
  FrameLayout in_;
  FrameLayout out_;
};

}  // namespace lumivane
