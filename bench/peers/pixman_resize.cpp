#include "bench/peers/pixman_resize.h"

#include <pixman.h>

namespace bench::peers {
namespace {

pixman_image_t* ImageOf(const XFrameBuffer& frame) {
  return pixman_image_create_bits(PIXMAN_a8r8g8b8, frame.Width, frame.Height,
                                  reinterpret_cast<std::uint32_t*>(frame.Pixels), frame.RowBytes);
}

void Scale(const XFrameBuffer& dest, const XFrameBuffer& source, pixman_filter_t filter) {
  pixman_image_t* const from = ImageOf(source);
  pixman_image_t* const to = ImageOf(dest);
  pixman_transform_t scale;
  pixman_transform_init_scale(
      &scale, pixman_double_to_fixed(static_cast<double>(source.Width) / dest.Width),
      pixman_double_to_fixed(static_cast<double>(source.Height) / dest.Height));
  pixman_image_set_transform(from, &scale);
  pixman_image_set_filter(from, filter, nullptr, 0);
  pixman_image_set_repeat(from, PIXMAN_REPEAT_PAD);
  pixman_image_composite32(PIXMAN_OP_SRC, from, nullptr, to, 0, 0, 0, 0, 0, 0, dest.Width,
                           dest.Height);
  pixman_image_unref(to);
  pixman_image_unref(from);
}

}  // namespace

void PixmanScaleBilinear(const XFrameBuffer& dest, const XFrameBuffer& source) {
  Scale(dest, source, PIXMAN_FILTER_BILINEAR);
}

void PixmanScaleNearest(const XFrameBuffer& dest, const XFrameBuffer& source) {
  Scale(dest, source, PIXMAN_FILTER_NEAREST);
}

}  // namespace bench::peers
