// The vector forms of copies from other pixel sizes, and of the search for transparency, compiled
// once per instruction set.
#include "sdk/QClasses/QPixMap_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/QPixMap_copy_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "sdk/QClasses/QPixMap_lanes.h"

HWY_BEFORE_NAMESPACE();
namespace QPixMapKernels {
namespace HWY_NAMESPACE {

#if QPIXMAP_SCALAR_STANDS_IN

void From24(const Rows& dst, const Source& source) {
  kScalarRowKernels.from24(dst, source);
}
void From422(const Rows& dst, const Source& source) {
  kScalarRowKernels.from422(dst, source);
}
bool Opaque(const Rows& rows) {
  return kScalarRowKernels.opaque(rows);
}

#else

void From24(const Rows& dst, const Source& source) {
  for (std::size_t y = 0; y < dst.height; ++y) {
    const auto row = static_cast<std::ptrdiff_t>(y);
    Widen(source.first + row * source.rowBytes, dst.first + row * dst.rowBytes, dst.width);
  }
}

void From422(const Rows& dst, const Source& source) {
  // Four groups are the pixels of two blocks.
  const DBlock d;
  constexpr std::size_t kGroups = 4;
  HWY_ALIGN static constexpr std::uint8_t kBlack[16] = {0, 16, 0, 16, 0, 16, 0, 16,
                                                        0, 16, 0, 16, 0, 16, 0, 16};
  HWY_ALIGN static constexpr std::uint8_t kAlpha[16] = {255, 0, 0, 0, 255, 0, 0, 0,
                                                        255, 0, 0, 0, 255, 0, 0, 0};
  HWY_ALIGN static constexpr std::uint8_t kFirst[16] = {0x80, 1, 0, 2, 0x80, 3, 0, 2,
                                                        0x80, 5, 4, 6, 0x80, 7, 4, 6};
  HWY_ALIGN static constexpr std::uint8_t kSecond[16] = {0x80, 9,  8,  10, 0x80, 11, 8,  10,
                                                         0x80, 13, 12, 14, 0x80, 15, 12, 14};
  const auto black = hn::Load(d, kBlack);
  const auto alpha = hn::Load(d, kAlpha);
  const auto first = hn::Load(d, kFirst);
  const auto second = hn::Load(d, kSecond);
  for (std::size_t y = 0; y < dst.height; ++y) {
    const auto row = static_cast<std::ptrdiff_t>(y);
    std::uint8_t* to = dst.first + row * dst.rowBytes;
    const std::uint8_t* from = source.first + row * source.rowBytes;
    std::size_t groups = dst.width / 2;
    for (; groups >= kGroups; groups -= kGroups, from += 4 * kGroups, to += 8 * kGroups) {
      const auto levels = hn::SaturatedSub(hn::LoadU(d, from), black);
      hn::StoreU(hn::Or(hn::TableLookupBytesOr0(levels, first), alpha), d, to);
      hn::StoreU(hn::Or(hn::TableLookupBytesOr0(levels, second), alpha), d, to + 16);
    }
    kScalarRowKernels.from422({to, 0, 2 * groups, 1}, {from, 0});
  }
}

bool Opaque(const Rows& rows) {
  const D8 d;
  const std::size_t lanes = hn::Lanes(d);
  const V8 colours = Bytes(hn::Set(D32(), 0xFFFFFF00u));
  for (std::size_t y = 0; y < rows.height; ++y) {
    const std::uint8_t* row = rows.first + static_cast<std::ptrdiff_t>(y) * rows.rowBytes;
    std::size_t left = rows.width;
    // A row at a time without a way out of it: four vectors wait for one answer.
    V8 all = hn::Set(d, std::uint8_t{255});
    for (; left >= lanes; left -= lanes, row += 4 * lanes) {
      const V8 a = hn::And(hn::LoadU(d, row), hn::LoadU(d, row + lanes));
      const V8 b = hn::And(hn::LoadU(d, row + 2 * lanes), hn::LoadU(d, row + 3 * lanes));
      all = hn::And(all, hn::And(a, b));
    }
    const auto set = hn::Eq(hn::Or(all, colours), hn::Set(d, std::uint8_t{255}));
    if (!hn::AllTrue(d, set)) return false;
    for (; left != 0; --left, row += 4) {
      if (*row != 255) return false;
    }
  }
  return true;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace QPixMapKernels
HWY_AFTER_NAMESPACE();
