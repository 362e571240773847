#include "bench/peers/Libraries.h"

#include <libyuv/version.h>
#include <pixman.h>

#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>

extern "C" {
#include <libavutil/avutil.h>
#include <libswscale/swscale.h>
}

namespace bench::peers {

void UseOneThread() {
  cv::setNumThreads(1);
}

std::vector<std::pair<std::string, std::string>> Versions() {
  const unsigned swscale = swscale_version();
  return {{"libyuv", std::to_string(LIBYUV_VERSION)},
          {"OpenCV", cv::getVersionString()},
          {"libswscale", std::to_string(AV_VERSION_MAJOR(swscale)) + "." +
                             std::to_string(AV_VERSION_MINOR(swscale)) + "." +
                             std::to_string(AV_VERSION_MICRO(swscale))},
          {"pixman", pixman_version_string()}};
}

}  // namespace bench::peers
