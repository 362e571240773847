// The row kernels, straight from their rules. Nothing here is reassociated: single and double
// precision steps are part of the definition.
#include <limits>

#include "sdk/QClasses/Q_2vuy_kernels.h"

namespace Q_2vuy {
namespace {

constexpr double kNearlyHalf = 0.49999999;

std::int32_t TruncateDouble(double value) {
  if (!(value > -2147483649.0 && value < 2147483648.0)) {
    return std::numeric_limits<std::int32_t>::min();
  }
  return static_cast<std::int32_t>(value);
}

std::uint8_t Low8(std::int32_t value) {
  return static_cast<std::uint8_t>(value & 0xFF);
}

std::uint8_t ClampChannel(float value) {
  const std::int32_t rounded = Round(value);
  if (rounded > 254) return 255;
  return rounded < 0 ? 0 : static_cast<std::uint8_t>(rounded);
}

void PixelToARGB(std::uint8_t luma, float cb, std::uint8_t* argb) {
  // Unsigned on purpose: luma below 16 becomes huge, overflows the rounding and ends as black.
  const float y = static_cast<float>(static_cast<std::uint32_t>(luma) - 16u);
  // The Cr byte is not part of the rule: its column enters with a difference of 1.
  argb[0] = 255;
  argb[1] = ClampChannel((yuv_r_709[0] * y + yuv_r_709[1] * cb) + yuv_r_709[2]);
  argb[2] = ClampChannel((yuv_g_709[0] * y + yuv_g_709[1] * cb) + yuv_g_709[2]);
  argb[3] = ClampChannel((yuv_b_709[0] * y + yuv_b_709[1] * cb) + yuv_b_709[2]);
}

/// Calls pair(source, destination) for every pair of pixels.
template <typename Pair>
void ForPairs(const Rows& rows, int srcPairBytes, int dstPairBytes, const Pair& pair) {
  for (int y = 0; y < rows.height; ++y) {
    const std::uint8_t* src = rows.src + y * rows.srcRowBytes;
    std::uint8_t* dst = rows.dst + y * rows.dstRowBytes;
    for (int x = 0; x < rows.width; x += 2, src += srcPairBytes, dst += dstPairBytes) {
      pair(src, dst);
    }
  }
}

void ToARGB(const Rows& rows) {
  ForPairs(rows, 4, 8, [](const std::uint8_t* src, std::uint8_t* dst) {
    const float cb = static_cast<float>(static_cast<std::int32_t>(src[0]) - 128);
    PixelToARGB(src[1], cb, dst);
    PixelToARGB(src[3], cb, dst + 4);
  });
}

struct Pixel422 {
  std::int32_t y;
  std::int32_t cb;
  std::int32_t cr;
};

Pixel422 FromPixel(const std::uint8_t* argb) {
  const float r = argb[1];
  const float g = argb[2];
  const float b = argb[3];
  const float luma = (const_cr * r + const_cg * g) + const_cb * b;
  const float u = (b - luma) * const_cu;
  const float v = (r - luma) * const_cv;
  // 7/8 is 224/256: chroma spans 16 to 240.
  const auto chroma = [](float difference) {
    return Round(static_cast<float>(static_cast<double>(difference) * 0.875 + 128.0));
  };
  // 219/256 (not 219/255) spans luma from 16 to just below 235.
  const double scaled = static_cast<double>(luma) * 219.0 * 0.00390625 + 16.0;
  return {Round(static_cast<float>(scaled)), chroma(u), chroma(v)};
}

struct Pair422 {
  std::int32_t cb;
  std::int32_t y0;
  std::int32_t cr;
  std::int32_t y1;
};

Pair422 FromPair(const std::uint8_t* argb) {
  const Pixel422 p0 = FromPixel(argb);
  const Pixel422 p1 = FromPixel(argb + 4);
  return {(p0.cb + p1.cb) >> 1, p0.y, (p0.cr + p1.cr) >> 1, p1.y};
}

void FromARGB(const Rows& rows) {
  ForPairs(rows, 8, 4, [](const std::uint8_t* src, std::uint8_t* dst) {
    const Pair422 pair = FromPair(src);
    dst[0] = Low8(pair.cb);
    dst[1] = Low8(pair.y0);
    dst[2] = Low8(pair.cr);
    dst[3] = Low8(pair.y1);
  });
}

void OverARGB(const Rows& rows, float opacity) {
  const auto weight = [opacity](std::uint8_t alpha) {
    return static_cast<float>(alpha / 255.0 * static_cast<double>(opacity));
  };
  const auto mix = [](std::uint8_t old, float keep, std::int32_t now, float take) {
    return Low8(Truncate(static_cast<float>(old) * keep + static_cast<float>(now) * take));
  };
  ForPairs(rows, 8, 4, [&](const std::uint8_t* src, std::uint8_t* dst) {
    const Pair422 pair = FromPair(src);
    const float a0 = weight(src[0]);
    const float a1 = weight(src[4]);
    const float w0 = 1.0f - a0;
    const float keep = ((1.0f - a1) + w0) * 0.5f;
    const float take = 1.0f - keep;
    dst[0] = mix(dst[0], keep, pair.cb, take);
    dst[1] = mix(dst[1], w0, pair.y0, a0);
    dst[2] = mix(dst[2], keep, pair.cr, take);
    // The second luma keeps with the first pixel's weight: the engine's rule.
    dst[3] = mix(dst[3], w0, pair.y1, a1);
  });
}

void Swap(const Rows& rows) {
  ForPairs(rows, 4, 4, [](const std::uint8_t* src, std::uint8_t* dst) {
    const std::uint8_t unit[4] = {src[1], src[0], src[3], src[2]};
    for (int i = 0; i < 4; ++i) dst[i] = unit[i];
  });
}

/// Calls luma(level) for each, in the order of the pixels.
template <typename Luma>
void MapLuma(const Rows& rows, Order order, const Luma& luma) {
  const int y = order == Order::k2vuy ? 1 : 0;
  const int c = 1 - y;
  ForPairs(rows, 4, 4, [&](const std::uint8_t* src, std::uint8_t* dst) {
    const std::uint8_t unit[4] = {src[c], luma(src[y]), src[c + 2], luma(src[y + 2])};
    for (int i = 0; i < 4; ++i) dst[i] = unit[i];
  });
}

void Map(const Rows& rows, Order order, const std::uint8_t* table) {
  MapLuma(rows, order, [table](std::uint8_t level) { return table[level]; });
}

void CountAndMap(const Rows& rows, Order order, const std::uint8_t* table, std::uint32_t* counts) {
  MapLuma(rows, order, [=](std::uint8_t level) {
    ++counts[level];
    return table[level];
  });
}

/// Negative (and NaN) is 0, then the low byte of what is left.
std::uint8_t BlendedByte(float value) {
  if (!(value > 0.0f)) return 0;
  return Low8(Truncate(value));
}

/// Calls pair(destination, a, b, x) for every pair of pixels, row by row.
template <typename Pair>
void ForBlendedPairs(const BlendRows& rows, int y, const Pair& pair) {
  std::uint8_t* dst = rows.dst + y * rows.dstRowBytes;
  const std::uint8_t* a = rows.a + y * rows.aRowBytes;
  const std::uint8_t* b = rows.b + y * rows.bRowBytes;
  for (int x = 0; x < rows.width; x += 2, dst += 4, a += 4, b += 4) pair(dst, a, b, x);
}

void Blend(const BlendRows& rows, float t) {
  const float keep = 1.0f - t;
  const auto pair = [=](std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b, int) {
    for (int i = 0; i < 4; ++i) {
      dst[i] = BlendedByte(static_cast<float>(a[i]) * keep + static_cast<float>(b[i]) * t);
    }
  };
  for (int y = 0; y < rows.height; ++y) ForBlendedPairs(rows, y, pair);
}

struct Weight {
  float take;
  float keep;
};

Weight MaskWeight(std::uint8_t mask, float t) {
  const float fraction = static_cast<float>(mask * 0.00392156862745098);
  const float w = 2.0f * t * (fraction + t);
  if (w > 1.0f) return {1.0f, 0.0f};
  return {w, 1.0f - w};
}

void BlendMasked(const BlendRows& rows, float t, const std::uint8_t* mask,
                 std::ptrdiff_t maskRowBytes) {
  for (int y = 0; y < rows.height; ++y, mask += maskRowBytes) {
    ForBlendedPairs(
        rows, y, [=](std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b, int x) {
          const Weight p0 = MaskWeight(mask[x], t);
          const Weight p1 = MaskWeight(mask[x + 1], t);
          const Weight chroma{(p0.take + p1.take) / 2.0f, (p0.keep + p1.keep) / 2.0f};
          const auto mix = [&](int i, const Weight& w) {
            dst[i] =
                BlendedByte(static_cast<float>(a[i]) * w.keep + static_cast<float>(b[i]) * w.take);
          };
          mix(0, chroma);
          mix(1, p0);
          mix(2, chroma);
          mix(3, p1);
        });
  }
}

}  // namespace

std::int32_t Round(float value) {
  return TruncateDouble(static_cast<double>(value) + kNearlyHalf);
}
std::int32_t Truncate(float value) {
  return TruncateDouble(static_cast<double>(value));
}

const RowKernels kScalarRowKernels = {
    "scalar", {ToARGB, FromARGB, OverARGB}, {Swap, Map, CountAndMap}, {Blend, BlendMasked}};

}  // namespace Q_2vuy
