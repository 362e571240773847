// The row kernels of the 4:2:2 engine on whole frames, in each of their forms.
#include <array>
#include <cstring>

#include "bench/peers/libyuv_video422.h"
#include "bench/peers/opencv_table.h"
#include "bench/peers/plain_video422.h"
#include "bench/support/Operation.h"
#include "platform/QuickTime/YCbCrRows.h"
#include "sdk/QClasses/Q_2vuy_kernels.h"

namespace {

using bench::Agreement;
using bench::Body;
using bench::Frames;
using bench::Shape;
using Q_2vuy::AvailableRowKernels;
using Q_2vuy::CurrentRowKernels;
using Q_2vuy::SelectRowKernels;

constexpr float kFade = 0.3f;

Q_2vuy::Rows RowsOf(const std::uint8_t* src, int srcPixelBytes, std::uint8_t* dst,
                    int dstPixelBytes, const Shape& shape) {
  return {src,         srcPixelBytes * shape.width, dst, dstPixelBytes * shape.width, shape.width,
          shape.height};
}

Q_2vuy::BlendRows BlendRowsOf(Frames& frames, const Shape& shape) {
  const int rowBytes = 2 * shape.width;
  return {frames.Noise(0), rowBytes, frames.Noise(1), rowBytes,
          frames.Out(),    rowBytes, shape.width,     shape.height};
}

/// A curve with black and white levels, as users make them.
const std::array<std::uint8_t, 256>& Curve() {
  static const std::array<std::uint8_t, 256> curve = [] {
    std::array<std::uint8_t, 256> levels{};
    for (int i = 0; i < 256; ++i) {
      levels[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(i * i / 255);
    }
    return levels;
  }();
  return curve;
}

void Conversions() {
  bench::Add("2vuy to ARGB", {.read = 2, .written = 4})
      .Forms(AvailableRowKernels(), SelectRowKernels,
             [](const Shape& shape, Frames& frames) -> Body {
               return [rows = RowsOf(frames.Video(), 2, frames.Out(), 4, shape)] {
                 CurrentRowKernels().conversion.to_ARGB(rows);
               };
             })
      .Peer("libyuv UYVYToARGB", Agreement::kOther,
            [](const Shape& shape, Frames& frames) -> Body {
              return [&frames, shape] {
                bench::peers::LibyuvUYVYToARGB(frames.Video(), frames.Out(), shape.width,
                                               shape.height);
              };
            })
      .Peer("plain loop", Agreement::kExact, [](const Shape& shape, Frames& frames) -> Body {
        return [&frames, shape] {
          bench::peers::PlainToARGB(frames.Video(), frames.Out(), shape.pixels());
        };
      });

  bench::Add("ARGB to 2vuy", {.read = 4, .written = 2})
      .Forms(AvailableRowKernels(), SelectRowKernels,
             [](const Shape& shape, Frames& frames) -> Body {
               return [rows = RowsOf(frames.Picture(), 4, frames.Out(), 2, shape)] {
                 CurrentRowKernels().conversion.from_ARGB(rows);
               };
             })
      .Peer("libyuv ARGBToUYVY", Agreement::kOther, [](const Shape& shape, Frames& frames) -> Body {
        return [&frames, shape] {
          bench::peers::LibyuvARGBToUYVY(frames.Picture(), frames.Out(), shape.width, shape.height);
        };
      });

  bench::Add("ARGB over 2vuy", {.read = 6, .written = 2})
      .Forms(AvailableRowKernels(), SelectRowKernels,
             [](const Shape& shape, Frames& frames) -> Body {
               frames.Fill(0, frames.Video(), 2 * shape.pixels());
               return [rows = RowsOf(frames.Picture(), 4, frames.Out(), 2, shape)] {
                 CurrentRowKernels().conversion.over_ARGB(rows, 1.0f);
               };
             });
}

void Fidelity(const char* name, const YCbCrMatrix& matrix, const bench::Setup& libyuv) {
  bench::Add(name, {.read = 2, .written = 4})
      .Forms(AvailableYCbCrForms(), SelectYCbCrForm,
             [&matrix](const Shape& shape, Frames& frames) -> Body {
               return [&matrix, rows = RowsOf(frames.Video(), 2, frames.Out(), 4, shape)] {
                 CurrentYCbCrForm().convert(matrix, YCbCrOrder::CbY0CrY1, rows);
               };
             })
      .Peer("libyuv, reversed", Agreement::kApproximate, libyuv);
}

void BestFidelity() {
  Fidelity("2vuy to ARGB of best fidelity, 601", kYCbCr601,
           [](const Shape& shape, Frames& frames) -> Body {
             return [&frames, shape] {
               bench::peers::LibyuvUYVYToReversedARGB(frames.Video(), frames.Out(), shape.width,
                                                      shape.height);
             };
           });
  Fidelity("2vuy to ARGB of best fidelity, 709", kYCbCr709,
           [](const Shape& shape, Frames& frames) -> Body {
             return [&frames, shape] {
               bench::peers::LibyuvUYVYToReversedARGB709(frames.Video(), frames.Out(),
                                                         frames.Out(1), shape.width, shape.height);
             };
           });
}

void Luma() {
  bench::Add("yuvs to 2vuy", {.read = 2, .written = 2})
      .Forms(AvailableRowKernels(), SelectRowKernels,
             [](const Shape& shape, Frames& frames) -> Body {
               return [rows = RowsOf(frames.Video(), 2, frames.Out(), 2, shape)] {
                 CurrentRowKernels().luma.swap(rows);
               };
             })
      .Peer("libyuv ARGBShuffle", Agreement::kExact,
            [](const Shape& shape, Frames& frames) -> Body {
              return [&frames, shape] {
                bench::peers::LibyuvSwap(frames.Video(), frames.Out(), shape.width, shape.height);
              };
            })
      .Peer("plain loop", Agreement::kExact, [](const Shape& shape, Frames& frames) -> Body {
        return [&frames, shape] {
          bench::peers::PlainSwap(frames.Video(), frames.Out(), shape.pixels());
        };
      });

  bench::Add("luma through a table", {.read = 2, .written = 2})
      .Forms(AvailableRowKernels(), SelectRowKernels,
             [](const Shape& shape, Frames& frames) -> Body {
               return [rows = RowsOf(frames.Video(), 2, frames.Out(), 2, shape)] {
                 CurrentRowKernels().luma.map(rows, Q_2vuy::Order::k2vuy, Curve().data());
               };
             })
      .Peer("OpenCV LUT", Agreement::kOther,
            [](const Shape& shape, Frames& frames) -> Body {
              return [&frames, shape] {
                bench::peers::OpenCVLUT(frames.Video(), frames.Out(), 2 * shape.width, shape.height,
                                        Curve().data());
              };
            })
      .Peer("plain loop", Agreement::kExact, [](const Shape& shape, Frames& frames) -> Body {
        return [&frames, shape] {
          bench::peers::PlainMap(frames.Video(), frames.Out(), shape.pixels(), Curve().data());
        };
      });

  bench::Add("luma histogram and table", {.read = 2, .written = 2})
      .Forms(AvailableRowKernels(), SelectRowKernels,
             [](const Shape& shape, Frames& frames) -> Body {
               return [rows = RowsOf(frames.Video(), 2, frames.Out(), 2, shape)] {
                 std::uint32_t counts[256] = {};
                 CurrentRowKernels().luma.countAndMap(rows, Q_2vuy::Order::k2vuy, Curve().data(),
                                                      counts);
               };
             })
      .Peer("plain loop, counts only", Agreement::kOther,
            [](const Shape& shape, Frames& frames) -> Body {
              return [&frames, shape] {
                std::uint32_t counts[4 * 256] = {};
                bench::peers::PlainCount(frames.Video(), shape.pixels(), counts);
                std::memcpy(frames.Out(), counts, sizeof(counts));
              };
            });
}

void Blends() {
  bench::Add("blend of two 2vuy frames", {.read = 4, .written = 2})
      .Forms(AvailableRowKernels(), SelectRowKernels,
             [](const Shape& shape, Frames& frames) -> Body {
               return [rows = BlendRowsOf(frames, shape)] {
                 CurrentRowKernels().blends.blend(rows, kFade);
               };
             })
      .Peer("libyuv InterpolatePlane", Agreement::kApproximate,
            [](const Shape& shape, Frames& frames) -> Body {
              return [&frames, shape] {
                bench::peers::LibyuvInterpolate(frames.Noise(0), frames.Noise(1), frames.Out(),
                                                2 * shape.width, shape.height, 77);
              };
            })
      .Peer("plain loop", Agreement::kExact, [](const Shape& shape, Frames& frames) -> Body {
        return [&frames, shape] {
          bench::peers::PlainBlend(frames.Noise(0), frames.Noise(1), frames.Out(),
                                   2 * shape.pixels(), kFade);
        };
      });

  bench::Add("mask wipe of two 2vuy frames", {.read = 5, .written = 2})
      .Forms(AvailableRowKernels(), SelectRowKernels,
             [](const Shape& shape, Frames& frames) -> Body {
               return [rows = BlendRowsOf(frames, shape), mask = frames.Noise(2),
                       width = shape.width] {
                 CurrentRowKernels().blends.blendMasked(rows, kFade, mask, width);
               };
             })
      .Peer("libyuv InterpolatePlane, no mask", Agreement::kOther,
            [](const Shape& shape, Frames& frames) -> Body {
              return [&frames, shape] {
                bench::peers::LibyuvInterpolate(frames.Noise(0), frames.Noise(1), frames.Out(),
                                                2 * shape.width, shape.height, 77);
              };
            });
}

void Register() {
  Conversions();
  BestFidelity();
  Luma();
  Blends();
}

const bench::Group group(Register);

}  // namespace
