// Rows of packed 4:2:2 video to 32-bit ARGB, correctly rounded.
//
// The conversion is the inverse of ITU-R BT.601-7 or BT.709-6: with Y in 16..235 and Cb, Cr in
// 16..240 around 128,
//   R = 255/219 (Y - 16)                                  + 255/224 2(1 - Kr) (Cr - 128)
//   G = 255/219 (Y - 16) - 255/224 2 Kb(1 - Kb)/Kg (Cb - 128) - 255/224 2 Kr(1 - Kr)/Kg (Cr - 128)
//   B = 255/219 (Y - 16) + 255/224 2(1 - Kb) (Cb - 128)
// rounded to nearest and limited to 0..255; A is 255. No input falls on a tie. The factors are held
// to 30 fractional bits, which gives the exactly rounded result for each of the 2^24 inputs.
#pragma once

#include "platform/CoreServices/MacTypes.h"

/// Factors scaled by 2^30, each as a high part scaled by 2^16 and the low 14 bits.
struct YCbCrFactor {
  SInt32 high;
  SInt32 low;
};

struct YCbCrMatrix {
  YCbCrFactor y;
  YCbCrFactor crToR;
  YCbCrFactor cbToG;  ///< negative
  YCbCrFactor crToG;  ///< negative
  YCbCrFactor cbToB;
};

extern const YCbCrMatrix kYCbCr601;
extern const YCbCrMatrix kYCbCr709;

/// Byte order of a pair of pixels.
enum class YCbCrOrder { CbY0CrY1, Y0CbY1Cr };

/// Converts whole pairs while the pixel index is below `width`: an odd width reads and writes its
/// last pair whole. Rows may start at any address and must not overlap.
void ConvertYCbCrRowToARGB(const YCbCrMatrix& matrix, YCbCrOrder order, const UInt8* source,
                           UInt8* destination, UInt32 width);

/// The two forms of it, which give the same bytes.
void ConvertYCbCrRowToARGB_Scalar(const YCbCrMatrix& matrix, YCbCrOrder order, const UInt8* source,
                                  UInt8* destination, UInt32 width);
void ConvertYCbCrRowToARGB_Vector(const YCbCrMatrix& matrix, YCbCrOrder order, const UInt8* source,
                                  UInt8* destination, UInt32 width);
