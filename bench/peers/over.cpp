#include "bench/peers/over.h"

#include <libyuv.h>
#include <pixman.h>

namespace bench::peers {
namespace {

void PixmanOver(pixman_format_code_t format, std::uint8_t* dst, const std::uint8_t* src, int width,
                int height) {
  const auto image = [=](std::uint8_t* bytes) {
    return pixman_image_create_bits(format, width, height, reinterpret_cast<std::uint32_t*>(bytes),
                                    4 * width);
  };
  pixman_image_t* const from = image(const_cast<std::uint8_t*>(src));
  pixman_image_t* const to = image(dst);
  pixman_image_composite32(PIXMAN_OP_OVER, from, nullptr, to, 0, 0, 0, 0, 0, 0, width, height);
  pixman_image_unref(to);
  pixman_image_unref(from);
}

}  // namespace

void PixmanOverARGB(std::uint8_t* dst, const std::uint8_t* src, int width, int height) {
  PixmanOver(PIXMAN_b8g8r8a8, dst, src, width, height);
}

void PixmanOverBGRA(std::uint8_t* dst, const std::uint8_t* src, int width, int height) {
  PixmanOver(PIXMAN_a8r8g8b8, dst, src, width, height);
}

void LibyuvOver(std::uint8_t* dst, const std::uint8_t* src, int width, int height) {
  libyuv::ARGBBlend(src, 4 * width, dst, 4 * width, dst, 4 * width, width, height);
}

}  // namespace bench::peers
