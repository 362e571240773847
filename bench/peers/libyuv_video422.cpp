#include "bench/peers/libyuv_video422.h"

#include <libyuv/convert.h>
#include <libyuv/convert_argb.h>
#include <libyuv/convert_from_argb.h>
#include <libyuv/planar_functions.h>

namespace bench::peers {

void LibyuvUYVYToARGB(const std::uint8_t* src, std::uint8_t* dst, int width, int height) {
  libyuv::UYVYToARGB(src, 2 * width, dst, 4 * width, width, height);
}

void LibyuvUYVYToReversedARGB(const std::uint8_t* src, std::uint8_t* dst, int width, int height) {
  for (int row = 0; row < height; ++row, src += 2 * width, dst += 4 * width) {
    libyuv::UYVYToARGB(src, 2 * width, dst, 4 * width, width, 1);
    libyuv::ARGBToBGRA(dst, 4 * width, dst, 4 * width, width, 1);
  }
}

void LibyuvUYVYToReversedARGB709(const std::uint8_t* src, std::uint8_t* dst, std::uint8_t* planes,
                                 int width, int height) {
  std::uint8_t* u = planes + width;
  std::uint8_t* v = u + width / 2;
  for (int row = 0; row < height; ++row, src += 2 * width, dst += 4 * width) {
    libyuv::UYVYToI422(src, 2 * width, planes, width, u, width / 2, v, width / 2, width, 1);
    libyuv::H422ToARGB(planes, width, u, width / 2, v, width / 2, dst, 4 * width, width, 1);
    libyuv::ARGBToBGRA(dst, 4 * width, dst, 4 * width, width, 1);
  }
}

void LibyuvARGBToUYVY(const std::uint8_t* src, std::uint8_t* dst, int width, int height) {
  libyuv::ARGBToUYVY(src, 4 * width, dst, 2 * width, width, height);
}

void LibyuvSwap(const std::uint8_t* src, std::uint8_t* dst, int width, int height) {
  // As if it were 32-bit pixels of half the width.
  static constexpr std::uint8_t kSwap[16] = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};
  libyuv::ARGBShuffle(src, 2 * width, dst, 2 * width, kSwap, width / 2, height);
}

void LibyuvInterpolate(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* dst, int bytes,
                       int height, int fraction) {
  libyuv::InterpolatePlane(a, bytes, b, bytes, dst, bytes, bytes, height, fraction);
}

}  // namespace bench::peers
