#include "platform/CoreGraphics/CGGeometry.h"

#include <gtest/gtest.h>

#include <cmath>

#include "platform/CoreGraphics/CGAffineTransform.h"

namespace {

void ExpectRect(CGRect r, CGFloat x, CGFloat y, CGFloat w, CGFloat h) {
  EXPECT_EQ(r.origin.x, x);
  EXPECT_EQ(r.origin.y, y);
  EXPECT_EQ(r.size.width, w);
  EXPECT_EQ(r.size.height, h);
}

TEST(CGGeometry, ScalarIsTheThirtyTwoBitFloat) {
  EXPECT_EQ(sizeof(CGFloat), 4U);
  EXPECT_EQ(sizeof(CGRect), 16U);
}

TEST(CGGeometry, EdgesOfARectangleOfNegativeSize) {
  const CGRect r = CGRectMake(10, 20, -4, -6);
  EXPECT_EQ(CGRectGetMinX(r), 6);
  EXPECT_EQ(CGRectGetMidX(r), 8);
  EXPECT_EQ(CGRectGetMaxX(r), 10);
  EXPECT_EQ(CGRectGetMinY(r), 14);
  EXPECT_EQ(CGRectGetMidY(r), 17);
  EXPECT_EQ(CGRectGetMaxY(r), 20);
  EXPECT_EQ(CGRectGetWidth(r), 4);
  EXPECT_EQ(CGRectGetHeight(r), 6);
  ExpectRect(CGRectStandardize(r), 6, 14, 4, 6);
  EXPECT_TRUE(CGRectEqualToRect(r, CGRectMake(6, 14, 4, 6)));
  EXPECT_FALSE(CGRectEqualToRect(r, CGRectMake(6, 14, 4, 7)));
}

TEST(CGGeometry, NullAndEmptyAndInfinite) {
  EXPECT_TRUE(CGRectIsNull(CGRectNull));
  EXPECT_TRUE(CGRectIsEmpty(CGRectNull));
  EXPECT_TRUE(CGRectIsEmpty(CGRectMake(1, 2, 0, 5)));
  EXPECT_FALSE(CGRectIsNull(CGRectMake(1, 2, 0, 5)));
  EXPECT_FALSE(CGRectIsEmpty(CGRectMake(1, 2, -1, 5)));
  EXPECT_TRUE(CGRectIsInfinite(CGRectInfinite));
  EXPECT_FALSE(CGRectIsInfinite(CGRectMake(0, 0, 1, 1)));
  EXPECT_TRUE(CGRectIsNull(CGRectStandardize(CGRectNull)));
  EXPECT_TRUE(CGRectEqualToRect(CGRectNull, CGRectStandardize(CGRectNull)));
  EXPECT_FALSE(CGRectEqualToRect(CGRectNull, CGRectZero));
}

TEST(CGGeometry, Intersection) {
  const CGRect a = CGRectMake(0, 0, 10, 10);
  ExpectRect(CGRectIntersection(a, CGRectMake(12, 4, -5, 20)), 7, 4, 3, 6);
  ExpectRect(CGRectIntersection(a, CGRectMake(10, 0, 5, 5)), 10, 0, 0, 5);
  EXPECT_TRUE(CGRectIsNull(CGRectIntersection(a, CGRectMake(11, 0, 5, 5))));
  EXPECT_TRUE(CGRectIsNull(CGRectIntersection(a, CGRectNull)));
  EXPECT_TRUE(CGRectIsNull(CGRectIntersection(a, CGRectMake(NAN, 0, 1, 1))));
  EXPECT_TRUE(CGRectEqualToRect(CGRectIntersection(a, CGRectInfinite), a));
  EXPECT_TRUE(CGRectIntersectsRect(a, CGRectMake(9, 9, 5, 5)));
  EXPECT_FALSE(CGRectIntersectsRect(a, CGRectMake(-9, -9, 5, 5)));
}

TEST(CGGeometry, UnionInsetOffsetIntegral) {
  const CGRect a = CGRectMake(1, 2, 3, 4);
  ExpectRect(CGRectUnion(a, CGRectMake(10, -5, -2, 1)), 1, -5, 9, 11);
  ExpectRect(CGRectUnion(a, CGRectNull), 1, 2, 3, 4);
  ExpectRect(CGRectUnion(CGRectNull, a), 1, 2, 3, 4);
  ExpectRect(CGRectInset(a, 1, -1), 2, 1, 1, 6);
  EXPECT_TRUE(CGRectIsNull(CGRectInset(a, 2, 0)));
  ExpectRect(CGRectOffset(CGRectMake(4, 4, -2, 2), 1, 1), 3, 5, 2, 2);
  ExpectRect(CGRectIntegral(CGRectMake(0.5F, -0.5F, 2, 2)), 0, -1, 3, 3);
  EXPECT_TRUE(CGRectIsNull(CGRectIntegral(CGRectNull)));
}

TEST(CGGeometry, Contains) {
  const CGRect a = CGRectMake(0, 0, 10, 10);
  EXPECT_TRUE(CGRectContainsPoint(a, CGPointMake(0, 0)));
  EXPECT_FALSE(CGRectContainsPoint(a, CGPointMake(10, 0)));
  EXPECT_FALSE(CGRectContainsPoint(CGRectMake(0, 0, 0, 5), CGPointMake(0, 1)));
  EXPECT_TRUE(CGRectContainsRect(a, CGRectMake(10, 10, -10, -10)));
  EXPECT_FALSE(CGRectContainsRect(a, CGRectMake(5, 5, 6, 1)));
}

TEST(CGGeometry, DivideFromEveryEdge) {
  const CGRect a = CGRectMake(10, 20, 30, 40);
  CGRect slice;
  CGRect rest;
  CGRectDivide(a, &slice, &rest, 5, CGRectMinXEdge);
  ExpectRect(slice, 10, 20, 5, 40);
  ExpectRect(rest, 15, 20, 25, 40);
  CGRectDivide(a, &slice, &rest, 5, CGRectMaxXEdge);
  ExpectRect(slice, 35, 20, 5, 40);
  ExpectRect(rest, 10, 20, 25, 40);
  CGRectDivide(a, &slice, &rest, 5, CGRectMinYEdge);
  ExpectRect(slice, 10, 20, 30, 5);
  ExpectRect(rest, 10, 25, 30, 35);
  CGRectDivide(a, &slice, &rest, 50, CGRectMaxYEdge);
  ExpectRect(slice, 10, 20, 30, 40);
  ExpectRect(rest, 10, 20, 30, 0);
  CGRectDivide(a, &slice, &rest, -1, CGRectMinXEdge);
  ExpectRect(slice, 10, 20, 0, 40);
}

TEST(CGAffineTransform, ConcatAppliesTheFirstFirst) {
  const CGAffineTransform move = CGAffineTransformMakeTranslation(3, 4);
  const CGAffineTransform scale = CGAffineTransformMakeScale(2, 10);
  const CGPoint p =
      CGPointApplyAffineTransform(CGPointMake(1, 1), CGAffineTransformConcat(move, scale));
  EXPECT_EQ(p.x, 8);
  EXPECT_EQ(p.y, 50);
  const CGPoint q =
      CGPointApplyAffineTransform(CGPointMake(1, 1), CGAffineTransformTranslate(scale, 3, 4));
  EXPECT_EQ(q.x, 8);
  EXPECT_EQ(q.y, 50);
  const CGAffineTransform s = CGAffineTransformScale(move, 2, 10);
  EXPECT_TRUE(CGAffineTransformEqualToTransform(s, CGAffineTransformConcat(scale, move)));
}

TEST(CGAffineTransform, RotationIsCounterClockwise) {
  const CGPoint p = CGPointApplyAffineTransform(
      CGPointMake(1, 0), CGAffineTransformRotate(CGAffineTransformIdentity, std::acos(0.0F)));
  EXPECT_NEAR(p.x, 0, 1e-6);
  EXPECT_NEAR(p.y, 1, 1e-6);
}

TEST(CGAffineTransform, InverseUndoesAndASingularOneStays) {
  const CGAffineTransform t = CGAffineTransformMake(2, 1, -1, 3, 5, 7);
  const CGAffineTransform one = CGAffineTransformConcat(t, CGAffineTransformInvert(t));
  EXPECT_NEAR(one.a, 1, 1e-6);
  EXPECT_NEAR(one.b, 0, 1e-6);
  EXPECT_NEAR(one.c, 0, 1e-6);
  EXPECT_NEAR(one.d, 1, 1e-6);
  EXPECT_NEAR(one.tx, 0, 1e-5);
  EXPECT_NEAR(one.ty, 0, 1e-5);
  const CGAffineTransform flat = CGAffineTransformMakeScale(0, 1);
  EXPECT_TRUE(CGAffineTransformEqualToTransform(CGAffineTransformInvert(flat), flat));
  EXPECT_TRUE(CGAffineTransformIsIdentity(CGAffineTransformIdentity));
  EXPECT_FALSE(CGAffineTransformIsIdentity(t));
}

TEST(CGAffineTransform, RectangleBecomesItsBounds) {
  const CGAffineTransform quarter = CGAffineTransformMake(0, 1, -1, 0, 0, 0);
  ExpectRect(CGRectApplyAffineTransform(CGRectMake(1, 2, 3, 4), quarter), -6, 1, 4, 3);
  EXPECT_TRUE(CGRectIsNull(CGRectApplyAffineTransform(CGRectNull, quarter)));
  const CGSize size = CGSizeApplyAffineTransform(CGSizeMake(3, 4), quarter);
  EXPECT_EQ(size.width, -4);
  EXPECT_EQ(size.height, 3);
}

}  // namespace
