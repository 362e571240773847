#include "platform/QuickTime/Matrix.h"

#include <gtest/gtest.h>

#include "platform/QuickTime/CodecErrors.h"

namespace {

TEST(Matrix, RectMatrixIsAScaleAndATranslation) {
  const Rect source{0, 0, 480, 640};
  MatrixRecord m;
  RectMatrix(&m, &source, &source);
  EXPECT_EQ(GetMatrixType(&m), identityMatrixType);
  const Rect moved{7, -5, 487, 635};
  RectMatrix(&m, &source, &moved);
  EXPECT_EQ(GetMatrixType(&m), translateMatrixType);
  EXPECT_EQ(m.matrix[2][0], -5 * fixed1);
  EXPECT_EQ(m.matrix[2][1], 7 * fixed1);
  const Rect from{10, 20, 30, 60};
  const Rect to{100, 200, 110, 280};
  RectMatrix(&m, &from, &to);
  EXPECT_EQ(m.matrix[0][0], 2 * fixed1);
  EXPECT_EQ(m.matrix[1][1], fixed1 / 2);
  EXPECT_EQ(m.matrix[2][0], (200 - 40) * fixed1);
  EXPECT_EQ(m.matrix[2][1], (100 - 5) * fixed1);
  EXPECT_EQ(m.matrix[2][2], 0x40000000);
  Rect mapped = from;
  EXPECT_TRUE(TransformRect(&m, &mapped));
  EXPECT_EQ(mapped.top, to.top);
  EXPECT_EQ(mapped.left, to.left);
  EXPECT_EQ(mapped.bottom, to.bottom);
  EXPECT_EQ(mapped.right, to.right);
}

TEST(Matrix, EmptySidesScaleToNothing) {
  const Rect empty{0, 0, 0, 10};
  const Rect full{0, 0, 10, 10};
  MatrixRecord m;
  MatrixRecord inverse;
  RectMatrix(&m, &empty, &full);
  EXPECT_EQ(m.matrix[1][1], 0);
  EXPECT_FALSE(InverseMatrix(&m, &inverse));
  RectMatrix(&m, &full, &empty);
  EXPECT_FALSE(InverseMatrix(&m, &inverse));
  RectMatrix(&m, nullptr, &full);
  EXPECT_EQ(GetMatrixType(&m), identityMatrixType);
  RectMatrix(nullptr, &full, &full);
}

TEST(Matrix, TypesAndComposition) {
  MatrixRecord m;
  SetIdentityMatrix(&m);
  EXPECT_EQ(GetMatrixType(&m), identityMatrixType);
  ScaleMatrix(&m, 2 * fixed1, 3 * fixed1, 0, 0);
  EXPECT_EQ(GetMatrixType(&m), scaleMatrixType);
  TranslateMatrix(&m, 5 * fixed1, -fixed1);
  EXPECT_EQ(GetMatrixType(&m), scaleTranslateMatrixType);
  Point p{10, 10};
  EXPECT_EQ(TransformPoints(&m, &p, 1), noErr);
  EXPECT_EQ(p.h, 25);
  EXPECT_EQ(p.v, 29);
  MatrixRecord inverse;
  ASSERT_TRUE(InverseMatrix(&m, &inverse));
  EXPECT_EQ(TransformPoints(&inverse, &p, 1), noErr);
  EXPECT_EQ(p.h, 10);
  EXPECT_EQ(p.v, 10);

  // A quarter turn, then a scale about a point.
  MatrixRecord turn{{{0, fixed1, 0}, {-fixed1, 0, 0}, {0, 0, fract1}}};
  EXPECT_EQ(GetMatrixType(&turn), linearMatrixType);
  FixedPoint f{3 * fixed1, 4 * fixed1};
  EXPECT_EQ(TransformFixedPoints(&turn, &f, 1), noErr);
  EXPECT_EQ(f.x, -4 * fixed1);
  EXPECT_EQ(f.y, 3 * fixed1);
  Rect r{0, 0, 2, 6};
  EXPECT_FALSE(TransformRect(&turn, &r));
  EXPECT_EQ(r.left, -2);
  EXPECT_EQ(r.bottom, 6);
  MatrixRecord scale;
  SetIdentityMatrix(&scale);
  ScaleMatrix(&scale, 2 * fixed1, 2 * fixed1, fixed1, fixed1);
  EXPECT_EQ(scale.matrix[2][0], -fixed1);
  MatrixRecord both = turn;
  ConcatMatrix(&scale, &both);
  p = {4, 3};
  EXPECT_EQ(TransformPoints(&both, &p, 1), noErr);
  EXPECT_EQ(p.h, 2 * -4 - 1);
  EXPECT_EQ(p.v, 2 * 3 - 1);
  EXPECT_EQ(GetMatrixType(&both), linearTranslateMatrixType);
  both.matrix[0][2] = 1;
  EXPECT_EQ(GetMatrixType(&both), perspectiveMatrixType);
  EXPECT_FALSE(EqualMatrix(&both, &turn));
  CopyMatrix(&both, &turn);
  EXPECT_TRUE(EqualMatrix(&both, &turn));
}

TEST(Matrix, PointsAtInfinityStayAndAreReported) {
  MatrixRecord m{{{fixed1, 0, fract1 / 4}, {0, fixed1, 0}, {0, 0, fract1}}};
  Point points[2] = {{1, -4}, {1, 0}};
  EXPECT_EQ(TransformPoints(&m, points, 2), matrixErr);
  EXPECT_EQ(points[0].h, -4);
  EXPECT_EQ(points[1].v, 1);
  EXPECT_EQ(TransformPoints(nullptr, points, 2), paramErr);
  EXPECT_EQ(TransformPoints(&m, nullptr, 2), paramErr);
  EXPECT_EQ(TransformPoints(&m, points, -1), paramErr);
  EXPECT_EQ(TransformFixedPoints(&m, nullptr, 1), paramErr);
}

TEST(Matrix, FixedArithmeticRoundsAndPins) {
  EXPECT_EQ(FixMul(fixed1 / 2, 3), 2) << "1.5 units round up";
  EXPECT_EQ(FixMul(-fixed1, 7 * fixed1), -7 * fixed1);
  EXPECT_EQ(FixMul(0x7FFFFFFF, 0x7FFFFFFF), 0x7FFFFFFF);
  EXPECT_EQ(FixMul(-0x7FFFFFFF, 0x7FFFFFFF), -2147483647 - 1);
  EXPECT_EQ(FixDiv(fixed1, 3 * fixed1), 21845);
  EXPECT_EQ(FixDiv(5, 0), 0x7FFFFFFF);
  EXPECT_EQ(FixDiv(-5, 0), -2147483647 - 1);
  EXPECT_EQ(FixRatio(1, 4), fixed1 / 4);
  EXPECT_EQ(Long2Fix(-3), -3 * fixed1);
  EXPECT_EQ(X2Fix(2.2), 0x00023333);
  EXPECT_EQ(X2Fix(1e9), 0x7FFFFFFF);
  EXPECT_DOUBLE_EQ(Fix2X(fixed1 / 2), 0.5);
}

}  // namespace
