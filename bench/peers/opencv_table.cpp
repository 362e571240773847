#include "bench/peers/opencv_table.h"

#include <opencv2/core.hpp>

namespace bench::peers {

void OpenCVLUT(const std::uint8_t* src, std::uint8_t* dst, int bytes, int height,
               const std::uint8_t* table) {
  const cv::Mat from(height, bytes, CV_8UC1, const_cast<std::uint8_t*>(src));
  const cv::Mat levels(1, 256, CV_8UC1, const_cast<std::uint8_t*>(table));
  cv::Mat to(height, bytes, CV_8UC1, dst);
  cv::LUT(from, levels, to);
}

}  // namespace bench::peers
