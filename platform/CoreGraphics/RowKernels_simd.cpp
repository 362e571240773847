// The vector forms, compiled once per instruction set by the include below.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/CoreGraphics/RowKernels_simd.cpp"
#include <hwy/foreach_target.h>
// clang-format off: must follow foreach_target.h
#include <hwy/highway.h>
// clang-format on

#include "platform/CoreGraphics/RowKernels.h"
#include "platform/System/KernelForms.h"

HWY_BEFORE_NAMESPACE();
namespace raster {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

namespace {

#if HWY_TARGET == HWY_SCALAR
// The library's own one-lane target cannot read a pixel's bytes as a word; the plain form is as
// good there.
void Over(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels) {
  kScalarRowKernels.over(dst, src, pixels);
}
void OverMasked(std::uint8_t* dst, const std::uint8_t* src, const std::uint8_t* mask,
                std::size_t pixels) {
  kScalarRowKernels.overMasked(dst, src, mask, pixels);
}
void Premultiply(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels) {
  kScalarRowKernels.premultiply(dst, src, pixels);
}
void Permute(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels,
             const ByteOrder& order) {
  kScalarRowKernels.permute(dst, src, pixels, order);
}
#else

using D8 = hn::ScalableTag<std::uint8_t>;
using D16 = hn::Repartition<std::uint16_t, D8>;
using D32 = hn::Repartition<std::uint32_t, D8>;
using V8 = hn::Vec<D8>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;

// Pixels are handled as little-endian words: alpha, the first byte, is the lowest of each 32-bit
// lane. A row's tail shorter than a vector goes through the plain form.
HWY_INLINE V32 AlphaOf(V8 pixels) {
  return hn::And(hn::BitCast(D32(), pixels), hn::Set(D32(), 0xFF));
}

// The factor of a pixel, 0...255 in a 32-bit lane, in both its 16-bit halves.
HWY_INLINE V16 InBothHalves(V32 factor) {
  return hn::BitCast(D16(), hn::Or(factor, hn::ShiftLeft<16>(factor)));
}

HWY_INLINE V16 Div255(V16 product) {
  const V16 x = hn::Add(product, hn::Set(D16(), 128));
  return hn::ShiftRight<8>(hn::Add(x, hn::ShiftRight<8>(x)));
}

// All four bytes of each pixel times its factor. Even and odd bytes go separately, so that each has
// 16 bits for its product without any shuffling.
HWY_INLINE V8 MultiplyBytes(V8 pixels, V16 factor) {
  const V16 words = hn::BitCast(D16(), pixels);
  const V16 even = Div255(hn::Mul(hn::And(words, hn::Set(D16(), 0xFF)), factor));
  const V16 odd = Div255(hn::Mul(hn::ShiftRight<8>(words), factor));
  return hn::BitCast(D8(), hn::Or(even, hn::ShiftLeft<8>(odd)));
}

HWY_INLINE V8 OverPixels(V8 dst, V8 src) {
  const V32 rest = hn::Sub(hn::Set(D32(), 255), AlphaOf(src));
  return hn::SaturatedAdd(src, MultiplyBytes(dst, InBothHalves(rest)));
}

void Over(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels) {
  const D8 d;
  const std::size_t step = hn::Lanes(D32());
  std::size_t i = 0;
  for (; i + step <= pixels; i += step) {
    hn::StoreU(OverPixels(hn::LoadU(d, dst + 4 * i), hn::LoadU(d, src + 4 * i)), d, dst + 4 * i);
  }
  kScalarRowKernels.over(dst + 4 * i, src + 4 * i, pixels - i);
}

void OverMasked(std::uint8_t* dst, const std::uint8_t* src, const std::uint8_t* mask,
                std::size_t pixels) {
  const D8 d;
  const hn::Rebind<std::uint8_t, D32> maskTag;
  const std::size_t step = hn::Lanes(D32());
  std::size_t i = 0;
  for (; i + step <= pixels; i += step) {
    const V16 factor = InBothHalves(hn::PromoteTo(D32(), hn::LoadU(maskTag, mask + i)));
    const V8 source = MultiplyBytes(hn::LoadU(d, src + 4 * i), factor);
    hn::StoreU(OverPixels(hn::LoadU(d, dst + 4 * i), source), d, dst + 4 * i);
  }
  kScalarRowKernels.overMasked(dst + 4 * i, src + 4 * i, mask + i, pixels - i);
}

void Premultiply(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels) {
  const D8 d;
  const std::size_t step = hn::Lanes(D32());
  const V8 colors = hn::BitCast(d, hn::Set(D32(), 0xFFFFFF00));
  std::size_t i = 0;
  for (; i + step <= pixels; i += step) {
    const V8 pixel = hn::LoadU(d, src + 4 * i);
    const V32 alpha = AlphaOf(pixel);
    const V8 product = MultiplyBytes(pixel, InBothHalves(alpha));
    hn::StoreU(hn::Or(hn::And(product, colors), hn::BitCast(d, alpha)), d, dst + 4 * i);
  }
  kScalarRowKernels.premultiply(dst + 4 * i, src + 4 * i, pixels - i);
}

void Permute(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels,
             const ByteOrder& order) {
  const D8 d;
  const std::size_t step = hn::Lanes(D32());
  HWY_ALIGN std::uint8_t from[16];
  HWY_ALIGN std::uint8_t set[16];
  for (std::size_t k = 0; k < 16; ++k) {
    from[k] = static_cast<std::uint8_t>((k & ~std::size_t{3}) + order.from[k & 3]);
    set[k] = order.set[k & 3];
  }
  const V8 fromBytes = hn::LoadDup128(d, from);
  const V8 setBytes = hn::LoadDup128(d, set);
  std::size_t i = 0;
  for (; i + step <= pixels; i += step) {
    const V8 pixel = hn::TableLookupBytes(hn::LoadU(d, src + 4 * i), fromBytes);
    hn::StoreU(hn::Or(pixel, setBytes), d, dst + 4 * i);
  }
  kScalarRowKernels.permute(dst + 4 * i, src + 4 * i, pixels - i, order);
}

#endif

}  // namespace

const KernelForm<RowKernels>* Form() {
  static const KernelForm<RowKernels> kForm = {
      HWY_TARGET, {hwy::TargetName(HWY_TARGET), Over, OverMasked, Premultiply, Permute}};
  return &kForm;
}

}  // namespace HWY_NAMESPACE
}  // namespace raster
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace raster {

HWY_EXPORT(Form);

std::span<const RowKernels> AvailableRowKernels() {
  static const std::vector<RowKernels> kForms =
      SupportedForms(HWY_DISPATCH_TABLE(Form), kScalarRowKernels);
  return kForms;
}

}  // namespace raster
#endif
