// The noise fill's vector form, compiled once per instruction set. Cells of a row lie on one row of
// lattice cells: what its corners contribute is worked out once for each of them, and then taken
// from there for vectors of cells.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "sdk/CoreGeometry/NoiseKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/CoreGeometry/NoiseKernels_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "platform/System/KernelForms.h"

HWY_BEFORE_NAMESPACE();
namespace NoiseKernels {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

void Fill(const CoreGeometry::PerlinNoise& noise, const Picture& picture, const Columns& columns,
          float amplitude, std::uint32_t first, std::uint32_t last) {
  kScalarKernels.fill(noise, picture, columns, amplitude, first, last);
}

#else

namespace {
namespace hn = hwy::HWY_NAMESPACE;

using D8 = hn::ScalableTag<std::uint8_t>;
using DF = hn::ScalableTag<float>;
using DI = hn::Rebind<std::int32_t, DF>;
using D32 = hn::Rebind<std::uint32_t, DF>;
using VF = hn::Vec<DF>;
using VI = hn::Vec<DI>;
using V32 = hn::Vec<D32>;

/// Up to this amplitude no value leaves the 32-bit range: noise is not above 4.
constexpr float kLargestAmplitude = 1 << 20;

/// Lattice corners 0 to 257 of one row of lattice cells, and what is read with them.
constexpr std::size_t kCorners = 258;
constexpr std::size_t kRoom = kCorners + HWY_MAX_BYTES / 4;

/// The corners' gradients: x, and y times the row's offset from the corner.
struct Corners {
  HWY_ALIGN float x[kRoom];
  HWY_ALIGN float y[kRoom];
  HWY_ALIGN float yPart[kRoom];

  void Load(const CoreGeometry::PerlinNoise& noise, std::uint32_t cellRow) {
    const std::uint8_t* const hash = noise.Permutation();
    for (std::uint32_t c = 0; c < kCorners; ++c) {
      const std::size_t h = hash[(hash[c & 255] + cellRow) & 255];
      x[c] = noise.GradientX()[h];
      y[c] = noise.GradientY()[h];
    }
    std::fill(x + kCorners, x + kRoom, 0.0f);
    std::fill(y + kCorners, y + kRoom, 0.0f);
  }
  void SetOffset(float offset) {
    const VF r = hn::Set(DF(), offset);
    for (std::size_t c = 0; c < kCorners; c += hn::Lanes(DF())) {
      hn::StoreU(hn::Mul(r, hn::LoadU(DF(), y + c)), DF(), yPart + c);
    }
  }
};

HWY_INLINE VF Lerp(VF s, VF a, VF b) {
  return hn::Sub(a, hn::Mul(hn::Sub(a, b), s));
}

// Values known to lie within the integers' range, without Highway's care for others.
HWY_INLINE VI Truncate(VF v) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
  return VI{_mm512_cvttps_epi32(v.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET == HWY_AVX2
  return VI{_mm256_cvttps_epi32(v.raw)};
#elif HWY_ARCH_X86
  return VI{_mm_cvttps_epi32(v.raw)};
#else
  return hn::ConvertTo(DI(), v);
#endif
}

/// A row of cells, and how the products of their corners become their values.
struct CellPlaces {
  const Columns& columns;
  float amplitude;
  float rowWeight = 0;

  /// Of a vector of cells from `i` on. `lower(0, r)` is the sum of the lower left corners' products
  /// with the offset r and the row's, `lower(1, r)` that of the lower right ones; `upper` alike.
  template <typename Lower, typename Upper>
  HWY_INLINE V32 Values(std::size_t i, const Lower& lower, const Upper& upper) const {
    const VF r0 = hn::LoadU(DF(), columns.offsets() + i);
    const VF r1 = hn::Sub(r0, hn::Set(DF(), 1.0f));
    const VF sx = hn::LoadU(DF(), columns.weights() + i);
    const VF a = Lerp(sx, lower(0, r0), lower(1, r1));
    const VF b = Lerp(sx, upper(0, r0), upper(1, r1));
    const VF value = Lerp(hn::Set(DF(), rowWeight), a, b);
    const VF scaled = hn::Mul(hn::Mul(value, hn::Set(DF(), amplitude)), hn::Set(DF(), 255.0f));
    return hn::And(hn::BitCast(D32(), Truncate(scaled)), hn::Set(D32(), 0xFFu));
  }
};

/// Rows of more cells than the lattice has: what a corner gives serves several of them.
class ManyCells {
 public:
  ManyCells(const CoreGeometry::PerlinNoise& noise, const Columns& columns, float amplitude)
      : noise_(noise), places_{columns, amplitude} {}

  void SetPlace(const Place& place) {
    Corners& lower = corners_[lower_];
    Corners& upper = corners_[lower_ ^ 1];
    if (place.cell != cellRow_) {
      // One row up, the lower corners are what were the upper ones.
      if (cellRow_ != kNone && place.cell == cellRow_ + 1) {
        lower_ ^= 1;
        cellRow_ = place.cell;
        lower.Load(noise_, place.cell + 1);
        SetPlace(place);
        return;
      }
      lower.Load(noise_, place.cell);
      upper.Load(noise_, place.cell + 1);
      cellRow_ = place.cell;
    }
    lower.SetOffset(place.offset);
    upper.SetOffset(place.offset - 1.0f);
    places_.rowWeight = place.weight;
  }

  /// The values of cells from `i` on, a vector of them. Where there are fewer, the others are any.
  HWY_INLINE V32 Values(std::size_t i) const {
    const std::int32_t* const cells = places_.columns.cells() + i;
    const std::size_t lanes = hn::Lanes(DF());
    const auto base = static_cast<std::size_t>(cells[0]);
    const auto last = static_cast<std::size_t>(cells[lanes - 1]);
    const VI cell = hn::LoadU(DI(), cells);
    // Beyond the last cell there are zeros.
    if (HWY_LIKELY(last - base < lanes)) {
      const auto from =
          hn::IndicesFromVec(DF(), hn::Sub(cell, hn::Set(DI(), static_cast<std::int32_t>(base))));
      return Blend(i, [&](const float* values) {
        return hn::TableLookupLanes(hn::LoadU(DF(), values + base), from);
      });
    }
    return Blend(i, [&](const float* values) { return hn::GatherIndex(DF(), values, cell); });
  }

 private:
  static constexpr std::uint32_t kNone = 0xFFFFFFFFu;

  template <typename Take>
  HWY_INLINE V32 Blend(std::size_t i, const Take& take) const {
    const auto part = [&](const Corners& corners) {
      return [&corners, &take](std::size_t right, VF r) {
        return hn::Add(hn::Mul(r, take(corners.x + right)), take(corners.yPart + right));
      };
    };
    return places_.Values(i, part(corners_[lower_]), part(corners_[lower_ ^ 1]));
  }

  const CoreGeometry::PerlinNoise& noise_;
  CellPlaces places_;
  Corners corners_[2];
  int lower_ = 0;
  std::uint32_t cellRow_ = kNone;
};

/// Rows of fewer cells than the lattice has: just their own corners are looked up.
class FewCells {
 public:
  FewCells(const CoreGeometry::PerlinNoise& noise, const Columns& columns, float amplitude)
      : hash_(noise.Permutation()), places_{columns, amplitude} {
    for (std::size_t h = 0; h < 256; ++h) {
      gradients_[h] = {noise.GradientX()[h], noise.GradientY()[h]};
    }
    for (std::size_t i = 0; i < columns.count(); ++i) {
      const auto cell = static_cast<std::size_t>(columns.cells()[i]);
      columnHashes_[i][0] = hash_[cell & 255];
      columnHashes_[i][1] = hash_[(cell + 1) & 255];
    }
  }

  void SetPlace(const Place& place) {
    for (std::size_t i = 0; i < places_.columns.count(); ++i) {
      for (std::size_t right = 0; right < 2; ++right) {
        const std::size_t h = columnHashes_[i][right] + place.cell;
        lower_[right][i] = gradients_[hash_[h & 255]];
        upper_[right][i] = gradients_[hash_[(h + 1) & 255]];
      }
    }
    offset_ = place.offset;
    places_.rowWeight = place.weight;
  }

  HWY_INLINE V32 Values(std::size_t i) const {
    const auto part = [i](const Gradient(*gradients)[kRoom], float offset) {
      return [=](std::size_t right, VF r) {
        VF x;
        VF y;
        hn::LoadInterleaved2(DF(), &gradients[right][i].x, x, y);
        return hn::Add(hn::Mul(r, x), hn::Mul(hn::Set(DF(), offset), y));
      };
    };
    return places_.Values(i, part(lower_, offset_), part(upper_, offset_ - 1.0f));
  }

 private:
  struct Gradient {
    float x;
    float y;
  };

  const std::uint8_t* hash_;
  CellPlaces places_;
  float offset_ = 0;
  Gradient gradients_[256];
  std::uint8_t columnHashes_[kRoom][2];
  Gradient lower_[2][kRoom] = {};
  Gradient upper_[2][kRoom] = {};
};

HWY_INLINE V32 PixelsOf(V32 values) {
  const V32 two = hn::Or(hn::ShiftLeft<8>(values), hn::ShiftLeft<16>(values));
  return hn::Or(hn::Or(two, hn::ShiftLeft<24>(values)), hn::Set(D32(), 0xFFu));
}

template <int pixelBytes>
HWY_INLINE void StorePixels(V32 pixels, std::uint8_t* to) {
  if constexpr (pixelBytes == 4) {
    hn::StoreU(hn::BitCast(D8(), pixels), D8(), to);
  } else {
    hn::StoreU(hn::U8FromU32(pixels), hn::Rebind<std::uint8_t, D32>(), to);
  }
}

/// Cells of one pixel.
template <int pixelBytes, typename Cells>
void FillPixels(const Cells& cells, std::uint8_t* row, std::size_t count) {
  const std::size_t lanes = hn::Lanes(D32());
  const auto store = [](V32 values, std::uint8_t* to) {
    StorePixels<pixelBytes>(pixelBytes == 4 ? PixelsOf(values) : values, to);
  };
  std::size_t i = 0;
  for (; i + lanes <= count; i += lanes) store(cells.Values(i), row + pixelBytes * i);
  if (i == count) return;
  HWY_ALIGN std::uint8_t last[HWY_MAX_BYTES];
  store(cells.Values(i), last);
  std::memcpy(row + pixelBytes * i, last, pixelBytes * (count - i));
}

/// Cells of more pixels than vectors have: each one's value is stored by whole vectors, over what
/// belongs to the next ones, which are stored after it.
template <int pixelBytes, typename Cells>
void FillLargeCells(const Cells& cells, std::uint8_t* row, std::size_t width, std::size_t n) {
  const std::size_t lanes = hn::Lanes(D32());
  const std::size_t vector = hn::Lanes(D8()) / pixelBytes;
  HWY_ALIGN std::uint32_t values[HWY_MAX_BYTES / 4];
  for (std::size_t i = 0, x = 0; x < width; i += lanes) {
    hn::Store(cells.Values(i), D32(), values);
    for (std::size_t k = 0; k < lanes && x < width; ++k, x += n) {
      const std::size_t left = width - x;
      const auto value = static_cast<std::uint8_t>(values[k]);
      if (HWY_LIKELY(n + vector <= left)) {
        const auto pixels = pixelBytes == 4 ? hn::BitCast(D8(), PixelsOf(hn::Set(D32(), values[k])))
                                            : hn::Set(D8(), value);
        for (std::size_t p = 0; p < n; p += vector) {
          hn::StoreU(pixels, D8(), row + pixelBytes * (x + p));
        }
        continue;
      }
      for (std::size_t p = 0; p < n && p < left; ++p) {
        std::uint8_t* const to = row + pixelBytes * (x + p);
        if constexpr (pixelBytes == 4) *to = 255;
        std::memset(to + pixelBytes / 4, value, pixelBytes == 4 ? 3 : 1);
      }
    }
  }
}

/// Which of a vector of cells each pixel of the `n` vectors they make belongs to.
class SmallCells {
 public:
  static constexpr std::size_t kLargest = 8;

  explicit SmallCells(std::size_t n) : n_(n) {
    const std::size_t count = n * hn::Lanes(DI());
    if (n > kLargest) return;
    for (std::size_t i = 0; i < count; ++i) cell_[i] = static_cast<std::int32_t>(i / n);
  }

  template <int pixelBytes, typename Cells>
  void FillRow(const Cells& cells, std::uint8_t* row, std::size_t width) const {
    const std::size_t lanes = hn::Lanes(D32());
    std::size_t x = 0;
    std::size_t i = 0;
    for (; x + n_ * lanes <= width; i += lanes, x += n_ * lanes) {
      Spread<pixelBytes>(cells.Values(i), row + pixelBytes * x);
    }
    if (x == width) return;
    HWY_ALIGN std::uint8_t last[kLargest * HWY_MAX_BYTES];
    Spread<pixelBytes>(cells.Values(i), last);
    std::memcpy(row + pixelBytes * x, last, pixelBytes * (width - x));
  }

 private:
  template <int pixelBytes>
  HWY_INLINE void Spread(V32 values, std::uint8_t* to) const {
    const std::size_t lanes = hn::Lanes(D32());
    const V32 pixels = pixelBytes == 4 ? PixelsOf(values) : values;
    for (std::size_t p = 0; p < n_; ++p, to += pixelBytes * lanes) {
      const auto from = hn::IndicesFromVec(D32(), hn::Load(DI(), cell_ + p * lanes));
      StorePixels<pixelBytes>(hn::TableLookupLanes(pixels, from), to);
    }
  }

  std::size_t n_;
  HWY_ALIGN std::int32_t cell_[kLargest * HWY_MAX_BYTES / 4];
};

/// All rows, their cells' values from `cells`.
template <int pixelBytes, typename Cells>
void FillRows(Cells& cells, const Picture& picture, std::uint32_t first, std::uint32_t last) {
  const auto n = static_cast<std::uint32_t>(picture.cellSize);
  const std::size_t width = picture.width;
  const SmallCells small(n);
  for (std::uint32_t cellRow = first; cellRow < last; ++cellRow) {
    cells.SetPlace(Place::Of(cellRow, picture.cellSize, picture.height));
    const std::uint32_t y = cellRow * n;
    std::uint8_t* const row = picture.first + y * picture.rowBytes;
    if (n == 1) {
      FillPixels<pixelBytes>(cells, row, width);
    } else if (n <= SmallCells::kLargest) {
      small.FillRow<pixelBytes>(cells, row, width);
    } else {
      FillLargeCells<pixelBytes>(cells, row, width, n);
    }
    for (std::uint32_t i = 1; i < n && y + i < picture.height; ++i) {
      std::memcpy(row + i * picture.rowBytes, row, pixelBytes * width);
    }
  }
}

template <typename Cells>
void FillWith(Cells cells, const Picture& picture, std::uint32_t first, std::uint32_t last) {
  if (picture.pixelBytes == 4) {
    FillRows<4>(cells, picture, first, last);
  } else {
    FillRows<1>(cells, picture, first, last);
  }
}

void Fill(const CoreGeometry::PerlinNoise& noise, const Picture& picture, const Columns& columns,
          float amplitude, std::uint32_t first, std::uint32_t last) {
  if (!columns.valid() || !(std::fabs(amplitude) <= kLargestAmplitude)) {
    kScalarKernels.fill(noise, picture, columns, amplitude, first, last);
    return;
  }
  if (columns.count() < kCorners) {
    FillWith(FewCells(noise, columns, amplitude), picture, first, last);
  } else {
    FillWith(ManyCells(noise, columns, amplitude), picture, first, last);
  }
}

}  // namespace
#endif

const KernelForm<Kernels>* Form() {
  static const KernelForm<Kernels> kForm = {HWY_TARGET, {hwy::TargetName(HWY_TARGET), Fill}};
  return &kForm;
}

}  // namespace HWY_NAMESPACE
}  // namespace NoiseKernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace NoiseKernels {

HWY_EXPORT(Form);

std::span<const Kernels> AvailableKernels() {
  static const std::vector<Kernels> kForms =
      SupportedForms(HWY_DISPATCH_TABLE(Form), kScalarKernels);
  return kForms;
}

}  // namespace NoiseKernels
#endif
