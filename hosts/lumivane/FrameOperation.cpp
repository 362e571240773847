#include "hosts/lumivane/FrameOperation.h"

#include <cstddef>
#include <cstring>

#include "hosts/lumivane/PictureFile.h"

namespace lumivane {
namespace {

std::string EdgesText(const XFrameEdges& edges) {
  return std::to_string(edges.left) + "," + std::to_string(edges.top) + "," +
         std::to_string(edges.right) + "," + std::to_string(edges.bottom);
}

}  // namespace

std::optional<PictureSize> OutputSize(const FrameOperation& operation, PictureSize in,
                                      std::string* error) {
  const std::string rows = std::to_string(in.height) + (in.height == 1 ? " row" : " rows");
  switch (operation.verb) {
    case FrameVerb::kDeinterlace:
      if (in.height % 2 != 0) {
        *error = "two fields need an even number of rows and the picture has " + rows +
                 "; `crop --edges 0,0,0,1` takes the last one away";
        return std::nullopt;
      }
      return in;
    case FrameVerb::kField:
      if (in.height < 2) {
        *error = "a field has every second row, and there is only one row";
        return std::nullopt;
      }
      return PictureSize{in.width, in.height / 2};
    case FrameVerb::kClearField:
      return in;
    case FrameVerb::kResize:
      if (operation.method == ResizeMethod::kFields &&
          (in.height < 2 || operation.size.height % 2 != 0)) {
        *error =
            "resizing by fields needs two rows or more and makes an even number of them: " + rows +
            " cannot become " + std::to_string(operation.size.height);
        return std::nullopt;
      }
      return operation.size;
    case FrameVerb::kBlackenEdges:
    case FrameVerb::kCrop: {
      const XFrameEdges& edges = operation.edges;
      const int width = in.width - edges.left - edges.right;
      const int height = in.height - edges.top - edges.bottom;
      if (edges.left < 0 || edges.top < 0 || edges.right < 0 || edges.bottom < 0 || width < 1 ||
          height < 1) {
        *error = "edges of " + EdgesText(edges) + " (left, top, right, bottom) leave nothing of " +
                 SizeText(in.width, in.height);
        return std::nullopt;
      }
      return operation.verb == FrameVerb::kCrop ? PictureSize{width, height} : in;
    }
  }
  return std::nullopt;
}

void CopyRows(const XFrameBuffer& in, const XFrameBuffer& out) {
  const std::size_t bytes = static_cast<std::size_t>(in.Width) * std::size_t(in.PelBytes);
  for (std::ptrdiff_t y = 0; y < in.Height; ++y) {
    std::memcpy(out.Pixels + y * out.RowBytes, in.Pixels + y * in.RowBytes, bytes);
  }
}

bool RunFrameOperation(const FrameOperation& operation, const XFrameBuffer& in, XFrameBuffer& out) {
  switch (operation.verb) {
    case FrameVerb::kDeinterlace:
      return XFrame_Deinterlace(in, out, operation.filters);
    case FrameVerb::kField: {
      XFrameBuffer field;
      if (operation.field == 0) {
        in.GetTopField(field);
      } else {
        in.GetBottomField(field);
      }
      CopyRows(field, out);
      return true;
    }
    case FrameVerb::kClearField:
      return XFrame_CopyBufferMemory(in, out) && XFrame_BlackenField(out, operation.field);
    case FrameVerb::kResize:
      if (operation.method == ResizeMethod::kNearest) return XFrame_ResizeNearestPixel(in, out);
      return XFrame_ResizeBilinear(in, out, operation.method != ResizeMethod::kFields);
    case FrameVerb::kBlackenEdges:
      return XFrame_CopyBufferMemory(in, out) && XFrame_BlackenEdges(out, operation.edges);
    case FrameVerb::kCrop: {
      XFrameBuffer part;
      const XFrameEdges& edges = operation.edges;
      in.GetCroppedBuffer(part, edges.left, edges.top, edges.right, edges.bottom);
      CopyRows(part, out);
      return true;
    }
  }
  return false;
}

}  // namespace lumivane
