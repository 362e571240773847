// Colour changes, blends and overlays of 32-bit pixel maps.
//
// The changes of colour work in place. What is measured copies each row first and then changes the
// copy, so that every round finds the same colours; peers that go from one frame to another need no
// copy.
#include <array>
#include <cstring>

#include "bench/peers/opencv_pixmaps.h"
#include "bench/peers/opencv_table.h"
#include "bench/peers/over.h"
#include "bench/peers/plain_pixmaps.h"
#include "bench/support/Operation.h"
#include "sdk/QClasses/QPixMap.h"
#include "sdk/QClasses/QPixMap_kernels.h"

namespace {

using bench::Agreement;
using bench::Body;
using bench::Frames;
using bench::Operation;
using bench::Shape;
using QPixMapKernels::AvailableRowKernels;
using QPixMapKernels::CurrentRowKernels;
using QPixMapKernels::RowKernels;
using QPixMapKernels::Rows;
using QPixMapKernels::SelectRowKernels;

constexpr std::uint32_t kTint = 0x3060C0;

std::ptrdiff_t RowBytes(const Shape& shape) {
  return std::ptrdiff_t{4} * shape.width;
}

/// A frame as a pixel map.
class Map {
 public:
  Map(const std::uint8_t* bytes, int pixelBytes, int width, int height) {
    record_.baseAddr = reinterpret_cast<Ptr>(const_cast<std::uint8_t*>(bytes));
    record_.bounds = {0, 0, static_cast<SInt16>(height), static_cast<SInt16>(width)};
    record_.pixelSize = static_cast<SInt16>(8 * pixelBytes);
    QTSetPixMapPtrRowBytes(&record_, pixelBytes * width);
  }
  Map(const Map&) = delete;
  Map& operator=(const Map&) = delete;
  PixMap** handle() { return &pointer_; }

 private:
  PixMap record_{};
  PixMap* pointer_ = &record_;
};

const std::array<std::uint8_t, 256>& Levels() {
  static const std::array<std::uint8_t, 256> levels = [] {
    std::array<std::uint8_t, 256> table{};
    for (std::size_t v = 0; v < 256; ++v) table[v] = static_cast<std::uint8_t>(v * 7 / 8);
    return table;
  }();
  return levels;
}

/// `change(kernels, row)` of a copy of each row.
template <typename Change>
Operation& AddChange(const char* name, const Change& change) {
  return bench::Add(name, {.read = 4, .written = 4})
      .Forms(AvailableRowKernels(), SelectRowKernels,
             [change](const Shape& shape, Frames& frames) -> Body {
               return [change, shape, from = frames.Noise(), to = frames.Out()] {
                 const RowKernels& kernels = CurrentRowKernels();
                 const auto bytes = static_cast<std::size_t>(RowBytes(shape));
                 for (std::size_t y = 0; y < static_cast<std::size_t>(shape.height); ++y) {
                   std::uint8_t* const row = to + y * bytes;
                   std::memcpy(row, from + y * bytes, bytes);
                   change(kernels, Rows{row, 0, static_cast<std::size_t>(shape.width), 1});
                 }
               };
             });
}

/// A peer's function of (dst, src, pixels).
template <typename Function>
auto FromOneFrame(const Function& function) {
  return [function](const Shape& shape, Frames& frames) -> Body {
    return [function, pixels = shape.pixels(), to = frames.Out(), from = frames.Noise()] {
      function(to, from, pixels);
    };
  };
}

void Changes() {
  AddChange("grey", [](const RowKernels& kernels, const Rows& row) { kernels.grey(row); })
      .Peer("OpenCV transform", Agreement::kApproximate,
            [](const Shape& shape, Frames& frames) -> Body {
              return [shape, &frames] {
                bench::peers::OpenCVGrey(frames.Out(), frames.Noise(), shape.width, shape.height);
              };
            })
      .Peer("plain loop", Agreement::kExact, FromOneFrame(bench::peers::PlainGrey));
  AddChange("brighten", [](const RowKernels& kernels,
                           const Rows& row) { kernels.levels(row, Levels().data()); })
      .Peer("OpenCV LUT", Agreement::kOther,
            [](const Shape& shape, Frames& frames) -> Body {
              return [shape, &frames] {
                bench::peers::OpenCVLUT(frames.Noise(), frames.Out(), 4 * shape.width, shape.height,
                                        Levels().data());
              };
            })
      .Peer("plain loop", Agreement::kExact,
            FromOneFrame([](std::uint8_t* to, const std::uint8_t* from, std::size_t pixels) {
              bench::peers::PlainLevels(to, from, pixels, Levels().data());
            }));
  AddChange("duotone",
            [](const RowKernels& kernels, const Rows& row) {
              kernels.duotone(row, QPixMapKernels::TintOfColor(kTint));
            })
      .Peer("plain loop", Agreement::kExact,
            FromOneFrame([](std::uint8_t* to, const std::uint8_t* from, std::size_t pixels) {
              bench::peers::PlainDuotone(to, from, pixels, kTint);
            }));
}

void AddBlend(const char* name, double weightA, double weightB) {
  bench::Add(name, {.read = 8, .written = 4})
      .Forms(AvailableRowKernels(), SelectRowKernels,
             [=](const Shape& shape, Frames& frames) -> Body {
               return [=, &frames] {
                 Map dst(frames.Out(), 4, shape.width, shape.height);
                 Map a(frames.Noise(0), 4, shape.width, shape.height);
                 Map b(frames.Noise(1), 4, shape.width, shape.height);
                 QPixMap_AlphaBlend32(a.handle(), weightA, b.handle(), weightB, dst.handle());
               };
             })
      .Peer("OpenCV addWeighted", Agreement::kApproximate,
            [=](const Shape& shape, Frames& frames) -> Body {
              return [=, &frames] {
                bench::peers::OpenCVBlend(frames.Out(), frames.Noise(0), weightA, frames.Noise(1),
                                          weightB, shape.width, shape.height);
              };
            })
      .Peer("plain loop", Agreement::kExact, [=](const Shape& shape, Frames& frames) -> Body {
        return [=, &frames] {
          bench::peers::PlainBlend(frames.Out(), frames.Noise(0), weightA, frames.Noise(1), weightB,
                                   shape.pixels());
        };
      });
}

/// Onto Out(0) over and over, from two frames in turn, so that it never comes to rest. `function`
/// takes (dst, overlay, width, height).
template <typename Function>
auto OverInTurn(const Function& function) {
  return [function](const Shape& shape, Frames& frames) -> Body {
    frames.Fill(0, frames.Noise(0), 4 * shape.pixels());
    return [=, &frames, turn = std::size_t{0}]() mutable {
      turn ^= 1;
      function(frames.Out(), frames.Noise(1 + turn), shape.width, shape.height);
    };
  };
}

/// The picture onto a new copy of the noise each time.
template <typename Function>
auto OverACopy(const Function& function) {
  return [function](const Shape& shape, Frames& frames) -> Body {
    return [=, &frames] {
      std::memcpy(frames.Out(), frames.Noise(), 4 * shape.pixels());
      function(frames.Out(), frames.Picture(), shape.width, shape.height);
    };
  };
}

void Overlay(std::uint8_t* dst, const std::uint8_t* overlay, int width, int height) {
  Map to(dst, 4, width, height);
  Map from(overlay, 4, width, height);
  QPM_44(to.handle(), Point{0, 0}, from.handle(), 1.0f);
}
void OverlayHalf(std::uint8_t* dst, const std::uint8_t* overlay, int width, int height) {
  Map to(dst, 4, width, height);
  Map from(overlay, 4, width, height);
  QPM_44(to.handle(), Point{0, 0}, from.handle(), 0.5f);
}
void Overlay24(std::uint8_t* dst, const std::uint8_t* overlay, int width, int height) {
  Map to(dst, 3, width, height);
  Map from(overlay, 4, width, height);
  QPM_34(to.handle(), Point{0, 0}, from.handle(), 1.0f);
}
void PlainOver(std::uint8_t* dst, const std::uint8_t* overlay, int width, int height) {
  const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  bench::peers::PlainOverlay(dst, overlay, 1.0f, pixels);
}

void Overlays() {
  bench::Add("overlay, every alpha", {.read = 8, .written = 4})
      .Forms(AvailableRowKernels(), SelectRowKernels, OverInTurn(Overlay))
      .SharesRows()
      .Peer("pixman OVER in A, R, G, B", Agreement::kOther,
            OverInTurn(bench::peers::PixmanOverARGB))
      .Peer("pixman OVER in B, G, R, A", Agreement::kOther,
            OverInTurn(bench::peers::PixmanOverBGRA))
      .Peer("libyuv ARGBBlend", Agreement::kOther, OverInTurn(bench::peers::LibyuvOver))
      .Peer("plain loop", Agreement::kExact, OverInTurn(PlainOver));
  bench::Add("overlay of a picture on a copy", {.read = 12, .written = 8})
      .Forms(AvailableRowKernels(), SelectRowKernels, OverACopy(Overlay))
      .Peer("pixman OVER in A, R, G, B", Agreement::kOther, OverACopy(bench::peers::PixmanOverARGB))
      .Peer("libyuv ARGBBlend", Agreement::kOther, OverACopy(bench::peers::LibyuvOver));
  bench::Add("overlay at half opacity", {.read = 8, .written = 4})
      .Forms(AvailableRowKernels(), SelectRowKernels, OverInTurn(OverlayHalf));
  bench::Add("overlay onto 24 bits", {.read = 7, .written = 3})
      .Forms(AvailableRowKernels(), SelectRowKernels, OverInTurn(Overlay24));
}

void Register() {
  Changes();
  AddBlend("blend of pixel maps, 0.6 and 0.4", 0.6, 0.4);
  AddBlend("blend of pixel maps, 1/3 and 2/3", 1.0 / 3, 2.0 / 3);
  Overlays();
}

const bench::Group group(Register);

}  // namespace
