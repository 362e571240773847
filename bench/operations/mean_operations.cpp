// Means of two frames' bytes: what row-pair blending and line interpolation are made of.
#include "bench/peers/libyuv_frames.h"
#include "bench/peers/plain_frames.h"
#include "bench/support/Operation.h"
#include "sdk/CoreX/XFrameKernels.h"

namespace {

using bench::Agreement;
using bench::Body;
using bench::Frames;
using bench::Shape;

void Register() {
  bench::Add("mean of two frames", {.read = 8, .written = 4})
      .Forms(XFrameKernels::AvailableRowKernels(), XFrameKernels::SelectRowKernels,
             [](const Shape& shape, Frames& frames) -> Body {
               return [&frames, row = 4 * static_cast<std::size_t>(shape.width), shape] {
                 const auto& kernels = XFrameKernels::CurrentRowKernels();
                 for (int y = 0; y < shape.height; ++y) {
                   const std::size_t at = row * static_cast<std::size_t>(y);
                   kernels.mean(frames.Out() + at, frames.Noise(0) + at, frames.Noise(1) + at, row);
                 }
               };
             })
      .Peer("libyuv InterpolatePlane", Agreement::kApproximate,
            [](const Shape& shape, Frames& frames) -> Body {
              return [&frames, shape] {
                bench::peers::LibyuvMean(frames.Out(), frames.Noise(0), frames.Noise(1),
                                         4 * shape.width, shape.height);
              };
            })
      .Peer("plain loop", Agreement::kExact, [](const Shape& shape, Frames& frames) -> Body {
        return [&frames, shape] {
          bench::peers::PlainMean(frames.Out(), frames.Noise(0), frames.Noise(1),
                                  4 * shape.pixels());
        };
      });
}

const bench::Group group(Register);

}  // namespace
