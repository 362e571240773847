#include "bench/peers/swscale_resize.h"

#include <memory>
#include <stdexcept>

extern "C" {
#include <libswscale/swscale.h>
}

#include "bench/support/FrameBuffers.h"

namespace bench::peers {
namespace {

Body Scale(const Shape& shape, Frames& frames, int flags) {
  const XFrameBuffer source = SourceFrame(shape, frames);
  const XFrameBuffer dest = DestFrame(shape, frames);
  const std::shared_ptr<SwsContext> context(
      sws_getContext(source.Width, source.Height, AV_PIX_FMT_ARGB, dest.Width, dest.Height,
                     AV_PIX_FMT_ARGB, flags, nullptr, nullptr, nullptr),
      sws_freeContext);
  if (context == nullptr) throw std::runtime_error("libswscale does not scale that");
  return [context, source, dest] {
    const std::uint8_t* const from[4] = {source.Pixels};
    const int fromRow[4] = {source.RowBytes};
    std::uint8_t* const to[4] = {dest.Pixels};
    const int toRow[4] = {dest.RowBytes};
    sws_scale(context.get(), from, fromRow, 0, source.Height, to, toRow);
  };
}

}  // namespace

Body SwscaleBilinear(const Shape& shape, Frames& frames) {
  return Scale(shape, frames, SWS_BILINEAR);
}

Body SwscaleNearest(const Shape& shape, Frames& frames) {
  return Scale(shape, frames, SWS_POINT);
}

}  // namespace bench::peers
