// What the vector forms of the pixel-map kernels have in common. Compiled once per instruction set:
// included after <hwy/highway.h>, without a guard of the usual kind.
#if defined(LUMIVANE_QPIXMAP_LANES_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMIVANE_QPIXMAP_LANES_H_
#undef LUMIVANE_QPIXMAP_LANES_H_
#else
#define LUMIVANE_QPIXMAP_LANES_H_
#endif

#include <hwy/highway.h>

#include <cstring>

#include "sdk/QClasses/QPixMap_kernels.h"

// The set of one lane, and the emulated one, are never chosen: the scalar form stands for them.
#undef QPIXMAP_SCALAR_STANDS_IN
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128
#define QPIXMAP_SCALAR_STANDS_IN 1
#else
#define QPIXMAP_SCALAR_STANDS_IN 0
#endif

HWY_BEFORE_NAMESPACE();
namespace QPixMapKernels {
namespace HWY_NAMESPACE {
#if !QPIXMAP_SCALAR_STANDS_IN
namespace hn = hwy::HWY_NAMESPACE;

// One vector of pixels, seen as bytes, halves or words; a word's lowest byte is A.
using D8 = hn::ScalableTag<std::uint8_t>;
using D16 = hn::Repartition<std::uint16_t, D8>;
using DI16 = hn::Repartition<std::int16_t, D8>;
using D32 = hn::Repartition<std::uint32_t, D8>;
using DI32 = hn::Repartition<std::int32_t, D8>;
using DF = hn::Repartition<float, D8>;
// Half as many words go with the doubles of one vector.
using DF64 = hn::Repartition<double, D8>;
using DHalfI32 = hn::Rebind<std::int32_t, DF64>;
using DHalfF = hn::Rebind<float, DF64>;

using V8 = hn::Vec<D8>;
using V16 = hn::Vec<D16>;
using VI16 = hn::Vec<DI16>;
using V32 = hn::Vec<D32>;
using VI32 = hn::Vec<DI32>;
using VF = hn::Vec<DF>;
using VF64 = hn::Vec<DF64>;
using VHalfI32 = hn::Vec<DHalfI32>;

HWY_INLINE V32 Words(V8 pixels) {
  return hn::BitCast(D32(), pixels);
}
HWY_INLINE V8 Bytes(V32 words) {
  return hn::BitCast(D8(), words);
}
HWY_INLINE VI32 Signed(V32 words) {
  return hn::BitCast(DI32(), words);
}

/// Byte `index` (in memory order) of each word.
template <int index>
HWY_INLINE V32 Byte(V32 words) {
  if constexpr (index == 0) return hn::And(words, hn::Set(D32(), 0xFFu));
  if constexpr (index == 3) return hn::ShiftRight<24>(words);
  return hn::And(hn::ShiftRight<8 * index>(words), hn::Set(D32(), 0xFFu));
}

/// Bytes 0 and 2 of each word in its low and high half; with Halves<8> bytes 1 and 3.
template <int shift>
HWY_INLINE V32 Halves(V32 words) {
  if constexpr (shift == 0) return hn::And(words, hn::Set(D32(), 0x00FF00FFu));
  return hn::And(hn::ShiftRight<shift>(words), hn::Set(D32(), 0x00FF00FFu));
}

/// The low half of each word times `low`, plus the high half times `high`; halves and factors are
/// below 2^15.
HWY_INLINE VI32 PairSums(V32 halves, std::int16_t low, std::int16_t high) {
#if HWY_ARCH_X86
  const V32 factors =
      hn::Set(D32(), static_cast<std::uint32_t>(low) | static_cast<std::uint32_t>(high) << 16);
  VI32 unused = hn::Zero(DI32());
  return hn::ReorderWidenMulAccumulate(DI32(), hn::BitCast(DI16(), halves),
                                       hn::BitCast(DI16(), factors), hn::Zero(DI32()), unused);
#else
  const V32 below = hn::And(halves, hn::Set(D32(), 0xFFFFu));
  const V32 above = hn::ShiftRight<16>(halves);
  const auto factor = [](std::int16_t f) { return hn::Set(D32(), static_cast<std::uint32_t>(f)); };
  return Signed(hn::Add(hn::Mul(below, factor(low)), hn::Mul(above, factor(high))));
#endif
}

// Truncation of what is known to lie within the integers' range, without Highway's care for what
// does not.
#if HWY_ARCH_X86
#if HWY_TARGET <= HWY_AVX3
HWY_INLINE VI32 TruncateInRange(VF v) {
  return VI32{_mm512_cvttps_epi32(v.raw)};
}
HWY_INLINE VHalfI32 TruncateInRange(VF64 v) {
  return VHalfI32{_mm512_cvttpd_epi32(v.raw)};
}
HWY_INLINE VI32 NearestInRange(VF v) {
  return VI32{_mm512_cvtps_epi32(v.raw)};
}
#elif HWY_TARGET == HWY_AVX2
HWY_INLINE VI32 TruncateInRange(VF v) {
  return VI32{_mm256_cvttps_epi32(v.raw)};
}
HWY_INLINE VHalfI32 TruncateInRange(VF64 v) {
  return VHalfI32{_mm256_cvttpd_epi32(v.raw)};
}
HWY_INLINE VI32 NearestInRange(VF v) {
  return VI32{_mm256_cvtps_epi32(v.raw)};
}
#else
HWY_INLINE VI32 TruncateInRange(VF v) {
  return VI32{_mm_cvttps_epi32(v.raw)};
}
HWY_INLINE VHalfI32 TruncateInRange(VF64 v) {
  return VHalfI32{_mm_cvttpd_epi32(v.raw)};
}
HWY_INLINE VI32 NearestInRange(VF v) {
  return VI32{_mm_cvtps_epi32(v.raw)};
}
#endif
#else
HWY_INLINE VI32 TruncateInRange(VF v) {
  return hn::ConvertTo(DI32(), v);
}
HWY_INLINE VHalfI32 TruncateInRange(VF64 v) {
  return hn::DemoteTo(DHalfI32(), v);
}
HWY_INLINE VI32 NearestInRange(VF v) {
  return hn::NearestInt(v);
}
#endif

/// The lower and the upper half of a vector of words as doubles, and back.
HWY_INLINE VF64 LowerDoubles(V32 words) {
  return hn::PromoteTo(DF64(), hn::LowerHalf(DHalfI32(), Signed(words)));
}
HWY_INLINE VF64 UpperDoubles(V32 words) {
  return hn::PromoteTo(DF64(), hn::UpperHalf(DHalfI32(), Signed(words)));
}
HWY_INLINE V32 TruncateToWords(VF64 upper, VF64 lower) {
  return hn::BitCast(D32(), hn::Combine(DI32(), TruncateInRange(upper), TruncateInRange(lower)));
}
/// `function` of the doubles of each of one or two vectors of words, truncated.
template <typename Function>
HWY_INLINE V32 InDoubles(V32 a, V32 b, const Function& function) {
  return TruncateToWords(function(UpperDoubles(a), UpperDoubles(b)),
                         function(LowerDoubles(a), LowerDoubles(b)));
}

/// Rows that lie close together are one row.
HWY_INLINE Rows Joined(Rows rows) {
  if (rows.rowBytes != static_cast<std::ptrdiff_t>(4 * rows.width)) return rows;
  return {rows.first, 0, rows.width * rows.height, rows.height != 0 ? std::size_t{1} : 0};
}

/// `step` of each vector of pixels, in place. A row's last pixels are done in a vector of their
/// own.
template <typename Step>
HWY_INLINE void InPlace(const Rows& all, const Step& step) {
  const D8 d;
  const std::size_t lanes = hn::Lanes(d) / 4;
  const Rows rows = Joined(all);
  std::uint8_t* start = rows.first;
  for (std::size_t y = 0; y < rows.height; ++y, start += rows.rowBytes) {
    std::uint8_t* row = start;
    std::size_t left = rows.width;
    for (; left >= lanes; left -= lanes, row += 4 * lanes) {
      hn::StoreU(step(hn::LoadU(d, row)), d, row);
    }
    if (left == 0) continue;
    HWY_ALIGN std::uint8_t last[HWY_MAX_BYTES] = {};
    std::memcpy(last, row, 4 * left);
    hn::Store(step(hn::Load(d, last)), d, last);
    std::memcpy(row, last, 4 * left);
  }
}

/// `step` of each vector of pixels of one source and the same one of the other, to the destination.
template <typename Step>
HWY_INLINE void FromSources(const Rows& dst, const Source& a, const Source& b, const Step& step) {
  const D8 d;
  const std::size_t lanes = hn::Lanes(d) / 4;
  const bool close =
      Joined(dst).rowBytes == 0 && a.rowBytes == dst.rowBytes && b.rowBytes == dst.rowBytes;
  const Rows rows = close ? Joined(dst) : dst;
  for (std::size_t y = 0; y < rows.height; ++y) {
    const auto row = static_cast<std::ptrdiff_t>(y);
    std::uint8_t* to = rows.first + row * rows.rowBytes;
    const std::uint8_t* fromA = a.first + row * a.rowBytes;
    const std::uint8_t* fromB = b.first + row * b.rowBytes;
    std::size_t left = rows.width;
    for (; left >= lanes; left -= lanes) {
      hn::StoreU(step(hn::LoadU(d, fromA), hn::LoadU(d, fromB)), d, to);
      to += 4 * lanes;
      fromA += 4 * lanes;
      fromB += 4 * lanes;
    }
    if (left == 0) continue;
    HWY_ALIGN std::uint8_t lastA[HWY_MAX_BYTES] = {};
    HWY_ALIGN std::uint8_t lastB[HWY_MAX_BYTES] = {};
    std::memcpy(lastA, fromA, 4 * left);
    std::memcpy(lastB, fromB, 4 * left);
    hn::Store(step(hn::Load(d, lastA), hn::Load(d, lastB)), d, lastA);
    std::memcpy(to, lastA, 4 * left);
  }
}

// Four pixels at a time take 16 bytes, of which the last 4 are the next ones': where there are none
// any more pixels go alone.
using DBlock = hn::FixedTag<std::uint8_t, 16>;
inline constexpr std::size_t kPixelsOfBlocks = 6;

/// 3-byte pixels to 4-byte ones, whose first byte is 0.
inline void Widen(const std::uint8_t* from, std::uint8_t* to, std::size_t pixels) {
  const DBlock d;
  HWY_ALIGN static constexpr std::uint8_t kPlaces[16] = {0x80, 0, 1, 2, 0x80, 3, 4,  5,
                                                         0x80, 6, 7, 8, 0x80, 9, 10, 11};
  const auto places = hn::Load(d, kPlaces);
  for (; pixels >= kPixelsOfBlocks; pixels -= 4, from += 12, to += 16) {
    hn::StoreU(hn::TableLookupBytesOr0(hn::LoadU(d, from), places), d, to);
  }
  for (; pixels != 0; --pixels, from += 3, to += 4) {
    to[0] = 0;
    std::memcpy(to + 1, from, 3);
  }
}

/// And back.
inline void Narrow(const std::uint8_t* from, std::uint8_t* to, std::size_t pixels) {
  const DBlock d;
  HWY_ALIGN static constexpr std::uint8_t kPlaces[16] = {1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15};
  const auto places = hn::Load(d, kPlaces);
  for (; pixels >= kPixelsOfBlocks; pixels -= 4, from += 16, to += 12) {
    hn::StoreU(hn::TableLookupBytes(hn::Load(d, from), places), d, to);
  }
  for (; pixels != 0; --pixels, from += 4, to += 3) std::memcpy(to, from + 1, 3);
}

#endif
}  // namespace HWY_NAMESPACE
}  // namespace QPixMapKernels
HWY_AFTER_NAMESPACE();

#endif  // toggled include guard
