// The row kernels on one row.
#pragma once

#include <cstdint>

#include "sdk/QClasses/Q_2vuy_kernels.h"

namespace test::rows {

inline void to_ARGB(const Q_2vuy::RowKernels& k, const std::uint8_t* src, std::uint8_t* dst,
                    int width) {
  k.conversion.to_ARGB({src, 0, dst, 0, width, 1});
}
inline void from_ARGB(const Q_2vuy::RowKernels& k, const std::uint8_t* src, std::uint8_t* dst,
                      int width) {
  k.conversion.from_ARGB({src, 0, dst, 0, width, 1});
}
inline void over_ARGB(const Q_2vuy::RowKernels& k, const std::uint8_t* src, std::uint8_t* dst,
                      int width, float opacity) {
  k.conversion.over_ARGB({src, 0, dst, 0, width, 1}, opacity);
}
inline void blend(const Q_2vuy::RowKernels& k, std::uint8_t* dst, const std::uint8_t* a,
                  const std::uint8_t* b, int width, float t) {
  k.blends.blend({a, 0, b, 0, dst, 0, width, 1}, t);
}
inline void blendMasked(const Q_2vuy::RowKernels& k, std::uint8_t* dst, const std::uint8_t* a,
                        const std::uint8_t* b, int width, float t, const std::uint8_t* mask) {
  k.blends.blendMasked({a, 0, b, 0, dst, 0, width, 1}, t, mask, 0);
}

}  // namespace test::rows
