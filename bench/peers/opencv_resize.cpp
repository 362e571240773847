#include "bench/peers/opencv_resize.h"

#include <opencv2/imgproc.hpp>

namespace bench::peers {
namespace {

cv::Mat MatOf(const XFrameBuffer& frame) {
  return cv::Mat(frame.Height, frame.Width, CV_8UC4, frame.Pixels,
                 static_cast<std::size_t>(frame.RowBytes));
}

void Resize(const XFrameBuffer& dest, const XFrameBuffer& source, int interpolation) {
  cv::Mat to = MatOf(dest);
  cv::resize(MatOf(source), to, to.size(), 0, 0, interpolation);
}

}  // namespace

void OpenCVResizeLinear(const XFrameBuffer& dest, const XFrameBuffer& source) {
  Resize(dest, source, cv::INTER_LINEAR);
}

void OpenCVResizeNearest(const XFrameBuffer& dest, const XFrameBuffer& source) {
  Resize(dest, source, cv::INTER_NEAREST);
}

}  // namespace bench::peers
