#include <algorithm>
#include <cstring>

#include "sdk/CoreX/XFrameKernels.h"

namespace XFrameKernels {
namespace {

constexpr std::size_t kPixelBytes = 4;

std::uint8_t Mean(int a, int b) {
  return static_cast<std::uint8_t>((a + b) >> 1);
}

void Pairs(DestRows dst, SourceRows src, std::size_t bytes, int pairs) {
  for (std::ptrdiff_t k = 0; k < pairs; ++k) {
    const std::uint8_t* const a = src[2 * k];
    const std::uint8_t* const b = src[2 * k + 1];
    std::uint8_t* const first = dst[2 * k];
    std::uint8_t* const second = dst[2 * k + 1];
    for (std::size_t i = 0; i < bytes; ++i) {
      const std::uint8_t mean = Mean(a[i], b[i]);
      first[i] = mean;
      second[i] = mean;
    }
  }
}

void ThreeRows(DestRows dst, const std::uint8_t* above, SourceRows src, const std::uint8_t* below,
               std::size_t bytes, int rows) {
  for (std::ptrdiff_t y = 0; y < rows; ++y) {
    const std::uint8_t* const p = y == 0 ? above : src[y - 1];
    const std::uint8_t* const c = src[y];
    const std::uint8_t* const q = y == rows - 1 ? below : src[y + 1];
    std::uint8_t* const out = dst[y];
    for (std::size_t i = 0; i < bytes; ++i) out[i] = Mean(Mean(p[i], q[i]), c[i]);
  }
}

void Field(DestRows dst, SourceRows src, std::size_t bytes, int pairs) {
  for (std::ptrdiff_t k = 0; k < pairs; ++k) {
    const std::uint8_t* const a = src[k];
    const std::uint8_t* const b = src[k + 1];
    std::uint8_t* const kept = dst[2 * k];
    std::uint8_t* const between = dst[2 * k + 1];
    for (std::size_t i = 0; i < bytes; ++i) {
      const std::uint8_t byte = a[i];
      const std::uint8_t mean = Mean(byte, b[i]);
      kept[i] = byte;
      between[i] = mean;
    }
  }
}

void Fill(DestRows dst, const std::uint8_t (&pixel)[4], std::size_t pixels, int rows) {
  for (int y = 0; y < rows; ++y) {
    std::uint8_t* out = dst[y];
    for (std::size_t x = 0; x < pixels; ++x, out += kPixelBytes) {
      std::memcpy(out, pixel, kPixelBytes);
    }
  }
}

void Darken(std::uint8_t* row, std::size_t bytes, int thirds) {
  for (std::size_t i = 0; i < bytes; ++i) row[i] = static_cast<std::uint8_t>(thirds * row[i] / 3);
}

/// Low 8 bits of the truncated value; weights are never so far off that it leaves 32 bits.
std::uint8_t TruncateByte(float value) {
  return static_cast<std::uint8_t>(static_cast<std::int32_t>(value));
}

void BilinearRow(const BilinearRun& run, std::uint8_t* dst, const std::uint8_t* upper,
                 const std::uint8_t* lower, float lowerWeight) {
  const float upperWeight = 1.0f - lowerWeight;
  for (int x = 0; x < run.columns; ++x, dst += kPixelBytes) {
    const std::int32_t leftPixel = run.left[x];
    const std::int32_t rightPixel = leftPixel + 1 < run.sourceWidth ? leftPixel + 1 : leftPixel;
    const std::size_t left = static_cast<std::size_t>(leftPixel) * kPixelBytes;
    const std::size_t right = static_cast<std::size_t>(rightPixel) * kPixelBytes;
    const float rightWeight = run.weight[x];
    const float leftWeight = 1.0f - rightWeight;
    for (std::size_t i = 0; i < kPixelBytes; ++i) {
      const float a = upper[left + i];
      const float b = upper[right + i];
      const float c = lower[left + i];
      const float d = lower[right + i];
      dst[i] = TruncateByte(((a * leftWeight + b * rightWeight) * upperWeight) +
                            ((c * leftWeight + d * rightWeight) * lowerWeight));
    }
  }
}

void Bilinear(const BilinearRun& run) {
  float fy = run.fy;
  for (int y = 0; y < run.rows; ++y, fy += run.ystep) {
    const int y0 = std::min(run.sourceHeight - 1, static_cast<int>(fy));
    const int y1 = y0 + 1 < run.sourceHeight ? y0 + 1 : y0;
    BilinearRow(run, run.dst[y], run.src[y0], run.src[y1], fy - static_cast<float>(y0));
  }
}

void Nearest(const NearestRun& run) {
  double fy = run.fy;
  for (int y = 0; y < run.rows; ++y, fy += run.ystep) {
    const std::uint8_t* const from = run.src[std::min(run.sourceHeight - 1, static_cast<int>(fy))];
    std::uint8_t* to = run.dst[y];
    for (int x = 0; x < run.columns; ++x, to += kPixelBytes) {
      std::memmove(to, from + static_cast<std::size_t>(run.column[x]) * kPixelBytes, kPixelBytes);
    }
  }
}

}  // namespace

const RowKernels kScalarRowKernels = {"scalar", Pairs,  ThreeRows, Field,
                                      Fill,     Darken, Bilinear,  Nearest};

}  // namespace XFrameKernels
