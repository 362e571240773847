// The noise fill of bitmap contexts.
#include <cstring>
#include <string>

#include "bench/peers/plain_pixmaps.h"
#include "bench/support/Operation.h"
#include "sdk/CoreGeometry/NoiseKernels.h"

namespace {

using bench::Agreement;
using bench::Body;
using bench::Frames;
using bench::Operation;
using bench::Shape;

constexpr float kAmplitude = 0.7f;

Operation& AddFill(int cellSize) {
  return bench::Add("noise fill, cells of " + std::to_string(cellSize), {.read = 0, .written = 4})
      .Forms(NoiseKernels::AvailableKernels(), NoiseKernels::SelectKernels,
             [cellSize](const Shape& shape, Frames& frames) -> Body {
               const NoiseKernels::Picture picture = {frames.Out(),
                                                      4 * static_cast<std::size_t>(shape.width),
                                                      static_cast<std::uint32_t>(shape.width),
                                                      static_cast<std::uint32_t>(shape.height),
                                                      4,
                                                      cellSize};
               return [picture] {
                 const NoiseKernels::Columns columns(picture);
                 NoiseKernels::CurrentKernels().fill(CoreGeometry::PerlinNoise::sSingleton, picture,
                                                     columns, kAmplitude, 0, picture.cellRows());
               };
             });
}

Body Memset(const Shape& shape, Frames& frames) {
  return [to = frames.Out(), bytes = 4 * shape.pixels()] { std::memset(to, 0x55, bytes); };
}

void Register() {
  AddFill(1).Peer("plain loop", Agreement::kExact, [](const Shape& shape, Frames& frames) -> Body {
    return [shape, to = frames.Out()] {
      bench::peers::PlainNoise(to, shape.width, shape.height, kAmplitude);
    };
  });
  for (const int cellSize : {2, 8, 64}) {
    AddFill(cellSize).Peer("memset", Agreement::kOther, Memset);
  }
}

const bench::Group group(Register);

}  // namespace
