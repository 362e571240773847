#include "bench/peers/libyuv_frames.h"

#include <libyuv/planar_functions.h>
#include <libyuv/scale_argb.h>

namespace bench::peers {
namespace {

constexpr int kHalf = 128;

void Scale(const XFrameBuffer& dest, const XFrameBuffer& source, libyuv::FilterMode filter) {
  libyuv::ARGBScale(source.Pixels, source.RowBytes, source.Width, source.Height, dest.Pixels,
                    dest.RowBytes, dest.Width, dest.Height, filter);
}

}  // namespace

void LibyuvPairs(std::uint8_t* dst, const std::uint8_t* src, int bytes, int rows) {
  // Pair by pair, so that the second row is copied from the cache.
  for (int y = 0; y < rows; y += 2, src += 2 * bytes, dst += 2 * bytes) {
    libyuv::InterpolatePlane(src, 0, src + bytes, 0, dst, 0, bytes, 1, kHalf);
    libyuv::CopyPlane(dst, 0, dst + bytes, 0, bytes, 1);
  }
}

void LibyuvField(std::uint8_t* dst, const std::uint8_t* src, int bytes, int rows) {
  for (int y = 0; y < rows; y += 2, src += 2 * bytes, dst += 2 * bytes) {
    libyuv::CopyPlane(src, 0, dst, 0, bytes, 1);
    const std::uint8_t* const next = y + 2 < rows ? src + 2 * bytes : src;
    libyuv::InterpolatePlane(src, 0, next, 0, dst + bytes, 0, bytes, 1, kHalf);
  }
}

void LibyuvCopy(std::uint8_t* dst, const std::uint8_t* src, int bytes, int rows) {
  libyuv::CopyPlane(src, bytes, dst, bytes, bytes, rows);
}

void LibyuvBlacken(std::uint8_t* dst, const std::uint8_t* /*src*/, int bytes, int rows) {
  libyuv::ARGBRect(dst, bytes, 0, 0, bytes / 4, rows, 0x808000FF);
}

void LibyuvScaleBilinear(const XFrameBuffer& dest, const XFrameBuffer& source) {
  Scale(dest, source, libyuv::kFilterBilinear);
}

void LibyuvScaleNearest(const XFrameBuffer& dest, const XFrameBuffer& source) {
  Scale(dest, source, libyuv::kFilterNone);
}

}  // namespace bench::peers
