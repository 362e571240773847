#include "platform/QuickTime/Matrix.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "platform/CoreServices/Files.h"
#include "platform/QuickTime/MatrixMath.h"

namespace {

constexpr double kLargest = std::numeric_limits<SInt32>::max();
constexpr double kSmallest = std::numeric_limits<SInt32>::min();
constexpr MatrixRecord kIdentity{{{fixed1, 0, 0}, {0, fixed1, 0}, {0, 0, fract1}}};

/// To the nearest integer, halves away from zero, pinned to the range.
SInt32 Pin(double value) {
  if (std::isnan(value)) return 0;
  return static_cast<SInt32>(std::clamp(std::round(value), kSmallest, kLargest));
}

double ScaleOfColumn(int column) {
  return column == 2 ? static_cast<double>(fract1) : static_cast<double>(fixed1);
}

}  // namespace

DoubleMatrix ToDouble(const MatrixRecord& matrix) {
  DoubleMatrix result;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) result.m[i][j] = matrix.matrix[i][j] / ScaleOfColumn(j);
  }
  return result;
}

MatrixRecord FromDouble(const DoubleMatrix& matrix) {
  MatrixRecord result;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) result.matrix[i][j] = Pin(matrix.m[i][j] * ScaleOfColumn(j));
  }
  return result;
}

DoubleMatrix Multiply(const DoubleMatrix& a, const DoubleMatrix& b) {
  DoubleMatrix result;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      result.m[i][j] = a.m[i][0] * b.m[0][j] + a.m[i][1] * b.m[1][j] + a.m[i][2] * b.m[2][j];
    }
  }
  return result;
}

bool Invert(const DoubleMatrix& matrix, DoubleMatrix* inverse) {
  const auto& m = matrix.m;
  const auto cofactor = [&m](int r0, int c0, int r1, int c1) {
    return m[r0][c0] * m[r1][c1] - m[r0][c1] * m[r1][c0];
  };
  const double c00 = cofactor(1, 1, 2, 2);
  const double c01 = -cofactor(1, 0, 2, 2);
  const double c02 = cofactor(1, 0, 2, 1);
  const double determinant = m[0][0] * c00 + m[0][1] * c01 + m[0][2] * c02;
  if (determinant == 0) return false;
  inverse->m[0][0] = c00 / determinant;
  inverse->m[1][0] = c01 / determinant;
  inverse->m[2][0] = c02 / determinant;
  inverse->m[0][1] = -cofactor(0, 1, 2, 2) / determinant;
  inverse->m[1][1] = cofactor(0, 0, 2, 2) / determinant;
  inverse->m[2][1] = -cofactor(0, 0, 2, 1) / determinant;
  inverse->m[0][2] = cofactor(0, 1, 1, 2) / determinant;
  inverse->m[1][2] = -cofactor(0, 0, 1, 2) / determinant;
  inverse->m[2][2] = cofactor(0, 0, 1, 1) / determinant;
  return true;
}

bool Apply(const DoubleMatrix& matrix, double x, double y, double* outX, double* outY) {
  const auto& m = matrix.m;
  const double w = x * m[0][2] + y * m[1][2] + m[2][2];
  if (w == 0) return false;
  *outX = (x * m[0][0] + y * m[1][0] + m[2][0]) / w;
  *outY = (x * m[0][1] + y * m[1][1] + m[2][1]) / w;
  return true;
}

Fixed FixMul(Fixed a, Fixed b) {
  const SInt64 product = static_cast<SInt64>(a) * b + 0x8000;
  return static_cast<Fixed>(std::clamp<SInt64>(product >> 16, std::numeric_limits<Fixed>::min(),
                                               std::numeric_limits<Fixed>::max()));
}

Fixed FixDiv(Fixed a, Fixed b) {
  if (b == 0) return a < 0 ? std::numeric_limits<Fixed>::min() : std::numeric_limits<Fixed>::max();
  return Pin(static_cast<double>(a) * fixed1 / b);
}

Fixed FixRatio(SInt16 numerator, SInt16 denominator) {
  return FixDiv(Long2Fix(numerator), Long2Fix(denominator));
}

double Fix2X(Fixed x) {
  return x / static_cast<double>(fixed1);
}

Fixed X2Fix(double x) {
  return Pin(x * fixed1);
}

void SetIdentityMatrix(MatrixRecord* matrix) {
  if (matrix != nullptr) *matrix = kIdentity;
}

SInt16 GetMatrixType(const MatrixRecord* matrix) {
  if (matrix == nullptr) return identityMatrixType;
  const auto& m = matrix->matrix;
  if (m[0][2] != 0 || m[1][2] != 0 || m[2][2] != fract1) return perspectiveMatrixType;
  const bool moves = m[2][0] != 0 || m[2][1] != 0;
  if (m[0][1] != 0 || m[1][0] != 0) return moves ? linearTranslateMatrixType : linearMatrixType;
  if (m[0][0] != fixed1 || m[1][1] != fixed1) {
    return moves ? scaleTranslateMatrixType : scaleMatrixType;
  }
  return moves ? translateMatrixType : identityMatrixType;
}

void CopyMatrix(const MatrixRecord* m1, MatrixRecord* m2) {
  if (m1 != nullptr && m2 != nullptr) *m2 = *m1;
}

Boolean EqualMatrix(const MatrixRecord* m1, const MatrixRecord* m2) {
  return m1 != nullptr && m2 != nullptr && std::memcmp(m1, m2, sizeof(MatrixRecord)) == 0;
}

void TranslateMatrix(MatrixRecord* matrix, Fixed deltaH, Fixed deltaV) {
  if (matrix == nullptr) return;
  const auto add = [](Fixed a, Fixed b) { return Pin(static_cast<double>(a) + b); };
  matrix->matrix[2][0] = add(matrix->matrix[2][0], deltaH);
  matrix->matrix[2][1] = add(matrix->matrix[2][1], deltaV);
}

void ScaleMatrix(MatrixRecord* matrix, Fixed scaleX, Fixed scaleY, Fixed aboutX, Fixed aboutY) {
  if (matrix == nullptr) return;
  const double sx = Fix2X(scaleX);
  const double sy = Fix2X(scaleY);
  const double x = Fix2X(aboutX);
  const double y = Fix2X(aboutY);
  const DoubleMatrix scale{{{sx, 0, 0}, {0, sy, 0}, {x - x * sx, y - y * sy, 1}}};
  *matrix = FromDouble(Multiply(ToDouble(*matrix), scale));
}

void ConcatMatrix(const MatrixRecord* b, MatrixRecord* a) {
  if (a == nullptr || b == nullptr) return;
  *a = FromDouble(Multiply(ToDouble(*a), ToDouble(*b)));
}

Boolean InverseMatrix(const MatrixRecord* matrix, MatrixRecord* inverse) {
  if (matrix == nullptr || inverse == nullptr) return false;
  DoubleMatrix result;
  if (!Invert(ToDouble(*matrix), &result)) return false;
  *inverse = FromDouble(result);
  return true;
}

void RectMatrix(MatrixRecord* matrix, const Rect* srcRect, const Rect* dstRect) {
  if (matrix == nullptr) return;
  *matrix = kIdentity;
  if (srcRect == nullptr || dstRect == nullptr) return;
  const auto scale = [](SInt32 destination, SInt32 source) {
    return source == 0 ? 0.0 : static_cast<double>(destination) / source;
  };
  const double sx = scale(dstRect->right - dstRect->left, srcRect->right - srcRect->left);
  const double sy = scale(dstRect->bottom - dstRect->top, srcRect->bottom - srcRect->top);
  *matrix =
      FromDouble({{{sx, 0, 0},
                   {0, sy, 0},
                   {dstRect->left - srcRect->left * sx, dstRect->top - srcRect->top * sy, 1}}});
}

void MapMatrix(MatrixRecord* matrix, const Rect* fromRect, const Rect* toRect) {
  if (matrix == nullptr || fromRect == nullptr || toRect == nullptr) return;
  MatrixRecord map;
  RectMatrix(&map, fromRect, toRect);
  ConcatMatrix(&map, matrix);
}

OSErr TransformFixedPoints(const MatrixRecord* matrix, FixedPoint* points, SInt32 count) {
  if (matrix == nullptr || count < 0 || (points == nullptr && count > 0)) return paramErr;
  const DoubleMatrix m = ToDouble(*matrix);
  OSErr result = noErr;
  for (SInt32 i = 0; i < count; ++i) {
    double x = 0;
    double y = 0;
    if (Apply(m, Fix2X(points[i].x), Fix2X(points[i].y), &x, &y)) {
      points[i] = {X2Fix(x), X2Fix(y)};
    } else {
      result = matrixErr;
    }
  }
  return result;
}

OSErr TransformPoints(const MatrixRecord* matrix, Point* points, SInt32 count) {
  if (matrix == nullptr || count < 0 || (points == nullptr && count > 0)) return paramErr;
  const DoubleMatrix m = ToDouble(*matrix);
  const auto coordinate = [](double value) {
    return static_cast<SInt16>(std::clamp(std::floor(value + 0.5), -32768.0, 32767.0));
  };
  OSErr result = noErr;
  for (SInt32 i = 0; i < count; ++i) {
    double x = 0;
    double y = 0;
    if (Apply(m, points[i].h, points[i].v, &x, &y)) {
      points[i] = {coordinate(y), coordinate(x)};
    } else {
      result = matrixErr;
    }
  }
  return result;
}

Boolean TransformRect(const MatrixRecord* matrix, Rect* r) {
  if (matrix == nullptr || r == nullptr) return false;
  Point corners[4] = {
      {r->top, r->left}, {r->top, r->right}, {r->bottom, r->left}, {r->bottom, r->right}};
  if (TransformPoints(matrix, corners, 4) != noErr) return false;
  *r = {corners[0].v, corners[0].h, corners[0].v, corners[0].h};
  for (const Point& corner : corners) {
    r->top = std::min(r->top, corner.v);
    r->left = std::min(r->left, corner.h);
    r->bottom = std::max(r->bottom, corner.v);
    r->right = std::max(r->right, corner.h);
  }
  return GetMatrixType(matrix) <= scaleTranslateMatrixType;
}
