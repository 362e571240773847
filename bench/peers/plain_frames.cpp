#include "bench/peers/plain_frames.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace bench::peers {
namespace {

void Mean(std::uint8_t* __restrict dst, const std::uint8_t* a, const std::uint8_t* b, int bytes) {
  for (int i = 0; i < bytes; ++i) dst[i] = static_cast<std::uint8_t>((a[i] + b[i]) >> 1);
}

void ThreeRows(std::uint8_t* __restrict dst, const std::uint8_t* p, const std::uint8_t* c,
               const std::uint8_t* q, int bytes) {
  for (int i = 0; i < bytes; ++i) {
    dst[i] = static_cast<std::uint8_t>((((p[i] + q[i]) >> 1) + c[i]) >> 1);
  }
}

}  // namespace

void PlainPairs(std::uint8_t* dst, const std::uint8_t* src, int bytes, int rows) {
  for (int y = 0; y < rows; y += 2, src += 2 * bytes, dst += 2 * bytes) {
    Mean(dst, src, src + bytes, bytes);
    std::memcpy(dst + bytes, dst, static_cast<std::size_t>(bytes));
  }
}

void PlainThreeRows(std::uint8_t* dst, const std::uint8_t* src, int bytes, int rows) {
  const auto row = [=](int y) { return src + static_cast<std::ptrdiff_t>(y) * bytes; };
  for (int y = 0; y < rows; ++y, dst += bytes) {
    ThreeRows(dst, row(std::max(y - 1, 0)), row(y), row(std::min(y + 1, rows - 1)), bytes);
  }
}

void PlainField(std::uint8_t* dst, const std::uint8_t* src, int bytes, int rows) {
  for (int y = 0; y < rows; y += 2, src += 2 * bytes, dst += 2 * bytes) {
    std::memcpy(dst, src, static_cast<std::size_t>(bytes));
    Mean(dst + bytes, src, y + 2 < rows ? src + 2 * bytes : src, bytes);
  }
}

}  // namespace bench::peers
