// Matrices in double precision. Not for users of matrices.
#pragma once

#include "platform/QuickTime/CodecErrors.h"
#include "platform/QuickTime/Matrix.h"

struct DoubleMatrix {
  double m[3][3];
};

DoubleMatrix ToDouble(const MatrixRecord& matrix);
/// Rounded to the record's precision and pinned to its range.
MatrixRecord FromDouble(const DoubleMatrix& matrix);
/// First a, then b.
DoubleMatrix Multiply(const DoubleMatrix& a, const DoubleMatrix& b);
/// False, and nothing written, when the matrix flattens the plane.
bool Invert(const DoubleMatrix& matrix, DoubleMatrix* inverse);
/// False when the point goes to infinity.
bool Apply(const DoubleMatrix& matrix, double x, double y, double* outX, double* outY);
