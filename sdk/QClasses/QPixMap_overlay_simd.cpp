// The vector forms of the overlays, compiled once per instruction set.
//
// The rule is in double precision. 16-bit fractions tell its result wherever its value is not too
// near to a whole number; bytes whose value is, are done in doubles afterwards.
#include <bit>

#include "sdk/QClasses/QPixMap_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/QPixMap_overlay_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "sdk/QClasses/QPixMap_lanes.h"

HWY_BEFORE_NAMESPACE();
namespace QPixMapKernels {
namespace HWY_NAMESPACE {

#if QPIXMAP_SCALAR_STANDS_IN

void Overlay(const Rows& dst, const Source& overlay, float opacity) {
  kScalarRowKernels.overlay(dst, overlay, opacity);
}
void Overlay24(const Rows& dst, const Source& overlay, float opacity) {
  kScalarRowKernels.overlay24(dst, overlay, opacity);
}

#else

namespace {

/// One opacity's arithmetic, opacity above 0, at most 1.
class Overlayer {
 public:
  /// Opacities between this and 1 would overflow the fractions.
  static constexpr float kLargestFraction = 0.99998f;

  explicit Overlayer(float opacity) : opacity_(opacity), opaque_(opacity == 1.0f ? 255u : 256u) {
    for (int alpha = 0; alpha < 256; ++alpha) {
      parts_[alpha].of = alpha / 255.0 * static_cast<double>(opacity);
      parts_[alpha].under = 1 - parts_[alpha].of;
    }
    // In two parts. The first one has 16 bits, so that its product with an alpha is exact.
    const double fraction = static_cast<double>(opacity) * kOne / 255.0;
    high_ = static_cast<float>(static_cast<int>(fraction * 256)) / 256;
    low_ = static_cast<float>(fraction - static_cast<double>(high_));
  }

  /// `pixels` pixels at `d` under those at `o`, in place.
  void Row(std::uint8_t* d, const std::uint8_t* o, std::size_t pixels) const {
    for (std::size_t block; pixels != 0; pixels -= block, d += 4 * block, o += 4 * block) {
      block = pixels < kBlock ? pixels : kBlock;
      Block(d, o, block);
    }
  }

 private:
  // Values have 7 binary places, fractions 15. Their roundings together are less than one unit, so
  // that only what comes out as a whole number may be a little less than that.
  static constexpr int kPlaces = 7;
  static constexpr float kOne = 1 << 15;

  static HWY_INLINE V16 Units(VI16 d, VI16 o, VI16 part) {
    const VI16 more = hn::MulFixedPoint15(hn::ShiftLeft<kPlaces>(hn::Sub(o, d)), part);
    return hn::BitCast(D16(), hn::Add(hn::ShiftLeft<kPlaces>(d), more));
  }

  // The bytes of a block that are in doubt are done after the others, all in one go: how many there
  // are in a vector cannot be predicted.
  static constexpr std::size_t kBlock = 512;
  static constexpr std::size_t kChunk = 64;  ///< bytes, of as many vectors as that takes
  static constexpr std::size_t kMostDoubts = HWY_MAX_BYTES / 8;  ///< of a vector
  static constexpr std::size_t kUsualDoubts = 4;                 ///< of a chunk

  void Block(std::uint8_t* d, const std::uint8_t* o, std::size_t pixels) const {
    HWY_ALIGN std::uint8_t under[4 * kBlock];
    std::uint16_t doubts[4 * kBlock / 8 + kChunk];
    std::size_t count = 0;
    // An overlay that is the destination itself is not there any more when doubts are settled.
    const std::uint8_t* const over = d == o ? under : o;
    const std::size_t bytes = 4 * pixels;
    std::size_t i = 0;
    for (; i + kChunk <= bytes; i += kChunk) {
      count = Doubtful(Chunk(d + i, o + i, under + i), i, doubts, count);
    }
    if (i < bytes) {
      HWY_ALIGN std::uint8_t lastOver[kChunk] = {};
      HWY_ALIGN std::uint8_t last[kChunk] = {};
      std::memcpy(last, d + i, bytes - i);
      std::memcpy(lastOver, o + i, bytes - i);
      // Beyond the row all is 0: clear, so not in doubt.
      count = Doubtful(Chunk(last, lastOver, under + i), i, doubts, count);
      std::memcpy(d + i, last, bytes - i);
    }
    for (std::size_t k = 0; k < count; ++k) {
      const std::size_t at = doubts[k];
      const Parts& parts = parts_[over[at & ~std::size_t{3}]];
      const double value = under[at] * parts.under + over[at] * parts.of;
      d[at] = static_cast<std::uint8_t>(static_cast<std::int32_t>(value));
    }
  }

  /// A chunk in place, and what it was to `under`. Returns a bit for each byte that is in doubt.
  HWY_INLINE std::uint64_t Chunk(std::uint8_t* d, const std::uint8_t* o,
                                 std::uint8_t* under) const {
    const D8 tag;
    std::uint64_t doubts = 0;
    for (std::size_t i = 0; i < kChunk; i += hn::Lanes(tag)) {
      const V8 kept = hn::LoadU(tag, d + i);
      hn::Store(kept, tag, under + i);
      doubts |= Vector(kept, hn::LoadU(tag, o + i), d + i) << i;
    }
    return doubts;
  }

  /// Appends the places of the bits to `doubts`.
  static HWY_INLINE std::size_t Doubtful(std::uint64_t bits, std::size_t start,
                                         std::uint16_t* doubts, std::size_t count) {
    const std::size_t end = count + static_cast<std::size_t>(std::popcount(bits));
    // The first ones without asking whether they are there: mostly there are not more.
    for (std::size_t k = 0; k < kUsualDoubts; ++k) {
      doubts[count + k] = static_cast<std::uint16_t>(start + std::countr_zero(bits));
      bits &= bits - 1;
    }
    for (std::size_t k = count + kUsualDoubts; HWY_UNLIKELY(k < end); ++k) {
      doubts[k] = static_cast<std::uint16_t>(start + std::countr_zero(bits));
      bits &= bits - 1;
    }
    return end;
  }

  /// The pixels `d` under the pixels `o`, to `to`. Returns a bit for each byte that is in doubt:
  /// it may be less by 1.
  HWY_INLINE std::uint64_t Vector(V8 d, V8 o, std::uint8_t* to) const {
    const V32 alpha = Byte<0>(Words(o));
    const auto clear = hn::Eq(alpha, hn::Zero(D32()));
    const auto opaque = hn::Eq(alpha, hn::Set(D32(), opaque_));
    const V8 whole = Bytes(hn::IfThenElse(opaque, Words(o), Words(d)));
    const auto isWhole = hn::Or(clear, opaque);
    if (hn::AllTrue(D32(), isWhole)) {
      hn::StoreU(whole, D8(), to);
      return 0;
    }

    const VF level = hn::ConvertTo(DF(), Signed(alpha));
    const VI32 nearest = NearestInRange(
        hn::MulAdd(level, hn::Set(DF(), high_), hn::Mul(level, hn::Set(DF(), low_))));
    const V32 inBoth = hn::BitCast(D32(), hn::Or(nearest, hn::ShiftLeft<16>(nearest)));
    const VI16 part = hn::BitCast(DI16(), inBoth);
    const V16 even = Units(hn::BitCast(DI16(), Halves<0>(Words(d))),
                           hn::BitCast(DI16(), Halves<0>(Words(o))), part);
    const V16 odd = Units(hn::BitCast(DI16(), Halves<8>(Words(d))),
                          hn::BitCast(DI16(), Halves<8>(Words(o))), part);
    const V16 low = hn::ShiftRight<kPlaces>(even);
    const V16 high =
        hn::And(hn::ShiftLeft<8 - kPlaces>(odd), hn::Set(D16(), std::uint16_t{0xFF00}));
    const V8 blended = hn::BitCast(D8(), hn::Or(low, high));
    hn::StoreU(Bytes(hn::IfThenElse(isWhole, Words(whole), Words(blended))), D8(), to);

    const V16 rests =
        hn::Or(hn::And(even, hn::Set(D16(), std::uint16_t{0x00FF})), hn::ShiftLeft<8>(odd));
    const V8 rest = hn::And(hn::BitCast(D8(), rests),
                            hn::Set(D8(), static_cast<std::uint8_t>((1 << kPlaces) - 1)));
    const V8 exempt = Bytes(hn::VecFromMask(D32(), isWhole));
    const auto inDoubt = hn::Eq(hn::Or(rest, exempt), hn::Zero(D8()));
    std::uint8_t stored[8] = {};
    hn::StoreMaskBits(D8(), inDoubt, stored);
    std::uint64_t bits;
    std::memcpy(&bits, stored, sizeof(bits));
    if (HWY_UNLIKELY(static_cast<std::size_t>(std::popcount(bits)) > kMostDoubts)) {
      hn::StoreU(InDoubles4(d, o), D8(), to);
      return 0;
    }
    return bits;
  }

  /// The rule for all four bytes of each pixel.
  HWY_NOINLINE V8 InDoubles4(V8 d, V8 o) const {
    const auto part = [this](VF64 alpha) {
      return hn::Mul(hn::Div(alpha, hn::Set(DF64(), 255.0)),
                     hn::Set(DF64(), static_cast<double>(opacity_)));
    };
    const V32 alpha = Byte<0>(Words(o));
    const VF64 upper = part(UpperDoubles(alpha));
    const VF64 lower = part(LowerDoubles(alpha));
    const VF64 one = hn::Set(DF64(), 1.0);
    const VF64 upperKeep = hn::Sub(one, upper);
    const VF64 lowerKeep = hn::Sub(one, lower);
    const auto blend = [&](V32 under, V32 over) {
      return TruncateToWords(
          hn::Add(hn::Mul(UpperDoubles(under), upperKeep), hn::Mul(UpperDoubles(over), upper)),
          hn::Add(hn::Mul(LowerDoubles(under), lowerKeep), hn::Mul(LowerDoubles(over), lower)));
    };
    const V32 dst = Words(d);
    const V32 src = Words(o);
    const V32 low = hn::Or(blend(Byte<0>(dst), Byte<0>(src)),
                           hn::ShiftLeft<8>(blend(Byte<1>(dst), Byte<1>(src))));
    const V32 high = hn::Or(hn::ShiftLeft<16>(blend(Byte<2>(dst), Byte<2>(src))),
                            hn::ShiftLeft<24>(blend(Byte<3>(dst), Byte<3>(src))));
    return Bytes(hn::Or(low, high));
  }

  struct Parts {
    double of;     ///< how much of the overlay
    double under;  ///< how much of what it lies on
  };
  Parts parts_[256];  ///< by alpha
  float opacity_;
  float high_;  ///< of a fraction's units per alpha
  float low_;
  std::uint32_t opaque_;  ///< the alpha that hides all; 256 when there is none
};

/// Whether the fractions can tell. Other opacities are no program's.
bool IsFraction(float opacity) {
  return opacity == 1.0f || (opacity > 0.0f && opacity <= Overlayer::kLargestFraction);
}

}  // namespace

void Overlay(const Rows& dst, const Source& overlay, float opacity) {
  if (!IsFraction(opacity)) {
    kScalarRowKernels.overlay(dst, overlay, opacity);
    return;
  }
  const Overlayer overlayer(opacity);
  const bool close = Joined(dst).rowBytes == 0 && overlay.rowBytes == dst.rowBytes;
  const Rows rows = close ? Joined(dst) : dst;
  for (std::size_t y = 0; y < rows.height; ++y) {
    const auto row = static_cast<std::ptrdiff_t>(y);
    overlayer.Row(rows.first + row * rows.rowBytes, overlay.first + row * overlay.rowBytes,
                  rows.width);
  }
}

void Overlay24(const Rows& dst, const Source& overlay, float opacity) {
  if (!IsFraction(opacity)) {
    kScalarRowKernels.overlay24(dst, overlay, opacity);
    return;
  }
  // The destination's pixels become 4 bytes wide for the time being, some at a time.
  constexpr std::size_t kPixels = 256;
  const Overlayer overlayer(opacity);
  HWY_ALIGN std::uint8_t wide[4 * kPixels];
  for (std::size_t y = 0; y < dst.height; ++y) {
    const auto row = static_cast<std::ptrdiff_t>(y);
    std::uint8_t* d = dst.first + row * dst.rowBytes;
    const std::uint8_t* o = overlay.first + row * overlay.rowBytes;
    for (std::size_t left = dst.width; left != 0;) {
      const std::size_t pixels = left < kPixels ? left : kPixels;
      Widen(d, wide, pixels);
      overlayer.Row(wide, o, pixels);
      Narrow(wide, d, pixels);
      d += 3 * pixels;
      o += 4 * pixels;
      left -= pixels;
    }
  }
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace QPixMapKernels
HWY_AFTER_NAMESPACE();
