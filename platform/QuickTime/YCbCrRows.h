// Rows of packed 4:2:2 video to 32-bit ARGB, correctly rounded.
//
// The conversion is the inverse of ITU-R BT.601-7 or BT.709-6: with Y in 16..235 and Cb, Cr in
// 16..240 around 128,
//   R = 255/219 (Y - 16)                                  + 255/224 2(1 - Kr) (Cr - 128)
//   G = 255/219 (Y - 16) - 255/224 2 Kb(1 - Kb)/Kg (Cb - 128) - 255/224 2 Kr(1 - Kr)/Kg (Cr - 128)
//   B = 255/219 (Y - 16) + 255/224 2(1 - Kb) (Cb - 128)
// rounded to nearest and limited to 0..255; A is 255. No input falls on a tie.
//
// 255/219 is 85/73, so a channel is floor((85 (Y - 16) + j) / 73), where j = floor(73 c + 73/2) and
// c is the channel's chroma term: what j's floor leaves out cannot carry a whole 73rd. Everything
// is an integer of 16 bits then, and only j needs precision. Checked for each of the 2^24 inputs.
#pragma once

#include <span>
#include <string_view>

#include "platform/CoreServices/MacTypes.h"
#include "platform/System/PackedRows.h"

/// Factors of 73 times a channel's chroma term, and what is added to it, with the luma of black.
struct YCbCrMatrix {
  /// For R from Cr and B from Cb, as they are: 16 bits of fraction.
  struct One {
    SInt32 factor;
    SInt32 offset;
  };
  /// For G from Cb and Cr, as they are: 24 bits of fraction. `high` are the factors' upper parts,
  /// with 9 bits, `low` the 15 bits below.
  struct Two {
    SInt16 cbHigh;
    SInt16 crHigh;
    SInt16 cbLow;
    SInt16 crLow;
    SInt32 offsetHigh;
    SInt32 offsetLow;
  };
  One crToR;
  Two toG;
  One cbToB;
};

extern const YCbCrMatrix kYCbCr601;
extern const YCbCrMatrix kYCbCr709;

/// Byte order of a pair of pixels.
enum class YCbCrOrder { CbY0CrY1, Y0CbY1Cr };

/// One form of the conversion, by the name of its instruction set. Converts whole pairs while the
/// pixel index is below the width: an odd width reads and writes its last pair whole. Source and
/// destination are apart.
struct YCbCrForm {
  std::string_view name;
  void (*convert)(const YCbCrMatrix& matrix, YCbCrOrder order, const PackedRows& rows);
};

/// The forms usable on this machine, best first, "scalar" last. All give the same bytes.
std::span<const YCbCrForm> AvailableYCbCrForms();
/// The form in use: the best one, unless another was selected.
const YCbCrForm& CurrentYCbCrForm();
/// For tests, benchmarks and bug reports; "vector" is the best form. False when there is none of
/// that name.
bool SelectYCbCrForm(std::string_view name);

extern const YCbCrForm kScalarYCbCrForm;

/// One row, in the form in use.
void ConvertYCbCrRowToARGB(const YCbCrMatrix& matrix, YCbCrOrder order, const UInt8* source,
                           UInt8* destination, UInt32 width);
