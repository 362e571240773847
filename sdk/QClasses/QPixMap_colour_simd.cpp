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

HWY_ALIGN constexpr std::uint8_t kFirstToColours[16] = {0x80, 0, 0, 0, 0x80, 4,  4,  4,
                                                        0x80, 8, 8, 8, 0x80, 12, 12, 12};

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
  const V8 colours = hn::TableLookupBytesOr0(Bytes(grey), hn::LoadDup128(D8(), kFirstToColours));
  return hn::Or(colours, Bytes(Byte<0>(argb)));
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

/// No pixel above kNearWhiteSum has less luma than the one with all red and blue, and as little
/// green as takes it there.
constexpr std::int32_t kLumaBelowNearWhite =
    257 * 255 + 504 * (kNearWhiteSum + 1 - 2 * 255) + 98 * 255 - 1;

struct TintLevels {
  VF perLuma;  ///< units per thousandth of luma
  VF red;
  VF green;
  VF blue;
};

/// Pixels of levels of any size, limited to 0...255, and of alphas that are.
HWY_INLINE V32 LimitedPixels(VI32 alpha, VI32 red, VI32 green, VI32 blue) {
#if HWY_ARCH_X86
  // Narrowing twice limits the levels and puts four pixels' alphas together, then their reds and so
  // on, in each block of 16 bytes.
  HWY_ALIGN static constexpr std::uint8_t kInOrder[16] = {0, 4, 8,  12, 1, 5, 9,  13,
                                                          2, 6, 10, 14, 3, 7, 11, 15};
  const auto order = hn::LoadDup128(D8(), kInOrder);
#if HWY_TARGET <= HWY_AVX3
  const V8 planes{_mm512_packus_epi16(_mm512_packs_epi32(alpha.raw, red.raw),
                                      _mm512_packs_epi32(green.raw, blue.raw))};
#elif HWY_TARGET == HWY_AVX2
  const V8 planes{_mm256_packus_epi16(_mm256_packs_epi32(alpha.raw, red.raw),
                                      _mm256_packs_epi32(green.raw, blue.raw))};
#else
  const V8 planes{
      _mm_packus_epi16(_mm_packs_epi32(alpha.raw, red.raw), _mm_packs_epi32(green.raw, blue.raw))};
#endif
  return Words(hn::TableLookupBytes(planes, order));
#else
  const auto limited = [](VI32 level) {
    return hn::BitCast(D32(), hn::Min(hn::Max(level, hn::Zero(DI32())), hn::Set(DI32(), 255)));
  };
  return Pixel(hn::BitCast(D32(), alpha), limited(red), limited(green), limited(blue));
#endif
}

HWY_INLINE V32 DuotoneOf(V32 argb, const TintLevels& levels, const TintSteps& steps) {
  const V32 redBlue = Halves<8>(argb);
  const V32 alphaGreen = Halves<0>(argb);
  const VI32 luma = hn::Add(PairSums(redBlue, 257, 98), PairSums(alphaGreen, 0, 504));
  const VF y = hn::ConvertTo(DF(), luma);
  const auto units = [&](VF tint) { return NearestInRange(hn::MulAdd(y, levels.perLuma, tint)); };
  const VI32 red = units(levels.red);
  const VI32 green = units(levels.green);
  const VI32 blue = units(levels.blue);
  const auto places = [](VI32 value) {
    return hn::And(value, hn::Set(DI32(), (1 << kLevelPlaces) - 1));
  };
  const VI32 nearest = hn::Min(hn::Min(places(red), places(green)), places(blue));
  const auto unsure = hn::Lt(nearest, hn::Set(DI32(), static_cast<std::int32_t>(2 * kUnsure)));
  V32 tinted =
      LimitedPixels(Signed(Byte<0>(argb)), hn::ShiftRight<kLevelPlaces>(red),
                    hn::ShiftRight<kLevelPlaces>(green), hn::ShiftRight<kLevelPlaces>(blue));
  if (HWY_UNLIKELY(!hn::AllFalse(DI32(), unsure))) tinted = DuotoneInDoubles(argb, steps);
  if (HWY_LIKELY(hn::AllFalse(DI32(), hn::Gt(luma, hn::Set(DI32(), kLumaBelowNearWhite))))) {
    return tinted;
  }
  const VI32 sum = hn::Add(PairSums(redBlue, 1, 1), PairSums(alphaGreen, 0, 1));
  const auto nearWhite = hn::Gt(sum, hn::Set(DI32(), kNearWhiteSum));
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

#elif HWY_TARGET == HWY_AVX2

// The same, its 16 look-ups added up: a level is the exclusive-or of the differences of all parts
// up to its own. An index that is negative, seen as a signed number, finds 0: those of bytes from
// 128 on in the first eight parts, of the others in the last eight, and of parts not reached.
void Levels(const Rows& rows, const std::uint8_t* table) {
  const D8 d;
  HWY_ALIGN std::uint8_t differences[256];
  for (int v = 0; v < 256; ++v) {
    const int before = v % 128 < 16 ? 0 : table[v - 16];
    differences[v] = static_cast<std::uint8_t>(table[v] ^ before);
  }
  const hn::Repartition<std::int8_t, D8> signedBytes;
  const V8 alpha = Bytes(hn::Set(D32(), 0xFFu));
  const auto part = hn::Set(signedBytes, std::int8_t{16});
  InPlace(rows, [&](V8 pixels) {
    auto below = hn::BitCast(signedBytes, pixels);
    auto above = hn::BitCast(signedBytes, hn::Xor(pixels, hn::Set(d, std::uint8_t{0x80})));
    V8 level = hn::Zero(d);
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) {
      const V8 lower =
          hn::TableLookupBytesOr0(hn::LoadDup128(d, differences + 16 * i), hn::BitCast(d, below));
      const V8 upper = hn::TableLookupBytesOr0(hn::LoadDup128(d, differences + 128 + 16 * i),
                                               hn::BitCast(d, above));
      level = hn::Xor(hn::Xor(level, lower), upper);
      below = hn::SaturatedSub(below, part);
      above = hn::SaturatedSub(above, part);
    }
    return hn::IfThenElse(hn::MaskFromVec(alpha), pixels, level);
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
