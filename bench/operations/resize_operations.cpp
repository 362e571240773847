// Resizing of frames of 4 bytes a pixel. Peers place the pixels' centres otherwise than we do, so
// that results are not compared.
#include "bench/peers/libyuv_frames.h"
#include "bench/peers/opencv_resize.h"
#include "bench/peers/pixman_resize.h"
#include "bench/peers/swscale_resize.h"
#include "bench/support/FrameBuffers.h"
#include "bench/support/Operation.h"
#include "sdk/CoreX/XFrameKernels.h"
#include "sdk/CoreX/XFrameOperations.h"

namespace {

using bench::Agreement;
using bench::Body;
using bench::Frames;
using bench::Shape;

Shape Named(const char* name, int sourceWidth, int sourceHeight, int width, int height) {
  Shape shape = Shape::Resize(sourceWidth, sourceHeight, width, height);
  shape.name = name;
  return shape;
}

std::vector<Shape> Shapes() {
  return {Named("1080p to 720p", 1920, 1080, 1280, 720),
          Named("480p to 1080p", 640, 480, 1920, 1080),
          Named("1080p to 2160p", 1920, 1080, 3840, 2160),
          Named("1080p to 480p", 1920, 1080, 640, 480)};
}

using Resize = bool (*)(const XFrameBuffer& source, XFrameBuffer& dest);

/// A peer's function of (dst frame, src frame).
template <typename Function>
auto Scaled(Function function) {
  return [function](const Shape& shape, Frames& frames) -> Body {
    return [function, source = bench::SourceFrame(shape, frames),
            dest = bench::DestFrame(shape, frames)] { function(dest, source); };
  };
}

bench::Operation& AddResize(const char* name, Resize resize) {
  return bench::Add(name, {.read = 4, .written = 4})
      .At(Shapes())
      .Forms(XFrameKernels::AvailableRowKernels(), XFrameKernels::SelectRowKernels,
             [resize](const Shape& shape, Frames& frames) -> Body {
               const XFrameBuffer source = bench::SourceFrame(shape, frames);
               return [resize, source, dest = bench::DestFrame(shape, frames)]() mutable {
                 resize(source, dest);
               };
             })
      .SharesRows();
}

void Register() {
  AddResize("bilinear resize", XFrame_ResizeBilinear)
      .Peer("libyuv ARGBScale", Agreement::kOther, Scaled(bench::peers::LibyuvScaleBilinear))
      .Peer("OpenCV resize", Agreement::kOther, Scaled(bench::peers::OpenCVResizeLinear))
      .Peer("pixman bilinear", Agreement::kOther, Scaled(bench::peers::PixmanScaleBilinear))
      .Peer("libswscale bilinear", Agreement::kOther, bench::peers::SwscaleBilinear);
  AddResize("nearest resize", XFrame_ResizeNearestPixel)
      .Peer("libyuv ARGBScale", Agreement::kOther, Scaled(bench::peers::LibyuvScaleNearest))
      .Peer("OpenCV resize", Agreement::kOther, Scaled(bench::peers::OpenCVResizeNearest))
      .Peer("pixman nearest", Agreement::kOther, Scaled(bench::peers::PixmanScaleNearest))
      .Peer("libswscale point", Agreement::kOther, bench::peers::SwscaleNearest);
}

const bench::Group group(Register);

}  // namespace
