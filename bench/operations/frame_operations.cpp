// Fields, deinterlacing, copies and black: the operations of XFrameOperations that keep the size.
#include "bench/peers/libyuv_frames.h"
#include "bench/peers/plain_frames.h"
#include "bench/support/FrameBuffers.h"
#include "bench/support/Operation.h"
#include "sdk/CoreX/XFrameKernels.h"
#include "sdk/CoreX/XFrameOperations.h"

namespace {

using bench::Agreement;
using bench::Body;
using bench::Frames;
using bench::Operation;
using bench::Shape;

/// The forms of an operation from one frame into another of the same size.
template <typename Run>
Operation& AddFrame(const char* name, double read, const Run& run) {
  return bench::Add(name, {.read = read, .written = 4})
      .Forms(XFrameKernels::AvailableRowKernels(), XFrameKernels::SelectRowKernels,
             [run](const Shape& shape, Frames& frames) -> Body {
               const XFrameBuffer source = bench::SourceFrame(shape, frames);
               return [run, source, dest = bench::DestFrame(shape, frames)]() mutable {
                 run(source, dest);
               };
             })
      .SharesRows();
}

/// A peer's function of (dst, src, bytes of a row, rows).
template <typename Function>
auto Rows(Function function) {
  return [function](const Shape& shape, Frames& frames) -> Body {
    return [function, shape, &frames] {
      function(frames.Out(), frames.Noise(), 4 * shape.width, shape.height);
    };
  };
}

void Register() {
  AddFrame("row-pair blend", 4,
           [](const XFrameBuffer& source, XFrameBuffer& dest) {
             XFrame_BlendFields(source, dest, XFrameFilters{XFrame_Filter_BlendPairs});
           })
      .Peer("libyuv InterpolatePlane", Agreement::kApproximate, Rows(bench::peers::LibyuvPairs))
      .Peer("plain loop", Agreement::kExact, Rows(bench::peers::PlainPairs));
  AddFrame("three-row filter", 4, [](const XFrameBuffer& source, XFrameBuffer& dest) {
    XFrame_BlendFields(source, dest, XFrameFilters{XFrame_Filter_BlendThree});
  }).Peer("plain loop", Agreement::kExact, Rows(bench::peers::PlainThreeRows));
  AddFrame(
      "one field", 2,
      [](const XFrameBuffer& source, XFrameBuffer& dest) { XFrame_OneFieldOnly(source, dest, 0); })
      .Peer("libyuv InterpolatePlane", Agreement::kApproximate, Rows(bench::peers::LibyuvField))
      .Peer("plain loop", Agreement::kExact, Rows(bench::peers::PlainField));
  AddFrame("frame copy", 4, [](const XFrameBuffer& source, XFrameBuffer& dest) {
    XFrame_CopyBufferMemory(source, dest);
  }).Peer("libyuv CopyPlane", Agreement::kExact, Rows(bench::peers::LibyuvCopy));
  AddFrame("blacken, YUV", 0, [](const XFrameBuffer&, XFrameBuffer& dest) {
    dest.PixelType = XFrame_Pel_r408;
    XFrame_Blacken(dest);
  }).Peer("libyuv ARGBRect", Agreement::kExact, Rows(bench::peers::LibyuvBlacken));
}

const bench::Group group(Register);

}  // namespace
