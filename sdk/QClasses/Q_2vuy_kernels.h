// Row kernels of the 4:2:2 engine: rows between packed 4:2:2 video and 32-bit ARGB, the order and
// the levels of 4:2:2 rows, and the blends of two of them.
//
// Layouts, in memory order: '2vuy' is Cb, Y0, Cr, Y1 for two pixels, 'yuvs' Y0, Cb, Y1, Cr; ARGB is
// A, R, G, B for one. Samples are unsigned 8-bit, luma in video range (black 16, white 235), chroma
// centred on 128.
//
// Every kernel walks pixel pairs while the pixel index is below `width`: an odd width reads and
// writes its last pair whole, one pixel more than asked, and a width or a height of 0 or below does
// nothing. Rows may start at any address and lie any number of bytes apart, also upwards. The
// destination's rows are a source's own rows, where it has rows of the same size, or apart from all
// sources. Nothing outside the pairs is touched. Safe from any thread; cannot fail.
//
// The scalar form is the definition; the vector forms give the same bytes for every input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/System/PackedRows.h"

namespace Q_2vuy {

// Columns of the colour matrices: the factors of Y, Cb and Cr. Video-range ITU-R BT.709 (with a
// luma factor of 1.1643828, a little below 255/219) ...
inline constexpr float yuv_r_709[3] = {1.16438282f, 0.0f, 1.79274213f};
inline constexpr float yuv_g_709[3] = {1.16438282f, -0.213249996f, -0.532910168f};
inline constexpr float yuv_b_709[3] = {1.16438282f, 2.11240244f, 0.0f};
// ... and full-range ITU-R BT.601, kept beside them for who needs it; no kernel does.
inline constexpr float yuv_r_601[3] = {1.0f, 0.0f, 1.40199995f};
inline constexpr float yuv_g_601[3] = {1.0f, -0.344136f, -0.714136004f};
inline constexpr float yuv_b_601[3] = {1.0f, 1.77199996f, 0.0f};

/// Rec. 709 luma weights of R, G and B.
inline constexpr float YCrCb_coef[3] = {0.2125f, 0.7154f, 0.0721f};
inline constexpr float const_cr = YCrCb_coef[0];
inline constexpr float const_cg = YCrCb_coef[1];
inline constexpr float const_cb = YCrCb_coef[2];
inline constexpr float const_cu = 0.53885114f;  ///< 0.5 / (1 - 0.0721): scale of B - Y
inline constexpr float const_cv = 0.63492066f;  ///< 0.5 / (1 - 0.2125): scale of R - Y

/// Rows of one frame and where they go.
using Rows = PackedRows;

/// Rows of two 4:2:2 frames, blended into those of a third one.
struct BlendRows {
  const std::uint8_t* a;
  std::ptrdiff_t aRowBytes;
  const std::uint8_t* b;
  std::ptrdiff_t bRowBytes;
  std::uint8_t* dst;
  std::ptrdiff_t dstRowBytes;
  int width;
  int height;
};

/// Where the luma bytes of a source are; the destination is always '2vuy'.
enum class Order { k2vuy, kYuvs };

struct ConversionKernels {
  /// 2vuy to opaque ARGB. The Cr byte is not read: every pixel gets the Cr column of the matrix
  /// once. Luma below 16 gives black whatever the chroma.
  void (*to_ARGB)(const Rows& rows);

  /// ARGB to 2vuy, alpha ignored; the pair's chroma is the mean of its pixels', rounded down.
  void (*from_ARGB)(const Rows& rows);

  /// ARGB composited over the 2vuy in `dst` with its own alpha times `opacity`. Results keep their
  /// low 8 bits: the second luma of a pair, which mixes both pixels' weights, can wrap.
  void (*over_ARGB)(const Rows& rows, float opacity);
};

struct LumaKernels {
  /// 'yuvs' to '2vuy', which is also '2vuy' to 'yuvs'.
  void (*swap)(const Rows& rows);

  /// To 2vuy with luma through `table`, 256 bytes.
  void (*map)(const Rows& rows, Order order, const std::uint8_t* table);

  /// The same, and adds the number of times that each level occurs to the 256 `counts`.
  void (*countAndMap)(const Rows& rows, Order order, const std::uint8_t* table,
                      std::uint32_t* counts);
};

struct BlendKernels {
  /// dst = a * (1 - t) + b * t for each byte, in single precision, truncated.
  void (*blend)(const BlendRows& rows, float t);

  /// The same with a weight of its own for each pixel: w = 2 t (mask / 255 + t), at most 1. `mask`
  /// is one byte a pixel, its rows `maskRowBytes` apart.
  void (*blendMasked)(const BlendRows& rows, float t, const std::uint8_t* mask,
                      std::ptrdiff_t maskRowBytes);
};

/// One form: everything, compiled for one instruction set.
struct RowKernels {
  std::string_view name;
  ConversionKernels conversion;
  LumaKernels luma;
  BlendKernels blends;
};

/// The forms usable on this machine, one for each of its instruction sets by that set's name, best
/// first, "scalar" last.
std::span<const RowKernels> AvailableRowKernels();
/// The form in use: the best one, unless another was selected.
const RowKernels& CurrentRowKernels();
/// For tests, benchmarks and bug reports: uses the named form from now on, in this process;
/// "vector" is the best one. False, with nothing changed, when there is no such form.
bool SelectRowKernels(std::string_view name);

/// The definitions, straight from the rules.
extern const RowKernels kScalarRowKernels;

/// The engine's rounding: widened to double, 0.49999999 added, truncated toward zero, so that a
/// half rounds down. What lies beyond the 32-bit range, and NaN, becomes the most negative integer,
/// as the platform's conversion has it.
std::int32_t Round(float value);
/// Plain truncation with the same rule beyond the range.
std::int32_t Truncate(float value);

}  // namespace Q_2vuy
