// The row kernels, straight from their rules. Nothing here is reassociated: each conversion between
// single and double precision is part of the definition.
#include <algorithm>
#include <limits>

#include "sdk/QClasses/QPixMap_kernels.h"

namespace QPixMapKernels {
namespace {

constexpr std::size_t kPixelBytes = 4;

std::int32_t Truncate(double value) {
  if (!(value > -2147483649.0 && value < 2147483648.0)) {
    return std::numeric_limits<std::int32_t>::min();
  }
  return static_cast<std::int32_t>(value);
}

/// `operation` on each pixel of each row, in order.
template <typename Operation>
void ForEachPixel(const Rows& rows, const Operation& operation) {
  std::uint8_t* start = rows.first;
  for (std::size_t y = 0; y < rows.height; ++y, start += rows.rowBytes) {
    for (std::size_t x = 0; x < rows.width; ++x) operation(start + kPixelBytes * x);
  }
}

void Grey(const Rows& rows) {
  ForEachPixel(rows, [](std::uint8_t* argb) {
    const double g = kGreyOfBlue * argb[3] + kGreyOfRed * argb[1] + kGreyOfGreen * argb[2];
    argb[1] = argb[2] = argb[3] = static_cast<std::uint8_t>(Truncate(g));
  });
}

void Levels(const Rows& rows, const std::uint8_t* table) {
  ForEachPixel(rows, [table](std::uint8_t* argb) {
    argb[1] = table[argb[1]];
    argb[2] = table[argb[2]];
    argb[3] = table[argb[3]];
  });
}

std::uint8_t Channel(double value) {
  float single = static_cast<float>(value);
  if (single < 0.0f) single = 0.0f;
  const std::uint32_t whole = static_cast<std::uint32_t>(single);
  return static_cast<std::uint8_t>(whole > 255 ? 255 : whole);
}

void Duotone(const Rows& rows, Tint tint) {
  ForEachPixel(rows, [tint](std::uint8_t* argb) {
    if (argb[1] + argb[2] + argb[3] > kNearWhiteSum) return;
    const double y =
        1.164 * static_cast<float>(0.257 * argb[1] + 0.504 * argb[2] + 0.098 * argb[3]);
    argb[1] = Channel(y + 1.596 * tint.cr);
    // Cb and Cr are paired with each other's factors here: the tint's look depends on it.
    argb[2] = Channel(y - 0.813 * tint.cb - 0.391 * tint.cr);
    argb[3] = Channel(y + 2.018 * tint.cb);
  });
}

void PlanBlend(BlendPlan&, std::size_t) {}

void Blend(const Rows& dst, const Source& a, const Source& b, const BlendPlan& plan) {
  for (std::size_t y = 0; y < dst.height; ++y) {
    const auto row = static_cast<std::ptrdiff_t>(y);
    std::uint8_t* const to = dst.first + row * dst.rowBytes;
    const std::uint8_t* const fromA = a.first + row * a.rowBytes;
    const std::uint8_t* const fromB = b.first + row * b.rowBytes;
    for (std::size_t i = 0; i < kPixelBytes * dst.width; ++i) {
      to[i] =
          static_cast<std::uint8_t>(Truncate(fromA[i] * plan.weightA + fromB[i] * plan.weightB));
    }
  }
}

/// One byte of a destination under one of an overlay, `alpha` of it kept from the overlay.
std::uint8_t Over(std::uint8_t dest, std::uint8_t overlay, double alpha) {
  const double keep = 1 - alpha;
  const std::int32_t value = Truncate(dest * keep + overlay * alpha);
  return static_cast<std::uint8_t>(std::clamp(value, std::int32_t{0}, std::int32_t{255}));
}

/// The last `kDestBytes` bytes of the overlay's pixels onto pixels of as many bytes.
template <std::size_t kDestBytes>
void Overlay(const Rows& dst, const Source& overlay, float opacity) {
  for (std::size_t y = 0; y < dst.height; ++y) {
    const auto row = static_cast<std::ptrdiff_t>(y);
    std::uint8_t* d = dst.first + row * dst.rowBytes;
    const std::uint8_t* o = overlay.first + row * overlay.rowBytes;
    for (std::size_t x = 0; x < dst.width; ++x, d += kDestBytes, o += kPixelBytes) {
      const double a = o[0] / 255.0 * static_cast<double>(opacity);
      for (std::size_t i = 0; i < kDestBytes; ++i) {
        d[i] = Over(d[i], o[kPixelBytes - kDestBytes + i], a);
      }
    }
  }
}

void From24(const Rows& dst, const Source& source) {
  for (std::size_t y = 0; y < dst.height; ++y) {
    const auto row = static_cast<std::ptrdiff_t>(y);
    std::uint8_t* to = dst.first + row * dst.rowBytes;
    const std::uint8_t* from = source.first + row * source.rowBytes;
    for (std::size_t x = 0; x < dst.width; ++x, to += kPixelBytes, from += 3) {
      to[0] = 0;
      for (int i = 0; i < 3; ++i) to[i + 1] = from[i];
    }
  }
}

void From422(const Rows& dst, const Source& source) {
  const auto luma = [](std::uint8_t y) { return static_cast<std::uint8_t>(std::max(y - 16, 0)); };
  for (std::size_t y = 0; y < dst.height; ++y) {
    const auto row = static_cast<std::ptrdiff_t>(y);
    std::uint8_t* to = dst.first + row * dst.rowBytes;
    const std::uint8_t* from = source.first + row * source.rowBytes;
    for (std::size_t x = 0; x + 2 <= dst.width; x += 2, to += 2 * kPixelBytes, from += 4) {
      to[0] = to[4] = 255;
      to[1] = luma(from[1]);
      to[5] = luma(from[3]);
      to[2] = to[6] = from[0];
      to[3] = to[7] = from[2];
    }
  }
}

bool Opaque(const Rows& rows) {
  const std::uint8_t* start = rows.first;
  for (std::size_t y = 0; y < rows.height; ++y, start += rows.rowBytes) {
    for (std::size_t x = 0; x < rows.width; ++x) {
      if (start[kPixelBytes * x] != 255) return false;
    }
  }
  return true;
}

}  // namespace

Tint TintOfColor(std::uint32_t color) {
  const double r = color & 0xFF;
  const double g = (color >> 8) & 0xFF;
  const double b = (color >> 16) & 0xFF;
  return {static_cast<float>(0.439 * r - 0.368 * g - 0.071 * b),
          static_cast<float>(-0.148 * r - 0.291 * g + 0.439 * b)};
}

const RowKernels kScalarRowKernels = {"scalar",   Grey,       Levels, Duotone, PlanBlend, Blend,
                                      Overlay<4>, Overlay<3>, From24, From422, Opaque};

}  // namespace QPixMapKernels
