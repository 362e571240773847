// Transformation matrices: 3 x 3, applied to row vectors, (x' y' w) = (x y 1) M, then divided by w.
//
// The first two columns are 16.16 fixed point, the third is 2.30, as in the published record.
#pragma once

#include "platform/CoreServices/MacTypes.h"

using Fract = SInt32;  ///< 2.30 fixed point
inline constexpr Fixed fixed1 = 0x00010000;
inline constexpr Fract fract1 = 0x40000000;

struct MatrixRecord {
  Fixed matrix[3][3];
};
using MatrixRecordPtr = MatrixRecord*;

struct FixedPoint {
  Fixed x;
  Fixed y;
};

/// What a matrix does at most.
enum : SInt16 {
  identityMatrixType = 0,
  translateMatrixType = 1,
  scaleMatrixType = 2,
  scaleTranslateMatrixType = 3,
  linearMatrixType = 4,
  linearTranslateMatrixType = 5,
  perspectiveMatrixType = 6
};

/// Products and quotients of 16.16 numbers, rounded to nearest; what exceeds the range becomes the
/// largest or smallest number. A quotient by zero is the largest of the dividend's sign.
Fixed FixMul(Fixed a, Fixed b);
Fixed FixDiv(Fixed a, Fixed b);
Fixed FixRatio(SInt16 numerator, SInt16 denominator);
inline Fixed Long2Fix(SInt32 x) {
  return static_cast<Fixed>(static_cast<UInt32>(x) << 16);
}
double Fix2X(Fixed x);
Fixed X2Fix(double x);

void SetIdentityMatrix(MatrixRecord* matrix);
SInt16 GetMatrixType(const MatrixRecord* matrix);
void CopyMatrix(const MatrixRecord* m1, MatrixRecord* m2);
Boolean EqualMatrix(const MatrixRecord* m1, const MatrixRecord* m2);
void TranslateMatrix(MatrixRecord* matrix, Fixed deltaH, Fixed deltaV);
/// Scales about the point (aboutX, aboutY), after what the matrix does already.
void ScaleMatrix(MatrixRecord* matrix, Fixed scaleX, Fixed scaleY, Fixed aboutX, Fixed aboutY);
/// a = a followed by b.
void ConcatMatrix(const MatrixRecord* b, MatrixRecord* a);
/// False, and nothing written, for a matrix that flattens the plane.
Boolean InverseMatrix(const MatrixRecord* matrix, MatrixRecord* inverse);

/// The matrix that maps `srcRect` onto `dstRect`: a scale and a translation. An empty side of the
/// source cannot be mapped: its scale becomes 0, which no drawing accepts.
void RectMatrix(MatrixRecord* matrix, const Rect* srcRect, const Rect* dstRect);
/// The same, following whatever the matrix did before.
void MapMatrix(MatrixRecord* matrix, const Rect* fromRect, const Rect* toRect);

OSErr TransformFixedPoints(const MatrixRecord* matrix, FixedPoint* points, SInt32 count);
OSErr TransformPoints(const MatrixRecord* matrix, Point* points, SInt32 count);
/// Replaces the rectangle by the box round its transformed corners. True when the matrix maps
/// rectangles to rectangles.
Boolean TransformRect(const MatrixRecord* matrix, Rect* r);
