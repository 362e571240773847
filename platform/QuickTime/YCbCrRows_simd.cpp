// The vector forms, compiled once per instruction set. Chroma is worked on in the 32-bit lanes of
// the pairs, luma and the channels in 16-bit lanes, one a pixel.
#include "platform/QuickTime/YCbCrRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/QuickTime/YCbCrRows_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "platform/System/KernelForms.h"
#include "platform/System/Packed422-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ycbcr_rows {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const KernelForm<YCbCrForm>* YCbCrFormOf() {
  static const KernelForm<YCbCrForm> kForm = {HWY_TARGET, kScalarYCbCrForm};
  return &kForm;
}

#else

using namespace packed422::HWY_NAMESPACE;

/// Cb * cb + Cr * cr of each pair; `chroma` has them in its 16-bit lanes.
HWY_INLINE VI PairSum(V32 chroma, SInt16 cb, SInt16 cr) {
#if HWY_ARCH_X86
  const VI factors =
      hn::Set(DI(), static_cast<SInt32>(static_cast<UInt32>(cr) << 16 | static_cast<UInt16>(cb)));
#if HWY_TARGET <= HWY_AVX3
  return VI{_mm512_madd_epi16(chroma.raw, factors.raw)};
#elif HWY_TARGET == HWY_AVX2
  return VI{_mm256_madd_epi16(chroma.raw, factors.raw)};
#else
  return VI{_mm_madd_epi16(chroma.raw, factors.raw)};
#endif
#else
  const VI lower = hn::BitCast(DI(), hn::And(chroma, hn::Set(D32(), 0xFFFFu)));
  const VI upper = hn::BitCast(DI(), hn::ShiftRight<16>(chroma));
  return hn::Add(hn::Mul(lower, hn::Set(DI(), cb)), hn::Mul(upper, hn::Set(DI(), cr)));
#endif
}

/// The upper half of each 32-bit lane in both its halves: what a pair's two pixels share.
HWY_INLINE VI16 UpperHalfTwice(VI pairs) {
  alignas(16) static constexpr UInt8 kOrder[16] = {2,  3,  2,  3,  6,  7,  6,  7,
                                                   10, 11, 10, 11, 14, 15, 14, 15};
  const V8 order = hn::LoadDup128(D8(), kOrder);
  return hn::BitCast(DI16(), hn::TableLookupBytes(hn::BitCast(D8(), pairs), order));
}

HWY_INLINE VI16 Parts(const YCbCrMatrix::One& one, V32 value) {
  const VI product = hn::Mul(hn::BitCast(DI(), value), hn::Set(DI(), one.factor));
  return UpperHalfTwice(hn::Add(product, hn::Set(DI(), one.offset)));
}

HWY_INLINE VI16 Parts(const YCbCrMatrix::Two& two, V32 chroma) {
  const VI low = hn::Add(PairSum(chroma, two.cbLow, two.crLow), hn::Set(DI(), two.offsetLow));
  const VI high = hn::Add(PairSum(chroma, two.cbHigh, two.crHigh), hn::Set(DI(), two.offsetHigh));
  return UpperHalfTwice(hn::ShiftLeft<7>(hn::Add(high, hn::ShiftRight<15>(low))));
}

/// (luma + parts) / 73, rounded down and not limited. What saturates is above a byte anyway. The
/// multiplication is exact for numerators below 32263.
HWY_INLINE VI16 Channel(VI16 luma, VI16 parts) {
  const VI16 sum = hn::SaturatedAdd(luma, parts);
  return hn::ShiftRight<5>(hn::MulHigh(sum, hn::Set(DI16(), 28729)));
}

template <YCbCrOrder order>
HWY_INLINE void ConvertRows(const YCbCrMatrix& matrix, const PackedRows& rows) {
  ForSteps<4, 8, false>(
      rows, [matrix](const UInt8* source, UInt8* destination, int) LUMIVANE_INLINE_LAMBDA {
        const V32 pairs = LoadPairs(source);
        const V16 words = hn::BitCast(D16(), pairs);
        const V16 odd = hn::ShiftRight<8>(words);
        const V16 even = hn::And(words, hn::Set(D16(), 0xFF));
        constexpr bool oddLuma = order == YCbCrOrder::CbY0CrY1;
        const V32 chroma = hn::BitCast(D32(), oddLuma ? even : odd);
        const VI16 luma = hn::BitCast(DI16(), hn::Mul(oddLuma ? odd : even, hn::Set(D16(), 85)));
        const VI16 r = Channel(luma, Parts(matrix.crToR, hn::ShiftRight<16>(chroma)));
        const VI16 g = Channel(luma, Parts(matrix.toG, chroma));
        const VI16 b = Channel(luma, Parts(matrix.cbToB, hn::And(chroma, hn::Set(D32(), 0xFFu))));
        StorePixels(r, g, b, destination);
      });
}

void Convert(const YCbCrMatrix& matrix, YCbCrOrder order, const PackedRows& rows) {
  if (order == YCbCrOrder::CbY0CrY1) {
    ConvertRows<YCbCrOrder::CbY0CrY1>(matrix, rows);
  } else {
    ConvertRows<YCbCrOrder::Y0CbY1Cr>(matrix, rows);
  }
}

const KernelForm<YCbCrForm>* YCbCrFormOf() {
  static const KernelForm<YCbCrForm> kForm = {HWY_TARGET, {hwy::TargetName(HWY_TARGET), Convert}};
  return &kForm;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace ycbcr_rows
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ycbcr_rows {

HWY_EXPORT(YCbCrFormOf);

}  // namespace ycbcr_rows

std::span<const YCbCrForm> AvailableYCbCrForms() {
  static const std::vector<YCbCrForm> kForms = [] {
    using namespace ycbcr_rows;
    return SupportedForms(HWY_DISPATCH_TABLE(YCbCrFormOf), kScalarYCbCrForm);
  }();
  return kForms;
}
#endif
