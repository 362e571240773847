#include "bench/peers/opencv_pixmaps.h"

#include <opencv2/core.hpp>

namespace bench::peers {
namespace {

cv::Mat Frame(const std::uint8_t* bytes, int width, int height) {
  return {height, width, CV_8UC4, const_cast<std::uint8_t*>(bytes)};
}

}  // namespace

void OpenCVGrey(std::uint8_t* dst, const std::uint8_t* src, int width, int height) {
  static const cv::Matx44f weights(1, 0, 0, 0,                    //
                                   0, 0.7152f, 0.0722f, 0.2126f,  //
                                   0, 0.7152f, 0.0722f, 0.2126f,  //
                                   0, 0.7152f, 0.0722f, 0.2126f);
  cv::Mat to = Frame(dst, width, height);
  cv::transform(Frame(src, width, height), to, weights);
}

void OpenCVBlend(std::uint8_t* dst, const std::uint8_t* a, double weightA, const std::uint8_t* b,
                 double weightB, int width, int height) {
  cv::Mat to = Frame(dst, width, height);
  cv::addWeighted(Frame(a, width, height), weightA, Frame(b, width, height), weightB, 0, to);
}

}  // namespace bench::peers
