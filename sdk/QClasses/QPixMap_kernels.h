// Row kernels of the pixel-map operations on 32-bit pixels: A, R, G, B in memory order, 8 bits
// each. A kernel takes rows of them, so that its form is chosen once for all of them.
//
// Rows may start at any address. A kernel works in place, or its destination rows are the rows of
// one of its sources or apart from all of theirs: the operations take the scalar form, a row at a
// time, for any other overlap. Rows are done one after the other, from the first one. Safe from any
// thread; cannot fail. The scalar form is the definition; the vector forms give the same bytes for
// every input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace QPixMapKernels {

/// Grey: the weights of ITU-R BT.709 luma for R, G and B, which the rule deliberately
/// puts on B, R and G.
inline constexpr double kGreyOfBlue = 0.2126;
inline constexpr double kGreyOfRed = 0.7152;
inline constexpr double kGreyOfGreen = 0.0722;
/// Sums of R, G and B above this are white enough to stay as they are under a tint.
inline constexpr int kNearWhiteSum = 743;

/// Rows of pixels that are written, and where rows lie that are only read.
struct Rows {
  std::uint8_t* first;
  std::ptrdiff_t rowBytes;  ///< from one row's start to the next one's
  std::size_t width;        ///< pixels
  std::size_t height;       ///< rows
};
struct Source {
  const std::uint8_t* first;
  std::ptrdiff_t rowBytes;
};

/// The colour differences that a tint gives to every pixel, around 0.
struct Tint {
  float cr;
  float cb;
};
/// Red in the low byte, then green, then blue.
Tint TintOfColor(std::uint32_t color);

/// What a form makes once of a blend's weights.
struct BlendPlan {
  BlendPlan(double ofA, double ofB) : weightA(ofA), weightB(ofB) {}

  double weightA;
  double weightB;
  bool byTables = false;  ///< the tables are made
  alignas(64) std::uint8_t wholeA[256];
  alignas(64) std::uint8_t rankA[256];
  alignas(64) std::uint8_t wholeB[256];
  alignas(64) std::uint8_t carryB[256];
};

struct RowKernels {
  std::string_view name;

  /// R, G and B become trunc((0.2126 B + 0.7152 R) + 0.0722 G) in double precision.
  void (*grey)(const Rows& rows);

  /// R, G and B go through a table of 256 levels.
  void (*levels)(const Rows& rows, const std::uint8_t* table);

  /// Each pixel keeps its brightness and takes the tint's chroma; near-white ones stay.
  void (*duotone)(const Rows& rows, Tint tint);

  /// Prepares a plan with weights for a blend of so many pixels by this form.
  void (*planBlend)(BlendPlan& plan, std::size_t pixels);

  /// dst = trunc(a * weightA + b * weightB) in double precision for each byte, low 8 bits. What
  /// lies beyond the 32-bit range, and NaN, is the most negative integer: 0. The plan is this
  /// form's or has just weights.
  void (*blend)(const Rows& dst, const Source& a, const Source& b, const BlendPlan& plan);

  /// Each byte, alpha too, becomes trunc(d * (1 - a) + o * a), limited to [0, 255], in double
  /// precision, with o the overlay's byte and a = its alpha / 255.0 * opacity. NaN, and what lies
  /// beyond the 32-bit range, is 0.
  void (*overlay)(const Rows& dst, const Source& overlay, float opacity);

  /// The same on destination pixels of 3 bytes, R, G, B.
  void (*overlay24)(const Rows& dst, const Source& overlay, float opacity);

  /// Pixels of 3 bytes become 0 and the same bytes. The source is apart from the destination.
  void (*from24)(const Rows& dst, const Source& source);

  /// Groups Cb, Y0, Cr, Y1 become two pixels 255, Y - 16 or 0, Cb, Cr each. The width is even, and
  /// the source apart from the destination.
  void (*from422)(const Rows& dst, const Source& source);

  /// Whether every alpha is 255.
  bool (*opaque)(const Rows& rows);
};

/// The forms usable on this machine, one for each of its instruction sets by that set's name, best
/// first, "scalar" last.
std::span<const RowKernels> AvailableRowKernels();
const RowKernels& CurrentRowKernels();
/// For tests, benchmarks and bug reports; "vector" is the best form. False when there is none of
/// that name.
bool SelectRowKernels(std::string_view name);

extern const RowKernels kScalarRowKernels;

}  // namespace QPixMapKernels
