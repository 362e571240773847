#include "hosts/lumivane/PlanarFrame.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "hosts/lumivane/PictureFile.h"

namespace lumivane {
namespace {

constexpr int kPixelBytes = 4;
constexpr int kNeutralChroma = 128;

enum PlaneIndex { kY, kCb, kCr, kAlpha };

int CeilDivide(int number, int divisor) {
  return (number + divisor - 1) / divisor;
}

bool IsChroma(std::size_t plane) {
  return plane == kCb || plane == kCr;
}

/// A plane as the toolkit's frame of pixels.
XFrameBuffer View(FramePlane& plane) {
  XFrameBuffer frame;
  frame.Width = plane.width;
  frame.Height = plane.height;
  frame.PixelType = XFrame_Pel_ARGB;
  frame.Pixels = plane.bytes.data();
  frame.RowBytes = plane.rowBytes;
  frame.PelBytes = plane.pelBytes;
  return frame;
}

/// The same bytes as pixels of four, whatever the samples are.
XFrameBuffer ViewAsPixels(FramePlane& plane) {
  XFrameBuffer frame = View(plane);
  frame.Width = plane.rowBytes / kPixelBytes;
  frame.PelBytes = kPixelBytes;
  return frame;
}

FramePlane PixelPlane(int width, int height) {
  FramePlane plane{width, height, kPixelBytes, width * kPixelBytes, {}};
  plane.bytes.resize(static_cast<std::size_t>(plane.rowBytes) * static_cast<std::size_t>(height));
  return plane;
}

/// Planes of one size as the bytes of pixels, in order, and back.
void Interleave(const PlanarFrame& frame, const std::vector<std::size_t>& planes,
                FramePlane* pixels) {
  for (std::size_t i = 0; i < planes.size(); ++i) {
    const FramePlane& plane = frame.planes[planes[i]];
    for (int y = 0; y < plane.height; ++y) {
      const std::uint8_t* from = plane.Row(y);
      std::uint8_t* to = pixels->Row(y) + i;
      for (int x = 0; x < plane.width; ++x) to[kPixelBytes * x] = from[x];
    }
  }
}

void Separate(const FramePlane& pixels, const std::vector<std::size_t>& planes,
              PlanarFrame* frame) {
  for (std::size_t i = 0; i < planes.size(); ++i) {
    FramePlane& plane = frame->planes[planes[i]];
    for (int y = 0; y < plane.height; ++y) {
      const std::uint8_t* from = pixels.Row(y) + i;
      std::uint8_t* to = plane.Row(y);
      for (int x = 0; x < plane.width; ++x) to[x] = from[kPixelBytes * x];
    }
  }
}

/// Adds a number to every sample, modulo 256: what is black becomes zero bytes, and zero bytes
/// become black again.
void Shift(FramePlane* plane, int number) {
  if (number == 0) return;
  for (std::uint8_t& sample : plane->bytes) sample = static_cast<std::uint8_t>(sample + number);
}

int Magnitude(int sample, int black) {
  return sample < black ? black - sample : sample - black;
}

}  // namespace

PlanarFrame::PlanarFrame(const FrameLayout& frameLayout) : layout(frameLayout) {
  const int count = layout.argb ? 1 : layout.planes;
  for (int i = 0; i < count; ++i) {
    const bool chroma = !layout.argb && IsChroma(static_cast<std::size_t>(i));
    FramePlane plane;
    plane.width = chroma ? CeilDivide(layout.width, layout.chromaX) : layout.width;
    plane.height = chroma ? CeilDivide(layout.height, layout.chromaY) : layout.height;
    plane.pelBytes = layout.argb ? kPixelBytes : 1;
    plane.rowBytes = CeilDivide(plane.width * plane.pelBytes, kPixelBytes) * kPixelBytes;
    plane.bytes.resize(static_cast<std::size_t>(plane.rowBytes) *
                       static_cast<std::size_t>(plane.height));
    planes.push_back(std::move(plane));
  }
}

std::uint64_t FrameBytes(const FrameLayout& layout) {
  const auto area = [](int width, int height) {
    return static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
  };
  const std::uint64_t luma = area(layout.width, layout.height);
  if (layout.argb) return kPixelBytes * luma;
  const std::uint64_t chroma =
      area(CeilDivide(layout.width, layout.chromaX), CeilDivide(layout.height, layout.chromaY));
  return luma * (layout.planes == 4 ? 2 : 1) + (layout.planes >= 3 ? 2 * chroma : 0);
}

std::optional<PlanarOperation> PlanarOperation::Make(const FrameOperation& asked,
                                                     const FrameLayout& in, bool interlaced,
                                                     std::string* error) {
  FrameOperation operation = asked;
  if (operation.method == ResizeMethod::kAuto) {
    operation.method = interlaced ? ResizeMethod::kFields : ResizeMethod::kBilinear;
  }
  const auto size = OutputSize(operation, {in.width, in.height}, error);
  if (!size) return std::nullopt;
  FrameLayout out = in;
  out.width = size->width;
  out.height = size->height;

  const bool byFields =
      operation.verb == FrameVerb::kDeinterlace || operation.verb == FrameVerb::kField ||
      operation.verb == FrameVerb::kClearField ||
      (operation.verb == FrameVerb::kResize && operation.method == ResizeMethod::kFields);
  const int rowsOfFields = 2 * in.chromaY;
  if (byFields && in.chromaY > 1 &&
      (in.height % rowsOfFields != 0 ||
       (operation.verb == FrameVerb::kResize && out.height % rowsOfFields != 0))) {
    *error =
        "with chroma for every second row, fields need a multiple of " +
        std::to_string(rowsOfFields) + " rows, and there are " + std::to_string(in.height) +
        (operation.verb == FrameVerb::kResize ? " to become " + std::to_string(out.height) : "") +
        "; convert the stream to 4:2:2 first";
    return std::nullopt;
  }
  if (operation.verb == FrameVerb::kCrop) {
    const XFrameEdges& edges = operation.edges;
    const int rows = in.chromaY > 1 && interlaced ? rowsOfFields : in.chromaY;
    if (edges.left % in.chromaX != 0 || edges.top % rows != 0) {
      std::string needs;
      if (in.chromaX > 1) needs = "a left edge that is a multiple of " + std::to_string(in.chromaX);
      if (rows > 1) {
        needs += (needs.empty() ? "" : " and ") + std::string("a top edge that is a multiple of ") +
                 std::to_string(rows);
      }
      *error = "the chroma of this stream needs " + needs;
      return std::nullopt;
    }
  }
  return PlanarOperation(operation, in, out);
}

bool PlanarOperation::RunOnRows(PlanarFrame& in, PlanarFrame& out) const {
  for (std::size_t i = 0; i < in.planes.size(); ++i) {
    FramePlane& from = in.planes[i];
    FramePlane& to = out.planes[i];
    XFrameBuffer target = View(to);
    if (operation_.verb == FrameVerb::kCrop) {
      const int x = !in_.argb && IsChroma(i) ? in_.chromaX : 1;
      const int y = !in_.argb && IsChroma(i) ? in_.chromaY : 1;
      const XFrameEdges& edges = operation_.edges;
      XFrameBuffer part;
      View(from).GetCroppedBuffer(part, edges.left / x, edges.top / y, 0, 0);
      part.Width = to.width;
      part.Height = to.height;
      CopyRows(part, target);
      continue;
    }
    target = ViewAsPixels(to);
    int black = 0;
    if (operation_.verb == FrameVerb::kClearField && !in_.argb) {
      black = IsChroma(i) ? kNeutralChroma : (i == kY && !in_.fullRange ? 16 : 0);
    }
    Shift(&from, -black);
    if (!RunFrameOperation(operation_, ViewAsPixels(from), target)) return false;
    Shift(&to, black);
  }
  return true;
}

bool PlanarOperation::Resize(PlanarFrame& in, PlanarFrame& out) const {
  if (in_.argb) {
    XFrameBuffer target = View(out.planes[0]);
    return RunFrameOperation(operation_, View(in.planes[0]), target);
  }
  // Each resolution for itself: chroma is never brought to luma's and back.
  std::vector<std::vector<std::size_t>> groups;
  const bool oneResolution = in_.chromaX == 1 && in_.chromaY == 1;
  if (in_.planes == 1) {
    groups = {{kY}};
  } else if (oneResolution) {
    groups = {{kY, kCb, kCr}};
  } else {
    groups = {{kY}, {kCb, kCr}};
  }
  if (in_.planes == 4) groups[0].push_back(kAlpha);
  for (const std::vector<std::size_t>& group : groups) {
    const FramePlane& from = in.planes[group[0]];
    const FramePlane& to = out.planes[group[0]];
    FramePlane source = PixelPlane(from.width, from.height);
    FramePlane result = PixelPlane(to.width, to.height);
    Interleave(in, group, &source);
    XFrameBuffer target = View(result);
    if (!RunFrameOperation(operation_, View(source), target)) return false;
    Separate(result, group, &out);
  }
  return true;
}

// The border's soft edge takes thirds of every byte, so that each has to be a distance from black:
// of luma its height above black, of chroma its distance from neutral, to either side. All four
// bytes' black is zero then. Chroma stands at each pixel it belongs to, and what the operation left
// alone is written as it was.
bool PlanarOperation::BlackenEdges(PlanarFrame& in, PlanarFrame& out) const {
  if (in_.argb) {
    XFrameBuffer target = View(out.planes[0]);
    return RunFrameOperation(operation_, View(in.planes[0]), target);
  }
  const int luma = in_.fullRange ? 0 : 16;
  FramePlane source = PixelPlane(in_.width, in_.height);
  for (std::size_t i = 0; i < in.planes.size(); ++i) {
    const FramePlane& plane = in.planes[i];
    const int stepX = IsChroma(i) ? in_.chromaX : 1;
    const int stepY = IsChroma(i) ? in_.chromaY : 1;
    for (int y = 0; y < in_.height; ++y) {
      const std::uint8_t* from = plane.Row(y / stepY);
      std::uint8_t* to = source.Row(y) + i;
      for (int x = 0; x < in_.width; ++x) {
        const int sample = from[x / stepX];
        const int distance = IsChroma(i)   ? Magnitude(sample, kNeutralChroma)
                             : i == kAlpha ? sample
                                           : std::max(sample - luma, 0);
        to[kPixelBytes * x] = static_cast<std::uint8_t>(distance);
      }
    }
  }
  FramePlane result = PixelPlane(in_.width, in_.height);
  XFrameBuffer target = View(result);
  if (!RunFrameOperation(operation_, View(source), target)) return false;

  for (std::size_t i = 0; i < in.planes.size(); ++i) {
    const FramePlane& before = in.planes[i];
    FramePlane& after = out.planes[i];
    const int stepX = IsChroma(i) ? in_.chromaX : 1;
    const int stepY = IsChroma(i) ? in_.chromaY : 1;
    for (int y = 0; y < after.height; ++y) {
      for (int x = 0; x < after.width; ++x) {
        int sum = 0;
        int count = 0;
        bool changed = false;
        for (int v = y * stepY; v < std::min((y + 1) * stepY, in_.height); ++v) {
          for (int h = x * stepX; h < std::min((x + 1) * stepX, in_.width); ++h) {
            const std::size_t at = static_cast<std::size_t>(kPixelBytes * h) + i;
            changed = changed || result.Row(v)[at] != source.Row(v)[at];
            sum += result.Row(v)[at];
            ++count;
          }
        }
        const int sample = before.Row(y)[x];
        if (!changed) {
          // Luma below black has no distance from it: inside the border it is black.
          const bool below = i == kY && sample < luma;
          const XFrameEdges& edges = operation_.edges;
          const bool inBorder = x < edges.left || y < edges.top || x >= in_.width - edges.right ||
                                y >= in_.height - edges.bottom;
          after.Row(y)[x] = static_cast<std::uint8_t>(below && inBorder ? luma : sample);
          continue;
        }
        const int distance = (sum + count / 2) / count;
        int value = distance;
        if (i == kY) value = luma + distance;
        if (IsChroma(i)) {
          value = kNeutralChroma + (sample < kNeutralChroma ? -distance : distance);
        }
        after.Row(y)[x] = static_cast<std::uint8_t>(value);
      }
    }
  }
  return true;
}

bool PlanarOperation::Run(PlanarFrame& in, PlanarFrame& out) const {
  if (operation_.verb == FrameVerb::kResize) return Resize(in, out);
  if (operation_.verb == FrameVerb::kBlackenEdges) return BlackenEdges(in, out);
  return RunOnRows(in, out);
}

}  // namespace lumivane
