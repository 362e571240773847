#include "platform/CoreGraphics/Compositor.h"

#include <algorithm>
#include <cstring>

#include "platform/CoreGraphics/RowKernels.h"

namespace raster {
namespace {

// R = S Fs + D Fd, each factor 0, 1, or an alpha or its complement.
struct Factors {
  unsigned source;
  unsigned destination;
};

Factors FactorsOf(CGBlendMode mode, unsigned sourceAlpha, unsigned destinationAlpha) {
  const unsigned sa = sourceAlpha;
  const unsigned da = destinationAlpha;
  switch (mode) {
    case kCGBlendModeNormal:
      return {255, 255 - sa};
    case kCGBlendModeClear:
      return {0, 0};
    case kCGBlendModeCopy:
      return {255, 0};
    case kCGBlendModeSourceIn:
      return {da, 0};
    case kCGBlendModeSourceOut:
      return {255 - da, 0};
    case kCGBlendModeSourceAtop:
      return {da, 255 - sa};
    case kCGBlendModeDestinationOver:
      return {255 - da, 255};
    case kCGBlendModeDestinationIn:
      return {0, sa};
    case kCGBlendModeDestinationOut:
      return {0, 255 - sa};
    case kCGBlendModeDestinationAtop:
      return {255 - da, sa};
    case kCGBlendModeXOR:
      return {255 - da, 255 - sa};
    case kCGBlendModePlusLighter:
      return {255, 255};
  }
  return {255, 255 - sa};
}

}  // namespace

bool IsBlendMode(CGBlendMode mode) {
  return mode == kCGBlendModeNormal || mode == kCGBlendModePlusLighter ||
         (mode >= kCGBlendModeClear && mode <= kCGBlendModeXOR);
}

void Compositor::blendWorking(std::uint8_t* to, const std::uint8_t* source,
                              const std::uint8_t* mask, std::size_t count) const {
  if (mode_ == kCGBlendModeNormal) {
    const RowKernels& kernels = ActiveRowKernels();
    if (mask) {
      kernels.overMasked(to, source, mask, count);
    } else {
      kernels.over(to, source, count);
    }
    return;
  }
  if (mode_ == kCGBlendModeCopy && !mask) {
    std::memcpy(to, source, 4 * count);
    return;
  }
  for (std::size_t i = 0; i < count; ++i, to += 4, source += 4) {
    const Factors f = FactorsOf(mode_, source[0], to[0]);
    const unsigned part = mask ? mask[i] : 255;
    for (int c = 0; c < 4; ++c) {
      const unsigned sum = source[c] * f.source + to[c] * f.destination;
      const unsigned blended = Div255(std::min(sum, 255U * 255U));
      to[c] = static_cast<std::uint8_t>(Div255(blended * part + to[c] * (255 - part)));
    }
  }
}

void Compositor::blend(std::uint8_t* to, const std::uint8_t* source, const std::uint8_t* mask,
                       std::size_t count) {
  if (layout_.isWorkingForm()) {
    blendWorking(to, source, mask, count);
    return;
  }
  row_.resize(4 * count);
  LoadPixels(layout_, to, row_.data(), count);
  blendWorking(row_.data(), source, mask, count);
  StorePixels(layout_, row_.data(), to, count);
}

}  // namespace raster
