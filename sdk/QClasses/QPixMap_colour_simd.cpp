// The vector forms of the colour changes, compiled once per instruction set. One lane is one pixel.
//
// The rules are in double precision, but most pixels do not need it: integers or single precision
// tell what the rule gives wherever its value is not too near to a whole number. A vector with a
// pixel that is, is done in doubles.
#include <array>
#include <cmath>

#include "sdk/QClasses/QPixMap_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/QPixMap_colour_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "sdk/QClasses/QPixMap_lanes.h"

#ifndef LUMIVANE_QPIXMAP_GREY_OF_GREY
#define LUMIVANE_QPIXMAP_GREY_OF_GREY
namespace QPixMapKernels {

/// What the rule makes of pixels that are grey already: the weights' sum is 1, and the rounding of
/// its steps takes one off from some.
inline constexpr std::array<std::int32_t, 256> kGreyOfGrey = [] {
  std::array<std::int32_t, 256> greys{};
  for (int v = 0; v < 256; ++v) {
    const double g = kGreyOfBlue * v + kGreyOfRed * v + kGreyOfGreen * v;
    greys[static_cast<std::size_t>(v)] = static_cast<std::int32_t>(g);
  }
  return greys;
}();

}  // namespace QPixMapKernels
#endif

HWY_BEFORE_NAMESPACE();
namespace QPixMapKernels {
namespace HWY_NAMESPACE {

#if QPIXMAP_SCALAR_STANDS_IN

void Grey(const Rows& rows) {
  kScalarRowKernels.grey(rows);
}
void Levels(const Rows& rows, const std::uint8_t* table) {
  kScalarRowKernels.levels(rows, table);
}
void Duotone(const Rows& rows, Tint tint) {
  kScalarRowKernels.duotone(rows, tint);
}

#else

namespace {

HWY_INLINE VF64 Scaled(double factor, VF64 value) {
  return hn::Mul(hn::Set(DF64(), factor), value);
}

// ---- Grey

HWY_INLINE VF64 GreyOf(VF64 r, VF64 g, VF64 b) {
  return hn::Add(hn::Add(Scaled(kGreyOfBlue, b), Scaled(kGreyOfRed, r)), Scaled(kGreyOfGreen, g));
}

HWY_NOINLINE V32 GreyInDoubles(V32 argb) {
  const V32 r = Byte<1>(argb);
  const V32 g = Byte<2>(argb);
  const V32 b = Byte<3>(argb);
  return TruncateToWords(GreyOf(UpperDoubles(r), UpperDoubles(g), UpperDoubles(b)),
                         GreyOf(LowerDoubles(r), LowerDoubles(g), LowerDoubles(b)));
}

/// Where the weighted sum is a whole number, the rule's steps may have rounded it down.
HWY_NOINLINE V32 GreyOfWholes(V32 argb, V32 grey, V32 sumsAreWhole) {
  const auto whole = hn::Ne(sumsAreWhole, hn::Zero(D32()));
  const V32 differences = hn::Xor(hn::ShiftRight<8>(argb), hn::ShiftRight<16>(argb));
  const auto isGrey = hn::Eq(hn::And(differences, hn::Set(D32(), 0xFFFFu)), hn::Zero(D32()));
  if (!hn::AllFalse(D32(), hn::AndNot(isGrey, whole))) return GreyInDoubles(argb);
  const VI32 known = hn::GatherIndex(DI32(), kGreyOfGrey.data(), Signed(Byte<3>(argb)));
  return hn::IfThenElse(isGrey, hn::BitCast(D32(), known), grey);
}

HWY_INLINE V8 GreyStep(V8 pixels) {
  // The weights in five-thousandths are whole numbers; so is their sum, exact in single precision.
  constexpr std::int16_t kUnit = 5000;
  const V32 argb = Words(pixels);
  const VI32 sum =
      hn::Add(PairSums(Halves<8>(argb), 3576, 1063), PairSums(Halves<0>(argb), 0, 361));
  // A quarter of a unit keeps the quotient off the whole numbers.
  const VF quotient = hn::Add(hn::Mul(hn::ConvertTo(DF(), sum), hn::Set(DF(), 1.0f / kUnit)),
                              hn::Set(DF(), 0.25f / kUnit));
  V32 grey = hn::BitCast(D32(), TruncateInRange(quotient));
  const auto whole = hn::Eq(PairSums(grey, kUnit, 0), sum);
  if (HWY_UNLIKELY(!hn::AllFalse(DI32(), whole))) {
    grey = GreyOfWholes(argb, grey, hn::BitCast(D32(), hn::VecFromMask(DI32(), whole)));
  }
  // To bytes 1, 2 and 3.
  const V32 two = hn::Or(hn::ShiftLeft<8>(grey), hn::ShiftLeft<16>(grey));
  return Bytes(hn::Or(hn::Or(Byte<0>(argb), hn::ShiftLeft<24>(grey)), two));
}

// ---- Duotone

/// To single precision, not below 0, truncated, at most 255.
HWY_INLINE VHalfI32 Channel(VF64 value) {
  const auto single = hn::Max(hn::DemoteTo(DHalfF(), value), hn::Zero(DHalfF()));
  return hn::Min(hn::ConvertTo(DHalfI32(), single), hn::Set(DHalfI32(), 255));
}

/// What a tint adds to a pixel's luma, in the order it is added.
struct TintSteps {
  double red;
  double green1;  ///< taken away
  double green2;  ///< then taken away
  double blue;
};

HWY_INLINE V32 BothHalves(VHalfI32 upper, VHalfI32 lower) {
  return hn::BitCast(D32(), hn::Combine(DI32(), upper, lower));
}

HWY_INLINE V32 Pixel(V32 alpha, V32 red, V32 green, V32 blue) {
  return hn::Or(hn::Or(alpha, hn::ShiftLeft<8>(red)),
                hn::Or(hn::ShiftLeft<16>(green), hn::ShiftLeft<24>(blue)));
}

HWY_NOINLINE V32 DuotoneInDoubles(V32 argb, const TintSteps& tint) {
  const V32 r = Byte<1>(argb);
  const V32 g = Byte<2>(argb);
  const V32 b = Byte<3>(argb);
  const auto luma = [](VF64 red, VF64 green, VF64 blue) {
    const VF64 sum =
        hn::Add(hn::Add(Scaled(0.257, red), Scaled(0.504, green)), Scaled(0.098, blue));
    return Scaled(1.164, hn::PromoteTo(DF64(), hn::DemoteTo(DHalfF(), sum)));
  };
  const VF64 upper = luma(UpperDoubles(r), UpperDoubles(g), UpperDoubles(b));
  const VF64 lower = luma(LowerDoubles(r), LowerDoubles(g), LowerDoubles(b));
  const auto set = [](double value) { return hn::Set(DF64(), value); };
  const auto green = [&](VF64 y) {
    return Channel(hn::Sub(hn::Sub(y, set(tint.green1)), set(tint.green2)));
  };
  const auto plus = [&](VF64 y, double value) { return Channel(hn::Add(y, set(value))); };
  return Pixel(Byte<0>(argb), BothHalves(plus(upper, tint.red), plus(lower, tint.red)),
               BothHalves(green(upper), green(lower)),
               BothHalves(plus(upper, tint.blue), plus(lower, tint.blue)));
}

/// Levels with 15 binary places. Single precision, and the rule's own roundings, are less than
/// kUnsure units off from the exact sum.
constexpr int kLevelPlaces = 15;
constexpr float kLevelOne = 1 << kLevelPlaces;
constexpr std::uint32_t kUnsure = 6;
/// Largest tint, to either side, for which levels stay that exact. No colour's is as large.
constexpr double kLargestTint = 250;

struct TintLevels {
  VF perLuma;  ///< units per thousandth of luma
  VF red;
  VF green;
  VF blue;
};

HWY_INLINE V32 LevelOf(VI32 units) {
  const VI32 level = hn::ShiftRight<kLevelPlaces>(units);
  return hn::BitCast(D32(), hn::Min(hn::Max(level, hn::Zero(DI32())), hn::Set(DI32(), 255)));
}

HWY_INLINE V32 DuotoneOf(V32 argb, const TintLevels& levels, const TintSteps& steps) {
  const V32 redBlue = Halves<8>(argb);
  const V32 alphaGreen = Halves<0>(argb);
  const VI32 luma = hn::Add(PairSums(redBlue, 257, 98), PairSums(alphaGreen, 0, 504));
  const VI32 sum = hn::Add(PairSums(redBlue, 1, 1), PairSums(alphaGreen, 0, 1));
  const VF y = hn::ConvertTo(DF(), luma);
  const auto units = [&](VF tint) { return NearestInRange(hn::MulAdd(y, levels.perLuma, tint)); };
  const VI32 red = units(levels.red);
  const VI32 green = units(levels.green);
  const VI32 blue = units(levels.blue);
  const auto nearWhite = hn::Gt(sum, hn::Set(DI32(), kNearWhiteSum));
  const auto places = [](VI32 value) {
    return hn::And(value, hn::Set(DI32(), (1 << kLevelPlaces) - 1));
  };
  const VI32 nearest = hn::Min(hn::Min(places(red), places(green)), places(blue));
  const auto unsure = hn::Lt(nearest, hn::Set(DI32(), static_cast<std::int32_t>(2 * kUnsure)));
  V32 tinted = Pixel(Byte<0>(argb), LevelOf(red), LevelOf(green), LevelOf(blue));
  if (HWY_UNLIKELY(!hn::AllFalse(DI32(), unsure))) tinted = DuotoneInDoubles(argb, steps);
  return hn::IfThenElse(hn::RebindMask(D32(), nearWhite), argb, tinted);
}

}  // namespace

void Grey(const Rows& rows) {
  InPlace(rows, [](V8 pixels) { return GreyStep(pixels); });
}

void Duotone(const Rows& rows, Tint tint) {
  const TintSteps steps = {1.596 * tint.cr, 0.813 * tint.cb, 0.391 * tint.cr, 2.018 * tint.cb};
  const double green = -steps.green1 - steps.green2;
  for (const double step : {steps.red, green, steps.blue}) {
    if (!(std::fabs(step) <= kLargestTint)) {
      kScalarRowKernels.duotone(rows, tint);
      return;
    }
  }
  const auto units = [](double value) {
    return hn::Set(DF(), static_cast<float>(value * kLevelOne + kUnsure));
  };
  const TintLevels levels = {hn::Set(DF(), static_cast<float>(1.164 / 1000 * kLevelOne)),
                             units(steps.red), units(green), units(steps.blue)};
  InPlace(rows, [&](V8 pixels) { return Bytes(DuotoneOf(Words(pixels), levels, steps)); });
}

#if HWY_TARGET == HWY_AVX3_DL

// A look-up in two registers takes 7 bits of an index; the eighth one chooses between two look-ups.
void Levels(const Rows& rows, const std::uint8_t* table) {
  const __m512i part0 = _mm512_loadu_si512(table);
  const __m512i part1 = _mm512_loadu_si512(table + 64);
  const __m512i part2 = _mm512_loadu_si512(table + 128);
  const __m512i part3 = _mm512_loadu_si512(table + 192);
  constexpr __mmask64 kAlpha = 0x1111111111111111;
  InPlace(rows, [=](V8 pixels) {
    const __m512i below = _mm512_permutex2var_epi8(part0, pixels.raw, part1);
    const __m512i above = _mm512_permutex2var_epi8(part2, pixels.raw, part3);
    const __m512i level = _mm512_mask_blend_epi8(_mm512_movepi8_mask(pixels.raw), below, above);
    return V8{_mm512_mask_blend_epi8(kAlpha, level, pixels.raw)};
  });
}

#elif HWY_TARGET == HWY_NEON && HWY_ARCH_ARM_A64

// A look-up takes four registers, and leaves what lies beyond them to the next one.
void Levels(const Rows& rows, const std::uint8_t* table) {
  const uint8x16x4_t part0 = vld1q_u8_x4(table);
  const uint8x16x4_t part1 = vld1q_u8_x4(table + 64);
  const uint8x16x4_t part2 = vld1q_u8_x4(table + 128);
  const uint8x16x4_t part3 = vld1q_u8_x4(table + 192);
  const uint8x16_t step = vdupq_n_u8(64);
  const V8 alpha = Bytes(hn::Set(D32(), 0xFFu));
  InPlace(rows, [=](V8 pixels) {
    uint8x16_t index = pixels.raw;
    uint8x16_t level = vqtbl4q_u8(part0, index);
    index = vsubq_u8(index, step);
    level = vqtbx4q_u8(level, part1, index);
    index = vsubq_u8(index, step);
    level = vqtbx4q_u8(level, part2, index);
    index = vsubq_u8(index, step);
    level = vqtbx4q_u8(level, part3, index);
    return hn::IfThenElse(hn::MaskFromVec(alpha), pixels, V8(level));
  });
}

#elif HWY_TARGET == HWY_AVX3

// The table is 16 look-ups of 16 levels, of which the byte's high digit picks one.
void Levels(const Rows& rows, const std::uint8_t* table) {
  const D8 d;
  V8 parts[16];
  for (int part = 0; part < 16; ++part) parts[part] = hn::LoadDup128(d, table + 16 * part);
  constexpr __mmask64 kAlpha = 0x1111111111111111;
  InPlace(rows, [&](V8 pixels) {
    const __m512i low = _mm512_and_si512(pixels.raw, _mm512_set1_epi8(0x0F));
    const __m512i high = _mm512_and_si512(pixels.raw, _mm512_set1_epi8(static_cast<char>(0xF0)));
    __m512i level = _mm512_shuffle_epi8(parts[0].raw, low);
#pragma GCC unroll 15
    for (int part = 1; part < 16; ++part) {
      const __mmask64 here =
          _mm512_cmpeq_epi8_mask(high, _mm512_set1_epi8(static_cast<char>(16 * part)));
      level = _mm512_mask_shuffle_epi8(level, here, parts[part].raw, low);
    }
    return V8{_mm512_mask_blend_epi8(kAlpha, level, pixels.raw)};
  });
}

#else

// Byte look-ups of 16 levels are too narrow here to beat a plain load for each byte.
void Levels(const Rows& rows, const std::uint8_t* table) {
  kScalarRowKernels.levels(rows, table);
}

#endif
#endif

}  // namespace HWY_NAMESPACE
}  // namespace QPixMapKernels
HWY_AFTER_NAMESPACE();
