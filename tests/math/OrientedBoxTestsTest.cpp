#include <gtest/gtest.h>

#include <cmath>

#include "math/BoxTests.h"

using Box = Math::NBoundingBox<float, 3>;
using OrientedBox = Math::NOrientedBoundingBox<float, 3>;
using OrientedRectangle = Math::NOrientedBoundingBox<float, 2>;

namespace {

constexpr float kHalf = 0.70710678F;  // cos and sin of 45 degrees

/// A bar along the diagonal of x and y: 20 long, 0.2 wide and high.
OrientedBox diagonalBar() {
  OrientedBox bar;
  bar.halfSize = {{10.0F, 0.1F, 0.1F}};
  bar.rotation = {kHalf, kHalf, 0, -kHalf, kHalf, 0, 0, 0, 1};
  return bar;
}

Box cube(float x, float y, float z, float halfSize) {
  return {{{x - halfSize, y - halfSize, z - halfSize}}, {{x + halfSize, y + halfSize, z + halfSize}}};
}

}  // namespace

TEST(OrientedBoxTests, RejectABoxBesideABarAlongTheDiagonal) {
  EXPECT_TRUE(Math::overlaps(diagonalBar(), cube(5, 5, 0, 1)));
  EXPECT_FALSE(Math::overlaps(diagonalBar(), cube(5, 2, 0, 1)));
}

TEST(OrientedBoxTests, RejectABoxThatOnlyItsOwnFacesSeparate) {
  // The bar ends near (7.1, 7.1); the box reaches across the bar's slab further on.
  EXPECT_FALSE(Math::overlaps(diagonalBar(), cube(12.5F, 2.5F, 0, 5)));
}

TEST(OrientedBoxTests, RejectABoxThatOnlyTwoEdgesSeparate) {
  // A square bar on edge and leaning over, before the upright edge of a cube.
  OrientedBox bar;
  bar.halfSize = {{10.0F, 0.5F, 0.5F}};
  const float s = std::sqrt(1.0F / 3.0F);
  const float t = std::sqrt(1.0F / 6.0F);
  bar.rotation = {kHalf, -kHalf, 0, t, t, -2 * t, s, s, s};
  bar.center = {{1.8F, 1.8F, 0}};
  EXPECT_FALSE(Math::overlaps(bar, cube(0, 0, 0, 1)));
  bar.center = {{1.0F, 1.0F, 0}};
  EXPECT_TRUE(Math::overlaps(bar, cube(0, 0, 0, 1)));
}

TEST(OrientedBoxTests, ContainBoxesOnlyWithinTheTolerance) {
  OrientedBox shape;
  shape.halfSize = {{1, 1, 1}};
  EXPECT_TRUE(Math::contains(shape, cube(0, 0, 0, 1.0F - 4e-6F)));
  EXPECT_FALSE(Math::contains(shape, cube(0, 0, 0, 1)));
}

TEST(OrientedBoxTests, TakeColumnsThatAreNoFrameAsTheyAre) {
  OrientedBox shape;  // |x + y| <= 0.5, |2 y| <= 0.5, |z| <= 0.5
  shape.rotation = {1, 1, 0, 0, 2, 0, 0, 0, 1};
  EXPECT_TRUE(Math::contains(shape, cube(0, 0, 0, 0.2F)));
  EXPECT_TRUE(Math::overlaps(shape, cube(-5, 5, 0, 4.9F)));
  EXPECT_FALSE(Math::overlaps(shape, cube(5, 5, 0, 4)));
}

TEST(OrientedBoxTests, MayBeASlabWithoutEnd) {
  OrientedBox slab;
  slab.halfSize = {{INFINITY, INFINITY, 1}};
  EXPECT_TRUE(Math::contains(slab, cube(1000, 0, 0, 0.5F)));
  EXPECT_FALSE(Math::overlaps(slab, cube(0, 0, 9, 1)));
}

TEST(OrientedBoxTests, OverlapWhereTheInsideTestOverflows) {
  OrientedBox shape;  // infinity times 0 is NaN on the first column, which the inside test lets pass
  shape.center = {{0, -3e38F, 0}};
  shape.halfSize = {{0.5F, INFINITY, 0.5F}};
  ASSERT_TRUE(shape.inside({{5, 3e38F, 0}}));
  EXPECT_TRUE(Math::overlaps(shape, Box{{{5, 0, 0}}, {{6, 3e38F, 0}}}));
}

TEST(OrientedRectangleTests, LookAtXAndYAlone) {
  OrientedRectangle shape;
  shape.halfSize = {{10.0F, 0.1F}};
  shape.rotation = {kHalf, kHalf, -kHalf, kHalf};
  EXPECT_TRUE(Math::overlaps(shape, cube(5, 5, 70, 1)));
  EXPECT_FALSE(Math::overlaps(shape, cube(5, 2, 0, 1)));
  EXPECT_FALSE(Math::overlaps(shape, cube(12.5F, 2.5F, 0, 5)));
  EXPECT_TRUE(Math::contains(shape, cube(5, 5, 70, 0.05F)));
}
